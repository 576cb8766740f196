// Decimation: an image becomes smaller. All faults of a call are reported, one after the other.
#include "geometry/owndecim.h"

namespace {

class Checks {
  public:
    Checks(const OwnCaller &caller, const OwnDecimation &call) : caller_(caller), call_(call) {}

    bool run() {
        compareImages();
        compareChannels();
        const int kind = call_.interpolate;
        refuseIf(kind != MOX_INTER_NN && kind != MOX_INTER_LINEAR && kind != MOX_INTER_CUBIC && kind != MOX_INTER_SUPER,
                 "interpolate != MOX_INTER_NN, MOX_INTER_LINEAR, MOX_INTER_CUBIC or MOX_INTER_SUPER");
        refuseIf(call_.xDst <= 0, "xDst <= 0");
        refuseIf(call_.xSrc <= 0, "xSrc <= 0");
        refuseIf(call_.yDst <= 0, "yDst <= 0");
        refuseIf(call_.ySrc <= 0, "ySrc <= 0");
        refuseIf(call_.xDst > call_.xSrc, "xDst > xSrc");
        refuseIf(call_.yDst > call_.ySrc, "yDst > ySrc");
        return !failed_;
    }

  private:
    void refuseIf(bool fault, const char *message, MoxStatus status = MOX_StatusBadArgument) {
        if (!fault) return;
        ownReport(caller_, status, message);
        failed_ = true;
    }

    void compareImages() {
        const MoxImage *src = call_.src, *dst = call_.dst;
        refuseIf(src == dst, "srcImage == dstImage");
        refuseIf(src->depth != dst->depth, "srcImage->depth != dstImage->depth", MOX_StatusHeaderDepth);
        refuseIf(ownScaleDepth(src->depth) < 0, "depth != 1U, 8U, 16U or 32F", MOX_StatusHeaderDepth);
        refuseIf(src->origin != dst->origin, "srcImage->origin != dstImage->origin", MOX_StatusHeaderOrigin);
        refuseIf(src->dataOrder != dst->dataOrder, "srcImage->dataOrder != dstImage->dataOrder", MOX_StatusHeaderOrder);
    }

    // A channel of interest goes into the only channel of an image, and an only channel into one of interest.
    void compareChannels() {
        const MoxImage *src = call_.src, *dst = call_.dst;
        const bool srcCoi = ownHasCoi(src), dstCoi = ownHasCoi(dst);
        refuseIf(srcCoi && !dstCoi && ownChannels(dst) != 1, "srcImage->roi->coi > 0 && dstImage->roi->coi == 0",
                 MOX_StatusHeaderCoi);
        refuseIf(dstCoi && !srcCoi && ownChannels(src) != 1, "dstImage->roi->coi > 0 && srcImage->roi->coi == 0",
                 MOX_StatusHeaderCoi);
        refuseIf(!srcCoi && !dstCoi && ownChannels(src) != ownChannels(dst),
                 "srcImage->nChannels != dstImage->nChannels", MOX_StatusHeaderChannels);
    }

    OwnCaller caller_;
    const OwnDecimation &call_;
    bool failed_ = false;
};

}  // namespace

void MOX_CALL moxDecimate(MoxImage *srcImage, MoxImage *dstImage, int xDst, int xSrc, int yDst, int ySrc,
                          int interpolate) {
    const OwnCaller caller = OWN_CALLER("Decimate");
    if (!ownAcceptImage(caller, srcImage) || !ownAcceptImage(caller, dstImage)) return;
    const OwnDecimation call = {srcImage, dstImage, xDst, xSrc, yDst, ySrc, interpolate};
    if (!Checks(caller, call).run() || !ownAcceptMemory(caller, {srcImage, dstImage})) return;
    switch (ownDecimate(call)) {
        case OWN_SCALE_DONE:
            break;
        case OWN_SCALE_NO_MEMORY:
            if (interpolate == MOX_INTER_SUPER) {
                ownReport(OWN_CALLER("moxDecimate"), MOX_StatusNoMemory,
                          "Can't create temporary buffer for interpolate = MOX_INTER_SUPER");
            } else {
                ownReport(caller, MOX_StatusNoMemory, "Out of memory");
            }
            break;
        case OWN_SCALE_NO_SOURCE:
            ownReport(caller, MOX_StatusInternal, "srcImage->tileInfo->callBack crash");
            break;
        case OWN_SCALE_NO_TILE:
            ownReport(caller, MOX_StatusInternal, "dstImage->tileInfo->callBack crash");
            break;
    }
}
