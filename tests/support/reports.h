// Records what the library reports.
//
//     ReportRecorder recorder;                        // parent mode, status 0, on this thread
//     moxAnd(a, b, floatImage);
//     EXPECT_TRUE(recorder.are({{-5, "moxAnd", "This function does not support depth 32F"}}));
//
// are() also checks that each report names a file without a folder and a positive line. The destructor restores report
// function, mode and status of the thread. One recorder at a time on a thread.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mox.h"

struct ReportSeen {
    MoxStatus status;
    std::string function;
    std::string message;
    std::string file;
    int line;
};

struct ReportExpected {
    MoxStatus status;
    const char *function;
    const char *message;
};

class ReportRecorder {
  public:
    ReportRecorder();
    ~ReportRecorder();
    ReportRecorder(const ReportRecorder &) = delete;
    ReportRecorder &operator=(const ReportRecorder &) = delete;

    // Exactly these reports, in this order. clear() forgets the reports and sets the status word to 0.
    testing::AssertionResult are(const std::vector<ReportExpected> &expected) const;
    testing::AssertionResult none() const { return are({}); }
    void clear();

    // The reports so far as text, one a line.
    std::string text() const;

    std::vector<ReportSeen> seen;
    bool answersZero = false;  // the report function returns 0 in place of the status

  private:
    MoxErrorCallback reportBefore_;
    int modeBefore_;
    MoxStatus statusBefore_;
};
