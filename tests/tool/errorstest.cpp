// What goes wrong, and that it goes wrong cleanly: the exit code, a message that helps, and no file half written.
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "toolbench.h"

namespace {

class Errors : public Bench {
  protected:
    void SetUp() override {
        Bench::SetUp();
        write("a.png", randomPng(64, 48, 3, 8, 1));
        writeBytes("text.png", "This is no picture.\n");
    }

    // One line on the error stream that begins with the tool's name and holds all parts; no file appears.
    void expectError(const std::vector<std::string> &words, int code, const std::vector<std::string> &parts) {
        const std::vector<std::string> before = files();
        const Outcome outcome = run(words);
        std::string line;
        for (const std::string &word : words)
            line += " " + word;
        EXPECT_EQ(outcome.code, code) << line << "\n" << outcome.err;
        EXPECT_TRUE(outcome.err.starts_with("mox: ")) << outcome.err;
        EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
        for (const std::string &part : parts)
            EXPECT_NE(outcome.err.find(part), std::string::npos) << outcome.err;
        EXPECT_EQ(files(), before) << line;
    }

    void expectLineError(const std::string &line, int code, const std::vector<std::string> &parts) {
        expectError(split(line), code, parts);
    }
};

}  // namespace

TEST_F(Errors, TheLibrarysOwnMessage) {
    expectLineError("run a.png --depth 32f add-s 40 out.png", 1,
                    {"add-s: the library refuses it for this picture (64 x 48, RGB, depth 32f): moxAddS: For "
                     "processing depth 32F use function moxAddSFP (-5, "});
    expectLineError("run a.png add-sfp 1 out.png", 1,
                    {"add-sfp: the library refuses it for this picture (64 x 48, RGB, depth 8u): moxAddSFP: For "
                     "processing this depth use function moxAddS"});
    expectLineError("run a.png --depth 32f not out.png", 1,
                    {"not: the library refuses it for this picture (64 x 48, RGB, depth 32f): moxXorS: This function "
                     "does not support depth 32F"});
    expectLineError("run a.png set-fp 1 out.png", 1,
                    {"set-fp: the library refuses it for this picture (64 x 48, RGB, depth 8u): moxSetFP: You should "
                     "use moxSet for this image (-17, "});
    expectLineError("run a.png get-pixel 64 0 out.png", 1, {"moxGetPixel: ((x>img->width-1) || (x<0))"});
    expectLineError("run a.png put-pixel 0 48 1,2,3 out.png", 1, {"moxPutPixel: ((y>img->height-1) || (y<0))"});
}

TEST_F(Errors, ALaterOperationThatFailsLeavesNothing) {
    expectLineError("run a.png add-s 40 not --depth 32s add-sfp 3 out.png", 1, {"add-sfp: "});
}

TEST_F(Errors, CommandLines) {
    expectLineError("run", 2, {});
    expectLineError("run a.png", 2, {"RESULT is missing"});
    expectLineError("run a.png --no-output", 2, {"no operation is named"});
    expectLineError("run a.png add-s 40 not", 2, {"'not' is an operation"});
    expectLineError("run a.png add-s out.png", 2, {"add-s: VALUE is missing (add-s VALUE)"});
    expectLineError("run a.png pixels out.png", 2, {"there is no operation 'pixels'"});
    expectLineError("run a.png out.png not", 2, {"no operation 'out.png'; the file to write stands last"});
    expectLineError("blur a.png out.png", 2, {"'blur' is an operation: mox run PICTURE blur ... RESULT"});
    expectLineError("run a.png add-s 4x out.png", 2, {"add-s: VALUE must be a whole number, not '4x'"});
    expectLineError("run a.png add-s 2147483648 out.png", 2, {"add-s: VALUE"});
    expectLineError("run a.png add-s 99999999999999999999999 out.png", 2, {"add-s: VALUE"});
    expectLineError("run a.png and-s 4294967296 out.png", 2, {"and-s: VALUE"});
    expectLineError("run a.png lshift-s -1 out.png", 2, {"lshift-s: N must be a number from 0"});
    expectLineError("run a.png add-sfp half out.png", 2, {"add-sfp: VALUE must be a number"});
    expectLineError("run a.png put-pixel 0 0 1,,3 out.png", 2, {"put-pixel: V,V,..."});
    expectLineError("run a.png put-pixel 0 0 1,2 out.png", 2, {"put-pixel: the picture has 3 channels, not 2"});
    expectLineError("run a.png put-pixel 0 0 1,2,256 out.png", 2, {"a whole number from 0 to 255"});
    expectLineError("run a.png put-pixel 0 0 1,2,0.5 out.png", 2, {"a whole number from 0 to 255"});
    expectLineError("run a.png put-pixel 0 0 1,2,nan out.png", 2, {"a whole number from 0 to 255"});
    expectLineError("run a.png --roi 1,2,3 not out.png", 2, {"--roi: wants X,Y,W,H"});
    expectLineError("run a.png --roi 1,2,3,4,5 not out.png", 2, {"--roi"});
    expectLineError("run a.png --roi 1,2,3,99999999999 not out.png", 2, {"--roi"});
    expectLineError("run a.png --from 1 not out.png", 2, {"--from"});
    expectLineError("run a.png --coi red not out.png", 2, {"--coi: wants"});
    expectLineError("run a.png --coi -1 not out.png", 2, {"--coi: wants a channel, counted from 1, or 0"});
    expectLineError("run a.png --depth 8 not out.png", 2, {"--depth: wants 1u, 8u"});
    expectLineError("run a.png --tiles 256 not out.png", 2, {"--tiles: wants WxH"});
    expectLineError("run a.png --tiles 0x8 not out.png", 2, {"multiples of 8"});
    expectLineError("run a.png --tiles 8x12 not out.png", 2, {"multiples of 8"});
    expectLineError("run a.png --tiles 1048576x1048576 not out.png", 2, {"1 GiB"});
    expectLineError("run a.png --sharpen not out.png", 2, {"--sharpen"});
    expectLineError("paint a.png", 2, {});
    expectLineError("info", 2, {});
    expectLineError("gallery", 2, {});
    expectError({"run", "a.png", "not", ""}, 2, {"empty"});
}

TEST_F(Errors, FilesThatCannotBeRead) {
    expectLineError("run nowhere.png not out.png", 3, {"nowhere.png: No such file"});
    expectLineError("info nowhere.png", 3, {"nowhere.png: No such file"});
    expectLineError("run text.png not out.png", 3,
                    {"text.png: is none of the pictures that can be read: PNG (.png), JPEG"});
    expectLineError("run . not out.png", 3, {".: is a folder, not a picture"});
    expectLineError("run a.png add nowhere.png out.png", 3, {"nowhere.png: No such file"});
    expectLineError("run a.png add text.png out.png", 3, {"text.png: is none of the pictures"});
    expectLineError("run a.png --mask text.png not out.png", 3, {"text.png: is none of the pictures"});
    expectLineError("gallery here nowhere.png", 3, {"nowhere.png: No such file"});
    writeBytes("empty.png", "");
    expectLineError("info empty.png", 3, {"empty.png: cannot be read as a picture: it is empty"});
}

TEST_F(Errors, FilesThatCannotBeWritten) {
    expectLineError("run a.png not nowhere/out.png", 3, {"nowhere/out.png: the folder nowhere: No such file"});
    std::filesystem::create_directory(path("folder"));
    expectLineError("run a.png not folder", 3, {"folder: is a folder"});
    expectLineError("gallery text.png", 3, {"text.png"});
    expectLineError("run a.png --format png not /dev/null", 3, {"/dev/null: is neither a regular file nor a pipe"});
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(Errors, AFailureKeepsWhatTheTargetHeld) {
    writeBytes("out.png", "old");
    expectLineError("run a.png add-sfp 1 out.png", 1, {});
    expectLineError("run a.png add nowhere.png out.png", 3, {});
    EXPECT_EQ(readBytes("out.png"), "old");
}

TEST_F(Errors, AFullDiskLeavesNothingHalfWritten) {
    writeBytes("out.png", "old");
    const std::vector<std::string> before = files();
    const auto smallFiles = [] {
        const struct rlimit limit = {1000, 1000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        std::signal(SIGXFSZ, SIG_IGN);
    };
    const Outcome outcome = run({"run", "a.png", "not", "out.png"}, smallFiles);
    EXPECT_EQ(outcome.code, 3) << outcome.err;
    EXPECT_NE(outcome.err.find("out.png"), std::string::npos) << outcome.err;
    EXPECT_EQ(readBytes("out.png"), "old");
    EXPECT_EQ(files(), before);
}

TEST_F(Errors, EndedInTheMiddleItLeavesNothing) {
    write("large.png", randomPng(2200, 2200, 3, 8, 2));
    writeBytes("out.png", "old");
    const std::vector<std::string> before = files();
    const pid_t child = ::fork();
    if (child == 0) {
        if (::chdir(folder.c_str()) != 0) ::_exit(126);
        ::execl(MOX_TOOL_PATH, "mox", "run", "large.png", "not", "out.png", static_cast<char *>(nullptr));
        ::_exit(127);
    }
    // As soon as the temporary file has appeared, long before five million pixels are packed.
    bool begun = false;
    for (int i = 0; i < 60000 && !begun; i++) {
        ::usleep(1000);
        for (const std::string &name : files())
            begun = begun || name.starts_with(".mox-");
    }
    ASSERT_TRUE(begun);
    ASSERT_EQ(::kill(child, SIGTERM), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_EQ(files(), before);
    EXPECT_EQ(readBytes("out.png"), "old");
}

TEST_F(Errors, InAndOutMayBeOneFile) {
    const Png picture = read("a.png");
    runLineWell("run a.png not a.png");
    EXPECT_EQ(read("a.png").samples, mapped(picture, [](int v) { return 255 - v; }).samples);
    EXPECT_EQ(files().size(), 2u);
}

TEST_F(Errors, ALinkStaysALink) {
    writeBytes("target.png", "old");
    std::filesystem::create_symlink("target.png", path("link.png"));
    runLineWell("run a.png not link.png");
    EXPECT_TRUE(std::filesystem::is_symlink(path("link.png")));
    EXPECT_EQ(read("target.png").width, 64);
    std::filesystem::create_symlink("gone.png", path("dangling.png"));
    expectLineError("run a.png not dangling.png", 3, {"leads nowhere"});
}

TEST_F(Errors, NewFilesHaveTheUsualRights) {
    const Outcome outcome = run({"run", "a.png", "not", "out.png"}, [] { ::umask(027); });
    EXPECT_EQ(outcome.code, 0);
    struct stat status = {};
    ASSERT_EQ(::stat(path("out.png").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
}
