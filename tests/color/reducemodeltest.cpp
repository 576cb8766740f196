// moxReduceBits against the model: depth pairs, dithers, levels, noise, layouts, tiles, CPU levels.
#include "color/reducepair.h"
#include "support/reports.h"
#include "support/tilelog.h"

namespace {

class ReduceModel : public testing::TestWithParam<DepthPair> {};

INSTANTIATE_TEST_SUITE_P(Model, ReduceModel, testing::ValuesIn(allDepthPairs),
                         [](const auto &each) { return depthPairName(each.param); });

TEST_P(ReduceModel, agreesOnPlainImages) {
    forEachCase(300, [&](Random &random) {
        ReducePairOptions options;
        options.depths = GetParam();
        options.tiled[0] = options.tiled[1] = 0;
        ReducePair pair(random, options);
        checkReduce(pair, drawReduce(random, GetParam(), false));
    });
}

TEST_P(ReduceModel, agreesOnTiledImages) {
    forEachCase(200, [&](Random &random) {
        ReducePairOptions options;
        options.depths = GetParam();
        options.tiled[0] = random.below(2);
        options.tiled[1] = options.tiled[0] ? random.below(2) : 1;
        options.maxHeight = 40;
        ReducePair pair(random, options);
        checkReduce(pair, drawReduce(random, GetParam(), false));
    });
}

TEST_P(ReduceModel, agreesWithNoise) {
    forEachCase(150, [&](Random &random) {
        ReducePairOptions options;
        options.depths = GetParam();
        ReducePair pair(random, options);
        checkReduce(pair, drawReduce(random, GetParam(), true));
    });
}

// Rows and columns beyond the noise tables' period of 1024, and rows of many vectors.
TEST_P(ReduceModel, agreesOnWideRows) {
    forEachCase(20, [&](Random &random) {
        ReducePairOptions options;
        options.depths = GetParam();
        options.maxWidth = 2500;
        options.maxHeight = 6;
        ReducePair pair(random, options);
        checkReduce(pair, drawReduce(random, GetParam(), random.oneIn(2)));
    });
}

TEST_P(ReduceModel, agreesOnHighImages) {
    forEachCase(12, [&](Random &random) {
        ReducePairOptions options;
        options.depths = GetParam();
        options.maxWidth = 20;
        options.maxHeight = 1300;
        ReducePair pair(random, options);
        checkReduce(pair, drawReduce(random, GetParam(), random.oneIn(2)));
    });
}

// Every small width with every small height, where the guards of the error rows and the first rows count.
TEST_P(ReduceModel, agreesOnEverySmallSize) {
    Random random(testSeed());
    for (int dither : {MOX_DITHER_NONE, MOX_DITHER_FS, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER}) {
        for (int width = 1; width <= 40; ++width) {
            const int height = 1 + width % 7;
            TestImage src(TestLayout::of(GetParam().src, width, height), random.next()),
                dst(TestLayout::of(GetParam().dst, width, height), random.next());
            drawPicture(random, src);
            const RefReduce call = {0, dither, drawLevels(random, GetParam())};
            SCOPED_TRACE(refDescribe(call) + " " + src.layout().describe());
            const RefResult wanted = refReduceBits(call, src, dst);
            const TestBytes before = dst.bytes();
            forEachCpuLevel([&] {
                ReportRecorder reports;
                dst.setBytes(before);
                moxReduceBits(src.header(), dst.header(), 0, dither, call.levels);
                EXPECT_TRUE(reports.none());
                EXPECT_TRUE(dst.holds(wanted.expected));
            });
            if (HasFailure()) return;
        }
    }
}

// Every number of levels of a picture that holds every value of 8 bits.
TEST(ReduceModel, everyNumberOfLevelsOfEightBits) {
    for (int dither : {MOX_DITHER_NONE, MOX_DITHER_FS, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER}) {
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 64, 16), 1), dst(TestLayout::of(MOX_DEPTH_8U, 64, 16), 2);
        for (int y = 0; y < 16; ++y) {
            // Every value in every column of the ordered matrix.
            for (int x = 0; x < 64; ++x)
                src.set(0, x, y, static_cast<uint32_t>(x / 4 * 16 + y / 4 * 4 + (x + y) % 4));
        }
        for (int levels = 2; levels <= 256; ++levels) {
            const RefReduce call = {0, dither, levels};
            SCOPED_TRACE(refDescribe(call));
            const RefResult wanted = refReduceBits(call, src, dst);
            ReportRecorder reports;
            moxReduceBits(src.header(), dst.header(), 0, dither, levels);
            EXPECT_TRUE(reports.none());
            ASSERT_TRUE(dst.holds(wanted.expected));
        }
    }
}

// Uniform pictures: the sums of errors are simple numbers and stand exactly at thresholds.
TEST(ReduceModel, everyUniformPictureOfEightBits) {
    for (int dither : {MOX_DITHER_FS, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER}) {
        for (unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U}) {
            TestImage src(TestLayout::of(MOX_DEPTH_8U, 37, 23), 1), dst(TestLayout::of(depth, 37, 23), 2);
            for (uint32_t value = 0; value < 256; ++value) {
                src.setAll(value);
                const RefReduce call = {0, dither, depth == MOX_DEPTH_1U ? 2 : 2 + static_cast<int>(value % 9)};
                SCOPED_TRACE(refDescribe(call) + " value " + std::to_string(value));
                const RefResult wanted = refReduceBits(call, src, dst);
                const TestBytes before = dst.bytes();
                forEachCpuLevel([&] {
                    dst.setBytes(before);
                    moxReduceBits(src.header(), dst.header(), 0, dither, call.levels);
                    EXPECT_TRUE(dst.holds(wanted.expected));
                });
                if (HasFailure()) return;
            }
        }
    }
}

// The same picture plain and in tiles of every kind on either side.
TEST_P(ReduceModel, tiledEqualsPlain) {
    forEachCase(40, [&](Random &random) {
        const int width = random.between(1, 70), height = random.between(1, 50),
                  channels = GetParam().dst == MOX_DEPTH_1U ? 1 : random.between(1, 3);
        const int order = random.below(2);
        const RefReduce call = drawReduce(random, GetParam(), random.oneIn(3));
        TestLayout srcLayout = TestLayout::of(GetParam().src, width, height, channels, order);
        TestLayout dstLayout = TestLayout::of(GetParam().dst, width, height, channels, order);
        const uint64_t seed = random.next();
        TestImage plainSrc(srcLayout, seed), plainDst(dstLayout, 2);
        ReportRecorder reports;
        moxReduceBits(plainSrc.header(), plainDst.header(), call.noise, call.dither, call.levels);
        const int kind = random.between(1, 3);
        for (TestLayout *layout : {&srcLayout, &dstLayout}) {
            if (!(kind & (layout == &srcLayout ? 1 : 2))) continue;
            layout->tileWidth = 8 * random.between(1, 5);
            layout->tileHeight = 8 * random.between(1, 3);
            layout->transientTiles = random.oneIn(2);
        }
        TestImage src(srcLayout, seed), dst(dstLayout, 3);
        SCOPED_TRACE(refDescribe(call) + " " + srcLayout.describe() + " to " + dstLayout.describe());
        TileLog log;
        moxReduceBits(src.header(), dst.header(), call.noise, call.dither, call.levels);
        EXPECT_TRUE(log.paired());
        EXPECT_TRUE(reports.none());
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                for (int channel = 0; channel < channels; ++channel) {
                    ASSERT_EQ(dst.get(channel, x, y), plainDst.get(channel, x, y)) << x << ", " << y;
                }
            }
        }
    });
}

}  // namespace
