// Transforms of anything: headers with anything in their fields, images that fit together with all else drawn, kernels
// of any filters. Memory is widthStep x height bytes for a plane and not a byte more; some of what is asked for is
// refused.
#include <algorithm>
#include <cstring>

#include "core/owncpu.h"
#include "hostile.h"
#include "support/allocations.h"
#include "support/scene.h"
#include "target.h"

static int reports;

static MoxStatus MOX_CALL countReport(MoxStatus status, const char *, const char *, const char *, int) {
    ++reports;
    return status;
}

// Images of one size and kind, so that the transforms get past their tests, each now and then with a field spoilt.
class FittingImages {
  public:
    FittingImages(Random &random, int count) : images_(static_cast<size_t>(count)) {
        const int width = random.between(1, 48), height = random.between(1, 24);
        const int order = random.below(2), channels = random.between(1, 4);
        const bool hasRegion = random.oneIn(2);
        const unsigned depth = allDepths[random.below(7)];
        for (Image &image : images_) {
            image.depth(random.oneIn(2) ? depth : allDepths[random.below(7)]);
            image.shape(random.oneIn(12) ? 1 - order : order, random.oneIn(12) ? 1 : channels, width, height);
            if (hasRegion != random.oneIn(16)) image.region(random);
            image.provide(random);
        }
    }
    // Bytes, and four images of floats half as large.
    static FittingImages ofWavelet(Random &random) {
        FittingImages fitting;
        const int width = random.between(1, 60), height = random.between(1, 30);
        const int extra = 4 * random.below(4) + (random.oneIn(3) ? random.below(4) : 0);
        for (int i = 0; i < 5; ++i) {
            Image &image = fitting.images_[static_cast<size_t>(i)];
            image.depth(i == 0 ? MOX_DEPTH_8U : MOX_DEPTH_32F);
            const int partWidth = random.oneIn(64) ? random.between(1, 40) : (width + 1) / 2;
            image.shape(random.below(2), 1, i == 0 ? width : partWidth, i == 0 ? height : (height + 1) / 2);
            image.header.align = 4;
            if (i == 0 && random.oneIn(4)) image.region(random);
            image.provide(random, extra);
        }
        return fitting;
    }
    MoxImage *operator[](int index) { return &images_[static_cast<size_t>(index)].header; }
    void keep() {
        for (Image &image : images_) {
            image.kept = image.header;
            image.keptRoi = image.roi;
        }
    }
    void requireNoHarm(const std::string &what) const {
        for (const Image &image : images_) {
            requireThat(image.pixels->guardsStand(), what + ": a byte beside the pixels was written");
            requireThat(memcmp(&image.header, &image.kept, sizeof(MoxImage)) == 0, what + ": a header was changed");
            requireThat(memcmp(&image.roi, &image.keptRoi, sizeof(MoxROI)) == 0, what + ": a region was changed");
        }
    }

  private:
    struct Image {
        MoxImage header = {}, kept = {};
        MoxROI roi = {}, keptRoi = {};
        std::unique_ptr<WatchedBlock> pixels;

        void depth(unsigned value) { header.depth = value; }
        void shape(int order, int channels, int width, int height) {
            header.headerSize = static_cast<int>(sizeof(MoxImage));
            header.dataOrder = order;
            header.nChannels = header.depth == MOX_DEPTH_1U ? 1 : channels;
            header.align = 8;
            header.width = width;
            header.height = height;
        }
        void region(Random &random) {
            roi = {random.oneIn(2) ? 0 : random.between(0, header.nChannels), random.below(header.width),
                   random.below(header.height), random.between(1, header.width), random.between(1, header.height)};
            if (!random.oneIn(3)) {
                roi.width = std::min(roi.width, header.width - roi.xOffset);
                roi.height = std::min(roi.height, header.height - roi.yOffset);
            }
            if (random.oneIn(24)) roi.width = drawInt(random);
            if (random.oneIn(24)) roi.xOffset = drawInt(random);
            if (random.oneIn(24)) roi.height = drawInt(random);
            if (random.oneIn(24)) roi.yOffset = drawInt(random);
            header.roi = &roi;
        }
        // Rows as long as their samples and some more, now and then too short; then perhaps a spoilt field.
        void provide(Random &random, int extra = -1) {
            const bool plane = header.dataOrder == MOX_DATA_ORDER_PLANE;
            const int samples = header.width * (plane ? 1 : header.nChannels);
            const int row = (samples * static_cast<int>(header.depth & 63) + 7) / 8;
            header.widthStep = row + (extra >= 0 ? extra : random.below(9));
            if (random.oneIn(24)) header.widthStep = random.between(1, row);
            header.imageSize = header.widthStep * header.height * (plane ? header.nChannels : 1);
            pixels = std::make_unique<WatchedBlock>(static_cast<size_t>(header.imageSize),
                                                    static_cast<uint8_t>(random.bits()));
            header.imageData = pixels->data();
            if (random.oneIn(6)) header.alphaChannel = header.nChannels;
            if (!random.oneIn(12)) return;
            int *const fields[] = {&header.alphaChannel, &header.origin, &header.align, &header.imageSize,
                                   &header.headerSize};
            *fields[random.below(5)] = drawInt(random);
            // Fields that say how large the memory is may only say less.
            if (random.oneIn(3)) header.width = random.between(-1, header.width);
            if (random.oneIn(3)) header.height = random.between(-1, header.height);
            if (random.oneIn(6)) header.imageData = nullptr;
            if (random.oneIn(6)) header.depth = random.bits();
        }
    };
    FittingImages() : images_(5) {}
    std::vector<Image> images_;
};

static int drawFlags(Random &random) {
    static const int usual[] = {1, 2, 2 | 4, 1 | 16, 2 | 16, 1 | 32, 2 | 32, 2 | 4 | 16};
    return random.oneIn(12) ? drawInt(random) : usual[random.below(8)];
}

// Runs a call, perhaps without all the memory that it asks for. Nothing stays behind but what the flags free.
template <typename Run>
static void callOnce(Random &random, const std::string &what, Run run) {
    moxSetErrStatus(random.oneIn(8) ? -7 : 0);
    reports = 0;
    AllocationWindow window(random.oneIn(3) ? random.between(1, 12) : 0, random.oneIn(2) ? 1 : 1000);
    run();
    window.close();
    requireThat(reports == 0 || moxGetErrStatus() < 0, what + ": a fault that is not in the status");
    moxRealFft2D(nullptr, nullptr, MOX_FFT_FREE);
    moxDCT2D(nullptr, nullptr, MOX_DCT_FREE);
    requireThat(window.live() == 0, what + ": memory was not given back");
}

// One of the transforms of two or three images.
static void transform(Random &random, MoxImage *a, MoxImage *b, MoxImage *d) {
    const int flags = drawFlags(random);
    switch (random.below(4)) {
        case 0:
            callOnce(random, "moxRealFft2D", [&] { moxRealFft2D(a, d, flags); });
            break;
        case 1:
            callOnce(random, "moxCcsFft2D", [&] { moxCcsFft2D(a, d, flags); });
            break;
        case 2:
            callOnce(random, "moxDCT2D", [&] { moxDCT2D(a, d, flags); });
            break;
        default:
            callOnce(random, "moxMpyRCPack2D", [&] { moxMpyRCPack2D(a, b, d); });
    }
}

static void transformHostile(Random &random) {
    HostileImages images(random, 3);
    if (images.tooLarge(3)) return;
    images.begin(random.oneIn(2) ? 0 : random.between(1, 40));
    transform(random, images.header(0), images.header(1), images.header(2));
    images.requireNoHarm("a transform");
}

static void transformFitting(Random &random) {
    FittingImages images(random, 3);
    images.keep();
    const int a = 0, b = random.oneIn(6) ? 0 : 1, d = random.oneIn(6) ? random.below(2) : 2;
    transform(random, images[a], images[b], images[d]);
    images.requireNoHarm("a transform");
}

// A built-in kernel, or four filters of any length; taps lie in memory of their own length.
struct AnyKernel {
    std::vector<float> taps[4];
    MoxWtKernel kernel = {};

    explicit AnyKernel(Random &random) {
        if (random.oneIn(2)) {
            moxWtInit(random.between(-1, 9), random.between(0, 11), random.between(0, 10), &kernel);
            return;
        }
        MoxWtFilter filters[4];
        for (int i = 0; i < 4; ++i) {
            const int length = random.oneIn(8) ? random.between(0, 70) : random.between(2, 14);
            taps[i].resize(static_cast<size_t>(length));
            for (float &tap : taps[i])
                tap = static_cast<float>(random.between(-99, 99)) / 64.0f;
            filters[i] = {taps[i].data(), length,
                          length > 0 ? random.between(random.oneIn(32) ? -1 : 0, length - 1) : 0, 0};
        }
        moxWtInitUserFilter4(filters, &kernel);
    }
    ~AnyKernel() { moxWtFree(&kernel); }
};

static void transformWavelet(Random &random) {
    AnyKernel any(random);
    FittingImages images = FittingImages::ofWavelet(random);
    images.keep();
    const int shared = random.oneIn(8) ? 3 : 4;
    if (random.oneIn(2)) {
        callOnce(random, "moxWtDecompose",
                 [&] { moxWtDecompose(&any.kernel, images[0], images[1], images[2], images[3], images[shared]); });
    } else {
        callOnce(random, "moxWtReconstruct",
                 [&] { moxWtReconstruct(&any.kernel, images[1], images[2], images[3], images[shared], images[0]); });
    }
    images.requireNoHarm("a wavelet");
}

void fuzzOne(Random &random) {
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(countReport);
    ownForceCpuLevel(static_cast<OwnCpuLevel>(random.below(OWN_LEVELS)));
    switch (random.below(4)) {
        case 0:
            return transformHostile(random);
        case 1:
            return transformWavelet(random);
        default:
            return transformFitting(random);
    }
}
