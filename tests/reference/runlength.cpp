// Run-length streams.
#include "reference/runlength.h"

#include <cstddef>

const char *refFaultText(int fault) {
    switch (fault) {
        case RefDrawn::HEIGHT_OR_WIDTH:
            return "mismatch biHeight or biWidth";
        case RefDrawn::WIDTH:
            return "mismatch biWidth";
        case RefDrawn::DELTA:
            return "bad Delta command";
        default:
            return "mismatch biHeight";
    }
}

namespace {

// A pen over a canvas of pixels, without any thought of bytes.
struct Pen {
    int width, height;
    int column = 0, row = 0;
    RefDrawn drawn;

    // Overflowing pixels fall beside the canvas: the next command finds the column out.
    void put(int pixel) {
        if (column < width && row < height) {
            drawn.pixels[static_cast<size_t>(row) * static_cast<size_t>(width) + static_cast<size_t>(column)] = pixel;
        }
        ++column;
    }
};

// The pixels that a value or a literal's bytes stand for.
int nibble(int byte, int which) {
    return which & 1 ? byte & 15 : byte >> 4;
}

}  // namespace

RefDrawn refDrawStream(int bits, int width, int height, const std::vector<uint8_t> &stream) {
    Pen pen = {width, height, 0, 0, {}};
    pen.drawn.pixels.assign(static_cast<size_t>(width) * static_cast<size_t>(height), -1);
    size_t at = 0;
    auto fails = [&](int fault) {
        pen.drawn.fault = fault;
        return pen.drawn;
    };
    // Pixels that a row of the buffer has room for.
    const int64_t room = bits == 8 ? (int64_t{width} + 3) / 4 * 4 : (int64_t{width} + 7) / 8 * 8;
    auto leavesBuffer = [&] { return pen.row * room + pen.column > height * room; };
    for (;;) {
        const bool ended = at + 2 > stream.size();
        if (pen.row > height || pen.column > width) {
            // An end of row in a column beyond the width breaks its own rule too.
            const bool atRowEnd = !ended && stream[at] == 0 && stream[at + 1] == 0;
            return fails(ended ? RefDrawn::ANY : RefDrawn::HEIGHT_OR_WIDTH | (atRowEnd ? RefDrawn::WIDTH : 0));
        }
        if (ended) return fails(RefDrawn::ANY);
        const int count = stream[at], value = stream[at + 1];
        at += 2;
        if (count > 0) {
            if (pen.row == height) return fails(RefDrawn::ANY);
            for (int i = 0; i < count; ++i)
                pen.put(bits == 8 ? value : nibble(value, i));
            // Nothing is written beyond the last row's padding.
            if (leavesBuffer()) return fails(RefDrawn::ANY);
            continue;
        }
        if (value == 0) {
            if (pen.column != width) return fails(RefDrawn::WIDTH);
            pen.column = 0;
            ++pen.row;
        } else if (value == 1) {
            if (pen.row != height && pen.row != height - 1) return fails(RefDrawn::HEIGHT);
            return pen.drawn;
        } else if (value == 2) {
            if (at + 2 > stream.size()) return fails(RefDrawn::ANY);
            pen.column += stream[at];
            pen.row += stream[at + 1];
            at += 2;
            if (pen.column > width || pen.row > height) return fails(RefDrawn::DELTA);
        } else {
            const size_t bytes = bits == 8 ? static_cast<size_t>(value) : (static_cast<size_t>(value) + 1) / 2;
            if (pen.row == height || at + bytes > stream.size()) return fails(RefDrawn::ANY);
            for (int i = 0; i < value; ++i) {
                pen.put(bits == 8 ? stream[at + static_cast<size_t>(i)]
                                  : nibble(stream[at + static_cast<size_t>(i / 2)], i));
            }
            if (leavesBuffer()) return fails(RefDrawn::ANY);
            at += bytes + (bytes & 1);
        }
    }
}

std::vector<uint8_t> refEncodeRow8(const std::vector<uint8_t> &pixels, size_t first, size_t width) {
    std::vector<uint8_t> stream;
    const uint8_t *row = pixels.data() + first;
    const size_t known = pixels.size() - first;
    auto single = [&](uint8_t pixel) { stream.insert(stream.end(), {1, pixel}); };
    // Three in a row from here on, read beyond the row's end but not beyond the last pixel.
    auto tripleAt = [&](size_t i) { return i + 2 < known && row[i] == row[i + 1] && row[i] == row[i + 2]; };
    size_t i = 0;
    while (i + 3 < width) {
        const uint8_t a = row[i], b = row[i + 1], c = row[i + 2], d = row[i + 3];
        if (a == b) {
            size_t count = 2;
            while (i + count < width && count < 255 && row[i + count] == a)
                ++count;
            stream.insert(stream.end(), {static_cast<uint8_t>(count), a});
            i += count;
        } else if (b == c) {
            single(a);
            i += 1;
        } else if (c == d) {
            single(a);
            single(b);
            i += 2;
        } else {
            size_t count = 3;
            while (i + count < width && count < 255 && !tripleAt(i + count))
                ++count;
            stream.insert(stream.end(), {0, static_cast<uint8_t>(count)});
            stream.insert(stream.end(), row + i, row + i + count);
            if (count & 1) stream.push_back(0);
            i += count;
        }
    }
    for (; i < width; ++i)
        single(row[i]);
    stream.insert(stream.end(), {0, 0});
    return stream;
}

std::vector<uint8_t> refEncode8(const std::vector<uint8_t> &rows, int width, int height) {
    const size_t rowBytes = (static_cast<size_t>(width) + 3) / 4 * 4;
    std::vector<uint8_t> stream;
    for (size_t y = 0; y < static_cast<size_t>(height); ++y) {
        const std::vector<uint8_t> row = refEncodeRow8(rows, y * rowBytes, static_cast<size_t>(width));
        stream.insert(stream.end(), row.begin(), row.end());
    }
    stream.insert(stream.end(), {0, 1});
    return stream;
}

namespace {

// One command of a 4-bit stream with the pixels that it draws.
struct Command {
    size_t bytes = 0;
    bool literal = false, endOfRow = false;
    int count = 0;
    uint8_t value = 0;
    bool padded = true;  // pad bits and bytes are 0
    std::vector<int> pixels;
};

Command commandAt(const uint8_t *stream, size_t size) {
    Command command;
    if (size < 2) return command;
    command.bytes = 2;
    command.value = stream[1];
    if (stream[0] > 0) {
        command.count = stream[0];
        for (int i = 0; i < command.count; ++i)
            command.pixels.push_back(nibble(stream[1], i));
    } else if (stream[1] == 0) {
        command.endOfRow = true;
    } else {
        command.literal = true;
        command.count = stream[1];
        const size_t bytes = static_cast<size_t>(command.count + 3) / 4 * 2;
        if (command.count < 3 || size < 2 + bytes) return Command();
        for (int i = 0; i < command.count; ++i)
            command.pixels.push_back(nibble(stream[2 + i / 2], i));
        for (int i = command.count; i < static_cast<int>(2 * bytes); ++i)
            command.padded = command.padded && nibble(stream[2 + i / 2], i) == 0;
        command.bytes += bytes;
    }
    return command;
}

// The command that the first three rules ask for at a place; count 0 where a literal starts.
Command ruled(const std::vector<int> &row, size_t i) {
    const int *q = row.data() + i;
    Command wanted;
    const uint8_t pair = static_cast<uint8_t>(q[0] << 4 | q[1]);
    if (q[1] == q[3] && q[0] == q[2]) {
        wanted.count = 4;
        while (wanted.count < 255 && i + static_cast<size_t>(wanted.count) < row.size() &&
               q[wanted.count] == q[wanted.count & 1]) {
            ++wanted.count;
        }
        wanted.value = pair;
    } else if (q[1] == q[3]) {
        wanted.count = q[2] != q[4] ? 2 : 1;
        wanted.value = q[2] != q[4] ? pair : static_cast<uint8_t>(q[0] << 4);
    } else if (q[2] == q[4]) {
        wanted.count = 2;
        wanted.value = pair;
    }
    return wanted;
}

std::string at(size_t i, const char *what) {
    return "pixel " + std::to_string(i) + ": " + what;
}

}  // namespace

std::string refCheckRow4(const std::vector<int> &row, const uint8_t *stream, size_t size, size_t *used) {
    size_t i = 0, place = 0;
    while (i < row.size()) {
        const Command seen = commandAt(stream + place, size - place);
        if (seen.bytes == 0) return at(i, "the stream ends");
        if (seen.endOfRow) return at(i, "the row ends early");
        if (i + static_cast<size_t>(seen.count) > row.size()) return at(i, "the command passes the row's end");
        for (size_t k = 0; k < seen.pixels.size(); ++k) {
            if (seen.pixels[k] != row[i + k]) return at(i + k, "another pixel is written");
        }
        place += seen.bytes;
        if (i + 5 >= row.size()) {
            if (seen.literal) return at(i, "a literal in the row's tail");
            i += static_cast<size_t>(seen.count);
            continue;
        }
        const Command wanted = ruled(row, i);
        if (wanted.count == 0) {
            if (!seen.literal) return at(i, "a literal should start");
            if (!seen.padded) return at(i, "the literal's padding is not 0");
        } else if (seen.literal || seen.count != wanted.count || seen.value != wanted.value) {
            return at(i, "a run should be ") + std::to_string(wanted.count) + " of " + std::to_string(wanted.value);
        }
        i += static_cast<size_t>(seen.count);
        // The pair of the second rule is followed by the single pixel between.
        if (wanted.count == 2 && row[i - 1] == row[i + 1] && row[i] != row[i + 2]) {
            const Command next = commandAt(stream + place, size - place);
            if (next.literal || next.count != 1 || next.value != row[i] << 4) return at(i, "a single pixel should be");
            place += next.bytes;
            ++i;
        }
    }
    const Command end = commandAt(stream + place, size - place);
    if (end.bytes == 0 || !end.endOfRow) return at(i, "the end of the row is missing");
    *used = place + 2;
    return {};
}
