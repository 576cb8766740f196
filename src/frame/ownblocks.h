// The forms of a kernel that works on blocks of 64 bytes.
#pragma once

#include "frame/ownsample.h"

namespace {

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

}  // namespace
