// Random layouts, quadrangles and maps for warps.
#include "geometry/warppair.h"

#include <bit>
#include <cmath>
#include <numbers>

const unsigned warpDepths[4] = {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32F};

void drawModerately(Random &random, TestImage &image) {
    const TestLayout &layout = image.layout();
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int channel = 0; channel < layout.channels; ++channel) {
                const float value = static_cast<float>(random.between(-100000, 100000)) / 977.0f;
                image.set(channel, x, y, std::bit_cast<uint32_t>(value));
            }
        }
    }
}

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

static TestLayout drawLayout(Random &random, const WarpPairOptions &options, int which, int processed) {
    TestLayout layout;
    layout.depth = options.depth;
    layout.order = random.below(2);
    layout.align = drawAlign(random);
    drawChannels(random, layout, processed);
    const int least = which == 0 ? options.leastSource : 1;
    const bool small = random.oneIn(4);
    layout.width = random.between(small ? least : (options.maxWidth + 1) / 2, small ? 6 : options.maxWidth);
    layout.height = random.between(small ? least : (options.maxHeight + 1) / 2, small ? 6 : options.maxHeight);
    const int coi = layout.roi.coi;
    if (coi != 0 || random.oneIn(2)) drawRegion(random, layout, coi, false);
    while (layout.regionWidth() < least || layout.regionHeight() < least)
        drawRegion(random, layout, coi, false);
    drawPlacement(random, layout, options.tiled[which]);
    return layout;
}

WarpPair::WarpPair(Random &random, const WarpPairOptions &options) {
    const int processed = options.depth == MOX_DEPTH_1U || random.oneIn(3) ? 1 : random.between(1, 5);
    TestLayout from = drawLayout(random, options, 0, processed), to = drawLayout(random, options, 1, processed);
    to.origin = from.origin = random.below(2);
    // Bits and single channels may stand in different orders.
    if (options.depth != MOX_DEPTH_1U && (from.channels != 1 || to.channels != 1)) to.order = from.order;
    images_[0] = std::make_unique<TestImage>(from, random.next());
    images_[1] = std::make_unique<TestImage>(to, random.next());
    if (options.depth == MOX_DEPTH_32F && !random.oneIn(5)) {
        drawModerately(random, src());
        drawModerately(random, dst());
    }
    if (!options.masks || random.oneIn(2)) return;
    drawMasks(random);
    if (masks_[0] && random.oneIn(5)) images_[1]->setMask(masks_[0].get());
}

// A position: mostly within the region, also on its edge, on a pixel, a little or far beside it, or not a number.
static float drawPosition(Random &random, int low, int high) {
    static const float special[] = {-0.0f, 0.0f, 1e-30f, 1e30f, -1e30f, HUGE_VALF, -HUGE_VALF, NAN, 65536.0f};
    switch (random.below(12)) {
        case 0:
            return special[random.below(9)];
        case 1:
            return static_cast<float>(random.oneIn(2) ? low : high);
        case 2:
            return std::nextafter(static_cast<float>(random.oneIn(2) ? low : high), random.oneIn(2) ? 1e9f : -1e9f);
        case 3:
            return static_cast<float>(random.between(low - 2, high + 2));
        case 4:
            return std::nextafter(static_cast<float>(random.between(low, high)), random.oneIn(2) ? 1e9f : -1e9f);
        case 5:
            return static_cast<float>(random.between(16 * low - 16, 16 * high + 16)) / 16;
        case 6:
            return std::bit_cast<float>(drawSample(random, MOX_DEPTH_32F));
        default:
            return static_cast<float>(low) +
                   static_cast<float>(high - low) * static_cast<float>(random.below(1 << 20)) / 1048576.0f;
    }
}

void RemapSet::addMap(Random &random, const WarpPairOptions &options, int tiled, int low, int high) {
    TestLayout layout =
        TestLayout::of(MOX_DEPTH_32F, random.between((options.maxWidth + 1) / 2, options.maxWidth),
                       random.between((options.maxHeight + 1) / 2, options.maxHeight), 1, random.below(2));
    layout.origin = random.below(2);
    layout.align = drawAlign(random);
    if (random.oneIn(2)) drawRegion(random, layout, random.below(2), false);
    drawPlacement(random, layout, tiled);
    others_.push_back(std::make_unique<TestImage>(layout, random.next()));
    // Most maps mean pixels within, so that the other one decides.
    const bool tame = random.oneIn(3);
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            const float smooth = static_cast<float>(low) + static_cast<float>((high - low) * x) / 41.0f;
            const float value = tame ? std::min(smooth, static_cast<float>(high)) : drawPosition(random, low, high);
            others_.back()->set(0, x, y, std::bit_cast<uint32_t>(value));
        }
    }
}

RemapSet::RemapSet(Random &random, const WarpPairOptions &options, int tiledMaps) : WarpPair(random, options) {
    const RefRect rect = rectOf(src());
    addMap(random, options, tiledMaps, rect.left, rect.right);
    addMap(random, options, tiledMaps, rect.top, rect.bottom);
}

std::string RemapSet::describe() const {
    return WarpPair::describe() + "x map " + others_[0]->layout().describe() + "\ny map " +
           others_[1]->layout().describe() + "\n";
}

RefRect rectOf(const TestImage &image) {
    const TestLayout &layout = image.layout();
    return {layout.regionX(), layout.regionY(), layout.regionX() + layout.regionWidth() - 1,
            layout.regionY() + layout.regionHeight() - 1};
}

// A number from low to high: whole, a multiple of a small fraction, or any.
static double drawReal(Random &random, int grain, double low, double high) {
    const double value = low + (high - low) * (random.below(1 << 20) / 1048576.0);
    return grain > 0 ? std::round(value * grain) / grain : value;
}

static RefQuad drawCorners(Random &random, const RefRect &rect) {
    const double w = rect.right - rect.left + 1, h = rect.bottom - rect.top + 1;
    const int grain = random.oneIn(3) ? 1 : random.oneIn(3) ? 1 << random.between(1, 4) : random.oneIn(8) ? 3 : 0;
    const int size = random.below(8);
    const double scale = size == 0 ? 0.1 : size == 1 ? 3 : size == 2 ? 1000 : 1;
    const double x = drawReal(random, grain, rect.left - w * 0.2, rect.right + w * 0.2);
    const double y = drawReal(random, grain, rect.top - h * 0.2, rect.bottom + h * 0.2);
    const auto dx = [&] { return drawReal(random, grain, 0, w * scale); };
    const auto dy = [&] { return drawReal(random, grain, 0, h * scale); };
    switch (random.below(6)) {
        case 0: {  // a rectangle
            const double x1 = x + dx(), y1 = y + dy();
            return {{{x, y}, {x1, y}, {x1, y1}, {x, y1}}};
        }
        case 1: {  // the rectangle itself, a corner moved now and then
            const double l = rect.left, t = rect.top, r = rect.right, b = rect.bottom;
            RefQuad quad = {{{l, t}, {r, t}, {r, b}, {l, b}}};
            if (random.oneIn(2)) quad[static_cast<size_t>(random.below(4))][0] += drawReal(random, grain, -1, 1);
            return quad;
        }
        case 2: {  // a parallelogram
            const double ax = dx() - w * scale / 2, ay = dy() - h * scale / 2, bx = dx() - w * scale / 2,
                         by = dy() - h * scale / 2;
            // Nearly parallel sides are where the inverse of a bilinear map has the least of its digits left.
            const double off = random.oneIn(4) ? std::pow(10.0, -random.between(3, 8)) : 0;
            return {{{x, y}, {x + ax, y + ay}, {x + ax + bx + off, y + ay + by}, {x + bx, y + by}}};
        }
        case 3: {  // two sides parallel to an axis
            const double height = dy(), width = dx();
            if (random.oneIn(2))
                return {{{x, y}, {x + dx(), y}, {x + dx(), y + height}, {x + dx() - dx(), y + height}}};
            return {{{x, y}, {x + width, y + dy()}, {x + width, y + dy() + dy()}, {x, y + dy()}}};
        }
        default: {  // corners around a point
            RefQuad quad;
            double turn = drawReal(random, 0, 0, 2 * std::numbers::pi);
            for (RefPoint &corner : quad) {
                turn += drawReal(random, 0, 0.3, 2.6);
                const double far = drawReal(random, 0, 0.3, 1);
                corner = {x + std::cos(turn) * w * scale * far, y + std::sin(turn) * h * scale * far};
                if (grain > 0) corner = {std::round(corner[0] * grain) / grain, std::round(corner[1] * grain) / grain};
            }
            return quad;
        }
    }
}

RefQuad drawQuad(Random &random, const RefRect &rect) {
    RefQuad quad;
    do {
        quad = drawCorners(random, rect);
        // Any corner may be the first, and the other winding is as good.
        const auto first = static_cast<std::ptrdiff_t>(random.below(4));
        std::rotate(quad.begin(), quad.begin() + first, quad.end());
        if (random.oneIn(2)) std::swap(quad[1], quad[3]);
    } while (refQuadFault(RefMap::BILINEAR, quad));
    return quad;
}

RefCoeffs drawAffine(Random &random, const RefRect &from, const RefRect &to) {
    RefCoeffs c = {};
    do {
        const int grain = random.oneIn(3) ? 1 : random.oneIn(3) ? 1 << random.between(1, 4) : 0;
        const double scale = random.oneIn(4) ? 0.2 : random.oneIn(3) ? 3 : 1;
        switch (random.below(4)) {
            case 0: {
                const double turn = drawReal(random, 0, 0, 2 * std::numbers::pi);
                c = {std::cos(turn) * scale, std::sin(turn) * scale, 0, -std::sin(turn) * scale,
                     std::cos(turn) * scale};
                break;
            }
            case 1:
                c = {drawReal(random, grain, -3, 3), 0, 0, 0, drawReal(random, grain, -3, 3)};
                break;
            case 2:
                c = {1, drawReal(random, grain, -2, 2), 0, drawReal(random, grain, -2, 2), 1};
                break;
            default:
                for (const size_t k : {0, 1, 3, 4})
                    c[k] = drawReal(random, grain, -2, 2) * scale;
        }
        // The centre comes somewhere near the other rectangle.
        const double x = (from.left + from.right) / 2, y = (from.top + from.bottom) / 2;
        c[2] = drawReal(random, grain, to.left, to.right) - c[0] * x - c[1] * y;
        c[5] = drawReal(random, grain, to.top, to.bottom) - c[3] * x - c[4] * y;
    } while (!(std::fabs(c[0] * c[4] - c[1] * c[3]) > 1e-2));
    return c;
}

int drawInterpolate(Random &random, bool mayBeSmooth) {
    return random.below(3) + (mayBeSmooth && random.oneIn(3) ? MOX_SMOOTH_EDGE : 0);
}

static std::string textOf(double value) {
    char text[64];
    snprintf(text, sizeof text, "%.17g", value);
    return text;
}

std::string describeQuad(const RefQuad &quad) {
    std::string text = "quadrangle";
    for (const RefPoint &corner : quad)
        text += " (" + textOf(corner[0]) + ", " + textOf(corner[1]) + ")";
    return text;
}

std::string describeCoeffs(RefMap map, const RefCoeffs &coeffs) {
    std::string text = "coefficients";
    for (int k = 0; k < refCoeffCount(map); ++k)
        text += " " + textOf(coeffs[static_cast<size_t>(k)]);
    return text;
}

void callWarpQ(RefMap map, WarpPair &pair, RefQuad quad, int warpFlag, int interpolate) {
    const auto corners = reinterpret_cast<double(*)[2]>(&quad);
    (map == RefMap::BILINEAR ? moxWarpBilinearQ : moxWarpPerspectiveQ)(pair.src().header(), pair.dst().header(),
                                                                       corners, warpFlag, interpolate);
}

void callWarp(RefMap map, WarpPair &pair, RefCoeffs coeffs, int warpFlag, int interpolate) {
    MoxImage *const src = pair.src().header(), *const dst = pair.dst().header();
    const auto threes = reinterpret_cast<double(*)[3]>(&coeffs);
    switch (map) {
        case RefMap::AFFINE:
            return moxWarpAffine(src, dst, threes, interpolate);
        case RefMap::BILINEAR:
            return moxWarpBilinear(src, dst, reinterpret_cast<double(*)[4]>(&coeffs), warpFlag, interpolate);
        default:
            return moxWarpPerspective(src, dst, threes, warpFlag, interpolate);
    }
}
