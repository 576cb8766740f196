// moxTranslateDIB: the shape for every kind of bitmap, sharing of pixels, and the flag.
#include <algorithm>
#include <cstring>

#include "dib/dibcheck.h"
#include "support/allocations.h"
#include "support/reports.h"

namespace {

// What of the palette is asked of it.
enum class Palette { NONE, GRAY, COLOUR };

struct Row {
    int bits;
    Palette palette;
    unsigned compression;
    int channels, alpha;
    unsigned depth;
    const char *model, *sequence;
    bool shares;
};
const Row rows[] = {{1, Palette::GRAY, 0, 1, 0, MOX_DEPTH_1U, "GRAY", "GRAY", true},
                    {1, Palette::COLOUR, 0, 3, 0, MOX_DEPTH_8U, "RGB", "BGR", false},
                    {4, Palette::GRAY, 0, 1, 0, MOX_DEPTH_8U, "GRAY", "GRAY", false},
                    {4, Palette::GRAY, 2, 1, 0, MOX_DEPTH_8U, "GRAY", "GRAY", false},
                    {4, Palette::COLOUR, 0, 3, 0, MOX_DEPTH_8U, "RGB", "BGR", false},
                    {4, Palette::COLOUR, 2, 3, 0, MOX_DEPTH_8U, "RGB", "BGR", false},
                    {8, Palette::GRAY, 0, 1, 0, MOX_DEPTH_8U, "GRAY", "GRAY", true},
                    {8, Palette::GRAY, 1, 1, 0, MOX_DEPTH_8U, "GRAY", "GRAY", false},
                    {8, Palette::COLOUR, 0, 3, 0, MOX_DEPTH_8U, "RGB", "BGR", false},
                    {8, Palette::COLOUR, 1, 3, 0, MOX_DEPTH_8U, "RGB", "BGR", false},
                    {16, Palette::NONE, 0, 3, 0, MOX_DEPTH_8U, "RGB", "BGR", false},
                    {16, Palette::NONE, 3, 3, 0, MOX_DEPTH_8U, "RGB", "BGR", false},
                    {24, Palette::NONE, 0, 3, 0, MOX_DEPTH_8U, "RGB", "BGR", true},
                    {32, Palette::NONE, 0, 4, 4, MOX_DEPTH_8U, "RGBA", "BGRA", true},
                    {32, Palette::NONE, 3, 4, 4, MOX_DEPTH_8U, "RGBA", "BGRA", false}};

// A bitmap of the row's kind, compressed ones with each row a single run.
std::unique_ptr<TestBitmap> makeBitmap(const Row &row, int width, int height) {
    BitmapShape shape = {width, height, row.bits, row.compression};
    if (shape.hasMasks()) {
        shape.masks = {0xFF0000, 0xFF00, 0xFF};
        if (row.bits == 16) shape.masks = {0x7C00, 0x3E0, 0x1F};
    }
    const bool encoded = row.compression == 1 || row.compression == 2;
    std::vector<uint8_t> stream;
    for (int y = 0; encoded && y < height; ++y)
        stream.insert(stream.end(), {static_cast<uint8_t>(width), static_cast<uint8_t>(y * 16 + y), 0, 0});
    stream.insert(stream.end(), {0, 1});
    auto bitmap = std::make_unique<TestBitmap>(shape, 7, false, encoded ? static_cast<int>(stream.size()) : -1);
    if (row.palette == Palette::GRAY) bitmap->setGrayRamp();
    if (encoded) {
        bitmap->setStream(stream);
    } else {
        bitmap->drawPixels(8);
    }
    bitmap->keep();
    return bitmap;
}

RefBitmap pictureOf(const Row &row, TestBitmap &bitmap) {
    RefBitmap picture = bitmap.picture();
    if (row.compression == 1 || row.compression == 2) {
        picture.pixels.clear();
        for (int y = 0; y < picture.rows; ++y) {
            const uint32_t value = static_cast<uint32_t>(y * 16 + y);
            for (int x = 0; x < picture.width; ++x)
                picture.pixels.push_back(row.bits == 8 ? value : value & 15);
        }
    }
    return picture;
}

// A sample of an image of 8 bits or 1.
uint32_t sampleAt(const MoxImage &image, int channel, int x, int y) {
    const uint8_t *line =
        reinterpret_cast<const uint8_t *>(image.imageData) + static_cast<ptrdiff_t>(y) * image.widthStep;
    if (image.depth == MOX_DEPTH_1U) return line[x / 8] >> (7 - x % 8) & 1;
    return line[x * image.nChannels + channel];
}

void free(MoxImage *image, int cloned) {
    moxDeallocate(image, cloned ? MOX_FreeHeader | MOX_FreeData : MOX_FreeHeader);
}

TEST(BitmapTranslate, everyKindHasItsShape) {
    for (const Row &row : rows) {
        for (int height : {6, -6}) {
            if (height < 0 && (row.compression == 1 || row.compression == 2)) continue;
            for (int flagBefore : {0, 1, -5}) {
                const std::unique_ptr<TestBitmap> bitmap = makeBitmap(row, 13, height);
                SCOPED_TRACE(bitmap->shape().describe() + (row.palette == Palette::GRAY ? " gray" : ""));
                ReportRecorder reports;
                int flag = flagBefore;
                MoxImage *image = moxTranslateDIB(bitmap->header(), &flag);
                EXPECT_TRUE(reports.none());
                ASSERT_NE(image, nullptr);
                const bool shares = row.shares && flagBefore == 0;
                EXPECT_EQ(flag, shares ? 0 : 1);
                EXPECT_EQ(moxCheckImageHeader(image), 0);
                EXPECT_EQ(image->headerSize, static_cast<int>(sizeof(MoxImage)));
                EXPECT_EQ(image->nChannels, row.channels);
                EXPECT_EQ(image->alphaChannel, row.alpha);
                EXPECT_EQ(image->depth, row.depth);
                EXPECT_EQ(std::string(image->colorModel, strnlen(image->colorModel, 4)), row.model);
                EXPECT_EQ(std::string(image->channelSeq, strnlen(image->channelSeq, 4)), row.sequence);
                EXPECT_EQ(image->dataOrder, MOX_DATA_ORDER_PIXEL);
                EXPECT_EQ(image->origin, height > 0 ? MOX_ORIGIN_BL : MOX_ORIGIN_TL);
                EXPECT_EQ(image->align, shares ? 4 : 32);
                EXPECT_EQ(image->width, 13);
                EXPECT_EQ(image->height, 6);
                EXPECT_EQ(image->imageSize, image->widthStep * 6);
                if (shares) {
                    EXPECT_EQ(reinterpret_cast<uint8_t *>(image->imageData), bitmap->pixels());
                    EXPECT_EQ(image->widthStep, bitmap->shape().rowBytes());
                    EXPECT_EQ(image->imageDataBase, nullptr);
                } else {
                    EXPECT_EQ(reinterpret_cast<uintptr_t>(image->imageData) % 32, 0u);
                    EXPECT_EQ(image->widthStep % 32, 0);
                    EXPECT_NE(image->imageDataBase, nullptr);
                }
                const RefBitmap picture = pictureOf(row, *bitmap);
                TestLayout layout = layoutFor(bitmap->shape(), row.channels, row.depth);
                TestImage wanted(layout);
                nameChannels(wanted, row.sequence);
                wanted.setBytes(refFromBitmap(picture, wanted).expected);
                for (int i = 0; i < 13 * 6 * row.channels; ++i) {
                    const int channel = i % row.channels, x = i / row.channels % 13, y = i / row.channels / 13;
                    ASSERT_EQ(sampleAt(*image, channel, x, y), wanted.get(channel, x, y)) << x << ", " << y;
                }
                EXPECT_TRUE(bitmap->isUntouched());
                free(image, flag);
            }
        }
    }
}

// Pixels written to a shared image are the bitmap's.
TEST(BitmapTranslate, sharedPixelsAreTheBitmaps) {
    for (const Row &row : rows) {
        if (!row.shares) continue;
        const std::unique_ptr<TestBitmap> bitmap = makeBitmap(row, 13, 6);
        int flag = 0;
        MoxImage *image = moxTranslateDIB(bitmap->header(), &flag);
        ASSERT_NE(image, nullptr);
        const uint32_t before = bitmap->get(2, 3);
        moxNot(image, image);
        // Alpha is not inverted.
        EXPECT_EQ(bitmap->get(2, 3), before ^ ((1u << std::min(row.bits, 24)) - 1));
        free(image, flag);
    }
}

// A palette as wide as biClrUsed says stands before the shared pixels, also above 8 bits.
TEST(BitmapTranslate, pixelsAreBehindThePalette) {
    for (int bits : {8, 24, 32}) {
        BitmapShape shape = {5, 4, bits};
        shape.clrUsed = 10;
        TestBitmap bitmap(shape, 4);
        bitmap.setGrayRamp();
        bitmap.drawPixels(5);
        int flag = 0;
        MoxImage *image = moxTranslateDIB(bitmap.header(), &flag);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(reinterpret_cast<uint8_t *>(image->imageData),
                  reinterpret_cast<uint8_t *>(bitmap.header()) + 40 + 40);
        free(image, flag);
    }
}

int channelsOf(TestBitmap &bitmap) {
    int flag = 0;
    ReportRecorder reports;
    MoxImage *image = moxTranslateDIB(bitmap.header(), &flag);
    EXPECT_TRUE(reports.none());
    const int channels = image ? image->nChannels : 0;
    free(image, flag);
    return channels;
}

TEST(BitmapTranslate, oneEntryOffTheRampMakesColour) {
    for (int bits : {1, 4, 8}) {
        for (int entry = 0; entry < 1 << bits; entry += bits == 8 ? 51 : 1) {
            for (uint32_t change : {1u, 0x100u, 0x10000u, 0x010101u}) {
                TestBitmap bitmap({5, 4, bits});
                bitmap.setGrayRamp();
                bitmap.drawPixels(5);
                EXPECT_EQ(channelsOf(bitmap), 1);
                bitmap.setColour(entry, bitmap.colour(entry) ^ change);
                EXPECT_EQ(channelsOf(bitmap), 3) << bits << " " << entry;
            }
        }
    }
}

// The fourth byte of an entry is no colour.
TEST(BitmapTranslate, theFourthByteDoesNotCount) {
    TestBitmap bitmap({5, 4, 8});
    bitmap.setGrayRamp();
    bitmap.setColour(3, bitmap.colour(3), 0x80);
    bitmap.drawPixels(5);
    EXPECT_EQ(channelsOf(bitmap), 1);
}

// Ramps of other lengths: entry i is i x 255 / (count - 1), the quotient's whole part.
TEST(BitmapTranslate, rampsOfAnyLength) {
    for (int bits : {1, 4, 8}) {
        for (int count = 2; count <= 1 << bits; ++count) {
            BitmapShape shape = {5, 4, bits};
            shape.clrUsed = static_cast<unsigned>(count);
            TestBitmap bitmap(shape);
            bitmap.setGrayRamp();
            bitmap.drawPixels(5);
            EXPECT_EQ(channelsOf(bitmap), 1) << bits << " " << count;
        }
    }
}

TEST(BitmapTranslate, aPaletteOfOneEntryIsNotGray) {
    for (int bits : {1, 4, 8}) {
        for (uint32_t colour : {0u, 0xFFFFFFu}) {
            BitmapShape shape = {5, 4, bits};
            shape.clrUsed = 1;
            TestBitmap bitmap(shape);
            bitmap.setColour(0, colour);
            bitmap.drawPixels(5);
            EXPECT_EQ(channelsOf(bitmap), 3);
        }
    }
}

// White before black is no ramp.
TEST(BitmapTranslate, aReversedRampIsNotGray) {
    TestBitmap bitmap({5, 4, 1});
    bitmap.setColours({0xFFFFFF, 0});
    EXPECT_EQ(channelsOf(bitmap), 3);
}

// A damaged stream gives no image, and reports under one name.
TEST(BitmapTranslate, damagedStreamsGiveNothing) {
    for (int bits : {8, 4}) {
        StreamCase test(bits, 4, 3, {5, 0x11, 1, 1, 0, 1});
        int flag = 0;
        ReportRecorder reports;
        AllocationWindow window;
        EXPECT_EQ(moxTranslateDIB(test.bitmap.header(), &flag), nullptr);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_EQ(flag, 0);
        ASSERT_EQ(reports.seen.size(), 2u) << reports.text();
        EXPECT_EQ(reports.seen[0].status, -5);
        EXPECT_EQ(reports.seen[0].message, std::string("Incorrect format of BI_RLE") + (bits == 8 ? "8" : "4") +
                                               " DIB (mismatch biHeight or biWidth)");
        EXPECT_EQ(reports.seen[1].status, -3);
        EXPECT_EQ(reports.seen[1].message, "Impossible to decompress RLE DIB");
        EXPECT_EQ(reports.seen[0].function, reports.seen[1].function);
        EXPECT_TRUE(test.bitmap.isUntouched());
    }
}

TEST(BitmapTranslate, refusedMemoryIsReportedAndNothingLeaks) {
    for (const Row &row : rows) {
        for (int failAt = 1;; ++failAt) {
            const std::unique_ptr<TestBitmap> bitmap = makeBitmap(row, 13, 6);
            SCOPED_TRACE(bitmap->shape().describe() + " allocation " + std::to_string(failAt));
            int flag = 0;
            ReportRecorder reports;
            AllocationWindow window(failAt);
            MoxImage *image = moxTranslateDIB(bitmap->header(), &flag);
            window.close();
            if (!window.refused()) {
                EXPECT_NE(image, nullptr);
                EXPECT_TRUE(reports.none());
                free(image, flag);
                break;
            }
            EXPECT_EQ(image, nullptr);
            EXPECT_EQ(flag, 0);
            EXPECT_EQ(window.live(), 0);
            EXPECT_TRUE(bitmap->isUntouched());
            ASSERT_FALSE(reports.seen.empty());
            const std::string &last = reports.seen.back().message;
            EXPECT_TRUE(last == "Not enough memory to allocate header for destination image" ||
                        last == "Not enough memory to allocate data for destination image" ||
                        last == "Impossible to decompress RLE DIB")
                << reports.text();
            EXPECT_EQ(last == "Impossible to decompress RLE DIB" ? -3 : -4, moxGetErrStatus());
            ASSERT_LT(failAt, 50);
        }
    }
}

}  // namespace
