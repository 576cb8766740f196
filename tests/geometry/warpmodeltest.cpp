// Warps over random layouts, quadrangles and maps, against the model.
#include "filter/filtercheck.h"
#include "geometry/quadfunctions.h"
#include "geometry/warppair.h"

namespace {

class Warp : public testing::TestWithParam<unsigned> {
  protected:
    WarpPairOptions options() const {
        WarpPairOptions options;
        options.depth = GetParam();
        return options;
    }
    WarpPairOptions plain() const {
        WarpPairOptions plain = options();
        plain.tiled[0] = plain.tiled[1] = 0;
        return plain;
    }
    WarpPairOptions tiled(Random &random) const {
        WarpPairOptions tiled = options();
        tiled.tiled[0] = random.below(2);
        tiled.tiled[1] = tiled.tiled[0] ? random.below(2) : 1;
        tiled.maxWidth = 80;
        tiled.maxHeight = 50;
        return tiled;
    }

    void checkAffine(Random &random, const WarpPairOptions &pairOptions) {
        WarpPair pair(random, pairOptions);
        const RefCoeffs coeffs = drawAffine(random, rectOf(pair.src()), rectOf(pair.dst()));
        const int interpolate = drawInterpolate(random, true);
        SCOPED_TRACE(describeCoeffs(RefMap::AFFINE, coeffs) + " interpolate " + std::to_string(interpolate) + "\n" +
                     pair.describe());
        checkCall(pair, refWarpAffine(pair.src(), pair.dst(), coeffs, interpolate),
                  [&] { callWarp(RefMap::AFFINE, pair, coeffs, 0, interpolate); });
    }
    void checkQuad(Random &random, WarpPairOptions pairOptions, RefMap map, int warpFlag) {
        if (warpFlag == 1) pairOptions.leastSource = 1;
        WarpPair pair(random, pairOptions);
        const RefRect from = rectOf(pair.src()), to = rectOf(pair.dst());
        if (warpFlag == 1 && (to.right == to.left || to.bottom == to.top)) return;
        const RefQuad quad = drawQuad(random, warpFlag == 0 ? to : from);
        const int interpolate = drawInterpolate(random, true);
        SCOPED_TRACE(std::string(mapName(map)) + " " + describeQuad(quad) + " flag " + std::to_string(warpFlag) +
                     " interpolate " + std::to_string(interpolate) + "\n" + pair.describe());
        checkCall(pair, refWarpQuad(map, pair.src(), pair.dst(), quad, warpFlag, interpolate),
                  [&] { callWarpQ(map, pair, quad, warpFlag, interpolate); });
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Warp, testing::ValuesIn(warpDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

TEST_P(Warp, affineMapsAgreeWithTheModel) {
    forEachCase(500, [&](Random &random) { checkAffine(random, plain()); });
}
TEST_P(Warp, affineMapsAgreeWithTheModelOnTiles) {
    forEachCase(120, [&](Random &random) { checkAffine(random, tiled(random)); });
}

TEST_P(Warp, bilinearMapsAgreeWithTheModel) {
    forEachCase(500, [&](Random &random) { checkQuad(random, plain(), RefMap::BILINEAR, 0); });
}
TEST_P(Warp, bilinearMapsAgreeWithTheModelOnTiles) {
    forEachCase(120, [&](Random &random) { checkQuad(random, tiled(random), RefMap::BILINEAR, 0); });
}
TEST_P(Warp, bilinearMapsOfTheDestinationAgreeWithTheModel) {
    forEachCase(300, [&](Random &random) { checkQuad(random, plain(), RefMap::BILINEAR, 1); });
}
TEST_P(Warp, bilinearMapsOfTheDestinationAgreeWithTheModelOnTiles) {
    forEachCase(120, [&](Random &random) { checkQuad(random, tiled(random), RefMap::BILINEAR, 1); });
}

TEST_P(Warp, perspectiveMapsAgreeWithTheModel) {
    forEachCase(500, [&](Random &random) { checkQuad(random, plain(), RefMap::PERSPECTIVE, 0); });
}
TEST_P(Warp, perspectiveMapsAgreeWithTheModelOnTiles) {
    forEachCase(120, [&](Random &random) { checkQuad(random, tiled(random), RefMap::PERSPECTIVE, 0); });
}
TEST_P(Warp, perspectiveMapsOfTheDestinationAgreeWithTheModel) {
    forEachCase(300, [&](Random &random) { checkQuad(random, plain(), RefMap::PERSPECTIVE, 1); });
}
TEST_P(Warp, perspectiveMapsOfTheDestinationAgreeWithTheModelOnTiles) {
    forEachCase(120, [&](Random &random) { checkQuad(random, tiled(random), RefMap::PERSPECTIVE, 1); });
}

}  // namespace
