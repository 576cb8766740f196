// Operations that move pixels and compute nothing.
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "bands.h"
#include "failure.h"
#include "image.h"
#include "operations.h"

namespace {

constexpr std::size_t sampleBytes = 4;  // of the widest depth

std::size_t bytesOf(const MoxImage *image) {
    return image->depth == MOX_DEPTH_1U ? 1 : (image->depth & ~MOX_DEPTH_SIGN) / 8;
}

struct Range {
    double low;
    double high;
};

Range rangeOf(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_1U:
            return {0, 1};
        case MOX_DEPTH_8U:
            return {0, 255};
        case MOX_DEPTH_8S:
            return {-128, 127};
        case MOX_DEPTH_16U:
            return {0, 65535};
        case MOX_DEPTH_16S:
            return {-32768, 32767};
        default:
            return {-2147483648.0, 2147483647.0};
    }
}

void packSample(double value, unsigned depth, char *to) {
    if (depth == MOX_DEPTH_32F) {
        const auto sample = static_cast<float>(value);
        std::memcpy(to, &sample, sizeof sample);
        return;
    }
    const Range range = rangeOf(depth);
    if (!(value >= range.low && value <= range.high) || value != std::floor(value)) {
        fail(exitUsage, "put-pixel: a sample of depth " + std::string(depthName(depth)) + " is a whole number from " +
                            std::to_string(static_cast<long>(range.low)) + " to " +
                            std::to_string(static_cast<long>(range.high)));
    }
    const auto sample = static_cast<std::int32_t>(value);
    if (depth == MOX_DEPTH_1U || depth == MOX_DEPTH_8U || depth == MOX_DEPTH_8S) {
        const auto byte = static_cast<std::uint8_t>(sample);
        std::memcpy(to, &byte, sizeof byte);
    } else if (depth == MOX_DEPTH_32S) {
        std::memcpy(to, &sample, sizeof sample);
    } else {
        const auto word = static_cast<std::uint16_t>(sample);
        std::memcpy(to, &word, sizeof word);
    }
}

template <typename Sample>
double unpacked(const char *from) {
    Sample sample;
    std::memcpy(&sample, from, sizeof sample);
    return static_cast<double>(sample);
}

double unpackSample(const char *from, unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_8S:
            return unpacked<std::int8_t>(from);
        case MOX_DEPTH_16U:
            return unpacked<std::uint16_t>(from);
        case MOX_DEPTH_16S:
            return unpacked<std::int16_t>(from);
        case MOX_DEPTH_32S:
            return unpacked<std::int32_t>(from);
        case MOX_DEPTH_32F:
            return unpacked<float>(from);
        default:
            return unpacked<std::uint8_t>(from);
    }
}

void putPixel(Call *call) {
    const std::vector<double> &samples = call->arguments[2].samples;
    const auto channels = static_cast<std::size_t>(call->image->nChannels);
    if (samples.size() != channels) {
        fail(exitUsage, "put-pixel: the picture has " + std::to_string(channels) + " channels, not " +
                            std::to_string(samples.size()));
    }
    std::vector<char> pixel(channels * sampleBytes);
    for (std::size_t c = 0; c < channels; c++) {
        packSample(samples[c], call->image->depth, pixel.data() + c * bytesOf(call->image));
    }
    moxPutPixel(call->image, call->arguments[0].integer, call->arguments[1].integer, pixel.data());
}

void getPixel(Call *call) {
    const auto channels = static_cast<std::size_t>(call->image->nChannels);
    std::vector<char> pixel(channels * sampleBytes);
    moxGetPixel(call->image, call->arguments[0].integer, call->arguments[1].integer, pixel.data());
    for (std::size_t c = 0; c < channels; c++) {
        char text[40];
        std::snprintf(text, sizeof text, "%s%.9g", c ? "," : "",
                      unpackSample(pixel.data() + c * bytesOf(call->image), call->image->depth));
        call->printed += text;
    }
    call->printed += "\n";
}

}  // namespace

const Family &movingFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Moving pixels",
        {
            {"copy",
             {{K::picture, "PICTURE"}},
             "the second picture in place of the first",
             [](Call *call) { moxCopy(call->other, call->image); },
             {{"The second picture comes in where the mask is white.", "--mask mask.png copy discs.png"},
              {"Only the first channel is copied: the lights' red takes the place of the scene's.",
               "--coi 1 copy discs.png"}}},
            {"set",
             {{K::integer, "VALUE"}},
             "every sample becomes VALUE, clamped to the depth's range",
             [](Call *call) { moxSet(call->image, call->arguments[0].integer); },
             {{"One region filled with white.", "--roi {w60},{h10},{w30},{h35} set 255"},
              {"A channel emptied: no blue is left.", "--coi 3 set 0"}}},
            {"set-fp",
             {{K::real, "VALUE"}},
             "set, at depth 32f",
             [](Call *call) { moxSetFP(call->image, call->arguments[0].real); },
             {{"In floating point, where 0.85 is a light gray.", "--depth 32f --mask mask.png set-fp 0.85"}}},
            {"exchange",
             {{K::picture, "PICTURE"}},
             "swaps the samples of the two pictures; the first is what is written",
             [](Call *call) { byBands(call->image, call->other, [call] { moxExchange(call->image, call->other); }); },
             {{"A region changes places with that of the negative.",
               "--roi {w25},{h15},{w50},{h70} exchange negative.png"}}},
            {"get-pixel",
             {{K::integer, "X", 0}, {K::integer, "Y", 0}},
             "prints the samples of one pixel; the picture stays as it is",
             getPixel,
             {{"The samples of the pixel at 3, 2.", "--no-output get-pixel 3 2", "tiny.png"}}},
            {"put-pixel",
             {{K::integer, "X", 0}, {K::integer, "Y", 0}, {K::samples, "V,V,..."}},
             "one pixel gets the samples V,V,...: as many as there are channels, alpha included",
             putPixel,
             {{"Five pixels, one by one.",
               "put-pixel 6 3 255,255,255 put-pixel 5 4 255,0,0 put-pixel 6 4 255,255,255 put-pixel 7 4 255,0,0 "
               "put-pixel 6 5 255,255,255",
               "tiny.png"}}},
        }};
    return family;
}
