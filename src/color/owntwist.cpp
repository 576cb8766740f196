// The colour twist over images: channels, regions, masks, tiles.
#include "color/owntwist.h"

#include "core/owncpu.h"
#include "core/ownfpcontrol.h"
#include "frame/owntile.h"

OWN_DECLARE_LEVELS(OwnTwistRows, twistRows)

const OwnTwistRows &ownTwistRows() {
    static constexpr const OwnTwistRows *tables[] = OWN_LEVEL_TABLES(twistRows);
    return *tables[ownCpuLevel()];
}

namespace {

struct ChannelMessages {
    const char *few, *fewWithAlpha, *alpha;
};
constexpr ChannelMessages OF_SOURCE = {
    "(srcImage->nChannels < 3)",
    "((srcImage->alphaChannel != 0) && (srcImage->nChannels < 4))",
    "((srcImage->alphaChannel != 0) && (srcImage->alphaChannel < srcImage->nChannels))",
};
constexpr ChannelMessages OF_DESTINATION = {
    "(dstImage->nChannels < 3)",
    "((dstImage->alphaChannel != 0) && (dstImage->nChannels < 4))",
    "((dstImage->alphaChannel != 0) && (dstImage->alphaChannel < dstImage->nChannels))",
};

bool acceptChannels(const OwnCaller &caller, const MoxImage *image, const ChannelMessages &messages) {
    const char *message = image->nChannels < 3                                                 ? messages.few
                          : image->alphaChannel != 0 && image->nChannels < 4                   ? messages.fewWithAlpha
                          : image->alphaChannel != 0 && image->alphaChannel < image->nChannels ? messages.alpha
                                                                                               : nullptr;
    if (message) ownReport(caller, MOX_StatusBadArgument, message);
    return !message;
}

struct Twist {
    OwnPlaneKernel kernel;
    const void *operation;

    void run(MoxImage *src, MoxImage *dst, MoxImage *mask) const {
        OwnPlanes planes;
        planes.count = 2;
        planes.mask = mask;
        planes.images[0] = {src, 3, {0, 1, 2}, false};
        planes.images[1] = {dst, 3, {0, 1, 2}, true};
        ownSetPlaneSize(&planes);
        ownRunPlanes(planes, kernel, operation);
    }
};

}  // namespace

bool ownAcceptTwisted(const OwnCaller &caller, const MoxImage *srcImage, const MoxImage *dstImage) {
    return acceptChannels(caller, srcImage, OF_SOURCE) && acceptChannels(caller, dstImage, OF_DESTINATION);
}

void ownRunTwist(const OwnCaller &caller, MoxImage *srcImage, MoxImage *dstImage, OwnPlaneKernel kernel,
                 const void *operation) {
    const OwnCommonMask mask(caller, srcImage, dstImage);
    if (mask.lacksMemory()) ownReport(caller, MOX_StatusNoMemory, "Out of memory");
    if (mask.lacksMemory() || mask.endsCall()) return;
    const OwnNearestRounding rounding;
    Twist twist = {kernel, operation};
    if (!srcImage->tileInfo && !dstImage->tileInfo) {
        twist.run(srcImage, dstImage, mask.image());
        return;
    }
    MoxImage *const images[] = {srcImage, dstImage};
    const auto runCell = [](void *of, MoxImage *const *cells, MoxImage *maskCell) {
        static_cast<const Twist *>(of)->run(cells[0], cells[1], maskCell);
    };
    const int refused = ownWalkTiles(images, 2, mask.image(), runCell, &twist);
    if (refused >= 0) {
        ownReport(caller, MOX_StatusBadArgument,
                  refused == 0 ? "(srcImage->tileInfo->tileData == 0)" : "(dstImage->tileInfo->tileData == 0)");
    }
}
