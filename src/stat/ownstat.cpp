// Picks the kernels of measures of the level in use.
#include "stat/ownstat.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnNormRows, normRows)
OWN_DECLARE_LEVELS(OwnMomentRows, momentRows)
OWN_DECLARE_LEVELS(OwnLookRows, lookRows)

const OwnNormRows &ownNormRows() {
    static constexpr const OwnNormRows *tables[] = OWN_LEVEL_TABLES(normRows);
    return *tables[ownCpuLevel()];
}

const OwnMomentRows &ownMomentRows() {
    static constexpr const OwnMomentRows *tables[] = OWN_LEVEL_TABLES(momentRows);
    return *tables[ownCpuLevel()];
}

const OwnLookRows &ownLookRows() {
    static constexpr const OwnLookRows *tables[] = OWN_LEVEL_TABLES(lookRows);
    return *tables[ownCpuLevel()];
}
