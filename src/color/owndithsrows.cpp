// Kernels of bit reduction that need no neighbours.
#include "color/owndith.h"
#include "color/ownpack.h"

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

// Samples of a stretch that become bytes before they become bits.
constexpr size_t STRETCH = 1024;

// d[i] = the destination's form of compute(sample), a value in the source's unsigned range.
template <class S, class Compute>
void storeRow(const OwnReduction &reduction, const void *src_, void *dst, size_t width, Compute compute) {
    const typename S::Sample *src = static_cast<const typename S::Sample *>(src_);
    const int dropped = reduction.dropped;
    if (reduction.dstBytes == 0) {
        uint8_t stretch[STRETCH];
        uint8_t *bits = static_cast<uint8_t *>(dst);
        for (size_t x = 0; x < width; x += STRETCH, bits += STRETCH / 8) {
            const size_t n = width - x < STRETCH ? width - x : STRETCH;
            for (size_t i = 0; i < n; ++i)
                stretch[i] = static_cast<uint8_t>(compute(src[x + i] ^ S::bias) >> dropped);
            ownPackBits(stretch, 7, n, bits);
        }
    } else if (reduction.dstBytes == 1) {
        uint8_t *d = static_cast<uint8_t *>(dst);
        for (size_t i = 0; i < width; ++i)
            d[i] = static_cast<uint8_t>(compute(src[i] ^ S::bias) >> dropped);
    } else if (reduction.dstBytes == 2) {
        OwnAnyU16 *d = static_cast<OwnAnyU16 *>(dst);
        for (size_t i = 0; i < width; ++i)
            d[i] = static_cast<uint16_t>(compute(src[i] ^ S::bias) >> dropped);
    } else {
        OwnAnyU32 *d = static_cast<OwnAnyU32 *>(dst);
        for (size_t i = 0; i < width; ++i)
            d[i] = compute(src[i] ^ S::bias) ^ S::bias;
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
            storeRow<S>(reduction, band.src[row], band.dst[row], band.width, [](uint32_t v) { return v; });
        }
    }
}

// The integer nearest to a value of up to 32 bits, ties to even, modulo 2^32: the addition leaves it in the low bits.
inline uint32_t nearest(double value) {
    const double sum = value + 6755399441055744.0;
    uint64_t bits;
    __builtin_memcpy(&bits, &sum, sizeof bits);
    return static_cast<uint32_t>(bits);
}

// An output in 0..full as an integer. That of signed samples is rounded where it stands in their own range.
template <class S>
uint32_t rounded(double output) {
    return nearest(output - static_cast<double>(S::bias)) ^ S::bias;
}

template <class S>
void below(const OwnReduction &reduction, const OwnReduceBand &band) {
    const auto levels = static_cast<uint64_t>(reduction.levels);
    const double step = reduction.step;
    for (int row = 0; row < band.rows; ++row) {
        storeRow<S>(reduction, band.src[row], band.dst[row], band.width,
                    [&](uint32_t v) { return rounded<S>(static_cast<double>(v * levels / S::full) * step); });
    }
}

}  // namespace

namespace OWN_LEVEL {

extern const OwnPlainReduceRows plainReduceRows;
const OwnPlainReduceRows plainReduceRows = {
    {keepTop<Reduce8>, keepTop<Reduce16>, keepTop<Reduce32>},
    {below<Reduce8>, below<Reduce16>, below<Reduce32>},
};

}  // namespace OWN_LEVEL
