// Calls of the functions of quadrangles and maps. Null pointers are handed on.
#include "geometry/quadfunctions.h"

namespace {

template <typename Coeffs>
struct Functions {
    void(MOX_CALL *quad)(MoxImage *, Coeffs, double (*)[2]);
    void(MOX_CALL *quadROI)(MoxROI *, Coeffs, double (*)[2]);
    void(MOX_CALL *bound)(MoxImage *, Coeffs, double (*)[2]);
    void(MOX_CALL *boundROI)(MoxROI *, Coeffs, double (*)[2]);
    void(MOX_CALL *transform)(MoxImage *, Coeffs, double (*)[2]);
    void(MOX_CALL *transformROI)(MoxROI *, Coeffs, double (*)[2]);
};

const Functions<double (*)[3]> affine = {moxGetAffineQuad,     moxGetAffineQuadROI,   moxGetAffineBound,
                                         moxGetAffineBoundROI, moxGetAffineTransform, moxGetAffineTransformROI};
const Functions<double (*)[4]> bilinear = {moxGetBilinearQuad,     moxGetBilinearQuadROI,   moxGetBilinearBound,
                                           moxGetBilinearBoundROI, moxGetBilinearTransform, moxGetBilinearTransformROI};
const Functions<double (*)[3]> perspective = {moxGetPerspectiveQuad,      moxGetPerspectiveQuadROI,
                                              moxGetPerspectiveBound,     moxGetPerspectiveBoundROI,
                                              moxGetPerspectiveTransform, moxGetPerspectiveTransformROI};

enum class What { QUAD, BOUND, TRANSFORM };

template <typename Coeffs>
void call(const Functions<Coeffs> &functions, What what, const QuadPlace &place, double *coeffs, double *points) {
    const auto c = reinterpret_cast<Coeffs>(coeffs);
    const auto p = reinterpret_cast<double(*)[2]>(points);
    if (place.ofRegion) {
        (what == What::QUAD    ? functions.quadROI
         : what == What::BOUND ? functions.boundROI
                               : functions.transformROI)(place.roi, c, p);
    } else {
        (what == What::QUAD    ? functions.quad
         : what == What::BOUND ? functions.bound
                               : functions.transform)(place.image, c, p);
    }
}

void callAny(RefMap map, What what, const QuadPlace &place, RefCoeffs *coeffs, double *points) {
    double *values = coeffs ? coeffs->data() : nullptr;
    switch (map) {
        case RefMap::AFFINE:
            return call(affine, what, place, values, points);
        case RefMap::BILINEAR:
            return call(bilinear, what, place, values, points);
        default:
            return call(perspective, what, place, values, points);
    }
}

}  // namespace

const char *mapName(RefMap map) {
    return map == RefMap::AFFINE ? "Affine" : map == RefMap::BILINEAR ? "Bilinear" : "Perspective";
}

std::string quadFunctionName(RefMap map, const char *what, bool ofRegion) {
    return std::string("moxGet") + mapName(map) + what + (ofRegion ? "ROI" : "");
}

void callQuad(RefMap map, const QuadPlace &place, RefCoeffs *coeffs, RefQuad *quad) {
    callAny(map, What::QUAD, place, coeffs, quad ? quad->front().data() : nullptr);
}
void callBound(RefMap map, const QuadPlace &place, RefCoeffs *coeffs, RefBound *bound) {
    callAny(map, What::BOUND, place, coeffs, bound ? bound->data() : nullptr);
}
void callTransform(RefMap map, const QuadPlace &place, RefCoeffs *coeffs, RefQuad *quad) {
    callAny(map, What::TRANSFORM, place, coeffs, quad ? quad->front().data() : nullptr);
}
