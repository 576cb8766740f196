// Random layouts of two images, and ratios.
#include "scaling/scalingpair.h"

#include <algorithm>
#include <bit>

const unsigned scalingDepths[4] = {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32F};

void drawModerately(Random &random, TestImage &image) {
    const TestLayout &layout = image.layout();
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int channel = 0; channel < layout.channels; ++channel) {
                const float value = static_cast<float>(random.between(1, 200000) - 100000) / 977.0f;
                image.set(channel, x, y, std::bit_cast<uint32_t>(random.oneIn(9) ? value * 65536.0f : value));
            }
        }
    }
}

void ScalingPair::drawChannels(Random &random, TestLayout &layout, const ScalingPairOptions &options) {
    if (options.depth == MOX_DEPTH_1U) {
        layout.roi.coi = coi_ ? 1 : 0;
        return;
    }
    if (options.sameAlpha && alpha_ != 0) {
        layout.channels = layout.alpha = alpha_;
        layout.roi.coi = coi_ ? options.equalCoi ? std::min(coi_, alpha_) : random.between(1, alpha_) : 0;
        return;
    }
    if (coi_) {
        layout.channels = random.between(options.equalCoi ? coi_ : 1, 5);
        if (!options.sameAlpha && random.oneIn(3)) layout.alpha = layout.channels;
        layout.roi.coi = options.equalCoi ? coi_ : random.between(1, layout.channels);
        if (!options.bothCoi && layout.channels == 1 && layout.alpha == 0 && random.oneIn(2)) layout.roi.coi = 0;
        return;
    }
    layout.channels = processed_;
    if (!options.sameAlpha && random.oneIn(4)) layout.alpha = ++layout.channels;
}

TestLayout ScalingPair::drawLayout(Random &random, int which, const ScalingPairOptions &options) {
    TestLayout layout;
    layout.depth = options.depth;
    layout.order = order_;
    layout.origin = options.sameOrigin ? origin_ : random.below(2);
    layout.align = drawAlign(random);
    drawChannels(random, layout, options);
    layout.width = which ? options.dstWidth : options.srcWidth;
    layout.height = which ? options.dstHeight : options.srcHeight;
    if (!options.exact) {
        const bool narrow = random.oneIn(5), low = random.oneIn(5);
        layout.width = random.between(narrow ? 1 : (layout.width + 1) / 2, narrow ? 7 : layout.width);
        layout.height = random.between(low ? 1 : (layout.height + 1) / 2, low ? 7 : layout.height);
    }
    // A region that begins beyond the image is a fault to some.
    if (layout.roi.coi != 0 || (!options.exact && random.oneIn(2))) {
        if (options.exact) {
            layout.setRoi(layout.roi.coi, 0, 0, layout.width, layout.height);
        } else {
            drawRegion(random, layout, layout.roi.coi, false);
        }
    }
    drawPlacement(random, layout, options.tiled[which]);
    return layout;
}

ScalingPair::ScalingPair(Random &random, const ScalingPairOptions &options)
    : processed_(options.depth == MOX_DEPTH_1U || random.oneIn(3) ? 1 : random.between(1, 5)),
      order_(random.below(2)),
      origin_(random.below(2)),
      alpha_(options.sameAlpha && random.oneIn(3) ? random.between(2, 5) : 0),
      coi_(random.oneIn(3) ? random.between(1, 5) : 0) {
    for (int which = 0; which < 2; ++which) {
        images_[which] = std::make_unique<TestImage>(drawLayout(random, which, options), random.next());
        if (options.depth == MOX_DEPTH_32F && options.moderate) drawModerately(random, *images_[which]);
    }
    if (!options.masks || random.oneIn(2)) return;
    drawMasks(random);
    if (masks_[0] && random.oneIn(5)) images_[1]->setMask(masks_[0].get());
}

// The larger number over the smaller one.
static void drawTerms(Random &random, int *larger, int *smaller) {
    switch (random.below(8)) {
        case 0:
            *smaller = *larger = drawInt(random) & 0x7FFFFFFF;
            *smaller = *larger = std::max(1, *larger);
            return;
        case 1:
            *smaller = 1;
            *larger = random.between(1, 9);
            return;
        case 2:
            *smaller = random.between(1, 7);
            *larger = *smaller * random.between(1, 5);
            return;
        case 3:  // nearly equal
            *smaller = random.between(1, 400);
            *larger = *smaller + random.between(1, 2);
            return;
        case 4:  // numbers of which floats have not all digits
            *smaller = random.between(400000000, 700000000);
            *larger = random.between(*smaller, 2147483647);
            return;
        case 5:
            *smaller = random.between(1, 3);
            *larger = random.between(20, 90);
            return;
        default:
            *smaller = random.between(1, 30);
            *larger = random.between(*smaller, 3 * *smaller + 20);
    }
}

static void drawAxis(Random &random, Change change, int *dst, int *src) {
    const bool larger = change == Change::LARGER || (change == Change::ANY && random.oneIn(2));
    drawTerms(random, larger ? dst : src, larger ? src : dst);
}

RefRatio drawRatio(Random &random, Change change) {
    RefRatio ratio = {1, 1, 1, 1};
    const int axes = random.below(6);
    if (axes != 0) drawAxis(random, change, &ratio.xDst, &ratio.xSrc);
    if (axes != 1) drawAxis(random, change, &ratio.yDst, &ratio.ySrc);
    if (axes == 2) {
        ratio.yDst = ratio.xDst;
        ratio.ySrc = ratio.xSrc;
    }
    return ratio;
}

std::string describeRatio(const RefRatio &ratio, int interpolate) {
    return "x " + std::to_string(ratio.xDst) + "/" + std::to_string(ratio.xSrc) + " y " + std::to_string(ratio.yDst) +
           "/" + std::to_string(ratio.ySrc) + " interpolate " + std::to_string(interpolate);
}
