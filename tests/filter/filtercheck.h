// What the tests of the filters share: windows and kernels drawn, calls compared with the model, and the rounding mode
// watched.
#pragma once

#include <functional>
#include <string>

#include "filter/filterpair.h"
#include "reference/filter.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/tilelog.h"

// The floating-point environment of the caller, which every call must leave as it was: rounding, masks of exceptions,
// handling of denormals.
class RoundingWatch {
  public:
    RoundingWatch();
    testing::AssertionResult kept() const;

  private:
    int rounding_;
    unsigned control_;
};

std::string describeWindow(const RefWindow &window);
RefWindow drawWindow(Random &random, int maxCols, int maxRows);

// Runs the call at every CPU level and compares the destination with the model, byte for byte, and the levels with each
// other; no report, nothing else touched, tiles paired, nothing leaked, the rounding mode as before. The pair is as
// before afterwards.
// accept is what may differ from the model, though not between levels.
using AcceptResult = std::function<void(const TestImage &destination, RefResult *wanted)>;
void checkCall(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call,
               const AcceptResult &accept = refAcceptNaNs);

// Every allocation of the call is refused in turn, or every tile: nothing leaks, headers stay, nothing but covered
// samples is written, and the rounding mode is as before. The reports are for judge to test; mode is that of the
// refused tile's request, 0 for memory.
using JudgeReports = std::function<void(const ReportRecorder &reports, int mode)>;
using RefusalCheck = void(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call,
                          const JudgeReports &judge);
RefusalCheck checkRefusedMemory, checkRefusedTiles;
