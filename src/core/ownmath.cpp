// Elementary functions. The angle is brought to an eighth of a turn in steps that are exact, or whose error is carried
// along; there Taylor's series is right to the last place.
#include "core/ownmath.h"

#include <cmath>

namespace {

constexpr double TWO_OVER_PI = 0x1.45f306dc9c883p-1;

// pi / 2 in three parts, of 33 bits but the last: small multiples of the first two are exact.
constexpr double HALF_PI_1 = 0x1.921fb544p+0;
constexpr double HALF_PI_2 = 0x1.0b4611a6p-34;
constexpr double HALF_PI_3 = 0x1.3198a2e037073p-69;

// Both for |x + rest| <= pi / 4, rest being below the last place of x. What the series leave out is below 1e-19.
double sineSeries(double x, double rest) {
    const double y = x * x;
    double sum = 1.0 / 355687428096000;
    sum = sum * y - 1.0 / 1307674368000;
    sum = sum * y + 1.0 / 6227020800;
    sum = sum * y - 1.0 / 39916800;
    sum = sum * y + 1.0 / 362880;
    sum = sum * y - 1.0 / 5040;
    sum = sum * y + 1.0 / 120;
    sum = sum * y - 1.0 / 6;
    return x + (sum * y * x + rest * (1 - y / 2));
}

double cosineSeries(double x, double rest) {
    const double y = x * x;
    double sum = 1.0 / 6402373705728000;
    sum = 1.0 / 20922789888000 - sum * y;
    sum = sum * y - 1.0 / 87178291200;
    sum = sum * y + 1.0 / 479001600;
    sum = sum * y - 1.0 / 3628800;
    sum = sum * y + 1.0 / 40320;
    sum = sum * y - 1.0 / 720;
    sum = sum * y + 1.0 / 24;
    // 1 - y / 2 with what its rounding leaves.
    const double half = y / 2;
    const double head = 1 - half;
    return head + (((1 - head) - half) + (sum * y * y - x * rest));
}

}  // namespace

void ownSineCosine(double angle, double *sine, double *cosine) {
    const double quarters = std::nearbyint(angle * TWO_OVER_PI);
    const double near = angle - quarters * HALF_PI_1;
    const double second = quarters * HALF_PI_2;
    const double x = near - second;
    const double rest = ((near - x) - second) - quarters * HALF_PI_3;
    const double s = sineSeries(x, rest), c = cosineSeries(x, rest);
    // An angle that is no number gives none.
    switch (std::fabs(quarters) < 1e9 ? static_cast<int>(quarters) & 3 : 0) {
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
