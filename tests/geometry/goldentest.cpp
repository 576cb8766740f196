// Golden digests of mirror images, which every CPU level and every platform must give.
#include "reference/geometry.h"
#include "support/golden.h"
#include "support/reports.h"
#include "support/scene.h"

namespace {

struct GoldenLayout {
    const char *name;
    int channels, order;
    bool coi, masked, tiled;
};

const GoldenLayout goldenLayouts[] = {{"plain", 1, MOX_DATA_ORDER_PIXEL, false, false, false},
                                      {"pixel3", 3, MOX_DATA_ORDER_PIXEL, false, true, false},
                                      {"plane3", 3, MOX_DATA_ORDER_PLANE, false, false, true},
                                      {"coi", 3, MOX_DATA_ORDER_PIXEL, true, true, true}};

TestLayout layoutOf(const GoldenLayout &golden, unsigned depth, int shift) {
    TestLayout layout = TestLayout::of(depth, 61, 19, depth == MOX_DEPTH_1U ? 1 : golden.channels, golden.order);
    if (golden.coi) layout.setRoi(depth == MOX_DEPTH_1U ? 1 : 2, 3 + shift, 1, 55, 17);
    if (golden.tiled) {
        layout.tileWidth = 16;
        layout.tileHeight = 8;
    }
    return layout;
}

TEST(GeometryGolden, mirror) {
    for (const unsigned depth : allDepths) {
        for (const GoldenLayout &golden : goldenLayouts) {
            forEachCpuLevel([&] {
                uint64_t digest = digestOf({});
                for (int axis = -1; axis <= 1; ++axis) {
                    TestImage src(layoutOf(golden, depth, 0), 11), dst(layoutOf(golden, depth, 2), 13);
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

}  // namespace
