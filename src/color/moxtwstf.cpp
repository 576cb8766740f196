// The colour twist by a matrix of floats.
#include "color/owntwist.h"

void MOX_CALL moxColorTwistFP(MoxImage *srcImage, MoxImage *dstImage, const float *TwistFP) {
    const OwnCaller caller = OWN_CALLER("moxColorTwistFP");
    if (!ownAcceptImage(caller, srcImage) || !ownAcceptImage(caller, dstImage)) return;
    const char *message = !TwistFP                                     ? "(TwistFP == 0)"
                          : srcImage->dataOrder != dstImage->dataOrder ? "(srcImage->dataOrder != dstImage->dataOrder)"
                          : srcImage->origin != dstImage->origin       ? "(srcImage->origin != dstImage->origin)"
                                                                       : nullptr;
    if (message) {
        ownReport(caller, MOX_StatusBadArgument, message);
        return;
    }
    // Images of bits have one channel.
    if (!ownAcceptTwisted(caller, srcImage, dstImage)) return;
    OwnTwistFP twist;
    for (int i = 0; i < 12; ++i)
        twist.data[i / 4][i % 4] = static_cast<double>(TwistFP[i]);
    const auto &kernels = ownTwistRows().real[ownDepthIndex(srcImage->depth)];
    ownRunTwist(caller, srcImage, dstImage, kernels[ownDepthIndex(dstImage->depth)], &twist);
}
