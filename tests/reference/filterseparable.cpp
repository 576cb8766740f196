// Separable convolution: columns first, then rows over their sums. Integers wrap at 32 bits and are shifted once, at
// the end; floats are summed in the order in which the kernels are held, which is that of the caller reversed.
#include <algorithm>
#include <bit>

#include "reference/filter.h"

// The sum of a kernel's products along one axis; tap(k) is the sample k pixels away. Without a kernel the pixel itself.
template <typename Kernel, typename Sum, typename Tap>
static Sum alongAxis(const Kernel *kernel, const Tap &tap) {
    if (!kernel) return tap(0);
    const int count = static_cast<int>(kernel->values.size());
    const int anchor = count - 1 - std::max(kernel->window.anchorX, kernel->window.anchorY);
    Sum sum = 0;
    for (int k = 0; k < count; ++k) {
        const Sum product = static_cast<Sum>(kernel->values[static_cast<size_t>(count - 1 - k)]) * tap(k - anchor);
        sum = sum + product;
    }
    return sum;
}

template <typename Sum, typename Kernel, typename Sample>
static Sum separableSum(const Kernel *xKernel, const Kernel *yKernel, const Sample &sample) {
    return alongAxis<Kernel, Sum>(xKernel, [&](int u) -> Sum {
        return alongAxis<Kernel, Sum>(yKernel, [&](int v) -> Sum { return sample(u, v); });
    });
}

static uint32_t stored(unsigned depth, int64_t value) {
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    if (bits == 1) return value > 0 ? 1 : 0;
    const bool isSigned = (depth & MOX_DEPTH_SIGN) != 0;
    const int64_t highest = (int64_t{1} << (isSigned ? bits - 1 : bits)) - 1, lowest = isSigned ? -highest - 1 : 0;
    const auto sample = static_cast<uint32_t>(std::clamp(value, lowest, highest));
    return bits == 32 ? sample : sample & ((1u << bits) - 1);
}

RefResult refConvolveSep2D(TestImage &source, TestImage &destination, const RefKernel *xKernel,
                           const RefKernel *yKernel) {
    const unsigned depth = source.layout().depth;
    const int shift = (xKernel ? xKernel->nShiftR : 0) + (yKernel ? yKernel->nShiftR : 0);
    return refOverArea(source, destination, [&](int channel, int i, int j) {
        const auto sum = separableSum<uint32_t>(xKernel, yKernel, [&](int u, int v) {
            return static_cast<uint32_t>(
                refInteger(depth, refSourceSample(source, channel, int64_t{i} + u, int64_t{j} + v)));
        });
        return stored(depth, static_cast<int64_t>(static_cast<int32_t>(sum)) >> shift);
    });
}

RefResult refConvolveSep2DFP(TestImage &source, TestImage &destination, const RefKernelFP *xKernel,
                             const RefKernelFP *yKernel) {
    return refOverArea(source, destination, [&](int channel, int i, int j) {
        const auto sum = separableSum<float>(xKernel, yKernel, [&](int u, int v) {
            return std::bit_cast<float>(refSourceSample(source, channel, int64_t{i} + u, int64_t{j} + v));
        });
        return std::bit_cast<uint32_t>(sum);
    });
}
