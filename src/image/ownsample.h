// Samples and loops for kernel files. Image data may stand at any address, so a sample's type carries no alignment, and
// it may alias whatever the caller keeps there.
#pragma once

#include "image/ownkernel.h"

// The destination may be a source: equal positions, so that no iteration depends on another.
#if defined(__clang__)
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

// Kernels of an element function f(a, b, constant) at a depth.
template <class D, class F>
struct OwnBinary {
    static void plain(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c) {
        const auto *a = static_cast<const typename D::Sample *>(a_);
        const auto *b = static_cast<const typename D::Sample *>(b_);
        auto *d = static_cast<typename D::Sample *>(d_);
        const OwnConstant constant = c;
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = F::template f<D>(a[i], b[i], constant);
    }
    static void masked(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c, const void *lanes_) {
        const auto *a = static_cast<const typename D::Sample *>(a_);
        const auto *b = static_cast<const typename D::Sample *>(b_);
        const auto *lanes = static_cast<const typename D::Lane *>(lanes_);
        auto *d = static_cast<typename D::Sample *>(d_);
        const OwnConstant constant = c;
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = ownSelect<D>(lanes[i], F::template f<D>(a[i], b[i], constant), d[i]);
    }
    static constexpr OwnRowPair pair = {plain, masked};
};

// The same for f(a, constant).
template <class D, class F>
struct OwnUnary {
    static void plain(const void *a_, const void *, void *d_, size_t n, const OwnConstant &c) {
        const auto *a = static_cast<const typename D::Sample *>(a_);
        auto *d = static_cast<typename D::Sample *>(d_);
        const OwnConstant constant = c;
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = F::template f<D>(a[i], constant);
    }
    static void masked(const void *a_, const void *, void *d_, size_t n, const OwnConstant &c, const void *lanes_) {
        const auto *a = static_cast<const typename D::Sample *>(a_);
        const auto *lanes = static_cast<const typename D::Lane *>(lanes_);
        auto *d = static_cast<typename D::Sample *>(d_);
        const OwnConstant constant = c;
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n; ++i)
            d[i] = ownSelect<D>(lanes[i], F::template f<D>(a[i], constant), d[i]);
    }
    static constexpr OwnRowPair pair = {plain, masked};
};

}  // namespace
