// Colour models, there and back, and gray.
#include <cstdio>
#include <cstring>

#include "color/owncolor.h"

namespace {

constexpr char SEVERAL_DEPTHS[] = "Error input depth. 32F, 32S ,16U,8U are valid now";
constexpr char INTEGER_DEPTHS[] = "Error input depth. 32S,16U,8U are valid now";

struct Model {
    const char *name;  // as headers have it
    const OwnModelRows &(*rows)();
    const char *depths;
    const char *from;  // the functions that report a depth
    const char *to;
};
const Model HSV = {"HSV", ownHsvRows, INTEGER_DEPTHS, "ownRGB2HSV", "ownHSV2RGB"};
const Model HLS = {"HLS", ownHlsRows, INTEGER_DEPTHS, "ownRGB2HLS", "ownHLS2RGB"};
const Model XYZ = {"XYZ", ownXyzRows, SEVERAL_DEPTHS, "ownRGB2XYZ", "ownXYZ2RGB"};
const Model YUV = {"YUV", ownYuvRows, SEVERAL_DEPTHS, "ownRGB2YUV", "ownYUV2RGB"};
const Model YCRCB = {"YCr", ownYCrCbRows, SEVERAL_DEPTHS, "ownRGB2YCrCb", "ownYCrCb2RGB"};
const Model YCC = {"YCC", ownYccRows, "Error input depth. 8U is valid now", nullptr, "ownYCC2RGB"};
const Model LUV = {"LUV", ownLuvRows, "Error input depth. 32F is valid now", "ownRGB2LUV", "ownLUV2RGB"};

// ------------------------------------------------------------------------------------------------------------- tests

bool refuse(const OwnCaller &caller, const char *message) {
    ownReport(caller, MOX_StatusBadArgument, message);
    return false;
}

bool hasName(const char *field, const char *name) {
    return std::memcmp(field, name, 3) == 0;
}

bool testRgb(const OwnCaller &caller, const MoxImage *image) {
    char message[80];
    if (!hasName(image->colorModel, "RGB")) {
        std::snprintf(message, sizeof message, "colorModel must be RGB instead of %.4s ", image->colorModel);
        return refuse(caller, message);
    }
    if (!hasName(image->channelSeq, "RGB") && !hasName(image->channelSeq, "BGR")) {
        std::snprintf(message, sizeof message, "channelSeq must be RGB or BGR instead of %.4s ", image->channelSeq);
        return refuse(caller, message);
    }
    return true;
}

bool testGray(const OwnCaller &caller, const MoxImage *image) {
    char message[80];
    if (!hasName(image->colorModel, "GRAY") && !hasName(image->colorModel, "Gray")) {
        std::snprintf(message, sizeof message, "colorModel must be GRAY instead of %.4s ", image->colorModel);
        return refuse(caller, message);
    }
    if (image->channelSeq[0] != 'G') {
        std::snprintf(message, sizeof message, "channelSeq must be G instead of %.4s ", image->channelSeq);
        return refuse(caller, message);
    }
    return true;
}

bool testModel(const OwnCaller &caller, const MoxImage *src, const char *name) {
    char message[80];
    if (!hasName(src->colorModel, name)) {
        std::snprintf(message, sizeof message, "src-> colorModel must be %.4s instead of %.4s", name, src->colorModel);
        return refuse(caller, message);
    }
    if (!hasName(src->channelSeq, name)) {
        std::snprintf(message, sizeof message, "src-> channelSeq must be %.4s instead of %.4s", name, src->channelSeq);
        return refuse(caller, message);
    }
    return true;
}

bool testRoi(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst) {
    return (!src->roi && !dst->roi) || refuse(caller, "src & dst roi must be NULL");
}

// mixed: whether orders that differ will do.
bool testShape(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, bool mixed) {
    const bool agree = src->nChannels >= 3 && dst->nChannels == 3 && src->depth == dst->depth &&
                       (mixed || src->dataOrder == dst->dataOrder) && src->origin == dst->origin;
    return agree || refuse(caller,
                           "(src->nChannels < 3 ) || (dst->nChannels != 3 ) || (src->depth != dst->depth) || "
                           "(src->dataOrder != dst->dataOrder) || (src->origin != dst->origin)");
}

bool testHeaders(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst) {
    return ownAcceptImage(caller, src) && ownAcceptImage(caller, dst);
}

// YUV knows bytes in pixels of three channels on the RGB side, and planes on the other.
bool areMixed(const MoxImage *rgb, const MoxImage *yuv) {
    return rgb->dataOrder == MOX_DATA_ORDER_PIXEL && rgb->nChannels == 3 && rgb->depth == MOX_DEPTH_8U &&
           yuv->dataOrder == MOX_DATA_ORDER_PLANE;
}

bool testDepths(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst) {
    return src->depth == dst->depth || refuse(caller, "src1->depth != src2->depth");
}

// ------------------------------------------------------------------------------------------------------- conversions

OwnModelConversion conversionOf(const OwnCaller &caller, MoxImage *src, MoxImage *dst) {
    return {caller, src, dst, 3, 3, {0, 1, 2}, {0, 1, 2}, nullptr, nullptr};
}

// The kernel frames report a depth that they do not know under their own name.
void run(OwnModelConversion *conversion, OwnPlaneKernel kernel, const char *function, const char *depths) {
    if (!kernel) {
        refuse({function, conversion->caller.file, conversion->caller.line}, depths);
        return;
    }
    conversion->kernel = kernel;
    ownRunModelConversion(*conversion);
}

void runFromRgb(const OwnCaller &caller, MoxImage *src, MoxImage *dst, const Model &model, const OwnModelRows &rows) {
    OwnModelConversion conversion = conversionOf(caller, src, dst);
    // The source may be the destination: its sequence is read before it changes.
    ownFindChannelPlanes(src, conversion.srcChannels);
    std::memcpy(dst->colorModel, model.name, 4);
    std::memcpy(dst->channelSeq, model.name, 4);
    run(&conversion, rows.from[ownDepthIndex(src->depth)], model.from, model.depths);
}

void runToRgb(const OwnCaller &caller, MoxImage *src, MoxImage *dst, const Model &model, const OwnModelRows &rows) {
    OwnModelConversion conversion = conversionOf(caller, src, dst);
    ownFindChannelPlanes(dst, conversion.dstChannels);
    run(&conversion, rows.to[ownDepthIndex(src->depth)], model.to, model.depths);
}

void fromRgb(const OwnCaller &caller, MoxImage *src, MoxImage *dst, const Model &model) {
    if (testHeaders(caller, src, dst) && testRgb(caller, src) && testRoi(caller, src, dst) &&
        testShape(caller, src, dst, false)) {
        runFromRgb(caller, src, dst, model, model.rows());
    }
}

void toRgb(const OwnCaller &caller, MoxImage *src, MoxImage *dst, const Model &model) {
    if (testHeaders(caller, src, dst) && testRgb(caller, dst) && testModel(caller, src, model.name) &&
        testRoi(caller, src, dst) && testShape(caller, src, dst, false)) {
        runToRgb(caller, src, dst, model, model.rows());
    }
}

// A colour image needs three channels, which no test asks of it by name.
bool hasThreeChannels(const OwnCaller &caller, const MoxImage *image) {
    if (image->nChannels >= 3) return true;
    ownReport(caller, MOX_StatusHeaderChannels, "Incorrect Image");
    return false;
}

// T(scale x weight), limited to an int.
int fixedWeight(float weight, int scale) {
    const double product = static_cast<double>(weight) * scale;
    if (!(product > -2147483648.0)) return product != product ? 0 : INT32_MIN;
    return product < 2147483647.0 ? static_cast<int>(product) : INT32_MAX;
}

OwnGrayWeights usualWeights(unsigned depth) {
    if (depth == MOX_DEPTH_8U) return {{54, 183, 18}, 8};
    if (depth == MOX_DEPTH_16U) return {{109, 366, 37}, 9};
    return {{6968, 23434, 2364}, 15};
}

OwnGrayWeights weightsOf(unsigned depth, float r, float g, float b) {
    const int shift = depth == MOX_DEPTH_8U ? 8 : 15;
    const OwnGrayWeights weights = {
        {fixedWeight(r, 1 << shift), fixedWeight(g, 1 << shift), fixedWeight(b, 1 << shift)}, shift};
    const bool none = weights.weight[0] == 0 && weights.weight[1] == 0 && weights.weight[2] == 0;
    return none ? usualWeights(depth) : weights;
}

bool areSmall(const OwnGrayWeights &weights) {
    for (const int weight : weights.weight) {
        if (weight < 0 || weight > 1 << weights.shift) return false;
    }
    return true;
}

}  // namespace

void MOX_CALL moxRGB2HSV(MoxImage *src, MoxImage *dst) {
    fromRgb(OWN_CALLER("moxRGB2HSV"), src, dst, HSV);
}
void MOX_CALL moxHSV2RGB(MoxImage *src, MoxImage *dst) {
    toRgb(OWN_CALLER("moxHSV2RGB"), src, dst, HSV);
}

void MOX_CALL moxRGB2HLS(MoxImage *src, MoxImage *dst) {
    fromRgb(OWN_CALLER("moxRGB2HLS"), src, dst, HLS);
}
void MOX_CALL moxHLS2RGB(MoxImage *src, MoxImage *dst) {
    toRgb(OWN_CALLER("moxHLS2RGB"), src, dst, HLS);
}

void MOX_CALL moxRGB2XYZ(MoxImage *src, MoxImage *dst) {
    fromRgb(OWN_CALLER("moxRGB2XYZ"), src, dst, XYZ);
}
void MOX_CALL moxXYZ2RGB(MoxImage *src, MoxImage *dst) {
    toRgb(OWN_CALLER("moxXYZ2RGB"), src, dst, XYZ);
}

void MOX_CALL moxRGB2YUV(MoxImage *src, MoxImage *dst) {
    const OwnCaller caller = OWN_CALLER("moxRGB2YUV");
    if (!testHeaders(caller, src, dst) || !testDepths(caller, src, dst) || !testRgb(caller, src)) return;
    const bool mixed = areMixed(src, dst);
    if (testRoi(caller, src, dst) && testShape(caller, src, dst, mixed))
        runFromRgb(caller, src, dst, YUV, mixed ? ownMixedYuvRows() : ownYuvRows());
}
void MOX_CALL moxYUV2RGB(MoxImage *src, MoxImage *dst) {
    const OwnCaller caller = OWN_CALLER("moxYUV2RGB");
    if (!testHeaders(caller, src, dst) || !testDepths(caller, src, dst) || !testRgb(caller, dst)) return;
    const bool mixed = areMixed(dst, src);
    if (testModel(caller, src, YUV.name) && testRoi(caller, src, dst) && testShape(caller, src, dst, mixed))
        runToRgb(caller, src, dst, YUV, mixed ? ownMixedYuvRows() : ownYuvRows());
}

void MOX_CALL moxRGB2YCrCb(MoxImage *src, MoxImage *dst) {
    fromRgb(OWN_CALLER("moxRGB2YCrCb"), src, dst, YCRCB);
}
void MOX_CALL moxYCrCb2RGB(MoxImage *src, MoxImage *dst) {
    toRgb(OWN_CALLER("moxYCrCb2RGB"), src, dst, YCRCB);
}

void MOX_CALL moxYCC2RGB(MoxImage *src, MoxImage *dst) {
    toRgb(OWN_CALLER("moxYCC2RGB"), src, dst, YCC);
}

void MOX_CALL moxRGB2LUV(MoxImage *src, MoxImage *dst) {
    fromRgb(OWN_CALLER("moxRGB2LUV"), src, dst, LUV);
}
void MOX_CALL moxLUV2RGB(MoxImage *src, MoxImage *dst) {
    toRgb(OWN_CALLER("moxLUV2RGB"), src, dst, LUV);
}

void MOX_CALL moxColorToGray(MoxImage *src, MoxImage *dst) {
    const OwnCaller caller = OWN_CALLER("moxColorToGray");
    if (!testHeaders(caller, src, dst) || !testRgb(caller, src) || !testGray(caller, dst) ||
        !testRoi(caller, src, dst)) {
        return;
    }
    if (dst->dataOrder == MOX_DATA_ORDER_PIXEL && dst->nChannels != 1) {
        refuse(caller, "(dst-> dataOrder == MOX_DATA_ORDER_PIXEL) && (dst-> nChannels != 1)");
        return;
    }
    if (src->origin != dst->origin) {
        refuse(caller, "src->origin != dst->origin");
        return;
    }
    const OwnPlaneKernel kernel = ownGrayRows().fromRgb[ownDepthIndex(src->depth)][ownDepthIndex(dst->depth)];
    if (kernel && !hasThreeChannels(caller, src)) return;
    OwnModelConversion conversion = conversionOf(caller, src, dst);
    conversion.dstCount = 1;
    ownFindChannelPlanes(src, conversion.srcChannels);
    run(&conversion, kernel, "ownColorToGray", "Error in-out depth. 32S,16U,8U=> 16U,8U,1U are valid now");
}

void MOX_CALL moxGrayToColor(MoxImage *src, MoxImage *dst, float weightR, float weightG, float weightB) {
    const OwnCaller caller = OWN_CALLER("moxGrayToColor");
    if (!testHeaders(caller, src, dst) || !testRgb(caller, dst) || !testGray(caller, src) ||
        !testRoi(caller, src, dst)) {
        return;
    }
    const bool bits = src->depth == MOX_DEPTH_1U, pixels = src->dataOrder == MOX_DATA_ORDER_PIXEL;
    const struct {
        bool failed;
        const char *message;
    } tests[] = {
        {src->depth != dst->depth && !bits, "src-> depth != dst-> depth && src-> depth != 1U"},
        {bits && dst->depth != MOX_DEPTH_8U, "src-> depth == dst-> depth && dst-> depth != 8U"},
        {pixels && dst->dataOrder == MOX_DATA_ORDER_PLANE,
         "(src->dataOrder==MOX_DATA_ORDER_PIXEL) && (dst->dataOrder == MOX_DATA_ORDER_PLANE) is not supported"},
        {pixels && src->nChannels != 1, "(src-> dataOrder == MOX_DATA_ORDER_PIXEL) && (src-> nChannels != 1)"},
        {src->origin != dst->origin, "(src->origin != dst->origin)"},
    };
    for (const auto &test : tests) {
        if (!test.failed) continue;
        refuse(caller, test.message);
        return;
    }
    const OwnGrayWeights weights = weightsOf(dst->depth, weightR, weightG, weightB);
    const OwnToColorRows &rows = ownToColorRows();
    const auto &kernels = areSmall(weights) ? rows.toRgbSmall : rows.toRgb;
    const OwnPlaneKernel kernel = kernels[ownDepthIndex(src->depth)][ownDepthIndex(dst->depth)];
    if (kernel && !hasThreeChannels(caller, dst)) return;
    OwnModelConversion conversion = conversionOf(caller, src, dst);
    conversion.srcCount = 1;
    conversion.operation = &weights;
    conversion.equal = weights.weight[0] == weights.weight[1] && weights.weight[0] == weights.weight[2];
    ownFindChannelPlanes(dst, conversion.dstChannels);
    run(&conversion, kernel, "ownGrayToColor", INTEGER_DEPTHS);
}
