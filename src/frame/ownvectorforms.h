// The forms of kernels that compute with vectors.
#pragma once

#include "frame/ownlanes.h"

#if defined(OWN_HAS_VECTORS)

namespace {

// The form under bits of kernels whose forms have part<bytes>(a, b, i, constant), the vector of results from byte i on.
template <class Forms>
struct OwnFormUnderBits {
    static constexpr size_t sampleBytes = Forms::sampleBytes;

    static void run(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c, const uint8_t *bits) {
        const char *a = static_cast<const char *>(a_), *b = static_cast<const char *>(b_);
        char *d = static_cast<char *>(d_);
        const OwnConstant constant = c;
        size_t i = 0;
        for (; i + OWN_LANE_GROUP <= n; i += OWN_LANE_GROUP) {
            const OwnLanes<sampleBytes> lanes(ownLoadGroup(bits + i / 8));
#pragma GCC unroll 4
            for (size_t v = 0; v < sampleBytes; ++v) {
                const size_t at = i * sampleBytes + v * sizeof(OwnVector);
                const OwnVector result = Forms::template part<sizeof(OwnVector)>(a, b, at, constant);
                ownStore(d + at, ownChoose(lanes.at(v), result, ownLoad(d + at)));
            }
        }
        if (i == n) return;
        uint8_t lanes[OWN_LANE_GROUP * sampleBytes];
        ownExpandBits<sampleBytes>(bits + i / 8, lanes, n - i);
        const size_t at = i * sampleBytes;
        Forms::masked(Forms::sources > 0 ? a + at : nullptr, Forms::sources > 1 ? b + at : nullptr, d + at, n - i, c,
                      lanes);
    }
};

// The forms of a kernel that has F::vector<D>(a, b, constant), whole vectors of samples: where a processor has
// instructions that no loop over samples becomes. Loops are its forms for rows shorter than four bytes. A source that
// the kernel does not have is null, and its vector unspecified.
template <class D, class F, class Loops>
struct OwnVectorForms {
    static constexpr size_t width = sizeof(OwnVector), sampleBytes = sizeof(typename D::Value);
    static constexpr int sources = Loops::sources;

    template <size_t bytes>
    [[gnu::always_inline]] static OwnVector part(const char *a, const char *b, size_t i, const OwnConstant &c) {
        if constexpr (sources == 0) return F::template vector<D>(ownZero(), ownZero(), c);
        if constexpr (sources == 1) return F::template vector<D>(ownLoadPart<bytes>(a + i), ownZero(), c);
        if constexpr (sources == 2)
            return F::template vector<D>(ownLoadPart<bytes>(a + i), ownLoadPart<bytes>(b + i), c);
    }

    // bytes of d from i on = at<bytes>(i), by the widest parts that the row has. The last part of a row may overlap
    // those before; it is computed first, since the destination may be a source, and stored last.
    template <size_t bytes, class At>
    [[gnu::always_inline]] static bool byParts(char *d, size_t n, const At &at) {
        if (n < bytes) return false;
        const OwnVector last = at.template operator()<bytes>(n - bytes);
        OWN_ELEMENTWISE
        for (size_t i = 0; i < n - bytes; i += bytes)
            ownStorePart<bytes>(d + i, at.template operator()<bytes>(i));
        ownStorePart<bytes>(d + n - bytes, last);
        return true;
    }
    template <class At>
    [[gnu::always_inline]] static bool byParts(char *d, size_t n, const At &at) {
        return byParts<width>(d, n, at) || (width > 16 && byParts<16>(d, n, at)) || byParts<8>(d, n, at) ||
               byParts<4>(d, n, at);
    }

    static void plain(const void *a_, const void *b_, void *d, size_t n, const OwnConstant &c) {
        const char *a = static_cast<const char *>(a_), *b = static_cast<const char *>(b_);
        const OwnConstant constant = c;
        const auto at = [&]<size_t bytes>(size_t i) { return part<bytes>(a, b, i, constant); };
        if (!byParts(static_cast<char *>(d), n * sampleBytes, at)) Loops::plain(a_, b_, d, n, c);
    }

    static void masked(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c, const void *lanes_) {
        const char *a = static_cast<const char *>(a_), *b = static_cast<const char *>(b_);
        const char *lanes = static_cast<const char *>(lanes_);
        char *d = static_cast<char *>(d_);
        const OwnConstant constant = c;
        const auto at = [&]<size_t bytes>(size_t i) {
            const OwnVector lane = ownLoadPart<bytes>(lanes + i), before = ownLoadPart<bytes>(d + i);
            const OwnVector result = part<bytes>(a, b, i, constant);
            return ownSelectBits(lane, result, before);
        };
        if (!byParts(d, n * sampleBytes, at)) Loops::masked(a_, b_, d_, n, c, lanes_);
    }

    static void streamed(const void *a_, const void *b_, void *d_, size_t n, const OwnConstant &c) {
        using Sample = typename D::Sample;
        const Sample *a = static_cast<const Sample *>(a_), *b = static_cast<const Sample *>(b_);
        Sample *d = static_cast<Sample *>(d_);
        const OwnConstant constant = c;
        const auto stored = [&](size_t i, size_t count) {
            plain(sources > 0 ? a + i : nullptr, sources > 1 ? b + i : nullptr, d + i, count, constant);
        };
        const auto aside = [&](size_t i, unsigned char *values) {
            const char *from = sources > 0 ? reinterpret_cast<const char *>(a + i) : nullptr;
            const char *other = sources > 1 ? reinterpret_cast<const char *>(b + i) : nullptr;
            for (size_t k = 0; k < OWN_STREAM_BLOCK; k += width)
                ownStore(reinterpret_cast<char *>(values) + k, part<width>(from, other, k, constant));
        };
        ownStreamRow<Sample>(d_, n, stored, aside);
    }

    static constexpr OwnRowForms forms = {plain, masked, streamed, nullptr, OwnFormUnderBits<OwnVectorForms>::run};
};

}  // namespace
#endif
