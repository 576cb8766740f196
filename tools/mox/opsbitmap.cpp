// Fewer levels, fewer bits, and bitmaps.
#include "failure.h"
#include "image.h"
#include "operations.h"

namespace {

// What lies outside of region and mask is brought to the depth without dithering.
void reduceBits(Call *call) {
    const unsigned depth = call->arguments[0].depth;
    const MoxROI *roi = call->image->roi;
    const bool toBits = depth == MOX_DEPTH_1U;
    if (toBits && call->image->nChannels > 1 && !(roi && roi->coi > 0)) {
        call->image = call->another(call->image->depth, 1);
    }
    MoxImage *result = call->another(depth, toBits ? 1 : call->image->nChannels);
    moxReduceBits(call->image, result, call->arguments[3].integer, call->arguments[2].integer,
                  call->arguments[1].integer);
}

void toBitmap(Call *call) {
    const int channels = channelsOfBitmap(call->image->nChannels, call->form);
    if (channels != call->image->nChannels) call->image = call->another(call->image->depth, channels);
    call->bitmap = bitmapFromImage(call->image, call->form);
}

}  // namespace

const Family &bitmapFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Fewer levels, fewer bits, bitmaps",
        {
            {"reduce-bits",
             {{K::depth, "DEPTH"}, {K::integer, "LEVELS", 2}, {K::dither, "DITHER"}, {K::integer, "NOISE", 0, 100}},
             "fewer levels at DEPTH: DITHER none, fs, jjh, stuckey or bayer, NOISE in percent",
             reduceBits,
             {{"Bits, the errors spread to four neighbours (Floyd and Steinberg).", "reduce-bits 1u 2 fs 0"},
              {"To twelve (Jarvis, Judice and Ninke).", "reduce-bits 1u 2 jjh 0"},
              {"To twelve, with other weights (Stucki).", "reduce-bits 1u 2 stuckey 0"},
              {"By a matrix of thresholds (Bayer).", "reduce-bits 1u 2 bayer 0"},
              {"The same with noise.", "reduce-bits 1u 2 bayer 30"},
              {"The highest bit alone.", "reduce-bits 1u 2 none 0"},
              {"Four steps of each colour, without dithering.", "reduce-bits 8u 4 none 0"},
              {"With it.", "reduce-bits 8u 4 fs 0"},
              {"With noise against the patterns.", "reduce-bits 8u 4 fs 40"},
              {"Ordered.", "reduce-bits 8u 4 bayer 0"}}},
            {"to-bmp",
             {},
             "a bitmap as --bits, --rle, --palette and --dither say, for a RESULT in .bmp",
             toBitmap,
             {{"256 colours found in the picture, in a file of 8 bits a pixel.", "to-bmp --bits 8 --palette medcut",
               "picture.png", ".bmp"},
              {"Sixteen colours of the coloured lights, compressed.", "to-bmp --bits 4 --rle --palette medcut",
               "discs.png", ".bmp"},
              {"The picture in the colours of that file.", "to-bmp --bits 4 --palette to-bmp-2.bmp --dither fs"}}},
        }};
    return family;
}
