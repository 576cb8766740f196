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
    explicit Tables(const uint8_t *table) {
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
        const Tables tables(table);
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

void lookUpWords(const void *a, const void *, void *d, size_t n, const OwnConstant &c) {
    lookUpPlain<Own16U>(static_cast<const Own16U::Sample *>(a), static_cast<Own16U::Sample *>(d), n,
                        static_cast<const Own16U::Sample *>(c.table));
}

// Under a mask: found aside, a part at a time.
template <class D, OwnRow plain>
void lookUpMasked(const void *a_, const void *, void *d_, size_t n, const OwnConstant &c, const void *lanes_) {
    const typename D::Sample *a = static_cast<const typename D::Sample *>(a_);
    const typename D::Lane *lanes = static_cast<const typename D::Lane *>(lanes_);
    typename D::Sample *d = static_cast<typename D::Sample *>(d_);
    constexpr size_t part = 1024;
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
};

}  // namespace OWN_LEVEL
