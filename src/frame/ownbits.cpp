// Runs of bits within a row: aligned from one bit offset to another, copied without touching their neighbours.
#include <algorithm>
#include <cstring>

#include "frame/ownimage.h"
#include "frame/ownmove.h"

void ownAlignBits(const uint8_t *src, int srcOffset, uint8_t *out, int dstOffset, int64_t count) {
    if (count <= 0) return;
    const int64_t srcBytes = (srcOffset + count + 7) / 8;
    const int64_t outBytes = (dstOffset + count + 7) / 8;
    const int shift = srcOffset - dstOffset;
    if (shift == 0) {
        std::memcpy(out, src, static_cast<size_t>(outBytes));
        return;
    }
    // out[k] takes its high bits from src[first + k] and its low bits from the byte after that.
    const int64_t first = shift > 0 ? 0 : -1;
    const int left = shift & 7;
    const auto at = [&](int64_t k) { return k >= 0 && k < srcBytes ? src[k] : 0; };
    const auto edge = [&](int64_t k) {
        out[k] = static_cast<uint8_t>(at(first + k) << left | at(first + k + 1) >> (8 - left));
    };
    const int64_t inner = -first;                                       // from here both bytes exist
    const int64_t innerEnd = std::min(outBytes, srcBytes - 1 - first);  // up to here
    for (int64_t k = 0; k < std::min(inner, outBytes); ++k)
        edge(k);
    if (innerEnd > inner) {
        ownMoveRows().shiftBits(src + first + inner, left, out + inner, static_cast<size_t>(innerEnd - inner));
    }
    for (int64_t k = std::max(inner, innerEnd); k < outBytes; ++k)
        edge(k);
}

void ownCopyBits(const uint8_t *src, uint8_t *dst, int srcOffset, int dstOffset, int64_t count) {
    if (count <= 0) return;
    const OwnBitRun run = {src, srcOffset, 0};
    ownMoveRows().copy[OWN_1_BYTE].bits({run, run, dst, dstOffset, 0, count, 1}, {});
}
