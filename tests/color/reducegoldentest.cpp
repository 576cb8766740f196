// Golden digests of the reduction of bits, which every CPU level and every platform must give. Noise is the platform's
// and has none.
#include "color/reducepair.h"
#include "support/golden.h"
#include "support/reports.h"

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

TestLayout layoutOf(const GoldenLayout &golden, unsigned depth, bool destination) {
    const bool one = depth == MOX_DEPTH_1U;
    TestLayout layout = TestLayout::of(depth, 61, 29, one ? 1 : golden.channels, golden.order);
    if (golden.coi) layout.setRoi(one ? 1 : 2, destination ? 5 : 3, 1, 55, 27);
    if (golden.tiled) {
        layout.tileWidth = 16;
        layout.tileHeight = 8;
    }
    return layout;
}

uint64_t digestOfLevels(const GoldenLayout &golden, const DepthPair &depths, int dither) {
    uint64_t digest = digestOf({});
    for (int levels : {2, 3, 16, 100, 256}) {
        if (depths.dst == MOX_DEPTH_1U && levels > 2) break;
        TestImage src(layoutOf(golden, depths.src, false), 11), dst(layoutOf(golden, depths.dst, true), 13);
        TestImage mask(TestLayout::ofMask(60, 28), 14);
        Random random(17);
        if (levels != 16) drawPicture(random, src);
        if (golden.masked) dst.setMask(&mask);
        const RefResult wanted = refReduceBits({0, dither, levels}, src, dst);
        ReportRecorder reports;
        moxReduceBits(src.header(), dst.header(), 0, dither, levels);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(dst.holds(wanted.expected)) << "no digest is taken of a wrong result";
        digest = digestOfSamples(dst, digest);
    }
    return digest;
}

TEST(ReduceGolden, digests) {
    static const std::pair<int, const char *> dithers[] = {{MOX_DITHER_NONE, "none"},
                                                           {MOX_DITHER_FS, "fs"},
                                                           {MOX_DITHER_JJH, "jjh"},
                                                           {MOX_DITHER_STUCKEY, "stuckey"},
                                                           {MOX_DITHER_BAYER, "bayer"}};
    for (const DepthPair &depths : allDepthPairs) {
        for (const auto &each : dithers) {
            const std::string name = depthPairName(depths) + "/" + each.second + "/";
            for (const GoldenLayout &golden : goldenLayouts) {
                // A 1-bit destination takes one channel of several by a coi alone.
                if (depths.dst == MOX_DEPTH_1U && golden.channels > 1 && !golden.coi) continue;
                forEachCpuLevel([&] {
                    const uint64_t digest = digestOfLevels(golden, depths, each.first);
                    if (HasFailure()) return;
                    EXPECT_TRUE(digestIsGolden("color/moxReduceBits/" + name + golden.name, digest));
                });
                if (HasFailure()) return;
            }
        }
    }
}

}  // namespace
