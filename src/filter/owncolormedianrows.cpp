// Row kernels of the colour median, compiled once for each CPU level: for each pixel of a window its distances to the
// others are added up, rows first, and the first pixel of the smallest sum is taken.
#include "filter/owncolormedian.h"
#include "frame/ownsample.h"

namespace OWN_LEVEL {
namespace {

constexpr size_t CHANNELS = 3;

// Distances of integers are exact, so their order does not matter; those of floats are doubles.
template <class D>
struct DistanceOf {
    using Type = int64_t;
};
template <>
struct DistanceOf<Own32F> {
    using Type = double;
};
template <class D>
using Distance = typename DistanceOf<D>::Type;

template <class D>
[[gnu::always_inline]] inline Distance<D> distanceOf(const typename D::Sample *a, const typename D::Sample *b) {
    Distance<D> sum = 0;
    for (size_t c = 0; c < CHANNELS; ++c) {
        const auto difference = static_cast<Distance<D>>(a[c]) - static_cast<Distance<D>>(b[c]);
        sum += difference < 0 ? -difference : difference;
    }
    return sum;
}

template <class D>
const typename D::Sample *pixelAt(const OwnColorMedianRow &row, size_t x, size_t i) {
    const auto *samples = static_cast<const typename D::Sample *>(static_cast<const void *>(row.rows[i / row.nCols]));
    return samples + (x + i % row.nCols) * CHANNELS;
}

// The distances of three pixels to each other decide by themselves.
template <class D>
size_t nearestOfThree(const OwnColorMedianRow &row, size_t x) {
    const auto *a = pixelAt<D>(row, x, 0), *b = pixelAt<D>(row, x, 1), *c = pixelAt<D>(row, x, 2);
    const Distance<D> toSecond = distanceOf<D>(a, b), toThird = distanceOf<D>(a, c), between = distanceOf<D>(b, c);
    const bool thirdIsFarther = toThird >= toSecond;
    if ((thirdIsFarther ? toThird : toSecond) > between) return thirdIsFarther ? 1 : 2;
    return 0;
}

template <class D>
size_t nearestOfAll(const OwnColorMedianRow &row, size_t x) {
    const size_t size = row.nRows * row.nCols;
    size_t nearest = 0;
    Distance<D> smallest = 0;
    for (size_t i = 0; i < size; ++i) {
        const auto *pixel = pixelAt<D>(row, x, i);
        Distance<D> sum = 0;
        for (size_t r = 0, k = 0; r < row.nRows; ++r) {
            const auto *other = pixelAt<D>(row, x, k);
            for (size_t c = 0; c < row.nCols; ++c, ++k, other += CHANNELS)
                sum += distanceOf<D>(pixel, other);
        }
        if (i == 0 || sum < smallest) {
            nearest = i;
            smallest = sum;
        }
    }
    return nearest;
}

template <class D>
void nearestPixels(const OwnColorMedianRow &row) {
    const bool three = row.nRows * row.nCols == 3;
    for (size_t x = 0; x < row.width; ++x) {
        const size_t i = three ? nearestOfThree<D>(row, x) : nearestOfAll<D>(row, x);
        constexpr size_t bytes = CHANNELS * sizeof(typename D::Value);
        __builtin_memcpy(row.out + x * bytes, pixelAt<D>(row, x, i), bytes);
    }
}

}  // namespace

extern const OwnColorMedianRows colorMedianRows;
const OwnColorMedianRows colorMedianRows = {{
    nullptr,
    nearestPixels<Own8U>,
    nearestPixels<Own8S>,
    nearestPixels<Own16U>,
    nearestPixels<Own16S>,
    nullptr,
    nearestPixels<Own32F>,
}};

}  // namespace OWN_LEVEL
