// Warps and rotation where they are divided and where they end: tiles, levels, edges, numbers that mean harm.
#include <algorithm>
#include <cmath>
#include <limits>

#include "filter/filtercheck.h"
#include "geometry/ownscan.h"
#include "geometry/ownwarp.h"

namespace {

constexpr double INF = std::numeric_limits<double>::infinity(), NO = std::numeric_limits<double>::quiet_NaN();

// A warp of any kind.
struct Warped {
    int which;  // 0 affine, 1 bilinear, 2 perspective
    double coeffs[2][3];
    double quad[4][2];
    int flag, interpolate;

    void run(MoxImage *src, MoxImage *dst) {
        if (which == 0) moxWarpAffine(src, dst, coeffs, interpolate);
        if (which == 1) moxWarpBilinearQ(src, dst, quad, flag, interpolate);
        if (which == 2) moxWarpPerspectiveQ(src, dst, quad, flag, interpolate);
    }
};

double between(Random &random, double low, double high) {
    return low + (high - low) * random.bits() / 4294967295.0;
}

// Quadrangles of all shapes, also such that a perspective ends near its horizon.
Warped draw(Random &random, double width, double height) {
    Warped warped;
    warped.which = random.below(3);
    warped.flag = random.below(2);
    warped.interpolate = random.below(3) + (random.oneIn(2) ? MOX_SMOOTH_EDGE : 0);
    const double scale = random.oneIn(3) ? 4 : 1;
    for (auto &row : warped.coeffs) {
        for (double &value : row)
            value = between(random, -scale, scale);
        row[2] = between(random, -width, width);
    }
    const double at[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    const double jitter = random.oneIn(3) ? 0.01 : 0.45;
    for (int k = 0; k < 4; ++k) {
        warped.quad[k][0] = width * (at[k][0] + between(random, -jitter, jitter));
        warped.quad[k][1] = height * (at[k][1] + between(random, -jitter, jitter));
    }
    if (random.oneIn(4)) {
        // A thin triangle but for a thousandth.
        warped.quad[1][0] = warped.quad[0][0] + 0.01;
        warped.quad[1][1] = warped.quad[0][1] + 0.002;
    }
    if (random.oneIn(3)) {
        std::swap(warped.quad[1][0], warped.quad[3][0]);
        std::swap(warped.quad[1][1], warped.quad[3][1]);
    }
    return warped;
}

unsigned drawDepth(Random &random) {
    const unsigned depths[] = {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32F};
    return depths[random.below(4)];
}

TestLayout drawLayout(Random &random, unsigned depth, int channels, int order) {
    TestLayout layout = TestLayout::of(depth, random.between(4, 90), random.between(4, 60), channels, order);
    layout.extraStride = random.below(3);
    layout.dataShift = random.below(3);
    if (random.oneIn(2))
        layout.setRoi(0, random.below(5), random.below(5), random.between(2, 100), random.between(2, 70));
    return layout;
}

TEST(WarpEdges, tilesChangeNothing) {
    forEachCase(300, [](Random &random) {
        const unsigned depth = drawDepth(random);
        const int channels = depth == MOX_DEPTH_1U ? 1 : random.between(1, 4), order = random.below(2);
        const TestLayout from = drawLayout(random, depth, channels, order);
        const TestLayout to = drawLayout(random, depth, channels, order);
        Warped warped = draw(random, to.width, to.height);
        const uint64_t seed = random.next();
        TestImage src(from, seed), dst(to, seed + 1);
        TestLayout fromTiles = from, toTiles = to;
        const int tiled = random.between(1, 3);
        for (TestLayout *layout : {&fromTiles, &toTiles})
            layout->extraStride = layout->dataShift = 0;
        if (tiled & 1) fromTiles.tileWidth = 8 * random.between(1, 4), fromTiles.tileHeight = 8 * random.between(1, 4);
        if (tiled & 2) toTiles.tileWidth = 8 * random.between(1, 4), toTiles.tileHeight = 8 * random.between(1, 4);
        fromTiles.transientTiles = toTiles.transientTiles = random.oneIn(2);
        TestImage tiledSrc(fromTiles, seed), tiledDst(toTiles, seed + 1);
        TestImage mask(TestLayout::ofMask(random.between(20, 90), random.between(10, 60)), seed + 2);
        if (random.oneIn(2)) dst.setMask(&mask), tiledDst.setMask(&mask);
        for (int y = 0; y < from.height; ++y) {
            for (int x = 0; x < from.width; ++x) {
                for (int c = 0; c < channels; ++c)
                    tiledSrc.set(c, x, y, src.get(c, x, y));
            }
        }
        const auto forEachSample = [&](auto run) {
            for (int y = 0; y < to.height; ++y) {
                for (int x = 0; x < to.width; ++x) {
                    for (int c = 0; c < channels; ++c)
                        run(c, x, y);
                }
            }
        };
        forEachSample([&](int c, int x, int y) { tiledDst.set(c, x, y, dst.get(c, x, y)); });
        ReportRecorder reports;
        warped.run(src.header(), dst.header());
        const std::string told = reports.text();
        reports.seen.clear();
        warped.run(tiledSrc.header(), tiledDst.header());
        EXPECT_EQ(reports.text().empty(), told.empty());
        int differing = 0;
        forEachSample([&](int c, int x, int y) { differing += dst.get(c, x, y) != tiledDst.get(c, x, y); });
        EXPECT_EQ(differing, 0) << warped.which << " flag " << warped.flag << " kind " << warped.interpolate << " "
                                << from.describe() << " to " << to.describe();
    });
}

TEST(WarpEdges, levelsAgree) {
    forEachCase(200, [](Random &random) {
        const unsigned depth = drawDepth(random);
        const int channels = depth == MOX_DEPTH_1U ? 1 : random.between(1, 5), order = random.below(2);
        const TestLayout from = drawLayout(random, depth, channels, order);
        const TestLayout to = drawLayout(random, depth, channels, order);
        Warped warped = draw(random, to.width, to.height);
        const uint64_t seed = random.next();
        TestImage src(from, seed), dst(to, seed + 1);
        const TestBytes source = src.bytes(), before = dst.bytes();
        TestBytes wanted;
        forEachCpuLevel([&] {
            dst.setBytes(before);
            ReportRecorder reports;
            warped.run(src.header(), dst.header());
            EXPECT_TRUE(src.holds(source));
            if (wanted.empty()) wanted = dst.bytes();
            EXPECT_TRUE(dst.holds(wanted)) << warped.which << " flag " << warped.flag << " kind " << warped.interpolate
                                           << " " << from.describe() << " to " << to.describe();
        });
    });
}

// Whatever numbers come, nothing is written beside the destination's samples.
TEST(WarpEdges, numbersThatMeanHarmStayWithinTheImages) {
    const double evil[] = {0, 1, -1, NO, INF, -INF, 1e300, -1e300, 1e19, -3e9, 1e-300, 65536.5, 5e-8};
    forEachCase(400, [&](Random &random) {
        const unsigned depth = drawDepth(random);
        const TestLayout from = drawLayout(random, depth, 1, 0), to = drawLayout(random, depth, 1, 0);
        Warped warped = draw(random, to.width, to.height);
        for (int k = random.between(1, 3); k > 0; --k) {
            warped.coeffs[random.below(2)][random.below(3)] = evil[random.below(13)];
            warped.quad[random.below(4)][random.below(2)] = evil[random.below(13)];
        }
        TestImage src(from, 1), dst(to, 2);
        const TestBytes before = dst.bytes();
        ReportRecorder reports;
        warped.run(src.header(), dst.header());
        moxRotate(src.header(), dst.header(), evil[random.below(13)], evil[random.below(13)], evil[random.below(13)],
                  warped.interpolate);
        moxRotate(src.header(), dst.header(), 90 * random.between(0, 3), evil[random.below(13)], evil[random.below(13)],
                  warped.interpolate);
        const TestBytes samples = dst.sampleBits();
        for (size_t i = 0; i < before.size(); ++i)
            ASSERT_EQ((before[i] ^ dst.bytes()[i]) & ~samples[i], 0) << i;
    });
}

// Pixels of a right angle are told by their places alone.
TEST(RotateEdges, rightAnglesMovePixels) {
    forEachCase(100, [](Random &random) {
        const unsigned depth = drawDepth(random);
        const int channels = depth == MOX_DEPTH_1U ? 1 : random.between(1, 6), order = random.below(2);
        TestLayout from = drawLayout(random, depth, channels, order), to = drawLayout(random, depth, channels, order);
        if (random.oneIn(4)) from.width += 300, to.height += 400, to.width += 700, from.height += 600;
        if (channels > 1 && random.oneIn(4)) {
            from.setRoi(random.between(1, channels), 1, 2, 50, 40);
            to.setRoi(random.between(1, channels), 2, 1, 40, 50);
        }
        const uint64_t seed = random.next();
        const int angle = 90 * random.between(1, 3);
        const int xShift = random.between(-20, 90), yShift = random.between(-20, 90);
        TestImage mask(TestLayout::ofMask(random.between(20, 90), random.between(10, 60)), seed + 2);
        const bool masked = random.oneIn(3);
        forEachCpuLevel([&] {
            TestImage src(from, seed), dst(to, seed + 1);
            if (masked) dst.setMask(&mask);
            TestBytes wanted = dst.bytes();
            for (int y = from.regionY(); y < from.regionY() + from.regionHeight(); ++y) {
                for (int x = from.regionX(); x < from.regionX() + from.regionWidth(); ++x) {
                    const int toX = angle == 90 ? y + xShift : angle == 180 ? xShift - x : xShift - y;
                    const int toY = angle == 90 ? yShift - x : angle == 180 ? yShift - y : x + yShift;
                    const int i = toX - to.regionX(), j = toY - to.regionY();
                    if (i < 0 || j < 0 || i >= to.regionWidth() || j >= to.regionHeight()) continue;
                    if (masked && (i >= mask.layout().width || j >= mask.layout().height || mask.get(0, i, j) == 0))
                        continue;
                    for (int c = 0; c < from.channelCount(); ++c)
                        dst.setIn(wanted, to.firstChannel() + c, toX, toY, src.get(from.firstChannel() + c, x, y));
                }
            }
            ReportRecorder reports;
            moxRotate(src.header(), dst.header(), angle, xShift, yShift, 99);
            EXPECT_TRUE(reports.none());
            EXPECT_TRUE(dst.holds(wanted))
                << angle << " by " << xShift << ", " << yShift << ": " << from.describe() << " to " << to.describe();
        });
    });
}

// Every level makes the positions that plain loops make.
TEST(WarpRows, positionsAreThoseOfPlainLoops) {
    forEachCpuLevel([] {
        const OwnWarpRows &rows = ownWarpRows();
        forEachCase(50, [&](Random &random) {
            const size_t n = static_cast<size_t>(random.between(1, 70));
            float single[2][80], at[3], step[3], low[] = {-1, -1};
            float *const singles[] = {single[0], single[1]};
            for (int k = 0; k < 3; ++k) {
                at[k] = static_cast<float>(between(random, k == 2 ? 0.5 : 0, k == 2 ? 1 : 300));
                step[k] = static_cast<float>(between(random, -0.001, 0.001));
            }
            const size_t fours = (n + 3) / 4;
            float start[] = {at[0], at[1], at[2]};
            rows.quotients(at, step, low, singles, fours);
            for (size_t i = 0; i < 4 * fours; ++i) {
                float forms[3];
                for (int k = 0; k < 3; ++k) {
                    forms[k] = start[k] + step[k] * static_cast<float>(i % 4);
                    if (i % 4 == 3) start[k] += 4 * step[k];
                }
                ASSERT_EQ(single[0][i], forms[0] / forms[2]);
                ASSERT_EQ(single[1][i], forms[1] / forms[2]);
            }
            ASSERT_EQ(at[0], start[0]);

            int32_t fixed[80], pixels[80];
            const int64_t first =
                random.oneIn(2) ? int64_t{random.between(-70000, 70000)} << 14 : int64_t{random.bits()} << 9;
            const int64_t by = random.oneIn(2) ? random.between(-70000, 70000) : int64_t{random.bits()} << 8;
            rows.fixed(first, by, fixed, n);
            rows.fixedPixels(first, by, pixels, n);
            for (size_t i = 0; i < n; ++i) {
                const int64_t value = first + by * static_cast<int64_t>(i);
                ASSERT_EQ(fixed[i], std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
                ASSERT_EQ(pixels[i], std::clamp<int64_t>(value >> 16, -32768, 32767));
            }

            float sums[] = {start[0], start[1]}, kept[] = {start[0], start[1]};
            rows.stepSingle(sums, step, singles, n);
            for (size_t i = 0; i < n; ++i) {
                ASSERT_EQ(single[0][i], kept[0]);
                ASSERT_EQ(single[1][i], kept[1]);
                kept[0] += step[0];
                kept[1] += step[1];
            }

            float four[8][80], atFour[8];
            float *const fours8[] = {four[0], four[1], four[2], four[3], four[4], four[5], four[6], four[7]};
            for (int k = 0; k < 8; ++k)
                atFour[k] = static_cast<float>(between(random, 0, 300));
            float expected[8];
            std::copy(atFour, atFour + 8, expected);
            rows.stepFourSingle(atFour, step, fours8, fours * 4);
            for (size_t i = 0; i < fours * 4; ++i) {
                for (size_t k = 0; k < 8; ++k) {
                    ASSERT_EQ(four[k][i], expected[k]);
                    expected[k] += step[k / 4];
                }
            }
            for (size_t k = 0; k < 8; ++k)
                ASSERT_EQ(atFour[k], expected[k]);

            uint8_t bits[16];
            const float rectangle[] = {kept[0], kept[1] - 1, kept[0] + 1, kept[1] + 1};
            rows.within(singles, rectangle, bits, n);
            for (size_t i = 0; i < n; ++i) {
                const bool in = single[0][i] >= rectangle[0] && single[0][i] <= rectangle[2] &&
                                single[1][i] >= rectangle[1] && single[1][i] <= rectangle[3];
                ASSERT_EQ(bits[i / 8] >> (7 - i % 8) & 1, in ? 1 : 0);
            }
        });
    });
}

// Edges are part of a quadrangle, and its rows end where its sides are.
TEST(WarpScan, hasThePixelsWithin) {
    const double quad[4][2] = {{2, 1}, {10, 1}, {12, 4}, {4, 4}};
    const OwnCorners corners = {0, 0, 11, 9};
    const OwnScan scan = ownScanPolygon(ownClip(quad, corners), corners, true);
    const int64_t wanted[4][2] = {{2, 10}, {3, 10}, {4, 11}, {4, 11}};
    int64_t y = 1;
    for (int k = 0; k < scan.count; ++k) {
        for (int64_t row = scan.bands[k].first; row <= scan.bands[k].last; ++row, ++y) {
            int64_t first, last;
            ASSERT_EQ(row, y);
            ASSERT_TRUE(ownScanRow(scan.bands[k], corners, row, &first, &last));
            EXPECT_EQ(first, wanted[row - 1][0]) << row;
            EXPECT_EQ(last, wanted[row - 1][1]) << row;
        }
    }
    EXPECT_EQ(y, 5);
}

}  // namespace
