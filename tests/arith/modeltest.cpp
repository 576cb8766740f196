// Every operation at every depth, over random layouts, against the model; and sweeps of lengths, offsets and all 8-bit
// values.
#include "arith/arithcheck.h"

namespace {

class EveryOperation : public testing::TestWithParam<RefOperation> {};

INSTANTIATE_TEST_SUITE_P(Model, EveryOperation, testing::ValuesIn(allOperations()),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_P(EveryOperation, agreesWithTheModelOverRandomLayouts) {
    for (unsigned depth : allDepths) {
        if (!GetParam().accepts(depth)) continue;
        SCOPED_TRACE(depthName(depth));
        forEachCase(600, [&](Random &random) {
            Scene scene(random, sceneOptions(GetParam(), depth));
            checkAgainstModel(drawCall(random, GetParam(), depth), scene);
        });
    }
}

TEST_P(EveryOperation, agreesWithTheModelOnTiles) {
    for (unsigned depth : allDepths) {
        if (!GetParam().accepts(depth)) continue;
        SCOPED_TRACE(depthName(depth));
        forEachCase(150, [&](Random &random) {
            SceneOptions options = sceneOptions(GetParam(), depth);
            options.tiledAlways = true;
            Scene scene(random, options);
            checkAgainstModel(drawCall(random, GetParam(), depth), scene);
        });
    }
}

// Wide rows, so that the blocks of every CPU level, their heads and tails come into play.
TEST_P(EveryOperation, agreesWithTheModelOnWideRows) {
    for (unsigned depth : allDepths) {
        if (!GetParam().accepts(depth)) continue;
        SCOPED_TRACE(depthName(depth));
        forEachCase(60, [&](Random &random) {
            SceneOptions options = sceneOptions(GetParam(), depth);
            options.maxWidth = 900;
            options.maxHeight = 3;
            Scene scene(random, options);
            checkAgainstModel(drawCall(random, GetParam(), depth), scene);
        });
    }
}

// One row of every length, each beginning at some other place of its buffer.
TEST_P(EveryOperation, isRightAtEveryLength) {
    for (unsigned depth : allDepths) {
        if (!GetParam().accepts(depth)) continue;
        Random random(testSeed());
        for (int width = 1; width <= 150; ++width) {
            std::vector<std::unique_ptr<TestImage>> images;
            std::vector<TestImage *> entries;
            for (int i = 0; i <= GetParam().sources; ++i) {
                TestLayout layout = TestLayout::of(depth, width + 20, 1);
                layout.dataShift = random.below(32);
                layout.setRoi(0, random.below(18), 0, width, 1);
                images.push_back(std::make_unique<TestImage>(layout, random.next()));
                entries.push_back(images.back().get());
            }
            const RefCall call = drawCall(random, GetParam(), depth);
            const RefResult wanted = refPoint(call, entries);
            const TestBytes before = entries.back()->bytes();
            forEachCpuLevel([&] {
                ReportRecorder reports;
                entries.back()->setBytes(before);
                refRunLibrary(call, entries);
                ASSERT_TRUE(reports.none());
                ASSERT_TRUE(entries.back()->holds(wanted.expected)) << describeCall(call) << " " << depthName(depth);
            });
            if (HasFailure()) return;
        }
    }
}

// Two headers over the same pixels count as two images; results are defined where equal positions coincide.
TEST_P(EveryOperation, runsInPlaceThroughAnotherHeader) {
    for (unsigned depth : allDepths) {
        if (!GetParam().accepts(depth)) continue;
        forEachCase(40, [&](Random &random) {
            TestLayout layout =
                TestLayout::of(depth, random.between(1, 300), 3, depth == MOX_DEPTH_1U ? 1 : random.between(1, 3));
            if (random.oneIn(2)) layout.setRoi(random.oneIn(2) ? 1 : 0, random.below(4), 0, 1000, 1000);
            TestImage d(layout, random.next()), other(layout, random.next()), mask(TestLayout::ofMask(300, 3), 5);
            if (random.oneIn(3)) d.setMask(&mask);
            const RefCall call = drawCall(random, GetParam(), depth);
            const bool second = GetParam().sources == 2 && random.oneIn(2);
            std::vector<TestImage *> images = {&d, &d};
            if (GetParam().sources == 2)
                images = second ? std::vector<TestImage *>{&other, &d, &d} : std::vector<TestImage *>{&d, &other, &d};
            const RefResult wanted = refPoint(call, images);
            const TestBytes before = d.bytes();
            SCOPED_TRACE(describeCall(call) + " " + layout.describe());
            forEachCpuLevel([&] {
                ReportRecorder reports;
                MoxImage alias = *d.header();
                MoxImage *destination = d.header();
                refRunLibraryOn(call, second || GetParam().sources == 1 ? images[0]->header() : &alias,
                                second ? &alias : images[1]->header(), GetParam().sources == 2 ? destination : &alias);
                EXPECT_TRUE(reports.none());
                EXPECT_TRUE(d.holds(wanted.expected, wanted.unspecified));
                d.setBytes(before);
            });
        });
    }
}

// Every pair of bytes in two images.
TEST(EightBits, everyPairOfValues) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_8S}) {
        TestImage a(TestLayout::of(depth, 256, 256)), b(TestLayout::of(depth, 256, 256)),
            d(TestLayout::of(depth, 256, 256)), mask(TestLayout::ofMask(256, 256), 9);
        for (int y = 0; y < 256; ++y) {
            for (int x = 0; x < 256; ++x) {
                a.set(0, x, y, static_cast<uint32_t>(x));
                b.set(0, x, y, static_cast<uint32_t>(y));
            }
        }
        for (const RefOperation &op : allOperations()) {
            if (op.sources == 1) continue;
            for (TestImage *each : {static_cast<TestImage *>(nullptr), &mask}) {
                d.setMask(each);
                const RefResult wanted = refPoint(op, {&a, &b, &d});
                const TestBytes before = d.bytes();
                forEachCpuLevel([&] {
                    ReportRecorder reports;
                    d.setBytes(before);
                    refRunLibrary(op, {&a, &b, &d});
                    EXPECT_TRUE(d.holds(wanted.expected, wanted.unspecified)) << op.name;
                });
            }
        }
    }
}

// Every byte with every constant that makes a difference, and the far ones.
TEST(EightBits, everyValueWithEveryConstant) {
    std::vector<int> constants;
    for (int value = -530; value <= 530; ++value)
        constants.push_back(value);
    for (int value : {32767, 32768, 65535, 65536, 1 << 24, 0x7FFFFFFF}) {
        constants.insert(constants.end(), {value, -value, -value - 1});
    }
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_8S}) {
        TestImage a(TestLayout::of(depth, 256, 1)), d(TestLayout::of(depth, 256, 1));
        for (int x = 0; x < 256; ++x)
            a.set(0, x, 0, static_cast<uint32_t>(x));
        ReportRecorder reports;
        for (const RefOperation &op : allOperations()) {
            if (op.constant != RefConstant::INTEGER && op.constant != RefConstant::SHIFT) continue;
            for (int value : constants) {
                for (bool flip : {false, true}) {
                    if (flip && !op.flips) continue;
                    const RefCall call = {op, value, flip};
                    const RefResult wanted = refPoint(call, {&a, &d});
                    refRunLibrary(call, {&a, &d});
                    ASSERT_TRUE(d.holds(wanted.expected, wanted.unspecified)) << describeCall(call);
                }
            }
        }
        EXPECT_TRUE(reports.none());
    }
}

// Values and constants around every bound of 16 and 32 bits.
TEST(WideIntegers, boundsWithBounds) {
    std::vector<int64_t> bounds;
    for (int64_t bound :
         {0, 1, 127, 255, 32767, 32768, 46340, 46341, 65535, 65536, 98303, 98304, 131070, 131072, 0x7FFFFFFF}) {
        for (int64_t near = bound - 2; near <= bound + 2; ++near) {
            for (int64_t value : {near, -near}) {
                if (value >= -2147483648LL && value <= 2147483647LL) bounds.push_back(value);
            }
        }
    }
    bounds.push_back(-2147483648LL);
    const int count = static_cast<int>(bounds.size());
    for (unsigned depth : {MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
        TestImage a(TestLayout::of(depth, count, 1)), b(TestLayout::of(depth, count, 1)),
            d(TestLayout::of(depth, count, 1));
        for (int x = 0; x < count; ++x)
            a.set(0, x, 0, static_cast<uint32_t>(bounds[static_cast<size_t>(x)]));
        forEachCpuLevel([&] {
            ReportRecorder reports;
            for (int64_t value : bounds) {
                b.setAll(static_cast<uint32_t>(value));
                for (const RefOperation &op : allOperations()) {
                    if (!op.accepts(depth)) continue;
                    for (bool flip : {false, true}) {
                        if (flip && !op.flips) continue;
                        const RefCall call = {op, static_cast<int>(value), flip};
                        const std::vector<TestImage *> images = imagesOf(op, &a, &b, &d);
                        const RefResult wanted = refPoint(call, images);
                        refRunLibrary(call, images);
                        ASSERT_TRUE(d.holds(wanted.expected, wanted.unspecified))
                            << describeCall(call) << " " << depthName(depth);
                    }
                }
            }
            EXPECT_TRUE(reports.none());
        });
        if (HasFailure()) return;
    }
}

// Each special value with each, plain and masked.
TEST(Floats, specialValuesWithSpecialValues) {
    const std::vector<uint32_t> specials = {
        0,          0x80000000, 1,          0x80000001, 0x007FFFFF, 0x00800000, 0x80800000, 0x3F800000, 0xBF800000,
        0x7F7FFFFF, 0xFF7FFFFF, 0x7F800000, 0xFF800000, 0x7FC00000, 0xFFC00000, 0x7F800001, 0xFF800001, 0x7FC54321,
        0xFFC12345, 0x7FBFFFFF, 0x1E3CE508, 0x5F3504F3, 0x3F7FFFFF, 0x3F800001, 0x34000000};
    const int count = static_cast<int>(specials.size());
    TestImage a(TestLayout::of(MOX_DEPTH_32F, count, 1)), b(TestLayout::of(MOX_DEPTH_32F, count, 1)),
        d(TestLayout::of(MOX_DEPTH_32F, count, 1)), mask(TestLayout::ofMask(count, 1));
    mask.setAll(1);
    for (int x = 0; x < count; ++x)
        a.set(0, x, 0, specials[static_cast<size_t>(x)]);
    for (TestImage *each : {static_cast<TestImage *>(nullptr), &mask}) {
        d.setMask(each);
        forEachCpuLevel([&] {
            ReportRecorder reports;
            for (uint32_t value : specials) {
                b.setAll(value);
                for (const RefOperation &op : allOperations()) {
                    if (!op.accepts(MOX_DEPTH_32F)) continue;
                    for (bool flip : {false, true}) {
                        const RefCall call = {op, 0, flip, value};
                        const std::vector<TestImage *> images = imagesOf(op, &a, &b, &d);
                        const RefResult wanted = refPoint(call, images);
                        refRunLibrary(call, images);
                        ASSERT_TRUE(d.holds(wanted.expected, wanted.unspecified)) << describeCall(call);
                    }
                }
            }
            EXPECT_TRUE(reports.none());
        });
    }
}

// 1-bit rows at every combination of bit offsets.
TEST(Bits, everyCombinationOfOffsets) {
    Random random(testSeed());
    for (int offsets = 0; offsets < 512; ++offsets) {
        for (int width : {1, 3, 7, 8, 9, 17, 64, 131}) {
            std::vector<std::unique_ptr<TestImage>> images;
            for (int i = 0; i < 3; ++i) {
                TestLayout layout = TestLayout::of(MOX_DEPTH_1U, width + 8, 2);
                layout.setRoi(0, offsets >> 3 * i & 7, 0, width, 2);
                images.push_back(std::make_unique<TestImage>(layout, random.next()));
            }
            const std::vector<TestImage *> entries = {images[0].get(), images[1].get(), images[2].get()};
            for (const RefOperation &op : allOperations()) {
                if (op.sources != 2 || !op.accepts(MOX_DEPTH_1U)) continue;
                const RefResult wanted = refPoint(op, entries);
                const TestBytes before = entries[2]->bytes();
                forEachCpuLevel([&] {
                    ReportRecorder reports;
                    entries[2]->setBytes(before);
                    refRunLibrary(op, entries);
                    ASSERT_TRUE(entries[2]->holds(wanted.expected)) << op.name << " offsets " << offsets;
                });
                if (HasFailure()) return;
            }
        }
    }
}

}  // namespace
