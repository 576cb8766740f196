// Samples between pixels, one at a time, as each depth and kind of map has them.
#include <algorithm>
#include <bit>
#include <cmath>

#include "reference/geometry.h"

RefSource::RefSource(const TestImage &source, int sourceChannel) : image(source), rect(), channel(sourceChannel) {
    const TestLayout &layout = source.layout();
    rect = {layout.regionX(), layout.regionY(), layout.regionX() + layout.regionWidth() - 1,
            layout.regionY() + layout.regionHeight() - 1};
}

uint32_t RefSource::at(int64_t x, int64_t y) const {
    return image.get(channel, static_cast<int>(std::clamp<int64_t>(x, rect.left, rect.right)),
                     static_cast<int>(std::clamp<int64_t>(y, rect.top, rect.bottom)));
}

double RefSource::number(int64_t x, int64_t y) const {
    const uint32_t sample = at(x, y);
    return image.layout().depth == MOX_DEPTH_32F ? static_cast<double>(std::bit_cast<float>(sample))
                                                 : static_cast<double>(sample);
}

int refKind(unsigned depth, int width, int height, int interpolate) {
    const int kind = interpolate & ~MOX_SMOOTH_EDGE;
    if (depth == MOX_DEPTH_1U || width == 1 || height == 1) return MOX_INTER_NN;
    if (kind == MOX_INTER_CUBIC && (width < 4 || height < 4)) return MOX_INTER_LINEAR;
    return kind;
}

// The whole part of a position that must not fall below a whole number by rounding.
static int64_t floorNearly(double x) {
    return static_cast<int64_t>(std::nearbyint(x - 0.4999999));
}

static uint32_t store(unsigned depth, double value) {
    if (depth == MOX_DEPTH_32F) return std::bit_cast<uint32_t>(static_cast<float>(value));
    const double most = depth == MOX_DEPTH_8U ? 255 : 65535;
    return static_cast<uint32_t>(std::clamp(std::nearbyint(value), 0.0, most));
}

// A position within the region, whatever rounding made of it.
template <typename Number>
static Number within(Number value, int low, int high) {
    if (!(value > static_cast<Number>(low))) return static_cast<Number>(low);
    return std::min(value, static_cast<Number>(high));
}

uint32_t refNearestFixed(const RefSource &source, int64_t x, int64_t y) {
    const auto index = [](int64_t value) { return std::clamp<int64_t>(value >> 16, INT16_MIN, INT16_MAX); };
    return source.at(index(x), index(y));
}

uint32_t refNearestEven(const RefSource &source, float x, float y) {
    const RefRect &rect = source.rect;
    return source.at(static_cast<int64_t>(std::nearbyint(within(x, rect.left, rect.right))),
                     static_cast<int64_t>(std::nearbyint(within(y, rect.top, rect.bottom))));
}

// 14 bits of fraction; rows are kept with 6 of them.
static uint32_t linear8(const RefSource &source, int64_t ix, int64_t iy, int fx, int fy, int rounding) {
    const auto p = [&](int dx, int dy) { return static_cast<int>(source.at(ix + dx, iy + dy)); };
    const int r0 = (p(0, 0) * (16384 - fx) + p(1, 0) * fx) >> 8;
    const int r1 = (p(0, 1) * (16384 - fx) + p(1, 1) * fx) >> 8;
    return static_cast<uint32_t>(std::clamp((r0 * (16384 - fy) + r1 * fy + rounding) >> 20, 0, 255));
}

uint32_t refLinearFixed(const RefSource &source, int64_t x, int64_t y) {
    x = std::clamp<int64_t>(x - (int64_t{source.rect.left} << 16), 0, int64_t{source.width() - 1} << 16);
    y = std::clamp<int64_t>(y - (int64_t{source.rect.top} << 16), 0, int64_t{source.height() - 1} << 16);
    int64_t ix = x >> 16, iy = y >> 16;
    if (ix > source.width() - 2) ix = ix - 1;
    if (iy > source.height() - 2) iy = iy - 1;
    return linear8(source, source.rect.left + ix, source.rect.top + iy, static_cast<int>((x - (ix << 16)) >> 2),
                   static_cast<int>((y - (iy << 16)) >> 2), 0x80000);
}

namespace {

// The first of two samples along one axis, both within the region, and the position's part of the way between them.
template <typename Number>
struct Step {
    int64_t first;
    Number part;
};

// Whole numbers stay what they are by floorNearly; the last pixel is the second sample.
Step<double> exactStep(double x, int low, int high) {
    x = within(x, low, high);
    const int64_t whole = floorNearly(x);
    if (whole >= high) return {high - 1, 1};
    return {whole, x - static_cast<double>(whole)};
}

Step<float> singleStep(float x, int low, int high) {
    x = within(x, low, high);
    const int64_t first = std::min<int64_t>(static_cast<int64_t>(x), high - 1);
    return {first, x - static_cast<float>(first)};
}

template <typename Number>
Number between(Number p, Number q, Number f) {
    return p * (1 - f) + q * f;
}

template <typename Number>
Number linear(const RefSource &source, Step<Number> x, Step<Number> y) {
    const auto p = [&](int dx, int dy) { return static_cast<Number>(source.number(x.first + dx, y.first + dy)); };
    return between(between(p(0, 0), p(1, 0), x.part), between(p(0, 1), p(1, 1), x.part), y.part);
}

}  // namespace

uint32_t refLinearExact(const RefSource &source, double x, double y) {
    const RefRect &rect = source.rect;
    return store(source.image.layout().depth,
                 linear(source, exactStep(x, rect.left, rect.right), exactStep(y, rect.top, rect.bottom)));
}

uint32_t refLinearSingle(const RefSource &source, float x, float y) {
    const RefRect &rect = source.rect;
    return std::bit_cast<uint32_t>(
        linear(source, singleStep(x, rect.left, rect.right), singleStep(y, rect.top, rect.bottom)));
}

uint32_t refLinearFloat(const RefSource &source, float x, float y) {
    const RefRect &rect = source.rect;
    if (source.image.layout().depth != MOX_DEPTH_8U) {
        return refLinearExact(source, static_cast<double>(x), static_cast<double>(y));
    }
    const Step<float> stepX = singleStep(x, rect.left, rect.right), stepY = singleStep(y, rect.top, rect.bottom);
    const auto fraction = [](float f) { return static_cast<int>(std::nearbyint(f * 16384.0f)); };
    return linear8(source, stepX.first, stepY.first, fraction(stepX.part), fraction(stepY.part), 33);
}

// Round-to-nearest of 16384 times the polynomials, numerator and denominator whole.
static int roundedQuotient(int64_t numerator, int64_t denominator) {
    return static_cast<int>(std::nearbyint(static_cast<double>(numerator) / static_cast<double>(denominator)));
}

// Of tap 0 -(f - 1) (f - 2) (f - 3) / 6, of tap 1 f (f - 2) (f - 3) / 2 at f = t / 512; 16384 / 512^3 = 1 / 8192.
static int outerWeight(int64_t t) {
    return roundedQuotient(-(t - 512) * (t - 1024) * (t - 1536), 6 * 8192);
}
static int innerWeight(int64_t t) {
    return roundedQuotient(t * (t - 1024) * (t - 1536), 2 * 8192);
}

std::array<int, 4> refCubicWeights(int t) {
    return {outerWeight(t), innerWeight(t), innerWeight(1536 - t), outerWeight(1536 - t)};
}

// Where a window of four begins.
static int64_t windowStart(int64_t index, int size) {
    if (index < size - 2) return index < 1 ? 0 : index - 1;
    return size - 4;
}

static uint32_t cubic8(const RefSource &source, int64_t bx, int64_t by, double fx, double fy) {
    const auto wx = refCubicWeights(static_cast<int>(std::nearbyint(512 * fx)));
    const auto wy = refCubicWeights(static_cast<int>(std::nearbyint(512 * fy)));
    int sum = 0;
    for (size_t j = 0; j < 4; ++j) {
        int row = 0;
        for (size_t i = 0; i < 4; ++i)
            row += wx[i] * static_cast<int>(source.at(bx + static_cast<int64_t>(i), by + static_cast<int64_t>(j)));
        sum += wy[j] * static_cast<int16_t>(row >> 8);
    }
    return static_cast<uint32_t>(std::clamp((sum + 0x80000) >> 20, 0, 255));
}

template <typename Number>
static std::array<Number, 4> lagrange(Number f) {
    return {-(f - 1) * (f - 2) * (f - 3) / 6, f * (f - 2) * (f - 3) / 2, -f * (f - 1) * (f - 3) / 2,
            f * (f - 1) * (f - 2) / 6};
}

template <typename Number>
static Number cubicSum(const RefSource &source, int64_t bx, int64_t by, Number fx, Number fy) {
    const auto wx = lagrange(fx), wy = lagrange(fy);
    Number rows[4];
    for (int j = 0; j < 4; ++j) {
        const auto p = [&](int i) { return static_cast<Number>(source.number(bx + i, by + j)); };
        rows[j] = wx[0] * p(0) + wx[1] * p(1) + wx[2] * p(2) + wx[3] * p(3);
    }
    return wy[0] * rows[0] + wy[1] * rows[1] + wy[2] * rows[2] + wy[3] * rows[3];
}

uint32_t refCubic(const RefSource &source, double x, double y) {
    const RefRect &rect = source.rect;
    x = within(x, rect.left, rect.right);
    y = within(y, rect.top, rect.bottom);
    const int64_t bx = rect.left + windowStart(floorNearly(x) - rect.left, source.width());
    const int64_t by = rect.top + windowStart(floorNearly(y) - rect.top, source.height());
    const double fx = x - static_cast<double>(bx), fy = y - static_cast<double>(by);
    const unsigned depth = source.image.layout().depth;
    if (depth == MOX_DEPTH_8U) return cubic8(source, bx, by, fx, fy);
    if (depth == MOX_DEPTH_16U) return store(depth, cubicSum<double>(source, bx, by, fx, fy));
    return std::bit_cast<uint32_t>(cubicSum<float>(source, bx, by, static_cast<float>(fx), static_cast<float>(fy)));
}
