// What the tests of the measures share: calls at every CPU level with everything watched that they must not touch,
// refusals, and tables.
#pragma once

#include <functional>
#include <vector>

#include "reference/stat.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"

// Runs the call at every CPU level: nothing is reported or leaked, tiles are paired, and of all images and their masks
// only written (or none) has changed; judge then tests the result, and all images become what they were.
void checkCall(const std::vector<TestImage *> &images, TestImage *written, const std::function<void()> &call,
               const std::function<void()> &judge);

// Refuses every allocation and every tile of the call in turn: nothing leaks, headers and images other than written are
// untouched. judge gets the reports and the mode of the request that was refused, 0 for memory.
using JudgeRefusal = std::function<void(const ReportRecorder &reports, int mode)>;
void checkRefusals(const std::vector<TestImage *> &images, TestImage *written, const std::function<void()> &call,
                   const JudgeRefusal &judge);

// At 32F: numbers of moderate size in place of infinities and NaNs.
void drawModerate(Random &random, TestImage &image);

bool sameBits(double a, double b);  // or both NaN

// A table's record over its storage, which must stay.
MoxLUT recordOf(RefTable &table);
// Tables and their records, one for each channel of an image; those of channels that are not processed are null.
class TableSet {
  public:
    TableSet(const TestLayout &layout, std::vector<RefTable> tables);
    MoxLUT **pointers() { return pointers_.data(); }
    std::vector<RefTable> tables;
    std::vector<MoxLUT> records;

  private:
    std::vector<MoxLUT *> pointers_;
};
