// Every allocation and every tile of every measure refused in turn.
#include "stat/statcheck.h"

namespace {

SceneOptions optionsOf(Random &random, int images, unsigned depth) {
    SceneOptions options;
    options.images = images;
    options.depth = depth;
    options.sameOrigin = true;
    options.tiledAlways = random.oneIn(2);
    options.maxWidth = 40;
    return options;
}

// The only report, but for that of a temporary mask's pixels before it.
testing::AssertionResult isTold(const ReportRecorder &reports, const ReportExpected &expected) {
    if (reports.seen.size() == 2 && reports.seen[0].function == "moxAllocateImage") {
        return reports.are({{-4, "moxAllocateImage", "for allocate image data"}, expected});
    }
    return reports.are({expected});
}

bool haveCoi(TestImage &image) {
    return image.layout().hasRoi && image.layout().roi.coi > 0;
}

bool haveMask(Scene &scene) {
    return scene[0].mask() || scene[1].mask();
}

TEST(Refusal, ofNorms) {
    forEachCase(180, [](Random &random) {
        Scene scene(random, optionsOf(random, 2, 0));
        if (haveCoi(scene[0]) != haveCoi(scene[1])) return;
        SCOPED_TRACE(scene.describe());
        double result = 0;
        const int normType = random.oneIn(2) ? MOX_NORM_L1 : MOX_NORM_C;
        checkRefusals(
            {&scene[0], &scene[1]}, nullptr, [&] { result = moxNorm(scene[0].header(), scene[1].header(), normType); },
            [&](const ReportRecorder &reports, int mode) {
                if (result == -3.0 || mode != 0) {
                    EXPECT_EQ(result, -3.0);
                    EXPECT_TRUE(isTold(reports, {-4, "moxNorm", "No memory for create intermediate image"}));
                } else {
                    EXPECT_EQ(result, 0.0);
                    EXPECT_TRUE(isTold(reports, {-9, "moxNorm", "Null pointer for mask"}));
                }
            });
    });
}

TEST(Refusal, ofMinimumAndMaximum) {
    forEachCase(180, [](Random &random) {
        Scene scene(random, optionsOf(random, 1, MOX_DEPTH_32F));
        SCOPED_TRACE(scene.describe());
        MoxStatus status = 0;
        float min = 0, max = 0;
        checkRefusals(
            {&scene[0]}, nullptr,
            [&] {
                min = max = -77.0f;
                status = moxMinMaxFP(scene[0].header(), &min, &max);
            },
            [&](const ReportRecorder &reports, int) {
                EXPECT_EQ(status, -5);
                EXPECT_TRUE(reports.are({{-5, "moxMinMaxFP", "(srcImage->tileInfo->tileData == NULL)"}}));
                EXPECT_TRUE(min == -77.0f && max == -77.0f);
            });
    });
}

TEST(Refusal, ofMoments) {
    forEachCase(180, [](Random &random) {
        Scene scene(random, optionsOf(random, 1, 0));
        TestImage &image = scene[0];
        if (image.layout().channels > 1 && !haveCoi(image)) return;
        SCOPED_TRACE(scene.describe());
        MoxMomentState state;
        checkRefusals(
            {&image}, nullptr, [&] { moxMoments(image.header(), state); },
            [&](const ReportRecorder &reports, int mode) {
                EXPECT_EQ(mode, MOX_TileRead);
                EXPECT_TRUE(reports.are({{-2, "moxMoments", "Error get tile to read"}}));
            });
        double result = 0;
        checkRefusals(
            {&image}, nullptr, [&] { result = moxCentralMoment(image.header(), 2, 0); },
            [&](const ReportRecorder &reports, int) {
                ASSERT_EQ(reports.seen.size(), 1u) << reports.text();
                EXPECT_EQ(reports.seen[0].status, -2);
                EXPECT_EQ(reports.seen[0].message, "Error get tile to read");
                EXPECT_EQ(result, 0.0);
            });
    });
}

TEST(Refusal, ofComparisons) {
    forEachCase(240, [](Random &random) {
        Scene scene(random, optionsOf(random, 2, 0));
        TestLayout layout = drawMaskLayout(random, scene[0].layout().width, scene[0].layout().height);
        layout.extraStride = 0;
        drawPlacement(random, layout, random.below(2));
        TestImage res(layout, 5), mask(TestLayout::ofMask(60, 20), 6);
        if (random.oneIn(2)) res.setMask(&mask);
        SCOPED_TRACE(scene.describe() + layout.describe());
        const TestBytes expected = refCompare({&scene[0], &scene[1]}, res, refGreater());
        MoxStatus status = 0;
        const TestBytes before = res.bytes();
        checkRefusals(
            {&scene[0], &scene[1], &res}, &res,
            [&] {
                status = moxGreater(scene[0].header(), scene[1].header(), res.header());
                // A bit is what it was or what it should have become.
                for (size_t i = 0; i < before.size() && !layout.transientTiles; ++i)
                    EXPECT_EQ((res.bytes()[i] ^ before[i]) & (res.bytes()[i] ^ expected[i]), 0);
            },
            [&](const ReportRecorder &reports, int mode) {
                if (mode == MOX_TileWrite) {
                    EXPECT_EQ(status, -2);
                    EXPECT_TRUE(reports.are({{-2, "moxGreater", "Error get tile to write"}}));
                } else {
                    EXPECT_EQ(status, -4);
                    EXPECT_TRUE(isTold(reports, {-4, "moxGreater", "Allocation failure"}));
                }
            });
    });
}

TEST(Refusal, ofHistograms) {
    forEachCase(180, [](Random &random) {
        static const unsigned depths[] = {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U};
        Scene scene(random, optionsOf(random, 1, depths[random.below(3)]));
        SCOPED_TRACE(scene.describe());
        const RefTable table = {{0, 1, 2}, {7, 8, 9}, {1, 2, 3}, 4};
        TableSet set(scene[0].layout(), std::vector<RefTable>(static_cast<size_t>(scene[0].layout().channels), table));
        bool refused = false;
        checkRefusals(
            {&scene[0]}, nullptr,
            [&] {
                for (RefTable &each : set.tables)
                    std::copy(table.value.begin(), table.value.end(), each.value.begin());
                moxComputeHisto(scene[0].header(), set.pointers());
            },
            [&](const ReportRecorder &reports, int mode) {
                refused = true;
                EXPECT_TRUE(mode ? reports.are({{-2, "moxComputeHisto", "Error get tile to read"}})
                                 : reports.are({{-4, "moxComputeHisto", ""}}))
                    << mode;
                for (const RefTable &each : set.tables)
                    EXPECT_EQ(each.value, table.value);
            });
        // There is always memory to refuse, if there is anything to count.
        EXPECT_TRUE(refused || scene[0].layout().regionWidth() == 0 || scene[0].layout().regionHeight() == 0 ||
                    scene[0].mask());
    });
}

TEST(Refusal, ofMaps) {
    forEachCase(240, [](Random &random) {
        Scene scene(random, optionsOf(random, 2, random.oneIn(2) ? MOX_DEPTH_8U : MOX_DEPTH_16U));
        SCOPED_TRACE(scene.describe());
        const bool equalizes = random.oneIn(2);
        const RefTable table = {{0, 100, 256}, {700, 8, 9}, {1, 2, 3}, 4};
        TableSet set(scene[0].layout(), std::vector<RefTable>(static_cast<size_t>(scene[0].layout().channels), table));
        const char *const name = equalizes ? "moxHistoEqualize" : "moxContrastStretch";
        checkRefusals(
            {&scene[0], &scene[1]}, &scene[1],
            [&] {
                (equalizes ? moxHistoEqualize : moxContrastStretch)(scene[0].header(), scene[1].header(),
                                                                    set.pointers());
            },
            [&](const ReportRecorder &reports, int mode) {
                ASSERT_FALSE(reports.seen.empty());
                if (mode) {
                    EXPECT_TRUE(reports.are(
                        {{-2, "moxMap", mode == MOX_TileRead ? "Error get tile to read" : "Error get tile to write"}}));
                } else {
                    // The maps' own memory, or that of a mask, which fails the step that applies them.
                    const ReportSeen &last = reports.seen.back();
                    EXPECT_TRUE(last.status == -4 || last.status == -1) << reports.text();
                    EXPECT_EQ(last.message, "") << reports.text();
                    EXPECT_EQ(last.function, name) << reports.text();
                    EXPECT_TRUE(last.status == -4 ? reports.seen.size() == 1 : haveMask(scene)) << reports.text();
                }
            });
    });
}

}  // namespace
