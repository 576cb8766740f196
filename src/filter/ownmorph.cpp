// Morphology with a square: as many steps of 3 x 3 as a call asks for are one largest or smallest of a square. Around
// the region there is one ring of pixels that are read, and what is farther out repeats it. Opening and closing go in
// one walk: rows of the first operation, on a region wider by the square's reach, are kept until the second has used
// them.
#include "filter/ownmorph.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

// Blocks of rows are as high as the square, up to this height.
constexpr int64_t BLOCK_ROWS = 512;

struct Walk {
    OwnMorph morph;
    int64_t side;           // of the square
    int64_t margin;         // of the rows that come, on all sides
    int64_t ring;           // how far the ring is from the region
    int64_t width, height;  // of the region
    const OwnRankRows *kernels;
    OwnRankKind kind;
    size_t sampleBytes;
    // Scratch: pointers to the rows of a block, the block's rows, and rows of the first operation.
    const uint8_t **pointers;
    uint8_t *columns;
    int64_t columnStep;
    uint8_t *kept;
    int64_t keptStep;
};

// One operation on a block. rows are those of its windows.
OwnRankBlock blockOf(const Walk &walk, const uint8_t *const *rows, size_t channels) {
    OwnRankBlock block = {};
    block.rows = rows;
    block.nRows = block.nCols = walk.side;
    block.channels = channels;
    block.scratch = walk.columns;
    block.scratchStep = walk.columnStep;
    return block;
}

// Rows that come, from one on: those beyond the ring are the ring's own.
const uint8_t *const *ringRows(const Walk &walk, const OwnWindowRows &rows, int64_t from, int64_t count) {
    const int64_t top = rows.areaY + rows.y - walk.margin;  // of row 0, in the region
    for (int64_t r = 0; r < count; ++r) {
        const int64_t y = std::clamp(top + from + r, -walk.ring, walk.height - 1 + walk.ring);
        walk.pointers[r] = rows.rows[y - top];
    }
    return walk.pointers;
}

// The same for the columns of a row.
void repeatRing(const Walk &walk, const OwnWindowRows &rows, int64_t columns, uint8_t *row) {
    const size_t pixel = static_cast<size_t>(rows.channels) * walk.sampleBytes;
    const auto at = [&](int64_t x) { return row + static_cast<size_t>(x) * pixel; };
    const int64_t left = rows.areaX - walk.margin;  // of column 0, in the region
    const int64_t first = std::max<int64_t>(-walk.ring - left, 0);
    const int64_t last = std::min(walk.width - 1 + walk.ring - left, columns - 1);
    for (int64_t x = 0; x < first; ++x)
        std::memcpy(at(x), at(first), pixel);
    for (int64_t x = last + 1; x < columns; ++x)
        std::memcpy(at(x), at(last), pixel);
}

// The first operation, on rows that come: height rows of output from the one on whose windows begin with row `from`.
void runFirst(const Walk &walk, const OwnWindowRows &rows, int64_t from, int64_t height, uint8_t *out,
              int64_t outStep) {
    const uint8_t *const *source = ringRows(walk, rows, from, height + walk.side - 1);
    OwnRankBlock block = blockOf(walk, source, static_cast<size_t>(rows.channels));
    const int64_t columns = static_cast<int64_t>(rows.width) + 2 * walk.margin;
    block.width = static_cast<size_t>(columns - (walk.side - 1));
    block.height = height;
    block.out = out;
    block.outStep = outStep;
    walk.kernels->columns[walk.morph.first][walk.kind](block);
    for (int64_t r = 0; r < height; ++r)
        repeatRing(walk, rows, columns, walk.columns + r * walk.columnStep);
    walk.kernels->along[walk.morph.first][walk.kind](block);
}

void runOnce(void *filter, const OwnWindowRows &rows) {
    const auto &walk = *static_cast<const Walk *>(filter);
    runFirst(walk, rows, 0, rows.height, rows.out, rows.outStep);
}

// Of the rows of the first operation that the windows of the rows of output cover, all but the last ones are there from
// before, except in an area's first rows.
void runTwice(void *filter, const OwnWindowRows &rows) {
    const auto &walk = *static_cast<const Walk *>(filter);
    const int64_t before = walk.side - 1, end = before + rows.height;
    for (int64_t r = rows.y == 0 ? 0 : before; r < end;) {
        const int64_t height = std::min({end - r, ownExtremeRows(walk.side), BLOCK_ROWS});
        runFirst(walk, rows, r, height, walk.kept + r * walk.keptStep, walk.keptStep);
        r += height;
    }
    for (int64_t r = 0; r < end; ++r)
        walk.pointers[r] = walk.kept + r * walk.keptStep;
    OwnRankBlock block = blockOf(walk, walk.pointers, static_cast<size_t>(rows.channels));
    block.width = rows.width;
    block.height = rows.height;
    block.out = rows.out;
    block.outStep = rows.outStep;
    walk.kernels->extremes[walk.morph.second][walk.kind](block);
    std::memmove(walk.kept, walk.kept + rows.height * walk.keptStep, static_cast<size_t>(before * walk.keptStep));
}

// Everything in one block of memory; null if there is none.
void *allocate(const OwnWindow &window, Walk *walk) {
    constexpr int64_t line = 64;
    const auto lines = [](int64_t bytes) { return (bytes + line - 1) / line * line + line; };
    const int64_t pixel = ownWindowChannels(window) * static_cast<int64_t>(walk->sampleBytes);
    const int64_t columns = window.width + 2 * walk->margin;
    if (columns > INT_MAX / pixel) return nullptr;
    walk->columnStep = lines(columns * pixel);
    walk->keptStep = lines((columns - (walk->side - 1)) * pixel);
    const int64_t blockRows = std::min(ownExtremeRows(walk->side), BLOCK_ROWS);
    const int64_t pointers = walk->side + blockRows, columnRows = blockRows + OWN_EXTREME_PARTS;
    const int64_t keptRows = walk->morph.twice ? walk->side - 1 + window.rowsAtOnce : 0;
    if (columnRows > INT_MAX / walk->columnStep || keptRows > INT_MAX / walk->keptStep) return nullptr;
    const int64_t pointerBytes = lines(pointers * static_cast<int64_t>(sizeof(*walk->pointers)));
    const int64_t size = pointerBytes + columnRows * walk->columnStep + keptRows * walk->keptStep;
    if (size > INT_MAX) return nullptr;
    void *memory = moxMalloc(static_cast<int>(size));
    if (!memory) return nullptr;
    walk->pointers = static_cast<const uint8_t **>(memory);
    walk->columns = static_cast<uint8_t *>(memory) + pointerBytes;
    walk->kept = walk->columns + columnRows * walk->columnStep;
    return memory;
}

OwnWindowResult runRows(OwnWindow window, const OwnMorph &morph) {
    Walk walk = {};
    walk.morph = morph;
    walk.side = 2 * morph.reach + 1;
    walk.margin = morph.twice ? 2 * morph.reach : morph.reach;
    walk.ring = morph.twice ? morph.reach + 1 : 1;
    walk.width = window.width;
    walk.height = window.height;
    walk.kernels = &ownRankRows();
    walk.kind = ownRankKind(window.src->depth);
    walk.sampleBytes = static_cast<size_t>(std::max(ownDepthBytes(window.src->depth), 1));
    window.left = window.top = window.right = window.bottom = walk.margin;
    window.rowsAtOnce = std::min({ownExtremeRows(walk.side), BLOCK_ROWS, window.height});
    void *memory = allocate(window, &walk);
    if (!memory) return OWN_WINDOW_NO_ROWS;
    window.function = morph.twice ? runTwice : runOnce;
    window.filter = &walk;
    const OwnWindowResult result = ownRunWindow(window);
    moxFree(memory);
    return result;
}

// ------------------------------------------------------------------------------------------------------------- calls

// The coi that a destination with a region is given, or 0.
int coiFor(const MoxImage *src, const MoxImage *dst) {
    return dst->roi && src->roi ? src->roi->coi : 0;
}

bool channelsDiffer(const MoxImage *src, const MoxImage *dst) {
    if (ownChannels(src) != ownChannels(dst)) return true;
    // With the source's coi the destination must still have as many: this is nothing that the two headers show alone.
    if (!dst->roi) return false;
    const int coi = coiFor(src, dst);
    return coi > dst->nChannels || (coi == 0 && ownHasCoi(dst) && dst->nChannels != 1);
}

bool check(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, int nIterations) {
    const auto refuse = [&](const char *message) {
        ownReport(caller, MOX_StatusBadArgument, message);
        return false;
    };
    if (!ownAcceptImage(caller, src) || !ownAcceptImage(caller, dst)) return false;
    if (nIterations < 1) return refuse("Illegal number of iterations");
    if (src->depth != MOX_DEPTH_1U && src->depth != MOX_DEPTH_8U && src->depth != MOX_DEPTH_16U)
        return refuse("Illegal image depth");
    if (src->depth != dst->depth) return refuse("SRC and DST depth are different");
    if (src->dataOrder != dst->dataOrder) return refuse("SRC and DST order are different");
    if (src->origin != dst->origin) return refuse("SRC and DST orign are different");
    if (channelsDiffer(src, dst)) return refuse("SRC and DST number of channels are different");
    return true;
}

OwnWindowResult run(const OwnWindow &window, OwnMorph morph) {
    // Around a region and its ring there is nothing new to be found.
    if (!morph.twice) morph.reach = std::min(morph.reach, std::max(window.width, window.height));
    const bool bits = window.src->depth == MOX_DEPTH_1U && !window.src->tileInfo && !window.dst->tileInfo;
    return bits ? ownMorphBits(window, morph) : runRows(window, morph);
}

void runMorph(const OwnCaller &caller, MoxImage *src, MoxImage *dst, int nIterations, const OwnMorph &kind) {
    moxSetErrStatus(MOX_StatusNoError);
    if (!check(caller, src, dst, nIterations) || ownChannels(src) < 1) return;
    OwnWindow window = {};
    window.src = src;
    window.dst = dst;
    window.dstCoi = coiFor(src, dst);
    const OwnCommonMask mask(caller, src, dst);
    if (mask.endsCall()) return;
    OwnWindowResult result = OWN_WINDOW_NO_ROWS;
    if (!mask.lacksMemory()) {
        window.mask = mask.image();
        ownWindowSize(&window);
        if (window.width < 1 || window.height < 1) return;
        OwnMorph morph = kind;
        morph.reach = nIterations;
        if (nIterations <= (INT_MAX - 1) / 2) result = run(window, morph);
    }
    if (result == OWN_WINDOW_NO_ROWS) ownReport(caller, MOX_StatusNoMemory, "Allocation failure");
    if (result == OWN_WINDOW_NO_TILE) ownReport(caller, MOX_StatusBadArgument, "(dstImage->tileInfo->tileData == 0)");
}

}  // namespace

void MOX_CALL moxErode(MoxImage *srcImage, MoxImage *dstImage, int nIterations) {
    const OwnCaller caller = OWN_CALLER("moxErode");
    runMorph(caller, srcImage, dstImage, nIterations, {OWN_SMALLEST, OWN_SMALLEST, false, 0});
}

void MOX_CALL moxDilate(MoxImage *srcImage, MoxImage *dstImage, int nIterations) {
    const OwnCaller caller = OWN_CALLER("moxDilate");
    runMorph(caller, srcImage, dstImage, nIterations, {OWN_LARGEST, OWN_LARGEST, false, 0});
}

void MOX_CALL moxOpen(MoxImage *srcImage, MoxImage *dstImage, int nIterations) {
    const OwnCaller caller = OWN_CALLER("moxOpen");
    runMorph(caller, srcImage, dstImage, nIterations, {OWN_SMALLEST, OWN_LARGEST, true, 0});
}

void MOX_CALL moxClose(MoxImage *srcImage, MoxImage *dstImage, int nIterations) {
    const OwnCaller caller = OWN_CALLER("moxClose");
    runMorph(caller, srcImage, dstImage, nIterations, {OWN_LARGEST, OWN_SMALLEST, true, 0});
}
