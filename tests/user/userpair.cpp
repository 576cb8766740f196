// Random layouts of two images for the callers' functions.
#include "user/userpair.h"

#include <algorithm>

#include "reference/reference.h"

namespace {

struct Shared {
    int order, origin;
    int channels;  // of both, where none has a coi
    int single;    // of two images with a coi, one that has a single channel and none
    bool coi;
};

void drawChannels(Random &random, TestLayout &layout, const Shared &shared, int which) {
    if (!shared.coi) {
        layout.channels = shared.channels;
        if (layout.channels > 1 && random.oneIn(3)) layout.alpha = layout.channels;
        return;
    }
    if (shared.single == which) return;
    layout.channels = random.between(1, 5);
    if (random.oneIn(3)) layout.alpha = layout.channels;
    layout.roi.coi = random.between(1, layout.channels);
}

TestLayout drawLayout(Random &random, const UserPairOptions &options, const Shared &shared, int which) {
    TestLayout layout;
    layout.depth = options.depth;
    layout.order = shared.order;
    layout.origin = shared.origin;
    layout.align = drawAlign(random);
    drawChannels(random, layout, shared, which);
    const bool small = random.oneIn(5);
    layout.width = random.between(small ? 1 : (options.maxWidth + 1) / 2, options.maxWidth);
    layout.height = random.between(small ? 1 : (options.maxHeight + 1) / 2, options.maxHeight);
    if (layout.roi.coi != 0 || random.oneIn(2)) drawRegion(random, layout, layout.roi.coi, false);
    drawPlacement(random, layout, options.tiled[which]);
    return layout;
}

}  // namespace

UserPair::UserPair(Random &random, const UserPairOptions &options) {
    const bool coi = random.oneIn(3);
    const Shared shared = {random.below(2), random.below(2), random.between(1, 5), coi ? random.below(4) : -1, coi};
    const bool inPlace = options.inPlace < 0 ? random.oneIn(4) : options.inPlace == 1;
    for (int which = 0; which < (inPlace ? 1 : 2); ++which)
        images_[which] = std::make_unique<TestImage>(drawLayout(random, options, shared, which), random.next());
    if (!options.masks || random.oneIn(2)) return;
    drawMasks(random);
    if (images_[1] && masks_[0] && random.oneIn(5)) images_[1]->setMask(masks_[0].get());
}

bool UserPair::hasPixels() {
    int width, height;
    refCommonSize({&src(), &dst()}, &width, &height);
    return width > 0;
}

int UserPair::channelCount() {
    return std::min(src().layout().channelCount(), dst().layout().channelCount());
}
