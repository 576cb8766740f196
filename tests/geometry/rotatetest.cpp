// Rotation and shear: right angles without interpolation, everything else as an affine warp.
#include <cmath>
#include <limits>
#include <numbers>

#include "filter/filtercheck.h"
#include "geometry/warppair.h"

namespace {

constexpr const char *CHANNELS = "Number of processed channels of srcImage != Number of processed channels of dstImage";

class Rotate : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(Model, Rotate, testing::ValuesIn(warpDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

// Where the centre of the source comes to the centre of the destination, or near it.
void drawShift(Random &random, WarpPair &pair, double angle, double *xShift, double *yShift) {
    const RefRect from = rectOf(pair.src()), to = rectOf(pair.dst());
    const double c = std::cos(angle * std::numbers::pi / 180), s = std::sin(angle * std::numbers::pi / 180);
    const double x = (from.left + from.right) / 2.0, y = (from.top + from.bottom) / 2.0;
    *xShift = std::round((to.left + to.right) / 2.0 - c * x - s * y) + random.between(-9, 9);
    *yShift = std::round((to.top + to.bottom) / 2.0 + s * x - c * y) + random.between(-9, 9);
}

void check(Random &random, const WarpPairOptions &options, double angle, bool whole) {
    WarpPair pair(random, options);
    double xShift, yShift;
    drawShift(random, pair, angle, &xShift, &yShift);
    if (!whole) (random.oneIn(2) ? xShift : yShift) += random.between(-7, 7) / 8.0;
    const int interpolate = drawInterpolate(random, true);
    SCOPED_TRACE("angle " + testing::PrintToString(angle) + " shifts " + testing::PrintToString(xShift) + ", " +
                 testing::PrintToString(yShift) + " interpolate " + std::to_string(interpolate) + "\n" +
                 pair.describe());
    checkCall(pair, refRotate(pair.src(), pair.dst(), angle, xShift, yShift, interpolate),
              [&] { moxRotate(pair.src().header(), pair.dst().header(), angle, xShift, yShift, interpolate); });
}

// Copies; the source may be of any size.
TEST_P(Rotate, byRightAnglesAgreesWithTheModel) {
    forEachCase(200, [&](Random &random) {
        WarpPairOptions options;
        options.depth = GetParam();
        options.tiled[0] = options.tiled[1] = 0;
        options.leastSource = 1;
        options.maxWidth = random.oneIn(5) ? 300 : 70;
        options.maxHeight = random.oneIn(5) ? 150 : 70;
        check(random, options, 90 * random.between(1, 3) + 360 * random.between(-2, 2), true);
    });
}

TEST_P(Rotate, byRightAnglesOnTilesOrBetweenPixelsIsAWarp) {
    forEachCase(150, [&](Random &random) {
        WarpPairOptions options;
        options.depth = GetParam();
        check(random, options, 90 * random.between(0, 3), false);
    });
    forEachCase(100, [&](Random &random) {
        WarpPairOptions options;
        options.depth = GetParam();
        options.tiled[0] = random.below(2);
        options.tiled[1] = options.tiled[0] ? random.below(2) : 1;
        check(random, options, 90 * random.between(0, 3), true);
    });
}

TEST_P(Rotate, byAnyAngleAgreesWithTheModel) {
    forEachCase(200, [&](Random &random) {
        WarpPairOptions options;
        options.depth = GetParam();
        check(random, options, random.between(-7200, 7200) / 16.0 + 1 / 32.0, random.oneIn(2));
    });
}

// What lies where, by hand.
TEST(Rotation, quartersTurnCounterClockwise) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 3, 2), 1), dst(TestLayout::of(MOX_DEPTH_8U, 3, 3), 2);
    for (uint32_t k = 0; k < 6; ++k)
        src.set(0, static_cast<int>(k) % 3, static_cast<int>(k) / 3, k + 1);
    const struct {
        double angle, xShift, yShift;
        int width;
        uint32_t wanted[6];
    } turns[] = {{90, 0, 2, 2, {3, 6, 2, 5, 1, 4}},  {180, 2, 1, 3, {6, 5, 4, 3, 2, 1}},
                 {270, 1, 0, 2, {4, 1, 5, 2, 6, 3}}, {450, 0, 2, 2, {3, 6, 2, 5, 1, 4}},
                 {-90, 1, 0, 2, {4, 1, 5, 2, 6, 3}}, {-180, 2, 1, 3, {6, 5, 4, 3, 2, 1}}};
    ReportRecorder reports;
    for (const auto &turn : turns) {
        dst.setAll(99);
        moxRotate(src.header(), dst.header(), turn.angle, turn.xShift, turn.yShift, MOX_INTER_NN);
        for (int k = 0; k < 6; ++k)
            EXPECT_EQ(dst.get(0, k % turn.width, k / turn.width), turn.wanted[k]) << turn.angle << " " << k;
        EXPECT_EQ(dst.get(0, 2, 2), 99u);
    }
    EXPECT_TRUE(reports.none());
}

TEST(Rotation, rightAnglesOfFloatsKeepEveryBit) {
    for (const double angle : {90.0, 180.0, 270.0}) {
        TestImage src(TestLayout::of(MOX_DEPTH_32F, 9, 9), 1), dst(TestLayout::of(MOX_DEPTH_32F, 9, 9), 2);
        for (int y = 0; y < 9; ++y) {
            for (int x = 0; x < 9; ++x)
                src.set(0, x, y, 0x7F800001u + static_cast<uint32_t>(9 * y + x));
        }
        moxRotate(src.header(), dst.header(), angle, angle == 90 ? 0 : 8, angle == 270 ? 0 : 8, MOX_INTER_CUBIC);
        EXPECT_EQ(dst.get(0, 4, 4), src.get(0, 4, 4));
        EXPECT_EQ(dst.get(0, 0, 0), src.get(0, angle == 270 ? 0 : 8, angle == 90 ? 0 : 8));
    }
}

// A turn with a shift between pixels is a warp, for bits by the nearest neighbour; a half comes to the next pixel.
TEST(Rotation, aShiftBetweenPixelsIsAWarp) {
    for (const unsigned depth : warpDepths) {
        TestImage src(TestLayout::of(depth, 12, 10), 1), dst(TestLayout::of(depth, 12, 12), 2);
        TestImage warped(TestLayout::of(depth, 12, 12), 2);
        double matrix[2][3] = {{0, 1, 0.5}, {-1, 0, 11}};
        ReportRecorder reports;
        moxRotate(src.header(), dst.header(), 90, 0.5, 11, MOX_INTER_LINEAR);
        moxWarpAffine(src.header(), warped.header(), matrix, MOX_INTER_LINEAR);
        EXPECT_TRUE(reports.none());
        for (int y = 0; y < 12; ++y) {
            for (int x = 0; x < 12; ++x)
                ASSERT_EQ(dst.get(0, x, y), warped.get(0, x, y)) << depthName(depth) << " " << x << " " << y;
        }
        if (depth == MOX_DEPTH_1U) {
            EXPECT_EQ(dst.get(0, 1, 5), src.get(0, 6, 1));
        }
    }
}

TEST(Rotation, byNothingIsAWarpAndNeedsTwoRowsAndColumns) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 12, 1), 1), dst(TestLayout::of(MOX_DEPTH_8U, 12, 12), 2);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    for (const double angle : {0.0, 360.0, -720.0}) {
        reports.clear();
        moxRotate(src.header(), dst.header(), angle, 0, 0, MOX_INTER_NN);
        EXPECT_TRUE(reports.are({{-5, "moxWarpAffine", "srcImage Rectangle ROI is degenerate to length or point"}}));
        EXPECT_TRUE(dst.holds(before));
    }
    reports.clear();
    moxRotate(src.header(), dst.header(), 90, 0, 11, MOX_INTER_NN);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(dst.get(0, 0, 11), src.get(0, 0, 0));
    EXPECT_EQ(dst.get(0, 0, 0), src.get(0, 11, 0));
}

// On the way without interpolation its kind is not looked at.
TEST(Rotation, rightAnglesIgnoreTheKind) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 12, 9), 1), dst(TestLayout::of(MOX_DEPTH_8U, 12, 12), 2);
    for (const int kind : {3, -1, 77}) {
        ReportRecorder reports;
        moxRotate(src.header(), dst.header(), 180, 11, 8, kind);
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(dst.get(0, 11, 8), src.get(0, 0, 0));
    }
}

TEST(Rotation, rightAnglesReportUnderTheirOwnName) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    layout.setRoi(0, 0, 0, 20, 10);
    TestImage src(layout, 1), dst(layout, 2);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    const auto rotate = [&](MoxImage *from, MoxImage *to) {
        reports.clear();
        moxRotate(from, to, 90, 0, 0, 7);
    };
    src.roi()->coi = 2;
    rotate(src.header(), dst.header());
    EXPECT_TRUE(reports.are({{-5, "moxRotate", CHANNELS}}));
    // Regions beside their images end the call before channels are compared.
    src.roi()->xOffset = 20;
    rotate(src.header(), dst.header());
    EXPECT_TRUE(reports.none());
    src.roi()->xOffset = 0;
    dst.roi()->yOffset = 10;
    rotate(src.header(), dst.header());
    EXPECT_TRUE(reports.none());
    dst.roi()->yOffset = 0;
    rotate(dst.header(), dst.header());
    EXPECT_TRUE(reports.are({{-5, "moxRotate", "This function is not in-place function"}}));
    src.header()->depth = MOX_DEPTH_8S;
    src.header()->origin = 1;
    src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    rotate(src.header(), dst.header());
    EXPECT_TRUE(reports.are({{-5, "moxRotate", "srcImage->depth != dstImage->depth"},
                             {-5, "moxRotate", "srcImage->origin != dstImage->origin"},
                             {-5, "moxRotate", "srcImage->dataOrder != dstImage->dataOrder"},
                             {-5, "moxRotate", "srcImage->depth & MOX_DEPTH_SIGN"}}));
    dst.header()->align = 3;
    src.header()->alphaChannel = 2;
    rotate(src.header(), dst.header());
    ASSERT_EQ(reports.seen.size(), 6u);
    EXPECT_EQ(reports.seen[0].status, -18);
    EXPECT_EQ(reports.seen[1].status, -21);
    EXPECT_EQ(reports.seen[1].message, "Incorrect Image");
    rotate(nullptr, dst.header());
    EXPECT_TRUE(reports.are({{-9, "moxRotate", "Incorrect Image"}}));
    EXPECT_TRUE(dst.holds(before));
}

// Shifts of any size: whole numbers beyond every image, and what is no number.
TEST(Rotation, farShiftsLeaveNothingToDo) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 12, 9), 1), dst(TestLayout::of(MOX_DEPTH_8U, 12, 12), 2);
    const TestBytes before = dst.bytes();
    const double endless = std::numeric_limits<double>::infinity();
    for (const double angle : {90.0, 180.0, 270.0, 0.0, 17.0}) {
        for (const double shift : {1e300, -1e300, 4294967296.0, -4294967296.0, 2147483647.0, -2147483648.0, endless,
                                   -endless, std::numeric_limits<double>::quiet_NaN()}) {
            moxRotate(src.header(), dst.header(), angle, shift, 4, MOX_INTER_LINEAR);
            moxRotate(src.header(), dst.header(), angle, 4, shift, MOX_INTER_LINEAR);
            moxRotate(src.header(), dst.header(), angle, shift, shift, MOX_INTER_LINEAR);
            EXPECT_TRUE(dst.holds(before)) << angle << " " << shift;
        }
    }
    moxSetErrStatus(0);
}

// An angle that is none turns nothing into a fault of memory.
TEST(Rotation, anglesThatAreNoNumbersDoNoHarm) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 12, 9), 1), dst(TestLayout::of(MOX_DEPTH_8U, 12, 12), 2);
    const TestBytes before = dst.bytes();
    const double endless = std::numeric_limits<double>::infinity();
    ReportRecorder reports;
    for (const double angle : {std::numeric_limits<double>::quiet_NaN(), endless, -endless}) {
        reports.clear();
        moxRotate(src.header(), dst.header(), angle, 0, 0, MOX_INTER_LINEAR);
        EXPECT_TRUE(reports.are({{-5, "moxWarpAffine", "Determinant of transform matrix == 0.0"}}));
        EXPECT_TRUE(dst.holds(before));
    }
}

// moxGetRotateShift makes it turn about a pixel.
TEST(Rotation, theCentreStaysWithItsShift) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 21, 21), 1), dst(TestLayout::of(MOX_DEPTH_8U, 21, 21), 2);
    for (const double angle : {30.0, 90.0, 137.5, 180.0, 270.0, -45.0, 0.0}) {
        double x = 0, y = 0;
        moxGetRotateShift(10, 10, angle, &x, &y);
        moxRotate(src.header(), dst.header(), angle, x, y, MOX_INTER_NN);
        EXPECT_EQ(dst.get(0, 10, 10), src.get(0, 10, 10)) << angle;
    }
}

TEST(Shear, isAnAffineWarp) {
    for (const unsigned depth : warpDepths) {
        for (const int kind : {0, 1, 2, 17}) {
            TestImage src(TestLayout::of(depth, 20, 16), 1), a(TestLayout::of(depth, 30, 30), 2);
            TestImage b(TestLayout::of(depth, 30, 30), 2);
            double matrix[2][3] = {{1, 0.25, 1.5}, {-0.375, 1, 9}};
            ReportRecorder reports;
            moxShear(src.header(), a.header(), 0.25, -0.375, 1.5, 9, kind);
            moxWarpAffine(src.header(), b.header(), matrix, kind);
            EXPECT_TRUE(reports.none());
            for (int y = 0; y < 30; ++y) {
                for (int x = 0; x < 30; ++x)
                    ASSERT_EQ(a.get(0, x, y), b.get(0, x, y)) << depthName(depth) << " " << x << " " << y;
            }
        }
    }
}

}  // namespace
