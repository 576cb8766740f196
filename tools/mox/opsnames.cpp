// What a person types first: names of everyday, each made of a few calls of the library.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "failure.h"
#include "image.h"
#include "operations.h"

namespace {

struct Shades {
    double white;  // above black
    double black;
};

// Depths whose samples are shades. Bits have none, and of 32s nobody knows what is white.
Shades shadesOf(const Call *call, const char *operation) {
    switch (call->image->depth) {
        case MOX_DEPTH_8U:
            return {255, 0};
        case MOX_DEPTH_8S:
            return {255, -128};
        case MOX_DEPTH_16U:
            return {65535, 0};
        case MOX_DEPTH_16S:
            return {65535, -32768};
        case MOX_DEPTH_32F:
            return {1, 0};
        default:
            fail(exitOperation,
                 std::string(operation) + ": depth " + depthName(call->image->depth) + " has no shades (--depth 8u)");
    }
}

void crop(Call *call) {
    const int x = call->arguments[0].integer, y = call->arguments[1].integer;
    const int width = call->arguments[2].integer, height = call->arguments[3].integer;
    MoxImage *from = call->image;
    if (std::int64_t{x} + width > from->width || std::int64_t{y} + height > from->height) {
        fail(exitOperation, "crop: " + std::to_string(width) + " x " + std::to_string(height) + " at " +
                                std::to_string(x) + "," + std::to_string(y) + " is not within the picture of " +
                                std::to_string(from->width) + " x " + std::to_string(from->height));
    }
    MoxImage *to = call->canvas(width, height);
    if (!to) fail(exitOperation, "crop: is for the whole picture; end the rest by --roi none --coi 0 --mask none");
    // Alpha comes along.
    const int opacity = from->alphaChannel;
    from->alphaChannel = to->alphaChannel = 0;
    MoxROI part = {0, x, y, width, height};
    from->roi = &part;
    moxCopy(from, to);
    from->roi = nullptr;
    from->alphaChannel = to->alphaChannel = opacity;
}

void invert(Call *call) {
    MoxImage *image = call->image;
    if (image->depth == MOX_DEPTH_1U) return moxNot(image, image);
    const Shades shades = shadesOf(call, "invert");
    if (image->depth == MOX_DEPTH_32F) return moxSubtractSFP(image, image, 1, 1);
    moxSubtractS(image, image, static_cast<int>(shades.white + 2 * shades.black), 1);
}

void brightness(Call *call) {
    MoxImage *image = call->image;
    const double share = static_cast<double>(call->arguments[0].real) / 100;
    const Shades shades = shadesOf(call, "brightness");
    if (!(std::fabs(share) <= 1)) fail(exitUsage, "brightness: PERCENT must be a number from -100 to 100");
    if (image->depth == MOX_DEPTH_32F) return moxAddSFP(image, image, static_cast<float>(share));
    const int value = static_cast<int>(std::lround(shades.white * std::fabs(share)));
    // Each of the two clamps at its own end.
    if (share < 0) {
        moxSubtractS(image, image, value, 0);
    } else {
        moxAddS(image, image, value);
    }
}

// In floating point, where nothing is cut off between the steps.
void contrast(Call *call) {
    const unsigned depth = call->image->depth;
    const float factor = call->arguments[0].real;
    shadesOf(call, "contrast");
    if (!std::isfinite(factor) || factor < 0) fail(exitUsage, "contrast: FACTOR must be a number from 0");
    MoxImage *shades = call->image;
    const int channels = shades->nChannels;
    if (depth != MOX_DEPTH_32F) {
        shades = call->another(MOX_DEPTH_32F, channels);
        moxScaleFP(call->image, shades, 0, 1);
    }
    moxSubtractSFP(shades, shades, 0.5f, 0);
    moxMultiplySFP(shades, shades, factor);
    moxAddSFP(shades, shades, 0.5f);
    if (depth != MOX_DEPTH_32F) moxScaleFP(shades, call->another(depth, channels), 0, 1);
}

// ---------------------------------------------------------------------------------------------------------- opacities

// The regions of two images while this lives; what they had comes back.
class Regions {
  public:
    Regions(MoxImage *a, const MoxROI &aRoi, MoxImage *b, const MoxROI &bRoi)
        : a_(a), b_(b), aBefore_(a->roi), bBefore_(b->roi), aRoi_(aRoi), bRoi_(bRoi) {
        a->roi = &aRoi_;
        b->roi = &bRoi_;
    }
    ~Regions() {
        a_->roi = aBefore_;
        b_->roi = bBefore_;
    }
    Regions(const Regions &) = delete;
    Regions &operator=(const Regions &) = delete;

  private:
    MoxImage *a_, *b_;
    MoxROI *aBefore_, *bBefore_;
    MoxROI aRoi_, bRoi_;
};

MoxROI regionOf(const MoxImage *image) {
    return image->roi ? *image->roi : MoxROI{0, 0, 0, image->width, image->height};
}

// The first channel of another picture becomes the opacity of this one.
void alpha(Call *call) {
    MoxImage *image = call->image;
    if (image->depth == MOX_DEPTH_1U) fail(exitOperation, "alpha: a picture of bits has none (--depth 8u)");
    MoxROI to = regionOf(image), from = regionOf(call->other);
    if (to.coi != 0) fail(exitOperation, "alpha: is for no channel alone (--coi 0)");
    const int channels = image->nChannels, wanted = channels % 2 == 0 ? channels : channels + 1;
    if (wanted != channels) image = call->another(image->depth, wanted);
    to.coi = wanted;
    from.coi = 1;
    const Regions regions(image, to, call->other, from);
    moxCopy(call->other, image);
}

void checkOpacities(const Call *call, const char *operation) {
    const unsigned depth = call->image->depth;
    if (depth != MOX_DEPTH_8U && depth != MOX_DEPTH_16U)
        fail(exitOperation, std::string(operation) + ": is for the depths 8u and 16u (--depth 8u)");
    if (call->image->roi && call->image->roi->coi != 0)
        fail(exitOperation, std::string(operation) + ": is for no channel alone (--coi 0)");
}

// Both have alpha, or none. What lies beyond the picture, or its region, is cut off.
void paste(Call *call) {
    MoxImage *image = call->image, *piece = call->other;
    checkOpacities(call, "paste");
    const int x = call->arguments[0].integer, y = call->arguments[1].integer;
    const MoxROI limit = regionOf(image);
    const std::int64_t left = std::max(limit.xOffset, x), top = std::max(limit.yOffset, y);
    const auto end = [](int size, int offset, std::int64_t length, std::int64_t at) {
        return std::min({std::int64_t{size}, std::int64_t{offset} + length, at});
    };
    const std::int64_t right = end(image->width, limit.xOffset, limit.width, std::int64_t{x} + piece->width);
    const std::int64_t bottom = end(image->height, limit.yOffset, limit.height, std::int64_t{y} + piece->height);
    if (right <= left || bottom <= top) return;
    const MoxROI to = {0, static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
                       static_cast<int>(bottom - top)};
    const MoxROI from = {0, static_cast<int>(left - x), static_cast<int>(top - y), to.width, to.height};
    const Regions regions(image, to, piece, from);
    MoxImage *const mask = image->maskROI;
    MoxROI *const maskBefore = mask ? mask->roi : nullptr;
    MoxROI maskRoi = to;
    if (mask) mask->roi = &maskRoi;
    if (image->alphaChannel != 0) {
        moxAlphaComposite(piece, image, image, MOX_COMPOSITE_OVER, nullptr, nullptr, nullptr, 0, 1);
    } else {
        moxCopy(piece, image);
    }
    if (mask) mask->roi = maskBefore;
}

void checkColor(const std::vector<Argument> &arguments) {
    const std::vector<double> &color = arguments[0].samples;
    const bool fits = color.size() == 1 || color.size() == 3;
    if (!fits || !std::all_of(color.begin(), color.end(), [](double c) { return c >= 0 && c <= 255; }))
        fail(exitUsage, "flatten: COLOR must be one or three numbers from 0 to 255, like 255,255,255");
}

// The picture before one colour, which the whole of it is: region and mask play no part.
void flatten(Call *call) {
    MoxImage *image = call->image;
    checkOpacities(call, "flatten");
    const std::vector<double> &color = call->arguments[0].samples;
    const int channels = image->nChannels, scale = image->depth == MOX_DEPTH_16U ? 257 : 1;
    if (channels % 2 == 1) return;
    MoxImage *const before = call->another(image->depth, channels);
    MoxImage *const result = call->another(image->depth, channels - 1);
    for (MoxImage *each : {image, before, result})
        each->maskROI = nullptr;
    MoxROI to = {0, 0, 0, image->width, image->height}, from = to;
    for (int c = 1; c <= channels; c++) {
        const double level =
            c == channels ? 255 : color[color.size() == 3 && c <= 3 ? static_cast<std::size_t>(c - 1) : 0];
        to.coi = c;
        const Regions regions(before, to, image, from);
        moxSet(before, static_cast<int>(std::lround(level * scale)));
    }
    to.coi = 0;
    {
        const Regions regions(image, to, before, from);
        moxAlphaComposite(image, before, before, MOX_COMPOSITE_OVER, nullptr, nullptr, nullptr, 0, 1);
    }
    for (int c = 1; c < channels; c++) {
        to.coi = from.coi = c;
        const Regions regions(before, from, result, to);
        moxCopy(before, result);
    }
}

}  // namespace

const Family &everydayFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Everyday names",
        {
            {"crop",
             {{K::integer, "X", 0}, {K::integer, "Y", 0}, {K::integer, "WIDTH", 1}, {K::integer, "HEIGHT", 1}},
             "the piece of WIDTH by HEIGHT pixels whose upper left corner is at X, Y",
             crop,
             {{"The middle.", "crop {w25} {h25} {w50} {h50}"}}},
            {"invert",
             {},
             "the negative: white becomes black, at every depth but 32s",
             invert,
             {{"The negative, in floating point.", "--depth 32f invert"}}},
            {"brightness",
             {{K::real, "PERCENT"}},
             "lighter by PERCENT of white, or darker below 0",
             brightness,
             {{"A fifth of white lighter.", "brightness 20"}, {"And darker.", "brightness -20"}}},
            {"contrast",
             {{K::real, "FACTOR"}},
             "away from middle gray by FACTOR, or towards it below 1",
             contrast,
             {{"Half as much again.", "contrast 1.5"}, {"Through fog.", "contrast 0.4"}}},
            {"paste",
             {{K::integer, "X"}, {K::integer, "Y"}, {K::layer, "PICTURE"}},
             "PICTURE with its upper left corner at X, Y, through its alpha; it may lie beyond the edges in part",
             paste,
             {{"Red glass a little to the right.", "paste {w20} {h10} ruby.png"},
              {"A piece without alpha hides what is there.", "paste {w60} {h60} piece.png"}}},
            {"alpha",
             {{K::picture, "PICTURE"}},
             "the first channel of PICTURE becomes the opacity: soft edges, for over and paste",
             alpha,
             {{"Only the light of a vignette is left, before the negative.", "alpha vignette.png over negative.png"}}},
            {"flatten",
             {{K::samples, "COLOR"}},
             "the picture before one colour, a gray or R,G,B from 0 to 255; its alpha goes",
             flatten,
             {{"Jade before ivory.", "flatten 255,250,235", "jade.png"}},
             checkColor},
        }};
    return family;
}
