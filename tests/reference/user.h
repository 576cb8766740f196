// The reference model of callbacks, noise and the test image: slow, sample by sample, to be read as their definition.
//
//     const RefResult wanted = refUserProcess(source, destination, [](int sample) { return 2 * sample; });
//     moxUserProcess(source.header(), destination.header(), twice);
//     EXPECT_TRUE(destination.holds(wanted.expected));
#pragma once

#include <functional>

#include "reference/reference.h"

// Functions are called for one sample after the other, or for one pixel, as plain images are walked.
RefResult refUserProcess(TestImage &source, TestImage &destination, const std::function<int(int)> &function);
RefResult refUserProcessFP(TestImage &source, TestImage &destination, const std::function<float(float)> &function);
// Samples are bit patterns; the destination's are what it holds, to be changed.
using RefUserPixel = std::function<void(const std::vector<uint32_t> &source, std::vector<uint32_t> &destination)>;
RefResult refUserProcessPixel(TestImage &source, TestImage &destination, const RefUserPixel &function);

// The generator of noise.
struct RefGenerator {
    explicit RefGenerator(uint32_t seed);
    uint32_t next();
    uint32_t x, s1, s2, s3, carry;
    // The polar method: deviates come in pairs.
    double deviate();
    bool hasSpare = false;
    double spare = 0;
};

// What a sample becomes, and what it may become as well: logarithm and sine are nobody's to know to the last bit, and
// a number that lies next to an integer may be truncated to either side of it.
struct RefNoise {
    TestBytes expected, other;
};
RefNoise refNoise(TestImage &image, const MoxNoiseParam &param);

struct RefJaehneSample {
    uint32_t expected, other;
};
// Row by row, from the top.
std::vector<RefJaehneSample> refJaehne(unsigned depth, int width, int height);

// Where the image holds the other value, that one is expected.
TestBytes refAcceptOther(const TestImage &image, const RefNoise &wanted);
