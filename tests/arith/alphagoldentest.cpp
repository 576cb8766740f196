// Golden digests of the operations with opacities, which every CPU level and every platform must give.
#include "arith/alphacheck.h"
#include "support/golden.h"

namespace {

// One more channel, which is the opacity.
TestLayout layoutOf(const GoldenLayout &golden, unsigned depth, int shift) {
    TestLayout layout = golden.of(depth, 61, 19, shift, golden.channels + 1);
    layout.alpha = layout.channels;
    return layout;
}

// Six images and what is to be done with them; the model says first what comes of it.
struct Images {
    TestImage a, b, d, alphaA, alphaB, out, mask{TestLayout::ofMask(60, 18), 17};
    Images(const GoldenLayout &golden, unsigned depth)
        : a(layoutOf(golden, depth, 0), 11),
          b(layoutOf(golden, depth, 1), 12),
          d(layoutOf(golden, depth, 2), 13),
          alphaA(layoutOf(golden, depth, 3), 14),
          alphaB(layoutOf(golden, depth, 1), 15),
          out(layoutOf(golden, depth, 0), 16) {
        if (golden.masked) d.setMask(&mask);
    }
};
struct Step {
    std::function<RefWrites(Images &x)> model;
    std::function<void(Images &x)> call;
};

void checkGolden(const std::string &name, const std::vector<Step> &steps) {
    for (unsigned depth : alphaDepths) {
        for (const GoldenLayout &golden : goldenLayouts) {
            forEachCpuLevel([&] {
                uint64_t digest = digestOf({});
                for (const Step &step : steps) {
                    Images images(golden, depth);
                    const RefWrites wanted = step.model(images);
                    ReportRecorder reports;
                    step.call(images);
                    EXPECT_TRUE(reports.none());
                    for (const RefWrite &write : wanted) {
                        ASSERT_TRUE(write.image->holds(write.expected)) << "no digest is taken of a wrong result";
                        digest = digestOfSamples(*write.image, digest);
                    }
                }
                if (testing::Test::HasFailure()) return;
                EXPECT_TRUE(digestIsGolden("arith/" + name + "/" + depthName(depth) + "/" + golden.name, digest));
            });
        }
    }
}

std::vector<RefRule> allRules() {
    std::vector<RefRule> rules;
    for (int type = MOX_COMPOSITE_OVER; type <= MOX_COMPOSITE_PLUS; ++type) {
        for (int form = 0; form < 4; ++form)
            rules.push_back({type, form & 1, form >> 1});
    }
    return rules;
}

TEST(AlphaGolden, composition) {
    std::vector<Step> steps;
    for (const RefRule &rule : allRules()) {
        const auto own = [=](Images &x) { return RefComposite{&x.a, &x.b, &x.d, rule}; };
        const auto given = [=](Images &x) {
            return RefComposite{&x.a, &x.b, &x.d, rule, &x.alphaA, &x.alphaB, &x.out};
        };
        const auto rest = [=](Images &x) { return RefComposite{&x.a, &x.b, &x.d, rule, &x.alphaA}; };
        steps.push_back({[=](Images &x) { return refComposite(own(x)); }, [=](Images &x) { runComposite(own(x)); }});
        steps.push_back(
            {[=](Images &x) { return refComposite(given(x)); }, [=](Images &x) { runComposite(given(x)); }});
        steps.push_back({[=](Images &x) { return refComposite(rest(x)); }, [=](Images &x) { runComposite(rest(x)); }});
    }
    checkGolden("moxAlphaComposite", steps);
}

TEST(AlphaGolden, compositionByConstants) {
    std::vector<Step> steps;
    for (const RefRule &rule : allRules()) {
        for (const auto &[aA, aB] : {std::pair{100, 200}, {-1, 37}, {255, -1}, {-1, 100000}}) {
            const int opacityA = aA, opacityB = aB;
            steps.push_back({[=](Images &x) { return refCompositeC(x.a, x.b, x.d, rule, opacityA, opacityB); },
                             [=](Images &x) {
                                 moxAlphaCompositeC(x.a.header(), x.b.header(), x.d.header(), rule.type, opacityA,
                                                    opacityB, rule.premulAlpha, rule.divideMode);
                             }});
        }
    }
    checkGolden("moxAlphaCompositeC", steps);
}

TEST(AlphaGolden, multiplication) {
    std::vector<Step> steps;
    for (int alpha : {-1, 0, 77, 255, 30000}) {
        steps.push_back({[=](Images &x) { return refPreMultiply(x.d, alpha); },
                         [=](Images &x) { moxPreMultiplyAlpha(x.d.header(), alpha); }});
    }
    checkGolden("moxPreMultiplyAlpha", steps);
    checkGolden("moxMultiplyScale", {{[](Images &x) { return refMultiplyScale(x.a, x.b, x.d); },
                                      [](Images &x) { moxMultiplyScale(x.a.header(), x.b.header(), x.d.header()); }}});
    steps.clear();
    for (int value : {-5, 1, 200, 255, 40000, 70000}) {
        steps.push_back({[=](Images &x) { return refMultiplySScale(x.a, x.d, value); },
                         [=](Images &x) { moxMultiplySScale(x.a.header(), x.d.header(), value); }});
    }
    checkGolden("moxMultiplySScale", steps);
}

}  // namespace
