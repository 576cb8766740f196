// Separable convolution: a kernel along columns, then one along rows, through a row of sums in between. Integers wrap
// at 32 bits, and the shifts of both kernels act once, at the end; floats are added in the order of the stored
// coefficients.
#include <algorithm>
#include <climits>

#include "core/owncpu.h"
#include "filter/ownconv.h"
#include "filter/ownsep.h"
#include "frame/ownwindow.h"

OWN_DECLARE_LEVELS(OwnSepRows, sepRows)

const OwnSepRows &ownSepRows() {
    static constexpr const OwnSepRows *tables[] = OWN_LEVEL_TABLES(sepRows);
    return *tables[ownCpuLevel()];
}

namespace {

constexpr int MOST_CHANNELS = 32;  // of pixels in pixel order

// One of the two kernels; without values where there is none.
struct Kernel {
    OwnConvKernel view;
    int shift;
    bool real;
    OwnSepTaps taps;

    bool given() const { return view.values != nullptr; }
};

Kernel viewOf(const MoxConvKernel *kernel) {
    return {ownConvKernel(kernel), kernel->nShiftR, false, {}};
}
Kernel viewOf(const MoxConvKernelFP *kernel) {
    return {ownConvKernel(kernel), 0, true, {}};
}

struct Separable {
    Kernel x, y;
    int depth, shift;
    OwnSepClass sums;
    const OwnSepRows *kernels;
    void *row;  // the sums in between
};

// -------------------------------------------------------------------------------------------------------------- checks

bool refuse(const OwnCaller &caller, const char *message) {
    ownReport(caller, MOX_StatusBadArgument, message);
    return false;
}

const char *findDifference(const MoxImage *src, const MoxImage *dst) {
    if (src->depth != dst->depth) return "SRC and DST depth are different";
    if (src->dataOrder != dst->dataOrder) return "SRC and DST order are different";
    if (src->origin != dst->origin) return "SRC and DST orign are different";
    if (src->dataOrder == MOX_DATA_ORDER_PIXEL && src->nChannels > MOST_CHANNELS)
        return "SRC: too many channels per plane (limit 32)";
    if (src->nChannels != dst->nChannels) return "SRC and DST number of channels are different";
    if (src->alphaChannel != dst->alphaChannel) return "SRC and DST Alpha channels are different";
    const auto counted = [](const MoxImage *image) { return ownHasCoi(image) ? 1 : image->nChannels; };
    if (counted(src) != counted(dst)) return "SRC and DST number of processing channels are different";
    return nullptr;
}

const char *findKernelFault(const OwnConvKernel &kernel, bool along) {
    if (!kernel.values) return "NULL kernel values";
    const int length = along ? kernel.nCols : kernel.nRows, across = along ? kernel.nRows : kernel.nCols;
    if (length < 2 || across != 1) return "Invalid kernal size";
    const bool inside =
        kernel.anchorX >= 0 && kernel.anchorX < kernel.nCols && kernel.anchorY >= 0 && kernel.anchorY < kernel.nRows;
    return inside ? nullptr : "Invalid kernrl anchor";
}

template <class Record>
bool check(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, const Record *x, const Record *y) {
    if (!ownAcceptImage(caller, src) || !ownAcceptImage(caller, dst)) return false;
    if (src == dst) return refuse(caller, "Unsupported in-place mode");
    if (!x && !y) return refuse(caller, "Kernel pointers are NULL");
    const char *fault = findDifference(src, dst);
    if (!fault && x) fault = findKernelFault(ownConvKernel(x), true);
    if (!fault && y) fault = findKernelFault(ownConvKernel(y), false);
    return !fault || refuse(caller, fault);
}

// ---------------------------------------------------------------------------------------------------------------- work

void separateRow(const Separable &s, const uint8_t *const *rows, size_t columns, size_t step, const OwnSepStore &how) {
    if (s.y.given()) {
        s.kernels->columns[s.sums][s.depth](rows, s.y.taps, s.row, columns * step);
    } else {
        s.kernels->widen[s.sums][s.depth](rows[0], s.row, columns * step);
    }
    if (s.x.given()) {
        s.kernels->across[s.sums][s.depth](s.row, step, s.x.taps, how);
    } else {
        s.kernels->store[s.sums][s.depth](s.row, how);
    }
}

void separateRows(void *filter, const OwnWindowRows &rows) {
    const auto &s = *static_cast<const Separable *>(filter);
    const size_t step = static_cast<size_t>(rows.channels);
    const size_t columns = rows.width + (s.x.given() ? static_cast<size_t>(s.x.taps.count) - 1 : 0);
    for (int64_t k = 0; k < rows.height; ++k)
        separateRow(s, rows.rows + k, columns, step, {s.shift, rows.out + k * rows.outStep, rows.width * step});
}

// Coefficients two by two, where they are of 16 bits.
int64_t pairsOf(const Kernel &kernel) {
    for (int j = 0; j < kernel.taps.count; ++j) {
        if (kernel.real || kernel.taps.values[j] < SHRT_MIN || kernel.taps.values[j] > SHRT_MAX) return 0;
    }
    return (int64_t{kernel.taps.count} + 1) / 2;
}

// Whether 16 bits hold every sum of the column kernel and every coefficient of the row kernel. Where sums leave signed
// ones and a row kernel follows, they begin so low that they do not.
bool fits16(Separable *s) {
    if (s->depth != OWN_1U && s->depth != OWN_8U && s->depth != OWN_8S) return false;
    if (s->x.given() && pairsOf(s->x) == 0) return false;
    const int64_t low = s->depth == OWN_8S ? -128 : 0, high = s->depth == OWN_1U ? 1 : low + 255;
    int64_t least = s->y.given() ? 0 : low, most = s->y.given() ? 0 : high;
    for (int j = 0; s->y.given() && j < s->y.taps.count; ++j) {
        const int64_t tap = s->y.taps.values[j];
        least += tap * (tap < 0 ? high : low);
        most += tap * (tap < 0 ? low : high);
        if (most - least > USHRT_MAX) return false;
    }
    if (least >= SHRT_MIN && most <= SHRT_MAX) return true;
    if (!s->x.given()) return false;
    const auto below = static_cast<uint32_t>(least - SHRT_MIN);
    s->y.taps.begin = 0 - below;
    for (int j = 0; j < s->x.taps.count; ++j)
        s->x.taps.begin += below * static_cast<uint32_t>(s->x.taps.values[j]);
    return true;
}

void setTaps(Kernel *kernel, int count) {
    kernel->taps.count = count;
    kernel->taps.values = static_cast<const int32_t *>(kernel->view.values);
    kernel->taps.real = static_cast<const float *>(kernel->view.values);
}

void setReach(OwnWindow *window, const Separable &s) {
    if (s.x.given()) {
        window->left = s.x.view.anchorX;
        window->right = int64_t{s.x.view.nCols} - 1 - s.x.view.anchorX;
    }
    if (s.y.given()) {
        window->top = s.y.view.anchorY;
        window->bottom = int64_t{s.y.view.nRows} - 1 - s.y.view.anchorY;
    }
}

void setPairs(Kernel *kernel, uint32_t *pairs, int64_t count) {
    kernel->taps.pairs = count > 0 ? pairs : nullptr;
    for (int64_t p = 0; p < count; ++p) {
        const int32_t *values = kernel->taps.values + 2 * p;
        const int second = 2 * p + 1 < kernel->taps.count ? values[1] : 0;
        pairs[p] = static_cast<uint16_t>(values[0]) | static_cast<uint32_t>(static_cast<uint16_t>(second)) << 16;
    }
}

// The row of sums, and the pairs behind it. Null if memory ran out.
void *allocate(const OwnWindow &window, Separable *s) {
    constexpr int64_t sumBytes = 4, room = 64;
    const int64_t columns = window.left + window.width + window.right, channels = ownWindowChannels(window);
    const int64_t pairsX = pairsOf(s->x), pairsY = pairsOf(s->y);
    if (columns > INT_MAX / sumBytes / channels) return nullptr;
    const int64_t sums = columns * channels + room;
    if ((sums + pairsX + pairsY) * sumBytes > INT_MAX) return nullptr;
    auto *memory = static_cast<uint32_t *>(moxMalloc(static_cast<int>((sums + pairsX + pairsY) * sumBytes)));
    if (!memory) return nullptr;
    s->row = memory;
    setPairs(&s->x, memory + sums, pairsX);
    setPairs(&s->y, memory + sums + pairsX, pairsY);
    return memory;
}

// What is missing is left in the status word, and told by the exported function.
void run(const OwnCaller &caller, MoxImage *src, MoxImage *dst, Separable *s) {
    OwnWindow window = {};
    window.src = src;
    window.dst = dst;
    const OwnCommonMask mask(caller, src, dst);
    if (mask.lacksMemory()) moxSetErrStatus(MOX_StatusNoMemory);
    if (mask.lacksMemory() || mask.endsCall()) return;
    window.mask = mask.image();
    ownWindowSize(&window);
    if (window.width < 1 || window.height < 1 || ownChannels(src) == 0) return;
    setReach(&window, *s);
    window.function = separateRows;
    window.rowsAtOnce = 1;
    window.filter = s;
    void *memory = allocate(window, s);
    const OwnWindowResult result = memory ? ownRunWindow(window) : OWN_WINDOW_NO_ROWS;
    moxFree(memory);
    if (result == OWN_WINDOW_NO_ROWS) moxSetErrStatus(MOX_StatusNoMemory);
    if (result == OWN_WINDOW_NO_TILE) moxSetErrStatus(MOX_StatusGeneral);
}

// The shifts of both kernels add up. Sums below 0 and beyond 31 have no defined result; this one leaves the sign.
int combinedShift(const Separable &s) {
    const int64_t shift = int64_t{s.x.given() ? s.x.shift : 0} + (s.y.given() ? s.y.shift : 0);
    return shift >= 0 && shift <= 31 ? static_cast<int>(shift) : 31;
}

template <class Record>
MoxStatus convolve(const OwnCaller &caller, MoxImage *src, MoxImage *dst, const Record *x, const Record *y) {
    Separable s = {};
    if (x) s.x = viewOf(x);
    if (y) s.y = viewOf(y);
    setTaps(&s.x, s.x.view.nCols);
    setTaps(&s.y, s.y.view.nRows);
    s.depth = ownDepthIndex(src->depth);
    s.shift = combinedShift(s);
    s.sums = s.depth == OWN_32F ? OWN_SEP_FLOAT : fits16(&s) ? OWN_SEP_16 : OWN_SEP_32;
    s.kernels = &ownSepRows();
    const bool accepted = ownFindExcess(src) == MOX_StatusNoError && ownFindExcess(dst) == MOX_StatusNoError;
    run(caller, src, dst, &s);
    if (moxGetErrStatus() >= 0) return MOX_StatusNoError;
    if (!accepted) return MOX_StatusBadArgument;
    ownReport(caller, MOX_StatusBacktrace, "Not enough memory");
    return MOX_StatusBacktrace;
}

}  // namespace

MoxStatus MOX_CALL moxConvolveSep2D(MoxImage *srcImage, MoxImage *dstImage, MoxConvKernel *xKernel,
                                    MoxConvKernel *yKernel) {
    const OwnCaller caller = OWN_CALLER("moxConvolveSep2D");
    moxSetErrStatus(MOX_StatusNoError);
    if (!check(caller, srcImage, dstImage, xKernel, yKernel)) return MOX_StatusBadArgument;
    if (srcImage->depth == MOX_DEPTH_32F) {
        refuse(caller, "moxConvolveSep2D does not support MOX_DEPTH_32F.\nCall moxConvolveSep2DFP instead");
        return MOX_StatusBadArgument;
    }
    return convolve(caller, srcImage, dstImage, xKernel, yKernel);
}

MoxStatus MOX_CALL moxConvolveSep2DFP(MoxImage *srcImage, MoxImage *dstImage, MoxConvKernelFP *xKernel,
                                      MoxConvKernelFP *yKernel) {
    const OwnCaller caller = OWN_CALLER("moxConvolveSep2DFP");
    moxSetErrStatus(MOX_StatusNoError);
    if (!check(caller, srcImage, dstImage, xKernel, yKernel)) return MOX_StatusBadArgument;
    if (srcImage->depth != MOX_DEPTH_32F) {
        refuse(caller, "moxConvolveSep2DFP does support MOX_DEPTH_32F only.\nCall moxConvolveSep2D instead");
        return MOX_StatusBadArgument;
    }
    return convolve(caller, srcImage, dstImage, xKernel, yKernel);
}
