// Row kernels between whole numbers and floats, compiled once for each CPU level. They run while rounding is to
// nearest.
#include "color/owndepthforms.h"
#include "color/owndepthrows.h"

namespace OWN_LEVEL {
namespace {

template <class T>
constexpr bool isSigned = static_cast<typename T::Value>(-1) < 0;

#if defined(OWN_HAS_VECTORS)

// Floats as many as a vector has, and doubles half as many.
#if defined(__AVX2__)
using Floats = __m256;
using Reals = __m256d;
using Half = __m128;
#define REAL(name) _mm256_##name
inline Half lower(Floats v) {
    return _mm256_castps256_ps128(v);
}
inline Half upper(Floats v) {
    return _mm256_extractf128_ps(v, 1);
}
inline OwnVector join(__m128i low, __m128i high) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
}
inline OwnVector joinFloats(Half low, Half high) {
    return _mm256_castps_si256(_mm256_insertf128_ps(_mm256_castps128_ps256(low), high, 1));
}
#else
using Floats = __m128;
using Reals = __m128d;
using Half = __m128;
#define REAL(name) _mm_##name
inline Half lower(Floats v) {
    return v;
}
inline Half upper(Floats v) {
    return _mm_movehl_ps(v, v);
}
inline OwnVector join(__m128i low, __m128i high) {
    return _mm_unpacklo_epi64(low, high);
}
inline OwnVector joinFloats(Half low, Half high) {
    return _mm_castps_si128(_mm_movelh_ps(low, high));
}
#endif
constexpr size_t FLOATS = sizeof(Floats) / 4, REALS = FLOATS / 2;

inline Floats loadFloats(const OwnAnyF32 *a) {
    return REAL(loadu_ps)(reinterpret_cast<const float *>(a));
}

#endif

// --------------------------------------------------------------------------------------------------------- to floats

template <class S>
struct ToReal {
    explicit ToReal(const OwnConstant &c) {
        const auto *scale = static_cast<const OwnRealScale *>(c.table);
        step = scale->step;
        offset = scale->offset;
    }
    [[gnu::always_inline]] float operator()(typename S::Value a) const {
        return static_cast<float>(static_cast<double>(a) * step + offset);
    }

#if defined(OWN_HAS_VECTORS)
    static constexpr int bits = 8 * sizeof(typename S::Value);
    // With the bits of 2^52 above it, a number is that of a double greater by 2^52. Signed samples are moved to where
    // they are not negative.
    static constexpr uint64_t bias = isSigned<S> ? uint64_t{1} << (bits - 1) : 0;
    static constexpr double least = 4503599627370496.0 + static_cast<double>(bias);

    static long long zeroExtended(typename S::Value a) {
        return static_cast<long long>(static_cast<uint32_t>(a) & ((uint64_t{1} << bits) - 1));
    }
    [[gnu::always_inline]] static Reals reals(const typename S::Sample *a) {
        const auto above = REAL(set1_epi64x)(static_cast<long long>(0x4330000000000000 | bias));
#if defined(__AVX2__)
        __m256i wide;
        if constexpr (bits == 8) {
            int part;
            __builtin_memcpy(&part, a, sizeof part);
            wide = _mm256_cvtepu8_epi64(_mm_cvtsi32_si128(part));
        } else if constexpr (bits == 16) {
            wide = _mm256_cvtepu16_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(a)));
        } else {
            wide = _mm256_cvtepu32_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i *>(a)));
        }
        return _mm256_sub_pd(_mm256_castsi256_pd(_mm256_xor_si256(wide, above)), _mm256_set1_pd(least));
#else
        const __m128i wide = _mm_set_epi64x(zeroExtended(a[1]), zeroExtended(a[0]));
        return _mm_sub_pd(_mm_castsi128_pd(_mm_xor_si128(wide, above)), _mm_set1_pd(least));
#endif
    }
    [[gnu::always_inline]] Half floats(const typename S::Sample *a) const {
        return REAL(cvtpd_ps)(REAL(add_pd)(REAL(mul_pd)(reals(a), REAL(set1_pd)(step)), REAL(set1_pd)(offset)));
    }
    [[gnu::always_inline]] OwnVector vector(const typename S::Sample *a) const {
        return joinFloats(floats(a), floats(a + REALS));
    }
#endif
    double step, offset;
};

// Bytes by two products of floats.
struct ToRealByParts {
    explicit ToRealByParts(const OwnConstant &c) {
        const auto *scale = static_cast<const OwnRealScale *>(c.table);
        upper = scale->upper;
        lower = scale->lower;
    }
    [[gnu::always_inline]] float operator()(uint8_t a) const {
        const float real = a;
        return real * upper + real * lower;
    }
#if defined(OWN_HAS_VECTORS)
    [[gnu::always_inline]] OwnVector vector(const Own8U::Sample *a) const {
        const OwnVector bytes = ownLoadPart<FLOATS>(reinterpret_cast<const char *>(a));
#if defined(__AVX2__)
        const OwnVector words = _mm256_cvtepu8_epi32(ownNarrow(bytes));
#else
        const OwnVector words = _mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, ownZero()), ownZero());
#endif
        const Floats real = REAL(cvtepi32_ps)(words);
        const Floats sum =
            REAL(add_ps)(REAL(mul_ps)(real, REAL(set1_ps)(upper)), REAL(mul_ps)(real, REAL(set1_ps)(lower)));
        return reinterpret_cast<OwnVector>(sum);
    }
#endif
    float upper, lower;
};

void bytesToReal(const void *a, const void *b, void *d, size_t n, const OwnConstant &c) {
    const bool byParts = static_cast<const OwnRealScale *>(c.table)->upper != 0;
    (byParts ? OwnDepthForms<Own8U, Own32F, ToRealByParts>::plain : OwnDepthForms<Own8U, Own32F, ToReal<Own8U>>::plain)(
        a, b, d, n, c);
}
void bytesToRealStreamed(const void *a, const void *b, void *d, size_t n, const OwnConstant &c) {
    const bool byParts = static_cast<const OwnRealScale *>(c.table)->upper != 0;
    (byParts ? OwnDepthForms<Own8U, Own32F, ToRealByParts>::streamed
             : OwnDepthForms<Own8U, Own32F, ToReal<Own8U>>::streamed)(a, b, d, n, c);
}

// The product of a byte and the step's upper 16 bits is a float as it is, and that of the rest is small. So their sum
// is nearly always the one float that the product of doubles is rounded to: it is asked for every byte.
void findParts(OwnRealScale *scale) {
    scale->upper = scale->lower = 0;
    if (scale->offset != 0) return;
    auto upper = static_cast<float>(scale->step);
    uint32_t word;
    __builtin_memcpy(&word, &upper, sizeof word);
    word &= 0xFFFFFF00;
    __builtin_memcpy(&upper, &word, sizeof word);
    const auto lower = static_cast<float>(scale->step - static_cast<double>(upper));

    uint8_t bytes[256];
    float exact[256], parts[256];
    for (int i = 0; i < 256; ++i)
        bytes[i] = static_cast<uint8_t>(i);
    OwnRealScale tried = *scale;
    tried.upper = upper;
    tried.lower = lower;
    OwnConstant constant = {0, 0, 0, &tried};
    OwnDepthForms<Own8U, Own32F, ToReal<Own8U>>::plain(bytes, nullptr, exact, 256, constant);
    OwnDepthForms<Own8U, Own32F, ToRealByParts>::plain(bytes, nullptr, parts, 256, constant);
    if (__builtin_memcmp(exact, parts, sizeof exact) != 0) return;
    scale->upper = upper;
    scale->lower = lower;
}

// ------------------------------------------------------------------------------------------------------- from floats

template <class T>
struct FromReal {
    static constexpr int bits = 8 * sizeof(typename T::Value);
    static constexpr double least = isSigned<T> ? -static_cast<double>(uint64_t{1} << (bits - 1)) : 0;
    static constexpr double most = least + static_cast<double>((uint64_t{1} << bits) - 1);

    explicit FromReal(const OwnConstant &c) : scale(*static_cast<const OwnRealScale *>(c.table)) {}
    [[gnu::always_inline]] typename T::Value operator()(float a) const {
        const float clamped = a < scale.low ? scale.low : a > scale.high ? scale.high : a;
        const double value =
            (static_cast<double>(clamped) - static_cast<double>(scale.low)) * scale.step + scale.offset;
        return static_cast<typename T::Value>(__builtin_lrint(!(value > least) ? least : value > most ? most : value));
    }

#if defined(OWN_HAS_VECTORS)
    // The nearest whole numbers; the least one of 32 bits where there is none.
    [[gnu::always_inline]] __m128i round(Half a) const {
        const Reals from = REAL(sub_pd)(REAL(cvtps_pd)(a), REAL(set1_pd)(static_cast<double>(scale.low)));
        return REAL(cvtpd_epi32)(
            REAL(add_pd)(REAL(mul_pd)(from, REAL(set1_pd)(scale.step)), REAL(set1_pd)(scale.offset)));
    }
    // What is no number stays none: of two operands the second is kept then.
    [[gnu::always_inline]] OwnVector words(const OwnAnyF32 *a) const {
        const Floats some = REAL(max_ps)(REAL(set1_ps)(scale.low), loadFloats(a));
        const Floats clamped = REAL(min_ps)(REAL(set1_ps)(scale.high), some);
        return join(round(lower(clamped)), round(upper(clamped)));
    }
    [[gnu::always_inline]] OwnVector vector(const OwnAnyF32 *a) const {
        if constexpr (bits == 32) {
            return words(a);
        } else if constexpr (bits == 16) {
            return ownInOrder2(ownPackWords<isSigned<T>>(words(a), words(a + FLOATS)));
        } else {
            const OwnVector low = ownPackWords<true>(words(a), words(a + FLOATS));
            const OwnVector high = ownPackWords<true>(words(a + 2 * FLOATS), words(a + 3 * FLOATS));
            return ownInOrder4(ownPackBytes<isSigned<T>>(low, high));
        }
    }
#endif
    OwnRealScale scale;
};

#if defined(OWN_HAS_VECTORS)

// Bytes from products of floats. Their error is below 2^-14 as long as they are within the range of bytes, so that they
// are rounded as the exact ones unless they come as close as that to the middle between two numbers; what lies beyond
// the range is clamped as it is packed. Floats that may be rounded otherwise, or do not fit 32 bits, take the long way
// with those around them.
template <class T, bool fromZero>
struct FromRealByFloats : FromReal<T> {
    explicit FromRealByFloats(const OwnConstant &c)
        : FromReal<T>(c), least(this->scale.low), step(static_cast<float>(this->scale.step)) {}
    using FromReal<T>::operator();

    [[gnu::always_inline]] OwnVector round(const OwnAnyF32 *a, Floats *farthest) const {
        const Floats from = fromZero ? loadFloats(a) : REAL(sub_ps)(loadFloats(a), REAL(set1_ps)(least));
        const Floats value = REAL(mul_ps)(from, REAL(set1_ps)(step));
        const OwnVector rounded = REAL(cvtps_epi32)(value);
        const Floats distance = REAL(andnot_ps)(REAL(set1_ps)(-0.0f), REAL(sub_ps)(value, REAL(cvtepi32_ps)(rounded)));
        *farthest = REAL(max_ps)(distance, *farthest);
        return rounded;
    }
    [[gnu::always_inline]] OwnVector vector(const OwnAnyF32 *a) const {
        Floats farthest = REAL(setzero_ps)();
        const OwnVector first = round(a, &farthest), second = round(a + FLOATS, &farthest);
        const OwnVector third = round(a + 2 * FLOATS, &farthest), fourth = round(a + 3 * FLOATS, &farthest);
        const Floats bound = REAL(set1_ps)(0.5f - 1.0f / 16384);
#if defined(__AVX2__)
        const int unsure = _mm256_movemask_ps(_mm256_cmp_ps(farthest, bound, _CMP_GT_OQ));
#else
        const int unsure = _mm_movemask_ps(_mm_cmpgt_ps(farthest, bound));
#endif
        if (__builtin_expect(unsure != 0, 0)) return FromReal<T>::vector(a);
        const OwnVector low = ownPackWords<true>(first, second), high = ownPackWords<true>(third, fourth);
        return ownXor(ownInOrder4(ownPackBytes<false>(low, high)), ownSplat<Own8U>(isSigned<T> ? 128 : 0));
    }
    float least, step;
};

template <class T, bool streamed>
void bytesFromReal(const void *a, const void *b, void *d, size_t n, const OwnConstant &c) {
    const auto *scale = static_cast<const OwnRealScale *>(c.table);
    const auto step = static_cast<float>(scale->step);
    const bool isNormal = step >= __FLT_MIN__ && step <= __FLT_MAX__;
    const auto run = [&]<class F>() {
        using Forms = OwnDepthForms<Own32F, T, F>;
        (streamed ? Forms::streamed : Forms::plain)(a, b, d, n, c);
    };
    if (!isNormal) return run.template operator()<FromReal<T>>();
    if (scale->low == 0) return run.template operator()<FromRealByFloats<T, true>>();
    run.template operator()<FromRealByFloats<T, false>>();
}

#else

template <class T, bool streamed>
void bytesFromReal(const void *a, const void *b, void *d, size_t n, const OwnConstant &c) {
    using Forms = OwnDepthForms<Own32F, T, FromReal<T>>;
    (streamed ? Forms::streamed : Forms::plain)(a, b, d, n, c);
}

#endif

template <class D>
constexpr OwnMixedForms toReal = OwnDepthForms<D, Own32F, ToReal<D>>::forms;
template <class D>
constexpr OwnMixedForms fromReal = OwnDepthForms<Own32F, D, FromReal<D>>::forms;

}  // namespace

extern const OwnRealRows realRows;
const OwnRealRows realRows = {
    .toReal = {{bytesToReal, bytesToRealStreamed}, toReal<Own8S>, toReal<Own16U>, toReal<Own16S>, toReal<Own32S>},
    .fromReal = {{bytesFromReal<Own8U, false>, bytesFromReal<Own8U, true>},
                 {bytesFromReal<Own8S, false>, bytesFromReal<Own8S, true>},
                 fromReal<Own16U>,
                 fromReal<Own16S>,
                 fromReal<Own32S>},
    .findParts = findParts,
};

}  // namespace OWN_LEVEL
