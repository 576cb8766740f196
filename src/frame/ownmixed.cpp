// The frame of conversions: areas of plain images, and tiles.
#include "frame/ownmixed.h"

#include <algorithm>
#include <climits>

#include "frame/owntile.h"

OwnConversion ownConversionOf(MoxImage *src, MoxImage *dst, MoxImage *mask) {
    OwnConversion conversion = {};
    conversion.src = src;
    conversion.dst = dst;
    conversion.mask = mask;
    conversion.first[0] = ownFirstChannel(src);
    conversion.first[1] = ownFirstChannel(dst);
    conversion.channels = ownChannels(dst);
    return conversion;
}

namespace {

struct Job {
    const OwnConversion &conversion;
    const OwnMixedForms &kernel;
    const OwnConstant &constant;
    int64_t whole;  // bytes that the call passes over, where it does so tile by tile

    void run(MoxImage *const *images, const MoxImage *mask) const;
};

// An image as if it had no region, or one that names no more than the share.
OwnSpan wholeSpan(const MoxImage *image, int first, int *width, int *height) {
    MoxImage plain = *image;
    plain.roi = nullptr;
    return ownSpan(&plain, first, width, height);
}

// Of images in different orders the channels of pixels are taken for planes. Bits are every channel's.
void setOrder(OwnRows *rows, MoxImage *const *images, int channels) {
    const bool planar = images[0]->dataOrder == MOX_DATA_ORDER_PLANE || images[1]->dataOrder == MOX_DATA_ORDER_PLANE;
    rows->channels = planar ? std::min(channels, 1) : channels;
    rows->planes = planar ? channels : 1;
    for (int i = 0; planar && i < 2; ++i) {
        OwnSpan &span = rows->spans[i];
        if (images[i]->dataOrder == MOX_DATA_ORDER_PIXEL || span.bytes == 0) span.planeStep = span.bytes;
    }
}

void Job::run(MoxImage *const *images, const MoxImage *mask) const {
    const bool cell = conversion.src->tileInfo || conversion.dst->tileInfo;
    OwnRows rows = {};
    rows.count = 2;
    rows.width = rows.height = INT_MAX;
    const auto limit = [&](int width, int height) {
        rows.width = std::min(rows.width, width);
        rows.height = std::min(rows.height, height);
    };
    int width, height;
    for (int i = 0; i < 2; ++i) {
        const auto span = conversion.whole && !cell ? wholeSpan : ownSpan;
        rows.spans[i] = span(images[i], conversion.first[i], &width, &height);
        limit(width, height);
    }
    if (mask) {
        rows.mask = ownSpan(mask, 0, &width, &height);
        rows.masked = true;
        limit(width, height);
    }
    if (rows.width <= 0 || rows.height <= 0) return;
    rows.whole = whole;
    setOrder(&rows, images, conversion.channels);
    if (conversion.asBytes) {
        rows.width = (rows.width + 7) / 8;
        rows.spans[0].bytes = rows.spans[1].bytes = 1;
    }
    if (conversion.flips) {
        OwnSpan &dst = rows.spans[1];
        dst.start += (rows.height - 1) * dst.rowStep;
        dst.rowStep = -dst.rowStep;
    }
    ownRunMixedRows(rows, kernel, constant);
}

}  // namespace

int ownConvert(const OwnConversion &conversion, const OwnMixedForms &kernel, const OwnConstant &constant) {
    MoxImage *const images[] = {conversion.src, conversion.dst};
    Job job = {conversion, kernel, constant, 0};
    if (!conversion.src->tileInfo && !conversion.dst->tileInfo) {
        job.run(images, conversion.mask);
        return -1;
    }
    // More than caches hold is enough to know.
    OwnImageRect rect;
    ownImageRect(conversion.dst, &rect);
    const int64_t bits = ownDepthBits(conversion.src->depth) + ownDepthBits(conversion.dst->depth);
    job.whole = std::clamp<int64_t>(rect.width * rect.height, 0, INT_MAX) * std::min(conversion.channels, 4) * bits / 8;
    const auto runCell = [](void *operation, MoxImage *const *cell, MoxImage *mask) {
        static_cast<const Job *>(operation)->run(cell, mask);
    };
    const OwnWalkOptions options = {conversion.whole, conversion.flips};
    return ownWalkTiles(images, 2, conversion.mask, runCell, &job, options);
}
