// The box filter. Column sums slide down the image and the window's sum slides along the row, so that a sample costs
// the same whatever the window. Averages are chopped, not rounded: the window's size is a float reciprocal, and the
// product with it is cut off.
#include <algorithm>
#include <climits>
#include <cstring>
#include <initializer_list>

#include "filter/ownblur.h"
#include "frame/ownwindow.h"

namespace {

enum Kind { NARROW, USUAL, WIDE };

struct Blur {
    int nRows;
    int depth;
    Kind kind;
    OwnBlurWindow window;
    char *sums;       // of the columns, for as many rows as are averaged at once, and scratch behind them
    int64_t sumStep;  // bytes
    int64_t sumRows;  // rows of sums
    const OwnBlurRows *kernels;
};

char *sumsAt(const Blur &blur, int64_t y) {
    return blur.sumRows == 1 ? blur.sums : blur.sums + y % blur.sumRows * blur.sumStep;
}

// The column sums of an output row, by those of the row above.
void sumColumns(const Blur &blur, const OwnWindowRows &rows, int64_t k, size_t n) {
    const uint8_t *const *covered = rows.rows + k;
    const bool narrow = blur.kind == NARROW;
    char *sums = sumsAt(blur, rows.y + k);
    if (rows.y + k > 0) {
        const auto slide = narrow ? blur.kernels->slideNarrow : blur.kernels->slide[blur.depth];
        slide(covered[blur.nRows - 1], covered[-1], sumsAt(blur, rows.y + k - 1), sums, n);
        return;
    }
    std::memset(sums, 0, static_cast<size_t>(blur.sumStep));
    for (int r = 0; r < blur.nRows; ++r)
        (narrow ? blur.kernels->addNarrow : blur.kernels->add[blur.depth])(covered[r], sums, n);
}

void average(const Blur &blur, const void *sums, void *out) {
    switch (blur.kind) {
        case NARROW:
            return blur.kernels->averageNarrow(sums, out, blur.window);
        case WIDE:
            return blur.kernels->averageWide[blur.depth](sums, out, blur.window);
        default:
            return blur.kernels->average[blur.depth](sums, out, blur.window);
    }
}

void blurRows(void *filter, const OwnWindowRows &rows) {
    auto &blur = *static_cast<Blur *>(filter);
    const size_t columns = rows.width + static_cast<size_t>(blur.window.nCols) - 1;
    blur.window.width = rows.width;
    blur.window.channels = rows.channels;
    for (int64_t k = 0; k < rows.height; ++k) {
        sumColumns(blur, rows, k, columns * static_cast<size_t>(rows.channels));
        if (blur.depth != OWN_32F) average(blur, sumsAt(blur, rows.y + k), rows.out + k * rows.outStep);
    }
    if (blur.depth == OWN_32F) {
        const OwnBlurBand band = {blur.sums, blur.sumStep, rows.out, rows.outStep, rows.height};
        blur.kernels->averageFloats(band, blur.window);
    }
}

bool hasBadAlpha(const MoxImage *image) {
    if (!image || ownHasCoi(image) || image->alphaChannel == 0) return false;
    return image->alphaChannel != image->nChannels || image->nChannels == 1;
}

bool check(const OwnCaller &caller, const OwnWindow &window, int nCols, int nRows, int anchorX, int anchorY) {
    const auto refuse = [&](MoxStatus status, const char *message) {
        ownReport(caller, status, message);
        return false;
    };
    const MoxImage *src = window.src, *dst = window.dst;
    if (!ownAcceptImage(caller, src) || !ownAcceptImage(caller, dst)) return false;
    if (src->depth != dst->depth) return refuse(MOX_StatusBadArgument, "(srcImage->depth!=dstImage->depth)");
    if (nRows < 0 || nCols < 0) return refuse(MOX_StatusBadArgument, "(nRows<0||nCols<0)");
    if (anchorX < 0 || anchorY < 0) return refuse(MOX_StatusBadArgument, "(anchorX<0||anchorY<0)");
    if (anchorX >= nCols || anchorY >= nRows) return refuse(MOX_StatusBadArgument, "(anchorX>=nCols||anchorY>=nRows)");
    for (const MoxImage *image :
         {dst, src, static_cast<const MoxImage *>(src->maskROI), static_cast<const MoxImage *>(dst->maskROI)}) {
        if (hasBadAlpha(image)) return refuse(MOX_StatusHeaderAlpha, "bad alpha channel's number");
    }
    if (ownChannels(src) != ownChannels(dst)) return refuse(MOX_StatusHeaderChannels, "bad channel's number");
    return true;
}

// By the bits that the sums of a window of samples of 8 bits take: 16, or more than the 24 of a float.
Kind kindOf(unsigned depth, int64_t windowSize) {
    if (depth == MOX_DEPTH_8U && windowSize <= OWN_BLUR_NARROW) return NARROW;
    return ownDepthBits(depth) == 8 && windowSize > ((1 << 24) - 1) / 255 ? WIDE : USUAL;
}

// Rows of sums, and of scratch of the same length. False if memory ran out.
bool allocateSums(const OwnWindow &window, Blur *blur) {
    const int64_t columns = window.width + blur->window.nCols - 1, channels = ownWindowChannels(window);
    const int64_t bytes = blur->kind == NARROW ? 2 : 4;
    // Both come near to 32 bits: their product in bytes goes beyond 64.
    if (columns > INT_MAX / channels) return false;
    blur->sumRows = std::min(window.rowsAtOnce, window.height);
    blur->sumStep = (columns * channels + OWN_BLUR_ROOM) * bytes;
    const bool parts = blur->kind == NARROW && blur->window.nCols > OWN_BLUR_DIRECT;
    const int64_t rows = blur->sumRows + (parts ? OWN_BLUR_PARTS : 0);
    if (blur->sumStep > INT_MAX / rows) return false;
    blur->sums = static_cast<char *>(moxMalloc(static_cast<int>(rows * blur->sumStep)));
    for (int k = 0; parts && k < OWN_BLUR_PARTS; ++k) {
        char *part = blur->sums + (blur->sumRows + k) * blur->sumStep;
        blur->window.parts[k] = reinterpret_cast<uint16_t *>(part);
    }
    return blur->sums != nullptr;
}

// False if memory ran out.
bool run(const OwnCaller &caller, OwnWindow *window, Blur *blur) {
    window->rowsAtOnce = blur->depth == OWN_32F ? OWN_BLUR_ROWS : 1;
    if (!allocateSums(*window, blur)) return false;
    window->function = blurRows;
    window->filter = blur;
    const OwnWindowResult result = ownRunWindow(*window);
    moxFree(blur->sums);
    if (result == OWN_WINDOW_NO_TILE) {
        ownReport(caller, MOX_StatusBadArgument, "(dstImage->tileInfo->tileData == 0)");
    }
    return result != OWN_WINDOW_NO_ROWS;
}

}  // namespace

void MOX_CALL moxBlur(MoxImage *srcImage, MoxImage *dstImage, int nCols, int nRows, int anchorX, int anchorY) {
    const OwnCaller caller = OWN_CALLER("moxBlur");
    if (nCols == 1 && nRows == 1) {
        moxCopy(srcImage, dstImage);
        return;
    }
    OwnWindow window = {};
    window.src = srcImage;
    window.dst = dstImage;
    if (!check(caller, window, nCols, nRows, anchorX, anchorY)) return;
    const int64_t size = static_cast<int64_t>(nCols) * nRows;
    Blur blur = {};
    blur.nRows = nRows;
    blur.depth = ownDepthIndex(srcImage->depth);
    blur.kind = kindOf(srcImage->depth, size);
    blur.window.nCols = nCols;
    blur.window.scale = 1.0f / static_cast<float>(size);
    if (blur.kind == NARROW) blur.window.division = ownBlurDivision(static_cast<int>(size));
    blur.kernels = &ownBlurRows();
    window.left = anchorX;
    window.top = anchorY;
    window.right = nCols - 1 - anchorX;
    window.bottom = nRows - 1 - anchorY;
    window.chop = true;

    const OwnCommonMask mask(caller, srcImage, dstImage);
    if (mask.endsCall()) return;
    window.mask = mask.image();
    bool complete = !mask.lacksMemory();
    ownWindowSize(&window);
    if (complete && window.width > 0 && window.height > 0) complete = run(caller, &window, &blur);
    if (!complete) ownReport(caller, MOX_StatusNoMemory, "Allocation failure");
}
