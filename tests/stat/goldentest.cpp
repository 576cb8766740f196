// Golden digests of what measures and comparisons answer, which every CPU level and every platform must give.
#include <bit>
#include <cmath>
#include <cstring>

#include "stat/statcheck.h"
#include "support/golden.h"

namespace {

TestLayout layoutOf(const GoldenLayout &golden, unsigned depth, int shift, int channels) {
    const int count = depth == MOX_DEPTH_1U ? 1 : channels;
    TestLayout layout = golden.of(depth, 61, 19, shift, count);
    // Bits that a comparison of several channels writes have a region of their own.
    if (golden.coi || channels != golden.channels) {
        layout.setRoi(golden.coi && depth != MOX_DEPTH_1U ? 2 : 0, 3 + shift, 1, 55, 17);
    }
    return layout;
}

struct GoldenImages {
    TestImage a, b, d, res, mask{TestLayout::ofMask(60, 18), 14};
    GoldenImages(const GoldenLayout &golden, unsigned depth)
        : a(layoutOf(golden, depth, 0, golden.channels), 11),
          b(layoutOf(golden, depth, 1, golden.channels), 12),
          d(layoutOf(golden, depth, 2, golden.channels), 13),
          res(layoutOf(golden, MOX_DEPTH_1U, 2, 1), 15) {
        if (golden.masked) a.setMask(&mask);
    }
};

uint64_t digestOfNumber(double value, uint64_t start) {
    std::vector<uint8_t> bytes(sizeof value);
    memcpy(bytes.data(), &value, sizeof value);
    return digestOf(bytes, start);
}

// The body adds to a digest what it finds right.
void checkGolden(const std::string &name, unsigned depth,
                 const std::function<uint64_t(GoldenImages &images, uint64_t digest)> &body) {
    checkDigests("stat/" + name, depth, [&](const GoldenLayout &golden, uint64_t digest) {
        GoldenImages images(golden, depth);
        return body(images, digest);
    });
}

const unsigned integerDepths[] = {MOX_DEPTH_1U,  MOX_DEPTH_8U,  MOX_DEPTH_8S,
                                  MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S};

TEST(StatGolden, norms) {
    for (unsigned depth : integerDepths) {
        checkGolden("moxNorm", depth, [](GoldenImages &images, uint64_t digest) {
            for (int normType : {MOX_NORM_C, MOX_NORM_L1}) {
                for (TestImage *b : {static_cast<TestImage *>(nullptr), &images.b}) {
                    const double got = moxNorm(images.a.header(), b ? b->header() : nullptr, normType);
                    EXPECT_EQ(got, refNorm(images.a, b, normType).value);
                    digest = digestOfNumber(got, digest);
                }
            }
            return digest;
        });
    }
}

// Sums of floats are rounded from term to term, in one order on every level.
TEST(StatGolden, normsOfFloats) {
    checkGolden("moxNorm", MOX_DEPTH_32F, [](GoldenImages &images, uint64_t digest) {
        Random random(16);
        drawModerate(random, images.a);
        drawModerate(random, images.b);
        for (int normType :
             std::initializer_list<int>{MOX_NORM_C, MOX_NORM_L1, MOX_NORM_L2, MOX_NORM_L2 + MOX_NORM_RELATIVE}) {
            for (TestImage *b : {static_cast<TestImage *>(nullptr), &images.b}) {
                if (!b && normType & MOX_NORM_RELATIVE) continue;
                const double got = moxNorm(images.a.header(), b ? b->header() : nullptr, normType);
                const double wanted = refNorm(images.a, b, normType).value;
                EXPECT_LE(std::fabs(got - wanted), normType == MOX_NORM_C ? 0 : 1e-13 * wanted);
                digest = digestOfNumber(got, digest);
            }
        }
        return digest;
    });
}

TEST(StatGolden, extrema) {
    checkGolden("moxMinMaxFP", MOX_DEPTH_32F, [](GoldenImages &images, uint64_t digest) {
        const RefMinMax wanted = refMinMax(images.a);
        float min = 0, max = 0;
        EXPECT_EQ(moxMinMaxFP(images.a.header(), &min, &max), 0);
        EXPECT_FALSE(wanted.none || wanted.allNaN);
        EXPECT_EQ(std::bit_cast<uint32_t>(min), wanted.min);
        EXPECT_EQ(std::bit_cast<uint32_t>(max), wanted.max);
        return digestOfNumber(static_cast<double>(max), digestOfNumber(static_cast<double>(min), digest));
    });
}

// Of one channel: where there are several, of the second one in a region.
TEST(StatGolden, moments) {
    for (unsigned depth : allDepths) {
        for (const GoldenLayout &golden : goldenLayouts) {
            TestLayout layout = layoutOf(golden, depth, 0, golden.channels);
            if (layout.channels > 1) layout.setRoi(2, 3, 1, 55, 17);
            forEachCpuLevel([&] {
                TestImage image(layout, 11), mask(TestLayout::ofMask(60, 18), 14);
                if (golden.masked) image.setMask(&mask);
                Random random(16);
                drawModerate(random, image);
                const RefMoments wanted = refMoments(image);
                ReportRecorder reports;
                MoxMomentState state = {};
                moxMoments(image.header(), state);
                EXPECT_TRUE(reports.none());
                uint64_t digest = digestOf({});
                for (int m = 0; m <= 3; ++m) {
                    for (int n = 0; m + n <= 3; ++n) {
                        const double sum = static_cast<double>(wanted.sums[m][n]),
                                     slack = wanted.exact ? 0 : 1e-13 * static_cast<double>(wanted.magnitudes[m][n]);
                        EXPECT_LE(std::fabs(state[m][n].moment - sum), slack) << m << ", " << n;
                        digest = digestOfNumber(state[m][n].moment, digest);
                    }
                }
                if (HasFailure()) return;
                EXPECT_TRUE(
                    digestIsGolden(std::string("stat/moxMoments/") + depthName(depth) + "/" + golden.name, digest));
            });
            if (HasFailure()) return;
        }
    }
}

TEST(StatGolden, comparisons) {
    const std::tuple<const char *, MoxStatus(MOX_CALL *)(MoxImage *, MoxImage *, MoxImage *), RefRelation> twos[] = {
        {"moxLess", moxLess, refLess()}, {"moxGreater", moxGreater, refGreater()}, {"moxEqual", moxEqual, refEqual()}};
    for (unsigned depth : allDepths) {
        for (const auto &[name, function, relation] : twos) {
            checkGolden(name, depth, [&, call = function, holds = relation](GoldenImages &images, uint64_t digest) {
                const TestBytes expected = refCompare({&images.a, &images.b}, images.res, holds);
                call(images.a.header(), images.b.header(), images.res.header());
                EXPECT_TRUE(images.res.holds(expected));
                return digestOfSamples(images.res, digest);
            });
        }
    }
}

// Every third pixel holds a value in all its channels, so that something is equal to it.
void plant(TestImage &image, uint32_t value) {
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x) {
            for (int channel = 0; (x + y) % 3 == 0 && channel < image.layout().channels; ++channel)
                image.set(channel, x, y, value);
        }
    }
}

void checkComparison(const char *name, unsigned depth, uint32_t planted, bool two, const RefRelation &relation,
                     const std::function<void(GoldenImages &images)> &call) {
    checkGolden(name, depth, [&](GoldenImages &images, uint64_t digest) {
        Random random(16);
        drawModerate(random, images.a);
        drawModerate(random, images.b);
        plant(images.a, planted);
        std::vector<TestImage *> sources = {&images.a};
        if (two) {
            plant(images.b, planted);
            sources.push_back(&images.b);
        }
        const TestBytes expected = refCompare(sources, images.res, relation);
        call(images);
        EXPECT_TRUE(images.res.holds(expected));
        return digestOfSamples(images.res, digest);
    });
}

TEST(StatGolden, comparisonsWithAConstant) {
    const std::tuple<const char *, MoxStatus(MOX_CALL *)(MoxImage *, int, MoxImage *), RefRelation> all[] = {
        {"moxLessS", moxLessS, refLessS(1)},
        {"moxGreaterS", moxGreaterS, refGreaterS(1)},
        {"moxEqualS", moxEqualS, refEqualS(1)}};
    for (unsigned depth : integerDepths) {
        for (const auto &[name, function, relation] : all) {
            checkComparison(name, depth, 1, false, relation, [call = function](GoldenImages &images) {
                call(images.a.header(), 1, images.res.header());
            });
        }
    }
}

TEST(StatGolden, comparisonsOfFloats) {
    const float value = -12.5f, eps = 40.0f;
    const std::tuple<const char *, MoxStatus(MOX_CALL *)(MoxImage *, float, MoxImage *), RefRelation> all[] = {
        {"moxLessSFP", moxLessSFP, refLessSFP(value)},
        {"moxGreaterSFP", moxGreaterSFP, refGreaterSFP(value)},
        {"moxEqualSFP", moxEqualSFP, refEqualSFP(value)}};
    const auto bits = std::bit_cast<uint32_t>(value);
    for (const auto &[name, function, relation] : all) {
        checkComparison(name, MOX_DEPTH_32F, bits, false, relation, [=, call = function](GoldenImages &images) {
            call(images.a.header(), value, images.res.header());
        });
    }
    checkComparison("moxEqualSFPEps", MOX_DEPTH_32F, bits, false, refEqualSFPEps(value, eps),
                    [=](GoldenImages &images) { moxEqualSFPEps(images.a.header(), value, images.res.header(), eps); });
    checkComparison("moxEqualFPEps", MOX_DEPTH_32F, bits, true, refEqualEps(eps), [=](GoldenImages &images) {
        moxEqualFPEps(images.a.header(), images.b.header(), images.res.header(), eps);
    });
}

TEST(StatGolden, levels) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16U}) {
        const int top = refLevels(depth);
        const RefTable table = {{top / 16, top / 3, top / 2, top - 2}, {1000, 77, 8000, 5}, {3, -2, 1, 0}, 1};
        for (bool equalizes : {false, true}) {
            checkGolden(equalizes ? "moxHistoEqualize" : "moxContrastStretch", depth,
                        [&](GoldenImages &images, uint64_t digest) {
                            const auto channels = static_cast<size_t>(images.a.layout().channels);
                            TableSet set(images.a.layout(), std::vector<RefTable>(channels, table));
                            const auto map = (equalizes ? refEqualize : refStretch)(depth, table);
                            const TestBytes expected = refMapped(images.a, images.d, std::vector(channels, map));
                            (equalizes ? moxHistoEqualize : moxContrastStretch)(images.a.header(), images.d.header(),
                                                                                set.pointers());
                            EXPECT_TRUE(images.d.holds(expected));
                            return digestOfSamples(images.d, digest);
                        });
        }
    }
}

TEST(StatGolden, histograms) {
    for (unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U}) {
        const int top = refLevels(depth);
        const RefTable table = {{0, top / 3, top / 2, top}, {0, 0, 0, 0}, {0, 0, 0, 0}, 1};
        checkGolden("moxComputeHisto", depth, [&](GoldenImages &images, uint64_t digest) {
            const TestLayout &layout = images.a.layout();
            TableSet set(layout, std::vector<RefTable>(static_cast<size_t>(layout.channels), table));
            moxComputeHisto(images.a.header(), set.pointers());
            for (int i = 0; i < layout.channelCount(); ++i) {
                const int channel = layout.firstChannel() + i;
                const std::vector<int> &counts = set.tables[static_cast<size_t>(channel)].value;
                EXPECT_EQ(counts, refHistogram(images.a, channel, table).value);
                for (int count : counts)
                    digest = digestOfNumber(count, digest);
            }
            return digest;
        });
    }
}

}  // namespace
