// Picks the kernels of measures of the level in use.
#include "stat/ownstat.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnStatRows, statRows)

const OwnStatRows &ownStatRows() {
    static constexpr const OwnStatRows *tables[] = OWN_LEVEL_TABLES(statRows);
    return *tables[ownCpuLevel()];
}
