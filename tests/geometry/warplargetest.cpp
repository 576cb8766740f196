// Warps from sources so large that floats do not tell all their pixels, or that nobody reads them whole.
#include <climits>

#include "support/endlessimage.h"
#include "support/reports.h"
#include "support/testimage.h"

namespace {

using WarpQ = void(MOX_CALL *)(MoxImage *, MoxImage *, double[4][2], int, int);
constexpr WarpQ warps[] = {moxWarpBilinearQ, moxWarpPerspectiveQ};
constexpr unsigned depths[] = {MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32F};

// The columns that are named as 2^31 lie beyond the last one, and count as that.
TEST(WarpLarge, theLastColumnOfTheWidestSource) {
    constexpr double last = INT_MAX - 1.0;
    for (const unsigned depth : depths) {
        for (const WarpQ warp : warps) {
            for (int kind = 0; kind < 3; ++kind) {
                forEachCpuLevel([&] {
                    EndlessImage src(depth, INT_MAX, 40, 8);
                    TestImage dst(TestLayout::of(depth, 24, 24), 1);
                    double quad[4][2] = {{last - 23, 2}, {last, 2}, {last, 25}, {last - 23, 25}};
                    ReportRecorder reports;
                    warp(src.header(), dst.header(), quad, 1, kind);
                    EXPECT_TRUE(reports.none());
                    for (int x = 0; x < 24; ++x)
                        ASSERT_EQ(dst.get(0, x, 0), src.get(INT_MAX - 1, 2)) << depth << " " << kind << " " << x;
                });
            }
        }
    }
}

// As a float the region's first column is the one before it.
TEST(WarpLarge, aFirstColumnThatIsNoFloat) {
    constexpr int first = (1 << 24) + 1;
    for (const unsigned depth : depths) {
        for (const WarpQ warp : warps) {
            for (int kind = 0; kind < 3; ++kind) {
                forEachCpuLevel([&] {
                    EndlessImage src(depth, first + 40, 40, 8);
                    src.setRoi(first, 0, 40, 40);
                    TestImage dst(TestLayout::of(depth, 24, 24), 1);
                    double quad[4][2] = {{first, 2}, {first + 23, 2}, {first + 23, 25}, {first, 25}};
                    ReportRecorder reports;
                    warp(src.header(), dst.header(), quad, 1, kind);
                    EXPECT_TRUE(reports.none());
                    EXPECT_EQ(dst.get(0, 0, 0), src.get(first, 2)) << depth << " " << kind;
                });
            }
        }
    }
}

// Of a source that is made much smaller only what the pixels need is read.
TEST(WarpLarge, aSmallDestinationReadsLittle) {
    for (int kind = 0; kind < 3; ++kind) {
        EndlessImage src(MOX_DEPTH_8U, 30000, 30000, 64);
        TestImage dst(TestLayout::of(MOX_DEPTH_8U, 16, 16), 1);
        double coeffs[2][3] = {{16 / 30000.0, 0, 0}, {0, 16 / 30000.0, 0}};
        ReportRecorder reports;
        moxWarpAffine(src.header(), dst.header(), coeffs, kind);
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(dst.get(0, 2, 1), src.get(3750, 1875)) << kind;
        EXPECT_LE(src.requests(), 16 * 16 * 32);
    }
}

// The tiles of a high destination are not gone through where nothing is drawn: there are 13 thousand million.
TEST(WarpLarge, aHighDestinationIsNotWalked) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 40, 40), 1);
    EndlessImage dst(MOX_DEPTH_8U, 400, INT_MAX, 8);
    double coeffs[2][3] = {{1, 0, 100}, {0, 1, 1e9}};
    ReportRecorder reports;
    moxWarpAffine(src.header(), dst.header(), coeffs, MOX_INTER_NN);
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(dst.requests(), 6 * 5);
}

}  // namespace
