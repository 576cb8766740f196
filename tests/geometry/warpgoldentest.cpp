// Golden digests of warps, rotation and remapping, which every CPU level and every platform must give.
#include <bit>

#include "geometry/quadfunctions.h"
#include "geometry/warppair.h"
#include "support/golden.h"
#include "support/reports.h"
#include "support/scene.h"

namespace {

// A channel of interest is one of four.
TestLayout layoutOf(const GoldenLayout &golden, unsigned depth, int shift) {
    return golden.of(depth, 61, 39, shift, depth == MOX_DEPTH_1U ? 1 : golden.coi ? 4 : golden.channels);
}

// Numbers that add up the same in any order.
void drawNumbers(TestImage &image, uint64_t seed) {
    Random random(seed);
    if (image.layout().depth == MOX_DEPTH_32F) drawModerately(random, image);
}

using Call = std::function<void(TestImage &src, TestImage &dst, int kind)>;
using Model = std::function<RefResult(TestImage &src, TestImage &dst, int kind)>;

void checkGolden(const char *name, const Model &model, const Call &call) {
    for (const unsigned depth : warpDepths) {
        for (const GoldenLayout &golden : goldenLayouts) {
            forEachCpuLevel([&] {
                uint64_t digest = digestOf({});
                for (int kind = 0; kind < 3; ++kind) {
                    TestImage src(layoutOf(golden, depth, 0), 11), dst(layoutOf(golden, depth, 2), 13);
                    TestImage mask(TestLayout::ofMask(60, 38), 14);
                    if (golden.masked) dst.setMask(&mask);
                    drawNumbers(src, 15);
                    drawNumbers(dst, 16);
                    const RefResult wanted = model(src, dst, kind | MOX_SMOOTH_EDGE);
                    ReportRecorder reports;
                    call(src, dst, kind | MOX_SMOOTH_EDGE);
                    EXPECT_TRUE(reports.none());
                    ASSERT_TRUE(dst.holds(wanted.expected)) << "no digest is taken of a wrong result";
                    digest = digestOfSamples(dst, digest);
                }
                EXPECT_TRUE(digestIsGolden(std::string("geometry/") + name + "/" + depthName(depth) + "/" + golden.name,
                                           digest));
            });
            if (testing::Test::HasFailure()) return;
        }
    }
}

TEST(WarpGolden, affine) {
    RefCoeffs coeffs = {0.875, 0.3125, 3.5, -0.40625, 0.8125, 11.25};
    checkGolden(
        "moxWarpAffine", [&](auto &src, auto &dst, int kind) { return refWarpAffine(src, dst, coeffs, kind); },
        [&](auto &src, auto &dst, int kind) {
            moxWarpAffine(src.header(), dst.header(), reinterpret_cast<double(*)[3]>(&coeffs), kind);
        });
}

TEST(WarpGolden, shear) {
    const RefCoeffs coeffs = {1, 0.3125, -4.5, -0.40625, 1, 13.25};
    checkGolden(
        "moxShear", [&](auto &src, auto &dst, int kind) { return refWarpAffine(src, dst, coeffs, kind); },
        [&](auto &src, auto &dst, int kind) {
            moxShear(src.header(), dst.header(), coeffs[1], coeffs[3], coeffs[2], coeffs[5], kind);
        });
}

// By coefficients: the quadrangle is where they take the source's region, or the destination's.
void checkCoefficients(const char *name, RefMap map, int warpFlag, RefCoeffs coeffs) {
    checkGolden(
        name,
        [&](auto &src, auto &dst, int kind) {
            const RefQuad quad = refMappedQuad(map, coeffs, rectOf(warpFlag == 0 ? src : dst));
            return refWarpQuad(map, src, dst, quad, warpFlag, kind);
        },
        [&](auto &src, auto &dst, int kind) {
            if (map == RefMap::BILINEAR) {
                moxWarpBilinear(src.header(), dst.header(), reinterpret_cast<double(*)[4]>(&coeffs), warpFlag, kind);
            } else {
                moxWarpPerspective(src.header(), dst.header(), reinterpret_cast<double(*)[3]>(&coeffs), warpFlag, kind);
            }
        });
}

const RefCoeffs bilinearMap = {0.001953125, 0.875, 0.25, 3.5, -0.00390625, -0.1875, 0.9375, 6.25};
const RefCoeffs perspectiveMap = {0.875, 0.25, 3.5, -0.125, 0.9375, 6.25, 0.001953125, 0.0009765625, 1};

TEST(WarpGolden, bilinearCoefficients) {
    checkCoefficients("moxWarpBilinear", RefMap::BILINEAR, 0, bilinearMap);
}
TEST(WarpGolden, bilinearCoefficientsFromTheSource) {
    checkCoefficients("moxWarpBilinear-from", RefMap::BILINEAR, 1, bilinearMap);
}
TEST(WarpGolden, perspectiveCoefficients) {
    checkCoefficients("moxWarpPerspective", RefMap::PERSPECTIVE, 0, perspectiveMap);
}
TEST(WarpGolden, perspectiveCoefficientsFromTheSource) {
    checkCoefficients("moxWarpPerspective-from", RefMap::PERSPECTIVE, 1, perspectiveMap);
}

void checkQuadrangle(const char *name, RefMap map, int warpFlag, RefQuad quad) {
    checkGolden(
        name, [&](auto &src, auto &dst, int kind) { return refWarpQuad(map, src, dst, quad, warpFlag, kind); },
        [&](auto &src, auto &dst, int kind) {
            (map == RefMap::BILINEAR ? moxWarpBilinearQ : moxWarpPerspectiveQ)(
                src.header(), dst.header(), reinterpret_cast<double(*)[2]>(&quad), warpFlag, kind);
        });
}

const RefQuad tilted = {{{5.25, 4.5}, {55.75, -3.125}, {70.5, 35.5}, {12.375, 30.25}}};

TEST(WarpGolden, bilinear) {
    checkQuadrangle("moxWarpBilinearQ", RefMap::BILINEAR, 0, tilted);
}
TEST(WarpGolden, bilinearFromTheSource) {
    checkQuadrangle("moxWarpBilinearQ-from", RefMap::BILINEAR, 1, tilted);
}
TEST(WarpGolden, perspective) {
    checkQuadrangle("moxWarpPerspectiveQ", RefMap::PERSPECTIVE, 0, tilted);
}
TEST(WarpGolden, perspectiveFromTheSource) {
    checkQuadrangle("moxWarpPerspectiveQ-from", RefMap::PERSPECTIVE, 1, tilted);
}

TEST(WarpGolden, rotation) {
    for (const double angle : {90.0, 180.0, 270.0, 30.0}) {
        const double x = angle == 90 ? 0 : angle == 30 ? -6.5 : 57, y = angle == 270 ? 2 : angle == 30 ? 20.25 : 40;
        checkGolden(("moxRotate-" + std::to_string(static_cast<int>(angle))).c_str(),
                    [&](auto &src, auto &dst, int kind) { return refRotate(src, dst, angle, x, y, kind); },
                    [&](auto &src, auto &dst, int kind) { moxRotate(src.header(), dst.header(), angle, x, y, kind); });
    }
}

TEST(WarpGolden, remapping) {
    TestImage xMap(TestLayout::of(MOX_DEPTH_32F, 61, 39), 1), yMap(TestLayout::of(MOX_DEPTH_32F, 61, 39), 2);
    for (int y = 0; y < 39; ++y) {
        for (int x = 0; x < 61; ++x) {
            const float u = static_cast<float>(x - 30), v = static_cast<float>(y - 20);
            const float bulge = 1 + (u * u + v * v) / 8192;
            xMap.set(0, x, y, std::bit_cast<uint32_t>(30 + u * bulge));
            yMap.set(0, x, y, std::bit_cast<uint32_t>(20 + v * bulge));
        }
    }
    checkGolden(
        "moxRemap", [&](auto &src, auto &dst, int kind) { return refRemap(src, xMap, yMap, dst, kind); },
        [&](auto &src, auto &dst, int kind) {
            moxRemap(src.header(), xMap.header(), yMap.header(), dst.header(), kind);
        });
}

}  // namespace
