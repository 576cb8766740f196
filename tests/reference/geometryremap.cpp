// Remapping: every pixel of the destination takes its position in the source from two maps.
#include <algorithm>
#include <bit>
#include <cmath>

#include "reference/geometry.h"

// Bit patterns compare as floats do where neither is negative.
static bool isWithin(uint32_t value, int low, int high) {
    const auto order = [](uint32_t bits) { return static_cast<int32_t>(bits); };
    const auto ofInteger = [&](int number) { return order(std::bit_cast<uint32_t>(static_cast<float>(number))); };
    return order(value) >= ofInteger(low) && order(value) <= ofInteger(high);
}

static uint32_t remapped(const RefSource &source, int kind, float x, float y) {
    const double exactX = static_cast<double>(x), exactY = static_cast<double>(y);
    if (kind == MOX_INTER_CUBIC) return refCubic(source, exactX, exactY);
    if (kind == MOX_INTER_LINEAR) return refLinearFloat(source, x, y);
    return source.at(static_cast<int64_t>(std::nearbyint(exactX - 0.4999999)),
                     static_cast<int64_t>(std::nearbyint(exactY - 0.4999999)));
}

static bool destinationLets(TestImage &destination, int i, int j) {
    if (!destination.mask()) return true;
    const TestLayout &mask = destination.mask()->layout();
    if (i >= mask.regionWidth() || j >= mask.regionHeight()) return false;
    return destination.mask()->get(0, mask.regionX() + i, mask.regionY() + j) != 0;
}

RefResult refRemap(TestImage &source, TestImage &xMap, TestImage &yMap, TestImage &destination, int interpolate) {
    RefResult result = {destination.bytes(), {}};
    const TestLayout &to = destination.layout(), &xs = xMap.layout(), &ys = yMap.layout(), &from = source.layout();
    const int width = std::min({to.regionWidth(), xs.regionWidth(), ys.regionWidth()});
    const int height = std::min({to.regionHeight(), xs.regionHeight(), ys.regionHeight()});
    if (from.regionWidth() == 0 || from.regionHeight() == 0) return result;
    const int kind = refKind(from.depth, from.regionWidth(), from.regionHeight(), interpolate);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            const uint32_t x = xMap.get(0, xs.regionX() + i, xs.regionY() + j);
            const uint32_t y = yMap.get(0, ys.regionX() + i, ys.regionY() + j);
            for (int channel = 0; channel < to.channelCount(); ++channel) {
                const RefSource sampled(source, from.firstChannel() + channel);
                const RefRect &rect = sampled.rect;
                if (!isWithin(x, rect.left, rect.right) || !isWithin(y, rect.top, rect.bottom)) continue;
                if (!destinationLets(destination, i, j)) continue;
                destination.setIn(result.expected, to.firstChannel() + channel, to.regionX() + i, to.regionY() + j,
                                  remapped(sampled, kind, std::bit_cast<float>(x), std::bit_cast<float>(y)));
            }
        }
    }
    return result;
}
