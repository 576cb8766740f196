// The reference model of the measures: norms, moments, minimum and maximum, comparisons, histograms and the maps that
// are made of them; slow, sample by sample, to be read as their definition.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "reference/number.h"
#include "reference/reference.h"

// Every sample that counts of the images' common area, all processed channels: its pixel, counted from the corner of
// the regions, and its place among the processed channels.
using RefVisit = std::function<void(int i, int j, int channel)>;
void refEachSample(const std::vector<TestImage *> &images, const RefVisit &visit);
uint32_t refSampleOf(const TestImage &image, int i, int j, int channel);

// What moxNorm returns where its sums are exact.
struct RefNorm {
    double value;
    MoxStatus status = 0;  // of the only report, 0 for none
    const char *message = nullptr;
    bool isMarker() const { return status != 0; }
};
RefNorm refNorm(TestImage &a, TestImage *b, int normType);

// Moments of the only processed channel, by the powers of x and y, and the sums of the terms' magnitudes. Sums of up to
// 64 bits are exact where the samples have no more than 16. An empty region stores nothing.
struct RefMoments {
    bool empty, exact;
    int width, height;
    long double sums[4][4], magnitudes[4][4];
};
RefMoments refMoments(TestImage &image);

double refSpatialMoment(const MoxMomentState &state, int mOrd, int nOrd);
double refNormalizedSpatialMoment(const MoxMomentState &state, int mOrd, int nOrd);
double refCentralMoment(const MoxMomentState &state, int mOrd, int nOrd);
double refNormalizedCentralMoment(const MoxMomentState &state, int mOrd, int nOrd);

// The bits of the smallest and the largest sample; none says that there are no samples.
struct RefMinMax {
    bool none, allNaN;
    uint32_t min, max;
};
RefMinMax refMinMax(const TestImage &image);

// All storage of a comparison's result. A relation gets the bits of two samples, b's are 0 with a constant.
using RefRelation = std::function<bool(unsigned depth, uint32_t a, uint32_t b)>;
RefRelation refLess(), refGreater(), refEqual(), refEqualEps(float eps);
RefRelation refLessS(int value), refGreaterS(int value), refEqualS(int value);
RefRelation refLessSFP(float value), refGreaterSFP(float value), refEqualSFP(float value),
    refEqualSFPEps(float value, float eps);
TestBytes refCompare(const std::vector<TestImage *> &sources, TestImage &result, const RefRelation &relation);

// A table with storage of its own, and the levels of a depth.
struct RefTable {
    std::vector<int> key, value, factor;
    int interpolateType = 0;
};
int refLevels(unsigned depth);
// What a table of a channel (by its index in the image) becomes.
RefTable refHistogram(TestImage &image, int channel, const RefTable &table);
std::vector<uint32_t> refStretch(unsigned depth, const RefTable &table);
std::vector<uint32_t> refEqualize(unsigned depth, const RefTable &table);
// All storage of the destination when each channel of the source went through its map, by the channel's index.
TestBytes refMapped(TestImage &source, TestImage &destination, const std::vector<std::vector<uint32_t>> &maps);
