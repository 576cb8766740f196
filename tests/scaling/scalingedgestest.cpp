// Changes of scale of samples that are no numbers, and of images that nobody reads whole.
#include "scaling/scalingpair.h"
#include "support/endlessimage.h"
#include "support/reports.h"

namespace {

enum class Which { ZOOM, DECIMATE, RESIZE, BLUR };

// At 32F drawn bits hold infinities and NaNs of all kinds. Which of two a sum keeps is the processor's and the
// compiler's affair, but not the result's.
TEST(ScalingEdges, levelsAgreeOnWhatIsNoNumber) {
    forEachCase(300, [](Random &random) {
        ScalingPairOptions options;
        options.depth = MOX_DEPTH_32F;
        options.moderate = false;
        options.sameAlpha = options.sameOrigin = options.equalCoi = true;
        ScalingPair pair(random, options);
        const auto which = static_cast<Which>(random.below(4));
        const RefRatio r = drawRatio(random, which == Which::ZOOM ? Change::LARGER : Change::SMALLER);
        const int interpolate = random.below(which == Which::DECIMATE || which == Which::RESIZE ? 4 : 3);
        const int maskSize = random.below(6);
        MoxImage *src = pair.src().header(), *dst = pair.dst().header();
        const TestBytes before = pair.dst().bytes();
        TestBytes wanted;
        forEachCpuLevel([&] {
            pair.dst().setBytes(before);
            ReportRecorder reports;
            switch (which) {
                case Which::ZOOM:
                    moxZoom(src, dst, r.xDst, r.xSrc, r.yDst, r.ySrc, interpolate);
                    break;
                case Which::DECIMATE:
                    moxDecimate(src, dst, r.xDst, r.xSrc, r.yDst, r.ySrc, interpolate);
                    break;
                case Which::RESIZE:
                    moxResize(src, dst, r.xDst, r.xSrc, r.yDst, r.ySrc, interpolate);
                    break;
                case Which::BLUR:
                    moxDecimateBlur(src, dst, r.xDst, r.xSrc, r.yDst, r.ySrc, interpolate, maskSize, maskSize);
                    break;
            }
            if (wanted.empty()) wanted = pair.dst().bytes();
            EXPECT_TRUE(pair.dst().holds(wanted)) << pair.describe() << " " << describeRatio(r, interpolate);
        });
    });
}

// Windows as large as a tiled source are read a few times, not once for each pixel.
TEST(ScalingEdges, largeWindowsOfTilesAreNotReadForEachPixel) {
    EndlessImage src(MOX_DEPTH_8U, 4096, 4096, 256);
    TestImage dst(TestLayout::of(MOX_DEPTH_8U, 4, 4), 1);
    ReportRecorder reports;
    moxDecimateBlur(src.header(), dst.header(), 1, 1024, 1, 1024, MOX_INTER_NN, 8192, 8192);
    EXPECT_TRUE(reports.none());
    EXPECT_LE(src.requests(), 4 * 16 * 16);
}

}  // namespace
