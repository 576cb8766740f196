// Many threads on images of their own and on sources that they share, for a race detector to watch: the library has no
// state but the thread's own.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "frame/ownrect.h"
#include "support/testimage.h"

namespace {

constexpr int THREADS = 8;
constexpr int ROUNDS = 200;

void onManyThreads(const std::function<void(int)> &run) {
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; i++)
        threads.emplace_back(run, i);
    for (std::thread &thread : threads)
        thread.join();
}

TEST(ImageThreads, ReadPixelsOfOneImage) {
    TestImage shared(TestLayout::of(MOX_DEPTH_16U, 40, 20, 3), 3);
    std::atomic<int> wrong = 0;
    onManyThreads([&](int thread) {
        for (int i = 0; i < ROUNDS * 10; i++) {
            int x = (i * 7 + thread) % 40, y = (i + thread * 3) % 20;
            uint16_t pixel[3] = {};
            moxGetPixel(shared.header(), x, y, pixel);
            for (int channel = 0; channel < 3; channel++)
                wrong += pixel[channel] != shared.get(channel, x, y);
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(ImageThreads, WriteAndReadPixelsOfTiledImagesOfTheirOwn) {
    std::atomic<int> wrong = 0;
    onManyThreads([&wrong](int thread) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_32S, 40, 20);
        layout.tileWidth = layout.tileHeight = 8;
        TestImage image(layout, static_cast<uint64_t>(thread));
        for (int i = 0; i < ROUNDS * 4; i++) {
            int x = (i * 7 + thread) % 40, y = (i + thread * 3) % 20, value = i * THREADS + thread, back = 0;
            moxPutPixel(image.header(), x, y, &value);
            moxGetPixel(image.header(), x, y, &back);
            wrong += back != value;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(ImageThreads, CopyFromOneSourceUnderOneMask) {
    TestImage shared(TestLayout::of(MOX_DEPTH_8U, 40, 20, 3), 3), mask(TestLayout::ofMask(40, 20), 4);
    shared.setMask(&mask);
    std::atomic<int> wrong = 0;
    onManyThreads([&](int thread) {
        TestImage own(TestLayout::of(MOX_DEPTH_8U, 40, 20, 3), static_cast<uint64_t>(thread));
        for (int i = 0; i < ROUNDS; i++) {
            moxSet(own.header(), i % 256);
            moxCopy(shared.header(), own.header());
            int x = i % 40, y = i % 20;
            uint32_t wanted = mask.get(0, x, y) ? shared.get(1, x, y) : static_cast<uint32_t>(i % 256);
            wrong += own.get(1, x, y) != wanted;
        }
        wrong += moxGetErrStatus() != 0;
    });
    EXPECT_EQ(wrong, 0);
}

TEST(ImageThreads, ReadRectanglesOfOneImage) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 40, 20);
    for (int side = 0; side < 4; side++)
        layout.borderMode[side] = side;
    TestImage shared(layout, 3);
    std::atomic<int> wrong = 0;
    onManyThreads([&](int thread) {
        for (int i = 0; i < ROUNDS; i++) {
            int rowBytes = 0;
            char *buffer = ownGetRect(shared.header(), -5, -5, 50 + thread, 30, &rowBytes);
            wrong += !buffer || static_cast<uint8_t>(buffer[6 * rowBytes + 6]) != shared.get(0, 1, 1);
            ownFreeRect(buffer);
        }
    });
    EXPECT_EQ(wrong, 0);
}

MoxStatus MOX_CALL quiet(MoxStatus status, const char *, const char *, const char *, int) {
    return status;
}

TEST(ImageThreads, FailOnTheirOwn) {
    TestImage shared(TestLayout::of(MOX_DEPTH_8U, 40, 20), 3);
    std::atomic<int> wrong = 0;
    onManyThreads([&](int thread) {
        moxSetErrMode(MOX_ErrModeParent);
        moxRedirectError(quiet);
        for (int i = 0; i < ROUNDS; i++) {
            uint8_t pixel = 0;
            moxSetErrStatus(0);
            moxGetPixel(shared.header(), thread % 2 ? 40 : 3, 3, &pixel);
            wrong += moxGetErrStatus() != (thread % 2 ? -5 : 0);
        }
    });
    EXPECT_EQ(wrong, 0);
}

}  // namespace
