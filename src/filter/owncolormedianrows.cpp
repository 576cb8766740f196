// Row kernels of the colour median, compiled once for each CPU level: for each pixel of a window its distances to the
// others are added up, rows first, and the first pixel of the smallest sum is taken. Where a window is small a stretch
// of windows goes side by side, and a distance counts for both of its pixels.
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
    const typename D::Sample *samples =
        static_cast<const typename D::Sample *>(static_cast<const void *>(row.rows[i / row.nCols]));
    return samples + (x + i % row.nCols) * CHANNELS;
}

// The distances of three pixels to each other decide by themselves.
template <class D>
size_t nearestOfThree(const OwnColorMedianRow &row, size_t x) {
    const typename D::Sample *a = pixelAt<D>(row, x, 0), *b = pixelAt<D>(row, x, 1), *c = pixelAt<D>(row, x, 2);
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
        const typename D::Sample *pixel = pixelAt<D>(row, x, i);
        Distance<D> sum = 0;
        for (size_t r = 0, k = 0; r < row.nRows; ++r) {
            const typename D::Sample *other = pixelAt<D>(row, x, k);
            for (size_t c = 0; c < row.nCols; ++c, ++k, other += CHANNELS) {
                if (k != i) sum += distanceOf<D>(pixel, other);
            }
        }
        if (i == 0 || sum < smallest) {
            nearest = i;
            smallest = sum;
        }
    }
    return nearest;
}

template <class D>
void takePixel(const OwnColorMedianRow &row, size_t x, size_t i) {
    constexpr size_t bytes = CHANNELS * sizeof(typename D::Value);
    __builtin_memcpy(row.out + x * bytes, pixelAt<D>(row, x, i), bytes);
}

// ------------------------------------------------------------------------------------------------------- side by side

// Pixels of the largest window whose distances are added up in these.
constexpr size_t MOST = 81;

template <class D>
struct StretchOf {
    using Sample = int32_t;
    using Sum = uint32_t;
};
template <>
struct StretchOf<Own8U> {
    using Sample = int16_t;
    using Sum = uint16_t;
};
template <>
struct StretchOf<Own8S> : StretchOf<Own8U> {};
template <>
struct StretchOf<Own32F> {
    using Sample = double;
    using Sum = double;
};

template <class D>
struct Stretch {
    using Sample = typename StretchOf<D>::Sample;
    using Sum = typename StretchOf<D>::Sum;
    static constexpr size_t width = 256 / sizeof(Sum);
    static constexpr size_t room = (width + 8) * 16;  // of a channel

    // Of each row of the windows its channels, so many pixels beyond the stretch as windows reach.
    Sample samples[room * CHANNELS];
    Sum sums[MOST][width];
    Sum smallest[width];
    Sum nearest[width];

    Sample *channel(const OwnColorMedianRow &row, size_t r, size_t c) {
        return samples + (r * CHANNELS + c) * (width + row.nCols - 1);
    }
    static bool fits(const OwnColorMedianRow &row) {
        return row.nRows * row.nCols <= MOST && (width + row.nCols - 1) * row.nRows <= room;
    }

    void load(const OwnColorMedianRow &row, size_t x, size_t count) {
        for (size_t r = 0; r < row.nRows; ++r) {
            const typename D::Sample *pixel = pixelAt<D>(row, x, r * row.nCols);
            Sample *a = channel(row, r, 0), *b = channel(row, r, 1), *c = channel(row, r, 2);
            for (size_t k = 0; k < count + row.nCols - 1; ++k, pixel += CHANNELS) {
                a[k] = static_cast<Sample>(pixel[0]);
                b[k] = static_cast<Sample>(pixel[1]);
                c[k] = static_cast<Sample>(pixel[2]);
            }
        }
    }

    // The distances of two pixels of each window, for both of them.
    void addPair(const OwnColorMedianRow &row, size_t i, size_t j, size_t count) {
        const Sample *a[CHANNELS], *b[CHANNELS];
        for (size_t c = 0; c < CHANNELS; ++c) {
            a[c] = channel(row, i / row.nCols, c) + i % row.nCols;
            b[c] = channel(row, j / row.nCols, c) + j % row.nCols;
        }
        Sum *ofI = sums[i], *ofJ = sums[j];
        OWN_ELEMENTWISE
        for (size_t x = 0; x < count; ++x) {
            const auto distance =
                static_cast<Sum>(apart(a[0][x], b[0][x]) + apart(a[1][x], b[1][x]) + apart(a[2][x], b[2][x]));
            ofI[x] = static_cast<Sum>(ofI[x] + distance);
            ofJ[x] = static_cast<Sum>(ofJ[x] + distance);
        }
    }
    static Sample apart(Sample a, Sample b) {
        const auto difference = static_cast<Sample>(a - b);
        return static_cast<Sample>(difference < 0 ? -difference : difference);
    }

    void run(const OwnColorMedianRow &row, size_t x, size_t count) {
        const size_t size = row.nRows * row.nCols;
        load(row, x, count);
        for (size_t i = 0; i < size; ++i)
            __builtin_memset(sums[i], 0, count * sizeof(Sum));
        for (size_t i = 0; i < size; ++i) {
            for (size_t j = i + 1; j < size; ++j)
                addPair(row, i, j, count);
        }
        for (size_t k = 0; k < count; ++k) {
            smallest[k] = sums[0][k];
            nearest[k] = 0;
        }
        for (size_t i = 1; i < size; ++i) {
            OWN_ELEMENTWISE
            for (size_t k = 0; k < count; ++k) {
                const bool less = sums[i][k] < smallest[k];
                smallest[k] = less ? sums[i][k] : smallest[k];
                nearest[k] = less ? static_cast<Sum>(i) : nearest[k];
            }
        }
        for (size_t k = 0; k < count; ++k)
            takePixel<D>(row, x + k, static_cast<size_t>(nearest[k]));
    }
};

template <class D>
void nearestPixels(const OwnColorMedianRow &row) {
    const bool three = row.nRows * row.nCols == 3;
    if (!three && Stretch<D>::fits(row)) {
        Stretch<D> stretch;
        constexpr size_t most = Stretch<D>::width;
        for (size_t x = 0; x < row.width; x += most)
            stretch.run(row, x, row.width - x < most ? row.width - x : most);
        return;
    }
    for (size_t x = 0; x < row.width; ++x)
        takePixel<D>(row, x, three ? nearestOfThree<D>(row, x) : nearestOfAll<D>(row, x));
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
