// Colour models and gray by hand: values worked out on paper, wraps, limits and thresholds, and what is left alone.
#include <bit>
#include <cmath>
#include <cstring>

#include "color/colorpair.h"
#include "color/owncolor.h"
#include "color/refusedcall.h"
#include "support/reports.h"

namespace {

using Color = std::vector<uint32_t>;

// One colour through a function, among pixels of other colours so that vectors are at work, at every level.
Color convertOne(const char *name, unsigned depth, const Color &from) {
    const RefModel &model = refModel(name);
    Color result;
    forEachCpuLevel([&] {
        TestImage src(TestLayout::of(depth, 41, 2, 3), 1), dst(TestLayout::of(depth, 41, 2, 3), 2);
        nameModel(src, model.forward ? "RGB" : model.model, model.forward ? "RGB" : model.model);
        nameModel(dst, model.forward ? "HSV" : "RGB", "RGB");
        for (int i = 0; i < 3; ++i) {
            src.set(i, 5, 1, from[static_cast<size_t>(i)]);
            src.set(i, 40, 1, from[static_cast<size_t>(i)]);
        }
        ReportRecorder reports;
        model.call(src.header(), dst.header());
        EXPECT_TRUE(reports.none());
        result = {dst.get(0, 5, 1), dst.get(1, 5, 1), dst.get(2, 5, 1)};
        EXPECT_EQ(result, (Color{dst.get(0, 40, 1), dst.get(1, 40, 1), dst.get(2, 40, 1)}));
    });
    return result;
}

uint32_t bits(float value) {
    return std::bit_cast<uint32_t>(value);
}
Color bits(float a, float b, float c) {
    return {bits(a), bits(b), bits(c)};
}
float real(uint32_t sample) {
    return std::bit_cast<float>(sample);
}

const unsigned BYTE = MOX_DEPTH_8U, WORD = MOX_DEPTH_16U, WIDE = MOX_DEPTH_32S, REAL = MOX_DEPTH_32F;
const uint32_t LOW = 0x80000000, HIGH = 0x7FFFFFFF;

// --- hue

TEST(ColorHue, primariesToHue) {
    EXPECT_EQ(convertOne("moxRGB2HSV", BYTE, {255, 0, 0}), (Color{0, 255, 255}));
    EXPECT_EQ(convertOne("moxRGB2HSV", BYTE, {0, 255, 0}), (Color{85, 255, 255}));
    EXPECT_EQ(convertOne("moxRGB2HSV", BYTE, {0, 0, 255}), (Color{170, 255, 255}));
    // 60, 180 and 300 degrees: 42.5, 127.5 and 212.5.
    EXPECT_EQ(convertOne("moxRGB2HSV", BYTE, {255, 255, 0}), (Color{42, 255, 255}));
    EXPECT_EQ(convertOne("moxRGB2HSV", BYTE, {0, 255, 255}), (Color{127, 255, 255}));
    EXPECT_EQ(convertOne("moxRGB2HSV", BYTE, {255, 0, 255}), (Color{212, 255, 255}));
    EXPECT_EQ(convertOne("moxRGB2HSV", WORD, {0, 65535, 0}), (Color{21845, 65535, 65535}));
    EXPECT_EQ(convertOne("moxRGB2HSV", BYTE, {0, 0, 0}), (Color{0, 0, 0}));
    EXPECT_EQ(convertOne("moxRGB2HLS", BYTE, {255, 0, 0}), (Color{0, 127, 255}));
    EXPECT_EQ(convertOne("moxRGB2HLS", BYTE, {0, 255, 0}), (Color{85, 127, 255}));
    EXPECT_EQ(convertOne("moxRGB2HLS", BYTE, {0, 0, 0}), (Color{0, 0, 0}));
    EXPECT_EQ(convertOne("moxRGB2HLS", BYTE, {255, 255, 255}), (Color{0, 255, 0}));
}

TEST(ColorHue, graysHaveNoSaturationAndComeBack) {
    for (uint32_t value = 0; value < 256; ++value) {
        EXPECT_EQ(convertOne("moxRGB2HSV", BYTE, {value, value, value}), (Color{0, 0, value}));
        EXPECT_EQ(convertOne("moxHSV2RGB", BYTE, {value, 0, value}), (Color{value, value, value}));
        EXPECT_EQ(convertOne("moxRGB2HLS", BYTE, {value, value, value}), (Color{0, value, 0}));
        EXPECT_EQ(convertOne("moxHLS2RGB", BYTE, {77, value, 0}), (Color{value, value, value}));
    }
}

// At 72 degrees the sector is the first one still: green goes beyond the range, and its low byte is stored.
TEST(ColorHue, sectorsReachHalfIntoTheNext) {
    const Color color = convertOne("moxHSV2RGB", BYTE, {51, 255, 255});
    EXPECT_EQ(color[0], 255u);
    EXPECT_TRUE(color[1] == 306 - 256 || color[1] == 305 - 256) << color[1];
    EXPECT_EQ(color[2], 0u);
    EXPECT_EQ(refHSV2RGB(BYTE, {{51, 255, 255}}), (RefColor{{color[0], color[1], color[2]}}));
    // The same at 16 bits: 78642 and its low 16 bits.
    const Color wide = convertOne("moxHSV2RGB", WORD, {13107, 65535, 65535});
    EXPECT_EQ(wide[0], 65535u);
    EXPECT_NEAR(wide[1], 78642 - 65536, 1);
    // At 32 bits it is limited.
    const Color widest = convertOne("moxHSV2RGB", WIDE, {858993459u ^ LOW, HIGH, HIGH});
    EXPECT_EQ(widest[0], HIGH);
    EXPECT_EQ(widest[1], HIGH);
}

TEST(ColorHue, fullCircleIsNone) {
    EXPECT_EQ(convertOne("moxHSV2RGB", BYTE, {255, 255, 255}), convertOne("moxHSV2RGB", BYTE, {0, 255, 255}));
    EXPECT_EQ(convertOne("moxHSV2RGB", BYTE, {255, 200, 99}), convertOne("moxHSV2RGB", BYTE, {0, 200, 99}));
    EXPECT_EQ(convertOne("moxHSV2RGB", WORD, {65535, 200, 999}), convertOne("moxHSV2RGB", WORD, {0, 200, 999}));
    EXPECT_EQ(convertOne("moxHSV2RGB", WIDE, {HIGH, 200, 999}), convertOne("moxHSV2RGB", WIDE, {LOW, 200, 999}));
}

// The offset back to signed samples has a half in one model and none in the other.
TEST(ColorHue, wideSamplesAreCut) {
    // V = T(v - 0.5): 5 becomes 4, -5 becomes -5, the ends differ.
    EXPECT_EQ(convertOne("moxRGB2HSV", WIDE, {5, 5, 5})[2], 4u);
    EXPECT_EQ(convertOne("moxRGB2HSV", WIDE, {0xFFFFFFFB, 0xFFFFFFFB, 0xFFFFFFFB})[2], 0xFFFFFFFBu);
    EXPECT_EQ(convertOne("moxRGB2HSV", WIDE, {0, 0, 0})[2], 0u);
    EXPECT_EQ(convertOne("moxRGB2HSV", WIDE, {LOW, LOW, LOW}), (Color{LOW, LOW, LOW}));
    EXPECT_EQ(convertOne("moxRGB2HSV", WIDE, {HIGH, HIGH, HIGH}), (Color{LOW, LOW, HIGH - 1}));
    EXPECT_EQ(convertOne("moxRGB2HLS", WIDE, {5, 5, 5}), (Color{LOW, 5, LOW}));
    EXPECT_EQ(convertOne("moxRGB2HLS", WIDE, {HIGH, HIGH, HIGH}), (Color{LOW, HIGH, LOW}));
    EXPECT_EQ(convertOne("moxHSV2RGB", WIDE, {5, LOW, 17}), (Color{17, 17, 17}));
    EXPECT_EQ(convertOne("moxHLS2RGB", WIDE, {5, 17, LOW}), (Color{17, 17, 17}));
}

// --- linear models

TEST(ColorLinear, whiteAndBlackToYUV) {
    EXPECT_EQ(convertOne("moxRGB2YUV", BYTE, {255, 255, 255}), (Color{255, 127, 127}));
    EXPECT_EQ(convertOne("moxRGB2YUV", BYTE, {0, 0, 0}), (Color{0, 127, 127}));
    // 65535 x 32769 >> 15 is 65536, which is limited.
    EXPECT_EQ(convertOne("moxRGB2YUV", WORD, {65535, 65535, 65535}), (Color{65535, 32767, 32767}));
    EXPECT_EQ(convertOne("moxYUV2RGB", BYTE, {200, 127, 127}), (Color{200, 200, 200}));
    EXPECT_EQ(convertOne("moxYUV2RGB", BYTE, {255, 255, 255})[0], 255u);
    EXPECT_EQ(convertOne("moxYUV2RGB", BYTE, {0, 0, 0})[2], 0u);
    // 66883 x 32768 takes more than 31 bits.
    EXPECT_EQ(convertOne("moxYUV2RGB", WORD, {0, 65535, 32767})[2], 65535u);
    EXPECT_EQ(convertOne("moxYUV2RGB", WORD, {65535, 0, 32767})[2], 0u);
    // 9798 x 100 + 19235 x 50 + 3736 x 200 = 2688750, >> 15 = 82; (-478400 - 471850 + 2844200) >> 15 = 57;
    // (2021800 - 847050 - 655400) >> 15 = 15
    EXPECT_EQ(convertOne("moxRGB2YUV", BYTE, {100, 50, 200}), (Color{82, 57 + 127, 15 + 127}));
}

TEST(ColorLinear, wideYUVIsLimited) {
    EXPECT_EQ(convertOne("moxYUV2RGB", WIDE, {HIGH, HIGH, HIGH})[0], HIGH);
    EXPECT_EQ(convertOne("moxYUV2RGB", WIDE, {LOW, LOW, LOW})[2], LOW);
    // 1.135920183 x 1000 = 1135.9 and 0.578 x 1000 = 578.3, truncated towards zero.
    EXPECT_EQ(convertOne("moxYUV2RGB", WIDE, {0, 0, 1000}), (Color{1135, static_cast<uint32_t>(-578), 0}));
    EXPECT_EQ(convertOne("moxYUV2RGB", REAL, bits(0, 0, 2))[0], bits(static_cast<float>(2 * 1.135920183)));
    // Floats are neither limited nor cut.
    EXPECT_EQ(real(convertOne("moxYUV2RGB", REAL, bits(-5, 0, 0))[0]), -5.0f);
}

// Between orders the differences are taken from Y, with 128 in the middle: white differs from the plain rows.
TEST(ColorLinear, mixedOrdersHaveTheirOwnNumbers) {
    TestImage src(TestLayout::of(BYTE, 33, 2, 3), 1), dst(TestLayout::of(BYTE, 33, 2, 3, MOX_DATA_ORDER_PLANE), 2);
    nameModel(src, "RGB", "BGR");
    nameModel(dst, "YUV", "YUV");
    src.setAll(255);
    src.set(2, 7, 1, 100);  // red
    src.set(1, 7, 1, 50);
    src.set(0, 7, 1, 200);
    ReportRecorder reports;
    moxRGB2YUV(src.header(), dst.header());
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(dst.get(0, 0, 0), 255u);
    EXPECT_EQ(dst.get(1, 0, 0), 128u);
    EXPECT_EQ(dst.get(2, 0, 0), 128u);
    // 16121 x (200 - 82) >> 15 = 58, 28737 x (100 - 82) >> 15 = 15
    EXPECT_EQ(dst.get(0, 7, 1), 82u);
    EXPECT_EQ(dst.get(1, 7, 1), 128u + 58);
    EXPECT_EQ(dst.get(2, 7, 1), 128u + 15);
}

TEST(ColorLinear, toYCrCbAndBack) {
    // Blue differences stand before red ones.
    EXPECT_EQ(convertOne("moxRGB2YCrCb", BYTE, {0, 0, 255}), (Color{29, 255, 107}));
    EXPECT_EQ(convertOne("moxRGB2YCrCb", BYTE, {255, 255, 255}), (Color{255, 128, 128}));
    EXPECT_EQ(convertOne("moxRGB2YCrCb", WORD, {65535, 65535, 65535}), (Color{65535, 32768, 32768}));
    EXPECT_EQ(convertOne("moxRGB2YCrCb", WORD, {0, 0, 65535})[1], 65535u);
    EXPECT_EQ(convertOne("moxYCrCb2RGB", BYTE, {100, 128, 128})[0], 100u);
    EXPECT_EQ(convertOne("moxYCrCb2RGB", BYTE, {255, 255, 255}), (Color{255, 121, 255}));
    // Floats are raised to 0 and have no upper limit.
    const Color color = convertOne("moxYCrCb2RGB", REAL, bits(0, 0, 5));
    EXPECT_GT(real(color[0]), 6.0f);
    EXPECT_EQ(color[1], 0u);
    EXPECT_EQ(color[2], 0u);
    // Halves stand at the differences of floats, not at those of wide integers.
    EXPECT_EQ(convertOne("moxRGB2YCrCb", REAL, bits(0, 0, 0)), bits(0, 0.5f, 0.5f));
    EXPECT_EQ(convertOne("moxRGB2YCrCb", WIDE, {0, 0, 0}), (Color{0, 0, 0}));
    EXPECT_EQ(convertOne("moxRGB2YCrCb", WIDE, {0, 0, 1001})[1], 500u);
}

TEST(ColorLinear, toXYZAndBack) {
    EXPECT_EQ(convertOne("moxRGB2XYZ", BYTE, {255, 255, 255}), (Color{242, 255, 255}));
    EXPECT_EQ(convertOne("moxRGB2XYZ", WORD, {65535, 65535, 65535})[2], 65535u);
    EXPECT_EQ(convertOne("moxXYZ2RGB", BYTE, {0, 255, 0}), (Color{0, 255, 0}));
    EXPECT_EQ(convertOne("moxXYZ2RGB", BYTE, {255, 0, 0}), (Color{255, 0, 14}));
    // The low bytes count for nothing.
    EXPECT_EQ(convertOne("moxXYZ2RGB", WORD, {0x1234, 0x2345, 0x3456}),
              convertOne("moxXYZ2RGB", WORD, {0x12FF, 0x2300, 0x3401}));
    EXPECT_EQ(convertOne("moxXYZ2RGB", WORD, {0xFF, 0xFF, 0xFF}), (Color{128, 128, 128}));
    EXPECT_EQ(convertOne("moxRGB2XYZ", WIDE, {HIGH, HIGH, HIGH})[2], HIGH);
    EXPECT_EQ(convertOne("moxRGB2XYZ", WIDE, {0, 0, 0}), (Color{static_cast<uint32_t>(-106394929), 0, 190597763}));
    EXPECT_EQ(convertOne("moxXYZ2RGB", WIDE, {0, 0, 0}),
              (Color{439790694, static_cast<uint32_t>(-111044279), static_cast<uint32_t>(-195600605)}));
}

TEST(ColorLinear, toLUVAndBack) {
    // Y of pure red is 0.2126 R: 0.01 lies between.
    const Color dark = convertOne("moxRGB2LUV", REAL, bits(0.047f, 0, 0));
    EXPECT_EQ(dark, bits(0, 0, 0));
    const Color lit = convertOne("moxRGB2LUV", REAL, bits(0.048f, 0, 0));
    EXPECT_GT(real(lit[0]), 8.0f);
    EXPECT_NE(lit[1], 0u);
    EXPECT_EQ(convertOne("moxRGB2LUV", REAL, bits(-1, -1, -1)), bits(0, 0, 0));
    EXPECT_NEAR(real(convertOne("moxRGB2LUV", REAL, bits(1, 1, 1))[0]), 100.0, 1e-4);
    EXPECT_EQ(convertOne("moxLUV2RGB", REAL, bits(8.7f, 3, 4)), bits(0, 0, 0));
    EXPECT_EQ(convertOne("moxLUV2RGB", REAL, bits(-50, 3, 4)), bits(0, 0, 0));
    EXPECT_NE(convertOne("moxLUV2RGB", REAL, bits(std::nextafter(8.7f, 9.0f), 3, 4)), bits(0, 0, 0));
    const Color white = convertOne("moxLUV2RGB", REAL, bits(100, 0, 0));
    for (uint32_t sample : white)
        EXPECT_NEAR(real(sample), 1.0, 0.02);
}

// The root of every magnitude from the threshold on: a relative error of 1e-9 would show in some of them.
TEST(ColorLinear, rootsOfEveryMagnitude) {
    constexpr int SIDE = 256;
    TestImage src(TestLayout::of(REAL, SIDE, SIDE, 3), 1), dst(TestLayout::of(REAL, SIDE, SIDE, 3), 2);
    nameModel(src, "RGB", "RGB");
    for (int i = 0; i < SIDE * SIDE * 3; ++i) {
        // Grays from 0.0098 to 2^16.
        src.set(i % 3, i / 3 % SIDE, i / 3 / SIDE, 0x3C200000u + static_cast<uint32_t>(i / 3) * 2917u);
    }
    const RefResult wanted = refConvertColors(refModel("moxRGB2LUV"), src, dst);
    forEachCpuLevel([&] {
        moxRGB2LUV(src.header(), dst.header());
        EXPECT_TRUE(dst.holds(wanted.expected));
    });
}

// Rows of many pixels go by vectors, single pixels do not. Every 509th float from the threshold on is a gray.
void compareWithSinglePixels(OwnPlaneKernel kernel, const std::vector<float> *channels) {
    const size_t count = channels[0].size();
    std::vector<float> many[3], single[3];
    void *rows[6], *at[6];
    for (int k = 0; k < 3; ++k) {
        many[k].resize(count);
        single[k].resize(count);
        rows[k] = const_cast<float *>(channels[k].data());
        rows[3 + k] = many[k].data();
    }
    kernel(rows, count, nullptr);
    for (size_t i = 0; i < count; ++i) {
        for (int k = 0; k < 3; ++k) {
            at[k] = static_cast<float *>(rows[k]) + i;
            at[3 + k] = single[k].data() + i;
        }
        kernel(at, 1, nullptr);
        for (int k = 0; k < 3; ++k) {
            if (std::isnan(single[k][i]) && std::isnan(many[k][i])) continue;
            ASSERT_EQ(bits(single[k][i]), bits(many[k][i])) << "pixel " << i << ", channel " << k;
        }
    }
}

TEST(ColorLinear, luvOfManyPixelsIsThatOfEach) {
    std::vector<float> grays, channels[3];
    for (uint32_t word = bits(0.0099f); word < bits(INFINITY); word += 509)
        grays.push_back(real(word));
    const std::vector<float> same[] = {grays, grays, grays};
    Random random(1);
    for (int i = 0; i < 100001; ++i) {
        const bool drawn = i % 3 == 0;
        for (int k = 0; k < 3; ++k) {
            const float usual = static_cast<float>(random.between(-1000000, 1000000)) / 10000;
            channels[k].push_back(drawn ? real(drawSample(random, REAL)) : usual);
        }
    }
    forEachCpuLevel([&] {
        compareWithSinglePixels(ownLuvRows().from[OWN_32F], same);
        compareWithSinglePixels(ownLuvRows().from[OWN_32F], channels);
        compareWithSinglePixels(ownLuvRows().to[OWN_32F], channels);
    });
}

// Some colour has each index, and the last of the table's is 0 between 255 and 255.
TEST(ColorLinear, scannedColorsGoThroughTheirTable) {
    int seen360 = 0, seen361 = 0, seen362 = 0;
    for (uint32_t y = 0; y < 256; ++y) {
        for (uint32_t c2 = 0; c2 < 256; ++c2) {
            const int index = (22256 * static_cast<int>(y) + 29844 * static_cast<int>(c2) - 4088627) >> 14;
            if (index < 360 || index > 362) continue;
            int &seen = index == 360 ? seen360 : index == 361 ? seen361 : seen362;
            if (++seen > 3) continue;
            EXPECT_EQ(convertOne("moxYCC2RGB", BYTE, {y, 100, c2})[0], index == 361 ? 0u : 255u);
        }
    }
    EXPECT_GT(seen360, 0);
    EXPECT_GT(seen361, 0);
    EXPECT_GT(seen362, 0);
    EXPECT_EQ(convertOne("moxYCC2RGB", BYTE, {0, 0, 0}), (Color{0, 140, 0}));
    EXPECT_EQ(convertOne("moxYCC2RGB", BYTE, {255, 255, 255})[0], 255u);
    // 22256 x 120 + 29844 x 137 - 4088627 = 2670721, index 163.
    EXPECT_EQ(convertOne("moxYCC2RGB", BYTE, {120, 156, 137})[0], 118u);
}

// --- gray

TEST(ColorGray, weightsToGray) {
    const struct {
        unsigned src, dst;
        Color from;
        uint32_t gray;
    } cases[] = {{BYTE, WORD, {255, 255, 255}, 65025},
                 {BYTE, BYTE, {255, 255, 255}, 254},
                 {BYTE, WORD, {1, 0, 0}, 54},
                 {BYTE, WORD, {0, 1, 0}, 183},
                 {BYTE, WORD, {0, 0, 1}, 18},
                 {BYTE, MOX_DEPTH_1U, {0, 0, 0}, 0},
                 {BYTE, MOX_DEPTH_1U, {255, 255, 255}, 1},
                 {WORD, WORD, {65535, 65535, 65535}, 65279},
                 {WORD, BYTE, {65535, 65535, 65535}, 254},
                 {WORD, MOX_DEPTH_1U, {65535, 65535, 65535}, 1},
                 {WIDE, WORD, {HIGH, HIGH, HIGH}, 65535},
                 {WIDE, BYTE, {HIGH, HIGH, HIGH}, 255},
                 {WIDE, WORD, {LOW, LOW, LOW}, 0},
                 {WIDE, BYTE, {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}, 0},
                 {WIDE, MOX_DEPTH_1U, {HIGH, HIGH, HIGH}, 1},
                 {WIDE, MOX_DEPTH_1U, {0x40000000, 0x40000000, 0x40000000}, 1},
                 {WIDE, MOX_DEPTH_1U, {0x3FFFFFFF, 0x3FFFFFFF, 0x3FFFFFFF}, 0},
                 {WIDE, MOX_DEPTH_1U, {LOW, LOW, LOW}, 0}};
    for (const auto &each : cases) {
        TestImage src(TestLayout::of(each.src, 35, 1, 3), 1), dst(TestLayout::of(each.dst, 35, 1), 2);
        nameModel(src, "RGB", "RGB");
        for (int x = 0; x < 35; ++x) {
            for (int i = 0; i < 3; ++i)
                src.set(i, x, 0, each.from[static_cast<size_t>(i)]);
        }
        ReportRecorder reports;
        moxColorToGray(src.header(), dst.header());
        EXPECT_TRUE(reports.none());
        for (int x : {0, 34})
            EXPECT_EQ(dst.get(0, x, 0), each.gray);
    }
}

// Just below and at the middle, from bytes and from words.
TEST(ColorGray, bitsAreSetFromTheMiddleOn) {
    const struct {
        unsigned depth;
        Color from;
        uint32_t bit;
    } cases[] = {{BYTE, {0, 179, 0}, 0},     // 183 x 179 = 32757, >> 8 = 127
                 {BYTE, {0, 179, 1}, 1},     // 32775, >> 8 = 128
                 {WORD, {0, 45839, 0}, 0},   // 8388537, >> 8 = 32767
                 {WORD, {0, 45840, 0}, 1}};  // 8388720, >> 8 = 32768
    for (const auto &each : cases) {
        TestImage src(TestLayout::of(each.depth, 9, 1, 3), 1), dst(TestLayout::of(MOX_DEPTH_1U, 9, 1), 2);
        nameModel(src, "RGB", "BGR");
        for (int x = 0; x < 9; ++x) {
            for (int i = 0; i < 3; ++i)
                src.set(2 - i, x, 0, each.from[static_cast<size_t>(i)]);
        }
        moxColorToGray(src.header(), dst.header());
        EXPECT_EQ(dst.get(0, 0, 0), each.bit);
        EXPECT_EQ(dst.get(0, 8, 0), each.bit);
    }
}

// Bits beyond the width, in the last byte of a row and after it, stay as they are.
TEST(ColorGray, bitsBeyondTheWidthStay) {
    for (int width = 1; width <= 40; ++width) {
        TestImage src(TestLayout::of(BYTE, width, 3, 3), 1), dst(TestLayout::of(MOX_DEPTH_1U, width, 3), 2);
        nameModel(src, "RGB", "RGB");
        for (uint32_t value : {0u, 255u}) {
            src.setAll(value);
            const RefResult wanted = refColorToGray(src, dst);
            moxColorToGray(src.header(), dst.header());
            ASSERT_TRUE(dst.holds(wanted.expected)) << width;
        }
    }
}

TEST(ColorGray, severalPlanesHaveTheirGrayInTheFirst) {
    TestImage src(TestLayout::of(BYTE, 21, 3, 3), 1), dst(TestLayout::of(BYTE, 21, 3, 3, MOX_DATA_ORDER_PLANE), 2);
    nameModel(src, "RGB", "RGB");
    const RefResult wanted = refColorToGray(src, dst);
    ReportRecorder reports;
    moxColorToGray(src.header(), dst.header());
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(dst.holds(wanted.expected));
    EXPECT_EQ(memcmp(dst.header()->colorModel, "GRAY", 4), 0);
    EXPECT_EQ(memcmp(dst.header()->channelSeq, "G", 2), 0);
}

Color colorOf(unsigned srcDepth, unsigned dstDepth, uint32_t gray, float r, float g, float b) {
    TestImage src(TestLayout::of(srcDepth, 35, 1), 1), dst(TestLayout::of(dstDepth, 35, 1, 3), 2);
    nameModel(dst, "RGB", "BGR");
    src.setAll(gray);
    ReportRecorder reports;
    moxGrayToColor(src.header(), dst.header(), r, g, b);
    EXPECT_TRUE(reports.none());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(dst.get(i, 0, 0), dst.get(i, 34, 0));
    return {dst.get(2, 0, 0), dst.get(1, 0, 0), dst.get(0, 0, 0)};
}

TEST(ColorGray, weightsToColor) {
    EXPECT_EQ(colorOf(BYTE, BYTE, 200, 1, 0.5f, 0.25f), (Color{200, 100, 50}));
    EXPECT_EQ(colorOf(WORD, WORD, 60000, 1, 0.5f, 0.25f), (Color{60000, 30000, 15000}));
    EXPECT_EQ(colorOf(WIDE, WIDE, 0x40000001, 1, 0.5f, 0), (Color{0x40000001, 0x20000000, 0}));
    EXPECT_EQ(colorOf(WIDE, WIDE, LOW, 1, 0.5f, 0), (Color{LOW, 0xC0000000, 0}));
    EXPECT_EQ(colorOf(MOX_DEPTH_1U, BYTE, 1, 1, 0.5f, 0.25f), (Color{255, 127, 63}));
    EXPECT_EQ(colorOf(MOX_DEPTH_1U, BYTE, 0, 1, 0.5f, 0.25f), (Color{0, 0, 0}));
    // Weights are cut: 0.999 x 256 = 255.7, 255 x 200 >> 8 = 199.
    EXPECT_EQ(colorOf(BYTE, BYTE, 200, 0.999f, 0.001f, 0.5f), (Color{199, 0, 100}));
}

// Weights that come to nothing, all three of them, are replaced; one that does not keeps the others at nothing.
TEST(ColorGray, noWeightsAreTheUsualOnes) {
    for (float weight : {0.0f, -0.0f, 0.0039f, -0.0039f}) {
        EXPECT_EQ(colorOf(BYTE, BYTE, 200, weight, weight, weight), (Color{42, 142, 14})) << weight;
        EXPECT_EQ(colorOf(MOX_DEPTH_1U, BYTE, 1, weight, weight, weight), (Color{53, 182, 17})) << weight;
    }
    for (float weight : {0.0f, 0.00003f, -0.00003f}) {
        // 60000 x 109 >> 9, x 366, x 37
        EXPECT_EQ(colorOf(WORD, WORD, 60000, weight, weight, weight), (Color{12773, 42890, 4335})) << weight;
        // 2 x 6968 x 0x4000, 2 x 23434 x 0x4000, 2 x 2364 x 0x4000
        EXPECT_EQ(colorOf(WIDE, WIDE, 0x40000000, weight, weight, weight), (Color{228327424, 767885312, 77463552}))
            << weight;
    }
    EXPECT_EQ(colorOf(BYTE, BYTE, 200, 0.5f, 0, 0), (Color{100, 0, 0}));
    EXPECT_EQ(colorOf(WORD, WORD, 60000, 0, 0.0039f, 0), (Color{0, (60000 * 127) >> 15, 0}));
}

// Weights outside of 0 to 1 take the samples to the ends of the range.
TEST(ColorGray, weightsBeyondOneSaturate) {
    EXPECT_EQ(colorOf(BYTE, BYTE, 200, 2, -1, 1), (Color{255, 0, 200}));
    EXPECT_EQ(colorOf(MOX_DEPTH_1U, BYTE, 1, 2, -1, 1), (Color{255, 0, 255}));
    EXPECT_EQ(colorOf(WORD, WORD, 60000, 2, -1, 1), (Color{65535, 0, 60000}));
    EXPECT_EQ(colorOf(WIDE, WIDE, 0x40000000, 3, -3, 1), (Color{HIGH, LOW, 0x40000000}));
    EXPECT_EQ(colorOf(BYTE, BYTE, 1, 1e30f, -1e30f, 1), (Color{255, 0, 1}));
    EXPECT_EQ(colorOf(BYTE, BYTE, 0, 1e30f, -1e30f, 1), (Color{0, 0, 0}));
    EXPECT_EQ(colorOf(WORD, WORD, 60000, INFINITY, -INFINITY, 1), (Color{65535, 0, 60000}));
    EXPECT_EQ(colorOf(WIDE, WIDE, 0x40000000, INFINITY, -INFINITY, 1), (Color{HIGH, LOW, 0x40000000}));
}

// A fourth channel, alpha or not, stays as it is.
TEST(ColorGray, fourChannelsKeepTheirFourth) {
    for (int alpha : {0, 4}) {
        for (int order : {0, 1}) {
            TestLayout layout = TestLayout::of(BYTE, 37, 3, 4, order);
            layout.alpha = alpha;
            TestImage src(TestLayout::of(BYTE, 37, 3, 1, order), 1), dst(layout, 2);
            nameModel(dst, "RGBA", "BGRA");
            const float weights[3] = {0.5f, 1, 0.25f};
            const RefResult wanted = refGrayToColor(src, dst, weights);
            ReportRecorder reports;
            moxGrayToColor(src.header(), dst.header(), weights[0], weights[1], weights[2]);
            EXPECT_TRUE(reports.none());
            EXPECT_TRUE(dst.holds(wanted.expected));
        }
    }
}

// --- what plays no part

TEST(ColorImages, masksMeanNothing) {
    for (const RefModel &model : refModels()) {
        const unsigned depth = model.depths[0];
        TestImage src(TestLayout::of(depth, 40, 3, 3), 1), dst(TestLayout::of(depth, 40, 3, 3), 2);
        TestImage mask(TestLayout::ofMask(40, 3), 3), small(TestLayout::ofMask(7, 1), 4);
        mask.setAll(0);
        src.setMask(&small);
        dst.setMask(&mask);
        nameModel(src, model.forward ? "RGB" : model.model, model.forward ? "RGB" : model.model);
        nameModel(dst, "RGB", "RGB");
        src.setAll(depth == REAL ? bits(0.5f) : 100);
        RefResult wanted = refConvertColors(model, src, dst);
        model.call(src.header(), dst.header());
        EXPECT_TRUE(dst.holds(wanted.expected)) << model.name;
    }
}

// The smaller width and height of both are converted, the rest stays.
TEST(ColorImages, sizesMayDiffer) {
    for (const RefModel &model : refModels()) {
        const unsigned depth = model.depths[0];
        for (bool wider : {false, true}) {
            TestImage src(TestLayout::of(depth, wider ? 40 : 25, wider ? 4 : 9, 3), 1),
                dst(TestLayout::of(depth, wider ? 25 : 40, wider ? 9 : 4, 3), 2);
            nameModel(src, model.forward ? "RGB" : model.model, model.forward ? "RGB" : model.model);
            nameModel(dst, "RGB", "RGB");
            src.setAll(depth == REAL ? bits(0.5f) : 100);
            const RefResult wanted = refConvertColors(model, src, dst);
            ReportRecorder reports;
            model.call(src.header(), dst.header());
            EXPECT_TRUE(reports.none());
            EXPECT_TRUE(dst.holds(wanted.expected)) << model.name;
        }
    }
}

TEST(ColorImages, functionsToRGBLeaveTheHeadersAlone) {
    for (const RefModel &model : refModels()) {
        if (model.forward) continue;
        TestImage src(TestLayout::of(model.depths[0], 9, 3, 3), 1), dst(TestLayout::of(model.depths[0], 9, 3, 3), 2);
        nameModel(src, model.model, model.model);
        nameModel(dst, "RGBx", "BGRy");
        model.call(src.header(), dst.header());
        EXPECT_TRUE(src.headerIsUntouched());
        EXPECT_TRUE(dst.headerIsUntouched());
    }
}

}  // namespace
