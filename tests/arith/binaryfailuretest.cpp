// Two-image operations: every report, and the order of the tests that make them.
#include <functional>

#include "arith/arithcheck.h"

namespace {

using BinaryFunction = void(MOX_CALL *)(MoxImage *, MoxImage *, MoxImage *);

std::vector<RefOperation> members() {
    std::vector<RefOperation> binary;
    for (const RefOperation &op : allOperations()) {
        if (op.sources == 2) binary.push_back(op);
    }
    return binary;
}

class EveryMember : public testing::TestWithParam<RefOperation> {
  protected:
    void run(MoxImage *a, MoxImage *b, MoxImage *d) { refRunLibraryOn(GetParam(), a, b, d); }
    // Runs the call; the images that are given stay as they are, and the status word is that of the only report.
    void expectReport(MoxImage *a, MoxImage *b, MoxImage *d, MoxStatus status, const char *message,
                      const char *name = nullptr) {
        ReportRecorder reports;
        run(a, b, d);
        EXPECT_TRUE(reports.are({{status, name ? name : GetParam().name, message}}));
        EXPECT_EQ(moxGetErrStatus(), status);
    }
};

INSTANTIATE_TEST_SUITE_P(Binary, EveryMember, testing::ValuesIn(members()),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_P(EveryMember, testsANullSourceOnlyInAddAndMultiply) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    if (GetParam().testsNull) {
        expectReport(nullptr, nullptr, nullptr, -5, "srcImageA==0");
    } else {
        expectReport(nullptr, nullptr, nullptr, -9, "Incorrect Image");
    }
    expectReport(image.header(), nullptr, image.header(), -9, "Incorrect Image");
    expectReport(image.header(), image.header(), nullptr, -9, "Incorrect Image");
}

TEST_P(EveryMember, reportsTheFirstBadHeader) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 8, 8)), b(TestLayout::of(MOX_DEPTH_8U, 8, 8)),
        d(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    const TestBytes before = d.bytes();
    a.header()->align = 5;
    b.header()->origin = 2;
    d.header()->dataOrder = 7;
    expectReport(a.header(), b.header(), d.header(), -21, "Incorrect Image");
    a.header()->align = 8;
    expectReport(a.header(), b.header(), d.header(), -20, "Incorrect Image");
    b.header()->origin = 0;
    expectReport(a.header(), b.header(), d.header(), -19, "Incorrect Image");
    EXPECT_TRUE(d.holds(before));
}

// A header fault comes before every comparison; then depth, order and channels, A before B each time.
TEST_P(EveryMember, testsDepthThenOrderThenChannels) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 16, 8, 4)), b(TestLayout::of(MOX_DEPTH_8U, 16, 8, 4)),
        d(TestLayout::of(MOX_DEPTH_8U, 16, 8, 2));
    const TestBytes before = d.bytes();
    MoxImage &ha = *a.header(), &hb = *b.header(), &hd = *d.header();
    ha.depth = MOX_DEPTH_16U;
    hb.depth = MOX_DEPTH_16S;
    ha.dataOrder = hb.dataOrder = MOX_DATA_ORDER_PLANE;
    hd.width = 0;
    expectReport(&ha, &hb, &hd, -10, "Incorrect Image");
    hd.width = 16;
    expectReport(&ha, &hb, &hd, -5, "(srcImageA->depth != dstImage->depth)");
    ha.depth = MOX_DEPTH_8U;
    expectReport(&ha, &hb, &hd, -5, "(srcImageB->depth != dstImage->depth)");
    hb.depth = MOX_DEPTH_8U;
    expectReport(&ha, &hb, &hd, -5, "(srcImageA->dataOrder != dstImage->dataOrder)");
    ha.dataOrder = MOX_DATA_ORDER_PIXEL;
    expectReport(&ha, &hb, &hd, -5, "(srcImageB->dataOrder != dstImage->dataOrder)");
    hb.dataOrder = MOX_DATA_ORDER_PIXEL;
    expectReport(&ha, &hb, &hd, -5, "(nChSrcA != nChDst)");
    ha.nChannels = 2;
    expectReport(&ha, &hb, &hd, -5, "(nChSrcB != nChDst)");
    EXPECT_TRUE(d.holds(before));
}

TEST_P(EveryMember, comparesOrderEvenOfOneChannel) {
    TestImage pixel(TestLayout::of(MOX_DEPTH_8U, 8, 8)),
        plane(TestLayout::of(MOX_DEPTH_8U, 8, 8, 1, MOX_DATA_ORDER_PLANE));
    expectReport(plane.header(), pixel.header(), pixel.header(), -5, "(srcImageA->dataOrder != dstImage->dataOrder)");
    expectReport(pixel.header(), plane.header(), pixel.header(), -5, "(srcImageB->dataOrder != dstImage->dataOrder)");
}

TEST_P(EveryMember, wantsAChannelOfInterestEverywhereOrNowhere) {
    TestLayout all = TestLayout::of(MOX_DEPTH_8U, 8, 8, 3), one = all;
    one.setRoi(2, 0, 0, 8, 8);
    TestImage whole(all), whole2(all), channel(one), channel2(one);
    expectReport(channel.header(), whole.header(), whole2.header(), -5, "(nChSrcA != nChDst)");
    expectReport(whole.header(), channel.header(), whole2.header(), -5, "(nChSrcB != nChDst)");
    expectReport(whole.header(), channel.header(), channel2.header(), -5, "(nChSrcA != nChDst)");
    // A region without a channel of interest does not count as one.
    all.setRoi(0, 0, 0, 8, 8);
    TestImage region(all);
    expectReport(region.header(), region.header(), channel.header(), -5, "(nChSrcA != nChDst)");
}

TEST_P(EveryMember, acceptsAlphaAgainstFewerChannels) {
    TestLayout rgba = TestLayout::of(MOX_DEPTH_8U, 8, 8, 4), rgb = TestLayout::of(MOX_DEPTH_8U, 8, 8, 3);
    rgba.alpha = 4;
    TestImage four(rgba), three(rgb), d(rgb);
    ReportRecorder reports;
    run(four.header(), three.header(), d.header());
    EXPECT_TRUE(reports.none());
    four.header()->alphaChannel = 0;
    expectReport(four.header(), three.header(), d.header(), -5, "(nChSrcA != nChDst)");
}

TEST_P(EveryMember, refusesFloatInTheLogicMembersAfterTheMaskStep) {
    TestImage a(TestLayout::of(MOX_DEPTH_32F, 8, 8)), d(TestLayout::of(MOX_DEPTH_32F, 8, 8)),
        other(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    TestLayout emptyRegion = TestLayout::ofMask(8, 8);
    emptyRegion.setRoi(0, 8, 0, 4, 4);
    TestImage mask(TestLayout::ofMask(8, 8)), empty(emptyRegion);
    const TestBytes before = d.bytes();
    const auto refused = [&](const ReportRecorder &reports) {
        if (GetParam().accepts(MOX_DEPTH_32F)) return reports.none();
        return reports.are({{-5, GetParam().name, "This function does not support depth 32F"}});
    };
    {
        ReportRecorder reports;
        run(a.header(), a.header(), d.header());
        EXPECT_TRUE(refused(reports));
        if (!GetParam().accepts(MOX_DEPTH_32F)) {
            EXPECT_TRUE(d.holds(before));
        }
    }
    d.setBytes(before);
    {  // the masks have nothing in common: silence
        a.setMask(&empty);
        d.setMask(&mask);
        ReportRecorder reports;
        run(a.header(), a.header(), d.header());
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(d.holds(before));
    }
    {  // one mask alone is not looked at before the refusal
        a.setMask(nullptr);
        d.setMask(&empty);
        ReportRecorder reports;
        AllocationWindow window;
        run(a.header(), a.header(), d.header());
        EXPECT_TRUE(refused(reports));
        EXPECT_TRUE(d.holds(before));
    }
    {  // a temporary mask is freed on this way too
        a.setMask(&mask);
        d.setMask(&mask);
        ReportRecorder reports;
        AllocationWindow window;
        run(a.header(), a.header(), d.header());
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(refused(reports));
    }
    // Before all that: the comparisons.
    expectReport(a.header(), other.header(), d.header(), -5, "(srcImageB->depth != dstImage->depth)");
}

TEST_P(EveryMember, passesOnTheFaultOfAMask) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 8, 8)), d(TestLayout::of(MOX_DEPTH_8U, 8, 8)),
        mask(TestLayout::ofMask(8, 8));
    d.setMask(&mask);
    const auto expectMaskFault = [&](MoxStatus status) {
        expectReport(a.header(), a.header(), d.header(), status, "Incorrect Image");
    };
    mask.header()->depth = MOX_DEPTH_8U;
    expectMaskFault(-117);
    mask.header()->depth = MOX_DEPTH_1U;
    mask.header()->nChannels = 2;
    expectMaskFault(-116);
    mask.header()->nChannels = 1;
    mask.header()->align = 3;
    expectMaskFault(-121);
}

TEST_P(EveryMember, refusesSizesBeyond32Bits) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 8, 8)), d(TestLayout::of(MOX_DEPTH_8U, 8, 8)),
        mask(TestLayout::ofMask(8, 8));
    const TestBytes before = d.bytes();
    MoxImage &header = *d.header();
    header.width = header.height = 0x7FFFFFFF;
    expectReport(a.header(), a.header(), &header, -10, "Incorrect Image");
    expectReport(&header, a.header(), a.header(), -10, "Incorrect Image");
    header.width = header.height = 8;
    header.nChannels = a.header()->nChannels = 0x7FFFFFFF;
    expectReport(a.header(), a.header(), &header, -10, "Incorrect Image");
    header.nChannels = a.header()->nChannels = 1;
    header.maskROI = mask.header();
    mask.header()->width = mask.header()->height = 0x7FFFFFFF;
    expectReport(a.header(), a.header(), &header, -110, "Incorrect Image");
    EXPECT_TRUE(d.holds(before));

    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 8, 8);
    layout.tileWidth = layout.tileHeight = 8;
    TestImage tiled(layout);
    tiled.tileInfo()->width = tiled.tileInfo()->height = 0x7FFFFFF8;
    expectReport(a.header(), tiled.header(), a.header(), -23, "Incorrect Image");
}

TEST_P(EveryMember, doesNothingForRegionsBeyondEveryBound) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    for (int far : {8, 9, 1000, 0x7FFFFFFF}) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 8, 8);
        layout.setRoi(0, far, 0, 0x7FFFFFFF, 0x7FFFFFFF);
        TestImage right(layout);
        layout.setRoi(0, 0, far, 0x7FFFFFFF, 0x7FFFFFFF);
        TestImage below(layout);
        for (TestImage *image : {&right, &below}) {
            const TestBytes before = image->bytes();
            const TestBytes beforeA = a.bytes();
            ReportRecorder reports;
            run(a.header(), a.header(), image->header());
            run(image->header(), a.header(), a.header());
            run(a.header(), image->header(), a.header());
            EXPECT_TRUE(reports.none());
            EXPECT_TRUE(image->holds(before));
            EXPECT_TRUE(a.holds(beforeA));
        }
    }
}

TEST_P(EveryMember, runsWhateverStandsInTheStatusWord) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 8, 8), 1), b(TestLayout::of(MOX_DEPTH_8U, 8, 8), 2),
        d(TestLayout::of(MOX_DEPTH_8U, 8, 8), 3);
    ReportRecorder reports;
    run(a.header(), b.header(), d.header());
    const TestBytes wanted = d.bytes();
    d.drawSamples(77);
    moxSetErrStatus(-19);
    run(a.header(), b.header(), d.header());
    EXPECT_TRUE(d.holds(wanted, d.paddingBits()));
    EXPECT_EQ(moxGetErrStatus(), -19);
    EXPECT_TRUE(reports.none());
}

TEST_P(EveryMember, leavesTheMaskOfAMaskAlone) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 8, 8), 1), d(TestLayout::of(MOX_DEPTH_8U, 8, 8), 2),
        mask(TestLayout::ofMask(8, 8)), inner(TestLayout::ofMask(8, 8));
    mask.setAll(1);
    inner.setAll(0);
    mask.setMask(&inner);
    TestImage unmasked(TestLayout::of(MOX_DEPTH_8U, 8, 8), 2);
    ReportRecorder reports;
    d.setMask(&mask);
    run(a.header(), a.header(), d.header());
    run(a.header(), a.header(), unmasked.header());
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(d.get(0, x, 3), unmasked.get(0, x, 3));
    EXPECT_TRUE(reports.none());
    // ... but its header is checked.
    inner.header()->align = 0;
    expectReport(a.header(), a.header(), d.header(), -221, "Incorrect Image");
}

// Routing by the depth of A comes before every header check.
TEST(BinaryRouting, oneBitAddIsOrAndReportsUnderItsName) {
    TestImage bits(TestLayout::of(MOX_DEPTH_1U, 8, 8)), bytes(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    struct Route {
        BinaryFunction function;
        const char *name;
    };
    for (const Route &route :
         {Route{moxAdd, "moxOr"}, Route{moxMultiply, "moxAnd"}, Route{moxSubtract, "moxSubtract"}}) {
        ReportRecorder reports;
        route.function(bits.header(), bytes.header(), bits.header());
        EXPECT_TRUE(reports.are({{-5, route.name, "(srcImageB->depth != dstImage->depth)"}}));
        reports.clear();
        route.function(bits.header(), bytes.header(), bytes.header());
        EXPECT_TRUE(reports.are({{-5, route.name, "(srcImageA->depth != dstImage->depth)"}}));
        reports.clear();
        route.function(bits.header(), nullptr, nullptr);
        EXPECT_TRUE(reports.are({{-9, route.name, "Incorrect Image"}}));
        reports.clear();
        bits.header()->align = 1;
        route.function(bits.header(), bits.header(), bits.header());
        EXPECT_TRUE(reports.are({{-21, route.name, "Incorrect Image"}}));
        bits.header()->align = 8;
    }
}

TEST(BinaryRouting, onlyTheFirstSourceDecides) {
    TestImage bits(TestLayout::of(MOX_DEPTH_1U, 8, 8)), bytes(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    ReportRecorder reports;
    moxAdd(bytes.header(), bits.header(), bits.header());
    moxMultiply(bytes.header(), bits.header(), bytes.header());
    EXPECT_TRUE(reports.are({{-5, "moxAdd", "(srcImageA->depth != dstImage->depth)"},
                             {-5, "moxMultiply", "(srcImageB->depth != dstImage->depth)"}}));
}

}  // namespace
