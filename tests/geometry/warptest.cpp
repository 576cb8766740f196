// Warps: results that are told.
#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "filter/filtercheck.h"
#include "geometry/quadfunctions.h"
#include "geometry/warppair.h"

namespace {

constexpr uint32_t OLD = 7;

// A picture of one depth in which every sample is v(x, y).
template <typename Value>
void paint(TestImage &image, const Value &v) {
    const TestLayout &layout = image.layout();
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            const double value = v(x, y);
            for (int channel = 0; channel < layout.channels; ++channel) {
                image.set(channel, x, y,
                          layout.depth == MOX_DEPTH_32F ? std::bit_cast<uint32_t>(static_cast<float>(value))
                                                        : static_cast<uint32_t>(value));
            }
        }
    }
}

double numberAt(const TestImage &image, int x, int y) {
    const uint32_t sample = image.get(0, x, y);
    return image.layout().depth == MOX_DEPTH_32F ? static_cast<double>(std::bit_cast<float>(sample)) : sample;
}

void affine(TestImage &src, TestImage &dst, RefCoeffs c, int interpolate) {
    moxWarpAffine(src.header(), dst.header(), reinterpret_cast<double(*)[3]>(&c), interpolate);
}
void warpQ(RefMap map, TestImage &src, TestImage &dst, RefQuad quad, int warpFlag, int interpolate) {
    const auto corners = reinterpret_cast<double(*)[2]>(&quad);
    (map == RefMap::BILINEAR ? moxWarpBilinearQ : moxWarpPerspectiveQ)(src.header(), dst.header(), corners, warpFlag,
                                                                       interpolate);
}

constexpr RefMap quadMaps[] = {RefMap::BILINEAR, RefMap::PERSPECTIVE};
const RefQuad unit = {{{0, 0}, {19, 0}, {19, 9}, {0, 9}}};

TEST(WarpImage, theIdentityCopies) {
    for (const unsigned depth : warpDepths) {
        for (int kind = 0; kind < 3; ++kind) {
            TestImage src(TestLayout::of(depth, 20, 10), 1), dst(TestLayout::of(depth, 24, 12), 2);
            if (depth == MOX_DEPTH_32F) paint(src, [](int x, int y) { return x * 3 - y; });
            TestBytes wanted = dst.bytes();
            for (int y = 0; y < 10; ++y) {
                for (int x = 0; x < 20; ++x)
                    dst.setIn(wanted, 0, x, y, src.get(0, x, y));
            }
            const TestBytes before = dst.bytes();
            ReportRecorder reports;
            affine(src, dst, {1, 0, 0, 0, 1, 0}, kind);
            EXPECT_TRUE(dst.holds(wanted)) << depthName(depth) << " " << kind;
            for (const RefMap map : quadMaps) {
                // Positions of a perspective map are quotients of floats, and only nearly whole.
                if (map == RefMap::PERSPECTIVE && depth == MOX_DEPTH_32F && kind != 0) continue;
                for (const int flag : {0, 1}) {
                    dst.setBytes(before);
                    if (flag == 1) dst.header()->width = 20, dst.header()->height = 10;
                    warpQ(map, src, dst, unit, flag, kind);
                    dst.header()->width = 24, dst.header()->height = 12;
                    EXPECT_TRUE(dst.holds(wanted)) << depthName(depth) << " " << kind << " " << mapName(map) << flag;
                }
            }
            EXPECT_TRUE(reports.none());
        }
    }
}

// 100 and 101 in the middle: halves up, and half a grey level lower.
TEST(WarpImage, linearBytesRoundByTheKindOfMap) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 24, 12), 2);
    paint(src, [](int x, int) { return 100 + x; });
    affine(src, dst, {1, 0, 0.5, 0, 1, 0}, MOX_INTER_LINEAR);
    EXPECT_EQ(dst.get(0, 1, 1), 101u);
    EXPECT_EQ(dst.get(0, 19, 9), 119u);
    for (const RefMap map : quadMaps) {
        dst.setAll(OLD);
        warpQ(map, src, dst, {{{0.5, 0}, {19.5, 0}, {19.5, 9}, {0.5, 9}}}, 0, MOX_INTER_LINEAR);
        EXPECT_EQ(dst.get(0, 1, 1), 100u);
        EXPECT_EQ(dst.get(0, 19, 9), 118u);
        EXPECT_EQ(dst.get(0, 0, 1), OLD);
        EXPECT_EQ(dst.get(0, 20, 1), OLD);
    }
    // The constant of 33 is too small for anything but rows that were cut: 6 of 20 bits.
    paint(src, [](int x, int) { return x % 2 == 0 ? 0 : 255; });
    warpQ(RefMap::BILINEAR, src, dst, {{{0.25, 0}, {19.25, 0}, {19.25, 9}, {0.25, 9}}}, 0, MOX_INTER_LINEAR);
    EXPECT_EQ(dst.get(0, 2, 1), 63u);
    EXPECT_EQ(dst.get(0, 1, 1), 191u);
}

// The nearest neighbour of affine maps takes halves up, that of the others to even.
TEST(WarpImage, nearestNeighboursOfHalves) {
    TestImage src(TestLayout::of(MOX_DEPTH_16U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_16U, 24, 12), 2);
    paint(src, [](int x, int) { return 1000 + x; });
    affine(src, dst, {1, 0, 0.5, 0, 1, 0}, MOX_INTER_NN);
    for (int x = 1; x <= 19; ++x)
        EXPECT_EQ(dst.get(0, x, 3), static_cast<uint32_t>(1000 + x));
    warpQ(RefMap::BILINEAR, src, dst, {{{0.5, 0}, {19.5, 0}, {19.5, 9}, {0.5, 9}}}, 0, MOX_INTER_NN);
    for (int x = 1; x <= 19; ++x)
        EXPECT_EQ(dst.get(0, x, 3), static_cast<uint32_t>(1000 + x / 2 * 2));
}

// Lagrange's polynomials of the third order: they bring a cubic back, which other kernels do not, and pass the samples.
TEST(WarpImage, cubicSamplesAreThoseOfAPolynomial) {
    const auto cubic = [](double x, double y) {
        return 20000 + 9 * x * x * x - 70 * x * x + 5 * x + y * y * y - 3 * y;
    };
    for (const unsigned depth : {MOX_DEPTH_16U, MOX_DEPTH_32F}) {
        TestImage src(TestLayout::of(depth, 12, 10), 1), dst(TestLayout::of(depth, 40, 30), 2);
        paint(src, cubic);
        affine(src, dst, {3, 0, 0, 0, 2.5, 0}, MOX_INTER_CUBIC);
        for (int y = 0; y <= 22; ++y) {
            for (int x = 0; x <= 33; ++x) {
                const double wanted = cubic(x / 3.0, y / 2.5);
                ASSERT_NEAR(numberAt(dst, x, y), wanted, depth == MOX_DEPTH_16U ? 0.5001 : 0.05) << x << " " << y;
            }
        }
        EXPECT_EQ(numberAt(dst, 9, 5), cubic(3, 2));
    }
    // In bytes between 4 samples, the first two of which alone differ from 0: 9/16 and -1/16 of them.
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 8, 8), 1), dst(TestLayout::of(MOX_DEPTH_8U, 16, 8), 2);
    paint(src, [](int x, int) { return x == 3 ? 160 : 0; });
    affine(src, dst, {2, 0, 0, 0, 1, 0}, MOX_INTER_CUBIC);
    EXPECT_EQ(dst.get(0, 6, 3), 160u);
    EXPECT_EQ(dst.get(0, 7, 3), 90u);
    EXPECT_EQ(dst.get(0, 5, 3), 90u);
    EXPECT_EQ(dst.get(0, 9, 3), 0u);  // -10, cut
    EXPECT_EQ(dst.get(0, 8, 3), 0u);
}

TEST(WarpImage, cubicWithoutFourPixelsIsLinear) {
    for (const unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32F}) {
        for (const bool rows : {false, true}) {
            const int width = rows ? 9 : 3, height = rows ? 3 : 9;
            for (const RefMap map : allMaps) {
                TestImage src(TestLayout::of(depth, width, height), 1);
                TestImage a(TestLayout::of(depth, 20, 20), 2), b(TestLayout::of(depth, 20, 20), 2);
                const RefQuad quad = {{{1, 2}, {15, 3}, {17, 18}, {3, 15}}};
                for (TestImage *dst : {&a, &b}) {
                    const int kind = dst == &a ? MOX_INTER_CUBIC : MOX_INTER_LINEAR;
                    if (map == RefMap::AFFINE) {
                        affine(src, *dst, {2.5, 0.25, 1, -0.5, 2.25, 4}, kind);
                    } else {
                        warpQ(map, src, *dst, quad, 0, kind);
                    }
                }
                EXPECT_FALSE(a.holds(TestImage(a.layout(), 2).bytes()));
                for (int k = 0; k < 400; ++k)
                    ASSERT_EQ(a.get(0, k % 20, k / 20), b.get(0, k % 20, k / 20)) << mapName(map) << " " << k;
            }
        }
    }
}

// Where the quadrangle lies in the source, a source of one row gives its nearest pixels.
TEST(WarpImage, aSingleRowGivesNearestNeighbours) {
    for (const unsigned depth : warpDepths) {
        TestImage src(TestLayout::of(depth, 20, 1), 1);
        TestImage a(TestLayout::of(depth, 30, 20), 2), b(TestLayout::of(depth, 30, 20), 2);
        for (const RefMap map : quadMaps) {
            const RefQuad quad = {{{0, -1}, {19, -1}, {19, 1}, {0, 1}}};
            warpQ(map, src, a, quad, 1, MOX_INTER_CUBIC);
            warpQ(map, src, b, quad, 1, MOX_INTER_NN);
            for (int k = 0; k < 600; ++k)
                ASSERT_EQ(a.get(0, k % 30, k / 30), b.get(0, k % 30, k / 30)) << depthName(depth);
        }
    }
}

// Edges belong to the quadrangle, also those that lie within 1e-14 beside a pixel; nothing beyond them is written.
TEST(WarpImage, edgesBelongToTheQuadrangle) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 30, 20), 2);
    paint(src, [](int, int) { return 200; });
    const auto area = [&](const RefQuad &quad) {
        std::string text;
        for (const RefMap map : quadMaps) {
            dst.setAll(OLD);
            warpQ(map, src, dst, quad, 0, MOX_INTER_LINEAR);
            int left = 99, top = 99, right = -1, bottom = -1, count = 0;
            for (int y = 0; y < 20; ++y) {
                for (int x = 0; x < 30; ++x) {
                    if (dst.get(0, x, y) == OLD) continue;
                    left = std::min(left, x), right = std::max(right, x);
                    top = std::min(top, y), bottom = std::max(bottom, y);
                    ++count;
                }
            }
            EXPECT_EQ(count, count == 0 ? 0 : (right - left + 1) * (bottom - top + 1));
            const std::string found = std::to_string(left) + " " + std::to_string(top) + " " + std::to_string(right) +
                                      " " + std::to_string(bottom);
            EXPECT_TRUE(text.empty() || text == found) << text << ", " << found;
            text = found;
        }
        return text;
    };
    const auto box = [](double l, double t, double r, double b) { return RefQuad{{{l, t}, {r, t}, {r, b}, {l, b}}}; };
    EXPECT_EQ(area(box(3, 4, 10, 9)), "3 4 10 9");
    EXPECT_EQ(area(box(3.25, 4.25, 10.25, 9.25)), "4 5 10 9");
    EXPECT_EQ(area(box(2.75, 3.75, 9.75, 8.75)), "3 4 9 8");
    // A column within the bound is taken, one beyond it is not; of rows there is no such bound.
    EXPECT_EQ(area(box(3 + 5e-15, 4, 11 - 5e-15, 9)), "3 4 11 9");
    EXPECT_EQ(area(box(3 + 1e-13, 4, 11 - 1e-13, 9)), "4 4 10 9");
    EXPECT_EQ(area(box(3, 4 + 5e-15, 11, 9 - 5e-15)), "3 5 11 8");
    // Cut by the destination.
    EXPECT_EQ(area(box(-3, -4, 11, 9)), "0 0 11 9");
    EXPECT_EQ(area(box(20.5, 12.5, 77, 99)), "21 13 29 19");
    EXPECT_EQ(area(box(-1000, -1000, 1000, 1000)), "0 0 29 19");
    EXPECT_EQ(area(box(29, 19, 40, 40)), "29 19 29 19");
    // What is left is a point, a column, a row.
    EXPECT_EQ(area(box(-5, -5, 0, 0)), "0 0 0 0");
    EXPECT_EQ(area(box(-5, -5, 0, 4.5)), "0 0 0 4");
    EXPECT_EQ(area(box(2.5, -5, 9.5, 0)), "3 0 9 0");
    EXPECT_EQ(area(box(2.5, 19, 9.5, 40)), "3 19 9 19");
    // Between pixels, and beside everything.
    EXPECT_EQ(area(box(3.25, 4, 3.75, 9)), "99 99 -1 -1");
    EXPECT_EQ(area(box(3, 4.25, 9, 4.75)), "99 99 -1 -1");
    EXPECT_EQ(area(box(30, 4, 40, 9)), "99 99 -1 -1");
    EXPECT_EQ(area(box(3, -9, 9, -0.5)), "99 99 -1 -1");
}

// Both windings are legal; what changes is where the source's corners come to.
TEST(WarpImage, bothWindings) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    for (const RefMap map : quadMaps) {
        warpQ(map, src, dst, {{{19, 0}, {0, 0}, {0, 9}, {19, 9}}}, 0, MOX_INTER_NN);
        for (int k = 0; k < 200; ++k)
            ASSERT_EQ(dst.get(0, k % 20, k / 20), src.get(0, 19 - k % 20, k / 20)) << mapName(map);
        warpQ(map, src, dst, {{{19, 9}, {0, 9}, {0, 0}, {19, 0}}}, 0, MOX_INTER_NN);
        for (int k = 0; k < 200; ++k)
            ASSERT_EQ(dst.get(0, k % 20, k / 20), src.get(0, 19 - k % 20, 9 - k / 20)) << mapName(map);
    }
}

// Pixels that come from beyond the source's region keep their values; its outermost pixels' centres are within.
TEST(WarpImage, whatComesFromOutsideTheSourceStays) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 12);
    layout.setRoi(0, 4, 3, 10, 6);  // columns 4 to 13, rows 3 to 8
    TestImage src(layout, 1), dst(TestLayout::of(MOX_DEPTH_8U, 17, 9), 2);
    paint(src, [](int x, int y) { return 20 * y + x; });
    for (const RefMap map : quadMaps) {
        for (int kind = 0; kind < 3; ++kind) {
            dst.setAll(OLD);
            ReportRecorder reports;
            warpQ(map, src, dst, {{{1, 2}, {17, 2}, {17, 10}, {1, 10}}}, 1, kind | MOX_SMOOTH_EDGE);
            EXPECT_TRUE(reports.none());
            for (int y = 0; y < 9; ++y) {
                for (int x = 0; x < 17; ++x) {
                    const bool within = x + 1 >= 4 && x + 1 <= 13 && y + 2 >= 3 && y + 2 <= 8;
                    ASSERT_EQ(dst.get(0, x, y), within ? static_cast<uint32_t>(20 * (y + 2) + x + 1) : OLD)
                        << mapName(map) << " " << kind << " " << x << " " << y;
                }
            }
        }
    }
    // By the middle of pixels: nothing of the row and column before is taken.
    dst.setAll(OLD);
    warpQ(RefMap::BILINEAR, src, dst, {{{1.5, 2.5}, {17.5, 2.5}, {17.5, 10.5}, {1.5, 10.5}}}, 1, MOX_INTER_NN);
    EXPECT_EQ(dst.get(0, 2, 2), OLD);
    EXPECT_EQ(dst.get(0, 3, 0), OLD);
    EXPECT_NE(dst.get(0, 3, 1), OLD);
    EXPECT_NE(dst.get(0, 11, 5), OLD);
    EXPECT_EQ(dst.get(0, 12, 5), OLD);
    EXPECT_EQ(dst.get(0, 11, 6), OLD);
}

// A square of whole corners under 45 degrees, another one under an edge of slope 1/2.
TEST(WarpImage, smoothEdgesMixThePixelOutsideWithTheOneInside) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 40, 30), 2);
    paint(src, [](int, int) { return 200; });
    // The upper edge goes from (2, 4) to (22, 14), the lower one from (22, 24) to (2, 14); left and right are vertical.
    const RefQuad corners = {{{2, 4}, {22, 14}, {22, 24}, {2, 14}}};
    for (const RefMap map : quadMaps) {
        for (const bool reversed : {false, true}) {
            RefQuad quad = corners;
            if (reversed) std::swap(quad[1], quad[3]);
            dst.setAll(100);
            warpQ(map, src, dst, quad, 0, MOX_INTER_NN | MOX_SMOOTH_EDGE);
            for (int x = 2; x <= 22; ++x) {
                const double upper = 4 + (x - 2) / 2.0, lower = upper + 10;
                for (int y = 0; y < 30; ++y) {
                    uint32_t wanted = y >= upper && y <= lower ? 200 : 100;
                    // Half of the way.
                    if (y == upper - 0.5 || y == lower + 0.5) wanted = 150;
                    ASSERT_EQ(dst.get(0, x, y), wanted) << mapName(map) << " " << x << " " << y;
                }
            }
            for (int y = 0; y < 30; ++y) {
                EXPECT_EQ(dst.get(0, 1, y), 100u);
                EXPECT_EQ(dst.get(0, 23, y), 100u);
            }
        }
    }
    // The same by an affine map, with edges that are steep.
    dst.setAll(100);
    affine(src, dst, {10.0 / 19, -5.0 / 9, 12, 0, 10.0 / 9, 4}, MOX_INTER_LINEAR | MOX_SMOOTH_EDGE);
    for (int y = 4; y <= 14; ++y) {
        const double left = 12 - (y - 4) / 2.0, right = left + 10;
        for (int x = 0; x < 40; ++x) {
            uint32_t wanted = x >= left && x <= right ? 200 : 100;
            if (x == left - 0.5 || x == right + 0.5) wanted = 150;
            ASSERT_EQ(dst.get(0, x, y), wanted) << x << " " << y;
        }
    }
}

TEST(WarpImage, bitsHaveNoSmoothEdges) {
    TestImage src(TestLayout::of(MOX_DEPTH_1U, 20, 10), 1);
    TestImage a(TestLayout::of(MOX_DEPTH_1U, 40, 30), 2), b(TestLayout::of(MOX_DEPTH_1U, 40, 30), 2);
    const RefQuad quad = {{{2, 4}, {22, 14}, {22, 24}, {2, 14}}};
    warpQ(RefMap::BILINEAR, src, a, quad, 0, MOX_INTER_NN | MOX_SMOOTH_EDGE);
    warpQ(RefMap::BILINEAR, src, b, quad, 0, MOX_INTER_NN);
    for (int k = 0; k < 1200; ++k)
        ASSERT_EQ(a.get(0, k % 40, k / 40), b.get(0, k % 40, k / 40));
}

TEST(WarpImage, smoothEdgesLeaveAlphaAndOtherChannelsAlone) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 40, 30, 4);
    for (const bool coi : {false, true}) {
        TestLayout four = layout;
        four.alpha = 4;
        if (coi) four.setRoi(2, 0, 0, 40, 30);
        TestImage src(four, 1), dst(four, 2);
        const TestBytes before = dst.bytes();
        warpQ(RefMap::PERSPECTIVE, src, dst, {{{2, 4}, {22, 14}, {22, 24}, {2, 14}}}, 0,
              MOX_INTER_LINEAR | MOX_SMOOTH_EDGE);
        for (int channel = 0; channel < 4; ++channel) {
            int changed = 0;
            for (int k = 0; k < 1200; ++k)
                changed += dst.get(channel, k % 40, k / 40) != dst.getIn(before, channel, k % 40, k / 40);
            EXPECT_EQ(changed > 0, coi ? channel == 1 : channel < 3) << channel;
        }
    }
}

// A pixel whose bit is 0, or that the mask does not reach, is not written, nor smoothed.
TEST(WarpImage, theDestinationsMaskHoldsAndTheSourcesDoesNot) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 40, 30), 2);
    TestImage mask(TestLayout::ofMask(18, 20), 3), none(TestLayout::ofMask(2, 2), 4);
    none.setAll(0);
    paint(src, [](int, int) { return 200; });
    src.setMask(&none);
    const RefQuad quad = {{{2, 4}, {22, 14}, {22, 24}, {2, 14}}};
    TestImage open(dst.layout(), 2);
    for (const RefMap map : quadMaps) {
        for (TestImage *each : {&dst, &open}) {
            each->setAll(100);
            each->setMask(each == &dst ? &mask : nullptr);
            warpQ(map, src, *each, quad, 0, MOX_INTER_LINEAR);
        }
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 40; ++x) {
                const bool may = x < 18 && y < 20 && mask.get(0, x, y);
                ASSERT_EQ(dst.get(0, x, y), may ? open.get(0, x, y) : 100u) << x << " " << y;
            }
        }
        for (TestImage *each : {&dst, &open}) {
            each->setAll(100);
            warpQ(map, src, *each, quad, 0, MOX_INTER_LINEAR | MOX_SMOOTH_EDGE);
        }
        for (int y = 0; y < 30; ++y) {
            for (int x = 0; x < 40; ++x) {
                if (x < 18 && y < 20 && mask.get(0, x, y)) continue;
                ASSERT_EQ(dst.get(0, x, y), 100u) << x << " " << y;
            }
        }
    }
}

TEST(WarpImage, anImageOfAlphaAloneStays) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10);
    layout.alpha = 1;
    TestImage src(layout, 1), dst(layout, 2);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    affine(src, dst, {1, 0, 0, 0, 1, 0}, MOX_INTER_LINEAR | MOX_SMOOTH_EDGE);
    for (const RefMap map : quadMaps) {
        warpQ(map, src, dst, unit, 0, MOX_INTER_CUBIC | MOX_SMOOTH_EDGE);
        warpQ(map, src, dst, unit, 1, MOX_INTER_NN);
    }
    EXPECT_TRUE(dst.holds(before));
    EXPECT_TRUE(reports.none());
}

// Coefficients say where the source's region comes to, or which part of the source the destination's region gets.
TEST(WarpImage, coefficientsAreTheQuadrangleThatTheyMake) {
    TestLayout from = TestLayout::of(MOX_DEPTH_16U, 20, 16), to = TestLayout::of(MOX_DEPTH_16U, 30, 30);
    from.setRoi(0, 2, 3, 15, 12);
    to.setRoi(0, 1, 2, 27, 26);
    const struct {
        RefMap map;
        RefCoeffs coeffs;
    } maps[] = {{RefMap::BILINEAR, {0.01, 0.9, 0.1, 2, -0.02, -0.05, 1.1, 3}},
                {RefMap::PERSPECTIVE, {1, 0.1, 1, -0.1, 1.2, 2, 0.01, 0.005, 1}}};
    for (const auto &each : maps) {
        for (const int flag : {0, 1}) {
            TestImage src(from, 1), a(to, 2), b(to, 2);
            RefCoeffs coeffs = each.coeffs;
            const RefQuad quad = refMappedQuad(each.map, coeffs, rectOf(flag == 0 ? src : a));
            ReportRecorder reports;
            if (each.map == RefMap::BILINEAR) {
                moxWarpBilinear(src.header(), a.header(), reinterpret_cast<double(*)[4]>(&coeffs), flag, 1);
            } else {
                moxWarpPerspective(src.header(), a.header(), reinterpret_cast<double(*)[3]>(&coeffs), flag, 1);
            }
            warpQ(each.map, src, b, quad, flag, 1);
            EXPECT_TRUE(reports.none());
            int changed = 0;
            for (int k = 0; k < 900; ++k) {
                ASSERT_EQ(a.get(0, k % 30, k / 30), b.get(0, k % 30, k / 30)) << mapName(each.map) << " " << flag;
                changed += a.get(0, k % 30, k / 30) != TestImage(to, 2).get(0, k % 30, k / 30);
                if (changed > 50) break;
            }
            EXPECT_GT(changed, 50);
        }
    }
}

// The step of a fixed position is rounded once, and its error adds up along the row: at column x of the image, where a
// position would be x / 3, it is 21845 x / 65536.
TEST(WarpImage, fixedStepsAddTheirErrorUp) {
    const int width = 3000;
    TestImage src(TestLayout::of(MOX_DEPTH_8U, width, 2), 1), dst(TestLayout::of(MOX_DEPTH_8U, 3 * width, 2), 2);
    paint(src, [](int x, int) { return x % 2 * 250; });
    affine(src, dst, {3, 0, 0, 0, 1, 0}, MOX_INTER_LINEAR);
    int off = 0;
    for (int x = 0; x < 3 * width - 2; ++x) {
        const int64_t position = 21845 * int64_t{x};
        const int ix = static_cast<int>(position >> 16), fx = static_cast<int>((position & 0xFFFF) >> 2);
        const int p = ix % 2 * 250, q = (ix + 1) % 2 * 250;
        const int row = (p * (16384 - fx) + q * fx) >> 8;
        ASSERT_EQ(dst.get(0, x, 0), static_cast<uint32_t>((row * 16384 + 0x80000) >> 20)) << x;
        off += x % 3 == 0 && dst.get(0, x, 0) != src.get(0, x / 3, 0);
    }
    EXPECT_GT(off, 2000);
}

// The nearest neighbour of affine maps has indices of 16 bits, other kinds have not.
TEST(WarpImage, nearestNeighboursEndAt32767) {
    for (const unsigned depth : warpDepths) {
        TestImage src(TestLayout::of(depth, 34000, 2), 1), dst(TestLayout::of(depth, 34000, 2), 2);
        paint(src, [](int x, int) { return x % 2; });
        affine(src, dst, {1, 0, 0, 0, 1, 0}, MOX_INTER_NN);
        for (int x = 32000; x < 34000; ++x)
            ASSERT_EQ(dst.get(0, x, 1), src.get(0, std::min(x, 32767), 1)) << x;
        if (depth == MOX_DEPTH_1U) continue;
        affine(src, dst, {1, 0, 0, 0, 1, 0}, MOX_INTER_LINEAR);
        for (int x = 32000; x < 34000; ++x)
            ASSERT_EQ(dst.get(0, x, 1), src.get(0, x, 1)) << x;
    }
}

// Tiles of the destination are gone through row by row, each once at most, and those that nothing comes to not at all.
TEST(WarpTiles, areTakenInTheirOrder) {
    TestLayout to = TestLayout::of(MOX_DEPTH_8U, 64, 48);
    to.tileWidth = 16;
    to.tileHeight = 8;
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(to, 2);
    const RefQuad quad = {{{18, 9}, {44, 10}, {45, 20}, {20, 22}}};  // in columns 1 and 2, rows 1 and 2
    for (const RefMap map : quadMaps) {
        TileLog log;
        warpQ(map, src, dst, quad, 0, MOX_INTER_LINEAR);
        EXPECT_TRUE(log.paired());
        std::vector<std::pair<int, int>> written;
        for (const TileEvent &event : log.events) {
            EXPECT_EQ(event.image, &dst);
            if (event.mode == MOX_TileWrite) written.push_back({event.row, event.column});
            EXPECT_NE(event.mode, MOX_TileRead);
        }
        EXPECT_TRUE(std::is_sorted(written.begin(), written.end()));
        EXPECT_EQ(std::adjacent_find(written.begin(), written.end()), written.end());
        for (int row = 1; row <= 2; ++row) {
            for (int column = 1; column <= 2; ++column)
                EXPECT_EQ(std::count(written.begin(), written.end(), std::pair(row, column)), 1);
        }
        EXPECT_EQ(std::count(written.begin(), written.end(), std::pair(5, 0)), 0);
        EXPECT_EQ(std::count(written.begin(), written.end(), std::pair(0, 3)), 0);
    }
}

// No memory for what a call needs, in its turn: nothing is drawn on plain images.
TEST(WarpImage, withoutMemoryNothingIsDrawn) {
    for (const RefMap map : allMaps) {
        for (const int flag : {0, 1}) {
            TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 40, 30), 2);
            const TestBytes before = dst.bytes();
            for (int failAt = 1;; ++failAt) {
                ReportRecorder reports;
                AllocationWindow window(failAt);
                if (map == RefMap::AFFINE) {
                    affine(src, dst, {1, 0.5, 2, 0.25, 1, 3}, MOX_INTER_CUBIC);
                } else {
                    warpQ(map, src, dst, {{{2, 4}, {22, 14}, {22, 24}, {2, 14}}}, flag, MOX_INTER_CUBIC);
                }
                window.close();
                EXPECT_EQ(window.live(), 0);
                if (!window.refused()) break;
                ASSERT_EQ(reports.seen.size(), 1u);
                EXPECT_EQ(reports.seen[0].status, -1);
                EXPECT_EQ(reports.seen[0].message, "");
                EXPECT_TRUE(dst.holds(before));
            }
            EXPECT_FALSE(dst.holds(before));
        }
    }
}

// Maps and quadrangles of any numbers, such as are no maps any more: no byte but the region's samples is touched.
TEST(WarpImage, anyNumbersDoNoHarm) {
    const double special[] = {0,
                              1e-300,
                              1e-30,
                              1e-9,
                              0.5,
                              19,
                              1e5,
                              2147483648.0,
                              4e9,
                              1e18,
                              1e150,
                              1e300,
                              1e308,
                              std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()};
    forEachCase(3000, [&](Random &random) {
        const unsigned depth = warpDepths[random.below(4)];
        TestLayout from = TestLayout::of(depth, random.between(2, 20), random.between(2, 20));
        TestLayout to = TestLayout::of(depth, random.between(2, 20), random.between(2, 20));
        from.setRoi(0, 0, 0, random.between(1, 20), random.between(1, 20));
        to.setRoi(0, random.below(2), random.below(2), random.between(1, 20), random.between(1, 20));
        if (random.oneIn(3)) to.tileWidth = to.tileHeight = 8;
        if (random.oneIn(3)) from.tileWidth = from.tileHeight = 8;
        TestImage src(from, random.next()), dst(to, random.next());
        const auto number = [&] {
            const double value = random.oneIn(3) ? special[random.below(15)] : random.between(-100, 100) / 7.0;
            return random.oneIn(3) ? -value : value;
        };
        RefCoeffs c;
        RefQuad quad;
        for (double &each : c)
            each = number();
        for (RefPoint &corner : quad)
            corner = {number(), number()};
        const TestBytes before = dst.bytes();
        const int interpolate = drawInterpolate(random, true), flag = random.below(2), which = random.below(5);
        SCOPED_TRACE(describeQuad(quad) + "\n" + describeCoeffs(RefMap::PERSPECTIVE, c));
        forEachCpuLevel([&] {
            ReportRecorder reports;
            TileLog log;
            if (which == 0) affine(src, dst, c, interpolate);
            if (which == 1) warpQ(RefMap::BILINEAR, src, dst, quad, flag, interpolate);
            if (which == 2) warpQ(RefMap::PERSPECTIVE, src, dst, quad, flag, interpolate);
            if (which == 3) {
                moxWarpBilinear(src.header(), dst.header(), reinterpret_cast<double(*)[4]>(&c), flag, interpolate);
            }
            if (which == 4) {
                moxWarpPerspective(src.header(), dst.header(), reinterpret_cast<double(*)[3]>(&c), flag, interpolate);
            }
            EXPECT_TRUE(log.paired());
            const TestBytes samples = dst.sampleBits();
            EXPECT_TRUE(dst.holds(before, samples));
            dst.setBytes(before);
        });
    });
}

}  // namespace
