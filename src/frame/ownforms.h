// The forms of a kernel whose every element is a function of equal positions: one loop, over samples of any depth.
#pragma once

#include "frame/ownsample.h"

namespace {

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
