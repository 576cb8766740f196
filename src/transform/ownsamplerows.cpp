// Samples to floats and back, compiled once for each CPU level.
#include "frame/ownsample.h"
#include "transform/ownplane.h"

namespace OWN_LEVEL {
namespace {

template <class D>
void load(const void *from_, int step, float *to, size_t n) {
    const typename D::Sample *from = static_cast<const typename D::Sample *>(from_);
    if (step == 1) {
        for (size_t i = 0; i < n; ++i)
            to[i] = static_cast<float>(from[i]);
        return;
    }
    for (size_t i = 0; i < n; ++i)
        to[i] = static_cast<float>(from[i * static_cast<size_t>(step)]);
}

// To nearest, ties to even: within the range of these depths the sum's last place is 1.
template <class D>
[[gnu::always_inline]] inline typename D::Value rounded(float value) {
    constexpr auto low = static_cast<float>(D::low), high = static_cast<float>(D::high);
    constexpr float shifter = 12582912.0f;
    const float above = value > low ? value : low;
    const float within = above < high ? above : high;
    return static_cast<typename D::Value>(static_cast<int32_t>((within + shifter) - shifter));
}
template <>
inline int32_t rounded<Own32S>(float value) {
    if (!(value > -2147483648.0f)) return INT32_MIN;
    if (value >= 2147483648.0f) return INT32_MAX;
    return static_cast<int32_t>(__builtin_rintf(value));
}
template <>
inline float rounded<Own32F>(float value) {
    return value;
}

template <class D>
void store(const float *from, void *to_, int step, size_t n) {
    typename D::Sample *to = static_cast<typename D::Sample *>(to_);
    if (step == 1) {
        for (size_t i = 0; i < n; ++i)
            to[i] = rounded<D>(from[i]);
        return;
    }
    for (size_t i = 0; i < n; ++i)
        to[i * static_cast<size_t>(step)] = rounded<D>(from[i]);
}

}  // namespace

extern const OwnSampleRows sampleRows;
const OwnSampleRows sampleRows = {
    {nullptr, load<Own8U>, load<Own8S>, load<Own16U>, load<Own16S>, load<Own32S>, load<Own32F>},
    {nullptr, store<Own8U>, store<Own8S>, store<Own16U>, store<Own16S>, store<Own32S>, store<Own32F>}};

}  // namespace OWN_LEVEL
