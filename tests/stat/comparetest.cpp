// The comparisons against the model, and the edges of their definition.
#include <bit>
#include <cmath>

#include "stat/statcheck.h"

namespace {

// One comparison with its constants: how it is called on two sources (or the first of them), and what it means.
struct Comparison {
    const char *name;
    int sources;
    std::function<MoxStatus(MoxImage *, MoxImage *, MoxImage *)> call;
    RefRelation relation;
};

std::vector<Comparison> comparisonsOf(unsigned depth, int value, float real, float eps) {
    std::vector<Comparison> all = {{"moxLess", 2, moxLess, refLess()},
                                   {"moxGreater", 2, moxGreater, refGreater()},
                                   {"moxEqual", 2, moxEqual, refEqual()}};
    const auto one = [&](const char *name, auto function, auto constant, const RefRelation &relation) {
        all.push_back(
            {name, 1, [=](MoxImage *a, MoxImage *, MoxImage *res) { return function(a, constant, res); }, relation});
    };
    if (depth != MOX_DEPTH_32F) {
        one("moxLessS", moxLessS, value, refLessS(value));
        one("moxGreaterS", moxGreaterS, value, refGreaterS(value));
        one("moxEqualS", moxEqualS, value, refEqualS(value));
        return all;
    }
    one("moxLessSFP", moxLessSFP, real, refLessSFP(real));
    one("moxGreaterSFP", moxGreaterSFP, real, refGreaterSFP(real));
    one("moxEqualSFP", moxEqualSFP, real, refEqualSFP(real));
    all.push_back({"moxEqualSFPEps", 1,
                   [=](MoxImage *a, MoxImage *, MoxImage *res) { return moxEqualSFPEps(a, real, res, eps); },
                   refEqualSFPEps(real, eps)});
    all.push_back({"moxEqualFPEps", 2,
                   [=](MoxImage *a, MoxImage *b, MoxImage *res) { return moxEqualFPEps(a, b, res, eps); },
                   refEqualEps(eps)});
    return all;
}

void checkComparison(const Comparison &comparison, TestImage &a, TestImage &b, TestImage &res) {
    SCOPED_TRACE(comparison.name);
    std::vector<TestImage *> sources = {&a};
    if (comparison.sources == 2) sources.push_back(&b);
    const TestBytes expected = refCompare(sources, res, comparison.relation);
    MoxStatus status;
    checkCall(
        {&a, &b, &res}, &res, [&] { status = comparison.call(a.header(), b.header(), res.header()); },
        [&] {
            EXPECT_EQ(status, 0);
            EXPECT_TRUE(res.holds(expected));
        });
}

class Compare : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Depth, Compare, testing::ValuesIn(allDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

// Second samples that are often those of the first, or near.
void drawNear(Random &random, const TestImage &from, TestImage &to) {
    const TestLayout &one = from.layout(), &other = to.layout();
    const int shift = other.regionX() - one.regionX(), down = other.regionY() - one.regionY();
    for (int y = 0; y < other.height; ++y) {
        for (int x = 0; x < other.width; ++x) {
            if (x - shift < 0 || x - shift >= one.width || y - down < 0 || y - down >= one.height) continue;
            for (int channel = 0; channel < std::min(one.channels, other.channels); ++channel) {
                if (!random.oneIn(4))
                    to.set(channel, x, y, from.get(channel, x - shift, y - down) ^ (random.oneIn(4) ? 1 : 0));
            }
        }
    }
}

TestLayout drawResult(Random &random, const TestImage &source, int tiled) {
    TestLayout layout = drawMaskLayout(random, source.layout().width, source.layout().height);
    layout.extraStride = 0;
    drawPlacement(random, layout, tiled);
    return layout;
}

void checkScene(Random &random, unsigned depth, const SceneOptions &given) {
    SceneOptions options = given;
    options.images = 2;
    options.depth = depth;
    options.sameOrigin = true;
    Scene scene(random, options);
    TestImage res(drawResult(random, scene[0], options.tiledAlways && random.oneIn(2) ? 1 : -1), random.next());
    TestImage mask(drawMaskLayout(random, res.layout().width, res.layout().height), random.next());
    if (random.oneIn(3)) res.setMask(&mask);
    SCOPED_TRACE(scene.describe() + "result " + res.layout().describe() +
                 (res.mask() ? "\nmask " + mask.layout().describe() : ""));
    if (&scene[0] != &scene[1] && random.oneIn(2)) drawNear(random, scene[0], scene[1]);
    if (random.oneIn(3)) {
        for (TestImage *image : scene.entries())
            drawModerate(random, *image);
    }
    const uint32_t sample = scene[0].get(0, 0, 0);
    const int value = random.oneIn(2) ? static_cast<int>(refWhole(depth, sample)) : drawInt(random);
    const uint32_t real = random.oneIn(2) ? sample : drawSample(random, MOX_DEPTH_32F);
    const float eps = random.oneIn(8) ? NAN : random.oneIn(2) ? 100.0f : 1e-6f;
    for (const Comparison &comparison : comparisonsOf(depth, value, std::bit_cast<float>(real), eps)) {
        checkComparison(comparison, scene[0], scene[1], res);
        if (testing::Test::HasFailure()) return;
    }
}

TEST_P(Compare, agreesWithTheModelOverRandomLayouts) {
    forEachCase(180, [&](Random &random) { checkScene(random, GetParam(), {}); });
}

TEST_P(Compare, agreesWithTheModelOnTiles) {
    forEachCase(90, [&](Random &random) { checkScene(random, GetParam(), {.tiledAlways = true, .maxHeight = 30}); });
}

TEST_P(Compare, agreesWithTheModelOnWideRows) {
    forEachCase(30, [&](Random &random) { checkScene(random, GetParam(), {.maxWidth = 700, .maxHeight = 3}); });
}

TEST_P(Compare, isRightAtEveryLength) {
    Random random(testSeed());
    for (int width = 1; width <= 100; ++width) {
        const int channels = GetParam() == MOX_DEPTH_1U ? 1 : random.oneIn(2) ? 1 : 3;
        TestLayout layout = TestLayout::of(GetParam(), width, 2, channels), result = TestLayout::ofMask(width + 16, 2);
        result.setRoi(0, width % 16, 0, width, 2);
        TestImage a(layout, random.next()), b(layout, random.next()), res(result, random.next());
        drawNear(random, a, b);
        const float real = std::bit_cast<float>(a.get(0, 0, 0));
        for (const Comparison &comparison : comparisonsOf(GetParam(), static_cast<int>(a.get(0, 0, 0)), real, 1.0f))
            checkComparison(comparison, a, b, res);
        if (HasFailure()) return;
    }
}

// Every constant around the range of the depth, beyond which the answer is one for all samples.
TEST_P(Compare, constantsBeyondTheRangeAreGreaterOrSmallerThanAll) {
    if (GetParam() == MOX_DEPTH_32F) return;
    for (int channels : {1, 3}) {
        if (channels > 1 && GetParam() == MOX_DEPTH_1U) continue;
        TestImage a(TestLayout::of(GetParam(), 70, 2, channels), 5), res(TestLayout::ofMask(70, 2), 6);
        for (int value : {-0x7FFFFFFF - 1,
                          -0x7FFFFFFF,
                          -65536,
                          -32769,
                          -32768,
                          -32767,
                          -256,
                          -129,
                          -128,
                          -127,
                          -2,
                          -1,
                          0,
                          1,
                          2,
                          3,
                          126,
                          127,
                          128,
                          254,
                          255,
                          256,
                          257,
                          300,
                          32766,
                          32767,
                          32768,
                          65534,
                          65535,
                          65536,
                          65791,
                          0x7FFFFFFE,
                          0x7FFFFFFF}) {
            SCOPED_TRACE(value);
            for (const Comparison &comparison : comparisonsOf(GetParam(), value, 0, 1)) {
                if (comparison.sources == 1) checkComparison(comparison, a, a, res);
            }
            if (HasFailure()) return;
        }
    }
}

// A bit for the whole pixel.
TEST(CompareEdges, oneChannelThatDiffersIsEnough) {
    TestImage a(TestLayout::of(MOX_DEPTH_8U, 8, 8, 3), 1), b(TestLayout::of(MOX_DEPTH_8U, 8, 8, 3), 1),
        res(TestLayout::ofMask(8, 8), 2);
    a.setAll(10);
    b.setAll(10);
    b.set(1, 3, 3, 11);
    b.set(2, 3, 3, 9);
    EXPECT_EQ(moxEqual(a.header(), b.header(), res.header()), 0);
    EXPECT_EQ(res.get(0, 3, 3), 0u);
    EXPECT_EQ(res.get(0, 4, 3), 1u);
    moxLess(a.header(), b.header(), res.header());
    EXPECT_EQ(res.get(0, 3, 3), 0u);
    moxGreater(a.header(), b.header(), res.header());
    EXPECT_EQ(res.get(0, 3, 3), 0u);
}

TEST(CompareEdges, floatsCompareByTheirOwnRules) {
    const float nan = NAN, inf = INFINITY;
    const auto bitOf = [](MoxStatus status, TestImage &res) {
        return status == 0 ? static_cast<int>(res.get(0, 9, 1)) : -1;
    };
    TestImage a(TestLayout::of(MOX_DEPTH_32F, 40, 2)), b(TestLayout::of(MOX_DEPTH_32F, 40, 2)),
        res(TestLayout::ofMask(40, 2));
    const auto set = [](TestImage &image, float value) { image.setAll(std::bit_cast<uint32_t>(value)); };
    forEachCpuLevel([&] {
        set(a, nan);
        set(b, 1.0f);
        EXPECT_EQ(bitOf(moxEqual(a.header(), a.header(), res.header()), res), 0);
        EXPECT_EQ(bitOf(moxLess(a.header(), b.header(), res.header()), res), 0);
        EXPECT_EQ(bitOf(moxGreater(a.header(), b.header(), res.header()), res), 0);
        EXPECT_EQ(bitOf(moxEqualSFPEps(a.header(), 5.0f, res.header(), 0.5f), res), 1);
        EXPECT_EQ(bitOf(moxEqualFPEps(b.header(), a.header(), res.header(), 0.5f), res), 1);
        set(a, 1.5f);
        EXPECT_EQ(bitOf(moxEqualFPEps(a.header(), b.header(), res.header(), 0.5f), res), 0);  // exactly eps
        EXPECT_EQ(bitOf(moxEqualFPEps(a.header(), b.header(), res.header(), std::nextafter(0.5f, 1.0f)), res), 1);
        EXPECT_EQ(bitOf(moxEqualSFPEps(a.header(), 1.0f, res.header(), 0.5f), res), 0);
        EXPECT_EQ(bitOf(moxEqualFPEps(a.header(), b.header(), res.header(), nan), res), 1);
        // In double the difference would lie below eps.
        set(a, 16777216.0f);
        set(b, 0.5f);
        EXPECT_EQ(bitOf(moxEqualFPEps(a.header(), b.header(), res.header(), 16777216.0f), res), 0);
        set(a, inf);
        EXPECT_EQ(bitOf(moxEqualFPEps(a.header(), a.header(), res.header(), 1.0f), res), 1);
        EXPECT_EQ(bitOf(moxEqual(a.header(), a.header(), res.header()), res), 1);
        set(a, -0.0f);
        EXPECT_EQ(bitOf(moxEqualSFP(a.header(), 0.0f, res.header()), res), 1);
    });
}

TEST(CompareEdges, anEmptyAreaIsLeftAlone) {
    TestLayout beyond = TestLayout::of(MOX_DEPTH_8U, 8, 8);
    beyond.setRoi(0, 8, 0, 4, 4);
    TestImage empty(beyond), image(TestLayout::of(MOX_DEPTH_8U, 8, 8)), res(TestLayout::ofMask(8, 8));
    for (const auto &[a, b] : {std::pair{&empty, &image}, {&image, &empty}}) {
        for (const Comparison &comparison : comparisonsOf(MOX_DEPTH_8U, 3, 0, 0))
            if (comparison.sources == 2 || a == &empty) checkComparison(comparison, *a, *b, res);
    }
}

}  // namespace
