// The reference model of the reduction to fewer levels or bits: sample by sample, to be read as its definition.
//
//     RefReduce call = {0, MOX_DITHER_FS, 2};
//     RefResult wanted = refReduceBits(call, source, destination);          // before the call
//     moxReduceBits(source.header(), destination.header(), call.noise, call.dither, call.levels);
//     EXPECT_TRUE(destination.holds(wanted.expected));
#pragma once

#include <string>
#include <vector>

#include "reference/reference.h"

struct RefReduce {
    int noise = 0;
    int dither = MOX_DITHER_NONE;
    int levels = 2;
};

std::string refDescribe(const RefReduce &call);

// One channel of width x height samples as numbers from 0 to F, row after row, to output numbers; outputs are the
// levels before they are mapped to the destination.
std::vector<double> refReduceRows(const RefReduce &call, unsigned srcDepth, unsigned dstDepth,
                                  const std::vector<double> &samples, int width, int height);

double refReduceLoad(unsigned srcDepth, uint32_t sample);
uint32_t refReduceStore(unsigned srcDepth, unsigned dstDepth, double output);

RefResult refReduceBits(const RefReduce &call, TestImage &source, TestImage &destination);
