// Images in memory or in scratch files.
#include "store.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "memory.h"

namespace {

// Two thirds are for whole images, and the rest for tiles.
bool fits(std::uint64_t bytes) {
    return bytes <= largestWhole() && bytes <= 0x7FFFFFFF && memoryTaken() + bytes <= pixelMemory() - tileMemory();
}

Store emptyStore(int channels, unsigned depth, int width, int height, const Keeping &keeping, bool black) {
    Store store;
    if (!keeping.onDisk && fits(bytesOfImage(channels, depth, keeping.planes, width, height))) {
        store.whole = makeImage(channels, depth, keeping.planes, width, height, black);
    } else {
        store.scratch = makeScratch(channels, depth, keeping.planes, width, height, keeping.tiles);
    }
    return store;
}

RowSource rowsAt(const Store &store, const Form &form) {
    if (!store.scratch)
        return {form, [image = store.whole.get(), form, y = 0](std::uint32_t *row) mutable {
                    takeRow(image, y++, row, form);
                }};
    Scratch *const scratch = store.scratch.get();
    const std::shared_ptr<MoxImage> band = makeBand(*scratch);
    return {form, [scratch, band, form, y = 0](std::uint32_t *row) mutable {
                if (y % band->height == 0) readBand(scratch, y / band->height, band.get());
                takeRow(band.get(), y % band->height, row, form);
                y++;
            }};
}

}  // namespace

Store makeStore(int channels, unsigned depth, int width, int height, const Keeping &keeping) {
    return emptyStore(channels, depth, width, height, keeping, true);
}

Store storeFromRows(RowSource source, unsigned depth, const Keeping &keeping) {
    ImageRows rows = rowsForImage(std::move(source), depth);
    const Form form = rows.source.form;
    Store store = emptyStore(form.channels, depth, form.width, form.height, keeping, false);
    std::vector<std::uint32_t> row(samplesOfRow(form));
    const ImagePtr band = store.scratch ? makeBand(*store.scratch) : ImagePtr();
    MoxImage *const to = band ? band.get() : store.whole.get();
    for (int y = 0; y < form.height; y++) {
        rows.source.next(row.data());
        putRow(to, y % to->height, row.data(), rows);
        const bool last = (y + 1) % to->height == 0 || y + 1 == form.height;
        if (band && last) writeBand(store.scratch.get(), y / to->height, to);
    }
    return store;
}

RowSource rowsOfStore(const Store &store, int bits) {
    return rowsAt(store, formOfImage(store.image(), bits, false));
}

RowSource exactRowsOfStore(const Store &store, int bits) {
    return rowsAt(store, formOfImage(store.image(), bits, true));
}

Store copyOfStore(const Store &store, const Keeping &keeping) {
    const MoxImage *like = store.image();
    Store copy = emptyStore(like->nChannels, like->depth, like->width, like->height, keeping, false);
    if (store.whole && copy.whole) {
        std::memcpy(copy.whole->imageData, like->imageData, static_cast<std::size_t>(like->imageSize));
        return copy;
    }
    if (store.scratch && copy.scratch && copyScratch(store.scratch.get(), copy.scratch.get())) return copy;
    return storeFromRows(exactRowsOfStore(store, 16), like->depth, keeping);
}

void settle(Store *store, const Keeping &keeping) {
    if (!store->scratch) return;
    const MoxImage *image = store->image();
    const bool planes = image->dataOrder == MOX_DATA_ORDER_PLANE;
    if (!fits(bytesOfImage(image->nChannels, image->depth, planes, image->width, image->height))) return;
    const unsigned depth = image->depth;
    *store = storeFromRows(exactRowsOfStore(*store, 16), depth, keeping);
}
