// Mirror images: every report, in its order.
#include <climits>

#include "support/reports.h"
#include "support/testimage.h"

namespace {

const char *const ORDERS =
    "((srcImage->dataOrder != dstImage->dataOrder)&& ((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))";

// Faults are added one by one, from the last that is tested to the first, and each takes the report over.
struct Refusal {
    TestImage &src, &dst;
    MoxImage *from = src.header(), *to = dst.header();
    int flipAxis = 1;
    ReportRecorder reports = {};
    TestBytes before[2] = {src.bytes(), dst.bytes()};

    void expect(MoxStatus status, const char *message) {
        SCOPED_TRACE(message);
        reports.clear();
        moxMirror(from, to, flipAxis);
        EXPECT_TRUE(reports.are({{status, "moxMirror", message}}));
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_TRUE(src.holds(before[0]));
        EXPECT_TRUE(dst.holds(before[1]));
    }
};

TEST(MirrorFailure, isReportedInTheOrderOfTheTests) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    layout.setRoi(0, 0, 0, 20, 10);
    TestImage src(layout, 1), dst(layout, 2);
    Refusal refusal = {src, dst};
    src.roi()->coi = 2;
    refusal.expect(-5, "(nChannelsSrc != nChannelsDst)");
    for (const int axis : {2, -2, INT_MAX, INT_MIN}) {
        refusal.flipAxis = axis;
        refusal.expect(-5, "((flipAxis>1)||(flipAxis<-1))");
    }
    src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    refusal.expect(-5, ORDERS);
    src.header()->depth = MOX_DEPTH_8S;
    refusal.expect(-5, "(srcImage->depth!=dstImage->depth)");
    dst.header()->align = 5;
    refusal.expect(-21, "Incorrect Image");
    src.header()->origin = 7;
    refusal.expect(-20, "Incorrect Image");
    refusal.from = nullptr;
    refusal.expect(-9, "Incorrect Image");
    refusal.from = src.header();
    src.header()->origin = 0;
    refusal.to = nullptr;
    refusal.expect(-9, "Incorrect Image");
}

TEST(MirrorFailure, aMaskInPlaceComesBeforeTheAxis) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), mask(TestLayout::ofMask(20, 10), 2);
    image.setMask(&mask);
    Refusal refusal = {image, image};
    refusal.expect(-5, "(srcImage==dstImage && srcImage->maskROI != ((void *)0))");
    refusal.flipAxis = 2;
    refusal.expect(-5, "(srcImage==dstImage && srcImage->maskROI != ((void *)0))");
}

TEST(MirrorFailure, bitsHaveNoAlpha) {
    TestImage src(TestLayout::of(MOX_DEPTH_1U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_1U, 20, 10), 2);
    Refusal refusal = {src, dst};
    dst.header()->alphaChannel = 1;
    refusal.expect(-5, "(dstImage->depth==1 && dstImage->alphaChannel!=0)");
    src.header()->alphaChannel = 1;
    refusal.expect(-5, "(srcImage->depth==1 && srcImage->alphaChannel!=0)");
    refusal.flipAxis = -2;
    refusal.expect(-5, "((flipAxis>1)||(flipAxis<-1))");
}

// Alpha does not count as processed, a channel of interest counts as one.
TEST(MirrorFailure, processedChannelsAreCountedWithoutAlpha) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    TestImage src(layout, 1);
    layout.alpha = 3;
    TestImage dst(layout, 2);
    Refusal refusal = {src, dst};
    refusal.expect(-5, "(nChannelsSrc != nChannelsDst)");
    layout.channels = 4;
    layout.alpha = 4;
    TestImage four(layout, 3);
    moxSetErrStatus(0);
    refusal.reports.clear();
    moxMirror(src.header(), four.header(), 1);
    EXPECT_TRUE(refusal.reports.none());
}

// A channel of interest, or alpha, that no image has is a fault of its header.
TEST(MirrorFailure, headersAreTestedFirst) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    layout.setRoi(0, 0, 0, 20, 10);
    TestImage src(layout, 1), dst(layout, 2);
    Refusal refusal = {src, dst};
    for (const int coi : {-1, 4}) {
        dst.roi()->coi = coi;
        refusal.expect(-24, "Incorrect Image");
    }
    dst.roi()->coi = 0;
    dst.header()->alphaChannel = 2;
    refusal.expect(-18, "Incorrect Image");
}

}  // namespace
