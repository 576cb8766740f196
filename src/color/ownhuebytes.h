// Hue and saturation of bytes by vectors of floats, for kernel files. What is stored is the whole part of a fraction
// whose terms are small integers. In floats it comes out within 1e-4, and another fraction is at least 1 / 510 below a
// whole number: so it is the fraction itself that is truncated, as long as a little is added first.
//
// The same holds for the double precision that defines the result, but for 29 hues that are whole numbers and come out
// just below in that precision. They are found by their result and by delta, which is a multiple of 17 in all of them.
#pragma once

#include "color/ownhue.h"
#include "color/ownwide.h"
#include "color/ownwords.h"

#if defined(OWN_HAS_VECTORS)

namespace {

struct OwnHueBytes {
    static constexpr size_t width = sizeof(OwnVector);

    OwnVector max, min, delta;
    OwnVector hue, saturation;

    [[gnu::always_inline]] OwnHueBytes(OwnVector r, OwnVector g, OwnVector b)
        : max(OWN_VECTOR(max, epu8)(r, OWN_VECTOR(max, epu8)(g, b))),
          min(OWN_VECTOR(min, epu8)(r, OWN_VECTOR(min, epu8)(g, b))),
          delta(OWN_VECTOR(sub, epi8)(max, min)) {
        const OwnVector isR = OWN_VECTOR(cmpeq, epi8)(r, max), isG = OWN_VECTOR(cmpeq, epi8)(g, max);
        first_ = ownChoose(isR, g, ownChoose(isG, b, r));
        second_ = ownChoose(isR, b, ownChoose(isG, r, g));
        // 0, 1 or 2 thirds of the circle.
        thirds_ = ownAndNot(OWN_VECTOR(add, epi8)(ownSplat<Own8U>(2), isG), isR);
    }

    // Words of hue and saturation for half of the pixels: the latter is delta / most.
    template <int half>
    [[gnu::always_inline]] void compute(OwnVector most) {
        const OwnVector d = ownWords<half>(delta), thirds = ownWords<half>(thirds_);
        const OwnVector difference = ownMinus(ownWords<half>(first_), ownWords<half>(second_));
        // Below 0 the hue is in the last third's place, as if it were three thirds on.
        const OwnVector below =
            ownAnd(OWN_VECTOR(srai, epi16)(difference, 15), OWN_VECTOR(cmpeq, epi16)(thirds, ownZero()));
        const OwnVector turns = ownPlus(thirds, ownAnd(below, ownSplat<Own16U>(3)));
        steps_[half] = ownPlus(difference, OWN_VECTOR(mullo, epi16)(turns, ownPlus(d, d)));
        const Parts low =
            divide(OWN_VECTOR(unpacklo, epi16)(steps_[half], ownZero()), OWN_VECTOR(unpacklo, epi16)(d, ownZero()),
                   OWN_VECTOR(unpacklo, epi16)(most, ownZero()));
        const Parts high =
            divide(OWN_VECTOR(unpackhi, epi16)(steps_[half], ownZero()), OWN_VECTOR(unpackhi, epi16)(d, ownZero()),
                   OWN_VECTOR(unpackhi, epi16)(most, ownZero()));
        hues_[half] = OWN_VECTOR(packs, epi32)(low.hue, high.hue);
        saturations_[half] = OWN_VECTOR(packs, epi32)(low.saturation, high.saturation);
    }

    [[gnu::always_inline]] void finish() {
        hue = OWN_VECTOR(packus, epi16)(hues_[0], hues_[1]);
        saturation = OWN_VECTOR(packus, epi16)(saturations_[0], saturations_[1]);
        const auto candidates = static_cast<unsigned>(OWN_VECTOR(movemask, epi8)(suspects()));
        if (__builtin_expect(candidates != 0, 0)) hue = corrected(hue, delta, steps_[0], steps_[1], candidates);
    }

  private:
    struct Parts {
        OwnVector hue, saturation;
    };

    // One division for both, of a number a little above 42.5: 1 / delta is most / (delta most). 0 / 0 ends as 0, by way
    // of the least integer.
    [[gnu::always_inline]] static Parts divide(OwnVector steps, OwnVector delta, OwnVector most) {
        const auto s = static_cast<OwnFloats>(OWN_VECTOR(cvtepi32, ps)(steps)),
                   d = static_cast<OwnFloats>(OWN_VECTOR(cvtepi32, ps)(delta)),
                   m = static_cast<OwnFloats>(OWN_VECTOR(cvtepi32, ps)(most));
        const OwnFloats inverse = 42.50004f / (d * m);
        return {OWN_VECTOR(cvttps, epi32)(s * (m * inverse)), OWN_VECTOR(cvttps, epi32)(d * 6.0f * (d * inverse))};
    }

    // A hue may be one of the 29: two half bytes that are equal make a multiple of 17.
    [[gnu::always_inline]] OwnVector suspects() const {
        const OwnVector lower = ownSplat<Own8U>(15);
        const OwnVector deltaLow = ownAnd(delta, lower);
        const OwnVector deltaHigh = ownAnd(OWN_VECTOR(srli, epi16)(delta, 4), lower);
        const OwnVector multiple = OWN_VECTOR(cmpeq, epi8)(deltaLow, deltaHigh);
#if defined(__AVX2__)
        // A bit for each kind of hue, by its half bytes, and for the multiples that go with it: 47 and 111; 64 and 128;
        // 70; 140; 145; 205.
        const OwnVector ofLow =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(2, 16, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 8, 32, 0, 1));
        const OwnVector ofHigh =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 0, 1, 0, 6, 0, 1, 0, 10, 16, 0, 0, 32, 0, 0, 0));
        const OwnVector ofDelta =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 16, 16, 16, 16, 19, 16, 32, 16, 16, 19, 32, 16, 28, 32, 19));
        const OwnVector hueLow = ownAnd(hue, lower), hueHigh = ownAnd(_mm256_srli_epi16(hue, 4), lower);
        const OwnVector kind = ownAnd(_mm256_shuffle_epi8(ofLow, hueLow), _mm256_shuffle_epi8(ofHigh, hueHigh));
        const OwnVector found = ownAnd(kind, _mm256_shuffle_epi8(ofDelta, deltaLow));
        return ownAndNot(multiple, _mm256_cmpeq_epi8(found, ownZero()));
#else
        return ownAndNot(multiple, OWN_VECTOR(cmpeq, epi8)(delta, ownZero()));
#endif
    }

    static bool isBelow(int hue, int delta) {
        const int multiple = delta / 17;
        switch (hue) {
            case 47:
            case 64:
            case 111:
            case 128:
                return multiple % 5 == 0;
            case 70:
            case 140:
                return multiple == 13;
            case 205:
                return multiple == 7 || multiple == 11 || multiple == 14;
            case 145:
                return multiple != 7 && multiple != 11 && multiple != 14;
            default:
                return false;
        }
    }

    // A function of its own, so that this record lives in registers.
    [[gnu::noinline]] static OwnVector corrected(OwnVector hue, OwnVector delta, OwnVector low, OwnVector high,
                                                 unsigned candidates) {
        uint8_t hues[width], deltas[width];
        int16_t steps[2][width / 2];
        __builtin_memcpy(hues, &hue, width);
        __builtin_memcpy(deltas, &delta, width);
        __builtin_memcpy(steps[0], &low, width);
        __builtin_memcpy(steps[1], &high, width);
        for (; candidates != 0; candidates &= candidates - 1) {
            const auto i = static_cast<size_t>(__builtin_ctz(candidates));
            // Each 16 bytes have words of their own.
            const int step = steps[i / 8 % 2][i / 16 * 8 + i % 8];
            if (step * 85 == 2 * deltas[i] * hues[i] && isBelow(hues[i], deltas[i])) --hues[i];
        }
        __builtin_memcpy(&hue, hues, width);
        return hue;
    }

    OwnVector first_, second_, thirds_;
    OwnVector steps_[2], hues_[2], saturations_[2];
};

}  // namespace
#endif
