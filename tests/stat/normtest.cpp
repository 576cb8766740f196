// moxNorm: against the model, the edges of its definition, and every report with its order.
#include <cmath>

#include "stat/statcheck.h"

namespace {

constexpr const char *NAME = "moxNorm";
const int normTypes[] = {MOX_NORM_C,
                         MOX_NORM_L1,
                         MOX_NORM_L2,
                         MOX_NORM_C + MOX_NORM_RELATIVE,
                         MOX_NORM_L1 + MOX_NORM_RELATIVE,
                         MOX_NORM_L2 + MOX_NORM_RELATIVE};

class Norm : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Depth, Norm, testing::ValuesIn(allDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

// Integers exactly; where a sum is rounded from term to term within what that can come to.
bool agrees(unsigned depth, int normType, double got, const RefNorm &wanted) {
    const bool isSum = (normType & 7) != MOX_NORM_C;
    const bool isRounded = depth == MOX_DEPTH_32F || (depth == MOX_DEPTH_32S && (normType & MOX_NORM_L2));
    if (sameBits(got, wanted.value)) return true;
    return isSum && isRounded && std::fabs(got - wanted.value) <= 1e-13 * wanted.value;
}

void checkNorm(TestImage &a, TestImage *b, int normType) {
    SCOPED_TRACE("norm type " + std::to_string(normType));
    const RefNorm wanted = refNorm(a, b, normType);
    const std::vector<TestImage *> images = b ? std::vector<TestImage *>{&a, b} : std::vector<TestImage *>{&a};
    double first = 0;
    bool hasFirst = false;
    KeptImages kept;
    kept.keep(images);
    forEachCpuLevel([&] {
        ReportRecorder reports;
        TileLog log;
        AllocationWindow window;
        const double got = moxNorm(a.header(), b ? b->header() : nullptr, normType);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(log.paired());
        EXPECT_TRUE(agrees(a.layout().depth, normType, got, wanted)) << got << ", expected " << wanted.value;
        if (wanted.isMarker()) {
            EXPECT_TRUE(reports.are({{wanted.status, NAME, wanted.message}}));
        } else {
            EXPECT_TRUE(reports.none());
        }
        if (!hasFirst) first = got;
        hasFirst = true;
        EXPECT_TRUE(sameBits(got, first)) << "the levels differ";
    });
    TestImage other(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    EXPECT_TRUE(kept.othersAreUntouched(other));
}

bool haveCoi(TestImage &image) {
    return image.layout().hasRoi && image.layout().roi.coi > 0;
}

void checkScene(Random &random, unsigned depth, const SceneOptions &given) {
    SceneOptions options = given;
    options.images = 2;
    options.depth = depth;
    Scene scene(random, options);
    SCOPED_TRACE(scene.describe());
    if (!random.oneIn(3)) {
        for (TestImage *image : scene.entries())
            drawModerate(random, *image);
    }
    const bool two = !random.oneIn(4);
    if (two && haveCoi(scene[0]) != haveCoi(scene[1])) {
        ReportRecorder reports;
        EXPECT_EQ(moxNorm(scene[0].header(), scene[1].header(), MOX_NORM_L1), 0.0);
        EXPECT_TRUE(
            reports.are({{-24, NAME, "COI should be defined for second image if COI is defined for the first one"}}));
        return;
    }
    for (int normType : normTypes) {
        if (two || !(normType & MOX_NORM_RELATIVE)) checkNorm(scene[0], two ? &scene[1] : nullptr, normType);
        if (testing::Test::HasFailure()) return;
    }
}

TEST_P(Norm, agreesWithTheModelOverRandomLayouts) {
    forEachCase(180, [&](Random &random) { checkScene(random, GetParam(), {}); });
}

TEST_P(Norm, agreesWithTheModelOnTiles) {
    forEachCase(90, [&](Random &random) { checkScene(random, GetParam(), {.tiledAlways = true}); });
}

TEST_P(Norm, agreesWithTheModelOnWideRows) {
    forEachCase(36, [&](Random &random) { checkScene(random, GetParam(), {.maxWidth = 900, .maxHeight = 3}); });
}

TEST_P(Norm, isRightAtEveryLength) {
    Random random(testSeed());
    for (int width = 1; width <= 100; ++width) {
        TestImage a(TestLayout::of(GetParam(), width, 2), random.next()),
            b(TestLayout::of(GetParam(), width, 2), random.next());
        drawModerate(random, a);
        drawModerate(random, b);
        for (int normType : normTypes)
            checkNorm(a, &b, normType);
        checkNorm(a, nullptr, MOX_NORM_L2);
        if (HasFailure()) return;
    }
}

// Rows whose sums pass 32 bits: of every sample the largest there is, and of differences twice that.
TEST_P(Norm, sumsDoNotOverflow) {
    const int width = 70000;
    TestImage a(TestLayout::of(GetParam(), width, 1)), b(TestLayout::of(GetParam(), width, 1));
    const unsigned depth = GetParam();
    const bool isSigned = (depth & MOX_DEPTH_SIGN) != 0;
    const uint32_t top = isSigned ? 1u << (a.layout().bits() - 1) : 0xFFFFFFFFu;
    a.setAll(depth == MOX_DEPTH_32F ? 0x477FFF00u : top);
    b.setAll(depth == MOX_DEPTH_32F ? 0xC77FFF00u : isSigned ? ~top : 0u);
    for (int normType : {MOX_NORM_C, MOX_NORM_L1, MOX_NORM_L2})
        checkNorm(a, &b, normType), checkNorm(a, nullptr, normType);
    for (int normType : {9, 10, 12})
        checkNorm(b, &a, normType);
}

TEST_P(Norm, ofAnImageWithItselfIsZero) {
    TestImage image(TestLayout::of(GetParam(), 20, 5), 3);
    Random random(4);
    drawModerate(random, image);
    for (int normType : normTypes) {
        ReportRecorder reports;
        EXPECT_EQ(moxNorm(image.header(), image.header(), normType), 0.0);
        EXPECT_TRUE(reports.none());
        image.setAll(0);
        EXPECT_EQ(moxNorm(image.header(), image.header(), normType), normType & MOX_NORM_RELATIVE ? -1.0 : 0.0);
        EXPECT_TRUE(normType & MOX_NORM_RELATIVE ? reports.are({{-5, NAME, "Zero divided"}}) : reports.none());
        image.drawSamples(3);
        drawModerate(random, image);
    }
}

TEST(NormEdges, theAbsoluteValueOfTheLowestSampleLeavesTheType) {
    for (const auto &[depth, bits] : {std::pair{MOX_DEPTH_8S, 7}, {MOX_DEPTH_16S, 15}, {MOX_DEPTH_32S, 31}}) {
        TestImage image(TestLayout::of(depth, 8, 8)), other(TestLayout::of(depth, 8, 8));
        image.setAll(1u << bits);
        other.setAll((1u << bits) - 1);
        const double lowest = std::ldexp(1.0, bits);
        EXPECT_EQ(moxNorm(image.header(), nullptr, MOX_NORM_C), lowest);
        EXPECT_EQ(moxNorm(image.header(), nullptr, MOX_NORM_L1), 64 * lowest);
        EXPECT_EQ(moxNorm(image.header(), other.header(), MOX_NORM_C), 2 * lowest - 1);
        EXPECT_EQ(moxNorm(other.header(), image.header(), MOX_NORM_C + MOX_NORM_RELATIVE), (2 * lowest - 1) / lowest);
    }
}

// Zero channels, and areas of no size or where the mask lets nothing through.
TEST(NormEdges, nothingMeasuresZero) {
    for (unsigned depth : allDepths) {
        TestLayout alpha = TestLayout::of(depth, 8, 8), beyond = alpha;
        alpha.alpha = 1;
        beyond.setRoi(0, 8, 0, 4, 4);
        TestImage one(alpha), empty(beyond), image(TestLayout::of(depth, 8, 8)), mask(TestLayout::ofMask(8, 8));
        ReportRecorder reports;
        for (int normType : normTypes) {
            if (!(normType & MOX_NORM_RELATIVE)) {
                EXPECT_EQ(moxNorm(one.header(), nullptr, normType), 0.0);
                EXPECT_EQ(moxNorm(empty.header(), nullptr, normType), 0.0);
            }
            EXPECT_EQ(moxNorm(empty.header(), image.header(), normType), 0.0);
            EXPECT_EQ(moxNorm(image.header(), empty.header(), normType), 0.0);
        }
        mask.setAll(0);
        image.setMask(&mask);
        EXPECT_EQ(moxNorm(image.header(), nullptr, MOX_NORM_L2), 0.0);
        EXPECT_TRUE(reports.none());
    }
}

TEST(NormEdges, planesGiveWhatPixelsGive) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
        TestImage pixel(TestLayout::of(depth, 33, 9, 3), 5),
            plane(TestLayout::of(depth, 33, 9, 3, MOX_DATA_ORDER_PLANE), 5);
        for (int normType : {MOX_NORM_C, MOX_NORM_L1})
            EXPECT_EQ(moxNorm(pixel.header(), nullptr, normType), moxNorm(plane.header(), nullptr, normType));
    }
}

void expectReport(MoxImage *a, MoxImage *b, int normType, MoxStatus status, const char *message, double result = 0.0) {
    SCOPED_TRACE(message);
    ReportRecorder reports;
    EXPECT_EQ(moxNorm(a, b, normType), result);
    EXPECT_TRUE(reports.are({{status, NAME, message}}));
    EXPECT_EQ(moxGetErrStatus(), status);
}

// Of several faults the one that is tested first is reported, and no other.
TEST(NormFailure, isReportedInTheOrderOfTheTests) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 10, 10);
    layout.extraStride = 200;  // a header's fields are changed alone
    TestImage a(layout, 1), b(layout, 2);
    MoxImage &ha = *a.header(), &hb = *b.header();
    MoxROI roi = {1, 0, 0, 10, 10};
    hb.roi = &roi;
    expectReport(&ha, &hb, 1, -24, "COI should be defined for second image if COI is defined for the first one");
    hb.roi = nullptr;
    ha.roi = &roi;
    expectReport(&ha, &hb, 1, -24, "COI should be defined for second image if COI is defined for the first one");
    ha.roi = nullptr;
    hb.nChannels = 2;
    expectReport(&ha, &hb, 1, -15, "nChannelsA != nChannelsB");
    hb.origin = 5;
    expectReport(&ha, &hb, 1, -20, "Incorrect Image");
    expectReport(&ha, nullptr, 9, -5, "normType is impossible, no second image");
    expectReport(&ha, nullptr, 10, -5, "normType is impossible, no second image");
    expectReport(&ha, nullptr, 12, -5, "normType is impossible, no second image");
    expectReport(&ha, &hb, 3, -5, "Unknown normType");
    hb.origin = 0;
    hb.depth = MOX_DEPTH_8S;
    expectReport(&ha, &hb, 3, -5, "(srcImageA->depth!=srcImageB->depth)");
    hb.align = 7;
    expectReport(&ha, &hb, 3, -21, "Incorrect Image");
    hb.dataOrder = MOX_DATA_ORDER_PLANE;
    expectReport(&ha, &hb, 3, -19, "DataOrder_A!=DataOrder_B");
    ha.width = 0;
    expectReport(&ha, &hb, 3, -10, "Incorrect Image");
    expectReport(nullptr, &hb, 3, -9, "Incorrect Image");
}

TEST(NormFailure, sixTypesAreKnown) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 10, 10), 1), b(TestLayout::of(MOX_DEPTH_8U, 10, 10), 2);
    for (int type : {0, 3, 5, 6, 7, 8, 11, 13, 14, 15, 16, 17, -1, -2, 0x7FFFFFFF})
        expectReport(a.header(), b.header(), type, -5, "Unknown normType"),
            expectReport(a.header(), nullptr, type, -5, "Unknown normType");
}

// A report function that takes the status back lets the call go on after the faults that allow it: what can be measured
// is, and a type that there is none of ends the call with a blank message.
std::vector<std::string> forgiven;
MoxStatus MOX_CALL forgive(MoxStatus, const char *, const char *message, const char *, int) {
    forgiven.push_back(message);
    moxSetErrStatus(MOX_StatusNoError);
    return MOX_StatusNoError;
}

TEST(NormFailure, aReportFunctionMayLetTheCallGoOn) {
    TestImage pixels(TestLayout::of(MOX_DEPTH_8U, 10, 10), 1), same(TestLayout::of(MOX_DEPTH_8U, 10, 10), 2),
        three(TestLayout::of(MOX_DEPTH_8U, 10, 10, 3), 3);
    MoxImage &one = *pixels.header(), &other = *same.header(), &colour = *three.header();
    MoxROI first = {1, 0, 0, 10, 10};
    one.roi = colour.roi = &first;
    const double ofFirst = moxNorm(&one, &colour, MOX_NORM_L1);
    EXPECT_GT(ofFirst, 0.0);
    one.roi = nullptr;
    const double wanted = moxNorm(&one, &other, MOX_NORM_L1);
    EXPECT_GT(wanted, 0.0);

    MoxErrorCallback before = moxRedirectError(forgive);
    const auto expect = [&](double value, double right, const std::vector<std::string> &messages) {
        EXPECT_EQ(value, right);
        EXPECT_EQ(forgiven, messages);
        forgiven.clear();
    };
    const char *const coi = "COI should be defined for second image if COI is defined for the first one";
    expect(moxNorm(&one, &colour, MOX_NORM_L1), ofFirst, {coi});
    colour.roi = nullptr;
    expect(moxNorm(&one, &colour, MOX_NORM_L1), ofFirst, {"nChannelsA != nChannelsB"});
    other.dataOrder = MOX_DATA_ORDER_PLANE;
    expect(moxNorm(&one, &other, MOX_NORM_L1), wanted, {"DataOrder_A!=DataOrder_B"});
    expect(moxNorm(&one, nullptr, 3), 0.0, {"Unknown normType", " "});
    expect(moxNorm(&one, nullptr, 10), 0.0, {"normType is impossible, no second image", " "});
    moxRedirectError(before);
}

// Orders are compared before anything is known of B, and also where there is one channel.
TEST(NormFailure, ordersAreComparedEvenOfOneChannel) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 10, 10), 1),
        b(TestLayout::of(MOX_DEPTH_8U, 10, 10, 1, MOX_DATA_ORDER_PLANE), 2);
    expectReport(a.header(), b.header(), 1, -19, "DataOrder_A!=DataOrder_B");
    expectReport(b.header(), a.header(), 1, -19, "DataOrder_A!=DataOrder_B");
}

TEST(NormFailure, aLeftoverStatusDoesNotStopTheCall) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 10, 10), 1), mask(TestLayout::ofMask(10, 10), 2),
        mask2(TestLayout::ofMask(10, 10), 3), b(TestLayout::of(MOX_DEPTH_8U, 10, 10), 4);
    a.setMask(&mask);
    b.setMask(&mask2);
    ReportRecorder reports;
    moxSetErrStatus(-7);
    EXPECT_EQ(moxNorm(a.header(), b.header(), MOX_NORM_L1), refNorm(a, &b, MOX_NORM_L1).value);
    EXPECT_EQ(moxNorm(a.header(), nullptr, MOX_NORM_L1), refNorm(a, nullptr, MOX_NORM_L1).value);
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_TRUE(reports.none());
}

}  // namespace
