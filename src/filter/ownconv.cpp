// Picks the convolution's kernels for the level in use.
#include "filter/ownconv.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnConvRows, convRows)

const OwnConvRows &ownConvRows() {
    static constexpr const OwnConvRows *tables[] = OWN_LEVEL_TABLES(convRows);
    return *tables[ownCpuLevel()];
}
