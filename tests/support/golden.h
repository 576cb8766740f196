// Golden digests: hashes of results in tests/golden/digests.txt, one "name hash" a line, which every CPU level and
// platform must give. MOX_GOLDEN_WRITE=1 writes the hashes into the file in place of comparing (run the tests one after
// the other then).
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/testimage.h"

// FNV-1a, 64 bits.
uint64_t digestOf(const std::vector<uint8_t> &bytes, uint64_t start = 0xCBF29CE484222325u);

// Of all samples, four bytes each, wherever they stand.
uint64_t digestOfSamples(const TestImage &image, uint64_t start);

testing::AssertionResult digestIsGolden(const std::string &name, uint64_t digest);
