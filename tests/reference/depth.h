// The reference model of what changes depths, and of the threshold: sample by sample, to be read as their definition.
//
//     RefResult wanted = refScale(source, destination);          // before the call
//     moxScale(source.header(), destination.header());
//     EXPECT_TRUE(destination.holds(wanted.expected));
#pragma once

#include <cstdint>

#include "reference/reference.h"

// Whole images: regions, masks and alpha play no part, but for the coi of a source of several channels that becomes
// bits.
RefResult refConvert(TestImage &source, TestImage &destination);

// The common area of the regions, under the masks, in the processed channels.
RefResult refBitonalToGray(TestImage &source, TestImage &destination, int zero, int one);
RefResult refScale(TestImage &source, TestImage &destination);
RefResult refScaleFP(TestImage &source, TestImage &destination, float least, float most);
RefResult refThreshold(TestImage &source, TestImage &destination, int threshold);

// One sample.
uint32_t refConvertSample(unsigned srcDepth, unsigned dstDepth, uint32_t sample);
uint32_t refScaleSample(unsigned srcDepth, unsigned dstDepth, uint32_t sample);
uint32_t refScaleToReal(unsigned srcDepth, uint32_t sample, float least, float most);
uint32_t refScaleFromReal(unsigned dstDepth, uint32_t sample, float least, float most);
uint32_t refThresholdSample(unsigned srcDepth, unsigned dstDepth, uint32_t sample, int threshold);

// The range of an integer depth.
int64_t refLowest(unsigned depth);
int64_t refHighest(unsigned depth);
