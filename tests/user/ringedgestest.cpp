// The test image: each pixel from its formula, and the elementary functions that it and noise are made of.
#include <climits>
#include <cmath>
#include <cstring>

#include "core/ownmath.h"
#include "core/ownseries.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"

namespace {

double sineOf(double angle) {
    return static_cast<double>(std::sin(static_cast<long double>(angle)));
}

// In units of the last place of the value.
double distance(double value, long double exact) {
    int exponent;
    std::frexp(static_cast<double>(exact), &exponent);
    const auto off = static_cast<double>(static_cast<long double>(value) - exact);
    return std::fabs(off) * std::ldexp(1.0, 53 - exponent);
}

// The C library of 32-bit Windows leaves sines to the processor, whose pi ends after 66 bits: it knows small angles
// only.
#if defined(_WIN32)
constexpr bool KNOWS_LARGE_ANGLES = false;
#else
constexpr bool KNOWS_LARGE_ANGLES = true;
#endif

TEST(RingEdges, sinesAreRightToTheLastPlace) {
    Random random(7);
    double worst = 0;
    for (int i = 0; i < 200000; ++i) {
        const double angle =
            std::ldexp(static_cast<double>(random.bits() | 1), random.between(-40, KNOWS_LARGE_ANGLES ? -2 : -33));
        worst = std::max(worst, distance(ownSine(angle), std::sin(static_cast<long double>(angle))));
    }
    EXPECT_LT(worst, 0.9);
    EXPECT_EQ(ownSine(0), 0);
    if (!KNOWS_LARGE_ANGLES) return;
    // Large angles, and what lies closest to multiples of pi / 2 among them, where the sine is nearly 0.
    worst = 0;
    for (int i = 0; i < 200000; ++i) {
        const double angle = std::ldexp(static_cast<double>(random.next() >> 11), random.between(-33, 9));
        worst = std::max(worst, distance(ownSine(angle), static_cast<long double>(std::sin(angle))));
    }
    EXPECT_LT(worst, 1.01) << "the other side is right to the last place or nearly so as well";
    for (int k = 1; k < 4000; ++k) {
        for (const double scale : {1.0, 1e3, 1e6, 1e9, 1e12, 1e15}) {
            const double angle = 1.5707963267948966 * k * scale;
            EXPECT_LT(distance(ownSine(angle), static_cast<long double>(std::sin(angle))), 1.01) << angle;
        }
    }
}

// The product of 2 / pi is exact up to here.
TEST(RingEdges, theLargestAngles) {
    struct Known {
        double angle, sine;
    };
    // By arithmetic of 200 digits.
    const Known known[] = {
        {0x1.0000000000000p+20, 0x1.526ccb2fc8656p-2},   {0x1.ffffffffffffdp+51, 0x1.17a20eef8766ap-1},
        {0x1.0000000000000p+53, -0x1.b2a66c8f35586p-1},  {0x1.0000000000008p+61, 0x1.f073b7364dcdap-1},
        {0x1.fffffffffffffp+62, 0x1.fa7299b17573dp-1},   {0x1.17e2800000000p+20, -0x1.3b8fdd45b058fp-21},
        {0x1.04ccbc0000000p+22, -0x1.270da18b197e3p-21}, {0x1.4ac55c0000000p+22, -0x1.4823bba96de72p-25},
        {0x1.31b97c4000000p+26, -0x1.fb9755b6590d9p-27}, {0x1.3c0fa72000000p+27, -0x1.2960433905818p-27},
        {0x1.d4ec654000000p+27, 0x1.a46e24faa7183p-28},  {0x1.887e063000000p+28, 0x1.5ca4c2eec7d5cp-29},
        {0x1.fdb91f8000000p+29, 0x1.1f25882f7d09cp-30},  {0x1.2fec508600000p+31, 0x1.ebf9d5fa565fcp-32},
        {0x1.6fa3747600000p+32, 0x1.4944e9928ecf3p-33},  {0x1.bb9e889780000p+33, 0x1.4569d8cf8f212p-33},
        {0x1.39b8216940000p+34, 0x1.ed88617fd708bp-40},  {0x1.9f38e8eb53000p+40, 0x1.8858d3aa03666p-41},
        {0x1.a1ac592e25800p+41, 0x1.94be37574e895p-42},  {0x1.38a466d1e7800p+42, -0x1.7bf36ffcb8437p-42},
        {0x1.04bd49b47d200p+43, -0x1.8cac75a9645ecp-46}, {0x1.fc6d309f89140p+46, -0x1.023835bd45536p-47},
        {0x1.8577cec54ab80p+48, 0x1.2b04a1af8c362p-51},  {0x1.44630cc2cad9dp+52, 0x1.e88e4bd46cec1p-52},
        {0x1.5cba89af1f855p+52, 0x1.b5ebde2aae00bp-54}};
    for (const Known &each : known)
        EXPECT_LT(distance(ownSine(each.angle), static_cast<long double>(each.sine)), 1.01) << each.angle;
}

TEST(RingEdges, logarithmsAreRightToTheLastPlace) {
    Random random(8);
    double worst = 0;
    for (int i = 0; i < 400000; ++i) {
        // All sizes, near 1 too.
        const double q = i % 2 == 0 ? std::ldexp(static_cast<double>(random.bits() | 1), random.between(-62, -32))
                                    : 1 - std::ldexp(static_cast<double>(random.bits() | 1), random.between(-52, -33));
        worst = std::max(worst, distance(ownLogarithm(q), std::log(static_cast<long double>(q))));
    }
    EXPECT_LT(worst, 0.9);
    EXPECT_EQ(ownLogarithm(1.0), 0);
}

uint32_t pixelOf(unsigned depth, double s) {
    switch (depth) {
        case MOX_DEPTH_1U:
            return static_cast<uint32_t>((s + 1) * 0.99999);
        case MOX_DEPTH_8U:
            return static_cast<uint32_t>((s + 1) * 127.99999);
        case MOX_DEPTH_8S:
            return static_cast<uint8_t>(static_cast<int>(s * 127.99999));
        case MOX_DEPTH_16U:
            return static_cast<uint32_t>((s + 1) * 32767.99999);
        case MOX_DEPTH_16S:
            return static_cast<uint16_t>(static_cast<int>(s * 32767.99999));
        case MOX_DEPTH_32S:
            return static_cast<uint32_t>(static_cast<int32_t>(s * 2147483647.99999));
        default: {
            const auto value = static_cast<float>((s + 1) * 0.49999);
            uint32_t bits;
            memcpy(&bits, &value, sizeof bits);
            return bits;
        }
    }
}

// The image's samples as they stand, and what the formula gives. The last place of a sine may turn a sample of 32 bits,
// but not often, and by 1.
void expectRings(unsigned depth, int width, int height) {
    SCOPED_TRACE(std::string(depthName(depth)) + " " + std::to_string(width) + " x " + std::to_string(height));
    ReportRecorder reports;
    MoxImage *image = moxCreateImageJaehne(static_cast<int>(depth), width, height);
    ASSERT_NE(image, nullptr);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxCheckImageHeader(image), 0);
    EXPECT_EQ(image->nChannels, 1);
    EXPECT_EQ(image->depth, depth);
    EXPECT_EQ(memcmp(image->colorModel, "GRAY", 4), 0);
    EXPECT_EQ(memcmp(image->channelSeq, "GRAY", 4), 0);
    EXPECT_EQ(image->dataOrder, MOX_DATA_ORDER_PIXEL);
    EXPECT_EQ(image->origin, MOX_ORIGIN_TL);
    EXPECT_EQ(image->align, 32);
    EXPECT_EQ(image->width, width);
    EXPECT_EQ(image->height, height);
    int off = 0;
    for (int y = 0; y < height && off < 3; ++y) {
        for (int x = 0; x < width; ++x) {
            const double dx = x - (width - 1) * 0.5, dy = y - (height - 1) * 0.5;
            const uint32_t wanted =
                pixelOf(depth, sineOf((dx * dx + dy * dy) * 6.283185307179586 / static_cast<double>(4 * height)));
            uint32_t pixel = 0;
            const char *row = image->imageData + int64_t{y} * image->widthStep;
            if (depth == MOX_DEPTH_1U) {
                pixel = static_cast<unsigned char>(row[x / 8]) >> (7 - x % 8) & 1;
            } else {
                const unsigned bytes = (depth & ~MOX_DEPTH_SIGN) / 8;
                memcpy(&pixel, row + int64_t{x} * bytes, bytes);
            }
            if (pixel == wanted) continue;
            ++off;
            EXPECT_TRUE((depth & ~MOX_DEPTH_SIGN) == 32 && (pixel - wanted == 1 || wanted - pixel == 1))
                << x << ", " << y << " is " << pixel << " for " << wanted;
        }
    }
    EXPECT_LE(off, width * height / 10000 + 1);
    moxDeallocate(image, MOX_FreeHeader | MOX_FreeData);
}

TEST(RingEdges, pixelsAreThoseOfTheFormula) {
    for (const unsigned depth : allDepths) {
        forEachCpuLevel([&] {
            for (const int width : {1, 2, 7, 8, 9, 31, 33, 257, 600})
                expectRings(depth, width, width % 3 == 0 ? width / 3 : width);
            expectRings(depth, 3, 200);
        });
    }
}

// Wide images go beyond the angles that vectors take.
TEST(RingEdges, wideImages) {
    for (const unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_32F})
        expectRings(depth, 20001, 1);
    expectRings(MOX_DEPTH_8S, 6001, 2);
}

TEST(RingEdges, onePixelIsTheMiddle) {
    MoxImage *image = moxCreateImageJaehne(MOX_DEPTH_8U, 1, 1);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(static_cast<unsigned char>(image->imageData[0]), 127);
    moxDeallocate(image, MOX_FreeHeader | MOX_FreeData);
}

TEST(RingEdges, failures) {
    ReportRecorder reports;
    const auto expect = [&](unsigned depth, int width, int height, MoxStatus status) {
        reports.clear();
        EXPECT_EQ(moxCreateImageJaehne(static_cast<int>(depth), width, height), nullptr);
        EXPECT_TRUE(reports.are({{status, "moxCreateImageJaehne", moxErrorStr(status)}})) << reports.text();
        EXPECT_EQ(moxGetErrStatus(), status);
    };
    for (const int size : {0, -1, INT_MIN}) {
        expect(MOX_DEPTH_8U, size, 5, -10);
        expect(MOX_DEPTH_8U, 5, size, -10);
        expect(12, 5, size, -10);
    }
    for (const unsigned depth : {0u, 2u, 24u, 64u, MOX_DEPTH_SIGN, MOX_DEPTH_SIGN | 1u, 0xFFFFFFFFu})
        expect(depth, 5, 5, -17);
    expect(MOX_DEPTH_8U, INT_MAX, INT_MAX, -10);
    expect(MOX_DEPTH_32F, INT_MAX, 1, -10);
    expect(MOX_DEPTH_8U, 1, INT_MAX, -10);
}

TEST(RingEdges, memoryThatIsRefused) {
    for (const bool floats : {false, true}) {
        for (int failAt = 1; failAt <= 2; ++failAt) {
            ReportRecorder reports;
            AllocationWindow window(failAt);
            MoxImage *image = moxCreateImageJaehne(floats ? MOX_DEPTH_32F : MOX_DEPTH_8U, 30, 20);
            window.close();
            EXPECT_EQ(image, nullptr);
            EXPECT_EQ(window.live(), 0);
            if (failAt == 1) {
                EXPECT_TRUE(reports.are(
                    {{-4, "moxCreateImageJaehne", "Not enough memory to allocate header for ImageJaehne"}}));
            } else {
                EXPECT_TRUE(reports.are(
                    {{-4, floats ? "moxAllocateImageFP" : "moxAllocateImage", "for allocate image data"},
                     {-4, "moxCreateImageJaehne", "Not enough memory to allocate imageData for ImageJaehne"}}));
            }
        }
    }
}

}  // namespace
