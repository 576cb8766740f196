// Picks the kernels of the rank filters for the level in use.
#include "filter/ownrank.h"

#include "core/owncpu.h"
#include "filter/owncolormedian.h"
#include "filter/ownmedian.h"

OWN_DECLARE_LEVELS(OwnRankRows, rankRows)
OWN_DECLARE_LEVELS(OwnMedianRows, medianRows)
OWN_DECLARE_LEVELS(OwnMedianColumns, medianColumns)
OWN_DECLARE_LEVELS(OwnColorMedianRows, colorMedianRows)

const OwnRankRows &ownRankRows() {
    static constexpr const OwnRankRows *tables[] = OWN_LEVEL_TABLES(rankRows);
    return *tables[ownCpuLevel()];
}

const OwnMedianRows &ownMedianRows() {
    static constexpr const OwnMedianRows *tables[] = OWN_LEVEL_TABLES(medianRows);
    return *tables[ownCpuLevel()];
}

const OwnMedianColumns &ownMedianColumns() {
    static constexpr const OwnMedianColumns *tables[] = OWN_LEVEL_TABLES(medianColumns);
    return *tables[ownCpuLevel()];
}

const OwnColorMedianRows &ownColorMedianRows() {
    static constexpr const OwnColorMedianRows *tables[] = OWN_LEVEL_TABLES(colorMedianRows);
    return *tables[ownCpuLevel()];
}
