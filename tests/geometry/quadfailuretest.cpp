// Quadrangles and maps: every report, in its order, and what is refused.
#include <climits>
#include <cmath>
#include <limits>

#include "geometry/quadfunctions.h"
#include "support/reports.h"
#include "support/testimage.h"

namespace {

const char *const DEGENERATE = "Quadrangle is degenerate to triangle or length or point";
const char *const CONCAVE = "Quadrangle is concave";
const char *const OBLIQUE = "Quadrangle is not parallelogram";

class QuadFailure : public testing::TestWithParam<RefMap> {
  protected:
    // A transform that must be refused, and writes nothing.
    void expectTransform(const QuadPlace &place, const RefQuad &given, MoxStatus status, const char *message) {
        SCOPED_TRACE(message);
        RefQuad quad = given;
        RefCoeffs coeffs, before;
        coeffs.fill(77);
        before = coeffs;
        const std::string function = quadFunctionName(GetParam(), "Transform", place.ofRegion);
        ReportRecorder reports;
        callTransform(GetParam(), place, &coeffs, &quad);
        EXPECT_TRUE(reports.are({{status, function.c_str(), message}}));
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_EQ(coeffs, before);
    }
    // Corners and bound that must be refused.
    void expectQuad(const QuadPlace &place, MoxStatus status, const char *message) {
        SCOPED_TRACE(message);
        RefCoeffs coeffs = {1, 0, 0, 0, 1, 0, 0, 0, 1};
        RefQuad quad, before;
        for (auto &corner : quad)
            corner = {77, 77};
        before = quad;
        RefBound bound = {77, 77, 77, 77};
        const std::string function = quadFunctionName(GetParam(), "Quad", place.ofRegion);
        const std::string caller = quadFunctionName(GetParam(), "Bound", place.ofRegion);
        ReportRecorder reports;
        callQuad(GetParam(), place, &coeffs, &quad);
        EXPECT_TRUE(reports.are({{status, function.c_str(), message}}));
        EXPECT_EQ(quad, before);
        reports.clear();
        callBound(GetParam(), place, &coeffs, &bound);
        // A bound tests the image by itself, and the region by the function of the corners.
        if (std::string(message) == "Incorrect Image") {
            EXPECT_TRUE(reports.are({{status, caller.c_str(), message}}));
        } else {
            EXPECT_TRUE(reports.are({{status, function.c_str(), message}, {-1, caller.c_str(), ""}}));
        }
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_EQ(bound, (RefBound{77, 77, 77, 77}));
    }
    const RefQuad square = {{{0, 0}, {10, 0}, {10, 10}, {0, 10}}};
    const RefQuad trapezoid = {{{0, 0}, {10, 0}, {8, 10}, {2, 10}}};
    const RefQuad dart = {{{0, 0}, {10, 0}, {2, 2}, {0, 10}}};
    const RefQuad crossing = {{{0, 0}, {10, 0}, {0, 10}, {10, 10}}};
    const RefQuad triangle = {{{0, 0}, {10, 0}, {5, 5}, {0, 10}}};
};
INSTANTIATE_TEST_SUITE_P(All, QuadFailure, testing::ValuesIn(allMaps),
                         [](const auto &each) { return std::string(mapName(each.param)); });

// Each fault with one that is tested after it.
TEST_P(QuadFailure, transformsAreRefusedInTheOrderOfTheTests) {
    const char *const flat = GetParam() == RefMap::AFFINE ? "srcImage Rectangle ROI is degenerate to length or point"
                                                          : "image Rectangle ROI is degenerate to length or point";
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 30, 20);
    layout.setRoi(0, 29, 0, 5, 5);  // one column is within
    TestImage image(layout, 1);
    MoxROI roi = {0, -9, 0, 10, 5};
    for (const bool ofRegion : {false, true}) {
        const QuadPlace place = {image.header(), &roi, ofRegion};
        image.roi()->xOffset = 29;
        image.roi()->yOffset = 0;
        roi = {0, -9, 0, 10, 5};
        expectTransform(place, square, -5, flat);
        image.roi()->yOffset = 20;
        roi.yOffset = -5;  // the last row is at -1
        expectTransform(place, square, -5, "Bad rect ROI");
        if (GetParam() == RefMap::AFFINE) expectTransform(place, trapezoid, -5, OBLIQUE);
        expectTransform(place, dart, -5, CONCAVE);
        expectTransform(place, triangle, -5, DEGENERATE);
    }
    image.header()->origin = 7;
    expectTransform({image.header(), nullptr, false}, triangle, -20, "Incorrect Image");
    expectTransform({nullptr, nullptr, false}, triangle, -9, "Incorrect Image");
}

// One row is as little as one column.
TEST_P(QuadFailure, oneRowHasNoTransform) {
    const char *const flat = GetParam() == RefMap::AFFINE ? "srcImage Rectangle ROI is degenerate to length or point"
                                                          : "image Rectangle ROI is degenerate to length or point";
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 30, 1), 1);
    expectTransform({image.header(), nullptr, false}, square, -5, flat);
    MoxROI roi = {0, 3, 3, 8, 1};
    expectTransform({nullptr, &roi, true}, square, -5, flat);
}

TEST_P(QuadFailure, degenerateIsWhatHasAnExactZeroOrNoNumber) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 30, 20), 1);
    const QuadPlace place = {image.header(), nullptr, false};
    RefQuad twoInOne = dart;
    twoInOne[1] = twoInOne[0];
    expectTransform(place, twoInOne, -5, DEGENERATE);
    expectTransform(place, RefQuad{}, -5, DEGENERATE);
    for (size_t i = 0; i < 8; ++i) {
        RefQuad nothing = square;
        nothing[i / 2][i % 2] = std::numeric_limits<double>::quiet_NaN();
        expectTransform(place, nothing, -5, DEGENERATE);
    }
    expectTransform(place, crossing, -5, CONCAVE);
    // Three corners nearly in line are legal.
    if (GetParam() == RefMap::AFFINE) return;
    RefQuad nearly = triangle;
    nearly[2] = {5.0000000001, 5.0};
    RefCoeffs coeffs = {};
    ReportRecorder reports;
    callTransform(GetParam(), place, &coeffs, &nearly);
    EXPECT_TRUE(reports.none());
}

TEST_P(QuadFailure, aTrapezoidIsNoAffineImage) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 30, 20), 1);
    const QuadPlace place = {image.header(), nullptr, false};
    if (GetParam() == RefMap::AFFINE) return expectTransform(place, trapezoid, -5, OBLIQUE);
    RefCoeffs coeffs = {};
    RefQuad quad = trapezoid;
    ReportRecorder reports;
    callTransform(GetParam(), place, &coeffs, &quad);
    EXPECT_TRUE(reports.none());
}

// The bound itself passes.
TEST(AffineTransform, parallelogramsMayBeOffByTheBound) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 30, 20), 1);
    for (const bool turned : {false, true}) {
        for (const double off : {1e-07, std::nextafter(1e-07, 1.0), -1e-07}) {
            RefQuad quad = {{{0, 1}, {1, 1}, {1, 0}, {0, off}}};
            if (turned) quad = {{{1, 0}, {1, 1}, {0, 1}, {off, 0}}};
            RefCoeffs coeffs = {};
            ReportRecorder reports;
            callTransform(RefMap::AFFINE, {image.header(), nullptr, false}, &coeffs, &quad);
            if (std::fabs(off) <= 1e-07) {
                EXPECT_TRUE(reports.none()) << off;
            } else {
                EXPECT_TRUE(reports.are({{-5, "moxGetAffineTransform", OBLIQUE}})) << off;
            }
        }
    }
}

TEST_P(QuadFailure, regionsOutsideAreRejected) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 30, 20);
    layout.setRoi(0, 30, 0, 5, 5);
    TestImage image(layout, 1);
    const QuadPlace ofImage = {image.header(), nullptr, false};
    expectQuad(ofImage, -5, "Bad rect ROI");
    image.roi()->xOffset = 0;
    image.roi()->yOffset = 20;
    expectQuad(ofImage, -5, "Bad rect ROI");
    // A region without a size is a fault of the header.
    image.roi()->yOffset = 0;
    image.roi()->width = 0;
    expectQuad(ofImage, -25, "Incorrect Image");
    expectQuad({nullptr, nullptr, false}, -9, "Incorrect Image");
    const MoxROI bad[] = {{0, 0, 0, 0, 5},  {0, 0, 0, 5, 0},  {0, 0, 0, -3, 5},
                          {0, -5, 0, 5, 5}, {0, 0, -5, 5, 5}, {0, INT_MIN, 0, 5, 5}};
    for (const MoxROI &each : bad) {
        MoxROI roi = each;
        expectQuad({nullptr, &roi, true}, -5, "Bad rect ROI");
    }
    expectQuad({nullptr, nullptr, true}, -5, "Bad rect ROI");
}

// Pointers that are null are refused by name, after everything else.
TEST_P(QuadFailure, nullPointersAreRefused) {
    MoxROI roi = {0, 1, 2, 8, 9};
    const QuadPlace place = {nullptr, &roi, true};
    RefCoeffs coeffs = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    RefQuad quad = square;
    RefBound bound = {};
    const std::string quadName = quadFunctionName(GetParam(), "Quad", true),
                      boundName = quadFunctionName(GetParam(), "Bound", true),
                      transformName = quadFunctionName(GetParam(), "Transform", true);
    ReportRecorder reports;
    callQuad(GetParam(), place, nullptr, &quad);
    EXPECT_TRUE(reports.are({{-27, quadName.c_str(), "coeffs == 0"}}));
    reports.clear();
    callQuad(GetParam(), place, &coeffs, nullptr);
    EXPECT_TRUE(reports.are({{-27, quadName.c_str(), "quad == 0"}}));
    reports.clear();
    callBound(GetParam(), place, &coeffs, nullptr);
    EXPECT_TRUE(reports.are({{-27, boundName.c_str(), "rect == 0"}}));
    reports.clear();
    callBound(GetParam(), place, nullptr, &bound);
    EXPECT_TRUE(reports.are({{-27, quadName.c_str(), "coeffs == 0"}, {-1, boundName.c_str(), ""}}));
    reports.clear();
    callTransform(GetParam(), place, &coeffs, nullptr);
    EXPECT_TRUE(reports.are({{-27, transformName.c_str(), "quad == 0"}}));
    reports.clear();
    callTransform(GetParam(), place, nullptr, &quad);
    EXPECT_TRUE(reports.are({{-27, transformName.c_str(), "coeffs == 0"}}));
}

TEST(RotateShiftFailure, nullPointersAreRefused) {
    double shift = 5;
    ReportRecorder reports;
    moxGetRotateShift(1, 2, 30, nullptr, &shift);
    EXPECT_TRUE(reports.are({{-27, "moxGetRotateShift", "xShift == 0"}}));
    reports.clear();
    moxGetRotateShift(1, 2, 30, &shift, nullptr);
    EXPECT_TRUE(reports.are({{-27, "moxGetRotateShift", "yShift == 0"}}));
    EXPECT_EQ(shift, 5);
}

// A fault left behind does not stop a good call, a bound's neither.
TEST_P(QuadFailure, anEarlierFaultDoesNotStopAGoodCall) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 30, 20), 1);
    const QuadPlace place = {image.header(), nullptr, false};
    RefCoeffs coeffs = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    RefQuad quad = square;
    RefBound bound = {77, 77, 77, 77};
    ReportRecorder reports;
    moxSetErrStatus(-7);
    callBound(GetParam(), place, &coeffs, &bound);
    EXPECT_NE(bound[2], 77);
    callTransform(GetParam(), place, &coeffs, &quad);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), -7);
}

}  // namespace
