// The functions of quadrangles and maps, by kind of map and form, as one kind of call.
#pragma once

#include <string>

#include "mox.h"
#include "reference/geometry.h"

constexpr RefMap allMaps[] = {RefMap::AFFINE, RefMap::BILINEAR, RefMap::PERSPECTIVE};

const char *mapName(RefMap map);
// moxGet + Affine + Quad + ROI, for example.
std::string quadFunctionName(RefMap map, const char *what, bool ofRegion);

// Where a call takes its region from: an image, or a region by itself.
struct QuadPlace {
    MoxImage *image;
    MoxROI *roi;
    bool ofRegion;
};
void callQuad(RefMap map, const QuadPlace &place, RefCoeffs *coeffs, RefQuad *quad);
void callBound(RefMap map, const QuadPlace &place, RefCoeffs *coeffs, RefBound *bound);
void callTransform(RefMap map, const QuadPlace &place, RefCoeffs *coeffs, RefQuad *quad);
