// Golden digests of mirror images, and of quadrangles and maps, which every CPU level and every platform must give.
#include "geometry/quadfunctions.h"
#include "reference/geometry.h"
#include "support/golden.h"
#include "support/reports.h"
#include "support/scene.h"

namespace {

TEST(GeometryGolden, mirror) {
    for (const unsigned depth : allDepths) {
        for (const GoldenLayout &golden : goldenLayouts) {
            forEachCpuLevel([&] {
                uint64_t digest = digestOf({});
                for (int axis = -1; axis <= 1; ++axis) {
                    TestImage src(golden.of(depth, 61, 19, 0), 11), dst(golden.of(depth, 61, 19, 2), 13);
                    TestImage mask(TestLayout::ofMask(60, 18), 14);
                    if (golden.masked) dst.setMask(&mask);
                    const RefResult wanted = refMirror(src, dst, axis);
                    ReportRecorder reports;
                    moxMirror(src.header(), dst.header(), axis);
                    EXPECT_TRUE(reports.none());
                    ASSERT_TRUE(dst.holds(wanted.expected)) << "no digest is taken of a wrong result";
                    digest = digestOfSamples(dst, digest);
                }
                EXPECT_TRUE(
                    digestIsGolden(std::string("geometry/moxMirror/") + depthName(depth) + "/" + golden.name, digest));
            });
            if (HasFailure()) return;
        }
    }
}

template <typename Numbers>
void expectGolden(const std::string &name, const Numbers &found, const Numbers &wanted, size_t count) {
    std::vector<uint8_t> bytes(count * sizeof(double)), expected(bytes.size());
    memcpy(bytes.data(), &found, bytes.size());
    memcpy(expected.data(), &wanted, expected.size());
    ASSERT_EQ(bytes, expected) << name << ": no digest is taken of a wrong result";
    EXPECT_TRUE(digestIsGolden("geometry/" + name, digestOf(bytes)));
}

// Of a region in an image, and of one by itself.
TEST(GeometryGolden, quadranglesAndMaps) {
    const RefCoeffs maps[] = {{0.8, 0.3, 3.7, -0.4, 0.9, 11.1},
                              {0.0013, 0.87, 0.24, 3.5, -0.0041, -0.19, 0.93, 6.3},
                              {0.87, 0.24, 3.5, -0.13, 0.93, 6.3, 0.0021, 0.0013, 1.1}};
    // A parallelogram and one that is none.
    const RefQuad leaning = {{{5.25, 4.5}, {55.75, -3.125}, {62.875, 22.625}, {12.375, 30.25}}},
                  tilted = {{{5.3, 4.6}, {55.7, -3.1}, {70.9, 35.2}, {12.4, 30.7}}};
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 61, 39);
    layout.setRoi(0, 3, 2, 50, 31);
    TestImage image(layout, 1);
    MoxROI roi = {0, -20, 7, 333, 77};
    for (const RefMap map : allMaps) {
        for (const bool ofRegion : {false, true}) {
            const QuadPlace place = {image.header(), &roi, ofRegion};
            RefRect rect;
            ASSERT_TRUE(refRegionRect(ofRegion ? &roi : image.roi(), ofRegion ? 0 : 61, ofRegion ? 0 : 39, &rect));
            RefCoeffs coeffs = maps[static_cast<int>(map)], made = {};
            RefQuad given = map == RefMap::AFFINE ? leaning : tilted, quad = {};
            RefBound bound = {};
            ReportRecorder reports;
            callQuad(map, place, &coeffs, &quad);
            callBound(map, place, &coeffs, &bound);
            callTransform(map, place, &made, &given);
            EXPECT_TRUE(reports.none());
            const RefQuad mapped = refMappedQuad(map, coeffs, rect);
            expectGolden(quadFunctionName(map, "Quad", ofRegion), quad, mapped, 8);
            expectGolden(quadFunctionName(map, "Bound", ofRegion), bound, refBoundOf(mapped), 4);
            expectGolden(quadFunctionName(map, "Transform", ofRegion), made, refTransform(map, rect, given),
                         static_cast<size_t>(refCoeffCount(map)));
        }
    }
}

}  // namespace
