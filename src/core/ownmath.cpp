// Elementary functions. The angle is brought to an eighth of a turn in steps that are exact, or whose error is carried
// along; there Taylor's series is right to the last place.
#include "core/ownmath.h"

#include <cmath>

#include "core/ownseries.h"

void ownSineCosine(double angle, double *sine, double *cosine) {
    const OwnTurned turned = ownTurnBack(angle);
    const double s = ownSineSeries(turned.x, turned.rest), c = ownCosineSeries(turned.x, turned.rest);
    // An angle that is no number gives none.
    switch (std::fabs(turned.quarters) < 1e9 ? static_cast<int>(turned.quarters) & 3 : 0) {
        case 0:
            *sine = s, *cosine = c;
            break;
        case 1:
            *sine = c, *cosine = -s;
            break;
        case 2:
            *sine = -s, *cosine = -c;
            break;
        default:
            *sine = -c, *cosine = s;
            break;
    }
}

namespace {

// 2 / pi, 32 bits a word.
constexpr int WORDS = 8;
constexpr uint32_t TWO_OVER_PI_WORDS[WORDS] = {0xa2f9836e, 0x4e441529, 0xfc2757d1, 0xf534ddc0,
                                               0xdb629599, 0x3c439041, 0xfe5163ab, 0xdebbc561};

// A large angle in quarter turns: as an integer, of which the low bits are kept, and 128 bits behind the point. The
// angle is an integer of 53 bits times a power of two; times 2 / pi it is one of WORDS + 2 words, exactly (Payne and
// Hanek, "Radian reduction for trigonometric functions", 1983).
struct Quarters {
    unsigned whole;
    uint64_t fraction[2];  // the higher half first
};
Quarters findQuarters(double angle) {
    int exponent;
    const auto integer = static_cast<uint64_t>(std::ldexp(std::frexp(angle, &exponent), 53));
    exponent -= 53;
    // The product from its last word on, the point above the last `32 * WORDS - exponent` bits.
    uint32_t product[WORDS + 3] = {};
    for (int half = 0; half < 2; ++half) {
        const uint64_t factor = half == 0 ? integer & 0xFFFFFFFF : integer >> 32;
        uint64_t carry = 0;
        for (int i = 0; i < WORDS; ++i) {
            carry += factor * TWO_OVER_PI_WORDS[WORDS - 1 - i] + product[i + half];
            product[i + half] = static_cast<uint32_t>(carry);
            carry >>= 32;
        }
        product[WORDS + half] = static_cast<uint32_t>(carry);
    }
    const int point = 32 * WORDS - exponent;
    const auto bitsBelow = [&](int end) {  // 32 bits that end with bit `end`
        const int from = end - 32, word = from / 32, shift = from % 32;
        const uint64_t pair = static_cast<uint64_t>(product[word + 1]) << 32 | product[word];
        return static_cast<uint32_t>(pair >> shift);
    };
    Quarters quarters;
    quarters.whole = bitsBelow(point + 32);
    for (int i = 0; i < 2; ++i)
        quarters.fraction[i] = static_cast<uint64_t>(bitsBelow(point - 64 * i)) << 32 | bitsBelow(point - 64 * i - 32);
    return quarters;
}

// The product of two numbers as the sum of two doubles (Dekker).
void multiplyExactly(double a, double b, double *product, double *rest) {
    const auto upper = [](double x) {
        const double shifted = x * 134217729.0;
        return shifted - (shifted - x);
    };
    const double a1 = upper(a), a2 = a - a1, b1 = upper(b), b2 = b - b1;
    *product = a * b;
    *rest = ((a1 * b1 - *product) + a1 * b2 + a2 * b1) + a2 * b2;
}

}  // namespace

double ownSine(double angle) {
    OwnTurned turned;
    unsigned quarters;
    if (angle < OWN_TURNS_END) {
        turned = ownTurnBack(angle);
        quarters = static_cast<unsigned>(turned.quarters);
    } else {
        Quarters found = findQuarters(angle);
        // To the nearest quarter: the fraction's complement stands for what is missing to the next one.
        const bool up = found.fraction[0] >> 63 != 0;
        quarters = found.whole + (up ? 1 : 0);
        if (up) {
            found.fraction[1] = 0 - found.fraction[1];
            found.fraction[0] = ~found.fraction[0] + (found.fraction[1] == 0 ? 1 : 0);
        }
        // As two doubles: the first takes the leading bits, however far below the point they begin.
        const double high = std::ldexp(static_cast<double>(found.fraction[0] >> 11), -53);
        const uint64_t left = found.fraction[0] << 53 | found.fraction[1] >> 11;
        const double low = std::ldexp(static_cast<double>(left), -117);
        const double head = high + low, tail = (high - head) + low;
        constexpr double HALF_PI = 0x1.921fb54442d18p+0, HALF_PI_REST = 0x1.1a62633145c07p-54;
        double product, rest;
        multiplyExactly(head, HALF_PI, &product, &rest);
        rest += head * HALF_PI_REST + tail * HALF_PI;
        turned.x = product + rest;
        turned.rest = (product - turned.x) + rest;
        if (up) turned.x = -turned.x, turned.rest = -turned.rest;
    }
    const double value =
        quarters % 2 != 0 ? ownCosineSeries(turned.x, turned.rest) : ownSineSeries(turned.x, turned.rest);
    return (quarters & 2) != 0 ? -value : value;
}
