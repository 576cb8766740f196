// Picks the moving kernels of the level in use.
#include "frame/ownmove.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnMoveRows, moveRows)

const OwnMoveRows &ownMoveRows() {
    static constexpr const OwnMoveRows *tables[] = OWN_LEVEL_TABLES(moveRows);
    return *tables[ownCpuLevel()];
}
