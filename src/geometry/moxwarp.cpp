// Warps: a source's pixels under affine, bilinear and perspective maps.
#include <algorithm>
#include <cmath>

#include "geometry/ownquad.h"
#include "geometry/ownsmooth.h"
#include "geometry/ownwarp.h"
#include "geometry/ownwarpcall.h"

namespace {

bool refuse(const OwnCaller &caller, const char *message, MoxStatus status = MOX_StatusBadArgument) {
    ownReport(caller, status, message);
    return false;
}

bool trace(const OwnCaller &caller) {
    return refuse(caller, "", MOX_StatusBacktrace);
}

// A call behind its first tests.
struct Call {
    OwnCaller caller;
    MoxImage *src, *dst;
    int interpolate;
};

bool acceptKind(const Call &call) {
    const int kind = call.interpolate & ~MOX_SMOOTH_EDGE;
    if (kind >= MOX_INTER_NN && kind <= MOX_INTER_CUBIC) return true;
    return refuse(call.caller,
                  "interpolate != MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC");
}

// The kind that a source allows.
int kindFor(const MoxImage *src, const OwnCorners &source, int interpolate) {
    const int64_t side = std::min(source.right - source.left, source.bottom - source.top) + 1;
    if (src->depth == MOX_DEPTH_1U || side == 1) return MOX_INTER_NN;
    return std::min<int>(interpolate & ~MOX_SMOOTH_EDGE, side < 4 ? MOX_INTER_LINEAR : MOX_INTER_CUBIC);
}

// Affine maps have arithmetics of their own.
OwnSampling samplingOf(bool isAffine, int kind, unsigned depth) {
    if (kind == MOX_INTER_NN) return OWN_SAMPLE_NEAREST;
    if (kind == MOX_INTER_CUBIC) return isAffine ? OWN_SAMPLE_CUBIC_DOUBLE : OWN_SAMPLE_CUBIC;
    if (!isAffine) return OWN_SAMPLE_LINEAR;
    switch (depth) {
        case MOX_DEPTH_8U:
            return OWN_SAMPLE_LINEAR_FIXED;
        case MOX_DEPTH_16U:
            return OWN_SAMPLE_LINEAR_DOUBLE;
        default:
            return OWN_SAMPLE_LINEAR_SINGLE;
    }
}

// A map that leads beyond numbers has no pixels. Those below the limit keep every sum along a row within single
// precision.
bool isUsable(const OwnWarpMap &map) {
    constexpr double LIMIT = 1e25;
    const bool solved = map.kind == OWN_INVERSE_BILINEAR;
    const int counts[] = {6, 9, 8, 11};
    for (int k = 0; k < counts[map.kind]; ++k) {
        const double value = solved ? map.inverse.m[k] : map.c[k];
        if (!(std::fabs(value) < (map.kind == OWN_AFFINE ? LIMIT : 1e300))) return false;
    }
    return true;
}

// The last tests, and what is drawn: the pixels of scan under the map. False after a report, or where there are no
// channels.
bool draw(const Call &call, OwnWarp *warp) {
    const int channels = ownChannels(call.dst);
    if (ownChannels(call.src) != channels) return refuse(call.caller, OWN_CHANNELS_DIFFER);
    if (channels == 0 || !ownAcceptMemory(call.caller, {call.src, call.dst})) return false;
    const int kind = kindFor(call.src, warp->source, call.interpolate);
    warp->sampling = samplingOf(warp->map.kind == OWN_AFFINE, kind, call.src->depth);
    if (!isUsable(warp->map)) return true;
    return ownDrawWarp(call.caller, *warp, call.src, call.dst);
}

bool invert(OwnWarpKind kind, const OwnCorners &source, const double quad[4][2], OwnWarpMap *map) {
    map->kind = kind == OWN_BILINEAR ? OWN_INVERSE_BILINEAR : kind;
    if (kind == OWN_AFFINE) return ownInvertAffine(source, quad, map->c);
    if (kind == OWN_PERSPECTIVE) return ownInvertPerspective(source, quad, map->c);
    ownInvertBilinear(source, quad, &map->inverse);
    return map->inverse.orientation;
}

// The source's region onto a quadrangle of the destination.
void warpOnto(const Call &call, OwnWarpKind kind, const double quad[4][2]) {
    OwnWarp warp;
    if (!ownImageCorners(call.src, &warp.source) || !ownHasArea(warp.source)) {
        refuse(call.caller, "srcImage Rectangle ROI is degenerate to length or point");
        return;
    }
    if (!ownImageCorners(call.dst, &warp.destination)) return;
    const bool orientation = invert(kind, warp.source, quad, &warp.map);
    const OwnPolygon polygon = ownClip(quad, warp.destination);
    warp.scan = ownScanPolygon(polygon, warp.destination, orientation);
    warp.originX = warp.originY = 0;
    warp.tests = false;
    if (!draw(call, &warp) || warp.scan.count == 0) return;
    if ((call.interpolate & MOX_SMOOTH_EDGE) != 0 && call.src->depth != MOX_DEPTH_1U)
        ownSmoothEdges(call.caller, call.dst, polygon, orientation);
}

// Every pixel of a rectangle.
OwnScan scanOf(const OwnCorners &corners) {
    OwnScan scan;
    scan.count = 1;
    scan.corners = corners;
    const auto left = static_cast<double>(corners.left), right = static_cast<double>(corners.right);
    scan.bands[0] = {corners.top, corners.bottom, {left, 0, 0}, {right, 0, 0}};
    return scan;
}

bool contains(const OwnCorners &corners, const double *point) {
    return point[0] >= static_cast<double>(corners.left) && point[0] <= static_cast<double>(corners.right) &&
           point[1] >= static_cast<double>(corners.top) && point[1] <= static_cast<double>(corners.bottom);
}

// A quadrangle of the source onto the destination's region.
void warpFrom(const Call &call, OwnWarpKind kind, const double quad[4][2]) {
    OwnWarp warp;
    if (!ownImageCorners(call.dst, &warp.destination) || !ownHasArea(warp.destination)) {
        refuse(call.caller, "dstImage Rectangle ROI is degenerate to length or point");
        return;
    }
    if (!ownImageCorners(call.src, &warp.source)) return;
    const OwnCorners &d = warp.destination;
    const OwnCorners counted = {0, 0, d.right - d.left, d.bottom - d.top};
    warp.map.kind = kind;
    if (kind == OWN_PERSPECTIVE) {
        ownFitPerspective(counted, quad, warp.map.c);
    } else {
        ownFitBilinear(counted, quad, warp.map.c);
    }
    warp.originX = d.left;
    warp.originY = d.top;
    warp.tests = !std::all_of(quad, quad + 4, [&](const double *point) { return contains(warp.source, point); });
    warp.scan = scanOf(d);
    draw(call, &warp);
}

void warpQuad(const Call &call, OwnWarpKind kind, double quad[4][2], int warpFlag) {
    if (!ownAcceptWarp(call.caller, call.src, call.dst, &warpFlag)) return;
    if (!quad) {
        refuse(call.caller, "quad == 0", MOX_StatusNullPointer);
        return;
    }
    if (const char *fault = ownFindQuadFault(ownSides(quad))) {
        refuse(call.caller, fault);
        return;
    }
    if (!acceptKind(call)) return;
    warpFlag == 0 ? warpOnto(call, kind, quad) : warpFrom(call, kind, quad);
}

// Whether a function that makes a quadrangle succeeds.
template <class MakeQuad>
bool madeQuad(const OwnCaller &caller, const MakeQuad &makeQuad) {
    bool failed;
    {
        const OwnNestedCalls calls;
        makeQuad();
        failed = calls.failed();
    }
    return !failed || trace(caller);
}

}  // namespace

bool ownAcceptWarp(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, const int *warpFlag) {
    bool accepted = true;
    for (const MoxImage *image : {src, dst}) {
        accepted = ownAcceptImage(caller, image) && accepted;
        if (!image) return false;
    }
    const auto test = [&](bool isFault, const char *message) {
        if (isFault) accepted = refuse(caller, message);
    };
    test(src->depth != dst->depth, "srcImage->depth != dstImage->depth");
    test(src->origin != dst->origin, "srcImage->origin != dstImage->origin");
    const bool single = src->depth == MOX_DEPTH_1U || (src->nChannels == 1 && dst->nChannels == 1);
    test(!single && src->dataOrder != dst->dataOrder, "srcImage->dataOrder != dstImage->dataOrder");
    test((src->depth & MOX_DEPTH_SIGN) != 0, "srcImage->depth & MOX_DEPTH_SIGN");
    test(warpFlag && *warpFlag != 0 && *warpFlag != 1, "warpFlag != 0 && warpFlag != 1");
    test(src == dst, "This function is not in-place function");
    return accepted;
}

void MOX_CALL moxWarpAffine(MoxImage *srcImage, MoxImage *dstImage, double coeffs[2][3], int interpolate) {
    const Call call = {OWN_CALLER("moxWarpAffine"), srcImage, dstImage, interpolate};
    if (!ownAcceptWarp(call.caller, srcImage, dstImage, nullptr)) return;
    if (!coeffs) {
        refuse(call.caller, "coeffs == 0", MOX_StatusNullPointer);
        return;
    }
    const double determinant = coeffs[0][0] * coeffs[1][1] - coeffs[0][1] * coeffs[1][0];
    if (!(std::fabs(determinant) > 1e-07)) {
        refuse(call.caller, "Determinant of transform matrix == 0.0");
        return;
    }
    double quad[4][2];
    if (!madeQuad(call.caller, [&] { moxGetAffineQuad(srcImage, coeffs, quad); }) || !acceptKind(call)) return;
    warpOnto(call, OWN_AFFINE, quad);
}

void MOX_CALL moxWarpBilinear(MoxImage *srcImage, MoxImage *dstImage, double coeffs[2][4], int warpFlag,
                              int interpolate) {
    double quad[4][2];
    MoxImage *image = warpFlag != 0 ? dstImage : srcImage;
    if (!madeQuad(OWN_CALLER("moxWarpBilinear"), [&] { moxGetBilinearQuad(image, coeffs, quad); })) return;
    moxWarpBilinearQ(srcImage, dstImage, quad, warpFlag, interpolate);
}

void MOX_CALL moxWarpBilinearQ(MoxImage *srcImage, MoxImage *dstImage, double quad[4][2], int warpFlag,
                               int interpolate) {
    warpQuad({OWN_CALLER("moxWarpBilinearQ"), srcImage, dstImage, interpolate}, OWN_BILINEAR, quad, warpFlag);
}

void MOX_CALL moxWarpPerspective(MoxImage *srcImage, MoxImage *dstImage, double coeffs[3][3], int warpFlag,
                                 int interpolate) {
    double quad[4][2];
    MoxImage *image = warpFlag != 0 ? dstImage : srcImage;
    if (!madeQuad(OWN_CALLER("moxWarpPerspective"), [&] { moxGetPerspectiveQuad(image, coeffs, quad); })) return;
    moxWarpPerspectiveQ(srcImage, dstImage, quad, warpFlag, interpolate);
}

void MOX_CALL moxWarpPerspectiveQ(MoxImage *srcImage, MoxImage *dstImage, double quad[4][2], int warpFlag,
                                  int interpolate) {
    warpQuad({OWN_CALLER("moxWarpPerspectiveQ"), srcImage, dstImage, interpolate}, OWN_PERSPECTIVE, quad, warpFlag);
}

void MOX_CALL moxShear(MoxImage *srcImage, MoxImage *dstImage, double xShear, double yShear, double xShift,
                       double yShift, int interpolate) {
    double coeffs[2][3] = {{1, xShear, xShift}, {yShear, 1, yShift}};
    moxWarpAffine(srcImage, dstImage, coeffs, interpolate);
}
