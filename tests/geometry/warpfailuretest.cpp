// Warps: every report, in its order, and what is refused.
#include <cmath>
#include <limits>

#include "filter/filtercheck.h"
#include "geometry/quadfunctions.h"
#include "geometry/warppair.h"

namespace {

constexpr const char *INCORRECT = "Incorrect Image";
constexpr const char *DEPTHS = "srcImage->depth != dstImage->depth";
constexpr const char *ORIGINS = "srcImage->origin != dstImage->origin";
constexpr const char *ORDERS = "srcImage->dataOrder != dstImage->dataOrder";
constexpr const char *SIGN = "srcImage->depth & MOX_DEPTH_SIGN";
constexpr const char *FLAG = "warpFlag != 0 && warpFlag != 1";
constexpr const char *IN_PLACE = "This function is not in-place function";
constexpr const char *SINGULAR = "Determinant of transform matrix == 0.0";
constexpr const char *DEGENERATE = "Quadrangle is degenerate to triangle or length or point";
constexpr const char *CONCAVE = "Quadrangle is concave";
constexpr const char *KIND =
    "interpolate != MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC";
constexpr const char *SOURCE_FLAT = "srcImage Rectangle ROI is degenerate to length or point";
constexpr const char *TARGET_FLAT = "dstImage Rectangle ROI is degenerate to length or point";
constexpr const char *CHANNELS = "Number of processed channels of srcImage != Number of processed channels of dstImage";

using Reports = std::vector<ReportExpected>;

// A call by any of the three names that report, over two images whose fields tests may spoil.
struct Refusal {
    RefMap map;
    TestImage &src, &dst;
    MoxImage *from = src.header(), *to = dst.header();
    RefCoeffs coeffs = {1, 0, 0, 0, 1, 0, 0, 0, 0};
    RefQuad quad = {{{2, 2}, {12, 3}, {11, 8}, {1, 7}}};
    bool noNumbers = false;
    int warpFlag = 0, interpolate = MOX_INTER_LINEAR;
    ReportRecorder reports = {};
    TestBytes before[2] = {src.bytes(), dst.bytes()};

    const char *name() const {
        return map == RefMap::AFFINE     ? "moxWarpAffine"
               : map == RefMap::BILINEAR ? "moxWarpBilinearQ"
                                         : "moxWarpPerspectiveQ";
    }
    void call() {
        const auto matrix = reinterpret_cast<double(*)[3]>(&coeffs);
        const auto corners = reinterpret_cast<double(*)[2]>(&quad);
        reports.clear();
        if (map == RefMap::AFFINE) {
            moxWarpAffine(from, to, noNumbers ? nullptr : matrix, interpolate);
        } else {
            (map == RefMap::BILINEAR ? moxWarpBilinearQ : moxWarpPerspectiveQ)(from, to, noNumbers ? nullptr : corners,
                                                                               warpFlag, interpolate);
        }
    }
    void expectAll(const Reports &expected) {
        SCOPED_TRACE(expected[0].message);
        call();
        EXPECT_TRUE(reports.are(expected));
        EXPECT_EQ(moxGetErrStatus(), expected.back().status == -1 ? expected[0].status : expected.back().status);
        EXPECT_TRUE(src.holds(before[0]));
        EXPECT_TRUE(dst.holds(before[1]));
    }
    void expect(MoxStatus status, const char *message) { expectAll({{status, name(), message}}); }
    void expectNothing() {
        call();
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(src.holds(before[0]));
        EXPECT_TRUE(dst.holds(before[1]));
    }
    void expectWork() {
        call();
        EXPECT_TRUE(reports.none());
        EXPECT_FALSE(dst.holds(before[1]));
        dst.setBytes(before[1]);
    }
};

class WarpFailure : public testing::TestWithParam<RefMap> {};
INSTANTIATE_TEST_SUITE_P(All, WarpFailure, testing::ValuesIn(allMaps),
                         [](const auto &each) { return std::string(mapName(each.param)); });

TestLayout threeChannels() {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    layout.setRoi(0, 0, 0, 20, 10);
    return layout;
}

// From the last that is tested to the first, each taking the report over.
TEST_P(WarpFailure, isReportedInTheOrderOfTheTests) {
    TestImage src(threeChannels(), 1), dst(threeChannels(), 2);
    Refusal refusal = {GetParam(), src, dst};
    const bool affine = GetParam() == RefMap::AFFINE;
    refusal.expectWork();
    src.roi()->coi = 2;
    refusal.expect(-5, CHANNELS);
    src.roi()->width = 1;
    refusal.expect(-5, SOURCE_FLAT);
    for (const int kind : {3, -1, 4, 19, 32, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        refusal.interpolate = kind;
        refusal.expect(-5, KIND);
    }
    if (affine) {
        src.roi()->xOffset = 20;
        refusal.expectAll({{-5, "moxGetAffineQuad", "Bad rect ROI"}, {-1, "moxWarpAffine", ""}});
        refusal.coeffs = {2, 4, 0, 1, 2, 0};
        refusal.expect(-5, SINGULAR);
    } else {
        refusal.quad = {{{0, 0}, {10, 0}, {2, 2}, {0, 10}}};
        refusal.expect(-5, CONCAVE);
        refusal.quad = {{{0, 0}, {10, 0}, {5, 5}, {0, 10}}};
        refusal.expect(-5, DEGENERATE);
    }
    refusal.noNumbers = true;
    refusal.expect(-27, affine ? "coeffs == 0" : "quad == 0");
    refusal.noNumbers = false;
    refusal.warpFlag = 2;
    if (!affine) refusal.expect(-5, FLAG);
    Reports all = {{-5, refusal.name(), FLAG}};
    if (affine) all.clear();
    const auto add = [&](MoxStatus status, const char *message) {
        all.insert(all.begin(), {status, refusal.name(), message});
    };
    src.header()->depth = dst.header()->depth = MOX_DEPTH_8S;
    add(-5, SIGN);
    refusal.expectAll(all);
    src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    add(-5, ORDERS);
    refusal.expectAll(all);
    src.header()->origin = 1;
    add(-5, ORIGINS);
    refusal.expectAll(all);
    dst.header()->depth = MOX_DEPTH_8U;
    add(-5, DEPTHS);
    refusal.expectAll(all);
    dst.header()->align = 5;
    add(-21, INCORRECT);
    refusal.call();
    EXPECT_TRUE(refusal.reports.are(all));
    src.header()->alphaChannel = 1;
    add(-18, INCORRECT);
    refusal.call();
    EXPECT_TRUE(refusal.reports.are(all));
    // A null image is told once, and nothing after it.
    refusal.to = nullptr;
    refusal.call();
    EXPECT_TRUE(refusal.reports.are({{-18, refusal.name(), INCORRECT}, {-9, refusal.name(), INCORRECT}}));
    refusal.from = nullptr;
    refusal.call();
    EXPECT_TRUE(refusal.reports.are({{-9, refusal.name(), INCORRECT}}));
    EXPECT_TRUE(src.holds(refusal.before[0]));
    EXPECT_TRUE(dst.holds(refusal.before[1]));
}

TEST_P(WarpFailure, inPlaceIsRefused) {
    TestImage image(threeChannels(), 1);
    Refusal refusal = {GetParam(), image, image};
    refusal.expect(-5, IN_PLACE);
    image.header()->depth = MOX_DEPTH_8S;
    if (GetParam() == RefMap::AFFINE) {
        refusal.expectAll({{-5, refusal.name(), SIGN}, {-5, refusal.name(), IN_PLACE}});
        return;
    }
    refusal.warpFlag = -1;
    refusal.expectAll({{-5, refusal.name(), SIGN}, {-5, refusal.name(), FLAG}, {-5, refusal.name(), IN_PLACE}});
}

TEST_P(WarpFailure, everySignedDepthIsRefused) {
    for (const unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
        TestImage src(TestLayout::of(depth, 20, 10), 1), dst(TestLayout::of(depth, 20, 10), 2);
        Refusal refusal = {GetParam(), src, dst};
        refusal.expect(-5, SIGN);
    }
}

// Orders matter only where there is more than one channel in one of the images.
TEST_P(WarpFailure, ordersOfBitsAndSingleChannelsMayDiffer) {
    for (const unsigned depth : warpDepths) {
        TestImage src(TestLayout::of(depth, 20, 10), 1);
        TestImage dst(TestLayout::of(depth, 20, 10, 1, MOX_DATA_ORDER_PLANE), 2);
        Refusal refusal = {GetParam(), src, dst};
        refusal.expectWork();
    }
    TestLayout planes = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3, MOX_DATA_ORDER_PLANE);
    planes.setRoi(2, 0, 0, 20, 10);
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(planes, 2);
    Refusal refusal = {GetParam(), src, dst};
    refusal.expect(-5, ORDERS);
}

TEST_P(WarpFailure, processedChannelsAreCountedWithoutAlpha) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    TestImage src(layout, 1);
    layout.alpha = 3;
    TestImage dst(layout, 2);
    Refusal refusal = {GetParam(), src, dst};
    refusal.expect(-5, CHANNELS);
    layout.channels = 4;
    layout.alpha = 4;
    TestImage four(layout, 3);
    Refusal accepted = {GetParam(), src, four};
    accepted.expectWork();
}

// Both sizes count, and what is left of a region, not what it claims.
TEST_P(WarpFailure, aSourceOfOneRowOrColumnIsRefused) {
    TestImage src(threeChannels(), 1), dst(threeChannels(), 2);
    Refusal refusal = {GetParam(), src, dst};
    for (const bool rows : {false, true}) {
        *src.roi() = {0, 0, 0, 20, 10};
        (rows ? src.roi()->height : src.roi()->width) = 1;
        refusal.expect(-5, SOURCE_FLAT);
        (rows ? src.roi()->height : src.roi()->width) = 100;
        (rows ? src.roi()->yOffset : src.roi()->xOffset) = rows ? 9 : 19;
        refusal.expect(-5, SOURCE_FLAT);
        (rows ? src.roi()->yOffset : src.roi()->xOffset) = rows ? 10 : 20;
        if (GetParam() != RefMap::AFFINE) refusal.expect(-5, SOURCE_FLAT);
    }
}

TEST_P(WarpFailure, aDestinationBesideItsImageIsLeftAlone) {
    TestImage src(threeChannels(), 1), dst(threeChannels(), 2);
    Refusal refusal = {GetParam(), src, dst};
    dst.roi()->xOffset = 20;
    refusal.expectNothing();
    dst.roi()->xOffset = 0;
    dst.roi()->yOffset = 10;
    refusal.expectNothing();
}

// A single row or column of the destination is enough where the quadrangle lies in it, and too little elsewhere.
TEST_P(WarpFailure, aDestinationOfOneRowOrColumn) {
    TestImage src(threeChannels(), 1), dst(threeChannels(), 2);
    Refusal refusal = {GetParam(), src, dst};
    for (const bool rows : {false, true}) {
        *dst.roi() = {0, 5, 5, 20, 20};
        (rows ? dst.roi()->height : dst.roi()->width) = 1;
        refusal.warpFlag = 0;
        refusal.expectWork();
        if (GetParam() == RefMap::AFFINE) continue;
        refusal.warpFlag = 1;
        refusal.expect(-5, TARGET_FLAT);
        (rows ? dst.roi()->yOffset : dst.roi()->xOffset) = 20;
        refusal.expect(-5, TARGET_FLAT);
    }
}

// With warpFlag 1 it is the source that may be small, or have nothing at all.
TEST_P(WarpFailure, aSmallSourceIsEnoughForItsOwnQuadrangle) {
    if (GetParam() == RefMap::AFFINE) return;
    TestImage src(threeChannels(), 1), dst(threeChannels(), 2);
    Refusal refusal = {GetParam(), src, dst};
    refusal.warpFlag = 1;
    refusal.quad = {{{0, 0}, {19, 0}, {19, 9}, {0, 9}}};
    *src.roi() = {0, 3, 2, 1, 8};
    refusal.expectWork();
    *src.roi() = {0, 3, 2, 8, 1};
    refusal.expectWork();
    *src.roi() = {0, 20, 2, 8, 8};
    refusal.expectNothing();
}

TEST(WarpAffineFailure, determinantsUpToTheBoundAreNone) {
    TestImage src(threeChannels(), 1), dst(threeChannels(), 2);
    Refusal refusal = {RefMap::AFFINE, src, dst};
    const double nothing = std::numeric_limits<double>::quiet_NaN();
    for (const double determinant : {1e-07, -1e-07, 0.0, 9e-08, nothing}) {
        refusal.coeffs = {1, 0, 0, 0, determinant, 0};
        refusal.expect(-5, SINGULAR);
        refusal.coeffs = {0, 1, 0, determinant, 0, 0};
        refusal.expect(-5, SINGULAR);
    }
    for (const double determinant : {std::nextafter(1e-07, 1), -std::nextafter(1e-07, 1)}) {
        refusal.coeffs = {1, 0, 0, 0, determinant, 0};
        refusal.expectWork();
    }
}

// The determinant is tested before anything of the regions or of the kind is.
TEST(WarpAffineFailure, aBadMapIsReportedBeforeABadKind) {
    TestImage src(threeChannels(), 1), dst(threeChannels(), 2);
    Refusal refusal = {RefMap::AFFINE, src, dst};
    refusal.coeffs = {};
    refusal.interpolate = 7;
    src.roi()->xOffset = 20;
    refusal.expect(-5, SINGULAR);
    refusal.coeffs = {1, 0, 0, 0, 1, 0};
    refusal.expectAll({{-5, "moxGetAffineQuad", "Bad rect ROI"}, {-1, "moxWarpAffine", ""}});
}

TEST(WarpAffineFailure, shearAndRotationReportUnderItsName) {
    TestImage src(threeChannels(), 1), dst(threeChannels(), 2);
    ReportRecorder reports;
    moxShear(src.header(), dst.header(), 1, 1, 0, 0, 0);
    EXPECT_TRUE(reports.are({{-5, "moxWarpAffine", SINGULAR}}));
    reports.clear();
    moxShear(src.header(), dst.header(), 1, 0, 0, 0, 5);
    EXPECT_TRUE(reports.are({{-5, "moxWarpAffine", KIND}}));
    reports.clear();
    moxShear(nullptr, dst.header(), 1, 0, 0, 0, 5);
    EXPECT_TRUE(reports.are({{-9, "moxWarpAffine", INCORRECT}}));
    reports.clear();
    moxRotate(src.header(), dst.header(), 30, 0, 0, 5);
    EXPECT_TRUE(reports.are({{-5, "moxWarpAffine", KIND}}));
    reports.clear();
    moxRotate(src.header(), src.header(), 0, 0, 0, 0);
    EXPECT_TRUE(reports.are({{-5, "moxWarpAffine", IN_PLACE}}));
    reports.clear();
    moxRotate(src.header(), dst.header(), 90, 0.5, 0, 5);
    EXPECT_TRUE(reports.are({{-5, "moxWarpAffine", KIND}}));
    reports.clear();
    src.roi()->width = 1;
    moxRotate(src.header(), dst.header(), 0, 0, 0, 0);
    EXPECT_TRUE(reports.are({{-5, "moxWarpAffine", SOURCE_FLAT}}));
}

class CoefficientFailure : public testing::TestWithParam<RefMap> {};
INSTANTIATE_TEST_SUITE_P(All, CoefficientFailure, testing::Values(RefMap::BILINEAR, RefMap::PERSPECTIVE),
                         [](const auto &each) { return std::string(mapName(each.param)); });

// The quadrangle comes first, under the name of what makes it; the rest is the quadrangle's own function.
TEST_P(CoefficientFailure, isReportedWhereItArises) {
    const bool bilinear = GetParam() == RefMap::BILINEAR;
    const char *const own = bilinear ? "moxWarpBilinear" : "moxWarpPerspective";
    const char *const quadName = bilinear ? "moxGetBilinearQuad" : "moxGetPerspectiveQuad";
    const char *const next = bilinear ? "moxWarpBilinearQ" : "moxWarpPerspectiveQ";
    TestImage src(threeChannels(), 1), dst(threeChannels(), 2);
    const TestBytes before = dst.bytes();
    RefCoeffs identity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    if (bilinear) identity = {0, 1, 0, 0, 0, 0, 1, 0};
    const auto call = [&](RefCoeffs coeffs, int warpFlag, int interpolate) {
        const auto threes = reinterpret_cast<double(*)[3]>(&coeffs);
        const auto fours = reinterpret_cast<double(*)[4]>(&coeffs);
        if (bilinear) {
            moxWarpBilinear(src.header(), dst.header(), fours, warpFlag, interpolate);
        } else {
            moxWarpPerspective(src.header(), dst.header(), threes, warpFlag, interpolate);
        }
    };
    ReportRecorder reports;
    call({}, 0, 7);
    EXPECT_TRUE(reports.are({{-5, next, DEGENERATE}}));
    reports.clear();
    call(identity, 0, 7);
    EXPECT_TRUE(reports.are({{-5, next, KIND}}));
    reports.clear();
    call(identity, 2, 7);
    EXPECT_TRUE(reports.are({{-5, next, FLAG}}));
    reports.clear();
    // The region that counts is that of the source, or of the destination.
    src.roi()->xOffset = 20;
    call(identity, 0, 0);
    EXPECT_TRUE(reports.are({{-5, quadName, "Bad rect ROI"}, {-1, own, ""}}));
    reports.clear();
    call(identity, 1, 0);
    EXPECT_TRUE(reports.none());
    src.roi()->xOffset = 0;
    dst.roi()->xOffset = 20;
    call(identity, 1, 0);
    EXPECT_TRUE(reports.are({{-5, quadName, "Bad rect ROI"}, {-1, own, ""}}));
    reports.clear();
    call(identity, 0, 0);
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(dst.holds(before));
}

TEST_P(WarpFailure, anEarlierFaultDoesNotStopAGoodCall) {
    TestImage src(threeChannels(), 1), dst(threeChannels(), 2);
    Refusal refusal = {GetParam(), src, dst};
    const RefCoeffs coeffs = refusal.coeffs;
    const RefResult wanted = GetParam() == RefMap::AFFINE
                                 ? refWarpAffine(src, dst, coeffs, MOX_INTER_LINEAR)
                                 : refWarpQuad(GetParam(), src, dst, refusal.quad, 0, MOX_INTER_LINEAR);
    refusal.reports.clear();
    moxSetErrStatus(-7);
    if (GetParam() == RefMap::AFFINE) {
        moxWarpAffine(src.header(), dst.header(), reinterpret_cast<double(*)[3]>(&refusal.coeffs), MOX_INTER_LINEAR);
    } else {
        (GetParam() == RefMap::BILINEAR ? moxWarpBilinearQ : moxWarpPerspectiveQ)(
            src.header(), dst.header(), reinterpret_cast<double(*)[2]>(&refusal.quad), 0, MOX_INTER_LINEAR);
    }
    EXPECT_TRUE(refusal.reports.none());
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_TRUE(dst.holds(wanted.expected));
}

// Whatever is missing has a report by name, and the pixels are as before or as they are to be. A tile that cannot be
// written is told as such; memory and tiles to read are told without a message.
TEST_P(WarpFailure, refusedTilesAndMemoryAreReported) {
    for (const unsigned depth : warpDepths) {
        forEachCase(12, [&](Random &random) {
            WarpPairOptions options;
            options.depth = depth;
            options.maxWidth = 40;
            WarpPair pair(random, options);
            const RefRect from = rectOf(pair.src()), to = rectOf(pair.dst());
            // Without smoothing: a pixel that was smoothed is between what it was and what it is to be.
            const int interpolate = drawInterpolate(random, false), warpFlag = random.below(2);
            const bool small = to.right == to.left || to.bottom == to.top;
            const RefCoeffs coeffs = drawAffine(random, from, to);
            const RefQuad quad = drawQuad(random, warpFlag == 0 || small ? to : from);
            const int flag = small ? 0 : warpFlag;
            const bool affine = GetParam() == RefMap::AFFINE;
            SCOPED_TRACE((affine ? describeCoeffs(GetParam(), coeffs) : describeQuad(quad)) + " flag " +
                         std::to_string(flag) + " interpolate " + std::to_string(interpolate) + "\n" + pair.describe());
            const RefResult wanted = affine ? refWarpAffine(pair.src(), pair.dst(), coeffs, interpolate)
                                            : refWarpQuad(GetParam(), pair.src(), pair.dst(), quad, flag, interpolate);
            const auto call = [&] {
                if (affine) return callWarp(GetParam(), pair, coeffs, 0, interpolate);
                callWarpQ(GetParam(), pair, quad, flag, interpolate);
            };
            const char *const name = affine                           ? "moxWarpAffine"
                                     : GetParam() == RefMap::BILINEAR ? "moxWarpBilinearQ"
                                                                      : "moxWarpPerspectiveQ";
            checkRefusedTiles(pair, wanted, call, [&](const ReportRecorder &reports, int mode) {
                if (mode == MOX_TileWrite) {
                    EXPECT_TRUE(reports.are({{-2, name, "Error get tile to write"}}));
                } else {
                    EXPECT_TRUE(reports.are({{-1, name, ""}}));
                }
            });
            checkRefusedMemory(pair, wanted, call, [&](const ReportRecorder &reports, int) {
                EXPECT_TRUE(reports.are({{-1, name, ""}}));
            });
        });
    }
}

}  // namespace
