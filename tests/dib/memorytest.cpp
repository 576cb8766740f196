// Memory that runs out in the bitmap functions: each message that there is for it, under the name of each form.
#include <memory>
#include <set>

#include "dib/dibcheck.h"
#include "support/allocations.h"
#include "support/reports.h"

namespace {

using Messages = std::set<std::string>;

std::string lineOf(const ReportSeen &report) {
    return std::to_string(report.status) + " " + report.function + " " + report.message;
}

// The last reports of all refusals; and that nothing leaks.
template <typename Make>
Messages lastReports(const Make &make, MoxImage *image, int dither, int conversion) {
    Messages messages;
    for (int failAt = 1; failAt < 200; ++failAt) {
        const std::unique_ptr<TestBitmap> bitmap = make();
        ReportRecorder reports;
        AllocationWindow window(failAt);
        bitmap->convertTo(image, dither, conversion);
        window.close();
        EXPECT_EQ(window.live(), 0);
        if (!window.refused()) {
            EXPECT_TRUE(reports.none());
            return messages;
        }
        if (!reports.seen.empty()) messages.insert(lineOf(reports.seen.back()));
    }
    ADD_FAILURE() << "allocations without end";
    return messages;
}

TEST(BitmapMemory, ofAStreamThatIsRead) {
    for (int bits : {8, 4}) {
        for (bool separate : {false, true}) {
            const std::vector<uint8_t> stream = {4, 0x11, 0, 0, 4, 0x22, 0, 0, 0, 1};
            TestBitmap bitmap({4, 2, bits, bits == 8 ? 1u : 2u}, 1, separate, static_cast<int>(stream.size()));
            bitmap.setStream(stream);
            TestImage image(layoutFor(bitmap.shape()));
            const TestBytes before = image.bytes();
            ReportRecorder reports;
            AllocationWindow window(1);
            bitmap.convertFrom(image.header());
            window.close();
            const std::string message =
                std::string("Not enough memory to decompress BI_RLE") + (bits == 8 ? "8" : "4") + " DIB at DIB";
            EXPECT_TRUE(reports.are({{-4, bitmap.nameOfFrom(), message.c_str()},
                                     {-3, bitmap.nameOfFrom(), "Impossible to decompress RLE DIB"}}));
            EXPECT_EQ(window.live(), 0);
            EXPECT_TRUE(image.holds(before));
        }
    }
}

TEST(BitmapMemory, ofAnImageWithoutPixels) {
    for (bool separate : {false, true}) {
        TestBitmap bitmap({8, 8, 24}, 1, separate);
        MoxImage *image =
            moxCreateImageHeader(3, 0, 8, "RGB", "BGR", 0, 0, 4, 8, 8, nullptr, nullptr, nullptr, nullptr);
        ReportRecorder reports;
        AllocationWindow window(1);
        bitmap.convertFrom(image);
        window.close();
        ASSERT_FALSE(reports.seen.empty());
        EXPECT_EQ(lineOf(reports.seen.back()), std::string("-4 ") + bitmap.nameOfFrom() +
                                                   " Not enough memory to allocate data for destination image");
        // The allocator of images has its own report.
        EXPECT_LE(reports.seen.size(), 2u) << reports.text();
        EXPECT_EQ(image->imageData, nullptr);
        EXPECT_EQ(image->imageDataBase, nullptr);
        moxDeallocateHeader(image);
    }
}

TEST(BitmapMemory, ofBitmapsThatAreWritten) {
    for (bool separate : {false, true}) {
        const std::string name = separate ? "moxConvertToDIBSep " : "moxConvertToDIB ";
        const std::string medcut = "-3 " + name + "Error of creating medcut palette";
        const std::string temporalHeader = "-4 " + name + "Not enough memory to allocate header for temporal image";
        const std::string temporalData = "-4 " + name + "Not enough memory to allocate data for temporal image";
        for (int bits : {8, 4}) {
            const unsigned compression = bits == 8 ? 1 : 2;
            const std::string compress =
                "-4 " + name + "Not enough memory to compress DIB at BI_RLE" + std::to_string(bits) + " DIB";
            TestImage image(layoutFor({40, 20, bits}, 3));
            nameChannels(image, "RGB");
            auto run = [&](unsigned kind, int dither, int conversion) {
                const BitmapShape shape = {40, 20, bits, kind};
                return lastReports([&] { return std::make_unique<TestBitmap>(shape, 4, separate); }, image.header(),
                                   dither, conversion);
            };
            EXPECT_TRUE(run(0, MOX_DITHER_NONE, MOX_PALCONV_MEDCUT).contains(medcut));
            EXPECT_TRUE(run(compression, MOX_DITHER_NONE, MOX_PALCONV_NONE).contains(compress));
            if (bits == 8) continue;
            const Messages dithered = run(0, MOX_DITHER_FS, MOX_PALCONV_NONE);
            EXPECT_TRUE(dithered.contains(temporalHeader));
            EXPECT_TRUE(dithered.contains(temporalData));
            EXPECT_TRUE(dithered.contains("-3 " + name + "Dithering can't be produced"));
        }
    }
}

}  // namespace
