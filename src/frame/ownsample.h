// Samples for kernel files. Image data may stand at any address, so a sample's type carries no alignment, and
// it may alias whatever the caller keeps there.
#pragma once

#include "frame/ownkernel.h"

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

// What a streamed kernel computes aside at a time: a cache line.
constexpr size_t OWN_STREAM_BLOCK = 64;

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

// Stores a block past the caches, where the processor can. Both are aligned to 64 bytes. The block comes in vectors as
// wide as those that it was computed in, or narrower: a wider load would wait for their stores.
[[gnu::always_inline]] inline void ownStreamBlock(void *to, const void *block) {
#if defined(__AVX2__)
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

// Runs n samples of a row whose destination is not read back: those before the first cache line and behind the last
// whole block by plain(i, count), which stores them, the blocks by block(i, values), which computes samples aside.
template <class Sample, class Plain, class Block>
[[gnu::always_inline]] inline void ownStreamRow(void *to, size_t n, const Plain &plain, const Block &block) {
    constexpr size_t step = OWN_STREAM_BLOCK / sizeof(Sample);
    const size_t toLine = -reinterpret_cast<uintptr_t>(to) & 63, head = toLine / sizeof(Sample);
    if (toLine % sizeof(Sample) != 0 || n < head + step) return plain(0, n);
    plain(0, head);
    size_t i = head;
    for (; i + step <= n; i += step) {
        alignas(64) unsigned char values[OWN_STREAM_BLOCK];
        block(i, values);
        ownStreamBlock(static_cast<Sample *>(to) + i, values);
    }
    plain(i, n - i);
}

}  // namespace
