// Scan conversion: which pixels of a rectangle lie within a quadrangle, its edges included.
#pragma once

#include "geometry/ownquad.h"

// A convex polygon with the vertices of a quadrangle in their order, cut to a rectangle: each side can add one.
struct OwnPolygon {
    double at[9][2];  // the last one has room to close a polygon while it is cut
    int count;        // 0 where nothing is left, and for quadrangles that are beyond numbers
};
OwnPolygon ownClip(const double quad[4][2], const OwnCorners &corners);

// A line x = start + slope (y - top).
struct OwnScanEdge {
    double start, slope, top;
};

// Its pixels row by row: in a few bands, each between two edges.
struct OwnScan {
    struct Band {
        int64_t first, last;  // rows, both included
        OwnScanEdge left, right;
    };
    Band bands[9];
    int count;
    OwnCorners corners;  // nothing outside is ever found
};

// orientation is that of the quadrangle.
OwnScan ownScanPolygon(const OwnPolygon &polygon, const OwnCorners &corners, bool orientation);

// The first and last pixel of a row; false where it has none. The rows are those of all bands, in ascending order.
bool ownScanRow(const OwnScan::Band &band, const OwnCorners &corners, int64_t y, int64_t *first, int64_t *last);
