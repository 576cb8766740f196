// Tiled images: the arithmetic of tiles, and the walk that runs an element-wise operation over any mix of tiled and
// plain images.
#pragma once

#include "frame/ownimage.h"

// Bytes in a row of a tile.
int64_t ownTileRowBytes(int dataOrder, unsigned depth, int align, int nChannels, int tileWidth);

// The same from the header; 0 for a null or invalid header or an untiled image.
int64_t ownTileRowBytesOf(const MoxImage *image);

// Asks for a tile in the given mode; its address, or null.
char *ownRequestTile(MoxImage *image, int column, int row, int mode);

// Gives a tile back; tileData holds its address meanwhile.
void ownReleaseTile(MoxImage *image, int column, int row, char *tileData);

// A plain header that stands for a share of an image, with a region of its own that carries the image's coi.
struct OwnScratchImage {
    MoxImage header;
    MoxROI roi;
};

// A bitwise copy of the header with a region of its own.
void ownMakeScratch(const MoxImage *image, OwnScratchImage *scratch);

// Makes a tiled image's copied header that of one of its tiles, whose data are still to be set.
void ownMakeTileHeader(const MoxImage *image, MoxImage *header);

// One image in a walk. The record is known by this name beside the public ones, but no application sees it.
struct MoxTileWalk {
    bool tiled;
    int64_t tileX0, curX0;      // left pixel of the first tile column of the walk; of the current one
    int64_t tileXEnd, curXEnd;  // their right ends, exclusive
    int64_t tileY0, tileYEnd;   // the current tile row
    int column, curColumn;
    int row;
    int tileHeight, tileWidth;
};

// Fills the walk of an image whose rectangle begins at (rect->x, rect->y), and prepares the scratch header.
void ownTileWalkSetup(MoxImage *image, MoxImage *scratch, const OwnImageRect *rect, MoxTileWalk *walk);

// What runs on a cell: scratch headers of the images, in the order in which they were given, and of the mask.
using OwnCellFunction = void (*)(void *operation, MoxImage *const *images, MoxImage *mask);

// Of a walk over the whole of the images regions mean nothing; one that flips goes through the destination, which is
// not a source, from its last row upward.
struct OwnWalkOptions {
    bool whole = false;
    bool flips = false;
};

// Walks the common area of up to two sources and a destination, the last of the images. An image that is the
// destination shares its scratch. Gives -1 when all is done, or the index of the image whose tile was not delivered:
// the walk ends there, with no further callback.
int ownWalkTiles(MoxImage *const *images, int count, MoxImage *mask, OwnCellFunction cell, void *operation,
                 const OwnWalkOptions &options = {});
