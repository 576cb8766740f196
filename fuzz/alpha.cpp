// Composition and multiplication with opacities: headers with anything in their fields in all six places, one image in
// several of them, and images that lie across one another in memory. A result or a named report, and no byte touched
// that the caller did not promise.
#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "core/owncpu.h"
#include "hostile.h"
#include "mox.h"
#include "support/allocations.h"
#include "target.h"

static int faults;  // reports that store a status

static MoxStatus MOX_CALL watchReport(MoxStatus status, const char *function, const char *message, const char *file,
                                      int line) {
    requireThat(function && strncmp(function, "mox", 3) == 0, "a report without a function's name");
    requireThat(message && file && !strchr(file, '/') && line > 0, "a report without message or place");
    if (status != MOX_StatusBacktrace && status != MOX_StatusAutotrace) ++faults;
    return status;
}

constexpr int IMAGES = 6;

struct Call {
    int function;
    MoxImage *a, *b, *dst, *alphaA, *alphaB, *alphaDst;
    int type, premulAlpha, divideMode, opacityA, opacityB;

    Call(Random &random, MoxImage *const *images) : function(random.below(5)) {
        // Mostly each in its own place.
        const auto pick = [&](int own) { return images[random.oneIn(6) ? random.below(IMAGES) : own]; };
        a = pick(0);
        b = pick(1);
        dst = pick(2);
        alphaA = random.oneIn(2) ? nullptr : pick(3);
        alphaB = random.oneIn(2) ? nullptr : pick(4);
        alphaDst = random.oneIn(2) ? nullptr : pick(5);
        const auto one = [&](int choices) { return random.oneIn(40) ? drawInt(random) : random.below(choices); };
        type = one(6);
        premulAlpha = one(2);
        divideMode = one(2);
        opacityA = random.oneIn(2) ? drawInt(random) : random.between(-1, 256);
        opacityB = random.oneIn(2) ? drawInt(random) : random.between(-1, 256);
    }
    // What the call works on is too much for one input.
    bool tooLarge() const {
        int64_t width = INT32_MAX, height = INT32_MAX;
        std::vector<const MoxImage *> taken = {dst};
        if (function != 2) taken.push_back(a);
        if (function != 2 && function != 4) taken.push_back(b);
        if (function == 0) taken.insert(taken.end(), {alphaA, alphaB, alphaDst});
        for (const MoxImage *image : taken) {
            if (!image) continue;
            const MoxROI whole = {0, 0, 0, image->width, image->height}, *roi = image->roi ? image->roi : &whole;
            width = std::min({width, int64_t{roi->width}, int64_t{image->width} - roi->xOffset});
            height = std::min({height, int64_t{roi->height}, int64_t{image->height} - roi->yOffset});
        }
        return width > 0 && height > 0 && width * height > 1 << 14;
    }
    void run() const {
        switch (function) {
            case 0:
                return moxAlphaComposite(a, b, dst, type, alphaA, alphaB, alphaDst, premulAlpha, divideMode);
            case 1:
                return moxAlphaCompositeC(a, b, dst, type, opacityA, opacityB, premulAlpha, divideMode);
            case 2:
                return moxPreMultiplyAlpha(dst, opacityA);
            case 3:
                return moxMultiplyScale(a, b, dst);
            default:
                return moxMultiplySScale(a, dst, opacityA);
        }
    }
};

static void watchCall(Random &random, const Call &call) {
    if (!random.oneIn(8)) moxSetErrStatus(MOX_StatusNoError);
    faults = 0;
    AllocationWindow window(random.oneIn(4) ? random.between(1, 8) : 0);
    call.run();
    window.close();
    requireThat(window.live() == 0, "memory was not given back");
    requireThat(faults == 0 || moxGetErrStatus() < 0, "a fault that is not in the status");
}

static void runHostile(Random &random, unsigned depth) {
    HostileImages images(random, IMAGES, depth);
    if (images.tooLarge(0)) return;
    MoxImage *headers[IMAGES];
    for (int i = 0; i < IMAGES; ++i)
        headers[i] = images.header(i);
    for (int calls = random.between(1, 3); calls > 0; --calls) {
        const Call call(random, headers);
        if (call.tooLarge()) continue;
        images.begin(random.oneIn(2) ? 0 : random.between(1, 40));
        watchCall(random, call);
        images.requireNoHarm("an operation with opacities");
    }
}

// Headers that are right, of images that overlap as they like: results may be anything, but lie within them.
static void runOverlapping(Random &random, unsigned depth) {
    const int bytes = depth == MOX_DEPTH_8U ? 1 : 2, colours = random.between(1, 4);
    MoxImage images[IMAGES] = {};
    MoxROI regions[IMAGES];
    int64_t offsets[IMAGES], end = 0;
    for (int i = 0; i < IMAGES; ++i) {
        MoxImage &image = images[i];
        image.headerSize = static_cast<int>(sizeof image);
        image.depth = depth;
        image.nChannels = colours + 1;
        image.alphaChannel = i > 2 && random.oneIn(3) ? 0 : colours + 1;
        image.dataOrder = random.below(2);
        image.align = 4;
        image.width = random.between(1, 150);
        image.height = random.between(1, 6);
        image.widthStep = image.width * bytes * (image.dataOrder ? 1 : image.nChannels) + bytes * random.below(3);
        image.imageSize = image.widthStep * image.height * (image.dataOrder ? image.nChannels : 1);
        offsets[i] = random.oneIn(2) ? random.below(200) : 0;
        end = std::max(end, offsets[i] + image.imageSize);
        regions[i] = {0, random.below(4), random.below(2), 1000, 1000};
        if (random.oneIn(2)) image.roi = &regions[i];
    }
    const uint32_t bits = random.bits();
    const WatchedBlock block(static_cast<size_t>(end), static_cast<uint8_t>(bits));
    MoxImage *headers[IMAGES];
    for (int i = 0; i < IMAGES; ++i) {
        // Some end where the memory ends.
        images[i].imageData = block.data() + (random.oneIn(3) ? end - images[i].imageSize : offsets[i]);
        images[i].imageSize = drawImageSize(bits * (2u * static_cast<uint32_t>(i) + 1), images[i].imageSize);
        headers[i] = &images[i];
    }
    watchCall(random, Call(random, headers));
    requireThat(block.guardsStand(), "a byte beside the pixels was written");
}

void fuzzOne(Random &random) {
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(watchReport);
    ownForceCpuLevel(static_cast<OwnCpuLevel>(random.below(OWN_LEVELS)));
    const unsigned depth = random.oneIn(2) ? MOX_DEPTH_8U : MOX_DEPTH_16U;
    if (random.oneIn(4)) {
        runOverlapping(random, depth);
    } else {
        runHostile(random, depth);
    }
}
