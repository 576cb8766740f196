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

}  // namespace
