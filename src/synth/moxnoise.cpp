// Noise added to an image in place, and the records that describe it.
#include <algorithm>

#include "core/owncpu.h"
#include "core/ownfpcontrol.h"
#include "frame/ownrowcall.h"
#include "frame/owntile.h"
#include "synth/ownnoise.h"

OWN_DECLARE_LEVELS(OwnNoiseRows, noiseRows)

namespace {

const OwnNoiseRows &noiseRows() {
    static constexpr const OwnNoiseRows *tables[] = OWN_LEVEL_TABLES(noiseRows);
    return *tables[ownCpuLevel()];
}

// The walk takes stretches of pixels, and of wide ones channel by channel; noise goes by pixels.
constexpr int MOST_CHANNELS = 4;

// What a cell of the walk, or the whole call on a plain image, needs to know.
struct NoiseRun {
    const OwnRowForms *kernel;
    OwnConstant constant;

    void run(MoxImage *image, const MoxImage *mask) const {
        MoxImage *const images[] = {image, image};
        const int first[] = {ownFirstChannel(image), ownFirstChannel(image)};
        OwnRows rows;
        ownSetRows(&rows, images, first, 2, ownChannels(image), mask);
        if (rows.channels <= MOST_CHANNELS || (!rows.masked && ownIsContiguous(rows.spans[0], rows.channels))) {
            ownRunRows(rows, *kernel, constant);
        } else {
            runPixels(rows);
        }
    }

    void runPixels(const OwnRows &rows) const {
        const OwnSpan &span = rows.spans[1];
        for (int64_t y = 0; y < rows.height; ++y) {
            const uint8_t *mask = rows.masked ? rows.mask.start + y * rows.mask.rowStep : nullptr;
            for (int64_t x = 0; x < rows.width; ++x) {
                const int64_t bit = rows.mask.bit + x;
                if (mask && (mask[bit / 8] >> (7 - bit % 8) & 1) == 0) continue;
                uint8_t *pixel = span.start + y * span.rowStep + x * span.step * span.bytes;
                kernel->plain(pixel, nullptr, pixel, static_cast<size_t>(rows.channels), constant);
            }
        }
    }
};

OwnNoiseGenerator startGenerator(unsigned seed) {
    const auto next = [](uint32_t s) { return s * 69069u + 1013904243u; };
    const uint32_t s1 = seed, s2 = next(s1), s3 = next(s2);
    return {0x436cbae9, s1, s2, s3, 1};
}

// The ends of an integer depth, and the number that ends the span of uniform noise: that of unsigned samples of the
// size, whatever the sign. At 32 bits there is none.
struct Range {
    int bottom, top, most;
};
Range rangeOf(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_8U:
            return {0, 255, 255};
        case MOX_DEPTH_8S:
            return {-128, 127, 255};
        case MOX_DEPTH_16U:
            return {0, 65535, 65535};
        default:
            return {-32768, 32767, 65535};
    }
}

// Bounds in order, cut to the span of the depth. False where the noise lies beyond it: the region then gets *fill.
bool setUniform(const MoxNoiseParam &param, unsigned depth, OwnNoise *noise, int *fill) {
    int low = std::min(param.lowInt, param.highInt), high = std::max(param.lowInt, param.highInt);
    if (depth != MOX_DEPTH_32S) {
        const Range range = rangeOf(depth);
        if (low >= range.most || high <= -range.most) {
            *fill = low >= range.most ? range.top : range.bottom;
            return false;
        }
        low = std::max(low, -range.most);
        high = std::min(high, range.most);
    }
    noise->low = low;
    noise->span = static_cast<uint32_t>(high) - static_cast<uint32_t>(low);
    return true;
}

void setUniformFloats(const MoxNoiseParam &param, OwnNoise *noise) {
    // A second bound that is no number counts as the first one.
    const float low = std::min(param.lowFlt, param.highFlt), high = std::max(param.lowFlt, param.highFlt);
    const float scale = (high - low) * 0x1p-32f;
    noise->bias = static_cast<double>(low);
    noise->scale = static_cast<double>(scale);
}

void setGaussian(const MoxNoiseParam &param, bool floats, OwnNoise *noise) {
    noise->bias = floats ? static_cast<double>(param.lowFlt) : param.lowInt;
    noise->scale = floats ? static_cast<double>(param.highFlt) : param.highInt;
}

MoxStatus refuse(const OwnCaller &caller, MoxStatus status, const char *message) {
    ownReport(caller, status, message);
    return status;
}

// What moxSet does for this call; its fault is the call's.
MoxStatus fillRegion(const OwnCaller &caller, MoxImage *image, int value) {
    const OwnNestedCalls calls;
    moxSet(image, value);
    if (!calls.failed()) return MOX_StatusNoError;
    ownReport(caller, MOX_StatusBacktrace, "");
    return moxGetErrStatus();
}

bool hasNoSamples(const MoxImage *image) {
    if (ownChannels(image) == 0) return true;
    for (const MoxImage *area : {image, static_cast<const MoxImage *>(image->maskROI)}) {
        if (!area) continue;
        OwnImageRect rect;
        ownImageRect(area, &rect);
        if (rect.width < 1 || rect.height < 1) return true;
    }
    return false;
}

MoxStatus addNoise(const OwnCaller &caller, MoxImage *image, const OwnRowForms &kernel, OwnNoise *noise) {
    NoiseRun noiseRun = {&kernel, {0, 0, 0, noise}};
    if (!image->tileInfo) {
        noiseRun.run(image, image->maskROI);
        return MOX_StatusNoError;
    }
    const auto runCell = [](void *run, MoxImage *const *images, MoxImage *mask) {
        static_cast<const NoiseRun *>(run)->run(images[0], mask);
    };
    if (ownWalkTiles(&image, 1, image->maskROI, runCell, &noiseRun) < 0) return MOX_StatusNoError;
    return refuse(caller, MOX_StatusBadArgument, "(image->tileInfo->tileData == 0)");
}

// The record of an initialiser, or null after a report.
bool accepts(const OwnCaller &caller, const MoxNoiseParam *noiseParam) {
    if (!noiseParam) ownReport(caller, MOX_StatusBadArgument, "(noiseParam == 0)");
    return noiseParam != nullptr;
}

void setIntegers(MoxNoiseParam *param, int noise, unsigned seed, int low, int high) {
    param->noise = noise;
    param->seed = seed;
    param->lowInt = low;
    param->highInt = high;
}

void setFloats(MoxNoiseParam *param, int noise, unsigned seed, float low, float high) {
    param->noise = noise;
    param->seed = seed;
    param->lowFlt = low;
    param->highFlt = high;
}

}  // namespace

void MOX_CALL moxNoiseUniformInit(MoxNoiseParam *noiseParam, unsigned seed, int lowInt, int highInt) {
    if (!accepts(OWN_CALLER("moxNoiseUniformInit"), noiseParam)) return;
    setIntegers(noiseParam, MOX_NOISE_UNIFORM, seed, lowInt, highInt);
}

void MOX_CALL moxNoiseUniformInitFP(MoxNoiseParam *noiseParam, unsigned seed, float lowFlt, float highFlt) {
    if (!accepts(OWN_CALLER("moxNoiseUniformInitFP"), noiseParam)) return;
    setFloats(noiseParam, MOX_NOISE_UNIFORM, seed, lowFlt, highFlt);
}

void MOX_CALL moxNoiseGaussianInit(MoxNoiseParam *noiseParam, unsigned seed, int mean, int stDev) {
    if (!accepts(OWN_CALLER("moxNoiseGaussianInit"), noiseParam)) return;
    setIntegers(noiseParam, MOX_NOISE_GAUSSIAN, seed, mean, stDev);
}

void MOX_CALL moxNoiseGaussianInitFP(MoxNoiseParam *noiseParam, unsigned seed, float mean, float stDev) {
    if (!accepts(OWN_CALLER("moxNoiseGaussianInitFP"), noiseParam)) return;
    setFloats(noiseParam, MOX_NOISE_GAUSSIAN, seed, mean, stDev);
}

MoxStatus MOX_CALL moxNoiseImage(MoxImage *image, MoxNoiseParam *noiseParam) {
    const OwnCaller caller = OWN_CALLER("moxNoiseImage");
    if (!ownAcceptImage(caller, image)) return ownFindHeaderFault(image);
    if (!noiseParam) return refuse(caller, MOX_StatusBadArgument, "(noiseParam == 0)");
    if (image->depth == MOX_DEPTH_1U) return refuse(caller, MOX_StatusBadArgument, "(image->depth == 1)");
    if (noiseParam->noise != MOX_NOISE_UNIFORM && noiseParam->noise != MOX_NOISE_GAUSSIAN)
        return refuse(caller, MOX_StatusBadArgument,
                      "((noiseParam->noise != MOX_NOISE_UNIFORM) && (noiseParam->noise != MOX_NOISE_GAUSSIAN))");
    if (hasNoSamples(image)) return MOX_StatusNoError;
    if (!ownAcceptMemory(caller, {image})) return ownFindExcess(image);

    // From the span of the bounds on.
    const OwnNearestRounding rounding;
    OwnNoise noise;
    noise.generator = startGenerator(noiseParam->seed);
    noise.low = 0;
    noise.span = 0;
    noise.bias = noise.scale = 0;
    noise.hasWords = false;
    noise.next = noise.count = 0;
    const bool floats = image->depth == MOX_DEPTH_32F;
    const bool uniform = noiseParam->noise == MOX_NOISE_UNIFORM;
    int fill = 0;
    if (!uniform) {
        setGaussian(*noiseParam, floats, &noise);
    } else if (floats) {
        setUniformFloats(*noiseParam, &noise);
    } else if (!setUniform(*noiseParam, image->depth, &noise, &fill)) {
        return fillRegion(caller, image, fill);
    }
    const int index = ownDepthIndex(image->depth);
    return addNoise(caller, image, uniform ? noiseRows().uniform[index] : noiseRows().gaussian[index], &noise);
}
