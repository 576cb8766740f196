// Transforms: spectra as pictures, convolution by spectra, wavelets. The library transforms plain images only, so that
// an operation works on a copy of the picture's region and puts its result back.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "failure.h"
#include "image.h"
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

// Magnitudes as light: their logarithms, the largest one white.
void show(const ImagePtr &to, int channel, const std::vector<double> &magnitudes) {
    const double most = std::log1p(*std::max_element(magnitudes.begin(), magnitudes.end()));
    const auto width = static_cast<size_t>(to->width);
    for (size_t i = 0; i < magnitudes.size(); ++i) {
        put(to.get(), static_cast<int>(i % width), static_cast<int>(i / width), channel,
            most > 0 ? std::log1p(magnitudes[i]) / most : 0);
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
void fft(Call *call) {
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

void dct(Call *call) {
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

// The second picture as a kernel: its middle at the origin, its samples adding up to 1.
ImagePtr kernelFor(const MoxImage *image, MoxImage *other) {
    const ImagePtr drawn = copyOf(other);
    if (drawn->nChannels != image->nChannels)
        fail(exitUsage, "convolve-fft: both pictures need the same number of channels");
    ImagePtr samples = floatsLike(drawn.get()), kernel = floatsLike(image);
    // There and back: at 32F.
    moxRealFft2D(drawn.get(), samples.get(), MOX_FFT_FORWARD);
    moxCcsFft2D(samples.get(), samples.get(), MOX_FFT_INVERSE);
    for (int channel = 0; channel < image->nChannels; ++channel) {
        double sum = 0;
        for (int pass = 0; pass < 2; ++pass) {
            for (int y = 0; y < std::min(drawn->height, image->height); ++y) {
                for (int x = 0; x < std::min(drawn->width, image->width); ++x) {
                    const double sample = real(samples, x, y, channel);
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

struct Wavelet {
    MoxWtKernel kernel = {};
    bool made;

    explicit Wavelet(const Call &call)
        : made(moxWtInit(call.arguments[0].integer, call.arguments[1].integer, call.arguments[2].integer, &kernel) ==
               0) {}
    ~Wavelet() { moxWtFree(&kernel); }
    Wavelet(const Wavelet &) = delete;
    Wavelet &operator=(const Wavelet &) = delete;
};

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
    Wavelet wavelet(*call);
    if (!wavelet.made) return;
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
            {"fft",
             {},
             "the magnitudes of the spectrum, as logarithms, frequency 0 in the middle",
             fft,
             {{"The spectrum of a picture.", "fft"}}},
            {"convolve-fft",
             {{K::picture, "PICTURE"}},
             "convolution with the second picture, made to add up to 1, by way of spectra",
             convolveByFft,
             {{"Every point becomes the second picture.", "convolve-fft discs.png"}}},
            {"dct",
             {},
             "the magnitudes of the cosine transform, as logarithms",
             dct,
             {{"Low frequencies are at the corner.", "dct"}}},
            {"wavelet",
             {{K::integer, "TYPE"}, {K::integer, "P"}, {K::integer, "Q"}},
             "one level: a half-size picture, and details across, down and both (TYPE 0 Haar, 1 Daubechies, ...)",
             wavelet,
             {{"Haar's wavelet.", "wavelet 0 0 0"}, {"Daubechies' with eight taps.", "wavelet 1 4 0"}}},
            {"iwavelet",
             {{K::integer, "TYPE"}, {K::integer, "P"}, {K::integer, "Q"}},
             "the way back from such a picture",
             waveletBack,
             {{"There and back; the details were rounded.", "wavelet 1 4 0 iwavelet 1 4 0"}}},
        }};
    return family;
}
