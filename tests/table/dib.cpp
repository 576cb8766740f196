// Example calls: bitmaps.
#if defined(_WIN32)
#include <windows.h>
#endif

#include <cstdlib>
#include <cstring>

#include "table/examples.h"

namespace {

using Call = ExampleCall;
constexpr Touches NOTHING = Touches::NOTHING, BITMAPS = Touches::BITMAPS;

// A bitmap of the image's size, if that is a small one; an array for each part, with nothing behind it.
struct ExampleBitmap {
    BITMAPINFOHEADER header = {};
    std::vector<uint32_t> packed, front, pixels;  // header, masks, palette and pixels; all but the pixels; the pixels

    ExampleBitmap(Call &call, const MoxImage *image, int usualBits) {
        static const int depths[] = {1, 4, 8, 16, 24, 32};
        Random *random = call.random;
        const bool fits =
            image && image->width >= 1 && image->width <= 100 && image->height >= 1 && image->height <= 100;
        const int bits = random ? depths[random->below(6)] : usualBits, entries = bits <= 8 ? 1 << bits : 0;
        const bool special = random && random->oneIn(3), upside = random && random->oneIn(3);
        header.biSize = sizeof header;
        header.biWidth = fits ? image->width : 12;
        header.biHeight = (fits ? image->height : 7) * (upside ? -1 : 1);
        header.biPlanes = 1;
        header.biBitCount = static_cast<uint16_t>(bits);
        if (special) header.biCompression = bits == 8 ? 1 : bits == 4 ? 2 : bits == 16 || bits == 32 ? 3 : 0;
        if (entries > 0 && random && random->oneIn(2))
            header.biClrUsed = random->bits() % static_cast<unsigned>(entries);
        const int stride = (header.biWidth * bits + 31) / 32, masks = header.biCompression == 3 ? 3 : 0;
        const size_t words = static_cast<size_t>(stride) * static_cast<size_t>(std::abs(header.biHeight));
        header.biSizeImage = static_cast<uint32_t>(words * 4);
        const int used = header.biClrUsed != 0 ? static_cast<int>(header.biClrUsed) : entries;
        // Median cut may write a whole palette.
        front.resize(sizeof header / 4 + static_cast<size_t>(masks + entries));
        for (size_t i = 0; i < front.size(); ++i)
            front[i] = random && random->oneIn(4) ? random->bits() : static_cast<uint32_t>(i * 0x01234567u);
        memcpy(front.data(), &header, sizeof header);
        for (size_t i = 0; i < words; ++i)
            pixels.push_back(random && random->oneIn(4) ? random->bits() : static_cast<uint32_t>(i * 0x9E3779B9u));
        packed = front;
        packed.resize(sizeof header / 4 + static_cast<size_t>(masks + used));
        packed.insert(packed.end(), pixels.begin(), pixels.end());
        packed.resize(packed.size() + static_cast<size_t>(entries - used));
    }
    BITMAPINFOHEADER *dib() { return reinterpret_cast<BITMAPINFOHEADER *>(packed.data()); }
    BITMAPINFOHEADER *sepHeader() { return reinterpret_cast<BITMAPINFOHEADER *>(front.data()); }
};

void translateDIB(Call &call) {
    ExampleBitmap bitmap(call, nullptr, 24);
    int cloneData = call.choice(1, 2);
    if (MoxImage *image = moxTranslateDIB(bitmap.dib(), &cloneData)) {
        moxDeallocate(image, cloneData ? MOX_FreeHeader | MOX_FreeData : MOX_FreeHeader);
    }
}

// A header that has no pixels gets some.
template <typename Convert>
void convertFromDIB(Call &call, Convert convert) {
    ExampleBitmap bitmap(call, call.dst(), 24);
    if (!call.dst()) return convert(bitmap, call.dst());
    MoxImage image = *call.dst();
    const bool allocates = !image.imageData;
    convert(bitmap, &image);
    if (allocates && image.imageData) moxDeallocateImage(&image);
}

template <typename Convert>
void convertToDIB(Call &call, Convert convert) {
    ExampleBitmap bitmap(call, call.src(), 8);
    const int dither = call.random ? 1 << call.random->below(5) : MOX_DITHER_FS,
              palette = call.choice(MOX_PALCONV_MEDCUT, 3);
    convert(bitmap, dither, palette);
}

}  // namespace

std::vector<Example> dibExamples() {
    return {
        {"moxTranslateDIB", NOTHING, 0, translateDIB},
        {"moxConvertFromDIB",
         BITMAPS,
         1,
         [](Call &c) { convertFromDIB(c, [](ExampleBitmap &b, MoxImage *i) { moxConvertFromDIB(b.dib(), i); }); },
         {.plainOnly = true}},
        {"moxConvertFromDIBSep",
         BITMAPS,
         1,
         [](Call &c) {
             convertFromDIB(
                 c, [](ExampleBitmap &b, MoxImage *i) { moxConvertFromDIBSep(b.sepHeader(), b.pixels.data(), i); });
         },
         {.plainOnly = true}},
        {"moxConvertToDIB", BITMAPS, 1,
         [](Call &c) {
             convertToDIB(c, [&](ExampleBitmap &b, int dither, int palette) {
                 moxConvertToDIB(c.src(), b.dib(), dither, palette);
             });
         }},
        {"moxConvertToDIBSep", BITMAPS, 1,
         [](Call &c) {
             convertToDIB(c, [&](ExampleBitmap &b, int dither, int palette) {
                 moxConvertToDIBSep(c.src(), b.sepHeader(), b.pixels.data(), dither, palette);
             });
         }},
    };
}
