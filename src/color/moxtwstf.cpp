// The colour twist by a matrix of floats.
#include <cmath>

#include "color/owntwist.h"

namespace {

// One row of the matrix with so many binary places. False where sums of it with bytes are beyond 32 bits, an entry is
// beyond what 128 times a word can hold, or has bits that are left over.
bool fixRow(OwnTwistFP *twist, int k, double scale) {
    constexpr double largestFactor = 32767.0 * 128, largestSum = 2139095040.0;
    double sum = scale;
    for (int i = 0; i < 4; ++i) {
        const double entry = twist->data[k][i] * scale, size = std::fabs(entry);
        sum += i < 3 ? 255 * size : size;
        if (!(size < largestFactor || (i == 3 && size < largestSum))) return false;  // as what is no number
        const double whole = std::floor(entry + 0.5), rest = (entry - whole) * 32768;
        twist->fixed[k][i] = static_cast<int>(whole);
        twist->rest[k][i] = static_cast<int>(rest);
        if (twist->rest[k][i] != rest) return false;
        if (rest != 0) twist->hasRests = true;
    }
    return sum < largestSum;
}

void fixTwist(OwnTwistFP *twist) {
    constexpr int mostPlaces = 22, leastPlaces = 12;
    for (twist->point = mostPlaces; twist->point >= leastPlaces; --twist->point) {
        const double scale = 1 << twist->point;
        twist->hasRests = false;
        if (fixRow(twist, 0, scale) && fixRow(twist, 1, scale) && fixRow(twist, 2, scale)) return;
    }
    twist->point = 0;
}

// A row whose entries end soon makes many ties, unless they are whole.
void directTwist(OwnTwistFP *twist) {
    constexpr double ofBytes = 1 << 30, largest = 2147450880.0;
    constexpr double ofUnit = 4294967296.0 / OwnTwistFP::unit;
    twist->isDirect = false;
    if (twist->point == 0 || !twist->hasRests) return;
    for (int k = 0; k < 3; ++k) {
        bool hasRests = false, isWhole = true;
        for (int i = 0; i < 4; ++i) {
            const double entry = twist->data[k][i];
            const double product = i < 3 ? entry * ofBytes : (entry + 0.5) * ofUnit;
            if (!(std::fabs(product) < largest) || product != std::floor(product)) return;
            twist->direct[k][i] = static_cast<int>(product);
            hasRests = hasRests || (i < 3 && twist->rest[k][i] != 0);
            isWhole = isWhole && (i == 3 || entry == std::floor(entry));
        }
        if (!hasRests && !isWhole) return;
    }
    twist->isDirect = true;
}

}  // namespace

void MOX_CALL moxColorTwistFP(MoxImage *srcImage, MoxImage *dstImage, const float *TwistFP) {
    const OwnCaller caller = OWN_CALLER("moxColorTwistFP");
    if (!ownAcceptImage(caller, srcImage) || !ownAcceptImage(caller, dstImage)) return;
    const char *message = !TwistFP                                     ? "(TwistFP == 0)"
                          : srcImage->dataOrder != dstImage->dataOrder ? "(srcImage->dataOrder != dstImage->dataOrder)"
                          : srcImage->origin != dstImage->origin       ? "(srcImage->origin != dstImage->origin)"
                                                                       : nullptr;
    if (message) {
        ownReport(caller, MOX_StatusBadArgument, message);
        return;
    }
    // Images of bits have one channel.
    if (!ownAcceptTwisted(caller, srcImage, dstImage)) return;
    OwnTwistFP twist;
    for (int i = 0; i < 12; ++i)
        twist.data[i / 4][i % 4] = static_cast<double>(TwistFP[i]);
    fixTwist(&twist);
    directTwist(&twist);
    const auto &kernels = ownTwistRows().real[ownDepthIndex(srcImage->depth)];
    ownRunTwist(caller, srcImage, dstImage, kernels[ownDepthIndex(dstImage->depth)], &twist);
}
