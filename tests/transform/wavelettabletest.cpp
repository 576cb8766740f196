// The built-in wavelets: every tap, length, offset and symmetry; and what makes them wavelets.
#include <cmath>
#include <cstring>
#include <map>

#include "support/reports.h"
#include "transform/waveletcheck.h"

namespace {

struct Shape {
    int length, offset, symmetry;
};
struct Shapes {
    Shape filters[4];  // decomposition low and high, reconstruction low and high
};

Shapes orthogonalShapes(int length, int a, int b, int c, int d) {
    return {{{length, a, 2}, {length, b, 2}, {length, c, 2}, {length, d, 2}}};
}

// Of splines, with the low-pass roles exchanged for the dual ones.
Shapes splineShapes(const WaveletName &name) {
    static const std::map<std::pair<int, int>, Shapes> shapes = {
        {{1, 1}, {{{2, 0, 0}, {2, 0, 1}, {2, 1, 0}, {2, 1, 1}}}},
        {{1, 3}, {{{2, 0, 0}, {6, 2, 1}, {6, 3, 0}, {2, 1, 1}}}},
        {{1, 5}, {{{2, 0, 0}, {10, 4, 1}, {10, 5, 0}, {2, 1, 1}}}},
        {{2, 2}, {{{3, 1, 0}, {5, 1, 0}, {5, 2, 0}, {3, 2, 0}}}},
        {{2, 4}, {{{3, 1, 0}, {9, 3, 0}, {9, 4, 0}, {3, 2, 0}}}},
        {{2, 6}, {{{3, 1, 0}, {13, 5, 0}, {13, 6, 0}, {3, 2, 0}}}},
        {{2, 8}, {{{3, 1, 0}, {17, 7, 0}, {17, 8, 0}, {3, 2, 0}}}},
        {{3, 1}, {{{4, 1, 0}, {4, 1, 1}, {4, 2, 0}, {4, 2, 1}}}},
        {{3, 3}, {{{4, 1, 0}, {8, 3, 1}, {8, 4, 0}, {4, 2, 1}}}},
        {{3, 5}, {{{4, 1, 0}, {12, 5, 1}, {12, 6, 0}, {4, 2, 1}}}},
        {{3, 7}, {{{4, 1, 0}, {16, 7, 1}, {16, 8, 0}, {4, 2, 1}}}},
        {{3, 9}, {{{4, 1, 0}, {20, 9, 1}, {20, 10, 0}, {4, 2, 1}}}},
    };
    Shapes found = shapes.at({name.par1, name.par2});
    if (name.wtType != MOX_WT_BSPLINE_DUAL) return found;
    auto exchange = [](Shape &low, Shape &high) {
        std::swap(low.length, high.length);
        std::swap(low.offset, high.offset);
    };
    exchange(found.filters[0], found.filters[1]);
    exchange(found.filters[2], found.filters[3]);
    return found;
}

Shapes shapesOf(const WaveletName &name) {
    static const int daubechies[10][4] = {{},
                                          {1, 3, 2, 0},
                                          {1, 3, 4, 2},
                                          {1, 5, 6, 2},
                                          {2, 8, 7, 1},
                                          {2, 10, 9, 1},
                                          {2, 10, 11, 3},
                                          {2, 12, 13, 3},
                                          {3, 15, 14, 2},
                                          {3, 17, 16, 2}};
    static const int symlet[7][4] = {{3, 5, 4, 2}, {4, 4, 5, 5}, {5, 7, 6, 4},  {8, 6, 5, 7},
                                     {8, 6, 7, 9}, {9, 9, 8, 8}, {9, 11, 10, 8}};
    static const int coiflet[5][4] = {{4, 2, 1, 3}, {4, 6, 7, 5}, {6, 10, 11, 7}, {8, 14, 15, 9}, {10, 18, 19, 11}};
    auto row = [](int length, const int *o) { return orthogonalShapes(length, o[0], o[1], o[2], o[3]); };
    switch (name.wtType) {
        case MOX_WT_DAUBECHIES:
            if (name.par1 > 1) return row(2 * name.par1, daubechies[name.par1 - 1]);
            [[fallthrough]];
        case MOX_WT_HAAR:
            return {{{2, 1, 0}, {2, 1, 1}, {2, 0, 0}, {2, 0, 1}}};
        case MOX_WT_SYMLET:
            return row(2 * (name.par1 + 3), symlet[name.par1 - 1]);
        case MOX_WT_COIFLET:
            return row(6 * name.par1, coiflet[name.par1 - 1]);
        case MOX_WT_VAIDYANATHAN:
            return orthogonalShapes(24, 20, 2, 3, 21);
        case MOX_WT_53:
            return splineShapes({MOX_WT_BSPLINE, 2, 2});
        case MOX_WT_97:
            return splineShapes({MOX_WT_BSPLINE, 3, 3});
        default:
            return splineShapes(name);
    }
}

const MoxWtFilter &filterOf(const MoxWtKernel &kernel, int index) {
    const MoxWtFilter *filters[] = {&kernel.filtDecLow, &kernel.filtDecHigh, &kernel.filtRecLow, &kernel.filtRecHigh};
    return *filters[index];
}

class Built : public testing::TestWithParam<WaveletName> {
  protected:
    void SetUp() override {
        memset(&kernel, 0xEE, sizeof kernel);
        ASSERT_EQ(moxWtInit(GetParam().wtType, GetParam().par1, GetParam().par2, &kernel), 0);
    }
    // Tap k of a filter, and 0 beyond it, at its place: tap j stands at offset - j.
    double tapAt(int filter, int place) const {
        const MoxWtFilter &each = filterOf(kernel, filter);
        const int j = each.offset - place;
        return j >= 0 && j < each.length ? each.taps[j] : 0;
    }
    MoxWtKernel kernel;
};

INSTANTIATE_TEST_SUITE_P(Table, Built, testing::ValuesIn(allWavelets), [](const auto &each) {
    return std::to_string(each.param.wtType) + "_" + std::to_string(each.param.par1) + "_" +
           std::to_string(each.param.par2);
});

TEST_P(Built, hasItsShape) {
    const WaveletName &name = GetParam();
    EXPECT_EQ(kernel.wtType, name.wtType);
    EXPECT_EQ(kernel.par1, name.par1);
    EXPECT_EQ(kernel.par2, name.par2);
    EXPECT_EQ(kernel.orthogonal, name.wtType <= MOX_WT_VAIDYANATHAN ? 0 : 1);
    const Shapes shapes = shapesOf(name);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(filterOf(kernel, i).length, shapes.filters[i].length) << i;
        EXPECT_EQ(filterOf(kernel, i).offset, shapes.filters[i].offset) << i;
        EXPECT_EQ(filterOf(kernel, i).symmetry, shapes.filters[i].symmetry) << i;
    }
}

TEST_P(Built, hasThePublishedTaps) {
    const PublishedWavelet *published = nullptr;
    for (const PublishedWavelet &each : publishedWavelets) {
        if (each.name.wtType == GetParam().wtType && each.name.par1 == GetParam().par1 &&
            each.name.par2 == GetParam().par2) {
            published = &each;
        }
    }
    ASSERT_NE(published, nullptr);
    const std::vector<double> &low = published->decLow;
    std::vector<double> taps[4] = {low, {}, published->recLow, {}};
    if (taps[2].empty()) {
        for (size_t i = 0; i < low.size(); ++i)
            taps[2].push_back(2 * low[low.size() - 1 - i]);
    }
    for (size_t i = 0; i < taps[2].size(); ++i)
        taps[1].push_back((i % 2 ? -0.5 : 0.5) * taps[2][i]);
    for (size_t i = 0; i < low.size(); ++i)
        taps[3].push_back((i % 2 ? 2 : -2) * low[i]);
    for (int filter = 0; filter < 4; ++filter) {
        const MoxWtFilter &found = filterOf(kernel, filter);
        ASSERT_EQ(found.length, static_cast<int>(taps[filter].size()));
        for (int i = 0; i < found.length; ++i)
            EXPECT_EQ(found.taps[i], static_cast<float>(taps[filter][static_cast<size_t>(i)])) << filter << " " << i;
    }
}

TEST_P(Built, sumsToOneAndTwoAndNothing) {
    const double wanted[] = {1, 0, 2, 0};
    for (int filter = 0; filter < 4; ++filter) {
        double sum = 0;
        for (int i = 0; i < filterOf(kernel, filter).length; ++i)
            sum += filterOf(kernel, filter).taps[i];
        const bool noZero = GetParam().wtType == MOX_WT_VAIDYANATHAN && filter % 2 == 1;
        EXPECT_NEAR(sum, wanted[filter], noZero ? 4e-4 : 2e-6) << filter;
    }
}

// Decomposition and reconstruction of one channel are dual to each other and orthogonal to the other's, under every
// shift by two samples.
TEST_P(Built, isBiorthogonal) {
    for (int dec = 0; dec < 2; ++dec) {
        for (int rec = 0; rec < 2; ++rec) {
            for (int shift = -48; shift <= 48; shift += 2) {
                // Analysis takes sample 2k + p with tapAt(dec, p); synthesis puts the tap at place -n onto sample n.
                double sum = 0;
                for (int p = -60; p <= 60; ++p)
                    sum += tapAt(dec, p) * tapAt(2 + rec, -(p - shift));
                EXPECT_NEAR(sum, dec == rec && shift == 0 ? 1 : 0, 2e-6) << dec << rec << " " << shift;
            }
        }
    }
}

TEST_P(Built, isOrthogonalIfItSaysSo) {
    if (kernel.orthogonal != 0) return;
    const MoxWtFilter &low = kernel.filtDecLow;
    for (int shift = 0; shift < low.length; shift += 2) {
        double sum = 0;
        for (int i = 0; i + shift < low.length; ++i)
            sum += double(low.taps[i]) * low.taps[i + shift];
        EXPECT_NEAR(sum, shift == 0 ? 0.5 : 0, 1e-6) << shift;
    }
}

// Of a family's wavelet as many moments vanish as its parameter says.
TEST_P(Built, hasVanishingMoments) {
    const WaveletName &name = GetParam();
    const int moments = name.wtType == MOX_WT_HAAR           ? 1
                        : name.wtType == MOX_WT_DAUBECHIES   ? name.par1
                        : name.wtType == MOX_WT_SYMLET       ? name.par1 + 3
                        : name.wtType == MOX_WT_COIFLET      ? 2 * name.par1
                        : name.wtType == MOX_WT_BSPLINE      ? name.par2
                        : name.wtType == MOX_WT_BSPLINE_DUAL ? name.par1
                        : name.wtType == MOX_WT_53           ? 2
                        : name.wtType == MOX_WT_97           ? 3
                                                             : 0;
    const MoxWtFilter &high = kernel.filtDecHigh;
    for (int moment = 0; moment < moments; ++moment) {
        double sum = 0, size = 0;
        for (int i = 0; i < high.length; ++i) {
            const double position = 2.0 * i / high.length - 1;
            sum += std::pow(position, moment) * high.taps[i];
            size += std::fabs(std::pow(position, moment) * high.taps[i]);
        }
        EXPECT_NEAR(sum, 0, 1e-6 * (1 + size)) << moment;
    }
}

// The splines' decomposition filter is a row of binomial coefficients.
TEST_P(Built, splinesAreBinomials) {
    const WaveletName &name = GetParam();
    const int order = name.wtType == MOX_WT_53 ? 2 : name.wtType == MOX_WT_97 ? 3 : name.par1;
    if (name.wtType < MOX_WT_BSPLINE) return;
    const bool dual = name.wtType == MOX_WT_BSPLINE_DUAL;
    const MoxWtFilter &spline = dual ? kernel.filtRecLow : kernel.filtDecLow;
    ASSERT_EQ(spline.length, order + 1);
    double binomial = 1;
    for (int i = 0; i <= order; ++i) {
        EXPECT_EQ(spline.taps[i], static_cast<float>(binomial * (dual ? 2 : 1) / (1 << order)));
        binomial = binomial * (order - i) / (i + 1);
    }
}

TEST(WaveletTable, holdsTheExamples) {
    MoxWtKernel kernel;
    auto expectTaps = [&](const MoxWtFilter &filter, const std::vector<float> &taps) {
        ASSERT_EQ(filter.length, static_cast<int>(taps.size()));
        for (size_t i = 0; i < taps.size(); ++i)
            EXPECT_NEAR(filter.taps[i], taps[i], 1e-6);
    };
    ASSERT_EQ(moxWtInit(MOX_WT_HAAR, 0, 0, &kernel), 0);
    expectTaps(kernel.filtDecLow, {0.5f, 0.5f});
    expectTaps(kernel.filtDecHigh, {0.5f, -0.5f});
    expectTaps(kernel.filtRecLow, {1, 1});
    expectTaps(kernel.filtRecHigh, {-1, 1});
    ASSERT_EQ(moxWtInit(MOX_WT_DAUBECHIES, 2, 0, &kernel), 0);
    expectTaps(kernel.filtDecLow, {0.3415064f, 0.5915064f, 0.1584937f, -0.09150635f});
    expectTaps(kernel.filtDecHigh, {-0.09150635f, -0.1584937f, 0.5915064f, -0.3415064f});
    expectTaps(kernel.filtRecLow, {-0.1830127f, 0.3169873f, 1.183013f, 0.6830127f});
    expectTaps(kernel.filtRecHigh, {-0.6830127f, 1.183013f, -0.3169873f, -0.1830127f});
    ASSERT_EQ(moxWtInit(MOX_WT_53, 0, 0, &kernel), 0);
    expectTaps(kernel.filtDecLow, {0.25f, 0.5f, 0.25f});
    expectTaps(kernel.filtDecHigh, {-0.125f, -0.25f, 0.75f, -0.25f, -0.125f});
    expectTaps(kernel.filtRecLow, {-0.25f, 0.5f, 1.5f, 0.5f, -0.25f});
    expectTaps(kernel.filtRecHigh, {-0.5f, 1, -0.5f});
    ASSERT_EQ(moxWtInit(MOX_WT_97, 0, 0, &kernel), 0);
    expectTaps(kernel.filtDecLow, {0.125f, 0.375f, 0.375f, 0.125f});
    expectTaps(kernel.filtDecHigh,
               {0.046875f, 0.140625f, -0.109375f, -0.703125f, 0.703125f, 0.109375f, -0.140625f, -0.046875f});
    expectTaps(kernel.filtRecLow, {0.09375f, -0.28125f, -0.21875f, 1.40625f, 1.40625f, -0.21875f, -0.28125f, 0.09375f});
    expectTaps(kernel.filtRecHigh, {-0.25f, 0.75f, -0.75f, 0.25f});
}

// Parameters that a type does not have are ignored, and stored as 0.
TEST(WaveletTable, unusedParametersAreIgnored) {
    for (const WaveletName &name : allWavelets) {
        MoxWtKernel usual, other;
        memset(&usual, 0, sizeof usual);
        memset(&other, 0, sizeof other);
        ASSERT_EQ(moxWtInit(name.wtType, name.par1, name.par2, &usual), 0);
        const int par1 = name.par1 == 0 ? -5 : name.par1, par2 = name.par2 == 0 ? 77 : name.par2;
        ASSERT_EQ(moxWtInit(name.wtType, par1, par2, &other), 0);
        EXPECT_EQ(memcmp(&usual, &other, sizeof usual), 0) << name.wtType;
    }
}

}  // namespace
