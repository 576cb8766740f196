// Moments of an image up to the third order.
#include <cfloat>
#include <cmath>

#include "frame/ownmeasure.h"
#include "frame/ownmove.h"
#include "stat/ownstat.h"
#include "stat/ownwide.h"

namespace {

// Up to here sums of x^3 p, and powers of y, fit 64 bits.
constexpr int64_t NARROW = 4096;

// The sums of x^m y^n p, of integer samples exactly.
struct Sums {
    unsigned depth;
    int64_t x0, y0;  // the region's corner
    bool exact;      // no sum leaves 128 bits
    OwnWide whole[4][4];
    double real[4][4];
};

// From powers of the offset i to powers of x = x0 + i, and times those of y: a stretch's share of all ten sums. Terms
// hold what precedes the products.
template <class Term, class Number, class Sum>
void addStretch(const Number *offsets, int64_t x0, int64_t y, Sum (&sums)[4][4]) {
    const Term p0 = offsets[0], p1 = offsets[1], p2 = offsets[2], p3 = offsets[3];
    const Term x = static_cast<Term>(x0), xx = x * x;
    const Term s[4] = {p0, p1 + x * p0, p2 + x * static_cast<Term>(2) * p1 + xx * p0,
                       p3 + x * static_cast<Term>(3) * p2 + xx * static_cast<Term>(3) * p1 + xx * x * p0};
    Term power = static_cast<Term>(1);
    for (int n = 0; n < 4; ++n) {
        for (int m = 0; m + n < 4; ++m)
            sums[m][n] += static_cast<Sum>(s[m]) * static_cast<Sum>(power);
        power = power * static_cast<Term>(y);
    }
}

void foldSamples(Sums *sums, const uint8_t *at, size_t n, int64_t x, int64_t y) {
    const OwnMomentRow &row = ownMomentRows().sums[ownDepthIndex(sums->depth)];
    const auto bytes = static_cast<size_t>(ownDepthBytes(sums->depth));
    for (size_t done = 0; done < n; done += row.most) {
        const size_t part = n - done < row.most ? n - done : row.most;
        const int64_t from = x + static_cast<int64_t>(done);
        OwnMomentSums offsets;
        row.sum(at + done * bytes, part, &offsets);
        if (bytes == 4) {
            addStretch<double>(offsets.real, from, y, sums->real);
        } else if (from + static_cast<int64_t>(part) <= NARROW && y <= NARROW) {
            addStretch<int64_t>(offsets.whole, from, y, sums->whole);
        } else if (sums->exact) {
            addStretch<OwnWide>(offsets.whole, from, y, sums->whole);
        } else {
            const double real[4] = {static_cast<double>(offsets.whole[0]), static_cast<double>(offsets.whole[1]),
                                    static_cast<double>(offsets.whole[2]), static_cast<double>(offsets.whole[3])};
            addStretch<double>(real, from, y, sums->real);
        }
    }
}

// Bits become bytes 0 and 1.
void foldBits(Sums *sums, const OwnFold &row) {
    constexpr size_t part = 2048;
    uint8_t lanes[part + 8];
    for (size_t done = 0; done < row.samples; done += part) {
        const size_t n = row.samples - done < part ? row.samples - done : part;
        ownMoveRows().lanes[OWN_1_BYTE](row.a + done / 8, 1, lanes, n);
        for (size_t i = 0; i < n; ++i)
            lanes[i] &= 1;
        foldSamples(sums, lanes, n, sums->x0 + row.x + static_cast<int64_t>(done), sums->y0 + row.y);
    }
}

void fold(void *state, const OwnFold &row) {
    auto *sums = static_cast<Sums *>(state);
    foldSamples(sums, row.a, row.samples, sums->x0 + row.x, sums->y0 + row.y);
}

void foldRowOfBits(void *state, const OwnFold &row) {
    foldBits(static_cast<Sums *>(state), row);
}

bool acceptImage(const OwnCaller &caller, const MoxImage *image) {
    if (!ownAcceptImage(caller, image)) return false;
    if (image->nChannels == 1 || ownHasCoi(image)) return true;
    ownReport(caller, MOX_StatusBadArgument, "Only one channel can be proceed");
    return false;
}

bool acceptOrder(const OwnCaller &caller, int mOrd, int nOrd) {
    if (mOrd >= 0 && mOrd <= 3 && nOrd >= 0 && nOrd <= 3 && mOrd + nOrd <= 3) return true;
    ownReport(caller, MOX_StatusBadArgument, "Illegal order of moment");
    return false;
}

// Fills the state; false where there is nothing in the region, or a tile is missing.
bool computeMoments(const OwnCaller &caller, MoxImage *image, MoxMomentState state) {
    OwnImageRect rect;
    ownImageRect(image, &rect);
    OwnMeasure measure = {};
    measure.images[0] = image;
    measure.mask = image->maskROI;
    measure.first[0] = image->nChannels == 1 ? 0 : ownFirstChannel(image);
    measure.channels = 1;
    ownMeasureSize(&measure);
    if (measure.width <= 0 || measure.height <= 0 || !ownAcceptMemory(caller, {image})) return false;

    Sums sums = {};
    sums.depth = image->depth == MOX_DEPTH_1U ? MOX_DEPTH_8U : image->depth;
    sums.x0 = rect.x;
    sums.y0 = rect.y;
    constexpr int64_t most = int64_t{1} << 24;
    sums.exact = rect.x + measure.width <= most && rect.y + measure.height <= most;
    measure.fold = image->depth == MOX_DEPTH_1U ? foldRowOfBits : fold;
    measure.state = &sums;

    // Callbacks see the region that is measured.
    MoxROI *given = image->roi;
    MoxROI region = {measure.first[0] + 1, static_cast<int>(rect.x), static_cast<int>(rect.y),
                     static_cast<int>(measure.width), static_cast<int>(measure.height)};
    image->roi = &region;
    const bool done = ownRunMeasure(measure) == OWN_MEASURE_DONE;
    image->roi = given;
    if (!done) {
        ownReport(caller, MOX_StatusGeneral, "Error get tile to read");
        return false;
    }
    state[1][0].scale = 1.0 / static_cast<double>(measure.width);
    state[0][1].scale = 1.0 / static_cast<double>(measure.height);
    for (int m = 0; m < 4; ++m) {
        for (int n = 0; m + n < 4; ++n)
            state[m][n].moment = ownRoundWide(sums.whole[m][n]) + sums.real[m][n];
    }
    return true;
}

// M^(k / 2) for k of 2 to 5, to the nearest double: the root's error is put back into the product. As with pow, what is
// no whole power of a negative zero or infinity is positive.
double halfPower(double value, int halves) {
    const double whole = halves >= 4 ? value * value : value;
    if (halves % 2 == 0) return whole;
    if (value == 0 || std::isinf(value)) return std::fabs(value);
    const double root = std::sqrt(value), product = whole * root;
    if (!std::isfinite(product)) return product;
    const double rootError = std::fma(-root, root, value) / (2 * root);
    const double wholeError = halves >= 4 ? std::fma(value, value, -whole) : 0;
    return product + (std::fma(whole, root, -product) + whole * rootError + wholeError * root);
}

double spatialMoment(const MoxMomentState state, int m, int n) {
    return state[m][n].moment;
}

double centralMoment(const MoxMomentState state, int m, int n) {
    const auto moment = [&](int i, int j) { return state[i][j].moment; };
    const double m00 = moment(0, 0), m10 = moment(1, 0), m01 = moment(0, 1);
    double x, y;
    if (std::fabs(m00) > DBL_MIN) {
        x = m10 * (1 / m00);
        y = m01 * (1 / m00);
    } else {
        x = 0.5 / state[1][0].scale;
        y = 0.5 / state[0][1].scale;
    }
    switch (m * 4 + n) {
        case 0:
            return m00;
        case 8:
            return moment(2, 0) - x * m10;
        case 5:
            return moment(1, 1) - x * m01;
        case 2:
            return moment(0, 2) - y * m01;
        case 12:
            return moment(3, 0) - 3 * x * moment(2, 0) + 2 * x * x * m10;
        case 9:
            return moment(2, 1) - 2 * x * moment(1, 1) - y * moment(2, 0) + 2 * x * x * m01;
        case 6:
            return moment(1, 2) - 2 * y * moment(1, 1) - x * moment(0, 2) + 2 * y * y * m10;
        case 3:
            return moment(0, 3) - 3 * y * moment(0, 2) + 2 * y * y * m01;
        default:
            return 0;
    }
}

double normalized(double value, const MoxMomentState state, int m, int n) {
    return value / halfPower(state[0][0].moment, m + n + 2);
}

// The moments of an image for one of them; false after a fault and for an empty region.
bool measureOne(const OwnCaller &caller, MoxImage *image, int mOrd, int nOrd, MoxMomentState state) {
    return acceptImage(caller, image) && acceptOrder(caller, mOrd, nOrd) && computeMoments(caller, image, state);
}

}  // namespace

void MOX_CALL moxMoments(MoxImage *image, MoxMomentState state) {
    const OwnCaller caller = OWN_CALLER("moxMoments");
    if (acceptImage(caller, image)) computeMoments(caller, image, state);
}

double MOX_CALL moxGetSpatialMoment(MoxMomentState state, int mOrd, int nOrd) {
    if (!acceptOrder(OWN_CALLER("moxGetSpatialMoment"), mOrd, nOrd)) return 0;
    return spatialMoment(state, mOrd, nOrd);
}

// Its order has always been refused in the name of the plain form.
double MOX_CALL moxGetNormalizedSpatialMoment(MoxMomentState state, int mOrd, int nOrd) {
    if (!acceptOrder(OWN_CALLER("moxGetSpatialMoment"), mOrd, nOrd)) return 0;
    return normalized(spatialMoment(state, mOrd, nOrd), state, mOrd, nOrd);
}

double MOX_CALL moxGetCentralMoment(MoxMomentState state, int mOrd, int nOrd) {
    if (!acceptOrder(OWN_CALLER("moxGetCentralMoment"), mOrd, nOrd)) return 0;
    return centralMoment(state, mOrd, nOrd);
}

double MOX_CALL moxGetNormalizedCentralMoment(MoxMomentState state, int mOrd, int nOrd) {
    if (!acceptOrder(OWN_CALLER("moxGetNormalizedCentralMoment"), mOrd, nOrd)) return 0;
    return normalized(centralMoment(state, mOrd, nOrd), state, mOrd, nOrd);
}

double MOX_CALL moxSpatialMoment(MoxImage *image, int mOrd, int nOrd) {
    MoxMomentState state;
    if (!measureOne(OWN_CALLER("moxSpatialMoment"), image, mOrd, nOrd, state)) return 0;
    return spatialMoment(state, mOrd, nOrd);
}

double MOX_CALL moxNormalizedSpatialMoment(MoxImage *image, int mOrd, int nOrd) {
    MoxMomentState state;
    if (!measureOne(OWN_CALLER("moxNormalizedSpatialMoment"), image, mOrd, nOrd, state)) return 0;
    return normalized(spatialMoment(state, mOrd, nOrd), state, mOrd, nOrd);
}

double MOX_CALL moxCentralMoment(MoxImage *image, int mOrd, int nOrd) {
    MoxMomentState state;
    if (!measureOne(OWN_CALLER("moxCentralMoment"), image, mOrd, nOrd, state)) return 0;
    return centralMoment(state, mOrd, nOrd);
}

double MOX_CALL moxNormalizedCentralMoment(MoxImage *image, int mOrd, int nOrd) {
    MoxMomentState state;
    if (!measureOne(OWN_CALLER("moxNormalizedCentralMoment"), image, mOrd, nOrd, state)) return 0;
    return normalized(centralMoment(state, mOrd, nOrd), state, mOrd, nOrd);
}
