// Reports that end the process: what is written last, the exit code, and that it is an orderly exit.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <thread>

#include "child.h"
#include "core/owncore.h"

namespace {

const char *const LAST_WORDS = "MOX Library Error\nErrMode=MOX_ErrModeLeaf\nterminating the application";

TEST(LeafMode, StdErrEndsTheProcessAfterTheText) {
    ChildEnd end =
        runWithoutTerminal([] { return moxStdErrReport(-5, "moxAdd", "srcImageA==0", "moxadd.cpp", 42), 7; });
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_EQ(
        end.output,
        std::string("\nMOX Library Error: Bad argument \n\tin function [moxadd.cpp:42]:moxAdd(): srcImageA==0\n") +
            LAST_WORDS);
}

TEST(LeafMode, StdErrEndsTheProcessOnABacktraceToo) {
    ChildEnd end = runWithoutTerminal([] { return moxStdErrReport(-1, "moxAbs", "", "moxabs.cpp", 4), 7; });
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_EQ(end.output, std::string("\tcalled from [moxabs.cpp:4]:moxAbs(): \n") + LAST_WORDS);
}

TEST(LeafMode, NulDevEndsTheProcessSilently) {
    ChildEnd end = runWithoutTerminal([] { return moxNulDevReport(-5, "f", "m", "file", 1), 7; });
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_EQ(end.output, "");
}

TEST(LeafMode, IsThatOfANewProcess) {
    ChildEnd end = runWithoutTerminal([] {
        moxRedirectError(moxNulDevReport);
        moxError(-5, "f", "m", "file", 1);
        return 7;
    });
    EXPECT_EQ(end.exitCode, 1);
}

TEST(LeafMode, AFailingOperationEndsTheProcess) {
    ChildEnd end = runWithoutTerminal([] {
        moxRedirectError(moxStdErrReport);
        moxSet(nullptr, 0);
        return 7;
    });
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_EQ(end.output.find("\nMOX Library Error: Null pointer to an image header \n\tin function ["), 0u);
    EXPECT_NE(end.output.find("]:moxSet(): Incorrect Image\n"), std::string::npos);
}

TEST(LeafMode, StatusZeroEndsNothing) {
    ChildEnd end = runWithoutTerminal([] {
        moxRedirectError(moxNulDevReport);
        return moxError(0, "f", "m", "file", 1) == 0 ? 7 : 8;
    });
    EXPECT_EQ(end.exitCode, 7);
}

TEST(LeafMode, TheEndIsDeathByExit) {
    moxSetErrMode(MOX_ErrModeLeaf);
    EXPECT_EXIT(moxNulDevReport(-5, "f", "m", "file", 1), testing::ExitedWithCode(1), "^$");
    EXPECT_EXIT(moxStdErrReport(-5, "f", "m", "file", 1), testing::ExitedWithCode(1), "terminating the application$");
}

void sayGoodbye() {
    // The library still answers here.
    moxSetErrStatus(-6);
    const char *text = moxGetErrStatus() == -6 ? "goodbye" : "lost";
    if (write(STDERR_FILENO, text, strlen(text)) < 0) abort();
}

TEST(LeafMode, TheEndRunsTheExitHandlers) {
    for (MoxErrorCallback report : {moxNulDevReport, moxStdErrReport, moxGuiBoxReport}) {
        ChildEnd end = runWithoutTerminal([report] {
            atexit(sayGoodbye);
            report(-5, "f", "m", "file", 1);
            return 7;
        });
        EXPECT_EQ(end.exitCode, 1);
        ASSERT_GE(end.output.size(), 7u);
        EXPECT_EQ(end.output.substr(end.output.size() - 7), "goodbye");
    }
}

TEST(LeafMode, TheEndMayComeFromAnyThread) {
    ChildEnd end = runWithoutTerminal([] {
        atexit(sayGoodbye);
        std::thread([] { moxNulDevReport(-5, "f", "m", "file", 1); }).join();
        return 7;
    });
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_EQ(end.output, "goodbye");
}

TEST(Context, EndsOrderlyWithTheProcess) {
    ChildEnd end = runWithoutTerminal([] {
        ownGetContext()->fftScratch[3] = moxiMalloc(100);
        ownGetContext()->fftScratchSizes[3] = 100;
        std::exit(9);
        return 7;
    });
    EXPECT_EQ(end.exitCode, 9);
    EXPECT_EQ(end.output, "");
}

}  // namespace
