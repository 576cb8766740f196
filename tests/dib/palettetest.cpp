// Median cut: palettes worked out by hand, and the model on pictures of every kind.
#include <algorithm>

#include "dib/dibcheck.h"
#include "support/reports.h"

namespace {

// The palette that a row of gray pixels gives.
RefPalette cutGray(int bits, const std::vector<uint8_t> &grays, unsigned depth = MOX_DEPTH_8U) {
    const BitmapShape shape = {static_cast<int>(grays.size()), 1, bits};
    TestImage image(layoutFor(shape, 1, depth));
    for (size_t x = 0; x < grays.size(); ++x)
        image.set(0, static_cast<int>(x), 0, grays[x]);
    TestBitmap bitmap(shape);
    ReportRecorder reports;
    bitmap.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_MEDCUT);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(bitmap.header()->biClrUsed, bitmap.palette().size());
    for (int i = 0; i < bitmap.coloursNow(); ++i)
        EXPECT_EQ(bitmap.fourthByte(i), 0);
    EXPECT_TRUE(bitmap.guardsAreUntouched());
    return bitmap.palette();
}

RefPalette cut(int bits, const std::vector<uint32_t> &colours, const char *names = "RGB") {
    const BitmapShape shape = {static_cast<int>(colours.size()), 1, bits};
    TestImage image(layoutFor(shape, 3));
    nameChannels(image, names);
    for (size_t x = 0; x < colours.size(); ++x) {
        for (int channel = 0; channel < 3; ++channel) {
            const int shift = names[0] == 'R' ? 16 - 8 * channel : 8 * channel;
            image.set(channel, static_cast<int>(x), 0, colours[x] >> shift & 255);
        }
    }
    TestBitmap bitmap(shape);
    ReportRecorder reports;
    bitmap.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_MEDCUT);
    EXPECT_TRUE(reports.none());
    for (int i = 0; i < bitmap.coloursNow(); ++i)
        EXPECT_EQ(bitmap.fourthByte(i), 0);
    return bitmap.palette();
}

uint32_t gray(uint32_t value) {
    return value * 0x010101;
}

TEST(BitmapMedianCut, oneGrayValueIsOneEntry) {
    for (int bits : {1, 4, 8})
        EXPECT_EQ(cutGray(bits, {77, 77, 77}), RefPalette{gray(77)});
}

TEST(BitmapMedianCut, fewGraysAreKeptInRisingOrder) {
    EXPECT_EQ(cutGray(1, {200, 3, 3, 200}), (RefPalette{gray(3), gray(200)}));
    EXPECT_EQ(cutGray(4, {9, 255, 0, 9, 128}), (RefPalette{gray(0), gray(9), gray(128), gray(255)}));
}

TEST(BitmapMedianCut, anImageOfBitsIsBlackAndWhite) {
    for (int bits : {1, 4, 8}) {
        EXPECT_EQ(cutGray(bits, {0, 0, 0}, MOX_DEPTH_1U), (RefPalette{0, 0xFFFFFF}));
        EXPECT_EQ(cutGray(bits, {0, 1, 0}, MOX_DEPTH_1U), (RefPalette{0, 0xFFFFFF}));
    }
}

// Four values to two entries: the cut is where the halves are nearest to half, and entries are means.
TEST(BitmapMedianCut, graysAreCutAtTheMedian) {
    // Half of 4 is 2; the total passes it at 30 (3 pixels), from 2 before: before is nearer.
    EXPECT_EQ(cutGray(1, {10, 20, 30, 40}), (RefPalette{gray(15), gray(35)}));
    // Half of 8 is 4; at 20 the total goes from 3 to 6: 4 - 3 < 6 - 4, so before it.
    EXPECT_EQ(cutGray(1, {10, 10, 10, 20, 20, 20, 30, 40}), (RefPalette{gray(10), gray(26)}));
    // At 20 it goes from 1 to 6: not before, but behind it.
    EXPECT_EQ(cutGray(1, {10, 20, 20, 20, 20, 20, 30, 40}), (RefPalette{gray((10 + 5 * 20) / 6), gray(35)}));
    // From 2 to 6, as far either way: behind.
    EXPECT_EQ(cutGray(1, {10, 10, 20, 20, 20, 20, 30, 40}), (RefPalette{gray(16), gray(35)}));
}

// Round by round, not by size: of 18 values to 16 entries the first boxes of the last generation are cut.
TEST(BitmapMedianCut, boxesAreCutRoundRobin) {
    std::vector<uint8_t> grays;
    for (int i = 0; i < 32; ++i)
        grays.push_back(static_cast<uint8_t>(i * 8));
    const RefPalette palette = cutGray(4, grays);
    // After four rounds each box holds two neighbours; a new box stands behind all that were there.
    EXPECT_EQ(palette, refMedianCutGray(grays, 16));
    ASSERT_EQ(palette.size(), 16u);
    EXPECT_EQ(palette[0], gray(4));    // values 0 and 8
    EXPECT_EQ(palette[1], gray(132));  // the upper half of the first cut: 128 and 136
    EXPECT_EQ(palette[2], gray(68));   // then the upper halves of the second: 64 and 72
    EXPECT_EQ(palette[3], gray(196));
    EXPECT_EQ(palette[4], gray(36));
    EXPECT_EQ(palette[15], gray(244));  // 240 and 248
}

TEST(BitmapMedianCut, fewColoursAreKeptWithTheirLowBitsClear) {
    // In the order of red, then green, then blue.
    EXPECT_EQ(cut(4, {0xFFFFFF, 0x010203, 0x0000FF, 0xFF0000, 0x00FF00, 0x030201}),
              (RefPalette{0x000000, 0x0000FC, 0x00FC00, 0xFC0000, 0xFCFCFC}));
    EXPECT_EQ(cut(1, {0x89ABCD, 0x8BA8CF}), RefPalette{0x88A8CC});
    EXPECT_EQ(cut(8, {0x89ABCD}, "BGR"), RefPalette{0x88A8CC});
    // Just as many cells as entries.
    std::vector<uint32_t> sixteen;
    for (uint32_t i = 0; i < 16; ++i)
        sixteen.push_back(i << 20 | i << 11 | (15 - i) << 4);
    RefPalette kept;
    for (uint32_t i = 0; i < 16; ++i)
        kept.push_back(i << 20 | ((i << 3) & 0xFC) << 8 | (15 - i) << 4);
    EXPECT_EQ(cut(4, sixteen), kept);
}

// The longest axis is cut; ties for blue, then green.
TEST(BitmapMedianCut, theLongestAxisIsCut) {
    // Extents of 8 cells in blue and green: the blue axis parts the colours.
    EXPECT_EQ(cut(1, {0x000000, 0x000020, 0x002000, 0x002020}), (RefPalette{0x001000, 0x001020}));
    // Green and red: the green one.
    EXPECT_EQ(cut(1, {0x000000, 0x002000, 0x200000, 0x202000}), (RefPalette{0x100000, 0x102000}));
    // Blue and red: the blue one; red longer by one cell: the red one.
    EXPECT_EQ(cut(1, {0x000000, 0x000020, 0x200000, 0x200020}), (RefPalette{0x100000, 0x100020}));
    EXPECT_EQ(cut(1, {0x000000, 0x000020, 0x240000, 0x240020}), (RefPalette{0x000010, 0x240010}));
    // Green longest of all.
    EXPECT_EQ(cut(1, {0x000000, 0x202400, 0x200020, 0x002420}), (RefPalette{0x100010, 0x102410}));
}

// With more cells than entries, entries are means weighted by pixels, of cells and not of colours.
TEST(BitmapMedianCut, entriesAreMeans) {
    // Blue cells 0, 1 and 40: half of 6 pixels is 3, passed at cell 1 (from 1 to 4): 3 - 1 > 4 - 3, so behind it.
    EXPECT_EQ(cut(1, {0x000003, 0x000004, 0x000005, 0x000006, 0x0000A0, 0x0000A3}),
              (RefPalette{(0 + 3 * 4) / 4, 0xA0}));
}

TEST(BitmapMedianCut, oneCellIsOneBox) {
    EXPECT_EQ(cut(1, std::vector<uint32_t>(50, 0x345678)), RefPalette{0x345478});
}

class BitmapMedianCutModel : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Bits, BitmapMedianCutModel, testing::Values(1, 4, 8));

// Pictures of many colours: any, clustered, slopes, of one axis alone.
TEST_P(BitmapMedianCutModel, agreesOnColours) {
    forEachCase(60, [&](Random &random) {
        const int count = random.between(2, 4000), kind = random.below(5);
        std::vector<uint32_t> colours;
        const uint32_t base = random.bits() & 0xFFFFFF;
        for (int i = 0; i < count; ++i) {
            uint32_t colour = random.bits() & 0xFFFFFF;
            if (kind == 1) colour = (colour & 0x0F0F0F) + (base & 0xF0F0F0);
            if (kind == 2) colour = static_cast<uint32_t>(i * 255 / count) * 0x010101;
            if (kind == 3) colour &= 0xFFu << 8 * random.below(3);
            if (kind == 4 && !random.oneIn(9)) colour = base;
            colours.push_back(colour);
        }
        EXPECT_EQ(cut(GetParam(), colours, random.oneIn(2) ? "RGB" : "BGR"), refMedianCut(colours, 1 << GetParam()))
            << count << " kind " << kind;
    });
}

TEST_P(BitmapMedianCutModel, agreesOnGrays) {
    forEachCase(100, [&](Random &random) {
        const int count = random.between(1, 1500), most = random.between(1, 256), base = random.below(257 - most);
        std::vector<uint8_t> grays;
        for (int i = 0; i < count; ++i)
            grays.push_back(static_cast<uint8_t>(base + random.below(random.oneIn(2) ? most : (most + 9) / 10)));
        EXPECT_EQ(cutGray(GetParam(), grays), refMedianCutGray(grays, 1 << GetParam()));
    });
}

// The pixels of a packed bitmap stand behind as many entries as there are in the end.
TEST(BitmapMedianCut, pixelsMoveUpToTheEntries) {
    const BitmapShape shape = {3, 2, 8};
    TestImage image(layoutFor(shape));
    for (int i = 0; i < 6; ++i)
        image.set(0, i % 3, i / 3, i < 3 ? 10 : 20);
    TestBitmap packed(shape, 4), separate(shape, 4, true);
    ReportRecorder reports;
    packed.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_MEDCUT);
    separate.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_MEDCUT);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(packed.header()->biClrUsed, 2u);
    EXPECT_EQ(packed.pixels(), reinterpret_cast<uint8_t *>(packed.header()) + 40 + 8);
    EXPECT_TRUE(packed.holds({0, 0, 0, 1, 1, 1}));
    EXPECT_TRUE(separate.holds({0, 0, 0, 1, 1, 1}));
    // And are found there.
    TestImage back(layoutFor(shape), 9);
    packed.convertFrom(back.header());
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(back.get(0, i % 3, i / 3), i < 3 ? 10u : 20u);
}

// Nearest entries by the plain search, where many lie close together.
TEST(BitmapNearest, equalsThePlainSearch) {
    forEachCase(60, [&](Random &random) {
        BitmapShape shape = {random.between(1, 400), random.between(1, 6), 8};
        if (random.oneIn(2)) shape.clrUsed = static_cast<unsigned>(random.between(1, 256));
        TestBitmap bitmap(shape);
        const int kind = random.below(4);
        for (int i = 0; i < shape.colours(); ++i) {
            uint32_t colour = random.bits() & 0xFFFFFF;
            if (kind == 1) colour = (colour & 0x070707) + 0x808080;
            if (kind == 2) colour = (colour & 1 ? 0xFFFFFF : 0) ^ (colour & 0x030303);
            if (kind == 3) colour &= 0xF0F0F0;
            bitmap.setColour(i, colour);
        }
        const RefPalette palette = bitmap.palette();
        TestImage image(layoutFor(shape, 3), random.next());
        nameChannels(image, "BGR");
        // Half of the pixels lie about the middle of two entries.
        for (int i = 0; i < shape.width * shape.rows(); ++i) {
            if (random.oneIn(2)) continue;
            const uint32_t a = palette[random.bits() % palette.size()], b = palette[random.bits() % palette.size()];
            for (int channel = 0; channel < 3; ++channel) {
                const int middle = static_cast<int>((a >> 8 * channel & 255) + (b >> 8 * channel & 255)) / 2;
                image.set(channel, i % shape.width, i / shape.width,
                          static_cast<uint32_t>(std::clamp(middle + random.between(-1, 1), 0, 255)));
            }
        }
        std::vector<uint32_t> wanted;
        for (uint32_t colour : refColours(image))
            wanted.push_back(static_cast<uint32_t>(refNearest(palette, colour)));
        forEachCpuLevel([&] {
            ReportRecorder reports;
            bitmap.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_NONE);
            EXPECT_TRUE(reports.none());
            EXPECT_TRUE(bitmap.holds(wanted));
        });
    });
}

// Every gray against palettes of every length.
TEST(BitmapNearest, everyGray) {
    Random random(testSeed());
    for (int count = 1; count <= 256; ++count) {
        BitmapShape shape = {256, 1, 8};
        shape.clrUsed = static_cast<unsigned>(count);
        TestBitmap bitmap(shape, random.next());
        TestImage image(layoutFor(shape));
        std::vector<uint32_t> wanted;
        for (int x = 0; x < 256; ++x) {
            image.set(0, x, 0, static_cast<uint32_t>(x));
            wanted.push_back(static_cast<uint32_t>(refNearest(bitmap.palette(), gray(static_cast<uint32_t>(x)))));
        }
        ReportRecorder reports;
        bitmap.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_NONE);
        ASSERT_TRUE(bitmap.holds(wanted)) << count;
    }
}

}  // namespace
