// Picks the kernels of the fixed filters for the level in use.
#include "filter/ownfixed.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnFixedRows, fixedRows)

const OwnFixedRows &ownFixedRows() {
    static constexpr const OwnFixedRows *tables[] = OWN_LEVEL_TABLES(fixedRows);
    return *tables[ownCpuLevel()];
}
