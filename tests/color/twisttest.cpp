// The colour twist: its record, its checks, its results by hand and against the reference model.
#include <climits>
#include <cmath>
#include <limits>

#include "color/colorpair.h"
#include "color/refusedcall.h"
#include "support/allocations.h"

namespace {

const int IDENTITY[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

// --- the record

TEST(TwistRecord, holdsWhatItWasGiven) {
    int data[16];
    for (int i = 0; i < 16; ++i)
        data[i] = i * 1000 - 7000;
    ReportRecorder reports;
    for (int scaling : {0, 1, 14, 31}) {
        MoxColorTwist *twist = moxCreateColorTwist(data, scaling);
        ASSERT_NE(twist, nullptr);
        EXPECT_EQ(memcmp(twist, data, sizeof data), 0);
        EXPECT_EQ(reinterpret_cast<int *>(twist)[16], scaling);
        data[3] = 5;
        moxSetColorTwist(twist, data, 31 - scaling);
        EXPECT_EQ(memcmp(twist, data, sizeof data), 0);
        EXPECT_EQ(reinterpret_cast<int *>(twist)[16], 31 - scaling);
        moxDeleteColorTwist(twist);
    }
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(sizeof(MoxColorTwist), 68u);
}

TEST(TwistRecord, badArgumentsMakeNone) {
    for (int scaling : {-1, 32, INT_MIN, INT_MAX, 5}) {
        ReportRecorder reports;
        EXPECT_EQ(moxCreateColorTwist(scaling == 5 ? nullptr : IDENTITY, scaling), nullptr);
        EXPECT_TRUE(reports.are({{-5, "moxCreateColorTwist", "bad_argument"}}));
        EXPECT_EQ(moxGetErrStatus(), -5);
    }
}

TEST(TwistRecord, noMemoryMakesNone) {
    ReportRecorder reports;
    AllocationWindow window(1);
    MoxColorTwist *twist = moxCreateColorTwist(IDENTITY, 0);
    window.close();
    EXPECT_EQ(twist, nullptr);
    EXPECT_EQ(window.live(), 0);
    EXPECT_TRUE(reports.are({{-4, "moxCreateColorTwist", "matrix_is_not_allocated"}}));
}

TEST(TwistRecord, deletingNoneDoesNothing) {
    ReportRecorder reports;
    moxDeleteColorTwist(nullptr);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), 0);
}

TEST(TwistRecord, settingTestsInOrder) {
    MoxColorTwist *twist = moxCreateColorTwist(IDENTITY, 3);
    const MoxColorTwist before = *twist;
    const struct {
        bool record, data;
        int scaling;
        const char *message;
    } cases[] = {{false, false, -1, "cTwist==0"},         {false, true, 3, "cTwist==0"},
                 {true, false, -1, "(data == 0)"},        {true, false, 32, "(data == 0)"},
                 {true, true, -1, "(scalingValue < 0)"},  {true, true, INT_MIN, "(scalingValue < 0)"},
                 {true, true, 32, "(scalingValue > 31)"}, {true, true, INT_MAX, "(scalingValue > 31)"}};
    const int other[16] = {7, 7, 7};
    for (const auto &each : cases) {
        ReportRecorder reports;
        moxSetColorTwist(each.record ? twist : nullptr, each.data ? other : nullptr, each.scaling);
        EXPECT_TRUE(reports.are({{-5, "moxSetColorTwist", each.message}}));
        EXPECT_EQ(memcmp(twist, &before, sizeof before), 0);
    }
    moxDeleteColorTwist(twist);
}

// --- the checks

const char NO_TWIST[] = "cTwist==0", NO_TWIST_FP[] = "(TwistFP == 0)";
const char SRC_CHANNELS[] = "(srcImage->nChannels < 3)", DST_CHANNELS[] = "(dstImage->nChannels < 3)";
const char SRC_ALPHA[] = "((srcImage->alphaChannel != 0) && (srcImage->nChannels < 4))",
           DST_ALPHA[] = "((dstImage->alphaChannel != 0) && (dstImage->nChannels < 4))";
const char DEPTHS[] = "(srcImage->depth != dstImage->depth)",
           DEPTH[] = "((srcImage->depth != 8) && (srcImage->depth != 16))";
const char ORDERS[] = "(srcImage->dataOrder != dstImage->dataOrder)",
           ORIGINS[] = "(srcImage->origin != dstImage->origin)",
           MASK_ORIGIN[] = "(srcImage->origin != srcImage->maskROI->origin)";

void apply(const Side &src, const Side &dst, bool twist, const char *message) {
    MoxColorTwist record = {};
    RefusedCall(src, dst).expect(
        [&](MoxImage *s, MoxImage *d) { moxApplyColorTwist(s, d, twist ? &record : nullptr, 9); }, "moxApplyColorTwist",
        message);
}

void applyFP(const Side &src, const Side &dst, bool twist, const char *message) {
    const float matrix[16] = {};
    RefusedCall(src, dst).expect([&](MoxImage *s, MoxImage *d) { moxColorTwistFP(s, d, twist ? matrix : nullptr); },
                                 "moxColorTwistFP", message);
}

// Each check with everything failing that is tested after it and can.
TEST(TwistFailure, theOrderOfTheChecks) {
    Side src = {.depth = MOX_DEPTH_8S, .channels = 2, .alpha = 2, .maskOrigin = 1};
    Side dst = {.depth = MOX_DEPTH_16S, .channels = 2, .alpha = 2, .order = 1, .origin = 1};
    apply(src, dst, false, NO_TWIST);
    apply(src, dst, true, SRC_CHANNELS);
    src.channels = src.alpha = 3;
    apply(src, dst, true, SRC_ALPHA);
    src.alpha = 0;
    apply(src, dst, true, DST_CHANNELS);
    dst.channels = dst.alpha = 3;
    apply(src, dst, true, DST_ALPHA);
    dst.channels = dst.alpha = 4;
    apply(src, dst, true, DEPTHS);
    dst.depth = MOX_DEPTH_8S;
    apply(src, dst, true, DEPTH);
    src.depth = dst.depth = MOX_DEPTH_16U;
    apply(src, dst, true, ORDERS);
    dst.order = 0;
    apply(src, dst, true, ORIGINS);
    dst.origin = 0;
    apply(src, dst, true, MASK_ORIGIN);
    src.maskOrigin = 0;
    apply(src, dst, true, nullptr);
}

// The form of floats looks at order and origin first.
TEST(TwistFailure, theOrderOfTheChecksOfFloats) {
    Side src = {.depth = MOX_DEPTH_8S, .channels = 2, .alpha = 2};
    Side dst = {.depth = MOX_DEPTH_8S, .channels = 2, .alpha = 2, .order = 1, .origin = 1};
    applyFP(src, dst, false, NO_TWIST_FP);
    applyFP(src, dst, true, ORDERS);
    dst.order = 0;
    applyFP(src, dst, true, ORIGINS);
    dst.origin = 0;
    applyFP(src, dst, true, SRC_CHANNELS);
    src.channels = src.alpha = 3;
    applyFP(src, dst, true, SRC_ALPHA);
    src.alpha = 0;
    applyFP(src, dst, true, DST_CHANNELS);
    dst.channels = dst.alpha = 3;
    applyFP(src, dst, true, DST_ALPHA);
    dst.channels = dst.alpha = 4;
    applyFP(src, dst, true, nullptr);
    applyFP({.depth = MOX_DEPTH_1U}, {.depth = MOX_DEPTH_1U}, true, SRC_CHANNELS);
}

TEST(TwistFailure, headersAreTestedFirst) {
    const char wrong[] = "Incorrect Image";
    MoxColorTwist twist = {};
    const float matrix[16] = {};
    RefusedCall images({.channels = 3}, {.channels = 3});
    ReportRecorder reports;
    moxApplyColorTwist(nullptr, images.dst(), nullptr, 0);
    moxApplyColorTwist(images.src(), nullptr, nullptr, 0);
    moxColorTwistFP(nullptr, images.dst(), nullptr);
    moxColorTwistFP(images.src(), nullptr, nullptr);
    EXPECT_TRUE(reports.are({{-9, "moxApplyColorTwist", wrong},
                             {-9, "moxApplyColorTwist", wrong},
                             {-9, "moxColorTwistFP", wrong},
                             {-9, "moxColorTwistFP", wrong}}));
    reports.clear();
    images.dst()->align = 5;
    moxApplyColorTwist(images.src(), images.dst(), &twist, 0);
    moxColorTwistFP(images.src(), images.dst(), matrix);
    images.src()->origin = 2;
    moxApplyColorTwist(images.src(), images.dst(), &twist, 0);
    moxColorTwistFP(images.src(), images.dst(), matrix);
    EXPECT_TRUE(reports.are({{-21, "moxApplyColorTwist", wrong},
                             {-21, "moxColorTwistFP", wrong},
                             {-20, "moxApplyColorTwist", wrong},
                             {-20, "moxColorTwistFP", wrong}}));
}

TEST(TwistFailure, twoDepthsAreServed) {
    for (unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F})
        apply({.depth = depth, .channels = 3}, {.depth = depth, .channels = 3}, true, DEPTH);
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16U})
        apply({.depth = depth, .channels = 3}, {.depth = depth, .channels = 3}, true, nullptr);
    apply({.depth = MOX_DEPTH_8U, .channels = 3}, {.depth = MOX_DEPTH_16U, .channels = 3}, true, DEPTHS);
}

// Of the masks' origins the source's alone counts, and to the form of floats none.
TEST(TwistFailure, theMasksOrigin) {
    const Side plain = {.channels = 3}, odd = {.channels = 3, .maskOrigin = 1}, good = {.channels = 3, .maskOrigin = 0};
    apply(odd, plain, true, MASK_ORIGIN);
    apply(good, plain, true, nullptr);
    apply(plain, odd, true, nullptr);
    applyFP(odd, plain, true, nullptr);
    applyFP(plain, odd, true, nullptr);
    apply({.channels = 3, .origin = 1, .maskOrigin = 1}, {.channels = 3, .origin = 1}, true, nullptr);
    apply({.channels = 3, .origin = 1, .maskOrigin = 0}, {.channels = 3, .origin = 1}, true, MASK_ORIGIN);
}

// --- by hand

using Pixel = std::vector<uint32_t>;

Pixel twistPixel(unsigned depth, const Pixel &pixel, const int *entries, int scaling) {
    TestImage src(TestLayout::of(depth, 1, 1, 3), 1), dst(TestLayout::of(depth, 1, 1, 3), 2);
    for (int i = 0; i < 3; ++i)
        src.set(i, 0, 0, pixel[static_cast<size_t>(i)]);
    MoxColorTwist *twist = moxCreateColorTwist(entries, scaling);
    ReportRecorder reports;
    moxApplyColorTwist(src.header(), dst.header(), twist, 0);
    EXPECT_TRUE(reports.none());
    moxDeleteColorTwist(twist);
    return {dst.get(0, 0, 0), dst.get(1, 0, 0), dst.get(2, 0, 0)};
}

TEST(Twist, anIdentityCopiesThreeChannels) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16U}) {
        for (int scaling = 0; scaling <= 30; ++scaling) {
            int entries[16] = {};
            for (int i = 0; i < 4; ++i)
                entries[5 * i] = 1 << scaling;
            const uint32_t most = depth == MOX_DEPTH_8U ? 255 : 65535;
            for (const Pixel &pixel : {Pixel{0, 1, most}, Pixel{most, most - 1, 128}, Pixel{77, 0, 200}})
                EXPECT_EQ(twistPixel(depth, pixel, entries, scaling), pixel) << scaling;
        }
    }
}

TEST(Twist, theConstantIsShiftedWithTheSum) {
    // 10 + 4/8, 0 - 1/8, 20 + 7/8: rounded down.
    const int entries[16] = {8, 0, 0, 4, 0, 0, 0, -1, 0, 0, 8, 7, 99, 99, 99, 99};
    EXPECT_EQ(twistPixel(MOX_DEPTH_8U, {10, 50, 20}, entries, 3), (Pixel{10, 0, 20}));
    const int more[16] = {8, 0, 0, 8, 8, 0, 0, -1, 0, 0, 8, 8 * 240, 0, 0, 0, 0};
    EXPECT_EQ(twistPixel(MOX_DEPTH_8U, {10, 50, 20}, more, 3), (Pixel{11, 9, 255}));
}

TEST(Twist, resultsAreLimited) {
    const int entries[16] = {2, 0, 0, 0, -1, 0, 0, 0, 1, 1, 1, 0, 0, 0, 0, 0};
    EXPECT_EQ(twistPixel(MOX_DEPTH_8U, {200, 50, 20}, entries, 0), (Pixel{255, 0, 255}));
    EXPECT_EQ(twistPixel(MOX_DEPTH_16U, {40000, 50, 20}, entries, 0), (Pixel{65535, 0, 40070}));
}

// Sums of the largest entries do not wrap.
TEST(Twist, sumsAreExact) {
    const int entries[16] = {INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MIN, INT_MIN, INT_MIN, INT_MIN,
                             INT_MAX, INT_MIN, 0,       0,       0,       0,       0,       0};
    EXPECT_EQ(twistPixel(MOX_DEPTH_16U, {65535, 65535, 65535}, entries, 31), (Pixel{65535, 0, 0}));
    // (2^31 - 1) (1 + 1 + 1) + 2^31 - 1 over 2^31: a little below 4.
    EXPECT_EQ(twistPixel(MOX_DEPTH_16U, {1, 1, 1}, entries, 31), (Pixel{3, 0, 0}));
    EXPECT_EQ(twistPixel(MOX_DEPTH_16U, {65535, 65534, 0}, entries, 31)[2], 0u);
    // (2^31 - 1) 60000 - 2^31 59000 over 2^31: a little below 1000.
    EXPECT_EQ(twistPixel(MOX_DEPTH_16U, {60000, 59000, 0}, entries, 31)[2], 999u);
    EXPECT_EQ(twistPixel(MOX_DEPTH_8U, {200, 100, 0}, entries, 31)[2], 99u);
}

TEST(Twist, theFourthRowMeansNothing) {
    int entries[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 2, 3, 4, 5, 6, 7};
    const Pixel first = twistPixel(MOX_DEPTH_16U, {100, 200, 300}, entries, 2);
    for (int i = 12; i < 16; ++i)
        entries[i] = -i * 1000000;
    EXPECT_EQ(twistPixel(MOX_DEPTH_16U, {100, 200, 300}, entries, 2), first);
}

// What the fourth argument is does not matter.
TEST(Twist, theLastArgumentMeansNothing) {
    const int entries[16] = {3, 1, -1, 5, 0, 2, 2, 0, 1, 1, 1, 1};
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 30, 4, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 30, 4, 3), 2);
    MoxColorTwist *twist = moxCreateColorTwist(entries, 2);
    const RefResult wanted = refApplyTwist(src, dst, entries, 2);
    for (int extra : {0, 1, -1, INT_MAX, INT_MIN}) {
        dst.setAll(7);
        moxApplyColorTwist(src.header(), dst.header(), twist, extra);
        EXPECT_TRUE(dst.holds(wanted.expected)) << extra;
    }
    moxDeleteColorTwist(twist);
}

TEST(TwistFP, roundsToNearestWithTiesToEven) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 1, 1, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 1, 1, 3), 2);
    src.set(0, 0, 0, 5);
    src.set(1, 0, 0, 7);
    src.set(2, 0, 0, 255);
    // 2.5, 3.5, 255.5
    const float matrix[16] = {0.5f, 0, 0, 0, 0, 0.5f, 0, 0, 0, 0, 1, 0.5f};
    ReportRecorder reports;
    moxColorTwistFP(src.header(), dst.header(), matrix);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(dst.get(0, 0, 0), 2u);
    EXPECT_EQ(dst.get(1, 0, 0), 4u);
    EXPECT_EQ(dst.get(2, 0, 0), 255u);
}

// Entries that end soon beside those that do not: bytes make ties where the others are 0, and come near them elsewhere.
TEST(TwistFP, tiesOfBytesAmongOtherSums) {
    const float entries[] = {0.3f, 0.5f, 0.25f, -0.05f, 0.8f, 1.9999f, -1.75f, 1 / 3.0f, 1, 0, 0.0078125f};
    const float offsets[] = {0, 0.5f, -0.25f, 12, -300, 0.0009765625f, 0.1f, 511.5f};
    forEachCase(150, [&](Random &random) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 200, 5, 3), random.next());
        TestImage dst(TestLayout::of(MOX_DEPTH_8U, 200, 5, 3), 2);
        for (int x = 0; x < 200; ++x) {
            for (int y = 0; y < 5; ++y)
                src.set(random.below(3), x, y, random.oneIn(2) ? 0u : static_cast<uint32_t>(random.below(256)));
        }
        float matrix[16] = {};
        for (int i = 0; i < 12; ++i)
            matrix[i] = i % 4 == 3 ? offsets[random.below(8)] : entries[random.below(11)];
        for (int row = 0; row < 3; ++row)
            matrix[row * 4 + random.below(3)] = 0.3f;
        const RefResult wanted = refApplyTwistFP(src, dst, matrix);
        forEachCpuLevel([&] {
            moxSet(dst.header(), 1);
            moxColorTwistFP(src.header(), dst.header(), matrix);
            EXPECT_TRUE(dst.holds(wanted.expected));
        });
    });
}

// --- against the model

struct TwistPairOptions {
    unsigned srcDepth, dstDepth;
    int maxWidth = 70;
};

// Three channels of three, four or more, alpha or not; regions with channels of interest that mean nothing.
class TwistPair : public ImagePair {
  public:
    TwistPair(Random &random, const TwistPairOptions &options) {
        const int order = random.below(2), origin = random.below(2);
        const bool inPlace = options.srcDepth == options.dstDepth && random.oneIn(4);
        for (int which = 0; which < (inPlace ? 1 : 2); ++which) {
            TestLayout layout;
            layout.depth = which ? options.dstDepth : options.srcDepth;
            layout.order = order;
            layout.origin = origin;
            layout.channels = random.oneIn(2) ? 3 : random.between(3, 5);
            if (layout.channels > 3 && random.oneIn(2)) layout.alpha = layout.channels;
            layout.align = drawAlign(random);
            layout.width = random.oneIn(4) ? random.between(1, options.maxWidth)
                                           : random.between((options.maxWidth + 1) / 2, options.maxWidth);
            layout.height = random.between(1, 12);
            if (random.oneIn(2)) drawRegion(random, layout, random.between(0, layout.channels));
            drawPlacement(random, layout, -1);
            images_[which] = std::make_unique<TestImage>(layout, random.next());
        }
        if (random.oneIn(2)) return;
        drawMasks(random);
        for (int which = 0; which < 2; ++which) {
            if (!masks_[which]) continue;
            masks_[which]->header()->origin = origin;
            masks_[which]->keepHeader();
        }
    }
};

void drawEntries(Random &random, int entries[16], int *scaling) {
    *scaling = random.oneIn(3) ? random.between(0, 31) : random.between(0, 14);
    const int kind = random.below(4);
    for (int i = 0; i < 16; ++i) {
        const int one = *scaling < 31 ? 1 << *scaling : INT_MAX;
        if (kind == 0) entries[i] = drawInt(random);
        if (kind == 1) entries[i] = random.between(-one, one);
        if (kind == 2) entries[i] = i % 5 == 0 ? one : random.between(-one / 8, one / 8);
        // About what 16 bits hold.
        if (kind == 3)
            entries[i] = (random.oneIn(2) ? 1 : -1) *
                         (random.oneIn(2) ? random.between(32700, 32800) : random.between(0, 40000));
        if (i % 4 == 3 && kind != 0 && random.oneIn(2)) entries[i] = random.between(-200000, 200000);
    }
}

TEST(TwistModel, agrees) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16U}) {
        forEachCase(500, [&](Random &random) {
            TwistPair pair(random, {depth, depth, random.oneIn(20) ? 1500 : 70});
            int entries[16], scaling;
            drawEntries(random, entries, &scaling);
            SCOPED_TRACE(pair.describe() + "scaling " + std::to_string(scaling));
            MoxColorTwist twist;
            memcpy(&twist, entries, sizeof entries);
            reinterpret_cast<int *>(&twist)[16] = scaling;
            checkColorCall(pair, refApplyTwist(pair.src(), pair.dst(), entries, scaling), [&] {
                moxApplyColorTwist(pair.src().header(), pair.dst().header(), &twist, random.below(3));
            });
        });
    }
}

const unsigned twistDepths[] = {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F};

TEST(TwistModel, agreesInFloats) {
    for (unsigned srcDepth : twistDepths) {
        for (unsigned dstDepth : twistDepths) {
            forEachCase(srcDepth == dstDepth ? 150 : 30, [&](Random &random) {
                TwistPair pair(random, {srcDepth, dstDepth, random.oneIn(20) ? 1500 : 70});
                if (!random.oneIn(3)) drawColors(random, pair.src());
                float matrix[16];
                for (float &entry : matrix)
                    entry = static_cast<float>(random.between(-3000, 5000)) / (random.oneIn(2) ? 1024.0f : 3000.0f);
                if (random.oneIn(8)) matrix[random.below(16)] = 3e38f;
                if (random.oneIn(12)) matrix[random.below(16)] = std::numeric_limits<float>::quiet_NaN();
                SCOPED_TRACE(pair.describe());
                checkInRoundingModes(pair, refApplyTwistFP(pair.src(), pair.dst(), matrix),
                                     [&] { moxColorTwistFP(pair.src().header(), pair.dst().header(), matrix); });
            });
        }
    }
}

}  // namespace
