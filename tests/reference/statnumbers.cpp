// Norms, moments, minimum and maximum.
#include <bit>
#include <cmath>

#include "reference/stat.h"

void refEachSample(const std::vector<TestImage *> &images, const RefVisit &visit) {
    int width, height;
    refCommonSize(images, &width, &height);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            if (!refMaskedIn(images, i, j)) continue;
            for (int channel = 0; channel < images[0]->layout().channelCount(); ++channel)
                visit(i, j, channel);
        }
    }
}

uint32_t refSampleOf(const TestImage &image, int i, int j, int channel) {
    const TestLayout &layout = image.layout();
    return image.get(layout.firstChannel() + channel, layout.regionX() + i, layout.regionY() + j);
}

// One of two numbers: the largest magnitude, the sum of magnitudes, or the sum of squares.
static void accumulate(int kind, long double magnitude, long double *total) {
    if (kind == MOX_NORM_L1) {
        *total += magnitude;
    } else if (kind == MOX_NORM_L2) {
        *total += magnitude * magnitude;
    } else if (magnitude > *total) {  // NaN is not
        *total = magnitude;
    }
}

RefNorm refNorm(TestImage &a, TestImage *b, int normType) {
    const unsigned depth = a.layout().depth;
    const int kind = normType & 7;
    const std::vector<TestImage *> images = b ? std::vector<TestImage *>{&a, b} : std::vector<TestImage *>{&a};
    int width, height;
    refCommonSize(images, &width, &height);
    if (width == 0) return {0};
    long double of = 0, over = 0;
    refEachSample(images, [&](int i, int j, int channel) {
        long double difference = refNumber(depth, refSampleOf(a, i, j, channel));
        if (b) {
            const long double other = refNumber(depth, refSampleOf(*b, i, j, channel));
            // Differences are those of doubles, which matters to floats alone.
            difference = static_cast<double>(difference) - static_cast<double>(other);
            accumulate(kind, std::fabs(other), &over);
        }
        accumulate(kind, std::fabs(difference), &of);
    });
    // Roots and quotients are those of doubles.
    auto norm = static_cast<double>(of), whole = static_cast<double>(over);
    if (kind == MOX_NORM_L2) {
        norm = std::sqrt(norm);
        whole = std::sqrt(whole);
    }
    if (!(normType & MOX_NORM_RELATIVE)) return {norm};
    if (!(whole > 2.2250738585072014e-308)) return {-1, -5, "Zero divided"};
    return {norm / whole};
}

// A sum of products beyond 64 bits, in two parts: high counts units of 2^32.
struct WideSum {
    int64_t high = 0, low = 0;

    void addProduct(int64_t sample, int64_t power) {
        low += sample * (power & 0xFFFFFFFF);
        high += sample * (power >> 32) + (low >> 32);
        low &= 0xFFFFFFFF;
    }
    // Exact where it has no more than 64 bits.
    long double value() const { return static_cast<long double>(high) * 4294967296.0L + static_cast<long double>(low); }
};

RefMoments refMoments(TestImage &image) {
    const TestLayout &layout = image.layout();
    RefMoments moments = {};
    refCommonSize({&image}, &moments.width, &moments.height);
    moments.empty = moments.width == 0;
    moments.exact = layout.bits() <= 16;
    WideSum whole[4][4];
    refEachSample({&image}, [&](int i, int j, int channel) {
        const int64_t x = layout.regionX() + i, y = layout.regionY() + j;
        const uint32_t bits = refSampleOf(image, i, j, channel);
        int64_t powerX = 1;
        for (int m = 0; m <= 3; ++m) {
            if (m > 0) powerX *= x;
            int64_t power = powerX;
            for (int n = 0; m + n <= 3; ++n) {
                if (n > 0) power *= y;
                const long double term = static_cast<long double>(power) * refNumber(layout.depth, bits);
                moments.sums[m][n] += term;
                moments.magnitudes[m][n] += std::fabs(term);
                if (moments.exact) whole[m][n].addProduct(refWhole(layout.depth, bits), power);
            }
        }
    });
    for (int m = 0; m <= 3 && moments.exact; ++m) {
        for (int n = 0; m + n <= 3; ++n)
            moments.sums[m][n] = whole[m][n].value();
    }
    return moments;
}

double refSpatialMoment(const MoxMomentState &state, int mOrd, int nOrd) {
    return state[mOrd][nOrd].moment;
}

static double normalized(const MoxMomentState &state, int mOrd, int nOrd, double moment) {
    return moment / std::pow(state[0][0].moment, (mOrd + nOrd + 2) * 0.5);
}

double refNormalizedSpatialMoment(const MoxMomentState &state, int mOrd, int nOrd) {
    return normalized(state, mOrd, nOrd, refSpatialMoment(state, mOrd, nOrd));
}

double refCentralMoment(const MoxMomentState &state, int mOrd, int nOrd) {
    const auto M = [&](int m, int n) { return state[m][n].moment; };
    double x = 0.5 / state[1][0].scale, y = 0.5 / state[0][1].scale;
    if (std::fabs(M(0, 0)) > 2.2250738585072014e-308) {
        x = M(1, 0) * (1 / M(0, 0));
        y = M(0, 1) * (1 / M(0, 0));
    }
    switch (10 * mOrd + nOrd) {
        case 0:
            return M(0, 0);
        case 20:
            return M(2, 0) - x * M(1, 0);
        case 11:
            return M(1, 1) - x * M(0, 1);
        case 2:
            return M(0, 2) - y * M(0, 1);
        case 30:
            return M(3, 0) - 3 * x * M(2, 0) + 2 * x * x * M(1, 0);
        case 21:
            return M(2, 1) - 2 * x * M(1, 1) - y * M(2, 0) + 2 * x * x * M(0, 1);
        case 12:
            return M(1, 2) - 2 * y * M(1, 1) - x * M(0, 2) + 2 * y * y * M(1, 0);
        case 3:
            return M(0, 3) - 3 * y * M(0, 2) + 2 * y * y * M(0, 1);
        default:  // those of first order
            return 0.0;
    }
}

double refNormalizedCentralMoment(const MoxMomentState &state, int mOrd, int nOrd) {
    return normalized(state, mOrd, nOrd, refCentralMoment(state, mOrd, nOrd));
}

// As numbers, and of the two zeros the negative one first.
static bool isBelow(uint32_t a, uint32_t b) {
    const float x = std::bit_cast<float>(a), y = std::bit_cast<float>(b);
    return x < y || (x == y && std::signbit(x) && !std::signbit(y));
}

RefMinMax refMinMax(const TestImage &image) {
    const TestLayout &layout = image.layout();
    RefMinMax found = {true, true, 0, 0};
    for (int j = 0; j < layout.regionHeight(); ++j) {
        for (int i = 0; i < layout.regionWidth(); ++i) {
            for (int channel = 0; channel < layout.channelCount(); ++channel) {
                const uint32_t bits = refSampleOf(image, i, j, channel);
                found.none = false;
                if (std::isnan(std::bit_cast<float>(bits))) continue;
                if (found.allNaN || isBelow(bits, found.min)) found.min = bits;
                if (found.allNaN || isBelow(found.max, bits)) found.max = bits;
                found.allNaN = false;
            }
        }
    }
    return found;
}
