// Colour conversions of whole images, and gray.
#include <algorithm>
#include <bit>
#include <cmath>

#include "reference/color.h"

static const char DEPTHS_ALL[] = "Error input depth. 32F, 32S ,16U,8U are valid now";
static const char DEPTHS_INTEGER[] = "Error input depth. 32S,16U,8U are valid now";
static const char DEPTHS_FLOAT[] = "Error input depth. 32F is valid now";
static const char DEPTHS_BYTE[] = "Error input depth. 8U is valid now";

const std::vector<RefModel> &refModels() {
    static const std::vector<unsigned> all = {MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32S, MOX_DEPTH_32F},
                                       integer = {MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32S}, byte = {MOX_DEPTH_8U},
                                       floats = {MOX_DEPTH_32F};
    static const std::vector<RefModel> models = {
        {"moxRGB2HSV", "ownRGB2HSV", "HSV", true, integer, DEPTHS_INTEGER, moxRGB2HSV, refRGB2HSV},
        {"moxHSV2RGB", "ownHSV2RGB", "HSV", false, integer, DEPTHS_INTEGER, moxHSV2RGB, refHSV2RGB},
        {"moxRGB2HLS", "ownRGB2HLS", "HLS", true, integer, DEPTHS_INTEGER, moxRGB2HLS, refRGB2HLS},
        {"moxHLS2RGB", "ownHLS2RGB", "HLS", false, integer, DEPTHS_INTEGER, moxHLS2RGB, refHLS2RGB},
        {"moxRGB2XYZ", "ownRGB2XYZ", "XYZ", true, all, DEPTHS_ALL, moxRGB2XYZ, refRGB2XYZ},
        {"moxXYZ2RGB", "ownXYZ2RGB", "XYZ", false, all, DEPTHS_ALL, moxXYZ2RGB, refXYZ2RGB},
        {"moxRGB2YUV", "ownRGB2YUV", "YUV", true, all, DEPTHS_ALL, moxRGB2YUV, refRGB2YUV},
        {"moxYUV2RGB", "ownYUV2RGB", "YUV", false, all, DEPTHS_ALL, moxYUV2RGB, refYUV2RGB},
        {"moxRGB2YCrCb", "ownRGB2YCrCb", "YCr", true, all, DEPTHS_ALL, moxRGB2YCrCb, refRGB2YCrCb},
        {"moxYCrCb2RGB", "ownYCrCb2RGB", "YCr", false, all, DEPTHS_ALL, moxYCrCb2RGB, refYCrCb2RGB},
        {"moxYCC2RGB", "ownYCC2RGB", "YCC", false, byte, DEPTHS_BYTE, moxYCC2RGB, refYCC2RGB},
        {"moxRGB2LUV", "ownRGB2LUV", "LUV", true, floats, DEPTHS_FLOAT, moxRGB2LUV, refRGB2LUV},
        {"moxLUV2RGB", "ownLUV2RGB", "LUV", false, floats, DEPTHS_FLOAT, moxLUV2RGB, refLUV2RGB},
    };
    return models;
}

const RefModel &refModel(const std::string &name) {
    return *std::find_if(refModels().begin(), refModels().end(),
                         [&](const RefModel &each) { return each.name == name; });
}

bool RefModel::accepts(unsigned depth) const {
    return std::find(depths.begin(), depths.end(), depth) != depths.end();
}

int refColorChannel(TestImage &image, int color) {
    const MoxImage &header = *image.header();
    if (header.dataOrder == MOX_DATA_ORDER_PIXEL) return header.channelSeq[0] == 'R' ? color : 2 - color;
    const char *found = std::find(header.channelSeq, header.channelSeq + 3, "RGB"[color]);
    return static_cast<int>(found - header.channelSeq);
}

static RefColor colorAt(TestImage &image, bool isRGB, int x, int y) {
    RefColor color;
    for (int i = 0; i < 3; ++i)
        color.sample[i] = image.get(isRGB ? refColorChannel(image, i) : i, x, y);
    return color;
}

static void setColor(TestImage &image, TestBytes &bytes, bool isRGB, int x, int y, const RefColor &color) {
    for (int i = 0; i < 3; ++i)
        image.setIn(bytes, isRGB ? refColorChannel(image, i) : i, x, y, color.sample[i]);
}

template <typename Pixel>
static RefResult overCommonSize(TestImage &source, TestImage &destination, Pixel pixel) {
    RefResult result = {destination.bytes(), {}};
    const int width = std::min(source.layout().width, destination.layout().width);
    const int height = std::min(source.layout().height, destination.layout().height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            pixel(result.expected, x, y);
    }
    return result;
}

RefResult refConvertColors(const RefModel &model, TestImage &source, TestImage &destination) {
    const unsigned depth = source.layout().depth;
    const bool mixed = source.layout().order != destination.layout().order;
    return overCommonSize(source, destination, [&](TestBytes &bytes, int x, int y) {
        const RefColor from = colorAt(source, model.forward, x, y);
        const RefColor to = !mixed          ? model.convert(depth, from)
                            : model.forward ? refRGB2YUVMixed(from)
                                            : refYUV2RGBMixed(from);
        setColor(destination, bytes, !model.forward, x, y, to);
    });
}

uint32_t refGrayOf(unsigned srcDepth, unsigned dstDepth, const RefColor &rgb) {
    if (srcDepth == MOX_DEPTH_32S) {
        int64_t r = static_cast<int32_t>(rgb.sample[0]), g = static_cast<int32_t>(rgb.sample[1]),
                b = static_cast<int32_t>(rgb.sample[2]);
        if (dstDepth == MOX_DEPTH_1U) return 109 * (r >> 10) + 366 * (g >> 10) + 37 * (b >> 10) >= 0x20000000;
        const int64_t weighted = 109 * (r >> 11) + 366 * (g >> 11) + 37 * (b >> 11);
        return weighted < 0 ? 0 : static_cast<uint32_t>(weighted >> (dstDepth == MOX_DEPTH_16U ? 13 : 21));
    }
    const uint32_t sum = 54 * rgb.sample[0] + 183 * rgb.sample[1] + 18 * rgb.sample[2];
    if (srcDepth == MOX_DEPTH_8U) {
        if (dstDepth == MOX_DEPTH_16U) return sum;
        return dstDepth == MOX_DEPTH_8U ? sum >> 8 : (sum >> 8) >= 128;
    }
    if (dstDepth == MOX_DEPTH_16U) return sum >> 8;
    return dstDepth == MOX_DEPTH_8U ? sum >> 16 : (sum >> 8) >= 32768;
}

RefColor refColorOf(unsigned srcDepth, unsigned dstDepth, uint32_t gray, const float weights[3]) {
    const bool bytes = dstDepth == MOX_DEPTH_8U;
    int64_t w[3];
    int shift = bytes ? 8 : 15;
    for (int i = 0; i < 3; ++i)
        w[i] = static_cast<int64_t>((bytes ? 256.0 : 32768.0) * static_cast<double>(weights[i]));
    if (w[0] == 0 && w[1] == 0 && w[2] == 0) {
        static const int64_t usual8[] = {54, 183, 18}, usual16[] = {109, 366, 37}, usual32[] = {6968, 23434, 2364};
        std::copy_n(bytes ? usual8 : dstDepth == MOX_DEPTH_16U ? usual16 : usual32, 3, w);
        if (dstDepth == MOX_DEPTH_16U) shift = 9;
    }
    RefColor color;
    for (int i = 0; i < 3; ++i) {
        int64_t sample;
        if (srcDepth == MOX_DEPTH_1U) {
            sample = gray ? (w[i] * 255) >> shift : 0;
        } else if (dstDepth == MOX_DEPTH_32S) {
            const int64_t g = static_cast<int32_t>(gray);
            sample = 2 * w[i] * (g >> 16) + ((w[i] * (g & 0xFFFF)) >> 15);
        } else {
            sample = (gray * w[i]) >> shift;
        }
        color.sample[i] = refSaturated(dstDepth, static_cast<double>(sample));
    }
    return color;
}

RefResult refColorToGray(TestImage &source, TestImage &destination) {
    return overCommonSize(source, destination, [&](TestBytes &bytes, int x, int y) {
        const RefColor rgb = colorAt(source, true, x, y);
        destination.setIn(bytes, 0, x, y, refGrayOf(source.layout().depth, destination.layout().depth, rgb));
    });
}

RefResult refGrayToColor(TestImage &source, TestImage &destination, const float weights[3]) {
    return overCommonSize(source, destination, [&](TestBytes &bytes, int x, int y) {
        const RefColor rgb =
            refColorOf(source.layout().depth, destination.layout().depth, source.get(0, x, y), weights);
        setColor(destination, bytes, true, x, y, rgb);
    });
}

// The sums of a twist for one pixel; the store differs.
template <typename Store>
static RefResult twist(TestImage &source, TestImage &destination, Store store) {
    RefResult result = {destination.bytes(), {}};
    const TestLayout &src = source.layout(), &dst = destination.layout();
    int width, height;
    refCommonSize({&source, &destination}, &width, &height);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            if (!refMaskedIn({&source, &destination}, i, j)) continue;
            RefColor from;
            for (int channel = 0; channel < 3; ++channel)
                from.sample[channel] = source.get(channel, src.regionX() + i, src.regionY() + j);
            for (int channel = 0; channel < 3; ++channel) {
                destination.setIn(result.expected, channel, dst.regionX() + i, dst.regionY() + j, store(channel, from));
            }
        }
    }
    return result;
}

RefResult refApplyTwist(TestImage &source, TestImage &destination, const int entries[16], int scalingValue) {
    const int64_t most = source.layout().depth == MOX_DEPTH_8U ? 255 : 65535;
    return twist(source, destination, [&](int channel, const RefColor &from) {
        const int *row = entries + 4 * channel;
        int64_t sum = row[3];
        for (int i = 0; i < 3; ++i)
            sum += int64_t{row[i]} * from.sample[i];
        return static_cast<uint32_t>(std::clamp<int64_t>(sum >> scalingValue, 0, most));
    });
}

static double twistNumber(unsigned depth, uint32_t sample) {
    switch (depth) {
        case MOX_DEPTH_8S:
            return static_cast<int8_t>(sample);
        case MOX_DEPTH_16S:
            return static_cast<int16_t>(sample);
        case MOX_DEPTH_32S:
            return static_cast<int32_t>(sample);
        case MOX_DEPTH_32F:
            return static_cast<double>(std::bit_cast<float>(sample));
        default:
            return sample;
    }
}

static uint32_t twistSample(unsigned depth, double value) {
    if (depth == MOX_DEPTH_32F) return std::bit_cast<uint32_t>(static_cast<float>(value));
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    if (std::isnan(value)) return depth & MOX_DEPTH_SIGN ? 1u << (bits - 1) : 0;
    const double below = depth & MOX_DEPTH_SIGN ? std::ldexp(1.0, bits - 1) : 0.0;
    const double rounded = std::clamp(std::nearbyint(value), -below, std::ldexp(1.0, bits) - 1 - below);
    return static_cast<uint32_t>(static_cast<int64_t>(rounded)) & (0xFFFFFFFFu >> (32 - bits));
}

RefResult refApplyTwistFP(TestImage &source, TestImage &destination, const float entries[16]) {
    const unsigned srcDepth = source.layout().depth, dstDepth = destination.layout().depth;
    return twist(source, destination, [&](int channel, const RefColor &from) {
        double c[3], m[4];
        for (int i = 0; i < 3; ++i)
            c[i] = twistNumber(srcDepth, from.sample[i]);
        for (int i = 0; i < 4; ++i)
            m[i] = static_cast<double>(entries[4 * channel + i]);
        return twistSample(dstDepth, m[0] * c[0] + m[1] * c[1] + m[2] * c[2] + m[3]);
    });
}
