// Example calls: headers, regions, allocation, and moving pixels. Calls that make something give it back.
#include <algorithm>
#include <bit>
#include <cstring>

#include "support/allocations.h"
#include "table/examples.h"

namespace {

using Call = ExampleCall;
constexpr Touches NOTHING = Touches::NOTHING, HEADERS = Touches::HEADERS, PIXELS = Touches::PIXELS;

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

double firstSample(unsigned depth, const char *pixel) {
    uint32_t bits = 0;
    memcpy(&bits, pixel, depth == MOX_DEPTH_1U ? 1 : std::min<size_t>((depth & ~MOX_DEPTH_SIGN) / 8, sizeof bits));
    return depth == MOX_DEPTH_32F ? static_cast<double>(std::bit_cast<float>(bits)) : bits;
}

// Room for the samples of any header whose pixels are there. A system without memory of a thread's own takes it from the
// heap, at the first use.
char *roomForPixel() {
    AllocationPause pause;
    static thread_local char room[1 << 22];
    room[0] = 0;
    return room;
}

void movePixel(Call &call, bool get) {
    char *pixel = roomForPixel();
    const int x = call.size(3) - 1, y = call.size(2) - 1;
    memset(pixel, get ? 0 : call.choice(0x5A, 256), 64);
    if (get) {
        moxGetPixel(call.dst(), x, y, pixel);
        if (call.dst()) call.answers.push_back(firstSample(call.dst()->depth, pixel));
    } else {
        moxPutPixel(call.dst(), x, y, pixel);
    }
}

void setBorders(Call &call) {
    MoxImage image = *call.dst();
    const int mode = call.number(2), sides = call.number(MOX_SIDE_ALL), constant = call.number(300);
    moxSetBorderMode(&image, mode, sides, constant);
}

}  // namespace

std::vector<Example> imageExamples() {
    return {
        // Headers, regions, tile records, pixels
        {"moxCreateImageHeader", HEADERS, 1, createAndFreeHeader, {.quietMemory = true}},
        {"moxAllocateImage", HEADERS, 1,
         [](Call &c) {
             allocatePixels(c, c.dst()->depth, [&](MoxImage *i) { moxAllocateImage(i, c.choice(1, 2), 7); });
         }},
        {"moxAllocateImageFP", HEADERS, 1,
         [](Call &c) {
             allocatePixels(c, MOX_DEPTH_32F, [&](MoxImage *i) { moxAllocateImageFP(i, c.choice(1, 2), 7); });
         }},
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
        exampleOf(refCopy),
        {"moxSet",
         PIXELS,
         1,
         [](Call &c) { moxSet(c.dst(), c.number(77)); },
         {.releasesTiles = true, .tiles = TilesInHand::ONE}},
        {"moxSetFP",
         PIXELS,
         1,
         [](Call &c) { moxSetFP(c.dst(), c.real(0.5f)); },
         {.depth = MOX_DEPTH_32F, .releasesTiles = true, .tiles = TilesInHand::ONE}},
        {"moxExchange", PIXELS, 2, [](Call &c) { moxExchange(c.src(), c.dst()); }, {.within = "moxCopy"}},
        {"moxGetPixel",
         PIXELS,
         1,
         [](Call &c) { movePixel(c, true); },
         {.releasesTiles = true, .tiles = TilesInHand::ONE, .readsOnly = true}},
        {"moxPutPixel",
         PIXELS,
         1,
         [](Call &c) { movePixel(c, false); },
         {.releasesTiles = true, .tiles = TilesInHand::ONE}},
    };
}
