// The modal question on a terminal: its title and text to the letter, what each answer does, and that it never waits
// where nobody can answer.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "child.h"
#include "core/owncore.h"

namespace {

constexpr int WENT_ON = 42;
const char *const TITLE = "MOX 2.5 Release SP1";
const char *const LEAF_TEXT =
    "In function moxAdd(): [file moxadd.cpp, line 42]\nsrcImageA==0\n\nBad argument\n(status: -5)\n\n"
    "ErrMode=MOX_ErrorModeLeaf\n\nTerminate the application?";
const char *const PARENT_TEXT =
    "In function moxAdd(): [file moxadd.cpp, line 42]\nsrcImageA==0\n\nBad argument\n(status: -5)\n\n"
    "ErrMode=MOX_ErrorModeParent\n\nContinue?";

// In the child: a report in a mode; 42 where it comes back with its status.
std::function<int()> ask(int mode) {
    return [mode] {
        moxSetErrMode(mode);
        return moxGuiBoxReport(-5, "moxAdd", "srcImageA==0", "moxadd.cpp", 42) == -5 ? WENT_ON : 43;
    };
}

int occurrences(const std::string &text, const std::string &part) {
    int count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        count++;
    return count;
}

void expectContains(const std::string &text, const char *part) {
    EXPECT_NE(text.find(part), std::string::npos) << "no \"" << part << "\" in \"" << text << "\"";
}

// The box that says goodbye asks nothing, so it may go to the terminal or to standard error.
void expectLastWord(const ChildEnd &end) {
    expectContains(end.output + end.errors, "Win32: Application exit");
    expectContains(end.output + end.errors, "MOX Library: terminating the application");
}

#define NEEDS_A_TERMINAL() \
    if (!terminalsExist()) GTEST_SKIP() << "no pseudo-terminal can be had here"

TEST(Box, AsksInLeafModeWhetherToTerminate) {
    NEEDS_A_TERMINAL();
    ChildEnd end = runAtTerminal(ask(MOX_ErrModeLeaf), "n\n");
    EXPECT_EQ(end.exitCode, WENT_ON);
    expectContains(end.output, TITLE);
    expectContains(end.output, LEAF_TEXT);
    EXPECT_EQ(end.errors, "");
    EXPECT_EQ((end.output + end.errors).find("terminating the application"), std::string::npos);
}

TEST(Box, YesTerminatesWithALastWord) {
    NEEDS_A_TERMINAL();
    ChildEnd end = runAtTerminal(ask(MOX_ErrModeLeaf), "y\n");
    EXPECT_EQ(end.exitCode, 1);
    expectContains(end.output, LEAF_TEXT);
    expectLastWord(end);
}

TEST(Box, AsksInParentModeWhetherToContinue) {
    NEEDS_A_TERMINAL();
    ChildEnd end = runAtTerminal(ask(MOX_ErrModeParent), "o\n");
    EXPECT_EQ(end.exitCode, WENT_ON);
    expectContains(end.output, TITLE);
    expectContains(end.output, PARENT_TEXT);
    EXPECT_EQ(end.errors, "");
    EXPECT_EQ((end.output + end.errors).find("terminating the application"), std::string::npos);
}

TEST(Box, CancelTerminatesWithALastWord) {
    NEEDS_A_TERMINAL();
    ChildEnd end = runAtTerminal(ask(MOX_ErrModeParent), "c\n");
    EXPECT_EQ(end.exitCode, 1);
    expectLastWord(end);
}

TEST(Box, TakesTheFirstLetterInEitherCase) {
    NEEDS_A_TERMINAL();
    struct {
        int mode;
        const char *typed;
        int exitCode;
    } const answers[] = {
        {MOX_ErrModeLeaf, "Yes\n", 1},        {MOX_ErrModeLeaf, "Y\n", 1},        {MOX_ErrModeLeaf, "yellow\n", 1},
        {MOX_ErrModeLeaf, "No\n", WENT_ON},   {MOX_ErrModeLeaf, "N\n", WENT_ON},  {MOX_ErrModeParent, "OK\n", WENT_ON},
        {MOX_ErrModeParent, "ok\n", WENT_ON}, {MOX_ErrModeParent, "Cancel\n", 1}, {MOX_ErrModeParent, "C\n", 1},
    };
    for (auto &answer : answers) {
        EXPECT_EQ(runAtTerminal(ask(answer.mode), answer.typed).exitCode, answer.exitCode) << answer.typed;
    }
}

TEST(Box, AsksAgainUntilALetterAnswers) {
    NEEDS_A_TERMINAL();
    std::string longLine(500, 'x');
    EXPECT_EQ(runAtTerminal(ask(MOX_ErrModeLeaf), "\nwhat?\no\nc\nn\n").exitCode, WENT_ON);
    EXPECT_EQ(runAtTerminal(ask(MOX_ErrModeLeaf), "\nwhat?\n" + longLine + "\ny\n").exitCode, 1);
    EXPECT_EQ(runAtTerminal(ask(MOX_ErrModeParent), "\ny\nn\n" + longLine + "\no\n").exitCode, WENT_ON);
    EXPECT_EQ(runAtTerminal(ask(MOX_ErrModeParent), "y\nn\nc\n").exitCode, 1);
}

TEST(Box, TakesTheSafeAnswerWhereTheTerminalEnds) {
    NEEDS_A_TERMINAL();
    ChildEnd leaf = runAtTerminal(ask(MOX_ErrModeLeaf), "what?\n\004");
    EXPECT_TRUE(leaf.ended);
    EXPECT_EQ(leaf.exitCode, 1);
    expectContains(leaf.errors, TITLE);
    expectContains(leaf.errors, LEAF_TEXT);
    ChildEnd parent = runAtTerminal(ask(MOX_ErrModeParent), "\004");
    EXPECT_TRUE(parent.ended);
    EXPECT_EQ(parent.exitCode, WENT_ON);
    expectContains(parent.errors, TITLE);
    expectContains(parent.errors, PARENT_TEXT);
}

TEST(Box, TakesTheSafeAnswerWhereTheTerminalGoesAway) {
    NEEDS_A_TERMINAL();
    ChildEnd leaf = runAtTerminal(ask(MOX_ErrModeLeaf), "", true);
    EXPECT_TRUE(leaf.ended);
    EXPECT_EQ(leaf.exitCode, 1);
    ChildEnd parent = runAtTerminal(ask(MOX_ErrModeParent), "", true);
    EXPECT_TRUE(parent.ended);
    EXPECT_EQ(parent.exitCode, WENT_ON);
}

TEST(Box, WithoutTerminalWritesToStandardErrorAndTakesTheSafeAnswer) {
    ChildEnd leaf = runWithoutTerminal(ask(MOX_ErrModeLeaf));
    EXPECT_TRUE(leaf.ended);
    EXPECT_EQ(leaf.exitCode, 1);
    expectContains(leaf.output, TITLE);
    expectContains(leaf.output, LEAF_TEXT);
    ChildEnd parent = runWithoutTerminal(ask(MOX_ErrModeParent));
    EXPECT_TRUE(parent.ended);
    EXPECT_EQ(parent.exitCode, WENT_ON);
    expectContains(parent.output, TITLE);
    expectContains(parent.output, PARENT_TEXT);
}

// A job in the background would be stopped by its first read from the terminal, for good where no shell looks after it.
TEST(Box, DoesNotStopAProcessInTheBackground) {
    NEEDS_A_TERMINAL();
    ChildEnd end = runAtTerminal(
        [] {
            pid_t job = fork();
            if (job == 0) {
                setpgid(0, 0);
                _exit(ask(MOX_ErrModeParent)());
            }
            setpgid(job, job);
            for (int i = 0; i < 300; i++) {
                int status = 0;
                if (waitpid(job, &status, WNOHANG | WUNTRACED) == job) {
                    if (WIFEXITED(status)) return WEXITSTATUS(status);
                    kill(job, SIGKILL);
                    return 44;
                }
                usleep(10000);
            }
            kill(job, SIGKILL);
            return 45;
        },
        "");
    EXPECT_EQ(end.exitCode, WENT_ON) << "44: stopped, 45: it waits";
}

TEST(Box, NamesAStepOfABacktraceAsSuch) {
    for (int step : {-1, -8}) {
        ChildEnd end = runWithoutTerminal([step] {
            moxSetErrMode(MOX_ErrModeParent);
            return moxGuiBoxReport(step, "moxAbs", "moxCopy is failed", "moxabs.cpp", 7) == step ? WENT_ON : 43;
        });
        EXPECT_EQ(end.exitCode, WENT_ON);
        std::string text = "Called from moxAbs(): [file moxabs.cpp, line 7]\nmoxCopy is failed\n\n";
        text += step == -1 ? "Backtrace" : "Autotrace call";
        text += "\n(status: " + std::to_string(step) + ")\n\nErrMode=MOX_ErrorModeParent\n\nContinue?";
        expectContains(end.output, text.c_str());
    }
}

TEST(Box, SubstitutesWhatIsNotGiven) {
    ChildEnd end = runWithoutTerminal([] {
        moxSetErrMode(MOX_ErrModeParent);
        return moxGuiBoxReport(-4, nullptr, "", nullptr, -12) == -4 ? WENT_ON : 43;
    });
    EXPECT_EQ(end.exitCode, WENT_ON);
    expectContains(end.output,
                   "In function <unknown>(): [file , line 0]\n\n\nInsufficient memory\n(status: -4)\n\n"
                   "ErrMode=MOX_ErrorModeParent\n\nContinue?");
}

TEST(Box, DoesNotReadFormatsInItsArguments) {
    ChildEnd end = runWithoutTerminal([] {
        moxSetErrMode(MOX_ErrModeParent);
        return moxGuiBoxReport(-4, "%n%s", "%s%s%n", "%d", 3) == -4 ? WENT_ON : 43;
    });
    EXPECT_EQ(end.exitCode, WENT_ON);
    expectContains(end.output, "In function %n%s(): [file %d, line 3]\n%s%s%n\n\n");
}

// Only the message counts towards the buffer; the other strings may be as long as they like all the same.
TEST(Box, HoldsLongStrings) {
    std::string longText(5000, 'q');
    ChildEnd end = runWithoutTerminal([&longText] {
        moxSetErrMode(MOX_ErrModeParent);
        const char *text = longText.c_str();
        return moxGuiBoxReport(-4, text, text, text, 3) == -4 ? WENT_ON : 43;
    });
    EXPECT_EQ(end.exitCode, WENT_ON);
    EXPECT_EQ(occurrences(end.output, "In function q"), 1);
}

TEST(Box, IsNotShownInOtherModes) {
    NEEDS_A_TERMINAL();
    for (int mode : {2, 7, -1}) {
        ChildEnd end = runAtTerminal(ask(mode), "");
        EXPECT_EQ(end.exitCode, WENT_ON);
        EXPECT_EQ(end.output, "");
        EXPECT_EQ(end.errors, "");
    }
}

TEST(Box, IsWhatANewThreadReportsBy) {
    NEEDS_A_TERMINAL();
    ChildEnd end = runAtTerminal(
        [] { return moxError(-5, "moxAdd", "srcImageA==0", "moxadd.cpp", 42) == -5 ? WENT_ON : 43; }, "n\n");
    EXPECT_EQ(end.exitCode, WENT_ON);
    expectContains(end.output, LEAF_TEXT);
}

}  // namespace
