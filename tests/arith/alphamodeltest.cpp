// The operations with opacities over random layouts, against the model.
#include "arith/alphacheck.h"

namespace {

class Alpha : public testing::TestWithParam<unsigned> {
  protected:
    AlphaSceneOptions options() const {
        AlphaSceneOptions options;
        options.depth = GetParam();
        return options;
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Alpha, testing::ValuesIn(alphaDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

void checkComposite(Random &random, const AlphaSceneOptions &options) {
    AlphaScene scene(random, options);
    const RefComposite call = {scene.a,      scene.b,      scene.dst,     drawRule(random),
                               scene.alphaA, scene.alphaB, scene.alphaDst};
    SCOPED_TRACE(describeRule(call.rule) + "\n" + scene.describe());
    checkAlphaCall(scene.images(), refComposite(call), refCompositeSession(call).events, [&] { runComposite(call); });
}

TEST_P(Alpha, compositionAgreesWithTheModel) {
    forEachCase(1500, [&](Random &random) { checkComposite(random, options()); });
}

TEST_P(Alpha, compositionOfPlainImagesAgreesWithTheModel) {
    AlphaSceneOptions plain = options();
    plain.tiled = 0;
    forEachCase(700, [&](Random &random) {
        plain.masks = random.oneIn(3);
        checkComposite(random, plain);
    });
}

TEST_P(Alpha, compositionOnTilesAgreesWithTheModel) {
    AlphaSceneOptions tiled = options();
    tiled.tiled = 1;
    tiled.maxHeight = 40;
    forEachCase(500, [&](Random &random) { checkComposite(random, tiled); });
}

// Wide rows, so that the blocks of every CPU level, their heads and tails come into play.
TEST_P(Alpha, compositionOfWideRowsAgreesWithTheModel) {
    AlphaSceneOptions wide = options();
    wide.maxWidth = 700;
    wide.maxHeight = 3;
    forEachCase(250, [&](Random &random) {
        wide.tiled = random.oneIn(4) ? -1 : 0;
        wide.masks = random.oneIn(3);
        checkComposite(random, wide);
    });
}

// Rows longer than any scratch.
TEST_P(Alpha, compositionOfEndlessRowsAgreesWithTheModel) {
    AlphaSceneOptions endless = options();
    endless.maxWidth = 9000;
    endless.maxHeight = 2;
    forEachCase(60, [&](Random &random) {
        endless.tiled = random.oneIn(4) ? 1 : 0;
        checkComposite(random, endless);
    });
}

// Rows are the outer loop, channels next: an opacity in a channel of the destination is read as it was left by the
// channels before.
TEST_P(Alpha, compositionReadsOpacitiesThatItHasOverwritten) {
    AlphaSceneOptions overwritten = options();
    overwritten.overwritten = true;
    forEachCase(300, [&](Random &random) { checkComposite(random, overwritten); });
}

// A constant opacity: usually one of the depth, often a bound, and now and then the image's own by a number below 0 or
// above the full scale.
int drawOpacity(Random &random, unsigned depth) {
    const int full = depth == MOX_DEPTH_8U ? 255 : 65535;
    switch (random.below(8)) {
        case 0:
            return random.oneIn(2) ? -1 : -random.between(1, 100000);
        case 1:
            return full + random.between(1, 70000);
        case 2:
            return random.oneIn(2) ? full : full - 1;
        case 3:
            return random.below(2);
        case 4:
            return random.oneIn(2) ? -0x7FFFFFFF - 1 : 0x7FFFFFFF;
        default:
            return random.below(full + 1);
    }
}
bool isOwn(int opacity, unsigned depth) {
    return opacity < 0 || opacity > (depth == MOX_DEPTH_8U ? 255 : 65535);
}

void checkCompositeC(Random &random, AlphaSceneOptions options) {
    const int aA = drawOpacity(random, options.depth), aB = drawOpacity(random, options.depth);
    options.composes = false;
    options.needsAlphaA = isOwn(aA, options.depth);
    options.needsAlphaB = isOwn(aB, options.depth);
    AlphaScene scene(random, options);
    const RefRule rule = drawRule(random);
    SCOPED_TRACE(describeRule(rule) + " opacities " + std::to_string(aA) + " " + std::to_string(aB) + "\n" +
                 scene.describe());
    checkAlphaCall(scene.images(), refCompositeC(*scene.a, *scene.b, *scene.dst, rule, aA, aB),
                   refSession(*scene.dst, {scene.a, scene.b}).events, [&] {
                       moxAlphaCompositeC(scene.a->header(), scene.b->header(), scene.dst->header(), rule.type, aA, aB,
                                          rule.premulAlpha, rule.divideMode);
                   });
}

TEST_P(Alpha, compositionByConstantsAgreesWithTheModel) {
    forEachCase(1000, [&](Random &random) { checkCompositeC(random, options()); });
}

TEST_P(Alpha, compositionByConstantsOfWideRowsAgreesWithTheModel) {
    AlphaSceneOptions wide = options();
    wide.maxWidth = 700;
    wide.maxHeight = 3;
    wide.tiled = 0;
    forEachCase(200, [&](Random &random) {
        wide.masks = random.oneIn(3);
        checkCompositeC(random, wide);
    });
}

TEST_P(Alpha, premultiplicationAgreesWithTheModel) {
    forEachCase(1000, [&](Random &random) {
        AlphaSceneOptions one = options();
        const int alpha = drawOpacity(random, one.depth);
        one.composes = false;
        one.sources = 0;
        one.needsAlphaA = isOwn(alpha, one.depth);
        if (random.oneIn(8)) {
            one.maxWidth = random.oneIn(4) ? 6000 : 700;
            one.maxHeight = 3;
        }
        AlphaScene scene(random, one);
        SCOPED_TRACE("opacity " + std::to_string(alpha) + "\n" + scene.describe());
        checkAlphaCall(scene.images(), refPreMultiply(*scene.dst, alpha), refSession(*scene.dst, {}).events,
                       [&] { moxPreMultiplyAlpha(scene.dst->header(), alpha); });
    });
}

TEST_P(Alpha, scaledMultiplicationAgreesWithTheModel) {
    forEachCase(1200, [&](Random &random) {
        AlphaSceneOptions two = options();
        two.composes = false;
        two.scales = true;
        if (random.oneIn(8)) {
            two.maxWidth = random.oneIn(4) ? 6000 : 700;
            two.maxHeight = 3;
        }
        AlphaScene scene(random, two);
        SCOPED_TRACE(scene.describe());
        checkAlphaCall(scene.images(), refMultiplyScale(*scene.a, *scene.b, *scene.dst),
                       refSession(*scene.dst, {scene.a, scene.b}).events,
                       [&] { moxMultiplyScale(scene.a->header(), scene.b->header(), scene.dst->header()); });
    });
}

TEST_P(Alpha, scaledMultiplicationByConstantsAgreesWithTheModel) {
    forEachCase(1200, [&](Random &random) {
        AlphaSceneOptions one = options();
        const int value = random.oneIn(2) ? drawOpacity(random, one.depth) : drawInt(random);
        one.composes = false;
        one.scales = true;
        one.sources = 1;
        if (random.oneIn(8)) {
            one.maxWidth = random.oneIn(4) ? 6000 : 700;
            one.maxHeight = 3;
        }
        AlphaScene scene(random, one);
        SCOPED_TRACE("value " + std::to_string(value) + "\n" + scene.describe());
        checkAlphaCall(scene.images(), refMultiplySScale(*scene.a, *scene.dst, value),
                       refSession(*scene.dst, {scene.a}).events,
                       [&] { moxMultiplySScale(scene.a->header(), scene.dst->header(), value); });
    });
}

// One row of every length, plain and in both orders: no place in a row is special.
TEST_P(Alpha, everyLengthOfARowIsRight) {
    Random random(testSeed());
    for (int width = 1; width <= 140; ++width) {
        for (int type = 0; type < 6; ++type) {
            const int colours = random.between(1, 4), order = random.below(2);
            TestLayout layout = TestLayout::of(GetParam(), width, 2, colours + 1, order);
            layout.alpha = layout.channels;
            TestImage a(layout, random.next()), b(layout, random.next()), d(layout, random.next());
            const RefRule rule = {type, random.below(2), random.below(2)};
            const RefComposite call = {&a, &b, &d, rule};
            SCOPED_TRACE(describeRule(rule) + " " + layout.describe());
            checkAlphaCall({&a, &b, &d}, refComposite(call), {}, [&] { runComposite(call); });
            if (HasFailure()) return;
        }
    }
}

}  // namespace
