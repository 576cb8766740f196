// Random layouts of two images for moxMirror.
#include "geometry/mirrorpair.h"

// One processed channel may be a coi, in an image with as many channels as it likes.
static void drawChannels(Random &random, TestLayout &layout, int processed) {
    if (layout.bits() == 1) {
        layout.roi.coi = random.oneIn(4) ? 1 : 0;
        return;
    }
    if (processed == 1 && random.oneIn(2)) {
        layout.channels = random.between(1, 5);
        if (random.oneIn(3)) layout.alpha = layout.channels;
        layout.roi.coi = random.between(1, layout.channels);
        return;
    }
    layout.channels = processed;
    if (random.oneIn(4)) layout.alpha = ++layout.channels;
}

static TestLayout drawLayout(Random &random, const MirrorPairOptions &options, int which, int processed) {
    TestLayout layout;
    layout.depth = options.depth;
    layout.order = random.below(2);
    layout.origin = random.below(2);
    layout.align = drawAlign(random);
    drawChannels(random, layout, processed);
    const bool small = random.oneIn(5);
    layout.width = random.between(small ? 1 : (options.maxWidth + 1) / 2, options.maxWidth);
    layout.height = random.between(small ? 1 : (options.maxHeight + 1) / 2, options.maxHeight);
    if (layout.roi.coi != 0 || random.oneIn(2)) drawRegion(random, layout, layout.roi.coi);
    drawPlacement(random, layout, options.tiled[which]);
    return layout;
}

MirrorPair::MirrorPair(Random &random, const MirrorPairOptions &options) {
    const int processed = options.depth == MOX_DEPTH_1U || random.oneIn(3) ? 1 : random.between(1, 5);
    const bool inPlace = options.inPlace < 0 ? random.oneIn(3) : options.inPlace == 1;
    TestLayout from = drawLayout(random, options, 0, processed), to = drawLayout(random, options, 1, processed);
    // Orders may differ where one of the images has a single channel.
    if (from.channels != 1 && to.channels != 1) to.order = from.order;
    images_[0] = std::make_unique<TestImage>(from, random.next());
    if (inPlace) return;
    images_[1] = std::make_unique<TestImage>(to, random.next());
    if (random.oneIn(2)) return;
    drawMasks(random);
    if (masks_[0] && random.oneIn(5)) images_[1]->setMask(masks_[0].get());
}
