// The comparisons: every report with its order, and the value returned, which is not always the one reported.
#include "stat/statcheck.h"

namespace {

using Call = std::function<MoxStatus(MoxImage *, MoxImage *, MoxImage *)>;
struct Member {
    const char *name;
    Call call;
    bool floats = false, eps = false;
};

const Member twos[] = {
    {"moxLess", moxLess},
    {"moxGreater", moxGreater},
    {"moxEqual", moxEqual},
    {"moxEqualFPEps", [](MoxImage *a, MoxImage *b, MoxImage *res) { return moxEqualFPEps(a, b, res, 0.5f); }, true,
     true}};
const Member ones[] = {
    {"moxLessS", [](MoxImage *a, MoxImage *, MoxImage *res) { return moxLessS(a, 5, res); }},
    {"moxGreaterS", [](MoxImage *a, MoxImage *, MoxImage *res) { return moxGreaterS(a, 5, res); }},
    {"moxEqualS", [](MoxImage *a, MoxImage *, MoxImage *res) { return moxEqualS(a, 5, res); }},
    {"moxLessSFP", [](MoxImage *a, MoxImage *, MoxImage *res) { return moxLessSFP(a, 5, res); }, true},
    {"moxGreaterSFP", [](MoxImage *a, MoxImage *, MoxImage *res) { return moxGreaterSFP(a, 5, res); }, true},
    {"moxEqualSFP", [](MoxImage *a, MoxImage *, MoxImage *res) { return moxEqualSFP(a, 5, res); }, true},
    {"moxEqualSFPEps", [](MoxImage *a, MoxImage *, MoxImage *res) { return moxEqualSFPEps(a, 5, res, 1); }, true,
     true}};

// Rows long enough for any depth and a few channels, so that a header's fields may be changed alone.
TestLayout roomy(unsigned depth, int channels) {
    TestLayout layout = TestLayout::of(depth, 10, 10, channels);
    layout.extraStride = 200;
    return layout;
}

// Two images, or one of them, that a member takes, and its result.
struct Images {
    TestImage a, b, res{roomy(MOX_DEPTH_1U, 1), 3};
    explicit Images(const Member &member, int channels = 3)
        : a(roomy(member.floats ? MOX_DEPTH_32F : MOX_DEPTH_8U, channels), 1),
          b(roomy(member.floats ? MOX_DEPTH_32F : MOX_DEPTH_8U, channels), 2) {}
};

void expectReport(const Member &member, MoxImage *a, MoxImage *b, MoxImage *res, MoxStatus reported, MoxStatus returned,
                  const char *message) {
    SCOPED_TRACE(std::string(member.name) + ": " + message);
    ReportRecorder reports;
    EXPECT_EQ(member.call(a, b, res), returned);
    EXPECT_TRUE(reports.are({{reported, member.name, message}}));
    EXPECT_EQ(moxGetErrStatus(), reported);
}

// The faults from the last to be tested to the first; each one is added to those before and takes the report over.
TEST(CompareFailure, ofTwoImagesIsReportedInTheOrderOfTheTests) {
    for (const Member &member : twos) {
        Images images(member, 1);
        MoxImage &a = *images.a.header(), &b = *images.b.header(), &res = *images.res.header();
        const TestBytes before = images.res.bytes();
        const auto expect = [&](MoxStatus reported, MoxStatus returned, const char *message) {
            expectReport(member, &a, &b, &res, reported, returned, message);
        };
        res.alphaChannel = 1;
        expect(-18, -18, "bad alpha channel's number");
        b.nChannels = 2;
        expect(-15, -15, "bad channel's number");
        b.nChannels = b.alphaChannel = 1;
        expect(-18, -5, "bad alpha channel's number");
        b.alphaChannel = 0;
        a.alphaChannel = 1;
        expect(-18, -5, "bad alpha channel's number");
        b.origin = 1;
        expect(-5, -20, "(img1->origin!=img2->origin)");
        b.dataOrder = 1;
        expect(-5, -19, "(img1->dataOrder!=img2->dataOrder)");
        b.depth = MOX_DEPTH_16S;
        expect(-5, -17, "(img1->depth!=img2->depth)");
        res.depth = MOX_DEPTH_8S;
        expect(-5, -17, "(res->depth!=MOX_DEPTH_1U)");
        res.align = 3;
        expect(-21, -21, " Incorrect Image");
        b.origin = 2;
        expect(-20, -20, " Incorrect Image");
        a.width = 0;
        expect(-10, -10, " Incorrect Image");
        expectReport(member, nullptr, &b, &res, -9, -9, " Incorrect Image");
        EXPECT_TRUE(images.res.holds(before));
    }
}

TEST(CompareFailure, ofAnImageThatIsItsOwnResult) {
    for (const Member &member : twos) {
        TestImage bits(TestLayout::ofMask(10, 10), 1), other(TestLayout::ofMask(10, 10), 2),
            bytes(TestLayout::of(MOX_DEPTH_8U, 10, 10), 3);
        TestLayout upside = TestLayout::ofMask(10, 10);
        upside.origin = upside.order = 1;
        TestImage turned(upside, 4);
        const char *const message = "(img1==res || img2==res)";
        expectReport(member, bits.header(), other.header(), bits.header(), -5, -5, message);
        expectReport(member, other.header(), bits.header(), bits.header(), -5, -5, message);
        expectReport(member, bits.header(), bits.header(), bits.header(), -5, -5, message);
        expectReport(member, bits.header(), turned.header(), bits.header(), -5, -5, message);  // before the order
        expectReport(member, bytes.header(), bytes.header(), bytes.header(), -5, -17, "(res->depth!=MOX_DEPTH_1U)");
        expectReport(member, bytes.header(), bits.header(), bits.header(), -5, -17, "(img1->depth!=img2->depth)");
    }
    for (const Member &member : ones) {
        TestImage bits(TestLayout::ofMask(10, 10), 1), bytes(TestLayout::of(MOX_DEPTH_8U, 10, 10), 3);
        expectReport(member, bits.header(), nullptr, bits.header(), -5, -5, "(img==res)");
        expectReport(member, bytes.header(), nullptr, bytes.header(), -5, -5, "(img==res)");  // before the depth
    }
}

TEST(CompareFailure, ofAConstantIsReportedInTheOrderOfTheTests) {
    for (const Member &member : ones) {
        Images images(member, 1);
        MoxImage &a = *images.a.header(), &res = *images.res.header();
        const TestBytes before = images.res.bytes();
        const auto expect = [&](MoxStatus reported, MoxStatus returned, const char *message) {
            expectReport(member, &a, nullptr, &res, reported, returned, message);
        };
        res.alphaChannel = 1;
        expect(-18, -18, "bad alpha channel's number");
        a.alphaChannel = 1;
        expect(-18, -5, "bad alpha channel's number");
        a.depth = member.floats ? MOX_DEPTH_8U : MOX_DEPTH_32F;
        expect(-5, -17, member.floats ? "(img->depth!=MOX_DEPTH_32F)" : "(img->depth==MOX_DEPTH_32F)");
        res.depth = MOX_DEPTH_8U;
        expect(-5, -17, "(res->depth!=MOX_DEPTH_1U)");
        res.align = 3;
        expect(-21, -21, " Incorrect Image");
        a.width = 0;
        expect(-10, -10, " Incorrect Image");
        expectReport(member, nullptr, nullptr, nullptr, -9, -9, " Incorrect Image");
        EXPECT_TRUE(images.res.holds(before));
    }
}

TEST(CompareFailure, formsOfOneKindRefuseTheOther) {
    for (unsigned depth : allDepths) {
        TestImage image(TestLayout::of(depth, 10, 10), 1), res(TestLayout::ofMask(10, 10), 2);
        for (const Member &member : ones) {
            const char *message = member.floats ? "(img->depth!=MOX_DEPTH_32F)" : "(img->depth==MOX_DEPTH_32F)";
            if (member.floats != (depth == MOX_DEPTH_32F)) {
                expectReport(member, image.header(), nullptr, res.header(), -5, -17, message);
            }
        }
        if (depth != MOX_DEPTH_32F) {
            expectReport(twos[3], image.header(), image.header(), res.header(), -5, -17,
                         "((img1->depth!= MOX_DEPTH_32F)|| (img2->depth!= MOX_DEPTH_32F))");
        }
    }
}

TEST(CompareFailure, epsHasToBeAboveZero) {
    TestImage a(TestLayout::of(MOX_DEPTH_32F, 10, 10)), bytes(TestLayout::of(MOX_DEPTH_8U, 10, 10)),
        res(TestLayout::ofMask(10, 10));
    for (float eps : {0.0f, -0.0f, -1.0f, -1e-40f}) {
        const Member two = {"moxEqualFPEps",
                            [=](MoxImage *x, MoxImage *y, MoxImage *r) { return moxEqualFPEps(x, y, r, eps); }};
        const Member one = {"moxEqualSFPEps",
                            [=](MoxImage *x, MoxImage *, MoxImage *r) { return moxEqualSFPEps(x, 1, r, eps); }};
        expectReport(two, a.header(), a.header(), res.header(), -5, -5, "(eps<=0.)");
        expectReport(one, a.header(), nullptr, res.header(), -5, -5, "(eps<=0.)");
        expectReport(two, bytes.header(), bytes.header(), res.header(), -5, -17,
                     "((img1->depth!= MOX_DEPTH_32F)|| (img2->depth!= MOX_DEPTH_32F))");
        expectReport(one, bytes.header(), nullptr, res.header(), -5, -17, "(img->depth!=MOX_DEPTH_32F)");
    }
    EXPECT_EQ(moxEqualSFPEps(a.header(), 1, res.header(), 1e-45f), 0);
}

// Alpha counts as no channel, unless a coi names it; the numbers of channels processed are compared.
TEST(CompareFailure, channelsAreThoseProcessed) {
    for (const Member &member : twos) {
        TestLayout three = Images(member).a.layout(), four = three, coi = three, one = three;
        four.channels = four.alpha = 4;
        coi.setRoi(2, 0, 0, 10, 10);
        one.channels = one.alpha = 1;
        one.setRoi(1, 0, 0, 10, 10);
        TestImage res(TestLayout::ofMask(10, 10));
        for (const auto &[first, second, accepted] :
             {std::tuple{three, four, true}, {coi, one, true}, {coi, three, false}, {four, one, false}}) {
            TestImage a(first, 1), b(second, 2);
            ReportRecorder reports;
            EXPECT_EQ(member.call(a.header(), b.header(), res.header()), accepted ? 0 : -15);
            EXPECT_TRUE(accepted ? reports.none() : reports.are({{-15, member.name, "bad channel's number"}}));
        }
    }
}

TEST(CompareFailure, aMaskOfAlphaAloneIsRefused) {
    TestLayout alpha = TestLayout::ofMask(10, 10);
    alpha.alpha = 1;
    for (const Member &member : twos) {
        for (int which = 0; which < 3; ++which) {
            Images images(member);
            TestImage mask(alpha);
            (which == 0 ? images.a : which == 1 ? images.b : images.res).setMask(&mask);
            expectReport(member, images.a.header(), images.b.header(), images.res.header(), -18, -18,
                         "bad alpha channel's number");
        }
    }
}

TEST(CompareFailure, aLeftoverStatusDoesNotStopTheCall) {
    for (int masks = 0; masks < 4; ++masks) {
        Images images(twos[0]);
        TestImage mask(TestLayout::ofMask(10, 10), 4), mask2(TestLayout::ofMask(10, 10), 5),
            mask3(TestLayout::ofMask(10, 10), 6);
        if (masks > 0) images.a.setMask(&mask);
        if (masks > 1) images.b.setMask(&mask2);
        if (masks > 2) images.res.setMask(&mask3);
        const TestBytes expected = refCompare({&images.a, &images.b}, images.res, refLess());
        ReportRecorder reports;
        moxSetErrStatus(-7);
        EXPECT_EQ(moxLess(images.a.header(), images.b.header(), images.res.header()), 0);
        EXPECT_TRUE(images.res.holds(expected)) << masks << " masks";
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(moxGetErrStatus(), -7);
    }
}

}  // namespace
