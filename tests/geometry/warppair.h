// A source and a destination of any layouts that warps take together, and what they are warped by.
#pragma once

#include "reference/geometry.h"
#include "support/imagepair.h"

struct WarpPairOptions {
    unsigned depth = MOX_DEPTH_8U;
    int tiled[2] = {-1, -1};  // 0 plain, 1 tiled, -1 draws
    int maxWidth = 40;
    int maxHeight = 24;
    int leastSource = 2;  // pixels of the source's region in each direction
    bool masks = true;
};

class WarpPair : public ImagePair {
  public:
    WarpPair(Random &random, const WarpPairOptions &options);
};

// A source, a destination and two maps of positions around the source's region.
class RemapSet : public WarpPair {
  public:
    RemapSet(Random &random, const WarpPairOptions &options, int tiledMaps);
    TestImage &xMap() { return *others_[0]; }
    TestImage &yMap() { return *others_[1]; }
    std::string describe() const;

  private:
    void addMap(Random &random, const WarpPairOptions &options, int tiled, int low, int high);
};

// The depths that warps and remapping take.
extern const unsigned warpDepths[4];

// Floats that let sums round without overflowing.
void drawModerately(Random &random, TestImage &image);

// A quadrangle that passes the tests, at a rectangle: within it, over its sides, beyond it, tiny, large, with sides
// that are parallel to axes or to one another, with corners of whole numbers, in both windings.
RefQuad drawQuad(Random &random, const RefRect &rect);
// The corners of a region.
RefRect rectOf(const TestImage &image);
// Coefficients of a map that takes the rectangle somewhere near the other one.
RefCoeffs drawAffine(Random &random, const RefRect &from, const RefRect &to);
int drawInterpolate(Random &random, bool mayBeSmooth);

std::string describeQuad(const RefQuad &quad);
std::string describeCoeffs(RefMap map, const RefCoeffs &coeffs);

void callWarpQ(RefMap map, WarpPair &pair, RefQuad quad, int warpFlag, int interpolate);
void callWarp(RefMap map, WarpPair &pair, RefCoeffs coeffs, int warpFlag, int interpolate);
