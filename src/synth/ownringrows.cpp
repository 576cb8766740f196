// Rows of the test image, compiled once for each CPU level.
#include "core/ownseries.h"
#include "frame/ownsample.h"
#include "synth/ownring.h"

namespace OWN_LEVEL {
namespace {

void sines(const OwnRing &ring, double *row, size_t n) {
    constexpr double TWO_PI = 6.283185307179586;
    const double cx = ring.cx, dy2 = ring.dy2, height4 = ring.height4;
    for (size_t i = 0; i < n; ++i) {
        const double dx = static_cast<double>(static_cast<int32_t>(i)) - cx;
        const double angle = (dx * dx + dy2) * TWO_PI / height4;
        const OwnTurned turned = ownTurnBack(angle);
        const double s = ownSineSeries(turned.x, turned.rest), c = ownCosineSeries(turned.x, turned.rest);
        // The quarter's low bits, at the end of a number of one place for each.
        const uint64_t quarter = ownBitsOf(turned.quarters + 0x1p52);
        const uint64_t isOdd = 0 - (quarter & 1);
        row[i] = ownOfBits(((ownBitsOf(c) & isOdd) | (ownBitsOf(s) & ~isOdd)) ^ (quarter & 2) << 62);
    }
}

template <class D, class Element>
void store(const double *from, void *to_, size_t n) {
    typename D::Sample *to = static_cast<typename D::Sample *>(to_);
    for (size_t i = 0; i < n; ++i)
        to[i] = static_cast<typename D::Value>(Element::of(from[i]));
}

// Factors just below a half of each range, so that what is cut stays within it.
struct As8U {
    static int32_t of(double s) { return static_cast<int32_t>((s + 1) * 127.99999); }
};
struct As8S {
    static int32_t of(double s) { return static_cast<int32_t>(s * 127.99999); }
};
struct As16U {
    static int32_t of(double s) { return static_cast<int32_t>((s + 1) * 32767.99999); }
};
struct As16S {
    static int32_t of(double s) { return static_cast<int32_t>(s * 32767.99999); }
};
struct As32S {
    static int32_t of(double s) { return static_cast<int32_t>(s * 2147483647.99999); }
};
struct As32F {
    static float of(double s) { return static_cast<float>((s + 1) * 0.49999); }
};

void storeBits(const double *from, void *to_, size_t n) {
    uint8_t *to = static_cast<uint8_t *>(to_);
    for (size_t i = 0; i < n; i += 8) {
        unsigned byte = 0;
        for (size_t k = i; k < i + 8 && k < n; ++k)
            byte |= static_cast<unsigned>(static_cast<int32_t>((from[k] + 1) * 0.99999)) << (7 - k % 8);
        to[i / 8] = static_cast<uint8_t>(byte);
    }
}

}  // namespace

extern const OwnRingRows ringRows;
const OwnRingRows ringRows = {sines,
                              {storeBits, store<Own8U, As8U>, store<Own8S, As8S>, store<Own16U, As16U>,
                               store<Own16S, As16S>, store<Own32S, As32S>, store<Own32F, As32F>}};

}  // namespace OWN_LEVEL
