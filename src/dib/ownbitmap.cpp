// The header of a bitmap: its tests, and where masks, palette and pixels lie. Nothing here trusts a field further than
// its test went.
#include "dib/ownbitmap.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

namespace {

struct HeaderTest {
    bool fails;
    const char *packed, *separate;
};

bool isBitCount(int bits) {
    return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

void storeEntry(uint8_t *entry, uint32_t value) {
    entry[0] = static_cast<uint8_t>(value);
    entry[1] = static_cast<uint8_t>(value >> 8);
    entry[2] = static_cast<uint8_t>(value >> 16);
    entry[3] = 0;
}

// The bits of a mask as a run, or no run where they are none, or not together.
OwnPixelField runOf(uint32_t mask) {
    if (mask == 0) return {0, 0};
    int shift = 0, width = 0;
    while ((mask >> shift & 1) == 0)
        ++shift;
    while (shift + width < 32 && (mask >> (shift + width) & 1) != 0)
        ++width;
    const uint32_t run = static_cast<uint32_t>(((uint64_t{1} << width) - 1) << shift);
    return mask == run ? OwnPixelField{shift, width} : OwnPixelField{0, 0};
}

uint8_t *behindHeader(const OwnBitmap &bitmap) {
    return reinterpret_cast<uint8_t *>(bitmap.header) + sizeof(BITMAPINFOHEADER);
}

}  // namespace

const char *ownFindBitmapFault(const OwnBitmap &bitmap, bool testBitCount) {
    const BITMAPINFOHEADER &h = *bitmap.header;
    const bool unknown = h.biCompression != BI_RGB && h.biCompression != BI_BITFIELDS && !ownIsCompressed(h);
    const std::initializer_list<HeaderTest> tests = {
        {h.biPlanes != 1, "(dib->biPlanes != 1)", "(dibHeader->biPlanes != 1)"},
        {unknown,
         "(dib->biCompression != 0) && (dib->biCompression != 1) && (dib->biCompression != 2) && "
         "(dib->biCompression != 3)",
         "(dibHeader->biCompression != 0) && (dibHeader->biCompression != 1) && (dibHeader->biCompression != 2) && "
         "(dibHeader->biCompression != 3)"},
        {h.biBitCount != 8 && h.biCompression == BI_RLE8, "(dib->biBitCount != 8) && (dib->biCompression == 1)",
         "(dibHeader->biBitCount != 8) && (dibHeader->biCompression == 1)"},
        {h.biBitCount != 4 && h.biCompression == BI_RLE4, "(dib->biBitCount != 4) && (dib->biCompression == 2)",
         "(dibHeader->biBitCount != 4) && (dibHeader->biCompression == 2)"},
        {h.biHeight < 0 && ownIsCompressed(h),
         "(dib->biHeight < 0) && ( (dib->biCompression == 1) || (dib->biCompression == 2) )",
         "(dibHeader->biHeight < 0) && ( (dibHeader->biCompression == 1) || (dibHeader->biCompression == 2) )"},
        {h.biClrUsed > 0x8000, "(dib->biClrUsed > 0x8000)", "(dibHeader->biClrUsed > 0x8000)"},
        {h.biBitCount == 8 && h.biClrUsed > 256, "( dib->biBitCount==8 && dib->biClrUsed>256 )",
         "( dibHeader->biBitCount==8 && dibHeader->biClrUsed>256 )"},
        {h.biBitCount == 4 && h.biClrUsed > 16, "( dib->biBitCount==4 && dib->biClrUsed>16 )",
         "( dibHeader->biBitCount==4 && dibHeader->biClrUsed>16 )"},
        {testBitCount && !isBitCount(h.biBitCount), "dib->biBitCount is bad", "dibHeader->biBitCount is bad"},
    };
    for (const HeaderTest &test : tests) {
        if (test.fails) return bitmap.form == OWN_BITMAP_PACKED ? test.packed : test.separate;
    }
    return nullptr;
}

int64_t ownBitmapRowBytes(const BITMAPINFOHEADER &header) {
    return (static_cast<int64_t>(header.biWidth) * header.biBitCount + 31) / 32 * 4;
}

int64_t ownBitmapHeight(const BITMAPINFOHEADER &header) {
    const int64_t height = header.biHeight;
    return height < 0 ? -height : height;
}

uint8_t *ownBitmapPalette(const OwnBitmap &bitmap) {
    return behindHeader(bitmap) + (ownHasMasks(*bitmap.header) ? 12 : 0);
}

int ownPaletteEntries(const BITMAPINFOHEADER &header) {
    if (header.biClrUsed != 0) return static_cast<int>(header.biClrUsed);
    return header.biBitCount <= 8 ? 1 << header.biBitCount : 0;
}

int ownReachableEntries(const BITMAPINFOHEADER &header) {
    return std::min(ownPaletteEntries(header), 1 << header.biBitCount);
}

bool ownPaletteIsGray(const OwnBitmap &bitmap) {
    const int count = ownPaletteEntries(*bitmap.header);
    if (count < 2) return false;
    const uint8_t *entry = ownBitmapPalette(bitmap);
    for (int i = 0; i < count; ++i, entry += 4) {
        const int gray = i * 255 / (count - 1);
        if (entry[0] != gray || entry[1] != gray || entry[2] != gray) return false;
    }
    return true;
}

void ownFixedPalette(uint8_t *palette, int entries, bool gray) {
    static constexpr uint32_t sixteen[] = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080,
                                           0x008080, 0x808080, 0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00,
                                           0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
    static constexpr uint32_t eight[] = {0, 32, 64, 96, 128, 160, 192, 255}, four[] = {0, 64, 128, 255};
    for (uint32_t i = 0; i < static_cast<uint32_t>(entries); ++i, palette += 4) {
        if (gray || entries == 2) {
            storeEntry(palette, 255 / (static_cast<uint32_t>(entries) - 1) * i * 0x010101);
        } else if (entries == 16) {
            storeEntry(palette, sixteen[i]);
        } else {
            storeEntry(palette, eight[i >> 5] << 16 | eight[i >> 2 & 7] << 8 | four[i & 3]);
        }
    }
}

uint8_t *ownBitmapPixels(const OwnBitmap &bitmap) {
    if (bitmap.data) return static_cast<uint8_t *>(bitmap.data);
    return ownBitmapPalette(bitmap) + int64_t{4} * ownPaletteEntries(*bitmap.header);
}

OwnPixelMasks ownUsualMasks(int bitCount) {
    if (bitCount == 16) return {{{0, 5}, {5, 5}, {10, 5}, {0, 0}}};
    return {{{0, 8}, {8, 8}, {16, 8}, {24, 8}}};
}

bool ownReadMasks(const OwnBitmap &bitmap, OwnPixelMasks *masks) {
    const int bits = bitmap.header->biBitCount;
    *masks = ownUsualMasks(bits);
    if (!ownHasMasks(*bitmap.header)) return true;
    uint32_t words[3];  // red, green, blue
    std::memcpy(words, behindHeader(bitmap), sizeof words);
    const OwnPixelField red = runOf(words[0]), green = runOf(words[1]), blue = runOf(words[2]);
    const uint32_t all = words[0] | words[1] | words[2];
    const bool good = red.width != 0 && green.width != 0 && blue.width != 0 && (words[0] & words[1]) == 0 &&
                      (words[0] & words[2]) == 0 && (words[1] & words[2]) == 0 && (bits == 32 || all <= 0xFFFF);
    if (good) *masks = {{blue, green, red, bits == 32 ? runOf(~all) : OwnPixelField{0, 0}}};
    return good;
}

void ownStoreUsualMasks(const OwnBitmap &bitmap) {
    const uint32_t words16[] = {0x7C00, 0x03E0, 0x001F}, words32[] = {0xFF0000, 0x00FF00, 0x0000FF};
    std::memcpy(behindHeader(bitmap), bitmap.header->biBitCount == 16 ? words16 : words32, 12);
}
