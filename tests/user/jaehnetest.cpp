// The test image.
#include <bit>
#include <climits>

#include "reference/user.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"

namespace {

constexpr const char *NAME = "moxCreateImageJaehne";

struct Owned {
    MoxImage *image;
    Owned(int depth, int width, int height) : image(moxCreateImageJaehne(depth, width, height)) {}
    ~Owned() { moxDeallocate(image, MOX_FreeHeader | MOX_FreeData); }
    Owned(const Owned &) = delete;
    Owned &operator=(const Owned &) = delete;
};

uint32_t sampleAt(const MoxImage &image, int x, int y) {
    const uint8_t *row = reinterpret_cast<const uint8_t *>(image.imageData) + int64_t{image.widthStep} * y;
    const int bits = static_cast<int>(image.depth & ~MOX_DEPTH_SIGN);
    if (bits == 1) return row[x / 8] >> (7 - x % 8) & 1u;
    uint32_t value = 0;
    memcpy(&value, row + int64_t{x} * (bits / 8), static_cast<size_t>(bits / 8));
    return value;
}

TEST(Jaehne, ringsAreThoseOfTheFormula) {
    for (const unsigned depth : allDepths) {
        for (const auto &size : {std::pair{1, 1}, {1, 9}, {13, 1}, {64, 64}, {100, 37}, {37, 100}, {251, 130}}) {
            const int width = size.first, height = size.second;
            SCOPED_TRACE(std::string(depthName(depth)) + " " + std::to_string(width) + " x " + std::to_string(height));
            const std::vector<RefJaehneSample> wanted = refJaehne(depth, width, height);
            forEachCpuLevel([&] {
                ReportRecorder reports;
                const Owned owned(static_cast<int>(depth), width, height);
                EXPECT_TRUE(reports.none());
                ASSERT_NE(owned.image, nullptr);
                for (int k = 0; k < width * height; ++k) {
                    const RefJaehneSample &sample = wanted[static_cast<size_t>(k)];
                    const uint32_t found = sampleAt(*owned.image, k % width, k / width);
                    ASSERT_TRUE(found == sample.expected || found == sample.other) << k % width << " " << k / width;
                }
            });
            if (HasFailure()) return;
        }
    }
}

TEST(Jaehne, aSinglePixelIsTheCentre) {
    const struct {
        unsigned depth;
        uint32_t wanted;
    } cases[] = {{MOX_DEPTH_1U, 0},
                 {MOX_DEPTH_8U, 127},
                 {MOX_DEPTH_8S, 0},
                 {MOX_DEPTH_16U, 32767},
                 {MOX_DEPTH_16S, 0},
                 {MOX_DEPTH_32S, 0},
                 {MOX_DEPTH_32F, std::bit_cast<uint32_t>(0.49999f)}};
    for (const auto &each : cases) {
        const Owned owned(static_cast<int>(each.depth), 1, 1);
        ASSERT_NE(owned.image, nullptr);
        EXPECT_EQ(sampleAt(*owned.image, 0, 0), each.wanted) << depthName(each.depth);
    }
}

// Height alone sets the scale: at the middle row, sqrt(height) away from the centre, lies a quarter of the turn.
TEST(Jaehne, theHeightSetsTheScale) {
    for (const int width : {21, 41}) {
        const Owned owned(MOX_DEPTH_8U, width, 25);
        ASSERT_NE(owned.image, nullptr);
        EXPECT_EQ(sampleAt(*owned.image, width / 2 + 5, 12), 255u);
        EXPECT_EQ(sampleAt(*owned.image, width / 2 - 5, 12), 255u);
        EXPECT_EQ(sampleAt(*owned.image, width / 2, 12), 127u);
    }
}

TEST(Jaehne, theHeaderIsThatOfAGrayImage) {
    for (const unsigned depth : allDepths) {
        const Owned owned(static_cast<int>(depth), 21, 13);
        ASSERT_NE(owned.image, nullptr);
        const MoxImage &image = *owned.image;
        EXPECT_EQ(moxCheckImageHeader(owned.image), 0);
        EXPECT_EQ(image.nChannels, 1);
        EXPECT_EQ(image.alphaChannel, 0);
        EXPECT_EQ(image.depth, depth);
        EXPECT_EQ(std::string(image.colorModel, 4), "GRAY");
        EXPECT_EQ(std::string(image.channelSeq, 4), "GRAY");
        EXPECT_EQ(image.dataOrder, MOX_DATA_ORDER_PIXEL);
        EXPECT_EQ(image.origin, 0);
        EXPECT_EQ(image.align, 32);
        EXPECT_EQ(image.width, 21);
        EXPECT_EQ(image.height, 13);
        EXPECT_EQ(image.roi, nullptr);
        EXPECT_EQ(image.maskROI, nullptr);
        EXPECT_EQ(image.tileInfo, nullptr);
    }
}

TEST(Jaehne, sizesAndDepthsAreTested) {
    const struct {
        int depth, width, height;
        MoxStatus status;
    } cases[] = {{8, 0, 5, -10}, {8, 5, 0, -10}, {8, -1, -1, -10}, {8, INT_MIN, 3, -10},
                 {7, 0, 5, -10}, {0, 5, 5, -17}, {7, 5, 5, -17},   {64, 5, 5, -17}};
    for (const auto &each : cases) {
        ReportRecorder reports;
        AllocationWindow window;
        EXPECT_EQ(moxCreateImageJaehne(each.depth, each.width, each.height), nullptr);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_EQ(moxGetErrStatus(), each.status);
        EXPECT_TRUE(reports.are({{each.status, NAME, moxErrorStr(each.status)}}));
    }
}

TEST(Jaehne, memoryIsMissedByName) {
    for (const unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_32F}) {
        int refused = 0;
        for (int failAt = 1;; ++failAt) {
            ReportRecorder reports;
            AllocationWindow window(failAt);
            MoxImage *image = moxCreateImageJaehne(static_cast<int>(depth), 100, 100);
            window.close();
            if (!window.refused()) {
                moxDeallocate(image, MOX_FreeHeader | MOX_FreeData);
                break;
            }
            ++refused;
            EXPECT_EQ(image, nullptr);
            EXPECT_EQ(window.live(), 0);
            ASSERT_FALSE(reports.seen.empty());
            EXPECT_EQ(reports.seen.back().status, -4);
            EXPECT_EQ(reports.seen.back().function, NAME);
            EXPECT_EQ(reports.seen.back().message, failAt == 1
                                                       ? "Not enough memory to allocate header for ImageJaehne"
                                                       : "Not enough memory to allocate imageData for ImageJaehne");
        }
        EXPECT_EQ(refused, 2);
    }
}

// Sizes that no header has are what moxCreateImageHeader says that they are.
TEST(Jaehne, sizesBeyondAllMemoryAreRefused) {
    for (const unsigned depth : allDepths) {
        ReportRecorder reports;
        char gray[] = "GRAY";
        EXPECT_EQ(moxCreateImageHeader(1, 0, static_cast<int>(depth), gray, gray, MOX_DATA_ORDER_PIXEL, 0, 32, INT_MAX,
                                       INT_MAX, nullptr, nullptr, nullptr, nullptr),
                  nullptr);
        const MoxStatus status = moxGetErrStatus();
        EXPECT_LT(status, 0);
        reports.clear();
        AllocationWindow window;
        EXPECT_EQ(moxCreateImageJaehne(static_cast<int>(depth), INT_MAX, INT_MAX), nullptr);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(reports.are({{status, NAME, moxErrorStr(status)}}));
    }
}

}  // namespace
