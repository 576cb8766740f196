// A new image from a bitmap: with the bitmap's own pixels where an image can have them as they are.
#include "dib/owndib.h"

namespace {

struct Shape {
    int channels, alpha;
    unsigned depth;
    const char *model, *sequence;
    bool mustCopy;
};

Shape shapeOf(const OwnBitmap &bitmap) {
    const BITMAPINFOHEADER &header = *bitmap.header;
    const int bits = header.biBitCount;
    if (bits == 32) return {4, 4, MOX_DEPTH_8U, "RGBA", "BGRA", header.biCompression == BI_BITFIELDS};
    if (bits > 8 || !ownPaletteIsGray(bitmap)) return {3, 0, MOX_DEPTH_8U, "RGB", "BGR", bits != 24};
    const bool mustCopy = bits == 4 || header.biCompression == BI_RLE8;
    return {1, 0, bits == 1 ? MOX_DEPTH_1U : MOX_DEPTH_8U, "GRAY", "GRAY", mustCopy};
}

const char *findFault(const BITMAPINFOHEADER *dib, const int *cloneData) {
    if (!dib) return "( dib == 0 )";
    if (!cloneData) return "( cloneData == 0 )";
    if (dib->biSize != sizeof(BITMAPINFOHEADER)) return "( dib->biSize != sizeof(BITMAPINFOHEADER) )";
    return nullptr;
}

// A size that no int holds becomes one that no image has.
int imageHeight(const BITMAPINFOHEADER &header) {
    return static_cast<int>(ownBitmapHeight(header) <= INT32_MAX ? ownBitmapHeight(header) : 0);
}

}  // namespace

MoxImage *MOX_CALL moxTranslateDIB(BITMAPINFOHEADER *dib, int *cloneData) {
    const OwnCaller caller = OWN_CALLER("moxTranslateDIB");
    const OwnBitmap bitmap = {dib, nullptr, OWN_BITMAP_PACKED};
    const char *fault = findFault(dib, cloneData);
    if (!fault) fault = ownFindBitmapFault(bitmap, true);
    if (fault) {
        ownReport(caller, MOX_StatusBadArgument, fault);
        return nullptr;
    }
    const Shape shape = shapeOf(bitmap);
    const bool copies = shape.mustCopy || *cloneData != 0;
    MoxImage *image =
        moxCreateImageHeader(shape.channels, shape.alpha, static_cast<int>(shape.depth), shape.model, shape.sequence,
                             MOX_DATA_ORDER_PIXEL, dib->biHeight > 0 ? MOX_ORIGIN_BL : MOX_ORIGIN_TL, copies ? 32 : 4,
                             dib->biWidth, imageHeight(*dib), nullptr, nullptr, nullptr, nullptr);
    if (!image) {
        ownReport(caller, MOX_StatusNoMemory, "Not enough memory to allocate header for destination image");
        return nullptr;
    }
    if (!copies) {
        image->imageData = reinterpret_cast<char *>(ownBitmapPixels(bitmap));
    } else if (!ownFillImage(caller, bitmap, image)) {
        moxDeallocateHeader(image);
        return nullptr;
    }
    *cloneData = copies ? 1 : 0;
    return image;
}
