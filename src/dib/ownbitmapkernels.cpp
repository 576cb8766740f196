// Picks the kernels of the bitmap conversions for the level in use.
#include "core/owncpu.h"
#include "dib/ownbitmaprows.h"

OWN_DECLARE_LEVELS(OwnBitmapRows, bitmapRows)

const OwnBitmapRows &ownBitmapRows() {
    static constexpr const OwnBitmapRows *tables[] = OWN_LEVEL_TABLES(bitmapRows);
    return *tables[ownCpuLevel()];
}
