// What the modules of depths share.
#include "color/owndepth.h"

#include "core/owncpu.h"

OWN_DECLARE_LEVELS(OwnDepthRows, depthRows)
OWN_DECLARE_LEVELS(OwnThresholdRows, thresholdRows)
OWN_DECLARE_LEVELS(OwnRealRows, realRows)

const OwnDepthRows &ownDepthRows() {
    static constexpr const OwnDepthRows *tables[] = OWN_LEVEL_TABLES(depthRows);
    return *tables[ownCpuLevel()];
}

const OwnThresholdRows &ownThresholdRows() {
    static constexpr const OwnThresholdRows *tables[] = OWN_LEVEL_TABLES(thresholdRows);
    return *tables[ownCpuLevel()];
}

const OwnRealRows &ownRealRows() {
    static constexpr const OwnRealRows *tables[] = OWN_LEVEL_TABLES(realRows);
    return *tables[ownCpuLevel()];
}

bool ownPassDepthTests(const OwnCaller &caller, const OwnDepthTest *tests, int count) {
    for (int i = 0; i < count; ++i) {
        if (!tests[i].failed) continue;
        ownReport(caller, MOX_StatusBadArgument, tests[i].message);
        return false;
    }
    return true;
}

void ownRunConversion(const OwnCaller &caller, const OwnConversion &conversion, const OwnMixedForms &kernel,
                      const OwnConstant &constant) {
    static const char *const refused[] = {"(srcImage->tileInfo->tileData == NULL)",
                                          "(dstImage->tileInfo->tileData == NULL)"};
    const int image = ownConvert(conversion, kernel, constant);
    if (image >= 0) ownReport(caller, MOX_StatusBadArgument, refused[image]);
}

void ownConvertRegions(const OwnCaller &caller, MoxImage *src, MoxImage *dst, const OwnMixedForms &kernel,
                       const OwnConstant &constant) {
    const OwnCommonMask mask(caller, src, dst);
    if (mask.lacksMemory()) ownReport(caller, MOX_StatusNoMemory, "Out of memory");
    if (mask.lacksMemory() || mask.endsCall()) return;
    ownRunConversion(caller, ownConversionOf(src, dst, mask.image()), kernel, constant);
}
