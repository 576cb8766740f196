// Scenes, and the buffers beneath them.
#include "scene.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// The destination has the last buffer, whatever the number of sources; behind it lies the mask's.
constexpr int MASK = MOST_IMAGES;
constexpr size_t PAGE = 4096;

struct Buffer {
    uint8_t *data;
    size_t size;
};
Buffer buffers[MOST_IMAGES + 1];

void growBuffer(Buffer *buffer, size_t size) {
    size = (size + 2 * PAGE) / PAGE * PAGE;
    if (size <= buffer->size) return;
    std::free(buffer->data);
    buffer->data = static_cast<uint8_t *>(std::aligned_alloc(PAGE, size));
    if (!buffer->data) std::abort();
    std::memset(buffer->data, 0x55, size);
    buffer->size = size;
}

// A block of noise, repeated, is as good as noise for operations that look at one sample at a time.
constexpr size_t NOISE = 1 << 20;

uint32_t nextRandom(uint32_t *state) {
    *state ^= *state << 13;
    *state ^= *state >> 17;
    *state ^= *state << 5;
    return *state;
}

const uint8_t *noise(bool floats) {
    static uint32_t words[2][NOISE / 4];
    static const bool made = [] {
        uint32_t state = 2463534242u;
        for (size_t i = 0; i < NOISE / 4; ++i) {
            words[0][i] = nextRandom(&state);
            words[1][i] = 0x3F800000u | words[0][i] >> 9;
        }
        return true;
    }();
    static_cast<void>(made);
    return reinterpret_cast<const uint8_t *>(words[floats ? 1 : 0]);
}

int bufferOf(const Scene &scene, int image) {
    return scene.writes && image == scene.count - 1 ? MOST_IMAGES - 1 : image;
}

// Hands out the tile's address and does nothing else.
int MOX_CALL serveTile(MoxImage *image, int xIndex, int yIndex, int mode) {
    const auto *source = static_cast<const TileSource *>(image->tileInfo->id);
    if (mode != MOX_TileRelease) {
        image->tileInfo->tileData =
            source->base + (static_cast<int64_t>(yIndex) * source->columns + xIndex) * source->tileBytes;
    }
    return 0;
}

MoxImage *makeHeader(int channels, bool alpha, unsigned depth, int width, int height) {
    return moxCreateImageHeader(channels, alpha ? channels : 0, static_cast<int>(depth), "", "", MOX_DATA_ORDER_PIXEL,
                                MOX_ORIGIN_TL, 32, width, height, nullptr, nullptr, nullptr, nullptr);
}

// Tiles lie one after the other.
void setTiles(Scene *scene, int i, int tile) {
    MoxImage *image = scene->images[i];
    const int columns = (image->width + tile - 1) / tile;
    MoxImage *one = makeHeader(image->nChannels, image->alphaChannel != 0, image->depth, tile, tile);
    scene->tileSources[i] = {nullptr, one->imageSize, columns};
    scene->tiles[i] = {serveTile, &scene->tileSources[i], nullptr, tile, tile};
    image->tileInfo = &scene->tiles[i];
    moxDeallocateHeader(one);
}

void makeMask(Scene *scene, int size, const Layout &layout) {
    scene->mask = makeHeader(1, false, MOX_DEPTH_1U, size + layout.maskX, size);
    if (layout.maskX != 0) {
        scene->maskRoi = {0, layout.maskX, 0, size, size};
        scene->mask->roi = &scene->maskRoi;
    }
    growBuffer(&buffers[MASK], static_cast<size_t>(scene->mask->imageSize));
    scene->images[scene->writes ? scene->count - 1 : 0]->maskROI = scene->mask;
}

double pixelBits(int depthIndex, int channels) {
    return static_cast<double>(channels) * ownDepthBits(depthCode(depthIndex));
}

// The bytes written for each one that is read.
double writtenOf(const Operation &operation, int depthIndex, const Layout &layout) {
    if (operation.written > 0) return operation.written;
    const Form &form = operation.destination;
    const double bits = pixelBits(form.depthIndex >= 0 ? form.depthIndex : depthIndex,
                                  form.channels > 0 ? form.channels : layout.channels);
    return form.scale * form.scale * bits / pixelBits(depthIndex, layout.channels);
}

// What leaves some samples of a cache line alone reads the destination too, and a channel of interest moves whole
// pixels: memory knows cache lines only.
Traffic trafficOf(const Operation &operation, int depthIndex, int size, const Layout &layout) {
    static constexpr LimitShape ALL[] = {LIMIT_FILL, LIMIT_COPY, LIMIT_JOIN};
    static constexpr LimitShape KEEP[] = {LIMIT_KEEP_FILL, LIMIT_KEEP_COPY, LIMIT_KEEP_JOIN};
    const bool keeps = layout.masked || layout.alpha || layout.coi != 0;
    const size_t pixels = static_cast<size_t>(size) * static_cast<size_t>(size);
    const size_t maskBytes = layout.masked ? pixels / 8 : 0;
    const double bytes = static_cast<double>(pixels) * pixelBits(depthIndex, layout.channels) / 8;
    const double written = operation.measuresOnly ? 0 : writtenOf(operation, depthIndex, layout);
    // Bits of samples are so few that reading is what takes the time; they count as if they were read.
    if (operation.sources > 0 && written <= 0.125) {
        return {operation.sources == 1 ? LIMIT_READ : LIMIT_READ_TWO,
                static_cast<size_t>(bytes * (1 + written / operation.sources)), maskBytes};
    }
    return {operation.exchanges ? LIMIT_SWAP : (keeps ? KEEP : ALL)[operation.sources],
            static_cast<size_t>(bytes * (1 + written) / 2), maskBytes};
}

}  // namespace

void makeScene(const Operation &operation, int depthIndex, int size, const Layout &layout, Scene *scene) {
    *scene = {};
    scene->writes = !operation.measuresOnly;
    scene->count = operation.sources + (scene->writes ? 1 : 0);
    const int processed = layout.coi != 0 ? 1 : layout.channels - (layout.alpha ? 1 : 0);
    scene->samples = static_cast<double>(size) * size * processed;
    scene->traffic = trafficOf(operation, depthIndex, size, layout);
    for (int i = 0; i < scene->count; ++i) {
        // A region leaves something of the image on all sides.
        const int margin = layout.region ? 128 : 0;
        const Form form = scene->writes && i == scene->count - 1 ? operation.destination : Form();
        const int side = static_cast<int>(size * form.scale);
        MoxImage *image =
            makeHeader(form.channels > 0 ? form.channels : layout.channels, layout.alpha,
                       depthCode(form.depthIndex >= 0 ? form.depthIndex : depthIndex), side + margin, side + margin);
        scene->images[i] = image;
        if (layout.region || layout.coi != 0) {
            scene->rois[i] = {layout.coi, layout.x[bufferOf(*scene, i)], layout.y, side, side};
            image->roi = &scene->rois[i];
        }
        size_t bytes = static_cast<size_t>(image->imageSize);
        if (layout.tile != 0) {
            setTiles(scene, i, layout.tile);
            const auto tiles = static_cast<size_t>(scene->tileSources[i].columns);
            bytes = std::max(bytes, tiles * tiles * static_cast<size_t>(scene->tileSources[i].tileBytes));
        }
        growBuffer(&buffers[bufferOf(*scene, i)], bytes);
        scene->bytes = std::max(scene->bytes, bytes);
    }
    // A limit's pass may use any buffer.
    for (Buffer &buffer : buffers)
        growBuffer(&buffer, &buffer == &buffers[MASK] ? scene->traffic.maskBytes : scene->traffic.bytes);
    if (layout.masked) makeMask(scene, size, layout);
}

void attachScene(Scene *scene) {
    for (int i = 0; i < scene->count; ++i) {
        char *data = reinterpret_cast<char *>(buffers[bufferOf(*scene, i)].data);
        if (scene->images[i]->tileInfo) {
            scene->tileSources[i].base = data;
        } else {
            scene->images[i]->imageData = data;
        }
    }
    if (scene->mask) scene->mask->imageData = reinterpret_cast<char *>(buffers[MASK].data);
}

void freeScene(Scene *scene) {
    for (int i = 0; i < scene->count; ++i)
        moxDeallocateHeader(scene->images[i]);
    moxDeallocateHeader(scene->mask);
    *scene = {};
}

void fillBuffers(const Scene &scene, int depthIndex) {
    for (int i = 0; i <= MASK; ++i) {
        const uint8_t *from = noise(depthIndex == OWN_32F && i != MASK);
        const size_t size = std::min(scene.bytes, buffers[i].size);
        // Every buffer begins elsewhere in the noise.
        const size_t skip = static_cast<size_t>(i) * PAGE;
        for (size_t done = 0; done < size; done += NOISE - skip)
            std::memcpy(buffers[i].data + done, from + skip, std::min(NOISE - skip, size - done));
    }
}

LimitBuffers sceneBuffers() {
    return {buffers[0].data, buffers[1].data, buffers[MOST_IMAGES - 1].data, buffers[MASK].data};
}
