// Two-dimensional convolution with one kernel or several, whose results are combined. Each kernel is computed in the
// narrowest accumulator that its sums cannot leave; that choice is part of the result, since what follows (squares,
// shifts, combining) is done in the accumulator's own arithmetic.
#include <algorithm>
#include <climits>

#include "filter/ownconv.h"
#include "frame/ownwindow.h"

namespace {

constexpr int MAX_KERNELS = 10;

// ------------------------------------------------------------------------------------------------ kernels at work

struct Kernel {
    OwnConvKernel view;
    bool real;  // values are float
    int shift;
    OwnConvClass accumulator;
    bool bytes;     // unsigned bytes, coefficients of 8 bits, 16-bit sums
    bool together;  // its taps come in twos, of columns side by side
    size_t taps;    // where its taps begin
    size_t tapCount;

    int intValue(int64_t i) const { return static_cast<const int *>(view.values)[i]; }
    float value(int64_t i) const {
        return real ? static_cast<const float *>(view.values)[i] : static_cast<float>(intValue(i));
    }
    int64_t size() const { return static_cast<int64_t>(view.nCols) * view.nRows; }
};

// A tap's place in the window: row, and pixels from the left end.
struct Place {
    int64_t row, column;
};

struct Convolution {
    const OwnConvSums *sums;
    const OwnConvRows *rows;
    int depth, bytes;
    int method;
    Kernel kernels[MAX_KERNELS];
    int count;
    bool mergesInt;
    bool storesBytes;  // the only kernel's sums, and nothing is done with them but a shift
    OwnConvTap *taps;  // of all kernels
    Place *places;
};

struct PixelRange {
    double low, high;
};
PixelRange rangeOf(int depth) {
    switch (depth) {
        case OWN_1U:
            return {0, 1};
        case OWN_8U:
            return {0, 255};
        case OWN_8S:
            return {-128, 127};
        case OWN_16U:
            return {0, 65535};
        default:
            return {-32768, 32767};
    }
}

// The lowest and highest sums decide. With samples of 8 bits, sums within 16 bits have products within them.
OwnConvClass accumulatorOf(const Kernel &kernel, int depth) {
    if (depth == OWN_32S || depth == OWN_32F) return OWN_CONV_FLOAT;
    const PixelRange range = rangeOf(depth);
    double low = 0, high = 0;
    for (int64_t i = 0; i < kernel.size(); ++i) {
        const int value = kernel.intValue(i);
        if (value < -32768 || value > 32767) return OWN_CONV_FLOAT;
        low += value * (value > 0 ? range.low : range.high);
        high += value * (value > 0 ? range.high : range.low);
    }
    const bool wide = depth == OWN_16U || depth == OWN_16S;
    if (!wide && low > -32768 && high < 32767) return OWN_CONV_16;
    return low > -2147483648.0 && high < 2147483647.0 ? OWN_CONV_32 : OWN_CONV_FLOAT;
}

// Whether the kernel's coefficients and an image's samples are bytes that one instruction can multiply.
bool fitsBytes(const Kernel &kernel, int depth) {
    if (kernel.accumulator != OWN_CONV_16 || (depth != OWN_8U && depth != OWN_1U)) return false;
    for (int64_t i = 0; i < kernel.size(); ++i) {
        if (kernel.intValue(i) < -128 || kernel.intValue(i) > 127) return false;
    }
    return true;
}

// Taps in the order in which their products are added: row by row, at 32F two rows at a time and column by column
// within them. Zeros change no sum but one of floats that may be infinite.
template <class Visit>
void visitTaps(const Kernel &kernel, int depth, Visit visit) {
    const int height = depth == OWN_32F ? 2 : 1;
    const int nCols = kernel.view.nCols, nRows = kernel.view.nRows;
    for (int top = 0; top < nRows; top += std::min(height, nRows - top)) {
        for (int u = 0; u < nCols; ++u) {
            for (int v = top; v < std::min(top + height, nRows); ++v) {
                const int64_t i = static_cast<int64_t>(v) * nCols + u;
                if (kernel.real || kernel.intValue(i) != 0) visit(u, v, i);
            }
        }
    }
}

// Taps in twos, of two columns each: an odd column at the end is paired with the one before it, which counts for 0.
template <class Visit>
void visitTogether(const Kernel &kernel, Visit visit) {
    const int nCols = kernel.view.nCols, nRows = kernel.view.nRows;
    for (int v = 0; v < nRows; ++v) {
        const int64_t row = static_cast<int64_t>(v) * nCols;
        for (int u = 0; u < nCols; u += 2) {
            const bool last = u + 1 == nCols;
            const int first = last ? u - 1 : u;
            const int values[] = {last ? 0 : kernel.intValue(row + u), kernel.intValue(row + first + 1)};
            if (values[0] == 0 && values[1] == 0) continue;
            visit(first, v, values[0]);
            visit(first + 1, v, values[1]);
        }
    }
}

// Both coefficients of each pair of taps side by side, the first one below.
void pairTaps(OwnConvTap *taps, size_t count) {
    for (size_t t = 0; t < count; t += 2) {
        const auto first = static_cast<uint32_t>(taps[t].value);
        const uint32_t second = t + 1 < count ? static_cast<uint32_t>(taps[t + 1].value) : 0;
        taps[t].pair = (first & 0xFFFF) | second << 16;
        taps[t].bytePair = static_cast<uint16_t>((first & 0xFF) | (second & 0xFF) << 8);
    }
}

// Where the taps' samples are for an output row.
void aimTaps(const Convolution &c, const uint8_t *const *rows, int channels) {
    for (int k = 0; k < c.count; ++k) {
        const size_t end = c.kernels[k].taps + c.kernels[k].tapCount;
        for (size_t t = end; t-- > c.kernels[k].taps;) {
            c.taps[t].row = rows[c.places[t].row] + c.places[t].column * channels * c.bytes;
            c.taps[t].next = c.taps[t + 1 < end ? t + 1 : t].row;
        }
    }
}

void placeTaps(Convolution *convolution, const OwnWindow &window) {
    size_t next = 0;
    for (int k = 0; k < convolution->count; ++k) {
        Kernel &kernel = convolution->kernels[k];
        kernel.taps = next;
        const auto place = [&](int u, int v, int value, float real) {
            convolution->taps[next] = {nullptr, nullptr, value, real, 0, 0};
            convolution->places[next] = {window.top - kernel.view.anchorY + v, window.left - kernel.view.anchorX + u};
            ++next;
        };
        if (kernel.together) {
            visitTogether(kernel, [&](int u, int v, int value) { place(u, v, value, 0); });
        } else {
            visitTaps(kernel, convolution->depth, [&](int u, int v, int64_t i) {
                place(u, v, kernel.real ? 0 : kernel.intValue(i), kernel.value(i));
            });
        }
        kernel.tapCount = next - kernel.taps;
        pairTaps(convolution->taps + kernel.taps, kernel.tapCount);
    }
}

// ----------------------------------------------------------------------------------------------------------- rows

constexpr size_t SEGMENT = 1024;

OwnConvMerge mergeOf(int method, bool first) {
    switch (method) {
        case MOX_COMBINE_SUMSQ:
        case MOX_COMBINE_SUMSQROOT:
            return first ? OWN_MERGE_STORE_SQUARE : OWN_MERGE_ADD_SQUARE;
        case MOX_COMBINE_MAX:
            return first ? OWN_MERGE_STORE : OWN_MERGE_MAX;
        case MOX_COMBINE_MIN:
            return first ? OWN_MERGE_STORE : OWN_MERGE_MIN;
        default:
            return first ? OWN_MERGE_STORE : OWN_MERGE_ADD;
    }
}

void sumSegment(const Convolution &c, const Kernel &kernel, size_t from, void *sums, size_t n) {
    const auto sum = kernel.bytes ? c.sums->sumBytes : c.sums->sum[kernel.accumulator][c.depth];
    sum(c.taps + kernel.taps, kernel.tapCount, from, sums, n);
    if (kernel.shift != 0) c.rows->shift[kernel.accumulator](sums, n, kernel.shift);
}

// What the method makes of the sums of a single kernel.
void finishSums(const Convolution &c, void *sums, size_t n) {
    const OwnConvClass accumulator = c.kernels[0].accumulator;
    if (c.method == MOX_COMBINE_SUMSQ) c.rows->square[accumulator](sums, n);
    if (c.method == MOX_COMBINE_SUMSQROOT) c.rows->absolute[accumulator](sums, n);
}

void runOne(const Convolution &c, size_t from, uint8_t *out, size_t n) {
    const OwnConvClass accumulator = c.kernels[0].accumulator;
    alignas(64) uint8_t kept[SEGMENT * 4];
    uint8_t *sums = c.depth == OWN_32F ? out : kept;
    sumSegment(c, c.kernels[0], from, sums, n);
    finishSums(c, sums, n);
    if (sums != out) c.rows->store[accumulator][c.depth](sums, out, n);
}

// One kernel on bytes.
void storeBytes(const Convolution &c, uint8_t *out, size_t n) {
    const Kernel &kernel = c.kernels[0];
    const OwnConvBytes how = {kernel.shift, static_cast<uint8_t>(c.depth == OWN_1U ? 1 : 255)};
    c.sums->storeBytes[kernel.together](c.taps + kernel.taps, kernel.tapCount, 0, how, out, n);
}

// Two kernels of 16-bit sums, and the root of their squares' sum.
void runGradient(const Convolution &c, size_t from, uint8_t *out, size_t n) {
    alignas(64) uint8_t across[SEGMENT * 2];
    alignas(64) uint8_t down[SEGMENT * 2];
    sumSegment(c, c.kernels[0], from, across, n);
    sumSegment(c, c.kernels[1], from, down, n);
    c.rows->rootOfTwo(across, down, down, n);
    c.rows->store[OWN_CONV_16][c.depth](down, out, n);
}

void runSeveral(const Convolution &c, size_t from, uint8_t *out, size_t n) {
    alignas(64) uint8_t sums[SEGMENT * 4];
    alignas(64) uint8_t merged[SEGMENT * 4];
    for (int k = 0; k < c.count; ++k) {
        sumSegment(c, c.kernels[k], from, sums, n);
        const OwnConvMerge how = mergeOf(c.method, k == 0);
        const auto merge = c.mergesInt ? c.rows->mergeInt[how] : c.rows->mergeFloat[how][c.kernels[k].accumulator];
        merge(sums, merged, n);
    }
    if (c.method == MOX_COMBINE_SUMSQROOT) (c.mergesInt ? c.rows->rootInt : c.rows->rootFloat)(merged, n);
    c.rows->store[c.mergesInt ? OWN_CONV_32 : OWN_CONV_FLOAT][c.depth](merged, out, n);
}

void convolveRow(const Convolution &c, const OwnWindowRows &rows, int64_t k) {
    aimTaps(c, rows.rows + k, rows.channels);
    const size_t n = rows.width * static_cast<size_t>(rows.channels);
    uint8_t *out = rows.out + k * rows.outStep;
    if (c.storesBytes) return storeBytes(c, out, n);
    const bool gradient = c.count == 2 && c.mergesInt && c.method == MOX_COMBINE_SUMSQROOT;
    const auto run = c.count == 1 ? runOne : gradient ? runGradient : runSeveral;
    for (size_t i = 0; i < n; i += SEGMENT)
        run(c, i, out + i * static_cast<size_t>(c.bytes), std::min(SEGMENT, n - i));
}

// A float kernel alone, over as many rows as go side by side.
void convolveField(const Convolution &c, const OwnWindowRows &rows) {
    const OwnConvKernel &view = c.kernels[0].view;
    const size_t n = rows.width * static_cast<size_t>(rows.channels);
    const size_t step = static_cast<size_t>(rows.channels) * sizeof(float);
    const OwnConvField field = {rows.rows, 0, step, view.nCols, view.nRows, static_cast<const float *>(view.values)};
    c.sums->sumField(field, rows.out, rows.outStep, n);
    for (int64_t k = 0; k < rows.height; ++k)
        finishSums(c, rows.out + k * rows.outStep, n);
}

void convolveRows(void *filter, const OwnWindowRows &rows) {
    const auto &c = *static_cast<const Convolution *>(filter);
    if (rows.height == OWN_CONV_ROWS) return convolveField(c, rows);
    for (int64_t k = 0; k < rows.height; ++k)
        convolveRow(c, rows, k);
}

// -------------------------------------------------------------------------------------------------------- the worker

// DONE also where the images have been refused with a report.
enum Outcome { DONE, NO_CHANNEL, DIFFERENT_CHANNELS, NO_MEMORY, COI_MISSING, NO_TILE };

Outcome checkChannels(const MoxImage *src, const MoxImage *dst) {
    if (ownHasCoi(src) != ownHasCoi(dst)) return COI_MISSING;
    if (ownHasCoi(src)) return DONE;
    if (ownChannels(src) == 0 || ownChannels(dst) == 0) return NO_CHANNEL;
    return ownChannels(src) == ownChannels(dst) ? DONE : DIFFERENT_CHANNELS;
}

// The size of the images' regions, each within its mask.
void limitSize(OwnWindow *window) {
    ownWindowSize(window);
    for (const MoxImage *mask : {window->src->maskROI, window->dst->maskROI}) {
        if (!mask) continue;
        OwnImageRect rect;
        ownImageRect(mask, &rect);
        window->width = std::min(window->width, rect.width);
        window->height = std::min(window->height, rect.height);
    }
}

// A constant beyond the depth's range, put there by hand.
int clampedConstant(const MoxImage *image, int constant) {
    switch (ownDepthIndex(image->depth)) {
        case OWN_1U:
            return constant < 1 ? 0 : 1;
        case OWN_32S:
        case OWN_32F:
            return constant;
        default:
            break;
    }
    const PixelRange range = rangeOf(ownDepthIndex(image->depth));
    return std::clamp(constant, static_cast<int>(range.low), static_cast<int>(range.high));
}

// True if a constant had to be clamped.
bool ownClampBorderConst(MoxImage *image) {
    bool changed = false;
    for (int &constant : image->borderConst) {
        const int clamped = clampedConstant(image, constant);
        changed = changed || clamped != constant;
        constant = clamped;
    }
    return changed;
}

// A source whose border constants are clamped. The callback of its tiles sees the caller's own header all the same.
struct ClampedImage {
    MoxImage header;
    MoxTileInfo tiles;
};

int MOX_CALL forwardRequest(MoxImage *image, int xIndex, int yIndex, int mode) {
    auto *own = static_cast<MoxImage *>(image->tileInfo->id);
    own->tileInfo->tileData = image->tileInfo->tileData;
    const int result = own->tileInfo->callBack(own, xIndex, yIndex, mode);
    image->tileInfo->tileData = own->tileInfo->tileData;
    return result;
}

// The image itself, if there is nothing to clamp.
MoxImage *clampSource(MoxImage *image, ClampedImage *clamped) {
    clamped->header = *image;
    if (!ownClampBorderConst(&clamped->header)) return image;
    if (image->tileInfo) {
        clamped->tiles = *image->tileInfo;
        clamped->tiles.callBack = forwardRequest;
        clamped->tiles.id = image;
        clamped->header.tileInfo = &clamped->tiles;
    }
    return &clamped->header;
}

void setReach(OwnWindow *window, const Convolution &convolution) {
    for (int k = 0; k < convolution.count; ++k) {
        const OwnConvKernel &view = convolution.kernels[k].view;
        window->left = std::max<int64_t>(window->left, view.anchorX);
        window->top = std::max<int64_t>(window->top, view.anchorY);
        window->right = std::max<int64_t>(window->right, view.nCols - view.anchorX - 1);
        window->bottom = std::max<int64_t>(window->bottom, view.nRows - view.anchorY - 1);
    }
}

// A kernel on bytes alone goes straight to the destination, where there are instructions for that.
void chooseForm(Convolution *convolution, const OwnWindow &window) {
    Kernel &kernel = convolution->kernels[0];
    const bool plain = convolution->method != MOX_COMBINE_SUMSQ && convolution->method != MOX_COMBINE_SUMSQROOT;
    convolution->storesBytes = convolution->count == 1 && kernel.bytes && plain && convolution->sums->storeBytes[0];
    kernel.together = convolution->storesBytes && kernel.view.nCols > 1 && ownWindowChannels(window) == 1;
}

Outcome runMasked(OwnWindow *window, Convolution *convolution) {
    // Taps that come in twos may be one more in each row.
    int64_t taps = 0;
    for (int k = 0; k < convolution->count; ++k)
        taps += convolution->kernels[k].size() + convolution->kernels[k].view.nRows;
    constexpr int64_t tapBytes = sizeof(OwnConvTap) + sizeof(Place);
    if (taps > INT_MAX / tapBytes) return NO_MEMORY;
    void *memory = moxMalloc(static_cast<int>(taps * tapBytes));
    if (!memory) return NO_MEMORY;
    convolution->places = static_cast<Place *>(memory);
    convolution->taps = reinterpret_cast<OwnConvTap *>(convolution->places + taps);
    chooseForm(convolution, *window);
    setReach(window, *convolution);
    placeTaps(convolution, *window);
    window->function = convolveRows;
    window->rowsAtOnce = convolution->depth == OWN_32F && convolution->count == 1 ? OWN_CONV_ROWS : 1;
    window->filter = convolution;
    const OwnWindowResult result = ownRunWindow(*window);
    moxFree(memory);
    return result == OWN_WINDOW_NO_ROWS ? NO_MEMORY : result == OWN_WINDOW_NO_TILE ? NO_TILE : DONE;
}

Outcome run(const OwnCaller &caller, MoxImage *src, MoxImage *dst, Convolution *convolution) {
    OwnWindow window = {};
    window.src = src;
    window.dst = dst;
    limitSize(&window);
    if (window.width < 1 || window.height < 1) return DONE;
    if (const Outcome fault = checkChannels(src, dst)) return fault;

    ClampedImage clamped;
    window.src = clampSource(src, &clamped);
    if (dst == src) window.dst = window.src;
    const OwnCommonMask mask(caller, src, dst);
    if (mask.lacksMemory()) return NO_MEMORY;
    if (mask.endsCall()) return DONE;
    window.mask = mask.image();
    return runMasked(&window, convolution);
}

// ------------------------------------------------------------------------------------------------------------ checks

bool refuse(const OwnCaller &caller, MoxStatus status, const char *message) {
    ownReport(caller, status, message);
    return false;
}

bool hasBadOffsets(const MoxImage *image) {
    const MoxROI *roi = image->roi;
    return roi &&
           (roi->xOffset < 0 || roi->yOffset < 0 || roi->xOffset >= image->width || roi->yOffset >= image->height);
}

template <class Record>
bool check(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, Record *const *kernel, int nKernels,
           int combineMethod) {
    if (!ownAcceptImage(caller, src) || !ownAcceptImage(caller, dst)) return false;
    if (hasBadOffsets(src) || hasBadOffsets(dst)) return refuse(caller, MOX_StatusHeaderRoiOffset, "Bad ROI offsets");
    constexpr MoxStatus bad = MOX_StatusBadArgument;
    if (!kernel) return refuse(caller, bad, "kernel==0");
    if (nKernels < 1 || nKernels > MAX_KERNELS) return refuse(caller, bad, "(nKernels<=0 || nKernels>10)");
    if (nKernels > 1 && (combineMethod < MOX_COMBINE_SUM || combineMethod > MOX_COMBINE_MIN))
        return refuse(caller, bad, "Inadmissible method");
    for (int i = 0; i < nKernels; ++i) {
        if (!kernel[i]) return refuse(caller, bad, "kernel[i]==0");
        if (ownBadKernel(ownConvKernel(kernel[i]))) return refuse(caller, bad, "Bad kernel structure");
    }
    if (src->depth != dst->depth || src->dataOrder != dst->dataOrder) return refuse(caller, bad, "Uncompatible images");
    return true;
}

void report(const OwnCaller &caller, Outcome outcome) {
    switch (outcome) {
        case DONE:
            return;
        case NO_CHANNEL:
            refuse(caller, MOX_StatusBadArgument, "No channel to operate");
            return;
        case DIFFERENT_CHANNELS:
            refuse(caller, MOX_StatusBadArgument, "Uncompatible images");
            return;
        case NO_MEMORY:
            refuse(caller, MOX_StatusNoMemory, "Allocation failure");
            return;
        case COI_MISSING:
            refuse(caller, MOX_StatusBadArgument, "One of the COI is not defined");
            return;
        default:
            refuse(caller, MOX_StatusBadArgument, "Internal error");
            return;
    }
}

Convolution makeConvolution(const MoxImage *image, int nKernels, int combineMethod) {
    Convolution convolution = {};
    convolution.sums = &ownConvSums();
    convolution.rows = &ownConvRows();
    convolution.depth = ownDepthIndex(image->depth);
    convolution.bytes = std::max(ownDepthBytes(image->depth), 1);
    convolution.method = combineMethod;
    convolution.count = nKernels;
    return convolution;
}

}  // namespace

void MOX_CALL moxConvolve2D(MoxImage *srcImage, MoxImage *dstImage, MoxConvKernel **kernel, int nKernels,
                            int combineMethod) {
    const OwnCaller caller = OWN_CALLER("moxConvolve2D");
    if (!check(caller, srcImage, dstImage, kernel, nKernels, combineMethod)) return;
    if (srcImage->depth == MOX_DEPTH_32F) {
        refuse(caller, MOX_StatusBadArgument, "32F images can be processed only with FP kernel");
        return;
    }
    Convolution convolution = makeConvolution(srcImage, nKernels, combineMethod);
    convolution.mergesInt = true;
    for (int i = 0; i < nKernels; ++i) {
        Kernel &k = convolution.kernels[i];
        k.view = ownConvKernel(kernel[i]);
        // Shifts from 32 on, and to the left, have no defined result; this one leaves the sign.
        k.shift = kernel[i]->nShiftR >= 0 ? std::min(kernel[i]->nShiftR, 31) : 31;
        k.accumulator = accumulatorOf(k, convolution.depth);
        k.bytes = fitsBytes(k, convolution.depth);
        convolution.mergesInt = convolution.mergesInt && k.accumulator == OWN_CONV_16;
    }
    report(caller, run(caller, srcImage, dstImage, &convolution));
}

void MOX_CALL moxConvolve2DFP(MoxImage *srcImage, MoxImage *dstImage, MoxConvKernelFP **kernel, int nKernels,
                              int combineMethod) {
    const OwnCaller caller = OWN_CALLER("moxConvolve2DFP");
    if (!check(caller, srcImage, dstImage, kernel, nKernels, combineMethod)) return;
    if (srcImage->depth != MOX_DEPTH_32F) {
        refuse(caller, MOX_StatusBadArgument, "FP kernel can be used only for 32F images");
        return;
    }
    Convolution convolution = makeConvolution(srcImage, nKernels, combineMethod);
    for (int i = 0; i < nKernels; ++i) {
        convolution.kernels[i].view = ownConvKernel(kernel[i]);
        convolution.kernels[i].real = true;
        convolution.kernels[i].accumulator = OWN_CONV_FLOAT;
    }
    report(caller, run(caller, srcImage, dstImage, &convolution));
}
