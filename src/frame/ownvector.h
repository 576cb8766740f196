// The widest plain vector of a kernel file's level, for the instructions that no loop over samples becomes.
#pragma once

#include "frame/ownblocks.h"
#include "frame/ownforms.h"

#if defined(__SSE2__)
#define OWN_HAS_VECTORS 1

namespace {

#if defined(__AVX2__)
using OwnVector = __m256i;
#define OWN_VECTOR(name, width) _mm256_##name##_##width
inline OwnVector ownLoad(const char *p) {
    return _mm256_loadu_si256(reinterpret_cast<const OwnVector *>(p));
}
inline void ownStore(char *p, OwnVector v) {
    _mm256_storeu_si256(reinterpret_cast<OwnVector *>(p), v);
}
inline OwnVector ownNot(OwnVector v) {
    return _mm256_xor_si256(v, _mm256_set1_epi32(-1));
}
inline OwnVector ownOr(OwnVector a, OwnVector b) {
    return _mm256_or_si256(a, b);
}
inline OwnVector ownZero() {
    return _mm256_setzero_si256();
}
#else
using OwnVector = __m128i;
#define OWN_VECTOR(name, width) _mm_##name##_##width
inline OwnVector ownLoad(const char *p) {
    return _mm_loadu_si128(reinterpret_cast<const OwnVector *>(p));
}
inline void ownStore(char *p, OwnVector v) {
    _mm_storeu_si128(reinterpret_cast<OwnVector *>(p), v);
}
inline OwnVector ownNot(OwnVector v) {
    return _mm_xor_si128(v, _mm_set1_epi32(-1));
}
inline OwnVector ownOr(OwnVector a, OwnVector b) {
    return _mm_or_si128(a, b);
}
inline OwnVector ownZero() {
    return _mm_setzero_si128();
}
#endif

// Kernels of F::vector(a, b), whole vectors of samples, and of Plain's element function for what is left of a row.
template <class D, class F, class Plain>
struct OwnVectorBlock {
    static void block(const char *a, const char *b, void *d, const OwnConstant &) {
        for (size_t i = 0; i < 64; i += sizeof(OwnVector)) {
            ownStore(static_cast<char *>(d) + i, F::vector(ownLoad(a + i), ownLoad(b + i)));
        }
    }
    static void tail(const char *a, const char *b, void *d, size_t n, const OwnConstant &c) {
        OwnBinary<D, Plain>::plain(a, b, d, n, c);
    }
};
template <class D, class F, class Plain>
using OwnVectorBinary = OwnBlockForms<D, OwnVectorBlock<D, F, Plain>>;

}  // namespace
#endif
