// What the transforms keep for a thread, give back when told, and do where memory is refused.
#include <climits>
#include <cstdlib>
#include <thread>

#include "transform/transformcheck.h"

namespace {

const int sizes[][2] = {{8, 8},   {6, 5},   {16, 16},  {31, 17}, {64, 48},
                        {100, 3}, {1, 211}, {1024, 2}, {257, 3}, {40, 30}};

// A call on images of one size and depth, in place where it can be.
struct Work {
    TestImage src, dst;
    TestBytes srcBefore, dstBefore;

    Work(unsigned srcDepth, unsigned dstDepth, int width, int height, int channels = 1)
        : src(TestLayout::of(srcDepth, width, height, channels), 1),
          dst(TestLayout::of(dstDepth, width, height, channels), 2) {
        Random random(testSeed());
        drawNumbers(random, src, 200);
        srcBefore = src.bytes();
        dstBefore = dst.bytes();
    }
    void restore() {
        src.setBytes(srcBefore);
        dst.setBytes(dstBefore);
    }
    MoxStatus fft(int flags) { return moxRealFft2D(src.header(), dst.header(), flags); }
    MoxStatus ccs(int flags) { return moxCcsFft2D(src.header(), dst.header(), flags); }
    void dct(int flags) { moxDCT2D(src.header(), dst.header(), flags); }
};

class Kept : public testing::Test {
  protected:
    Kept() { freeTransformCaches(); }
    ~Kept() override { freeTransformCaches(); }
    ReportRecorder reports;
};

// Repeated transforms of one size take no memory at all.
TEST_F(Kept, repeatedFourierTransformsTakeNothing) {
    for (const auto &[width, height] : sizes) {
        for (int engine : {0, static_cast<int>(MOX_FFT_USE_FLOAT), static_cast<int>(MOX_FFT_USE_INTEGER)}) {
            Work work(MOX_DEPTH_8U, engine ? MOX_DEPTH_32S : MOX_DEPTH_32F, width, height, 2);
            work.fft(MOX_FFT_FORWARD | engine);
            work.ccs(MOX_FFT_INVERSE | engine);
            AllocationWindow window;
            work.fft(MOX_FFT_FORWARD | engine);
            work.ccs(MOX_FFT_INVERSE | engine);
            window.close();
            EXPECT_EQ(window.count(), 0) << width << " x " << height << " engine " << engine;
        }
    }
}

// Other sizes in between leave the tables of the first where they are.
TEST_F(Kept, tablesOfAllLengthsStay) {
    for (const auto &[width, height] : sizes) {
        Work work(MOX_DEPTH_32F, MOX_DEPTH_32F, width, height);
        work.fft(MOX_FFT_FORWARD);
    }
    AllocationWindow window;
    for (const auto &[width, height] : sizes) {
        Work work(MOX_DEPTH_32F, MOX_DEPTH_32F, width, height);
        work.fft(MOX_FFT_FORWARD);
    }
    window.close();
    EXPECT_EQ(window.count(), 0);
}

// A repeated cosine transform takes its working memory and no tables.
TEST_F(Kept, repeatedCosineTransformsTakeNoTables) {
    for (const auto &[width, height] : sizes) {
        Work work(MOX_DEPTH_32F, MOX_DEPTH_32F, width, height);
        AllocationWindow first;
        work.dct(MOX_DCT_FORWARD);
        first.close();
        AllocationWindow second;
        work.dct(MOX_DCT_FORWARD);
        second.close();
        EXPECT_EQ(second.live(), 0) << width << " x " << height;
        EXPECT_LE(second.count(), first.count());
    }
}

TEST_F(Kept, freedByTheFlags) {
    AllocationWindow window;
    for (const auto &[width, height] : sizes) {
        for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16S, MOX_DEPTH_32F}) {
            Work work(depth, depth, width, height);
            for (int engine : {0, static_cast<int>(MOX_FFT_USE_FLOAT), static_cast<int>(MOX_FFT_USE_INTEGER)}) {
                work.fft(MOX_FFT_FORWARD | engine);
                work.ccs(MOX_FFT_INVERSE | engine);
            }
        }
    }
    window.close();
    EXPECT_GT(window.live(), 0);
    EXPECT_EQ(moxCcsFft2D(nullptr, nullptr, MOX_FFT_FREE), 0);
    EXPECT_EQ(window.live(), 0) << "blocks are left";
}

TEST_F(Kept, cosineTablesAreFreedByTheirFlag) {
    AllocationWindow window;
    for (const auto &[width, height] : sizes) {
        for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16S, MOX_DEPTH_32F}) {
            Work work(depth, depth, width, height);
            work.dct(MOX_DCT_FORWARD);
            work.dct(MOX_DCT_INVERSE | MOX_DCT_IN_PLACE_16S);
        }
    }
    window.close();
    moxDCT2D(nullptr, nullptr, MOX_DCT_FREE);
    EXPECT_EQ(window.live(), 0) << "blocks are left";
}

// Freed, and good again.
TEST_F(Kept, transformsRunAfterFreeing) {
    Work work(MOX_DEPTH_32F, MOX_DEPTH_32F, 60, 35), other(MOX_DEPTH_32F, MOX_DEPTH_32F, 60, 35);
    work.fft(MOX_FFT_FORWARD);
    const TestBytes wanted = work.dst.bytes();
    work.dct(MOX_DCT_FORWARD);
    const TestBytes wantedDct = work.dst.bytes();
    freeTransformCaches();
    freeTransformCaches();
    work.fft(MOX_FFT_FORWARD);
    EXPECT_TRUE(work.dst.holds(wanted));
    freeTransformCaches();
    work.dct(MOX_DCT_FORWARD);
    EXPECT_TRUE(work.dst.holds(wantedDct));
}

// What a thread leaves behind goes with it; a checker of leaks sees to that.
TEST_F(Kept, freedAtTheEndOfTheThread) {
    for (int round = 0; round < 4; ++round) {
        std::thread([] {
            moxSetErrMode(MOX_ErrModeSilent);
            for (const auto &[width, height] : sizes) {
                Work work(MOX_DEPTH_8U, MOX_DEPTH_32F, width, height);
                EXPECT_EQ(work.fft(MOX_FFT_FORWARD), 0);
                work.dct(MOX_DCT_FORWARD);
            }
        }).join();
    }
}

// One refusal, wherever it falls: what is held is given back, and the transform runs again from its start; in place
// too, and with several channels.
TEST_F(Kept, aRefusalIsNoFailureTheSecondTime) {
    for (const auto &[width, height] : sizes) {
        for (int inPlace = 0; inPlace < 2; ++inPlace) {
            for (int engine : {static_cast<int>(MOX_FFT_USE_FLOAT), static_cast<int>(MOX_FFT_USE_INTEGER)}) {
                Work warm(MOX_DEPTH_16S, MOX_DEPTH_16S, 24, 36), work(MOX_DEPTH_16S, MOX_DEPTH_16S, width, height, 3);
                MoxImage *to = (inPlace ? work.src : work.dst).header();
                auto call = [&] { return moxRealFft2D(work.src.header(), to, MOX_FFT_INVERSE | engine); };
                call();
                const TestBytes wanted = (inPlace ? work.src : work.dst).bytes();
                for (int failAt = 1;; ++failAt) {
                    ASSERT_LT(failAt, 500);
                    SCOPED_TRACE("allocation " + std::to_string(failAt));
                    work.restore();
                    freeTransformCaches();
                    warm.fft(MOX_FFT_FORWARD | engine);
                    AllocationWindow window(failAt);
                    const MoxStatus status = call();
                    window.close();
                    EXPECT_EQ(status, 0);
                    EXPECT_TRUE(reports.none());
                    EXPECT_TRUE((inPlace ? work.src : work.dst).holds(wanted));
                    freeTransformCaches();
                    EXPECT_EQ(window.live(), 0);
                    if (!window.refused()) break;
                    if (HasFailure()) return;
                }
            }
        }
    }
}

// The retry gives back what the thread holds.
TEST_F(Kept, aRefusalFreesWhatIsHeld) {
    Work work(MOX_DEPTH_32F, MOX_DEPTH_32F, 300, 200);
    AllocationWindow window;
    for (const auto &[width, height] : sizes) {
        Work other(MOX_DEPTH_32F, MOX_DEPTH_32F, width, height);
        other.fft(MOX_FFT_FORWARD);
    }
    window.close();
    ASSERT_GT(window.live(), 0);
    {
        // Frees are seen by the window that was made last, so the count is taken by asking for the tables anew.
        AllocationWindow refusing(1);
        EXPECT_EQ(work.fft(MOX_FFT_FORWARD), 0);
        refusing.close();
        EXPECT_TRUE(refusing.refused());
    }
    AllocationWindow again;
    Work first(MOX_DEPTH_32F, MOX_DEPTH_32F, 31, 17);
    EXPECT_EQ(first.fft(MOX_FFT_FORWARD), 0);
    again.close();
    EXPECT_GT(again.count(), 0) << "the tables of another length were still there";
}

// Memory that stays away is reported once.
TEST_F(Kept, noMemoryAtAllIsReported) {
    for (int failAt = 1; failAt <= 40; ++failAt) {
        for (int failures : {2, INT_MAX}) {
            Work work(MOX_DEPTH_8U, MOX_DEPTH_32F, 31, 17, 2);
            freeTransformCaches();
            AllocationWindow window(failAt, failures);
            const MoxStatus status = work.fft(MOX_FFT_FORWARD);
            window.close();
            SCOPED_TRACE("allocation " + std::to_string(failAt));
            if (status == 0) {
                EXPECT_TRUE(reports.none());
                // Two refusals may both fall into one attempt or be passed by; none that lasts.
                if (failures == INT_MAX) {
                    EXPECT_FALSE(window.refused());
                }
            } else {
                EXPECT_EQ(status, -4);
                EXPECT_EQ(moxGetErrStatus(), -4);
                EXPECT_TRUE(reports.are({{-4, "moxRealFft2D", "No working memory"}}));
                EXPECT_TRUE(work.src.holds(work.srcBefore));
                EXPECT_TRUE(onlyAreaIsWritten(work.dst, work.dstBefore, 31, 17));
            }
            if (failAt == 1) {
                EXPECT_EQ(status, -4);
                EXPECT_TRUE(work.dst.holds(work.dstBefore));
            }
            reports.clear();
            freeTransformCaches();
            EXPECT_EQ(window.live(), 0);
        }
    }
    Work work(MOX_DEPTH_8U, MOX_DEPTH_32F, 31, 17);
    AllocationWindow window(1, INT_MAX);
    EXPECT_EQ(work.ccs(MOX_FFT_FORWARD), -4);
    window.close();
    EXPECT_TRUE(reports.are({{-4, "moxCcsFft2D", "No working memory"}}));
}

// A line so long that no block holds its work: no table is made for it first, and no pixel touched.
TEST_F(Kept, sizesBeyondABlockTakeNothing) {
    constexpr int width = 100000000;
    void *pixels = calloc(width, 1);
    if (!pixels) GTEST_SKIP() << "no memory for the line";
    for (int turned = 0; turned < 2; ++turned) {
        MoxImage src = *Work(MOX_DEPTH_8U, MOX_DEPTH_8U, 1, 1).src.header();
        src.width = turned ? 1 : width;
        src.height = turned ? width : 1;
        src.align = 4;
        src.widthStep = src.width;
        src.imageSize = width;
        src.imageData = static_cast<char *>(pixels);
        MoxImage dst = src;
        for (int engine : {static_cast<int>(MOX_FFT_USE_FLOAT), static_cast<int>(MOX_FFT_USE_INTEGER)}) {
            AllocationWindow window;
            EXPECT_EQ(moxRealFft2D(&src, &dst, MOX_FFT_FORWARD | engine), -4);
            EXPECT_EQ(moxCcsFft2D(&src, &dst, MOX_FFT_INVERSE | engine), -4);
            window.close();
            EXPECT_EQ(window.count(), 0) << "engine " << engine;
            EXPECT_TRUE(
                reports.are({{-4, "moxRealFft2D", "No working memory"}, {-4, "moxCcsFft2D", "No working memory"}}));
            reports.clear();
        }
        AllocationWindow window;
        moxDCT2D(&src, &dst, MOX_DCT_FORWARD);
        window.close();
        EXPECT_EQ(window.count(), 0);
        EXPECT_TRUE(reports.none());
    }
    free(pixels);
}

// The cosine transform goes without a word: a channel is right or as it was.
TEST_F(Kept, cosineTransformsWithoutMemoryLeaveTheChannel) {
    for (const auto &[width, height] : sizes) {
        for (unsigned depth : {MOX_DEPTH_16S, MOX_DEPTH_32F}) {
            Work work(depth, depth, width, height, 2);
            for (int failures : {1, INT_MAX}) {
                for (int failAt = 1;; ++failAt) {
                    ASSERT_LT(failAt, 500);
                    SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + " allocation " +
                                 std::to_string(failAt));
                    work.restore();
                    freeTransformCaches();
                    AllocationWindow window(failAt, failures);
                    work.dct(MOX_DCT_FORWARD);
                    window.close();
                    EXPECT_TRUE(reports.none());
                    EXPECT_EQ(moxGetErrStatus(), 0);
                    EXPECT_TRUE(work.src.holds(work.srcBefore));
                    EXPECT_TRUE(onlyAreaIsWritten(work.dst, work.dstBefore, width, height));
                    for (int channel = 0; channel < 2; ++channel) {
                        bool untouched = true;
                        for (int y = 0; y < height; ++y) {
                            for (int x = 0; x < width; ++x) {
                                untouched &=
                                    work.dst.get(channel, x, y) == work.dst.getIn(work.dstBefore, channel, x, y);
                            }
                        }
                        if (untouched && window.refused()) continue;
                        const RefPlane plane = refReadPlane(work.src, channel, width, height);
                        const bool fixed = refDctIsFixedPoint(depth, depth, width, height);
                        EXPECT_TRUE(refPlaneHolds(work.dst, channel, refDct(plane, MOX_DCT_FORWARD),
                                                  fixed ? refFixedDctBound(plane) : refFloatDctBound(plane)));
                    }
                    freeTransformCaches();
                    EXPECT_EQ(window.live(), 0);
                    if (HasFailure()) return;
                    if (!window.refused()) break;
                }
            }
        }
    }
}

}  // namespace
