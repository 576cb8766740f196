// Channels of images as planes of samples; picks the kernels that make floats of them.
#include "transform/ownplane.h"

#include "core/owncpu.h"
#include "frame/ownimage.h"

OWN_DECLARE_LEVELS(OwnSampleRows, sampleRows)

const OwnSampleRows &ownSampleRows() {
    static constexpr const OwnSampleRows *tables[] = OWN_LEVEL_TABLES(sampleRows);
    return *tables[ownCpuLevel()];
}

OwnPlane ownPlane(const MoxImage *image, int channel) {
    OwnPlane plane = {};
    int bit;
    plane.start = ownRoiStart(image, channel, &plane.width, &plane.height, &bit);
    // Without a region the start is that of the image, whatever the channel.
    if (!image->roi) {
        const int64_t planeBytes = static_cast<int64_t>(image->height) * image->widthStep;
        plane.start += image->dataOrder == MOX_DATA_ORDER_PLANE ? channel * planeBytes
                                                                : int64_t{channel} * ownDepthBytes(image->depth);
    }
    plane.rowStep = image->widthStep;
    plane.step = image->dataOrder == MOX_DATA_ORDER_PLANE ? 1 : image->nChannels;
    plane.depth = ownDepthIndex(image->depth);
    plane.bytes = ownDepthBytes(image->depth);
    return plane;
}

void ownLoadRows(const OwnPlane &plane, int64_t x, int64_t y, int count, size_t n, float *copies, size_t most,
                 const float **rows) {
    const bool direct = plane.isFloats();
    const auto load = ownSampleRows().load[plane.depth];
    for (int r = 0; r < count; ++r, copies += most) {
        const char *at = plane.at(x, y + r);
        if (direct) {
            rows[r] = reinterpret_cast<const float *>(at);
        } else {
            load(at, plane.step, copies, n);
            rows[r] = copies;
        }
    }
}
