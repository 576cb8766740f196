// Run-length streams written by hand and drawn at random, against an independent decoder; hostile ones within guards.
#include <algorithm>

#include "dib/dibcheck.h"
#include "reference/runlength.h"
#include "support/allocations.h"
#include "support/reports.h"

namespace {

using Stream = std::vector<uint8_t>;
using Pixels = std::vector<int>;

void decodes(int bits, int width, int height, const Stream &stream, const Pixels &pixels) {
    for (bool sized : {true, false}) {
        StreamCase test(bits, width, height, stream, sized);
        ReportRecorder reports;
        moxConvertFromDIB(test.bitmap.header(), test.image.header());
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(test.bitmap.isUntouched());
        Pixels wanted = pixels;
        for (size_t i = 0; i < wanted.size(); ++i) {
            // What is skipped has no defined value.
            if (wanted[i] < 0)
                wanted[i] =
                    static_cast<int>(test.image.get(0, static_cast<int>(i) % width, static_cast<int>(i) / width)) /
                    (bits == 8 ? 1 : 17);
        }
        EXPECT_TRUE(test.becomes(wanted));
    }
    EXPECT_EQ(refDrawStream(bits, width, height, stream).pixels, pixels);
    EXPECT_EQ(refDrawStream(bits, width, height, stream).fault, RefDrawn::NONE);
}

// A damaged stream gives two reports under the export's name, and the image stays as it was.
void fails(int bits, int width, int height, const Stream &stream, int fault) {
    StreamCase test(bits, width, height, stream);
    const TestBytes before = test.image.bytes();
    ReportRecorder reports;
    AllocationWindow window;
    moxConvertFromDIB(test.bitmap.header(), test.image.header());
    window.close();
    EXPECT_EQ(window.live(), 0);
    const std::string text = std::string("Incorrect format of BI_RLE") + (bits == 8 ? "8" : "4") + " DIB (";
    ASSERT_EQ(reports.seen.size(), 2u) << reports.text();
    bool named = false;
    for (int each : {RefDrawn::HEIGHT_OR_WIDTH, RefDrawn::WIDTH, RefDrawn::DELTA, RefDrawn::HEIGHT}) {
        named = named || (fault & each && reports.seen[0].message == text + refFaultText(each) + ")");
    }
    EXPECT_TRUE(named) << reports.text() << fault;
    EXPECT_TRUE(reports.are({{-5, "moxConvertFromDIB", reports.seen[0].message.c_str()},
                             {-3, "moxConvertFromDIB", "Impossible to decompress RLE DIB"}}));
    EXPECT_EQ(moxGetErrStatus(), -3);
    EXPECT_TRUE(test.image.holds(before));
    EXPECT_TRUE(test.bitmap.isUntouched());
    const int modelFault = refDrawStream(bits, width, height, stream).fault;
    EXPECT_TRUE(fault == RefDrawn::ANY ? modelFault != 0 : modelFault == fault) << modelFault;
}

TEST(RunLengthDecode, runsAndRows) {
    decodes(8, 4, 2, {4, 7, 0, 0, 3, 8, 1, 9, 0, 0, 0, 1}, {7, 7, 7, 7, 8, 8, 8, 9});
    decodes(8, 5, 1, {2, 1, 3, 255, 0, 0, 0, 1}, {1, 1, 255, 255, 255});
    decodes(4, 4, 2, {4, 0x12, 0, 0, 1, 0x30, 3, 0x45, 0, 0, 0, 1}, {1, 2, 1, 2, 3, 4, 5, 4});
    decodes(4, 7, 1, {3, 0xAB, 2, 0xCD, 2, 0xEF, 0, 0, 0, 1}, {10, 11, 10, 12, 13, 14, 15});
    decodes(8, 1, 1, {1, 42, 0, 0, 0, 1}, {42});
    decodes(4, 1, 1, {1, 0x90, 0, 0, 0, 1}, {9});
}

TEST(RunLengthDecode, literalsArePaddedToSixteenBits) {
    decodes(8, 5, 1, {0, 3, 1, 2, 3, 99, 2, 5, 0, 0, 0, 1}, {1, 2, 3, 5, 5});
    decodes(8, 6, 1, {0, 4, 1, 2, 3, 4, 2, 5, 0, 0, 0, 1}, {1, 2, 3, 4, 5, 5});
    // Three and four nibbles take two bytes, five and six take three and a pad byte, seven and eight four.
    decodes(4, 5, 1, {0, 3, 0x12, 0x3F, 2, 0x55, 0, 0, 0, 1}, {1, 2, 3, 5, 5});
    decodes(4, 6, 1, {0, 4, 0x12, 0x34, 2, 0x55, 0, 0, 0, 1}, {1, 2, 3, 4, 5, 5});
    decodes(4, 7, 1, {0, 5, 0x12, 0x34, 0x5F, 77, 2, 0x66, 0, 0, 0, 1}, {1, 2, 3, 4, 5, 6, 6});
    decodes(4, 8, 1, {0, 6, 0x12, 0x34, 0x56, 77, 2, 0x77, 0, 0, 0, 1}, {1, 2, 3, 4, 5, 6, 7, 7});
    decodes(4, 9, 1, {0, 7, 0x12, 0x34, 0x56, 0x7F, 2, 0x88, 0, 0, 0, 1}, {1, 2, 3, 4, 5, 6, 7, 8, 8});
    decodes(4, 10, 1, {0, 8, 0x12, 0x34, 0x56, 0x78, 2, 0x99, 0, 0, 0, 1}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 9});
}

// Literals and runs that start in an odd column split bytes.
TEST(RunLengthDecode, oddColumnsOfFourBits) {
    decodes(4, 8, 1, {1, 0xA0, 0, 4, 0x12, 0x34, 3, 0xBC, 0, 0, 0, 1}, {10, 1, 2, 3, 4, 11, 12, 11});
    decodes(4, 8, 1, {1, 0xA0, 0, 5, 0x12, 0x34, 0x5F, 0, 2, 0xBC, 0, 0, 0, 1}, {10, 1, 2, 3, 4, 5, 11, 12});
    decodes(4, 8, 1, {1, 0xA0, 0, 3, 0x12, 0x3F, 0, 3, 0x45, 0x6E, 1, 0x70, 0, 0, 0, 1}, {10, 1, 2, 3, 4, 5, 6, 7});
    decodes(4, 7, 1, {3, 0xAB, 4, 0xCD, 0, 0, 0, 1}, {10, 11, 10, 12, 13, 12, 13});
}

TEST(RunLengthDecode, literalsOfTwoHundredAndFiftyFivePixels) {
    for (int bits : {8, 4}) {
        for (int before : {0, 1, 2}) {
            Stream stream;
            Pixels pixels;
            for (int i = 0; i < before; ++i) {
                stream.insert(stream.end(), {1, static_cast<uint8_t>(bits == 8 ? 9 : 0x90)});
                pixels.push_back(9);
            }
            stream.insert(stream.end(), {0, 255});
            for (int i = 0; i < 255; ++i) {
                const int pixel = i * 7 % (bits == 8 ? 256 : 16);
                pixels.push_back(pixel);
                if (bits == 8) {
                    stream.push_back(static_cast<uint8_t>(pixel));
                } else if (i % 2 == 0) {
                    stream.push_back(static_cast<uint8_t>(pixel << 4));
                } else {
                    stream.back() = static_cast<uint8_t>(stream.back() | pixel);
                }
            }
            // 255 bytes take one byte of padding, 128 bytes none.
            if (bits == 8) stream.push_back(0xEE);
            stream.insert(stream.end(), {1, static_cast<uint8_t>(bits == 8 ? 3 : 0x30), 0, 0, 0, 1});
            pixels.push_back(3);
            decodes(bits, static_cast<int>(pixels.size()), 1, stream, pixels);
        }
    }
}

TEST(RunLengthDecode, deltasSkipPixels) {
    decodes(8, 4, 3, {1, 7, 0, 2, 1, 1, 2, 8, 0, 0, 4, 9, 0, 0, 0, 1}, {7, -1, -1, -1, -1, -1, 8, 8, 9, 9, 9, 9});
    decodes(4, 5, 2, {1, 0x70, 0, 2, 1, 1, 3, 0x89, 0, 0, 0, 1}, {7, -1, -1, -1, -1, -1, -1, 8, 9, 8});
    // From even and odd columns by even and odd steps.
    decodes(4, 6, 1, {1, 0x70, 0, 2, 2, 0, 3, 0x89, 0, 0, 0, 1}, {7, -1, -1, 8, 9, 8});
    decodes(4, 6, 1, {2, 0x75, 0, 2, 1, 0, 3, 0x89, 0, 0, 0, 1}, {7, 5, -1, 8, 9, 8});
    decodes(4, 6, 1, {2, 0x75, 0, 2, 2, 0, 2, 0x89, 0, 0, 0, 1}, {7, 5, -1, -1, 8, 9});
    // To the row's end, to nowhere, straight down, and to the end of the last row.
    decodes(8, 4, 1, {1, 7, 0, 2, 3, 0, 0, 0, 0, 1}, {7, -1, -1, -1});
    decodes(8, 4, 1, {0, 2, 0, 0, 4, 7, 0, 0, 0, 1}, {7, 7, 7, 7});
    decodes(8, 2, 3, {1, 7, 0, 2, 0, 2, 1, 8, 0, 0, 0, 1}, {7, -1, -1, -1, -1, 8});
    decodes(8, 2, 2, {0, 2, 2, 1, 0, 1}, {-1, -1, -1, -1});
    decodes(8, 2, 2, {2, 1, 0, 2, 0, 1, 0, 1}, {1, 1, -1, -1});
}

TEST(RunLengthDecode, theLastEndOfRowMayBeMissing) {
    decodes(8, 3, 2, {3, 1, 0, 0, 3, 2, 0, 1}, {1, 1, 1, 2, 2, 2});
    decodes(4, 3, 2, {3, 0x12, 0, 0, 3, 0x34, 0, 1}, {1, 2, 1, 3, 4, 3});
    // The last row itself may be missing, too.
    decodes(8, 3, 2, {3, 1, 0, 0, 0, 1}, {1, 1, 1, -1, -1, -1});
    decodes(8, 3, 2, {3, 1, 0, 0, 1, 5, 0, 1}, {1, 1, 1, 5, -1, -1});
    decodes(8, 3, 1, {0, 1}, {-1, -1, -1});
}

// Nothing behind the end of the bitmap is read or counts.
TEST(RunLengthDecode, whatFollowsTheEndDoesNotCount) {
    decodes(8, 2, 1, {2, 5, 0, 0, 0, 1, 9, 9, 0, 0, 0, 2, 200, 200}, {5, 5});
}

TEST(RunLengthDecode, rowsMustBeComplete) {
    for (int bits : {8, 4}) {
        fails(bits, 4, 2, {3, 0x11, 0, 0, 4, 0x22, 0, 0, 0, 1}, RefDrawn::WIDTH);
        fails(bits, 4, 2, {4, 0x11, 0, 0, 0, 0, 0, 1}, RefDrawn::WIDTH);
        fails(bits, 4, 1, {0, 0, 0, 1}, RefDrawn::WIDTH);
    }
}

TEST(RunLengthDecode, rowsMustNotOverflow) {
    for (int bits : {8, 4}) {
        // Found by the test before the next command.
        fails(bits, 4, 3, {5, 0x11, 3, 0x22, 0, 0, 0, 1}, RefDrawn::HEIGHT_OR_WIDTH);
        fails(bits, 4, 3, {5, 0x11, 0, 1}, RefDrawn::HEIGHT_OR_WIDTH);
        fails(bits, 4, 3, {5, 0x11, 0, 2, 0, 0, 0, 1}, RefDrawn::HEIGHT_OR_WIDTH);
        // At the end of a row either test finds it.
        fails(bits, 4, 3, {5, 0x11, 0, 0, 0, 1}, RefDrawn::HEIGHT_OR_WIDTH | RefDrawn::WIDTH);
        fails(bits, 2, 3, {0, 3, 1, 2, 3, 0, 0, 0, 0, 1},
              RefDrawn::HEIGHT_OR_WIDTH | (bits == 8 ? RefDrawn::WIDTH : 0));
    }
}

TEST(RunLengthDecode, theEndMustNotComeEarly) {
    for (int bits : {8, 4}) {
        fails(bits, 2, 3, {2, 0x11, 0, 0, 0, 1}, RefDrawn::HEIGHT);
        fails(bits, 2, 2, {0, 1}, RefDrawn::HEIGHT);
        fails(bits, 2, 2, {2, 0x11, 0, 1}, RefDrawn::HEIGHT);
    }
}

TEST(RunLengthDecode, deltasMustStayInside) {
    for (int bits : {8, 4}) {
        fails(bits, 4, 3, {0, 2, 5, 0, 0, 1}, RefDrawn::DELTA);
        fails(bits, 4, 3, {2, 0x11, 0, 2, 3, 0, 0, 1}, RefDrawn::DELTA);
        // Beyond the last row it is the delta's failure and not the height's.
        fails(bits, 4, 3, {0, 2, 0, 4, 0, 1}, RefDrawn::DELTA);
        fails(bits, 4, 3, {0, 2, 255, 255, 0, 1}, RefDrawn::DELTA);
    }
}

TEST(RunLengthDecode, nothingIsDrawnBelowTheLastRow) {
    for (int bits : {8, 4}) {
        fails(bits, 2, 1, {2, 0x11, 0, 0, 1, 0x22, 0, 1}, RefDrawn::ANY);
        fails(bits, 2, 1, {2, 0x11, 0, 0, 0, 3, 1, 2, 3, 0, 0, 1}, RefDrawn::ANY);
        fails(bits, 2, 2, {0, 2, 0, 2, 1, 0x11, 0, 1}, RefDrawn::ANY);
        fails(bits, 2, 1, {255, 0x11, 0, 0, 0, 1}, RefDrawn::ANY);
        fails(bits, 9, 2, {0, 2, 8, 1, 255, 0x11, 0, 0, 0, 1}, RefDrawn::ANY);
    }
}

TEST(RunLengthDecode, nothingIsReadBehindTheSizeOfTheStream) {
    for (int bits : {8, 4}) {
        const Stream whole = {2, 0x11, 0, 0, 0, 3, 1, 2, 3, 0, 0, 2, 0, 0, 2, 0x77, 0, 0, 0, 1};
        // A width that none of the pieces overflows.
        for (size_t length = 1; length < 4; ++length)
            fails(bits, 2, 4, Stream(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)),
                  RefDrawn::ANY);
        fails(bits, 9, 2, {9, 0x11, 0}, RefDrawn::ANY);
        fails(bits, 9, 2, {9}, RefDrawn::ANY);
        fails(bits, 9, 2, {0, 2, 1}, RefDrawn::ANY);
        fails(bits, 9, 2, {0, 2}, RefDrawn::ANY);
        fails(bits, 9, 2, {0, 9, 1, 2, 3}, RefDrawn::ANY);
        fails(bits, 9, 2, {0, 9}, RefDrawn::ANY);
        fails(bits, 9, 2, {9, 0x11, 0, 0, 9, 0x11, 0, 0}, RefDrawn::ANY);
    }
}

TEST(RunLengthDecode, faultsAreReportedUnderTheNameOfTheForm) {
    for (int bits : {8, 4}) {
        const Stream stream = {3, 0x11, 0, 0, 0, 1};
        TestBitmap bitmap({4, 1, bits, bits == 8 ? 1u : 2u}, 1, true, static_cast<int>(stream.size()));
        bitmap.setStream(stream);
        TestImage image(layoutFor(bitmap.shape()));
        ReportRecorder reports;
        bitmap.convertFrom(image.header());
        const std::string message =
            std::string("Incorrect format of BI_RLE") + (bits == 8 ? "8" : "4") + " DIB (mismatch biWidth)";
        EXPECT_TRUE(reports.are({{-5, "moxConvertFromDIBSep", message.c_str()},
                                 {-3, "moxConvertFromDIBSep", "Impossible to decompress RLE DIB"}}));
    }
}

// Random streams that are right: any mixture of commands, with skips.
Stream drawStream(Random &random, int bits, int width, int height) {
    Stream stream;
    int column = 0, row = 0;
    auto literal = [&](int count) {
        stream.insert(stream.end(), {0, static_cast<uint8_t>(count)});
        int bytes = bits == 8 ? count : (count + 1) / 2;
        for (bytes += bytes & 1; bytes > 0; --bytes)
            stream.push_back(static_cast<uint8_t>(random.bits()));
    };
    while (row < height) {
        const int left = width - column;
        if (left == 0) {
            if (row == height - 1 && random.oneIn(2)) break;
            stream.insert(stream.end(), {0, 0});
            column = 0;
            ++row;
        } else if (random.oneIn(12) && row < height - 1) {
            const int dx = random.between(0, std::min(left, 255)),
                      dy = random.between(0, std::min(height - 1 - row, 2));
            stream.insert(stream.end(), {0, 2, static_cast<uint8_t>(dx), static_cast<uint8_t>(dy)});
            column += dx;
            row += dy;
        } else if (left >= 3 && random.oneIn(2)) {
            const int count = random.between(3, std::min(left, 255));
            literal(count);
            column += count;
        } else {
            const int count = random.between(1, std::min(left, random.oneIn(2) ? 5 : 255));
            stream.insert(stream.end(), {static_cast<uint8_t>(count), static_cast<uint8_t>(random.bits())});
            column += count;
        }
    }
    stream.insert(stream.end(), {0, 1});
    return stream;
}

// The stream through library and model: equal pixels, or a fault that the model names too.
void compare(int bits, int width, int height, const Stream &stream) {
    const RefDrawn drawn = refDrawStream(bits, width, height, stream);
    StreamCase test(bits, width, height, stream);
    const TestBytes before = test.image.bytes();
    ReportRecorder reports;
    AllocationWindow window;
    moxConvertFromDIB(test.bitmap.header(), test.image.header());
    window.close();
    EXPECT_EQ(window.live(), 0);
    EXPECT_TRUE(test.bitmap.isUntouched());
    EXPECT_TRUE(test.image.headerIsUntouched());
    if (drawn.fault == RefDrawn::NONE) {
        EXPECT_TRUE(reports.none());
        for (size_t i = 0; i < drawn.pixels.size(); ++i) {
            if (drawn.pixels[i] < 0) continue;
            const int place = static_cast<int>(i);
            ASSERT_EQ(static_cast<int>(test.image.get(0, place % width, place / width)),
                      drawn.pixels[i] * (bits == 8 ? 1 : 17))
                << place % width << ", " << place / width;
        }
        return;
    }
    EXPECT_TRUE(test.image.holds(before));
    ASSERT_EQ(reports.seen.size(), 2u) << reports.text();
    bool named = false;
    for (int each : {RefDrawn::HEIGHT_OR_WIDTH, RefDrawn::WIDTH, RefDrawn::DELTA, RefDrawn::HEIGHT}) {
        named = named || (drawn.fault & each && reports.seen[0].message.find(std::string("(") + refFaultText(each) +
                                                                             ")") != std::string::npos);
    }
    EXPECT_TRUE(named) << reports.text() << "model: " << drawn.fault;
}

std::string textOf(const Stream &stream) {
    std::string text;
    char byte[8];
    for (uint8_t each : stream) {
        snprintf(byte, sizeof byte, "%02X ", each);
        text += byte;
    }
    return text;
}

class RunLengthStreams : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Bits, RunLengthStreams, testing::Values(8, 4));

TEST_P(RunLengthStreams, rightOnesAreDrawn) {
    forEachCase(1500, [&](Random &random) {
        const int width = random.between(1, random.oneIn(3) ? 600 : 20), height = random.between(1, 8);
        const Stream stream = drawStream(random, GetParam(), width, height);
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height) + ": " + textOf(stream));
        EXPECT_EQ(refDrawStream(GetParam(), width, height, stream).fault, RefDrawn::NONE);
        compare(GetParam(), width, height, stream);
    });
}

TEST_P(RunLengthStreams, spoiledOnesAreRefusedAsTheModelDoes) {
    forEachCase(4000, [&](Random &random) {
        const int width = random.between(1, random.oneIn(3) ? 300 : 12), height = random.between(1, 6);
        Stream stream = drawStream(random, GetParam(), width, height);
        for (int changes = random.between(1, 3); changes > 0; --changes) {
            const size_t at = static_cast<size_t>(random.below(static_cast<int>(stream.size())));
            if (random.oneIn(3)) {
                stream[at] = static_cast<uint8_t>(random.bits());
            } else if (random.oneIn(2)) {
                stream[at] = static_cast<uint8_t>(random.below(4));
            } else if (stream.size() > 1) {
                stream.resize(std::max<size_t>(1, at));
            }
        }
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height) + ": " + textOf(stream));
        compare(GetParam(), width, height, stream);
    });
}

TEST_P(RunLengthStreams, anyBytesAreNotDrawnBeyondTheBuffer) {
    forEachCase(4000, [&](Random &random) {
        Stream stream(static_cast<size_t>(random.between(1, 60)));
        const int most = random.oneIn(2) ? 256 : 5;
        for (uint8_t &byte : stream)
            byte = static_cast<uint8_t>(random.below(most));
        const int width = random.between(1, 20), height = random.between(1, 4);
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height) + ": " + textOf(stream));
        compare(GetParam(), width, height, stream);
    });
}

}  // namespace
