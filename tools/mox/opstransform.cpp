// Transforms: spectra, for the eyes and for the way back; convolution by spectra; cosine blocks; wavelets. The library
// transforms plain images only, so that an operation works on a copy of the picture's region and puts its result back.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "failure.h"
#include "image.h"
#include "numbers.h"
#include "operations.h"

namespace {

struct Size {
    int width, height;
};

Size regionOf(const MoxImage *image) {
    const MoxROI *roi = image->roi;
    if (!roi) return {image->width, image->height};
    return {std::clamp(roi->width, 0, std::max(image->width - roi->xOffset, 0)),
            std::clamp(roi->height, 0, std::max(image->height - roi->yOffset, 0))};
}

int channelsOf(const MoxImage *image) {
    return image->roi && image->roi->coi != 0 ? 1 : image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
}

bool hasPlanes(const MoxImage *image) {
    return image->dataOrder == MOX_DATA_ORDER_PLANE;
}

// The channels that an operation processes, of the region alone.
ImagePtr copyOf(MoxImage *image) {
    const Size size = regionOf(image);
    if (size.width == 0 || size.height == 0) fail(exitUsage, "transforms need a region that is not empty");
    if (image->depth == MOX_DEPTH_1U) fail(exitOperation, "transforms need more than bits (try --depth 8u)");
    ImagePtr copy = makeImage(channelsOf(image), image->depth, hasPlanes(image), size.width, size.height);
    moxCopy(image, copy.get());
    return copy;
}

ImagePtr floatsLike(const MoxImage *image) {
    return makeImage(image->nChannels, MOX_DEPTH_32F, hasPlanes(image), image->width, image->height);
}

float &real(const ImagePtr &image, int x, int y, int channel) {
    return *reinterpret_cast<float *>(sampleAddress(image.get(), x, y, channel));
}

// The samples that black and white are, by depth.
struct Range {
    double low, high;
};
Range rangeOf(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_8S:
            return {-128, 127};
        case MOX_DEPTH_16U:
            return {0, 65535};
        case MOX_DEPTH_16S:
            return {-32768, 32767};
        case MOX_DEPTH_32F:
            return {0, 1};
        default:
            return {0, 255};
    }
}

template <class Sample>
void putAs(char *at, double value) {
    const auto sample = static_cast<Sample>(value);
    std::memcpy(at, &sample, sizeof sample);
}
void put(const MoxImage *image, int x, int y, int channel, double light) {
    const Range range = rangeOf(image->depth);
    const double value = range.low + light * (range.high - range.low);
    char *const at = sampleAddress(image, x, y, channel);
    switch (image->depth) {
        case MOX_DEPTH_8U:
            return putAs<unsigned char>(at, std::round(value));
        case MOX_DEPTH_8S:
            return putAs<signed char>(at, std::round(value));
        case MOX_DEPTH_16U:
            return putAs<unsigned short>(at, std::round(value));
        case MOX_DEPTH_16S:
            return putAs<short>(at, std::round(value));
        case MOX_DEPTH_32S:
            return putAs<int>(at, std::round(value));
        default:
            return putAs<float>(at, value);
    }
}

template <class Sample>
double takeAs(const char *at) {
    Sample sample;
    std::memcpy(&sample, at, sizeof sample);
    return static_cast<double>(sample);
}
double lightAt(const MoxImage *image, int x, int y, int channel) {
    const Range range = rangeOf(image->depth);
    const char *const at = sampleAddress(image, x, y, channel);
    const auto light = [&range](double value) { return (value - range.low) / (range.high - range.low); };
    switch (image->depth) {
        case MOX_DEPTH_8U:
            return light(takeAs<unsigned char>(at));
        case MOX_DEPTH_8S:
            return light(takeAs<signed char>(at));
        case MOX_DEPTH_16U:
            return light(takeAs<unsigned short>(at));
        case MOX_DEPTH_16S:
            return light(takeAs<short>(at));
        case MOX_DEPTH_32S:
            return light(takeAs<int>(at));
        default:
            return light(takeAs<float>(at));
    }
}

// What a transform leaves has no bounds: the picture goes on in floats, 0 black and 1 white.
MoxImage *asFloats(Call *call) {
    MoxImage *const image = call->image;
    return image->depth == MOX_DEPTH_32F ? image : call->another(MOX_DEPTH_32F, image->nChannels);
}
MoxImage *floatsLeftBy(const char *operation, Call *call) {
    if (call->image->depth != MOX_DEPTH_32F)
        fail(exitOperation, std::string("needs the floats that ") + operation + " leaves, in the same chain");
    return call->image;
}

// Magnitudes as light: their logarithms, the largest one white, and what a tenth of them stays below black.
void show(const ImagePtr &to, int channel, const std::vector<double> &magnitudes) {
    std::vector<double> sorted = magnitudes;
    const auto tenth = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 10);
    std::nth_element(sorted.begin(), tenth, sorted.end());
    const double least = std::log1p(*tenth);
    const double range = std::log1p(*std::max_element(sorted.begin(), sorted.end())) - least;
    const auto width = static_cast<size_t>(to->width);
    for (size_t i = 0; i < magnitudes.size(); ++i) {
        put(to.get(), static_cast<int>(i % width), static_cast<int>(i / width), channel,
            range > 0 ? std::max(std::log1p(magnitudes[i]) - least, 0.0) / range : 0);
    }
}

// Of a packed spectrum: the real or imaginary part at (v, u), where u is at most half of the width.
double partOf(const ImagePtr &packed, int v, int u, int channel, bool imaginary) {
    const int width = packed->width, height = packed->height;
    if (u != 0 && 2 * u != width) return real(packed, 2 * u - (imaginary ? 0 : 1), v, channel);
    const int x = u == 0 ? 0 : width - 1;
    const bool upper = 2 * v > height;
    const int row = upper ? height - v : v;
    if (row == 0 || 2 * row == height) return imaginary ? 0 : real(packed, x, row == 0 ? 0 : height - 1, channel);
    const double part = real(packed, x, 2 * row - (imaginary ? 0 : 1), channel);
    return imaginary && upper ? -part : part;
}

double magnitudeAt(const ImagePtr &packed, int v, int u, int channel) {
    const bool mirrored = 2 * u > packed->width;
    const int row = mirrored && v != 0 ? packed->height - v : v;
    const int column = mirrored ? packed->width - u : u;
    return std::hypot(partOf(packed, row, column, channel, false), partOf(packed, row, column, channel, true));
}

// Frequency 0 in the middle.
void spectrum(Call *call) {
    const ImagePtr copy = copyOf(call->image), packed = floatsLike(copy.get());
    if (moxRealFft2D(copy.get(), packed.get(), MOX_FFT_FORWARD) < 0) return;
    const int width = copy->width, height = copy->height;
    for (int channel = 0; channel < copy->nChannels; ++channel) {
        std::vector<double> magnitudes;
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const int v = (y + height - height / 2) % height, u = (x + width - width / 2) % width;
                magnitudes.push_back(magnitudeAt(packed, v, u, channel));
            }
        }
        show(copy, channel, magnitudes);
    }
    moxCopy(copy.get(), call->image);
}

void fft(Call *call) {
    MoxImage *const image = asFloats(call);
    const ImagePtr copy = copyOf(image);
    if (moxRealFft2D(copy.get(), copy.get(), MOX_FFT_FORWARD) == 0) moxCopy(copy.get(), image);
}
void ifft(Call *call) {
    MoxImage *const image = floatsLeftBy("fft", call);
    const ImagePtr copy = copyOf(image);
    if (moxCcsFft2D(copy.get(), copy.get(), MOX_FFT_INVERSE) == 0) moxCopy(copy.get(), image);
}

// Frequencies of a packed spectrum's samples.
struct Frequency {
    int v, u;
};
Frequency frequencyAt(int width, int x, int y) {
    const bool last = width % 2 == 0 && x == width - 1;
    if (x != 0 && !last) return {y, (x + 1) / 2};
    return {(y + 1) / 2, last ? width / 2 : 0};
}

// How much of a frequency a picture of all of them keeps, white all of it. A frequency and its mirror go together.
double gainOf(const ImagePtr &gains, Frequency at, int channel) {
    const int width = gains->width, height = gains->height;
    const auto light = [&](int v, int u) {
        return lightAt(gains.get(), (u + width / 2) % width, (v + height / 2) % height, channel);
    };
    return (light(at.v, at.u) + light((height - at.v) % height, (width - at.u) % width)) / 2;
}

void filterByFft(Call *call) {
    const ImagePtr gains = copyOf(call->other);
    MoxImage *const image = asFloats(call);
    const ImagePtr copy = copyOf(image);
    if (gains->width != copy->width || gains->height != copy->height || gains->nChannels != copy->nChannels)
        fail(exitUsage, "filter-fft: both pictures need the same size");
    if (moxRealFft2D(copy.get(), copy.get(), MOX_FFT_FORWARD) < 0) return;
    for (int channel = 0; channel < copy->nChannels; ++channel) {
        for (int y = 0; y < copy->height; ++y) {
            for (int x = 0; x < copy->width; ++x) {
                const Frequency at = frequencyAt(copy->width, x, y);
                float &sample = real(copy, x, y, channel);
                sample = static_cast<float>(sample * gainOf(gains, at, channel));
            }
        }
    }
    if (moxCcsFft2D(copy.get(), copy.get(), MOX_FFT_INVERSE) == 0) moxCopy(copy.get(), image);
}

// ------------------------------------------------------------------------------------------------------------- cosines

void cosines(Call *call) {
    const ImagePtr copy = copyOf(call->image), sums = floatsLike(copy.get());
    moxDCT2D(copy.get(), sums.get(), MOX_DCT_FORWARD);
    for (int channel = 0; channel < copy->nChannels; ++channel) {
        std::vector<double> magnitudes;
        for (int y = 0; y < copy->height; ++y) {
            for (int x = 0; x < copy->width; ++x)
                magnitudes.push_back(std::fabs(real(sums, x, y, channel)));
        }
        show(copy, channel, magnitudes);
    }
    moxCopy(copy.get(), call->image);
}

void transformCosines(MoxImage *image, int direction) {
    const ImagePtr copy = copyOf(image), result = floatsLike(copy.get());
    moxDCT2D(copy.get(), result.get(), direction);
    moxCopy(result.get(), image);
}
void dct(Call *call) {
    transformCosines(asFloats(call), MOX_DCT_FORWARD);
}
void idct(Call *call) {
    transformCosines(floatsLeftBy("dct", call), MOX_DCT_INVERSE);
}

constexpr int BLOCK = 8;

// Coefficients of one block below the limit become 0, but for the block's mean. Gives how many stay.
int dropSmall(const ImagePtr &sums, const MoxROI &block, float limit) {
    int kept = 0;
    for (int channel = 0; channel < sums->nChannels; ++channel) {
        for (int y = 0; y < block.height; ++y) {
            for (int x = 0; x < block.width; ++x) {
                float &sum = real(sums, block.xOffset + x, block.yOffset + y, channel);
                if ((x != 0 || y != 0) && std::fabs(sum) < limit) sum = 0;
                kept += sum != 0 ? 1 : 0;
            }
        }
    }
    return kept;
}

// Blocks at the right and at the bottom may be smaller.
void dropCosines(Call *call) {
    const float limit = call->arguments[0].real / 255;
    MoxImage *const image = asFloats(call);
    const ImagePtr copy = copyOf(image), sums = floatsLike(copy.get());
    double kept = 0;
    for (int y = 0; y < copy->height; y += BLOCK) {
        for (int x = 0; x < copy->width; x += BLOCK) {
            MoxROI block = {0, x, y, std::min(BLOCK, copy->width - x), std::min(BLOCK, copy->height - y)};
            copy->roi = sums->roi = &block;
            moxDCT2D(copy.get(), sums.get(), MOX_DCT_FORWARD);
            kept += dropSmall(sums, block, limit);
            moxDCT2D(sums.get(), copy.get(), MOX_DCT_INVERSE);
            copy->roi = sums->roi = nullptr;
        }
    }
    moxCopy(copy.get(), image);
    char line[80];
    const double all = static_cast<double>(copy->width) * copy->height * copy->nChannels;
    std::snprintf(line, sizeof line, "kept %.1f %% of the coefficients\n", 100 * kept / all);
    call->printed = line;
}

// ----------------------------------------------------------------------------------------------------------
// convolution

// The second picture as a kernel: its middle at the origin, its samples adding up to 1.
ImagePtr kernelFor(const MoxImage *image, MoxImage *other) {
    const ImagePtr drawn = copyOf(other);
    if (drawn->nChannels != image->nChannels)
        fail(exitUsage, "convolve-fft: both pictures need the same number of channels");
    ImagePtr kernel = floatsLike(image);
    for (int channel = 0; channel < image->nChannels; ++channel) {
        double sum = 0;
        for (int pass = 0; pass < 2; ++pass) {
            for (int y = 0; y < std::min(drawn->height, image->height); ++y) {
                for (int x = 0; x < std::min(drawn->width, image->width); ++x) {
                    const double sample = lightAt(drawn.get(), x, y, channel);
                    const int toX = (x + image->width - drawn->width / 2 % image->width) % image->width;
                    const int toY = (y + image->height - drawn->height / 2 % image->height) % image->height;
                    if (pass == 0) sum += sample;
                    if (pass == 1 && sum != 0) real(kernel, toX, toY, channel) = static_cast<float>(sample / sum);
                }
            }
        }
    }
    return kernel;
}

void convolveByFft(Call *call) {
    const ImagePtr copy = copyOf(call->image), spectrum = floatsLike(copy.get());
    const ImagePtr kernel = kernelFor(copy.get(), call->other);
    if (moxRealFft2D(copy.get(), spectrum.get(), MOX_FFT_FORWARD) < 0) return;
    if (moxRealFft2D(kernel.get(), kernel.get(), MOX_FFT_FORWARD) < 0) return;
    moxMpyRCPack2D(spectrum.get(), kernel.get(), spectrum.get());
    if (moxCcsFft2D(spectrum.get(), copy.get(), MOX_FFT_INVERSE) < 0) return;
    moxCopy(copy.get(), call->image);
}

// ------------------------------------------------------------------------------------------------------------ wavelets

// Families by their usual names, with the numbers behind them: for the least asymmetric the vanishing moments, of which
// there are at least 4.
struct WaveletName {
    const char *prefix;
    int type, numbers, first;
};
constexpr WaveletName WAVELETS[] = {{"haar", MOX_WT_HAAR, 0, 0},
                                    {"db", MOX_WT_DAUBECHIES, 1, 0},
                                    {"sym", MOX_WT_SYMLET, 1, 3},
                                    {"coif", MOX_WT_COIFLET, 1, 0},
                                    {"vaidyanathan", MOX_WT_VAIDYANATHAN, 0, 0},
                                    {"bior", MOX_WT_BSPLINE, 2, 0},
                                    {"dual", MOX_WT_BSPLINE_DUAL, 2, 0},
                                    {"5-3", MOX_WT_53, 0, 0},
                                    {"9-7", MOX_WT_97, 0, 0}};
constexpr const char *WAVELET_NAMES =
    "haar, db1 to db10, sym4 to sym10, coif1 to coif5, vaidyanathan, bior1.1, 1.3, 1.5, 2.2, 2.4, 2.6, 2.8, 3.1, 3.3, "
    "3.5, 3.7, 3.9, dual with the same numbers, 5-3 or 9-7";

bool findWavelet(const std::string &name, MoxWtKernel *kernel) {
    for (const WaveletName &family : WAVELETS) {
        const std::string prefix = family.prefix;
        int numbers[2] = {0, 0};
        if (!name.starts_with(prefix) || !parseNumbers(name.substr(prefix.size()), '.', numbers, family.numbers))
            continue;
        return moxWtInit(family.type, numbers[0] - family.first, numbers[1], kernel) == 0;
    }
    return false;
}

struct Wavelet {
    MoxWtKernel kernel = {};

    explicit Wavelet(const std::string &name) {
        if (!findWavelet(name, &kernel)) fail(exitUsage, "no wavelet is called '" + name + "': " + WAVELET_NAMES);
    }
    ~Wavelet() { moxWtFree(&kernel); }
    Wavelet(const Wavelet &) = delete;
    Wavelet &operator=(const Wavelet &) = delete;
};

void checkWavelet(const std::vector<Argument> &arguments) {
    const Wavelet wavelet(arguments[0].text);
}

// Details are small and have both signs: gray is 0 in the picture of them.
constexpr float GRAY = 128;

struct Bands {
    ImagePtr images[4];
    Size size;

    explicit Bands(const MoxImage *image) : size{(image->width + 1) / 2, (image->height + 1) / 2} {
        for (ImagePtr &band : images)
            band = makeImage(1, MOX_DEPTH_32F, false, size.width, size.height);
    }
    // Where a band begins in the picture of all: details along x on the right, details along y below.
    int left(int band) const { return band >= 2 ? size.width : 0; }
    int top(int band) const { return band % 2 == 1 ? size.height : 0; }

    // Calls for each sample that the picture has.
    template <class Visit>
    void visit(const MoxImage *whole, Visit visit) {
        for (int band = 0; band < 4; ++band) {
            for (int y = 0; y < size.height && top(band) + y < whole->height; ++y) {
                for (int x = 0; x < size.width && left(band) + x < whole->width; ++x) {
                    auto *at =
                        reinterpret_cast<unsigned char *>(sampleAddress(whole, left(band) + x, top(band) + y, 0));
                    visit(at, &real(images[band], x, y, 0), band == 0 ? 0 : GRAY);
                }
            }
        }
    }
};

template <class Transform>
void eachChannel(Call *call, Transform transform) {
    Wavelet wavelet(call->arguments[0].text);
    if (call->image->depth != MOX_DEPTH_8U) fail(exitOperation, "wavelets need depth 8u");
    const ImagePtr copy = copyOf(call->image);
    for (int channel = 0; channel < copy->nChannels; ++channel) {
        const ImagePtr one = makeImage(1, MOX_DEPTH_8U, hasPlanes(copy.get()), copy->width, copy->height);
        MoxROI roi = {channel + 1, 0, 0, copy->width, copy->height};
        copy->roi = &roi;
        moxCopy(copy.get(), one.get());
        transform(&wavelet.kernel, one.get());
        moxCopy(one.get(), copy.get());
        copy->roi = nullptr;
    }
    moxCopy(copy.get(), call->image);
}

void wavelet(Call *call) {
    eachChannel(call, [](MoxWtKernel *kernel, MoxImage *image) {
        Bands bands(image);
        moxWtDecompose(kernel, image, bands.images[0].get(), bands.images[1].get(), bands.images[2].get(),
                       bands.images[3].get());
        bands.visit(image, [](unsigned char *sample, const float *value, float zero) {
            *sample = static_cast<unsigned char>(std::clamp(std::rint(*value + zero), 0.0f, 255.0f));
        });
    });
}

void waveletBack(Call *call) {
    eachChannel(call, [](MoxWtKernel *kernel, MoxImage *image) {
        Bands bands(image);
        bands.visit(image, [](const unsigned char *sample, float *value, float zero) {
            *value = static_cast<float>(*sample) - zero;
        });
        moxWtReconstruct(kernel, bands.images[0].get(), bands.images[1].get(), bands.images[2].get(),
                         bands.images[3].get(), image);
    });
}

}  // namespace

const Family &transformFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Transforms",
        {
            {"spectrum",
             {},
             "the magnitudes of the spectrum, as logarithms, frequency 0 in the middle",
             spectrum,
             {{"The spectrum of a picture.", "spectrum"},
              {"Of the same with stripes: two bright points.", "spectrum", "striped.png"}}},
            {"filter-fft",
             {{K::picture, "PICTURE"}},
             "frequencies by a second picture as spectrum shows them: white keeps, black removes",
             filterByFft,
             {{"The stripes' frequencies are removed.", "filter-fft notches.png", "striped.png"}}},
            {"fft",
             {},
             "the packed spectrum, in floats, for ifft in the same chain",
             fft,
             {{"As it is: black below 0, white above 1.", "fft"}}},
            {"ifft",
             {},
             "the picture whose packed spectrum fft left",
             ifft,
             {{"What is done to a spectrum is done to the picture.", "fft multiply-sfp 0.5 ifft"}}},
            {"convolve-fft",
             {{K::picture, "PICTURE"}},
             "convolution with the second picture, made to add up to 1, by way of spectra",
             convolveByFft,
             {{"Every point becomes the second picture.", "convolve-fft discs.png"}}},
            {"cosines",
             {},
             "the magnitudes of the cosine transform, as logarithms",
             cosines,
             {{"Low frequencies are at the corner.", "cosines"}}},
            {"dct",
             {},
             "the cosine transform, in floats, for idct in the same chain",
             dct,
             {{"As it is: black below 0, white above 1.", "dct"}}},
            {"idct",
             {},
             "the picture whose cosine transform dct left",
             idct,
             {{"Half as light.", "dct multiply-sfp 0.5 idct"}}},
            {"dct-drop",
             {{K::real, "LIMIT"}},
             "8 x 8 blocks without cosine coefficients below LIMIT, where white is 255",
             dropCosines,
             {{"Few are needed.", "dct-drop 20"}, {"Fewer, and the blocks appear.", "dct-drop 80"}}},
            {"wavelet",
             {{K::word, "NAME"}},
             "one level: a half-size picture, and details across, down and both (haar, db4, sym6, coif2, bior2.2, ...)",
             wavelet,
             {{"Haar's wavelet.", "wavelet haar"}, {"A spline pair.", "wavelet bior2.2"}},
             checkWavelet},
            {"iwavelet",
             {{K::word, "NAME"}},
             "the way back from such a picture",
             waveletBack,
             {{"There and back; the details were rounded.", "wavelet db4 iwavelet db4"}},
             checkWavelet},
        }};
    return family;
}
