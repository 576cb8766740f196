// Templates, and correlation against its model.
#include "filter/correlationcheck.h"

#include <bit>

// Often a piece of the source, so that there is something to find.
static void drawContents(Random &random, TestImage &pattern, const TestImage &source) {
    const TestLayout &layout = pattern.layout(), &from = source.layout();
    const bool real = layout.depth == MOX_DEPTH_32F;
    if (!real && random.oneIn(2)) return;
    const int dx = random.below(from.width), dy = random.below(from.height);
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int c = 0; c < layout.channels; ++c)
                pattern.set(c, x, y, source.get(c, (x + dx) % from.width, (y + dy) % from.height));
        }
    }
}

Pattern::Pattern(Random &random, FilterPair &pair, int maxWidth, int maxHeight) {
    const TestLayout &from = pair.src().layout();
    TestLayout layout = TestLayout::of(from.depth, random.between(1, maxWidth), random.between(1, maxHeight),
                                       from.channels, random.below(2));
    layout.alpha = from.alpha;
    layout.origin = random.below(2);
    layout.align = drawAlign(random);
    drawPlacement(random, layout, 0);
    const int coi = from.hasRoi && from.roi.coi > 0 ? random.between(1, from.channels) : 0;
    if (coi != 0 || random.oneIn(3)) drawRegion(random, layout, coi, false);
    image_ = std::make_unique<TestImage>(layout, random.next());
    drawContents(random, *image_, pair.src());
    // A template's mask is of no account.
    if (!random.oneIn(8)) return;
    mask_ = std::make_unique<TestImage>(TestLayout::ofMask(layout.width, layout.height), random.next());
    image_->setMask(mask_.get());
}

void checkCorrelation(FilterPair &pair, TestImage &pattern) {
    SCOPED_TRACE(pair.describe() + "template " + pattern.layout().describe());
    const TestBytes before = pattern.bytes();
    const RefCorrelation wanted = refNormCrossCorr(pattern, pair.src(), pair.dst());
    checkCall(
        pair, wanted.result,
        [&] { EXPECT_EQ(moxNormCrossCorr(pattern.header(), pair.src().header(), pair.dst().header()), 0); },
        [&](const TestImage &, RefResult *expected) { refAcceptRounding(pair.src(), pair.dst(), wanted, expected); });
    EXPECT_TRUE(pattern.holds(before));
    EXPECT_TRUE(pattern.headerIsUntouched());
}
