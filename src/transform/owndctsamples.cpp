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

// Rows of 16S are what the blocks hold. They have 4, 8, 16 or 32 samples, and a call of memcpy costs more than that.
void copyRow(void *to_, const void *from_, int n) {
    auto *to = static_cast<char *>(to_);
    const auto *from = static_cast<const char *>(from_);
    if (n == 4) std::memcpy(to, from, 8);
    for (; n >= 8; n -= 8, to += 16, from += 16)
        std::memcpy(to, from, 16);
}
void load16S(const void *from, int step, int16_t *to, int n) {
    if (step != 1) return load<Own16S>(from, step, to, n);
    copyRow(to, from, n);
}
void store16S(const int16_t *from, void *to, int step, int n) {
    if (step != 1) return store<Own16S>(from, to, step, n);
    copyRow(to, from, n);
}

}  // namespace

const OwnFixedSamples &ownFixedSamples() {
    static constexpr OwnFixedSamples samples = {
        {nullptr, load<Own8U>, load<Own8S>, load<Own16U>, load16S, nullptr, nullptr},
        {nullptr, store<Own8U>, store<Own8S>, store<Own16U>, store16S, nullptr, nullptr}};
    return samples;
}
