// The test image: rings whose frequency grows with the distance from the centre (B. Jaehne, "Digital Image
// Processing").
#include <algorithm>
#include <climits>
#include <cstring>

#include "core/owncpu.h"
#include "core/ownfpcontrol.h"
#include "core/ownmath.h"
#include "core/ownseries.h"
#include "synth/ownring.h"

OWN_DECLARE_LEVELS(OwnRingRows, ringRows)

namespace {

constexpr int ALIGN = 32;

const OwnRingRows &ringRows() {
    static constexpr const OwnRingRows *tables[] = OWN_LEVEL_TABLES(ringRows);
    return *tables[ownCpuLevel()];
}

// What the header would be refused for.
MoxStatus findFault(unsigned depth, int width, int height) {
    if (width < 1 || height < 1) return MOX_StatusHeaderSize;
    if (ownDepthIndex(depth) < 0) return MOX_StatusHeaderDepth;
    const int64_t row = (int64_t{width} * ownDepthBits(depth) + 8 * ALIGN - 1) / (8 * ALIGN) * ALIGN;
    return row > INT_MAX || row * height > INT_MAX ? MOX_StatusHeaderSize : MOX_StatusNoError;
}

// The image with its pixels 0, or null after a report.
MoxImage *createImage(const OwnCaller &caller, int depth, int width, int height) {
    MoxImage *image = moxCreateImageHeader(1, 0, depth, "GRAY", "GRAY", MOX_DATA_ORDER_PIXEL, MOX_ORIGIN_TL, ALIGN,
                                           width, height, nullptr, nullptr, nullptr, nullptr);
    if (!image) {
        ownReport(caller, MOX_StatusNoMemory, "Not enough memory to allocate header for ImageJaehne");
        return nullptr;
    }
    if (image->depth == MOX_DEPTH_32F) {
        moxAllocateImageFP(image, 1, 0);
    } else {
        moxAllocateImage(image, 1, 0);
    }
    if (image->imageData) return image;
    ownReport(caller, MOX_StatusNoMemory, "Not enough memory to allocate imageData for ImageJaehne");
    moxDeallocate(image, MOX_FreeHeader);
    return nullptr;
}

// Angles that are too large for vectors, which very wide images have.
void findLargeSines(const OwnRing &ring, int64_t x, double *sines, int64_t n) {
    for (int64_t i = 0; i < n; ++i) {
        const double dx = static_cast<double>(x + i) - ring.cx;
        sines[i] = ownSine((dx * dx + ring.dy2) * 6.283185307179586 / ring.height4);
    }
}

void drawRow(const OwnRing &ring, int width, unsigned depth, char *row) {
    constexpr int64_t STRETCH = 256;
    double sines[STRETCH];
    // The first angle is the largest.
    const bool large = (ring.cx * ring.cx + ring.dy2) * 6.283185307179586 / ring.height4 >= OWN_TURNS_END;
    const OwnRingStore store = ringRows().store[ownDepthIndex(depth)];
    for (int64_t x = 0; x < width; x += STRETCH) {
        const int64_t n = std::min(STRETCH, width - x);
        if (large) {
            findLargeSines(ring, x, sines, n);
        } else {
            OwnRing rest = ring;
            rest.cx -= static_cast<double>(x);
            ringRows().sines(rest, sines, static_cast<size_t>(n));
        }
        store(sines, row + x * ownDepthBits(depth) / 8, static_cast<size_t>(n));
    }
}

}  // namespace

MoxImage *MOX_CALL moxCreateImageJaehne(int depth, int width, int height) {
    const OwnCaller caller = OWN_CALLER("moxCreateImageJaehne");
    if (const MoxStatus fault = findFault(static_cast<unsigned>(depth), width, height)) {
        ownReport(caller, fault, moxErrorStr(fault));
        return nullptr;
    }
    MoxImage *image = createImage(caller, depth, width, height);
    if (!image) return nullptr;
    const OwnNearestRounding rounding;
    const double cy = (height - 1) * 0.5;
    for (int y = 0; y < height; ++y) {
        char *row = image->imageData + static_cast<int64_t>(y) * image->widthStep;
        // The lower half is the upper one's mirror image.
        if (y > height - 1 - y) {
            const int64_t upper = height - 1 - y;
            std::memcpy(row, image->imageData + upper * image->widthStep, static_cast<size_t>(image->widthStep));
            continue;
        }
        const double dy = y - cy;
        drawRow({(width - 1) * 0.5, dy * dy, static_cast<double>(4 * int64_t{height})}, width, image->depth, row);
    }
    return image;
}
