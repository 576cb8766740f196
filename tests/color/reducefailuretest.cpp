// The checks of moxReduceBits: each message, its status, its place in the order and the sides of its bound; refused
// memory and tiles.
#include <climits>

#include "color/reducepair.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/tilelog.h"

namespace {

const char NAME[] = "moxReduceBits";

struct Faults {
    static constexpr const char *SOURCE_BITS = "( (srcImage->depth == MOX_DEPTH_1U ))";
    static constexpr const char *SMALLER = "((srcImage->depth& MOX_DEPTH_MASK) < (dstImage->depth& MOX_DEPTH_MASK))";
    static constexpr const char *ORDER = "(srcImage->dataOrder!=dstImage->dataOrder)";
    static constexpr const char *NOISE = "(( noise < 0 ) || ( noise > 100 ))";
    static constexpr const char *ALPHA = "(srcImage->alphaChannel!=dstImage->alphaChannel)";
    static constexpr const char *CHANNELS = "(srcImage->nChannels < dstImage->nChannels)";
    static constexpr const char *DITHER =
        "ditherType != MOX_DITHER_NONE && ditherType != MOX_DITHER_FS && ditherType != MOX_DITHER_JJH && ditherType != "
        "MOX_DITHER_STUCKEY && ditherType != MOX_DITHER_BAYER";
    static constexpr const char *SOURCE_SIGN =
        "!( ( srcImage->depth == MOX_DEPTH_32S ) || ((srcImage->depth & MOX_DEPTH_SIGN)==0))";
    static constexpr const char *DESTINATION_SIGN =
        "!( ( dstImage->depth == MOX_DEPTH_32S ) || ((dstImage->depth & MOX_DEPTH_SIGN)==0))";
    static constexpr const char *FLOAT = "This function does not support depth 32F";
    static constexpr const char *IN_PLACE = "This function isn`t in-plase function";
    static constexpr const char *LEVELS = "You incorrectly have set an amount of levels";
    static constexpr const char *GRAY = " Depth 1u is for Gray, only";
};

struct Case {
    unsigned srcDepth = MOX_DEPTH_8U, dstDepth = MOX_DEPTH_8U;
    int srcChannels = 1, dstChannels = 1, srcAlpha = 0, dstAlpha = 0, srcOrder = 0, dstOrder = 0;
    int noise = 0, dither = MOX_DITHER_NONE, levels = 256;
    bool inPlace = false;
    int srcCoi = 0, dstCoi = 0;
};

void expect(const Case &each, const char *message) {
    TestLayout srcLayout = TestLayout::of(each.srcDepth, 12, 9, each.srcChannels, each.srcOrder);
    TestLayout dstLayout = TestLayout::of(each.dstDepth, 12, 9, each.dstChannels, each.dstOrder);
    srcLayout.alpha = each.srcAlpha;
    dstLayout.alpha = each.dstAlpha;
    if (each.srcCoi) srcLayout.setRoi(each.srcCoi, 0, 0, 12, 9);
    if (each.dstCoi) dstLayout.setRoi(each.dstCoi, 0, 0, 12, 9);
    TestImage src(srcLayout, 1), dst(dstLayout, 2);
    const TestBytes before = dst.bytes(), source = src.bytes();
    ReportRecorder reports;
    moxReduceBits(src.header(), each.inPlace ? src.header() : dst.header(), each.noise, each.dither, each.levels);
    if (!message) {
        EXPECT_TRUE(reports.none());
        return;
    }
    EXPECT_TRUE(reports.are({{-5, NAME, message}}));
    EXPECT_EQ(moxGetErrStatus(), -5);
    EXPECT_TRUE(dst.holds(before));
    EXPECT_TRUE(src.holds(source));
}

TEST(ReduceFailure, headersAreTestedFirst) {
    TestImage src(TestLayout::of(MOX_DEPTH_1U, 12, 9), 1), dst(TestLayout::of(MOX_DEPTH_8S, 12, 9), 2);
    ReportRecorder reports;
    moxReduceBits(nullptr, nullptr, -1, 3, 0);
    moxReduceBits(src.header(), nullptr, -1, 3, 0);
    EXPECT_TRUE(reports.are({{-9, NAME, "Incorrect Image"}, {-9, NAME, "Incorrect Image"}}));
    reports.clear();
    dst.header()->align = 5;
    moxReduceBits(src.header(), dst.header(), -1, 3, 0);
    EXPECT_TRUE(reports.are({{-21, NAME, "Incorrect Image"}}));
    reports.clear();
    src.header()->widthStep = 0;
    moxReduceBits(src.header(), dst.header(), -1, 3, 0);
    EXPECT_TRUE(reports.are({{-13, NAME, "Incorrect Image"}}));
}

// Each check with everything failing that is tested after it and can.
TEST(ReduceFailure, theOrderOfTheChecks) {
    const int badDither = 3, badLevels = 1;
    expect({MOX_DEPTH_1U, MOX_DEPTH_8S, 1, 3, 1, 0, 0, 1, 101, badDither, badLevels}, Faults::SOURCE_BITS);
    expect({MOX_DEPTH_8S, MOX_DEPTH_16S, 1, 3, 1, 0, 0, 1, 101, badDither, badLevels}, Faults::SMALLER);
    expect({MOX_DEPTH_8S, MOX_DEPTH_8S, 1, 3, 1, 0, 0, 1, 101, badDither, badLevels}, Faults::ORDER);
    expect({MOX_DEPTH_8S, MOX_DEPTH_8S, 1, 3, 1, 0, 0, 0, 101, badDither, badLevels}, Faults::NOISE);
    expect({MOX_DEPTH_8S, MOX_DEPTH_8S, 1, 3, 1, 0, 0, 0, 0, badDither, badLevels}, Faults::ALPHA);
    expect({MOX_DEPTH_8S, MOX_DEPTH_8S, 1, 3, 0, 0, 0, 0, 0, badDither, badLevels}, Faults::CHANNELS);
    expect({MOX_DEPTH_8S, MOX_DEPTH_8S, 3, 3, 0, 0, 0, 0, 0, badDither, badLevels}, Faults::DITHER);
    expect({MOX_DEPTH_8S, MOX_DEPTH_8S, 3, 3, 0, 0, 0, 0, 0, 1, badLevels}, Faults::SOURCE_SIGN);
    expect({MOX_DEPTH_8U, MOX_DEPTH_8S, 3, 3, 0, 0, 0, 0, 0, 1, badLevels}, Faults::DESTINATION_SIGN);
    expect({MOX_DEPTH_32F, MOX_DEPTH_32F, 3, 3, 0, 0, 0, 0, 0, 1, badLevels, true}, Faults::FLOAT);
    expect({MOX_DEPTH_8U, MOX_DEPTH_8U, 3, 3, 0, 0, 0, 0, 0, 1, badLevels, true}, Faults::IN_PLACE);
    expect({MOX_DEPTH_8U, MOX_DEPTH_1U, 3, 1, 0, 0, 0, 0, 0, 1, badLevels}, Faults::LEVELS);
    expect({MOX_DEPTH_8U, MOX_DEPTH_1U, 3, 1, 0, 0, 0, 0, 0, 1, 2}, Faults::GRAY);
}

TEST(ReduceFailure, depthsMayNotGrow) {
    for (auto [src, dst, fits] : {std::tuple{MOX_DEPTH_8U, MOX_DEPTH_16U, false},
                                  {MOX_DEPTH_8U, MOX_DEPTH_32S, false},
                                  {MOX_DEPTH_16U, MOX_DEPTH_32S, false},
                                  {MOX_DEPTH_8U, MOX_DEPTH_32F, false},
                                  {MOX_DEPTH_8U, MOX_DEPTH_8U, true},
                                  {MOX_DEPTH_32S, MOX_DEPTH_32S, true},
                                  {MOX_DEPTH_16U, MOX_DEPTH_16U, true},
                                  {MOX_DEPTH_16U, MOX_DEPTH_8U, true},
                                  {MOX_DEPTH_32S, MOX_DEPTH_16U, true}}) {
        Case each;
        each.srcDepth = src;
        each.dstDepth = dst;
        expect(each, fits ? nullptr : Faults::SMALLER);
    }
    Case bits;
    bits.srcDepth = bits.dstDepth = MOX_DEPTH_1U;
    expect(bits, Faults::SOURCE_BITS);
}

TEST(ReduceFailure, noiseIsAPercentage) {
    for (int noise : {0, 1, 99, 100, -1, 101, INT_MIN, INT_MAX}) {
        for (int dither : {MOX_DITHER_NONE, MOX_DITHER_FS}) {
            Case each;
            each.noise = noise;
            each.dither = dither;
            expect(each, noise >= 0 && noise <= 100 ? nullptr : Faults::NOISE);
        }
    }
}

TEST(ReduceFailure, alphaMustAgree) {
    Case both, source, destination;
    both.srcChannels = both.dstChannels = both.srcAlpha = both.dstAlpha = 4;
    source = destination = both;
    source.dstAlpha = 0;
    destination.srcAlpha = 0;
    expect(both, nullptr);
    expect(source, Faults::ALPHA);
    expect(destination, Faults::ALPHA);
    both.srcChannels = both.srcAlpha = 5;
    expect(both, Faults::ALPHA);
}

TEST(ReduceFailure, theSourceMayHaveMoreChannels) {
    for (int src = 1; src <= 4; ++src) {
        for (int dst = 1; dst <= 4; ++dst) {
            Case each;
            each.srcChannels = src;
            each.dstChannels = dst;
            expect(each, src < dst ? Faults::CHANNELS : nullptr);
            // A channel of interest does not help.
            each.srcCoi = each.dstCoi = 1;
            expect(each, src < dst ? Faults::CHANNELS : nullptr);
        }
    }
}

TEST(ReduceFailure, ditherTypesAreOneBitEach) {
    for (int dither = -2; dither <= 40; ++dither) {
        Case each;
        each.dither = dither;
        const bool known = dither == 1 || dither == 2 || dither == 4 || dither == 8 || dither == 16;
        expect(each, known ? nullptr : Faults::DITHER);
    }
    for (int dither : {64, 128, INT_MIN, INT_MAX}) {
        Case each;
        each.dither = dither;
        expect(each, Faults::DITHER);
    }
}

TEST(ReduceFailure, signedEightAndSixteenBitsAreRefused) {
    struct {
        unsigned src, dst;
        const char *message;
    } const cases[] = {{MOX_DEPTH_8S, MOX_DEPTH_8U, Faults::SOURCE_SIGN},
                       {MOX_DEPTH_16S, MOX_DEPTH_8U, Faults::SOURCE_SIGN},
                       {MOX_DEPTH_16S, MOX_DEPTH_16S, Faults::SOURCE_SIGN},
                       {MOX_DEPTH_16U, MOX_DEPTH_16S, Faults::DESTINATION_SIGN},
                       {MOX_DEPTH_16U, MOX_DEPTH_8S, Faults::DESTINATION_SIGN},
                       {MOX_DEPTH_32S, MOX_DEPTH_8S, Faults::DESTINATION_SIGN},
                       {MOX_DEPTH_32S, MOX_DEPTH_16S, Faults::DESTINATION_SIGN},
                       {MOX_DEPTH_32F, MOX_DEPTH_8S, Faults::DESTINATION_SIGN},
                       {MOX_DEPTH_32F, MOX_DEPTH_8U, Faults::FLOAT},
                       {MOX_DEPTH_32F, MOX_DEPTH_32S, Faults::FLOAT},
                       {MOX_DEPTH_32S, MOX_DEPTH_32F, Faults::FLOAT}};
    for (const auto &each : cases) {
        Case call;
        call.srcDepth = each.src;
        call.dstDepth = each.dst;
        SCOPED_TRACE(std::string(depthName(each.src)) + " to " + depthName(each.dst));
        expect(call, each.message);
    }
}

// Two headers over one buffer are two images; the same header is one.
TEST(ReduceFailure, inPlaceIsRefused) {
    for (int dither : {MOX_DITHER_NONE, MOX_DITHER_FS, MOX_DITHER_BAYER}) {
        Case each;
        each.inPlace = true;
        each.dither = dither;
        expect(each, Faults::IN_PLACE);
    }
}

TEST(ReduceFailure, levelsFitTheDestination) {
    struct {
        unsigned src, dst;
        int most;
    } const limits[] = {{MOX_DEPTH_8U, MOX_DEPTH_1U, 2},        {MOX_DEPTH_16U, MOX_DEPTH_1U, 2},
                        {MOX_DEPTH_8U, MOX_DEPTH_8U, 256},      {MOX_DEPTH_16U, MOX_DEPTH_8U, 256},
                        {MOX_DEPTH_16U, MOX_DEPTH_16U, 65536},  {MOX_DEPTH_32S, MOX_DEPTH_16U, 65536},
                        {MOX_DEPTH_32S, MOX_DEPTH_32S, INT_MAX}};
    for (const auto &limit : limits) {
        for (int dither : {MOX_DITHER_NONE, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER}) {
            Case each;
            each.srcDepth = limit.src;
            each.dstDepth = limit.dst;
            each.dither = dither;
            for (int levels : {INT_MIN, -1, 0, 1, 2, limit.most}) {
                each.levels = levels;
                expect(each, levels < 2 ? Faults::LEVELS : nullptr);
            }
            if (limit.most == INT_MAX) continue;
            for (int levels : {limit.most + 1, INT_MAX}) {
                each.levels = levels;
                expect(each, Faults::LEVELS);
            }
        }
    }
}

// A 1-bit destination takes one channel; of several a coi names it.
TEST(ReduceFailure, bitsAreForGrayOnly) {
    Case each;
    each.dstDepth = MOX_DEPTH_1U;
    each.levels = 2;
    expect(each, nullptr);
    for (int channels : {2, 3, 4}) {
        each.srcChannels = channels;
        each.srcCoi = 0;
        expect(each, Faults::GRAY);
        for (int coi = 1; coi <= channels; ++coi) {
            each.srcCoi = coi;
            expect(each, nullptr);
        }
    }
}

TEST(ReduceFailure, aLeftoverStatusDoesNotMatter) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 12, 9), 1), dst(TestLayout::of(MOX_DEPTH_8U, 12, 9), 2);
    const RefResult wanted = refReduceBits({0, MOX_DITHER_FS, 4}, src, dst);
    ReportRecorder reports;
    moxSetErrStatus(-7);
    moxReduceBits(src.header(), dst.header(), 0, MOX_DITHER_FS, 4);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_TRUE(dst.holds(wanted.expected));
}

// Headers that pass the check but cannot be in memory are refused before anything is touched.
TEST(ReduceFailure, headersThatNoMemoryHolds) {
    for (bool onSource : {false, true}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 12, 9), 1), dst(TestLayout::of(MOX_DEPTH_8U, 12, 9), 2);
        const TestBytes before = dst.bytes();
        MoxImage *header = (onSource ? src : dst).header();
        ReportRecorder reports;
        header->width = INT_MAX;
        moxReduceBits(src.header(), dst.header(), 0, MOX_DITHER_FS, 4);
        EXPECT_TRUE(reports.are({{MOX_StatusHeaderWidthStep, NAME, "Incorrect Image"}}));
        reports.clear();
        header->width = 12;
        header->height = INT_MAX;
        moxReduceBits(src.header(), dst.header(), 0, MOX_DITHER_FS, 4);
        EXPECT_TRUE(reports.are({{MOX_StatusHeaderSize, NAME, "Incorrect Image"}}));
        EXPECT_TRUE(dst.holds(before));
    }
}

// After a failure every bit of the destination is what it was or what it should have become.
testing::AssertionResult isBeforeOrAfter(TestImage &destination, const TestBytes &before, const TestBytes &wanted) {
    TestBytes allowed(before.size());
    for (size_t i = 0; i < before.size(); ++i) {
        if (destination.bytes()[i] == before[i]) allowed[i] = 0xFF;
        if (destination.layout().bits() == 1) allowed[i] |= static_cast<uint8_t>(before[i] ^ wanted[i]);
    }
    return destination.holds(wanted, allowed);
}

class ReduceRefusal : public testing::TestWithParam<DepthPair> {};

INSTANTIATE_TEST_SUITE_P(Failure, ReduceRefusal, testing::ValuesIn(allDepthPairs),
                         [](const auto &each) { return depthPairName(each.param); });

// Memory that runs out ends the call without a report, without leaks and without a stray byte, and is in the status.
TEST_P(ReduceRefusal, ofAnyMemoryEndsTheCall) {
    forEachCase(25, [&](Random &random) {
        ReducePairOptions options;
        options.depths = GetParam();
        ReducePair pair(random, options);
        const RefReduce call = drawReduce(random, GetParam(), random.oneIn(2));
        SCOPED_TRACE(refDescribe(call) + "\n" + pair.describe());
        const TestBytes before = pair.dst().bytes(), wanted = refReduceBits(call, pair.src(), pair.dst()).expected;
        pair.keep();
        for (int failAt = 1;; ++failAt) {
            ASSERT_LT(failAt, 2000);
            SCOPED_TRACE("allocation " + std::to_string(failAt));
            ReportRecorder reports;
            TileLog log;
            AllocationWindow window(failAt);
            pair.run(call);
            window.close();
            EXPECT_EQ(window.live(), 0) << "leaked blocks";
            EXPECT_TRUE(log.paired());
            EXPECT_TRUE(pair.restIsUntouched());
            EXPECT_TRUE(isBeforeOrAfter(pair.dst(), before, wanted));
            // The mask that combines several is an image, whose allocation reports.
            for (const ReportSeen &report : reports.seen)
                EXPECT_EQ(report.status, -4) << reports.text();
            EXPECT_EQ(moxGetErrStatus(), window.refused() ? -4 : 0);
            EXPECT_TRUE(window.refused() || pair.dst().holds(wanted));
            EXPECT_TRUE(pair.dst().holds(wanted) || moxGetErrStatus() == MOX_StatusNoMemory);
            pair.restore();
            if (!window.refused() || HasFailure()) return;
        }
    });
}

TEST_P(ReduceRefusal, ofAnyTileIsReported) {
    forEachCase(25, [&](Random &random) {
        ReducePairOptions options;
        options.depths = GetParam();
        options.tiled[0] = random.below(2);
        options.tiled[1] = options.tiled[0] ? random.below(2) : 1;
        options.maxHeight = 40;
        ReducePair pair(random, options);
        const RefReduce call = drawReduce(random, GetParam(), random.oneIn(2));
        SCOPED_TRACE(refDescribe(call) + "\n" + pair.describe());
        const TestBytes before = pair.dst().bytes(), wanted = refReduceBits(call, pair.src(), pair.dst()).expected;
        pair.keep();
        for (int refuseAt = 1;; ++refuseAt) {
            ASSERT_LT(refuseAt, 2000);
            SCOPED_TRACE("tile request " + std::to_string(refuseAt));
            ReportRecorder reports;
            TileLog log(refuseAt);
            AllocationWindow window;
            pair.run(call);
            window.close();
            EXPECT_EQ(window.live(), 0) << "leaked blocks";
            EXPECT_TRUE(log.clean());
            pair.abandonTiles();
            EXPECT_TRUE(pair.restIsUntouched());
            EXPECT_TRUE(isBeforeOrAfter(pair.dst(), before, wanted));
            if (log.refused()) {
                EXPECT_TRUE(reports.are({{-5, NAME,
                                          log.refusedImage() == &pair.src() ? "(srcImage->tileInfo->tileData == 0)"
                                                                            : "(dstImage->tileInfo->tileData == 0)"}}));
            } else {
                EXPECT_TRUE(reports.none());
                EXPECT_TRUE(pair.dst().holds(wanted));
            }
            pair.restore();
            if (!log.refused() || HasFailure()) return;
        }
    });
}

}  // namespace
