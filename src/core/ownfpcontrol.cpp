// The rounding mode through the language's own floating-point environment, in a portable bit layout.
#include "core/ownfpcontrol.h"

#include <cfenv>

namespace {

unsigned toPortable(int mode) {
    switch (mode) {
        case FE_DOWNWARD:
            return OWN_ROUND_DOWN;
        case FE_UPWARD:
            return OWN_ROUND_UP;
        case FE_TOWARDZERO:
            return OWN_ROUND_CHOP;
        default:
            return OWN_ROUND_NEAREST;
    }
}

int fromPortable(unsigned value) {
    switch (value & OWN_ROUND_MASK) {
        case OWN_ROUND_DOWN:
            return FE_DOWNWARD;
        case OWN_ROUND_UP:
            return FE_UPWARD;
        case OWN_ROUND_CHOP:
            return FE_TOWARDZERO;
        default:
            return FE_TONEAREST;
    }
}

}  // namespace

unsigned ownControlFp(unsigned value, unsigned mask) {
    const unsigned before = toPortable(std::fegetround());
    const unsigned wanted = (before & ~mask) | (value & mask);
    if ((wanted & OWN_ROUND_MASK) != before) std::fesetround(fromPortable(wanted));
    return before;
}
