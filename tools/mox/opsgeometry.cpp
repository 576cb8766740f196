// Operations that put pixels into other places.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>

#include "failure.h"
#include "image.h"
#include "memory.h"
#include "numbers.h"
#include "operations.h"

namespace {

constexpr int longestCanvasSide = 1 << 20;

using Quad = double[4][2];

// The canvas that takes all of an affine map's result, black beside it, and the map is shifted onto it; an image as
// large as the picture where its size has to stay. Null where there is no such map, which has been reported.
MoxImage *canvasOf(Call *call, double (*coeffs)[3]) {
    MoxImage *from = call->image;
    double bound[2][2];
    moxGetAffineBound(from, coeffs, bound);
    if (moxGetErrStatus() < 0) return nullptr;
    const double width = std::floor(bound[1][0]) - std::ceil(bound[0][0]) + 1;
    const double height = std::floor(bound[1][1]) - std::ceil(bound[0][1]) + 1;
    if (!(width <= longestCanvasSide && height <= longestCanvasSide))
        fail(exitOperation, "the result would be more than " + std::to_string(longestCanvasSide) + " pixels a side");
    MoxImage *to = call->canvas(std::max(static_cast<int>(width), 1), std::max(static_cast<int>(height), 1));
    if (!to) return call->another(from->depth, from->nChannels);
    coeffs[0][2] -= std::ceil(bound[0][0]);
    coeffs[1][2] -= std::ceil(bound[0][1]);
    return to;
}

int cubic(const Argument &smooth) {
    return MOX_INTER_CUBIC | (smooth.integer != 0 ? MOX_SMOOTH_EDGE : 0);
}

// Right angles move pixels on a canvas of their own; others turn about the middle.
void rotate(Call *call) {
    MoxImage *from = call->image;
    const auto degrees = static_cast<double>(call->arguments[0].real);
    if (!std::isfinite(degrees)) fail(exitUsage, "rotate: DEGREES is a number");
    const double turned = degrees - 360 * std::floor(degrees / 360);
    const bool across = turned == 90 || turned == 270;
    if (turned == 0 || across || turned == 180) {
        MoxImage *to = call->canvas(across ? from->height : from->width, across ? from->width : from->height);
        if (to) {
            const double right = to->width - 1, bottom = to->height - 1;
            if (turned == 0) {
                moxCopy(from, to);
            } else {
                moxRotate(from, to, turned, turned == 90 ? 0 : right, turned == 270 ? 0 : bottom, MOX_INTER_NN);
            }
            return;
        }
    }
    const MoxROI whole = {0, 0, 0, from->width, from->height};
    const MoxROI &roi = from->roi ? *from->roi : whole;
    double shift[2] = {0, 0};
    moxGetRotateShift(roi.xOffset + (roi.width - 1) / 2.0, roi.yOffset + (roi.height - 1) / 2.0, degrees, &shift[0],
                      &shift[1]);
    // The map that the rotation is, to know how large its result is.
    const double angle = turned * 3.14159265358979323846 / 180, s = std::sin(angle), c = std::cos(angle);
    double coeffs[2][3] = {{c, s, shift[0]}, {-s, c, shift[1]}};
    MoxImage *const to = canvasOf(call, coeffs);
    if (to) moxWarpAffine(from, to, coeffs, cubic(call->arguments[1]));
}

void shear(Call *call) {
    const auto across = static_cast<double>(call->arguments[0].real),
               down = static_cast<double>(call->arguments[1].real);
    double coeffs[2][3] = {{1, across, 0}, {down, 1, 0}};
    MoxImage *const from = call->image, *const to = canvasOf(call, coeffs);
    if (to) moxShear(from, to, across, down, coeffs[0][2], coeffs[1][2], cubic(call->arguments[2]));
}

void readCorners(const Argument &corners, const char *operation, double (*quad)[2]) {
    if (corners.samples.size() != 8)
        fail(exitUsage,
             std::string(operation) + ": CORNERS are four points X,Y,X,Y,X,Y,X,Y, from the upper left one on");
    for (std::size_t i = 0; i < 8; i++)
        quad[i / 2][i % 2] = corners.samples[i];
}

MoxImage *emptyLike(Call *call, int width, int height) {
    MoxImage *to = call->canvas(width, height);
    return to ? to : call->another(call->image->depth, call->image->nChannels);
}

void checkWarp(const std::vector<Argument> &arguments) {
    Quad quad;
    readCorners(arguments[0], "warp", quad);
}
void checkWarpBilinear(const std::vector<Argument> &arguments) {
    Quad quad;
    readCorners(arguments[0], "warp-bilinear", quad);
}
void checkUpright(const std::vector<Argument> &arguments) {
    Quad quad;
    readCorners(arguments[1], "upright", quad);
}

void warp(Call *call) {
    Quad quad;
    readCorners(call->arguments[0], "warp", quad);
    MoxImage *to = emptyLike(call, call->image->width, call->image->height);
    moxWarpPerspectiveQ(call->image, to, quad, 0, cubic(call->arguments[1]));
}
void warpBilinear(Call *call) {
    Quad quad;
    readCorners(call->arguments[0], "warp-bilinear", quad);
    MoxImage *to = emptyLike(call, call->image->width, call->image->height);
    moxWarpBilinearQ(call->image, to, quad, 0, cubic(call->arguments[1]));
}

void upright(Call *call) {
    int sides[2];
    const std::string &size = call->arguments[0].text;
    if (!parseNumbers(size, 'x', sides, 2) || std::min(sides[0], sides[1]) < 2 ||
        std::max(sides[0], sides[1]) > longestCanvasSide)
        fail(exitUsage, "upright: SIZE must be two sides from 2 on, like 640x480, not '" + size + "'");
    Quad quad;
    readCorners(call->arguments[1], "upright", quad);
    const int kind = call->arguments[2].integer != 0 ? MOX_INTER_NN : MOX_INTER_CUBIC;
    moxWarpPerspectiveQ(call->image, emptyLike(call, sides[0], sides[1]), quad, 1, kind);
}

// ------------------------------------------------------------------------------------------------------------ scaling

MoxImage *canvasFor(Call *call, const char *operation, double width, double height) {
    if (!(width >= 1 && height >= 1)) fail(exitOperation, std::string(operation) + ": nothing would be left");
    if (!(width <= longestCanvasSide && height <= longestCanvasSide))
        fail(exitOperation, "the result would be more than " + std::to_string(longestCanvasSide) + " pixels a side");
    return emptyLike(call, static_cast<int>(width), static_cast<int>(height));
}

struct Sides {
    int width, height;
};
Sides resizedTo(const std::string &size) {
    int sides[2];
    if (!parseNumbers(size, 'x', sides, 2) || std::min(sides[0], sides[1]) < 1)
        fail(exitUsage, "resize: SIZE must be two sides, like 640x480, not '" + size + "'");
    return {sides[0], sides[1]};
}

// To a size, of the picture or of a region in it: the mean of areas where nothing gets larger, else cubic samples.
void resize(Call *call) {
    const auto [width, height] = resizedTo(call->arguments[0].text);
    const MoxImage *from = call->image;
    const int fromWidth = from->roi ? from->roi->width : from->width;
    const int fromHeight = from->roi ? from->roi->height : from->height;
    MoxImage *to = canvasFor(call, "resize", width, height);
    const bool smaller = width <= fromWidth && height <= fromHeight;
    moxResize(call->image, to, width, fromWidth, height, fromHeight, smaller ? MOX_INTER_SUPER : MOX_INTER_CUBIC);
}

int kindOf(const std::string &word, const char *operation, bool means) {
    if (word == "nearest") return MOX_INTER_NN;
    if (word == "linear") return MOX_INTER_LINEAR;
    if (word == "cubic") return MOX_INTER_CUBIC;
    if (word == "super" && means) return MOX_INTER_SUPER;
    fail(exitUsage, std::string(operation) + ": KIND must be nearest, linear" +
                        (means ? ", cubic or super" : " or cubic") + ", not '" + word + "'");
}

using Scale = std::function<void(MoxImage *, MoxImage *, int, int, int, int, int)>;

struct Ratio {
    int to, from;
};
Ratio ratioOf(const std::string &ratio, const char *operation) {
    int terms[] = {0, 1};
    const int count = ratio.find('/') == std::string::npos ? 1 : 2;
    if (!parseNumbers(ratio, '/', terms, count) || std::min(terms[0], terms[1]) < 1)
        fail(exitUsage, std::string(operation) + ": RATIO must be like 8 or 3/2, not '" + ratio + "'");
    return {terms[0], terms[1]};
}

// How a RATIO may be wrong is seen before the work.
template <bool LARGER>
void checkRatio(const std::vector<Argument> &arguments, const char *operation, bool means) {
    const Ratio ratio = ratioOf(arguments[0].text, operation);
    if (LARGER ? ratio.to < ratio.from : ratio.to > ratio.from) {
        fail(exitUsage, std::string(operation) + ": RATIO must be " + (LARGER ? "1 or more" : "1 or less") + ", not '" +
                            arguments[0].text + "'");
    }
    kindOf(arguments[1].text, operation, means);
}

void scaleBy(Call *call, const char *operation, const Scale &function, int kind) {
    const auto [to, from] = ratioOf(call->arguments[0].text, operation);
    const MoxImage *image = call->image;
    const auto scaled = [to = to, from = from](int side) { return std::floor(static_cast<double>(side) * to / from); };
    MoxImage *result = canvasFor(call, operation, scaled(image->width), scaled(image->height));
    const bool nearest = kind == MOX_INTER_NN || image->depth == MOX_DEPTH_1U;
    // The nearest pixels are others in tiles.
    const ImagePtr before = nearest ? wholeOf(call->image) : nullptr, after = nearest ? wholeOf(result) : nullptr;
    function(before ? before.get() : call->image, after ? after.get() : result, to, from, to, from, kind);
    if (after) putWhole(after, result);
}

void zoom(Call *call) {
    scaleBy(call, "zoom", moxZoom, kindOf(call->arguments[1].text, "zoom", false));
}
void decimate(Call *call) {
    scaleBy(call, "decimate", moxDecimate, kindOf(call->arguments[1].text, "decimate", true));
}

void decimateBlur(Call *call) {
    const int size = call->arguments[2].integer;
    const auto function = [size](MoxImage *from, MoxImage *to, int xDst, int xSrc, int yDst, int ySrc, int kind) {
        moxDecimateBlur(from, to, xDst, xSrc, yDst, ySrc, kind, size, size);
    };
    scaleBy(call, "decimate-blur", function, kindOf(call->arguments[1].text, "decimate-blur", false));
}

// --------------------------------------------------------------------------------------------------------------- maps

// A map as it is typed: how far a position moves away from its pixel.
struct MapWord {
    std::string form;
    double strength = 0;
};
MapWord mapOf(const Argument &argument, const char *name) {
    const std::string &word = argument.text;
    const std::size_t colon = word.find(':');
    MapWord map{word.substr(0, colon), 0};
    char *end = nullptr;
    if (colon != std::string::npos) map.strength = std::strtod(word.c_str() + colon + 1, &end);
    const bool number = colon == std::string::npos || (end != word.c_str() + colon + 1 && *end == '\0');
    if (!number || (map.form != "lens" && map.form != "wave" && map.form != "shift"))
        fail(exitUsage,
             std::string("remap: ") + name + " must be like lens:0.3, wave:8 or shift:20, not '" + word + "'");
    return map;
}

// A map of positions in one direction, for every pixel of a picture.
ImagePtr makeMap(const MapWord &word, const MoxImage *image, bool down) {
    checkMemory("a map of the picture's size",
                8 * static_cast<std::uint64_t>(image->width) * static_cast<std::uint64_t>(image->height));
    ImagePtr map(moxCreateImageHeader(1, 0, static_cast<int>(MOX_DEPTH_32F), "GRAY", "G", MOX_DATA_ORDER_PIXEL,
                                      image->origin, 4, image->width, image->height, nullptr, nullptr, nullptr,
                                      nullptr));
    if (map) moxAllocateImageFP(map.get(), 0, 0);
    if (!map || !map->imageData) fail(exitOperation, "remap: not enough memory for a map");
    const double middleX = (image->width - 1) / 2.0, middleY = (image->height - 1) / 2.0;
    const double corner = middleX * middleX + middleY * middleY + 1e-9;
    for (int y = 0; y < image->height; y++) {
        auto *row = reinterpret_cast<float *>(map->imageData + static_cast<std::ptrdiff_t>(y) * map->widthStep);
        for (int x = 0; x < image->width; x++) {
            const double fromX = x - middleX, fromY = y - middleY;
            const double away = (fromX * fromX + fromY * fromY) / corner;
            double moved = word.strength;
            if (word.form == "lens") moved *= (away - 0.5) * (down ? fromY : fromX);
            if (word.form == "wave") moved *= std::sin((down ? x : y) / 16.0);
            row[x] = static_cast<float>((down ? y : x) + moved);
        }
    }
    return map;
}

void remap(Call *call) {
    const MapWord across = mapOf(call->arguments[0], "XMAP"), down = mapOf(call->arguments[1], "YMAP");
    const int kind = kindOf(call->arguments[2].text, "remap", false);
    MoxImage *from = call->image;
    const ImagePtr xMap = makeMap(across, from, false), yMap = makeMap(down, from, true);
    MoxImage *to = emptyLike(call, from->width, from->height);
    // The maps are of all pixels, and take part from where the destination does.
    MoxROI region = {0, 0, 0, from->width, from->height};
    if (to->roi) region = {0, to->roi->xOffset, to->roi->yOffset, to->roi->width, to->roi->height};
    xMap->roi = yMap->roi = &region;
    moxRemap(from, xMap.get(), yMap.get(), to, kind);
    xMap->roi = yMap->roi = nullptr;
}

}  // namespace

const Family &geometryFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Geometry",
        {
            {"mirror",
             {{K::integer, "AXIS", -1, 1}},
             "the mirror image: with 1 left and right change places, with 0 top and bottom, with -1 both",
             [](Call *call) { moxMirror(call->image, call->image, call->arguments[0].integer); },
             {{"Left and right change places.", "mirror 1"},
              {"A region upside down, where it stands.", "--roi {w25},{h15},{w50},{h70} mirror 0"}}},
            {"rotate",
             {{K::real, "DEGREES"}, {K::keyword, "smooth"}},
             "the picture turned counter-clockwise, on a canvas that takes all of it; smooth: with smooth edges",
             rotate,
             {{"Turned about its middle; no corner is cut off.", "rotate 20 smooth"},
              {"Right angles move pixels and compute nothing.", "rotate 90"},
              {"A region turned where it stands: what it does not cover stays.",
               "--roi {w30},{h20},{w40},{h60} rotate 30"},
              {"An edge by itself, enlarged: a pixel is in or out.",
               "rotate 20 upright 320x200 60,2,99,2,99,26,60,26 nearest", "tiles.png"},
              {"The same edge made smooth: the pixel outside is mixed.",
               "rotate 20 smooth upright 320x200 60,2,99,2,99,26,60,26 nearest", "tiles.png"}}},
            {"shear",
             {{K::real, "ACROSS"}, {K::real, "DOWN"}, {K::keyword, "smooth"}},
             "x + ACROSS y and y + DOWN x, on a canvas that takes all of it",
             shear,
             {{"Lines lean, rows stay rows.", "shear 0.3 0 smooth"}}},
            {"warp",
             {{K::samples, "CORNERS"}, {K::keyword, "smooth"}},
             "the picture onto a quadrangle X,Y,X,Y,X,Y,X,Y, from its upper left corner on, as a lens sees it",
             warp,
             {{"The picture on a wall that runs away.", "warp {w8},{h5},{w90},{h25},{w90},{h75},{w8},{h95} smooth"}},
             checkWarp},
            {"warp-bilinear",
             {{K::samples, "CORNERS"}, {K::keyword, "smooth"}},
             "the same, but distances along the sides stay even",
             warpBilinear,
             {{"No depth, however the sides run.",
               "warp-bilinear {w8},{h5},{w90},{h25},{w90},{h75},{w8},{h95} smooth"}},
             checkWarpBilinear},
            {"upright",
             {{K::word, "SIZE"}, {K::samples, "CORNERS"}, {K::keyword, "nearest"}},
             "what lies in a quadrangle, set upright as a picture of SIZE, like 640x480; nearest: pixel by pixel",
             upright,
             {{"A page that was photographed askew, read straight.",
               "upright 300x400 {w21},{h8},{w74},{h15},{w88},{h93},{w7},{h82}", "page.png"},
              {"A few pixels enlarged: cubic samples between them.", "upright 360x240 0,0,11,0,11,7,0,7", "tiny.png"},
              {"The same, each the nearest pixel.", "upright 360x240 0,0,11,0,11,7,0,7 nearest", "tiny.png"}},
             checkUpright},
            {"resize",
             {{K::word, "SIZE"}},
             "a picture of SIZE, like 640x480: means of areas where it gets smaller, cubic samples where it gets "
             "larger",
             resize,
             {{"A small picture of the whole.", "resize 160x100"},
              {"A region grows into its own place.", "--roi {w52},{h65},{w20},{h20} resize 192x128"}},
             [](const std::vector<Argument> &arguments) { resizedTo(arguments[0].text); }},
            {"zoom",
             {{K::word, "RATIO"}, {K::word, "KIND"}},
             "RATIO times as large, like 8 or 3/2; KIND is nearest, linear or cubic",
             zoom,
             {{"A small picture eight times as large: the nearest pixel.", "decimate 1/8 super zoom 8 nearest"},
              {"Linear samples between the same pixels.", "decimate 1/8 super zoom 8 linear"},
              {"Cubic ones.", "decimate 1/8 super zoom 8 cubic"}},
             [](const std::vector<Argument> &arguments) { checkRatio<true>(arguments, "zoom", false); }},
            {"decimate",
             {{K::word, "RATIO"}, {K::word, "KIND"}},
             "RATIO times as large, like 1/3 or 2/3; KIND is nearest, linear, cubic or super, the mean of areas",
             decimate,
             {{"A quarter of the size: the mean of what each pixel covers.", "decimate 1/4 super"},
              {"One pixel of each sixteen; the others are lost.", "decimate 1/4 nearest"},
              {"Two thirds, by cubic samples.", "decimate 2/3 cubic"}},
             [](const std::vector<Argument> &arguments) { checkRatio<false>(arguments, "decimate", true); }},
            {"decimate-blur",
             {{K::word, "RATIO"}, {K::word, "KIND"}, {K::integer, "N", 0}},
             "RATIO times as large, like 1/3, from means of N x N pixels; 0 for as many as a pixel covers",
             decimateBlur,
             {{"A quarter of the size, from means as large as its pixels.", "decimate-blur 1/4 linear 0"},
              {"From larger ones: blurred on the way.", "decimate-blur 1/4 cubic 15"}},
             [](const std::vector<Argument> &arguments) { checkRatio<false>(arguments, "decimate-blur", false); }},
            {"remap",
             {{K::word, "XMAP"}, {K::word, "YMAP"}, {K::word, "KIND"}},
             "every pixel from where two maps say: lens:K, wave:PIXELS or shift:PIXELS in each direction",
             remap,
             {{"A lens draws the picture together towards its edges.", "remap lens:0.5 lens:0.5 cubic"},
              {"One that spreads them.", "remap lens:-0.5 lens:-0.5 cubic"},
              {"Waves run down the picture.", "remap wave:8 shift:0 linear"}},
             [](const std::vector<Argument> &arguments) {
                 mapOf(arguments[0], "XMAP");
                 mapOf(arguments[1], "YMAP");
                 kindOf(arguments[2].text, "remap", false);
             }},
        }};
    return family;
}
