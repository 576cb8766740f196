// Correlation over random layouts, depths, templates and borders, against the model; plain and tiled images to the bit.
#include <bit>
#include <cmath>

#include "filter/correlationcheck.h"

namespace {

// Source and destination.
struct Depths {
    unsigned source, destination;
};

class Correlation : public testing::TestWithParam<Depths> {
  protected:
    FilterPairOptions options() const {
        FilterPairOptions options;
        options.depth = GetParam().source;
        options.dstDepth = GetParam().destination;
        options.alike = options.sameOrigin = true;
        options.inPlace = 0;
        options.maxWidth = 45;
        options.maxHeight = 16;
        return options;
    }
    // Floats of one size, so that every sum of squares has its digits.
    static void drawNumbers(Random &random, TestImage &image) {
        const TestLayout &layout = image.layout();
        if (layout.depth != MOX_DEPTH_32F) return;
        for (int y = 0; y < layout.height; ++y) {
            for (int x = 0; x < layout.width; ++x) {
                for (int c = 0; c < layout.channels; ++c)
                    image.set(c, x, y, std::bit_cast<uint32_t>(static_cast<float>(random.between(-999, 999)) / 7.0f));
            }
        }
    }
    void check(Random &random, const FilterPairOptions &options, int maxWidth, int maxHeight) const {
        FilterPair pair(random, options);
        drawNumbers(random, pair.src());
        if (GetParam().source == MOX_DEPTH_32F)
            moxSetBorderMode(pair.src().header(), random.below(4), 15, random.between(-50, 50));
        pair.src().keepHeader();
        Pattern pattern(random, pair, maxWidth, maxHeight);
        drawNumbers(random, pattern.image());
        checkCorrelation(pair, pattern.image());
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Correlation,
                         testing::Values(Depths{MOX_DEPTH_1U, MOX_DEPTH_1U}, Depths{MOX_DEPTH_8U, MOX_DEPTH_8U},
                                         Depths{MOX_DEPTH_8U, MOX_DEPTH_32F}, Depths{MOX_DEPTH_8S, MOX_DEPTH_8S},
                                         Depths{MOX_DEPTH_16U, MOX_DEPTH_16U}, Depths{MOX_DEPTH_16S, MOX_DEPTH_16S},
                                         Depths{MOX_DEPTH_32S, MOX_DEPTH_32S}, Depths{MOX_DEPTH_32F, MOX_DEPTH_32F}),
                         [](const auto &each) {
                             return std::string(depthName(each.param.source)) + "to" +
                                    depthName(each.param.destination);
                         });

TEST_P(Correlation, agreesWithTheModelOverRandomLayouts) {
    forEachCase(150, [&](Random &random) { check(random, options(), 9, 7); });
}

TEST_P(Correlation, agreesWithTheModelOnPlainImages) {
    forEachCase(100, [&](Random &random) {
        FilterPairOptions plain = options();
        plain.tiled[0] = plain.tiled[1] = 0;
        check(random, plain, 17, 5);
    });
}

TEST_P(Correlation, agreesWithTheModelOnTiles) {
    forEachCase(60, [&](Random &random) {
        FilterPairOptions tiled = options();
        tiled.tiled[0] = random.below(2);
        tiled.tiled[1] = tiled.tiled[0] ? random.below(2) : 1;
        tiled.maxHeight = 34;
        check(random, tiled, 8, 8);
    });
}

TEST_P(Correlation, agreesWithTheModelOnWideRows) {
    forEachCase(15, [&](Random &random) {
        FilterPairOptions wide = options();
        wide.maxWidth = 400;
        wide.maxHeight = 4;
        check(random, wide, 12, 3);
    });
}

// Templates larger than the image.
TEST_P(Correlation, agreesWithTheModelWithLargeTemplates) {
    forEachCase(15, [&](Random &random) {
        FilterPairOptions small = options();
        small.maxWidth = 14;
        small.maxHeight = 9;
        check(random, small, 40, 24);
    });
}

TEST_P(Correlation, isRightAtEveryLength) {
    Random random(testSeed());
    for (int width = 1; width <= 70; ++width) {
        FilterPairOptions exact = options();
        exact.tiled[0] = exact.tiled[1] = 0;
        exact.masks = width % 4 == 0;
        exact.maxWidth = width;
        exact.maxHeight = 3;
        SCOPED_TRACE(width);
        check(random, exact, width, 3);
        if (HasFailure()) return;
    }
}

// The same samples, plain and in tiles: the same bits, last places and all.
TEST_P(Correlation, tilesGiveTheBitsOfPlainImages) {
    forEachCase(40, [&](Random &random) {
        TestLayout layout = TestLayout::of(GetParam().source, random.between(20, 70), random.between(10, 40));
        TestImage src(layout, random.next()), pattern(TestLayout::of(GetParam().source, 5, 4), random.next());
        layout.tileWidth = 8 * random.between(1, 3);
        layout.tileHeight = 8;
        TestImage tiledSrc(layout, 1);
        layout.depth = GetParam().destination;
        layout.tileWidth = 16;
        TestImage tiledDst(layout, 2);
        layout.tileWidth = layout.tileHeight = 0;
        TestImage dst(layout, 2), other(layout, 2);
        if (random.oneIn(2)) {
            drawNumbers(random, src);
            drawNumbers(random, pattern);
        }
        for (int y = 0; y < layout.height; ++y) {
            for (int x = 0; x < layout.width; ++x)
                tiledSrc.set(0, x, y, src.get(0, x, y));
        }
        for (TestImage *each : {&src, &tiledSrc})
            moxSetBorderMode(each->header(), MOX_BORDER_REFLECT, 15, 0);
        EXPECT_EQ(moxNormCrossCorr(pattern.header(), src.header(), dst.header()), 0);
        EXPECT_EQ(moxNormCrossCorr(pattern.header(), tiledSrc.header(), tiledDst.header()), 0);
        EXPECT_EQ(moxNormCrossCorr(pattern.header(), tiledSrc.header(), other.header()), 0);
        // Payloads of NaNs are nobody's to rely on.
        const auto isNaN = [&](uint32_t sample) {
            return layout.depth == MOX_DEPTH_32F && std::isnan(std::bit_cast<float>(sample));
        };
        for (int y = 0; y < layout.height; ++y) {
            for (int x = 0; x < layout.width; ++x) {
                if (isNaN(dst.get(0, x, y)) && isNaN(tiledDst.get(0, x, y)) && isNaN(other.get(0, x, y))) continue;
                ASSERT_EQ(tiledDst.get(0, x, y), dst.get(0, x, y)) << x << "," << y;
                ASSERT_EQ(other.get(0, x, y), dst.get(0, x, y)) << x << "," << y;
            }
        }
    });
}

TEST_P(Correlation, refusedTilesAndMemoryAreReported) {
    forEachCase(12, [&](Random &random) {
        FilterPair pair(random, options());
        drawNumbers(random, pair.src());
        Pattern pattern(random, pair, 5, 4);
        drawNumbers(random, pattern.image());
        SCOPED_TRACE(pair.describe() + "template " + pattern.image().layout().describe());
        RefResult wanted = {pair.dst().bytes(), {}};
        {
            // What a good call gives: last places are not those of the model.
            const TestBytes before = pair.dst().bytes();
            ASSERT_EQ(moxNormCrossCorr(pattern.image().header(), pair.src().header(), pair.dst().header()), 0);
            wanted.expected = pair.dst().bytes();
            pair.dst().setBytes(before);
        }
        MoxStatus returned = 0;
        const auto call = [&] {
            returned = moxNormCrossCorr(pattern.image().header(), pair.src().header(), pair.dst().header());
        };
        const JudgeReports judge = [&](const ReportRecorder &reports, int) {
            // What is called within reports in silence, to a report function that does not ask for the mode as well.
            ASSERT_FALSE(reports.seen.empty());
            ASSERT_LE(reports.seen.size(), 2u);
            EXPECT_EQ(reports.seen.front().status, -4);
            EXPECT_EQ(reports.seen.back().status, -4);
            EXPECT_EQ(reports.seen.back().function, "moxNormCrossCorr");
            EXPECT_EQ(reports.seen.back().message, "Not enough memory");
            EXPECT_EQ(returned, -4);
            EXPECT_EQ(moxGetErrMode(), MOX_ErrModeParent);
        };
        checkRefusedMemory(pair, wanted, call, judge);
        checkRefusedTiles(pair, wanted, call, judge);
    });
}

}  // namespace
