// Samples to the 16 bits that the cosine transform's blocks are computed in, and back, saturated.
#include <algorithm>
#include <cstring>

#include "frame/ownsample.h"
#include "transform/owndct.h"

namespace {

template <class D>
void load(const void *from_, int step, int16_t *to, int n) {
    const typename D::Sample *from = static_cast<const typename D::Sample *>(from_);
    for (int i = 0; i < n; ++i, from += step)
        to[i] = static_cast<int16_t>(std::min<int>(*from, INT16_MAX));
}

template <class D>
void store(const int16_t *from, void *to_, int step, int n) {
    typename D::Sample *to = static_cast<typename D::Sample *>(to_);
    for (int i = 0; i < n; ++i, to += step)
        *to = static_cast<typename D::Value>(std::clamp<int>(from[i], D::low, D::high));
}

// Rows of 16S are what the blocks hold.
void load16S(const void *from, int step, int16_t *to, int n) {
    if (step != 1) return load<Own16S>(from, step, to, n);
    std::memcpy(to, from, static_cast<size_t>(n) * sizeof *to);
}
void store16S(const int16_t *from, void *to, int step, int n) {
    if (step != 1) return store<Own16S>(from, to, step, n);
    std::memcpy(to, from, static_cast<size_t>(n) * sizeof *from);
}

}  // namespace

const OwnFixedSamples &ownFixedSamples() {
    static constexpr OwnFixedSamples samples = {
        {nullptr, load<Own8U>, load<Own8S>, load<Own16U>, load16S, nullptr, nullptr},
        {nullptr, store<Own8U>, store<Own8S>, store<Own16U>, store16S, nullptr, nullptr}};
    return samples;
}
