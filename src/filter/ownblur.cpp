// Picks the kernels of the box filter for the level in use, and finds how narrow windows are divided.
#include "filter/ownblur.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnBlurRows, blurRows)

const OwnBlurRows &ownBlurRows() {
    static constexpr const OwnBlurRows *tables[] = OWN_LEVEL_TABLES(blurRows);
    return *tables[ownCpuLevel()];
}

// The scale is next to 1 / size: the products of sums with it are cut off to the quotient sum / size where it is not
// below 1 / size, and to (sum - 1) / size where it is, since only a sum that is a multiple of the size is near enough
// to a whole number. Sums reach 255 * size. With factor * size = 2^(16 + shift) + excess the quotient is right as long
// as sum * excess stays below 2^(16 + shift); if the excess is too large, the factor that is one less falls short by
// little, and what is one more than the sum makes up for it.
OwnBlurDivision ownBlurDivision(int size) {
    OwnBlurDivision by = {};
    while (2 << by.shift < size)
        ++by.shift;
    const uint32_t one = uint32_t{1} << (16 + by.shift), divisor = static_cast<uint32_t>(size);
    uint32_t factor = (one + divisor - 1) / divisor;
    if ((factor * divisor - one) * uint64_t{256} * divisor > one) {
        --factor;
        by.plus = 1;
    }
    by.factor = static_cast<uint16_t>(factor);
    const float scale = 1.0f / static_cast<float>(size);
    by.minus = static_cast<double>(scale) * size < 1 ? 1 : 0;
    return by;
}
