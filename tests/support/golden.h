// Golden digests: hashes of results in tests/golden/digests.txt, one "name hash" a line, which every CPU level and
// platform must give. MOX_GOLDEN_WRITE=1 writes the hashes into the file in place of comparing (run the tests one after
// the other then).
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/testimage.h"

// FNV-1a, 64 bits.
uint64_t digestOf(const std::vector<uint8_t> &bytes, uint64_t start = 0xCBF29CE484222325u);

// Of all samples, four bytes each, wherever they stand.
uint64_t digestOfSamples(const TestImage &image, uint64_t start);

testing::AssertionResult digestIsGolden(const std::string &name, uint64_t digest);

// The layouts whose results have digests: a plain image, pixels under a mask, planes in tiles, and one channel of a
// region of tiles.
struct GoldenLayout {
    const char *name;
    int channels, order;
    bool coi, masked, tiled;
    int border;  // what lies beyond the edge, for those that look there

    // 1 bit is one channel. Where there is a channel of interest, it is that of a region which begins `shift` further.
    TestLayout of(unsigned depth, int width, int height, int shift) const {
        return of(depth, width, height, shift, depth == MOX_DEPTH_1U ? 1 : channels);
    }
    TestLayout of(unsigned depth, int width, int height, int shift, int count) const;
};
extern const std::array<GoldenLayout, 4> goldenLayouts;

// A source, and a destination that may be under a mask, in a layout.
struct GoldenPair {
    TestImage a, d, mask{TestLayout::ofMask(60, 18), 14};
    GoldenPair(const GoldenLayout &golden, unsigned depth);
};

// Compares digests "name/depth/layout" in every layout and at every CPU level. The body expects what it computes to be
// right and adds it to the digest; a wrong result has none, and nothing is to be reported.
void checkDigests(const std::string &name, unsigned depth,
                  const std::function<uint64_t(const GoldenLayout &golden, uint64_t digest)> &body);
