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
[[gnu::always_inline]] inline void store(uint8_t *p, __m128i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v);
}

// Turns 16 vectors of 16 bytes over, in four steps that each interleave vectors 8 apart.
[[gnu::always_inline]] inline void turnBytes(__m128i *v) {
    for (int round = 0; round < 4; ++round) {
        __m128i w[16];
        for (int i = 0; i < 8; ++i) {
            w[2 * i] = _mm_unpacklo_epi8(v[i], v[i + 8]);
            w[2 * i + 1] = _mm_unpackhi_epi8(v[i], v[i + 8]);
        }
        for (int i = 0; i < 16; ++i)
            v[i] = w[i];
    }
}
[[gnu::always_inline]] inline void turnWords(__m128i *v) {
    for (int round = 0; round < 3; ++round) {
        __m128i w[8];
        for (int i = 0; i < 4; ++i) {
            w[2 * i] = _mm_unpacklo_epi16(v[i], v[i + 4]);
            w[2 * i + 1] = _mm_unpackhi_epi16(v[i], v[i + 4]);
        }
        for (int i = 0; i < 8; ++i)
            v[i] = w[i];
    }
}
[[gnu::always_inline]] inline void turnDoubles(__m128i *v) {
    for (int round = 0; round < 2; ++round) {
        const __m128i w[4] = {_mm_unpacklo_epi32(v[0], v[2]), _mm_unpackhi_epi32(v[0], v[2]),
                              _mm_unpacklo_epi32(v[1], v[3]), _mm_unpackhi_epi32(v[1], v[3])};
        for (int i = 0; i < 4; ++i)
            v[i] = w[i];
    }
}

// A block of full size, from rows of a scratch to those of another.
template <size_t bytes>
[[gnu::always_inline]] inline void turnFull(const uint8_t *in, uint8_t *out) {
    constexpr size_t side = SIDE<bytes>, step = side * bytes, lanes = 16 / bytes;
    for (size_t y = 0; y < side; y += lanes) {
        for (size_t x = 0; x < side; x += lanes) {
            __m128i v[lanes];
            for (size_t k = 0; k < lanes; ++k)
                v[k] = load(in + (y + k) * step + x * bytes);
            if constexpr (bytes == 1) turnBytes(v);
            if constexpr (bytes == 2) turnWords(v);
            if constexpr (bytes == 4) turnDoubles(v);
            for (size_t k = 0; k < lanes; ++k)
                store(out + (x + k) * step + y * bytes, v[k]);
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
        }
    }
#if defined(__SSE2__)
    if constexpr (bytes == 1 || bytes == 2 || bytes == 4) {
        if (full) {
            turnFull<bytes>(in, out);
        } else {
            turnPart<bytes>(in, out, columns, rows);
        }
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
    size_t first = pixelsToLine<bytes>(dst) % side;
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
        // The first row stands last, since a mask's top bit is the last byte's.
        __m128i v[16];
        for (size_t k = 0; k < 16; ++k)
            v[k] = load(src + (y + 15 - k) * OWN_BIT_BLOCK);
        turnBytes(v);
        for (size_t column = 0; column < OWN_BIT_BLOCK; ++column) {
            __m128i byte = v[column];
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
