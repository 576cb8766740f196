// Golden digests of the reduction of bits, which every CPU level and every platform must give. Noise is the platform's
// and has none.
#include "color/reducepair.h"
#include "support/golden.h"
#include "support/reports.h"

namespace {

uint64_t digestOfLevels(const GoldenLayout &golden, const DepthPair &depths, int dither) {
    uint64_t digest = digestOf({});
    for (int levels : {2, 3, 16, 100, 256}) {
        if (depths.dst == MOX_DEPTH_1U && levels > 2) break;
        TestImage src(golden.of(depths.src, 61, 29, 0), 11), dst(golden.of(depths.dst, 61, 29, 2), 13);
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
