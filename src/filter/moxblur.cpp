// The box filter. Column sums slide down the image and the window's sum slides along the row, so that a sample costs
// the same whatever the window. Averages are chopped, not rounded: the window's size is a float reciprocal, and the
// product with it is cut off.
#include <climits>
#include <cstring>
#include <initializer_list>

#include "filter/ownblur.h"
#include "frame/ownwindow.h"

namespace {

struct Blur {
    int nCols, nRows;
    float scale;
    int depth;
    bool wide;
    void *sums;  // of the columns
    const OwnBlurRows *kernels;
};

void blurRow(void *filter, const OwnWindowRow &row) {
    const auto &blur = *static_cast<const Blur *>(filter);
    const size_t columns = row.width + static_cast<size_t>(blur.nCols) - 1;
    const size_t n = columns * static_cast<size_t>(row.channels);
    if (row.y == 0) {
        std::memset(blur.sums, 0, (n + OWN_BLUR_ROOM) * 4);
        for (int k = 0; k < blur.nRows; ++k)
            blur.kernels->add[blur.depth](row.rows[k], blur.sums, n);
    } else {
        blur.kernels->slide[blur.depth](row.rows[blur.nRows - 1], row.rows[-1], blur.sums, n);
    }
    const auto &average = blur.wide ? blur.kernels->averageWide : blur.kernels->average;
    average[blur.depth](blur.sums, row.out, {row.width, row.channels, blur.nCols, blur.scale});
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

// Whether window sums of samples of 8 bits fit the 24 bits of a float.
bool sumsAreWide(unsigned depth, int64_t windowSize) {
    return ownDepthBits(depth) == 8 && windowSize > ((1 << 24) - 1) / 255;
}

// The channels of a pass of the window frame, which takes planes one by one.
int channelsOfPass(const OwnWindow &window) {
    const bool pixels = window.src->dataOrder == MOX_DATA_ORDER_PIXEL && window.dst->dataOrder == MOX_DATA_ORDER_PIXEL;
    return pixels ? ownChannels(window.src) : 1;
}

// False if memory ran out.
bool run(const OwnCaller &caller, OwnWindow *window, Blur *blur) {
    const int64_t columns = window->width + blur->nCols - 1;
    const int64_t sums = columns * channelsOfPass(*window) + OWN_BLUR_ROOM;
    blur->sums = sums > INT_MAX ? nullptr : moxMalloc(static_cast<int>(sums <= INT_MAX / 4 ? sums * 4 : 0));
    if (!blur->sums) return false;
    window->function = blurRow;
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
    blur.nCols = nCols;
    blur.nRows = nRows;
    blur.scale = 1.0f / static_cast<float>(size);
    blur.depth = ownDepthIndex(srcImage->depth);
    blur.wide = sumsAreWide(srcImage->depth, size);
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
