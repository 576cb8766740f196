// The status word and its texts: the tables literally, what moxError stores and whom it calls.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <map>
#include <string>
#include <thread>

#include "core/owncore.h"

namespace {

const char *const UNKNOWN = "Unknown error or status code";

const std::map<int, const char *> &plainTexts() {
    static const std::map<int, const char *> texts = {
        {0, "No Error"},
        {-1, "Backtrace"},
        {-3, "Internal error (bad state)"},
        {-4, "Insufficient memory"},
        {-5, "Bad argument"},
        {-6, "Unsupported function"},
        {-7, "Iteration convergence failed"},
        {-8, "Autotrace call"},
        {-9, "Null pointer to an image header"},
        {-10, "Incorrect image size"},
        {-11, "Incorrect offset of ROI of the image"},
        {-12, "Image must be tiled or must have nonzero data pointer"},
        {-13, "Incorrect widthStep of the image"},
        {-14, "Incorrect Color model or channel sequence of the image"},
        {-15, "Incorrect number of channels in the image"},
        {-16, "Number of channels for 1U depth image must be one"},
        {-17, "Incorrect depth value in the image header"},
        {-18, "Incorrect alpha channel number in the image header"},
        {-19, "Incorrect data order value in the image header"},
        {-20, "Incorrect data origin value in the image header"},
        {-21, "Incorrect data alignment value in the image header"},
        {-22, "Null pointer to callback function"},
        {-23, "Incorrect size of the tile"},
        {-24, "Incorrect COI of the image"},
        {-25, "Incorrect size of ROI in the image header"},
        {-26, "Mask image is taled"},
        {-27, "Null pointer"},
        {-28, "Incorrect vector length"},
        {-29, "Incorrect filter structure content"},
        {-30, "Incorrect transform kernel content"},
        {-31, "Incorrect filter ofset value"},
    };
    return texts;
}

const std::map<int, const char *> &maskTexts() {
    static const std::map<int, const char *> texts = {
        {-110, "Mask. Incorrect image size"},
        {-111, "Mask. Incorrect offset of ROI of the image"},
        {-112, "Mask. Image must be tiled or must have nonzero data pointer"},
        {-113, "Mask. Incorrect widthStep of the image"},
        {-114, "Mask. Incorrect Color model or channel sequence of the image"},
        {-115, "Mask. Incorrect number of channels in the image"},
        {-117, "Mask. Incorrect depth value in the image header"},
        {-118, "Mask. Incorrect alpha channel number in the image header"},
        {-119, "Mask. Incorrect data order value in the image header"},
        {-120, "Mask. Incorrect data origin value in the image header"},
        {-121, "Mask. Incorrect data alignment value in the image header"},
        {-124, "Mask. Incorrect COI of the image"},
        {-125, "Mask. Incorrect size of ROI in the image header"},
    };
    return texts;
}

// What the last call of the report function was given.
struct Call {
    int count;
    MoxStatus status;
    const char *function;
    const char *message;
    const char *file;
    int line;
};
Call lastCall;

MoxStatus MOX_CALL recordCall(MoxStatus status, const char *function, const char *message, const char *file, int line) {
    lastCall = {lastCall.count + 1, status, function, message, file, line};
    return 77;
}

MoxStatus MOX_CALL otherReport(MoxStatus, const char *, const char *, const char *, int) {
    return 0;
}

class Status : public testing::Test {
  protected:
    void SetUp() override {
        moxSetErrStatus(0);
        lastCall = {};
        before_ = moxRedirectError(recordCall);
    }
    void TearDown() override {
        moxSetErrStatus(0);
        moxSetErrMode(MOX_ErrModeLeaf);
        moxRedirectError(before_);
    }

  private:
    MoxErrorCallback before_ = nullptr;
};

TEST(StatusText, IsTheTableLiterally) {
    for (auto [status, text] : plainTexts())
        EXPECT_STREQ(moxErrorStr(status), text) << status;
    for (auto [status, text] : maskTexts())
        EXPECT_STREQ(moxErrorStr(status), text) << status;
}

TEST(StatusText, IsUnknownEverywhereElse) {
    for (int status = -1000; status <= 1000; status++) {
        if (plainTexts().count(status) || maskTexts().count(status)) continue;
        EXPECT_STREQ(moxErrorStr(status), UNKNOWN) << status;
    }
    for (int status : {INT_MIN, INT_MIN + 1, INT_MAX, -65536, 65536})
        EXPECT_STREQ(moxErrorStr(status), UNKNOWN);
    for (int status : {-2, -109, -116, -122, -123, 1, -126})
        EXPECT_STREQ(moxErrorStr(status), UNKNOWN) << status;
}

TEST(StatusText, PlainAndMaskTextShareTheirStorage) {
    for (auto [status, text] : maskTexts()) {
        EXPECT_EQ(static_cast<const void *>(moxErrorStr(status) + 6), moxErrorStr(status + 100)) << status;
    }
}

TEST(StatusText, TheTwoPlainTextsWithoutMaskCodeAreStoredBehindMaskToo) {
    EXPECT_EQ(memcmp(moxErrorStr(-9) - 6, "Mask. Null pointer to an image header", 38), 0);
    EXPECT_EQ(memcmp(moxErrorStr(-16) - 6, "Mask. Number of channels for 1U depth image must be one", 56), 0);
}

TEST(StatusText, IsAConstant) {
    const char *text = nullptr;
    std::thread([&] { text = moxErrorStr(-5); }).join();
    EXPECT_EQ(static_cast<const void *>(text), moxErrorStr(-5));
}

TEST_F(Status, SetStoresAnyValueAndReportsNothing) {
    for (int status : {-5, -1, -8, 3, INT_MIN, INT_MAX, 0}) {
        moxSetErrStatus(status);
        EXPECT_EQ(moxGetErrStatus(), status);
    }
    EXPECT_EQ(lastCall.count, 0);
}

TEST_F(Status, ModeIsStoredAsGiven) {
    for (int mode : {0, 1, 2, 7, -1, INT_MIN, INT_MAX}) {
        moxSetErrMode(mode);
        EXPECT_EQ(moxGetErrMode(), mode);
    }
    EXPECT_EQ(lastCall.count, 0);
}

TEST_F(Status, ErrorStoresAndReportsTheArgumentsUnchanged) {
    const char *function = "someFunction", *message = "some message", *file = "some.c";
    EXPECT_EQ(moxError(-5, function, message, file, -12), 77);
    EXPECT_EQ(moxGetErrStatus(), -5);
    EXPECT_EQ(lastCall.count, 1);
    EXPECT_EQ(lastCall.status, -5);
    EXPECT_EQ(static_cast<const void *>(lastCall.function), function);
    EXPECT_EQ(static_cast<const void *>(lastCall.message), message);
    EXPECT_EQ(static_cast<const void *>(lastCall.file), file);
    EXPECT_EQ(lastCall.line, -12);
}

TEST_F(Status, ErrorPassesNullPointersOn) {
    EXPECT_EQ(moxError(-4, nullptr, nullptr, nullptr, 0), 77);
    EXPECT_EQ(lastCall.function, nullptr);
    EXPECT_EQ(lastCall.message, nullptr);
    EXPECT_EQ(lastCall.file, nullptr);
}

TEST_F(Status, ErrorStoresEveryOtherStatusEvenUnknownAndPositiveOnes) {
    int count = 0;
    for (int status : {-2, -3, -7, -9, -32, -125, -217, 1, 100, INT_MIN, INT_MAX}) {
        EXPECT_EQ(moxError(status, "f", "m", "s", 1), 77);
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_EQ(lastCall.count, ++count);
    }
}

TEST_F(Status, ErrorZeroClearsAndCallsNobody) {
    moxSetErrStatus(-5);
    EXPECT_EQ(moxError(0, "f", "m", "s", 1), 0);
    EXPECT_EQ(moxGetErrStatus(), 0);
    EXPECT_EQ(lastCall.count, 0);
}

TEST_F(Status, BacktraceAndAutotraceReportButKeepTheStatus) {
    int count = 0;
    for (int step : {-1, -8}) {
        for (int before : {-5, 0}) {
            moxSetErrStatus(before);
            EXPECT_EQ(moxError(step, "f", "m", "s", 1), 77);
            EXPECT_EQ(moxGetErrStatus(), before);
            EXPECT_EQ(lastCall.count, ++count);
            EXPECT_EQ(lastCall.status, step);
        }
    }
}

TEST_F(Status, ErrorAsksTheReportFunctionInEveryMode) {
    for (int mode : {0, 1, 2, 7}) {
        moxSetErrMode(mode);
        EXPECT_EQ(moxError(-5, "f", "m", "s", 1), 77);
    }
    EXPECT_EQ(lastCall.count, 4);
}

TEST_F(Status, RedirectReturnsTheFunctionBefore) {
    EXPECT_EQ(moxRedirectError(otherReport), recordCall);
    EXPECT_EQ(moxRedirectError(nullptr), otherReport);
    EXPECT_EQ(moxRedirectError(moxStdErrReport), moxGuiBoxReport);
    EXPECT_EQ(moxRedirectError(recordCall), moxStdErrReport);
    EXPECT_EQ(lastCall.count, 0);
}

TEST_F(Status, IsSticky) {
    uint8_t pixels[16] = {};
    MoxImage *image =
        moxCreateImageHeader(1, 0, MOX_DEPTH_8U, "GRAY", "G", 0, 0, 4, 4, 4, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(image, nullptr);
    image->imageData = reinterpret_cast<char *>(pixels);
    moxSetErrStatus(-5);
    EXPECT_EQ(moxCheckImageHeader(image), 0);
    EXPECT_EQ(moxGetErrStatus(), -5);
    moxSet(image, 3);
    EXPECT_EQ(pixels[0], 3);
    EXPECT_EQ(moxGetErrStatus(), -5);
    moxSquare(image, image);
    EXPECT_EQ(pixels[0], 9);
    EXPECT_EQ(moxGetErrStatus(), -5);
    moxDeallocateHeader(image);
    EXPECT_EQ(moxGetErrStatus(), -5);
    EXPECT_EQ(lastCall.count, 0);
}

TEST_F(Status, BelongsToTheThread) {
    moxSetErrStatus(-5);
    moxSetErrMode(MOX_ErrModeSilent);
    std::thread([] {
        EXPECT_EQ(moxGetErrStatus(), 0);
        EXPECT_EQ(moxGetErrMode(), MOX_ErrModeLeaf);
        EXPECT_EQ(moxRedirectError(otherReport), moxGuiBoxReport);
        moxSetErrStatus(-7);
        moxSetErrMode(7);
    }).join();
    EXPECT_EQ(moxGetErrStatus(), -5);
    EXPECT_EQ(moxGetErrMode(), MOX_ErrModeSilent);
    EXPECT_EQ(moxError(-6, "f", "m", "s", 1), 77);
}

// Each of the accessors may be the first that a thread calls.
TEST(StatusOfNewThread, AnyAccessorMayBeTheFirst) {
    std::thread([] { EXPECT_EQ(moxGetErrStatus(), 0); }).join();
    std::thread([] { EXPECT_EQ(moxGetErrMode(), 0); }).join();
    std::thread([] { EXPECT_EQ(moxRedirectError(nullptr), moxGuiBoxReport); }).join();
    std::thread([] {
        moxSetErrStatus(-3);
        EXPECT_EQ(moxGetErrStatus(), -3);
    }).join();
    std::thread([] {
        moxSetErrMode(1);
        EXPECT_EQ(moxGetErrMode(), 1);
    }).join();
    std::thread([] { EXPECT_EQ(moxError(0, "f", "m", "s", 1), 0); }).join();
    std::thread([] {
        EXPECT_EQ(moxCheckImageHeader(nullptr), -9);
        EXPECT_EQ(moxGetErrStatus(), -9);
    }).join();
}

TEST(OwnNestedCalls, CountsItsOwnCallsOnly) {
    moxSetErrStatus(-5);
    {
        OwnNestedCalls calls;
        EXPECT_FALSE(calls.failed());
        EXPECT_EQ(moxGetErrStatus(), 0);
    }
    EXPECT_EQ(moxGetErrStatus(), -5);
    {
        OwnNestedCalls calls;
        moxSetErrStatus(-7);
        EXPECT_TRUE(calls.failed());
    }
    EXPECT_EQ(moxGetErrStatus(), -7);
    moxSetErrStatus(0);
}

}  // namespace
