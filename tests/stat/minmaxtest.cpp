// moxMinMaxFP: against the model, what it leaves out, and every report with its order.
#include <bit>
#include <cmath>

#include "stat/statcheck.h"

namespace {

constexpr const char *NAME = "moxMinMaxFP";
const float UNTOUCHED = -12345.5f;

struct Bounds {
    float min = UNTOUCHED, max = UNTOUCHED;
    MoxStatus of(TestImage &image) { return moxMinMaxFP(image.header(), &min, &max); }
    bool areUntouched() const { return min == UNTOUCHED && max == UNTOUCHED; }
};

void checkMinMax(TestImage &image) {
    const RefMinMax wanted = refMinMax(image);
    Bounds got;
    MoxStatus status;
    checkCall(
        {&image}, nullptr, [&] { status = (got = {}).of(image); },
        [&] {
            EXPECT_EQ(status, 0);
            if (wanted.none) {
                EXPECT_TRUE(got.areUntouched());
            } else if (wanted.allNaN) {
                EXPECT_TRUE(std::isnan(got.min) && std::isnan(got.max));
            } else {
                EXPECT_EQ(std::bit_cast<uint32_t>(got.min), wanted.min);
                EXPECT_EQ(std::bit_cast<uint32_t>(got.max), wanted.max);
            }
        });
}

void checkScene(Random &random, SceneOptions options) {
    options.images = 1;
    options.depth = MOX_DEPTH_32F;
    Scene scene(random, options);
    SCOPED_TRACE(scene.describe());
    if (random.oneIn(2)) drawModerate(random, scene[0]);
    checkMinMax(scene[0]);
}

TEST(MinMax, agreesWithTheModelOverRandomLayouts) {
    forEachCase(900, [](Random &random) { checkScene(random, {}); });
}

TEST(MinMax, agreesWithTheModelOnTiles) {
    forEachCase(300, [](Random &random) { checkScene(random, {.tiledAlways = true}); });
}

TEST(MinMax, isRightAtEveryLengthAndPlace) {
    for (int width = 1; width <= 100; ++width) {
        for (int place = 0; place < width; ++place) {
            TestImage image(TestLayout::of(MOX_DEPTH_32F, width, 1));
            image.setAll(std::bit_cast<uint32_t>(1.0f));
            image.set(0, place, 0, std::bit_cast<uint32_t>(place % 2 ? 2.0f : -3.0f));
            Bounds got;
            forEachCpuLevel([&] {
                EXPECT_EQ((got = {}).of(image), 0);
                EXPECT_EQ(got.min, place % 2 && width > 1 ? 1.0f : place % 2 ? 2.0f : -3.0f);
                EXPECT_EQ(got.max, place % 2 ? 2.0f : width > 1 ? 1.0f : -3.0f);
            });
            if (HasFailure()) return;
        }
    }
}

TEST(MinMax, oneElementIsBoth) {
    TestImage image(TestLayout::of(MOX_DEPTH_32F, 1, 1));
    image.setAll(std::bit_cast<uint32_t>(7.25f));
    Bounds got;
    EXPECT_EQ(got.of(image), 0);
    EXPECT_EQ(got.min, 7.25f);
    EXPECT_EQ(got.max, 7.25f);
}

TEST(MinMax, notANumberIsLeftOutUnlessAllAre) {
    for (int width = 1; width <= 40; ++width) {
        TestImage image(TestLayout::of(MOX_DEPTH_32F, width, 1));
        image.setAll(0x7FC00000);
        checkMinMax(image);
        image.setAll(0xFFC12345);
        image.set(0, width - 1, 0, std::bit_cast<uint32_t>(-4.0f));
        checkMinMax(image);
        image.setAll(0x7F800001);
        image.set(0, 0, 0, std::bit_cast<uint32_t>(-4.0f));
        checkMinMax(image);
    }
}

TEST(MinMax, aMaskMakesNoDifference) {
    TestImage image(TestLayout::of(MOX_DEPTH_32F, 30, 6), 3), mask(TestLayout::ofMask(2, 1));
    mask.setAll(0);
    image.setMask(&mask);
    checkMinMax(image);
}

TEST(MinMax, alphaIsIgnored) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_32F, 30, 6, 2);
    layout.alpha = 2;
    for (int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        layout.order = order;
        TestImage image(layout, 3);
        image.set(0, 3, 3, std::bit_cast<uint32_t>(5.0f));
        image.set(1, 4, 4, 0x7F800000);
        checkMinMax(image);
    }
}

TEST(MinMax, alphaAloneAndEmptyRegionsStoreNothing) {
    TestLayout alpha = TestLayout::of(MOX_DEPTH_32F, 8, 8), region = alpha, named = alpha, beyond = alpha;
    alpha.alpha = region.alpha = named.alpha = 1;
    region.setRoi(0, 1, 1, 4, 4);
    named.setRoi(1, 1, 1, 4, 4);
    beyond.setRoi(0, 0, 8, 4, 4);
    for (const TestLayout &layout : {alpha, region, beyond}) {
        TestImage image(layout);
        ReportRecorder reports;
        Bounds got;
        EXPECT_EQ(got.of(image), 0);
        EXPECT_TRUE(got.areUntouched());
        EXPECT_TRUE(reports.none());
    }
    TestImage image(named, 3);
    checkMinMax(image);
}

void expectReport(MoxImage *image, float *min, float *max, MoxStatus status, const char *message) {
    SCOPED_TRACE(message);
    ReportRecorder reports;
    EXPECT_EQ(moxMinMaxFP(image, min, max), -5);
    EXPECT_TRUE(reports.are({{status, NAME, message}}));
    EXPECT_EQ(moxGetErrStatus(), status);
}

// Whatever the header's fault is, -5 is returned.
TEST(MinMaxFailure, isReportedInTheOrderOfTheTests) {
    TestImage bytes(TestLayout::of(MOX_DEPTH_8U, 8, 8)), whole(TestLayout::of(MOX_DEPTH_32S, 8, 8));
    Bounds got;
    expectReport(bytes.header(), &got.min, &got.max, -5, "(srcImage->depth != 32)");
    expectReport(whole.header(), &got.min, &got.max, -5, "(srcImage->depth != 32)");
    expectReport(bytes.header(), nullptr, &got.max, -5, "((min == 0)||(max == 0))");
    expectReport(bytes.header(), &got.min, nullptr, -5, "((min == 0)||(max == 0))");
    expectReport(bytes.header(), nullptr, nullptr, -5, "((min == 0)||(max == 0))");
    bytes.header()->align = 3;
    expectReport(bytes.header(), nullptr, nullptr, -21, "Incorrect Image");
    expectReport(nullptr, nullptr, nullptr, -9, "Incorrect Image");
    // The mask is not looked at, but its header is checked.
    TestImage image(TestLayout::of(MOX_DEPTH_32F, 8, 8)), mask(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    image.setMask(&mask);
    expectReport(image.header(), &got.min, &got.max, -117, "Incorrect Image");
    EXPECT_TRUE(got.areUntouched());
}

TEST(MinMaxFailure, aLeftoverStatusDoesNotStopTheCall) {
    TestImage image(TestLayout::of(MOX_DEPTH_32F, 8, 8));
    ReportRecorder reports;
    moxSetErrStatus(-7);
    Bounds got;
    EXPECT_EQ(got.of(image), 0);
    EXPECT_FALSE(got.areUntouched());
    EXPECT_EQ(moxGetErrStatus(), -7);
}

}  // namespace
