// Kernels of quarter turns: blocks of pixels come from the source by whole cache lines, are turned over where they fit
// the first cache, and leave by whole lines again, so that rows a power of two apart do not drive each other out.
#include "frame/ownsample.h"
#include "geometry/ownrotate.h"

namespace {

template <size_t bytes>
constexpr size_t SIDE = bytes <= 2 ? 64 : 32;

#if defined(__SSE2__)
[[gnu::always_inline]] inline __m128i load(const uint8_t *p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p));
}

// The widest vector, in halves of 16 bytes that are turned over side by side: the second one has rows further down.
#if defined(__AVX2__)
using Halves = __m256i;
constexpr size_t HALVES = 2;
#define OWN_UNPACK(half, width) _mm256_unpack##half##_epi##width
[[gnu::always_inline]] inline Halves loadHalves(const uint8_t *p, const uint8_t *q) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load(p)), load(q), 1);
}
[[gnu::always_inline]] inline __m128i firstHalf(Halves v) {
    return _mm256_castsi256_si128(v);
}
#else
using Halves = __m128i;
constexpr size_t HALVES = 1;
[[gnu::always_inline]] inline __m128i firstHalf(Halves v) {
    return v;
}
#define OWN_UNPACK(half, width) _mm_unpack##half##_epi##width
[[gnu::always_inline]] inline Halves loadHalves(const uint8_t *p, const uint8_t *) {
    return load(p);
}
#endif

template <size_t bytes>
[[gnu::always_inline]] inline void interleave(Halves a, Halves b, Halves *both) {
    if constexpr (bytes == 1) {
        both[0] = OWN_UNPACK(lo, 8)(a, b);
        both[1] = OWN_UNPACK(hi, 8)(a, b);
    } else if constexpr (bytes == 2) {
        both[0] = OWN_UNPACK(lo, 16)(a, b);
        both[1] = OWN_UNPACK(hi, 16)(a, b);
    } else {
        both[0] = OWN_UNPACK(lo, 32)(a, b);
        both[1] = OWN_UNPACK(hi, 32)(a, b);
    }
}

// Turns vectors over, as many as samples lie in half of one, in steps that each interleave those half the number apart.
template <size_t bytes>
[[gnu::always_inline]] inline void turn(Halves *v) {
    constexpr size_t count = 16 / bytes;
    for (size_t round = 1; round < count; round *= 2) {
        Halves w[count];
        for (size_t i = 0; i < count / 2; ++i)
            interleave<bytes>(v[i], v[i + count / 2], w + 2 * i);
        for (size_t i = 0; i < count; ++i)
            v[i] = w[i];
    }
}

// A block of full size, from rows of a scratch.
template <size_t bytes>
[[gnu::always_inline]] inline void turnFull(const uint8_t *in, uint8_t *out, int64_t outStep) {
    constexpr size_t side = SIDE<bytes>, step = side * bytes, lanes = 16 / bytes;
    for (size_t x = 0; x < side; x += lanes) {
        for (size_t y = 0; y < side; y += lanes * HALVES) {
            Halves v[lanes];
            const uint8_t *from = in + y * step + x * bytes;
            for (size_t k = 0; k < lanes; ++k)
                v[k] = loadHalves(from + k * step, from + (lanes * (HALVES - 1) + k) * step);
            turn<bytes>(v);
            for (size_t k = 0; k < lanes; ++k)
                __builtin_memcpy(out + static_cast<int64_t>(x + k) * outStep + y * bytes, &v[k], sizeof v[k]);
        }
    }
}
#endif

template <size_t bytes>
[[gnu::always_inline]] inline void turnPart(const uint8_t *in, uint8_t *out, size_t columns, size_t rows) {
    constexpr size_t step = SIDE<bytes> * bytes;
    for (size_t x = 0; x < columns; ++x) {
        for (size_t y = 0; y < rows; ++y)
            __builtin_memcpy(out + x * step + y * bytes, in + y * step + x * bytes, bytes);
    }
}

// Lines of a block that stand on lines of the caches can be stored past those.
template <size_t step>
[[gnu::always_inline]] inline void storeLines(uint8_t *to, const uint8_t *from) {
    for (size_t k = 0; k < step; k += OWN_STREAM_BLOCK)
        ownStreamBlock(to + k, from + k);
}

// Whether the first cache, of so many ways, has no room for so many lines a step apart.
[[gnu::always_inline]] inline bool collides(int64_t step, size_t lines) {
    constexpr uint64_t WAY = 4096, WAYS = 12;
    const auto distance = static_cast<uint64_t>(step);
    const uint64_t period = distance & -distance;
    return (period >= WAY ? 1 : WAY / period) * WAYS < lines;
}

template <size_t bytes>
void turnBlock(const uint8_t *src, int64_t srcStep, uint8_t *dst, int64_t dstStep, size_t columns, size_t rows,
               bool streams) {
    constexpr size_t side = SIDE<bytes>, step = side * bytes;
    alignas(64) uint8_t in[side * step], out[side * step];
    const bool full = columns == side && rows == side;
    for (size_t y = 0; y < rows; ++y) {
        const uint8_t *row = src + static_cast<int64_t>(y) * srcStep;
        if (full) {
            __builtin_memcpy(in + y * step, row, step);
        } else {
            __builtin_memcpy(in + y * step, row, columns * bytes);
            __builtin_memset(in + y * step + columns * bytes, 0, (side - columns) * bytes);
        }
    }
#if defined(__SSE2__)
    // What lies behind the rows of a smaller block is turned over with them, and not stored.
    if constexpr (bytes == 1 || bytes == 2 || bytes == 4) {
        if (full && !streams && !collides(dstStep, side)) return turnFull<bytes>(in, dst, dstStep);
        if (!full) __builtin_memset(in + rows * step, 0, (side - rows) * step);
        turnFull<bytes>(in, out, step);
    } else
#endif
    {
        full ? turnPart<bytes>(in, out, side, side) : turnPart<bytes>(in, out, columns, rows);
    }
    const bool onLines = streams && full && step % 64 == 0;
    for (size_t x = 0; x < columns; ++x) {
        uint8_t *row = dst + static_cast<int64_t>(x) * dstStep;
        if (onLines && reinterpret_cast<uintptr_t>(row) % 64 == 0) {
            if constexpr (step % 64 == 0) storeLines<step>(row, out + x * step);
        } else if (full) {
            __builtin_memcpy(row, out + x * step, step);
        } else {
            __builtin_memcpy(row, out + x * step, rows * bytes);
        }
    }
}

// So many pixels of dst's rows are up to a line of the caches, if pixels are.
template <size_t bytes>
size_t pixelsToLine(const uint8_t *dst) {
    const size_t toLine = -reinterpret_cast<uintptr_t>(dst) & 63;
    return toLine % bytes == 0 ? toLine / bytes : 0;
}

template <size_t bytes>
void transposeAll(const uint8_t *src, int64_t srcStep, uint8_t *dst, int64_t dstStep, size_t columns, size_t rows,
                  bool streams) {
    constexpr size_t side = SIDE<bytes>;
    size_t first = streams ? pixelsToLine<bytes>(dst) % side : 0;
    for (size_t y = 0; y < rows;) {
        const size_t left = rows - y, high = first > 0 && first < left ? first : side < left ? side : left;
        first = 0;
        for (size_t x = 0; x < columns; x += side) {
            const size_t wide = columns - x < side ? columns - x : side;
            turnBlock<bytes>(src + static_cast<int64_t>(y) * srcStep + x * bytes, srcStep,
                             dst + static_cast<int64_t>(x) * dstStep + y * bytes, dstStep, wide, high, streams);
        }
        y += high;
    }
#if defined(__SSE2__)
    if (streams) _mm_sfence();
#endif
}

void transpose(const uint8_t *src, int64_t srcStep, uint8_t *dst, int64_t dstStep, size_t columns, size_t rows,
               size_t bytes, bool streams) {
    switch (bytes) {
        case 1:
            return transposeAll<1>(src, srcStep, dst, dstStep, columns, rows, streams);
        case 2:
            return transposeAll<2>(src, srcStep, dst, dstStep, columns, rows, streams);
        case 3:
            return transposeAll<3>(src, srcStep, dst, dstStep, columns, rows, streams);
        case 4:
            return transposeAll<4>(src, srcStep, dst, dstStep, columns, rows, streams);
        case 6:
            return transposeAll<6>(src, srcStep, dst, dstStep, columns, rows, streams);
        case 8:
            return transposeAll<8>(src, srcStep, dst, dstStep, columns, rows, streams);
        case 12:
            return transposeAll<12>(src, srcStep, dst, dstStep, columns, rows, streams);
        default:
            return transposeAll<16>(src, srcStep, dst, dstStep, columns, rows, streams);
    }
}

// The bits of a column of 16 bytes, the first one on top, each make a row of 16 bits.
void transposeBits(const uint8_t *src, uint8_t *dst, size_t dstStep, size_t rows) {
    for (size_t y = 0; y < rows; y += 16) {
#if defined(__SSE2__)
        // The first row stands last, since a mask's top bit is the last byte's. Wide vectors have the rows twice.
        Halves v[16];
        for (size_t k = 0; k < 16; ++k) {
            const uint8_t *row = src + (y + 15 - k) * OWN_BIT_BLOCK;
            v[k] = loadHalves(row, row);
        }
        turn<1>(v);
        for (size_t column = 0; column < OWN_BIT_BLOCK; ++column) {
            __m128i byte = firstHalf(v[column]);
            for (size_t bit = 0; bit < 8; ++bit) {
                const auto bits = static_cast<uint16_t>(_mm_movemask_epi8(byte));
                const uint16_t swapped = __builtin_bswap16(bits);
                __builtin_memcpy(dst + (column * 8 + bit) * dstStep + y / 8, &swapped, 2);
                byte = _mm_add_epi8(byte, byte);
            }
        }
#else
        for (size_t x = 0; x < OWN_BIT_BLOCK * 8; ++x) {
            for (size_t half = 0; half < 2; ++half) {
                unsigned bits = 0;
                for (size_t k = 0; k < 8; ++k)
                    bits = bits << 1 | (src[(y + half * 8 + k) * OWN_BIT_BLOCK + x / 8] >> (7 - x % 8) & 1);
                dst[x * dstStep + y / 8 + half] = static_cast<uint8_t>(bits);
            }
        }
#endif
    }
}

}  // namespace

namespace OWN_LEVEL {
extern const OwnRotateRows rotateRows;
const OwnRotateRows rotateRows = {transpose, transposeBits};
}  // namespace OWN_LEVEL
