// Golden digests of mirror images, which every CPU level and every platform must give.
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

}  // namespace
