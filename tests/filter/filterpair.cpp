// Random layouts of two images.
#include "filter/filterpair.h"

#include <algorithm>
#include <bit>

void drawBorders(Random &random, TestImage &image, bool handMade) {
    const int oneMode = random.below(6);
    for (int side = 0; side < 4; ++side) {
        // Modes count by their two low bits.
        const int mode = oneMode < 4 ? oneMode : random.below(4);
        const int constant =
            random.oneIn(3) ? drawInt(random) : static_cast<int>(drawSample(random, image.layout().depth));
        moxSetBorderMode(image.header(), random.oneIn(8) ? mode + 4 : mode, 1 << side, constant);
        if (handMade) image.header()->borderConst[side] = drawInt(random);
    }
    image.keepHeader();
}

// Samples that let sums round without overflowing.
static void drawModerately(Random &random, TestImage &image) {
    const TestLayout &layout = image.layout();
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int channel = 0; channel < layout.channels; ++channel) {
                const float value = static_cast<float>(random.between(-100000, 100000)) / 977.0f;
                image.set(channel, x, y, std::bit_cast<uint32_t>(random.oneIn(9) ? value * 65536.0f : value));
            }
        }
    }
}

void FilterPair::drawChannels(Random &random, TestLayout &layout, const FilterPairOptions &options) {
    if (options.depth == MOX_DEPTH_1U) {
        layout.roi.coi = coi_ || (!options.strict && random.oneIn(4)) ? 1 : 0;
        return;
    }
    if (options.alike) {
        layout.channels = channels_;
        layout.alpha = alpha_;
        layout.roi.coi = coi_ ? random.between(1, channels_) : 0;
        return;
    }
    // One processed channel may be a coi, in an image with as many channels as it likes.
    const bool coi = options.strict ? coi_ : processed_ == 1 && random.oneIn(2);
    if (coi) {
        layout.channels = random.between(1, 5);
        if (random.oneIn(3)) layout.alpha = layout.channels;
        layout.roi.coi = random.between(1, layout.channels);
        return;
    }
    layout.channels = processed_;
    if (random.oneIn(4)) layout.alpha = ++layout.channels;
}

TestLayout FilterPair::drawLayout(Random &random, int which, const FilterPairOptions &options) {
    TestLayout layout;
    layout.depth = which == 1 && options.dstDepth != 0 ? options.dstDepth : options.depth;
    layout.order = options.strict || options.alike ? order_ : random.below(2);
    layout.origin = options.sameOrigin ? origin_ : random.below(2);
    layout.align = drawAlign(random);
    drawChannels(random, layout, options);
    const bool small = random.oneIn(5);
    layout.width = random.between(small ? 1 : (options.maxWidth + 1) / 2, options.maxWidth);
    layout.height = random.between(small ? 1 : (options.maxHeight + 1) / 2, options.maxHeight);
    if (layout.roi.coi != 0 || random.oneIn(2)) drawRegion(random, layout, layout.roi.coi, !options.strict);
    drawPlacement(random, layout, options.tiled[which]);
    return layout;
}

FilterPair::FilterPair(Random &random, const FilterPairOptions &options)
    : processed_(options.depth == MOX_DEPTH_1U || random.oneIn(3) ? 1 : random.between(1, 4)),
      order_(random.below(2)),
      origin_(random.below(2)),
      channels_(random.between(options.channels[0], options.channels[1])),
      alpha_(random.oneIn(3) ? ++channels_ : 0),
      coi_(!options.pixelsOnly && random.oneIn(3)) {
    if (options.strict && coi_) processed_ = 1;
    const bool inPlace = options.inPlace < 0 ? random.oneIn(4) : options.inPlace == 1;
    const bool moderate = options.depth == MOX_DEPTH_32F && options.moderate && !random.oneIn(4);
    for (int which = 0; which < (inPlace ? 1 : 2); ++which) {
        images_[which] = std::make_unique<TestImage>(drawLayout(random, which, options), random.next());
        if (moderate) drawModerately(random, *images_[which]);
        drawBorders(random, *images_[which], options.handMadeBorders);
    }
    if (!options.masks || random.oneIn(2)) return;
    drawMasks(random);
    if (images_[1] && masks_[0] && random.oneIn(5)) images_[1]->setMask(masks_[0].get());
}
