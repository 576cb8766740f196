// moxBlur: every report with its order, memory and tiles that are refused, and windows beyond all memory.
#include <algorithm>
#include <climits>

#include "filter/filtercheck.h"

namespace {

constexpr const char *NAME = "moxBlur";

struct Pair {
    TestImage src{TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), 1}, dst{TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), 2};
    void blur(int nCols = 3, int nRows = 3, int anchorX = 1, int anchorY = 1) {
        moxBlur(src.header(), dst.header(), nCols, nRows, anchorX, anchorY);
    }
};

// The faults from the last to be tested to the first; each one is added to those before and takes the report over.
TEST(BlurFailure, isReportedInTheOrderOfTheTests) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 1);
    TestImage src(layout, 1), dst(layout, 2), three(TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), 3);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    auto expect = [&](TestImage &source, int nCols, int nRows, int anchorX, int anchorY, MoxStatus status,
                      const char *message) {
        SCOPED_TRACE(message);
        reports.clear();
        RoundingWatch rounding;
        moxBlur(source.header(), dst.header(), nCols, nRows, anchorX, anchorY);
        EXPECT_TRUE(reports.are({{status, NAME, message}}));
        EXPECT_EQ(moxGetErrStatus(), status);
        EXPECT_TRUE(dst.holds(before));
        EXPECT_TRUE(rounding.kept());
    };
    expect(three, 3, 3, 1, 1, -15, "bad channel's number");
    src.header()->alphaChannel = 1;
    expect(src, 3, 3, 1, 1, -18, "bad alpha channel's number");
    expect(src, 3, 3, 3, 0, -5, "(anchorX>=nCols||anchorY>=nRows)");
    expect(src, 3, 3, 0, 3, -5, "(anchorX>=nCols||anchorY>=nRows)");
    expect(src, 3, 3, 3, -1, -5, "(anchorX<0||anchorY<0)");
    expect(src, 3, 3, -1, 7, -5, "(anchorX<0||anchorY<0)");
    expect(src, -1, 3, -1, 0, -5, "(nRows<0||nCols<0)");
    expect(src, 3, -1, 0, -1, -5, "(nRows<0||nCols<0)");
    src.header()->depth = MOX_DEPTH_8S;
    expect(src, -1, -1, -1, -1, -5, "(srcImage->depth!=dstImage->depth)");
    dst.header()->align = 5;
    expect(src, -1, -1, -1, -1, -21, "Incorrect Image");
    src.header()->origin = 7;
    expect(src, -1, -1, -1, -1, -20, "Incorrect Image");
}

TEST(BlurFailure, zeroSizesAreAnchorFaults) {
    Pair pair;
    const TestBytes before = pair.dst.bytes();
    for (auto [nCols, nRows] : {std::pair{0, 3}, {3, 0}, {0, 0}, {0, 1}, {1, 0}}) {
        ReportRecorder reports;
        pair.blur(nCols, nRows, 0, 0);
        EXPECT_TRUE(reports.are({{-5, NAME, "(anchorX>=nCols||anchorY>=nRows)"}}));
        EXPECT_TRUE(pair.dst.holds(before));
    }
}

TEST(BlurFailure, extremeArgumentsAreRefusedLikeOthers) {
    Pair pair;
    ReportRecorder reports;
    pair.blur(INT_MIN, INT_MIN, 0, 0);
    pair.blur(3, 3, INT_MIN, 0);
    pair.blur(3, 3, INT_MAX, 0);
    pair.blur(3, 3, 0, INT_MAX);
    EXPECT_TRUE(reports.are({{-5, NAME, "(nRows<0||nCols<0)"},
                             {-5, NAME, "(anchorX<0||anchorY<0)"},
                             {-5, NAME, "(anchorX>=nCols||anchorY>=nRows)"},
                             {-5, NAME, "(anchorX>=nCols||anchorY>=nRows)"}}));
}

TEST(BlurFailure, headersAreTestedSourceFirst) {
    Pair pair;
    ReportRecorder reports;
    moxBlur(nullptr, nullptr, 3, 3, 1, 1);
    moxBlur(pair.src.header(), nullptr, 3, 3, 1, 1);
    EXPECT_TRUE(reports.are({{-9, NAME, "Incorrect Image"}, {-9, NAME, "Incorrect Image"}}));
    reports.clear();
    TestImage mask(TestLayout::of(MOX_DEPTH_8U, 20, 10), 3);
    pair.dst.setMask(&mask);
    pair.blur();
    EXPECT_TRUE(reports.are({{-117, NAME, "Incorrect Image"}}));
    reports.clear();
    pair.src.header()->widthStep = 0;
    pair.blur();
    EXPECT_TRUE(reports.are({{-13, NAME, "Incorrect Image"}}));
}

// An image whose only channel is alpha has nothing to blur, unless a coi names that channel; masks are tested like
// images.
TEST(BlurFailure, aLoneAlphaChannelIsRefused) {
    for (unsigned depth : allDepths) {
        TestLayout plain = TestLayout::of(depth, 20, 10), alpha = plain, named = alpha;
        alpha.alpha = named.alpha = 1;
        named.setRoi(1, 0, 0, 20, 10);
        const std::vector<ReportExpected> refused = {{-18, NAME, "bad alpha channel's number"}};
        for (int which = 0; which < 3; ++which) {
            TestImage src(which == 0 ? plain : alpha, 1), dst(which == 1 ? plain : alpha, 2);
            const TestBytes before = dst.bytes();
            ReportRecorder reports;
            moxBlur(src.header(), dst.header(), 3, 3, 1, 1);
            EXPECT_TRUE(reports.are(refused)) << depthName(depth);
            EXPECT_TRUE(dst.holds(before));
        }
        TestImage src(named, 1), dst(named, 2);
        RefResult wanted = refBlur(src, dst, {3, 3, 1, 1});
        ReportRecorder reports;
        moxBlur(src.header(), dst.header(), 3, 3, 1, 1);
        EXPECT_TRUE(reports.none());
        refAcceptNaNs(dst, &wanted);
        EXPECT_TRUE(dst.holds(wanted.expected));
    }
}

TEST(BlurFailure, aMaskWithALoneAlphaChannelIsRefused) {
    TestLayout alpha = TestLayout::ofMask(20, 10), named = alpha;
    alpha.alpha = named.alpha = 1;
    named.setRoi(1, 0, 0, 20, 10);
    for (bool onSource : {false, true}) {
        Pair pair;
        TestImage bad(alpha, 3), good(named, 4);
        (onSource ? pair.src : pair.dst).setMask(&bad);
        const TestBytes before = pair.dst.bytes();
        ReportRecorder reports;
        pair.blur();
        EXPECT_TRUE(reports.are({{-18, NAME, "bad alpha channel's number"}}));
        EXPECT_TRUE(pair.dst.holds(before));
        reports.clear();
        (onSource ? pair.src : pair.dst).setMask(&good);
        const RefResult wanted = refBlur(pair.src, pair.dst, {3, 3, 1, 1});
        pair.blur();
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(pair.dst.holds(wanted.expected));
    }
}

// The numbers of channels processed count, not the channels.
TEST(BlurFailure, channelCountsMustAgree) {
    TestLayout three = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), four = TestLayout::of(MOX_DEPTH_8U, 20, 10, 4),
               alpha = four, coi = three, one = TestLayout::of(MOX_DEPTH_8U, 20, 10);
    alpha.alpha = 4;
    coi.setRoi(2, 0, 0, 20, 10);
    struct {
        TestLayout src, dst;
        bool accepted;
    } const cases[] = {{three, four, false}, {four, three, false}, {alpha, three, true}, {three, alpha, true},
                       {four, alpha, false}, {coi, three, false},  {three, coi, false},  {coi, one, true},
                       {one, coi, true},     {coi, coi, true},     {one, three, false}};
    for (const auto &each : cases) {
        TestImage src(each.src, 1), dst(each.dst, 2);
        SCOPED_TRACE(each.src.describe() + " to " + each.dst.describe());
        const TestBytes before = dst.bytes();
        ReportRecorder reports;
        const RefResult wanted = each.accepted ? refBlur(src, dst, {3, 2, 0, 1}) : RefResult{before, {}};
        moxBlur(src.header(), dst.header(), 3, 2, 0, 1);
        EXPECT_TRUE(each.accepted ? reports.none() : reports.are({{-15, NAME, "bad channel's number"}}));
        EXPECT_TRUE(dst.holds(wanted.expected));
    }
}

// A sticky status of an earlier call does not matter, but for the window of one pixel, which copies.
TEST(BlurFailure, aLeftoverStatusStopsTheCopyAlone) {
    Pair pair;
    const TestBytes before = pair.dst.bytes();
    ReportRecorder reports;
    moxSetErrStatus(-7);
    pair.blur(1, 1, 0, 0);
    EXPECT_TRUE(pair.dst.holds(before));
    const RefResult wanted = refBlur(pair.src, pair.dst, {3, 3, 1, 1});
    pair.blur();
    EXPECT_TRUE(pair.dst.holds(wanted.expected));
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), -7);
}

// Windows that no memory holds. The anchor lies so that nothing else is wrong.
TEST(BlurFailure, windowsBeyondAllMemoryAreRefused) {
    for (auto [nCols, nRows] : {std::pair{INT_MAX, 1}, {INT_MAX, INT_MAX}, {INT_MAX - 19, 2}}) {
        Pair pair;
        const TestBytes before = pair.dst.bytes();
        ReportRecorder reports;
        AllocationWindow window;
        pair.blur(nCols, nRows, 0, 0);
        window.close();
        EXPECT_TRUE(reports.are({{-4, NAME, "Allocation failure"}})) << nCols << " x " << nRows;
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(pair.dst.holds(before));
        EXPECT_TRUE(pair.dst.headerIsUntouched());
    }
}

// So many channels that the bytes of the window's sums are more than 64 bits count. Refused before anything is
// allocated and before the pixels, which are not there, are looked at.
TEST(BlurFailure, windowsOverMoreChannelsThanCanBeCountedAreRefused) {
    char pixels[32] = {};
    MoxImage image = *TestImage(TestLayout::of(MOX_DEPTH_8U, 1, 1)).header();
    image.nChannels = image.widthStep = image.imageSize = INT_MAX;
    image.imageData = pixels;
    MoxImage other = image;
    ReportRecorder reports;
    AllocationWindow window;
    moxBlur(&image, &other, INT_MAX, 1, 0, 0);
    window.close();
    EXPECT_TRUE(reports.are({{-4, NAME, "Allocation failure"}}));
    EXPECT_EQ(window.count(), 0);
}

void judgeMemory(const ReportRecorder &reports, int) {
    ASSERT_FALSE(reports.seen.empty());
    const ReportSeen &last = reports.seen.back();
    EXPECT_EQ(last.status, -4);
    EXPECT_EQ(last.function, NAME);
    EXPECT_EQ(last.message, "Allocation failure");
    // Before it, at most the allocation of the common mask.
    ASSERT_LE(reports.seen.size(), 2u) << reports.text();
    if (reports.seen.size() == 2) {
        EXPECT_EQ(reports.seen[0].status, -4);
        EXPECT_EQ(reports.seen[0].function, "moxAllocateImage");
        EXPECT_EQ(reports.seen[0].message, "for allocate image data");
    }
    EXPECT_EQ(moxGetErrStatus(), -4);
}

FilterPairOptions drawOptions(Random &random, unsigned depth) {
    FilterPairOptions options;
    options.depth = depth;
    options.maxWidth = 40;
    options.maxHeight = 20;
    options.tiled[0] = random.below(2);
    options.tiled[1] = random.below(2);
    return options;
}

class BlurRefusal : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Failure, BlurRefusal, testing::ValuesIn(allDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

TEST_P(BlurRefusal, ofAnyMemoryIsReported) {
    forEachCase(40, [&](Random &random) {
        FilterPair pair(random, drawOptions(random, GetParam()));
        const RefWindow window = {random.between(1, 5), random.between(2, 5), 0, 1};
        SCOPED_TRACE(describeWindow(window) + "\n" + pair.describe());
        checkRefusedMemory(
            pair, refBlur(pair.src(), pair.dst(), window),
            [&] { moxBlur(pair.src().header(), pair.dst().header(), window.nCols, window.nRows, 0, 1); }, judgeMemory);
    });
}

TEST_P(BlurRefusal, ofAnyTileEndsTheCall) {
    forEachCase(40, [&](Random &random) {
        FilterPair pair(random, drawOptions(random, GetParam()));
        const RefWindow window = {random.between(1, 5), random.between(2, 5), 0, 1};
        SCOPED_TRACE(describeWindow(window) + "\n" + pair.describe());
        checkRefusedTiles(
            pair, refBlur(pair.src(), pair.dst(), window),
            [&] { moxBlur(pair.src().header(), pair.dst().header(), window.nCols, window.nRows, 0, 1); },
            [](const ReportRecorder &reports, int mode) {
                if (mode == MOX_TileRead) {
                    EXPECT_TRUE(reports.are({{-4, NAME, "Allocation failure"}}));
                } else {
                    EXPECT_TRUE(reports.are({{-5, NAME, "(dstImage->tileInfo->tileData == 0)"}}));
                }
            });
    });
}

}  // namespace
