// Many pictures at once: each by itself, what fails named at the end, and nothing half-written.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "toolbench.h"

namespace {

namespace fs = std::filesystem;

class Many : public Bench {
  protected:
    void SetUp() override {
        Bench::SetUp();
        for (int i = 0; i < 6; i++)
            write("p" + std::to_string(i) + ".png", randomPng(30, 20, 3, 8, static_cast<unsigned>(i)));
    }

    static std::string pictures() { return " -- p0.png p1.png p2.png p3.png p4.png p5.png"; }

    // Starts the tool, and leaves it running. What it says goes to a descriptor, or nowhere.
    pid_t start(const std::string &line, int messages = -1) const {
        std::vector<std::string> words = split("mox " + line);
        std::vector<char *> arguments;
        for (std::string &word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        const pid_t child = ::fork();
        if (child == 0) {
            if (messages < 0) messages = ::open("/dev/null", O_WRONLY);
            ::dup2(messages, STDERR_FILENO);
            if (::chdir(folder.c_str()) != 0) ::_exit(126);
            ::execv(MOX_TOOL_PATH, arguments.data());
            ::_exit(127);
        }
        return child;
    }

    std::vector<std::string> namesIn(const std::string &sub) const {
        std::vector<std::string> names;
        std::error_code error;
        for (const auto &entry : fs::directory_iterator(path(sub), error))
            names.push_back(entry.path().filename().string());
        return names;
    }
};

}  // namespace

TEST_F(Many, EachGivesWhatItGivesAlone) {
    for (const char *jobs : {"1", "3", "20"}) {
        const Outcome outcome = runLine(std::string("run --out-dir out --jobs ") + jobs + " blur 3 3 not" + pictures());
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_NE(outcome.err.find("6 of 6: "), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.err.find('\r'), std::string::npos) << "a bar where there is no terminal";
        for (int i = 0; i < 6; i++) {
            const std::string name = "p" + std::to_string(i) + ".png";
            runLineWell("run " + name + " blur 3 3 not alone.png");
            EXPECT_EQ(readBytes("out/" + name) == readBytes("alone.png"), true) << name;
        }
        fs::remove_all(path("out"));
    }
}

TEST_F(Many, WhatFailsDoesNotStopTheOthers) {
    writeBytes("p2.png", "no picture");
    fs::remove(path("p4.png"));
    const Outcome outcome = runLine("run --out-dir out --jobs 2 not" + pictures());
    EXPECT_EQ(outcome.code, 3);
    EXPECT_NE(outcome.err.find("mox: 2 of 6 pictures failed:\n  p2.png: is none of the pictures"), std::string::npos)
        << outcome.err;
    EXPECT_NE(outcome.err.find("\n  p4.png: No such file"), std::string::npos) << outcome.err;
    for (const char *name : {"p0.png", "p1.png", "p3.png", "p5.png"})
        EXPECT_EQ(read(std::string("out/") + name).width, 30);
    EXPECT_FALSE(exists("out/p2.png"));
    EXPECT_EQ(std::distance(fs::directory_iterator(path("out")), fs::directory_iterator()), 4);
}

TEST_F(Many, ResumeLeavesOutWhatIsThere) {
    runLine("run --out-dir out not" + pictures());
    writeBytes("out/p1.png", "kept");
    fs::remove(path("out/p3.png"));
    // Newer than its result.
    fs::last_write_time(path("p5.png"), fs::last_write_time(path("out/p5.png")) + std::chrono::seconds(5));
    writeBytes("out/p5.png", "old");
    fs::last_write_time(path("p5.png"), fs::last_write_time(path("out/p5.png")) + std::chrono::seconds(5));
    const Outcome outcome = runLine("run --resume --out-dir out not" + pictures());
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(readBytes("out/p1.png"), "kept");
    EXPECT_EQ(read("out/p3.png").width, 30);
    EXPECT_EQ(read("out/p5.png").width, 30);
    EXPECT_NE(outcome.err.find("p1.png: is there"), std::string::npos) << outcome.err;
}

TEST_F(Many, AnotherKindForAll) {
    EXPECT_EQ(runLine("run --out-dir out --format jpg --quality 80 -- p0.png p1.png").code, 0);
    EXPECT_EQ(readBytes("out/p1.jpg").substr(0, 2), "\xFF\xD8");
}

TEST_F(Many, WhatIsPrintedStandsBehindTheName) {
    const Outcome outcome = runLine("run --no-output get-pixel 0 0 -- p1.png p0.png");
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.out.find("p1.png:\n"), 0u) << outcome.out;
    EXPECT_LT(outcome.out.find("p1.png:\n"), outcome.out.find("p0.png:\n"));
}

TEST_F(Many, WhatCannotBegin) {
    fs::create_directory(path("sub"));
    fs::copy(path("p0.png"), path("sub/p0.png"));
    const auto expect = [&](const std::string &line, const std::string &message) {
        const std::vector<std::string> before = files();
        const Outcome outcome = runLine("run " + line);
        EXPECT_EQ(outcome.code, 2) << line << "\n" << outcome.err;
        EXPECT_NE(outcome.err.find(message), std::string::npos) << outcome.err;
        EXPECT_EQ(files(), before) << line;
    };
    expect("--out-dir out not -- p0.png sub/p0.png", "p0.png and sub/p0.png: both would become out/p0.png");
    expect("--out-dir . not -- p0.png", "is one of the pictures, and would be overwritten");
    expect("not -- p0.png", "--out-dir is missing");
    expect("--out-dir out not --", "no picture stands behind --");
    expect("--out-dir out p0.png not out.png", "--out-dir: is for many pictures, which stand behind --");
    expect("--out-dir out --format gif not -- p0.png", "--format: 'gif'");
    expect("--out-dir out nott -- p0.png", "did you mean not?");
    expect("--out-dir out --jobs 0 not -- p0.png", "--jobs: wants a number from 1 to 200");
}

TEST_F(Many, ATerminalSeesABar) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master, 0);
    ASSERT_EQ(::grantpt(master), 0);
    ASSERT_EQ(::unlockpt(master), 0);
    const int terminal = ::open(::ptsname(master), O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    const pid_t child = start("run --out-dir out --jobs 2 not" + pictures(), terminal);
    ::close(terminal);
    std::string seen;
    char piece[500];
    ssize_t got = 0;
    // The other end is closed when the tool has ended.
    while ((got = ::read(master, piece, sizeof piece)) > 0)
        seen.append(piece, static_cast<std::size_t>(got));
    ::close(master);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_NE(seen.find("\r[#####"), std::string::npos) << seen;
    EXPECT_NE(seen.find("] 3 of 6, "), std::string::npos) << seen;
    EXPECT_NE(seen.find("[##############################] 6 of 6, "), std::string::npos) << seen;
    EXPECT_NE(seen.find(" a second, 0 s left"), std::string::npos) << seen;
    EXPECT_EQ(seen.find(": done"), std::string::npos) << "lines beside the bar";
}

TEST_F(Many, AnInterruptLeavesNothingHalfWrittenAndResumeGoesOn) {
    for (int i = 0; i < 6; i++)
        write("p" + std::to_string(i) + ".png", randomPng(900, 700, 3, 8, static_cast<unsigned>(i)));
    const pid_t child = start("run --out-dir out --jobs 2 not" + pictures());
    // A result is there, and others are on the way.
    bool begun = false;
    for (int i = 0; i < 60000 && !begun; i++) {
        ::usleep(1000);
        int done = 0, writing = 0;
        for (const std::string &name : namesIn("out"))
            (name.starts_with(".mox-") ? writing : done)++;
        begun = done > 0 && writing > 0;
    }
    ASSERT_TRUE(begun);
    ASSERT_EQ(::kill(child, SIGINT), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
    const std::vector<std::string> there = namesIn("out");
    EXPECT_LT(there.size(), 6u);
    for (const std::string &name : there) {
        ASSERT_TRUE(name.starts_with("p")) << name << " was left behind";
        EXPECT_EQ(read("out/" + name).samples, mapped(read(name), [](int v) { return 255 - v; }).samples) << name;
    }
    const Outcome outcome = runLine("run --resume --out-dir out not" + pictures());
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    for (const std::string &name : there)
        EXPECT_NE(outcome.err.find(name + ": is there"), std::string::npos) << outcome.err;
    EXPECT_EQ(namesIn("out").size(), 6u);
}
