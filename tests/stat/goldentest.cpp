// Golden digests of the integer results, which every CPU level and every platform must give.
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
    for (const GoldenLayout &golden : goldenLayouts) {
        forEachCpuLevel([&] {
            GoldenImages images(golden, depth);
            ReportRecorder reports;
            const uint64_t digest = body(images, digestOf({}));
            EXPECT_TRUE(reports.none());
            if (testing::Test::HasFailure()) return;
            EXPECT_TRUE(digestIsGolden("stat/" + name + "/" + depthName(depth) + "/" + golden.name, digest));
        });
        if (testing::Test::HasFailure()) return;
    }
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
