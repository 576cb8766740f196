// The three report functions where they return: what they write, byte for byte, and what they give back.
#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "core/owncore.h"

namespace {

class Report : public testing::Test {
  protected:
    void SetUp() override {
        moxSetErrStatus(0);
        moxSetErrMode(MOX_ErrModeParent);
    }
    void TearDown() override {
        moxSetErrStatus(0);
        moxSetErrMode(MOX_ErrModeLeaf);
        moxRedirectError(nullptr);
    }

    // The text that a report leaves on the standard error stream.
    static std::string written(MoxErrorCallback report, MoxStatus status, const char *function, const char *message,
                               const char *file, int line) {
        testing::internal::CaptureStderr();
        MoxStatus result = report(status, function, message, file, line);
        std::string text = testing::internal::GetCapturedStderr();
        EXPECT_EQ(result, status);
        return text;
    }
};

TEST_F(Report, StdErrNamesTheFault) {
    EXPECT_EQ(written(moxStdErrReport, -5, "moxAdd", "srcImageA==0", "moxadd.cpp", 42),
              "\nMOX Library Error: Bad argument \n\tin function [moxadd.cpp:42]:moxAdd(): srcImageA==0\n");
}

TEST_F(Report, StdErrWritesABacktraceStep) {
    EXPECT_EQ(written(moxStdErrReport, -1, "moxAbs", "moxCopy is failed", "moxabs.cpp", 7),
              "\tcalled from [moxabs.cpp:7]:moxAbs(): moxCopy is failed\n");
    EXPECT_EQ(written(moxStdErrReport, -1, "moxAbs", "", "moxabs.cpp", 7), "\tcalled from [moxabs.cpp:7]:moxAbs(): \n");
}

TEST_F(Report, StdErrWritesAnAutotraceStep) {
    EXPECT_EQ(written(moxStdErrReport, -8, "moxAbs", "a, b", "moxabs.cpp", 7),
              "\tcalled from [moxabs.cpp:7]:moxAbs(a, b)\n");
}

TEST_F(Report, StdErrLeavesOutWhatIsNotGiven) {
    EXPECT_EQ(written(moxStdErrReport, -4, nullptr, nullptr, nullptr, 0),
              "\nMOX Library Error: Insufficient memory \n\tin function:<unknown>\n");
    EXPECT_EQ(written(moxStdErrReport, -4, nullptr, nullptr, nullptr, -3),
              "\nMOX Library Error: Insufficient memory \n\tin function:<unknown>\n");
    EXPECT_EQ(written(moxStdErrReport, -8, "f", nullptr, nullptr, 0), "\tcalled from:f\n");
    EXPECT_EQ(written(moxStdErrReport, -4, "f", "m", "file", 0),
              "\nMOX Library Error: Insufficient memory \n\tin function [file:0]:f(): m\n");
    EXPECT_EQ(written(moxStdErrReport, -4, "f", "m", "file", -3),
              "\nMOX Library Error: Insufficient memory \n\tin function [file:-3]:f(): m\n");
}

TEST_F(Report, StdErrWithALineButNoFileStillWritesTheLine) {
    std::string text = written(moxStdErrReport, -4, "f", "m", nullptr, 9);
    EXPECT_EQ(text.find("\nMOX Library Error: Insufficient memory \n\tin function ["), 0u);
    EXPECT_NE(text.find(":9]:f(): m\n"), std::string::npos);
}

TEST_F(Report, StdErrTakesEveryStatus) {
    EXPECT_EQ(written(moxStdErrReport, -116, "f", "m", "file", 1),
              "\nMOX Library Error: Unknown error or status code \n\tin function [file:1]:f(): m\n");
    EXPECT_EQ(written(moxStdErrReport, 0, "f", "m", "file", 1),
              "\nMOX Library Error: No Error \n\tin function [file:1]:f(): m\n");
    EXPECT_EQ(written(moxStdErrReport, INT_MIN, "f", "m", "file", INT_MAX),
              "\nMOX Library Error: Unknown error or status code \n\tin function [file:2147483647]:f(): m\n");
}

TEST_F(Report, StdErrDoesNotReadFormatsInItsArguments) {
    std::string longText(100000, '%');
    EXPECT_EQ(written(moxStdErrReport, -5, "%s%n", longText.c_str(), "%d", 1),
              "\nMOX Library Error: Bad argument \n\tin function [%d:1]:%s%n(): " + longText + "\n");
}

TEST_F(Report, NothingIsWrittenInSilentMode) {
    moxSetErrMode(MOX_ErrModeSilent);
    for (MoxErrorCallback report : {moxStdErrReport, moxNulDevReport, moxGuiBoxReport}) {
        EXPECT_EQ(written(report, -5, "f", "m", "file", 1), "");
        EXPECT_EQ(written(report, -1, "f", "m", "file", 1), "");
    }
    EXPECT_EQ(moxGetErrStatus(), 0);
}

TEST_F(Report, SilentModeStillStoresTheStatus) {
    moxSetErrMode(MOX_ErrModeSilent);
    for (MoxErrorCallback report : {moxStdErrReport, moxNulDevReport, moxGuiBoxReport}) {
        moxSetErrStatus(0);
        moxRedirectError(report);
        testing::internal::CaptureStderr();
        EXPECT_EQ(moxError(-6, "f", "m", "file", 1), -6);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        EXPECT_EQ(moxGetErrStatus(), -6);
    }
}

TEST_F(Report, NulDevWritesNothingInParentMode) {
    EXPECT_EQ(written(moxNulDevReport, -5, "f", "m", "file", 1), "");
    EXPECT_EQ(written(moxNulDevReport, -5, nullptr, nullptr, nullptr, 0), "");
}

TEST_F(Report, OtherModesWriteButEndNothing) {
    for (int mode : {7, 3, -1, INT_MIN}) {
        moxSetErrMode(mode);
        EXPECT_EQ(written(moxStdErrReport, -5, "f", "m", "file", 1),
                  "\nMOX Library Error: Bad argument \n\tin function [file:1]:f(): m\n");
        EXPECT_EQ(written(moxNulDevReport, -5, "f", "m", "file", 1), "");
        EXPECT_EQ(written(moxGuiBoxReport, -5, "f", "m", "file", 1), "");
    }
}

TEST_F(Report, ErrorGivesBackWhatTheReportGives) {
    moxRedirectError(moxNulDevReport);
    EXPECT_EQ(moxError(-5, "f", "m", "file", 1), -5);
    EXPECT_EQ(moxError(-1, "f", "m", "file", 1), -1);
    EXPECT_EQ(moxGetErrStatus(), -5);
}

}  // namespace
