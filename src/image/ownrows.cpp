// The row runner. A row is contiguous in every image and unmasked: the kernel runs straight on the images. In all other
// cases it runs stretch by stretch, on rows gathered into a small scratch, under lanes that say which samples are
// stored. Bits are aligned to the destination's bytes and are handled as bytes from there.
#include "image/ownrows.h"

#include <algorithm>
#include <cstring>

#include "image/ownmove.h"

namespace {

constexpr int SCRATCH_BYTES = 4096;
// Scratch beyond this many bytes a pixel is not worth a row: channels are then processed one by one.
constexpr int WIDEST_PIXEL = SCRATCH_BYTES / 64;
// A pass over this much memory pushes everything else out of the caches, its own destination included. Where nothing is
// read the caches keep up longer.
constexpr int64_t STREAM_BYTES = int64_t{32} << 20;
constexpr int64_t STREAM_FILL_BYTES = int64_t{48} << 20;
constexpr int64_t SHORTEST_STREAM = 1024;
// A processor that reads ahead stops at the end of a memory page. Rows of this many bytes gain by being asked for
// earlier.
constexpr int64_t SHORTEST_AHEAD = 4096;

struct alignas(64) Scratch {
    uint8_t rows[OWN_MAX_SPANS][SCRATCH_BYTES];
    uint8_t lanes[SCRATCH_BYTES + 128];
    uint8_t pixelBits[SCRATCH_BYTES / 8 + 8];
    uint8_t sampleBits[SCRATCH_BYTES / 8 + 64];
    uint8_t pattern[SCRATCH_BYTES / 8 + 64];
};

const OwnSpan &destination(const OwnRows &rows) {
    return rows.spans[rows.count - 1];
}

void callPlain(OwnRow kernel, uint8_t *const *at, int count, size_t n, const OwnConstant &constant) {
    kernel(count > 1 ? at[0] : nullptr, count > 2 ? at[1] : nullptr, at[count - 1], n, constant);
}

void callMasked(OwnMaskedRow kernel, uint8_t *const *at, int count, size_t n, const OwnConstant &constant,
                const void *lanes) {
    kernel(count > 1 ? at[0] : nullptr, count > 2 ? at[1] : nullptr, at[count - 1], n, constant, lanes);
}

void startOfRow(const OwnRows &rows, int plane, int row, uint8_t **at) {
    for (int i = 0; i < rows.count; ++i) {
        const OwnSpan &span = rows.spans[i];
        at[i] = span.start + plane * span.planeStep + row * span.rowStep;
    }
}

// Storing past the caches pays where they could not keep the destination, unless a source has brought it in already.
bool shouldStream(const OwnRowForms &kernel, uint8_t *const *at, int count, int64_t bytesOfRun, int64_t bytesOfAll) {
    const int64_t enough = count > 1 ? STREAM_BYTES : STREAM_FILL_BYTES;
    if (!kernel.streamed || bytesOfAll * count < enough || bytesOfRun < SHORTEST_STREAM) return false;
    return std::find(at, at + count - 1, at[count - 1]) == at + count - 1;
}

// ---------------------------------------------------------------------------------------------------- contiguous rows

bool isContiguous(const OwnSpan &span, int channels) {
    return span.bytes > 0 && span.step == channels;
}

bool allContiguous(const OwnRows &rows) {
    return std::all_of(rows.spans, rows.spans + rows.count,
                       [&](const OwnSpan &span) { return isContiguous(span, rows.channels); });
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
    const int bytes = destination(rows).bytes;
    uint8_t *at[OWN_MAX_SPANS];
    startOfRow(rows, 0, 0, at);
    const int64_t whole = std::max(rows.whole, n * bytes * height * planes);
    const bool streaming = shouldStream(kernel, at, rows.count, n * bytes, whole);
    const OwnRow form = streaming ? kernel.streamed : kernel.plain;
    for (int plane = 0; plane < planes; ++plane) {
        for (int row = 0; row < height; ++row) {
            startOfRow(rows, plane, row, at);
            if (n * bytes >= SHORTEST_AHEAD && row + 1 < height) askForNextRow(rows, at);
            callPlain(form, at, rows.count, static_cast<size_t>(n), constant);
        }
    }
    if (streaming) ownMoveRows().fence();
}

// --------------------------------------------------------------------------------------------- strided and masked rows

// A mask byte's bits, each repeated: eight pixels' worth of samples, the first on top.
template <int step>
struct SpreadTable {
    uint8_t bytes[256][4];
};
template <int step>
constexpr SpreadTable<step> makeSpreadTable() {
    SpreadTable<step> table = {};
    for (int bits = 0; bits < 256; ++bits) {
        for (int i = 0; i < 8 * step; ++i) {
            if ((bits >> (7 - i / step) & 1) != 0) {
                table.bytes[bits][i / 8] = static_cast<uint8_t>(table.bytes[bits][i / 8] | 128 >> i % 8);
            }
        }
    }
    return table;
}
template <int step>
void spread(const uint8_t *bits, uint8_t *out, int64_t pixels) {
    static constexpr SpreadTable<step> table = makeSpreadTable<step>();
    for (int64_t i = 0; i < pixels; i += 8, out += step)
        std::memcpy(out, table.bytes[bits[i / 8]], step);
}

// The bits of samples from those of pixels. Bits behind the last pixel are unspecified.
void spreadBits(const uint8_t *bits, int step, uint8_t *out, int64_t pixels) {
    switch (step) {
        case 2:
            return spread<2>(bits, out, pixels);
        case 3:
            return spread<3>(bits, out, pixels);
        case 4:
            return spread<4>(bits, out, pixels);
        default:
            break;
    }
    std::memset(out, 0, static_cast<size_t>((pixels * step + 7) / 8));
    int64_t sample = 0;
    for (int64_t i = 0; i < pixels; ++i) {
        const bool set = (bits[i / 8] >> (7 - i % 8) & 1) != 0;
        for (int c = 0; c < step; ++c, ++sample) {
            if (set) out[sample / 8] = static_cast<uint8_t>(out[sample / 8] | 128 >> sample % 8);
        }
    }
}

// Rows of which not every sample is stored, or not every image is contiguous.
class StretchRunner {
  public:
    StretchRunner(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant)
        : rows_(rows), kernel_(kernel), constant_(constant), move_(ownMoveRows()) {
        // Images of one pixel layout are processed through: all samples of the pixels, of which the channels of
        // interest are stored.
        const OwnSpan &dst = destination(rows);
        through_ = dst.step > rows.channels && dst.step <= 4 * rows.channels && dst.step * dst.bytes <= WIDEST_PIXEL;
        for (int i = 0; i < rows.count; ++i) {
            through_ = through_ && rows.spans[i].step == dst.step && rows.spans[i].first == dst.first;
        }
        samples_ = through_ ? dst.step : rows.channels;
        for (int i = 0; i < rows.count; ++i)
            direct_[i] = through_ || isContiguous(rows.spans[i], samples_);
        size_ = ownSampleSize(dst.bytes);
        pixels_ = SCRATCH_BYTES / (dst.bytes * samples_) & ~7;
        if (through_) makePattern();
        if (through_ && !rows.masked) makeLanes(nullptr, std::min<int64_t>(pixels_, rows.width));
    }

    void run() {
        for (int plane = 0; plane < rows_.planes; ++plane) {
            for (int row = 0; row < rows_.height; ++row)
                runRow(plane, row);
        }
    }

  private:
    // The stored samples of a stretch that begins at a pixel: the bytes of eight pixels, again and again.
    void makePattern() {
        const int64_t bytes = (std::min<int64_t>(pixels_, rows_.width) + 7) / 8 * samples_;
        const int first = destination(rows_).first;
        std::memset(scratch_.pattern, 0, static_cast<size_t>(samples_));
        for (int pixel = first; pixel < samples_ * 8; pixel += samples_) {
            for (int i = pixel; i < pixel + rows_.channels; ++i)
                scratch_.pattern[i / 8] = static_cast<uint8_t>(scratch_.pattern[i / 8] | 128 >> i % 8);
        }
        for (int64_t done = samples_; done < bytes; done *= 2) {
            std::memcpy(scratch_.pattern + done, scratch_.pattern, static_cast<size_t>(std::min(done, bytes - done)));
        }
    }

    // Lanes for a stretch from the mask's bits (null for none) and the pattern.
    void makeLanes(const uint8_t *pixelBits, int64_t pixels) {
        const auto expand = move_.lanes[size_];
        if (pixelBits && !through_ && samples_ <= 4) {
            expand(pixelBits, samples_, scratch_.lanes, static_cast<size_t>(pixels));
            return;
        }
        const int64_t samples = pixels * samples_;
        const uint8_t *bits = scratch_.pattern;
        if (pixelBits) {
            spreadBits(pixelBits, samples_, scratch_.sampleBits, pixels);
            bits = scratch_.sampleBits;
            if (through_) {
                for (int64_t k = 0; k < (samples + 7) / 8; ++k)
                    scratch_.sampleBits[k] &= scratch_.pattern[k];
            }
        }
        expand(bits, 1, scratch_.lanes, static_cast<size_t>(samples));
    }

    void runRow(int plane, int row) {
        uint8_t *at[OWN_MAX_SPANS];
        startOfRow(rows_, plane, row, at);
        if (through_) {
            for (int i = 0; i < rows_.count; ++i)
                at[i] -= rows_.spans[i].first * rows_.spans[i].bytes;
        }
        const uint8_t *maskRow = rows_.masked ? rows_.mask.start + row * rows_.mask.rowStep : nullptr;
        for (int64_t x = 0; x < rows_.width; x += pixels_) {
            const int64_t pixels = std::min<int64_t>(pixels_, rows_.width - x);
            if (maskRow) {
                const uint8_t *bits = maskRow + x / 8;
                if (rows_.mask.bit != 0) {
                    ownAlignBits(bits, rows_.mask.bit, scratch_.pixelBits, 0, pixels);
                    bits = scratch_.pixelBits;
                }
                makeLanes(bits, pixels);
            }
            runStretch(at, pixels);
            for (int i = 0; i < rows_.count; ++i)
                at[i] += pixels * rows_.spans[i].step * rows_.spans[i].bytes;
        }
    }

    void runStretch(uint8_t *const *at, int64_t pixelCount) {
        const auto pixels = static_cast<size_t>(pixelCount);
        const bool masked = rows_.masked || through_;
        const int last = rows_.count - 1;
        uint8_t *to[OWN_MAX_SPANS];
        for (int i = 0; i <= last; ++i) {
            to[i] = direct_[i] ? at[i] : scratch_.rows[i];
            const bool read = i < last || masked || rows_.exchange;
            if (!direct_[i] && read) {
                move_.gather[size_](at[i], rows_.spans[i].step, rows_.channels, to[i], pixels);
            }
        }
        const size_t n = pixels * static_cast<size_t>(samples_);
        if (masked) {
            callMasked(kernel_.masked, to, rows_.count, n, constant_, scratch_.lanes);
        } else {
            callPlain(kernel_.plain, to, rows_.count, n, constant_);
        }
        for (int i = rows_.exchange ? 0 : last; i <= last; ++i) {
            if (!direct_[i]) move_.scatter[size_](to[i], at[i], rows_.spans[i].step, rows_.channels, pixels);
        }
    }

    const OwnRows &rows_;
    const OwnRowForms &kernel_;
    const OwnConstant &constant_;
    const OwnMoveRows &move_;
    bool through_;
    bool direct_[OWN_MAX_SPANS];
    int samples_;  // in a pixel of the scratch
    int pixels_;   // in a stretch, a multiple of 8
    OwnSampleSize size_;
    Scratch scratch_;
};

// Whole rows without padding, under a mask without padding, are one row.
OwnRows joinRows(const OwnRows &rows) {
    OwnRows joined = rows;
    const auto follows = [&](const OwnSpan &span) {
        return span.rowStep == static_cast<int64_t>(rows.width) * span.step * span.bytes;
    };
    const bool maskFollows = !rows.masked || (rows.mask.bit == 0 && rows.mask.rowStep * 8 == rows.width);
    if (maskFollows && std::all_of(rows.spans, rows.spans + rows.count, follows)) {
        joined.width = rows.width * rows.height;
        joined.height = 1;
    }
    return joined;
}

void runStretches(const OwnRows &all, const OwnRowForms &kernel, const OwnConstant &constant) {
    const OwnRows rows = joinRows(all);
    if (rows.channels == 1 || rows.channels * destination(rows).bytes <= WIDEST_PIXEL) {
        StretchRunner(rows, kernel, constant).run();
        return;
    }
    OwnRows one = rows;
    one.channels = 1;
    for (int c = 0; c < rows.channels; ++c) {
        StretchRunner(one, kernel, constant).run();
        for (int i = 0; i < one.count; ++i) {
            one.spans[i].start += one.spans[i].bytes;
            one.spans[i].first += 1;
        }
    }
}

// --------------------------------------------------------------------------------------------------------------- bits

// Rows of bits without a mask.
void runBits(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant) {
    const OwnSpan &dst = destination(rows);
    const auto run = [](const OwnSpan &span) { return OwnBitRun{span.start, span.bit, span.rowStep}; };
    const OwnBitRun a = run(rows.spans[0]), b = rows.count > 2 ? run(rows.spans[1]) : a;
    kernel.bits({a, b, dst.start, dst.bit, dst.rowStep, rows.width, rows.height}, constant);
}

// Two images of bits change places by way of a scratch, as many rows at a time as it holds.
void exchangeBits(const OwnRows &rows) {
    const OwnRowForms &copy = ownMoveRows().copy[OWN_1_BYTE];
    const OwnSpan &one = rows.spans[0], &two = rows.spans[1];
    alignas(64) uint8_t kept[SCRATCH_BYTES + 8];
    constexpr int64_t part = SCRATCH_BYTES * 8;
    for (int64_t x = 0; x < rows.width; x += part) {
        const int64_t count = std::min(part, rows.width - x), bytes = (two.bit + count + 7) / 8;
        const int most = std::max(1, static_cast<int>(SCRATCH_BYTES / bytes));
        for (int row = 0; row < rows.height; row += most) {
            const int height = std::min(most, rows.height - row);
            uint8_t *first = one.start + row * one.rowStep + x / 8, *second = two.start + row * two.rowStep + x / 8;
            for (int i = 0; i < height; ++i)
                std::memcpy(kept + i * bytes, second + i * two.rowStep, static_cast<size_t>(bytes));
            const OwnBitRun from = {first, one.bit, one.rowStep}, back = {kept, two.bit, bytes};
            copy.bits({from, from, second, two.bit, two.rowStep, count, height}, {});
            copy.bits({back, back, first, one.bit, one.rowStep, count, height}, {});
        }
    }
}

// Rows of bits under a mask, as bytes of the destination: mask and sources at another bit offset are aligned into
// scratches, and the mask leaves out the bits beyond the run.
class MaskedBitRunner {
  public:
    MaskedBitRunner(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant)
        : rows_(rows), kernel_(kernel), constant_(constant) {}

    void run() {
        for (int row = 0; row < rows_.height; ++row) {
            uint8_t *at[OWN_MAX_SPANS];
            startOfRow(rows_, 0, row, at);
            const uint8_t *mask = rows_.mask.start + row * rows_.mask.rowStep;
            for (int64_t x = 0; x < rows_.width; x += STRETCH) {
                runStretch(at, mask, std::min(STRETCH, rows_.width - x));
                for (int i = 0; i < rows_.count; ++i)
                    at[i] += STRETCH / 8;
                mask += STRETCH / 8;
            }
        }
    }

  private:
    static constexpr int64_t STRETCH = SCRATCH_BYTES * 8;

    void runStretch(uint8_t *const *at, const uint8_t *mask, int64_t bits) {
        const int last = rows_.count - 1;
        const int offset = rows_.spans[last].bit;
        const int64_t bytes = (offset + bits + 7) / 8;
        ownAlignBits(mask, rows_.mask.bit, lanes_, offset, bits);
        lanes_[0] &= ownFirstBits(offset);
        lanes_[bytes - 1] &= ownLastBits(offset, bits);
        uint8_t *to[OWN_MAX_SPANS];
        for (int i = 0; i <= last; ++i) {
            const bool aligned = rows_.spans[i].bit == offset;
            to[i] = aligned ? at[i] : scratch_[i];
            if (!aligned) ownAlignBits(at[i], rows_.spans[i].bit, to[i], offset, bits);
        }
        callMasked(kernel_.masked, to, rows_.count, static_cast<size_t>(bytes), constant_, lanes_);
        // Of two images that change places the first one is put back at its own bit offset.
        if (rows_.exchange && to[0] != at[0]) ownCopyBits(to[0], at[0], offset, rows_.spans[0].bit, bits);
    }

    const OwnRows &rows_;
    const OwnRowForms &kernel_;
    const OwnConstant &constant_;
    alignas(64) uint8_t scratch_[OWN_MAX_SPANS - 1][SCRATCH_BYTES + 8];
    alignas(64) uint8_t lanes_[SCRATCH_BYTES + 8];
};

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
    span->rowStep = image->widthStep;
    const bool planar = image->dataOrder == MOX_DATA_ORDER_PLANE;
    span->planeStep = planar ? static_cast<int64_t>(image->height) * image->widthStep : 0;
    span->step = planar ? 1 : image->nChannels;
    span->first = planar ? 0 : firstChannel;
    span->bytes = ownDepthBytes(image->depth);
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
    if (destination(rows).bytes > 0) {
        if (!rows.masked && allContiguous(rows)) {
            runContiguous(rows, kernel, constant);
        } else {
            runStretches(rows, kernel, constant);
        }
    } else if (asBytes(rows, &bytes)) {
        runContiguous(bytes, kernel, constant);
    } else if (rows.masked) {
        MaskedBitRunner(rows, kernel, constant).run();
    } else if (rows.exchange) {
        exchangeBits(rows);
    } else {
        runBits(rows, kernel, constant);
    }
}

void ownRunFlat(const OwnSpan *spans, int count, const OwnRowForms &kernel, const OwnConstant &constant,
                int64_t samples) {
    OwnRows rows = {};
    std::copy_n(spans, count, rows.spans);
    rows.count = count;
    rows.width = static_cast<int>(samples);
    rows.height = rows.channels = rows.planes = 1;
    runContiguous(rows, kernel, constant);
}
