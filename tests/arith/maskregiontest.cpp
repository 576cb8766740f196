// Masks, flat runs and padding: who is written and who is not.
#include "arith/arithcheck.h"

namespace {

TEST(Masks, singleMaskWithAnEmptyRegionDoesNothing) {
    TestLayout layout = TestLayout::ofMask(8, 8);
    layout.setRoi(0, 0, 9, 8, 8);
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 8, 8), 1), d(TestLayout::of(MOX_DEPTH_8U, 8, 8), 2), empty(layout);
    a.setMask(&empty);
    const TestBytes before = d.bytes();
    ReportRecorder reports;
    moxAdd(a.header(), a.header(), d.header());
    moxNot(a.header(), d.header());
    EXPECT_TRUE(d.holds(before));
    EXPECT_TRUE(reports.none());
}

TEST(Masks, nothingInCommonDoesNothing) {
    TestLayout layout = TestLayout::ofMask(8, 8);
    layout.setRoi(0, 8, 0, 8, 8);
    TestImage a(TestLayout::of(MOX_DEPTH_8S, 8, 8), 1), d(TestLayout::of(MOX_DEPTH_8S, 8, 8), 2), empty(layout),
        mask(TestLayout::ofMask(8, 8));
    a.setMask(&empty);
    d.setMask(&mask);
    const TestBytes before = d.bytes();
    ReportRecorder reports;
    AllocationWindow window;
    for (const RefOperation &op : allOperations()) {
        if (op.accepts(MOX_DEPTH_8S)) refRunLibrary({op, 3}, imagesOf(op, &a, &a, &d));
    }
    window.close();
    EXPECT_EQ(window.live(), 0);
    EXPECT_TRUE(d.holds(before));
    EXPECT_TRUE(reports.none());
}

// Each usual number of channels has a form of its own, and pixels beyond some size are processed channel by channel.
TEST(Masks, selectPixelsOfAnyNumberOfChannels) {
    for (int channels = 1; channels <= 80; channels += channels < 20 ? 1 : 11) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 41, 5, channels);
        TestImage src(layout, 1), dst(layout, 2), mask(TestLayout::ofMask(41, 5), 3);
        dst.setMask(&mask);
        TestBytes wanted = dst.bytes();
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 41; ++x) {
                for (int c = 0; c < channels && mask.get(0, x, y); ++c)
                    dst.setIn(wanted, c, x, y, src.get(c, x, y) ^ dst.get(c, x, y));
            }
        }
        const TestBytes before = dst.bytes();
        forEachCpuLevel([&] {
            moxXor(src.header(), dst.header(), dst.header());
            EXPECT_TRUE(dst.holds(wanted)) << channels;
            dst.setBytes(before);
        });
    }
}

TEST(Masks, ofAllThreeImagesAreCombinedEachFromItsOwnCorner) {
    TestLayout first = TestLayout::ofMask(40, 9), second = TestLayout::ofMask(33, 7),
               third = TestLayout::ofMask(64, 12);
    first.setRoi(0, 5, 2, 100, 100);
    second.setRoi(1, 3, 0, 26, 7);
    third.setRoi(0, 17, 4, 30, 6);
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 50, 10), 1), b(TestLayout::of(MOX_DEPTH_8U, 50, 10), 2),
        d(TestLayout::of(MOX_DEPTH_8U, 50, 10), 3);
    TestImage maskA(first, 4), maskB(second, 5), maskD(third, 6);
    a.setMask(&maskA);
    b.setMask(&maskB);
    d.setMask(&maskD);
    TestBytes expected = d.bytes();
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 26; ++x) {
            if (maskA.get(0, 5 + x, 2 + y) && maskB.get(0, 3 + x, y) && maskD.get(0, 17 + x, 4 + y)) {
                d.setIn(expected, 0, x, y, a.get(0, x, y) ^ b.get(0, x, y));
            }
        }
    }
    ReportRecorder reports;
    moxXor(a.header(), b.header(), d.header());
    EXPECT_TRUE(d.holds(expected));
    EXPECT_TRUE(reports.none());
}

TEST(Masks, oneBitCoversAllChannelsOfAPixel) {
    for (int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        TestImage a(TestLayout::of(MOX_DEPTH_8U, 19, 3, 3, order), 1),
            d(TestLayout::of(MOX_DEPTH_8U, 19, 3, 3, order), 2), mask(TestLayout::ofMask(19, 3), 3);
        d.setMask(&mask);
        TestBytes expected = d.bytes();
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 19; ++x) {
                for (int c = 0; c < 3 && mask.get(0, x, y); ++c)
                    d.setIn(expected, c, x, y, ~a.get(c, x, y));
            }
        }
        ReportRecorder reports;
        moxNot(a.header(), d.header());
        EXPECT_TRUE(d.holds(expected));
    }
}

// What is told of a mask that is also an operand: its bits are read, then written.
TEST(Masks, maskedSubtractOfBitsKeepsWhatIsMaskedOut) {
    TestImage a(TestLayout::of(MOX_DEPTH_1U, 21, 2), 1), b(TestLayout::of(MOX_DEPTH_1U, 21, 2), 2),
        d(TestLayout::of(MOX_DEPTH_1U, 21, 2), 3), mask(TestLayout::ofMask(21, 2), 4);
    b.setMask(&mask);
    TestBytes expected = d.bytes();
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 21; ++x) {
            if (mask.get(0, x, y)) d.setIn(expected, 0, x, y, a.get(0, x, y) & ~b.get(0, x, y));
        }
    }
    ReportRecorder reports;
    moxSubtract(a.header(), b.header(), d.header());
    EXPECT_TRUE(d.holds(expected));
}

// The test for a flat run is on sums; the run itself keeps within the smallest buffer, and no guard byte changes.
TEST(FlatRun, heightsOfTenNineElevenStayWithinEveryBuffer) {
    for (unsigned depth : allDepths) {
        for (int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
            const int channels = depth == MOX_DEPTH_1U ? 1 : 3;
            TestImage ten(TestLayout::of(depth, 13, 10, channels, order), 1),
                nine(TestLayout::of(depth, 13, 9, channels, order), 2),
                eleven(TestLayout::of(depth, 13, 11, channels, order), 3);
            ASSERT_TRUE(refRunsFlat({&ten, &nine, &eleven}));
            for (TestImage *d : {&eleven, &nine}) {
                TestImage *b = d == &eleven ? &nine : &eleven;
                // The samples of the smallest image; what the run does to those beyond it is not told apart from
                // padding here.
                const RefResult wanted = refPoint(pointOperation("moxSubtract"), {&ten, b, d});
                const TestBytes beforeTen = ten.bytes(), beforeB = b->bytes(), before = d->bytes();
                forEachCpuLevel([&] {
                    ReportRecorder reports;
                    moxSubtract(ten.header(), b->header(), d->header());
                    EXPECT_TRUE(reports.none());
                    EXPECT_TRUE(d->holds(wanted.expected, wanted.unspecified))
                        << depthName(depth) << " order " << order;
                    EXPECT_TRUE(ten.holds(beforeTen));
                    EXPECT_TRUE(b->holds(beforeB));
                    d->setBytes(before);
                });
            }
        }
    }
}

TEST(FlatRun, widthsOfTwelveElevenThirteenStayWithinEveryBuffer) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 12, 5), 1), b(TestLayout::of(MOX_DEPTH_8U, 11, 5), 2),
        d(TestLayout::of(MOX_DEPTH_8U, 13, 5), 3);
    ASSERT_TRUE(refRunsFlat({&a, &b, &d}));
    const RefResult wanted = refPoint(pointOperation("moxAdd"), {&a, &b, &d});
    ReportRecorder reports;
    moxAdd(a.header(), b.header(), d.header());
    EXPECT_TRUE(d.holds(wanted.expected, wanted.unspecified));
}

// imageSize is a field like any other: what it claims beyond widthStep x height is not there.
TEST(FlatRun, doesNotBelieveAnImageSizeBeyondTheBuffer) {
    for (unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
        TestImage a(TestLayout::of(depth, 13, 4), 1), d(TestLayout::of(depth, 13, 4), 2);
        const RefResult wanted = refPoint(pointOperation("moxXor"), {&a, &a, &d}),
                        wantedNot = refPoint(pointOperation("moxNot"), {&a, &d});
        a.header()->imageSize += 16;
        d.header()->imageSize += 16;
        ReportRecorder reports;
        moxXor(a.header(), a.header(), d.header());
        EXPECT_TRUE(d.holds(wanted.expected, wanted.unspecified)) << depthName(depth);
        moxNot(a.header(), d.header());
        EXPECT_TRUE(d.holds(wantedNot.expected, wantedNot.unspecified)) << depthName(depth);
    }
}

TEST(FlatRun, isRuledOutByARegionOverTheWholeImageWithoutAChannel) {
    TestLayout plain = TestLayout::of(MOX_DEPTH_8U, 13, 5), region = plain;
    region.setRoi(0, 0, 0, 13, 5);
    TestImage a(plain, 1), b(plain, 2), d(region, 3);
    ASSERT_FALSE(refRunsFlat({&a, &b, &d}));
    const RefResult wanted = refPoint(pointOperation("moxXor"), {&a, &b, &d});
    ReportRecorder reports;
    moxXor(a.header(), b.header(), d.header());
    EXPECT_TRUE(d.holds(wanted.expected)) << "padding is left alone";
}

TEST(FlatRun, isRuledOutByAlphaAndByDifferentAligns) {
    TestLayout four = TestLayout::of(MOX_DEPTH_8U, 13, 5), eight = four;
    four.align = 4;
    TestLayout alpha = TestLayout::of(MOX_DEPTH_8U, 13, 5, 2);
    alpha.alpha = 2;
    TestImage a(four, 1), d(eight, 2), withAlpha(alpha, 3), withAlpha2(alpha, 4);
    const RefResult wanted = refPoint(pointOperation("moxNot"), {&a, &d}),
                    wantedAlpha = refPoint(pointOperation("moxNot"), {&withAlpha, &withAlpha2});
    ASSERT_TRUE(wanted.unspecified.empty());
    ReportRecorder reports;
    moxNot(a.header(), d.header());
    moxNot(withAlpha.header(), withAlpha2.header());
    EXPECT_TRUE(d.holds(wanted.expected));
    EXPECT_TRUE(withAlpha2.holds(wantedAlpha.expected));
}

// An application may set strides of its own, also odd ones: samples then lie at any address.
TEST(Strides, oddOnesOfWideSamples) {
    for (unsigned depth : {MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
        for (bool masked : {false, true}) {
            TestLayout layout = TestLayout::of(depth, 21, 4, 3);
            layout.extraStride = 1;
            layout.dataShift = 1;
            layout.setRoi(0, 1, 0, 20, 4);
            TestLayout plane = layout;
            plane.extraStride = 3;
            TestImage a(layout, 1), b(plane, 2), d(layout, 3), mask(TestLayout::ofMask(21, 4), 4);
            if (masked) d.setMask(&mask);
            const RefOperation &op = pointOperation(depth == MOX_DEPTH_32F ? "moxMultiply" : "moxAdd");
            const RefResult wanted = refPoint(op, {&a, &b, &d});
            const TestBytes before = d.bytes();
            forEachCpuLevel([&] {
                ReportRecorder reports;
                refRunLibrary(op, {&a, &b, &d});
                EXPECT_TRUE(reports.none());
                EXPECT_TRUE(d.holds(wanted.expected));
                d.setBytes(before);
            });
        }
    }
}

int MOX_CALL serveNothing(MoxImage *, int, int, int) {
    ADD_FAILURE() << "a tile is requested";
    return 0;
}

// The region begins further from the image than 64 bits count its bytes. Shows where overflow is watched.
TEST(Regions, farBesideALargeTiledImageAskForNoTile) {
    MoxTileInfo tiles = {};
    tiles.callBack = serveNothing;
    tiles.width = tiles.height = 8;
    MoxROI roi = {0, INT32_MAX, 0, 1, INT32_MAX};
    MoxImage image = *TestImage(TestLayout::of(MOX_DEPTH_32S, 1, 1, 4)).header();
    image.height = INT32_MAX;
    image.imageData = nullptr;
    image.tileInfo = &tiles;
    image.roi = &roi;
    ReportRecorder reports;
    moxNot(&image, &image);
    EXPECT_TRUE(reports.none());
}

}  // namespace
