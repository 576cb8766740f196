// The moments: sums against the model, what is read from a state, and every report with its order.
#include <cmath>
#include <cstring>

#include "stat/statcheck.h"

namespace {

struct Reader {
    const char *name;
    double(MOX_CALL *get)(MoxMomentState, int, int);
    double(MOX_CALL *one)(MoxImage *, int, int);
    double (*model)(const MoxMomentState &, int, int);
    const char *oneName;
};
const Reader readers[] = {
    {"moxGetSpatialMoment", moxGetSpatialMoment, moxSpatialMoment, refSpatialMoment, "moxSpatialMoment"},
    {"moxGetSpatialMoment", moxGetNormalizedSpatialMoment, moxNormalizedSpatialMoment, refNormalizedSpatialMoment,
     "moxNormalizedSpatialMoment"},
    {"moxGetCentralMoment", moxGetCentralMoment, moxCentralMoment, refCentralMoment, "moxCentralMoment"},
    {"moxGetNormalizedCentralMoment", moxGetNormalizedCentralMoment, moxNormalizedCentralMoment,
     refNormalizedCentralMoment, "moxNormalizedCentralMoment"}};

// A state whose every byte is known.
struct State {
    MoxMomentState cells;
    State() { memset(&cells, 0x5A, sizeof cells); }
    bool operator==(const State &other) const { return memcmp(&cells, &other.cells, sizeof cells) == 0; }
};

class Moments : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Depth, Moments, testing::ValuesIn(allDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

bool agrees(double got, const RefMoments &wanted, int m, int n) {
    const auto sum = static_cast<double>(wanted.sums[m][n]);
    if (wanted.exact) return got == sum;
    if (!std::isfinite(sum)) return !std::isfinite(got);
    return std::fabs(got - sum) <= 1e-13 * static_cast<double>(wanted.magnitudes[m][n]);
}

void expectState(const State &state, const RefMoments &wanted) {
    State rest;
    if (!wanted.empty) {
        for (int m = 0; m <= 3; ++m) {
            for (int n = 0; m + n <= 3; ++n) {
                const double got = state.cells[m][n].moment;
                EXPECT_TRUE(agrees(got, wanted, m, n)) << "M(" << m << ", " << n << ") is " << got << ", expected "
                                                       << static_cast<double>(wanted.sums[m][n]);
                rest.cells[m][n].moment = got;
            }
        }
        rest.cells[1][0].scale = 1.0 / wanted.width;
        rest.cells[0][1].scale = 1.0 / wanted.height;
    }
    EXPECT_TRUE(state == rest) << "a scale is not as expected, or a cell was written that is not to be";
}

void checkMoments(TestImage &image) {
    const RefMoments wanted = refMoments(image);
    State state, first;
    bool hasFirst = false;
    checkCall(
        {&image}, nullptr,
        [&] {
            state = {};
            moxMoments(image.header(), state.cells);
        },
        [&] {
            expectState(state, wanted);
            if (!hasFirst) first = state;
            hasFirst = true;
            for (int m = 0; m <= 3; ++m) {
                for (int n = 0; m + n <= 3; ++n)
                    EXPECT_TRUE(sameBits(state.cells[m][n].moment, first.cells[m][n].moment)) << "the levels differ";
            }
        });
    for (const Reader &reader : readers) {
        SCOPED_TRACE(reader.oneName);
        for (int m = 0; m <= 3; ++m) {
            for (int n = 0; m + n <= 3; ++n) {
                const double got = wanted.empty ? 0.0 : reader.get(state.cells, m, n);
                const double one = reader.one(image.header(), m, n);
                EXPECT_TRUE(sameBits(one, got)) << m << ", " << n << ": " << one << " and " << got;
                if (wanted.empty) continue;
                const double model = reader.model(state.cells, m, n);
                // Powers are rounded more than once.
                EXPECT_TRUE(sameBits(got, model) || std::fabs(got - model) <= 1e-15 * std::fabs(model))
                    << m << ", " << n << ": " << got << ", expected " << model;
            }
        }
    }
}

void checkScene(Random &random, unsigned depth, SceneOptions options) {
    options.images = 1;
    options.depth = depth;
    Scene scene(random, options);
    TestImage &image = scene[0];
    SCOPED_TRACE(scene.describe());
    if (random.oneIn(2)) drawModerate(random, image);
    if (image.layout().channels == 1 || (image.layout().hasRoi && image.layout().roi.coi > 0)) {
        checkMoments(image);
        return;
    }
    ReportRecorder reports;
    State state;
    moxMoments(image.header(), state.cells);
    EXPECT_TRUE(reports.are({{-5, "moxMoments", "Only one channel can be proceed"}}));
    EXPECT_TRUE(state == State());
}

TEST_P(Moments, agreeWithTheModelOverRandomLayouts) {
    forEachCase(150, [&](Random &random) { checkScene(random, GetParam(), {}); });
}

TEST_P(Moments, agreeWithTheModelOnTiles) {
    forEachCase(90, [&](Random &random) { checkScene(random, GetParam(), {.tiledAlways = true, .maxHeight = 40}); });
}

TEST_P(Moments, areRightAtEveryLength) {
    for (int width = 1; width <= 80; ++width) {
        TestImage image(TestLayout::of(GetParam(), width, 2), static_cast<uint64_t>(width));
        Random random(1);
        drawModerate(random, image);
        checkMoments(image);
        if (HasFailure()) return;
    }
}

// Coordinates whose cubes, and sums far beyond 64 bits.
TEST_P(Moments, areRightFarOut) {
    for (int order = 0; order < 2; ++order) {
        TestLayout layout = TestLayout::of(GetParam(), order ? 2 : 60000, order ? 20000 : 2);
        TestImage image(layout, 5);
        Random random(1);
        drawModerate(random, image);
        const RefMoments wanted = refMoments(image);
        State state;
        moxMoments(image.header(), state.cells);
        for (int m = 0; m <= 3; ++m) {
            for (int n = 0; m + n <= 3; ++n) {
                EXPECT_LE(std::fabs(state.cells[m][n].moment - static_cast<double>(wanted.sums[m][n])),
                          1e-13 * static_cast<double>(wanted.magnitudes[m][n]))
                    << m << ", " << n;
            }
        }
    }
}

TEST_P(Moments, ofZerosHaveHalfTheRegionAsCentre) {
    TestLayout layout = TestLayout::of(GetParam(), 30, 20);
    layout.setRoi(0, 7, 5, 12, 10);
    TestImage image(layout);
    image.setAll(0);
    ReportRecorder reports;
    for (int m = 0; m <= 3; ++m) {
        for (int n = 0; m + n <= 3; ++n) {
            EXPECT_EQ(moxSpatialMoment(image.header(), m, n), 0.0);
            EXPECT_EQ(moxCentralMoment(image.header(), m, n), 0.0);
            EXPECT_TRUE(std::isnan(moxNormalizedSpatialMoment(image.header(), m, n)));
            EXPECT_TRUE(std::isnan(moxNormalizedCentralMoment(image.header(), m, n)));
        }
    }
    EXPECT_TRUE(reports.none());
}

// A state by hand: without mass, but with moments.
TEST(MomentReading, halfTheSizeIsTheCentreWhereThereIsNoMass) {
    State state;
    for (auto &column : state.cells) {
        for (MoxMomentCell &cell : column)
            cell = {0, 0};
    }
    state.cells[1][0] = {0.25, 6};
    state.cells[0][1] = {0.5, 5};
    state.cells[2][0].moment = 100;
    state.cells[1][1].moment = 50;
    EXPECT_EQ(moxGetCentralMoment(state.cells, 2, 0), 100 - 2.0 * 6);
    EXPECT_EQ(moxGetCentralMoment(state.cells, 1, 1), 50 - 2.0 * 5);
    EXPECT_EQ(moxGetCentralMoment(state.cells, 0, 2), 0 - 1.0 * 5);
    EXPECT_EQ(moxGetCentralMoment(state.cells, 1, 0), 0.0);
    for (const double mass : {2.2250738585072014e-308, -2.2250738585072014e-308}) {  // not above it
        state.cells[0][0].moment = mass;
        EXPECT_EQ(moxGetCentralMoment(state.cells, 2, 0), 100 - 2.0 * 6);
    }
    state.cells[0][0].moment = -2;
    EXPECT_EQ(moxGetCentralMoment(state.cells, 2, 0), 100 + 3.0 * 6);
    state.cells[0][0].moment = 4;
    EXPECT_EQ(moxGetNormalizedCentralMoment(state.cells, 2, 0), (100 - 1.5 * 6) / 16);
    EXPECT_EQ(moxGetNormalizedSpatialMoment(state.cells, 1, 0), 6 / 8.0);
}

// Powers of masses that are no numbers to count with, as pow has them.
TEST(MomentReading, powersOfExtremeMasses) {
    State state;
    for (const double mass : {-HUGE_VAL, HUGE_VAL, -0.0, 0.0, -3.0, 1e-310, 1e300, 1e150, 7.0}) {
        SCOPED_TRACE(mass);
        for (auto &column : state.cells) {
            for (MoxMomentCell &cell : column)
                cell = {0.25, 5};
        }
        state.cells[0][0].moment = mass;
        for (int m = 0; m <= 3; ++m) {
            for (int n = 0; m + n <= 3; ++n) {
                const double got = moxGetNormalizedSpatialMoment(state.cells, m, n);
                const double wanted = refNormalizedSpatialMoment(state.cells, m, n);
                EXPECT_TRUE(sameBits(got, wanted) || std::fabs(got - wanted) <= 1e-15 * std::fabs(wanted))
                    << m << ", " << n << ": " << got << ", expected " << wanted;
            }
        }
    }
}

TEST(MomentReading, aRegionThatMovesKeepsItsCentralMoments) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 40, 20);
    TestImage image(layout);
    MoxROI here = {0, 3, 2, 8, 8}, there = {0, 25, 2, 8, 8};
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x)
            image.set(0, 25 + x, 2 + y, image.get(0, 3 + x, 2 + y));
    }
    image.header()->roi = &here;
    const double spatial = moxSpatialMoment(image.header(), 2, 0), central = moxCentralMoment(image.header(), 2, 0);
    image.header()->roi = &there;
    EXPECT_NE(moxSpatialMoment(image.header(), 2, 0), spatial);
    EXPECT_NEAR(moxCentralMoment(image.header(), 2, 0), central, 1e-9 * central);
    EXPECT_EQ(image.header()->roi, &there);
}

TEST(MomentReading, aChannelOfInterestIsTheOneThatCounts) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3);
    layout.setRoi(2, 0, 0, 20, 10);
    TestImage image(layout, 6), single(TestLayout::of(MOX_DEPTH_8U, 20, 10));
    for (int y = 0; y < 10; ++y) {
        for (int x = 0; x < 20; ++x)
            single.set(0, x, y, image.get(1, x, y));
    }
    EXPECT_EQ(moxSpatialMoment(image.header(), 1, 2), moxSpatialMoment(single.header(), 1, 2));
}

TEST(MomentFailure, ordersThatAreIllegal) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 20, 10), 6);
    State state;
    for (const Reader &reader : readers) {
        for (const auto &[m, n] : {std::pair{2, 2},
                                   {-1, 1},
                                   {1, -1},
                                   {4, 0},
                                   {0, 4},
                                   {4, -1},
                                   {-1, 4},
                                   {-1, -1},
                                   {3, 1},
                                   {1, 3},
                                   {0x7FFFFFFF, 0x7FFFFFFF},
                                   {0x7FFFFFFF, 1},
                                   {-0x7FFFFFFF - 1, -0x7FFFFFFF - 1}}) {
            SCOPED_TRACE(std::string(reader.oneName) + " " + std::to_string(m) + ", " + std::to_string(n));
            ReportRecorder reports;
            EXPECT_EQ(reader.get(state.cells, m, n), 0.0);
            EXPECT_TRUE(reports.are({{-5, reader.name, "Illegal order of moment"}}));
            EXPECT_EQ(moxGetErrStatus(), -5);
            reports.clear();
            EXPECT_EQ(reader.one(image.header(), m, n), 0.0);
            EXPECT_TRUE(reports.are({{-5, reader.oneName, "Illegal order of moment"}}));
            EXPECT_EQ(moxGetErrStatus(), -5);
        }
    }
}

TEST(MomentFailure, isReportedInTheOrderOfTheTests) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), 6);
    for (const Reader &reader : readers) {
        ReportRecorder reports;
        EXPECT_EQ(reader.one(image.header(), 2, 2), 0.0);
        EXPECT_TRUE(reports.are({{-5, reader.oneName, "Only one channel can be proceed"}}));
        reports.clear();
        image.header()->align = 3;
        EXPECT_EQ(reader.one(image.header(), 2, 2), 0.0);
        EXPECT_TRUE(reports.are({{-21, reader.oneName, "Incorrect Image"}}));
        reports.clear();
        EXPECT_EQ(reader.one(nullptr, 2, 2), 0.0);
        EXPECT_TRUE(reports.are({{-9, reader.oneName, "Incorrect Image"}}));
        image.header()->align = 8;
    }
    ReportRecorder reports;
    State state;
    moxMoments(nullptr, state.cells);
    moxMoments(image.header(), state.cells);
    EXPECT_TRUE(
        reports.are({{-9, "moxMoments", "Incorrect Image"}, {-5, "moxMoments", "Only one channel can be proceed"}}));
    EXPECT_TRUE(state == State());
}

TEST(MomentFailure, aLeftoverStatusDoesNotStopTheCall) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 20, 10), 6);
    ReportRecorder reports;
    const double wanted = moxCentralMoment(image.header(), 2, 0);
    moxSetErrStatus(-7);
    EXPECT_EQ(moxCentralMoment(image.header(), 2, 0), wanted);
    EXPECT_EQ(moxGetErrStatus(), -7);
}

}  // namespace
