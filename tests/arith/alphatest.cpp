// What is told of the operations with opacities, sentence by sentence, in numbers worked out by hand.
#include "arith/alphacheck.h"

namespace {

const int KINDS = 6;

testing::AssertionResult haveSameSamples(const TestImage &one, const TestImage &other) {
    for (int y = 0; y < one.layout().height; ++y) {
        for (int x = 0; x < one.layout().width; ++x) {
            for (int c = 0; c < one.layout().channels; ++c) {
                if (one.get(c, x, y) == other.get(c, x, y)) continue;
                return testing::AssertionFailure() << "channel " << c << " at " << x << ", " << y << " is "
                                                   << one.get(c, x, y) << " and " << other.get(c, x, y);
            }
        }
    }
    return testing::AssertionSuccess();
}

// One colour and an opacity of A and B; negative ones of B are not there.
struct Result {
    uint32_t colour, alpha;
    bool operator==(const Result &other) const = default;
};
void PrintTo(const Result &result, std::ostream *out) {
    *out << result.colour << " with opacity " << result.alpha;
}

struct Blend {
    uint32_t A, a, B;
    int64_t b = -1;
};
Result blend(unsigned depth, const RefRule &rule, const Blend &s) {
    TestImage a(coloursLayout(depth, 1, true), 1), b(coloursLayout(depth, 1, s.b >= 0), 2),
        d(coloursLayout(depth, 1, true), 3);
    fillChannel(a, 0, s.A);
    fillChannel(a, 1, s.a);
    fillChannel(b, 0, s.B);
    if (s.b >= 0) fillChannel(b, 1, static_cast<uint32_t>(s.b));
    const RefComposite call = {&a, &b, &d, rule};
    ReportRecorder reports;
    runComposite(call);
    EXPECT_TRUE(reports.none());
    const Result result = {d.get(0, 0, 0), d.get(1, 0, 0)};
    EXPECT_TRUE(channelIs(d, 0, result.colour));
    EXPECT_TRUE(channelIs(d, 1, result.alpha));
    return result;
}

TEST(Composition, ofEveryKindInIntegers) {
    const RefRule rule = {MOX_COMPOSITE_OVER, 1, 0};
    const Blend s = {100, 200, 50, 60};
    const Result premultiplied[KINDS] = {
        {100 + 10, 200 + 12},  // M(50, 55) = 10, M(60, 55) = 12
        {23, 47},              // M(100, 60), M(200, 60)
        {76, 152},             // M(100, 195), M(200, 195)
        {23 + 10, 60},
        {76 + 10, 152 + 12},
        {150, 255},  // 260 is too much
    };
    const Result straight[KINDS] = {
        {78 + 2, 212},  // M(100, 200) = 78, M(50, 60) = 11, M(11, 55) = 2
        {18, 47},       // M(78, 60)
        {59, 152},      // M(78, 195)
        {18 + 2, 60},  {59 + 2, 164}, {78 + 11, 255},
    };
    for (int kind = 0; kind < KINDS; ++kind) {
        SCOPED_TRACE(kind);
        EXPECT_EQ(blend(MOX_DEPTH_8U, {kind, 1, 0}, s), premultiplied[kind]);
        EXPECT_EQ(blend(MOX_DEPTH_8U, {kind, 0, 0}, s), straight[kind]);
    }
    EXPECT_EQ(blend(MOX_DEPTH_16U, rule, {30000, 40000, 20000, 50000}), (Result{30000 + 7792, 40000 + 19481}));
}

TEST(Composition, isLimitedToTheFullScale) {
    // No opacity of B: b is 127.
    EXPECT_EQ(blend(MOX_DEPTH_8U, {MOX_COMPOSITE_OVER, 1, 0}, {200, 128, 200}), (Result{255, 128 + 63}));
    EXPECT_EQ(blend(MOX_DEPTH_16U, {MOX_COMPOSITE_PLUS, 1, 0}, {65535, 65535, 65535, 65535}), (Result{65535, 65535}));
    EXPECT_EQ(blend(MOX_DEPTH_16U, {MOX_COMPOSITE_PLUS, 1, 1}, {65535, 65535, 65535, 65535}), (Result{65535, 65535}));
}

TEST(Composition, attenuatesBTwiceWhereItHasNoOpacity) {
    // b = 155; M(100, 155) = 60, M(60, 155) = 36; M(200, 100) = 78; M(155, 155) = 94
    EXPECT_EQ(blend(MOX_DEPTH_8U, {MOX_COMPOSITE_OVER, 0, 0}, {200, 100, 100}), (Result{78 + 36, 100 + 94}));
    EXPECT_EQ(blend(MOX_DEPTH_8U, {MOX_COMPOSITE_IN, 1, 0}, {200, 100, 100}), (Result{121, 60}));
    EXPECT_EQ(blend(MOX_DEPTH_8U, {MOX_COMPOSITE_ATOP, 1, 0}, {200, 100, 100}), (Result{121 + 60, 155}));
}

// Where the opacity of the result is 0 the colour is kept as it was summed.
TEST(Composition, dividesByAnOpacityAboveItsThresholdAlone) {
    for (unsigned depth : alphaDepths) {
        EXPECT_EQ(blend(depth, {MOX_COMPOSITE_PLUS, 1, 1}, {70, 0, 30, 0}), (Result{100, 0}));
        EXPECT_EQ(blend(depth, {MOX_COMPOSITE_OVER, 1, 1}, {70, 0, 30, 0}), (Result{100, 0}));
        EXPECT_EQ(blend(depth, {MOX_COMPOSITE_ATOP, 1, 1}, {70, 128, 30, 0}).alpha, 0u);
        EXPECT_EQ(blend(depth, {MOX_COMPOSITE_OVER, 0, 1}, {70, 0, 30, 0}), (Result{0, 0}));
    }
    EXPECT_EQ(blend(MOX_DEPTH_8U, {MOX_COMPOSITE_PLUS, 1, 1}, {200, 0, 200, 0}), (Result{255, 0}));
    // The smallest product of opacities stands above the threshold.
    EXPECT_EQ(blend(MOX_DEPTH_8U, {MOX_COMPOSITE_IN, 0, 1}, {200, 1, 9, 1}), (Result{200, 0}));
    EXPECT_EQ(blend(MOX_DEPTH_16U, {MOX_COMPOSITE_IN, 0, 1}, {50000, 1, 9, 1}), (Result{50000, 0}));
}

TEST(Composition, dividesByAnOpacityOfOneWithoutChange) {
    EXPECT_EQ(blend(MOX_DEPTH_8U, {MOX_COMPOSITE_OVER, 0, 1}, {123, 255, 45, 99}), (Result{123, 255}));
    EXPECT_EQ(blend(MOX_DEPTH_16U, {MOX_COMPOSITE_OVER, 0, 1}, {12345, 65535, 45, 99}), (Result{12345, 65535}));
    EXPECT_EQ(blend(MOX_DEPTH_8U, {MOX_COMPOSITE_ATOP, 1, 1}, {123, 255, 45, 255}), (Result{123, 255}));
    EXPECT_EQ(blend(MOX_DEPTH_16U, {MOX_COMPOSITE_ATOP, 1, 1}, {12345, 65535, 45, 65535}), (Result{12345, 65535}));
}

// Straight colours over one another: divided by the sum of the opacities.
TEST(Composition, ofStraightColoursIsTheirMean) {
    // 100 of 100 / 255 and 200 of (155 / 255) 100 / 255: (100 x 100 + 200 x 60.78) / 160.78 = 137.8
    EXPECT_EQ(blend(MOX_DEPTH_8U, {MOX_COMPOSITE_OVER, 0, 1}, {100, 100, 200, 100}), (Result{138, 161}));
    EXPECT_EQ(blend(MOX_DEPTH_8U, {MOX_COMPOSITE_PLUS, 0, 1}, {100, 100, 200, 50}), (Result{133, 150}));
}

// Both opaque: half of the sum.
TEST(Composition, roundsToTheEvenOneOfTwo) {
    for (unsigned depth : alphaDepths) {
        const uint32_t full = depth == MOX_DEPTH_8U ? 255 : 65535;
        for (uint32_t A = 0; A < full; A += full / 85) {
            const Result half = blend(depth, {MOX_COMPOSITE_PLUS, 1, 1}, {A, full, A + 1, full});
            EXPECT_EQ(half, (Result{A % 2 == 0 ? A : A + 1, full})) << A;
        }
    }
}

// A and B with alpha, and images of opacities besides.
struct Roles {
    TestImage a{coloursLayout(MOX_DEPTH_8U, 3, true), 1}, b{coloursLayout(MOX_DEPTH_8U, 3, true), 2},
        plainB{coloursLayout(MOX_DEPTH_8U, 3, false), 2}, d{coloursLayout(MOX_DEPTH_8U, 3, true), 3},
        plainD{coloursLayout(MOX_DEPTH_8U, 3, false), 3}, alphaA{coloursLayout(MOX_DEPTH_8U, 2, true), 4},
        alphaB{coloursLayout(MOX_DEPTH_8U, 0, true), 5}, out{coloursLayout(MOX_DEPTH_8U, 1, true), 6};
    RefRule rule = {MOX_COMPOSITE_XOR, 1, 0};

    // Destination and output for given opacities, by the model's arithmetic.
    void expect(const TestImage &dst, const TestImage *opacityA, const TestImage *opacityB, const TestImage *output) {
        for (int x = 0; x < 9; ++x) {
            const auto read = [&](const TestImage &image) { return image.get(image.layout().channels - 1, x, 2); };
            const uint32_t alphaOfA = read(*opacityA), alphaOfB = opacityB ? read(*opacityB) : 255 - alphaOfA;
            for (int c = 0; c < 3; ++c) {
                EXPECT_EQ(dst.get(c, x, 2),
                          refBlendColour(rule, MOX_DEPTH_8U, {a.get(c, x, 2), b.get(c, x, 2), alphaOfA, alphaOfB}));
            }
            if (output) {
                EXPECT_EQ(read(*output), refBlendAlpha(rule, MOX_DEPTH_8U, alphaOfA, alphaOfB));
            }
        }
    }
    Roles() {
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 9; ++x) {
                for (int c = 0; c < 3; ++c)
                    plainB.set(c, x, y, b.get(c, x, y));
            }
        }
    }
};

TEST(CompositionRoles, areTheImagesOwnIfNoneIsGiven) {
    Roles r;
    ReportRecorder reports;
    runComposite({&r.a, &r.b, &r.d, r.rule});
    r.expect(r.d, &r.a, &r.b, &r.d);
    EXPECT_TRUE(reports.none());
}

TEST(CompositionRoles, bIsTheRestOfAIfItHasNone) {
    Roles r;
    ReportRecorder reports;
    runComposite({&r.a, &r.plainB, &r.d, r.rule});
    r.expect(r.d, &r.a, nullptr, &r.d);
}

// Also if B has an alpha channel.
TEST(CompositionRoles, bIsTheRestOfAIfThatAloneIsGiven) {
    Roles r;
    ReportRecorder reports;
    runComposite({&r.a, &r.b, &r.d, r.rule, &r.alphaA});
    r.expect(r.d, &r.alphaA, nullptr, &r.d);
}

TEST(CompositionRoles, areTheImagesThatAreGiven) {
    Roles r;
    ReportRecorder reports;
    runComposite({&r.a, &r.b, &r.d, r.rule, &r.alphaA, &r.alphaB});
    r.expect(r.d, &r.alphaA, &r.alphaB, &r.d);
    runComposite({&r.a, &r.b, &r.d, r.rule, nullptr, &r.alphaB});
    r.expect(r.d, &r.a, &r.alphaB, &r.d);
}

TEST(CompositionRoles, outputGoesToTheImageThatIsGivenAlone) {
    Roles r;
    ReportRecorder reports;
    const TestImage before(r.d.layout(), 3);
    runComposite({&r.a, &r.b, &r.d, r.rule, nullptr, nullptr, &r.out});
    r.expect(r.d, &r.a, &r.b, &r.out);
    for (int x = 0; x < 9; ++x)
        EXPECT_EQ(r.d.get(3, x, 2), before.get(3, x, 2));
}

TEST(CompositionRoles, noOutputWithoutAPlaceForIt) {
    Roles r;
    ReportRecorder reports;
    runComposite({&r.a, &r.b, &r.plainD, r.rule});
    r.expect(r.plainD, &r.a, &r.b, nullptr);
    EXPECT_TRUE(reports.none());
}

// In the alpha channel or else the first, never the channel of interest.
TEST(CompositionRoles, opacitiesAreNotReadInTheChannelOfInterest) {
    for (int alpha : {0, 3}) {
        Roles r;
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 9, 4, 3);
        layout.alpha = alpha;
        layout.setRoi(2, 0, 0, 9, 4);
        TestImage opacity(layout, 9);
        const RefComposite call = {&r.a, &r.b, &r.d, r.rule, &opacity, &r.alphaB, nullptr};
        const RefWrites wanted = refComposite(call);
        ReportRecorder reports;
        runComposite(call);
        EXPECT_TRUE(r.d.holds(wanted[0].expected));
        TestImage single(TestLayout::of(MOX_DEPTH_8U, 9, 4), 1);
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 9; ++x)
                single.set(0, x, y, opacity.get(alpha == 0 ? 0 : 2, x, y));
        }
        r.expect(r.d, &single, &r.alphaB, &r.d);
        EXPECT_TRUE(reports.none());
    }
}

// The one channel alone, and with it the output's opacity.
TEST(Composition, ofAChannelOfInterest) {
    TestLayout layout = coloursLayout(MOX_DEPTH_8U, 3, true);
    layout.setRoi(2, 0, 0, 9, 4);
    TestImage d(layout, 3);
    layout.roi.coi = 1;
    TestImage a(layout, 1);
    layout.roi.coi = 3;
    TestImage b(layout, 2);
    const TestImage before(d.layout(), 3);
    const RefRule rule = {MOX_COMPOSITE_OVER, 1, 0};
    ReportRecorder reports;
    runComposite({&a, &b, &d, rule});
    for (int x = 0; x < 9; ++x) {
        const RefBlend s = {a.get(0, x, 1), b.get(2, x, 1), a.get(3, x, 1), b.get(3, x, 1)};
        EXPECT_EQ(d.get(1, x, 1), refBlendColour(rule, MOX_DEPTH_8U, s));
        EXPECT_EQ(d.get(3, x, 1), refBlendAlpha(rule, MOX_DEPTH_8U, s.alphaA, s.alphaB));
        EXPECT_EQ(d.get(0, x, 1), before.get(0, x, 1));
        EXPECT_EQ(d.get(2, x, 1), before.get(2, x, 1));
    }
    EXPECT_TRUE(reports.none());
}

TEST(Composition, ofImagesWithoutAnyColourWritesTheOpacity) {
    TestImage a(coloursLayout(MOX_DEPTH_16U, 0, true), 1), b(coloursLayout(MOX_DEPTH_16U, 0, true), 2),
        d(coloursLayout(MOX_DEPTH_16U, 0, true), 3);
    ReportRecorder reports;
    runComposite({&a, &b, &d, {MOX_COMPOSITE_OUT, 1, 0}});
    for (int x = 0; x < 9; ++x)
        EXPECT_EQ(d.get(0, x, 3), refScaledMul(MOX_DEPTH_16U, a.get(0, x, 3), 65535 - b.get(0, x, 3)));
    EXPECT_TRUE(reports.none());
}

TEST(Composition, intoItsOwnSources) {
    for (int which = 0; which < 2; ++which) {
        for (int kind = 0; kind < KINDS; ++kind) {
            for (int divide = 0; divide < 2; ++divide) {
                Roles r;
                const RefRule rule = {kind, 0, divide};
                runComposite({&r.a, &r.b, &r.d, rule});
                TestImage &dst = which ? r.b : r.a;
                ReportRecorder reports;
                runComposite({&r.a, &r.b, &dst, rule});
                EXPECT_TRUE(reports.none());
                for (int c = 0; c < 4; ++c) {
                    for (int x = 0; x < 9; ++x)
                        EXPECT_EQ(dst.get(c, x, 0), r.d.get(c, x, 0));
                }
            }
        }
    }
}

// As small as the smallest region of all, opacities' and masks' too.
TEST(Composition, coversTheSmallestRegion) {
    for (int which = 0; which < 7; ++which) {
        Roles r;
        TestImage *images[] = {&r.a, &r.b, &r.d, &r.alphaA, &r.alphaB, &r.out};
        TestImage mask(TestLayout::ofMask(5, 3), 8);
        mask.setAll(1);
        if (which == 6) {
            r.alphaB.setMask(&mask);
        } else {
            images[which]->header()->width = 5;
            images[which]->header()->height = 3;
        }
        const TestImage before(r.d.layout(), 3), outBefore(r.out.layout(), 6);
        ReportRecorder reports;
        runComposite({&r.a, &r.b, &r.d, {MOX_COMPOSITE_PLUS, 1, 0}, &r.alphaA, &r.alphaB, &r.out});
        EXPECT_TRUE(reports.none());
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 9; ++x) {
                const bool inside = x < 5 && y < 3;
                const uint32_t sum = std::min(r.a.get(1, x, y) + r.b.get(1, x, y), 255u),
                               alpha = std::min(r.alphaA.get(2, x, y) + r.alphaB.get(0, x, y), 255u);
                EXPECT_EQ(r.d.get(1, x, y), inside ? sum : before.get(1, x, y));
                EXPECT_EQ(r.out.get(1, x, y), inside ? alpha : outBefore.get(1, x, y));
            }
        }
    }
}

void expectCompositeC(const RefRule &rule, int aA, int aB, uint32_t a, uint32_t b) {
    Roles r;
    const TestImage before(r.d.layout(), 3);
    ReportRecorder reports;
    moxAlphaCompositeC(r.a.header(), r.b.header(), r.d.header(), rule.type, aA, aB, rule.premulAlpha, rule.divideMode);
    EXPECT_TRUE(reports.none());
    for (int x = 0; x < 9; ++x) {
        const uint32_t alphaA = a < 256 ? a : r.a.get(3, x, 0), alphaB = b < 256 ? b : r.b.get(3, x, 0);
        EXPECT_EQ(r.d.get(0, x, 0),
                  refBlendColour(rule, MOX_DEPTH_8U, {r.a.get(0, x, 0), r.b.get(0, x, 0), alphaA, alphaB}));
        EXPECT_EQ(r.d.get(3, x, 0), before.get(3, x, 0)) << "alpha stays";
    }
}

TEST(CompositionByConstants, takesThemOrTheImagesOwn) {
    const uint32_t own = 256;
    for (int kind = 0; kind < KINDS; ++kind) {
        for (int form = 0; form < 4; ++form) {
            const RefRule rule = {kind, form & 1, form >> 1};
            SCOPED_TRACE(describeRule(rule));
            expectCompositeC(rule, 77, 130, 77, 130);
            expectCompositeC(rule, 0, 255, 0, 255);
            expectCompositeC(rule, 255, 0, 255, 0);
            expectCompositeC(rule, -1, 40, own, 40);
            expectCompositeC(rule, 40, -3, 40, own);
            expectCompositeC(rule, -1, -1, own, own);
            expectCompositeC(rule, 256, 70000, own, own);
            expectCompositeC(rule, 0x7FFFFFFF, -0x7FFFFFFF - 1, own, own);
        }
    }
}

// A number above the full scale chooses the alpha channel behind the tests: without one nothing is promised but that
// the process goes on, and that what is not the destination's colour stays.
TEST(CompositionByConstants, aboveTheFullScaleWithoutAlphaDoesNoHarm) {
    for (unsigned depth : alphaDepths) {
        TestImage a(coloursLayout(depth, 3, false), 1), b(coloursLayout(depth, 3, false), 2),
            d(coloursLayout(depth, 3, true), 3);
        const TestBytes beforeA = a.bytes(), beforeB = b.bytes(), before = d.bytes();
        ReportRecorder reports;
        moxAlphaCompositeC(a.header(), b.header(), d.header(), MOX_COMPOSITE_OVER, 70000, 70000, 0, 0);
        TestBytes colour = d.sampleBits();
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 9; ++x)
                d.setIn(colour, 3, x, y, 0);
        }
        EXPECT_TRUE(a.holds(beforeA));
        EXPECT_TRUE(b.holds(beforeB));
        EXPECT_TRUE(d.holds(before, colour));
        const TestBytes first = a.bytes();
        moxPreMultiplyAlpha(a.header(), 70000);
        EXPECT_TRUE(a.holds(first, a.sampleBits()));
    }
}

// All five, on images that all take together; two sources and the destination have regions.
struct AllFive {
    Roles r;
    MoxROI region = {0, 0, 0, 9, 4};
    std::vector<TestImage *> images = {&r.a, &r.b, &r.d, &r.alphaA, &r.alphaB, &r.out};
    void run(int which) {
        MoxImage *a = r.a.header(), *b = r.b.header(), *d = r.d.header();
        switch (which) {
            case 0:
                return runComposite({&r.a, &r.b, &r.d, {MOX_COMPOSITE_OVER, 1, 0}, &r.alphaA, &r.alphaB, &r.out});
            case 1:
                return moxAlphaCompositeC(a, b, d, MOX_COMPOSITE_XOR, 100, 50, 0, 1);
            case 2:
                return moxPreMultiplyAlpha(d, 100);
            case 3:
                return moxMultiplyScale(a, b, d);
            default:
                return moxMultiplySScale(a, d, 100);
        }
    }
};

TEST(EveryAlphaOperation, doesNothingInAnEmptyRegion) {
    for (int which = 0; which < 5; ++which) {
        for (bool below : {false, true}) {
            AllFive five;
            (below ? five.region.yOffset : five.region.xOffset) = below ? 4 : 9;
            five.r.d.header()->roi = &five.region;
            const TestBytes before = five.r.d.bytes(), out = five.r.out.bytes();
            ReportRecorder reports;
            five.run(which);
            EXPECT_TRUE(reports.none());
            EXPECT_EQ(moxGetErrStatus(), 0);
            EXPECT_TRUE(five.r.d.holds(before));
            EXPECT_TRUE(five.r.out.holds(out));
        }
    }
}

TEST(EveryAlphaOperation, leavesWhatAMaskOfZerosCovers) {
    for (int which = 0; which < 5; ++which) {
        AllFive five;
        TestImage mask(TestLayout::ofMask(9, 4), 8);
        mask.setAll(0);
        five.r.d.setMask(&mask);
        const TestBytes before = five.r.d.bytes(), out = five.r.out.bytes();
        ReportRecorder reports;
        five.run(which);
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(five.r.d.holds(before));
        EXPECT_TRUE(five.r.out.holds(out));
    }
}

TEST(EveryAlphaOperation, runsWhateverStandsInTheStatusWord) {
    for (int which = 0; which < 5; ++which) {
        for (int masks = 0; masks < 3; ++masks) {
            AllFive first, second;
            TestImage mask(TestLayout::ofMask(9, 4), 8), other(TestLayout::ofMask(9, 4), 9);
            for (AllFive *five : {&first, &second}) {
                if (masks > 0) five->r.d.setMask(&mask);
                if (masks > 1) five->r.a.setMask(&other);
            }
            ReportRecorder reports;
            first.run(which);
            moxSetErrStatus(-19);
            second.run(which);
            EXPECT_TRUE(haveSameSamples(second.r.d, first.r.d)) << which << " " << masks;
            EXPECT_TRUE(haveSameSamples(second.r.out, first.r.out)) << which << " " << masks;
            EXPECT_EQ(moxGetErrStatus(), -19);
            EXPECT_TRUE(reports.none());
        }
    }
}

TEST(EveryAlphaOperation, leavesTheMaskOfAMaskAlone) {
    for (int which = 0; which < 5; ++which) {
        for (int masks = 1; masks < 3; ++masks) {
            AllFive first, second;
            TestImage mask(TestLayout::ofMask(9, 4), 8), other(TestLayout::ofMask(9, 4), 9),
                inner(TestLayout::ofMask(9, 4), 10);
            for (AllFive *five : {&first, &second}) {
                five->r.d.setMask(&mask);
                if (masks > 1) five->r.a.setMask(&other);
            }
            ReportRecorder reports;
            first.run(which);
            inner.setAll(0);
            mask.setMask(&inner);
            second.run(which);
            EXPECT_TRUE(haveSameSamples(second.r.d, first.r.d)) << which << " " << masks;
            EXPECT_TRUE(haveSameSamples(second.r.out, first.r.out)) << which << " " << masks;
            EXPECT_TRUE(reports.none());
        }
    }
}

}  // namespace
