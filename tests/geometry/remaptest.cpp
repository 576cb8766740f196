// Remapping: results that are told, and every report in its order.
#include <bit>
#include <cmath>
#include <limits>

#include "filter/filtercheck.h"
#include "geometry/warppair.h"

namespace {

constexpr const char *INCORRECT = "Incorrect Image";
constexpr const char *DEPTHS = "srcImage->depth != dstImage->depth";
constexpr const char *ORIGINS = "srcImage->origin != dstImage->origin";
constexpr const char *ORDERS = "srcImage->dataOrder != dstImage->dataOrder";
constexpr const char *SIGN = "(srcImage->depth & MOX_DEPTH_SIGN)";
constexpr const char *X_MAP = "xMap->depth != MOX_DEPTH_32F || xMap->nChannels != 1 || xMap->alphaChannel != 0";
constexpr const char *Y_MAP = "yMap->depth != MOX_DEPTH_32F || yMap->nChannels != 1 || yMap->alphaChannel != 0";
constexpr const char *IN_PLACE = "This function is not in-place function";
constexpr const char *KIND =
    "interpolate != MOX_INTER_NN && interpolate != MOX_INTER_LINEAR && interpolate != MOX_INTER_CUBIC";
constexpr const char *CHANNELS = "Number of processed channels of srcImage != Number of processed channels of dstImage";

constexpr uint32_t OLD = 7;

// One pixel of the destination for each position, in a row.
struct Positions {
    std::vector<float> x, y;
    TestImage xMap, yMap;
    Positions(const std::vector<float> &xs, const std::vector<float> &ys)
        : x(xs),
          y(ys),
          xMap(TestLayout::of(MOX_DEPTH_32F, size(), 1), 1),
          yMap(TestLayout::of(MOX_DEPTH_32F, size(), 1), 2) {
        for (int i = 0; i < size(); ++i) {
            xMap.set(0, i, 0, std::bit_cast<uint32_t>(x[static_cast<size_t>(i)]));
            yMap.set(0, i, 0, std::bit_cast<uint32_t>(y[static_cast<size_t>(i)]));
        }
    }
    int size() const { return static_cast<int>(x.size()); }
    std::vector<uint32_t> remap(TestImage &src, int interpolate) {
        TestImage dst(TestLayout::of(src.layout().depth, size(), 1), 3);
        dst.setAll(OLD);
        ReportRecorder reports;
        moxRemap(src.header(), xMap.header(), yMap.header(), dst.header(), interpolate);
        EXPECT_TRUE(reports.none());
        std::vector<uint32_t> result;
        for (int i = 0; i < size(); ++i)
            result.push_back(dst.get(0, i, 0));
        return result;
    }
};

using Values = std::vector<uint32_t>;

// A source of 10 times the column and 50 times the row.
TestImage &slope(TestImage &image) {
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x)
            image.set(0, x, y, static_cast<uint32_t>(10 * x + 50 * y));
    }
    return image;
}

TEST(RemapImage, positionsWithASignOrWithoutANumberLeaveThePixel) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 6, 4), 1);
    slope(src);
    const float none = std::numeric_limits<float>::quiet_NaN(), endless = std::numeric_limits<float>::infinity();
    for (int kind = 0; kind < 3; ++kind) {
        Positions columns(
            {0.0f, -0.0f, -1e-30f, none, -none, endless, -endless, 5.0f, std::nextafter(5.0f, 6.0f), 1e-30f},
            std::vector<float>(10, 1.0f));
        EXPECT_EQ(columns.remap(src, kind), (Values{50, OLD, OLD, OLD, OLD, OLD, OLD, 100, OLD, 50})) << kind;
        Positions rows(std::vector<float>(9, 2.0f),
                       {0.0f, -0.0f, -1.0f, none, endless, -endless, 3.0f, std::nextafter(3.0f, 4.0f), 1e30f});
        EXPECT_EQ(rows.remap(src, kind), (Values{20, OLD, OLD, OLD, OLD, OLD, 170, OLD, OLD})) << kind;
    }
}

// The pixel at the position or before it, which is not the nearest one.
TEST(RemapImage, nearestNeighboursAreFloors) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 6, 4), 1);
    Positions positions({0.25f, 0.5f, 0.75f, 0.9999f, 1.0f, 1.5f, 4.99f, 5.0f}, {0, 0, 0.5f, 0.99f, 1, 1.5f, 2, 3});
    EXPECT_EQ(positions.remap(slope(src), MOX_INTER_NN), (Values{0, 0, 0, 0, 60, 60, 140, 200}));
    // What is within 1e-7 of the next pixel is taken for it.
    Positions close({std::nextafter(1.0f, 0.0f), 0.99999f}, {0, 0});
    EXPECT_EQ(close.remap(src, MOX_INTER_NN), (Values{10, 0}));
}

// In bytes by 14 bits, and 33 where others round.
TEST(RemapImage, linearSamples) {
    TestImage bytes(TestLayout::of(MOX_DEPTH_8U, 6, 4), 1), words(TestLayout::of(MOX_DEPTH_16U, 6, 4), 1);
    Positions positions({0.25f, 0.5f, 1.75f, 5.0f, 4.5f, 5.0f, 0.0f}, {0, 0.5f, 1, 1.5f, 3, 3, 2.99f});
    EXPECT_EQ(positions.remap(slope(bytes), MOX_INTER_LINEAR), (Values{2, 30, 67, 125, 195, 200, 149}));
    EXPECT_EQ(positions.remap(slope(words), MOX_INTER_LINEAR), (Values{2, 30, 68, 125, 195, 200, 150}));
    TestImage floats(TestLayout::of(MOX_DEPTH_32F, 6, 4), 1);
    for (int k = 0; k < 24; ++k)
        floats.set(0, k % 6, k / 6, std::bit_cast<uint32_t>(static_cast<float>(k % 6 * 10 + k / 6 * 50)));
    const Values found = positions.remap(floats, MOX_INTER_LINEAR);
    const float wanted[] = {2.5f, 30, 67.5f, 125, 195, 200, 149.5f};
    for (size_t i = 0; i < 7; ++i)
        EXPECT_NEAR(std::bit_cast<float>(found[i]), wanted[i], 1e-4f) << i;
}

TEST(RemapImage, cubicSamplesAreThoseOfAPolynomial) {
    TestImage src(TestLayout::of(MOX_DEPTH_16U, 9, 8), 1);
    const auto cubic = [](double x, double y) {
        return 9000 + 20 * x * x * x - 100 * x * x + 7 * y * y * y - 5 * x * y;
    };
    for (int k = 0; k < 72; ++k)
        src.set(0, k % 9, k / 9, static_cast<uint32_t>(cubic(k % 9, k / 9)));
    Positions positions({0.25f, 0.0f, 3.5f, 7.75f, 8.0f, 5.125f}, {0.5f, 6.25f, 3.75f, 7.0f, 6.5f, 0.125f});
    const Values found = positions.remap(src, MOX_INTER_CUBIC);
    for (size_t i = 0; i < found.size(); ++i) {
        const double x = static_cast<double>(positions.x[i]), y = static_cast<double>(positions.y[i]);
        EXPECT_NEAR(found[i], cubic(x, y), 0.5001) << i;
    }
}

TEST(RemapImage, smallSourcesAreSampledMoreSimply) {
    const struct {
        int width, height, asked, given;
    } cases[] = {{1, 9, 1, 0}, {9, 1, 2, 0}, {1, 1, 2, 0}, {3, 9, 2, 1}, {9, 3, 2, 1}, {2, 2, 2, 1}};
    for (const unsigned depth : warpDepths) {
        for (const auto &each : cases) {
            TestImage src(TestLayout::of(depth, each.width, each.height), 1);
            std::vector<float> xs, ys;
            for (int i = 0; i < 40; ++i) {
                xs.push_back(static_cast<float>((each.width - 1) * i) / 39.0f);
                ys.push_back(static_cast<float>((each.height - 1) * (39 - i)) / 39.0f);
            }
            Positions positions(xs, ys);
            const int given = depth == MOX_DEPTH_1U ? MOX_INTER_NN : each.given;
            EXPECT_EQ(positions.remap(src, each.asked), positions.remap(src, given));
            EXPECT_EQ(positions.remap(src, each.asked | MOX_SMOOTH_EDGE), positions.remap(src, given));
        }
    }
}

// The least of the regions of the destination and both maps; positions are those of the whole source, and count within
// its region alone.
TEST(RemapImage, regions) {
    TestLayout part = TestLayout::of(MOX_DEPTH_8U, 12, 12);
    part.setRoi(0, 3, 2, 6, 5);  // columns 3 to 8, rows 2 to 6
    TestImage src(part, 1);
    TestLayout maps = TestLayout::of(MOX_DEPTH_32F, 14, 14);
    maps.setRoi(0, 1, 2, 10, 30);
    TestImage xMap(maps, 2);
    maps.setRoi(0, 4, 0, 30, 11);
    TestImage yMap(maps, 3);
    TestLayout to = TestLayout::of(MOX_DEPTH_8U, 15, 15);
    to.setRoi(0, 2, 1, 30, 30);
    TestImage dst(to, 4);
    for (int k = 0; k < 196; ++k) {
        xMap.set(0, k % 14, k / 14, std::bit_cast<uint32_t>(static_cast<float>(std::max(0, k % 14 - 1))));
        yMap.set(0, k % 14, k / 14, std::bit_cast<uint32_t>(static_cast<float>(k / 14)));
    }
    TestBytes wanted = dst.bytes();
    for (int j = 2; j <= 6; ++j) {
        for (int i = 3; i <= 8; ++i)
            dst.setIn(wanted, 0, 2 + i, 1 + j, src.get(0, i, j));
    }
    for (int kind = 0; kind < 3; ++kind) {
        ReportRecorder reports;
        moxRemap(src.header(), xMap.header(), yMap.header(), dst.header(), kind);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(dst.holds(wanted)) << kind;
    }
    const TestBytes before = dst.bytes();
    for (TestImage *each : {&src, &xMap, &yMap, &dst}) {
        const int offset = each->roi()->xOffset;
        each->roi()->xOffset = 15;
        ReportRecorder reports;
        moxRemap(src.header(), xMap.header(), yMap.header(), dst.header(), MOX_INTER_LINEAR);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(dst.holds(before));
        each->roi()->xOffset = offset;
    }
}

// The source is read once, before everything else; then the destination's tiles come row by row.
TEST(RemapTiles, theSourceIsReadOnceAndFirst) {
    TestLayout from = TestLayout::of(MOX_DEPTH_8U, 40, 20), to = TestLayout::of(MOX_DEPTH_8U, 40, 20);
    from.setRoi(0, 9, 3, 20, 10);
    from.tileWidth = 8, from.tileHeight = 8;
    to.tileWidth = 16, to.tileHeight = 8;
    TestLayout maps = TestLayout::of(MOX_DEPTH_32F, 40, 20);
    maps.tileWidth = 8, maps.tileHeight = 16;
    TestImage src(from, 1), dst(to, 2), xMap(maps, 3), yMap(maps, 4);
    xMap.setAll(std::bit_cast<uint32_t>(12.0f));
    yMap.setAll(std::bit_cast<uint32_t>(5.0f));
    ReportRecorder reports;
    TileLog log;
    moxRemap(src.header(), xMap.header(), yMap.header(), dst.header(), MOX_INTER_LINEAR);
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(log.paired());
    std::vector<std::pair<int, int>> read, written;
    for (const TileEvent &event : log.events) {
        if (event.mode == MOX_TileRelease) continue;
        EXPECT_EQ(event.mode, event.image == &dst ? MOX_TileWrite : MOX_TileRead);
        if (event.image == &dst) written.push_back({event.row, event.column});
        if (event.image != &src) continue;
        read.push_back({event.row, event.column});
        EXPECT_TRUE(written.empty());
    }
    EXPECT_EQ(read, (std::vector<std::pair<int, int>>{{0, 1}, {0, 2}, {0, 3}, {1, 1}, {1, 2}, {1, 3}}));
    EXPECT_EQ(written, (std::vector<std::pair<int, int>>{
                           {0, 0}, {0, 1}, {0, 2}, {1, 0}, {1, 1}, {1, 2}, {2, 0}, {2, 1}, {2, 2}}));
    for (int k = 0; k < 800; ++k)
        ASSERT_EQ(dst.get(0, k % 40, k / 40), src.get(0, 12, 5));
}

TEST(RemapImage, oneMapMayServeTwice) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 9, 9), 1), map(TestLayout::of(MOX_DEPTH_32F, 9, 1), 2);
    TestImage dst(TestLayout::of(MOX_DEPTH_8U, 9, 1), 3);
    for (int x = 0; x < 9; ++x)
        map.set(0, x, 0, std::bit_cast<uint32_t>(static_cast<float>(8 - x)));
    moxRemap(src.header(), map.header(), map.header(), dst.header(), MOX_INTER_LINEAR);
    for (int x = 0; x < 9; ++x)
        EXPECT_EQ(dst.get(0, x, 0), src.get(0, 8 - x, 8 - x));
}

TEST(RemapFailure, isReportedInTheOrderOfTheTests) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    layout.setRoi(0, 0, 0, 20, 10);
    TestImage src(layout, 1), dst(layout, 2);
    TestImage xMap(TestLayout::of(MOX_DEPTH_32F, 20, 10, 1), 3), yMap(TestLayout::of(MOX_DEPTH_32F, 20, 10, 1), 4);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    std::vector<ReportExpected> all;
    int kind = MOX_INTER_LINEAR;
    const auto expect = [&](MoxStatus status, const char *message, bool alone = false) {
        SCOPED_TRACE(message);
        if (alone) all.clear();
        all.insert(all.begin(), {status, "moxRemap", message});
        reports.clear();
        moxRemap(src.header(), xMap.header(), yMap.header(), dst.header(), kind);
        EXPECT_TRUE(reports.are(all));
        EXPECT_TRUE(dst.holds(before));
    };
    src.roi()->coi = 2;
    expect(-5, CHANNELS, true);
    kind = 3;
    expect(-5, KIND, true);
    yMap.header()->alphaChannel = 1;
    expect(-5, Y_MAP);
    xMap.header()->depth = MOX_DEPTH_32S;
    expect(-5, X_MAP);
    src.header()->depth = dst.header()->depth = MOX_DEPTH_16S;
    expect(-5, SIGN);
    src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
    expect(-5, ORDERS);
    dst.header()->origin = 1;
    expect(-5, ORIGINS);
    dst.header()->depth = MOX_DEPTH_8U;
    expect(-5, DEPTHS);
    dst.header()->align = 5;
    expect(-21, INCORRECT);
    yMap.header()->headerSize = 1;
    yMap.header()->width = 0;
    expect(-10, INCORRECT);
    xMap.header()->origin = 9;
    expect(-20, INCORRECT);
    src.header()->alphaChannel = 1;
    expect(-18, INCORRECT);
}

// A null image is told once, and nothing after it.
TEST(RemapFailure, nullImagesEndTheCall) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    TestImage map(TestLayout::of(MOX_DEPTH_32F, 20, 10, 1), 3);
    for (int which = 0; which < 4; ++which) {
        MoxImage *images[4] = {src.header(), map.header(), map.header(), dst.header()};
        images[which] = nullptr;
        ReportRecorder reports;
        moxRemap(images[0], images[1], images[2], images[3], 9);
        EXPECT_TRUE(reports.are({{-9, "moxRemap", INCORRECT}})) << which;
    }
}

TEST(RemapFailure, mapsAreSingleFloats) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    TestImage good(TestLayout::of(MOX_DEPTH_32F, 20, 10), 3);
    TestLayout alpha = TestLayout::of(MOX_DEPTH_32F, 20, 10);
    alpha.alpha = 1;
    for (const TestLayout &bad : {TestLayout::of(MOX_DEPTH_32S, 20, 10), TestLayout::of(MOX_DEPTH_16U, 20, 10),
                                  TestLayout::of(MOX_DEPTH_32F, 20, 10, 2), alpha}) {
        TestImage map(bad, 4);
        ReportRecorder reports;
        moxRemap(src.header(), map.header(), good.header(), dst.header(), 0);
        EXPECT_TRUE(reports.are({{-5, "moxRemap", X_MAP}}));
        reports.clear();
        moxRemap(src.header(), good.header(), map.header(), dst.header(), 0);
        EXPECT_TRUE(reports.are({{-5, "moxRemap", Y_MAP}}));
    }
}

TEST(RemapFailure, inPlaceAndBadKindsAreBothReported) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    TestImage map(TestLayout::of(MOX_DEPTH_32F, 20, 10), 3);
    ReportRecorder reports;
    moxRemap(image.header(), map.header(), map.header(), image.header(), MOX_INTER_SUPER);
    EXPECT_TRUE(reports.are({{-5, "moxRemap", IN_PLACE}, {-5, "moxRemap", KIND}}));
    for (const int kind : {-1, 3, 4, 16 | 3, 32, std::numeric_limits<int>::min()}) {
        reports.clear();
        moxRemap(image.header(), map.header(), map.header(), dst.header(), kind);
        EXPECT_TRUE(reports.are({{-5, "moxRemap", KIND}})) << kind;
    }
    EXPECT_EQ(moxGetErrStatus(), -5);
}

TEST(RemapFailure, ordersOfBitsAndSingleChannelsMayDiffer) {
    TestImage map(TestLayout::of(MOX_DEPTH_32F, 20, 10, 1, MOX_DATA_ORDER_PLANE), 3);
    map.setAll(0x3F800000);
    for (const unsigned depth : warpDepths) {
        TestImage src(TestLayout::of(depth, 20, 10), 1);
        TestImage dst(TestLayout::of(depth, 20, 10, 1, MOX_DATA_ORDER_PLANE), 2);
        ReportRecorder reports;
        moxRemap(src.header(), map.header(), map.header(), dst.header(), MOX_INTER_NN);
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(dst.get(0, 19, 9), src.get(0, 1, 1));
    }
    TestLayout planes = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3, MOX_DATA_ORDER_PLANE);
    planes.setRoi(2, 0, 0, 20, 10);
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(planes, 2);
    ReportRecorder reports;
    moxRemap(src.header(), map.header(), map.header(), dst.header(), MOX_INTER_NN);
    EXPECT_TRUE(reports.are({{-5, "moxRemap", ORDERS}}));
}

TEST(RemapFailure, anEarlierFaultDoesNotStopAGoodCall) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    TestImage map(TestLayout::of(MOX_DEPTH_32F, 20, 10), 3);
    map.setAll(0x3F800000);
    ReportRecorder reports;
    moxSetErrStatus(-7);
    moxRemap(src.header(), map.header(), map.header(), dst.header(), MOX_INTER_CUBIC);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_EQ(dst.get(0, 19, 9), src.get(0, 1, 1));
}

}  // namespace
