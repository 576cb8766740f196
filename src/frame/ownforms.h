// The forms of a kernel whose every element is a function of equal positions, F::f<D>(a, b, constant) or
// F::f<D>(a, constant). They are loops over samples. What a compiler makes no good vectors of has F::vector<D>(a, b,
// constant) beside it, which computes a vector of samples; the loops are then for other processors.
#pragma once

#include "frame/ownvectorforms.h"

namespace {

// The three forms of a kernel whose element i is compute(i, a, b, constant), as loops that the compiler vectorises.
template <class D, class Element>
struct OwnLoopForms {
    static constexpr int sources = Element::sources;
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

    static void streamed(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c) {
        const Sample *a = static_cast<const Sample *>(a_);
        const Sample *b = static_cast<const Sample *>(b_);
        Sample *d = static_cast<Sample *>(d_);
        const OwnConstant constant = c;
        const auto stored = [&](size_t i, size_t count) {
            for (const size_t end = i + count; i < end; ++i)
                d[i] = Element::compute(i, a, b, constant);
        };
        const auto aside = [&](size_t i, void *values) {
            for (size_t k = 0; k < OWN_STREAM_BLOCK / sizeof(Value); ++k)
                static_cast<Value *>(values)[k] = Element::compute(i + k, a, b, constant);
        };
        ownStreamRow<Sample>(d_, n, stored, aside);
    }

    static constexpr OwnRowForms forms = {plain, masked, streamed};
};

// Element i of f(a, b, constant), and of f(a, constant).
template <class D, class F>
struct OwnBinaryElement {
    static constexpr int sources = 2;
    using Sample = typename D::Sample;
    [[gnu::always_inline]] static typename D::Value compute(size_t i, const Sample *a, const Sample *b,
                                                            const OwnConstant &c) {
        return F::template f<D>(a[i], b[i], c);
    }
};
template <class D, class F>
struct OwnUnaryElement {
    static constexpr int sources = 1;
    using Sample = typename D::Sample;
    [[gnu::always_inline]] static typename D::Value compute(size_t i, const Sample *a, const Sample *,
                                                            const OwnConstant &c) {
        return F::template f<D>(a[i], c);
    }
};

// By vectors where F has a vector function of this depth, and by loops elsewhere.
template <class D, class F, class Element>
constexpr OwnRowForms ownFormsOf() {
#if defined(OWN_HAS_VECTORS)
    if constexpr (requires(OwnVector v, const OwnConstant &c) { F::template vector<D>(v, v, c); }) {
        return OwnVectorForms<D, F, OwnLoopForms<D, Element>>::forms;
    }
#endif
    return OwnLoopForms<D, Element>::forms;
}
template <class D, class F>
constexpr OwnRowForms ownBinary = ownFormsOf<D, F, OwnBinaryElement<D, F>>();
template <class D, class F>
constexpr OwnRowForms ownUnary = ownFormsOf<D, F, OwnUnaryElement<D, F>>();

}  // namespace
