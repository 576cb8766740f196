// The images of a row: headers of a given layout over buffers that all rows share.
#pragma once

#include "limit.h"
#include "operations.h"

constexpr int MOST_IMAGES = 3;

struct Layout {
    int channels = 1;
    bool alpha = false;  // the last channel is alpha
    int coi = 0;
    bool region = false;      // the processed pixels are a region of larger images
    int x[MOST_IMAGES] = {};  // where the regions of first source, second source and destination begin
    int y = 0;
    bool masked = false;
    int maskX = 0;  // where the mask's region begins
    int tile = 0;   // width and height of the tiles, 0 for none
};

struct TileSource {
    char *base;
    int64_t tileBytes;
    int columns;
};

struct Scene {
    MoxImage *images[MOST_IMAGES];  // sources, then the destination
    int count;
    bool writes;  // the last image is a destination
    MoxROI rois[MOST_IMAGES];
    MoxTileInfo tiles[MOST_IMAGES];
    TileSource tileSources[MOST_IMAGES];
    MoxImage *mask;
    MoxROI maskRoi;
    size_t bytes;    // of the largest image
    double samples;  // processed by a call
    Traffic traffic;
};

// Makes the headers and sees to it that the buffers suffice; addresses are set by attachScene, as a later scene may let
// the buffers grow.
void makeScene(const Operation &operation, int depthIndex, int size, const Layout &layout, Scene *scene);
void attachScene(Scene *scene);
void freeScene(Scene *scene);

// Fills the scene's buffers anew: random bytes, or for depth 32F random numbers from 1 to 2.
void fillBuffers(const Scene &scene, int depthIndex);
LimitBuffers sceneBuffers();
