// Butterflies: transforms of a few points, kernel e^(-2 pi i n k / r), for kernel files. Twiddles come after them.
#pragma once

#include "transform/ownlanes.h"

namespace {

template <int lanes>
[[gnu::always_inline]] inline OwnPoint<lanes> operator+(const OwnPoint<lanes> &a, const OwnPoint<lanes> &b) {
    return {a.re + b.re, a.im + b.im};
}
template <int lanes>
[[gnu::always_inline]] inline OwnPoint<lanes> operator-(const OwnPoint<lanes> &a, const OwnPoint<lanes> &b) {
    return {a.re - b.re, a.im - b.im};
}
template <int lanes>
[[gnu::always_inline]] inline OwnPoint<lanes> operator*(const OwnPoint<lanes> &a, float b) {
    return {a.re * b, a.im * b};
}
// a + i b and a - i b.
template <int lanes>
[[gnu::always_inline]] inline OwnPoint<lanes> ownPlusI(const OwnPoint<lanes> &a, const OwnPoint<lanes> &b) {
    return {a.re - b.im, a.im + b.re};
}
template <int lanes>
[[gnu::always_inline]] inline OwnPoint<lanes> ownMinusI(const OwnPoint<lanes> &a, const OwnPoint<lanes> &b) {
    return {a.re + b.im, a.im - b.re};
}
template <int lanes>
[[gnu::always_inline]] inline OwnPoint<lanes> ownTimes(const OwnPoint<lanes> &a, float re, float im) {
    return {a.re * re - a.im * im, a.re * im + a.im * re};
}

template <int radix>
struct OwnButterfly;

template <>
struct OwnButterfly<2> {
    template <int lanes>
    [[gnu::always_inline]] static void run(OwnPoint<lanes> *a) {
        const OwnPoint<lanes> t = a[0] + a[1];
        a[1] = a[0] - a[1];
        a[0] = t;
    }
};
template <>
struct OwnButterfly<3> {
    template <int lanes>
    [[gnu::always_inline]] static void run(OwnPoint<lanes> *a) {
        const OwnPoint<lanes> sum = a[1] + a[2], difference = (a[1] - a[2]) * 0.86602540378443864676f;
        const OwnPoint<lanes> middle = a[0] - sum * 0.5f;
        a[0] = a[0] + sum;
        a[1] = ownMinusI(middle, difference);
        a[2] = ownPlusI(middle, difference);
    }
};
template <>
struct OwnButterfly<4> {
    template <int lanes>
    [[gnu::always_inline]] static void run(OwnPoint<lanes> *a) {
        const OwnPoint<lanes> s = a[0] + a[2], t = a[0] - a[2], u = a[1] + a[3], v = a[1] - a[3];
        a[0] = s + u;
        a[1] = ownMinusI(t, v);
        a[2] = s - u;
        a[3] = ownPlusI(t, v);
    }
};
template <>
struct OwnButterfly<5> {
    template <int lanes>
    [[gnu::always_inline]] static void run(OwnPoint<lanes> *a) {
        constexpr float c1 = 0.30901699437494742410f, c2 = -0.80901699437494742410f;
        constexpr float s1 = 0.95105651629515357212f, s2 = 0.58778525229247312917f;
        const OwnPoint<lanes> t1 = a[1] + a[4], t2 = a[2] + a[3], d1 = a[1] - a[4], d2 = a[2] - a[3];
        const OwnPoint<lanes> u1 = a[0] + t1 * c1 + t2 * c2, u2 = a[0] + t1 * c2 + t2 * c1;
        const OwnPoint<lanes> v1 = d1 * s1 + d2 * s2, v2 = d1 * s2 - d2 * s1;
        a[0] = a[0] + t1 + t2;
        a[1] = ownMinusI(u1, v1);
        a[2] = ownMinusI(u2, v2);
        a[3] = ownPlusI(u2, v2);
        a[4] = ownPlusI(u1, v1);
    }
};
template <>
struct OwnButterfly<8> {
    template <int lanes>
    [[gnu::always_inline]] static void run(OwnPoint<lanes> *a) {
        constexpr float r = 0.70710678118654752440f;
        OwnPoint<lanes> even[4] = {a[0], a[2], a[4], a[6]}, odd[4] = {a[1], a[3], a[5], a[7]};
        OwnButterfly<4>::run(even);
        OwnButterfly<4>::run(odd);
        const OwnPoint<lanes> one = {(odd[1].re + odd[1].im) * r, (odd[1].im - odd[1].re) * r};
        const OwnPoint<lanes> three = {(odd[3].im - odd[3].re) * r, (odd[3].re + odd[3].im) * r};
        a[0] = even[0] + odd[0];
        a[4] = even[0] - odd[0];
        a[1] = even[1] + one;
        a[5] = even[1] - one;
        a[2] = ownMinusI(even[2], odd[2]);
        a[6] = ownPlusI(even[2], odd[2]);
        // The third is multiplied by -1 - i, that is by -(1 + i).
        a[3] = {even[3].re + three.re, even[3].im - three.im};
        a[7] = {even[3].re - three.re, even[3].im + three.im};
    }
};

// Any odd radix, by sums over pairs of points that mirror each other.
constexpr int OWN_LARGEST_RADIX = 31;
template <int lanes>
inline void ownAnyButterfly(OwnPoint<lanes> *a, int radix, const float *roots) {
    OwnPoint<lanes> sums[OWN_LARGEST_RADIX / 2], differences[OWN_LARGEST_RADIX / 2];
    const int half = radix / 2;
    OwnPoint<lanes> total = a[0];
    for (int j = 1; j <= half; ++j) {
        sums[j - 1] = a[j] + a[radix - j];
        differences[j - 1] = a[j] - a[radix - j];
        total = total + sums[j - 1];
    }
    for (int k = 1; k <= half; ++k) {
        OwnPoint<lanes> u = a[0], v = {};
        for (int j = 1, index = 0; j <= half; ++j) {
            index += k;
            if (index >= radix) index -= radix;
            u = u + sums[j - 1] * roots[2 * index];
            v = v + differences[j - 1] * roots[2 * index + 1];
        }
        // a's points have all been taken up in the sums, but for the first.
        a[k] = ownMinusI(u, v);
        a[radix - k] = ownPlusI(u, v);
    }
    a[0] = total;
}

}  // namespace
