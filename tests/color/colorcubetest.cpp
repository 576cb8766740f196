// All colours of 8 bits, 2^24 of them, through each model there and back: a digest of the results, which was written
// when the model agreed with every one of them.
#include <cstdlib>
#include <cstring>

#include "color/colorpair.h"
#include "color/refusedcall.h"
#include "core/owncpu.h"
#include "support/golden.h"
#include "support/reports.h"

namespace {

constexpr int SIDE = 256;

struct Cube {
    std::string name;
    const char *srcModel, *dstModel;
    int srcOrder, dstOrder;
    unsigned dstDepth;
    int dstChannels;
    void(MOX_CALL *call)(MoxImage *, MoxImage *);
    std::function<RefColor(const RefColor &)> model;
};

void PrintTo(const Cube &cube, std::ostream *out) {
    *out << cube.name;
}

std::vector<Cube> allCubes() {
    std::vector<Cube> cubes;
    for (const RefModel &model : refModels()) {
        if (!model.accepts(MOX_DEPTH_8U)) continue;
        const char *src = model.forward ? "RGB" : model.model, *dst = model.forward ? model.model : "RGB";
        cubes.push_back({model.name, src, dst, 0, 0, MOX_DEPTH_8U, 3, model.call,
                         [&model](const RefColor &from) { return model.convert(MOX_DEPTH_8U, from); }});
    }
    cubes.push_back({"moxRGB2YUV_mixed", "RGB", "YUV", 0, 1, MOX_DEPTH_8U, 3, moxRGB2YUV, refRGB2YUVMixed});
    cubes.push_back({"moxYUV2RGB_mixed", "YUV", "RGB", 1, 0, MOX_DEPTH_8U, 3, moxYUV2RGB, refYUV2RGBMixed});
    for (unsigned depth : {MOX_DEPTH_16U, MOX_DEPTH_8U, MOX_DEPTH_1U}) {
        cubes.push_back({std::string("moxColorToGray_") + depthName(depth), "RGB", "GRAY", 0, 0, depth, 1,
                         moxColorToGray,
                         [depth](const RefColor &from) { return RefColor{{refGrayOf(MOX_DEPTH_8U, depth, from)}}; }});
    }
    return cubes;
}

// One slab of the cube: the first sample is the same everywhere, the others are those of the place.
class Slab {
  public:
    explicit Slab(const Cube &cube)
        : cube_(cube),
          src_(TestLayout::of(MOX_DEPTH_8U, SIDE, SIDE, 3, cube.srcOrder), 1),
          dst_(TestLayout::of(cube.dstDepth, SIDE, SIDE, cube.dstChannels, cube.dstOrder), 2) {
        for (int i = 0; i < SIDE * SIDE; ++i) {
            src_.set(1, i % SIDE, i / SIDE, static_cast<uint32_t>(i / SIDE));
            src_.set(2, i % SIDE, i / SIDE, static_cast<uint32_t>(i % SIDE));
        }
    }

    std::vector<uint8_t> run(int first) {
        uint8_t *data = reinterpret_cast<uint8_t *>(src_.header()->imageData);
        const int step = cube_.srcOrder == MOX_DATA_ORDER_PIXEL ? 3 : 1;
        for (int i = 0; i < SIDE * SIDE; ++i)
            data[i * step] = static_cast<uint8_t>(first);
        nameModel(src_, cube_.srcModel, strcmp(cube_.srcModel, "GRAY") == 0 ? "G" : cube_.srcModel);
        nameModel(dst_, cube_.dstModel, strcmp(cube_.dstModel, "GRAY") == 0 ? "G" : cube_.dstModel);
        cube_.call(src_.header(), dst_.header());
        const uint8_t *result = reinterpret_cast<const uint8_t *>(dst_.header()->imageData);
        return std::vector<uint8_t>(result, result + dst_.header()->imageSize);
    }

    // Of the last run.
    testing::AssertionResult agrees(int first) const {
        for (int i = 0; i < SIDE * SIDE; ++i) {
            const RefColor from = {
                {static_cast<uint32_t>(first), static_cast<uint32_t>(i / SIDE), static_cast<uint32_t>(i % SIDE)}};
            const RefColor wanted = cube_.model(from);
            for (int channel = 0; channel < cube_.dstChannels; ++channel) {
                const uint32_t found = dst_.get(channel, i % SIDE, i / SIDE);
                if (found == wanted.sample[channel]) continue;
                return testing::AssertionFailure()
                       << "(" << from.sample[0] << ", " << from.sample[1] << ", " << from.sample[2] << ") gives "
                       << found << " in channel " << channel << ", expected " << wanted.sample[channel];
            }
        }
        return testing::AssertionSuccess();
    }

  private:
    const Cube &cube_;
    TestImage src_, dst_;
};

class ColorCube : public testing::TestWithParam<Cube> {};
INSTANTIATE_TEST_SUITE_P(Color, ColorCube, testing::ValuesIn(allCubes()),
                         [](const auto &each) { return each.param.name; });

// The highest level has them all, and the model looks at some, or at all when the digest is written; the levels below
// are compared with it where they are not.
TEST_P(ColorCube, everyColorGivesItsGoldenResult) {
    const bool writes = getenv("MOX_GOLDEN_WRITE") != nullptr;
    const OwnCpuLevel highest = ownHighestCpuLevel();
    Slab slab(GetParam());
    ReportRecorder reports;
    uint64_t digest = digestOf({});
    for (int first = 0; first < SIDE; ++first) {
        ownForceCpuLevel(highest);
        const std::vector<uint8_t> result = slab.run(first);
        digest = digestOf(result, digest);
        if (writes || first % 51 == 0) {
            ASSERT_TRUE(slab.agrees(first));
        }
        for (int level = OWN_LEVEL_BASE; level < highest && first % 8 == 3; ++level) {
            if (!ownForceCpuLevel(static_cast<OwnCpuLevel>(level))) continue;
            ASSERT_EQ(slab.run(first), result) << "CPU level " << level << " with " << first;
        }
        ownForceCpuLevel(highest);
    }
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(digestIsGolden("color/cube/" + GetParam().name, digest));
}

}  // namespace
