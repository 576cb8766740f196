// Kernels of bit reduction that need no neighbours.
#include "color/owndith.h"
#include "color/ownlanes.h"
#include "frame/ownpack.h"

namespace {

// By the source's samples: how they are loaded, their largest value, and what brings signed ones to the unsigned range.
struct Reduce8 {
    typedef uint8_t Sample;
    static constexpr uint32_t full = 0xFF, bias = 0;
};
struct Reduce16 {
    typedef OwnAnyU16 Sample;
    static constexpr uint32_t full = 0xFFFF, bias = 0;
};
struct Reduce32 {
    typedef OwnAnyU32 Sample;
    static constexpr uint32_t full = 0xFFFFFFFF, bias = 0x80000000;
};

// Samples of a row that are worked on at a time. The noise has this period as well.
constexpr size_t STRETCH = OWN_NOISE_ENTRIES;

// d[i] = the destination's form of compute(sample), a value in the source's unsigned range.
template <class S, class Compute>
void storeStretch(const OwnReduction &reduction, const void *src_, void *dst, size_t n, Compute compute) {
    const typename S::Sample *src = static_cast<const typename S::Sample *>(src_);
    const int dropped = reduction.dropped;
    if (reduction.dstBytes == 0) {
        uint8_t stretch[STRETCH];
        for (size_t i = 0; i < n; ++i)
            stretch[i] = static_cast<uint8_t>(compute(src[i] ^ S::bias) >> dropped);
        ownPackBits(stretch, 7, n, static_cast<uint8_t *>(dst));
    } else if (reduction.dstBytes == 1) {
        uint8_t *d = static_cast<uint8_t *>(dst);
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = static_cast<uint8_t>(compute(src[i] ^ S::bias) >> dropped);
    } else if (reduction.dstBytes == 2) {
        OwnAnyU16 *d = static_cast<OwnAnyU16 *>(dst);
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = static_cast<uint16_t>(compute(src[i] ^ S::bias) >> dropped);
    } else {
        OwnAnyU32 *d = static_cast<OwnAnyU32 *>(dst);
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = compute(src[i] ^ S::bias) ^ S::bias;
    }
}

// Calls stretch(src, dst, samples) for a row, a stretch at a time.
template <class S, class Stretch>
void forStretches(const OwnReduction &reduction, const OwnReduceBand &band, int row, Stretch stretch) {
    const char *src = static_cast<const char *>(band.src[row]);
    char *dst = static_cast<char *>(band.dst[row]);
    const auto dstBits = static_cast<size_t>(reduction.dstBytes > 0 ? reduction.dstBytes * 8 : 1);
    for (size_t x = 0; x < band.width; x += STRETCH) {
        const size_t left = band.width - x;
        stretch(src + x * sizeof(typename S::Sample), dst + x * dstBits / 8, left < STRETCH ? left : STRETCH);
    }
}

template <class S>
void keepTop(const OwnReduction &reduction, const OwnReduceBand &band) {
    const bool same = reduction.dropped == 0;
    for (int row = 0; row < band.rows; ++row) {
        if (same) {
            __builtin_memmove(band.dst[row], band.src[row], band.width * sizeof(typename S::Sample));
        } else if (sizeof(typename S::Sample) == 1) {
            ownPackBits(static_cast<const uint8_t *>(band.src[row]), 0, band.width,
                        static_cast<uint8_t *>(band.dst[row]));
        } else {
            forStretches<S>(reduction, band, row, [&](const void *src, void *dst, size_t n) {
                storeStretch<S>(reduction, src, dst, n, [](uint32_t v) { return v; });
            });
        }
    }
}

// An output in 0..full as an integer. That of signed samples is rounded where it stands in their own range.
template <class S>
uint32_t rounded(double output) {
    const double sum = output - static_cast<double>(S::bias) + OWN_TO_WHOLE;
    uint64_t bits;
    __builtin_memcpy(&bits, &sum, sizeof bits);
    return static_cast<uint32_t>(bits) ^ S::bias;
}

template <class S>
void below(const OwnReduction &reduction, const OwnReduceBand &band) {
    const auto levels = static_cast<uint64_t>(reduction.levels);
    const double step = reduction.step;
    for (int row = 0; row < band.rows; ++row) {
        forStretches<S>(reduction, band, row, [&](const void *src, void *dst, size_t n) {
            storeStretch<S>(reduction, src, dst, n,
                            [=](uint32_t v) { return rounded<S>(static_cast<double>(v * levels / S::full) * step); });
        });
    }
}

// ---------------------------------------------------------------------------------------------------- ordered dither

constexpr double SHARES[4][4] = {{0, 8 / 15.0, 2 / 15.0, 10 / 15.0},
                                 {12 / 15.0, 4 / 15.0, 14 / 15.0, 6 / 15.0},
                                 {3 / 15.0, 11 / 15.0, 1 / 15.0, 9 / 15.0},
                                 {1, 7 / 15.0, 13 / 15.0, 5 / 15.0}};

// Columns of a row whose thresholds differ from those before: all of a stretch with noise, those of the matrix without.
size_t differingColumns(const OwnReduction &reduction, size_t columns) {
    return reduction.thresholds ? columns : 4;
}

// The thresholds of a row's first columns, in units of scale.
void fillThresholds(const OwnReduction &reduction, int64_t y, double scale, double *thresholds, size_t columns) {
    const double *shares = SHARES[y & 3];
    if (!reduction.thresholds) {
        for (size_t x = 0; x < columns; ++x)
            thresholds[x] = shares[x & 3] * scale;
        return;
    }
    const auto row = static_cast<uint64_t>(2 * y);
    for (size_t x = 0; x < columns; ++x) {
        const uint64_t entry = (row + x + reduction.indices[x]) % OWN_NOISE_ENTRIES;
        thresholds[x] = (shares[x & 3] - reduction.noise + static_cast<double>(reduction.thresholds[entry])) * scale;
    }
}

// Repeats the first four items of a stretch.
template <size_t bytes>
void repeat(void *items, size_t n) {
    char *at = static_cast<char *>(items);
    constexpr size_t block = 64;
    for (size_t i = 4; i < block; i += 4)
        __builtin_memcpy(at + i * bytes, at, 4 * bytes);
    for (size_t i = block; i < n; i += block)
        __builtin_memcpy(at + i * bytes, at, block * bytes);
}

// To bits: a sample is compared with the least that gives 1.
template <class S>
void orderBits(const OwnReduction &reduction, const OwnReduceBand &band) {
    using Sample = typename S::Sample;
    const size_t columns = band.width < STRETCH ? band.width : STRETCH;
    const size_t differing = differingColumns(reduction, columns);
    constexpr auto full = static_cast<double>(S::full);
    double thresholds[STRETCH];
    Sample least[STRETCH];
    for (int row = 0; row < band.rows; ++row) {
        fillThresholds(reduction, band.y + row, full, thresholds, differing);
        for (size_t i = 0; i < differing; ++i) {
            const double last = thresholds[i] < full - 1 ? thresholds[i] : full - 1;
            least[i] = static_cast<Sample>((last < 0 ? -1 : static_cast<int64_t>(last)) + 1);
        }
        if (differing < columns) repeat<sizeof(Sample)>(least, columns);
        forStretches<S>(reduction, band, row, [&](const void *src_, void *dst, size_t n) {
            const Sample *src = static_cast<const Sample *>(src_);
            uint8_t stretch[STRETCH];
            for (size_t i = 0; i < n; ++i)
                stretch[i] = static_cast<Sample>(src[i] ^ S::bias) >= least[i] ? 255 : 0;
            ownPackBits(stretch, 0, n, static_cast<uint8_t *>(dst));
        });
    }
}

// Results as the lanes leave them.
template <class S>
struct Outputs {
    typedef OwnAnyU32 Sample;
    static constexpr uint32_t bias = S::bias;
};

template <class S>
void orderLevels(const OwnReduction &reduction, const OwnReduceBand &band) {
    const size_t columns = band.width < STRETCH ? band.width : STRETCH;
    const size_t differing = differingColumns(reduction, columns);
    const OwnReals full = ownReals(S::full), step = ownReals(reduction.step), bias = ownReals(S::bias);
    const OwnReals perUnit = ownReals(reduction.levels / (static_cast<double>(S::full) + 1));
    const OwnReals toWhole = ownReals(OWN_TO_WHOLE);
    // Whole vectors are computed, and what stands behind a row's end is not used.
    double thresholds[STRETCH] = {};
    int32_t samples[STRETCH] = {};
    uint32_t outputs[STRETCH];
    for (int row = 0; row < band.rows; ++row) {
        fillThresholds(reduction, band.y + row, reduction.step, thresholds, differing);
        if (differing < columns) repeat<sizeof(double)>(thresholds, columns);
        forStretches<S>(reduction, band, row, [&](const void *src_, void *dst, size_t n) {
            const typename S::Sample *src = static_cast<const typename S::Sample *>(src_);
            for (size_t i = 0; i < n; ++i)
                samples[i] = static_cast<int32_t>(src[i]);
            for (size_t i = 0; i < n; i += OWN_LANES) {
                const OwnReals v = ownToReals(samples + i) + bias;
                const OwnReals low = (v * perUnit - ownReals(0.5) + toWhole - toWhole) * step;
                OwnReals output = ownSelect(v - low > ownLoadReals(thresholds + i), low + step, low);
                output = ownSelect(v >= full, full, output);
                ownStoreLowWords(output - bias + toWhole, outputs + i);
            }
            storeStretch<Outputs<S>>(reduction, outputs, dst, n, [](uint32_t v) { return v; });
        });
    }
}

}  // namespace

namespace OWN_LEVEL {

extern const OwnPlainReduceRows plainReduceRows;
const OwnPlainReduceRows plainReduceRows = {
    {keepTop<Reduce8>, keepTop<Reduce16>, keepTop<Reduce32>},
    {below<Reduce8>, below<Reduce16>, below<Reduce32>},
    {orderBits<Reduce8>, orderBits<Reduce16>, orderBits<Reduce32>},
    {orderLevels<Reduce8>, orderLevels<Reduce16>, orderLevels<Reduce32>},
};

}  // namespace OWN_LEVEL
