// Quadrangles, bounds, maps and the centre of a rotation: against the formulas, and what is told of them.
#include <bit>
#include <cmath>
#include <limits>

#include "geometry/quadfunctions.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"

namespace {

bool sameNumber(double a, double b) {
    return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b) || (std::isnan(a) && std::isnan(b));
}

template <typename Numbers>
testing::AssertionResult sameNumbers(const Numbers &found, const Numbers &wanted, size_t count) {
    const auto *a = reinterpret_cast<const double *>(&found), *b = reinterpret_cast<const double *>(&wanted);
    for (size_t k = 0; k < count; ++k) {
        if (!sameNumber(a[k], b[k]))
            return testing::AssertionFailure() << "number " << k << " is " << a[k] << ", not " << b[k];
    }
    return testing::AssertionSuccess();
}

// What no call leaves behind.
constexpr double UNTOUCHED = -12345.678;
RefQuad untouchedQuad() {
    RefQuad quad;
    for (auto &corner : quad)
        corner = {UNTOUCHED, UNTOUCHED};
    return quad;
}
RefCoeffs untouchedCoeffs() {
    RefCoeffs coeffs;
    coeffs.fill(UNTOUCHED);
    return coeffs;
}

double drawNumber(Random &random) {
    if (random.oneIn(30)) return static_cast<double>(std::bit_cast<float>(drawSample(random, MOX_DEPTH_32F)));
    const int scale = random.oneIn(4) ? 1 : random.between(1, 1000);
    return static_cast<double>(random.between(-3000, 3000)) / scale;
}

// An image of any size with or without a region, or a region alone, which may be rejected.
struct DrawnPlace {
    MoxROI roi;
    std::unique_ptr<TestImage> image;
    QuadPlace place;
    RefRect rect;
    bool accepted;

    explicit DrawnPlace(Random &random) {
        const bool alone = random.oneIn(2);
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, random.between(1, 60), random.between(1, 40));
        if (random.oneIn(2)) drawRegion(random, layout, 0);
        image = std::make_unique<TestImage>(layout, 1);
        const int scale = random.oneIn(4) ? 100000 : 30;
        roi = {random.below(9), random.between(-scale, scale), random.between(-scale, scale),
               random.between(-1, 2 * scale), random.between(-1, 2 * scale)};
        place = {image->header(), &roi, alone};
        accepted = alone ? refRegionRect(&roi, 0, 0, &rect)
                         : refRegionRect(image->header()->roi, layout.width, layout.height, &rect);
    }
    std::string describe() const {
        const MoxROI *each = place.ofRegion ? &roi : image->header()->roi;
        std::string text = std::to_string(image->layout().width) + " x " + std::to_string(image->layout().height);
        if (each) {
            text += ", " + std::to_string(each->xOffset) + " " + std::to_string(each->yOffset) + " " +
                    std::to_string(each->width) + " " + std::to_string(each->height);
        }
        return text;
    }
};

class Quad : public testing::TestWithParam<RefMap> {
  protected:
    std::string name(const char *what, const QuadPlace &place) const {
        return quadFunctionName(GetParam(), what, place.ofRegion);
    }
};
INSTANTIATE_TEST_SUITE_P(Model, Quad, testing::ValuesIn(allMaps),
                         [](const auto &each) { return std::string(mapName(each.param)); });

TEST_P(Quad, cornersAndTheirBoundAgreeWithTheFormulas) {
    forEachCase(3000, [&](Random &random) {
        DrawnPlace drawn(random);
        SCOPED_TRACE(drawn.describe());
        RefCoeffs coeffs;
        for (double &each : coeffs)
            each = drawNumber(random);
        const RefCoeffs given = coeffs;
        RefQuad quad = untouchedQuad(), wanted = quad;
        RefBound bound = {UNTOUCHED, UNTOUCHED, UNTOUCHED, UNTOUCHED}, wantedBound = bound;
        if (drawn.accepted) {
            wanted = refMappedQuad(GetParam(), coeffs, drawn.rect);
            wantedBound = refBoundOf(wanted);
        }
        const std::string quadName = name("Quad", drawn.place), boundName = name("Bound", drawn.place);
        std::vector<ReportExpected> refusals = {{-5, quadName.c_str(), "Bad rect ROI"}};
        ReportRecorder reports;
        callQuad(GetParam(), drawn.place, &coeffs, &quad);
        EXPECT_TRUE(reports.are(drawn.accepted ? std::vector<ReportExpected>() : refusals));
        EXPECT_TRUE(sameNumbers(quad, wanted, 8));
        reports.clear();
        callBound(GetParam(), drawn.place, &coeffs, &bound);
        refusals.push_back({-1, boundName.c_str(), ""});
        EXPECT_TRUE(reports.are(drawn.accepted ? std::vector<ReportExpected>() : refusals));
        EXPECT_TRUE(sameNumbers(coeffs, given, 9));
        // Of a quadrangle with corners that are no numbers there is no smallest one; of two zeros either is.
        for (const auto &corner : wanted) {
            if (std::isnan(corner[0]) || std::isnan(corner[1])) return;
        }
        for (size_t k = 0; k < 4; ++k)
            EXPECT_EQ(bound[k], wantedBound[k]) << k;
    });
}

// Parallelograms, exactly and nearly, quadrangles on a coarse grid, which are often degenerate, and any others.
RefQuad drawQuad(Random &random) {
    RefQuad quad;
    const int kind = random.below(4);
    for (auto &corner : quad) {
        for (double &each : corner) {
            each = kind == 0 ? random.below(5) : static_cast<double>(random.between(-5000, 5000)) / 16.0;
            if (kind == 3) each = drawNumber(random);
        }
    }
    if (kind == 1) {
        for (size_t k = 0; k < 2; ++k)
            quad[3][k] = quad[0][k] + quad[2][k] - quad[1][k];
        if (random.oneIn(3)) quad[3][random.below(2)] += static_cast<double>(random.between(-9, 9)) * 1e-10;
    }
    // Around a square, so that it is convex more often than not.
    if (kind == 2) {
        const double square[4][2] = {{0, 0}, {400, 0}, {400, 400}, {0, 400}};
        const bool turned = random.oneIn(2);
        for (size_t i = 0; i < 4; ++i) {
            for (size_t k = 0; k < 2; ++k)
                quad[i][k] = square[i][turned ? 1 - k : k] + static_cast<double>(random.between(-190, 190)) / 1.25;
        }
    }
    return quad;
}

TEST_P(Quad, transformsAgreeWithTheFormulas) {
    int good = 0, refused = 0;
    forEachCase(6000, [&](Random &random) {
        DrawnPlace drawn(random);
        RefQuad quad = drawQuad(random);
        const RefQuad given = quad;
        SCOPED_TRACE(drawn.describe() + " " + testing::PrintToString(quad));
        const char *fault = refQuadFault(GetParam(), quad);
        if (!fault && !drawn.accepted) fault = "Bad rect ROI";
        if (!fault && (drawn.rect.right - drawn.rect.left < 1 || drawn.rect.bottom - drawn.rect.top < 1)) {
            fault = GetParam() == RefMap::AFFINE ? "srcImage Rectangle ROI is degenerate to length or point"
                                                 : "image Rectangle ROI is degenerate to length or point";
        }
        const std::string function = name("Transform", drawn.place);
        RefCoeffs coeffs = untouchedCoeffs(), wanted = coeffs;
        const auto count = static_cast<size_t>(refCoeffCount(GetParam()));
        if (!fault) {
            const RefCoeffs computed = refTransform(GetParam(), drawn.rect, quad);
            std::copy_n(computed.begin(), count, wanted.begin());
        }
        ++(fault ? refused : good);
        ReportRecorder reports;
        callTransform(GetParam(), drawn.place, &coeffs, &quad);
        if (fault) {
            EXPECT_TRUE(reports.are({{-5, function.c_str(), fault}}));
        } else {
            EXPECT_TRUE(reports.none());
        }
        EXPECT_TRUE(sameNumbers(coeffs, wanted, 9));
        EXPECT_TRUE(sameNumbers(quad, given, 8));
    });
    EXPECT_GT(good, refused / 40);
}

// What a transform makes of the region is the quadrangle that it was made for, in either winding.
TEST_P(Quad, aTransformCarriesTheRegionOntoTheQuadrangle) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 30, 20);
    layout.setRoi(0, 4, 3, 21, 11);
    TestImage image(layout, 1);
    const QuadPlace place = {image.header(), nullptr, false};
    RefQuad shapes[2] = {{{{10, 5}, {50, 15}, {60, 55}, {20, 45}}}, {{{20, 45}, {60, 55}, {50, 15}, {10, 5}}}};
    if (GetParam() != RefMap::AFFINE) shapes[0][2] = {70, 80};
    for (RefQuad &shape : shapes) {
        RefCoeffs coeffs = {};
        RefQuad quad = {};
        ReportRecorder reports;
        callTransform(GetParam(), place, &coeffs, &shape);
        callQuad(GetParam(), place, &coeffs, &quad);
        EXPECT_TRUE(reports.none());
        for (size_t i = 0; i < 4; ++i) {
            for (size_t k = 0; k < 2; ++k)
                EXPECT_NEAR(quad[i][k], shape[i][k], 1e-9);
        }
    }
}

// The product of the sides is one of 32-bit integers, which wraps.
TEST(BilinearTransform, sidesMultiplyIn32Bits) {
    for (const int side : {46342, 65536, 65537, 70000}) {
        MoxROI roi = {0, 0, 0, side, side};
        const QuadPlace place = {nullptr, &roi, true};
        RefQuad quad = {{{0, 0}, {3, 0}, {4, 5}, {-1, 4}}};
        RefCoeffs coeffs = untouchedCoeffs();
        const RefCoeffs wanted = refTransform(RefMap::BILINEAR, {0, 0, side - 1, side - 1}, quad);
        callTransform(RefMap::BILINEAR, place, &coeffs, &quad);
        EXPECT_TRUE(sameNumbers(coeffs, wanted, 8)) << side;
    }
}

// One pixel wide: corners and bounds, but no transform.
TEST_P(Quad, aRegionOfOneColumnHasCorners) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 1, 20), 1);
    const QuadPlace place = {image.header(), nullptr, false};
    RefCoeffs coeffs = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    RefQuad quad = untouchedQuad();
    RefBound bound = {};
    ReportRecorder reports;
    callQuad(GetParam(), place, &coeffs, &quad);
    callBound(GetParam(), place, &coeffs, &bound);
    EXPECT_TRUE(reports.none());
    EXPECT_NE(quad[2][0], UNTOUCHED);
    RefQuad square = {{{0, 0}, {3, 0}, {3, 5}, {0, 5}}};
    RefCoeffs made = untouchedCoeffs();
    callTransform(GetParam(), place, &made, &square);
    const std::string function = quadFunctionName(GetParam(), "Transform", false);
    EXPECT_TRUE(reports.are({{-5, function.c_str(),
                              GetParam() == RefMap::AFFINE ? "srcImage Rectangle ROI is degenerate to length or point"
                                                           : "image Rectangle ROI is degenerate to length or point"}}));
    EXPECT_TRUE(sameNumbers(made, untouchedCoeffs(), 9));
}

// Regions are cut to their image; regions alone at 0 only.
TEST(AffineQuad, regionsAreClipped) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 30, 20);
    layout.setRoi(0, 25, 15, 100, 100);
    TestImage image(layout, 1);
    RefCoeffs identity = {1, 0, 0, 0, 1, 0};
    RefQuad quad = {};
    callQuad(RefMap::AFFINE, {image.header(), nullptr, false}, &identity, &quad);
    EXPECT_TRUE(sameNumbers(quad, RefQuad{{{25, 15}, {29, 15}, {29, 19}, {25, 19}}}, 8));
    MoxROI roi = {0, -5, 7, 10, 100};
    callQuad(RefMap::AFFINE, {nullptr, &roi, true}, &identity, &quad);
    EXPECT_TRUE(sameNumbers(quad, RefQuad{{{0, 7}, {4, 7}, {4, 106}, {0, 106}}}, 8));
}

// Corners need no image data of a kind: a tiled image has a region as well, and nobody asks for its tiles.
TEST(AffineQuad, noPixelIsTouched) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_16S, 30, 20, 3);
    layout.tileWidth = layout.tileHeight = 8;
    TestImage image(layout, 1);
    TileLog log;
    RefCoeffs identity = {1, 0, 0, 0, 1, 0};
    RefBound bound = {};
    callBound(RefMap::AFFINE, {image.header(), nullptr, false}, &identity, &bound);
    EXPECT_EQ(bound, (RefBound{0, 0, 29, 19}));
    EXPECT_TRUE(log.is({}));
    EXPECT_TRUE(image.headerIsUntouched());
}

// A point at infinity is no fault.
TEST(PerspectiveQuad, denominatorsMayBeZero) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 30, 20), 1);
    RefCoeffs coeffs = {1, 0, 0, 0, 1, 1, 1, 0, 0};
    RefQuad quad = {};
    ReportRecorder reports;
    callQuad(RefMap::PERSPECTIVE, {image.header(), nullptr, false}, &coeffs, &quad);
    EXPECT_TRUE(std::isnan(quad[0][0]));
    EXPECT_TRUE(std::isinf(quad[0][1]));
    EXPECT_EQ(quad[1][0], 1.0);
    EXPECT_TRUE(reports.none());
}

// -------------------------------------------------------------------------------------------------- centre of rotation

TEST(RotateShift, agreesWithTheFormulas) {
    forEachCase(3000, [&](Random &random) {
        double x = drawNumber(random), y = drawNumber(random);
        double angle = random.oneIn(2) ? drawNumber(random) : random.between(-20, 20) * 90.0;
        if (random.oneIn(3)) angle = random.between(-7200, 7200);
        if (!std::isfinite(angle)) angle = 360;
        SCOPED_TRACE(testing::PrintToString(x) + ", " + testing::PrintToString(y) + " by " +
                     testing::PrintToString(angle));
        double found[2] = {drawNumber(random), drawNumber(random)};
        double wanted[2] = {found[0], found[1]};
        refRotateShift(x, y, angle, &wanted[0], &wanted[1]);
        ReportRecorder reports;
        moxGetRotateShift(x, y, angle, &found[0], &found[1]);
        // To the bit where the angle is right; else sine and cosine are as good as they get.
        const bool right = std::fmod(angle, 90.0) == 0;
        for (size_t k = 0; k < 2; ++k) {
            if (right || !std::isfinite(wanted[k])) {
                EXPECT_TRUE(sameNumber(found[k], wanted[k])) << found[k] << " " << wanted[k];
            } else {
                EXPECT_NEAR(found[k], wanted[k], 1e-15 * (std::fabs(x) + std::fabs(y) + std::fabs(wanted[k])));
            }
        }
        EXPECT_TRUE(reports.none());
    });
}

TEST(RotateShift, rightAnglesAreExact) {
    struct {
        double angle, x, y;
    } const cases[] = {{0, 0, 0},    {90, -4, 10},  {180, 6, 14},   {270, 10, 4},       {360, 0, 0}, {450, -4, 10},
                       {-90, 10, 4}, {-180, 6, 14}, {-270, -4, 10}, {36000090, -4, 10}, {720, 0, 0}, {540, 6, 14}};
    for (const auto &each : cases) {
        double x = 100, y = 200;
        moxGetRotateShift(3, 7, each.angle, &x, &y);
        EXPECT_EQ(x, 100 + each.x) << each.angle;
        EXPECT_EQ(y, 200 + each.y) << each.angle;
    }
}

// A map that turns about the origin and is shifted leaves the centre where it is.
TEST(RotateShift, theCentreStays) {
    for (const double angle : {1.0, 30.0, 137.0, -45.0, 300.0, 89.999}) {
        double x = 0, y = 0;
        moxGetRotateShift(12, 34, angle, &x, &y);
        const double s = std::sin(angle * 3.14159265358979323846 / 180),
                     c = std::cos(angle * 3.14159265358979323846 / 180);
        EXPECT_NEAR(c * 12 + s * 34 + x, 12, 1e-9);
        EXPECT_NEAR(-s * 12 + c * 34 + y, 34, 1e-9);
    }
}

}  // namespace
