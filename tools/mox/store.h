// Where the pixels of an image are: in memory, or in a scratch file where they would take too much of it. To the
// library the two are the same.
#pragma once

#include <memory>

#include "image.h"
#include "rows.h"
#include "scratch.h"

struct Store {
    ImagePtr whole;
    std::unique_ptr<Scratch> scratch;

    [[nodiscard]] MoxImage *image() const { return scratch ? scratch->image.get() : whole.get(); }
    explicit operator bool() const { return whole || scratch; }
};

// How images are kept.
struct Keeping {
    bool planes = false;
    TileSize tiles;  // of scratch files
    bool onDisk = false;
};

// As makeImage, imageFromRows and the ways back. Rows are read while the store stays where it is.
Store makeStore(int channels, unsigned depth, int width, int height, const Keeping &keeping);
Store storeFromRows(RowSource source, unsigned depth, const Keeping &keeping);
RowSource rowsOfStore(const Store &store, int bits);
RowSource exactRowsOfStore(const Store &store, int bits);

// The same pixels once more.
Store copyOfStore(const Store &store, const Keeping &keeping);

// Brings into memory what need not be on disk.
void settle(Store *store, const Keeping &keeping);
