// Example calls: quadrangles and maps.

#include "reference/geometry.h"
#include "table/examples.h"

namespace {

using Call = ExampleCall;
constexpr Touches NOTHING = Touches::NOTHING, HEADERS = Touches::HEADERS, PIXELS = Touches::PIXELS;

// A number that is equal to itself.
void answer(Call &call, double value) {
    call.answers.push_back(value == value ? value : -1e300);
}
template <size_t rows, size_t columns>
void answer(Call &call, const double (&values)[rows][columns]) {
    for (const auto &row : values) {
        for (const double value : row)
            answer(call, value);
    }
}

// Maps that turn, shear and tilt a little.
template <size_t rows, size_t columns>
struct Coefficients {
    double at[rows][columns] = {};
    explicit Coefficients(Call &call) {
        for (auto &row : at) {
            for (double &value : row)
                value = static_cast<double>(call.real(0.25f));
        }
        at[0][columns - 1] = static_cast<double>(call.real(3.0f));
    }
};

// A parallelogram, as a map of any kind may have it.
struct Quadrangle {
    double at[4][2];
    explicit Quadrangle(Call &call) : at{{1, 2}, {21, 3}, {24, 13}, {4, 12}} {
        at[2][0] = static_cast<double>(call.real(24.0f));
    }
};

MoxROI region(Call &call) {
    return {0, call.size(3), call.size(2), call.size(9), call.size(7)};
}

template <size_t rows, size_t columns, void(MOX_CALL *function)(MoxImage *, double (*)[columns], double (*)[2])>
void quadOf(Call &call) {
    Coefficients<rows, columns> coeffs(call);
    double quad[4][2] = {};
    function(call.src(), coeffs.at, quad);
    answer(call, quad);
}
template <size_t rows, size_t columns, void(MOX_CALL *function)(MoxROI *, double (*)[columns], double (*)[2])>
void quadOfRegion(Call &call) {
    Coefficients<rows, columns> coeffs(call);
    MoxROI roi = region(call);
    double quad[4][2] = {};
    function(&roi, coeffs.at, quad);
    answer(call, quad);
}
template <size_t rows, size_t columns, void(MOX_CALL *function)(MoxImage *, double (*)[columns], double (*)[2])>
void transformOf(Call &call) {
    double coeffs[rows][columns] = {};
    Quadrangle quad(call);
    function(call.src(), coeffs, quad.at);
    answer(call, coeffs);
}
template <size_t rows, size_t columns, void(MOX_CALL *function)(MoxROI *, double (*)[columns], double (*)[2])>
void transformOfRegion(Call &call) {
    double coeffs[rows][columns] = {};
    MoxROI roi = region(call);
    Quadrangle quad(call);
    function(&roi, coeffs, quad.at);
    answer(call, coeffs);
}

// A kind of interpolation; at random times edges are smoothed as well.
int interpolation(Call &call, int usual) {
    const int kind = call.choice(usual, 3);
    return call.choice(0, 4) == 1 ? kind | MOX_SMOOTH_EDGE : kind;
}

void warpAffine(Call &call) {
    double coeffs[2][3] = {{static_cast<double>(call.real(0.9f)), 0.25, 2.5}, {-0.25, 0.75, 5}};
    moxWarpAffine(call.src(), call.dst(), coeffs, interpolation(call, MOX_INTER_LINEAR));
}
void warpBilinear(Call &call) {
    double coeffs[2][4] = {{static_cast<double>(call.real(0.01f)), 0.75, 0.125, 1}, {0.005, -0.0625, 0.75, 3}};
    moxWarpBilinear(call.src(), call.dst(), coeffs, call.choice(0, 2), interpolation(call, MOX_INTER_LINEAR));
}
void warpBilinearQuad(Call &call) {
    double quad[4][2] = {{3, 2}, {30, 4.5}, {27.25, 15}, {static_cast<double>(call.real(6.0f)), 13}};
    moxWarpBilinearQ(call.src(), call.dst(), quad, call.choice(1, 2), interpolation(call, MOX_INTER_CUBIC));
}
void warpPerspective(Call &call) {
    double coeffs[3][3] = {{static_cast<double>(call.real(0.75f)), 0.125, 2}, {0.0625, 0.75, 1}, {0.005, 0.0025, 1}};
    moxWarpPerspective(call.src(), call.dst(), coeffs, call.choice(1, 2), interpolation(call, MOX_INTER_NN));
}
void warpPerspectiveQuad(Call &call) {
    double quad[4][2] = {{3, 2}, {30, 4.5}, {27.25, 15}, {static_cast<double>(call.real(6.0f)), 13}};
    moxWarpPerspectiveQ(call.src(), call.dst(), quad, call.choice(0, 2), interpolation(call, MOX_INTER_LINEAR));
}
void shear(Call &call) {
    const double across = static_cast<double>(call.real(0.25f)), along = static_cast<double>(call.real(0.125f));
    moxShear(call.src(), call.dst(), across, along, 0.5, -1, interpolation(call, MOX_INTER_CUBIC));
}
void rotate(Call &call) {
    moxRotate(call.src(), call.dst(), static_cast<double>(call.real(90.0f)), 0, static_cast<double>(call.real(30.0f)),
              interpolation(call, MOX_INTER_LINEAR));
}

void rotateShift(Call &call) {
    double xShift = 0, yShift = 0;
    const double x = static_cast<double>(call.real(3.0f)), y = static_cast<double>(call.real(4.0f));
    moxGetRotateShift(x, y, static_cast<double>(call.real(30.0f)), &xShift, &yShift);
    answer(call, xShift);
    answer(call, yShift);
}

// Two maps by hand, so that nothing but the function itself takes memory: a little turn, or wherever numbers lead.
class Maps {
  public:
    explicit Maps(Call &call) {
        const float steps[] = {call.real(0.95f), call.real(0.125f), call.real(0.25f)};
        for (int map = 0; map < 2; ++map) {
            for (int i = 0; i < WIDTH * HEIGHT; ++i) {
                const auto along = static_cast<float>(map == 0 ? i % WIDTH : i / WIDTH);
                const auto across = static_cast<float>(map == 0 ? i / WIDTH : i % WIDTH);
                values_[map][i] = along * steps[0] + across * steps[1] + steps[2];
            }
            MoxImage &image = images_[map];
            image.headerSize = sizeof(MoxImage);
            image.nChannels = 1;
            image.depth = MOX_DEPTH_32F;
            image.align = 4;
            image.width = WIDTH;
            image.height = HEIGHT;
            image.widthStep = WIDTH * 4;
            image.imageSize = image.widthStep * HEIGHT;
            image.imageData = reinterpret_cast<char *>(values_[map]);
        }
    }
    MoxImage *x() { return &images_[0]; }
    MoxImage *y() { return &images_[1]; }

  private:
    static constexpr int WIDTH = 48, HEIGHT = 40;
    float values_[2][WIDTH * HEIGHT];
    MoxImage images_[2] = {};
};

void remap(Call &call) {
    Maps maps(call);
    moxRemap(call.src(), maps.x(), maps.y(), call.dst(), call.choice(MOX_INTER_LINEAR, 3));
}

void decimateBlur(Call &call) {
    const int xDst = call.size(2), xSrc = call.size(3), yDst = call.size(1), ySrc = call.size(2);
    const int interpolate = call.choice(MOX_INTER_LINEAR, 3), xMaskSize = call.size(3), yMaskSize = call.size(0);
    moxDecimateBlur(call.src(), call.dst(), xDst, xSrc, yDst, ySrc, interpolate, xMaskSize, yMaskSize);
}

// The nearest neighbour takes other pixels on tiles, unless it leaves the size as it is. Bits and sources of one row or
// column have it whatever the kind.
bool takesNearest(const MoxImage *src, int kind) {
    RefRect rect;
    if (kind == MOX_INTER_SUPER || !refRegionRect(src->roi, src->width, src->height, &rect)) return false;
    return kind == MOX_INTER_NN || src->depth == MOX_DEPTH_1U || rect.left == rect.right || rect.top == rect.bottom;
}

// What moxZoom and moxResize draw.
struct Zoom {
    int xDst, xSrc, yDst, ySrc, kind;
};
Zoom drawZoom(Call &call, const Zoom &usual, int kinds) {
    // In this order, which inputs of the fuzz targets know.
    Zoom to = {call.size(usual.xDst), call.size(usual.xSrc), call.size(usual.yDst), call.size(usual.ySrc),
               call.choice(usual.kind, kinds)};
    if (call.tilesAgree && takesNearest(call.src(), to.kind)) {
        to.xSrc = to.xDst;
        to.ySrc = to.yDst;
    }
    return to;
}

void zoom(Call &call) {
    const Zoom to = drawZoom(call, {3, 2, 5, 4, MOX_INTER_CUBIC}, 3);
    moxZoom(call.src(), call.dst(), to.xDst, to.xSrc, to.yDst, to.ySrc, to.kind);
}
void resize(Call &call) {
    const Zoom to = drawZoom(call, {3, 4, 5, 4, MOX_INTER_LINEAR}, 4);
    moxResize(call.src(), call.dst(), to.xDst, to.xSrc, to.yDst, to.ySrc, to.kind);
}
void decimate(Call &call) {
    const int xDst = call.size(2), xSrc = call.size(3), yDst = call.size(3), ySrc = call.size(4);
    moxDecimate(call.src(), call.dst(), xDst, xSrc, yDst, ySrc, call.choice(MOX_INTER_SUPER, 4));
}

}  // namespace

std::vector<Example> geometryExamples() {
    return {
        {"moxGetAffineQuad", HEADERS, 1, quadOf<2, 3, moxGetAffineQuad>},
        {"moxGetAffineQuadROI", NOTHING, 0, quadOfRegion<2, 3, moxGetAffineQuadROI>},
        {"moxGetAffineBound", HEADERS, 1, quadOf<2, 3, moxGetAffineBound>, {.within = "moxGetAffineQuad"}},
        {"moxGetAffineBoundROI", NOTHING, 0, quadOfRegion<2, 3, moxGetAffineBoundROI>},
        {"moxGetAffineTransform", HEADERS, 1, transformOf<2, 3, moxGetAffineTransform>},
        {"moxGetAffineTransformROI", NOTHING, 0, transformOfRegion<2, 3, moxGetAffineTransformROI>},
        {"moxGetBilinearQuad", HEADERS, 1, quadOf<2, 4, moxGetBilinearQuad>},
        {"moxGetBilinearQuadROI", NOTHING, 0, quadOfRegion<2, 4, moxGetBilinearQuadROI>},
        {"moxGetBilinearBound", HEADERS, 1, quadOf<2, 4, moxGetBilinearBound>, {.within = "moxGetBilinearQuad"}},
        {"moxGetBilinearBoundROI", NOTHING, 0, quadOfRegion<2, 4, moxGetBilinearBoundROI>},
        {"moxGetBilinearTransform", HEADERS, 1, transformOf<2, 4, moxGetBilinearTransform>},
        {"moxGetBilinearTransformROI", NOTHING, 0, transformOfRegion<2, 4, moxGetBilinearTransformROI>},
        {"moxGetPerspectiveQuad", HEADERS, 1, quadOf<3, 3, moxGetPerspectiveQuad>},
        {"moxGetPerspectiveQuadROI", NOTHING, 0, quadOfRegion<3, 3, moxGetPerspectiveQuadROI>},
        {"moxGetPerspectiveBound",
         HEADERS,
         1,
         quadOf<3, 3, moxGetPerspectiveBound>,
         {.within = "moxGetPerspectiveQuad"}},
        {"moxGetPerspectiveBoundROI", NOTHING, 0, quadOfRegion<3, 3, moxGetPerspectiveBoundROI>},
        {"moxGetPerspectiveTransform", HEADERS, 1, transformOf<3, 3, moxGetPerspectiveTransform>},
        {"moxGetPerspectiveTransformROI", NOTHING, 0, transformOfRegion<3, 3, moxGetPerspectiveTransformROI>},
        {"moxGetRotateShift", NOTHING, 0, rotateShift},
        {"moxWarpAffine", PIXELS, 2, warpAffine, {.neighbours = true, .tool = "rotate"}},
        {"moxWarpBilinear",
         PIXELS,
         2,
         warpBilinear,
         {.reportsAs = "moxWarpBilinearQ", .within = "moxWarpBilinear", .neighbours = true, .tool = "warp-bilinear"}},
        {"moxWarpBilinearQ", PIXELS, 2, warpBilinearQuad, {.neighbours = true, .tool = "warp-bilinear"}},
        {"moxWarpPerspective",
         PIXELS,
         2,
         warpPerspective,
         {.reportsAs = "moxWarpPerspectiveQ", .within = "moxWarpPerspective", .neighbours = true, .tool = "warp"}},
        {"moxWarpPerspectiveQ", PIXELS, 2, warpPerspectiveQuad, {.neighbours = true, .tool = "warp"}},
        {"moxShear", PIXELS, 2, shear, {.reportsAs = "moxWarpAffine", .neighbours = true}},
        {"moxRotate", PIXELS, 2, rotate, {.reportsAs = "moxWarpAffine", .within = "moxRotate", .neighbours = true}},
        {"moxMirror",
         PIXELS,
         2,
         // A choice may be any int.
         [](Call &c) { moxMirror(c.src(), c.dst(), static_cast<int>(static_cast<unsigned>(c.choice(1, 3)) - 1)); },
         {.neighbours = true}},
        {"moxRemap", PIXELS, 2, remap, {.neighbours = true}},
        {"moxDecimateBlur", PIXELS, 2, decimateBlur, {.neighbours = true}},
        {"moxZoom", PIXELS, 2, zoom, {.tiledNearest = true, .neighbours = true}},
        {"moxResize", PIXELS, 2, resize, {.tiledNearest = true, .neighbours = true}},
        {"moxDecimate", PIXELS, 2, decimate, {.reportsAs = "Decimate", .within = "moxDecimate", .neighbours = true}},
    };
}
