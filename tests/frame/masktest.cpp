// The one mask of an operation: which, its bits, and what happens without memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "frame/ownimage.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"

namespace {

class CombineMasks : public testing::Test {
  protected:
    ReportRecorder recorder;
};

TEST_F(CombineMasks, OfNoneIsNone) {
    OwnMaskState state = OWN_MASK_EMPTY;
    EXPECT_EQ(ownCombineMasks(nullptr, nullptr, nullptr, &state), nullptr);
    EXPECT_EQ(state, OWN_MASK_AS_IS);
}

TEST_F(CombineMasks, OfOneIsThatMaskUntested) {
    MoxImage mask = {};
    for (int place = 0; place < 3; place++) {
        OwnMaskState state = OWN_MASK_EMPTY;
        AllocationWindow window;
        EXPECT_EQ(ownCombineMasks(place == 0 ? &mask : nullptr, place == 1 ? &mask : nullptr,
                                  place == 2 ? &mask : nullptr, &state),
                  &mask);
        window.close();
        EXPECT_EQ(window.count(), 0);
        EXPECT_EQ(state, OWN_MASK_AS_IS);
    }
}

// Two or three of a call's three masks, of any layout.
struct Masks {
    std::unique_ptr<TestImage> images[3];
    int width = INT32_MAX, height = INT32_MAX;
    TestImage *first = nullptr;

    explicit Masks(Random &random) {
        int missing = random.between(0, 3);
        for (int i = 0; i < 3; i++) {
            if (i == missing) continue;
            TestLayout layout = drawMaskLayout(random, 30, 8);
            layout.origin = random.below(2);
            images[i] = std::make_unique<TestImage>(layout, random.next());
            width = std::min(width, images[i]->layout().regionWidth());
            height = std::min(height, images[i]->layout().regionHeight());
            if (!first) first = images[i].get();
        }
    }
    MoxImage *header(int index) const { return images[index] ? images[index]->header() : nullptr; }
    MoxImage *combine(OwnMaskState *state) const { return ownCombineMasks(header(0), header(1), header(2), state); }
    uint32_t bit(int x, int y) const {
        uint32_t bit = 1;
        for (const auto &image : images) {
            if (image) bit &= image->get(0, image->layout().regionX() + x, image->layout().regionY() + y);
        }
        return bit;
    }
};

uint32_t resultBit(const MoxImage *image, int x, int y) {
    return static_cast<uint8_t>(image->imageData[int64_t{y} * image->widthStep + x / 8]) >> (7 - x % 8) & 1u;
}

TEST_F(CombineMasks, OfSeveralIsTheirCommonBits) {
    forEachCpuLevel([this] {
        forEachCase(600, [this](Random &random) {
            Masks masks(random);
            TestBytes before[3];
            for (int i = 0; i < 3; i++) {
                if (masks.images[i]) before[i] = masks.images[i]->bytes();
            }
            OwnMaskState state = OWN_MASK_AS_IS;
            AllocationWindow window;
            MoxImage *mask = masks.combine(&state);
            window.close();
            EXPECT_TRUE(recorder.none());
            if (masks.width == 0 || masks.height == 0) {
                EXPECT_EQ(state, OWN_MASK_EMPTY);
                EXPECT_EQ(mask, nullptr);
                EXPECT_EQ(window.count(), 0);
                return;
            }
            ASSERT_EQ(state, OWN_MASK_TEMPORARY);
            ASSERT_NE(mask, nullptr);
            EXPECT_EQ(mask->nChannels, 1);
            EXPECT_EQ(mask->alphaChannel, 0);
            EXPECT_EQ(mask->depth, MOX_DEPTH_1U);
            EXPECT_EQ(memcmp(mask->colorModel, "GRAY", 4), 0);
            EXPECT_EQ(mask->channelSeq[0], 'G');
            EXPECT_EQ(mask->dataOrder, 1);
            EXPECT_EQ(mask->origin, masks.first->layout().origin);
            EXPECT_EQ(mask->align, 8);
            EXPECT_EQ(mask->width, masks.width);
            EXPECT_EQ(mask->height, masks.height);
            EXPECT_EQ(mask->roi, nullptr);
            EXPECT_EQ(mask->maskROI, nullptr);
            EXPECT_EQ(mask->tileInfo, nullptr);
            EXPECT_EQ(mask->imageId, nullptr);
            for (int y = 0; y < masks.height; y++) {
                for (int x = 0; x < masks.width; x++)
                    ASSERT_EQ(resultBit(mask, x, y), masks.bit(x, y));
            }
            for (int i = 0; i < 3; i++) {
                if (!masks.images[i]) continue;
                EXPECT_TRUE(masks.images[i]->holds(before[i]));
                EXPECT_TRUE(masks.images[i]->headerIsUntouched());
            }
            moxDeallocate(mask, 3);
            EXPECT_EQ(window.live(), 0);
        });
    });
}

TEST_F(CombineMasks, ThatHaveNothingInCommonIsEmpty) {
    TestLayout away = TestLayout::ofMask(20, 20);
    away.setRoi(0, 20, 0, 5, 5);
    TestImage a(TestLayout::ofMask(20, 20)), b(away);
    OwnMaskState state = OWN_MASK_AS_IS;
    EXPECT_EQ(ownCombineMasks(a.header(), nullptr, b.header(), &state), nullptr);
    EXPECT_EQ(state, OWN_MASK_EMPTY);
}

TEST_F(CombineMasks, SaysSoWithoutMemory) {
    TestImage a(TestLayout::ofMask(20, 20), 1), b(TestLayout::ofMask(15, 30), 2);
    for (int failAt : {1, 2}) {
        recorder.clear();
        OwnMaskState state = OWN_MASK_AS_IS;
        AllocationWindow window(failAt);
        EXPECT_EQ(ownCombineMasks(a.header(), b.header(), nullptr, &state), nullptr);
        window.close();
        EXPECT_TRUE(window.refused());
        EXPECT_EQ(window.live(), 0);
        EXPECT_EQ(state, OWN_MASK_NO_MEMORY);
        if (failAt == 1) {
            EXPECT_TRUE(recorder.none());
        } else {
            EXPECT_TRUE(recorder.are({{-4, "moxAllocateImage", "for allocate image data"}}));
        }
    }
}

}  // namespace
