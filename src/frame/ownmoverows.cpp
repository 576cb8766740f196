// Row kernels that move samples, compiled once for each CPU level.
#include "frame/ownmove.h"

#include <cstring>

#include "frame/ownforms.h"
#include "frame/ownlogic.h"

namespace OWN_LEVEL {
namespace {

struct Copy {
    template <class W>
    static W word(W a, W, W) {
        return a;
    }
    template <class D>
    [[gnu::always_inline]] static typename D::Value f(typename D::Value a, const OwnConstant &) {
        return a;
    }
};

template <class D>
void copyRow(const void *a, const void *, void *d, size_t n, const OwnConstant &) {
    std::memmove(d, a, n * sizeof(typename D::Sample));
}

struct FillBits {
    template <class W>
    static W word(W, W, W constant) {
        return constant;
    }
};

template <class D>
struct Fill {
    static void plain(const void *, const void *, void *d_, size_t n, const OwnConstant &c) {
        if constexpr (sizeof(typename D::Value) == 1) {
            std::memset(d_, static_cast<int>(c.value & 0xFF), n);
        } else {
            typename D::Sample *d = static_cast<typename D::Sample *>(d_);
            const auto value = static_cast<typename D::Value>(c.value);
            for (size_t i = 0; i < n; ++i)
                d[i] = value;
        }
    }
    static void masked(const void *, const void *, void *d_, size_t n, const OwnConstant &c, const void *lanes_) {
        typename D::Sample *d = static_cast<typename D::Sample *>(d_);
        const typename D::Lane *lanes = static_cast<const typename D::Lane *>(lanes_);
        const auto value = static_cast<typename D::Value>(c.value);
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = ownSelect<D>(lanes[i], value, d[i]);
    }

    static void streamed(const void *, const void *, void *d_, size_t n, const OwnConstant &c) {
        alignas(64) typename D::Value values[OWN_STREAM_BLOCK / sizeof(typename D::Value)];
        plain(nullptr, nullptr, values, sizeof values / sizeof values[0], c);
        typename D::Sample *d = static_cast<typename D::Sample *>(d_);
        ownStreamRow<typename D::Sample>(
            d_, n, [&](size_t i, size_t count) { plain(nullptr, nullptr, d + i, count, c); },
            [&](size_t, void *block) { std::memcpy(block, values, sizeof values); });
    }
};

// The images that exchange are both written: the frame hands the first one in as the source.
template <class D>
struct Exchange {
    static void plain(const void *a_, const void *, void *d_, size_t n, const OwnConstant &) {
        typename D::Sample *a = static_cast<typename D::Sample *>(const_cast<void *>(a_));
        typename D::Sample *d = static_cast<typename D::Sample *>(d_);
        size_t i = 0;
        if (n < 32) {
            for (; i + 8 <= n; i += 8) {
                typename D::Value first[8], second[8];
                std::memcpy(first, a + i, sizeof first);
                std::memcpy(second, d + i, sizeof second);
                std::memcpy(a + i, second, sizeof second);
                std::memcpy(d + i, first, sizeof first);
            }
        }
        OWN_ELEMENTWISE
        for (; i < n; ++i) {
            const typename D::Value first = a[i], second = d[i];
            a[i] = second;
            d[i] = first;
        }
    }
    static void masked(const void *a_, const void *, void *d_, size_t n, const OwnConstant &, const void *lanes_) {
        typename D::Sample *a = static_cast<typename D::Sample *>(const_cast<void *>(a_));
        typename D::Sample *d = static_cast<typename D::Sample *>(d_);
        const typename D::Lane *lanes = static_cast<const typename D::Lane *>(lanes_);
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i) {
            const typename D::Value first = a[i], second = d[i];
            a[i] = ownSelect<D>(lanes[i], second, first);
            d[i] = ownSelect<D>(lanes[i], first, second);
        }
    }
};

template <class D, int step>
void gatherOne(const typename D::Sample *src, typename D::Sample *row, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i)
        row[i] = src[i * step];
}

template <class D>
void gather(const void *src_, int step, int count, void *row_, size_t pixels) {
    const typename D::Sample *src = static_cast<const typename D::Sample *>(src_);
    typename D::Sample *row = static_cast<typename D::Sample *>(row_);
    if (count == 1) {
        switch (step) {
            case 2:
                return gatherOne<D, 2>(src, row, pixels);
            case 3:
                return gatherOne<D, 3>(src, row, pixels);
            case 4:
                return gatherOne<D, 4>(src, row, pixels);
            default:
                break;
        }
    }
    for (size_t i = 0; i < pixels; ++i, src += step, row += count) {
        for (int c = 0; c < count; ++c)
            row[c] = src[c];
    }
}

template <class D, int step>
void scatterOne(const typename D::Sample *row, typename D::Sample *dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i)
        dst[i * step] = row[i];
}

template <class D>
void scatter(const void *row_, void *dst_, int step, int count, size_t pixels) {
    const typename D::Sample *row = static_cast<const typename D::Sample *>(row_);
    typename D::Sample *dst = static_cast<typename D::Sample *>(dst_);
    if (count == 1) {
        switch (step) {
            case 2:
                return scatterOne<D, 2>(row, dst, pixels);
            case 3:
                return scatterOne<D, 3>(row, dst, pixels);
            case 4:
                return scatterOne<D, 4>(row, dst, pixels);
            default:
                break;
        }
    }
    for (size_t i = 0; i < pixels; ++i, row += count, dst += step) {
        for (int c = 0; c < count; ++c)
            dst[c] = row[c];
    }
}

// Lanes of `width` bytes each for the bits of a mask, the first bit on top of a byte.
#if defined(__AVX2__)
// Where a byte of lanes finds its bit in a word of 32 of them: in vector v of those that the word fills.
template <int width>
struct BitPlaces {
    alignas(32) uint8_t byte[width][32];
    alignas(32) uint8_t bit[width][32];
};
template <int width>
constexpr BitPlaces<width> makeBitPlaces() {
    BitPlaces<width> places = {};
    for (int i = 0; i < 32 * width; ++i) {
        const int bit = i / width;
        places.byte[i / 32][i % 32] = static_cast<uint8_t>(bit / 8);
        places.bit[i / 32][i % 32] = static_cast<uint8_t>(128 >> bit % 8);
    }
    return places;
}

template <int width>
void expandBits(const uint8_t *bits, uint8_t *lanes, size_t count) {
    static constexpr BitPlaces<width> places = makeBitPlaces<width>();
    const auto expandWord = [](const uint8_t *from, size_t bytes, uint8_t *to) {
        int word = 0;
        std::memcpy(&word, from, bytes);
        const __m256i words = _mm256_set1_epi32(word);
        for (size_t v = 0; v < width; ++v) {
            const __m256i bit = _mm256_load_si256(reinterpret_cast<const __m256i *>(places.bit[v]));
            const __m256i byte = _mm256_load_si256(reinterpret_cast<const __m256i *>(places.byte[v]));
            const __m256i found = _mm256_and_si256(_mm256_shuffle_epi8(words, byte), bit);
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(to + v * 32), _mm256_cmpeq_epi8(found, bit));
        }
    };
    size_t i = 0;
    for (; i + 32 <= count; i += 32)
        expandWord(bits + i / 8, 4, lanes + i * width);
    if (i == count) return;
    uint8_t last[32 * width];
    const size_t bytes = (count - i + 7) / 8;
    expandWord(bits + i / 8, bytes, last);
    std::memcpy(lanes + i * width, last, bytes * 8 * width);
}
#else
// Eight bytes for each value of a mask byte.
struct LaneTable {
    uint8_t lanes[256][8];
};
constexpr LaneTable makeLaneTable() {
    LaneTable table = {};
    for (int bits = 0; bits < 256; ++bits) {
        for (int i = 0; i < 8; ++i)
            table.lanes[bits][i] = (bits >> (7 - i) & 1) != 0 ? 255 : 0;
    }
    return table;
}

template <int width>
void expandBits(const uint8_t *bits, uint8_t *lanes, size_t count) {
    static constexpr LaneTable table = makeLaneTable();
    for (size_t i = 0; i < count; i += 8, lanes += 8 * width) {
        const uint8_t *bytes = table.lanes[bits[i / 8]];
        for (int k = 0; k < 8 * width; ++k)
            lanes[k] = bytes[k / width];
    }
}
#endif

// Every byte of a lane is the same.
template <int bytes>
void expandLanes(const uint8_t *bits, int repeat, void *lanes_, size_t count) {
    uint8_t *lanes = static_cast<uint8_t *>(lanes_);
    switch (repeat) {
        case 1:
            return expandBits<bytes>(bits, lanes, count);
        case 2:
            return expandBits<bytes * 2>(bits, lanes, count);
        case 3:
            return expandBits<bytes * 3>(bits, lanes, count);
        default:
            return expandBits<bytes * 4>(bits, lanes, count);
    }
}

void shiftBits(const uint8_t *src, int left, uint8_t *out, size_t n) {
    OwnLogicForms<Copy>::between(src, left, src, left, out, n, {});
}

void fence() {
#if defined(__SSE2__)
    _mm_sfence();
#endif
}

}  // namespace

extern const OwnMoveRows moveRows;
const OwnMoveRows moveRows = {
    {{copyRow<Own8U>, ownUnary<Own8U, Copy>.masked, ownUnary<Own8U, Copy>.streamed, OwnLogicForms<Copy>::bits},
     {copyRow<Own16U>, ownUnary<Own16U, Copy>.masked, ownUnary<Own16U, Copy>.streamed},
     {copyRow<Own32U>, ownUnary<Own32U, Copy>.masked, ownUnary<Own32U, Copy>.streamed}},
    {{Fill<Own8U>::plain, Fill<Own8U>::masked, Fill<Own8U>::streamed, OwnLogicForms<FillBits>::bits},
     {Fill<Own16U>::plain, Fill<Own16U>::masked, Fill<Own16U>::streamed},
     {Fill<Own32U>::plain, Fill<Own32U>::masked, Fill<Own32U>::streamed}},
    {{Exchange<Own8U>::plain, Exchange<Own8U>::masked, nullptr},
     {Exchange<Own16U>::plain, Exchange<Own16U>::masked, nullptr},
     {Exchange<Own32U>::plain, Exchange<Own32U>::masked, nullptr}},
    {gather<Own8U>, gather<Own16U>, gather<Own32U>},
    {scatter<Own8U>, scatter<Own16U>, scatter<Own32U>},
    {expandLanes<1>, expandLanes<2>, expandLanes<4>},
    shiftBits,
    fence,
};

}  // namespace OWN_LEVEL
