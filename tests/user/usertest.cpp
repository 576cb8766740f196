// The callers' functions: results that are told, and every report in its order.
#include <bit>
#include <climits>
#include <cmath>
#include <limits>

#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"
#include "user/callback.h"

namespace {

const char *const names[] = {"moxUserProcess", "moxUserProcessFP", "moxUserProcessPixel"};

void call(int form, MoxImage *src, MoxImage *dst, bool withFunction = true) {
    switch (form) {
        case 0:
            return moxUserProcess(src, dst, withFunction ? Callbacks::onSample : nullptr);
        case 1:
            return moxUserProcessFP(src, dst, withFunction ? Callbacks::onReal : nullptr);
        default:
            return moxUserProcessPixel(src, dst, withFunction ? Callbacks::onPixel : nullptr);
    }
}

// Functions that leave samples as they are.
struct Identity : Callbacks {
    Identity() {
        sample = [](int value) { return value; };
        real = [](float value) { return value; };
        pixel = [](const std::vector<uint32_t> &from, std::vector<uint32_t> &to) { to = from; };
    }
};

uint32_t lowBits(unsigned depth, int value) {
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    return bits == 32 ? static_cast<uint32_t>(value) : static_cast<uint32_t>(value) & ((1u << bits) - 1);
}

// 300 becomes 255 and -1 becomes 0 in bytes, and so on; in 32 bits nothing is beyond.
TEST(UserProcessImage, resultsSaturate) {
    const struct {
        unsigned depth;
        int low, high;
    } depths[] = {{MOX_DEPTH_8U, 0, 255},
                  {MOX_DEPTH_8S, -128, 127},
                  {MOX_DEPTH_16U, 0, 65535},
                  {MOX_DEPTH_16S, -32768, 32767},
                  {MOX_DEPTH_32S, INT_MIN, INT_MAX}};
    for (const auto &each : depths) {
        for (const int value : {300, -1, 0, 70000, -70000, INT_MAX, INT_MIN, each.low, each.high}) {
            TestImage image(TestLayout::of(each.depth, 3, 2), 1);
            Identity callbacks;
            callbacks.sample = [value](int) { return value; };
            callbacks.real = [value](float) { return static_cast<float>(value); };
            const uint32_t wanted = lowBits(each.depth, std::clamp(value, each.low, each.high));
            ReportRecorder reports;
            moxUserProcess(image.header(), image.header(), Callbacks::onSample);
            EXPECT_EQ(image.get(0, 2, 1), wanted) << depthName(each.depth) << " " << value;
            moxUserProcessFP(image.header(), image.header(), Callbacks::onReal);
            EXPECT_EQ(image.get(0, 1, 0), wanted) << depthName(each.depth) << " " << value;
            EXPECT_TRUE(reports.none());
            EXPECT_EQ(callbacks.calls, 12);
        }
    }
}

TEST(UserProcessImage, samplesKeepTheirSigns) {
    const struct {
        unsigned depth;
        uint32_t sample;
        int number;
    } cases[] = {{MOX_DEPTH_8U, 0xFF, 255},
                 {MOX_DEPTH_8S, 0xFF, -1},
                 {MOX_DEPTH_16U, 0x8000, 32768},
                 {MOX_DEPTH_16S, 0x8000, -32768},
                 {MOX_DEPTH_32S, 0x80000000u, INT_MIN}};
    for (const auto &each : cases) {
        TestImage image(TestLayout::of(each.depth, 1, 1), 1);
        image.set(0, 0, 0, each.sample);
        Identity callbacks;
        int seen = 0;
        float seenReal = 0;
        callbacks.sample = [&](int value) { return seen = value; };
        callbacks.real = [&](float value) { return seenReal = value; };
        moxUserProcess(image.header(), image.header(), Callbacks::onSample);
        moxUserProcessFP(image.header(), image.header(), Callbacks::onReal);
        EXPECT_EQ(seen, each.number);
        EXPECT_EQ(seenReal, static_cast<float>(each.number));
        EXPECT_EQ(image.get(0, 0, 0), each.sample);
    }
}

TEST(UserProcessImage, floatsAreCutTowardZero) {
    const struct {
        unsigned depth;
        float value;
        int wanted;
    } cases[] = {{MOX_DEPTH_8U, 1.999f, 1},
                 {MOX_DEPTH_8U, 255.7f, 255},
                 {MOX_DEPTH_8U, -0.99f, 0},
                 {MOX_DEPTH_8S, -1.999f, -1},
                 {MOX_DEPTH_8S, -128.5f, -128},
                 {MOX_DEPTH_16S, -32767.9f, -32767},
                 {MOX_DEPTH_16U, 65534.9f, 65534},
                 {MOX_DEPTH_32S, -0.75f, 0},
                 {MOX_DEPTH_32S, 3e9f, INT_MAX},
                 {MOX_DEPTH_32S, -3e9f, INT_MIN},
                 {MOX_DEPTH_32S, 2147483648.0f, INT_MAX},
                 {MOX_DEPTH_32S, 2147483520.0f, 2147483520},
                 {MOX_DEPTH_16U, HUGE_VALF, 65535},
                 {MOX_DEPTH_16S, -HUGE_VALF, -32768}};
    for (const auto &each : cases) {
        TestImage image(TestLayout::of(each.depth, 5, 1), 1);
        Identity callbacks;
        callbacks.real = [&](float) { return each.value; };
        moxUserProcessFP(image.header(), image.header(), Callbacks::onReal);
        EXPECT_EQ(image.get(0, 4, 0), lowBits(each.depth, each.wanted)) << depthName(each.depth) << " " << each.value;
    }
}

// 32 bits go through a float, which has 24.
TEST(UserProcessImage, lowBitsOfLargeIntegersAreLostInFloats) {
    TestImage image(TestLayout::of(MOX_DEPTH_32S, 1, 1), 1);
    image.set(0, 0, 0, 16777217);
    Identity callbacks;
    moxUserProcessFP(image.header(), image.header(), Callbacks::onReal);
    EXPECT_EQ(image.get(0, 0, 0), 16777216u);
}

TEST(UserProcessImage, floatsAreStoredAsTheyAre) {
    TestImage image(TestLayout::of(MOX_DEPTH_32F, 1, 1), 1);
    for (const float value : {1e30f, -0.0f, HUGE_VALF, 1.17549e-39f}) {
        Identity callbacks;
        callbacks.real = [&](float) { return value; };
        moxUserProcessFP(image.header(), image.header(), Callbacks::onReal);
        EXPECT_EQ(image.get(0, 0, 0), std::bit_cast<uint32_t>(value));
    }
}

TEST(UserProcessImage, aMaskOfZerosCallsNothing) {
    for (int form = 0; form < 3; ++form) {
        for (const int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
            for (int which = 0; which < 2; ++which) {
                TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10, 3, order), 1), dst(src.layout(), 2);
                TestImage mask(TestLayout::ofMask(20, 10), 3);
                mask.setAll(0);
                (which ? src : dst).setMask(&mask);
                const TestBytes before = dst.bytes();
                Identity callbacks;
                callbacks.channels = 3;
                ReportRecorder reports;
                call(form, src.header(), dst.header());
                EXPECT_EQ(callbacks.calls, 0);
                EXPECT_TRUE(dst.holds(before));
                EXPECT_TRUE(reports.none());
            }
        }
    }
}

// A pixel has its processed channels side by side, whatever the order; a channel of interest stands alone.
TEST(UserProcessImage, pixelsComeWhole) {
    for (const int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        for (const int coi : {0, 2}) {
            TestLayout layout = TestLayout::of(MOX_DEPTH_16S, 7, 3, 4, order);
            layout.alpha = 4;
            layout.setRoi(coi, 2, 1, 100, 100);
            TestImage src(layout, 1), dst(layout, 2);
            const int channels = coi ? 1 : 3, first = coi ? 1 : 0;
            TestBytes wanted = dst.bytes();
            for (int y = 1; y < 3; ++y) {
                for (int x = 2; x < 7; ++x) {
                    for (int c = 0; c < channels; ++c)
                        dst.setIn(wanted, first + c, x, y, src.get(first + channels - 1 - c, x, y));
                }
            }
            Identity callbacks;
            callbacks.channels = channels;
            callbacks.depth = MOX_DEPTH_16S;
            callbacks.pixel = [](const std::vector<uint32_t> &from, std::vector<uint32_t> &to) {
                to.assign(from.rbegin(), from.rend());
            };
            ReportRecorder reports;
            moxUserProcessPixel(src.header(), dst.header(), Callbacks::onPixel);
            EXPECT_TRUE(reports.none());
            EXPECT_TRUE(dst.holds(wanted)) << order << " " << coi;
            EXPECT_EQ(callbacks.calls, 10);
        }
    }
}

std::vector<const void *> places;
void MOX_CALL notePlaces(MoxImage *, void *from, MoxImage *, void *to) {
    EXPECT_EQ(from, to);
    places.push_back(from);
}

// In pixel order the callback gets the places of the samples themselves, in place the same one twice.
TEST(UserProcessImage, pixelsOfPixelOrderAreTheImagesOwn) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 4, 2, 3), 1);
    places.clear();
    moxUserProcessPixel(image.header(), image.header(), notePlaces);
    ASSERT_EQ(places.size(), 8u);
    for (int k = 0; k < 8; ++k) {
        EXPECT_EQ(places[static_cast<size_t>(k)],
                  image.header()->imageData + k / 4 * image.header()->widthStep + k % 4 * 3);
    }
}

void MOX_CALL writeNothing(MoxImage *, void *, MoxImage *, void *) {}

// What the callback does not write stays, in both orders.
TEST(UserProcessImage, aCallbackThatWritesNothingChangesNothing) {
    for (const int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10, 3, order), 1), dst(src.layout(), 2);
        const TestBytes before = dst.bytes();
        moxUserProcessPixel(src.header(), dst.header(), writeNothing);
        EXPECT_TRUE(dst.holds(before));
    }
}

// A status that the callback leaves ends the walk: its pixel is stored, later ones are not.
TEST(UserProcessImage, aStatusLeftInACallbackEndsTheWalk) {
    for (const int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        for (const MoxStatus status : {-7, -100, 5}) {
            TestImage src(TestLayout::of(MOX_DEPTH_8U, 5, 4, 3, order), 1), dst(src.layout(), 2);
            TestBytes wanted = dst.bytes();
            for (int k = 0; k < 8; ++k) {
                for (int c = 0; c < 3; ++c)
                    dst.setIn(wanted, c, k % 5, k / 5, src.get(c, k % 5, k / 5));
            }
            Identity callbacks;
            callbacks.channels = 3;
            callbacks.pixel = [&](const std::vector<uint32_t> &from, std::vector<uint32_t> &to) {
                to = from;
                if (callbacks.calls == 8) moxSetErrStatus(status);
            };
            ReportRecorder reports;
            AllocationWindow window;
            moxUserProcessPixel(src.header(), dst.header(), Callbacks::onPixel);
            window.close();
            EXPECT_EQ(window.live(), 0);
            EXPECT_TRUE(reports.are({{-1, names[2], "in cbFunc call"}}));
            EXPECT_EQ(callbacks.calls, 8);
            EXPECT_EQ(moxGetErrStatus(), status);
            EXPECT_TRUE(dst.holds(wanted));
        }
    }
}

// On tiles, too, and the tiles in hand are given back.
TEST(UserProcessImage, aStatusLeftInACallbackGivesTilesBack) {
    for (const int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 30, 20, 2, order);
        layout.tileWidth = layout.tileHeight = 8;
        TestImage src(layout, 1), dst(layout, 2);
        Identity callbacks;
        callbacks.channels = 2;
        callbacks.pixel = [&](const std::vector<uint32_t> &from, std::vector<uint32_t> &to) {
            to = from;
            if (callbacks.calls == 70) moxSetErrStatus(-6);
        };
        ReportRecorder reports;
        TileLog log;
        moxUserProcessPixel(src.header(), dst.header(), Callbacks::onPixel);
        EXPECT_TRUE(log.paired());
        EXPECT_TRUE(reports.are({{-1, names[2], "in cbFunc call"}}));
        EXPECT_EQ(callbacks.calls, 70);
    }
}

// The other two do not look at the status.
TEST(UserProcessImage, sampleFunctionsMaySetAStatus) {
    for (int form = 0; form < 2; ++form) {
        TestImage image(TestLayout::of(MOX_DEPTH_8U, 5, 4), 1);
        Identity callbacks;
        callbacks.sample = [](int value) {
            moxSetErrStatus(-7);
            return value;
        };
        callbacks.real = [](float value) {
            moxSetErrStatus(-7);
            return value;
        };
        ReportRecorder reports;
        call(form, image.header(), image.header());
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(callbacks.calls, 20);
        EXPECT_EQ(moxGetErrStatus(), -7);
    }
}

TEST(UserProcessImage, anEarlierFaultDoesNotStopAGoodCall) {
    for (int form = 0; form < 3; ++form) {
        for (const int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
            TestImage image(TestLayout::of(MOX_DEPTH_8U, 5, 4, 1, order), 1);
            Identity callbacks;
            ReportRecorder reports;
            moxSetErrStatus(-7);
            call(form, image.header(), image.header());
            EXPECT_TRUE(reports.none());
            EXPECT_EQ(callbacks.calls, 20);
            EXPECT_EQ(moxGetErrStatus(), -7);
        }
    }
}

struct Refusal {
    int form;
    TestImage &src, &dst;
    MoxImage *from = src.header(), *to = dst.header();
    bool withFunction = true;
    ReportRecorder reports = {};
    TestBytes before[2] = {src.bytes(), dst.bytes()};

    void expect(MoxStatus status, const char *message) {
        SCOPED_TRACE(std::string(names[form]) + ": " + message);
        Identity callbacks;
        reports.clear();
        AllocationWindow window;
        call(form, from, to, withFunction);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(reports.are({{status, names[form], message}}));
        EXPECT_EQ(callbacks.calls, 0);
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_TRUE(src.holds(before[0]));
        EXPECT_TRUE(dst.holds(before[1]));
    }
};

// Faults are added one by one, from the last that is tested to the first, and each takes the report over.
TEST(UserProcessFailure, isReportedInTheOrderOfTheTests) {
    for (int form = 0; form < 3; ++form) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_32F, 20, 10);
        TestImage src(layout, 1), dst(layout, 2);
        layout.setRoi(0, 0, 10, 5, 5);
        TestImage low(layout, 1);
        layout.setRoi(0, 20, 10, 5, 5);
        TestImage empty(layout, 1);
        // Integers, where the function has no floats.
        for (TestImage *image : {&low, &empty, &src, &dst}) {
            if (form == 0) image->header()->depth = MOX_DEPTH_32S;
        }
        Refusal{form, src, low}.expect(-25, "height <= 0");
        Refusal{form, low, dst}.expect(-25, "height <= 0");
        Refusal{form, src, empty}.expect(-25, "width <= 0");
        // A depth of 1 bit, which all refuse.
        TestLayout bits = TestLayout::of(MOX_DEPTH_1U, 20, 10);
        bits.setRoi(0, 20, 10, 5, 5);
        TestImage oneBit(bits, 3), otherBit(bits, 4);
        Refusal{form, oneBit, otherBit}.expect(-17, "depth == MOX_DEPTH_1U");
        Refusal refusal = {form, empty, dst};
        refusal.expect(-25, "width <= 0");
        if (form == 0) {
            empty.header()->depth = dst.header()->depth = MOX_DEPTH_32F;
            refusal.expect(-17, "depth == MOX_DEPTH_32F");
        }
        empty.header()->alphaChannel = dst.header()->alphaChannel = 1;
        refusal.expect(-15, "nChannels == 0");
        dst.header()->depth = MOX_DEPTH_16S;
        refusal.expect(-17, "srcImage->depth != dstImage->depth");
        refusal.withFunction = false;
        refusal.expect(-5, "cbFunc == NULL");
        dst.header()->dataOrder = MOX_DATA_ORDER_PLANE;
        refusal.expect(-19, "srcImage->dataOrder != dstImage->dataOrder");
        dst.header()->origin = MOX_ORIGIN_BL;
        refusal.expect(-20, "srcImage->origin != dstImage->origin");
        dst.header()->align = 5;
        refusal.expect(-21, "Incorrect Image");
        empty.header()->origin = 7;
        refusal.expect(-20, "Incorrect Image");
        refusal.from = nullptr;
        refusal.expect(-9, "Incorrect Image");
        refusal.from = empty.header();
        empty.header()->origin = 0;
        refusal.to = nullptr;
        refusal.expect(-9, "Incorrect Image");
    }
}

TEST(UserProcessFailure, channelsOfInterestGoTogetherOrWithASingleChannel) {
    TestLayout three = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), coi = three, one = TestLayout::of(MOX_DEPTH_8U, 20, 10),
               four = TestLayout::of(MOX_DEPTH_8U, 20, 10, 4), alpha = four, region = three, fourCoi = four;
    coi.setRoi(2, 0, 0, 20, 10);
    fourCoi.setRoi(4, 0, 0, 20, 10);
    region.setRoi(0, 0, 0, 20, 10);
    alpha.alpha = 4;
    const ReportExpected ofSource = {-24, "", "srcImage->roi->coi > 0 && dstImage->roi->coi == 0"};
    const ReportExpected ofDestination = {-24, "", "dstImage->roi->coi > 0 && srcImage->roi->coi == 0"};
    const ReportExpected counts = {-15, "", "srcImage->nChannels != dstImage->nChannels"};
    const struct {
        TestLayout src, dst;
        std::vector<ReportExpected> reports;
    } cases[] = {{coi, coi, {}},
                 {coi, one, {}},
                 {one, coi, {}},
                 {coi, fourCoi, {}},
                 {coi, three, {ofSource}},
                 {coi, region, {ofSource}},
                 {three, coi, {ofDestination}},
                 {region, coi, {ofDestination}},
                 {three, four, {counts}},
                 {one, three, {counts}},
                 {three, alpha, {counts}},
                 {alpha, alpha, {}},
                 {alpha, four, {}}};
    for (int form = 0; form < 3; ++form) {
        for (const auto &each : cases) {
            TestImage src(each.src, 1), dst(each.dst, 2);
            SCOPED_TRACE(each.src.describe() + " to " + each.dst.describe());
            Identity callbacks;
            callbacks.channels = std::min(each.src.channelCount(), each.dst.channelCount());
            const RefResult wanted =
                each.reports.empty() ? refUserProcess(src, dst, callbacks.sample) : RefResult{dst.bytes(), {}};
            std::vector<ReportExpected> expected = each.reports;
            for (ReportExpected &report : expected)
                report.function = names[form];
            ReportRecorder reports;
            call(form, src.header(), dst.header());
            EXPECT_TRUE(reports.are(expected));
            EXPECT_TRUE(dst.holds(wanted.expected));
        }
    }
}

// Masks that lie nowhere near leave nothing, which is a fault.
TEST(UserProcessFailure, anEmptyMaskIsAFault) {
    TestLayout region = TestLayout::ofMask(20, 10);
    region.setRoi(0, 20, 0, 5, 5);
    for (int form = 0; form < 3; ++form) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(src.layout(), 2), mask(region, 3);
        src.setMask(&mask);
        Refusal{form, src, dst}.expect(-25, "width <= 0");
        Refusal{form, src, src}.expect(-25, "width <= 0");
    }
}

TEST(UserProcessFailure, memoryForMasksIsMissedByName) {
    for (int form = 0; form < 3; ++form) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(src.layout(), 2);
        TestImage first(TestLayout::ofMask(20, 10), 3), second(TestLayout::ofMask(20, 10), 4);
        src.setMask(&first);
        dst.setMask(&second);
        const TestBytes before = dst.bytes();
        int refused = 0;
        for (int failAt = 1;; ++failAt) {
            Identity callbacks;
            ReportRecorder reports;
            AllocationWindow window(failAt);
            call(form, src.header(), dst.header());
            window.close();
            EXPECT_EQ(window.live(), 0);
            if (!window.refused()) break;
            ++refused;
            ASSERT_FALSE(reports.seen.empty());
            EXPECT_EQ(reports.seen.back().status, -1);
            EXPECT_EQ(reports.seen.back().function, names[form]);
            EXPECT_EQ(reports.seen.back().message, "while mask creating");
            EXPECT_EQ(callbacks.calls, 0);
            EXPECT_TRUE(dst.holds(before));
        }
        EXPECT_GE(refused, 1);
    }
}

// The copies of a pixel in plane order may be too much for memory: here of very many channels.
TEST(UserProcessFailure, memoryForPixelsIsMissedByName) {
    TestImage src(TestLayout::of(MOX_DEPTH_32S, 3, 2, 5000, MOX_DATA_ORDER_PLANE), 1), dst(src.layout(), 2);
    const TestBytes before = dst.bytes();
    int refused = 0;
    for (int failAt = 1;; ++failAt) {
        Identity callbacks;
        callbacks.channels = 5000;
        callbacks.depth = MOX_DEPTH_32S;
        ReportRecorder reports;
        AllocationWindow window(failAt);
        moxUserProcessPixel(src.header(), dst.header(), Callbacks::onPixel);
        window.close();
        EXPECT_EQ(window.live(), 0);
        if (!window.refused()) break;
        ++refused;
        EXPECT_TRUE(reports.are({{-4, names[2], "No memory for temporal array"}}));
        EXPECT_EQ(callbacks.calls, 0);
        EXPECT_TRUE(dst.holds(before));
    }
    EXPECT_GE(refused, 1);
}

TEST(UserProcessFailure, refusedTilesAreReported) {
    for (int form = 0; form < 3; ++form) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
        TestImage plain(layout, 1);
        layout.tileWidth = layout.tileHeight = 8;
        TestImage tiled(layout, 2), other(layout, 3);
        Identity callbacks;
        ReportRecorder reports;
        for (TestImage *source : {&plain, &tiled}) {
            reports.clear();
            TileLog log(1);
            call(form, source->header(), tiled.header());
            EXPECT_TRUE(reports.are({{-2, names[form], "Error get tile to write"}}));
            tiled.abandonTiles();
        }
        reports.clear();
        {
            TileLog log(1);
            call(form, tiled.header(), plain.header());
            EXPECT_TRUE(reports.are({{-2, names[form], "Error get tile to read"}}));
            tiled.abandonTiles();
        }
        // A source that fails gives the destination's tile back.
        reports.clear();
        TileLog log(2);
        call(form, tiled.header(), other.header());
        EXPECT_TRUE(reports.are({{-2, names[form], "Error get tile to read"}}));
        EXPECT_EQ(other.tilesInHand(), 0u);
        tiled.abandonTiles();
    }
}

}  // namespace
