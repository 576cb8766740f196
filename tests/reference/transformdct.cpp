// The cosine transform by its sum.
#include <cmath>

#include "mox.h"
#include "reference/transform.h"

namespace {

// Basis of one direction: row k of n numbers is c(k) / sqrt(n) * cos((2 x + 1) k pi / 2 n).
template <typename Real>
std::vector<Real> basisOf(int n) {
    std::vector<long double> cosines(4 * static_cast<size_t>(n));
    for (size_t turn = 0; turn < cosines.size(); ++turn)
        cosines[turn] = std::cos(std::acos(-1.0L) * static_cast<long double>(turn) / (2.0L * n));
    std::vector<Real> basis(static_cast<size_t>(n) * n);
    for (int k = 0; k < n; ++k) {
        const long double factor = std::sqrt((k == 0 ? 1.0L : 2.0L) / n);
        for (int x = 0; x < n; ++x) {
            const int64_t turn = (2 * int64_t{x} + 1) * k % (4 * int64_t{n});
            basis[static_cast<size_t>(k) * n + x] = static_cast<Real>(factor * cosines[static_cast<size_t>(turn)]);
        }
    }
    return basis;
}

// n numbers, step apart. The inverse is the transpose.
template <typename Real>
void transformLine(std::vector<Real> &plane, size_t first, size_t step, int n, bool inverse,
                   const std::vector<Real> &basis) {
    std::vector<Real> out(n);
    for (int k = 0; k < n; ++k) {
        Real sum = 0;
        for (int x = 0; x < n; ++x) {
            const size_t at = inverse ? static_cast<size_t>(x) * n + k : static_cast<size_t>(k) * n + x;
            sum += plane[first + step * x] * basis[at];
        }
        out[k] = sum;
    }
    for (int k = 0; k < n; ++k)
        plane[first + step * k] = out[k];
}

template <typename Real>
RefPlane transform(const RefPlane &plane, int flags) {
    const bool inverse = (flags & MOX_DCT_INVERSE) != 0;
    std::vector<Real> work(plane.samples.begin(), plane.samples.end());
    const std::vector<Real> across = basisOf<Real>(plane.width), down = basisOf<Real>(plane.height);
    for (int y = 0; y < plane.height; ++y)
        transformLine(work, static_cast<size_t>(y) * plane.width, 1, plane.width, inverse, across);
    for (int x = 0; x < plane.width; ++x)
        transformLine(work, static_cast<size_t>(x), static_cast<size_t>(plane.width), plane.height, inverse, down);
    RefPlane result(plane.width, plane.height);
    result.samples.assign(work.begin(), work.end());
    return result;
}

}  // namespace

RefPlane refDct(const RefPlane &plane, int flags) {
    return transform<long double>(plane, flags);
}
RefPlane refDirectFloatDct(const RefPlane &plane, int flags) {
    return transform<float>(plane, flags);
}

bool refDctIsFixedPoint(unsigned srcDepth, unsigned dstDepth, int width, int height) {
    for (int size : {width, height}) {
        if (size != 4 && size != 8 && size != 16 && size != 32) return false;
    }
    return (srcDepth & 32) == 0 && (dstDepth & 32) == 0;
}

// The transform keeps the norm, so the mean error of a number is that of the mean number; here the largest errors
// count. The recursive form divides by cosines that are small towards the end, which costs some more.
RefBound refFloatDctBound(const RefPlane &plane) {
    const long double unit = std::ldexp(1.0L, -24), steps = std::log2(1.0L + plane.width * 1.0L * plane.height);
    const long double longer = std::max(plane.width, plane.height);
    return {unit * (4 + 3 * steps) * (1 + std::log2(longer)) * plane.norm() /
                std::sqrt(static_cast<long double>(plane.width) * plane.height) * 2,
            unit * (8 + 4 * steps)};
}

// Intermediate results are integers of 16 bits: each is off by a rounding, and by a factor's last place.
RefBound refFixedDctBound(const RefPlane &plane) {
    return {2.5L + plane.largest() * std::ldexp(1.0L, -11), std::ldexp(1.0L, -11)};
}
