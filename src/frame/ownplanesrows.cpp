// Pixels into rows and rows into pixels, compiled once for each CPU level.
#include "frame/ownpack.h"
#include "frame/ownplanes.h"

namespace OWN_LEVEL {
namespace {

template <class D, int step>
void split(const void *pixels, void *const *rows, size_t n) {
    using Sample = typename D::Sample;
    const Sample *src = static_cast<const Sample *>(pixels);
    Sample *row[step];
    for (int c = 0; c < step; ++c)
        row[c] = static_cast<Sample *>(rows[c]);
    for (size_t i = 0; i < n; ++i) {
        for (int c = 0; c < step; ++c)
            row[c][i] = src[i * step + static_cast<size_t>(c)];
    }
}

template <class D, int step>
void join(const void *const *rows, void *pixels, size_t n) {
    using Sample = typename D::Sample;
    Sample *dst = static_cast<Sample *>(pixels);
    const Sample *row[step];
    for (int c = 0; c < step; ++c)
        row[c] = static_cast<const Sample *>(rows[c]);
    for (size_t i = 0; i < n; ++i) {
        for (int c = 0; c < step; ++c)
            dst[i * step + static_cast<size_t>(c)] = row[c][i];
    }
}

void packBits(const uint8_t *bytes, size_t n, uint8_t *bits) {
    ownPackBits(bytes, 0, n, bits);
}

}  // namespace

extern const OwnPlaneMoves planeMoves;
const OwnPlaneMoves planeMoves = {
    {{split<Own8U, 3>, split<Own8U, 4>}, {split<Own16U, 3>, split<Own16U, 4>}, {split<Own32U, 3>, split<Own32U, 4>}},
    {{join<Own8U, 3>, join<Own8U, 4>}, {join<Own16U, 3>, join<Own16U, 4>}, {join<Own32U, 3>, join<Own32U, 4>}},
    packBits,
};

}  // namespace OWN_LEVEL
