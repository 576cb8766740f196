// Convolution. How a kernel accumulates, in 16 or 32 bits or in float, is decided by the largest sums that it can give,
// and shows in the result: in what wraps, and in what is rounded.
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "reference/filter.h"

namespace {

// A value on its way: an integer or a float; unsure once it is no longer defined.
struct Value {
    bool isFloat = false;
    int integer = 0;
    float real = 0;
    bool unsure = false;
    float asFloat() const { return isFloat ? real : static_cast<float>(integer); }
};

struct Range {
    int64_t low, high;
};

}  // namespace

static Range rangeOf(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_1U:
            return {0, 1};
        case MOX_DEPTH_8U:
            return {0, 255};
        case MOX_DEPTH_8S:
            return {-128, 127};
        case MOX_DEPTH_16U:
            return {0, 65535};
        case MOX_DEPTH_16S:
            return {-32768, 32767};
        default:
            return {std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
    }
}

int refKernelClass(const RefKernel &kernel, unsigned depth) {
    if (depth == MOX_DEPTH_32S || depth == MOX_DEPTH_32F) return 2;
    const Range range = rangeOf(depth);
    double low = 0, high = 0;
    bool fits16 = true, productsFit = true;
    for (int value : kernel.values) {
        if (value == 0) continue;
        const double atLow = static_cast<double>(value) * static_cast<double>(range.low);
        const double atHigh = static_cast<double>(value) * static_cast<double>(range.high);
        low += std::min(atLow, atHigh);
        high += std::max(atLow, atHigh);
        if (value < -32768 || value > 32767) fits16 = false;
        if (std::max(atLow, atHigh) > 32767 || std::min(atLow, atHigh) < -32768) productsFit = false;
    }
    const bool wide = depth == MOX_DEPTH_16U || depth == MOX_DEPTH_16S;
    if (low > -32768 && high < 32767 && fits16) return productsFit && !wide ? 0 : 1;
    if (low > -2147483648.0 && high < 2147483647.0 && fits16) return 1;
    return 2;
}

static int wrapTo16(int64_t value) {
    return static_cast<int16_t>(static_cast<uint16_t>(value));
}
static int wrapTo32(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

// The sample at (u, v) of the stored kernel's window for pixel (x, y) of the source.
static uint32_t tap(const TestImage &source, int channel, int x, int y, const RefWindow &window, int u, int v) {
    const int storedX = window.nCols - 1 - window.anchorX, storedY = window.nRows - 1 - window.anchorY;
    return refBorderSample(source, channel, int64_t{x} + u - storedX, int64_t{y} + v - storedY, true);
}

static Value integerTerm(const TestImage &source, int channel, int x, int y, const RefKernel &kernel) {
    const unsigned depth = source.layout().depth;
    const RefWindow &window = kernel.window;
    const int kernelClass = refKernelClass(kernel, depth);
    Value value;
    value.isFloat = kernelClass == 2;
    int64_t sum = 0;
    for (int v = 0; v < window.nRows; ++v) {
        for (int u = 0; u < window.nCols; ++u) {
            // Stored in reverse order.
            const int factor = kernel.values[kernel.values.size() - 1 - static_cast<size_t>(v * window.nCols + u)];
            const int sample = refInteger(depth, tap(source, channel, x, y, window, u, v));
            sum += int64_t{sample} * (value.isFloat ? 0 : factor);
            value.real += static_cast<float>(sample) * static_cast<float>(factor);
        }
    }
    value.integer = static_cast<int>(sum);
    if (kernel.nShiftR == 0) return value;
    if (!value.isFloat) {
        value.integer >>= kernel.nShiftR;
        return value;
    }
    const double rounded = std::nearbyint(static_cast<double>(value.real));
    if (rounded < -2147483648.0 || rounded > 2147483647.0) {
        value.unsure = true;
        return value;
    }
    value.real = static_cast<float>(static_cast<int>(rounded) >> kernel.nShiftR);
    return value;
}

// Rows in pairs, and within a pair column by column.
static Value floatTerm(const TestImage &source, int channel, int x, int y, const RefKernelFP &kernel) {
    const RefWindow &window = kernel.window;
    auto product = [&](int u, int v) {
        const float sample = std::bit_cast<float>(tap(source, channel, x, y, window, u, v));
        return sample * kernel.values[kernel.values.size() - 1 - static_cast<size_t>(v * window.nCols + u)];
    };
    Value value;
    value.isFloat = true;
    for (int v = 0; v < window.nRows; v += 2) {
        for (int u = 0; u < window.nCols; ++u) {
            value.real = product(u, v) + value.real;
            if (v + 1 < window.nRows) value.real = value.real + product(u, v + 1);
        }
    }
    return value;
}

static Value single(Value value, int method, int kernelClass) {
    if (method == MOX_COMBINE_SUMSQ) {
        const int64_t square = int64_t{value.integer} * value.integer;
        value.integer = kernelClass == 0 ? wrapTo16(square) : wrapTo32(square);
        value.real *= value.real;
    } else if (method == MOX_COMBINE_SUMSQROOT) {
        value.integer = std::abs(value.integer);
        value.real = std::fabs(value.real);
    }
    return value;
}

static Value squared(Value value) {
    value.integer = wrapTo32(int64_t{value.integer} * value.integer);
    value.real *= value.real;
    return value;
}

static Value merged(Value sum, Value next, int method) {
    Value result = sum;
    result.unsure = sum.unsure || next.unsure;
    switch (method) {
        case MOX_COMBINE_MAX:
            if (sum.isFloat && (std::isnan(sum.real) || std::isnan(next.real))) result.unsure = true;
            result.integer = std::max(sum.integer, next.integer);
            result.real = next.real >= sum.real ? next.real : sum.real;
            return result;
        case MOX_COMBINE_MIN:
            if (sum.isFloat && (std::isnan(sum.real) || std::isnan(next.real))) result.unsure = true;
            result.integer = std::min(sum.integer, next.integer);
            result.real = next.real < sum.real ? next.real : sum.real;
            return result;
        default:
            result.integer = wrapTo32(int64_t{sum.integer} + next.integer);
            result.real = sum.real + next.real;
            return result;
    }
}

static Value rooted(Value value) {
    if (value.isFloat) {
        value.real = std::sqrt(value.real);
        return value;
    }
    if (value.integer < 0) {
        value.unsure = true;
        return value;
    }
    value.integer = static_cast<int>(std::nearbyint(std::sqrt(static_cast<double>(value.integer))));
    return value;
}

// All kernels' values for one sample, merged. allNarrow: every kernel accumulates in 16 bits.
static Value combined(std::vector<Value> values, int method, bool allNarrow) {
    Value sum;
    for (size_t n = 0; n < values.size(); ++n) {
        Value value = values[n];
        if (!allNarrow) {
            value.real = value.asFloat();
            value.isFloat = true;
        }
        if (method == MOX_COMBINE_SUMSQ || method == MOX_COMBINE_SUMSQROOT) value = squared(value);
        sum = n == 0 ? value : merged(sum, value, method);
    }
    return method == MOX_COMBINE_SUMSQROOT ? rooted(sum) : sum;
}

static uint32_t stored(unsigned depth, const Value &value) {
    if (depth == MOX_DEPTH_32F) return std::bit_cast<uint32_t>(value.real);
    const Range range = rangeOf(depth);
    if (!value.isFloat) {
        return static_cast<uint32_t>(std::clamp<int64_t>(value.integer, range.low, range.high));
    }
    if (value.real >= static_cast<float>(range.high)) return static_cast<uint32_t>(range.high);
    if (value.real <= static_cast<float>(range.low)) return static_cast<uint32_t>(range.low);
    return static_cast<uint32_t>(static_cast<int64_t>(std::nearbyint(value.real)));
}

template <typename Term>
static RefResult convolve(TestImage &source, TestImage &destination, Term &&term) {
    const std::vector<TestImage *> images = {&source, &destination};
    const TestLayout &from = source.layout(), &to = destination.layout();
    RefResult result = {destination.bytes(), TestBytes(destination.bytes().size())};
    int width, height;
    refCommonSize(images, &width, &height);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            if (!refMaskedIn(images, i, j)) continue;
            for (int channel = 0; channel < to.channelCount(); ++channel) {
                const Value value = term(from.firstChannel() + channel, from.regionX() + i, from.regionY() + j);
                const int at = to.firstChannel() + channel, x = to.regionX() + i, y = to.regionY() + j;
                destination.setIn(result.expected, at, x, y, stored(to.depth, value));
                if (value.unsure) destination.setIn(result.unspecified, at, x, y, 0xFFFFFFFF);
            }
        }
    }
    return result;
}

RefResult refConvolve2D(TestImage &source, TestImage &destination, const std::vector<RefKernel> &kernels, int method) {
    const unsigned depth = source.layout().depth;
    bool allNarrow = true;
    for (const RefKernel &kernel : kernels)
        allNarrow = allNarrow && refKernelClass(kernel, depth) == 0;
    return convolve(source, destination, [&](int channel, int x, int y) {
        std::vector<Value> values;
        for (const RefKernel &kernel : kernels)
            values.push_back(integerTerm(source, channel, x, y, kernel));
        if (values.size() == 1) return single(values[0], method, refKernelClass(kernels[0], depth));
        return combined(values, method, allNarrow);
    });
}

RefResult refConvolve2DFP(TestImage &source, TestImage &destination, const std::vector<RefKernelFP> &kernels,
                          int method) {
    return convolve(source, destination, [&](int channel, int x, int y) {
        std::vector<Value> values;
        for (const RefKernelFP &kernel : kernels)
            values.push_back(floatTerm(source, channel, x, y, kernel));
        if (values.size() == 1) return single(values[0], method, 2);
        return combined(values, method, false);
    });
}
