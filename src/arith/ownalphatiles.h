// The run of an operation with opacities over tiles: up to seven images, each with a grid of its own, are brought block
// by block as plain views. A block within one tile is worked on where it stands; one that straddles tiles goes through
// a scratch image.
#pragma once

#include "frame/owntile.h"

constexpr int OWN_SESSION_SLOTS = 7;

// One image of a session. count is how often it was asked for since the last release.
struct OwnTileSlot {
    MoxImage *image;
    int count;
    int mode;                 // MOX_TileRead or MOX_TileWrite
    OwnScratchImage scratch;  // of the image itself, or of what straddles
    OwnScratchImage tile;     // of one of its tiles
    MoxImage *view;           // given out last
    char **tiles;             // of the current rectangle, row by row
    int64_t pitch;
    int64_t firstColumn, lastColumn, firstRow, lastRow;
};

// The record is known by this name beside the public ones, but no application sees it.
struct MoxTileSession {
    int slots;
    int blockWidth, blockHeight;
    MoxStatus status;
    int64_t x, y, width, height;  // the current rectangle, from the corner of the regions
    int used;
    OwnTileSlot slot[OWN_SESSION_SLOTS];
};

// A session for blocks of up to this size; null without memory.
MoxTileSession *ownTileSessionCreate(int slots, int blockWidth, int blockHeight);

// Registers an image, or finds it registered: the number of its slot, counted from 1. 0 for a null image, -1 for a null
// or failed session.
int ownTileSessionAdd(MoxTileSession *session, MoxImage *image, int mode);

// What is acquired next, relative to the regions.
void ownTileSessionSetRect(MoxTileSession *session, int64_t x, int64_t y, int64_t width, int64_t height);

// The image as a plain one whose region is the rectangle; null for slot 0 and after a failure.
MoxImage *ownTileSessionAcquire(MoxTileSession *session, int slot);

// Gives back what was acquired; what straddles and was written goes to its tiles.
void ownTileSessionReleaseAll(MoxTileSession *session);

// 0, -1 for a copy that failed, -2 for a tile that was not delivered, -4 where memory ran out or for a null session.
MoxStatus ownTileSessionStatus(const MoxTileSession *session);

void ownTileSessionDestroy(MoxTileSession *session);
