// Pixels of more channels than an application has names for.
#include "filter/filtercheck.h"

namespace {

TEST(ManyChannels, areBlurredLikeFew) {
    forEachCase(20, [](Random &random) {
        for (unsigned depth : allDepths) {
            if (depth == MOX_DEPTH_1U) continue;
            TestLayout layout =
                TestLayout::of(depth, random.between(1, 30), random.between(1, 12), random.between(5, 11));
            layout.order = random.below(2);
            if (random.oneIn(3)) layout.alpha = layout.channels;
            TestImage src(layout, random.next()), dst(layout, random.next());
            const RefWindow window = drawWindow(random, 7, 7);
            SCOPED_TRACE(layout.describe() + " " + describeWindow(window));
            const TestBytes before = dst.bytes();
            RefResult wanted = refBlur(src, dst, window);
            forEachCpuLevel([&] {
                ReportRecorder reports;
                moxBlur(src.header(), dst.header(), window.nCols, window.nRows, window.anchorX, window.anchorY);
                EXPECT_TRUE(reports.none());
                RefResult expected = wanted;
                refAcceptNaNs(dst, &expected);
                EXPECT_TRUE(dst.holds(expected.expected, expected.unspecified));
                dst.setBytes(before);
            });
        }
    });
}

// A run of samples under a mask, which has a form of its own for each usual number of channels.
TEST(ManyChannels, areMovedUnderAMask) {
    for (int channels = 1; channels <= 20; ++channels) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 41, 5, channels);
        TestImage src(layout, 1), dst(layout, 2), mask(TestLayout::ofMask(41, 5), 3);
        dst.setMask(&mask);
        TestBytes wanted = dst.bytes();
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 41; ++x) {
                for (int c = 0; c < channels && mask.get(0, x, y); ++c)
                    dst.setIn(wanted, c, x, y, src.get(c, x, y) ^ dst.get(c, x, y));
            }
        }
        const TestBytes before = dst.bytes();
        forEachCpuLevel([&] {
            moxXor(src.header(), dst.header(), dst.header());
            EXPECT_TRUE(dst.holds(wanted)) << channels;
            dst.setBytes(before);
        });
    }
}

}  // namespace
