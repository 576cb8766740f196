// The reference model of the operations with opacities: slow, sample by sample, to be read as their definition.
//
//     const RefComposite call = {&a, &b, &d, {.type = MOX_COMPOSITE_OVER, .premulAlpha = 1}};
//     const RefWrites wanted = refComposite(call);          // before the call
//     moxAlphaComposite(a.header(), b.header(), d.header(), MOX_COMPOSITE_OVER, nullptr, nullptr, nullptr, 1, 0);
//     for (const RefWrite &each : wanted) EXPECT_TRUE(each.image->holds(each.expected));
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "reference/reference.h"

// x as a fraction of the full scale, times y: truncated, at 8 or 16 bits.
uint32_t refScaledMul(unsigned depth, uint32_t x, uint32_t y);

struct RefRule {
    int type = 0;  // of the six MOX_COMPOSITE_ kinds
    int premulAlpha = 1;
    int divideMode = 0;
};

// One sample of two images with the opacities of its pixel.
struct RefBlend {
    uint32_t a, b;
    uint32_t alphaA, alphaB;
};
uint32_t refBlendColour(const RefRule &rule, unsigned depth, const RefBlend &s);
uint32_t refBlendAlpha(const RefRule &rule, unsigned depth, uint32_t alphaA, uint32_t alphaB);

// The images of moxAlphaComposite; those of opacities may be null.
struct RefComposite {
    TestImage *srcA, *srcB, *dst;
    RefRule rule;
    TestImage *alphaA = nullptr, *alphaB = nullptr, *alphaDst = nullptr;

    // Which opacities it takes: those given, else the images' own, else none.
    TestImage *roleA() const;
    TestImage *roleB() const;
    TestImage *roleDst() const;
    // Those given, in the order in which their masks count.
    std::vector<TestImage *> given() const;
};

// An image after a call that writes into it.
struct RefWrite {
    TestImage *image;
    TestBytes expected;
};
// The destination, and behind it the image of the output's opacity, if that is another.
using RefWrites = std::vector<RefWrite>;

RefWrites refComposite(const RefComposite &call);
RefWrites refCompositeC(TestImage &srcA, TestImage &srcB, TestImage &dst, const RefRule &rule, int aA, int aB);
RefWrites refPreMultiply(TestImage &image, int alpha);
RefWrites refMultiplyScale(TestImage &srcA, TestImage &srcB, TestImage &dst);
RefWrites refMultiplySScale(TestImage &src, TestImage &dst, int value);

// The first fault that a call's tests find, as it is reported, or a status of 0. The headers are tested as they stand;
// the masks' agreement and memory are not looked at.
struct RefFault {
    MoxStatus status = 0;
    std::string message;
};
struct RefCompositeHeaders {
    MoxImage *srcA, *srcB, *dst;
    int compositeType;
    MoxImage *alphaA, *alphaB, *alphaDst;
    int premulAlpha, divideMode;
};
RefFault refCompositeFault(const RefCompositeHeaders &call);
struct RefCompositeCHeaders {
    MoxImage *srcA, *srcB, *dst;
    int compositeType, aA, aB, premulAlpha, divideMode;
};
RefFault refCompositeCFault(const RefCompositeCHeaders &call);
RefFault refPreMultiplyFault(MoxImage *image, int alpha);
// The sources in their order, one or two.
RefFault refMultiplyScaleFault(const std::vector<MoxImage *> &sources, MoxImage *dst);

// A run over tiles: the images in the order in which they are taken, each once, with the mode in which its tiles are
// requested. The first tiled one gives the blocks.
struct RefBlock {
    int x, y, width, height;  // from the corner of the regions
};
struct RefSession {
    std::vector<TileEvent> events;
    std::vector<RefBlock> done;  // blocks that were worked on
};
using RefTaking = std::pair<TestImage *, int>;
// Null images are passed over, and of an image that comes twice the second time. The n-th request is refused: the other
// images of its block are requested all the same, what is in hand is released, and the run is at its end.
RefSession refSession(const std::vector<RefTaking> &takings, int width, int height, int refuseAt = 0);
RefSession refCompositeSession(const RefComposite &call, int refuseAt = 0);
// The destination and its sources.
RefSession refSession(TestImage &dst, const std::vector<TestImage *> &sources, int refuseAt = 0);
