// An image in memory served to the library tile by tile, as an application would serve one from a file.
#pragma once

#include <mox.h>

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "image.h"

// A tile that the library holds. It may hold one several times at once: all requests get the same memory.
struct HeldTile {
    std::vector<char> bytes;
    int holds = 0;
    bool written = false;
};

struct TileServer {
    MoxImage *store = nullptr;  // where the pixels really are
    MoxTileInfo info = {};
    ImagePtr image;  // what the library sees: a header with tiles and no pixels
    std::map<std::pair<int, int>, HeldTile> held;
    long requests = 0;
};

// Neither store nor server may move while the server is in use. Throws Failure when the header cannot be made.
std::unique_ptr<TileServer> serveTiles(MoxImage *store, int tileWidth, int tileHeight);
