// Smooth edges of a polygon that has been filled.
#pragma once

#include "geometry/ownscan.h"

// Along every side that is neither vertical nor horizontal, mixes the pixel just outside with its neighbour inside, by
// how far the side is from both: O = O |v - o| + N |v - n|. The polygon lies within the image's region, orientation is
// its quadrangle's. Where the mask's bit is 0 a pixel keeps its value. A tile that is not delivered is reported.
void ownSmoothEdges(const OwnCaller &caller, MoxImage *image, const OwnPolygon &polygon, bool orientation);
