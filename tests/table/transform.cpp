// Example calls: transforms, on small images of their own, and the records of wavelets. What a transform keeps for the
// thread is given back.
#include <cstring>

#include "table/examples.h"

namespace {

using Call = ExampleCall;
constexpr Touches NOTHING = Touches::NOTHING;

// Images of 12 x 10, a wavelet's parts half as large.
struct Picture {
    static constexpr int WIDTH = 12, HEIGHT = 10;
    MoxImage header = {};
    float samples[WIDTH * HEIGHT];

    explicit Picture(unsigned depth, int part = 1) {
        const int bytes = static_cast<int>(depth & ~MOX_DEPTH_SIGN) / 8;
        for (int i = 0; i < WIDTH * HEIGHT; ++i)
            samples[i] = static_cast<float>(i * i % 97);
        header.headerSize = static_cast<int>(sizeof header);
        header.nChannels = 1;
        header.depth = depth;
        header.align = 4;
        header.width = WIDTH / part;
        header.height = HEIGHT / part;
        header.widthStep = (header.width * bytes + 3) / 4 * 4;
        header.imageSize = header.widthStep * header.height;
        header.imageData = reinterpret_cast<char *>(samples);
    }
};

void transform(Call &call, MoxStatus(MOX_CALL *function)(MoxImage *, MoxImage *, int)) {
    Picture src(MOX_DEPTH_8U), dst(MOX_DEPTH_32F);
    function(&src.header, &dst.header, call.choice(MOX_FFT_FORWARD, 64));
    function(nullptr, nullptr, MOX_FFT_FREE);
}

void multiply(Call &call) {
    const unsigned depth = call.choice(0, 2) == 1 ? MOX_DEPTH_16S : MOX_DEPTH_32F;
    Picture a(depth), b(depth), d(depth);
    moxMpyRCPack2D(&a.header, &b.header, &d.header);
}

void cosine(Call &call) {
    Picture src(MOX_DEPTH_8U), dst(MOX_DEPTH_16S);
    moxDCT2D(&src.header, &dst.header, call.choice(MOX_DCT_FORWARD, 4));
    moxDCT2D(nullptr, nullptr, MOX_DCT_FREE);
}

// Four filters of the caller's.
struct Filters {
    float taps[4] = {0.25f, 0.5f, 0.5f, 0.25f};
    MoxWtFilter filters[4];
    MoxWtKernel kernel = {};

    explicit Filters(Call &call) {
        for (MoxWtFilter &filter : filters) {
            filter = {taps, call.choice(3, 4), call.choice(1, 2), 0};
            if (filter.length > 4) filter.length = 4;
        }
    }
    // A failure leaves nothing to free, and its status to be read.
    void free(MoxStatus initialised) {
        if (initialised == 0) moxWtFree(&kernel);
    }
};

void initBuiltIn(Call &call) {
    MoxWtKernel kernel = {};
    const int type = call.choice(MOX_WT_BSPLINE, 9), par1 = call.choice(3, 11), par2 = call.choice(5, 10);
    if (moxWtInit(type, par1, par2, &kernel) == 0) moxWtFree(&kernel);
}

void initFilters(Call &call) {
    Filters user(call);
    user.free(
        moxWtInitUserFilter(&user.filters[0], &user.filters[1], &user.filters[2], &user.filters[3], &user.kernel));
}

void initArray(Call &call) {
    Filters user(call);
    user.free(moxWtInitUserFilter4(user.filters, &user.kernel));
}

void initTaps(Call &call) {
    Filters user(call);
    float *taps[4] = {user.taps, user.taps, user.taps, user.taps};
    int lengths[4], offsets[4];
    for (int i = 0; i < 4; ++i) {
        lengths[i] = user.filters[i].length;
        offsets[i] = user.filters[i].offset;
    }
    user.free(moxWtInitUserTaps(taps, lengths, offsets, &user.kernel));
}

void wavelet(Call &call, bool decompose) {
    MoxWtKernel kernel = {};
    const int par1 = call.choice(2, 11);
    moxWtInit(MOX_WT_DAUBECHIES, par1, 0, &kernel);
    Picture whole(MOX_DEPTH_8U), a(MOX_DEPTH_32F, 2), x(MOX_DEPTH_32F, 2), y(MOX_DEPTH_32F, 2), d(MOX_DEPTH_32F, 2);
    if (decompose) {
        moxWtDecompose(&kernel, &whole.header, &a.header, &x.header, &y.header, &d.header);
    } else {
        moxWtReconstruct(&kernel, &a.header, &x.header, &y.header, &d.header, &whole.header);
    }
}

}  // namespace

// A transform that is refused memory begins anew, or goes without a word.
std::vector<Example> transformExamples() {
    return {
        {"moxRealFft2D", NOTHING, 0, [](Call &c) { transform(c, moxRealFft2D); }, {.quietMemory = true}},
        {"moxCcsFft2D", NOTHING, 0, [](Call &c) { transform(c, moxCcsFft2D); }, {.quietMemory = true}},
        {"moxMpyRCPack2D", NOTHING, 0, multiply},
        {"moxDCT2D", NOTHING, 0, cosine, {.quietMemory = true}},
        {"moxWtInit", NOTHING, 0, initBuiltIn},
        {"moxWtInitUserFilter", NOTHING, 0, initFilters},
        {"moxWtInitUserFilter4", NOTHING, 0, initArray},
        {"moxWtInitUserTaps", NOTHING, 0, initTaps},
        {"moxWtFree", NOTHING, 0, initArray, {.reportsAs = "moxWtInitUserFilter4"}},
        {"moxWtDecompose", NOTHING, 0, [](Call &c) { wavelet(c, true); }},
        {"moxWtReconstruct", NOTHING, 0, [](Call &c) { wavelet(c, false); }},
    };
}
