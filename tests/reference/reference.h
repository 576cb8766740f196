// The reference model of the element-wise operations: slow, sample by sample, to be read as their definition.
//
//     // Before the call, with sources and destination as they are now.
//     RefResult wanted = refPoint({operation("moxAddS"), 40}, {&source, &destination});
//     moxAddS(source.header(), destination.header(), 40);
//     EXPECT_TRUE(destination.holds(wanted.expected, wanted.unspecified));
//
// expected is the destination's whole storage; unspecified marks the padding that a flat run may write, and nothing
// else.
#pragma once

#include <cstdint>
#include <vector>

#include "reference/operation.h"
#include "support/testimage.h"
#include "support/tilelog.h"

struct RefResult {
    TestBytes expected;
    TestBytes unspecified;
};

// One sample from one or two.
uint32_t refElement(const RefCall &call, unsigned depth, uint32_t a, uint32_t b);

// The area that a call covers: the smallest regions of images and masks.
void refCommonSize(const std::vector<TestImage *> &images, int *width, int *height);
// The combined mask at pixel (i, j) of the covered area.
bool refMaskedIn(const std::vector<TestImage *> &images, int i, int j);
bool refHasMask(const std::vector<TestImage *> &images);
// Whether the call is one run over the whole buffers.
bool refRunsFlat(const std::vector<TestImage *> &images);

// Sources and, last, the destination.
RefResult refPoint(const RefCall &call, const std::vector<TestImage *> &images);
TestBytes refSet(TestImage &image, uint32_t value);
// What both images hold after an exchange.
void refExchange(TestImage &image1, TestImage &image2, TestBytes *expected1, TestBytes *expected2);

// Calls the library; b counts for two-image operations alone.
void refRunLibrary(const RefCall &call, const std::vector<TestImage *> &images);
void refRunLibraryOn(const RefCall &call, MoxImage *a, MoxImage *b, MoxImage *d);

// The requests and releases of the walk over tiles, sources in their order and the destination last.
std::vector<TileEvent> refTileWalk(const std::vector<TestImage *> &images);
// The same up to the n-th request, which is refused: it is the last event.
std::vector<TileEvent> refTileWalkUpTo(const std::vector<TestImage *> &images, int refusedRequest);
