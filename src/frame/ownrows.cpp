// The row runner. Where a row is contiguous in every image and unmasked, the kernel runs straight on the images; all
// other rows go by stretches, and bits by ways of their own.
#include "frame/ownrows.h"

#include <algorithm>

#include "core/owncache.h"
#include "frame/ownmove.h"
#include "frame/ownrowcall.h"

namespace {

constexpr int64_t SHORTEST_STREAM = 1024;
// A processor that reads ahead stops at the end of a memory page. Rows of this many bytes gain by being asked for
// earlier.
constexpr int64_t SHORTEST_AHEAD = 4096;

// Storing past the caches pays where they could not keep the destination, unless a source has brought it in already.
bool shouldStream(const OwnRowForms &kernel, uint8_t *const *at, int count, int64_t bytesOfRun, int64_t bytesOfAll) {
    if (bytesOfRun < SHORTEST_STREAM || !kernel.streamed) return false;
    const int64_t enough = count > 1 ? ownStreamBounds().bytes : ownStreamBounds().fillBytes;
    if (bytesOfAll * count < enough) return false;
    return std::find(at, at + count - 1, at[count - 1]) == at + count - 1;
}

bool allContiguous(const OwnRows &rows) {
    return std::all_of(rows.spans, rows.spans + rows.count,
                       [&](const OwnSpan &span) { return ownIsContiguous(span, rows.channels); });
}

// Whether in every image this field is the bytes of so many samples.
bool follows(const OwnRows &rows, int64_t OwnSpan::*field, int64_t samples) {
    return std::all_of(rows.spans, rows.spans + rows.count,
                       [&](const OwnSpan &span) { return span.*field == samples * span.bytes; });
}

void askForNextRow(const OwnRows &rows, uint8_t *const *at) {
    for (int i = 0; i < rows.count; ++i) {
        for (int line = 0; line < 4; ++line)
            __builtin_prefetch(at[i] + rows.spans[i].rowStep + 64 * line);
    }
}

// The rows of a plane, short ones: only the kernel is called.
void runShortRows(const OwnRows &rows, uint8_t *const *start, OwnRow form, int height, size_t n,
                  const OwnConstant &constant) {
    const auto at = [&](int span, int row) { return start[span] + row * rows.spans[span].rowStep; };
    if (rows.count == 1) {
        for (int row = 0; row < height; ++row)
            form(nullptr, nullptr, at(0, row), n, constant);
    } else if (rows.count == 2) {
        for (int row = 0; row < height; ++row)
            form(at(0, row), nullptr, at(1, row), n, constant);
    } else {
        for (int row = 0; row < height; ++row)
            form(at(0, row), at(1, row), at(2, row), n, constant);
    }
}

// Longer ones, each asked for while the one before is at work.
void runLongRows(const OwnRows &rows, uint8_t *const *start, OwnRow form, int height, size_t n,
                 const OwnConstant &constant) {
    uint8_t *at[OWN_MAX_SPANS];
    std::copy_n(start, rows.count, at);
    for (int row = 0; row < height; ++row) {
        if (row + 1 < height) askForNextRow(rows, at);
        ownCallPlain(form, at, rows.count, n, constant);
        for (int i = 0; i < rows.count; ++i)
            at[i] += rows.spans[i].rowStep;
    }
}

void runContiguous(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant) {
    int64_t n = static_cast<int64_t>(rows.width) * rows.channels;
    int height = rows.height, planes = rows.planes;
    // Rows without padding between them are one row, and so are planes.
    if (height > 1 && follows(rows, &OwnSpan::rowStep, n)) {
        n *= height;
        height = 1;
    }
    if (height == 1 && planes > 1 && follows(rows, &OwnSpan::planeStep, n)) {
        n *= planes;
        planes = 1;
    }
    const int bytes = ownDestination(rows).bytes;
    uint8_t *at[OWN_MAX_SPANS];
    ownStartOfRow(rows, 0, 0, at);
    if (height == 1 && planes == 1) {
        ownRunFlat(at, rows.count, static_cast<size_t>(n), bytes, rows.whole, kernel, constant);
        return;
    }
    const int64_t whole = std::max(rows.whole, n * bytes * height * planes);
    const bool streaming = shouldStream(kernel, at, rows.count, n * bytes, whole);
    const OwnRow form = streaming ? kernel.streamed : kernel.plain;
    const auto runRows = n * bytes >= SHORTEST_AHEAD ? runLongRows : runShortRows;
    for (int plane = 0; plane < planes; ++plane) {
        ownStartOfRow(rows, plane, 0, at);
        runRows(rows, at, form, height, static_cast<size_t>(n), constant);
    }
    if (streaming) ownMoveRows().fence();
}

// Rows that begin and end on bytes are bytes where they are one run or long ones, which may be streamed. Others are
// better left to the kernel that takes all of them, if there is one.
bool asBytes(const OwnRows &rows, OwnRows *bytes) {
    if (rows.masked || rows.width % 8 != 0) return false;
    *bytes = rows;
    bytes->width = rows.width / 8;
    for (int i = 0; i < rows.count; ++i) {
        if (rows.spans[i].bit != 0) return false;
        bytes->spans[i].bytes = 1;
    }
    return rows.exchange || bytes->width >= SHORTEST_STREAM || follows(*bytes, &OwnSpan::rowStep, bytes->width);
}

}  // namespace

// Filled where it stands: what is copied as soon as it is written waits for the stores.
static void setSpan(const MoxImage *image, int firstChannel, OwnSpan *span, int *width, int *height) {
    span->start = reinterpret_cast<uint8_t *>(ownRoiStart(image, firstChannel, width, height, &span->bit));
    ownSetSteps(image, firstChannel, span);
    // Without a region the start is that of the first channel, whichever is asked for.
    if (!image->roi) span->start = reinterpret_cast<uint8_t *>(ownSampleAt(image, firstChannel, 0, 0));
}

OwnSpan ownSpan(const MoxImage *image, int firstChannel, int *width, int *height) {
    OwnSpan span;
    setSpan(image, firstChannel, &span, width, height);
    return span;
}

void ownSetRows(OwnRows *rows, MoxImage *const *images, const int *firstChannels, int count, int channels,
                const MoxImage *mask) {
    rows->count = count;
    rows->exchange = false;
    rows->whole = 0;
    rows->masked = mask != nullptr;
    rows->width = rows->height = INT32_MAX;
    const auto add = [&](const MoxImage *image, int firstChannel, OwnSpan *span) {
        int width, height;
        setSpan(image, firstChannel, span, &width, &height);
        rows->width = std::min(rows->width, width);
        rows->height = std::min(rows->height, height);
    };
    for (int i = 0; i < count; ++i)
        add(images[i], firstChannels[i], &rows->spans[i]);
    if (mask) add(mask, 0, &rows->mask);
    const bool planar = images[count - 1]->dataOrder == MOX_DATA_ORDER_PLANE;
    rows->channels = planar ? std::min(channels, 1) : channels;
    rows->planes = planar ? channels : 1;
}

void ownRunRows(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant) {
    if (rows.width <= 0 || rows.height <= 0 || rows.channels <= 0) return;
    OwnRows bytes;
    if (ownDestination(rows).bytes > 0) {
        if (!rows.masked && allContiguous(rows)) {
            runContiguous(rows, kernel, constant);
        } else {
            ownRunStretches(rows, kernel, constant);
        }
    } else if (asBytes(rows, &bytes)) {
        runContiguous(bytes, kernel, constant);
    } else if (rows.masked) {
        ownRunMaskedBits(rows, kernel, constant);
    } else if (rows.exchange) {
        ownExchangeBits(rows);
    } else {
        ownRunBits(rows, kernel, constant);
    }
}

void ownRunFlat(uint8_t *const *at, int count, size_t samples, int bytes, int64_t whole, const OwnRowForms &kernel,
                const OwnConstant &constant) {
    const int64_t run = static_cast<int64_t>(samples) * bytes;
    const bool streaming = shouldStream(kernel, at, count, run, std::max(whole, run));
    ownCallPlain(streaming ? kernel.streamed : kernel.plain, at, count, samples, constant);
    if (streaming) ownMoveRows().fence();
}
