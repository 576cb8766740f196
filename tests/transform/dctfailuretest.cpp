// The cosine transform: every refusal with its status, message and order.
#include <algorithm>

#include "transform/transformcheck.h"

namespace {

class DctFailure : public testing::Test {
  protected:
    DctFailure() {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 12, 9, 3);
        layout.extraStride = 256;
        src = std::make_unique<TestImage>(layout, 1);
        dst = std::make_unique<TestImage>(layout, 2);
        srcBefore = src->bytes();
        dstBefore = dst->bytes();
        s = src->header();
        d = dst->header();
    }
    void expect(MoxImage *from, MoxImage *to, int flags, const std::vector<const char *> &messages) {
        moxDCT2D(from, to, flags);
        std::vector<ReportExpected> expected;
        for (const char *message : messages)
            expected.push_back({-5, "moxDCT2D", message});
        EXPECT_TRUE(reports.are(expected));
        EXPECT_EQ(moxGetErrStatus(), -5);
        EXPECT_TRUE(src->holds(srcBefore));
        EXPECT_TRUE(dst->holds(dstBefore));
        reports.clear();
    }
    void expect(const char *message) { expect(s, d, MOX_DCT_FORWARD, {message}); }
    void expectGood() {
        moxDCT2D(s, d, MOX_DCT_FORWARD);
        EXPECT_TRUE(reports.none());
        EXPECT_FALSE(dst->holds(dstBefore));
        dst->setBytes(dstBefore);
        reports.clear();
    }
    // Refused or not, nothing is written beside what the header says.
    void expectNoHarm() {
        moxDCT2D(s, d, MOX_DCT_FORWARD);
        EXPECT_EQ(reports.seen.empty(), moxGetErrStatus() == 0) << reports.text();
        EXPECT_TRUE(src->holds(srcBefore));
        if (moxGetErrStatus() != 0) {
            EXPECT_TRUE(dst->holds(dstBefore));
        }
        dst->setBytes(dstBefore);
        reports.clear();
    }
    void expectRefusal() {
        moxDCT2D(s, d, MOX_DCT_FORWARD);
        EXPECT_LT(moxGetErrStatus(), 0);
        EXPECT_EQ(reports.seen.size(), 1u);
        if (!reports.seen.empty()) {
            EXPECT_EQ(reports.seen[0].function, "moxDCT2D");
        }
        EXPECT_TRUE(src->holds(srcBefore));
        EXPECT_TRUE(dst->holds(dstBefore));
        reports.clear();
    }

    ReportRecorder reports;
    std::unique_ptr<TestImage> src, dst;
    TestBytes srcBefore, dstBefore;
    MoxImage *s, *d;
};

const char *const FLAG = "\n Bad value of the transform flag";
const char *const IN_PLACE = "\nFunction does not support inplace operation";
const char *const ONE_BIT = "\nImages with 1u depth are not processed";
const char *const ALPHA = "\nAlpha channel may be 0 or number of channels";
const char *const DIFFERENT = "Images are not compatible";

TEST_F(DctFailure, freeingIgnoresEverythingElse) {
    for (int flags : {8, 8 | 3, 8 | 1, 8 | 16, -1}) {
        moxDCT2D(nullptr, nullptr, flags);
        moxDCT2D(s, s, flags);
        moxDCT2D(s, d, flags);
    }
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), 0);
    EXPECT_TRUE(dst->holds(dstBefore));
}

// Faults from the last to be tested to the first.
TEST_F(DctFailure, isReportedInTheOrderOfTheTests) {
    d->width = 11;
    expect(DIFFERENT);
    d->alphaChannel = 2;
    expect(ALPHA);
    s->depth = MOX_DEPTH_1U;
    expect(ONE_BIT);
    expect(s, s, MOX_DCT_FORWARD, {IN_PLACE});
    expect(s, nullptr, MOX_DCT_FORWARD, {"dst==0"});
    expect(nullptr, d, MOX_DCT_FORWARD, {"src==0"});
    expect(nullptr, nullptr, MOX_DCT_INVERSE, {"src==0", "dst==0"});
    for (int flags : {0, 3, 3 | 16, 16, 4})
        expect(nullptr, nullptr, flags, {FLAG});
}

TEST_F(DctFailure, eitherImageCounts) {
    s->alphaChannel = 1;
    expect(ALPHA);
    s->alphaChannel = -1;
    expect(ALPHA);
    s->alphaChannel = 0;
    d->alphaChannel = 4;
    expect(ALPHA);
    d->depth = MOX_DEPTH_1U;
    expect(ONE_BIT);
}

TEST_F(DctFailure, theSameHeaderIsRefused) {
    expect(s, s, MOX_DCT_FORWARD, {IN_PLACE});
    expect(d, d, MOX_DCT_INVERSE, {IN_PLACE});
}

TEST_F(DctFailure, imagesMustBeCompatible) {
    const MoxImage good = *d;
    auto expectAndMend = [&] {
        expect(DIFFERENT);
        *d = good;
    };
    d->nChannels = 2;
    expectAndMend();
    d->width = 11;
    expectAndMend();
    d->height = 8;
    expectAndMend();
    d->dataOrder = MOX_DATA_ORDER_PLANE;
    d->height = 3;
    s->height = 3;
    expectAndMend();
    s->height = 9;
    MoxROI whole = {0, 0, 0, 12, 9};
    d->roi = &whole;
    expectAndMend();
    s->roi = &whole;
    expect(DIFFERENT);
    d->roi = &whole;
    expectGood();
}

TEST_F(DctFailure, regionsMustLieInside) {
    MoxROI inside = {0, 2, 1, 10, 8}, bad;
    s->roi = d->roi = &inside;
    expectGood();
    for (int which = 0; which < 2; ++which) {
        (which ? s : d)->roi = &inside;
        (which ? d : s)->roi = &bad;
        for (const MoxROI &each : {MoxROI{0, 3, 1, 10, 8}, MoxROI{0, 2, 2, 10, 8}, MoxROI{0, -1, 1, 5, 5},
                                   MoxROI{0, 2, -1, 5, 5}, MoxROI{0, 12, 0, 1, 1}, MoxROI{0, 0, 0, 13, 9},
                                   MoxROI{0, 0x7FFFFFFF, 0, 0x7FFFFFFF, 1}, MoxROI{0, 1, 0, 0x7FFFFFFF, 1}}) {
            bad = each;
            expect(DIFFERENT);
        }
    }
}

// The transform has the size of the source's region, and the destination's corner must leave it room.
TEST_F(DctFailure, theSourcesRegionMustFit) {
    MoxROI from = {0, 1, 1, 8, 6}, to = {0, 4, 3, 1, 1};
    s->roi = &from;
    d->roi = &to;
    expectGood();
    to = {0, 5, 3, 1, 1};
    expect(DIFFERENT);
    to = {0, 4, 4, 8, 5};
    expect(DIFFERENT);
}

// There is no check of headers as such: what they say is taken, or refused before anything is touched.
TEST_F(DctFailure, noHeaderDoesHarm) {
    for (int which = 0; which < 2; ++which) {
        MoxImage *image = which ? d : s, *other = which ? s : d;
        const MoxImage good = *image, otherGood = *other;
        auto mend = [&] {
            *image = good;
            *other = otherGood;
        };
        image->imageData = nullptr;
        expectRefusal();
        mend();
        image->widthStep = 35;
        expectRefusal();
        mend();
        image->widthStep = -300;
        expectRefusal();
        mend();
        for (unsigned depth : {0u, 3u, 64u, 0x80000001u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            image->depth = depth;
            expectRefusal();
            mend();
        }
        for (int size : {0, -1, -0x7FFFFFFF - 1}) {
            image->width = other->width = size;
            expectNoHarm();
            mend();
            image->height = other->height = size;
            expectNoHarm();
            mend();
            image->nChannels = other->nChannels = size;
            image->alphaChannel = other->alphaChannel = 0;
            expectNoHarm();
            mend();
        }
        image->width = other->width = 0x7FFFFFFF;
        expectRefusal();
        mend();
        image->nChannels = other->nChannels = 0x7FFFFFFF;
        expectRefusal();
        mend();
        MoxROI roi = {0, 0, 0, 4, 4}, wrong = {5, 0, 0, 4, 4};
        image->roi = &wrong;
        other->roi = &roi;
        expectNoHarm();
        wrong.coi = -1;
        expectNoHarm();
        image->roi = &roi;
        for (const MoxROI &each : {MoxROI{0, 0, 0, 0, 4}, MoxROI{0, 0, 0, 4, 0}, MoxROI{0, 4, 4, -1, 4}}) {
            roi = each;
            expectNoHarm();
        }
        mend();
    }
    // Both with an order that is none.
    s->dataOrder = d->dataOrder = 7;
    expectNoHarm();
}

// Tiles hold no pixels at imageData.
TEST_F(DctFailure, tiledImagesAreRefused) {
    MoxTileInfo tiles = {serveNoTile, nullptr, nullptr, 8, 8};
    for (MoxImage *image : {s, d}) {
        const MoxImage good = *image;
        image->tileInfo = &tiles;
        image->imageData = nullptr;
        expectRefusal();
        *image = good;
    }
}

// What nothing depends on may be anything.
TEST_F(DctFailure, otherFieldsAreNotLookedAt) {
    s->origin = 7;
    d->align = 3;
    s->headerSize = 0;
    s->imageSize = 0;
    TestImage mask(TestLayout::of(MOX_DEPTH_8U, 3, 3), 3);
    d->maskROI = mask.header();
    expectGood();
}

// A fault of an earlier call does not stop this one.
TEST_F(DctFailure, anOldStatusIsNoFault) {
    moxSetErrStatus(-7);
    expectGood();
    moxSetErrStatus(-7);
    moxDCT2D(s, d, MOX_DCT_FORWARD);
    EXPECT_EQ(moxGetErrStatus(), -7);
}

}  // namespace
