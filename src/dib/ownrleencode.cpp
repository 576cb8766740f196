// The run-length encoder of bitmaps. Its choices are part of the contract: the same pixels give the same stream.
#include <bit>
#include <climits>
#include <cstring>

#include "dib/ownrle.h"

namespace {

constexpr int64_t LONGEST = 255;

// The pixels of all rows, padding included: nothing behind end is looked at.
struct Pixels {
    const uint8_t *end;
    int64_t width;
};

uint64_t loadEight(const uint8_t *p) {
    uint64_t word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// The index of the first zero byte in memory, or 8.
int firstZeroByte(uint64_t word) {
    if constexpr (std::endian::native == std::endian::little) {
        return std::countr_zero((word - 0x0101010101010101u) & ~word & 0x8080808080808080u) / 8;
    } else {
        for (int i = 0; i < 8; ++i) {
            if ((word >> (56 - 8 * i) & 255) == 0) return i;
        }
        return 8;
    }
}
int firstNonzeroByte(uint64_t word) {
    constexpr bool little = std::endian::native == std::endian::little;
    return (little ? std::countr_zero(word) : std::countl_zero(word)) / 8;
}

// How many of the pixels from p on, up to most, are like the first.
int64_t runLength(const uint8_t *p, const uint8_t *end, int64_t most) {
    const uint64_t pattern = *p * 0x0101010101010101u;
    int64_t n = 1;
    while (n < most) {
        if (end - (p + n) < 8) {
            while (n < most && p[n] == *p)
                ++n;
            return n;
        }
        const int same = firstNonzeroByte(loadEight(p + n) ^ pattern);
        n += same;
        if (same < 8) break;
    }
    return n < most ? n : most;
}

// How many of the pixels from p on, up to most, come before one that equals both pixels behind it. These may be padding
// or the next row's; behind the last row there are none.
int64_t literalLength(const uint8_t *p, const uint8_t *end, int64_t most) {
    int64_t n = 0;
    while (n < most) {
        const uint8_t *at = p + n;
        if (end - at < 10) {
            if (end - at >= 3 && at[0] == at[1] && at[1] == at[2]) break;
            ++n;
            continue;
        }
        const uint64_t here = loadEight(at), one = loadEight(at + 1), two = loadEight(at + 2);
        const int before = firstZeroByte((here ^ one) | (one ^ two));
        n += before;
        if (before < 8) break;
    }
    return n < most ? n : most;
}

uint8_t *put(uint8_t *out, int64_t first, int64_t second) {
    out[0] = static_cast<uint8_t>(first);
    out[1] = static_cast<uint8_t>(second);
    return out + 2;
}

uint8_t *encodeRow8(const uint8_t *row, const Pixels &pixels, uint8_t *out) {
    const int64_t width = pixels.width;
    int64_t i = 0;
    while (i < width - 3) {
        const uint8_t *p = row + i;
        const int64_t most = width - i < LONGEST ? width - i : LONGEST;
        if (p[0] == p[1]) {
            const int64_t count = runLength(p, pixels.end, most);
            out = put(out, count, p[0]);
            i += count;
        } else if (p[1] == p[2]) {
            out = put(out, 1, p[0]);
            i += 1;
        } else if (p[2] == p[3]) {
            out = put(put(out, 1, p[0]), 1, p[1]);
            i += 2;
        } else {
            const int64_t count = 3 + literalLength(p + 3, pixels.end, most - 3);
            out = put(out, 0, count);
            std::memcpy(out, p, static_cast<size_t>(count));
            out += count;
            if (count % 2 != 0) *out++ = 0;
            i += count;
        }
    }
    for (; i < width; ++i)
        out = put(out, 1, row[i]);
    return put(out, 0, 0);
}

// q holds the row's pixels, one a byte.
int64_t alternatingLength(const uint8_t *q, int64_t most) {
    int64_t n = 2;
    while (n < most && q[n] == q[n - 2])
        ++n;
    return n;
}

// Two pixels at a time, as long as they do not begin a pair that repeats.
int64_t literalLength4(const uint8_t *q, int64_t left) {
    const int64_t most = left < LONGEST ? left : LONGEST;
    int64_t n = 3;
    while (n < most) {
        if (n + 3 < left && q[n] == q[n + 2] && q[n + 1] == q[n + 3]) break;
        n += n + 1 < most ? 2 : 1;
    }
    return n;
}

uint8_t *putNibbles(uint8_t *out, const uint8_t *q, int64_t count) {
    out = put(out, 0, count);
    for (int64_t k = 0; k < count; k += 2)
        *out++ = static_cast<uint8_t>(q[k] << 4 | (k + 1 < count ? q[k + 1] : 0));
    if ((count + 1) / 2 % 2 != 0) *out++ = 0;
    return out;
}

uint8_t *encodeRow4(const uint8_t *q, int64_t width, uint8_t *out) {
    int64_t i = 0;
    while (i < width - 5) {
        const uint8_t *p = q + i;
        const int pair = p[0] << 4 | p[1];
        const int64_t left = width - i;
        if (p[1] == p[3] && p[0] == p[2]) {
            const int64_t count = alternatingLength(p, left < LONGEST ? left : LONGEST);
            out = put(out, count, pair);
            i += count;
        } else if (p[1] == p[3] && p[2] == p[4]) {
            out = put(out, 1, p[0] << 4);
            i += 1;
        } else if (p[1] == p[3]) {
            out = put(put(out, 2, pair), 1, p[2] << 4);
            i += 3;
        } else if (p[2] != p[4]) {
            const int64_t count = literalLength4(p, left);
            out = putNibbles(out, p, count);
            i += count;
        } else {
            out = put(out, 2, pair);
            i += 2;
        }
    }
    for (; i + 1 < width; i += 2)
        out = put(out, 2, q[i] << 4 | q[i + 1]);
    if (i < width) out = put(out, 1, q[i] << 4);
    return put(out, 0, 0);
}

void unpackRow(const uint8_t *row, uint8_t *q, int64_t width) {
    for (int64_t i = 0; i < width; ++i)
        q[i] = i % 2 == 0 ? row[i / 2] >> 4 : row[i / 2] & 15;
}

struct Plan {
    int64_t width, height, rowBytes;
    int64_t plainSize, workSize;
    bool eight;
};

// The stream's size, or -1 as soon as it is not below the plain one.
int64_t encode(const Plan &plan, const uint8_t *pixels, uint8_t *work, uint8_t *nibbles) {
    const Pixels all = {pixels + plan.plainSize, plan.width};
    uint8_t *out = work;
    for (int64_t y = 0; y < plan.height; ++y, pixels += plan.rowBytes) {
        if (plan.eight) {
            out = encodeRow8(pixels, all, out);
        } else {
            unpackRow(pixels, nibbles, plan.width);
            out = encodeRow4(nibbles, plan.width, out);
        }
        if (out - work + 2 >= plan.plainSize) return -1;
    }
    return put(out, 0, 1) - work;
}

}  // namespace

int ownEncodeRLE(const OwnCaller &caller, const OwnBitmap &bitmap) {
    BITMAPINFOHEADER &header = *bitmap.header;
    Plan plan = {header.biWidth, ownBitmapHeight(header), ownBitmapRowBytes(header), 0, 0, false};
    plan.eight = header.biCompression == BI_RLE8;
    plan.plainSize = plan.height * plan.rowBytes;
    // At worst a row takes two bytes a pixel. No more is encoded once the stream is as large as the plain pixels.
    const int64_t worstRow = 2 * plan.width + 2;
    const int64_t limit = plan.plainSize < worstRow * plan.height ? plan.plainSize : worstRow * plan.height;
    plan.workSize = limit + worstRow + 2;
    const int64_t wanted = plan.workSize + (plan.eight ? 0 : plan.width);
    auto *work = static_cast<uint8_t *>(wanted <= INT_MAX ? moxMalloc(static_cast<int>(wanted)) : nullptr);
    if (!work) {
        ownReport(caller, MOX_StatusNoMemory,
                  plan.eight ? "Not enough memory to compress DIB at BI_RLE8 DIB"
                             : "Not enough memory to compress DIB at BI_RLE4 DIB");
        return 0;
    }
    uint8_t *pixels = ownBitmapPixels(bitmap);
    const int64_t size = encode(plan, pixels, work, work + plan.workSize);
    if (size < 0) {
        header.biCompression = BI_RGB;
    } else {
        std::memcpy(pixels, work, static_cast<size_t>(size));
        header.biSizeImage = static_cast<uint32_t>(size);
    }
    moxFree(work);
    return 1;
}
