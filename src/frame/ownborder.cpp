// Rows with margins. A row above or below the image takes that side's rule over its whole width, corners included; a
// row of the image takes the rules of left and right. Spans are read whole, so that no pixel costs a division.
#include "frame/ownborder.h"

#include <algorithm>
#include <cstring>

#include "frame/ownmove.h"
#include "frame/ownrows.h"

namespace {

enum Side { TOP, BOTTOM, LEFT, RIGHT };

uint32_t constantOf(unsigned depth, int constant) {
    if (depth == MOX_DEPTH_1U) return static_cast<uint32_t>(constant) & 1;
    uint32_t word = static_cast<uint32_t>(constant);
    if (depth == MOX_DEPTH_32F) {
        const auto real = static_cast<float>(constant);
        std::memcpy(&word, &real, sizeof word);
    }
    return word;
}

int64_t floorModulo(int64_t value, int64_t period) {
    const int64_t rest = value % period;
    return rest < 0 ? rest + period : rest;
}

// A run of coordinates folded into the image: from first on, forwards or backwards.
struct Span {
    int64_t first, count;
    bool forwards;
};

// The longest run from position on, up to end, that is one span of the image under reflect or wrap.
Span fold(int mode, int64_t position, int64_t end, int64_t size) {
    const int64_t place = floorModulo(position, mode == MOX_BORDER_WRAP ? size : 2 * size);
    if (place < size) return {place, std::min(end - position, size - place), true};
    return {2 * size - 1 - place, std::min(end - position, 2 * size - place), false};
}

void unpackBits(const uint8_t *row, int64_t first, int64_t count, uint8_t *out) {
    constexpr int64_t piece = 2048;
    uint8_t bits[piece / 8];
    uint8_t lanes[piece + 8];
    for (int64_t done = 0; done < count; done += piece) {
        const int64_t x = first + done, n = std::min(count - done, piece);
        ownAlignBits(row + x / 8, static_cast<int>(x % 8), bits, 0, n);
        ownMoveRows().lanes[OWN_1_BYTE](bits, 1, lanes, static_cast<size_t>(n));
        for (int64_t i = 0; i < n; ++i)
            out[done + i] = lanes[i] & 1;
    }
}

// Pixels in reverse. A size that the compiler knows makes each a move of its own.
template <size_t bytes>
void mirrorPixels(const uint8_t *last, int64_t step, int64_t count, uint8_t *out) {
    for (int64_t k = 0; k < count; ++k)
        std::memcpy(out + k * static_cast<int64_t>(bytes), last - k * step, bytes);
}

void mirror(const uint8_t *last, int64_t step, size_t bytes, int64_t count, uint8_t *out) {
    switch (bytes) {
        case 1:
            return mirrorPixels<1>(last, step, count, out);
        case 2:
            return mirrorPixels<2>(last, step, count, out);
        case 3:
            return mirrorPixels<3>(last, step, count, out);
        case 4:
            return mirrorPixels<4>(last, step, count, out);
        case 6:
            return mirrorPixels<6>(last, step, count, out);
        case 12:
            return mirrorPixels<12>(last, step, count, out);
        default:
            for (int64_t k = 0; k < count; ++k)
                std::memcpy(out + k * static_cast<int64_t>(bytes), last - k * step, bytes);
    }
}

// Fills a run with its first pixel: what is there is doubled until the run is full.
void repeatPixel(uint8_t *run, int64_t pixelBytes, int64_t count) {
    const int64_t size = count * pixelBytes;
    for (int64_t done = pixelBytes; done < size;) {
        const int64_t part = std::min(done, size - done);
        std::memcpy(run + done, run, static_cast<size_t>(part));
        done += part;
    }
}

// Pixels of one row of the image, whichever it is.
struct RowReader {
    const OwnRowSource &source;
    const uint8_t *row;
    int64_t pixelBytes;  // in the row that comes out

    RowReader(const OwnRowSource &of, int64_t y)
        : source(of), row(of.start + y * of.rowStep), pixelBytes(int64_t{of.channels} * ownRowSampleBytes(of)) {}

    bool bit(int64_t x) const { return (row[x / 8] >> (7 - x % 8) & 1) != 0; }

    void readMirrored(const Span &span, uint8_t *out) const {
        if (source.bytes == 0) {
            for (int64_t k = 0; k < span.count; ++k)
                out[k] = bit(span.first - k) ? 1 : 0;
        } else {
            const int64_t step = static_cast<int64_t>(source.step) * source.bytes;
            mirror(row + span.first * step, step, static_cast<size_t>(pixelBytes), span.count, out);
        }
    }

    void read(const Span &span, uint8_t *out) const {
        if (!span.forwards) {
            readMirrored(span, out);
        } else if (source.bytes == 0) {
            unpackBits(row, span.first, span.count, out);
        } else if (source.step == source.channels) {
            std::memcpy(out, row + span.first * pixelBytes, static_cast<size_t>(span.count * pixelBytes));
        } else {
            ownMoveRows().gather[ownSampleSize(source.bytes)](row + span.first * source.step * source.bytes,
                                                              source.step, source.channels, out,
                                                              static_cast<size_t>(span.count));
        }
    }

    // Pixels x to end, all of them left or all of them right of the image.
    void readOutside(int mode, uint32_t constant, int64_t x, int64_t end, uint8_t *out) const;
};

void fillConstant(const OwnRowSource &source, uint32_t constant, int64_t pixels, uint8_t *out) {
    const int bytes = ownRowSampleBytes(source);
    ownMoveRows().fill[ownSampleSize(bytes)].plain(nullptr, nullptr, out, static_cast<size_t>(pixels * source.channels),
                                                   {constant, 0, 0});
}

void RowReader::readOutside(int mode, uint32_t constant, int64_t x, int64_t end, uint8_t *out) const {
    if (mode == MOX_BORDER_CONSTANT) {
        if (x < end) fillConstant(source, constant, end - x, out);
        return;
    }
    if (mode == MOX_BORDER_REPLICATE) {
        if (x >= end) return;
        read({x < 0 ? 0 : source.width - 1, 1, true}, out);
        repeatPixel(out, pixelBytes, end - x);
        return;
    }
    while (x < end) {
        const Span span = fold(mode, x, end, source.width);
        read(span, out);
        x += span.count;
        out += span.count * pixelBytes;
    }
}

int64_t foldRow(int mode, int64_t y, int64_t height) {
    return mode == MOX_BORDER_REPLICATE ? std::clamp<int64_t>(y, 0, height - 1) : fold(mode, y, y + 1, height).first;
}

}  // namespace

void ownSetRowSource(OwnRowSource *source, const MoxImage *image, int firstChannel, int channels) {
    OwnSpan span;
    ownSetSteps(image, firstChannel, &span);
    source->start = reinterpret_cast<const uint8_t *>(ownSampleAt(image, firstChannel, 0, 0));
    source->rowStep = span.rowStep;
    source->step = span.step;
    source->bytes = span.bytes;
    source->channels = channels;
    source->width = image->width;
    source->height = image->height;
    for (int side = 0; side < 4; ++side) {
        source->mode[side] = image->borderMode[side] & 3;
        source->constant[side] = constantOf(image->depth, image->borderConst[side]);
    }
}

const uint8_t *ownRowInPlace(const OwnRowSource &source, int64_t x, int64_t y, int64_t width) {
    if (source.bytes == 0 || source.step != source.channels) return nullptr;
    if (y < 0 || y >= source.height || x < 0 || x + width > source.width) return nullptr;
    return source.start + y * source.rowStep + x * source.step * source.bytes;
}

void ownBorderRow(const OwnRowSource &source, int64_t x, int64_t y, int64_t width, uint8_t *row) {
    int left = LEFT, right = RIGHT;
    if (y < 0 || y >= source.height) {
        left = right = y < 0 ? TOP : BOTTOM;
        if (source.mode[left] == MOX_BORDER_CONSTANT) return fillConstant(source, source.constant[left], width, row);
        y = foldRow(source.mode[left], y, source.height);
    }
    const RowReader reader(source, y);
    const int64_t end = x + width;
    const int64_t inner = std::clamp<int64_t>(0, x, end), innerEnd = std::clamp<int64_t>(source.width, inner, end);
    reader.readOutside(source.mode[left], source.constant[left], x, inner, row);
    if (inner < innerEnd) reader.read({inner, innerEnd - inner, true}, row + (inner - x) * reader.pixelBytes);
    reader.readOutside(source.mode[right], source.constant[right], innerEnd, end,
                       row + (innerEnd - x) * reader.pixelBytes);
}
