// Bitmaps to images: the exports, and the tests of an image that may have no pixels yet.
#include <cstring>
#include <initializer_list>

#include "dib/owndib.h"

namespace {

const char *findImageFault(const MoxImage *image) {
    const int align = image->align;
    const std::initializer_list<OwnDibTest> tests = {
        {image->alphaChannel < 0, "( image->alphaChannel < 0 )"},
        {image->nChannels < image->alphaChannel, "( image->nChannels < image->alphaChannel )"},
        {image->dataOrder != MOX_DATA_ORDER_PIXEL && image->dataOrder != MOX_DATA_ORDER_PLANE,
         "( (image->dataOrder != 0) && (image->dataOrder != 1) )"},
        {image->origin != MOX_ORIGIN_TL && image->origin != MOX_ORIGIN_BL,
         "( (image->origin != 0) && (image->origin != 1) )"},
        {align != 4 && align != 8 && align != 16 && align != 32,
         "( (image->align != 4) && (image->align != 8) && (image->align != 16) && (image->align != 32) )"},
        {image->height < 1, "(image->height <= 0)"},
        {image->width < 1, "(image->width <= 0)"},
        {image->imageSize < 1, "(image->imageSize <= 0)"},
        {image->widthStep < 1, "(image->widthStep <= 0)"},
    };
    for (const OwnDibTest &test : tests) {
        if (test.fails) return test.message;
    }
    return nullptr;
}

// What the tests by name leave open, and no image that can be filled has.
MoxStatus findExcess(const MoxImage *image) {
    const bool planar = image->dataOrder == MOX_DATA_ORDER_PLANE;
    const int64_t bits = image->depth;
    if (bits != MOX_DEPTH_8U && bits != MOX_DEPTH_16U && (bits != MOX_DEPTH_1U || image->nChannels != 1))
        return MOX_StatusHeaderDepth;
    if (image->tileInfo) return MOX_StatusHeaderNoData;
    if (!image->imageData) return MOX_StatusNoError;
    const int64_t rowBytes = (bits * image->width * (planar ? 1 : image->nChannels) + 7) / 8;
    const int64_t planeBytes = static_cast<int64_t>(image->widthStep) * image->height;
    if (planeBytes > INT32_MAX || planeBytes * (planar ? image->nChannels : 1) > INT32_MAX) return MOX_StatusHeaderSize;
    return rowBytes > image->widthStep ? MOX_StatusHeaderWidthStep : MOX_StatusNoError;
}

void convert(const OwnCaller &caller, const OwnBitmap &bitmap, MoxImage *image) {
    const bool packed = bitmap.form == OWN_BITMAP_PACKED;
    const char *fault = findImageFault(image);
    if (!fault && bitmap.header->biSize != sizeof(BITMAPINFOHEADER))
        fault =
            packed ? "(dib->biSize != sizeof(BITMAPINFOHEADER))" : "(dibHeader->biSize != sizeof(BITMAPINFOHEADER))";
    if (!fault) fault = ownFindBitmapFault(bitmap, true);
    if (fault) {
        ownReport(caller, MOX_StatusBadArgument, fault);
        return;
    }
    OwnChannelPlaces places;
    if (!ownFindChannels(image, &places)) {
        ownReport(caller, MOX_StatusHeaderColorModel, "image->channelSeq unsupport");
        return;
    }
    if (const MoxStatus excess = findExcess(image)) {
        ownReport(caller, excess, "Incorrect Image");
        return;
    }
    ownFillImage(caller, bitmap, image);
}

}  // namespace

bool ownFindChannels(const MoxImage *image, OwnChannelPlaces *places) {
    struct Name {
        int channels;
        char sequence[5];
        OwnChannelPlaces places;
    };
    static constexpr Name names[] = {
        {1, "GRAY", {0, 0, 0, -1}}, {1, "G", {0, 0, 0, -1}},   {3, "BGR", {0, 1, 2, -1}},
        {3, "RGB", {2, 1, 0, -1}},  {4, "BGRA", {0, 1, 2, 3}}, {4, "RGBA", {2, 1, 0, 3}},
    };
    // Names shorter than four characters may be filled with blanks as well as with zeros.
    char sequence[5] = {};
    for (int i = 0; i < 4 && image->channelSeq[i] != 0 && image->channelSeq[i] != ' '; ++i)
        sequence[i] = image->channelSeq[i];
    for (const Name &name : names) {
        if (image->nChannels != name.channels || std::strcmp(sequence, name.sequence) != 0) continue;
        *places = name.places;
        return true;
    }
    return false;
}

void MOX_CALL moxConvertFromDIB(const BITMAPINFOHEADER *dib, MoxImage *image) {
    const OwnCaller caller = OWN_CALLER("moxConvertFromDIB");
    if (!dib || !image) {
        ownReport(caller, MOX_StatusBadArgument, !dib ? "dib==0" : "image==0");
        return;
    }
    convert(caller, {const_cast<BITMAPINFOHEADER *>(dib), nullptr, OWN_BITMAP_PACKED}, image);
}

void MOX_CALL moxConvertFromDIBSep(const BITMAPINFOHEADER *dibHeader, const void *dibData, MoxImage *image) {
    const OwnCaller caller = OWN_CALLER("moxConvertFromDIBSep");
    if (!dibHeader || !dibData || !image) {
        const char *missing = !dibHeader ? "( 0 == dibHeader )" : !dibData ? "( 0 == dibData )" : "( 0 == image )";
        ownReport(caller, MOX_StatusBadArgument, missing);
        return;
    }
    convert(caller, {const_cast<BITMAPINFOHEADER *>(dibHeader), const_cast<void *>(dibData), OWN_BITMAP_SEPARATE},
            image);
}
