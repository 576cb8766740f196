// Example calls: fewer bits and levels.

#include "table/examples.h"

namespace {

using Call = ExampleCall;
constexpr Touches PIXELS = Touches::PIXELS;

void reduceBits(Call &call) {
    static const int dithers[] = {MOX_DITHER_FS, MOX_DITHER_NONE, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER};
    const int dither = dithers[call.random ? call.random->below(5) : 0], noise = call.choice(20, 101);
    moxReduceBits(call.src(), call.dst(), noise, dither, call.choice(6, 256));
}

}  // namespace

std::vector<Example> colorExamples() {
    return {
        {"moxReduceBits", PIXELS, 2, reduceBits, {.quietMemory = true, .neighbours = true}},
    };
}
