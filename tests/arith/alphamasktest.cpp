// The masks of a call with opacities: one is used as it is, several are merged, and may not go together.
#include "arith/alphacheck.h"

namespace {

TestLayout withAlpha() {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 6, 3);
    layout.alpha = 3;
    return layout;
}

// Six images, and as many masks.
struct Masked {
    TestImage a{withAlpha(), 1}, b{withAlpha(), 2}, d{withAlpha(), 3}, out{withAlpha(), 4}, alphaA{withAlpha(), 5},
        alphaB{withAlpha(), 6};
    std::vector<TestImage *> images = {&d, &a, &b, &out, &alphaA, &alphaB};  // in the order in which masks count
    std::vector<std::unique_ptr<TestImage>> masks;

    TestImage &mask(size_t which, const TestLayout &layout) {
        masks.push_back(std::make_unique<TestImage>(layout, 20 + which));
        images[which]->setMask(masks.back().get());
        return *masks.back();
    }
    RefComposite composite() { return {&a, &b, &d, {MOX_COMPOSITE_XOR, 1, 0}, &alphaA, &alphaB, &out}; }
};

struct Operation {
    const char *name;
    size_t images;  // that it takes, of Masked::images, from the first
    void (*run)(Masked &x);
};
const Operation operations[] = {
    {"moxAlphaComposite", 6, [](Masked &x) { runComposite(x.composite()); }},
    {"moxAlphaCompositeC", 3,
     [](Masked &x) { moxAlphaCompositeC(x.a.header(), x.b.header(), x.d.header(), MOX_COMPOSITE_IN, 9, -1, 0, 0); }},
    {"moxMultiplyScale", 3, [](Masked &x) { moxMultiplyScale(x.a.header(), x.b.header(), x.d.header()); }},
    {"moxMultiplySScale", 2, [](Masked &x) { moxMultiplySScale(x.a.header(), x.d.header(), 77); }},
};

// Two masks at a time, of any two images.
TEST(AlphaMasks, ofAnyTwoImagesCountTogether) {
    for (const Operation &operation : operations) {
        for (size_t i = 0; i < operation.images; ++i) {
            for (size_t j = 0; j < i; ++j) {
                Masked x, first, second;
                TestLayout layout = TestLayout::ofMask(30, 9);
                layout.setRoi(0, 3, 1, 100, 100);
                TestImage &one = x.mask(i, layout), &other = x.mask(j, TestLayout::ofMask(20, 6));
                // The same by one mask alone: all that one of them leaves out stays.
                TestImage &both = first.mask(0, TestLayout::ofMask(20, 6));
                for (int y = 0; y < 6; ++y) {
                    for (int c = 0; c < 20; ++c)
                        both.set(0, c, y, one.get(0, c + 3, y + 1) & other.get(0, c, y));
                }
                ReportRecorder reports;
                operation.run(x);
                operation.run(first);
                EXPECT_TRUE(reports.none());
                for (TestImage Masked::*image : {&Masked::d, &Masked::out}) {
                    for (int y = 0; y < 6; ++y) {
                        for (int c = 0; c < 60; ++c) {
                            EXPECT_EQ((x.*image).get(c % 3, c / 3, y), (first.*image).get(c % 3, c / 3, y))
                                << operation.name << " " << i << " " << j;
                        }
                    }
                }
            }
        }
    }
}

// The merged mask has the order of the first, and another order does not go with it.
TEST(AlphaMasks, ofTwoOrdersDoNotGoTogether) {
    TestLayout pixel = TestLayout::ofMask(20, 6), plane = pixel;
    plane.order = MOX_DATA_ORDER_PLANE;
    for (const Operation &operation : operations) {
        for (size_t i = 0; i < operation.images; ++i) {
            for (size_t j = 0; j < i; ++j) {
                for (bool planeFirst : {false, true}) {
                    Masked x;
                    x.mask(j, planeFirst ? plane : pixel);
                    x.mask(i, planeFirst ? pixel : plane);
                    expectAlphaReport(x.images,
                                      {{-5, "moxAnd", "(srcImageB->dataOrder != dstImage->dataOrder)"},
                                       {-1, operation.name, "Bad masks for images"}},
                                      [&] { operation.run(x); });
                }
            }
        }
        // The third of three as well.
        if (operation.images < 3) continue;
        Masked x;
        x.mask(0, plane);
        x.mask(1, plane);
        x.mask(2, pixel);
        expectAlphaReport(x.images,
                          {{-5, "moxAnd", "(srcImageB->dataOrder != dstImage->dataOrder)"},
                           {-1, operation.name, "Bad masks for images"}},
                          [&] { operation.run(x); });
    }
}

// A mask alone may have any order, and so may the images' masks that are one and the same.
TEST(AlphaMasks, ofOneOrderGoWithImagesOfTheOther) {
    TestLayout plane = TestLayout::ofMask(20, 6);
    plane.order = MOX_DATA_ORDER_PLANE;
    for (const Operation &operation : operations) {
        Masked x;
        x.mask(0, plane);
        x.mask(1, plane);
        ReportRecorder reports;
        operation.run(x);
        EXPECT_TRUE(reports.none());
    }
}

TEST(AlphaMasks, withNothingInCommonLeaveNothingToDo) {
    TestLayout beyond = TestLayout::ofMask(20, 6);
    beyond.setRoi(0, 20, 0, 5, 5);
    for (const Operation &operation : operations) {
        for (int count = 1; count < 3; ++count) {
            Masked x;
            x.mask(1, beyond);
            if (count == 2) x.mask(0, TestLayout::ofMask(20, 6));
            expectAlphaReport(x.images, {}, [&] { operation.run(x); });
        }
        // The masks have something in common, the images have not.
        Masked x;
        x.mask(0, TestLayout::ofMask(20, 6));
        x.mask(1, TestLayout::ofMask(20, 6));
        MoxROI region = {0, 0, 6, 20, 6};
        x.a.header()->roi = &region;
        expectAlphaReport(x.images, {}, [&] { operation.run(x); });
    }
}

// Header and pixels of the merged mask are all that is allocated.
TEST(AlphaMasks, thatCannotBeMergedForWantOfMemory) {
    for (const Operation &operation : operations) {
        int failAt = 1;
        for (;; ++failAt) {
            ASSERT_LT(failAt, 100);
            Masked x;
            x.mask(0, TestLayout::ofMask(20, 6));
            x.mask(1, TestLayout::ofMask(20, 6));
            if (operation.images > 2) x.mask(2, TestLayout::ofMask(22, 6));
            const TestBytes before = x.d.bytes(), out = x.out.bytes();
            ReportRecorder reports;
            AllocationWindow window(failAt);
            operation.run(x);
            window.close();
            EXPECT_EQ(window.live(), 0) << "leaked blocks";
            if (!window.refused()) {
                EXPECT_TRUE(reports.none());
                break;
            }
            ASSERT_FALSE(reports.seen.empty());
            const ReportSeen last = reports.seen.back();
            if (reports.seen.size() == 2) {
                EXPECT_EQ(reports.seen[0].function, "moxAllocateImage");
                reports.seen.erase(reports.seen.begin());
            }
            EXPECT_TRUE(reports.are({{-4, operation.name, "No working memory"}}));
            EXPECT_EQ(moxGetErrStatus(), -4);
            EXPECT_TRUE(x.d.holds(before));
            EXPECT_TRUE(x.out.holds(out));
        }
        EXPECT_GT(failAt, 1);
    }
}

TEST(AlphaMasks, aloneTakeNoMemory) {
    for (const Operation &operation : operations) {
        Masked x;
        x.mask(operation.images - 1, TestLayout::ofMask(20, 6));
        ReportRecorder reports;
        AllocationWindow window;
        operation.run(x);
        window.close();
        EXPECT_EQ(window.count(), 0) << operation.name;
    }
}

// A mask's only channel may be called alpha: alone it is bits all the same.
TEST(AlphaMasks, whoseChannelIsAlpha) {
    TestLayout alpha = TestLayout::ofMask(20, 6);
    alpha.alpha = 1;
    for (const Operation &operation : operations) {
        Masked x, same;
        x.mask(0, alpha);
        same.mask(0, TestLayout::ofMask(20, 6));
        ReportRecorder reports;
        operation.run(x);
        operation.run(same);
        EXPECT_TRUE(reports.none());
        for (int c = 0; c < 60; ++c)
            EXPECT_EQ(x.d.get(c % 3, c / 3, 4), same.d.get(c % 3, c / 3, 4));
    }
}

TEST(AlphaMasks, whoseChannelsAreAlphaAreMergedAsOthersAre) {
    TestLayout alpha = TestLayout::ofMask(20, 6);
    alpha.alpha = 1;
    for (const Operation &operation : operations) {
        Masked x, same;
        for (size_t which = 0; which < 2; ++which) {
            x.mask(which, alpha);
            same.mask(which, TestLayout::ofMask(20, 6));
        }
        ReportRecorder reports;
        operation.run(same);
        // What the heap gives for the merged mask is soiled.
        AllocationWindow window;
        operation.run(x);
        window.close();
        EXPECT_TRUE(reports.none());
        for (int c = 0; c < 120; ++c) {
            EXPECT_EQ(x.d.get(c % 3, c / 3 % 20, c / 60), same.d.get(c % 3, c / 3 % 20, c / 60)) << operation.name;
        }
    }
}

// Three that agree by twice the size of the first with the sum of the others, rows of different length: what is merged
// are pixels, not bytes.
TEST(AlphaMasks, ofUnequalRowsAreMergedByPixels) {
    TestLayout first = TestLayout::ofMask(20, 6), second = first;
    first.extraStride = 8;
    second.extraStride = 16;
    for (const Operation &operation : operations) {
        Masked x, same;
        TestImage &one = x.mask(0, first), &other = x.mask(1, second), &both = same.mask(0, TestLayout::ofMask(20, 6));
        for (int y = 0; y < 6; ++y) {
            for (int c = 0; c < 20; ++c)
                both.set(0, c, y, one.get(0, c, y) & other.get(0, c, y));
        }
        ReportRecorder reports;
        operation.run(x);
        operation.run(same);
        EXPECT_TRUE(reports.none());
        for (int y = 0; y < 6; ++y) {
            for (int c = 0; c < 20; ++c)
                EXPECT_EQ(x.d.get(1, c, y), same.d.get(1, c, y)) << operation.name;
        }
    }
}

}  // namespace
