// Kernel records: stored mirrored, given back as they were; every report of creation, reading and deletion.
#include <climits>
#include <cstring>
#include <numeric>

#include "filter/filtercheck.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace {

// Blocks taken within its life may leak: the leak that creation is to have must not fail the run under the sanitizer.
class LeakAllowed {
  public:
#ifdef __SANITIZE_ADDRESS__
    LeakAllowed() {
        __lsan_disable();
    }
    ~LeakAllowed() {
        __lsan_enable();
    }
#else
    LeakAllowed() {}
    ~LeakAllowed() {}
#endif
    LeakAllowed(const LeakAllowed &) = delete;
    LeakAllowed &operator=(const LeakAllowed &) = delete;
};

std::vector<int> counting(int count) {
    std::vector<int> values(static_cast<size_t>(count));
    std::iota(values.begin(), values.end(), 1);
    return values;
}

TEST(ConvKernel, isStoredMirrored) {
    const std::vector<int> values = counting(12);
    ReportRecorder reports;
    MoxConvKernel *kernel = moxCreateConvKernel(4, 3, 1, 2, values.data(), 5);
    ASSERT_TRUE(kernel);
    EXPECT_EQ(kernel->nCols, 4);
    EXPECT_EQ(kernel->nRows, 3);
    EXPECT_EQ(kernel->anchorX, 2);
    EXPECT_EQ(kernel->anchorY, 0);
    EXPECT_EQ(kernel->nShiftR, 5);
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(kernel->values[i], 12 - i);
    moxDeleteConvKernel(kernel);
    EXPECT_TRUE(reports.none());
}

TEST(ConvKernel, floatsAreStoredMirrored) {
    const float values[] = {1.5f, -2, 3, 0.25f, 5, 6};
    ReportRecorder reports;
    MoxConvKernelFP *kernel = moxCreateConvKernelFP(2, 3, 0, 0, values);
    ASSERT_TRUE(kernel);
    EXPECT_EQ(kernel->nCols, 2);
    EXPECT_EQ(kernel->nRows, 3);
    EXPECT_EQ(kernel->anchorX, 1);
    EXPECT_EQ(kernel->anchorY, 2);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(kernel->values[i], values[5 - i]);
    moxDeleteConvKernelFP(kernel);
    EXPECT_TRUE(reports.none());
}

TEST(ConvKernel, bytesAreSignExtended) {
    const signed char values[] = {1, -1, 127, -128};
    MoxConvKernel *kernel = moxCreateConvKernelChar(2, 2, 0, 1, values, 0);
    ASSERT_TRUE(kernel);
    const int stored[] = {-128, 127, -1, 1};
    EXPECT_EQ(memcmp(kernel->values, stored, sizeof stored), 0);
    moxDeleteConvKernel(kernel);
}

TEST(ConvKernel, getterGivesBackWhatWasGiven) {
    for (auto [nCols, nRows] : {std::pair{1, 1}, {4, 3}, {1, 7}, {5, 1}, {8, 8}}) {
        for (int anchorX : {0, nCols / 2, nCols - 1}) {
            const int count = nCols * nRows, anchorY = nRows - 1 - nRows / 3;
            std::vector<int> values = counting(count), got(static_cast<size_t>(count) + 1, -77);
            values[0] = INT_MIN;
            ReportRecorder reports;
            MoxConvKernel *kernel = moxCreateConvKernel(nCols, nRows, anchorX, anchorY, values.data(), -9);
            ASSERT_TRUE(kernel);
            int gotCols = 0, gotRows = 0, gotX = -1, gotY = -1, gotShift = 0, *gotValues = got.data();
            moxGetConvKernel(kernel, &gotCols, &gotRows, &gotX, &gotY, &gotValues, &gotShift);
            EXPECT_EQ(gotCols, nCols);
            EXPECT_EQ(gotRows, nRows);
            EXPECT_EQ(gotX, anchorX);
            EXPECT_EQ(gotY, anchorY);
            EXPECT_EQ(gotShift, -9);
            EXPECT_EQ(gotValues, got.data());
            EXPECT_EQ(got.back(), -77);
            got.pop_back();
            EXPECT_EQ(got, values);
            moxDeleteConvKernel(kernel);
            EXPECT_TRUE(reports.none());
        }
    }
}

TEST(ConvKernel, getterOfBytesNarrows) {
    const int values[] = {1, -1, 255, 256 + 65, -129, INT_MAX};
    MoxConvKernel *kernel = moxCreateConvKernel(3, 2, 1, 0, values, 4);
    ASSERT_TRUE(kernel);
    signed char got[8] = {9, 9, 9, 9, 9, 9, 9, 9}, *gotValues = got;
    int nCols, nRows, anchorX, anchorY, nShiftR;
    ReportRecorder reports;
    moxGetConvKernelChar(kernel, &nCols, &nRows, &anchorX, &anchorY, &gotValues, &nShiftR);
    EXPECT_TRUE(reports.none());
    const signed char wanted[8] = {1, -1, -1, 65, 127, -1, 9, 9};
    EXPECT_EQ(memcmp(got, wanted, sizeof got), 0);
    EXPECT_EQ(nCols, 3);
    EXPECT_EQ(nRows, 2);
    EXPECT_EQ(anchorX, 1);
    EXPECT_EQ(anchorY, 0);
    EXPECT_EQ(nShiftR, 4);
    moxDeleteConvKernel(kernel);
}

TEST(ConvKernel, getterOfFloats) {
    const float values[] = {1, 2, 3, 4, 5, 6};
    MoxConvKernelFP *kernel = moxCreateConvKernelFP(3, 2, 2, 1, values);
    ASSERT_TRUE(kernel);
    float got[7] = {9, 9, 9, 9, 9, 9, 9}, *gotValues = got;
    int nCols, nRows, anchorX, anchorY;
    ReportRecorder reports;
    moxGetConvKernelFP(kernel, &nCols, &nRows, &anchorX, &anchorY, &gotValues);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(memcmp(got, values, sizeof values), 0);
    EXPECT_EQ(got[6], 9);
    EXPECT_EQ(nCols, 3);
    EXPECT_EQ(nRows, 2);
    EXPECT_EQ(anchorX, 2);
    EXPECT_EQ(anchorY, 1);
    moxDeleteConvKernelFP(kernel);
}

struct BadShape {
    int nCols, nRows, anchorX, anchorY;
    const char *message;
};
const char SIZES[] = "(nRows<=0 || nCols<=0)";
const char ANCHORS[] = "(anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)";
const BadShape badShapes[] = {{0, 3, 0, 0, SIZES},         {3, 0, 0, 0, SIZES},        {-1, 3, 0, 0, SIZES},
                              {3, INT_MIN, 0, 0, SIZES},   {0, 0, -1, -1, SIZES},      {3, 3, -1, 0, ANCHORS},
                              {3, 3, 0, -1, ANCHORS},      {3, 3, 3, 0, ANCHORS},      {3, 3, 0, 3, ANCHORS},
                              {3, 3, INT_MAX, 0, ANCHORS}, {3, 3, 0, INT_MIN, ANCHORS}};

TEST(ConvKernel, creationTestsValuesThenSizesThenAnchors) {
    const int values[9] = {};
    const signed char bytes[9] = {};
    const float floats[9] = {};
    ReportRecorder reports;
    AllocationWindow window;
    EXPECT_FALSE(moxCreateConvKernel(0, 0, -1, -1, nullptr, 0));
    EXPECT_FALSE(moxCreateConvKernelChar(0, 0, -1, -1, nullptr, 0));
    EXPECT_FALSE(moxCreateConvKernelFP(0, 0, -1, -1, nullptr));
    EXPECT_TRUE(reports.are({{-5, "moxCreateConvKernel", "(values == 0)"},
                             {-5, "moxCreateConvKernelChar", "(values == 0)"},
                             {-5, "moxCreateConvKernelFP", "(values == 0)"}}));
    for (const BadShape &bad : badShapes) {
        reports.clear();
        EXPECT_FALSE(moxCreateConvKernel(bad.nCols, bad.nRows, bad.anchorX, bad.anchorY, values, 0));
        EXPECT_FALSE(moxCreateConvKernelChar(bad.nCols, bad.nRows, bad.anchorX, bad.anchorY, bytes, 0));
        EXPECT_FALSE(moxCreateConvKernelFP(bad.nCols, bad.nRows, bad.anchorX, bad.anchorY, floats));
        EXPECT_TRUE(reports.are({{-5, "moxCreateConvKernel", bad.message},
                                 {-5, "moxCreateConvKernelChar", bad.message},
                                 {-5, "moxCreateConvKernelFP", bad.message}}));
    }
    window.close();
    EXPECT_EQ(window.count(), 0);
}

// The record and its values are two blocks. When the second is refused the first is not given back: so it has always
// been.
TEST(ConvKernel, creationWithoutMemory) {
    const int values[] = {1, 2};
    const signed char bytes[] = {1, 2};
    const float floats[] = {1, 2};
    const char *names[] = {"moxCreateConvKernel", "moxCreateConvKernelChar", "moxCreateConvKernelFP"};
    for (int which = 0; which < 3; ++which) {
        for (int failAt = 1; failAt <= 2; ++failAt) {
            ReportRecorder reports;
            LeakAllowed leak;
            AllocationWindow window(failAt);
            const void *kernel = which == 0   ? static_cast<void *>(moxCreateConvKernel(2, 1, 0, 0, values, 0))
                                 : which == 1 ? static_cast<void *>(moxCreateConvKernelChar(2, 1, 0, 0, bytes, 0))
                                              : static_cast<void *>(moxCreateConvKernelFP(2, 1, 0, 0, floats));
            window.close();
            EXPECT_FALSE(kernel);
            EXPECT_TRUE(window.refused());
            EXPECT_TRUE(reports.are({{-4, names[which], "Allocation failure"}}));
            EXPECT_EQ(window.live(), failAt - 1);
        }
    }
    AllocationWindow window;
    MoxConvKernel *kernel = moxCreateConvKernel(2, 1, 0, 0, values, 0);
    EXPECT_EQ(window.count(), 2);
    moxDeleteConvKernel(kernel);
    window.close();
    EXPECT_EQ(window.live(), 0);
}

TEST(ConvKernel, valuesBeyondAllMemoryAreRefused) {
    const int values[1] = {};
    ReportRecorder reports;
    LeakAllowed leak;
    EXPECT_FALSE(moxCreateConvKernel(65536, 65536, 0, 0, values, 0));
    EXPECT_FALSE(moxCreateConvKernel(INT_MAX, INT_MAX, 0, 0, values, 0));
    EXPECT_FALSE(moxCreateConvKernel(65536, 32768, 0, 0, values, 0));
    EXPECT_TRUE(reports.are({{-4, "moxCreateConvKernel", "Allocation failure"},
                             {-4, "moxCreateConvKernel", "Allocation failure"},
                             {-4, "moxCreateConvKernel", "Allocation failure"}}));
}

// What a getter is called with: everything right, but for the places that a test makes null.
struct Getter {
    int values[2] = {7, 8};
    signed char bytes[2] = {7, 8};
    float floats[2] = {7, 8};
    int nCols = -1, nRows = -1, anchorX = -1, anchorY = -1, nShiftR = -1;
    int *valuesAt = values;
    signed char *bytesAt = bytes;
    float *floatsAt = floats;
    bool filled() const {
        return nCols != -1 || nRows != -1 || anchorX != -1 || anchorY != -1 || nShiftR != -1 || values[0] != 7 ||
               bytes[0] != 7 || floats[0] != 7;
    }
};

enum { NO_COLS = 1, NO_ROWS = 2, NO_X = 4, NO_Y = 8, NO_VALUES = 16, NO_SHIFT = 32 };

MoxStatus get(int which, Getter &to, MoxConvKernel *kernel, MoxConvKernelFP *kernelFP, int missing) {
    int *nCols = missing & NO_COLS ? nullptr : &to.nCols, *nRows = missing & NO_ROWS ? nullptr : &to.nRows;
    int *anchorX = missing & NO_X ? nullptr : &to.anchorX, *anchorY = missing & NO_Y ? nullptr : &to.anchorY;
    int *nShiftR = missing & NO_SHIFT ? nullptr : &to.nShiftR;
    const bool values = !(missing & NO_VALUES);
    switch (which) {
        case 0:
            return moxGetConvKernel(kernel, nCols, nRows, anchorX, anchorY, values ? &to.valuesAt : nullptr, nShiftR);
        case 1:
            return moxGetConvKernelChar(kernel, nCols, nRows, anchorX, anchorY, values ? &to.bytesAt : nullptr,
                                        nShiftR);
        default:
            return moxGetConvKernelFP(kernelFP, nCols, nRows, anchorX, anchorY, values ? &to.floatsAt : nullptr);
    }
}

const char *getterNames[] = {"moxGetConvKernel", "moxGetConvKernelChar", "moxGetConvKernelFP"};

TEST(ConvKernel, gettersTestTheKernelFirst) {
    for (int which = 0; which < 3; ++which) {
        Getter to;
        ReportRecorder reports;
        get(which, to, nullptr, nullptr, 63);
        EXPECT_TRUE(reports.are({{-5, getterNames[which], "kernel==0"}}));
        int values[9] = {};
        float floats[9] = {};
        struct {
            int nCols, nRows, anchorX, anchorY;
        } const bad[] = {{3, 0, 0, 0}, {0, 3, 0, 0}, {3, 3, -1, 0}, {3, 3, 0, -1},
                         {3, 3, 3, 0}, {3, 3, 0, 3}, {-3, -3, 0, 0}};
        for (const auto &each : bad) {
            MoxConvKernel kernel = {each.nCols, each.nRows, each.anchorX, each.anchorY, values, 0};
            MoxConvKernelFP kernelFP = {each.nCols, each.nRows, each.anchorX, each.anchorY, floats};
            reports.clear();
            get(which, to, &kernel, &kernelFP, 63);
            EXPECT_TRUE(reports.are({{-5, getterNames[which], "ownBadKernel((OwnConvKernel*)kernel)"}}));
        }
        EXPECT_FALSE(to.filled());
    }
}

TEST(ConvKernel, gettersTestTheirPlacesInPairs) {
    int values[2] = {1, 2};
    float floats[2] = {1, 2};
    MoxConvKernel kernel = {2, 1, 1, 0, values, 3};
    MoxConvKernelFP kernelFP = {2, 1, 1, 0, floats};
    struct {
        int missing;
        std::vector<const char *> messages;
    } const cases[] = {{63, {"nRows==0", "nCols==0"}},
                       {63 - NO_COLS, {"nRows==0"}},
                       {63 - NO_ROWS, {"nCols==0"}},
                       {NO_X | NO_Y | NO_VALUES | NO_SHIFT, {"anchorX==0", "anchorY==0"}},
                       {NO_X | NO_VALUES | NO_SHIFT, {"anchorX==0"}},
                       {NO_Y | NO_VALUES | NO_SHIFT, {"anchorY==0"}},
                       {NO_VALUES | NO_SHIFT, {"values==0"}},
                       {NO_SHIFT, {"nShiftR==0"}}};
    for (int which = 0; which < 3; ++which) {
        for (const auto &each : cases) {
            if (which == 2 && each.missing == NO_SHIFT) continue;
            for (bool answersZero : {false, true}) {
                // The status word decides, not what the report function answers.
                Getter to;
                ReportRecorder reports;
                reports.answersZero = answersZero;
                EXPECT_EQ(get(which, to, &kernel, &kernelFP, each.missing), -5);
                EXPECT_FALSE(to.filled());
                std::vector<ReportExpected> expected;
                for (const char *message : each.messages)
                    expected.push_back({-5, getterNames[which], message});
                EXPECT_TRUE(reports.are(expected)) << each.missing;
            }
        }
    }
}

// A fault left by an earlier call, and not cleared, keeps the getters from filling anything.
TEST(ConvKernel, gettersMindALeftoverStatus) {
    int values[2] = {1, 2};
    float floats[2] = {1, 2};
    MoxConvKernel kernel = {2, 1, 1, 0, values, 3};
    MoxConvKernelFP kernelFP = {2, 1, 1, 0, floats};
    for (int which = 0; which < 3; ++which) {
        Getter to;
        ReportRecorder reports;
        moxSetErrStatus(-7);
        EXPECT_EQ(get(which, to, &kernel, &kernelFP, 0), -7);
        EXPECT_TRUE(reports.none());
        EXPECT_FALSE(to.filled());
        moxSetErrStatus(0);
        get(which, to, &kernel, &kernelFP, 0);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(to.filled());
    }
}

TEST(ConvKernel, deletionReportsWhatIsMissing) {
    ReportRecorder reports;
    moxDeleteConvKernel(nullptr);
    moxDeleteConvKernelFP(nullptr);
    MoxConvKernel kernel = {2, 1, 1, 0, nullptr, 3};
    MoxConvKernelFP kernelFP = {2, 1, 1, 0, nullptr};
    EXPECT_TRUE(reports.are({{-5, "moxDeleteConvKernel", "kernel==0"}, {-5, "moxDeleteConvKernelFP", "kernel==0"}}));
    reports.clear();
    moxDeleteConvKernel(&kernel);
    moxDeleteConvKernelFP(&kernelFP);
    EXPECT_TRUE(reports.are(
        {{-5, "moxDeleteConvKernel", "kernel->values==0"}, {-5, "moxDeleteConvKernelFP", "kernel->values==0"}}));
}

TEST(ConvKernel, deletionFreesBothBlocks) {
    const float values[] = {1, 2};
    AllocationWindow window;
    MoxConvKernelFP *kernel = moxCreateConvKernelFP(2, 1, 0, 0, values);
    EXPECT_EQ(window.live(), 2);
    moxDeleteConvKernelFP(kernel);
    window.close();
    EXPECT_EQ(window.live(), 0);
}

}  // namespace
