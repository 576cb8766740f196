// Images too large for the caches, which may be written past them: the result is that of the same call made band by
// band, where no band is large.
#include <cstring>

#include "reference/color.h"
#include "support/cases.h"
#include "support/reports.h"

namespace {

constexpr int WIDTH = 2401, HEIGHT = 2500, BAND = 50;

struct LargeImage {
    std::vector<uint8_t> storage;
    MoxImage image = {};

    LargeImage(unsigned depth, int channels, const char *model, const char *sequence) {
        image.headerSize = static_cast<int>(sizeof image);
        image.nChannels = channels;
        image.depth = depth;
        memcpy(image.colorModel, model, strlen(model));
        memcpy(image.channelSeq, sequence, strlen(sequence));
        image.align = 4;
        image.width = WIDTH;
        image.widthStep = (WIDTH * channels * static_cast<int>(depth & 63) + 31) / 32 * 4;
        image.height = HEIGHT;
        image.imageSize = image.widthStep * HEIGHT;
        // A sample beyond what the heap gives.
        storage.resize(static_cast<size_t>(image.imageSize) + 4);
    }
    void draw(uint64_t seed) {
        Random random(seed);
        std::vector<uint8_t> noise(1 << 16);
        for (uint8_t &byte : noise)
            byte = static_cast<uint8_t>(random.bits());
        // No float is an infinity or NaN.
        for (size_t i = 3; image.depth == MOX_DEPTH_32F && i < noise.size(); i += 4)
            noise[i] = 0x3E;
        for (size_t at = 0; at < storage.size(); at += noise.size() - 1024) {
            memcpy(storage.data() + at, noise.data() + at / (noise.size() - 1024) % 61 * 16,
                   std::min(noise.size() - 1024, storage.size() - at));
        }
    }
    // Rows of it as an image.
    MoxImage rows(int y, int count) {
        MoxImage band = image;
        band.height = count;
        band.imageSize = band.widthStep * count;
        band.imageData = reinterpret_cast<char *>(storage.data()) + 4 + static_cast<ptrdiff_t>(y) * band.widthStep;
        return band;
    }
};

struct LargeCall {
    const char *name;
    unsigned srcDepth, dstDepth;
    int srcChannels, dstChannels;
    const char *srcModel, *dstModel;
    void (*run)(MoxImage *src, MoxImage *dst);
};

const unsigned U8 = MOX_DEPTH_8U, S16 = MOX_DEPTH_16S, U16 = MOX_DEPTH_16U, BITS = MOX_DEPTH_1U, REAL = MOX_DEPTH_32F;

void twist(MoxImage *src, MoxImage *dst) {
    MoxColorTwist record = {{13000, 5000, -1600, 70000, -2000, 15000, 3400, 0, 4000, -3000, 15000, -5000}, 14};
    moxApplyColorTwist(src, dst, &record, 0);
}

template <void(MOX_CALL *function)(MoxImage *, MoxImage *)>
void plain(MoxImage *src, MoxImage *dst) {
    function(src, dst);
}

const LargeCall calls[] = {
    {"convertWider", U8, S16, 1, 1, "GRAY", "GRAY", plain<moxConvert>},
    {"convertNarrower", S16, U8, 3, 3, "GRAY", "GRAY", plain<moxConvert>},
    {"convertToBits", S16, BITS, 1, 1, "GRAY", "GRAY", plain<moxConvert>},
    {"convertBits", BITS, BITS, 1, 1, "GRAY", "GRAY", plain<moxConvert>},
    {"scaleWider", U8, U16, 3, 3, "GRAY", "GRAY", plain<moxScale>},
    {"scaleNarrower", U16, U8, 3, 3, "GRAY", "GRAY", plain<moxScale>},
    {"scaleToFloat", U8, REAL, 3, 3, "GRAY", "GRAY", [](MoxImage *s, MoxImage *d) { moxScaleFP(s, d, 0, 1); }},
    {"scaleFromFloat", REAL, U8, 3, 3, "GRAY", "GRAY", [](MoxImage *s, MoxImage *d) { moxScaleFP(s, d, 0.1f, 0.3f); }},
    {"bitsToGray", BITS, U16, 1, 1, "GRAY", "GRAY", [](MoxImage *s, MoxImage *d) { moxBitonalToGray(s, d, 3, 999); }},
    {"threshold", U8, U8, 3, 3, "GRAY", "GRAY", [](MoxImage *s, MoxImage *d) { moxThreshold(s, d, 100); }},
    {"thresholdToBits", U8, BITS, 1, 1, "GRAY", "GRAY", [](MoxImage *s, MoxImage *d) { moxThreshold(s, d, 100); }},
    {"toHSV", U8, U8, 3, 3, "RGB", "HSV", plain<moxRGB2HSV>},
    {"fromHLS", U8, U8, 3, 3, "HLS", "RGB", plain<moxHLS2RGB>},
    {"toYCrCb", U8, U8, 4, 3, "RGB", "YCr", plain<moxRGB2YCrCb>},
    {"fromYUV", U8, U8, 3, 3, "YUV", "RGB", plain<moxYUV2RGB>},
    {"toXYZ", REAL, REAL, 3, 3, "RGB", "XYZ", plain<moxRGB2XYZ>},
    {"toGray", U8, U8, 3, 1, "RGB", "GRAY", plain<moxColorToGray>},
    {"toGrayBits", U8, BITS, 3, 1, "RGB", "GRAY", plain<moxColorToGray>},
    {"toColor", U8, U8, 1, 4, "GRAY", "RGB", [](MoxImage *s, MoxImage *d) { moxGrayToColor(s, d, 1, 0.5f, 0.25f); }},
    {"twist", U8, U8, 3, 3, "RGB", "RGB", twist},
};

class LargeColor : public testing::TestWithParam<LargeCall> {};
INSTANTIATE_TEST_SUITE_P(Color, LargeColor, testing::ValuesIn(calls),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_P(LargeColor, isThatOfItsBands) {
    const LargeCall &call = GetParam();
    LargeImage src(call.srcDepth, call.srcChannels, call.srcModel, call.srcModel);
    src.draw(3);
    LargeImage banded(call.dstDepth, call.dstChannels, call.dstModel, call.dstModel);
    banded.draw(4);
    const std::vector<uint8_t> before = banded.storage;
    LargeImage whole = banded;
    ReportRecorder reports;
    for (int y = 0; y < HEIGHT; y += BAND) {
        MoxImage from = src.rows(y, BAND), to = banded.rows(y, BAND);
        call.run(&from, &to);
    }
    EXPECT_TRUE(banded.storage != before);
    forEachCpuLevel([&] {
        whole.storage = before;
        MoxImage from = src.rows(0, HEIGHT), to = whole.rows(0, HEIGHT);
        call.run(&from, &to);
        // Padding may be written where the whole image is one run; samples may not differ.
        const size_t sampleBytes = static_cast<size_t>(WIDTH * call.dstChannels) * (call.dstDepth & 63) / 8;
        for (int y = 0; y < HEIGHT; ++y) {
            const size_t at = 4 + static_cast<size_t>(y) * static_cast<size_t>(whole.image.widthStep);
            ASSERT_EQ(memcmp(whole.storage.data() + at, banded.storage.data() + at, sampleBytes), 0) << "row " << y;
        }
        EXPECT_EQ(memcmp(whole.storage.data(), before.data(), 4), 0);
    });
    EXPECT_TRUE(reports.none());
}

}  // namespace
