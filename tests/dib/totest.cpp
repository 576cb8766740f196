// moxConvertToDIB and moxConvertToDIBSep against the model, and pixels worked out by hand.
#include <algorithm>

#include "dib/dibcheck.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/tilelog.h"

namespace {

const int allBits[] = {1, 4, 8, 16, 24, 32};
const int allDithers[] = {MOX_DITHER_NONE, MOX_DITHER_FS, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER};

// What the palette should be after the call.
RefPalette paletteAfter(TestImage &image, TestBitmap &bitmap, int conversion) {
    const int count = bitmap.coloursNow();
    if (bitmap.shape().bits > 8 || conversion == MOX_PALCONV_NONE) return bitmap.palette();
    const TestLayout &layout = image.layout();
    if (conversion == MOX_PALCONV_POPULATE) return refFixedPalette(count, layout.channels == 1);
    if (layout.depth == MOX_DEPTH_1U) return refFixedPalette(2, true);
    const std::vector<uint32_t> colours = refColours(image);
    if (layout.channels > 1) return refMedianCut(colours, 1 << bitmap.shape().bits);
    std::vector<uint8_t> grays;
    for (uint32_t colour : colours)
        grays.push_back(static_cast<uint8_t>(colour));
    return refMedianCutGray(grays, 1 << bitmap.shape().bits);
}

// The fields that a call writes, and those that it must leave.
void checkFields(TestBitmap &bitmap, size_t colours) {
    const BitmapShape &shape = bitmap.shape();
    const BITMAPINFOHEADER &header = *bitmap.header();
    EXPECT_EQ(header.biSize, 40u);
    EXPECT_EQ(header.biWidth, shape.width);
    EXPECT_EQ(header.biHeight, shape.height);
    EXPECT_EQ(header.biPlanes, 1);
    EXPECT_EQ(header.biBitCount, shape.bits);
    EXPECT_EQ(header.biCompression, shape.compression);
    EXPECT_EQ(header.biSizeImage, static_cast<unsigned>(shape.rowBytes() * shape.rows()));
    EXPECT_EQ(header.biClrUsed, shape.bits <= 8 ? colours : shape.clrUsed);
}

// One call at every CPU level, each on a bitmap of its own.
template <typename Make>
void checkTo(TestImage &image, const Make &make, int dither, int conversion) {
    const TestBytes before = image.bytes();
    forEachCpuLevel([&] {
        const std::unique_ptr<TestBitmap> bitmap = make();
        SCOPED_TRACE(image.layout().describe() + " to " + bitmap->shape().describe() + " dither " +
                     std::to_string(dither) + " palette " + std::to_string(conversion));
        const RefPalette palette = paletteAfter(image, *bitmap, conversion);
        ReportRecorder reports;
        TileLog log;
        AllocationWindow window;
        bitmap->convertTo(image.header(), dither, conversion);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(log.paired());
        EXPECT_TRUE(image.headerIsUntouched());
        EXPECT_TRUE(image.holds(before));
        checkFields(*bitmap, palette.size());
        ASSERT_EQ(bitmap->palette(), palette);
        EXPECT_TRUE(bitmap->holds(refToBitmap(image, bitmap->picture(), dither)));
    });
}

class BitmapTo : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Bits, BitmapTo, testing::ValuesIn(allBits));

TestLayout drawSource(Random &random, const BitmapShape &shape) {
    TestLayout layout = drawImageFor(random, shape);
    if (random.oneIn(5)) {
        layout.tileWidth = 8 * random.between(1, 4);
        layout.tileHeight = 8 * random.between(1, 2);
        layout.transientTiles = random.oneIn(2);
        layout.extraStride = 0;
    }
    return layout;
}

// Pictures of few colours, of many, and of slopes, so that median cut meets all its cases.
void drawColours(Random &random, TestImage &image) {
    const int kind = random.below(4), top = (1 << image.layout().bits()) - 1;
    if (kind == 0) return;
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x) {
            const int pick = random.below(kind == 1 ? 5 : 40);
            for (int channel = 0; channel < image.layout().channels; ++channel) {
                const int value =
                    kind == 3 ? (x * (channel + 3) + y * 7) * top / 400 : pick * (channel * 29 + 7) * (top / 255);
                image.set(channel, x, y, static_cast<uint32_t>(std::min(value, top)));
            }
        }
    }
}

BitmapShape drawTarget(Random &random, int bits, int conversion, int maxWidth, int maxHeight) {
    BitmapShape shape = drawShape(random, bits, maxWidth, maxHeight);
    if (bits > 8) return shape;
    if (conversion == MOX_PALCONV_MEDCUT) shape.clrUsed = 0;
    if (conversion == MOX_PALCONV_POPULATE) {
        static const unsigned counts[] = {0, 2, 16, 256};
        shape.clrUsed = counts[random.below(bits == 1 ? 3 : bits == 4 ? 3 : 4)];
    }
    return shape;
}

void setMasks(Random &random, BitmapShape &shape) {
    if ((shape.bits != 16 && shape.bits != 32) || random.oneIn(2)) return;
    shape.compression = BI_BITFIELDS;
    static const std::vector<uint32_t> masks16[] = {{0x7C00, 0x3E0, 0x1F}, {0xF800, 0x7E0, 0x1F}, {0xF, 0xF0, 0xF00}};
    static const std::vector<uint32_t> masks32[] = {
        {0xFF0000, 0xFF00, 0xFF}, {0xFF, 0xFF00, 0xFF0000}, {0xFF000000, 0xFF0000, 0xFF00}};
    shape.masks = (shape.bits == 16 ? masks16 : masks32)[random.below(3)];
}

TEST_P(BitmapTo, agreesWithTheModel) {
    forEachCase(500, [&](Random &random) {
        const int conversion = random.below(3), dither = allDithers[random.below(5)];
        BitmapShape shape = drawTarget(random, GetParam(), conversion, 70, 30);
        setMasks(random, shape);
        TestImage image(drawSource(random, shape), random.next());
        nameChannels(image, drawNames(random, image.layout().channels));
        drawColours(random, image);
        const uint64_t seed = random.next(), paletteSeed = random.next();
        const bool separate = random.oneIn(2);
        const unsigned clrUsed = static_cast<unsigned>(random.below(1 << std::min(GetParam(), 8)));
        checkTo(
            image,
            [&] {
                auto bitmap = std::make_unique<TestBitmap>(shape, seed, separate);
                Random paletteRandom(paletteSeed);
                drawPalette(paletteRandom, *bitmap);
                if (conversion == MOX_PALCONV_MEDCUT && GetParam() <= 8) bitmap->header()->biClrUsed = clrUsed;
                return bitmap;
            },
            dither, conversion);
    });
}

TEST_P(BitmapTo, isRightAtEveryLength) {
    Random random(testSeed());
    for (int width = 1; width <= 140; ++width) {
        for (int channels : {1, 3, 4}) {
            const BitmapShape shape = {width, 2, GetParam()};
            TestImage image(layoutFor(shape, channels), random.next());
            nameChannels(image, drawNames(random, channels));
            const uint64_t seed = random.next();
            checkTo(
                image, [&] { return std::make_unique<TestBitmap>(shape, seed); }, MOX_DITHER_NONE, MOX_PALCONV_NONE);
            if (HasFailure()) return;
        }
    }
}

// The same picture in all layouts gives the same bytes.
TEST_P(BitmapTo, thereAndBackIsTheSamePicture) {
    forEachCase(200, [&](Random &random) {
        BitmapShape shape = drawShape(random, GetParam());
        TestBitmap bitmap(shape, random.next(), random.oneIn(2));
        drawPalette(random, bitmap);
        bitmap.drawPixels(random.next());
        TestLayout layout = drawImageFor(random, shape);
        layout.depth = random.oneIn(2) ? MOX_DEPTH_8U : MOX_DEPTH_16U;
        layout.extraStride = layout.dataShift = 0;
        layout.channels = GetParam() == 32 ? 4 : 3;
        layout.alpha = layout.channels == 4 ? 4 : 0;
        TestImage image(layout, random.next());
        nameChannels(image, drawNames(random, layout.channels));
        SCOPED_TRACE(layout.describe() + " and " + shape.describe());
        ReportRecorder reports;
        bitmap.convertFrom(image.header());
        RefBitmap picture = bitmap.picture();
        bitmap.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_NONE);
        EXPECT_TRUE(reports.none());
        for (uint32_t &pixel : picture.pixels) {
            // Of equal colours the first entry is taken; the unused bit of 16 becomes 0.
            if (GetParam() <= 8) {
                const auto reached =
                    picture.palette.begin() +
                    std::min<std::ptrdiff_t>(1 << GetParam(), static_cast<std::ptrdiff_t>(picture.palette.size()));
                pixel = static_cast<uint32_t>(std::find(picture.palette.begin(), reached, picture.palette[pixel]) -
                                              picture.palette.begin());
            } else if (GetParam() == 16) {
                pixel &= 0x7FFF;
            } else if (GetParam() == 24) {
                pixel &= 0xFFFFFF;
            }
        }
        EXPECT_TRUE(bitmap.holds(picture.pixels));
    });
}

// One pixel of an image to the pixel of a bitmap.
uint32_t onePixel(TestBitmap &bitmap, const std::vector<uint32_t> &samples, const char *names,
                  int conversion = MOX_PALCONV_NONE, unsigned depth = MOX_DEPTH_8U) {
    const int channels = static_cast<int>(samples.size());
    TestImage image(layoutFor(bitmap.shape(), channels, depth));
    nameChannels(image, names);
    for (int channel = 0; channel < channels; ++channel)
        image.set(channel, 0, 0, samples[static_cast<size_t>(channel)]);
    ReportRecorder reports;
    bitmap.convertTo(image.header(), MOX_DITHER_NONE, conversion);
    EXPECT_TRUE(reports.none());
    return bitmap.get(0, 0);
}

TEST(BitmapPixelTo, ofDirectColours) {
    TestBitmap two({1, 1, 16}), three({1, 1, 24}), four({1, 1, 32});
    EXPECT_EQ(onePixel(two, {255, 132, 8}, "RGB"), 31u << 10 | 16 << 5 | 1);
    EXPECT_EQ(onePixel(two, {8, 132, 255, 200}, "BGRA"), 31u << 10 | 16 << 5 | 1);
    EXPECT_EQ(onePixel(two, {7}, "G"), 0u);
    EXPECT_EQ(onePixel(three, {0x11, 0x22, 0x33}, "RGB"), 0x112233u);
    EXPECT_EQ(onePixel(three, {0x11, 0x22, 0x33}, "BGR"), 0x332211u);
    EXPECT_EQ(onePixel(three, {0x77}, "GRAY"), 0x777777u);
    EXPECT_EQ(onePixel(three, {0x1234, 0x5678, 0x9ABC}, "RGB", MOX_PALCONV_NONE, MOX_DEPTH_16U), 0x12569Au);
    EXPECT_EQ(onePixel(three, {1}, "G", MOX_PALCONV_NONE, MOX_DEPTH_1U), 0xFFFFFFu);
    EXPECT_EQ(onePixel(four, {0x11, 0x22, 0x33, 0x44}, "RGBA"), 0x44112233u);
    EXPECT_EQ(onePixel(four, {0x11, 0x22, 0x33, 0x44}, "BGRA"), 0x44332211u);
    EXPECT_EQ(onePixel(four, {0x11, 0x22, 0x33}, "RGB"), 0x112233u);
    EXPECT_EQ(onePixel(four, {0x80}, "GRAY"), 0x808080u);
}

TEST(BitmapPixelTo, theFirstOfTheNearestEntriesWins) {
    for (int bits : {1, 4, 8}) {
        TestBitmap bitmap({1, 1, bits});
        for (int i = 0; i < 1 << bits; ++i)
            bitmap.setColour(i, 0x0000FF);
        bitmap.setColours({0xFFFFFF, 0x000000});
        // 127 is nearer to 0, 128 to 255.
        EXPECT_EQ(onePixel(bitmap, {127}, "G"), 1u);
        EXPECT_EQ(onePixel(bitmap, {128}, "G"), 0u);
        // As far from either.
        bitmap.setColours({0x0A0A0A, 0x141414});
        EXPECT_EQ(onePixel(bitmap, {15}, "G"), 0u);
        bitmap.setColours({0x141414, 0x0A0A0A});
        EXPECT_EQ(onePixel(bitmap, {15}, "G"), 0u);
        // The same distance along different axes, and the same colour twice.
        bitmap.setColours({0x20FF10, 0x10FF20});
        EXPECT_EQ(onePixel(bitmap, {0x10, 0xFF, 0x10}, "RGB"), 0u);
        bitmap.setColours({0x10FF10, 0x10FF10});
        EXPECT_EQ(onePixel(bitmap, {0x10, 0xFF, 0x10}, "BGR"), 0u);
    }
}

TEST(BitmapPixelTo, onlyThePalettesEntriesCount) {
    // Black at index 5, behind the palette of 5.
    BitmapShape shape = {1, 1, 8};
    shape.clrUsed = 5;
    TestBitmap bitmap(shape);
    bitmap.setColours({0xFFFFFF, 0xFFFFFF, 0x777777, 0xFFFFFF, 0xFFFFFF});
    EXPECT_EQ(onePixel(bitmap, {0}, "G"), 2u);
    // 20 entries at 1 bit of which an index reaches two.
    shape = {1, 1, 1};
    shape.clrUsed = 20;
    TestBitmap bit(shape);
    for (int i = 0; i < 20; ++i)
        bit.setColour(i, 0x0000FF);
    bit.setColours({0xFFFFFF, 0x808080, 0x000000});
    EXPECT_EQ(onePixel(bit, {0}, "G"), 1u);
}

// The usual masks are written where none are named.
TEST(BitmapPixelTo, badMasksAreReplaced) {
    for (auto [bits, bad] : {std::pair{16, std::vector<uint32_t>{0, 0, 0}},
                             {16, {0x7C00, 0x7C00, 0x1F}},
                             {32, {0, 0, 0}},
                             {32, {0x00FF00FF, 0xFF00, 0xFF000000}},
                             {16, {0x15, 0x3E0, 0x7C00}}}) {
        BitmapShape shape = {1, 1, bits, BI_BITFIELDS};
        shape.masks = bad;
        for (bool separate : {false, true}) {
            TestBitmap bitmap(shape, 1, separate);
            const uint32_t pixel = onePixel(bitmap, {0x88, 0x44, 0xCC, 0x22}, "RGBA");
            const std::vector<uint32_t> usual =
                bits == 16 ? std::vector<uint32_t>{0x7C00, 0x3E0, 0x1F} : std::vector<uint32_t>{0xFF0000, 0xFF00, 0xFF};
            EXPECT_EQ(bitmap.masksNow(), usual);
            EXPECT_EQ(pixel, bits == 16 ? 17u << 10 | 8 << 5 | 25 : 0x228844CCu);
        }
    }
}

TEST(BitmapPixelTo, alphaHasNoPartInAPalette) {
    TestBitmap bitmap({1, 1, 8});
    for (int i = 0; i < 256; ++i)
        bitmap.setColour(i, 0xFF0000);
    bitmap.setColours({0x000000, 0x102030});
    EXPECT_EQ(onePixel(bitmap, {0x10, 0x20, 0x30, 0}, "RGBA"), 1u);
    EXPECT_EQ(onePixel(bitmap, {0x10, 0x20, 0x30, 255}, "RGBA"), 1u);
}

// Dithering a flat gray to two colours keeps its mean; without dithering it is one colour.
TEST(BitmapDithered, keepsTheMean) {
    for (int channels : {1, 3}) {
        for (int bits : {1, 4}) {
            for (int dither : allDithers) {
                const BitmapShape shape = {64, 64, bits};
                TestImage image(layoutFor(shape, channels));
                nameChannels(image, channels == 1 ? "G" : "BGR");
                image.setAll(100);
                TestBitmap bitmap(shape);
                bitmap.setGrayRamp();
                ReportRecorder reports;
                bitmap.convertTo(image.header(), dither, MOX_PALCONV_NONE);
                EXPECT_TRUE(reports.none());
                double mean = 0;
                for (int i = 0; i < 64 * 64; ++i)
                    mean += (bitmap.colour(static_cast<int>(bitmap.get(i % 64, i / 64))) & 255) / 4096.0;
                // Three levels of a colour at 1 bit become two, the middle one white.
                if (channels == 3 && bits == 1) continue;
                // Sixteen steps have seventeen levels, which move to the sixteen of the palette: within half of one.
                if (dither == MOX_DITHER_NONE) {
                    EXPECT_EQ(mean, bits == 1 ? 0 : 102);
                } else {
                    EXPECT_NEAR(mean, 100, bits == 1 && dither != MOX_DITHER_BAYER ? 1 : 8.5)
                        << dither << " bits " << bits;
                }
            }
        }
    }
}

// A status left over from before is no failure of the dithering, and stays; memory that runs out is one all the same.
TEST(BitmapDithered, aLeftoverStatusDoesNotMatter) {
    for (MoxStatus leftover : {-7, -4, -3}) {
        const BitmapShape shape = {20, 9, 4};
        TestImage image(layoutFor(shape), 5);
        for (int failAt = 0;; ++failAt) {
            TestBitmap bitmap(shape, 3);
            ReportRecorder reports;
            moxSetErrStatus(leftover);
            AllocationWindow window(failAt);
            bitmap.convertTo(image.header(), MOX_DITHER_FS, MOX_PALCONV_NONE);
            window.close();
            if (window.refused()) {
                EXPECT_FALSE(reports.seen.empty()) << "allocation " << failAt << " after " << leftover;
                continue;
            }
            EXPECT_TRUE(reports.none());
            EXPECT_EQ(moxGetErrStatus(), leftover);
            EXPECT_TRUE(bitmap.holds(refToBitmap(image, bitmap.picture(), MOX_DITHER_FS)));
            if (failAt > 0) break;
        }
    }
}

// Regions, coi and masks of the image play no part, dithered or not.
TEST(BitmapToWhole, regionAndMaskPlayNoPart) {
    for (int bits : allBits) {
        for (int dither : {MOX_DITHER_NONE, MOX_DITHER_FS}) {
            const BitmapShape shape = {20, 9, bits};
            TestLayout layout = layoutFor(shape, 3);
            layout.setRoi(2, 5, 3, 4, 4);
            TestImage image(layout, 5), mask(TestLayout::ofMask(20, 9), 9);
            image.setMask(&mask);
            nameChannels(image, "BGR");
            checkTo(
                image, [&] { return std::make_unique<TestBitmap>(shape, 3); }, dither, MOX_PALCONV_NONE);
        }
    }
}

TEST(BitmapFixedPalettes, literally) {
    const RefPalette sixteen = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080, 0x008080, 0x808080,
                                0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00, 0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
    struct {
        int bits;
        unsigned clrUsed;
        size_t count;
    } const cases[] = {{1, 0, 2},     {1, 2, 2},   {4, 0, 16}, {4, 16, 16}, {8, 0, 256},
                       {8, 256, 256}, {8, 16, 16}, {8, 2, 2},  {4, 2, 2}};
    for (const auto &each : cases) {
        for (int channels : {1, 3, 4}) {
            BitmapShape shape = {3, 3, each.bits};
            shape.clrUsed = each.clrUsed;
            TestBitmap bitmap(shape);
            // A fourth byte that is not 0 becomes 0.
            for (int i = 0; i < shape.colours(); ++i)
                bitmap.setColour(i, 0x123456, 0x78);
            TestImage image(layoutFor(shape, channels));
            nameChannels(image, channels == 1 ? "GRAY" : channels == 3 ? "RGB" : "BGRA");
            ReportRecorder reports;
            bitmap.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_POPULATE);
            EXPECT_TRUE(reports.none());
            const RefPalette seen = bitmap.palette();
            ASSERT_EQ(seen.size(), each.count);
            EXPECT_EQ(bitmap.header()->biClrUsed, each.count);
            for (size_t i = 0; i < each.count; ++i) {
                EXPECT_EQ(bitmap.fourthByte(static_cast<int>(i)), 0);
                const uint32_t number = static_cast<uint32_t>(i);
                if (each.count == 2) {
                    EXPECT_EQ(seen[i], number * 0xFFFFFF);
                } else if (channels == 1) {
                    EXPECT_EQ(seen[i], number * (each.count == 16 ? 0x111111 : 0x010101));
                } else if (each.count == 16) {
                    EXPECT_EQ(seen[i], sixteen[i]);
                }
            }
            if (each.count == 256 && channels > 1) {
                EXPECT_EQ(seen[0], 0x000000u);
                EXPECT_EQ(seen[1], 0x000040u);
                EXPECT_EQ(seen[3], 0x0000FFu);
                EXPECT_EQ(seen[4], 0x002000u);
                EXPECT_EQ(seen[31], 0x00FFFFu);
                EXPECT_EQ(seen[32], 0x200000u);
                EXPECT_EQ(seen[100], 0x602000u);
                EXPECT_EQ(seen[255], 0xFFFFFFu);
                EXPECT_EQ(seen, refFixedPalette(256, false));
            }
        }
    }
}

// The reports that a refused block may give, one by one.
bool isMemoryReport(const ReportSeen &report) {
    static const std::pair<int, const char *> known[] = {
        {-3, "Error of creating medcut palette"},
        {-4, "Not enough memory to allocate header for temporal image"},
        {-4, "Not enough memory to allocate data for temporal image"},
        {-4, "Not enough memory to compress DIB at BI_RLE8 DIB"},
        {-4, "Not enough memory to compress DIB at BI_RLE4 DIB"},
        {-3, "Dithering can't be produced"},
        {-2, "Error get tile to read"}};
    return std::any_of(std::begin(known), std::end(known),
                       [&](const auto &each) { return report.status == each.first && report.message == each.second; });
}

// Every allocation is refused in turn: a named report, or a result that is right all the same.
TEST(BitmapToRefusal, ofAnyMemoryIsReported) {
    forEachCase(150, [&](Random &random) {
        const int bits = allBits[random.below(6)], conversion = random.below(3), dither = allDithers[random.below(5)];
        BitmapShape shape = drawTarget(random, bits, conversion, 40, 20);
        if (bits == 8 && random.oneIn(2)) shape.compression = 1;
        if (bits == 4 && random.oneIn(2)) shape.compression = 2;
        if (shape.compression) shape.height = std::abs(shape.height);
        TestImage image(drawSource(random, shape), random.next());
        nameChannels(image, drawNames(random, image.layout().channels));
        const TestBytes before = image.bytes();
        const uint64_t seed = random.next();
        TestBitmap whole(shape, seed);
        {
            ReportRecorder reports;
            whole.convertTo(image.header(), dither, conversion);
            EXPECT_TRUE(reports.none());
        }
        for (int failAt = 1;; ++failAt) {
            ASSERT_LT(failAt, 300);
            SCOPED_TRACE(image.layout().describe() + " to " + shape.describe() + " dither " + std::to_string(dither) +
                         " palette " + std::to_string(conversion) + " allocation " + std::to_string(failAt));
            TestBitmap bitmap(shape, seed);
            ReportRecorder reports;
            TileLog log;
            AllocationWindow window(failAt);
            bitmap.convertTo(image.header(), dither, conversion);
            window.close();
            EXPECT_EQ(window.live(), 0);
            EXPECT_TRUE(log.paired());
            EXPECT_TRUE(image.holds(before));
            EXPECT_TRUE(image.headerIsUntouched());
            EXPECT_TRUE(bitmap.guardsAreUntouched());
            if (reports.seen.empty()) {
                EXPECT_TRUE(bitmap.front() == whole.front()) << "silent and wrong";
                EXPECT_EQ(moxGetErrStatus(), 0);
            } else {
                EXPECT_TRUE(isMemoryReport(reports.seen.back())) << reports.text();
                EXPECT_EQ(reports.seen.back().function, "moxConvertToDIB");
                EXPECT_EQ(moxGetErrStatus(), reports.seen.back().status);
            }
            if (!window.refused()) {
                EXPECT_TRUE(reports.none());
                break;
            }
            if (HasFailure()) return;
        }
    });
}

TEST(BitmapToRefusal, ofAnyTileIsReported) {
    forEachCase(100, [&](Random &random) {
        const int bits = allBits[random.below(6)], conversion = random.below(3), dither = allDithers[random.below(5)];
        const BitmapShape shape = drawTarget(random, bits, conversion, 40, 30);
        TestLayout layout = drawImageFor(random, shape);
        layout.extraStride = 0;
        layout.tileWidth = layout.tileHeight = 8;
        TestImage image(layout, random.next());
        nameChannels(image, drawNames(random, image.layout().channels));
        const TestBytes before = image.bytes();
        for (int refuseAt = 1;; ++refuseAt) {
            ASSERT_LT(refuseAt, 500);
            SCOPED_TRACE(image.layout().describe() + " to " + shape.describe() + " tile " + std::to_string(refuseAt));
            TestBitmap bitmap(shape, 4);
            ReportRecorder reports;
            TileLog log(refuseAt);
            AllocationWindow window;
            bitmap.convertTo(image.header(), dither, conversion);
            window.close();
            EXPECT_EQ(window.live(), 0);
            EXPECT_TRUE(log.clean());
            image.abandonTiles();
            EXPECT_TRUE(image.holds(before));
            EXPECT_TRUE(image.headerIsUntouched());
            EXPECT_TRUE(bitmap.guardsAreUntouched());
            if (!log.refused()) {
                EXPECT_TRUE(reports.none());
                break;
            }
            EXPECT_TRUE(reports.are({{-2, "moxConvertToDIB", "Error get tile to read"}}));
            if (HasFailure()) return;
        }
    });
}

}  // namespace
