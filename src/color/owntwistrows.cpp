// The colour twist, compiled once for each CPU level.
#include "color/ownpixels.h"
#include "color/owntwist.h"

namespace OWN_LEVEL {
namespace {

// Any entries: every product and sum is an integer below 2^50, and exact as a double; so is the shift.
template <class D>
void apply(void *const *rows, size_t n, const void *operation) {
    using Sample = typename D::Sample;
    const OwnTwist &twist = *static_cast<const OwnTwist *>(operation);
    const double scale = 1.0 / static_cast<double>(int64_t{1} << twist.shift);
    double m[3][4];
    for (int i = 0; i < 12; ++i)
        m[i / 4][i % 4] = twist.data[i / 4][i % 4] * scale;
    const Sample *a = static_cast<const Sample *>(rows[0]), *b = static_cast<const Sample *>(rows[1]),
                 *c = static_cast<const Sample *>(rows[2]);
    Sample *x = static_cast<Sample *>(rows[3]), *y = static_cast<Sample *>(rows[4]),
           *z = static_cast<Sample *>(rows[5]);
    const auto channel = [&](const double *of, double c1, double c2, double c3) {
        const double sum = of[0] * c1 + of[1] * c2 + of[2] * c3 + of[3];
        // What is limited first is truncated as it is rounded down.
        const double above = sum > 0 ? sum : 0;
        return static_cast<typename D::Value>(static_cast<int>(above < D::high ? above : D::high));
    };
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i) {
        const double c1 = a[i], c2 = b[i], c3 = c[i];
        x[i] = channel(m[0], c1, c2, c3);
        y[i] = channel(m[1], c1, c2, c3);
        z[i] = channel(m[2], c1, c2, c3);
    }
}

template <class D, bool wide>
struct Range {
    static constexpr double low = D::low, high = D::high;
};
template <class D>
struct Range<D, true> {
    static constexpr double low = -2147483648.0, high = 2147483647.0;
};

// The nearest sample, ties to even; the least for what is no number.
template <class D>
[[gnu::always_inline]] inline typename D::Value round(double value) {
    if constexpr (__is_same(typename D::Value, float)) {
        return static_cast<float>(value);
    } else {
        constexpr bool wide = sizeof(typename D::Value) == 4;
        constexpr double low = Range<D, wide>::low, high = Range<D, wide>::high;
        const double above = value > low ? value : low, limited = above < high ? above : high;
        // The sum has no bits for a fraction.
        return static_cast<typename D::Value>(static_cast<int>(limited + 6755399441055744.0 - 6755399441055744.0));
    }
}

template <class S, class D>
void real(void *const *rows, size_t n, const void *operation) {
    const OwnTwistFP twist = *static_cast<const OwnTwistFP *>(operation);
    const typename S::Sample *a = static_cast<const typename S::Sample *>(rows[0]),
                             *b = static_cast<const typename S::Sample *>(rows[1]),
                             *c = static_cast<const typename S::Sample *>(rows[2]);
    typename D::Sample *x = static_cast<typename D::Sample *>(rows[3]), *y = static_cast<typename D::Sample *>(rows[4]),
                       *z = static_cast<typename D::Sample *>(rows[5]);
    const auto channel = [](const double *of, double c1, double c2, double c3) {
        return round<D>(of[0] * c1 + of[1] * c2 + of[2] * c3 + of[3]);
    };
    OWN_ELEMENTWISE
    for (size_t i = 0; i < n; ++i) {
        const double c1 = a[i], c2 = b[i], c3 = c[i];
        x[i] = channel(twist.data[0], c1, c2, c3);
        y[i] = channel(twist.data[1], c1, c2, c3);
        z[i] = channel(twist.data[2], c1, c2, c3);
    }
}

}  // namespace

#define TO_ALL(S) \
    { nullptr, real<S, Own8U>, real<S, Own8S>, real<S, Own16U>, real<S, Own16S>, real<S, Own32S>, real<S, Own32F> }
extern const OwnTwistRows twistRows;
const OwnTwistRows twistRows = {
    {apply<Own8U>, apply<Own16U>},
    {{}, TO_ALL(Own8U), TO_ALL(Own8S), TO_ALL(Own16U), TO_ALL(Own16S), TO_ALL(Own32S), TO_ALL(Own32F)},
};

}  // namespace OWN_LEVEL
