// Golden digests of every operation, which every CPU level and every platform must give.
#include "arith/arithcheck.h"
#include "support/golden.h"

namespace {

struct GoldenLayout {
    const char *name;
    int channels, order;
    bool coi, masked, tiled;
};

const GoldenLayout goldenLayouts[] = {{"flat", 1, MOX_DATA_ORDER_PIXEL, false, false, false},
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

class Golden : public testing::TestWithParam<RefOperation> {};

INSTANTIATE_TEST_SUITE_P(Digests, Golden, testing::ValuesIn(allOperations()),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_P(Golden, everyDepthAndLayout) {
    for (unsigned depth : allDepths) {
        if (!GetParam().accepts(depth)) continue;
        for (const GoldenLayout &golden : goldenLayouts) {
            forEachCpuLevel([&] {
                uint64_t digest = digestOf({});
                for (int value : {1, 3, -100, 40000}) {
                    TestImage a(layoutOf(golden, depth, 0), 11), b(layoutOf(golden, depth, 1), 12),
                        d(layoutOf(golden, depth, 2), 13);
                    TestImage mask(TestLayout::ofMask(60, 18), 14);
                    if (golden.masked) d.setMask(&mask);
                    RefCall call = {GetParam(), value, value == 3, 0x40490FDB};
                    const std::vector<TestImage *> images = imagesOf(GetParam(), &a, &b, &d);
                    const RefResult wanted = refPoint(call, images);
                    ReportRecorder reports;
                    refRunLibrary(call, images);
                    EXPECT_TRUE(reports.none());
                    ASSERT_TRUE(d.holds(wanted.expected, wanted.unspecified)) << "no digest is taken of a wrong result";
                    digest = digestOfSamples(d, digest);
                }
                if (HasFailure()) return;
                EXPECT_TRUE(digestIsGolden(
                    std::string("arith/") + GetParam().name + "/" + depthName(depth) + "/" + golden.name, digest));
            });
        }
    }
}

}  // namespace
