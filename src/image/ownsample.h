// Samples and loops for kernel files. Image data may stand at any address, so a sample's type carries no alignment, and
// it may alias whatever the caller keeps there.
#pragma once

#include "image/ownkernel.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

// The destination may be a source: equal positions, so that no iteration depends on another.
#if !defined(__OPTIMIZE__) || defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define OWN_ELEMENTWISE  // nothing vectorises, and the annotation would draw a warning
#elif defined(__clang__)
#define OWN_ELEMENTWISE _Pragma("clang loop vectorize(assume_safety)")
#else
#define OWN_ELEMENTWISE _Pragma("GCC ivdep")
#endif

namespace {

typedef uint16_t OwnAnyU16 __attribute__((aligned(1), may_alias));
typedef int16_t OwnAnyS16 __attribute__((aligned(1), may_alias));
typedef uint32_t OwnAnyU32 __attribute__((aligned(1), may_alias));
typedef int32_t OwnAnyS32 __attribute__((aligned(1), may_alias));
typedef uint64_t OwnAnyU64 __attribute__((aligned(1), may_alias));
typedef float OwnAnyF32 __attribute__((aligned(1), may_alias));

// One for each depth: the type to compute with, the type to load and store, the lane of a mask, the range, and a type
// that holds every product.
struct Own8U {
    using Value = uint8_t;
    typedef uint8_t Sample;
    typedef uint8_t Lane;
    using Wide = uint16_t;
    static constexpr int low = 0, high = 255;
};
struct Own8S {
    using Value = int8_t;
    typedef int8_t Sample;
    typedef uint8_t Lane;
    using Wide = int16_t;
    static constexpr int low = -128, high = 127;
};
struct Own16U {
    using Value = uint16_t;
    typedef OwnAnyU16 Sample;
    typedef OwnAnyU16 Lane;
    using Wide = uint32_t;
    static constexpr int low = 0, high = 65535;
};
struct Own16S {
    using Value = int16_t;
    typedef OwnAnyS16 Sample;
    typedef OwnAnyU16 Lane;
    using Wide = int32_t;
    static constexpr int low = -32768, high = 32767;
};
struct Own32U {
    using Value = uint32_t;
    typedef OwnAnyU32 Sample;
    typedef OwnAnyU32 Lane;
};
struct Own32S {
    using Value = int32_t;
    typedef OwnAnyS32 Sample;
    typedef OwnAnyU32 Lane;
};
struct Own32F {
    using Value = float;
    typedef OwnAnyF32 Sample;
    typedef OwnAnyU32 Lane;
};

// What a masked kernel stores: the result where the lane is set, what was there where it is not.
template <class D>
[[gnu::always_inline]] inline typename D::Value ownSelect(typename D::Lane lane, typename D::Value result,
                                                          typename D::Value before) {
    if constexpr (sizeof(typename D::Value) == 1) {
        return static_cast<typename D::Value>((result & lane) | (before & ~lane));
    } else {
        return lane != 0 ? result : before;
    }
}

// What a streamed kernel computes aside at a time: a few cache lines, so that reading and writing of memory alternate.
constexpr size_t OWN_STREAM_BLOCK = 256;

// Stores a block past the caches, where the processor can. Both are aligned to 64 bytes. A store of a whole cache line
// need not be combined with others.
[[gnu::always_inline]] inline void ownStreamBlock(void *to, const void *block) {
#if defined(__AVX512F__)
    for (size_t k = 0; k < OWN_STREAM_BLOCK / 64; ++k) {
        _mm512_stream_si512(static_cast<__m512i *>(to) + k, _mm512_load_si512(static_cast<const __m512i *>(block) + k));
    }
#elif defined(__AVX2__)
    for (size_t k = 0; k < OWN_STREAM_BLOCK / 32; ++k) {
        _mm256_stream_si256(static_cast<__m256i *>(to) + k, _mm256_load_si256(static_cast<const __m256i *>(block) + k));
    }
#elif defined(__SSE2__)
    for (size_t k = 0; k < OWN_STREAM_BLOCK / 16; ++k) {
        _mm_stream_si128(static_cast<__m128i *>(to) + k, _mm_load_si128(static_cast<const __m128i *>(block) + k));
    }
#else
    __builtin_memcpy(to, block, OWN_STREAM_BLOCK);
#endif
}

// The three forms of a kernel whose element i is compute(i, a, b, constant).
template <class D, class Element>
struct OwnForms {
    using Sample = typename D::Sample;
    using Value = typename D::Value;

    static void plain(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c) {
        const Sample *a = static_cast<const Sample *>(a_);
        const Sample *b = static_cast<const Sample *>(b_);
        Sample *d = static_cast<Sample *>(d_);
        const OwnConstant constant = c;
        if (n < 32) return shortRow(a, b, d, n, constant);
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = Element::compute(i, a, b, constant);
    }

    // Too short for the vectors of the loop above: eight samples at a time.
    static void shortRow(const Sample *a, const Sample *b, Sample *d, size_t n, const OwnConstant &c) {
        size_t i = 0;
        for (; i + 8 <= n; i += 8) {
            Value values[8];
            for (size_t k = 0; k < 8; ++k)
                values[k] = Element::compute(i + k, a, b, c);
            __builtin_memcpy(d + i, values, sizeof values);
        }
        for (; i < n; ++i)
            d[i] = Element::compute(i, a, b, c);
    }

    static void masked(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c, const void *lanes_) {
        const Sample *a = static_cast<const Sample *>(a_);
        const Sample *b = static_cast<const Sample *>(b_);
        const typename D::Lane *lanes = static_cast<const typename D::Lane *>(lanes_);
        Sample *d = static_cast<Sample *>(d_);
        const OwnConstant constant = c;
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = ownSelect<D>(lanes[i], Element::compute(i, a, b, constant), d[i]);
    }

    // Whole blocks are computed aside and streamed; what lies before and behind them is stored plainly.
    static void streamed(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c) {
        constexpr size_t block = OWN_STREAM_BLOCK / sizeof(Value);
        const size_t toLine = -reinterpret_cast<uintptr_t>(d_) & 63;
        const size_t head = toLine / sizeof(Value);
        if (toLine % sizeof(Value) != 0 || n < head + block) return plain(a_, b_, d_, n, c);
        const Sample *a = static_cast<const Sample *>(a_);
        const Sample *b = static_cast<const Sample *>(b_);
        Sample *d = static_cast<Sample *>(d_);
        const OwnConstant constant = c;
        for (size_t i = 0; i < head; ++i)
            d[i] = Element::compute(i, a, b, constant);
        size_t i = head;
        for (; i + block <= n; i += block) {
            alignas(64) Value values[block];
            for (size_t k = 0; k < block; ++k)
                values[k] = Element::compute(i + k, a, b, constant);
            ownStreamBlock(d + i, values);
        }
        for (; i < n; ++i)
            d[i] = Element::compute(i, a, b, constant);
    }

    static constexpr OwnRowForms forms = {plain, masked, streamed};
};

// As many bytes as the level's plain vectors have, for bitwise logic.
#if defined(__AVX2__)
typedef uint64_t OwnWords __attribute__((vector_size(32), aligned(1), may_alias));
#else
typedef uint64_t OwnWords __attribute__((vector_size(16), aligned(1), may_alias));
#endif

typedef uint64_t OwnTwoWords __attribute__((vector_size(16), aligned(1), may_alias));

// The forms of a kernel of bitwise logic on bytes, by F::word(a, b, repeated constant). b is ignored by unary kernels,
// and may be null for them.
template <class F>
struct OwnLogicForms {
    template <class Words>
    static Words repeat(uint32_t byte) {
        return static_cast<Words>(Words{} + 0x0101010101010101u * uint64_t{byte & 0xFF});
    }
    template <class Words>
    static Words load(const void *p) {
        Words words;
        __builtin_memcpy(&words, p, sizeof words);
        return words;
    }
    template <class Words>
    static void store(void *p, Words words) {
        __builtin_memcpy(p, &words, sizeof words);
    }

    // d[i] = at(i, constant), by the widest words that the row has: rows of bits are short. The last words of a row
    // overlap those before; they are computed first, since the destination may be a source, and stored last.
    template <class At>
    static void byWords(uint8_t *d, size_t n, const OwnConstant &c, const At &at) {
        const uint32_t byte = c.value;
        const auto run = [&]<class Words>(Words constant) {
            constexpr size_t step = sizeof(Words);
            if (n < step) return false;
            const Words end = at(n - step, constant);
            OWN_ELEMENTWISE
            for (size_t i = 0; i + step <= n; i += step)
                store(d + i, at(i, constant));
            store(d + n - step, end);
            return true;
        };
        if (run(repeat<OwnWords>(byte)) || run(repeat<OwnTwoWords>(byte)) || run(repeat<uint64_t>(byte))) return;
        for (size_t i = 0; i < n; ++i)
            d[i] = at(i, repeat<uint8_t>(byte));
    }

    static void plain(const void *a_, const void *b_, void *d, size_t n, const OwnConstant &c) {
        const uint8_t *a = static_cast<const uint8_t *>(a_);
        const uint8_t *b = static_cast<const uint8_t *>(b_ ? b_ : a_);
        byWords(static_cast<uint8_t *>(d), n, c, [=]<class Words>(size_t i, Words constant) {
            return static_cast<Words>(F::word(load<Words>(a + i), load<Words>(b + i), constant));
        });
    }

    static void masked(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c, const void *lanes_) {
        const uint8_t *a = static_cast<const uint8_t *>(a_);
        const uint8_t *b = static_cast<const uint8_t *>(b_ ? b_ : a_);
        const uint8_t *lanes = static_cast<const uint8_t *>(lanes_);
        uint8_t *d = static_cast<uint8_t *>(d_);
        byWords(d, n, c, [=]<class Words>(size_t i, Words constant) {
            const Words lane = load<Words>(lanes + i), before = load<Words>(d + i);
            return static_cast<Words>((F::word(load<Words>(a + i), load<Words>(b + i), constant) & lane) |
                                      (before & ~lane));
        });
    }

    static void streamed(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c) {
        const uint8_t *a = static_cast<const uint8_t *>(a_);
        const uint8_t *b = static_cast<const uint8_t *>(b_ ? b_ : a_);
        uint8_t *d = static_cast<uint8_t *>(d_);
        const auto constant = repeat<OwnWords>(c.value);
        const size_t head = -reinterpret_cast<uintptr_t>(d_) & 63;
        if (n < head) return plain(a, b, d, n, c);
        plain(a, b, d, head, c);
        size_t i = head;
        for (; i + OWN_STREAM_BLOCK <= n; i += OWN_STREAM_BLOCK) {
            alignas(64) uint8_t block[OWN_STREAM_BLOCK];
            for (size_t k = 0; k < OWN_STREAM_BLOCK; k += sizeof(OwnWords))
                store(block + k, F::word(load<OwnWords>(a + i + k), load<OwnWords>(b + i + k), constant));
            ownStreamBlock(d + i, block);
        }
        plain(a + i, b + i, d + i, n - i, c);
    }

    // A source's bytes as they lie against the destination's: byte k is from(k)[0] << left | from(k)[1] >> (8 - left).
    struct BitSource {
        BitSource(const OwnBitRun &run, int bit, int64_t count)
            : at(run.at), first(run.bit < bit ? -1 : 0), left((run.bit - bit) & 7), last((run.bit + count - 1) / 8) {}
        const uint8_t *from(int64_t k) const { return at + (first + k); }
        const uint8_t *at;
        int64_t first;
        int left;
        int64_t last;
    };

    // Such a byte at an end of the run, which need not reach into both of the source's.
    struct EdgeByte {
        EdgeByte(const BitSource &source, int64_t k) {
            for (int64_t i = 0; i < 2; ++i) {
                const int64_t byte = source.first + k + i;
                exists[i] = byte >= 0 && byte <= source.last ? 0xFF : 0;
                place[i] = exists[i] != 0 ? byte : 0;
            }
        }
        uint8_t operator()(const BitSource &source) const {
            const int high = source.at[place[0]] & exists[0], low = source.at[place[1]] & exists[1];
            return static_cast<uint8_t>(high << source.left | low >> (8 - source.left));
        }
        int64_t place[2];
        int exists[2];
    };

    static void between(const uint8_t *a, int leftA, const uint8_t *b, int leftB, uint8_t *d, size_t n,
                        const OwnConstant &c) {
        byWords(d, n, c, [=]<class Words>(size_t i, Words constant) {
            return static_cast<Words>(
                F::word(loadShifted<Words>(a + i, leftA), loadShifted<Words>(b + i, leftB), constant));
        });
    }

    // Each byte is shifted on its own: the bits that its neighbours would bring are cut off.
    template <class Words>
    static Words loadShifted(const uint8_t *p, int left) {
        const auto high = repeat<Words>(0xFFu << left);
        const Words words = load<Words>(p), following = load<Words>(p + 1);
        return static_cast<Words>((words << left & high) | (following >> (8 - left) & ~high));
    }

    // Each row in three parts: its first byte, the bytes that it fills, its last byte. Those between take a byte of a
    // source from two bytes, of which both hold bits of the run. Where all images have their bits in the same places,
    // bytes are bytes, and the first and the last may be among those that the row fills.
    static void bits(const OwnBitRows &rows, const OwnConstant &constant) {
        const OwnConstant c = constant;
        const auto value = static_cast<uint8_t>(c.value);
        const int64_t n = (rows.bit + rows.count + 7) / 8;
        auto firstBits = static_cast<uint8_t>(0xFF >> rows.bit);
        const auto lastBits = static_cast<uint8_t>(0xFF << (n * 8 - rows.bit - rows.count));
        if (n == 1) firstBits &= lastBits;
        BitSource a(rows.a, rows.bit, rows.count), b(rows.b, rows.bit, rows.count);
        const bool inPlace = a.left == 0 && b.left == 0;
        const int64_t begin = inPlace && firstBits == 0xFF ? 0 : 1;
        const int64_t end = n == 1 || (inPlace && lastBits == 0xFF) ? n : n - 1;
        uint8_t *d = rows.d;
        const EdgeByte firstA(a, 0), firstB(b, 0), lastA(a, n - 1), lastB(b, n - 1);
        const auto edge = [&](const EdgeByte &byteA, const EdgeByte &byteB, uint8_t *out, uint8_t stored) {
            *out = ownSelect<Own8U>(stored, static_cast<uint8_t>(F::word(byteA(a), byteB(b), value)), *out);
        };
        for (int y = 0; y < rows.height; ++y) {
            if (begin == 1) edge(firstA, firstB, d, firstBits);
            if (end < n) edge(lastA, lastB, d + end, lastBits);
            if (begin < end) {
                const auto count = static_cast<size_t>(end - begin);
                if (inPlace) {
                    plain(a.at + begin, b.at + begin, d + begin, count, c);
                } else {
                    between(a.from(begin), a.left, b.from(begin), b.left, d + begin, count, c);
                }
            }
            a.at += rows.a.rowStep;
            b.at += rows.b.rowStep;
            d += rows.rowStep;
        }
    }

    static constexpr OwnRowForms forms = {plain, masked, streamed, bits};
};

// The three forms of a kernel that works on 64 bytes at a time, by F::block(a, b, d, constant): where a processor has
// an instruction that no loop over samples becomes. What is left of a row goes through F::tail, which does up to 64
// bytes the plain way.
template <class D, class F>
struct OwnBlockForms {
    static constexpr size_t samples = 64 / sizeof(typename D::Value);
    static const char *at(const void *p, size_t block) {
        return p ? static_cast<const char *>(p) + block * 64 : nullptr;
    }
    static char *at(void *p, size_t block) { return static_cast<char *>(p) + block * 64; }

    static void plain(const void *a, const void *b, void *d, size_t n, const OwnConstant &c) {
        const OwnConstant constant = c;
        const size_t blocks = n / samples;
        for (size_t k = 0; k < blocks; ++k)
            F::block(at(a, k), at(b, k), at(d, k), constant);
        F::tail(at(a, blocks), at(b, blocks), at(d, blocks), n % samples, constant);
    }

    static void masked(const void *a, const void *b, void *d, size_t n, const OwnConstant &c, const void *lanes) {
        const OwnConstant constant = c;
        const size_t blocks = n / samples;
        alignas(64) typename D::Value values[samples];
        const auto select = [&](size_t k, size_t count) {
            const typename D::Lane *selected = reinterpret_cast<const typename D::Lane *>(at(lanes, k));
            typename D::Sample *out = reinterpret_cast<typename D::Sample *>(at(d, k));
            OWN_ELEMENTWISE
            for (size_t i = 0; i < count; ++i)
                out[i] = ownSelect<D>(selected[i], values[i], out[i]);
        };
        for (size_t k = 0; k < blocks; ++k) {
            F::block(at(a, k), at(b, k), values, constant);
            select(k, samples);
        }
        F::tail(at(a, blocks), at(b, blocks), values, n % samples, constant);
        select(blocks, n % samples);
    }

    static void streamed(const void *a, const void *b, void *d, size_t n, const OwnConstant &c) {
        const OwnConstant constant = c;
        const size_t toLine = -reinterpret_cast<uintptr_t>(d) & 63;
        const size_t head = toLine / sizeof(typename D::Value);
        if (toLine % sizeof(typename D::Value) != 0 || n < head) return plain(a, b, d, n, c);
        F::tail(at(a, 0), at(b, 0), d, head, constant);
        const char *a1 = a ? at(a, 0) + toLine : nullptr, *b1 = b ? at(b, 0) + toLine : nullptr;
        char *d1 = at(d, 0) + toLine;
        constexpr size_t lines = OWN_STREAM_BLOCK / 64;
        const size_t blocks = (n - head) / samples / lines * lines;
        for (size_t k = 0; k < blocks; k += lines) {
            alignas(64) char values[OWN_STREAM_BLOCK];
            for (size_t i = 0; i < lines; ++i)
                F::block(at(a1, k + i), at(b1, k + i), values + i * 64, constant);
            ownStreamBlock(d1 + k * 64, values);
        }
        plain(at(a1, blocks), at(b1, blocks), at(d1, blocks), n - head - blocks * samples, constant);
    }

    static constexpr OwnRowForms forms = {plain, masked, streamed};
};

// Kernels of an element function f(a, b, constant) at a depth, and of f(a, constant).
template <class D, class F>
struct OwnBinaryElement {
    using Sample = typename D::Sample;
    [[gnu::always_inline]] static typename D::Value compute(size_t i, const Sample *a, const Sample *b,
                                                            const OwnConstant &c) {
        return F::template f<D>(a[i], b[i], c);
    }
};
template <class D, class F>
struct OwnUnaryElement {
    using Sample = typename D::Sample;
    [[gnu::always_inline]] static typename D::Value compute(size_t i, const Sample *a, const Sample *,
                                                            const OwnConstant &c) {
        return F::template f<D>(a[i], c);
    }
};
template <class D, class F>
using OwnBinary = OwnForms<D, OwnBinaryElement<D, F>>;
template <class D, class F>
using OwnUnary = OwnForms<D, OwnUnaryElement<D, F>>;

}  // namespace
