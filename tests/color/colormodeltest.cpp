// Colour models and gray against the reference model: random layouts, depths and CPU levels.
#include "color/colorpair.h"

#include <cstring>

#include "reference/filter.h"
#include "support/reports.h"
#include "support/tilelog.h"

namespace {

struct ModelDepth {
    const RefModel *model;
    unsigned depth;
};

void PrintTo(const ModelDepth &one, std::ostream *out) {
    *out << one.model->name << " of depth " << one.depth;
}

std::vector<ModelDepth> allModelDepths() {
    std::vector<ModelDepth> all;
    for (const RefModel &model : refModels()) {
        for (unsigned depth : model.depths)
            all.push_back({&model, depth});
    }
    return all;
}

// A conversion from RGB names the destination; everything else about both headers stays.
void convert(ColorPair &pair, const RefModel &model) {
    model.call(pair.src().header(), pair.dst().header());
    if (!model.forward) return;
    MoxImage &header = *pair.dst().header();
    EXPECT_EQ(memcmp(header.colorModel, model.model, 4), 0);
    EXPECT_EQ(memcmp(header.channelSeq, model.model, 4), 0);
}

void check(ColorPair &pair, const RefModel &model) {
    SCOPED_TRACE(pair.describe() + std::string(pair.src().header()->channelSeq, 4));
    const RefResult wanted = refConvertColors(model, pair.src(), pair.dst());
    if (model.forward) {
        // As the call leaves it.
        memcpy(pair.dst().header()->colorModel, model.model, 4);
        memcpy(pair.dst().header()->channelSeq, model.model, 4);
        pair.dst().keepHeader();
    }
    checkColorCall(pair, wanted, [&] {
        if (model.forward) {
            memcpy(pair.dst().header()->colorModel, "what", 4);
            memcpy(pair.dst().header()->channelSeq, "ever", 4);
        }
        convert(pair, model);
    });
}

class ColorModel : public testing::TestWithParam<ModelDepth> {};

INSTANTIATE_TEST_SUITE_P(Color, ColorModel, testing::ValuesIn(allModelDepths()), [](const auto &each) {
    return std::string(each.param.model->name) + "_" + depthName(each.param.depth);
});

TEST_P(ColorModel, agrees) {
    forEachCase(120, [&](Random &random) {
        ColorPair pair(random, optionsOf(*GetParam().model, GetParam().depth));
        check(pair, *GetParam().model);
    });
}

TEST_P(ColorModel, agreesOnWideRows) {
    forEachCase(8, [&](Random &random) {
        ColorPairOptions options = optionsOf(*GetParam().model, GetParam().depth);
        options.maxWidth = 2300;
        options.maxHeight = 4;
        ColorPair pair(random, options);
        check(pair, *GetParam().model);
    });
}

// Every width up to many vectors, in both orders and sequences, of three channels and of four.
TEST_P(ColorModel, agreesOnEveryWidth) {
    const RefModel &model = *GetParam().model;
    for (int width = 1; width <= 70; ++width) {
        for (int kind = 0; kind < 8; ++kind) {
            const int order = kind & 1, channels = kind & 2 ? 4 : 3;
            TestImage src(TestLayout::of(GetParam().depth, width, 2, channels, order),
                          static_cast<uint64_t>(kind + width)),
                dst(TestLayout::of(GetParam().depth, width, 2, 3, order), 2);
            for (TestImage *image : {&src, &dst}) {
                const bool isRGB = (image == &src) == model.forward;
                memcpy(image->header()->colorModel, isRGB ? "RGB" : model.model, 4);
                memcpy(image->header()->channelSeq, !isRGB ? model.model : kind & 4 ? "RGB" : "BGR", 4);
            }
            const RefResult wanted = refConvertColors(model, src, dst);
            const TestBytes before = dst.bytes();
            forEachCpuLevel([&] {
                ReportRecorder reports;
                dst.setBytes(before);
                model.call(src.header(), dst.header());
                EXPECT_TRUE(reports.none());
                RefResult expected = wanted;
                refAcceptNaNs(dst, &expected);
                EXPECT_TRUE(dst.holds(expected.expected)) << "channels " << channels << " order " << order;
            });
            if (HasFailure()) return;
        }
    }
}

// The source may be the destination: it is read by the names that it had.
TEST_P(ColorModel, runsInPlace) {
    const RefModel &model = *GetParam().model;
    if (!model.forward) return;
    forEachCase(30, [&](Random &random) {
        TestLayout layout =
            TestLayout::of(GetParam().depth, random.between(1, 70), random.between(1, 9), 3, random.below(2));
        drawPlacement(random, layout, -1);
        TestImage image(layout, random.next());
        SCOPED_TRACE(layout.describe());
        const char *sequence = random.oneIn(2) ? "RGB" : "BGR";
        const TestBytes before = image.bytes();
        forEachCpuLevel([&] {
            image.setBytes(before);
            memcpy(image.header()->colorModel, "RGB", 4);
            memcpy(image.header()->channelSeq, sequence, 4);
            RefResult wanted = refConvertColors(model, image, image);
            ReportRecorder reports;
            TileLog log;
            model.call(image.header(), image.header());
            EXPECT_TRUE(reports.none());
            EXPECT_TRUE(log.paired());
            EXPECT_EQ(memcmp(image.header()->colorModel, model.model, 4), 0);
            refAcceptNaNs(image, &wanted);
            EXPECT_TRUE(image.holds(wanted.expected));
        });
    });
}

// Bytes between pixel order and plane order, which YUV alone takes.
TEST(ColorMixedOrders, agree) {
    for (const char *name : {"moxRGB2YUV", "moxYUV2RGB"}) {
        forEachCase(150, [&](Random &random) {
            ColorPairOptions options = optionsOf(refModel(name), MOX_DEPTH_8U);
            options.mixed = true;
            if (random.oneIn(10)) options.maxWidth = 1500;
            ColorPair pair(random, options);
            check(pair, refModel(name));
        });
    }
}

const unsigned grayTo[][2] = {
    {MOX_DEPTH_8U, MOX_DEPTH_16U},  {MOX_DEPTH_8U, MOX_DEPTH_8U},  {MOX_DEPTH_8U, MOX_DEPTH_1U},
    {MOX_DEPTH_16U, MOX_DEPTH_16U}, {MOX_DEPTH_16U, MOX_DEPTH_8U}, {MOX_DEPTH_16U, MOX_DEPTH_1U},
    {MOX_DEPTH_32S, MOX_DEPTH_16U}, {MOX_DEPTH_32S, MOX_DEPTH_8U}, {MOX_DEPTH_32S, MOX_DEPTH_1U}};

TEST(ColorGray, toGrayAgrees) {
    for (const auto &depths : grayTo) {
        forEachCase(120, [&](Random &random) {
            ColorPairOptions options;
            options.srcDepth = depths[0];
            options.dstDepth = depths[1];
            options.dstModel = "GRAY";
            options.anyOrder = true;
            if (random.oneIn(12)) options.maxWidth = 1500;
            ColorPair pair(random, options);
            SCOPED_TRACE(pair.describe() + std::string(pair.src().header()->channelSeq, 4));
            checkColorCall(pair, refColorToGray(pair.src(), pair.dst()),
                           [&] { moxColorToGray(pair.src().header(), pair.dst().header()); });
        });
    }
}

float drawWeight(Random &random) {
    switch (random.below(5)) {
        case 0:
            return 0;
        case 1:
            return static_cast<float>(random.between(-300, 300)) / 65536.0f;
        case 2:
            return static_cast<float>(random.between(-40, 80)) / 16.0f;
        default:
            return static_cast<float>(random.between(0, 10000)) / 10000.0f;
    }
}

TEST(ColorGray, toColorAgrees) {
    for (const auto &depths : {std::pair{MOX_DEPTH_8U, MOX_DEPTH_8U},
                               {MOX_DEPTH_16U, MOX_DEPTH_16U},
                               {MOX_DEPTH_32S, MOX_DEPTH_32S},
                               {MOX_DEPTH_1U, MOX_DEPTH_8U}}) {
        forEachCase(200, [&](Random &random) {
            ColorPairOptions options;
            options.srcDepth = depths.first;
            options.dstDepth = depths.second;
            options.srcModel = "GRAY";
            options.dstModel = "RGB";
            options.anyOrder = true;
            if (random.oneIn(12)) options.maxWidth = 1500;
            ColorPair pair(random, options);
            float weights[3] = {drawWeight(random), drawWeight(random), drawWeight(random)};
            if (random.oneIn(3)) weights[1] = weights[2] = weights[0];
            SCOPED_TRACE(pair.describe() + std::string(pair.dst().header()->channelSeq, 4) + " weights " +
                         std::to_string(weights[0]) + " " + std::to_string(weights[1]) + " " +
                         std::to_string(weights[2]));
            checkColorCall(pair, refGrayToColor(pair.src(), pair.dst(), weights), [&] {
                moxGrayToColor(pair.src().header(), pair.dst().header(), weights[0], weights[1], weights[2]);
            });
        });
    }
}

}  // namespace
