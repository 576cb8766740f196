// Filters of a window's samples in their order, and fixed ones: the largest, the smallest, the median, and built-in
// kernels by number.
#include <algorithm>
#include <climits>
#include <cstring>
#include <initializer_list>

#include "filter/owncolormedian.h"
#include "filter/ownfixed.h"
#include "filter/ownmedian.h"
#include "filter/ownrank.h"
#include "frame/ownwindow.h"

namespace {

// ------------------------------------------------------------------------------------------------------------ scratch

// Memory for the life of a call; null where there is none.
class Scratch {
  public:
    explicit Scratch(int64_t bytes) {
        if (bytes <= INT_MAX) data_ = static_cast<uint8_t *>(moxMalloc(static_cast<int>(bytes)));
    }
    ~Scratch() { moxFree(data_); }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

    uint8_t *data() const { return data_; }

  private:
    uint8_t *data_ = nullptr;
};

// Bytes of a row of samples of so many bytes that is as long as windows of nCols reach, a line between two such rows
// included. Beyond an int where no memory can have it, and small enough that so many rows as an int counts fit 64 bits.
int64_t rowBytesOf(const OwnWindow &window, int64_t nCols, int64_t bytes) {
    constexpr int64_t line = 64;
    const int64_t columns = window.width + nCols - 1, pixel = ownWindowChannels(window) * bytes;
    if (columns > INT_MAX / pixel) return INT64_C(1) << 31;
    return (columns * pixel + line - 1) / line * line + line;
}

int64_t sampleBytes(const OwnWindow &window) {
    return std::max(ownDepthBytes(window.src->depth), 1);
}

// ------------------------------------------------------------------------------------------------------- rank filters

using BlockKernel = void (*)(const OwnRankBlock &block);

struct Rank {
    int nCols, nRows;
    BlockKernel kernel;
    bool counts;  // the scratch begins with zeros
    uint8_t *scratch;
    int64_t scratchStep;
};

void rankRows(void *filter, const OwnWindowRows &rows) {
    const auto &rank = *static_cast<const Rank *>(filter);
    OwnRankBlock block = {};
    block.rows = rows.rows;
    block.nRows = rank.nRows;
    block.nCols = rank.nCols;
    block.height = rows.height;
    block.width = rows.width;
    block.channels = static_cast<size_t>(rows.channels);
    block.out = rows.out;
    block.outStep = rows.outStep;
    block.scratch = rank.scratch;
    block.scratchStep = rank.scratchStep;
    rank.kernel(block);
}

OwnWindowResult runRank(OwnWindow window, Rank *rank, int64_t scratchBytes) {
    const Scratch scratch(scratchBytes);
    if (!scratch.data()) return OWN_WINDOW_NO_ROWS;
    if (rank->counts) std::memset(scratch.data(), 0, static_cast<size_t>(scratchBytes));
    rank->scratch = scratch.data();
    window.function = rankRows;
    window.filter = rank;
    return ownRunWindow(window);
}

// Blocks as high as the window, but for windows that are higher than an image's part should be.
constexpr int64_t EXTREME_ROWS = 512;

OwnWindowResult runExtremes(OwnWindow window, Rank *rank, OwnExtremes which) {
    rank->kernel = ownRankRows().extremes[which][ownRankKind(window.src->depth)];
    window.rowsAtOnce = std::min({ownExtremeRows(rank->nRows), window.height, EXTREME_ROWS});
    rank->scratchStep = rowBytesOf(window, rank->nCols, sampleBytes(window));
    return runRank(window, rank, (window.rowsAtOnce + OWN_EXTREME_PARTS) * rank->scratchStep);
}

// Output rows of a median that share what they compute, and of one that shares the rows that it reads.
constexpr int64_t MEDIAN_ROWS = 32, SEARCH_ROWS = 8;

// Columns of output whose counts a cache near the processor keeps.
constexpr int64_t MEDIAN_STRIP = 256;

// Windows of 16 bits up to this size are searched: what a sample costs grows with the window. Counts that slide grow
// with its height.
constexpr int64_t MEDIAN_SEARCHED_16 = 400;

bool isSearched(int depth, int64_t size) {
    switch (depth) {
        case OWN_8U:
        case OWN_8S:
            return size <= OWN_MEDIAN_LANES_8;
        case OWN_16U:
        case OWN_16S:
            return size <= MEDIAN_SEARCHED_16;
        default:
            return true;
    }
}

OwnWindowResult runMedian(OwnWindow window, Rank *rank) {
    const OwnMedianRows &kernels = ownMedianRows();
    const OwnRankKind kind = ownRankKind(window.src->depth);
    const int nCols = rank->nCols, nRows = rank->nRows;
    if (nCols == nRows && (nCols == 3 || nCols == 5)) {
        rank->kernel = nCols == 3 ? kernels.three[kind] : kernels.five[kind];
        window.rowsAtOnce = MEDIAN_ROWS;
        return runRank(window, rank, 1);
    }
    if (isSearched(ownDepthIndex(window.src->depth), int64_t{nCols} * nRows)) {
        rank->kernel = kernels.search[kind];
        window.rowsAtOnce = std::min(SEARCH_ROWS, window.height);
        rank->scratchStep = rowBytesOf(window, nCols, sampleBytes(window));
        return runRank(window, rank, (window.rowsAtOnce + nRows - 1) * rank->scratchStep);
    }
    if (ownDepthBits(window.src->depth) == 8 && int64_t{nCols} * nRows <= OWN_MEDIAN_COLUMNS) {
        rank->kernel = ownMedianColumns().constant[kind];
        // A block begins with counting whole columns.
        window.rowsAtOnce = std::min<int64_t>(3 * int64_t{nRows} + 32, window.height);
        rank->scratchStep = std::min(std::max<int64_t>(MEDIAN_STRIP, 2 * int64_t{nCols}), window.width);
        return runRank(window, rank, (rank->scratchStep + nCols - 1) * OWN_MEDIAN_COLUMN_BYTES);
    }
    rank->kernel = kernels.slide[kind];
    rank->counts = true;
    window.rowsAtOnce = 1;
    return runRank(window, rank, OWN_MEDIAN_COUNTS);
}

// The median of bits: whether enough of the window are set.
struct Majority {
    const OwnMedianRows *kernels;
    int nCols, nRows;
    uint32_t least;
    uint32_t *columns;
};

void majorityRow(void *filter, const OwnWindowRows &rows) {
    const auto &bits = *static_cast<const Majority *>(filter);
    const size_t n = rows.width + static_cast<size_t>(bits.nCols) - 1;
    if (rows.y == 0) {
        std::memset(bits.columns, 0, n * sizeof(*bits.columns));
        for (int r = 0; r < bits.nRows; ++r)
            bits.kernels->countRow(rows.rows[r], bits.columns, n, 1);
    } else {
        bits.kernels->countRow(rows.rows[bits.nRows - 1], bits.columns, n, 1);
        bits.kernels->countRow(rows.rows[-1], bits.columns, n, UINT32_MAX);
    }
    bits.kernels->majority(bits.columns, bits.nCols, bits.least, rows.out, rows.width);
}

OwnWindowResult runMajority(OwnWindow window, const Rank &rank) {
    const int64_t size = int64_t{rank.nCols} * rank.nRows;
    const Scratch scratch(rowBytesOf(window, rank.nCols, sizeof(uint32_t)));
    if (!scratch.data() || size > INT_MAX) return OWN_WINDOW_NO_ROWS;
    Majority bits = {};
    bits.kernels = &ownMedianRows();
    bits.nCols = rank.nCols;
    bits.nRows = rank.nRows;
    bits.least = static_cast<uint32_t>((size >> 1) + (size & 1));
    bits.columns = reinterpret_cast<uint32_t *>(scratch.data());
    window.rowsAtOnce = 1;
    window.function = majorityRow;
    window.filter = &bits;
    return ownRunWindow(window);
}

// ------------------------------------------------------------------------------------------------------ fixed filters

struct Fixed {
    void (*kernel)(const OwnFixedRow &row);
    uint8_t *sums;
    int64_t sumStep;
};

void fixedRows(void *filter, const OwnWindowRows &rows) {
    const auto &fixed = *static_cast<const Fixed *>(filter);
    const auto channels = static_cast<size_t>(rows.channels);
    for (int64_t k = 0; k < rows.height; ++k) {
        fixed.kernel(
            {rows.rows + k, rows.out + k * rows.outStep, rows.width * channels, channels, fixed.sums, fixed.sumStep});
    }
}

OwnWindowResult runFixed(OwnWindow window, int filter) {
    Fixed fixed = {};
    fixed.sumStep = rowBytesOf(window, 2 * window.left + 1, sizeof(int32_t));
    const Scratch scratch(OWN_FIXED_SUMS * fixed.sumStep);
    if (!scratch.data()) return OWN_WINDOW_NO_ROWS;
    fixed.sums = scratch.data();
    fixed.kernel = ownFixedRows().filter[filter][ownDepthIndex(window.src->depth)];
    window.rowsAtOnce = 1;
    window.function = fixedRows;
    window.filter = &fixed;
    return ownRunWindow(window);
}

// ------------------------------------------------------------------------------------------------------ colour median

struct ColorMedian {
    int nCols, nRows;
    void (*kernel)(const OwnColorMedianRow &row);
};

void colorMedianRows(void *filter, const OwnWindowRows &rows) {
    const auto &median = *static_cast<const ColorMedian *>(filter);
    for (int64_t k = 0; k < rows.height; ++k) {
        median.kernel({rows.rows + k, static_cast<size_t>(median.nRows), static_cast<size_t>(median.nCols),
                       rows.out + k * rows.outStep, rows.width});
    }
}

OwnWindowResult runColorMedian(OwnWindow window, int nCols, int nRows) {
    ColorMedian median = {nCols, nRows, ownColorMedianRows().row[ownDepthIndex(window.src->depth)]};
    window.rowsAtOnce = 1;
    window.together = true;
    window.function = colorMedianRows;
    window.filter = &median;
    return ownRunWindow(window);
}

// ------------------------------------------------------------------------------------------------------------- checks

MoxStatus refuse(const OwnCaller &caller, MoxStatus status, const char *message) {
    ownReport(caller, status, message);
    return status;
}

// What is wrong with two images that are to be filtered, or 0. channelFault is that of what they differ in by their
// channels.
struct ImageChecks {
    MoxStatus channelFault;
    bool refusesFloats;
};
MoxStatus checkImages(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, const ImageChecks &checks) {
    constexpr MoxStatus bad = MOX_StatusBadArgument;
    if (src == dst) return refuse(caller, bad, "(srcImage==dstImage)");
    if (src->depth != dst->depth) return refuse(caller, bad, "srcImage->depth!=dstImage->depth");
    if (checks.refusesFloats && src->depth == MOX_DEPTH_32F) return refuse(caller, bad, "srcImage->depth==32");
    if (src->nChannels != dst->nChannels)
        return refuse(caller, checks.channelFault, "srcImage->nChannels!=dstImage->nChannels");
    if (src->alphaChannel != dst->alphaChannel)
        return refuse(caller, checks.channelFault, "srcImage->alphaChannel!=dstImage->alphaChannel");
    if (src->dataOrder != dst->dataOrder && src->depth != MOX_DEPTH_1U)
        return refuse(caller, bad, "srcImage->dataOrder!=dstImage->dataOrder");
    // That a coi is one of its image's channels, and alpha the last of them, the headers' checks have seen.
    if (ownChannels(src) != ownChannels(dst)) {
        return refuse(caller, MOX_StatusHeaderCoi, "Number of interset channel input and output Image is not equal.");
    }
    return MOX_StatusNoError;
}

// A fault of a header is in the status word.
bool acceptImages(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst) {
    return ownAcceptImage(caller, src) && ownAcceptImage(caller, dst);
}

MoxStatus checkAnchor(const OwnCaller &caller, int nCols, int nRows, int anchorX, int anchorY) {
    constexpr MoxStatus bad = MOX_StatusBadArgument;
    if (anchorX >= nCols || anchorX < 0) return refuse(caller, bad, "(anchorX>=nCols)||(anchorX<0)");
    if (anchorY >= nRows || anchorY < 0) return refuse(caller, bad, "(anchorY>=nRows)||(anchorY<0)");
    return MOX_StatusNoError;
}

MoxStatus checkColors(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst) {
    const auto fault = [&](const char *message) { return refuse(caller, MOX_StatusBadArgument, message); };
    if (src == dst) return fault("(srcImage==dstImage)");
    if (src->depth != dst->depth) return fault("srcImage->depth!=dstImage->depth");
    if (src->depth == MOX_DEPTH_1U) return fault("srcImage->depth==1");
    if (src->depth == MOX_DEPTH_32S) return fault("srcImage->depth==(0x80000000|32)");
    if (src->nChannels != dst->nChannels) return fault("srcImage->nChannels!=dstImage->nChannels");
    if (src->nChannels < 3) return fault("srcImage->nChannels<3");
    if (src->nChannels > 4) return fault("srcImage->nChannels>4");
    for (const MoxImage *image : {src, dst}) {
        if (image->nChannels == 3 && image->alphaChannel != 0)
            return fault("(srcImage->nChannels==3)&&(srcImage->alphaChannel!=0)");
        if (image->nChannels == 4 && image->alphaChannel == 0)
            return fault("(srcImage->nChannels==4)&&(srcImage->alphaChannel==0)");
    }
    if (ownHasCoi(src)) return fault("srcImage->roi->coi!=0");
    if (ownHasCoi(dst)) return fault("dstImage->roi->coi!=0");
    return MOX_StatusNoError;
}

// ------------------------------------------------------------------------------------------------------------ the walk

// Runs a filter over the common region of images that are checked. run takes the window and gives its result.
template <class Run>
MoxStatus runFilter(const OwnCaller &caller, MoxImage *src, MoxImage *dst, const OwnWindow &reach, const Run &run) {
    OwnWindow window = reach;
    window.src = src;
    window.dst = dst;
    // The status word tells images that are refused here from those in which there is nothing to do.
    const MoxStatus before = moxGetErrStatus();
    moxSetErrStatus(MOX_StatusNoError);
    const OwnCommonMask mask(caller, src, dst);
    const MoxStatus fault = moxGetErrStatus();
    if (fault == MOX_StatusNoError) moxSetErrStatus(before);
    if (mask.endsCall()) return fault;
    OwnWindowResult result = OWN_WINDOW_NO_ROWS;
    if (!mask.lacksMemory()) {
        window.mask = mask.image();
        ownWindowSize(&window);
        if (window.width < 1 || window.height < 1) return MOX_StatusNoError;
        result = run(window);
    }
    if (result == OWN_WINDOW_NO_ROWS) return refuse(caller, MOX_StatusNoMemory, "Allocation failure");
    if (result == OWN_WINDOW_NO_TILE)
        return refuse(caller, MOX_StatusBadArgument, "(dstImage->tileInfo->tileData == 0)");
    return MOX_StatusNoError;
}

OwnWindow reachOf(int nCols, int nRows, int anchorX, int anchorY) {
    OwnWindow window = {};
    window.left = anchorX;
    window.top = anchorY;
    window.right = nCols - 1 - anchorX;
    window.bottom = nRows - 1 - anchorY;
    return window;
}

template <class Run>
MoxStatus filterRanks(const OwnCaller &caller, MoxImage *src, MoxImage *dst, int nCols, int nRows, int anchorX,
                      int anchorY, const Run &run) {
    if (!acceptImages(caller, src, dst)) return moxGetErrStatus();
    if (const MoxStatus fault = checkAnchor(caller, nCols, nRows, anchorX, anchorY)) return fault;
    if (const MoxStatus fault = checkImages(caller, src, dst, {MOX_StatusBadArgument, true})) return fault;
    // An older fault keeps the filter from its work, which is none of its own.
    if (moxGetErrStatus() < 0 || ownChannels(src) < 1) return MOX_StatusNoError;
    Rank rank = {};
    rank.nCols = nCols;
    rank.nRows = nRows;
    return runFilter(caller, src, dst, reachOf(nCols, nRows, anchorX, anchorY),
                     [&](const OwnWindow &window) { return run(window, &rank); });
}

}  // namespace

MoxStatus MOX_CALL moxMaxFilter(MoxImage *srcImage, MoxImage *dstImage, int nCols, int nRows, int anchorX,
                                int anchorY) {
    const OwnCaller caller = OWN_CALLER("moxMaxFilter");
    return filterRanks(caller, srcImage, dstImage, nCols, nRows, anchorX, anchorY,
                       [](const OwnWindow &window, Rank *rank) { return runExtremes(window, rank, OWN_LARGEST); });
}

MoxStatus MOX_CALL moxMinFilter(MoxImage *srcImage, MoxImage *dstImage, int nCols, int nRows, int anchorX,
                                int anchorY) {
    const OwnCaller caller = OWN_CALLER("moxMinFilter");
    return filterRanks(caller, srcImage, dstImage, nCols, nRows, anchorX, anchorY,
                       [](const OwnWindow &window, Rank *rank) { return runExtremes(window, rank, OWN_SMALLEST); });
}

MoxStatus MOX_CALL moxMedianFilter(MoxImage *srcImage, MoxImage *dstImage, int nCols, int nRows, int anchorX,
                                   int anchorY) {
    const OwnCaller caller = OWN_CALLER("moxMedianFilter");
    return filterRanks(
        caller, srcImage, dstImage, nCols, nRows, anchorX, anchorY, [](const OwnWindow &window, Rank *rank) {
            return window.src->depth == MOX_DEPTH_1U ? runMajority(window, *rank) : runMedian(window, rank);
        });
}

MoxStatus MOX_CALL moxColorMedianFilter(MoxImage *srcImage, MoxImage *dstImage, int nCols, int nRows, int anchorX,
                                        int anchorY) {
    const OwnCaller caller = OWN_CALLER("moxColorMedianFilter");
    if (!acceptImages(caller, srcImage, dstImage)) return moxGetErrStatus();
    if (const MoxStatus fault = checkAnchor(caller, nCols, nRows, anchorX, anchorY)) return fault;
    if (const MoxStatus fault = checkColors(caller, srcImage, dstImage)) return fault;
    return runFilter(caller, srcImage, dstImage, reachOf(nCols, nRows, anchorX, anchorY),
                     [&](const OwnWindow &window) { return runColorMedian(window, nCols, nRows); });
}

MoxStatus MOX_CALL moxFixedFilter(MoxImage *srcImage, MoxImage *dstImage, int filter) {
    const OwnCaller caller = OWN_CALLER("moxFixedFilter");
    if (!acceptImages(caller, srcImage, dstImage)) return moxGetErrStatus();
    if (checkImages(caller, srcImage, dstImage, {MOX_StatusHeaderCoi, false})) return moxGetErrStatus();
    if (moxGetErrStatus() < 0 || ownChannels(srcImage) < 1) return moxGetErrStatus();
    if (filter < MOX_FILTER_PREWITT_3X3_V || filter > MOX_FILTER_SHARPEN_3X3) {
        refuse(caller, MOX_StatusBadArgument, "Unknow filter.");
        return moxGetErrStatus();
    }
    if (filter == MOX_FILTER_SHARPEN_3X3 && srcImage->depth == MOX_DEPTH_1U) {
        moxCopy(srcImage, dstImage);
        return moxGetErrStatus();
    }
    const bool large =
        filter == MOX_FILTER_LAPLACIAN_5X5 || filter == MOX_FILTER_GAUSSIAN_5X5 || filter == MOX_FILTER_HIPASS_5X5;
    const int side = large ? 5 : 3;
    runFilter(caller, srcImage, dstImage, reachOf(side, side, side / 2, side / 2),
              [&](const OwnWindow &window) { return runFixed(window, filter); });
    return moxGetErrStatus();
}
