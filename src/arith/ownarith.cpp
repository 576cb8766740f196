// Picks the arithmetic kernels of the level in use.
#include "arith/ownarith.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnArithRows, arithRows)

const OwnArithRows &ownArithRows() {
    static constexpr const OwnArithRows *tables[] = OWN_LEVEL_TABLES(arithRows);
    return *tables[ownCpuLevel()];
}
