// Run-length encoding: bytes worked out by hand, the rules on random rows, what is kept and what is not.
#include <algorithm>
#include <cstdlib>

#include "dib/dibcheck.h"
#include "reference/runlength.h"
#include "support/reports.h"

namespace {

using Stream = std::vector<uint8_t>;
using Pixels = std::vector<int>;

// The bitmap of gray indices, compressed in the call; rows one after the other.
struct Encoded {
    Encoded(int bits, int width, const Pixels &pixels, bool separate = false)
        : bitmap({width, static_cast<int>(pixels.size()) / width, bits, bits == 8 ? 1u : 2u}, 5, separate) {
        TestImage image(layoutFor(bitmap.shape()));
        for (size_t i = 0; i < pixels.size(); ++i) {
            const int place = static_cast<int>(i);
            image.set(0, place % width, place / width, static_cast<uint32_t>(pixels[i] * (bits == 8 ? 1 : 17)));
        }
        bitmap.setGrayRamp();
        ReportRecorder reports;
        bitmap.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_NONE);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(bitmap.guardsAreUntouched());
        compressed = bitmap.header()->biCompression != 0;
        if (!compressed) {
            EXPECT_TRUE(bitmap.holds({pixels.begin(), pixels.end()}));
            EXPECT_EQ(bitmap.header()->biSizeImage, static_cast<unsigned>(bitmap.pixelBytes()));
            return;
        }
        EXPECT_EQ(bitmap.header()->biCompression, bits == 8 ? 1u : 2u);
        EXPECT_LT(bitmap.header()->biSizeImage, static_cast<unsigned>(bitmap.pixelBytes()));
        stream.assign(bitmap.pixels(), bitmap.pixels() + bitmap.header()->biSizeImage);
        const RefDrawn drawn = refDrawStream(bits, width, bitmap.shape().rows(), stream);
        EXPECT_EQ(drawn.fault, RefDrawn::NONE);
        EXPECT_EQ(drawn.pixels, pixels);
    }
    TestBitmap bitmap;
    bool compressed = false;
    Stream stream;
};

// A random test that meets no compressed bitmap tests nothing.
bool someWereKept(int kept, int cases) {
    return getenv("MOX_TEST_CASE") || kept >= testCount(cases) / 20;
}

Pixels operator+(Pixels left, const Pixels &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Pixels run(int count, int pixel) {
    return Pixels(static_cast<size_t>(count), pixel);
}

Stream operator+(Stream left, const Stream &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

const Stream END = {0, 0, 0, 1};

// A row of 8 bits, led by a run that makes it worth compressing.
void encodes8(const Pixels &tail, const Stream &bytes) {
    const Pixels row = run(100, 200) + tail;
    EXPECT_EQ(Encoded(8, static_cast<int>(row.size()), row).stream, (Stream{100, 200}) + bytes + END);
}

TEST(RunLengthEncode, longRunsOfEightBits) {
    const Encoded encoded(8, 600, run(600, 7));
    EXPECT_EQ(encoded.stream, (Stream{255, 7, 255, 7, 90, 7, 0, 0, 0, 1}));
    EXPECT_EQ(Encoded(8, 600, run(600, 7), true).stream, encoded.stream);
    // Two rows.
    EXPECT_EQ(Encoded(8, 20, run(20, 1) + run(20, 2)).stream, (Stream{20, 1, 0, 0, 20, 2, 0, 0, 0, 1}));
    // What is left of a run in the last three pixels goes out one by one.
    EXPECT_EQ(Encoded(8, 258, run(258, 7)).stream, (Stream{255, 7, 1, 7, 1, 7, 1, 7, 0, 0, 0, 1}));
    EXPECT_EQ(Encoded(8, 259, run(259, 7)).stream, (Stream{255, 7, 4, 7, 0, 0, 0, 1}));
}

TEST(RunLengthEncode, narrowRowsAreSingles) {
    // Three pixels a row never enter the loop: six bytes, and with the end of the row twice a row's size.
    const Encoded three(8, 3, run(3, 1) + run(3, 2));
    EXPECT_FALSE(three.compressed);
    EXPECT_EQ(refEncode8({5, 5, 5, 0}, 3, 1), (Stream{1, 5, 1, 5, 1, 5, 0, 0, 0, 1}));
}

TEST(RunLengthEncode, theRulesOfEightBits) {
    // a = b: a run of two.
    encodes8({1, 1, 2, 2, 2, 2}, {2, 1, 4, 2});
    // b = c: one single, then the run.
    encodes8({1, 2, 2, 3, 3, 3, 3}, {1, 1, 2, 2, 4, 3});
    // c = d: two singles, then the run.
    encodes8({1, 2, 3, 3, 3, 3, 3}, {1, 1, 1, 2, 5, 3});
    // A literal stops before a pixel that equals the two behind it.
    encodes8({1, 2, 3, 4, 5, 6, 6, 6, 6}, {0, 5, 1, 2, 3, 4, 5, 0, 4, 6});
    encodes8({1, 2, 3, 4, 5, 5, 5, 5}, {0, 4, 1, 2, 3, 4, 4, 5});
    // It goes through two equal pixels, and to the row's end.
    encodes8({1, 2, 3, 4, 4, 5}, {0, 6, 1, 2, 3, 4, 4, 5});
    encodes8({1, 2, 3, 4}, {0, 4, 1, 2, 3, 4});
    encodes8({1, 2, 3, 4, 5}, {0, 5, 1, 2, 3, 4, 5, 0});
    // The first three are taken unseen: 3 3 3 begins within them.
    encodes8({1, 2, 3, 4, 3, 3, 3, 3}, {0, 4, 1, 2, 3, 4, 4, 3});
    // The last three are singles whatever they are; four at the end are not.
    encodes8({1, 2, 3}, {1, 1, 1, 2, 1, 3});
    encodes8({1, 1}, {1, 1, 1, 1});
    encodes8({9}, {1, 9});
    encodes8({9, 9, 9, 9}, {4, 9});
}

TEST(RunLengthEncode, literalsEndAtTwoHundredAndFiftyFive) {
    Pixels row;
    Stream literal = {0, 255};
    for (int i = 0; i < 258; ++i) {
        row.push_back(i % 199);
        if (i < 255) literal.push_back(static_cast<uint8_t>(i % 199));
    }
    // 255 pixels and a byte of padding, then three singles.
    literal.push_back(0);
    encodes8(row, literal + Stream{1, 255 % 199, 1, 256 % 199, 1, 257 % 199});
}

// Rows begin anew, whatever their padding holds; the last pixels of a literal are judged by what follows in memory.
TEST(RunLengthEncode, randomRowsByTheRules) {
    forEachCase(800, [&](Random &random) {
        const int width = random.between(1, random.oneIn(4) ? 700 : 60), height = random.between(1, 6);
        const int colours = random.oneIn(3) ? 256 : random.between(1, 6), stay = random.between(1, 12);
        Pixels pixels;
        for (int i = 0; i < width * height; ++i)
            pixels.push_back(i > 0 && !random.oneIn(stay) ? pixels.back() : random.below(colours));
        const Encoded encoded(8, width, pixels, random.oneIn(2));
        const size_t rowBytes = static_cast<size_t>(encoded.bitmap.shape().rowBytes());
        Stream rows(rowBytes * static_cast<size_t>(height));
        for (size_t i = 0; i < pixels.size(); ++i) {
            const size_t across = static_cast<size_t>(width);
            rows[i / across * rowBytes + i % across] = static_cast<uint8_t>(pixels[i]);
        }
        const Stream wanted = refEncode8(rows, width, height);
        EXPECT_EQ(encoded.compressed, wanted.size() < rows.size());
        if (encoded.compressed) {
            EXPECT_EQ(encoded.stream, wanted);
        }
    });
}

// The compressed size counts with the closing pair, and must be smaller.
TEST(RunLengthEncode, isKeptOnlyWhereItIsSmaller) {
    // 2 + 2 + 2 bytes of a row of 8, one of 4.
    EXPECT_TRUE(Encoded(8, 8, run(8, 1)).compressed);
    EXPECT_FALSE(Encoded(8, 4, run(4, 1)).compressed);
    // A row of 6 is padded to 8.
    EXPECT_TRUE(Encoded(8, 6, run(6, 1)).compressed);
    // Twelve bytes of a row of twelve: as large is not smaller.
    EXPECT_FALSE(Encoded(8, 12, run(4, 1) + run(4, 2) + run(2, 3) + Pixels{4, 5}).compressed);
    EXPECT_TRUE(Encoded(8, 16, run(4, 1) + run(4, 2) + run(4, 3) + run(4, 4)).compressed);
}

TEST(RunLengthEncode, randomPixelsStayUncompressed) {
    Random random(5);
    for (int bits : {8, 4}) {
        Pixels pixels;
        for (int i = 0; i < 64 * 16; ++i)
            pixels.push_back(random.below(1 << bits));
        EXPECT_FALSE(Encoded(bits, 64, pixels).compressed) << bits;
    }
}

// A row of 4 bits, led by a run of an even number that makes it worth compressing.
void encodes4(const Pixels &tail, const Stream &bytes) {
    const Pixels row = run(200, 15) + tail;
    EXPECT_EQ(Encoded(4, static_cast<int>(row.size()), row).stream, (Stream{200, 0xFF}) + bytes + END);
}

TEST(RunLengthEncode, theRulesOfFourBitsAtEvenPositions) {
    // q0 q1 = q2 q3: a repeating pair, of an even and an odd count, to the row's end.
    encodes4({1, 2, 1, 2, 1, 2}, {6, 0x12});
    encodes4({1, 2, 1, 2, 1, 2, 1}, {7, 0x12});
    encodes4({3, 3, 3, 3, 3, 3, 3, 3}, {8, 0x33});
    // A single nibble behind the last whole pair.
    encodes4({1, 2, 1, 2, 1, 3, 3, 3, 3, 3, 3}, {5, 0x12, 6, 0x33});
    // q1 = q3, q0 and q2 differ, q2 and q4 differ: a pair and a single, on with the fourth.
    encodes4({1, 2, 3, 2, 5, 2, 5, 2, 5, 2}, {2, 0x12, 1, 0x30, 7, 0x25});
    // q2 = q4: a single, on with the second.
    encodes4({1, 2, 3, 2, 3, 2, 3, 2, 3}, {1, 0x10, 8, 0x23});
    // q1 and q3 differ, q2 = q4: a pair, on with the third.
    encodes4({1, 2, 5, 6, 5, 6, 5, 6, 5, 6}, {2, 0x12, 8, 0x56});
    // A literal up to the row's end.
    encodes4({1, 2, 3, 4, 5, 6, 7}, {0, 7, 0x12, 0x34, 0x56, 0x70});
    encodes4({1, 2, 3, 4, 5, 6, 7, 8, 9}, {0, 9, 0x12, 0x34, 0x56, 0x78, 0x90, 0});
}

TEST(RunLengthEncode, longRunsOfFourBits) {
    // Of 255 pixels at most; the one that is left over is in step again.
    EXPECT_EQ(Encoded(4, 600, run(600, 7)).stream, (Stream{255, 0x77, 255, 0x77, 90, 0x77, 0, 0, 0, 1}));
    Pixels pairs;
    for (int i = 0; i < 510; ++i)
        pairs.push_back(i & 1 ? 9 : 4);
    EXPECT_EQ(Encoded(4, 510, pairs).stream, (Stream{255, 0x49, 255, 0x94, 0, 0, 0, 1}));
    // Odd widths: the nibble behind the row's end does not count, and each row begins at a byte.
    EXPECT_EQ(Encoded(4, 33, run(33, 3) + run(33, 0)).stream, (Stream{33, 0x33, 0, 0, 33, 0, 0, 0, 0, 1}));
}

TEST(RunLengthEncode, randomRowsOfFourBitsByTheRules) {
    int kept = 0;
    forEachCase(1500, [&](Random &random) {
        const int width = random.between(1, random.oneIn(3) ? 700 : 80), height = random.between(1, 6);
        const int colours = random.oneIn(3) ? 16 : random.between(1, 4), stay = random.between(2, 14);
        Pixels pixels;
        for (int i = 0; i < width * height; ++i) {
            const size_t last = pixels.size();
            const bool stays = i > 1 && !random.oneIn(stay);
            pixels.push_back(stays ? pixels[last - 2] : random.below(colours));
        }
        const Encoded encoded(4, width, pixels, random.oneIn(2));
        if (!encoded.compressed) return;
        ++kept;
        size_t place = 0;
        for (int row = 0; row < height; ++row) {
            const auto first = pixels.begin() + static_cast<std::ptrdiff_t>(row) * width;
            size_t used = 0;
            const std::string fault = refCheckRow4({first, first + width}, encoded.stream.data() + place,
                                                   encoded.stream.size() - place, &used);
            ASSERT_EQ(fault, "") << "row " << row << " of width " << width;
            place += used;
        }
        EXPECT_EQ(place + 2, encoded.stream.size());
        EXPECT_EQ(encoded.stream[place], 0);
        EXPECT_EQ(encoded.stream[place + 1], 1);
    });
    EXPECT_TRUE(someWereKept(kept, 1500));
}

// The pixels that are encoded are those of any palette and dither; a palette of median cut moves them up first.
TEST(RunLengthEncode, withEveryPalette) {
    int kept = 0;
    forEachCase(200, [&](Random &random) {
        const int bits = random.oneIn(2) ? 8 : 4, conversion = random.below(3), dither = 1 << random.below(5);
        const BitmapShape shape = {random.between(1, 90), random.between(1, 12), bits, bits == 8 ? 1u : 2u};
        TestImage image(layoutFor(shape, random.oneIn(2) ? 1 : 3));
        nameChannels(image, image.layout().channels == 1 ? "G" : "RGB");
        for (int i = 0; i < shape.width * shape.height; ++i) {
            for (int channel = 0; channel < image.layout().channels; ++channel)
                image.set(channel, i % shape.width, i / shape.width,
                          static_cast<uint32_t>(i / 37 * 50 + channel) & 255);
        }
        TestBitmap bitmap(shape, random.next(), random.oneIn(2));
        ReportRecorder reports;
        bitmap.convertTo(image.header(), dither, conversion);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(bitmap.guardsAreUntouched());
        const std::vector<uint32_t> wanted = refToBitmap(image, bitmap.picture(), dither);
        if (bitmap.header()->biCompression == 0) {
            EXPECT_TRUE(bitmap.holds(wanted));
            return;
        }
        ++kept;
        const RefDrawn drawn = refDrawStream(bits, shape.width, shape.height,
                                             {bitmap.pixels(), bitmap.pixels() + bitmap.header()->biSizeImage});
        EXPECT_EQ(drawn.fault, RefDrawn::NONE);
        EXPECT_EQ(drawn.pixels, Pixels(wanted.begin(), wanted.end()));
    });
    EXPECT_TRUE(someWereKept(kept, 200));
}

// What is encoded is decoded again, by either form.
TEST(RunLengthEncode, thereAndBack) {
    forEachCase(300, [&](Random &random) {
        const int bits = random.oneIn(2) ? 8 : 4, width = random.between(1, 300), height = random.between(1, 8);
        Pixels pixels;
        for (int i = 0; i < width * height; ++i)
            pixels.push_back(i > 0 && !random.oneIn(9) ? pixels.back() : random.below(1 << bits));
        Encoded encoded(bits, width, pixels, random.oneIn(2));
        TestImage image(layoutFor(encoded.bitmap.shape()), 77);
        ReportRecorder reports;
        encoded.bitmap.convertFrom(image.header());
        EXPECT_TRUE(reports.none());
        for (size_t i = 0; i < pixels.size(); ++i) {
            const int place = static_cast<int>(i);
            ASSERT_EQ(image.get(0, place % width, place / width),
                      static_cast<uint32_t>(pixels[i] * (bits == 8 ? 1 : 17)));
        }
    });
}

}  // namespace
