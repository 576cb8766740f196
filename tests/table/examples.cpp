// The table of example calls. Calls that make something give it back.
#include "table/examples.h"

#if defined(_WIN32)
#include <windows.h>
#endif

#include <cstdlib>
#include <cstring>

int ExampleCall::number(int usual) {
    return random ? drawInt(*random) : usual;
}
int ExampleCall::size(int usual) {
    return random ? (random->oneIn(16) ? random->between(-2, 40) : random->between(1, 8)) : usual;
}
int ExampleCall::choice(int usual, int choices) {
    if (!random) return usual;
    return random->oneIn(16) ? drawInt(*random) : random->below(choices);
}
float ExampleCall::real(float usual) {
    if (!random) return usual;
    const uint32_t bits = drawSample(*random, MOX_DEPTH_32F);
    float value;
    memcpy(&value, &bits, sizeof value);
    return value;
}

namespace {

using Call = ExampleCall;
constexpr Touches NOTHING = Touches::NOTHING, HEADERS = Touches::HEADERS, PIXELS = Touches::PIXELS,
                  BITMAPS = Touches::BITMAPS;

// Reports, without a word to anybody.
template <typename Report>
void reportInSilence(Report report) {
    const int mode = moxGetErrMode();
    moxSetErrMode(MOX_ErrModeSilent);
    report(-2, "example", "a message", "file", 1);
    moxSetErrMode(mode);
}

// The pixels of a header like the call's, which has none yet.
template <typename Allocate>
void allocatePixels(Call &call, unsigned depth, Allocate allocate) {
    MoxImage image = *call.dst();
    image.depth = depth;
    image.tileInfo = nullptr;
    image.imageData = image.imageDataBase = nullptr;
    allocate(&image);
    moxDeallocateImage(&image);
}

void createAndFreeHeader(Call &call) {
    static const char model[] = "RGB", sequence[] = "BGR";
    const int channels = call.choice(3, 5), order = call.choice(0, 2), width = call.number(20), height = call.size(10);
    MoxImage *image = moxCreateImageHeader(channels, 0, MOX_DEPTH_8U, model, sequence, order, MOX_ORIGIN_TL, 8, width,
                                           height, nullptr, call.dst()->maskROI, nullptr, nullptr);
    moxDeallocateHeader(image);
}

void cloneAndFree(Call &call) {
    moxDeallocate(moxCloneImage(call.dst()), MOX_FreeHeader | MOX_FreeData | MOX_FreeRoi);
}

void movePixel(Call &call, bool get) {
    // Room for the samples of any header whose pixels are there.
    static char pixel[1 << 22];
    const int x = call.size(3) - 1, y = call.size(2) - 1;
    if (!get) memset(pixel, call.choice(0x5A, 256), 64);
    if (get) {
        moxGetPixel(call.dst(), x, y, pixel);
    } else {
        moxPutPixel(call.dst(), x, y, pixel);
    }
}

// A kernel of 5 x 5 at most.
template <typename Value>
struct ExampleKernel {
    int nCols, nRows, anchorX, anchorY;
    Value values[25];

    explicit ExampleKernel(Call &call)
        : nCols(call.choice(3, 6)), nRows(call.choice(2, 6)), anchorX(call.choice(1, 3)), anchorY(call.choice(0, 3)) {
        if (nCols > 5) nCols = 5;
        if (nRows > 5) nRows = 5;
        for (int i = 0; i < 25; ++i) {
            const int value = call.choice(i % 4, 9);
            values[i] = static_cast<Value>(value >= 0 && value < 9 ? value - 4 : value);
        }
    }
};

MoxConvKernel *createKernel(Call &call) {
    const ExampleKernel<int> k(call);
    return moxCreateConvKernel(k.nCols, k.nRows, k.anchorX, k.anchorY, k.values,
                               call.random ? call.random->below(32) : 1);
}
MoxConvKernel *createKernelChar(Call &call) {
    const ExampleKernel<signed char> k(call);
    return moxCreateConvKernelChar(k.nCols, k.nRows, k.anchorX, k.anchorY, k.values,
                                   call.random ? call.random->below(32) : 1);
}
MoxConvKernelFP *createKernelFP(Call &call) {
    const ExampleKernel<float> k(call);
    return moxCreateConvKernelFP(k.nCols, k.nRows, k.anchorX, k.anchorY, k.values);
}
void freeKernel(MoxConvKernel *kernel) {
    if (kernel) moxDeleteConvKernel(kernel);
}
void freeKernel(MoxConvKernelFP *kernel) {
    if (kernel) moxDeleteConvKernelFP(kernel);
}

// Kernel records by hand, so that nothing but the function itself takes memory.
template <typename Values>
void getKernel(Call &call, MoxStatus(MOX_CALL *get)(MoxConvKernel *, int *, int *, int *, int *, Values **, int *)) {
    ExampleKernel<int> k(call);
    MoxConvKernel kernel = {k.nCols, k.nRows, k.anchorX, k.anchorY, k.values, 1};
    Values values[25];
    Values *place = values;
    int nCols, nRows, anchorX, anchorY, shift;
    get(&kernel, &nCols, &nRows, &anchorX, &anchorY, &place, &shift);
}

void getKernelFP(Call &call) {
    ExampleKernel<float> k(call);
    MoxConvKernelFP kernel = {k.nCols, k.nRows, k.anchorX, k.anchorY, k.values};
    float values[25];
    float *place = values;
    int nCols, nRows, anchorX, anchorY;
    moxGetConvKernelFP(&kernel, &nCols, &nRows, &anchorX, &anchorY, &place);
}

// One or two kernels, combined.
void convolve(Call &call) {
    ExampleKernel<int> first(call), second(call);
    const int shift = call.random ? call.random->below(32) : 1, count = call.choice(2, 3), method = call.choice(0, 5);
    MoxConvKernel kernels[2] = {{first.nCols, first.nRows, first.anchorX, first.anchorY, first.values, shift},
                                {second.nCols, second.nRows, second.anchorX, second.anchorY, second.values, 0}};
    MoxConvKernel *list[2] = {&kernels[0], &kernels[1]};
    moxConvolve2D(call.src(), call.dst(), list, count > 2 && count <= 10 ? 2 : count, method);
}

void convolveFP(Call &call) {
    ExampleKernel<float> first(call), second(call);
    const int count = call.choice(2, 3), method = call.choice(0, 5);
    MoxConvKernelFP kernels[2] = {{first.nCols, first.nRows, first.anchorX, first.anchorY, first.values},
                                  {second.nCols, second.nRows, second.anchorX, second.anchorY, second.values}};
    MoxConvKernelFP *list[2] = {&kernels[0], &kernels[1]};
    moxConvolve2DFP(call.src(), call.dst(), list, count > 2 && count <= 10 ? 2 : count, method);
}

void blur(Call &call) {
    const int nCols = call.size(3), nRows = call.size(5), anchorX = call.choice(1, 3), anchorY = call.choice(2, 3);
    moxBlur(call.src(), call.dst(), nCols, nRows, anchorX, anchorY);
}

void reduceBits(Call &call) {
    static const int dithers[] = {MOX_DITHER_FS, MOX_DITHER_NONE, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER};
    const int dither = dithers[call.random ? call.random->below(5) : 0], noise = call.choice(20, 101);
    moxReduceBits(call.src(), call.dst(), noise, dither, call.choice(6, 256));
}

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

void setBorders(Call &call) {
    MoxImage image = *call.dst();
    const int mode = call.number(2), sides = call.number(MOX_SIDE_ALL), constant = call.number(300);
    moxSetBorderMode(&image, mode, sides, constant);
}

const std::vector<Example> examples = {
    // Status, error modes, reports
    {"moxGetErrStatus", NOTHING, 0, [](Call &) { moxGetErrStatus(); }},
    {"moxSetErrStatus", NOTHING, 0, [](Call &) { moxSetErrStatus(moxGetErrStatus()); }},
    {"moxGetErrMode", NOTHING, 0, [](Call &) { moxGetErrMode(); }},
    {"moxSetErrMode", NOTHING, 0, [](Call &) { moxSetErrMode(moxGetErrMode()); }},
    {"moxRedirectError", NOTHING, 0, [](Call &) { moxRedirectError(moxRedirectError(moxNulDevReport)); }},
    {"moxError", NOTHING, 0, [](Call &c) { moxError(c.choice(0, 1), "example", "a message", "file", 1); }},
    {"moxErrorStr", NOTHING, 0, [](Call &c) { moxErrorStr(c.number(-5)); }},
    {"moxNulDevReport", NOTHING, 0, [](Call &) { reportInSilence(moxNulDevReport); }},
    {"moxStdErrReport", NOTHING, 0, [](Call &) { reportInSilence(moxStdErrReport); }},
    {"moxGuiBoxReport", NOTHING, 0, [](Call &) { reportInSilence(moxGuiBoxReport); }},

    // Memory
    {"moxMalloc", NOTHING, 0, [](Call &c) { moxFree(moxMalloc(c.size(100))); }, {.quietMemory = true}},
    {"moxwMalloc", NOTHING, 0, [](Call &c) { moxFree(moxwMalloc(c.size(100))); }, {.quietMemory = true}},
    {"moxiMalloc", NOTHING, 0, [](Call &c) { moxFree(moxiMalloc(c.size(100))); }, {.quietMemory = true}},
    {"moxsMalloc", NOTHING, 0, [](Call &c) { moxFree(moxsMalloc(c.size(100))); }, {.quietMemory = true}},
    {"moxdMalloc", NOTHING, 0, [](Call &c) { moxFree(moxdMalloc(c.size(100))); }, {.quietMemory = true}},
    {"moxFree", NOTHING, 0, [](Call &) { moxFree(moxMalloc(1)); }, {.quietMemory = true}},

    // Version and clock
    {"moxGetLibVersion", NOTHING, 0, [](Call &) { moxGetLibVersion(); }},
    {"moxGetCycleCounter", NOTHING, 0, [](Call &) { moxGetCycleCounter(); }},

    // Headers, regions, tile records, pixels
    {"moxCreateImageHeader", HEADERS, 1, createAndFreeHeader, {.quietMemory = true}},
    {"moxAllocateImage", HEADERS, 1,
     [](Call &c) { allocatePixels(c, c.dst()->depth, [&](MoxImage *i) { moxAllocateImage(i, c.choice(1, 2), 7); }); }},
    {"moxAllocateImageFP", HEADERS, 1,
     [](Call &c) { allocatePixels(c, MOX_DEPTH_32F, [&](MoxImage *i) { moxAllocateImageFP(i, c.choice(1, 2), 7); }); }},
    {"moxDeallocate", HEADERS, 1, cloneAndFree, {.reportsAs = "moxCloneImage"}},
    {"moxDeallocateHeader", HEADERS, 1, createAndFreeHeader, {.quietMemory = true}},
    {"moxDeallocateImage",
     HEADERS,
     1,
     [](Call &c) { allocatePixels(c, MOX_DEPTH_8U, [](MoxImage *i) { moxAllocateImage(i, 0, 0); }); },
     {.reportsAs = "moxAllocateImage"}},
    {"moxCreateROI",
     NOTHING,
     0,
     [](Call &c) { moxDeleteROI(moxCreateROI(0, c.number(1), 2, 3, 4)); },
     {.quietMemory = true}},
    {"moxSetROI", NOTHING, 0,
     [](Call &c) {
         MoxROI roi;
         moxSetROI(&roi, 0, c.number(1), 2, 3, 4);
     }},
    {"moxDeleteROI", NOTHING, 0, [](Call &) { moxDeleteROI(moxCreateROI(0, 1, 2, 3, 4)); }, {.quietMemory = true}},
    {"moxCreateTileInfo",
     NOTHING,
     0,
     [](Call &c) { moxDeleteTileInfo(moxCreateTileInfo(nullptr, nullptr, c.number(8), 16)); },
     {.quietMemory = true}},
    {"moxSetTileInfo", NOTHING, 0,
     [](Call &c) {
         MoxTileInfo info;
         moxSetTileInfo(&info, nullptr, nullptr, c.number(8), 16);
     }},
    {"moxDeleteTileInfo",
     NOTHING,
     0,
     [](Call &) { moxDeleteTileInfo(moxCreateTileInfo(nullptr, nullptr, 8, 16)); },
     {.quietMemory = true}},
    {"moxCheckImageHeader", HEADERS, 1, [](Call &c) { moxCheckImageHeader(c.dst()); }},
    {"moxCloneImage", HEADERS, 1, cloneAndFree},
    {"moxSetBorderMode", HEADERS, 1, setBorders},

    // Moving pixels
    {"moxCopy", PIXELS, 2, [](Call &c) { moxCopy(c.src(), c.dst()); }},
    {"moxSet", PIXELS, 1, [](Call &c) { moxSet(c.dst(), c.number(77)); }, {.releasesTiles = true}},
    {"moxSetFP",
     PIXELS,
     1,
     [](Call &c) { moxSetFP(c.dst(), c.real(0.5f)); },
     {.depth = MOX_DEPTH_32F, .releasesTiles = true}},
    {"moxExchange", PIXELS, 2, [](Call &c) { moxExchange(c.src(), c.dst()); }, {.within = "moxCopy"}},
    {"moxGetPixel", PIXELS, 1, [](Call &c) { movePixel(c, true); }, {.releasesTiles = true}},
    {"moxPutPixel", PIXELS, 1, [](Call &c) { movePixel(c, false); }, {.releasesTiles = true}},

    // Arithmetic and logic on two images
    {"moxAdd", PIXELS, 3, [](Call &c) { moxAdd(c.a(), c.b(), c.dst()); }},
    {"moxSubtract", PIXELS, 3, [](Call &c) { moxSubtract(c.a(), c.b(), c.dst()); }},
    {"moxMultiply", PIXELS, 3, [](Call &c) { moxMultiply(c.a(), c.b(), c.dst()); }},
    {"moxAnd", PIXELS, 3, [](Call &c) { moxAnd(c.a(), c.b(), c.dst()); }},
    {"moxOr", PIXELS, 3, [](Call &c) { moxOr(c.a(), c.b(), c.dst()); }},
    {"moxXor", PIXELS, 3, [](Call &c) { moxXor(c.a(), c.b(), c.dst()); }},

    // One image and a constant, and unary operations
    {"moxAddS", PIXELS, 2, [](Call &c) { moxAddS(c.src(), c.dst(), c.number(40)); }, {.reportsAs = "moxSubtractS"}},
    {"moxSubtractS", PIXELS, 2, [](Call &c) { moxSubtractS(c.src(), c.dst(), c.number(40), 1); }},
    {"moxMultiplyS", PIXELS, 2, [](Call &c) { moxMultiplyS(c.src(), c.dst(), c.number(3)); }},
    {"moxAndS", PIXELS, 2, [](Call &c) { moxAndS(c.src(), c.dst(), c.number(0x55)); }},
    {"moxOrS", PIXELS, 2, [](Call &c) { moxOrS(c.src(), c.dst(), c.number(0x55)); }},
    {"moxXorS", PIXELS, 2, [](Call &c) { moxXorS(c.src(), c.dst(), c.number(0x55)); }},
    {"moxLShiftS", PIXELS, 2, [](Call &c) { moxLShiftS(c.src(), c.dst(), static_cast<unsigned>(c.choice(2, 34))); }},
    {"moxRShiftS", PIXELS, 2, [](Call &c) { moxRShiftS(c.src(), c.dst(), static_cast<unsigned>(c.choice(2, 34))); }},
    {"moxAddSFP", PIXELS, 2, [](Call &c) { moxAddSFP(c.src(), c.dst(), c.real(0.5f)); }, {.depth = MOX_DEPTH_32F}},
    {"moxSubtractSFP",
     PIXELS,
     2,
     [](Call &c) { moxSubtractSFP(c.src(), c.dst(), c.real(0.5f), 1); },
     {.depth = MOX_DEPTH_32F}},
    {"moxMultiplySFP",
     PIXELS,
     2,
     [](Call &c) { moxMultiplySFP(c.src(), c.dst(), c.real(0.5f)); },
     {.depth = MOX_DEPTH_32F}},
    {"moxNot", PIXELS, 2, [](Call &c) { moxNot(c.src(), c.dst()); }, {.reportsAs = "moxXorS"}},
    {"moxSquare", PIXELS, 2, [](Call &c) { moxSquare(c.src(), c.dst()); }},
    {"moxAbs", PIXELS, 2, [](Call &c) { moxAbs(c.src(), c.dst()); }, {.depth = MOX_DEPTH_8S}},

    // Neighbourhood filters
    {"moxBlur", PIXELS, 2, blur, {.tiledDiffers = true}},
    {"moxCreateConvKernel", NOTHING, 0, [](Call &c) { freeKernel(createKernel(c)); }, {.leaks = 1}},
    {"moxCreateConvKernelChar", NOTHING, 0, [](Call &c) { freeKernel(createKernelChar(c)); }, {.leaks = 1}},
    {"moxCreateConvKernelFP", NOTHING, 0, [](Call &c) { freeKernel(createKernelFP(c)); }, {.leaks = 1}},
    {"moxGetConvKernel", NOTHING, 0, [](Call &c) { getKernel(c, moxGetConvKernel); }},
    {"moxGetConvKernelChar", NOTHING, 0, [](Call &c) { getKernel(c, moxGetConvKernelChar); }},
    {"moxGetConvKernelFP", NOTHING, 0, getKernelFP},
    {"moxDeleteConvKernel",
     NOTHING,
     0,
     [](Call &c) { freeKernel(createKernel(c)); },
     {.reportsAs = "moxCreateConvKernel", .leaks = 1}},
    {"moxDeleteConvKernelFP",
     NOTHING,
     0,
     [](Call &c) { freeKernel(createKernelFP(c)); },
     {.reportsAs = "moxCreateConvKernelFP", .leaks = 1}},
    {"moxConvolve2D", PIXELS, 2, convolve},
    {"moxConvolve2DFP", PIXELS, 2, convolveFP, {.depth = MOX_DEPTH_32F}},

    // Bitmaps
    {"moxReduceBits", PIXELS, 2, reduceBits, {.quietMemory = true}},
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
         convertFromDIB(c,
                        [](ExampleBitmap &b, MoxImage *i) { moxConvertFromDIBSep(b.sepHeader(), b.pixels.data(), i); });
     },
     {.plainOnly = true}},
    {"moxConvertToDIB", BITMAPS, 1,
     [](Call &c) {
         convertToDIB(
             c, [&](ExampleBitmap &b, int dither, int palette) { moxConvertToDIB(c.src(), b.dib(), dither, palette); });
     }},
    {"moxConvertToDIBSep", BITMAPS, 1,
     [](Call &c) {
         convertToDIB(c, [&](ExampleBitmap &b, int dither, int palette) {
             moxConvertToDIBSep(c.src(), b.sepHeader(), b.pixels.data(), dither, palette);
         });
     }},
};

}  // namespace

std::vector<Example> transformExamples();

const std::vector<Example> &allExamples() {
    static const std::vector<Example> all = [] {
        std::vector<Example> gathered = examples;
        for (const Example &example : transformExamples())
            gathered.push_back(example);
        return gathered;
    }();
    return all;
}
