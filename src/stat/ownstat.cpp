// Picks the kernels of measures of the level in use.
#include "stat/ownstat.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnStatRows, statRows)
OWN_DECLARE_LEVELS(OwnLookRows, lookRows)

const OwnStatRows &ownStatRows() {
    static constexpr const OwnStatRows *tables[] = OWN_LEVEL_TABLES(statRows);
    return *tables[ownCpuLevel()];
}

const OwnLookRows &ownLookRows() {
    static constexpr const OwnLookRows *tables[] = OWN_LEVEL_TABLES(lookRows);
    return *tables[ownCpuLevel()];
}
