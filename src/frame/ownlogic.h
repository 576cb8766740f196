// The forms of a kernel of bitwise logic: on bytes by the widest words, on rows of bits at any bit offset.
#pragma once

#include "frame/ownvectorforms.h"

namespace {

// As many bytes as the level's plain vectors have, for bitwise logic.
#if defined(__AVX2__)
typedef uint64_t OwnWords __attribute__((vector_size(32), aligned(1), may_alias));
#else
typedef uint64_t OwnWords __attribute__((vector_size(16), aligned(1), may_alias));
#endif

typedef uint64_t OwnTwoWords __attribute__((vector_size(16), aligned(1), may_alias));

// The forms of a kernel of bitwise logic, by F::word(a, b, repeated constant). b is ignored by unary kernels, and may
// be null for them. Samples of any size are bytes here, with a constant of their size.
template <class F, class D = Own8U>
struct OwnLogicForms {
    static constexpr size_t sampleBytes = sizeof(typename D::Value);

    template <class Words>
    static Words repeat(uint32_t value) {
        if constexpr (sampleBytes == 4) return static_cast<Words>(Words{} + 0x0000000100000001u * uint64_t{value});
        if constexpr (sampleBytes == 2)
            return static_cast<Words>(Words{} + 0x0001000100010001u * uint64_t{value & 0xFFFF});
        return static_cast<Words>(Words{} + 0x0101010101010101u * uint64_t{value & 0xFF});
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

    // n bytes of d from i on = at(i, constant), by the widest words that the row has: rows of bits are short. The last
    // words of a row may overlap those before; they are computed first, since the destination may be a source, and
    // stored last.
    template <class At>
    static void byWords(uint8_t *d, size_t n, const OwnConstant &c, const At &at) {
        const uint32_t value = c.value;
        const auto run = [&]<class Words>(Words) {
            constexpr size_t step = sizeof(Words);
            if (n < step) return false;
            const auto constant = repeat<Words>(value);
            const Words end = at(n - step, constant);
            OWN_ELEMENTWISE
            for (size_t i = 0; i < n - step; i += step)
                store(d + i, at(i, constant));
            store(d + n - step, end);
            return true;
        };
        if (run(OwnWords{}) || run(OwnTwoWords{}) || run(uint64_t{})) return;
        using Unit = typename D::Value;
        for (size_t i = 0; i < n; i += sampleBytes)
            store(d + i, at(i, repeat<Unit>(value)));
    }

    static void plain(const void *a_, const void *b_, void *d, size_t n, const OwnConstant &c) {
        const uint8_t *a = static_cast<const uint8_t *>(a_);
        const uint8_t *b = static_cast<const uint8_t *>(b_ ? b_ : a_);
        byWords(static_cast<uint8_t *>(d), n * sampleBytes, c, [=]<class Words>(size_t i, Words constant) {
            return static_cast<Words>(F::word(load<Words>(a + i), load<Words>(b + i), constant));
        });
    }

    static void masked(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c, const void *lanes_) {
        const uint8_t *a = static_cast<const uint8_t *>(a_);
        const uint8_t *b = static_cast<const uint8_t *>(b_ ? b_ : a_);
        const uint8_t *lanes = static_cast<const uint8_t *>(lanes_);
        uint8_t *d = static_cast<uint8_t *>(d_);
        byWords(d, n * sampleBytes, c, [=]<class Words>(size_t i, Words constant) {
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
        const auto stored = [&](size_t i, size_t count) {
            plain(a + i * sampleBytes, b + i * sampleBytes, d + i * sampleBytes, count, c);
        };
        const auto aside = [&](size_t i, uint8_t *block) {
            for (size_t k = 0; k < OWN_STREAM_BLOCK; k += sizeof(OwnWords)) {
                const size_t at = i * sampleBytes + k;
                store(block + k, F::word(load<OwnWords>(a + at), load<OwnWords>(b + at), constant));
            }
        };
        ownStreamRow<typename D::Sample>(d_, n, stored, aside);
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
        const bool alike = a.left == 0 && b.left == 0;
        const int64_t begin = alike && firstBits == 0xFF ? 0 : 1;
        const int64_t end = n == 1 || (alike && lastBits == 0xFF) ? n : n - 1;
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
                if (alike) {
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

#if defined(OWN_HAS_VECTORS)
    static constexpr int sources = 2;
    template <size_t bytes>
    [[gnu::always_inline]] static OwnVector part(const char *a, const char *b, size_t i, const OwnConstant &c) {
        return F::word(ownLoadPart<bytes>(a + i), ownLoadPart<bytes>(b + i), ownSplat<D>(c.value));
    }
    static void underBits(const void *a, const void *b, void *d, size_t n, const OwnConstant &c, const uint8_t *bits) {
        OwnFormUnderBits<OwnLogicForms>::run(a, b ? b : a, d, n, c, bits);
    }
    static constexpr OwnRowForms forms = {plain, masked, streamed, OwnLogicForms::bits, underBits};
#else
    static constexpr OwnRowForms forms = {plain, masked, streamed, bits};
#endif
};

}  // namespace
