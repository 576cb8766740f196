// The colour twist by a matrix of fixed-point numbers, and that matrix.
#include <cstring>

#include "color/owntwist.h"

MoxColorTwist *MOX_CALL moxCreateColorTwist(const int *data, int scalingValue) {
    const OwnCaller caller = OWN_CALLER("moxCreateColorTwist");
    if (scalingValue < 0 || scalingValue > 31 || !data) {
        ownReport(caller, MOX_StatusBadArgument, "bad_argument");
        return nullptr;
    }
    auto *cTwist = static_cast<MoxColorTwist *>(moxMalloc(sizeof(MoxColorTwist)));
    if (!cTwist) {
        ownReport(caller, MOX_StatusNoMemory, "matrix_is_not_allocated");
        return nullptr;
    }
    moxSetColorTwist(cTwist, data, scalingValue);
    return cTwist;
}

void MOX_CALL moxSetColorTwist(MoxColorTwist *cTwist, const int *data, int scalingValue) {
    const char *message = !cTwist             ? "cTwist==0"
                          : !data             ? "(data == 0)"
                          : scalingValue < 0  ? "(scalingValue < 0)"
                          : scalingValue > 31 ? "(scalingValue > 31)"
                                              : nullptr;
    if (message) {
        ownReport(OWN_CALLER("moxSetColorTwist"), MOX_StatusBadArgument, message);
        return;
    }
    std::memcpy(cTwist->data, data, sizeof cTwist->data);
    cTwist->scalingValue = scalingValue;
}

void MOX_CALL moxDeleteColorTwist(MoxColorTwist *cTwist) {
    moxFree(cTwist);
}

// The last argument plays no part.
void MOX_CALL moxApplyColorTwist(MoxImage *srcImage, MoxImage *dstImage, const MoxColorTwist *cTwist, int) {
    const OwnCaller caller = OWN_CALLER("moxApplyColorTwist");
    if (!ownAcceptImage(caller, srcImage) || !ownAcceptImage(caller, dstImage)) return;
    if (!cTwist) {
        ownReport(caller, MOX_StatusBadArgument, "cTwist==0");
        return;
    }
    if (!ownAcceptTwisted(caller, srcImage, dstImage)) return;
    const MoxImage *mask = srcImage->maskROI;
    const struct {
        bool failed;
        const char *message;
    } tests[] = {
        {srcImage->depth != dstImage->depth, "(srcImage->depth != dstImage->depth)"},
        {srcImage->depth != MOX_DEPTH_8U && srcImage->depth != MOX_DEPTH_16U,
         "((srcImage->depth != 8) && (srcImage->depth != 16))"},
        {srcImage->dataOrder != dstImage->dataOrder, "(srcImage->dataOrder != dstImage->dataOrder)"},
        {srcImage->origin != dstImage->origin, "(srcImage->origin != dstImage->origin)"},
        {mask && srcImage->origin != mask->origin, "(srcImage->origin != srcImage->maskROI->origin)"},
    };
    for (const auto &test : tests) {
        if (!test.failed) continue;
        ownReport(caller, MOX_StatusBadArgument, test.message);
        return;
    }
    OwnTwist twist;
    std::memcpy(twist.data, cTwist->data, sizeof twist.data);
    // The record is the application's, which may have written it.
    const int shift = cTwist->scalingValue;
    twist.shift = shift < 0 ? 0 : shift > 31 ? 31 : shift;
    ownRunTwist(caller, srcImage, dstImage, ownTwistRows().apply[srcImage->depth == MOX_DEPTH_8U ? 0 : 1], &twist);
}
