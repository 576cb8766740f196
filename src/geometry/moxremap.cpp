// Remapping: every pixel takes its place in the source from two maps.
#include <algorithm>
#include <bit>

#include "core/owncpu.h"
#include "frame/ownpair.h"
#include "frame/ownrect.h"
#include "geometry/ownremap.h"
#include "geometry/ownsampler.h"

OWN_DECLARE_LEVELS(OwnRemapRows, remapRows)

const OwnRemapRows &ownRemapRows() {
    static constexpr const OwnRemapRows *tables[] = OWN_LEVEL_TABLES(remapRows);
    return *tables[ownCpuLevel()];
}

namespace {

// Pixels that are mapped at once.
constexpr int64_t STRETCH = 1024;

// Blocks of a destination that has no tiles, where another image has.
constexpr int BLOCK_SIDE = 128;

// The values of a map, from the corner of an area on.
struct Map {
    const uint8_t *start;
    int64_t rowStep;
};

// A remapping of plain images.
class Remap {
  public:
    // The source's region begins at (x, y) of the image that positions are of, while its header is that of the region.
    Remap(const MoxImage *src, OwnSampling sampling, int64_t x, int64_t y) : src_(src), sampling_(sampling) {
        OwnImageRect rect;
        ownImageRect(src, &rect);
        xShift_ = static_cast<int>(x - rect.x);
        yShift_ = static_cast<int>(y - rect.y);
        const auto bits = [](int64_t position) { return std::bit_cast<int32_t>(static_cast<float>(position)); };
        bounds_ = {bits(x), bits(y), bits(x + rect.width - 1), bits(y + rect.height - 1)};
    }

    // An area of the given size at the corners of the destination's region, its mask's and the maps.
    void run(const Map &xMap, const Map &yMap, const MoxImage *dst, const MoxImage *mask, int64_t width,
             int64_t height) const {
        OwnSampler sampler;
        ownSetSampler(&sampler, src_, dst, mask, sampling_);
        OwnSampled &source = sampler.source;
        source.originX += xShift_;
        source.originY += yShift_;
        source.left += xShift_;
        source.right += xShift_;
        source.top += yShift_;
        source.bottom += yShift_;
        for (int64_t y = 0; y < height; ++y) {
            const uint8_t *xs = xMap.start + y * xMap.rowStep, *ys = yMap.start + y * yMap.rowStep;
            for (int64_t x = 0; x < width; x += STRETCH, xs += STRETCH * 4, ys += STRETCH * 4)
                runStretch(sampler, x, y, xs, ys, std::min(STRETCH, width - x));
        }
    }

  private:
    void runStretch(const OwnSampler &sampler, int64_t x, int64_t y, const uint8_t *xs, const uint8_t *ys,
                    int64_t pixels) const {
        const auto n = static_cast<size_t>(pixels);
        uint8_t bits[STRETCH / 8];
        const size_t kept = ownRemapRows().keep(xs, ys, bounds_, bits, n);
        if (kept == 0) return;
        const uint8_t *keep = kept == n ? nullptr : bits;
        if (sampling_ != OWN_SAMPLE_NEAREST) return ownSamplePixels(sampler, x, y, xs, ys, keep, pixels);
        int32_t columns[STRETCH], rows[STRETCH];
        ownRemapRows().nearest(xs, columns, n);
        ownRemapRows().nearest(ys, rows, n);
        ownSamplePixels(sampler, x, y, columns, rows, keep, pixels);
    }

    const MoxImage *src_;
    OwnSampling sampling_;
    int xShift_, yShift_;
    OwnRemapBounds bounds_;
};

// A buffer of the rectangle service, freed on every path.
struct Rectangle {
    char *data = nullptr;
    int rowBytes = 0;

    Rectangle() = default;
    Rectangle(const Rectangle &) = delete;
    Rectangle &operator=(const Rectangle &) = delete;
    ~Rectangle() { ownFreeRect(data); }
    bool read(MoxImage *image, const OwnShare &share) {
        data = ownReadShare(image, share, &rowBytes);
        return data != nullptr;
    }
};

// The share of a map, where it stands or in a buffer.
bool readMap(MoxImage *image, const OwnShare &share, Rectangle *buffer, Map *map) {
    if (!image->tileInfo) {
        OwnImageRect rect;
        ownImageRect(image, &rect);
        const char *start = ownSampleAt(image, 0, rect.x + share.x, rect.y + share.y);
        *map = {reinterpret_cast<const uint8_t *>(start), image->widthStep};
        return true;
    }
    if (!buffer->read(image, share)) return false;
    *map = {reinterpret_cast<const uint8_t *>(buffer->data), buffer->rowBytes};
    return true;
}

// A remapping whose images may be tiled.
struct Images {
    OwnCaller caller;
    MoxImage *src, *xMap, *yMap, *dst;

    // A share of the destination, block by block where any image is tiled.
    void run(OwnSampling sampling, int64_t width, int64_t height) const {
        OwnImageRect rect;
        ownImageRect(src, &rect);
        const OwnShare whole = {0, 0, rect.width, rect.height};
        Rectangle source;
        OwnScratchImage region;
        if (!src->tileInfo) {
            ownShareOfPlain(src, whole, &region);
        } else if (source.read(src, whole)) {
            ownShareOfRect(src, whole, source.data, source.rowBytes, &region);
        } else {
            return trace();
        }
        const Remap remap(&region.header, sampling, rect.x, rect.y);
        const bool tiled = src->tileInfo || xMap->tileInfo || yMap->tileInfo || dst->tileInfo;
        if (!tiled) {
            runShare(remap, {0, 0, width, height}, nullptr);
            return;
        }
        MoxTileInfo blocks = {nullptr, nullptr, nullptr, BLOCK_SIDE, BLOCK_SIDE};
        MoxImage grid = *dst;
        if (!grid.tileInfo) grid.tileInfo = &blocks;
        for (OwnTileGrid tiles(&grid, width, height); tiles.next();) {
            if (!runShare(remap, tiles.share(), &tiles)) return;
        }
    }

  private:
    void trace() const { ownReport(caller, MOX_StatusBacktrace, ""); }

    // A share of the destination, which is within the tile that the grid has reached where there are any. False if the
    // call ends.
    bool runShare(const Remap &remap, const OwnShare &share, const OwnTileGrid *tiles) const {
        Rectangle buffers[2];
        Map maps[2];
        if (!readMap(xMap, share, &buffers[0], &maps[0]) || !readMap(yMap, share, &buffers[1], &maps[1])) {
            trace();
            return false;
        }
        OwnScratchImage to, mask;
        char *tile = nullptr;
        if (dst->tileInfo) {
            tile = ownRequestTile(dst, tiles->column(), tiles->row(), MOX_TileWrite);
            if (!tile) {
                ownReport(caller, MOX_StatusGeneral, "Error get tile to write");
                return false;
            }
            ownShareOfTile(dst, share, tile, &to);
        } else {
            ownShareOfPlain(dst, share, &to);
        }
        if (dst->maskROI) ownShareOfPlain(dst->maskROI, share, &mask);
        remap.run(maps[0], maps[1], &to.header, dst->maskROI ? &mask.header : nullptr, share.width, share.height);
        if (tile) ownReleaseTile(dst, tiles->column(), tiles->row(), tile);
        return true;
    }
};

// Reports all faults of the headers and arguments. A null image ends the call at once.
bool accept(const Images &images, int kind) {
    const OwnCaller &caller = images.caller;
    const MoxImage *src = images.src, *xMap = images.xMap, *yMap = images.yMap, *dst = images.dst;
    bool good = true;
    for (const MoxImage *image : {src, xMap, yMap, dst}) {
        good = ownAcceptImage(caller, image) && good;
        if (!image) return false;
    }
    const auto require = [&](bool condition, const char *message) {
        if (!condition) ownReport(caller, MOX_StatusBadArgument, message);
        good = good && condition;
    };
    const auto isMap = [](const MoxImage *map) {
        return map->depth == MOX_DEPTH_32F && map->nChannels == 1 && map->alphaChannel == 0;
    };
    const bool single = src->depth == MOX_DEPTH_1U || (src->nChannels == 1 && dst->nChannels == 1);
    require(src->depth == dst->depth, "srcImage->depth != dstImage->depth");
    require(src->origin == dst->origin, "srcImage->origin != dstImage->origin");
    require(single || src->dataOrder == dst->dataOrder, "srcImage->dataOrder != dstImage->dataOrder");
    require((src->depth & MOX_DEPTH_SIGN) == 0, "(srcImage->depth & MOX_DEPTH_SIGN)");
    require(isMap(xMap), "xMap->depth != MOX_DEPTH_32F || xMap->nChannels != 1 || xMap->alphaChannel != 0");
    require(isMap(yMap), "yMap->depth != MOX_DEPTH_32F || yMap->nChannels != 1 || yMap->alphaChannel != 0");
    require(src != dst, "This function is not in-place function");
    require(kind == MOX_INTER_NN || kind == MOX_INTER_LINEAR || kind == MOX_INTER_CUBIC,
            "interpolate != MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC");
    return good;
}

// The kind that a source's region has pixels for.
OwnSampling samplingOf(const MoxImage *src, const OwnImageRect &rect, int kind) {
    const int64_t least = std::min(rect.width, rect.height);
    if (kind == MOX_INTER_NN || src->depth == MOX_DEPTH_1U || least < 2) return OWN_SAMPLE_NEAREST;
    return kind == MOX_INTER_LINEAR || least < 4 ? OWN_SAMPLE_LINEAR : OWN_SAMPLE_CUBIC;
}

}  // namespace

void MOX_CALL moxRemap(MoxImage *srcImage, MoxImage *xMap, MoxImage *yMap, MoxImage *dstImage, int interpolate) {
    const Images images = {OWN_CALLER("moxRemap"), srcImage, xMap, yMap, dstImage};
    const int kind = interpolate & ~MOX_SMOOTH_EDGE;
    if (!accept(images, kind)) return;

    OwnImageRect source;
    ownImageRect(srcImage, &source);
    int64_t width = INT32_MAX, height = INT32_MAX;
    for (const MoxImage *image : {dstImage, xMap, yMap, dstImage->maskROI}) {
        if (!image) continue;
        OwnImageRect rect;
        ownImageRect(image, &rect);
        width = std::min(width, rect.width);
        height = std::min(height, rect.height);
    }
    if (source.width < 1 || source.height < 1 || width < 1 || height < 1) return;
    if (ownChannels(srcImage) != ownChannels(dstImage)) {
        ownReport(images.caller, MOX_StatusBadArgument,
                  "Number of processed channels of srcImage != Number of processed channels of dstImage");
        return;
    }
    if (ownChannels(dstImage) == 0 || !ownAcceptMemory(images.caller, {srcImage, xMap, yMap, dstImage})) return;
    images.run(samplingOf(srcImage, source, kind), width, height);
}
