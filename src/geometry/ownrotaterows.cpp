// Kernels of quarter turns: blocks of pixels are turned over between images whose rows share few places in the first
// cache with one another, and else come from the source by whole lines into a scratch, and leave another one by lines.
#include "frame/ownsample.h"
#include "geometry/ownrotate.h"

namespace {

// Pixels of a block's side: rows of two cache lines where a block in both scratches leaves room in the first cache.
template <size_t bytes>
constexpr size_t SIDE = bytes <= 2   ? 64
                        : bytes <= 6 ? 32
                                     : 16;
// Bytes of a scratch's row. Packed pixels are read and written by vectors that go beyond its end.
template <size_t bytes>
constexpr size_t STEP = SIDE<bytes> *bytes + (bytes == 3 || bytes == 6 ? 32 : 0);

// A block's rows, and how far it is to the block that comes next, which is asked for on the way.
struct Side {
    int64_t step, next;
};

[[gnu::always_inline]] inline void askFor(const uint8_t *p, size_t bytes) {
    for (size_t k = 0; k < bytes; k += 64)
        __builtin_prefetch(p + k);
}

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
[[gnu::always_inline]] inline void storeHalves(uint8_t *p, Halves v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i *>(p), v);
}
#else
using Halves = __m128i;
constexpr size_t HALVES = 1;
[[gnu::always_inline]] inline __m128i firstHalf(Halves v) {
    return v;
}
[[gnu::always_inline]] inline void storeHalves(uint8_t *p, Halves v) {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v);
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
    } else if constexpr (bytes == 4) {
        both[0] = OWN_UNPACK(lo, 32)(a, b);
        both[1] = OWN_UNPACK(hi, 32)(a, b);
    } else {
        both[0] = OWN_UNPACK(lo, 64)(a, b);
        both[1] = OWN_UNPACK(hi, 64)(a, b);
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

// A block of full size. What comes next is asked for in the meantime.
template <size_t bytes>
[[gnu::always_inline]] inline void turnFull(const uint8_t *in, const Side &from, uint8_t *out, const Side &to) {
    constexpr size_t side = SIDE<bytes>, width = side * bytes, lanes = 16 / bytes, high = lanes * HALVES;
    const int64_t inStep = from.step, outStep = to.step;
    const uint8_t *ahead = out + to.next;
    for (size_t y = 0; y < side; y += high) {
        uint8_t *column = out + y * bytes;
        const uint8_t *rows = in + static_cast<int64_t>(y) * inStep;
        for (size_t x = 0; x < side; x += lanes) {
            Halves v[lanes];
            const uint8_t *upper = rows + x * bytes, *lower = upper + static_cast<int64_t>(lanes) * inStep;
#pragma GCC unroll 16
            for (size_t k = 0; k < lanes; ++k, upper += inStep, lower += inStep)
                v[k] = loadHalves(upper, lower);
            turn<bytes>(v);
#pragma GCC unroll 16
            for (size_t k = 0; k < lanes; ++k, column += outStep)
                storeHalves(column, v[k]);
        }
        if (from.next != 0) {
            for (size_t k = 0; k < high; ++k)
                askFor(rows + from.next + static_cast<int64_t>(k) * inStep, width);
        }
        if (to.next != 0) {
            for (size_t k = 0; k < high; ++k, ahead += outStep)
                askFor(ahead, width);
        }
    }
}

#if defined(__AVX2__)
// Pixels of 3 or 6 bytes, between rows of scratches: they are turned over as wider ones.
template <size_t bytes>
[[gnu::always_inline]] inline void turnPacked(const uint8_t *in, uint8_t *out) {
    constexpr size_t side = SIDE<bytes>, step = STEP<bytes>, wide = bytes == 3 ? 4 : 8, lanes = 16 / wide;
    const __m128i spread = bytes == 3 ? _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1)
                                      : _mm_setr_epi8(0, 1, 2, 3, 4, 5, -1, -1, 6, 7, 8, 9, 10, 11, -1, -1);
    const __m128i pack = bytes == 3 ? _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1)
                                    : _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1);
    const __m256i spreads = _mm256_broadcastsi128_si256(spread), packs = _mm256_broadcastsi128_si256(pack);
    const __m256i joined = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7);
    for (size_t x = 0; x < side; x += lanes) {
        for (size_t y = 0; y < side; y += lanes * HALVES) {
            Halves v[lanes];
            const uint8_t *from = in + y * step + x * bytes;
            for (size_t k = 0; k < lanes; ++k)
                v[k] = _mm256_shuffle_epi8(loadHalves(from + k * step, from + (lanes + k) * step), spreads);
            turn<wide>(v);
#pragma GCC unroll 4
            for (size_t k = 0; k < lanes; ++k) {
                const Halves w = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(v[k], packs), joined);
                storeHalves(out + (x + k) * step + y * bytes, w);
            }
        }
    }
}
#endif
#endif

template <size_t bytes>
[[gnu::always_inline]] inline void turnPart(const uint8_t *in, uint8_t *out, size_t columns, size_t rows) {
    constexpr size_t step = STEP<bytes>;
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

// Copies of a length that is known, by whole vectors where it has them.
template <size_t bytes>
[[gnu::always_inline]] inline void copyRow(uint8_t *to, const uint8_t *from) {
#if defined(__AVX2__)
    if constexpr (bytes % 32 == 0) {
        // In this order, which memory is read ahead in: the compiler may not begin with another line.
#pragma GCC unroll 8
        for (size_t k = 0; k < bytes; k += 32) {
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(to + k),
                                _mm256_loadu_si256(reinterpret_cast<const __m256i *>(from + k)));
            __asm__("" ::: "memory");
        }
        return;
    }
#endif
    __builtin_memcpy(to, from, bytes);
}

template <size_t bytes>
[[gnu::always_inline]] inline void copyIn(const uint8_t *src, const Side &from, uint8_t *in, size_t columns,
                                          size_t rows) {
    constexpr size_t side = SIDE<bytes>, step = STEP<bytes>;
    if (columns == side && rows == side) {
        for (size_t y = 0; y < side; ++y, src += from.step) {
            copyRow<side * bytes>(in + y * step, src);
            askFor(src + from.next, side * bytes);
        }
        return;
    }
    __builtin_memset(in, 0, side * step);
    for (size_t y = 0; y < rows; ++y, src += from.step)
        __builtin_memcpy(in + y * step, src, columns * bytes);
}

template <size_t bytes>
[[gnu::always_inline]] inline void copyOut(const uint8_t *out, uint8_t *dst, const Side &to, size_t columns,
                                           size_t rows, bool streams) {
    constexpr size_t side = SIDE<bytes>, step = STEP<bytes>, width = side * bytes;
    if (columns < side || rows < side) {
        for (size_t x = 0; x < columns; ++x, dst += to.step)
            __builtin_memcpy(dst, out + x * step, rows * bytes);
    } else if (streams) {
        for (size_t x = 0; x < side; ++x, dst += to.step) {
            if (width % 64 == 0 && reinterpret_cast<uintptr_t>(dst) % 64 == 0) {
                storeLines<width>(dst, out + x * step);
            } else {
                copyRow<width>(dst, out + x * step);
            }
        }
    } else {
        for (size_t x = 0; x < side; ++x, dst += to.step) {
            copyRow<width>(dst, out + x * step);
            askFor(dst + to.next, width);
        }
    }
}

template <size_t bytes>
void turnBlock(const uint8_t *src, const Side &from, uint8_t *dst, const Side &to, size_t columns, size_t rows,
               bool streams) {
    constexpr size_t side = SIDE<bytes>, step = STEP<bytes>;
    alignas(64) uint8_t in[side * step], out[side * step];
#if defined(__SSE2__)
    const bool full = columns == side && rows == side;
    if constexpr (bytes == 1 || bytes == 2 || bytes == 4 || bytes == 8) {
        constexpr size_t high = 16 / bytes * HALVES;
        // A quarter of the lines may drive others out: that costs less than another copy.
        const bool inPlace = full && !collides(from.step, high * (side * bytes / 64) * 3 / 4);
        const bool direct = full && !streams && !collides(to.step, side * 3 / 4);
        if (!inPlace) copyIn<bytes>(src, from, in, columns, rows);
        const Side fromIn = {step, 0}, toOut = {step, 0};
        turnFull<bytes>(inPlace ? src : in, inPlace ? from : fromIn, direct ? dst : out, direct ? to : toOut);
        if (!direct) copyOut<bytes>(out, dst, to, columns, rows, streams);
        return;
    }
#endif
    copyIn<bytes>(src, from, in, columns, rows);
    // What lies behind the rows of a smaller block is turned over with them, and not stored.
#if defined(__AVX2__)
    if constexpr (bytes == 3 || bytes == 6) {
        turnPacked<bytes>(in, out);
    } else
#endif
    {
        turnPart<bytes>(in, out, side, side);
    }
    copyOut<bytes>(out, dst, to, columns, rows, streams);
}

// So many pixels of dst's rows are up to a line of the caches, if pixels are.
template <size_t bytes>
size_t pixelsToLine(const uint8_t *dst) {
    const size_t toLine = -reinterpret_cast<uintptr_t>(dst) & 63;
    return toLine % bytes == 0 ? toLine / bytes : 0;
}

// Rows of a band: its blocks are gone through down the columns, since every row of a large image is in a memory page of
// its own, and a processor has few of those at hand. What streams goes along the rows, which processors read ahead.
constexpr size_t BAND = 256;

template <size_t bytes>
void transposeAll(const uint8_t *src, int64_t srcStep, uint8_t *dst, int64_t dstStep, size_t columns, size_t rows,
                  bool streams) {
    constexpr size_t side = SIDE<bytes>;
    if constexpr (side * bytes % 64 != 0) streams = false;
    const size_t band = streams ? side : BAND;
    size_t high = band, first = streams ? pixelsToLine<bytes>(dst) % side : 0;
    for (size_t top = 0; top < rows; top += high) {
        high = first > 0 ? first : band;
        first = 0;
        if (high > rows - top) high = rows - top;
        for (size_t x = 0; x < columns; x += side) {
            const size_t wide = columns - x < side ? columns - x : side;
            for (size_t y = 0; y < high; y += side) {
                const Side from = {srcStep, y + side < high ? srcStep * static_cast<int64_t>(side) : 0};
                const Side to = {dstStep, y + side < high ? static_cast<int64_t>(side * bytes) : 0};
                turnBlock<bytes>(src + static_cast<int64_t>(top + y) * srcStep + x * bytes, from,
                                 dst + static_cast<int64_t>(x) * dstStep + (top + y) * bytes, to, wide,
                                 high - y < side ? high - y : side, streams);
            }
        }
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
