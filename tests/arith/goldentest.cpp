// Golden digests of every operation, which every CPU level and every platform must give.
#include "arith/arithcheck.h"
#include "support/golden.h"

namespace {

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
                    TestImage a(golden.of(depth, 61, 19, 0), 11), b(golden.of(depth, 61, 19, 1), 12),
                        d(golden.of(depth, 61, 19, 2), 13);
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
