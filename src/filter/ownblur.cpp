// Picks the kernels of the box filter for the level in use.
#include "filter/ownblur.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnBlurRows, blurRows)

const OwnBlurRows &ownBlurRows() {
    static constexpr const OwnBlurRows *tables[] = OWN_LEVEL_TABLES(blurRows);
    return *tables[ownCpuLevel()];
}
