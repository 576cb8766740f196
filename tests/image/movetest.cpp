// moxCopy, moxSet, moxSetFP and moxExchange by the letter: what is refused, under whose name and in which order, and
// the cases that have a rule of their own.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"

namespace {

using Mover = void(MOX_CALL *)(MoxImage *, MoxImage *);

// moxCopy and moxExchange have their first steps in common.
struct MoverCase {
    Mover move;
    const char *name;
};
const MoverCase movers[] = {{moxCopy, "moxCopy"}, {moxExchange, "moxExchange"}};

class MoveRules : public testing::Test {
  protected:
    ReportRecorder recorder;

    void SetUp() override { recorder.clear(); }

    // The call makes these reports and changes neither image.
    void expectRefused(const MoverCase &mover, TestImage &src, TestImage &dst,
                       const std::vector<ReportExpected> &reports) {
        TestBytes srcBefore = src.bytes(), dstBefore = dst.bytes();
        moxSetErrStatus(0);
        recorder.clear();
        TileLog log;
        mover.move(src.header(), dst.header());
        EXPECT_TRUE(recorder.are(reports));
        EXPECT_TRUE(src.holds(srcBefore));
        EXPECT_TRUE(dst.holds(dstBefore));
        EXPECT_TRUE(log.is({}));
    }
};

TestLayout gray(unsigned depth = MOX_DEPTH_8U) {
    return TestLayout::of(depth, 20, 10);
}
TestLayout color(unsigned depth = MOX_DEPTH_8U, int channels = 3) {
    return TestLayout::of(depth, 20, 10, channels);
}
TestLayout tiled(TestLayout layout) {
    layout.tileWidth = layout.tileHeight = 8;
    return layout;
}

TEST_F(MoveRules, TheSourcesHeaderIsCheckedFirst) {
    for (const MoverCase &mover : movers) {
        TestImage good(gray()), bad(gray()), worse(gray());
        bad.header()->align = 3;
        worse.header()->origin = 3;
        recorder.clear();
        mover.move(nullptr, good.header());
        EXPECT_TRUE(recorder.are({{-9, mover.name, "Incorrect Image"}}));
        recorder.clear();
        mover.move(good.header(), nullptr);
        EXPECT_TRUE(recorder.are({{-9, mover.name, "Incorrect Image"}}));
        recorder.clear();
        mover.move(nullptr, nullptr);
        EXPECT_TRUE(recorder.are({{-9, mover.name, "Incorrect Image"}}));
        expectRefused(mover, bad, worse, {{-21, mover.name, "Incorrect Image"}});
        expectRefused(mover, worse, bad, {{-20, mover.name, "Incorrect Image"}});
        expectRefused(mover, good, bad, {{-21, mover.name, "Incorrect Image"}});
    }
}

TEST_F(MoveRules, ABadMaskIsTheImagesFault) {
    for (const MoverCase &mover : movers) {
        TestImage a(gray()), b(gray()), mask(TestLayout::ofMask(20, 10));
        b.setMask(&mask);
        mask.header()->depth = MOX_DEPTH_8U;
        expectRefused(mover, a, b, {{-117, mover.name, "Incorrect Image"}});
        mask.header()->depth = MOX_DEPTH_1U;
        mask.header()->tileInfo = b.tileInfo();
        expectRefused(mover, a, b, {{-26, mover.name, "Incorrect Image"}});
    }
}

TEST_F(MoveRules, TheThreeTestsReportOneAfterTheOther) {
    for (const MoverCase &mover : movers) {
        const ReportExpected depth = {-5, mover.name, "srcImage->depth != dstImage->depth"};
        const ReportExpected origin = {-5, mover.name, "srcImage->origin != dstImage->origin"};
        const ReportExpected order = {-5, mover.name, "srcImage->dataOrder != dstImage->dataOrder"};
        for (int faults = 1; faults < 8; faults++) {
            TestLayout layout = color(faults & 1 ? MOX_DEPTH_8S : MOX_DEPTH_8U);
            if (faults & 2) layout.origin = MOX_ORIGIN_BL;
            if (faults & 4) layout.order = MOX_DATA_ORDER_PLANE;
            std::vector<ReportExpected> reports;
            if (faults & 1) reports.push_back(depth);
            if (faults & 2) reports.push_back(origin);
            if (faults & 4) reports.push_back(order);
            TestImage a(color()), b(layout);
            expectRefused(mover, a, b, reports);
            EXPECT_EQ(moxGetErrStatus(), -5);
            expectRefused(mover, b, a, reports);
        }
    }
}

TEST_F(MoveRules, TheOrderMattersUnlessBothImagesHaveOneChannel) {
    for (const MoverCase &mover : movers) {
        TestLayout plane = gray();
        plane.order = MOX_DATA_ORDER_PLANE;
        TestImage a(gray(), 1), b(plane, 2);
        recorder.clear();
        TestBytes wanted = b.bytes();
        for (int y = 0; y < 10; y++) {
            for (int x = 0; x < 20; x++)
                b.setIn(wanted, 0, x, y, a.get(0, x, y));
        }
        mover.move(a.header(), b.header());
        EXPECT_TRUE(recorder.none());
        EXPECT_TRUE(b.holds(wanted));

        TestLayout third = color();
        third.setRoi(3, 0, 0, 20, 10);
        TestImage c(third), d(plane);
        expectRefused(mover, c, d, {{-5, mover.name, "srcImage->dataOrder != dstImage->dataOrder"}});
        expectRefused(mover, d, c, {{-5, mover.name, "srcImage->dataOrder != dstImage->dataOrder"}});
    }
}

TEST_F(MoveRules, NothingHappensWhileTheStatusIsNegative) {
    for (const MoverCase &mover : movers) {
        for (MoxStatus fault : {-1, -5, -1000, INT_MIN}) {
            TestImage a(gray(), 1), b(tiled(gray()), 2);
            TestBytes before = b.bytes(), wanted = before;
            for (int y = 0; y < 10; y++) {
                for (int x = 0; x < 20; x++)
                    b.setIn(wanted, 0, x, y, a.get(0, x, y));
            }
            moxSetErrStatus(fault);
            TileLog log;
            mover.move(a.header(), b.header());
            EXPECT_TRUE(recorder.none());
            EXPECT_EQ(moxGetErrStatus(), fault);
            EXPECT_TRUE(b.holds(before));
            EXPECT_TRUE(log.is({}));
            moxSetErrStatus(fault == -5 ? 7 : 0);
            mover.move(a.header(), b.header());
            EXPECT_TRUE(b.holds(wanted));
            moxSetErrStatus(0);
        }
    }
}

MoxTileCallback served;
int MOX_CALL serveWithAFault(MoxImage *image, int column, int row, int mode) {
    const int result = served(image, column, row, mode);
    if (mode == MOX_TileWrite && column == 1) moxSetErrStatus(-7);
    return result;
}

TEST_F(MoveRules, AFaultThatACallbackLeavesEndsTheCallAtThatTile) {
    for (const MoverCase &mover : movers) {
        TestImage a(gray(), 1), b(tiled(gray()), 2);
        served = b.tileInfo()->callBack;
        b.tileInfo()->callBack = serveWithAFault;
        b.keepHeader();
        TestBytes wanted = b.bytes();
        for (int y = 0; y < 8; y++) {
            for (int x = 0; x < 8; x++)
                b.setIn(wanted, 0, x, y, a.get(0, x, y));
        }
        TileLog log;
        mover.move(a.header(), b.header());
        EXPECT_TRUE(recorder.are({{-1, mover.name, ""}}));
        EXPECT_TRUE(log.is({{&b, MOX_TileWrite, 0, 0}, {&b, MOX_TileRelease, 0, 0}, {&b, MOX_TileWrite, 1, 0}}));
        b.abandonTiles();
        EXPECT_TRUE(b.holds(wanted));
        EXPECT_TRUE(b.headerIsUntouched());
        moxSetErrStatus(0);
        recorder.clear();
    }
}

TEST_F(MoveRules, AnOlderFaultDoesNotKeepTheHeadersFromBeingChecked) {
    for (const MoverCase &mover : movers) {
        TestImage a(gray()), b(gray(MOX_DEPTH_16U));
        recorder.clear();
        moxSetErrStatus(-7);
        mover.move(a.header(), nullptr);
        mover.move(a.header(), b.header());
        EXPECT_TRUE(recorder.are(
            {{-9, mover.name, "Incorrect Image"}, {-5, mover.name, "srcImage->depth != dstImage->depth"}}));
    }
}

TEST_F(MoveRules, AnImageOntoItselfIsLeftAlone) {
    for (const MoverCase &mover : movers) {
        TestImage plain(color()), tiles(tiled(color()));
        expectRefused(mover, plain, plain, {});
        expectRefused(mover, tiles, tiles, {});
        EXPECT_EQ(moxGetErrStatus(), 0);
    }
}

// A report function that clears the status cannot talk the library into mixing depths.
MoxStatus MOX_CALL forgive(MoxStatus, const char *, const char *, const char *, int) {
    moxSetErrStatus(0);
    return 0;
}
TEST_F(MoveRules, AForgivingReportDoesNotLetMemoryBeOverrun) {
    for (const MoverCase &mover : movers) {
        TestImage a(gray(MOX_DEPTH_32S)), b(gray(MOX_DEPTH_8U)), c(gray(MOX_DEPTH_1U));
        MoxErrorCallback before = moxRedirectError(forgive);
        TestBytes bytes = b.bytes(), bits = c.bytes(), words = a.bytes();
        mover.move(a.header(), b.header());
        mover.move(a.header(), c.header());
        mover.move(b.header(), c.header());
        mover.move(c.header(), b.header());
        mover.move(b.header(), a.header());
        moxRedirectError(before);
        EXPECT_TRUE(b.holds(bytes, b.sampleBits()));
        EXPECT_TRUE(c.holds(bits, c.sampleBits()));
        EXPECT_TRUE(a.holds(words, a.sampleBits()));
    }
}

TEST_F(MoveRules, TheNumbersOfProcessedChannelsMustAgree) {
    for (const MoverCase &mover : movers) {
        const ReportExpected report = {
            -5, mover.name, "Number of processed channels of srcImage != Number of processed channels of dstImage"};
        TestLayout coi = color(), fourAlpha = color(MOX_DEPTH_8U, 4);
        coi.setRoi(2, 0, 0, 20, 10);
        fourAlpha.alpha = 4;
        TestImage three(color()), four(color(MOX_DEPTH_8U, 4)), one(gray()), second(coi), alpha(fourAlpha);
        expectRefused(mover, three, four, {report});
        expectRefused(mover, four, three, {report});
        expectRefused(mover, one, three, {report});
        expectRefused(mover, three, second, {report});
        expectRefused(mover, alpha, four, {report});
    }
}

// An empty area comes before the count of channels.
TEST_F(MoveRules, AnEmptyRegionIsNoFault) {
    for (const MoverCase &mover : movers) {
        for (MoxROI roi :
             {MoxROI{0, 20, 0, 5, 5}, MoxROI{0, 0, 10, 5, 5}, MoxROI{0, INT_MAX, INT_MAX, INT_MAX, INT_MAX}}) {
            TestLayout away = gray();
            away.hasRoi = true;
            away.roi = roi;
            TestImage a(color()), b(away), c(tiled(away));
            expectRefused(mover, a, b, {});
            expectRefused(mover, b, a, {});
            expectRefused(mover, a, c, {});
            EXPECT_EQ(moxGetErrStatus(), 0);
        }
    }
}

TEST_F(MoveRules, MasksWithNothingInCommonLeaveNothingToDo) {
    for (const MoverCase &mover : movers) {
        TestLayout away = TestLayout::ofMask(20, 10);
        away.setRoi(0, 20, 0, 5, 5);
        TestImage a(gray(), 1), b(gray(), 2), maskA(TestLayout::ofMask(20, 10)), maskB(away);
        a.setMask(&maskA);
        b.setMask(&maskB);
        AllocationWindow window;
        expectRefused(mover, a, b, {});
        window.close();
        a.setMask(nullptr);
        expectRefused(mover, a, b, {});
    }
}

TEST_F(MoveRules, ASingleAlphaChannelIsNotMoved) {
    for (const MoverCase &mover : movers) {
        TestLayout alpha = gray();
        alpha.alpha = 1;
        TestImage a(alpha, 1), b(alpha, 2);
        expectRefused(mover, a, b, {});
    }
}

TEST_F(MoveRules, CopyLeavesTheAlphaOfTheDestination) {
    TestLayout rgba = color(MOX_DEPTH_8U, 4);
    rgba.alpha = 4;
    TestImage src(color(), 1), dst(rgba, 2);
    TestBytes wanted = dst.bytes();
    for (int channel = 0; channel < 3; channel++) {
        for (int y = 0; y < 10; y++) {
            for (int x = 0; x < 20; x++)
                dst.setIn(wanted, channel, x, y, src.get(channel, x, y));
        }
    }
    moxCopy(src.header(), dst.header());
    EXPECT_TRUE(recorder.none());
    EXPECT_TRUE(dst.holds(wanted));
}

TEST_F(MoveRules, CopyExtractsAndInsertsAChannel) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16S, MOX_DEPTH_32F}) {
        TestLayout second = color(depth);
        second.setRoi(2, 0, 0, 20, 10);
        TestImage rgb(second, 1), one(gray(depth), 2);
        moxCopy(rgb.header(), one.header());
        for (int y = 0; y < 10; y++) {
            for (int x = 0; x < 20; x++)
                ASSERT_EQ(one.get(0, x, y), rgb.get(1, x, y));
        }
        one.drawSamples(5);
        TestBytes wanted = rgb.bytes();
        for (int y = 0; y < 10; y++) {
            for (int x = 0; x < 20; x++)
                rgb.setIn(wanted, 1, x, y, one.get(0, x, y));
        }
        moxCopy(one.header(), rgb.header());
        EXPECT_TRUE(rgb.holds(wanted));
        EXPECT_TRUE(recorder.none());
    }
}

TEST_F(MoveRules, FloatsMoveBitForBit) {
    TestImage a(gray(MOX_DEPTH_32F)), b(gray(MOX_DEPTH_32F)), mask(TestLayout::ofMask(20, 10));
    a.setAll(0x7F812345u);
    b.setAll(0xFF800001u);
    mask.setAll(1);
    moxCopy(a.header(), b.header());
    EXPECT_EQ(b.get(0, 19, 9), 0x7F812345u);
    b.setAll(0xFF800001u);
    b.setMask(&mask);
    moxExchange(a.header(), b.header());
    EXPECT_EQ(a.get(0, 7, 7), 0xFF800001u);
    EXPECT_EQ(b.get(0, 7, 7), 0x7F812345u);
}

// The masks of both images are combined in a temporary one.
TEST_F(MoveRules, WithoutMemoryForTheCombinedMaskABacktraceIsReported) {
    for (const MoverCase &mover : movers) {
        for (bool answersZero : {false, true}) {
            TestImage a(gray(), 1), b(gray(), 2), maskA(TestLayout::ofMask(20, 10)), maskB(TestLayout::ofMask(30, 9));
            a.setMask(&maskA);
            b.setMask(&maskB);
            TestBytes aBefore = a.bytes(), bBefore = b.bytes();
            for (int failAt : {1, 2}) {
                recorder.clear();
                recorder.answersZero = answersZero;
                AllocationWindow window(failAt);
                mover.move(a.header(), b.header());
                window.close();
                EXPECT_TRUE(window.refused());
                EXPECT_EQ(window.live(), 0);
                ASSERT_FALSE(recorder.seen.empty());
                if (answersZero) continue;
                EXPECT_EQ(recorder.seen.back().status, -1);
                EXPECT_EQ(recorder.seen.back().function, mover.name);
                EXPECT_EQ(recorder.seen.back().message, "");
                if (failAt == 2) {
                    EXPECT_TRUE(
                        recorder.are({{-4, "moxAllocateImage", "for allocate image data"}, {-1, mover.name, ""}}));
                }
                EXPECT_TRUE(a.holds(aBefore));
                EXPECT_TRUE(b.holds(bBefore));
                EXPECT_TRUE(a.headerIsUntouched());
                EXPECT_TRUE(b.headerIsUntouched());
            }
            recorder.answersZero = false;
        }
    }
}

TEST_F(MoveRules, OneMaskForBothImagesIsNotCombined) {
    for (const MoverCase &mover : movers) {
        TestImage a(gray(), 1), b(gray(), 2), mask(TestLayout::ofMask(20, 10));
        a.setMask(&mask);
        b.setMask(&mask);
        AllocationWindow window;
        mover.move(a.header(), b.header());
        window.close();
        EXPECT_EQ(window.count(), 0);
    }
}

TEST_F(MoveRules, BothTiledExchangeNeedsOneImageOfTheRegion) {
    TestLayout region = tiled(TestLayout::of(MOX_DEPTH_16U, 200, 100));
    region.setRoi(0, 3, 3, 10, 10);
    TestImage a(region, 1), b(region, 2);
    recorder.clear();
    AllocationWindow window;
    moxExchange(a.header(), b.header());
    window.close();
    EXPECT_TRUE(recorder.none());
    EXPECT_LT(window.largest(), 10 * 32 + 64);
}

TEST_F(MoveRules, BothTiledExchangeReportsWithoutMemoryForThatImage) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_32F}) {
        TestImage a(tiled(gray(depth)), 1), b(tiled(gray(depth)), 2);
        TestBytes aBefore = a.bytes(), bBefore = b.bytes();
        bool reported = false;
        for (int n = 1; n <= 2; n++) {
            recorder.clear();
            TileLog log;
            AllocationWindow window(n);
            moxExchange(a.header(), b.header());
            window.close();
            EXPECT_EQ(window.live(), 0);
            reported |= static_cast<bool>(recorder.are(
                {{-4, depth == MOX_DEPTH_32F ? "moxAllocateImageFP" : "moxAllocateImage", "for allocate image data"},
                 {-1, "moxExchange", ""}}));
            EXPECT_TRUE(log.is({}));
            EXPECT_TRUE(a.holds(aBefore));
            EXPECT_TRUE(b.holds(bBefore));
        }
        EXPECT_TRUE(reported) << recorder.text();
    }
}

// --- moxSet, moxSetFP -----------------------------------------------------------------------------------------------

TEST_F(MoveRules, SetRefusesFloatsAndSetFPEverythingElse) {
    for (unsigned depth : allDepths) {
        TestImage image(gray(depth));
        TestBytes before = image.bytes();
        recorder.clear();
        if (depth == MOX_DEPTH_32F) {
            moxSet(image.header(), 1);
            EXPECT_TRUE(recorder.are({{-17, "moxSet", "You should use moxSetFP for this image"}}));
        } else {
            moxSetFP(image.header(), 1);
            EXPECT_TRUE(recorder.are({{-17, "moxSetFP", "You should use moxSet for this image"}}));
        }
        EXPECT_EQ(moxGetErrStatus(), -17);
        EXPECT_TRUE(image.holds(before));
        EXPECT_TRUE(image.headerIsUntouched());
    }
}

TEST_F(MoveRules, SetChecksTheHeaderBeforeTheDepth) {
    TestImage image(gray(MOX_DEPTH_32F));
    image.header()->align = 3;
    moxSet(image.header(), 1);
    moxSet(nullptr, 1);
    EXPECT_TRUE(recorder.are({{-21, "moxSet", "Incorrect Image"}, {-9, "moxSet", "Incorrect Image"}}));
}

TEST_F(MoveRules, SetFPTestsNullAndDepthBeforeTheHeader) {
    moxSetFP(nullptr, 1);
    EXPECT_TRUE(recorder.are({{-5, "moxSetFP", "dstImage==0"}}));
    recorder.clear();
    TestImage image(gray());
    image.header()->align = 3;
    moxSetFP(image.header(), 1);
    EXPECT_TRUE(recorder.are({{-17, "moxSetFP", "You should use moxSet for this image"}}));
}

TEST_F(MoveRules, SetFPPassesAFaultOnAndRestoresTheDepth) {
    TestImage image(gray(MOX_DEPTH_32F));
    image.header()->align = 3;
    moxSetFP(image.header(), 1);
    EXPECT_TRUE(recorder.are({{-21, "moxSet", "Incorrect Image"}, {-1, "moxSetFP", ""}}));
    EXPECT_EQ(moxGetErrStatus(), -21);
    EXPECT_EQ(image.header()->depth, MOX_DEPTH_32F);
}

TEST_F(MoveRules, SetDoesNotLookAtAnOlderFault) {
    TestImage image(gray(), 1), floats(gray(MOX_DEPTH_32F), 1), bits(gray(MOX_DEPTH_1U), 1),
        mask(TestLayout::ofMask(20, 10), 4);
    mask.setAll(1);
    bits.setMask(&mask);
    for (int value : {0, 1}) {
        moxSetErrStatus(-7);
        moxSet(image.header(), 9 + value);
        moxSetFP(floats.header(), static_cast<float>(value + 1));
        moxSet(bits.header(), value);
        EXPECT_TRUE(recorder.none());
        EXPECT_EQ(moxGetErrStatus(), -7);
        EXPECT_EQ(image.get(0, 5, 5), static_cast<uint32_t>(9 + value));
        EXPECT_EQ(floats.get(0, 5, 5), value ? 0x40000000u : 0x3F800000u);
        EXPECT_EQ(bits.get(0, 5, 5), static_cast<uint32_t>(value));
    }
}

TEST_F(MoveRules, SetClampsToTheDepth) {
    struct {
        unsigned depth;
        int value;
        uint32_t sample;
    } const cases[] = {
        {MOX_DEPTH_8U, 300, 255},
        {MOX_DEPTH_8U, -1, 0},
        {MOX_DEPTH_8S, 200, 127},
        {MOX_DEPTH_8S, -200, 0x80},
        {MOX_DEPTH_8S, -1, 0xFF},
        {MOX_DEPTH_16U, 70000, 65535},
        {MOX_DEPTH_16U, -5, 0},
        {MOX_DEPTH_16S, 40000, 32767},
        {MOX_DEPTH_16S, -40000, 0x8000},
        {MOX_DEPTH_1U, 2, 1},
        {MOX_DEPTH_1U, -1, 0},
        {MOX_DEPTH_1U, INT_MIN, 0},
        {MOX_DEPTH_32S, INT_MIN, 1u << 31},
        {MOX_DEPTH_32S, INT_MAX, 0x7FFFFFFFu},
        {MOX_DEPTH_8U, INT_MAX, 255},
    };
    for (const auto &one : cases) {
        TestImage image(gray(one.depth));
        moxSet(image.header(), one.value);
        EXPECT_EQ(image.get(0, 3, 3), one.sample) << depthName(one.depth) << " " << one.value;
    }
    EXPECT_TRUE(recorder.none());
}

TEST_F(MoveRules, SetWithACoiChangesThatChannelOnly) {
    TestLayout layout = color();
    layout.setRoi(2, 0, 0, 20, 10);
    TestImage image(layout);
    TestBytes wanted = image.bytes();
    for (int y = 0; y < 10; y++) {
        for (int x = 0; x < 20; x++)
            image.setIn(wanted, 1, x, y, 77);
    }
    moxSet(image.header(), 77);
    EXPECT_TRUE(image.holds(wanted));
}

TEST_F(MoveRules, SetOfMaskedBitsLeavesTheMaskAsItWas) {
    for (bool tiles : {false, true}) {
        for (int value : {0, 1}) {
            TestLayout layout = gray(MOX_DEPTH_1U);
            TestImage image(tiles ? tiled(layout) : layout, 1), mask(TestLayout::ofMask(20, 10), 2),
                other(TestLayout::ofMask(20, 10), 3);
            // Not even the mask's own mask, nor a region of the mask, may show.
            mask.setMask(&other);
            image.setMask(&mask);
            TestBytes maskBefore = mask.bytes(), wanted = image.bytes();
            for (int y = 0; y < 10; y++) {
                for (int x = 0; x < 20; x++) {
                    if (mask.get(0, x, y)) image.setIn(wanted, 0, x, y, static_cast<uint32_t>(value));
                }
            }
            moxSet(image.header(), value);
            EXPECT_TRUE(image.holds(wanted));
            EXPECT_TRUE(mask.holds(maskBefore));
            EXPECT_TRUE(mask.headerIsUntouched());
            EXPECT_TRUE(image.headerIsUntouched());
            EXPECT_TRUE(recorder.none());
        }
    }
}

// A mask's own mask is checked with its header and means nothing else.
TEST_F(MoveRules, AMasksOwnMaskMeansNothing) {
    for (const MoverCase &mover : movers) {
        for (unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U}) {
            for (int which = 0; which < 3; which++) {
                TestImage a(gray(depth), 1), b(gray(depth), 2), maskA(TestLayout::ofMask(20, 10), 3),
                    maskB(TestLayout::ofMask(20, 10), 4), none(TestLayout::ofMask(20, 10), 5);
                none.setAll(0);
                maskA.setMask(&none);
                maskB.setMask(&none);
                if (which != 1) a.setMask(&maskA);
                if (which != 0) b.setMask(&maskB);
                TestBytes wanted = b.bytes();
                for (int y = 0; y < 10; y++) {
                    for (int x = 0; x < 20; x++) {
                        bool passes = (which == 1 || maskA.get(0, x, y)) && (which == 0 || maskB.get(0, x, y));
                        if (passes) b.setIn(wanted, 0, x, y, a.get(0, x, y));
                    }
                }
                mover.move(a.header(), b.header());
                EXPECT_TRUE(recorder.none());
                EXPECT_TRUE(b.holds(wanted)) << mover.name << " " << depthName(depth) << " " << which;
                EXPECT_TRUE(maskA.headerIsUntouched());
                EXPECT_TRUE(maskB.headerIsUntouched());
            }
        }
    }
}

}  // namespace
