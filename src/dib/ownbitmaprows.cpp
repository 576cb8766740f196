// The row kernels of the bitmap conversions, compiled once for each CPU level.
#include "dib/ownbitmaprows.h"

#include <cstring>

#include "frame/ownsample.h"

namespace OWN_LEVEL {
namespace {

// Samples of 16 bits at any address.
using Word [[gnu::aligned(1), gnu::may_alias]] = uint16_t;

#if defined(__AVX2__)
constexpr size_t WIDTH = 32;
#else
constexpr size_t WIDTH = 16;
#endif
using Bytes [[gnu::vector_size(WIDTH)]] = uint8_t;

// Which bytes of three vectors in a row are the first or the third of their pixel.
struct PixelBytes {
    alignas(WIDTH) uint8_t first[3 * WIDTH], third[3 * WIDTH];
};
constexpr PixelBytes makePixelBytes() {
    PixelBytes bytes = {};
    for (size_t i = 0; i < 3 * WIDTH; ++i) {
        bytes.first[i] = i % 3 == 0 ? 255 : 0;
        bytes.third[i] = i % 3 == 2 ? 255 : 0;
    }
    return bytes;
}

Bytes load(const uint8_t *p) {
    Bytes bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    return bytes;
}

void swapPixels3(const uint8_t *src, uint8_t *dst, size_t pixels) {
    for (size_t i = 0; i < 3 * pixels; i += 3) {
        const uint8_t first = src[i], third = src[i + 2];
        dst[i] = third;
        dst[i + 1] = src[i + 1];
        dst[i + 2] = first;
    }
}

// WIDTH pixels. The first byte of a pixel comes from two bytes further on, the third from two bytes before: all bytes
// of a vector are in place in one of three loads.
void swapBlock3(const uint8_t *src, uint8_t *dst) {
    static constexpr PixelBytes bytes = makePixelBytes();
    for (size_t k = 0; k < 3 * WIDTH; k += WIDTH) {
        const Bytes first = load(bytes.first + k), third = load(bytes.third + k);
        const Bytes swapped = first ? load(src + k + 2) : third ? load(src + k - 2) : load(src + k);
        std::memcpy(dst + k, &swapped, sizeof swapped);
    }
}

// Blocks begin behind the first pixel and end before the last, since they read a pixel beyond themselves. The first one
// and the last one overlap the others, whose stores are aligned.
void swap3(const uint8_t *src, uint8_t *dst, size_t pixels) {
    if (pixels < WIDTH + 2) return swapPixels3(src, dst, pixels);
    const size_t last = pixels - 1 - WIDTH;
    swapPixels3(src, dst, 1);
    swapBlock3(src + 3, dst + 3);
    size_t i = 2;
    while (reinterpret_cast<uintptr_t>(dst + 3 * i) % WIDTH != 0)
        ++i;
    for (; i < last; i += WIDTH)
        swapBlock3(src + 3 * i, dst + 3 * i);
    swapBlock3(src + 3 * last, dst + 3 * last);
    swapPixels3(src + 3 * (pixels - 1), dst + 3 * (pixels - 1), 1);
}

// The same past the caches: whole lines, computed aside.
void streamSwap3(const uint8_t *src, uint8_t *dst, size_t pixels) {
    constexpr size_t part = OWN_STREAM_BLOCK;
    size_t i = 1;
    while (reinterpret_cast<uintptr_t>(dst + 3 * i) % 64 != 0)
        ++i;
    if (i + part >= pixels) return swap3(src, dst, pixels);
    swap3(src, dst, i);
    for (; i + part < pixels; i += part) {
        alignas(64) uint8_t swapped[3 * part];
        for (size_t k = 0; k < part; k += WIDTH)
            swapBlock3(src + 3 * (i + k), swapped + 3 * k);
        for (size_t k = 0; k < 3; ++k)
            ownStreamBlock(dst + 3 * i + k * part, swapped + k * part);
    }
    swap3(src + 3 * i, dst + 3 * i, pixels - i);
}

void swap4(const uint8_t *src, uint8_t *dst, size_t pixels) {
    for (size_t i = 0; i < pixels; ++i) {
        uint32_t quad;
        std::memcpy(&quad, src + 4 * i, sizeof quad);
        quad = (quad & 0xFF00FF00u) | (quad >> 16 & 0xFF) | (quad & 0xFF) << 16;
        std::memcpy(dst + 4 * i, &quad, sizeof quad);
    }
}

uint32_t highByte(uint8_t sample) {
    return sample;
}
uint32_t highByte(uint16_t sample) {
    return sample >> 8;
}

template <class Sample, int step, bool alpha>
void gatherSteps(const uint8_t *row, const OwnQuadLayout &layout, uint32_t *quads, size_t n) {
    using Aliased [[gnu::aligned(1), gnu::may_alias]] = Sample;
    const Aliased *blue = reinterpret_cast<const Aliased *>(row + layout.offset[0]);
    const Aliased *green = reinterpret_cast<const Aliased *>(row + layout.offset[1]);
    const Aliased *red = reinterpret_cast<const Aliased *>(row + layout.offset[2]);
    const Aliased *opacity = reinterpret_cast<const Aliased *>(row + (alpha ? layout.offset[3] : 0));
    for (size_t i = 0; i < n; ++i) {
        const size_t k = i * step;
        uint32_t quad = highByte(Sample{blue[k]}) | highByte(Sample{green[k]}) << 8 | highByte(Sample{red[k]}) << 16;
        if (alpha) quad |= highByte(Sample{opacity[k]}) << 24;
        quads[i] = quad;
    }
}

template <class Sample, int step, bool alpha>
void scatterSteps(const uint32_t *quads, uint8_t *row, const OwnQuadLayout &layout, size_t n) {
    using Aliased [[gnu::aligned(1), gnu::may_alias]] = Sample;
    constexpr uint32_t scale = sizeof(Sample) == 1 ? 1 : 257;
    Aliased *blue = reinterpret_cast<Aliased *>(row + layout.offset[0]);
    Aliased *green = reinterpret_cast<Aliased *>(row + layout.offset[1]);
    Aliased *red = reinterpret_cast<Aliased *>(row + layout.offset[2]);
    Aliased *opacity = reinterpret_cast<Aliased *>(row + (alpha ? layout.offset[3] : 0));
    for (size_t i = 0; i < n; ++i) {
        const size_t k = i * step;
        blue[k] = static_cast<Sample>((quads[i] & 0xFF) * scale);
        green[k] = static_cast<Sample>((quads[i] >> 8 & 0xFF) * scale);
        red[k] = static_cast<Sample>((quads[i] >> 16 & 0xFF) * scale);
        if (alpha) opacity[k] = static_cast<Sample>((quads[i] >> 24) * scale);
    }
}

// Planes without and with alpha, three channels, four channels.
size_t layoutIndex(const OwnQuadLayout &layout) {
    if (layout.step == 1) return layout.hasAlpha ? 1 : 0;
    return layout.step == 3 ? 2 : 3;
}

template <class Sample>
void gatherSamples(const uint8_t *row, const OwnQuadLayout &layout, uint32_t *quads, size_t n) {
    static constexpr decltype(&gatherSteps<Sample, 1, false>) functions[] = {
        gatherSteps<Sample, 1, false>, gatherSteps<Sample, 1, true>, gatherSteps<Sample, 3, false>,
        gatherSteps<Sample, 4, true>};
    functions[layoutIndex(layout)](row, layout, quads, n);
}

template <class Sample>
void scatterSamples(const uint32_t *quads, uint8_t *row, const OwnQuadLayout &layout, size_t n) {
    static constexpr decltype(&scatterSteps<Sample, 1, false>) functions[] = {
        scatterSteps<Sample, 1, false>, scatterSteps<Sample, 1, true>, scatterSteps<Sample, 3, false>,
        scatterSteps<Sample, 4, true>};
    functions[layoutIndex(layout)](quads, row, layout, n);
}

// Pixels of three bytes, the first one blue or red; alpha is what all quads get.
template <bool blueFirst>
void expand3(const uint8_t *row, uint32_t *quads, size_t n, uint32_t alpha) {
    size_t i = 0;
#if defined(__SSSE3__)
    // Four pixels of the sixteen bytes that are read.
    const __m128i places = blueFirst ? _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1)
                                     : _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    const __m128i alphas = _mm_set1_epi32(static_cast<int>(alpha));
    for (; i + 6 <= n; i += 4) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + 3 * i));
        const __m128i four = _mm_or_si128(_mm_shuffle_epi8(bytes, places), alphas);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(quads + i), four);
    }
#endif
    for (; i < n; ++i) {
        const uint32_t first = row[3 * i], third = row[3 * i + 2];
        quads[i] = alpha | uint32_t{row[3 * i + 1]} << 8 | (blueFirst ? first | third << 16 : third | first << 16);
    }
}

void gather(const uint8_t *row, const OwnQuadLayout &layout, uint32_t *quads, size_t n) {
    if (layout.step == 3 && layout.bytes == 1) {
        (layout.offset[0] == 0 ? expand3<true> : expand3<false>)(row, quads, n, 0);
    } else {
        (layout.bytes == 2 ? gatherSamples<uint16_t> : gatherSamples<uint8_t>)(row, layout, quads, n);
    }
}

void scatter(const uint32_t *quads, uint8_t *row, const OwnQuadLayout &layout, size_t n) {
    (layout.bytes == 2 ? scatterSamples<uint16_t> : scatterSamples<uint8_t>)(quads, row, layout, n);
}

void from24(const uint8_t *row, uint32_t *quads, size_t n) {
    expand3<true>(row, quads, n, 0xFF000000u);
}

void to24(const uint32_t *quads, uint8_t *row, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        row[3 * i] = static_cast<uint8_t>(quads[i]);
        row[3 * i + 1] = static_cast<uint8_t>(quads[i] >> 8);
        row[3 * i + 2] = static_cast<uint8_t>(quads[i] >> 16);
    }
}

void from16(const uint8_t *row, uint32_t *quads, size_t n) {
    const Word *pixels = reinterpret_cast<const Word *>(row);
    for (size_t i = 0; i < n; ++i) {
        const uint32_t pixel = pixels[i];
        const uint32_t high = (pixel & 31) << 3 | (pixel >> 5 & 31) << 11 | (pixel >> 10 & 31) << 19;
        quads[i] = 0xFF000000u | high | (high >> 5 & 0x070707u);
    }
}

void to16(const uint32_t *quads, uint8_t *row, size_t n) {
    Word *pixels = reinterpret_cast<Word *>(row);
    for (size_t i = 0; i < n; ++i) {
        const uint32_t quad = quads[i];
        pixels[i] = static_cast<uint16_t>((quad >> 3 & 31) | (quad >> 6 & 31 << 5) | (quad >> 9 & 31 << 10));
    }
}

void palette(const uint8_t *indices, const uint32_t *colours, uint32_t *quads, size_t n) {
    for (size_t i = 0; i < n; ++i)
        quads[i] = colours[indices[i]];
}

void map(const uint8_t *src, const uint8_t *table, uint8_t *dst, size_t n) {
    for (size_t i = 0; i < n; ++i)
        dst[i] = table[src[i]];
}

// The weights add up to 256: a gray stays what it is.
void gray(const uint32_t *quads, uint8_t *dst, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        const uint32_t quad = quads[i];
        dst[i] = static_cast<uint8_t>((54 * (quad >> 16 & 0xFF) + 183 * (quad >> 8 & 0xFF) + 19 * (quad & 0xFF)) >> 8);
    }
}

void spread(const uint8_t *gray, uint32_t *quads, size_t n) {
    for (size_t i = 0; i < n; ++i)
        quads[i] = gray[i] * 0x010101u;
}

void widen(const uint8_t *src, uint8_t *dst, size_t n) {
    Word *samples = reinterpret_cast<Word *>(dst);
    for (size_t i = 0; i < n; ++i)
        samples[i] = static_cast<uint16_t>(src[i] * 257);
}

void narrow(const uint8_t *src, uint8_t *dst, size_t n) {
    const Word *samples = reinterpret_cast<const Word *>(src);
    for (size_t i = 0; i < n; ++i)
        dst[i] = static_cast<uint8_t>(samples[i] >> 8);
}

void unpack1(const uint8_t *row, uint8_t *indices, size_t n) {
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        for (size_t k = 0; k < 8; ++k)
            indices[i + k] = static_cast<uint8_t>(row[i / 8] >> (7 - k) & 1);
    }
    for (; i < n; ++i)
        indices[i] = static_cast<uint8_t>(row[i / 8] >> (7 - i % 8) & 1);
}

void unpack4(const uint8_t *row, uint8_t *indices, size_t n) {
    for (size_t k = 0; k < n / 2; ++k) {
        indices[2 * k] = row[k] >> 4;
        indices[2 * k + 1] = row[k] & 15;
    }
    if (n % 2 != 0) indices[n - 1] = row[n / 2] >> 4;
}

// The lowest bits of eight bytes come together by a multiplication: each meets its place in the top byte.
void pack1(const uint8_t *indices, uint8_t *row, size_t n) {
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t eight;
        std::memcpy(&eight, indices + i, sizeof eight);
        row[i / 8] = static_cast<uint8_t>((eight & 0x0101010101010101u) * 0x8040201008040201u >> 56);
    }
    if (i == n) return;
    int last = 0;
    for (size_t k = i; k < n; ++k)
        last |= (indices[k] & 1) << (7 - (k - i));
    row[i / 8] = static_cast<uint8_t>(last);
}

void pack4(const uint8_t *indices, uint8_t *row, size_t n) {
    for (size_t k = 0; k < n / 2; ++k)
        row[k] = static_cast<uint8_t>(indices[2 * k] << 4 | (indices[2 * k + 1] & 15));
    if (n % 2 != 0) row[n / 2] = static_cast<uint8_t>(indices[n - 1] << 4);
}

}  // namespace

extern const OwnBitmapRows bitmapRows;
const OwnBitmapRows bitmapRows = {swap3, streamSwap3, swap4,  gather, scatter, from24,  to24,    from16, to16, palette,
                                  map,   gray,        spread, widen,  narrow,  unpack1, unpack4, pack1,  pack4};

}  // namespace OWN_LEVEL
