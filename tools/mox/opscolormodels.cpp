// Colour models, gray, matrices of colour. The library's conversions know no regions: an operation works on a copy of
// the picture's region, and the result is copied back, which honours region, channel and mask.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "bands.h"
#include "failure.h"
#include "image.h"
#include "operations.h"

namespace {

using Conversion = void(MOX_CALL *)(MoxImage *, MoxImage *);

// All channels while this lives, whichever is of interest.
class AllChannels {
  public:
    explicit AllChannels(MoxImage *image) : roi_(image->roi), coi_(roi_ ? roi_->coi : 0) { set(0); }
    ~AllChannels() { set(coi_); }
    AllChannels(const AllChannels &) = delete;
    AllChannels &operator=(const AllChannels &) = delete;

  private:
    void set(int coi) const {
        if (roi_) roi_->coi = coi;
    }
    MoxROI *roi_;
    int coi_;
};

ImagePtr emptyLike(const MoxImage *image, int channels, unsigned depth, const char *model) {
    const RegionSize size = regionOf(image);
    if (size.width == 0 || size.height == 0) fail(exitUsage, "colours need a region that is not empty");
    ImagePtr empty = makeImage(channels, depth, image->dataOrder == MOX_DATA_ORDER_PLANE, size.width, size.height);
    std::memcpy(empty->colorModel, model, 4);
    if (std::strcmp(model, "GRAY") != 0) std::memcpy(empty->channelSeq, model, 4);
    return empty;
}

void checkColours(const MoxImage *image) {
    if (image->nChannels < 3) fail(exitOperation, "there is one channel, and colours need three");
}

// The three colours of the region, without alpha and mask.
ImagePtr coloursOf(MoxImage *image, const char *model) {
    checkColours(image);
    ImagePtr copy = emptyLike(image, 3, image->depth, model);
    const AllChannels all(image);
    MoxImage *const mask = image->maskROI;
    image->maskROI = nullptr;
    moxCopy(image, copy.get());
    image->maskROI = mask;
    return copy;
}

// A channel of interest takes its own of the result.
void putBack(const ImagePtr &result, MoxImage *image) {
    const RegionSize size = regionOf(image);
    MoxROI roi = {image->roi ? image->roi->coi : 0, 0, 0, size.width, size.height};
    result->roi = &roi;
    moxCopy(result.get(), image);
    result->roi = nullptr;
}

// Floats of L, U and V become light, and light floats of L, U and V again.
struct Scale {
    float factor, offset;
};
constexpr Scale luvScales[] = {{100, 0}, {354, -134}, {262, -140}};

template <typename Change>
void changeFloats(const ImagePtr &image, Change change) {
    for (int channel = 0; channel < 3; ++channel) {
        for (int y = 0; y < image->height; ++y) {
            for (int x = 0; x < image->width; ++x) {
                float value;
                char *const at = sampleAddress(image.get(), x, y, channel);
                std::memcpy(&value, at, sizeof value);
                value = change(value, luvScales[channel]);
                std::memcpy(at, &value, sizeof value);
            }
        }
    }
}

template <Conversion convert>
void toModel(Call *call) {
    byBands(call->image, call->image, [call] {
        const ImagePtr copy = coloursOf(call->image, "RGB"), result = coloursOf(call->image, "RGB");
        convert(copy.get(), result.get());
        if (convert == moxRGB2LUV && result->depth == MOX_DEPTH_32F)
            changeFloats(result, [](float value, Scale scale) { return (value - scale.offset) / scale.factor; });
        putBack(result, call->image);
    });
}

template <Conversion convert>
void fromModel(Call *call, const char *model) {
    byBands(call->image, call->image, [call, model] {
        const ImagePtr copy = coloursOf(call->image, model), result = coloursOf(call->image, "RGB");
        if (convert == moxLUV2RGB && copy->depth == MOX_DEPTH_32F)
            changeFloats(copy, [](float value, Scale scale) { return value * scale.factor + scale.offset; });
        convert(copy.get(), result.get());
        putBack(result, call->image);
    });
}
void fromHsv(Call *call) {
    fromModel<moxHSV2RGB>(call, "HSV");
}
void fromHls(Call *call) {
    fromModel<moxHLS2RGB>(call, "HLS");
}
void fromXyz(Call *call) {
    fromModel<moxXYZ2RGB>(call, "XYZ");
}
void fromYuv(Call *call) {
    fromModel<moxYUV2RGB>(call, "YUV");
}
void fromYCrCb(Call *call) {
    fromModel<moxYCrCb2RGB>(call, "YCr");
}
void fromYcc(Call *call) {
    fromModel<moxYCC2RGB>(call, "YCC");
}
void fromLuv(Call *call) {
    fromModel<moxLUV2RGB>(call, "LUV");
}

// Beyond the region the picture is gray by other weights.
void gray(Call *call) {
    checkColours(call->image);
    const unsigned depth = call->image->depth == MOX_DEPTH_8U ? MOX_DEPTH_8U : MOX_DEPTH_16U;
    MoxImage *const image = call->another(depth, 1);
    byBands(call->image, image, [call, image, depth] {
        const ImagePtr copy = coloursOf(call->image, "RGB"), result = emptyLike(call->image, 1, depth, "GRAY");
        moxColorToGray(copy.get(), result.get());
        putBack(result, image);
    });
}

void tint(Call *call) {
    const std::vector<double> &weights = call->arguments[0].samples;
    if (weights.size() != 3) fail(exitUsage, "tint: three weights are needed, one for each of R, G and B");
    MoxImage *image = call->image;
    if (image->nChannels > 2) image = call->another(image->depth, 1);
    const unsigned depth = image->depth == MOX_DEPTH_1U ? MOX_DEPTH_8U : image->depth;
    MoxImage *const colours = call->another(depth, 3);
    byBands(image, colours, [&] {
        const ImagePtr copy = emptyLike(image, 1, image->depth, "GRAY");
        moxCopy(image, copy.get());
        const ImagePtr result = emptyLike(image, 3, depth, "RGB");
        moxGrayToColor(copy.get(), result.get(), static_cast<float>(weights[0]), static_cast<float>(weights[1]),
                       static_cast<float>(weights[2]));
        putBack(result, colours);
    });
}

void channel(Call *call) {
    const int number = call->arguments[0].integer;
    if (number < 1 || number > call->image->nChannels) fail(exitUsage, "channel: there is no channel of this number");
    MoxImage *const result = call->another(call->image->depth, 1);
    byBands(call->image, result, [call, result, number] {
        const ImagePtr only = emptyLike(call->image, 1, call->image->depth, "GRAY");
        const RegionSize size = regionOf(call->image);
        MoxROI *const before = call->image->roi;
        MoxImage *const mask = call->image->maskROI;
        MoxROI roi = before ? *before : MoxROI{0, 0, 0, size.width, size.height};
        roi.coi = number;
        call->image->roi = &roi;
        call->image->maskROI = nullptr;
        moxCopy(call->image, only.get());
        call->image->roi = before;
        call->image->maskROI = mask;
        putBack(only, result);
    });
}

// ------------------------------------------------------------------------------------------------------------ matrices

// Three rows of three factors and what is added, of white.
using Matrix = std::array<double, 12>;

double whiteOf(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_8U:
        case MOX_DEPTH_8S:
        case MOX_DEPTH_32S:
            return 255;
        case MOX_DEPTH_16U:
        case MOX_DEPTH_16S:
            return 65535;
        default:
            return 1;
    }
}

void twistBy(MoxImage *image, const Matrix &matrix) {
    std::array<float, 16> twist = {};
    for (std::size_t i = 0; i < matrix.size(); ++i)
        twist[i] = static_cast<float>(i % 4 == 3 ? matrix[i] * whiteOf(image->depth) : matrix[i]);
    twist[15] = 1;
    moxColorTwistFP(image, image, twist.data());
}

void twist(Call *call) {
    const std::vector<double> &numbers = call->arguments[0].samples;
    Matrix matrix;
    if (numbers.size() != matrix.size()) fail(exitUsage, "twist: twelve numbers are needed, three rows of four");
    std::copy(numbers.begin(), numbers.end(), matrix.begin());
    twistBy(call->image, matrix);
}

// The same in fixed point.
void sepia(Call *call) {
    static constexpr int matrix[16] = {101, 197, 48, 0, 89, 176, 43, 0, 70, 137, 34, 0, 0, 0, 0, 256};
    MoxColorTwist *const record = moxCreateColorTwist(matrix, 8);
    if (!record) return;  // reported
    moxApplyColorTwist(call->image, call->image, record, 0);
    moxDeleteColorTwist(record);
}

// The hue of HLS goes round once in 255 steps, or 65535.
template <typename Sample>
void turnHues(const ImagePtr &hls, double degrees) {
    const int full = sizeof(Sample) == 1 ? 255 : 65535;
    const int turn = static_cast<int>(std::lround(degrees / 360 * full));
    for (int y = 0; y < hls->height; ++y) {
        for (int x = 0; x < hls->width; ++x) {
            Sample hue;
            char *const at = sampleAddress(hls.get(), x, y, 0);
            std::memcpy(&hue, at, sizeof hue);
            hue = static_cast<Sample>(((hue + turn) % full + full) % full);
            std::memcpy(at, &hue, sizeof hue);
        }
    }
}

void turnHueOf(MoxImage *image, double degrees) {
    const ImagePtr copy = coloursOf(image, "RGB"), hls = coloursOf(image, "RGB");
    moxRGB2HLS(copy.get(), hls.get());
    if (hls->depth == MOX_DEPTH_8U) {
        turnHues<unsigned char>(hls, degrees);
    } else if (hls->depth == MOX_DEPTH_16U) {
        turnHues<unsigned short>(hls, degrees);
    } else {
        fail(exitOperation, "hue: the depth must be 8u or 16u");
    }
    moxHLS2RGB(hls.get(), copy.get());
    putBack(copy, image);
}

void turnHue(Call *call) {
    const double degrees = static_cast<double>(call->arguments[0].real);
    if (!(std::fabs(degrees) <= 36000)) fail(exitUsage, "hue: DEGREES must be within -36000 and 36000");
    byBands(call->image, call->image, [call, degrees] { turnHueOf(call->image, degrees); });
}

}  // namespace

const Family &colorModelFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Colour models, gray, matrices of colour",
        {
            {"to-hsv",
             {},
             "hue, saturation and value in place of red, green and blue",
             toModel<moxRGB2HSV>,
             {{"Hue as red, saturation as green, value as blue.", "to-hsv"},
              {"The hue alone: it goes round from black to white.", "to-hsv channel 1"},
              {"The saturation.", "to-hsv channel 2"},
              {"The value.", "to-hsv channel 3"}}},
            {"from-hsv",
             {},
             "back from hue, saturation and value",
             fromHsv,
             {{"There and back: what goes beyond white keeps its low byte.", "to-hsv from-hsv"}}},
            {"to-hls",
             {},
             "hue, lightness and saturation",
             toModel<moxRGB2HLS>,
             {{"Hue as red, lightness as green, saturation as blue.", "to-hls"},
              {"The lightness.", "to-hls channel 2"},
              {"The saturation.", "to-hls channel 3"}}},
            {"from-hls",
             {},
             "back from hue, lightness and saturation",
             fromHls,
             {{"There and back: what bytes keep.", "to-hls from-hls"}}},
            {"to-xyz",
             {},
             "CIE XYZ",
             toModel<moxRGB2XYZ>,
             {{"X as red, Y as green, Z as blue.", "to-xyz"}, {"Y, the luminance.", "to-xyz channel 2"}}},
            {"from-xyz", {}, "back from CIE XYZ", fromXyz, {{"There and back.", "to-xyz from-xyz"}}},
            {"to-yuv",
             {},
             "Y and the differences U and V",
             toModel<moxRGB2YUV>,
             {{"Y.", "to-yuv channel 1"},
              {"U, the difference of blue.", "to-yuv channel 2"},
              {"V, that of red.", "to-yuv channel 3"}}},
            {"from-yuv", {}, "back from Y, U and V", fromYuv, {{"There and back.", "to-yuv from-yuv"}}},
            {"to-ycrcb",
             {},
             "Y, Cb and Cr",
             toModel<moxRGB2YCrCb>,
             {{"Cb.", "to-ycrcb channel 2"}, {"Cr.", "to-ycrcb channel 3"}}},
            {"from-ycrcb", {}, "back from Y, Cb and Cr", fromYCrCb, {{"There and back.", "to-ycrcb from-ycrcb"}}},
            {"from-ycc",
             {},
             "from the Y, C1 and C2 of Photo YCC",
             fromYcc,
             {{"The picture taken for one of these.", "from-ycc"}}},
            {"to-luv",
             {},
             "CIE L*u*v* at depth 32f, L from 0 to 100, u from -134 to 220, v from -140 to 122 as 0 to 1",
             toModel<moxRGB2LUV>,
             {{"L*.", "--depth 32f to-luv channel 1"}, {"u* and v* beside it.", "--depth 32f to-luv"}}},
            {"from-luv", {}, "back from CIE L*u*v*", fromLuv, {{"There and back.", "--depth 32f to-luv from-luv"}}},
            {"channel", {{K::integer, "N", 1, 4}}, "channel N alone, as gray", channel, {{"Green.", "channel 2"}}},
            {"gray", {}, "gray of 54, 183 and 18 parts of 256 of red, green and blue", gray, {{"Gray.", "gray"}}},
            {"tint",
             {{K::samples, "R,G,B"}},
             "colour from gray, by a weight for each channel",
             tint,
             {{"Amber on black.", "tint 1,0.75,0.2"}}},
            {"hue",
             {{K::real, "DEGREES"}},
             "all hues turned round the circle, by way of HLS",
             turnHue,
             {{"A third of the circle.", "hue 120"},
              {"Two thirds.", "hue 240"},
              {"The complement of each.", "hue 180"}}},
            {"twist",
             {{K::samples, "M,M,..."}},
             "a matrix of three rows of four numbers on each pixel; the fourth is added, of white",
             twist,
             {{"Red and blue change places.", "twist 0,0,1,0,0,1,0,0,1,0,0,0"},
              {"Half of the colour is gray.", "twist .6,.3,.1,0,.1,.8,.1,0,.1,.3,.6,0"}}},
            {"sepia", {}, "the brown of old photographs, by a matrix in fixed point", sepia, {{"Sepia.", "sepia"}}},
        }};
    return family;
}
