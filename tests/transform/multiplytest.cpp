// Spectra multiplied, against the model to the bit, and every refusal.
#include <algorithm>
#include <bit>

#include "support/scene.h"
#include "transform/transformcheck.h"

namespace {

const unsigned depths[] = {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F};

// Two sources and a destination, some of which may be one image: regions of one size, wherever they stand.
class Triple {
  public:
    Triple(Random &random, unsigned depth) {
        const int width = random.oneIn(4) ? random.between(1, 4) : random.between(1, 50);
        const int height = random.oneIn(4) ? random.between(1, 4) : random.between(1, 20);
        const int processed = random.oneIn(2) ? 1 : random.between(1, 4);
        for (int i = 0; i < 3; ++i) {
            if (i > 0 && random.oneIn(4)) {
                images[i] = images[random.below(i)];
                continue;
            }
            owned_.push_back(
                std::make_unique<TestImage>(drawLayout(random, depth, width, height, processed), random.next()));
            images[i] = owned_.back().get();
            if (depth != MOX_DEPTH_32F && random.oneIn(2)) drawNumbers(random, *images[i], random.oneIn(2) ? 12 : 150);
            if (random.oneIn(6)) {
                masks_.push_back(std::make_unique<TestImage>(TestLayout::ofMask(width, height), 9));
                masks_.back()->setAll(0);
                images[i]->setMask(masks_.back().get());
            }
        }
    }
    std::string describe() const {
        std::string text;
        for (const TestImage *image : images)
            text += image->layout().describe() + "\n";
        return text;
    }
    TestImage *images[3];

  private:
    static TestLayout drawLayout(Random &random, unsigned depth, int width, int height, int processed) {
        TestLayout layout = TestLayout::of(depth, width, height, processed, random.below(2));
        layout.origin = random.below(2);
        layout.align = drawAlign(random);
        int coi = 0;
        if (processed == 1 && random.oneIn(2)) {
            layout.channels = random.between(1, 4);
            if (random.oneIn(3)) layout.alpha = layout.channels;
            coi = random.between(1, layout.channels);
        } else if (random.oneIn(4)) {
            layout.alpha = ++layout.channels;
        }
        if (coi || random.oneIn(2)) {
            const int x = random.below(9), y = random.below(5);
            // Clipped, or ending within the image.
            const bool clipped = random.oneIn(2);
            layout.width += x + (clipped ? 0 : random.below(5));
            layout.height += y + (clipped ? 0 : random.below(5));
            layout.setRoi(coi, x, y, clipped ? 1000 : width, clipped ? 1000 : height);
        }
        drawPlacement(random, layout, 0);
        return layout;
    }
    std::vector<std::unique_ptr<TestImage>> owned_, masks_;
};

// One NaN is as good as another.
void acceptNaNs(const TestImage &image, TestBytes *expected) {
    const TestLayout &layout = image.layout();
    if (layout.depth != MOX_DEPTH_32F) return;
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int channel = 0; channel < layout.channels; ++channel) {
                const float wanted = std::bit_cast<float>(image.getIn(*expected, channel, x, y));
                const float found = std::bit_cast<float>(image.get(channel, x, y));
                if (wanted != wanted && found != found) image.setIn(*expected, channel, x, y, image.get(channel, x, y));
            }
        }
    }
}

class Multiply : public testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Model, Multiply, testing::ValuesIn(depths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

TEST_P(Multiply, agreesWithTheModelOverRandomLayouts) {
    forEachCase(300, [&](Random &random) {
        Triple triple(random, GetParam());
        SCOPED_TRACE(triple.describe());
        TestImage &a = *triple.images[0], &b = *triple.images[1], &d = *triple.images[2];
        KeptImages kept;
        kept.keep({&a, &b, &d});
        const TestBytes wanted = refMultiplySpectra(a, b, d);
        forEachCpuLevel([&] {
            ReportRecorder reports;
            AllocationWindow window;
            moxMpyRCPack2D(a.header(), b.header(), d.header());
            window.close();
            EXPECT_EQ(window.live(), 0);
            EXPECT_TRUE(reports.none());
            EXPECT_EQ(moxGetErrStatus(), 0);
            TestBytes expected = wanted;
            acceptNaNs(d, &expected);
            EXPECT_TRUE(d.holds(expected));
            EXPECT_TRUE(kept.othersAreUntouched(d));
            kept.restore();
        });
    });
}

TEST_P(Multiply, isRightAtEverySize) {
    Random random(testSeed());
    for (int width = 1; width <= 40; ++width) {
        for (int height = 1; height <= 6; ++height) {
            TestImage a(TestLayout::of(GetParam(), width, height), random.next()), b(a.layout(), random.next()),
                d(a.layout(), 3);
            drawNumbers(random, a, 11);
            drawNumbers(random, b, 11);
            const TestBytes wanted = refMultiplySpectra(a, b, d);
            moxMpyRCPack2D(a.header(), b.header(), d.header());
            ASSERT_TRUE(d.holds(wanted));
        }
    }
}

// The sum of two products of the lowest numbers is beyond 64 bits.
TEST(Multiply, saturatesWhereTheSumLeavesEveryType) {
    for (unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
        const uint32_t low = refStored(depth, -1e10L), high = refStored(depth, 1e10L);
        for (int width = 3; width <= 40; ++width) {
            TestImage a(TestLayout::of(depth, width, 3), 1), d(a.layout(), 3);
            a.setAll(low);
            moxMpyRCPack2D(a.header(), a.header(), d.header());
            EXPECT_EQ(d.get(0, 0, 0), high);
            EXPECT_EQ(d.get(0, 1, 1), 0u) << "two equal squares";
            EXPECT_EQ(d.get(0, 2, 1), high) << "the sum of two positive products";
            TestImage b(a.layout(), 2);
            b.setAll(high);
            moxMpyRCPack2D(a.header(), b.header(), d.header());
            EXPECT_EQ(d.get(0, 2, 1), low);
        }
    }
}

// A product of spectra is the cyclic convolution of images.
TEST(Multiply, convolves) {
    const int width = 12, height = 9;
    TestImage a(TestLayout::of(MOX_DEPTH_32F, width, height), 1), b(a.layout(), 2), d(a.layout(), 3);
    Random random(testSeed());
    for (int i = 0; i < 2; ++i)
        drawNumbers(random, i ? a : b, 100);
    const RefPlane f = refReadPlane(a, 0, width, height), g = refReadPlane(b, 0, width, height);
    for (TestImage *image : {&a, &b})
        ASSERT_EQ(moxRealFft2D(image->header(), image->header(), MOX_FFT_FORWARD), 0);
    moxMpyRCPack2D(a.header(), b.header(), d.header());
    ASSERT_EQ(moxCcsFft2D(d.header(), d.header(), MOX_FFT_INVERSE), 0);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            long double sum = 0;
            for (int j = 0; j < height; ++j) {
                for (int i = 0; i < width; ++i)
                    sum += f.at(i, j) * g.at((x - i + width) % width, (y - j + height) % height);
            }
            EXPECT_NEAR(std::bit_cast<float>(d.get(0, x, y)), static_cast<double>(sum),
                        static_cast<double>(f.norm() * g.norm()) * 1e-5);
        }
    }
}

class MultiplyFailure : public testing::Test {
  protected:
    MultiplyFailure() {
        for (int i = 0; i < 3; ++i) {
            TestLayout layout = TestLayout::of(MOX_DEPTH_16S, 12, 9, 3);
            layout.extraStride = 256;
            images[i] = std::make_unique<TestImage>(layout, static_cast<uint64_t>(i));
            before[i] = images[i]->bytes();
            h[i] = images[i]->header();
        }
    }
    void expect(MoxImage *a, MoxImage *b, MoxImage *d, MoxStatus status, const char *message) {
        SCOPED_TRACE(message);
        moxMpyRCPack2D(a, b, d);
        EXPECT_TRUE(reports.are({{status, "moxMpyRCPack2D", message}}));
        EXPECT_EQ(moxGetErrStatus(), status);
        for (int i = 0; i < 3; ++i)
            EXPECT_TRUE(images[i]->holds(before[i]));
        reports.clear();
    }
    void expect(MoxStatus status, const char *message) { expect(h[0], h[1], h[2], status, message); }
    void expectGood() {
        moxMpyRCPack2D(h[0], h[1], h[2]);
        EXPECT_TRUE(reports.none());
        EXPECT_FALSE(images[2]->holds(before[2]));
        images[2]->setBytes(before[2]);
    }

    ReportRecorder reports;
    std::unique_ptr<TestImage> images[3];
    TestBytes before[3];
    MoxImage *h[3];
};

// Faults from the last to be tested to the first.
TEST_F(MultiplyFailure, isReportedInTheOrderOfTheTests) {
    h[2]->nChannels = 2;
    expect(-15, "");
    h[2]->height = 8;
    expect(-5, "(height_srcA != height_dst)");
    h[2]->width = 11;
    expect(-5, "(width_srcA != width_dst)");
    h[1]->height = 8;
    expect(-5, "(height_srcA != height_srcB)");
    h[1]->width = 11;
    expect(-5, "(width_srcA != width_srcB)");
    h[2]->depth = MOX_DEPTH_8U;
    expect(-5, "(srcA->depth != dst->depth)");
    h[1]->depth = MOX_DEPTH_32S;
    expect(-5, "(srcA->depth != srcB->depth)");
    h[1]->depth = MOX_DEPTH_16U;
    expect(-17, "srcA->depth || srcB->depth == 8U||16U||1U");
    h[2]->align = 1;
    expect(-21, "Incorrect Image");
    h[1]->origin = 2;
    expect(-20, "Incorrect Image");
    h[0]->dataOrder = 2;
    expect(-19, "Incorrect Image");
    expect(nullptr, h[1], h[2], -9, "Incorrect Image");
    h[0]->dataOrder = 0;
    expect(h[0], nullptr, nullptr, -9, "Incorrect Image");
    h[1]->origin = 0;
    expect(h[0], h[1], nullptr, -9, "Incorrect Image");
}

TEST_F(MultiplyFailure, unsignedDepthsAreRefused) {
    const unsigned all[] = {MOX_DEPTH_1U,  MOX_DEPTH_8U,  MOX_DEPTH_16U, MOX_DEPTH_8S,
                            MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F};
    for (MoxImage *image : h)
        image->nChannels = 1;
    for (unsigned a : all) {
        for (unsigned b : all) {
            h[0]->depth = a;
            h[1]->depth = b;
            SCOPED_TRACE(std::string(depthName(a)) + " and " + depthName(b));
            const bool refused =
                a == MOX_DEPTH_1U || b == MOX_DEPTH_1U || a == MOX_DEPTH_8U || b == MOX_DEPTH_8U || b == MOX_DEPTH_16U;
            h[2]->depth = a == MOX_DEPTH_8S ? MOX_DEPTH_32S : MOX_DEPTH_8S;
            expect(refused ? -17 : -5, refused  ? "srcA->depth || srcB->depth == 8U||16U||1U"
                                       : a != b ? "(srcA->depth != srcB->depth)"
                                                : "(srcA->depth != dst->depth)");
        }
    }
}

// Sizes are those of the regions.
TEST_F(MultiplyFailure, regionsMustBeOfOneSize) {
    MoxROI part = {0, 2, 1, 10, 8}, same = {0, 1, 1, 10, 8}, other = {0, 0, 0, 10, 7};
    h[0]->roi = &part;
    expect(-5, "(width_srcA != width_srcB)");
    h[1]->roi = &same;
    expect(-5, "(width_srcA != width_dst)");
    h[2]->roi = &other;
    expect(-5, "(height_srcA != height_dst)");
    h[1]->roi = &other;
    expect(-5, "(height_srcA != height_srcB)");
    h[1]->roi = h[2]->roi = &same;
    expectGood();
    // Clipped at the edge of the image.
    part = {0, 2, 1, 1000, 1000};
    expectGood();
}

TEST_F(MultiplyFailure, processedChannelsMustAgree) {
    MoxROI one = {2, 0, 0, 12, 9};
    h[0]->alphaChannel = 3;
    expect(-15, "");
    h[1]->alphaChannel = 3;
    expect(-15, "");
    h[2]->alphaChannel = 3;
    expectGood();
    h[0]->roi = &one;
    expect(-15, "");
    h[1]->roi = &one;
    expect(-15, "");
    h[2]->roi = &one;
    expectGood();
}

// A channel that is not there is a fault of the header.
TEST_F(MultiplyFailure, aWrongChannelIsAFaultOfTheHeader) {
    MoxROI roi = {4, 0, 0, 12, 9};
    for (MoxImage *image : h) {
        for (int coi : {4, -1}) {
            roi.coi = coi;
            image->roi = &roi;
            expect(-24, "Incorrect Image");
        }
        image->roi = nullptr;
        image->alphaChannel = 2;
        expect(-18, "Incorrect Image");
        image->alphaChannel = 0;
    }
}

TEST_F(MultiplyFailure, emptyRegionsAreNoFault) {
    MoxROI away = {0, 12, 0, 5, 5};
    for (MoxImage *image : h)
        image->roi = &away;
    moxMpyRCPack2D(h[0], h[1], h[2]);
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(images[2]->holds(before[2]));
}

TEST_F(MultiplyFailure, impossibleSizesAreRefused) {
    for (int i = 0; i < 3; ++i) {
        h[i]->widthStep = 71;
        moxMpyRCPack2D(h[0], h[1], h[2]);
        EXPECT_LT(moxGetErrStatus(), 0);
        ASSERT_EQ(reports.seen.size(), 1u);
        EXPECT_EQ(reports.seen[0].function, "moxMpyRCPack2D");
        EXPECT_TRUE(images[2]->holds(before[2]));
        reports.clear();
        h[i]->widthStep = images[i]->layout().extraStride + 72;
    }
}

// Tiles hold no pixels at imageData.
TEST_F(MultiplyFailure, tiledImagesAreRefused) {
    MoxTileInfo tiles = {serveNoTile, nullptr, nullptr, 8, 8};
    for (int i = 0; i < 3; ++i) {
        const MoxImage good = *h[i];
        h[i]->tileInfo = &tiles;
        h[i]->imageData = nullptr;
        moxMpyRCPack2D(h[0], h[1], h[2]);
        EXPECT_LT(moxGetErrStatus(), 0);
        EXPECT_EQ(reports.seen.size(), 1u);
        EXPECT_TRUE(images[2]->holds(before[2]));
        reports.clear();
        *h[i] = good;
    }
}

}  // namespace
