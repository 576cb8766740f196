// The Fourier transforms: every refusal with its status, message and order.
#include "transform/transformcheck.h"

namespace {

using FftFunction = MoxStatus(MOX_CALL *)(MoxImage *, MoxImage *, int);

struct FftName {
    const char *name;
    FftFunction call;
};
void PrintTo(const FftName &fft, std::ostream *out) {
    *out << fft.name;
}

// Two images of 12 x 9 whose fields a test spoils; after a refusal everything is as it was.
class FftFailure : public testing::TestWithParam<FftName> {
  protected:
    FftFailure() {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 12, 9, 3);
        layout.extraStride = 256;  // room for samples of any depth that the headers are going to claim
        src = std::make_unique<TestImage>(layout, 1);
        dst = std::make_unique<TestImage>(layout, 2);
        srcBefore = src->bytes();
        dstBefore = dst->bytes();
        s = src->header();
        d = dst->header();
    }
    void expect(MoxImage *from, MoxImage *to, int flags, MoxStatus status, const char *message) {
        SCOPED_TRACE(message);
        EXPECT_EQ(GetParam().call(from, to, flags), status);
        EXPECT_TRUE(reports.are({{status, GetParam().name, message}}));
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_TRUE(src->holds(srcBefore));
        EXPECT_TRUE(dst->holds(dstBefore));
        reports.clear();
    }
    void expect(MoxStatus status, const char *message) { expect(s, d, MOX_FFT_FORWARD, status, message); }

    ReportRecorder reports;
    std::unique_ptr<TestImage> src, dst;
    TestBytes srcBefore, dstBefore;
    MoxImage *s, *d;
};

INSTANTIATE_TEST_SUITE_P(Failure, FftFailure,
                         testing::Values(FftName{"moxRealFft2D", moxRealFft2D}, FftName{"moxCcsFft2D", moxCcsFft2D}),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_P(FftFailure, directionsAndEnginesAreTestedFirst) {
    for (int flags : {0, 4, 8, 16, 32, 48, 64, 4 | 16, 256})
        expect(nullptr, nullptr, flags, -5, "(flags & 1) == 0 && (flags & 2 ) == 0");
    for (int flags : {3, 3 | 4, 3 | 16, 3 | 48, -1 & ~128})
        expect(nullptr, nullptr, flags, -5, "(flags & 1) != 0 && (flags & 2 ) != 0");
    for (int flags : {1 | 48, 2 | 48, 2 | 4 | 48})
        expect(nullptr, nullptr, flags, -5, "(flags & 32) != 0 && (flags & 16 ) != 0");
}

TEST_P(FftFailure, freeingIgnoresEverythingElse) {
    s->align = 5;
    for (int flags : {128, 128 | 3, 128 | 48, 128 | 1, -1}) {
        EXPECT_EQ(GetParam().call(nullptr, nullptr, flags), 0);
        EXPECT_EQ(GetParam().call(s, nullptr, flags), 0);
        EXPECT_EQ(GetParam().call(s, d, flags), 0);
    }
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), 0);
    moxSetErrStatus(-7);
    EXPECT_EQ(GetParam().call(nullptr, nullptr, 128), 0);
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_TRUE(dst->holds(dstBefore));
}

// Unknown bits mean nothing.
TEST_P(FftFailure, unknownFlagsAreNoFault) {
    EXPECT_EQ(GetParam().call(s, d, 1 | 8 | 64 | 256 | 0x40000000), 0);
    EXPECT_TRUE(reports.none());
    EXPECT_FALSE(dst->holds(dstBefore));
}

// Faults from the last to be tested to the first; each one takes the report over from those before.
TEST_P(FftFailure, isReportedInTheOrderOfTheTests) {
    MoxROI beyond = {0, 12, 0, 5, 5}, second = {2, 0, 0, 12, 9};
    s->roi = &beyond;
    expect(-5, "Error in input data");

    d->nChannels = 2;
    expect(-5,
           "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != "
           "0))");

    d->imageData = nullptr;
    d->tileInfo = dst->tileInfo();
    *dst->tileInfo() = {serveNoTile, nullptr, nullptr, 8, 8};
    expect(-5, "dstImage->imageData == 0");
    d->nChannels = 1;
    d->depth = MOX_DEPTH_1U;
    expect(-5, "dstImage->depth == 1");
    d->alphaChannel = 1;
    d->roi = &beyond;
    expect(-5, "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1");
    d->roi = nullptr;
    expect(-5, "dstImage->alphaChannel == 1 && dstImage->roi == 0");
    d->align = 3;
    expect(-21, "Incorrect Image");
    expect(s, nullptr, MOX_FFT_FORWARD, -5, "dstImage==0");

    s->tileInfo = dst->tileInfo();
    s->imageData = nullptr;
    expect(-5, "srcImage->imageData == 0");
    s->nChannels = 1;
    s->depth = MOX_DEPTH_1U;
    expect(-5, "srcImage->depth == 1");
    s->alphaChannel = 1;
    s->roi = &beyond;
    expect(-5, "srcImage->alphaChannel == 1 && srcImage->roi->coi != 1");
    s->roi = nullptr;
    expect(-5, "srcImage->alphaChannel == 1 && srcImage->roi == 0");
    s->roi = &second;
    expect(-24, "Incorrect Image");
    s->alphaChannel = 5;
    expect(-18, "Incorrect Image");
    expect(nullptr, d, MOX_FFT_FORWARD, -5, "srcImage==0");
    expect(s, d, MOX_FFT_FORWARD | 48, -5, "(flags & 32) != 0 && (flags & 16 ) != 0");
}

TEST_P(FftFailure, headersAreChecked) {
    for (int which = 0; which < 2; ++which) {
        MoxImage *image = which ? d : s;
        const MoxImage good = *image;
        auto expectAndMend = [&](MoxStatus status) {
            expect(status, "Incorrect Image");
            *image = good;
        };
        image->imageData = nullptr;
        expectAndMend(-12);
        image->imageSize = 0;
        expectAndMend(-10);
        image->widthStep = 0;
        expectAndMend(-13);
        image->width = 0;
        expectAndMend(-10);
        image->nChannels = 0;
        expectAndMend(-15);
        image->depth = MOX_DEPTH_1U;
        expectAndMend(-16);
        image->depth = 12;
        expectAndMend(-17);
        image->alphaChannel = 2;
        expectAndMend(-18);
        image->dataOrder = 2;
        expectAndMend(-19);
        image->origin = 2;
        expectAndMend(-20);
        image->align = 12;
        expectAndMend(-21);
        MoxROI roi = {4, 0, 0, 5, 5};
        image->roi = &roi;
        expectAndMend(-24);
        roi = {0, 0, 0, 0, 5};
        image->roi = &roi;
        expectAndMend(-25);
        roi = {0, -1, 0, 5, 5};
        image->roi = &roi;
        expectAndMend(-11);
        TestImage mask(TestLayout::of(MOX_DEPTH_8U, 12, 9), 5);
        image->maskROI = mask.header();
        expectAndMend(-117);
    }
}

TEST_P(FftFailure, numbersOfChannelsMustAgree) {
    const char *neither =
        "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != "
        "0))";
    const char *source = "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImage->roi->coi > 0)";
    const char *destination = "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->roi->coi > 0)";
    MoxROI all = {0, 0, 0, 12, 9}, one = {1, 0, 0, 12, 9};
    d->alphaChannel = 3;
    expect(-5, neither);
    s->roi = d->roi = &all;
    expect(-5, neither);
    s->roi = &one;
    expect(-5, source);
    d->roi = nullptr;
    expect(-5, source);
    d->roi = &one;
    s->roi = nullptr;
    expect(-5, destination);
    s->roi = &all;
    s->alphaChannel = 3;
    expect(-5, destination);
    // Two channels of which one is alpha are one.
    s->alphaChannel = s->nChannels = 2;
    EXPECT_EQ(GetParam().call(s, d, MOX_FFT_FORWARD), 0);
    s->roi = &one;
    d->roi = nullptr;
    d->alphaChannel = d->nChannels = 2;
    EXPECT_EQ(GetParam().call(s, d, MOX_FFT_FORWARD), 0);
    EXPECT_TRUE(reports.none());
}

// One channel that is alpha is taken only where it is named.
TEST_P(FftFailure, aSingleAlphaChannelMustBeNamed) {
    MoxROI all = {0, 0, 0, 12, 9}, one = {1, 0, 0, 12, 9};
    s->nChannels = d->nChannels = 1;
    s->alphaChannel = 1;
    expect(-5, "srcImage->alphaChannel == 1 && srcImage->roi == 0");
    s->roi = &all;
    expect(-5, "srcImage->alphaChannel == 1 && srcImage->roi->coi != 1");
    s->roi = &one;
    d->alphaChannel = 1;
    expect(-5, "dstImage->alphaChannel == 1 && dstImage->roi == 0");
    d->roi = &all;
    expect(-5, "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1");
    d->roi = &one;
    EXPECT_EQ(GetParam().call(s, d, MOX_FFT_FORWARD), 0);
    EXPECT_TRUE(reports.none());
}

TEST_P(FftFailure, anEmptyRegionIsBadInput) {
    MoxROI away = {0, 12, 0, 5, 5};
    for (int which = 0; which < 2; ++which) {
        for (const MoxROI &empty : {MoxROI{0, 12, 0, 5, 5}, MoxROI{0, 0, 9, 5, 5}, MoxROI{0, 0x7FFFFFFF, 0, 5, 5}}) {
            away = empty;
            (which ? d : s)->roi = &away;
            (which ? s : d)->roi = nullptr;
            expect(-5, "Error in input data");
        }
    }
}

// What no image in memory can be is refused before anything is touched, and behind all other tests.
TEST_P(FftFailure, impossibleSizesAreRefused) {
    auto expectRefusal = [&] {
        const MoxStatus status = GetParam().call(s, d, MOX_FFT_FORWARD);
        EXPECT_LT(status, 0);
        EXPECT_LT(moxGetErrStatus(), 0);
        ASSERT_EQ(reports.seen.size(), 1u);
        EXPECT_EQ(reports.seen[0].function, GetParam().name);
        EXPECT_TRUE(src->holds(srcBefore));
        EXPECT_TRUE(dst->holds(dstBefore));
        reports.clear();
    };
    for (int which = 0; which < 2; ++which) {
        MoxImage *image = which ? d : s;
        const MoxImage good = *image;
        image->widthStep = 35;
        expectRefusal();
        *image = good;
        image->width = 0x7FFFFFFF;
        expectRefusal();
        *image = good;
        image->height = 0x7FFFFFFF;
        image->imageSize = 0x7FFFFFFF;
        expectRefusal();
        *image = good;
        image->dataOrder = MOX_DATA_ORDER_PLANE;
        image->nChannels = image->alphaChannel = 0x7FFFFFFF;
        MoxROI roi = {1, 0, 0, 3, 3};
        image->roi = &roi;
        (which ? s : d)->roi = &roi;
        expectRefusal();
        *image = good;
        (which ? s : d)->roi = nullptr;
    }
    s->widthStep = 35;
    MoxROI away = {0, 12, 0, 5, 5};
    s->roi = &away;
    expect(-5, "Error in input data");
    s->roi = nullptr;
    d->depth = 3;
    expect(-17, "Incorrect Image");
}

// A row of as many samples as an int counts is one that memory can have, and too long to be transformed.
TEST_P(FftFailure, theLongestRowFindsNoMemory) {
    for (int width : {0x7FFFFFFF, 0x7FFFFFFE, 0x7FFFFFF0}) {
        s->nChannels = d->nChannels = 1;
        s->width = d->width = s->widthStep = d->widthStep = s->imageSize = d->imageSize = width;
        s->height = d->height = 1;
        for (int engine : {0, static_cast<int>(MOX_FFT_USE_INTEGER)})
            expect(s, d, MOX_FFT_FORWARD | engine, -4, "No working memory");
    }
}

// The report function's answer is not the status of the call.
TEST_P(FftFailure, returnsTheStatusWhateverIsAnswered) {
    reports.answersZero = true;
    EXPECT_EQ(GetParam().call(nullptr, d, MOX_FFT_FORWARD), -5);
    EXPECT_EQ(GetParam().call(s, d, 3), -5);
    s->align = 3;
    EXPECT_EQ(GetParam().call(s, d, MOX_FFT_FORWARD), -21);
}

}  // namespace
