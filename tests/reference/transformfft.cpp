// The Fourier transforms by their sums, the packing of spectra, and the product of two.
#include <array>
#include <bit>
#include <cmath>

#include "mox.h"
#include "reference/transform.h"

namespace {

// A spectrum or any plane of complex numbers.
template <typename Real>
struct ComplexPlane {
    int width, height;
    std::vector<Real> re, im;

    ComplexPlane(int planeWidth, int planeHeight)
        : width(planeWidth),
          height(planeHeight),
          re(static_cast<size_t>(planeWidth) * planeHeight),
          im(static_cast<size_t>(planeWidth) * planeHeight) {}
    size_t index(int x, int y) const { return static_cast<size_t>(y) * width + x; }
};

// cos and sin of 2 pi k / n.
template <typename Real>
struct Circle {
    std::vector<Real> cosine, sine;

    explicit Circle(int n) : cosine(n), sine(n) {
        for (int k = 0; k < n; ++k) {
            const long double angle = 2 * std::acos(-1.0L) * k / n;
            cosine[k] = static_cast<Real>(std::cos(angle));
            sine[k] = static_cast<Real>(std::sin(angle));
        }
    }
};

// One sequence of n numbers, step apart: out[k] = sum of in[j] * e^(sign * 2 pi i j k / n).
template <typename Real>
void transformLine(std::vector<Real> &re, std::vector<Real> &im, size_t first, size_t step, int n, int sign,
                   const Circle<Real> &circle) {
    std::vector<Real> outRe(n), outIm(n);
    for (int k = 0; k < n; ++k) {
        Real sumRe = 0, sumIm = 0;
        for (int j = 0; j < n; ++j) {
            const size_t at = first + step * j, turn = static_cast<size_t>(int64_t{j} * k % n);
            const Real c = circle.cosine[turn], s = static_cast<Real>(sign) * circle.sine[turn];
            sumRe += re[at] * c - im[at] * s;
            sumIm += re[at] * s + im[at] * c;
        }
        outRe[k] = sumRe;
        outIm[k] = sumIm;
    }
    for (int k = 0; k < n; ++k) {
        re[first + step * k] = outRe[k];
        im[first + step * k] = outIm[k];
    }
}

template <typename Real>
void transformPlane(ComplexPlane<Real> &plane, int sign) {
    const Circle<Real> across(plane.width), down(plane.height);
    for (int y = 0; y < plane.height; ++y)
        transformLine(plane.re, plane.im, plane.index(0, y), 1, plane.width, sign, across);
    for (int x = 0; x < plane.width; ++x)
        transformLine(plane.re, plane.im, plane.index(x, 0), static_cast<size_t>(plane.width), plane.height, sign,
                      down);
}

// Where the packing keeps the parts of F(v, u), and whether it is the conjugate of F(v, u) that is kept there; imX is
// -1 where the imaginary part is always 0.
struct Place {
    int reX, reY, imX, imY;
    bool conjugate;
};

// Column 0 and the last one of an even width hold the spectra of real sequences, which are packed along y; all others
// come in pairs along x.
Place placeOf(int u, int v, int width, int height) {
    const bool edge = u == 0 || 2 * u == width;
    if (!edge) {
        if (2 * u < width) return {2 * u - 1, v, 2 * u, v, false};
        const int mirrored = width - u, row = (height - v) % height;
        return {2 * mirrored - 1, row, 2 * mirrored, row, true};
    }
    const int x = u == 0 ? 0 : width - 1;
    if (v == 0) return {x, 0, -1, -1, false};
    if (2 * v == height) return {x, height - 1, -1, -1, false};
    if (2 * v < height) return {x, 2 * v - 1, x, 2 * v, false};
    const int mirrored = height - v;
    return {x, 2 * mirrored - 1, x, 2 * mirrored, true};
}

template <typename Real>
ComplexPlane<Real> unpack(const RefPlane &packed) {
    ComplexPlane<Real> spectrum(packed.width, packed.height);
    for (int v = 0; v < packed.height; ++v) {
        for (int u = 0; u < packed.width; ++u) {
            const Place place = placeOf(u, v, packed.width, packed.height);
            const size_t at = spectrum.index(u, v);
            spectrum.re[at] = static_cast<Real>(packed.at(place.reX, place.reY));
            if (place.imX < 0) continue;
            const Real im = static_cast<Real>(packed.at(place.imX, place.imY));
            spectrum.im[at] = place.conjugate ? -im : im;
        }
    }
    return spectrum;
}

template <typename Real>
RefPlane pack(const ComplexPlane<Real> &spectrum) {
    RefPlane packed(spectrum.width, spectrum.height);
    for (int v = 0; v < spectrum.height; ++v) {
        for (int u = 0; u < spectrum.width; ++u) {
            const Place place = placeOf(u, v, spectrum.width, spectrum.height);
            if (place.conjugate) continue;
            packed.at(place.reX, place.reY) = spectrum.re[spectrum.index(u, v)];
            if (place.imX >= 0) packed.at(place.imX, place.imY) = spectrum.im[spectrum.index(u, v)];
        }
    }
    return packed;
}

bool isScaled(int flags) {
    return (flags & MOX_FFT_INVERSE) && !(flags & MOX_FFT_NO_SCALE);
}

template <typename Real>
RefPlane transform(bool ccs, const RefPlane &plane, int flags) {
    ComplexPlane<Real> work(plane.width, plane.height);
    if (ccs) {
        work = unpack<Real>(plane);
    } else {
        for (size_t i = 0; i < plane.samples.size(); ++i)
            work.re[i] = static_cast<Real>(plane.samples[i]);
    }
    transformPlane(work, flags & MOX_FFT_INVERSE ? 1 : -1);
    RefPlane result(plane.width, plane.height);
    if (ccs) {
        for (size_t i = 0; i < plane.samples.size(); ++i)
            result.samples[i] = work.re[i];
    } else {
        result = pack(work);
    }
    if (!isScaled(flags)) return result;
    const Real scale = Real{1} / (static_cast<Real>(plane.width) * static_cast<Real>(plane.height));
    for (long double &sample : result.samples)
        sample = static_cast<Real>(sample) * scale;
    return result;
}

}  // namespace

RefPlane refRealFft(const RefPlane &real, int flags) {
    return transform<long double>(false, real, flags);
}
RefPlane refCcsFft(const RefPlane &packed, int flags) {
    return transform<long double>(true, packed, flags);
}
RefPlane refFft(bool ccs, const RefPlane &plane, int flags) {
    return transform<long double>(ccs, plane, flags);
}
RefPlane refDirectFloatFft(bool ccs, const RefPlane &plane, int flags) {
    return transform<float>(ccs, plane, flags);
}

static bool isPowerOfTwo(int n) {
    return n > 0 && (n & (n - 1)) == 0;
}

bool refFftIsFixedPoint(unsigned srcDepth, unsigned dstDepth, int flags, int width, int height) {
    if (srcDepth == MOX_DEPTH_32F || dstDepth == MOX_DEPTH_32F) return false;
    if (flags & MOX_FFT_USE_INTEGER) return true;
    if ((flags & MOX_FFT_USE_FLOAT) || srcDepth == MOX_DEPTH_32S) return false;
    if (int64_t{width} * height > 128) return false;
    for (int size : {width, height}) {
        if (isPowerOfTwo(size) ? size >= 256 : size > 128) return false;
    }
    return true;
}

static long double scaleOf(const RefPlane &plane, int flags) {
    return isScaled(flags) ? 1.0L / (static_cast<long double>(plane.width) * plane.height) : 1.0L;
}

// The error of every step spreads over all numbers of the plane, and there are as many steps as the logarithm says. Of
// samples that are all alike the errors are too, and add up as the samples do.
RefBound refFloatFftBound(const RefPlane &plane, int flags) {
    const long double unit = std::ldexp(1.0L, -24), steps = std::log2(1.0L + plane.width * 1.0L * plane.height);
    long double sum = 0;
    for (long double sample : plane.samples)
        sum += std::fabs(sample);
    return {unit * ((4 + 3 * steps) * 1.5L * plane.norm() + 3 * sum) * scaleOf(plane, flags), unit * 4};
}

// A product of a sample and a factor of 14 fractional bits is off by half a unit of the factor's last place, times the
// sample, and by two units where its low part is cut off. Every sum of a row and then of a column takes as many.
RefBound refFixedFftBound(const RefPlane &plane, int flags) {
    const long double factor = std::ldexp(1.0L, -15), most = plane.largest();
    const long double row = 2 * plane.width * (2 + most * factor);
    const long double column = 2 * plane.height * (row + 2 + 2 * plane.width * most * factor);
    return {column * scaleOf(plane, flags) + 1, factor};
}

namespace {

// Products as 64-bit integers, saturated at the store; a sum beyond 64 bits is beyond every depth.
uint32_t storeInteger(unsigned depth, int64_t x, int64_t y, bool subtract) {
    int64_t sum;
    const bool wrapped = subtract ? __builtin_sub_overflow(x, y, &sum) : __builtin_add_overflow(x, y, &sum);
    if (wrapped) sum = x < 0 ? INT64_MIN : INT64_MAX;
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    const int64_t high = (int64_t{1} << (bits - 1)) - 1, low = -high - 1;
    const int64_t limited = sum < low ? low : sum > high ? high : sum;
    return static_cast<uint32_t>(limited) & (bits == 32 ? 0xFFFFFFFFu : (1u << bits) - 1);
}

struct Pair {
    uint32_t re, im;
};

Pair multiply(unsigned depth, Pair a, Pair b) {
    if (depth == MOX_DEPTH_32F) {
        const float aRe = std::bit_cast<float>(a.re), aIm = std::bit_cast<float>(a.im);
        const float bRe = std::bit_cast<float>(b.re), bIm = std::bit_cast<float>(b.im);
        const float reRe = aRe * bRe, imIm = aIm * bIm, reIm = aRe * bIm, imRe = aIm * bRe;
        return {std::bit_cast<uint32_t>(reRe - imIm), std::bit_cast<uint32_t>(reIm + imRe)};
    }
    auto integer = [&](uint32_t sample) { return static_cast<int64_t>(refNumber(depth, sample)); };
    const int64_t aRe = integer(a.re), aIm = integer(a.im), bRe = integer(b.re), bIm = integer(b.im);
    return {storeInteger(depth, aRe * bRe, aIm * bIm, true), storeInteger(depth, aRe * bIm, aIm * bRe, false)};
}

uint32_t multiplyReal(unsigned depth, uint32_t a, uint32_t b) {
    if (depth == MOX_DEPTH_32F) return std::bit_cast<uint32_t>(std::bit_cast<float>(a) * std::bit_cast<float>(b));
    const int64_t x = static_cast<int64_t>(refNumber(depth, a)), y = static_cast<int64_t>(refNumber(depth, b));
    return storeInteger(depth, x * y, 0, false);
}

}  // namespace

TestBytes refMultiplySpectra(const TestImage &a, const TestImage &b, const TestImage &destination) {
    TestBytes expected = destination.bytes();
    const TestLayout &to = destination.layout();
    const int width = to.regionWidth(), height = to.regionHeight();
    for (int channel = 0; channel < to.channelCount(); ++channel) {
        auto get = [&](const TestImage &image, int x, int y) {
            const TestLayout &from = image.layout();
            return image.get(from.firstChannel() + channel, from.regionX() + x, from.regionY() + y);
        };
        auto put = [&](int x, int y, uint32_t value) {
            destination.setIn(expected, to.firstChannel() + channel, to.regionX() + x, to.regionY() + y, value);
        };
        for (int v = 0; v < height; ++v) {
            for (int u = 0; u < width; ++u) {
                const Place place = placeOf(u, v, width, height);
                if (place.conjugate) continue;
                if (place.imX < 0) {
                    put(place.reX, place.reY,
                        multiplyReal(to.depth, get(a, place.reX, place.reY), get(b, place.reX, place.reY)));
                    continue;
                }
                auto pair = [&](const TestImage &image) {
                    return Pair{get(image, place.reX, place.reY), get(image, place.imX, place.imY)};
                };
                const Pair product = multiply(to.depth, pair(a), pair(b));
                put(place.reX, place.reY, product.re);
                put(place.imX, place.imY, product.im);
            }
        }
    }
    return expected;
}
