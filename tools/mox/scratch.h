// Images in scratch files. The library is served their tiles, of which no more are in memory than there is room for;
// others go by their rows, a band as high as a tile at a time.
#pragma once

#include <mox.h>

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "image.h"
#include "scratchfile.h"

struct Scratch;

// A tile in memory. One that is in hand, which the library may ask for several times at once, stays where it is.
struct ScratchTile {
    Scratch *owner = nullptr;
    std::size_t number = 0;
    std::vector<char> bytes;
    int inHand = 0;
    bool changed = false;
};
using ScratchTiles = std::list<ScratchTile>;

struct Scratch {
    ImagePtr image;  // what the library sees: a header with tiles and no pixels
    MoxTileInfo info = {};
    std::string folder;
    int descriptor = -1;
    int columns = 0, rows = 0;
    std::size_t tileBytes = 0;
    std::size_t tileRowBytes = 0;  // of a row of a tile
    std::vector<bool> kept;        // tiles that the file has; others are 0
    std::unordered_map<std::size_t, ScratchTiles::iterator> inMemory;
    long inHand = 0;
    bool counted = false;

    Scratch() = default;
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
    ~Scratch();
};

struct TileSize {
    int width = 0;  // 0 for what suits the memory
    int height = 0;
};

// All samples are 0. Throws Failure where there is no place for the file, or no memory for a few rows of tiles.
std::unique_ptr<Scratch> makeScratch(int channels, unsigned depth, bool planes, int width, int height, TileSize tiles);

// The rows that a row of tiles has; the last one may have fewer.
ImagePtr makeBand(const Scratch &scratch);
void readBand(Scratch *scratch, int tileRow, MoxImage *band);
void writeBand(Scratch *scratch, int tileRow, const MoxImage *band);

// The pixels of one in another of the same size and kind; false where their tiles differ.
bool copyScratch(Scratch *from, Scratch *to);

// Within the library a scratch file that fails is a tile that is not delivered. Throws Failure where there was one.
void checkScratch();
