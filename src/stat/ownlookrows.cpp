// Row kernels of tables, compiled once for each CPU level.
#include "frame/ownsample.h"
#include "stat/ownstat.h"

namespace OWN_LEVEL {
namespace {

template <class D>
void lookUpPlain(const typename D::Sample *a, typename D::Sample *d, size_t n, const typename D::Sample *table) {
    for (size_t i = 0; i < n; ++i)
        d[i] = table[a[i]];
}

#if defined(__AVX2__)
// 32 bytes at a time by 16 tables of 16 entries. A byte whose top bit is set finds 0 in a table, and the low bits of
// any other its entry: the byte less 16 k is looked up in the difference of table k and the one before, as long as it
// is not negative, and the differences add up to the entry of the byte's own table. So for bytes below 128; those above
// it take the tables of the upper half, with 128 taken off.
struct Tables {
    __m256i part[16];
    void set(const uint8_t *table) {
        for (int k = 0; k < 16; ++k) {
            const __m256i own = load(table + 16 * k);
            part[k] = k % 8 == 0 ? own : _mm256_xor_si256(own, load(table + 16 * (k - 1)));
        }
    }
    static __m256i load(const uint8_t *from) {
        return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i *>(from)));
    }
    [[gnu::always_inline]] __m256i find(__m256i bytes) const {
        const __m256i step = _mm256_set1_epi8(16);
        __m256i low = bytes, high = _mm256_xor_si256(bytes, _mm256_set1_epi8(-128));
        __m256i found = _mm256_setzero_si256();
        for (int k = 0; k < 8; ++k) {
            found = _mm256_xor_si256(found, _mm256_shuffle_epi8(part[k], low));
            found = _mm256_xor_si256(found, _mm256_shuffle_epi8(part[k + 8], high));
            // A negative byte stays one.
            low = _mm256_subs_epi8(low, step);
            high = _mm256_subs_epi8(high, step);
        }
        return found;
    }
};

void lookUpBytes(const void *a_, const void *, void *d_, size_t n, const OwnConstant &c) {
    const uint8_t *a = static_cast<const uint8_t *>(a_), *table = static_cast<const uint8_t *>(c.table);
    uint8_t *d = static_cast<uint8_t *>(d_);
    size_t i = 0;
    if (n >= 256) {
        Tables tables;
        tables.set(table);
        for (; i + 32 <= n; i += 32) {
            const __m256i bytes = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(a + i));
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(d + i), tables.find(bytes));
        }
    }
    lookUpPlain<Own8U>(a + i, d + i, n - i, table);
}
#else
void lookUpBytes(const void *a, const void *, void *d, size_t n, const OwnConstant &c) {
    lookUpPlain<Own8U>(static_cast<const uint8_t *>(a), static_cast<uint8_t *>(d), n,
                       static_cast<const uint8_t *>(c.table));
}
#endif

// Pixels of several channels, each of which has a table of its own.
template <class D, size_t channels>
void lookUpEach(const typename D::Sample *a, typename D::Sample *d, size_t n, const typename D::Sample *tables) {
    constexpr size_t levels = size_t{1} << 8 * sizeof(typename D::Value);
    size_t i = 0;
    for (; i + channels <= n; i += channels) {
        for (size_t k = 0; k < channels; ++k)
            d[i + k] = tables[k * levels + a[i + k]];
    }
    for (; i < n; ++i)
        d[i] = tables[i % channels * levels + a[i]];
}

#if defined(__AVX2__)
// As many vectors as a pixel has channels: in each of them a channel's bytes stand elsewhere, of two or four after a
// turn of the bytes within a pixel, of three as they are. So what is chosen out of all has one channel's bytes alone,
// which are looked up, and put back the same way.
template <size_t channels>
struct Places {
    alignas(32) uint8_t turn[channels][32], back[channels][32], own[channels][32];
};
template <size_t channels>
constexpr Places<channels> makePlaces() {
    Places<channels> places = {};
    for (size_t k = 0; k < channels; ++k) {
        for (size_t i = 0; i < 32; ++i) {
            const size_t half = i % 16, shift = channels == 3 ? 0 : k;
            places.turn[k][i] = static_cast<uint8_t>(half / channels * channels + (half + shift) % channels);
            places.back[k][i] = static_cast<uint8_t>(half / channels * channels + (half + channels - shift) % channels);
            // Where i, in units of the channels, is k.
            places.own[k][i] = i % channels == k ? 255 : 0;
        }
    }
    return places;
}

template <size_t channels>
struct PixelTables {
    static constexpr Places<channels> places = makePlaces<channels>();
    Tables tables[channels];

    static __m256i place(const uint8_t (&of)[32]) { return _mm256_load_si256(reinterpret_cast<const __m256i *>(of)); }
    // The place of a channel's bytes in vector v.
    [[gnu::always_inline]] static __m256i where(size_t channel, size_t v) {
        const size_t shift = channels == 3 ? 2 * v : v;
        return place(places.own[(channel + 4 * channels - shift) % channels]);
    }

    [[gnu::always_inline]] void run(const uint8_t *a, uint8_t *d) const {
        __m256i in[channels], found[channels];
        for (size_t v = 0; v < channels; ++v) {
            in[v] = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(a + 32 * v));
            if (channels != 3) in[v] = _mm256_shuffle_epi8(in[v], place(places.turn[v]));
        }
        for (size_t channel = 0; channel < channels; ++channel) {
            __m256i bytes = _mm256_and_si256(in[0], where(channel, 0));
            for (size_t v = 1; v < channels; ++v)
                bytes = _mm256_or_si256(bytes, _mm256_and_si256(in[v], where(channel, v)));
            found[channel] = tables[channel].find(bytes);
        }
        for (size_t v = 0; v < channels; ++v) {
            __m256i out = _mm256_and_si256(found[0], where(0, v));
            for (size_t channel = 1; channel < channels; ++channel)
                out = _mm256_or_si256(out, _mm256_and_si256(found[channel], where(channel, v)));
            if (channels != 3) out = _mm256_shuffle_epi8(out, place(places.back[v]));
            _mm256_storeu_si256(reinterpret_cast<__m256i *>(d + 32 * v), out);
        }
    }
};
#endif

template <size_t channels>
void lookUpPixels(const uint8_t *a, uint8_t *d, size_t n, const uint8_t *table) {
    size_t i = 0;
#if defined(__AVX2__)
    constexpr size_t step = 32 * channels;
    if (n >= 8 * step) {
        PixelTables<channels> tables;
        for (size_t k = 0; k < channels; ++k)
            tables.tables[k].set(table + 256 * k);
        for (; i + step <= n; i += step)
            tables.run(a + i, d + i);
    }
#endif
    lookUpEach<Own8U, channels>(a + i, d + i, n - i, table);
}

void lookUpBytesOfPixels(const void *a_, const void *, void *d_, size_t n, const OwnConstant &c) {
    const uint8_t *a = static_cast<const uint8_t *>(a_), *table = static_cast<const uint8_t *>(c.table);
    uint8_t *d = static_cast<uint8_t *>(d_);
    if (c.value == 2) return lookUpPixels<2>(a, d, n, table);
    if (c.value == 3) return lookUpPixels<3>(a, d, n, table);
    lookUpPixels<4>(a, d, n, table);
}

void lookUpWordsOfPixels(const void *a_, const void *, void *d_, size_t n, const OwnConstant &c) {
    const Own16U::Sample *a = static_cast<const Own16U::Sample *>(a_);
    const Own16U::Sample *table = static_cast<const Own16U::Sample *>(c.table);
    Own16U::Sample *d = static_cast<Own16U::Sample *>(d_);
    if (c.value == 2) return lookUpEach<Own16U, 2>(a, d, n, table);
    if (c.value == 3) return lookUpEach<Own16U, 3>(a, d, n, table);
    lookUpEach<Own16U, 4>(a, d, n, table);
}

// Four at a time, by words: what compilers make of the loop is slower at the highest level.
void lookUpWords(const void *a_, const void *, void *d_, size_t n, const OwnConstant &c) {
    const uint8_t *a = static_cast<const uint8_t *>(a_);
    const Own16U::Sample *table = static_cast<const Own16U::Sample *>(c.table);
    uint8_t *d = static_cast<uint8_t *>(d_);
    for (; n >= 4; n -= 4, a += 8, d += 8) {
        uint64_t word, found = 0;
        __builtin_memcpy(&word, a, sizeof word);
        for (int k = 0; k < 64; k += 16)
            found |= uint64_t{table[word >> k & 65535]} << k;
        __builtin_memcpy(d, &found, sizeof found);
    }
    lookUpPlain<Own16U>(reinterpret_cast<const Own16U::Sample *>(a), reinterpret_cast<Own16U::Sample *>(d), n, table);
}

// Under a mask: found aside, a part at a time.
template <class D, OwnRow plain>
void lookUpMasked(const void *a_, const void *, void *d_, size_t n, const OwnConstant &c, const void *lanes_) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    const typename D::Lane *lanes = static_cast<const typename D::Lane *>(lanes_);
    typename D::Sample *d = static_cast<typename D::Sample *>(d_);
    constexpr size_t part = 1020;  // whole pixels
    typename D::Value found[part];
    for (size_t done = 0; done < n; done += part) {
        const size_t count = n - done < part ? n - done : part;
        plain(a + done, nullptr, found, count, c);
        OWN_ELEMENTWISE
        for (size_t i = 0; i < count; ++i)
            d[done + i] = ownSelect<D>(lanes[done + i], found[i], d[done + i]);
    }
}

}  // namespace

extern const OwnLookRows lookRows;
const OwnLookRows lookRows = {
    .bytes = {lookUpBytes, lookUpMasked<Own8U, lookUpBytes>, nullptr},
    .words = {lookUpWords, lookUpMasked<Own16U, lookUpWords>, nullptr},
    .bytesOfPixels = {lookUpBytesOfPixels, lookUpMasked<Own8U, lookUpBytesOfPixels>, nullptr},
    .wordsOfPixels = {lookUpWordsOfPixels, lookUpMasked<Own16U, lookUpWordsOfPixels>, nullptr},
};

}  // namespace OWN_LEVEL
