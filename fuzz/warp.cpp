// Warps, rotation and remapping: headers with anything in their fields, and images that fit together, under maps and
// quadrangles of any numbers. A result or a named report, and no byte touched that the caller did not promise.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

#include "core/owncpu.h"
#include "hostile.h"
#include "mox.h"
#include "support/allocations.h"
#include "support/scene.h"
#include "target.h"

static int faults;  // reports that store a status

static MoxStatus MOX_CALL watchReport(MoxStatus status, const char *function, const char *message, const char *file,
                                      int line) {
    requireThat(function && strncmp(function, "mox", 3) == 0, "a report without a function's name");
    requireThat(message && file && !strchr(file, '/') && line > 0, "a report without message or place");
    if (status != MOX_StatusBacktrace && status != MOX_StatusAutotrace) ++faults;
    return status;
}

// A source, a destination and two maps.
constexpr int IMAGES = 4;

// Mostly numbers of the size of an image, also such as have no sense in a map.
static double drawNumber(Random &random) {
    static const double special[] = {0,     1,     0.5,      1e-7,
                                     1e-15, 1e5,   32767.5,  2147483648.0,
                                     1e18,  1e300, HUGE_VAL, std::numeric_limits<double>::quiet_NaN()};
    const double value = random.oneIn(8) ? special[random.below(12)] : random.between(0, 4000) / 64.0;
    return random.oneIn(3) ? -value : value;
}

struct Call {
    int function;
    double numbers[9];
    double angle;
    int warpFlag, interpolate;

    explicit Call(Random &random) : function(random.below(8)) {
        const bool mild = random.oneIn(2);
        for (double &number : numbers)
            number = drawNumber(random);
        // A map near the identity, or a quadrangle near a rectangle.
        if (mild && function != 2 && function != 4) {
            for (int i = 0; i < 9; ++i)
                numbers[i] = numbers[i] / 256 + (i % 4 == 0 ? 1 : 0);
        }
        if (mild && (function == 2 || function == 4)) {
            const double w = random.between(1, 60), h = random.between(1, 30);
            const double corners[8] = {0, 0, w, 0, w, h, 0, h};
            for (int i = 0; i < 8; ++i)
                numbers[i] = numbers[i] / 8 + corners[i];
        }
        angle = random.oneIn(2) ? 90 * random.between(-5, 5) : drawNumber(random);
        warpFlag = random.oneIn(40) ? drawInt(random) : random.below(2);
        interpolate = random.oneIn(40) ? drawInt(random) : random.below(3) + 16 * random.below(2);
    }
    void run(MoxImage *src, MoxImage *dst, MoxImage *xMap, MoxImage *yMap) {
        double quad[4][2], two[2][4], three[3][3];
        memcpy(quad, numbers, sizeof quad);
        memcpy(two, numbers, sizeof two);
        memcpy(three, numbers, sizeof three);
        switch (function) {
            case 0:
                return moxWarpAffine(src, dst, three, interpolate);
            case 1:
                return moxWarpBilinear(src, dst, two, warpFlag, interpolate);
            case 2:
                return moxWarpBilinearQ(src, dst, quad, warpFlag, interpolate);
            case 3:
                return moxWarpPerspective(src, dst, three, warpFlag, interpolate);
            case 4:
                return moxWarpPerspectiveQ(src, dst, quad, warpFlag, interpolate);
            case 5:
                return moxShear(src, dst, numbers[1], numbers[2], numbers[3], numbers[5], interpolate);
            case 6:
                // Shifts of whole numbers turn without interpolation.
                if (warpFlag) numbers[0] = std::round(numbers[0]), numbers[1] = std::round(numbers[1]);
                return moxRotate(src, dst, angle, numbers[0], numbers[1], interpolate);
            default:
                return moxRemap(src, xMap, yMap, dst, interpolate);
        }
    }
};

static void watchCall(Random &random, MoxImage *src, MoxImage *dst, MoxImage *xMap, MoxImage *yMap) {
    Call call(random);
    if (!random.oneIn(8)) moxSetErrStatus(MOX_StatusNoError);
    faults = 0;
    AllocationWindow window(random.oneIn(4) ? random.between(1, 8) : 0);
    call.run(src, dst, xMap, yMap);
    window.close();
    requireThat(window.live() == 0, "memory was not given back");
    requireThat(faults == 0 || moxGetErrStatus() < 0, "a fault that is not in the status");
}

static void runHostile(Random &random) {
    HostileImages images(random, IMAGES, random.oneIn(3) ? 0 : allDepths[random.below(7)]);
    if (images.tooLarge(IMAGES)) return;
    images.begin(random.oneIn(2) ? 0 : random.between(1, 40));
    watchCall(random, images.header(0), images.header(random.oneIn(16) ? 0 : 1), images.header(2), images.header(3));
    images.requireNoHarm("a warp");
}

// Headers that are right: samples end where the memory does, and of a region nothing else is read or written.
static void runFitting(Random &random) {
    static const unsigned depths[] = {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32F};
    const unsigned depth = depths[random.below(4)];
    const int order = random.below(2), channels = depth == MOX_DEPTH_1U ? 1 : random.between(1, 4);
    MoxImage images[IMAGES] = {};
    MoxROI regions[IMAGES];
    std::unique_ptr<WatchedBlock> pixels[IMAGES];
    for (int i = 0; i < IMAGES; ++i) {
        MoxImage &image = images[i];
        image.headerSize = static_cast<int>(sizeof image);
        image.depth = i < 2 ? depth : static_cast<unsigned>(MOX_DEPTH_32F);
        image.nChannels = i < 2 ? channels : 1;
        image.dataOrder = order;
        image.align = 4;
        image.width = random.between(1, 60);
        image.height = random.between(1, 30);
        const int samples = image.width * (order == MOX_DATA_ORDER_PLANE ? 1 : image.nChannels);
        image.widthStep = (samples * static_cast<int>(image.depth) + 7) / 8 + random.below(5);
        const int size = image.widthStep * image.height * (order == MOX_DATA_ORDER_PLANE ? image.nChannels : 1);
        regions[i] = {0, random.below(image.width), random.below(image.height), random.between(1, 60),
                      random.between(1, 60)};
        if (random.oneIn(2)) image.roi = &regions[i];
        const uint32_t bits = random.bits();
        image.imageSize = drawImageSize(bits, size);
        pixels[i] = std::make_unique<WatchedBlock>(static_cast<size_t>(size), static_cast<uint8_t>(bits));
        image.imageData = pixels[i]->data();
        if (i < 2) continue;
        // Positions, mostly within the source.
        const int side = i == 2 ? images[0].width : images[0].height;
        for (int k = 0; k < size / 4; ++k) {
            const float position = random.oneIn(16) ? static_cast<float>(drawNumber(random))
                                                    : static_cast<float>(random.below(16 * side)) / 16;
            memcpy(image.imageData + 4 * k, &position, sizeof position);
        }
    }
    watchCall(random, &images[0], &images[1], &images[2], &images[3]);
    for (const auto &block : pixels)
        requireThat(block->guardsStand(), "a byte beside the pixels was written");
}

void fuzzOne(Random &random) {
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(watchReport);
    ownForceCpuLevel(static_cast<OwnCpuLevel>(random.below(OWN_LEVELS)));
    if (random.oneIn(3)) {
        runHostile(random);
    } else {
        runFitting(random);
    }
}
