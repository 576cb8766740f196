// The sampler: kernels make contiguous pixels, which stand in the destination already or come there from a scratch.
#include "geometry/ownsampler.h"

#include <algorithm>
#include <cstring>

#include "core/owncpu.h"
#include "frame/ownmove.h"

OWN_DECLARE_LEVELS(OwnSampleNearestRows, sampleNearestRows)
OWN_DECLARE_LEVELS(OwnSampleLinearRows, sampleLinearRows)
OWN_DECLARE_LEVELS(OwnSampleCubicRows, sampleCubicRows)

const OwnSampleNearestRows &ownSampleNearestRows() {
    static constexpr const OwnSampleNearestRows *tables[] = OWN_LEVEL_TABLES(sampleNearestRows);
    return *tables[ownCpuLevel()];
}
const OwnSampleLinearRows &ownSampleLinearRows() {
    static constexpr const OwnSampleLinearRows *tables[] = OWN_LEVEL_TABLES(sampleLinearRows);
    return *tables[ownCpuLevel()];
}
const OwnSampleCubicRows &ownSampleCubicRows() {
    static constexpr const OwnSampleCubicRows *tables[] = OWN_LEVEL_TABLES(sampleCubicRows);
    return *tables[ownCpuLevel()];
}

namespace {

// Pixels that go through the scratch at once, and their bytes at most.
constexpr int64_t STRETCH = 512;
constexpr int WIDEST_PIXEL = 16;

OwnSampleRow kernelOf(OwnSampling sampling, int bytes, OwnTogether together) {
    const OwnSampleSize depth = ownSampleSize(bytes);
    switch (sampling) {
        case OWN_SAMPLE_NEAREST:
            return bytes == 0 ? ownSampleNearestRows().bits : ownSampleNearestRows().pixels[depth][together];
        case OWN_SAMPLE_LINEAR_FIXED:
            return ownSampleLinearRows().fixed8U[together];
        case OWN_SAMPLE_LINEAR_SINGLE:
            return ownSampleLinearRows().single32F[together];
        case OWN_SAMPLE_LINEAR_DOUBLE:
            return ownSampleLinearRows().double16U[together];
        case OWN_SAMPLE_CUBIC:
            return ownSampleCubicRows().cubic[depth][together];
        case OWN_SAMPLE_CUBIC_DOUBLE:
            return ownSampleCubicRows().cubicDouble[depth][together];
        default:
            return ownSampleLinearRows().linear[depth][together];
    }
}

// The samples of a pixel that a kernel takes at once: all of them, where few beside the processed ones are made for
// nothing and both images have them at one place.
int samplesTogether(const OwnSpan &src, const OwnSpan &dst, int channels) {
    if (src.step == channels && (channels == 3 || channels == 4)) return channels;
    const bool alike = src.step == dst.step && src.first == dst.first;
    return alike && src.step == 4 && channels == 3 && src.first == 0 ? 4 : 1;
}

void advanceBits(OwnSpan *span, int64_t x) {
    span->start += (span->bit + x) / 8;
    span->bit = static_cast<int>((span->bit + x) % 8);
}

// The pixels of a stretch that are written, as bits, or null for all: those that the caller keeps and the mask has.
class Kept {
  public:
    const uint8_t *set(const OwnSpan *mask, const uint8_t *keep, int64_t x, int64_t n) {
        const auto bytes = static_cast<size_t>((n + 7) / 8);
        if (!mask) return keep && !allSet(keep, n) ? keep : nullptr;
        OwnSpan bits = *mask;
        advanceBits(&bits, x);
        ownAlignBits(bits.start, bits.bit, bits_, 0, n);
        if (keep) {
            for (size_t k = 0; k < bytes; ++k)
                bits_[k] &= keep[k];
        }
        return allSet(bits_, n) ? nullptr : bits_;
    }

  private:
    static bool allSet(const uint8_t *bits, int64_t n) {
        unsigned all = 255;
        for (int64_t k = 0; k < n / 8; ++k)
            all &= bits[k];
        if (n % 8 != 0) all &= bits[n / 8] | 255u >> n % 8;
        return (all & 255) == 255;
    }

    uint8_t bits_[STRETCH / 8 + 1];
};

// Where the samples of a stretch come to: in the destination, or the scratch.
struct Stretch {
    const void *x, *y;
    int64_t n;
    const uint8_t *kept;
};

// Stores the scratch in the destination, whose first pixel is at the start of its span.
void store(const OwnSpan &dst, int channels, int together, uint8_t *scratch, const Stretch &stretch) {
    OwnRows rows;
    const int first = together == dst.step ? dst.first : 0;
    const int64_t pixelBytes = int64_t{together} * dst.bytes;
    rows.spans[0] = {scratch + first * dst.bytes, stretch.n * pixelBytes, 0, together, first, dst.bytes, 0};
    rows.spans[1] = dst;
    rows.count = 2;
    rows.masked = stretch.kept != nullptr;
    rows.mask = {const_cast<uint8_t *>(stretch.kept), 0, 0, 1, 0, 0, 0};
    rows.exchange = false;
    rows.width = static_cast<int>(stretch.n);
    rows.height = 1;
    rows.channels = channels;
    rows.planes = 1;
    rows.whole = 0;
    ownRunRows(rows, ownMoveRows().copy[ownSampleSize(dst.bytes)], {});
}

void sampleStretch(const OwnSampler &sampler, const OwnSampled &src, const OwnSpan &dst, const Stretch &stretch) {
    const auto n = static_cast<size_t>(stretch.n);
    const bool contiguous = dst.bytes > 0 && sampler.together == sampler.channels && dst.step == sampler.channels;
    if (contiguous && !stretch.kept) return sampler.kernel(src, stretch.x, stretch.y, dst.start, n);
    alignas(64) uint8_t scratch[STRETCH * WIDEST_PIXEL];
    if (sampler.together > 1 || sampler.channels == 1) {
        sampler.kernel(src, stretch.x, stretch.y, scratch, n);
        return store(dst, sampler.channels, sampler.together, scratch, stretch);
    }
    OwnSampled channel = src;
    OwnSpan to = dst;
    for (int c = 0; c < sampler.channels; ++c) {
        sampler.kernel(channel, stretch.x, stretch.y, scratch, n);
        store(to, 1, 1, scratch, stretch);
        channel.origin += dst.bytes;
        to.start += dst.bytes;
        to.first += 1;
    }
}

}  // namespace

void ownSetSampler(OwnSampler *sampler, const MoxImage *src, const MoxImage *dst, const MoxImage *mask,
                   OwnSampling sampling) {
    OwnImageRect rect;
    ownImageRect(src, &rect);
    int unused[2];
    const OwnSpan from = ownSpan(src, ownFirstChannel(src), &unused[0], &unused[1]);
    const bool planar = src->dataOrder == MOX_DATA_ORDER_PLANE;
    sampler->destination = ownSpan(dst, ownFirstChannel(dst), &unused[0], &unused[1]);
    sampler->masked = mask != nullptr;
    if (mask) sampler->mask = ownSpan(mask, 0, &unused[0], &unused[1]);
    const int channels = ownChannels(dst);
    sampler->channels = planar ? 1 : channels;
    sampler->planes = planar ? channels : 1;
    sampler->sourcePlaneStep = from.planeStep;
    OwnSampled &source = sampler->source;
    source.origin = from.start;
    source.rowStep = from.rowStep;
    source.pixelStep = from.step * from.bytes;
    source.bit = from.bytes == 0 ? from.bit : 0;
    source.ahead = OWN_ROWS_AHEAD * from.rowStep;
    source.left = source.originX = static_cast<int>(rect.x);
    source.top = source.originY = static_cast<int>(rect.y);
    source.right = static_cast<int>(rect.x + rect.width - 1);
    source.bottom = static_cast<int>(rect.y + rect.height - 1);
    sampler->together = from.bytes == 0 ? 1 : samplesTogether(from, sampler->destination, sampler->channels);
    const OwnTogether together = sampler->together == 3 ? OWN_THREE : sampler->together == 4 ? OWN_FOUR : OWN_ALONE;
    sampler->kernel = kernelOf(sampling, from.bytes, together);
    const bool isDouble = sampling == OWN_SAMPLE_LINEAR_DOUBLE || sampling == OWN_SAMPLE_CUBIC_DOUBLE;
    sampler->positionBytes = isDouble ? 8 : 4;
}

void ownSamplePixels(const OwnSampler &sampler, int64_t x, int64_t y, const void *xs, const void *ys,
                     const uint8_t *keep, int64_t n) {
    OwnSpan mask = {};
    if (sampler.masked) {
        mask = sampler.mask;
        mask.start += y * mask.rowStep;
    }
    const auto *px = static_cast<const uint8_t *>(xs), *py = static_cast<const uint8_t *>(ys);
    Kept kept;
    for (int64_t i = 0; i < n; i += STRETCH) {
        const int64_t count = std::min(STRETCH, n - i), at = i * sampler.positionBytes;
        const uint8_t *bits = kept.set(sampler.masked ? &mask : nullptr, keep ? keep + i / 8 : nullptr, x + i, count);
        const Stretch stretch = {px + at, py + at, count, bits};
        OwnSampled src = sampler.source;
        OwnSpan dst = sampler.destination;
        dst.start += y * dst.rowStep;
        if (dst.bytes == 0) {
            advanceBits(&dst, x + i);
        } else {
            dst.start += (x + i) * dst.step * dst.bytes;
        }
        for (int plane = 0; plane < sampler.planes; ++plane) {
            sampleStretch(sampler, src, dst, stretch);
            src.origin += sampler.sourcePlaneStep;
            dst.start += dst.planeStep;
        }
    }
}
