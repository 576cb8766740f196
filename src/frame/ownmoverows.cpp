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
#if defined(OWN_HAS_VECTORS)
    template <class D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector a, OwnVector, const OwnConstant &) {
        return a;
    }
#endif
};

// Short rows need no call: two parts that overlap, both read before one is written.
template <class D>
void copyRow(const void *a, const void *, void *d, size_t n, const OwnConstant &) {
    const size_t bytes = n * sizeof(typename D::Sample);
#if defined(OWN_HAS_VECTORS)
    const auto inTwoParts = [&]<size_t part>() {
        if (bytes < part || bytes > 2 * part) return false;
        const char *from = static_cast<const char *>(a);
        const OwnVector first = ownLoadPart<part>(from), last = ownLoadPart<part>(from + bytes - part);
        ownStorePart<part>(static_cast<char *>(d), first);
        ownStorePart<part>(static_cast<char *>(d) + bytes - part, last);
        return true;
    };
    if (inTwoParts.template operator()<sizeof(OwnVector)>() || inTwoParts.template operator()<16>() ||
        inTwoParts.template operator()<8>()) {
        return;
    }
#endif
    std::memmove(d, a, bytes);
}

struct FillBits {
    template <class W>
    static W word(W, W, W constant) {
        return constant;
    }
};

template <class D>
struct FillLoops {
    static constexpr int sources = 0;

    static void plain(const void *, const void *, void *d_, size_t n, const OwnConstant &c) {
        typename D::Sample *d = static_cast<typename D::Sample *>(d_);
        const auto value = static_cast<typename D::Value>(c.value);
        for (size_t i = 0; i < n; ++i)
            d[i] = value;
    }
    static void masked(const void *, const void *, void *d_, size_t n, const OwnConstant &c, const void *lanes_) {
        typename D::Sample *d = static_cast<typename D::Sample *>(d_);
        const typename D::Lane *lanes = static_cast<const typename D::Lane *>(lanes_);
        const auto value = static_cast<typename D::Value>(c.value);
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = ownSelect<D>(lanes[i], value, d[i]);
    }
    static constexpr OwnRowForms forms = {plain, masked, nullptr};
};

struct Fill {
#if defined(OWN_HAS_VECTORS)
    template <class D>
    [[gnu::always_inline]] static OwnVector vector(OwnVector, OwnVector, const OwnConstant &c) {
        return ownSplat<D>(c.value);
    }
#endif
};

#if defined(OWN_HAS_VECTORS)
template <class D>
constexpr OwnRowForms fillOf = OwnVectorForms<D, Fill, FillLoops<D>>::forms;
#else
template <class D>
constexpr OwnRowForms fillOf = FillLoops<D>::forms;
#endif

// Of a long row of bytes the C library makes at least as much, and of a short one no call is needed.
void fillBytes(const void *a, const void *b, void *d, size_t n, const OwnConstant &c) {
    if (n <= 128) return fillOf<Own8U>.plain(a, b, d, n, c);
    std::memset(d, static_cast<int>(c.value & 0xFF), n);
}

// What the C library does as well is left to it; bytes have forms for bits.
template <class D>
constexpr OwnRowForms copyForms() {
    OwnRowForms forms = ownUnary<D, Copy>;
    forms.plain = copyRow<D>;
    if (sizeof(typename D::Value) == 1) forms.bits = OwnLogicForms<Copy>::bits;
    return forms;
}
template <class D>
constexpr OwnRowForms fillForms() {
    OwnRowForms forms = fillOf<D>;
    if (sizeof(typename D::Value) > 1) return forms;
    forms.plain = fillBytes;
    forms.bits = OwnLogicForms<FillBits>::bits;
    return forms;
}

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

#if defined(__SSSE3__)
// Pixels of up to 16 bytes, as many at a time as these hold, by a shuffle of bytes. What it reads and writes lies
// between the first sample and the last; it gives the number of pixels done, and the loops below do the others.
class PixelShuffle {
  public:
    PixelShuffle(int step, int count, int bytes, size_t pixels)
        : step_(static_cast<size_t>(step * bytes)), count_(static_cast<size_t>(count * bytes)), pixels_(pixels) {
        const size_t span = 1 + (16 - count_ + step_ - 1) / step_, samples = (16 + count_ - 1) / count_;
        needed_ = span > samples ? span : samples;
    }

    size_t gather(const uint8_t *src, uint8_t *row) const {
        if (!fits(0)) return 0;
        alignas(16) uint8_t order[16] = {};
        const size_t group = 16 / step_;
        for (size_t i = 0; i < group * count_; ++i)
            order[i] = static_cast<uint8_t>(i / count_ * step_ + i % count_);
        const __m128i places = at(order);
        size_t i = 0;
        for (; fits(i); i += group)
            put(row + i * count_, _mm_shuffle_epi8(at(src + i * step_), places));
        return i;
    }

    // The samples between those stored are stored again as they were, and read before the store that touches them,
    // which a processor could not hand over in part.
    size_t scatter(const uint8_t *row, uint8_t *dst) const {
        if (!fits(0)) return 0;
        alignas(16) uint8_t order[16], stored[16] = {};
        std::memset(order, 0x80, sizeof order);
        const size_t group = 16 / step_;
        for (size_t i = 0; i < group * count_; ++i) {
            const size_t place = i / count_ * step_ + i % count_;
            order[place] = static_cast<uint8_t>(i);
            stored[place] = 0xFF;
        }
        const __m128i places = at(order), mask = at(stored);
        __m128i before = at(dst);
        size_t i = 0;
        for (bool more = true; more; i += group) {
            more = fits(i + group);
            const __m128i following = more ? at(dst + (i + group) * step_) : before;
            const __m128i samples = _mm_shuffle_epi8(at(row + i * count_), places);
            put(dst + i * step_, _mm_or_si128(samples, _mm_andnot_si128(mask, before)));
            before = following;
        }
        return i;
    }

  private:
    // Whether there are 16 bytes of pixels and of the row from this pixel on.
    bool fits(size_t i) const { return i + needed_ <= pixels_; }
    static __m128i at(const uint8_t *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }
    static void put(uint8_t *p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v); }
    size_t step_, count_;  // bytes
    size_t pixels_, needed_;
};
#endif

// One sample of each pixel, by loops with a known step.
template <class D, int step>
void gatherOne(const typename D::Sample *src, typename D::Sample *row, size_t pixels) {
    size_t i = 0;
#if defined(__SSE2__) && !defined(__SSSE3__)
    // For this one compilers find no good vectors.
    if constexpr (step == 3 && sizeof(typename D::Value) == 4) {
        for (; i + 4 < pixels; i += 4) {
            const float *at = reinterpret_cast<const float *>(src + i * step);
            const __m128 a = _mm_loadu_ps(at), b = _mm_loadu_ps(at + 4), c = _mm_loadu_ps(at + 8);
            const __m128 others = _mm_shuffle_ps(b, c, _MM_SHUFFLE(1, 1, 2, 2));
            _mm_storeu_ps(reinterpret_cast<float *>(row + i), _mm_shuffle_ps(a, others, _MM_SHUFFLE(2, 0, 3, 0)));
        }
    }
#endif
    for (; i < pixels; ++i)
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
    size_t i = 0;
#if defined(__SSSE3__)
    constexpr int bytes = sizeof(typename D::Value);
    if (step * bytes <= 16) {
        i = PixelShuffle(step, count, bytes, pixels)
                .gather(static_cast<const uint8_t *>(src_), static_cast<uint8_t *>(row_));
    }
#endif
    src += i * static_cast<size_t>(step);
    row += i * static_cast<size_t>(count);
    for (; i < pixels; ++i, src += step, row += count) {
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
    size_t i = 0;
#if defined(__SSSE3__)
    constexpr int bytes = sizeof(typename D::Value);
    // Single samples of more than a byte are as quick one by one.
    if (step * bytes <= 16 && (count > 1 || bytes == 1)) {
        i = PixelShuffle(step, count, bytes, pixels)
                .scatter(static_cast<const uint8_t *>(row_), static_cast<uint8_t *>(dst_));
    }
#endif
    row += i * static_cast<size_t>(count);
    dst += i * static_cast<size_t>(step);
    if (count == 1) {
        switch (step) {
            case 2:
                return scatterOne<D, 2>(row, dst, pixels - i);
            case 3:
                return scatterOne<D, 3>(row, dst, pixels - i);
            case 4:
                return scatterOne<D, 4>(row, dst, pixels - i);
            default:
                break;
        }
    }
    for (; i < pixels; ++i, row += count, dst += step) {
        for (int c = 0; c < count; ++c)
            dst[c] = row[c];
    }
}

#if defined(OWN_HAS_VECTORS)
// The bytes of a under the lanes of bits.
template <size_t width>
void keepUnderBits(const uint8_t *a, const uint8_t *bits, uint8_t *row, size_t count) {
    size_t i = 0;
    for (; i + OWN_LANE_GROUP <= count; i += OWN_LANE_GROUP) {
        const OwnLanes<width> lanes(ownLoadGroup(bits + i / 8));
        for (size_t v = 0; v < width; ++v) {
            const size_t at = i * width + v * OWN_LANE_GROUP;
            ownStore(reinterpret_cast<char *>(row + at), lanes.keep(v, reinterpret_cast<const char *>(a + at)));
        }
    }
    if (i == count) return;
    uint8_t last[OWN_LANE_GROUP * width];
    ownExpandBits<width>(bits + i / 8, last, count - i);
    for (size_t k = 0; k < (count - i) * width; ++k)
        row[i * width + k] = a[i * width + k] & last[k];
}
#else
template <size_t width>
void ownExpandBits(const uint8_t *bits, uint8_t *lanes, size_t count) {
    for (size_t i = 0; i < count; i += 8, lanes += 8 * width) {
        for (size_t k = 0; k < 8 * width; ++k)
            lanes[k] = (bits[i / 8] >> (7 - k / width) & 1) != 0 ? 255 : 0;
    }
}
template <size_t width>
void keepUnderBits(const uint8_t *a, const uint8_t *bits, uint8_t *row, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        const bool kept = (bits[i / 8] >> (7 - i % 8) & 1) != 0;
        for (size_t k = i * width; k < (i + 1) * width; ++k)
            row[k] = kept ? a[k] : 0;
    }
}
#endif

// Every byte of a lane is the same.
template <size_t bytes>
void expandLanes(const uint8_t *bits, int repeat, void *lanes_, size_t count) {
    uint8_t *lanes = static_cast<uint8_t *>(lanes_);
    switch (repeat) {
        case 1:
            return ownExpandBits<bytes>(bits, lanes, count);
        case 2:
            return ownExpandBits<bytes * 2>(bits, lanes, count);
        case 3:
            return ownExpandBits<bytes * 3>(bits, lanes, count);
        default:
            return ownExpandBits<bytes * 4>(bits, lanes, count);
    }
}

template <size_t bytes>
void keepSamples(const void *a_, const uint8_t *bits, int repeat, void *row_, size_t count) {
    const uint8_t *a = static_cast<const uint8_t *>(a_);
    uint8_t *row = static_cast<uint8_t *>(row_);
    switch (repeat) {
        case 1:
            return keepUnderBits<bytes>(a, bits, row, count);
        case 2:
            return keepUnderBits<bytes * 2>(a, bits, row, count);
        case 3:
            return keepUnderBits<bytes * 3>(a, bits, row, count);
        default:
            return keepUnderBits<bytes * 4>(a, bits, row, count);
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
    {copyForms<Own8U>(), copyForms<Own16U>(), copyForms<Own32U>()},
    {fillForms<Own8U>(), fillForms<Own16U>(), fillForms<Own32U>()},
    {{Exchange<Own8U>::plain, Exchange<Own8U>::masked, nullptr},
     {Exchange<Own16U>::plain, Exchange<Own16U>::masked, nullptr},
     {Exchange<Own32U>::plain, Exchange<Own32U>::masked, nullptr}},
    {gather<Own8U>, gather<Own16U>, gather<Own32U>},
    {scatter<Own8U>, scatter<Own16U>, scatter<Own32U>},
    {expandLanes<1>, expandLanes<2>, expandLanes<4>},
    {keepSamples<1>, keepSamples<2>, keepSamples<4>},
    shiftBits,
    fence,
};

}  // namespace OWN_LEVEL
