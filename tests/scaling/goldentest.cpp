// Golden digests of changes of scale, which every CPU level and every platform must give.
#include "scaling/scalingpair.h"
#include "support/golden.h"
#include "support/reports.h"

namespace {

TestLayout layoutOf(const GoldenLayout &golden, unsigned depth, int width, int height, int shift) {
    TestLayout layout = golden.of(depth, width, height, shift);
    if (golden.coi) layout.setRoi(layout.roi.coi, 3 + shift, 1, width - 5, height - 2);
    return layout;
}

using GoldenModel = std::function<RefResult(TestImage &src, TestImage &dst, int kind)>;
using GoldenCall = std::function<void(MoxImage *src, MoxImage *dst, int kind)>;

struct GoldenChange {
    const char *name;
    int kinds;
    int size[2][2];  // of the source, of the destination
    GoldenModel model;
    GoldenCall call;
};

const GoldenChange changes[] = {
    {"moxZoom",
     3,
     {{41, 17}, {97, 31}},
     [](TestImage &src, TestImage &dst, int kind) {
         return refZoom(src, dst, {7, 3, 9, 5}, kind);
     },
     [](MoxImage *src, MoxImage *dst, int kind) { moxZoom(src, dst, 7, 3, 9, 5, kind); }},
    {"moxResize",
     3,
     {{83, 31}, {61, 47}},
     [](TestImage &src, TestImage &dst, int kind) {
         return refZoom(src, dst, {5, 7, 3, 2}, kind);
     },
     [](MoxImage *src, MoxImage *dst, int kind) { moxResize(src, dst, 5, 7, 3, 2, kind); }},
    {"moxDecimate",
     4,
     {{97, 43}, {71, 27}},
     [](TestImage &src, TestImage &dst, int kind) {
         return refDecimate(src, dst, {5, 7, 4, 7}, kind);
     },
     [](MoxImage *src, MoxImage *dst, int kind) { moxDecimate(src, dst, 5, 7, 4, 7, kind); }},
    {"moxDecimateBlur",
     3,
     {{97, 43}, {71, 27}},
     [](TestImage &src, TestImage &dst, int kind) {
         return refDecimateBlur(src, dst, {5, 7, 4, 7}, kind, 4, 3);
     },
     [](MoxImage *src, MoxImage *dst, int kind) { moxDecimateBlur(src, dst, 5, 7, 4, 7, kind, 4, 3); }}};

void checkDigests(const GoldenChange &change, const GoldenLayout &golden, unsigned depth, int kind) {
    const auto &from = change.size[0], &to = change.size[1];
    TestImage src(layoutOf(golden, depth, from[0], from[1], 0), 11), dst(layoutOf(golden, depth, to[0], to[1], 2), 13),
        mask(TestLayout::ofMask(to[0] - 6, to[1] - 3), 14);
    if (depth == MOX_DEPTH_32F) {
        Random random(12);
        drawModerately(random, src);
    }
    if (golden.masked) dst.setMask(&mask);
    const RefResult wanted = change.model(src, dst, kind);
    const TestBytes before = dst.bytes();
    const std::string name =
        std::string("scaling/") + change.name + "/" + depthName(depth) + "/" + golden.name + "/" + std::to_string(kind);
    forEachCpuLevel([&] {
        dst.setBytes(before);
        ReportRecorder reports;
        change.call(src.header(), dst.header(), kind);
        EXPECT_TRUE(reports.none());
        ASSERT_TRUE(dst.holds(wanted.expected)) << "no digest is taken of a wrong result";
        EXPECT_TRUE(digestIsGolden(name, digestOfSamples(dst, digestOf({}))));
    });
}

class ScalingGolden : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Digests, ScalingGolden, testing::Range(0, 4),
                         [](const auto &each) { return changes[each.param].name; });

TEST_P(ScalingGolden, isWhatItIs) {
    const GoldenChange &change = changes[GetParam()];
    for (const unsigned depth : scalingDepths) {
        for (const GoldenLayout &golden : goldenLayouts) {
            for (int kind = 0; kind < change.kinds; ++kind) {
                SCOPED_TRACE(std::string(depthName(depth)) + " " + golden.name + " " + std::to_string(kind));
                checkDigests(change, golden, depth, kind);
                if (HasFailure()) return;
            }
        }
    }
}

}  // namespace
