// Wavelets: every refusal with its status, message and order; user filters, and what becomes of records.
#include <cstring>

#include "support/allocations.h"
#include "support/reports.h"
#include "transform/transformcheck.h"
#include "transform/waveletcheck.h"

namespace {

const char *const NO_KERNEL = "Null pointer by wtKernel was passed.";
const char *const names[4] = {"decLow", "decHigh", "recLow", "recHigh"};
const char *const fields[4] = {"filtDecLow", "filtDecHigh", "filtRecLow", "filtRecHigh"};

class WaveletRecords : public testing::Test {
  protected:
    WaveletRecords() {
        memset(&kernel, 0xEE, sizeof kernel);
        before = kernel;
        for (int i = 0; i < 4; ++i) {
            for (int k = 0; k < 8; ++k)
                taps[i][k] = static_cast<float>(10 * i + k);
            filters[i] = {taps[i], 2 + i, i, 77};
        }
    }
    void expect(MoxStatus returned, MoxStatus status, const char *function, const std::string &message) {
        SCOPED_TRACE(message);
        EXPECT_EQ(returned, status);
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_TRUE(reports.are({{status, function, message.c_str()}}));
        EXPECT_EQ(memcmp(&kernel, &before, sizeof kernel), 0) << "the record was written";
        reports.clear();
    }
    MoxStatus initFilters() { return moxWtInitUserFilter(&filters[0], &filters[1], &filters[2], &filters[3], &kernel); }
    MoxStatus initTaps() {
        float *each[4] = {filters[0].taps, filters[1].taps, filters[2].taps, filters[3].taps};
        int lengths[4], offsets[4];
        for (int i = 0; i < 4; ++i) {
            lengths[i] = filters[i].length;
            offsets[i] = filters[i].offset;
        }
        return moxWtInitUserTaps(each, lengths, offsets, &kernel);
    }
    // A user kernel has copies of the taps.
    void expectUserKernel() {
        EXPECT_EQ(kernel.wtType, 9);
        EXPECT_EQ(kernel.par1, 0);
        EXPECT_EQ(kernel.par2, 0);
        EXPECT_EQ(kernel.orthogonal, 3);
        const MoxWtFilter *found[4] = {&kernel.filtDecLow, &kernel.filtDecHigh, &kernel.filtRecLow,
                                       &kernel.filtRecHigh};
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(found[i]->length, filters[i].length);
            EXPECT_EQ(found[i]->offset, filters[i].offset);
            EXPECT_EQ(found[i]->symmetry, 3);
            EXPECT_NE(found[i]->taps, filters[i].taps);
            EXPECT_EQ(memcmp(found[i]->taps, filters[i].taps, sizeof(float) * static_cast<size_t>(filters[i].length)),
                      0);
        }
    }

    ReportRecorder reports;
    MoxWtKernel kernel, before;
    float taps[4][8];
    MoxWtFilter filters[4];
};

TEST_F(WaveletRecords, initRefusesWhatIsNotInTheTable) {
    expect(moxWtInit(0, 0, 0, nullptr), -27, "moxWtInit", NO_KERNEL);
    expect(moxWtInit(77, 0, 0, nullptr), -27, "moxWtInit", NO_KERNEL);
    for (int type : {9, 10, 1000, -1, 0x7FFFFFFF, -0x7FFFFFFF - 1})
        expect(moxWtInit(type, 1, 1, &kernel), -5, "moxWtInit", "Bad wtType value.");
    auto bad1 = [&](int type, int par1) {
        expect(moxWtInit(type, par1, 99, &kernel), -5, "moxWtInit", "Bad par1   value.");
    };
    for (int par1 : {0, 11, -1, 0x7FFFFFFF, -0x7FFFFFFF - 1})
        bad1(MOX_WT_DAUBECHIES, par1);
    for (int par1 : {0, 8, -3, 0x7FFFFFFF})
        bad1(MOX_WT_SYMLET, par1);
    for (int par1 : {0, 6, -1, -0x7FFFFFFF - 1})
        bad1(MOX_WT_COIFLET, par1);
    for (int type : {MOX_WT_BSPLINE, MOX_WT_BSPLINE_DUAL}) {
        for (int par1 : {0, 4, -1, 0x7FFFFFFF})
            bad1(type, par1);
        for (const auto &[par1, wrong] : {std::pair{1, std::vector<int>{0, 2, 4, 6, 7, -1}},
                                          {2, {0, 1, 3, 5, 7, 9, 10, -2}},
                                          {3, {0, 2, 4, 6, 8, 10, 11, -1, 0x7FFFFFFF}}}) {
            for (int par2 : wrong)
                expect(moxWtInit(type, par1, par2, &kernel), -5, "moxWtInit", "Bad par2   value.");
        }
    }
}

TEST_F(WaveletRecords, everyFunctionClearsTheStatus) {
    moxSetErrStatus(-7);
    EXPECT_EQ(moxWtInit(MOX_WT_53, 0, 0, &kernel), 0);
    EXPECT_EQ(moxGetErrStatus(), 0);
    moxSetErrStatus(-7);
    EXPECT_EQ(moxWtFree(&kernel), 0);
    EXPECT_EQ(moxGetErrStatus(), 0);
    moxSetErrStatus(-7);
    EXPECT_EQ(initFilters(), 0);
    EXPECT_EQ(moxGetErrStatus(), 0);
    moxWtFree(&kernel);
    moxSetErrStatus(-7);
    EXPECT_EQ(moxWtInitUserFilter4(filters, &kernel), 0);
    EXPECT_EQ(moxGetErrStatus(), 0);
    moxWtFree(&kernel);
    moxSetErrStatus(-7);
    EXPECT_EQ(initTaps(), 0);
    EXPECT_EQ(moxGetErrStatus(), 0);
    moxWtFree(&kernel);
    EXPECT_TRUE(reports.none());
}

TEST_F(WaveletRecords, freeClearsTheRecord) {
    EXPECT_EQ(moxWtFree(nullptr), -27);
    EXPECT_TRUE(reports.are({{-27, "moxWtFree", NO_KERNEL}}));
    reports.clear();
    MoxWtKernel zero;
    memset(&zero, 0, sizeof zero);
    for (const WaveletName &name : allWavelets) {
        AllocationWindow window;
        EXPECT_EQ(moxWtInit(name.wtType, name.par1, name.par2, &kernel), 0);
        EXPECT_EQ(moxWtFree(&kernel), 0);
        window.close();
        EXPECT_EQ(window.count(), 0) << "the taps of a built-in kernel are constants";
        EXPECT_EQ(memcmp(&kernel, &zero, sizeof kernel), 0);
        EXPECT_EQ(moxWtFree(&kernel), 0) << "freed again";
    }
    AllocationWindow window;
    EXPECT_EQ(initFilters(), 0);
    EXPECT_EQ(window.live(), 4);
    EXPECT_EQ(moxWtFree(&kernel), 0);
    window.close();
    EXPECT_EQ(window.live(), 0);
    EXPECT_EQ(memcmp(&kernel, &zero, sizeof kernel), 0);
}

TEST_F(WaveletRecords, builtInKernelsShareTheirTaps) {
    MoxWtKernel other;
    EXPECT_EQ(moxWtInit(MOX_WT_COIFLET, 3, 0, &kernel), 0);
    EXPECT_EQ(moxWtInit(MOX_WT_COIFLET, 3, 0, &other), 0);
    EXPECT_EQ(kernel.filtDecLow.taps, other.filtDecLow.taps);
}

TEST_F(WaveletRecords, userFiltersAreCopied) {
    for (int way = 0; way < 3; ++way) {
        memset(&kernel, 0xEE, sizeof kernel);
        EXPECT_EQ(way == 0 ? initFilters() : way == 1 ? moxWtInitUserFilter4(filters, &kernel) : initTaps(), 0);
        expectUserKernel();
        EXPECT_EQ(moxWtFree(&kernel), 0);
    }
    EXPECT_TRUE(reports.none());
}

TEST_F(WaveletRecords, nullArgumentsAreTestedInTheirOrder) {
    const char *init = "moxWtInitUserFilter";
    filters[0].taps = nullptr;
    expect(moxWtInitUserFilter(&filters[0], &filters[1], &filters[2], nullptr, &kernel), -27, init,
           "Null pointer by recHigh was passed.");
    expect(moxWtInitUserFilter(&filters[0], &filters[1], nullptr, nullptr, &kernel), -27, init,
           "Null pointer by recLow was passed.");
    expect(moxWtInitUserFilter(&filters[0], nullptr, nullptr, nullptr, &kernel), -27, init,
           "Null pointer by decHigh was passed.");
    expect(moxWtInitUserFilter(nullptr, nullptr, nullptr, nullptr, &kernel), -27, init,
           "Null pointer by decLow was passed.");
    expect(moxWtInitUserFilter(nullptr, nullptr, nullptr, nullptr, nullptr), -27, init, NO_KERNEL);

    expect(moxWtInitUserFilter4(nullptr, &kernel), -27, "moxWtInitUserFilter4", "Null pointer by filt was passed.");
    expect(moxWtInitUserFilter4(nullptr, nullptr), -27, "moxWtInitUserFilter4", NO_KERNEL);

    float *none[4] = {};
    int zeros[4] = {};
    init = "moxWtInitUserTaps";
    expect(moxWtInitUserTaps(none, zeros, nullptr, &kernel), -27, init, "Null pointer by ofs_filt was passed.");
    expect(moxWtInitUserTaps(none, nullptr, nullptr, &kernel), -27, init, "Null pointer by len_filt was passed.");
    expect(moxWtInitUserTaps(nullptr, nullptr, nullptr, &kernel), -27, init, "Null pointer by filt was passed.");
    expect(moxWtInitUserTaps(nullptr, nullptr, nullptr, nullptr), -27, init, NO_KERNEL);
}

// Faults of the last filter first, and within a filter from the last test to the first.
TEST_F(WaveletRecords, filtersAreTestedInTheirOrder) {
    auto expectAll = [&](int i, const char *record, const char *bare) {
        const std::string star = std::string("(*") + names[i] + ")", indexed = "filt[" + std::to_string(i) + "]";
        auto text = [&](const char *pattern, const std::string &filter) {
            std::string message = pattern;
            for (size_t at; (at = message.find('@')) != std::string::npos;)
                message.replace(at, 1, filter);
            return "Error " + message;
        };
        expect(initFilters(), -29, "moxWtInitUserFilter", text(record, star));
        expect(moxWtInitUserFilter4(filters, &kernel), -29, "moxWtInitUserFilter4", text(record, indexed));
        if (bare) expect(initTaps(), -29, "moxWtInitUserTaps", text(bare, "filt[" + std::to_string(i) + "]"));
    };
    for (int i = 3; i >= 0; --i) {
        filters[i].offset = -1;
        expectAll(i, "@.offset < 0.", "ofs_@ < 0.");
        filters[i].offset = filters[i].length;
        expectAll(i, "@.offset >= @.length.", "ofs_@ >= len_@.");
        filters[i].length = 1;
        expectAll(i, "@.length < 2.", "len_@ < 2.");
        filters[i].length = -0x7FFFFFFF;
        expectAll(i, "@.length < 2.", "len_@ < 2.");
        filters[i].taps = nullptr;
        expectAll(i, "@.taps == NULL.", nullptr);
        EXPECT_EQ(initTaps(), -29);
        ASSERT_EQ(reports.seen.size(), 1u);
        EXPECT_EQ(reports.seen[0].function, "moxWtInitUserTaps");
        reports.clear();
    }
}

// After a refusal nothing is left behind, and the record may be freed.
TEST_F(WaveletRecords, memoryMayRunOut) {
    for (int way = 0; way < 3; ++way) {
        const char *const functions[] = {"moxWtInitUserFilter", "moxWtInitUserFilter4", "moxWtInitUserTaps"};
        int failures = 0;
        for (int failAt = 1;; ++failAt) {
            memset(&kernel, 0, sizeof kernel);
            AllocationWindow window(failAt);
            const MoxStatus status = way == 0   ? initFilters()
                                     : way == 1 ? moxWtInitUserFilter4(filters, &kernel)
                                                : initTaps();
            window.close();
            if (!window.refused()) {
                moxWtFree(&kernel);
                break;
            }
            ++failures;
            EXPECT_EQ(status, -4);
            EXPECT_EQ(moxGetErrStatus(), -4);
            EXPECT_TRUE(reports.are({{-4, functions[way], "No working memory."}}));
            EXPECT_EQ(window.live(), 0);
            EXPECT_EQ(moxWtFree(&kernel), 0);
            reports.clear();
        }
        EXPECT_GE(failures, 1);
    }
}

// Both transforms: a source of 5 x 3 bytes, four parts of 3 x 2, and a test that spoils them.
class WaveletCall : public testing::TestWithParam<bool> {
  protected:
    WaveletCall() : decomposes(GetParam()) {
        function = decomposes ? "moxWtDecompose" : "moxWtReconstruct";
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 5, 3);
        layout.extraStride = 64;
        images[0] = std::make_unique<TestImage>(layout, 1);
        layout = TestLayout::of(MOX_DEPTH_32F, 3, 2);
        layout.extraStride = 64;
        for (int i = 1; i < 5; ++i)
            images[i] = std::make_unique<TestImage>(layout, static_cast<uint64_t>(i + 1));
        for (int i = 0; i < 5; ++i) {
            h[i] = images[i]->header();
            before[i] = images[i]->bytes();
            good[i] = *h[i];
        }
        static const char *const decomposed[] = {"src", "approxDst", "xDetailDst", "yDetailDst", "dDetailDst"};
        static const char *const reconstructed[] = {"dst", "approxSrc", "xDetailSrc", "yDetailSrc", "dDetailSrc"};
        for (int i = 0; i < 5; ++i)
            name[i] = decomposes ? decomposed[i] : reconstructed[i];
        EXPECT_EQ(moxWtInit(MOX_WT_DAUBECHIES, 3, 0, &kernel), 0);
        low = decomposes ? &kernel.filtDecLow : &kernel.filtRecLow;
        high = decomposes ? &kernel.filtDecHigh : &kernel.filtRecHigh;
    }
    MoxStatus call() {
        return decomposes ? moxWtDecompose(&kernel, h[0], h[1], h[2], h[3], h[4])
                          : moxWtReconstruct(&kernel, h[1], h[2], h[3], h[4], h[0]);
    }
    void expect(MoxStatus status, const std::string &message) {
        SCOPED_TRACE(message);
        moxSetErrStatus(-7);
        EXPECT_EQ(call(), status);
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_TRUE(reports.are({{status, function, message.c_str()}}));
        expectUntouched();
        reports.clear();
    }
    void expectUntouched() {
        for (int i = 0; i < 5; ++i)
            EXPECT_TRUE(images[i]->holds(before[i]));
    }
    void mend() {
        for (int i = 0; i < 5; ++i) {
            h[i] = images[i]->header();
            *h[i] = good[i];
        }
    }
    std::string actual(const char *size, int i, bool odd) const {
        const std::string whole = std::string("actual") + size + "(" + name[0] + ")";
        return std::string("Error actual") + size + "(" + name[i] + ") != " + (odd ? "(" + whole + " + 1)" : whole) +
               " / 2.";
    }

    bool decomposes;
    const char *function;
    ReportRecorder reports;
    std::unique_ptr<TestImage> images[5];
    TestBytes before[5];
    MoxImage good[5];
    MoxImage *h[5];
    std::string name[5];
    MoxWtKernel kernel;
    MoxWtFilter *low, *high;
};

INSTANTIATE_TEST_SUITE_P(Failure, WaveletCall, testing::Bool(),
                         [](const auto &each) { return std::string(each.param ? "Decompose" : "Reconstruct"); });

// Every test for every image, from the last to the first; each one takes the report over from those before.
TEST_P(WaveletCall, isReportedInTheOrderOfTheTests) {
    for (int i : {4, 2}) {
        h[i]->widthStep += 4;
        expect(-13, "Not equal decomposed images widthStep values.");
    }
    for (int i = 4; i >= 1; --i) {
        h[i]->height = 1;
        expect(-10, actual("Height", i, true));
    }
    for (int i = 4; i >= 1; --i) {
        h[i]->width = 2;
        expect(-10, actual("Width", i, true));
    }
    MoxROI away = {0, 0, 3, 1, 1};
    h[0]->roi = &away;
    expect(-25, "Error " + name[0] + "->roi->yOffset >= " + name[0] + "->height.");
    away.xOffset = 5;
    expect(-25, "Error " + name[0] + "->roi->xOffset >= " + name[0] + "->width.");
    for (int i = 4; i >= 0; --i) {
        h[i]->nChannels = 2;
        expect(-15, "Error " + name[i] + "->nChannels != 1.");
    }
    for (int i = 4; i >= 0; --i) {
        h[i]->depth = i == 0 ? MOX_DEPTH_8S : MOX_DEPTH_32S;
        expect(-17, "Error " + name[i] + "->depth != MOX_DEPTH_" + (i == 0 ? "8U." : "32F."));
    }
    MoxROI whole = {0, 0, 0, 100, 100};
    for (int i = 4; i >= 1; --i) {
        h[i]->roi = &whole;
        expect(-25, "Error " + name[i] + "->roi != NULL.");
    }
    MoxTileInfo tiles = {serveNoTile, nullptr, nullptr, 8, 8};
    for (int i = 4; i >= 0; --i) {
        h[i]->tileInfo = &tiles;
        h[i]->imageData = nullptr;
        expect(-5, "Tiled image not supported: " + name[i] + ".");
        h[i]->align = 7;
        expect(-21, "Incorrect image: " + name[i] + ".");
        MoxImage *kept = h[i];
        h[i] = nullptr;
        expect(-9, "Incorrect image: " + name[i] + ".");
        h[i] = kept;
    }
    const std::string fieldNames[2] = {std::string("wtKernel->") + fields[decomposes ? 0 : 2],
                                       std::string("wtKernel->") + fields[decomposes ? 1 : 3]};
    for (int i = 1; i >= 0; --i) {
        MoxWtFilter *filter = i ? high : low;
        const std::string &field = fieldNames[i];
        filter->offset = -1;
        expect(-29, "Error " + field + ".offset < 0.");
        filter->offset = filter->length;
        expect(-29, "Error " + field + ".offset >= " + field + ".length.");
        filter->length = 1;
        expect(-29, "Error " + field + ".length < 2.");
        filter->taps = nullptr;
        expect(-29, "Error " + field + ".taps == NULL.");
    }
    EXPECT_EQ(decomposes ? moxWtDecompose(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr)
                         : moxWtReconstruct(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              -27);
    EXPECT_TRUE(reports.are({{-27, function, NO_KERNEL}}));
    reports.clear();
}

TEST_P(WaveletCall, evenSizesAreHalved) {
    h[0]->width = 6;
    h[0]->height = 4;
    EXPECT_EQ(call(), 0);
    for (int i = 0; i < 5; ++i)
        images[i]->setBytes(before[i]);
    h[0]->width = 4;
    for (int i = 4; i >= 1; --i) {
        h[i]->height = 3;
        expect(-10, actual("Width", 1, false));
    }
    for (int i = 1; i <= 4; ++i) {
        h[i]->width = 2;
        expect(-10, i < 4 ? actual("Width", i + 1, false) : actual("Height", 1, false));
    }
}

// The size is that of the clipped region; a region that reaches beyond the image is no fault.
TEST_P(WaveletCall, theRegionDecidesTheSize) {
    MoxROI roi = {0, 1, 1, 0x7FFFFFFF, 0x7FFFFFFF};
    h[0]->roi = &roi;
    expect(-10, actual("Width", 1, false));
    for (int i = 1; i < 5; ++i) {
        h[i]->width = 2;
        h[i]->height = 1;
    }
    EXPECT_EQ(call(), 0);
    EXPECT_TRUE(reports.none());
    roi.coi = 1;
    EXPECT_EQ(call(), 0);
}

TEST_P(WaveletCall, clearsAnOldStatus) {
    moxSetErrStatus(-7);
    EXPECT_EQ(call(), 0);
    EXPECT_EQ(moxGetErrStatus(), 0);
    EXPECT_TRUE(reports.none());
}

// One direction does not look at the filters of the other.
TEST_P(WaveletCall, needsItsOwnFiltersAlone) {
    const MoxWtFilter none = {nullptr, -1, -7, 0};
    (decomposes ? kernel.filtRecLow : kernel.filtDecLow) = none;
    (decomposes ? kernel.filtRecHigh : kernel.filtDecHigh) = none;
    kernel.wtType = 1000;
    kernel.orthogonal = -1;
    EXPECT_EQ(call(), 0);
    EXPECT_TRUE(reports.none());
}

TEST_P(WaveletCall, aFreedKernelIsRefused) {
    moxWtFree(&kernel);
    expect(-29, std::string("Error wtKernel->") + fields[decomposes ? 0 : 2] + ".taps == NULL.");
}

TEST_P(WaveletCall, headersAreChecked) {
    for (int i = 0; i < 5; ++i) {
        auto expectAndMend = [&](MoxStatus status) {
            expect(status, "Incorrect image: " + name[i] + ".");
            mend();
        };
        h[i]->imageData = nullptr;
        expectAndMend(-12);
        h[i]->imageSize = 0;
        expectAndMend(-10);
        h[i]->widthStep = 0;
        expectAndMend(-13);
        h[i]->width = 0;
        expectAndMend(-10);
        h[i]->nChannels = 0;
        expectAndMend(-15);
        h[i]->depth = 9;
        expectAndMend(-17);
        h[i]->alphaChannel = 2;
        expectAndMend(-18);
        h[i]->dataOrder = -1;
        expectAndMend(-19);
        h[i]->origin = -1;
        expectAndMend(-20);
        MoxROI roi = {2, 0, 0, 1, 1};
        h[i]->roi = &roi;
        expectAndMend(-24);
        roi = {0, -1, 0, 1, 1};
        h[i]->roi = &roi;
        expectAndMend(-11);
    }
}

// Rows longer than the stride are refused before anything is touched.
TEST_P(WaveletCall, impossibleSizesAreRefused) {
    auto expectRefusal = [&] {
        EXPECT_LT(call(), 0);
        EXPECT_LT(moxGetErrStatus(), 0);
        ASSERT_EQ(reports.seen.size(), 1u);
        EXPECT_EQ(reports.seen[0].function, function);
        expectUntouched();
        reports.clear();
        mend();
    };
    h[0]->widthStep = 4;
    expectRefusal();
    for (int i = 1; i < 5; ++i)
        h[i]->widthStep = 11;
    expectRefusal();
    h[0]->width = 0x7FFFFFFE;
    for (int i = 1; i < 5; ++i)
        h[i]->width = 0x3FFFFFFF;
    expectRefusal();
    h[0]->height = 0x7FFFFFFE;
    for (int i = 1; i < 5; ++i)
        h[i]->height = 0x3FFFFFFF;
    expectRefusal();
}

TEST_P(WaveletCall, memoryMayRunOut) {
    int failures = 0;
    for (int failAt = 1;; ++failAt) {
        AllocationWindow window(failAt);
        const MoxStatus status = call();
        window.close();
        EXPECT_EQ(window.live(), 0);
        if (!window.refused()) {
            EXPECT_EQ(status, 0);
            break;
        }
        ++failures;
        EXPECT_EQ(status, -4);
        EXPECT_EQ(moxGetErrStatus(), -4);
        EXPECT_TRUE(reports.are({{-4, function, "No working memory."}}));
        expectUntouched();
        reports.clear();
    }
    EXPECT_GE(failures, 1);
}

// Rows are filtered as they come: what a call takes grows with the width and not with the height.
TEST_P(WaveletCall, memoryDoesNotGrowWithTheHeight) {
    long long largest[2];
    for (int round = 0; round < 2; ++round) {
        const int height = round ? 2000 : 100;
        TestImage whole(TestLayout::of(MOX_DEPTH_8U, 64, height), 1);
        TestLayout layout = TestLayout::of(MOX_DEPTH_32F, 32, height / 2);
        TestImage a(layout, 2), x(layout, 3), y(layout, 4), d(layout, 5);
        for (TestImage *image : {&a, &x, &y, &d})
            image->setAll(0);
        AllocationWindow window;
        EXPECT_EQ(decomposes
                      ? moxWtDecompose(&kernel, whole.header(), a.header(), x.header(), y.header(), d.header())
                      : moxWtReconstruct(&kernel, a.header(), x.header(), y.header(), d.header(), whole.header()),
                  0);
        window.close();
        largest[round] = window.largest();
        EXPECT_LT(window.count(), 20);
    }
    EXPECT_EQ(largest[0], largest[1]);
}

}  // namespace
