// Picks the convolution's kernels for the level in use.
#include "filter/ownconv.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnConvSums, convSums)
OWN_DECLARE_LEVELS(OwnConvRows, convRows)

const OwnConvSums &ownConvSums() {
    static constexpr const OwnConvSums *tables[] = OWN_LEVEL_TABLES(convSums);
    return *tables[ownCpuLevel()];
}

const OwnConvRows &ownConvRows() {
    static constexpr const OwnConvRows *tables[] = OWN_LEVEL_TABLES(convRows);
    return *tables[ownCpuLevel()];
}
