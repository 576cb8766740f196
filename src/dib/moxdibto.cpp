// Images to bitmaps: the exports and their tests.
#include <initializer_list>

#include "dib/owndib.h"
#include "frame/ownimage.h"

namespace {

const char *findImageFault(const MoxImage *image) {
    const bool alpha = image->alphaChannel != 0;
    const std::initializer_list<OwnDibTest> tests = {
        {image->depth != MOX_DEPTH_1U && image->depth != MOX_DEPTH_8U && image->depth != MOX_DEPTH_16U,
         "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )"},
        {alpha && image->alphaChannel != 4, "(image->alphaChannel != 0 && image->alphaChannel != 4)"},
        {!alpha && image->nChannels != 3 && image->nChannels != 1, "(image->nChannels != 3 && image->nChannels != 1)"},
        {alpha && image->nChannels != 4, "(image->nChannels != 4)"},
    };
    for (const OwnDibTest &test : tests) {
        if (test.fails) return test.message;
    }
    return nullptr;
}

const char *findArgumentFault(const OwnBitmap &bitmap, const MoxImage *image, int dither, int paletteConversion) {
    const bool packed = bitmap.form == OWN_BITMAP_PACKED;
    const BITMAPINFOHEADER &header = *bitmap.header;
    const bool knownDither = dither == MOX_DITHER_NONE || dither == MOX_DITHER_FS || dither == MOX_DITHER_JJH ||
                             dither == MOX_DITHER_STUCKEY || dither == MOX_DITHER_BAYER;
    const std::initializer_list<OwnDibTest> tests = {
        {image->width != header.biWidth || image->height != ownBitmapHeight(header),
         packed ? "(image->width != dib->biWidth || image->height != abs_biHeight)"
                : "(image->width != dibHeader->biWidth || image->height != abs_biHeight)"},
        {image->nChannels < 1 || image->nChannels > 4, "(image->nChannels <= 0 || image->nChannels > 4)"},
        {!knownDither, "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)"},
        {paletteConversion < MOX_PALCONV_NONE || paletteConversion > MOX_PALCONV_MEDCUT,
         "(paletteConversion != 0 && paletteConversion != 1 && paletteConversion != 2)"},
    };
    for (const OwnDibTest &test : tests) {
        if (test.fails) return test.message;
    }
    return nullptr;
}

// Everything that can be said before the bitmap is written to.
bool check(const OwnCaller &caller, const OwnBitmap &bitmap, const MoxImage *image, int dither, int paletteConversion) {
    const auto refuse = [&](MoxStatus status, const char *message) {
        ownReport(caller, status, message);
        return false;
    };
    if (!ownAcceptImage(caller, image)) return false;
    if (!bitmap.header) return refuse(MOX_StatusBadArgument, "dib==0");
    const char *fault = findImageFault(image);
    if (!fault && bitmap.header->biSize != sizeof(BITMAPINFOHEADER)) {
        fault = bitmap.form == OWN_BITMAP_PACKED ? "(dib->biSize != sizeof(BITMAPINFOHEADER))"
                                                 : "(dibHeader->biSize != sizeof(BITMAPINFOHEADER))";
    }
    if (!fault) fault = ownFindBitmapFault(bitmap, false);
    if (!fault) fault = findArgumentFault(bitmap, image, dither, paletteConversion);
    if (fault) return refuse(MOX_StatusBadArgument, fault);

    const int bits = bitmap.header->biBitCount;
    if (bits <= 8 && paletteConversion == MOX_PALCONV_POPULATE) {
        const int count = ownPaletteEntries(*bitmap.header);
        if (count != 2 && count != 16 && count != 256)
            return refuse(MOX_StatusBadArgument, "Palette conversion is bad");
    }
    OwnChannelPlaces places;
    if (image->nChannels != 1 && !ownFindChannels(image, &places))
        return refuse(MOX_StatusHeaderColorModel, "image->channelSeq unsupport");
    if (bits != 1 && bits != 4 && bits != 8 && bits != 16 && bits != 24 && bits != 32)
        return refuse(MOX_StatusBadArgument, "Parameter biBitCount of DIB-image have illegal value");
    return true;
}

void convert(const OwnCaller &caller, const OwnBitmap &bitmap, MoxImage *image, int dither, int paletteConversion) {
    if (check(caller, bitmap, image, dither, paletteConversion) && ownAcceptPixels(caller, image))
        ownFillBitmap(caller, bitmap, image, dither, paletteConversion);
}

}  // namespace

void MOX_CALL moxConvertToDIB(MoxImage *image, BITMAPINFOHEADER *dib, int dither, int paletteConversion) {
    convert(OWN_CALLER("moxConvertToDIB"), {dib, nullptr, OWN_BITMAP_PACKED}, image, dither, paletteConversion);
}

void MOX_CALL moxConvertToDIBSep(MoxImage *image, BITMAPINFOHEADER *dibHeader, void *dibData, int dither,
                                 int paletteConversion) {
    const OwnCaller caller = OWN_CALLER("moxConvertToDIBSep");
    if (!dibHeader || !dibData || !image) {
        const char *missing = !dibHeader ? "( 0 == dibHeader )" : !dibData ? "( 0 == dibData )" : "( 0 == image )";
        ownReport(caller, MOX_StatusBadArgument, missing);
        return;
    }
    convert(caller, {dibHeader, dibData, OWN_BITMAP_SEPARATE}, image, dither, paletteConversion);
}
