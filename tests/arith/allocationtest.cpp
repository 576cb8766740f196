// Memory: no operation allocates on its plain path, several masks cost one combined mask, and every allocation may
// fail.
#include "arith/arithcheck.h"

namespace {

class Allocation : public testing::TestWithParam<RefOperation> {};

INSTANTIATE_TEST_SUITE_P(Memory, Allocation, testing::ValuesIn(allOperations()),
                         [](const auto &each) { return std::string(each.param.name); });

unsigned depthOf(const RefOperation &op) {
    return op.accepts(MOX_DEPTH_8S) ? MOX_DEPTH_8S : MOX_DEPTH_32F;
}

TEST_P(Allocation, noneWithoutMasksOrWithOne) {
    for (unsigned depth : allDepths) {
        if (!GetParam().accepts(depth)) continue;
        const int channels = depth == MOX_DEPTH_1U ? 1 : 3;
        TestLayout region = TestLayout::of(depth, 40, 9, channels);
        region.setRoi(1, 3, 2, 30, 5);
        for (const TestLayout &layout : {TestLayout::of(depth, 40, 9, channels), region}) {
            TestImage a(layout, 1), d(layout, 2), mask(TestLayout::ofMask(30, 6), 3);
            for (TestImage *each : {static_cast<TestImage *>(nullptr), &mask}) {
                // The copy of masked bits takes a copy of the mask.
                if (GetParam().moves(depth) && depth == MOX_DEPTH_1U && each) continue;
                d.setMask(each);
                // Made before the window opens: where the C++ library is linked statically, its heap counts too.
                const std::vector<TestImage *> images = imagesOf(GetParam(), &a, &a, &d);
                ReportRecorder reports;
                AllocationWindow window;
                refRunLibrary({GetParam(), 3}, images);
                window.close();
                EXPECT_EQ(window.count(), 0) << depthName(depth);
                EXPECT_TRUE(reports.none());
            }
        }
    }
}

TEST_P(Allocation, noneOnTiles) {
    const unsigned depth = depthOf(GetParam());
    TestLayout layout = TestLayout::of(depth, 40, 19, 3);
    layout.tileWidth = layout.tileHeight = 8;
    TestImage a(layout, 1), d(layout, 2);
    const std::vector<TestImage *> images = imagesOf(GetParam(), &a, &a, &d);
    ReportRecorder reports;
    AllocationWindow window;
    refRunLibrary({GetParam(), 3}, images);
    window.close();
    EXPECT_EQ(window.count(), 0);
    EXPECT_TRUE(reports.none());
}

// Masks of two images: header and pixels of the combined one are the only blocks. Each refusal is reported, the pixels'
// by two reports.
TEST_P(Allocation, everyOneMayFail) {
    const unsigned depth = depthOf(GetParam());
    TestLayout tiled = TestLayout::of(depth, 40, 19, 3);
    tiled.tileWidth = tiled.tileHeight = 8;
    for (const TestLayout &layout : {TestLayout::of(depth, 40, 19, 3), tiled}) {
        TestImage a(layout, 1), d(layout, 2), maskA(TestLayout::ofMask(40, 18), 3),
            maskD(TestLayout::ofMask(41, 19), 4);
        a.setMask(&maskA);
        d.setMask(&maskD);
        const std::vector<TestImage *> images = imagesOf(GetParam(), &a, &a, &d);
        const RefCall call = {GetParam(), 3};
        const TestBytes before = d.bytes();
        const RefResult wanted = refPoint(call, images);
        const std::string name = GetParam().becomes ? GetParam().becomes : GetParam().name;
        int failAt = 1;
        for (;; ++failAt) {
            ReportRecorder reports;
            TileLog log;
            AllocationWindow window(failAt);
            refRunLibrary(call, images);
            window.close();
            EXPECT_EQ(window.live(), 0);
            EXPECT_TRUE(log.paired());
            if (!window.refused()) {
                EXPECT_TRUE(reports.none());
                EXPECT_TRUE(d.holds(wanted.expected, wanted.unspecified));
                break;
            }
            if (failAt == 1) {
                EXPECT_TRUE(reports.are({{-4, name.c_str(), "Out of memory"}}));
            } else {
                EXPECT_TRUE(reports.are(
                    {{-4, "moxAllocateImage", "for allocate image data"}, {-4, name.c_str(), "Out of memory"}}));
            }
            EXPECT_EQ(moxGetErrStatus(), -4);
            EXPECT_EQ(log.requests, 0);
            EXPECT_TRUE(d.holds(before));
            ASSERT_LT(failAt, 10);
        }
        EXPECT_EQ(failAt, 3) << "one header and one block of pixels";
    }
}

// At unsigned depths moxAbs copies, and what the copy takes may fail as well.
TEST(AbsAllocation, everyOneMayFailAtUnsignedDepths) {
    for (unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U}) {
        TestLayout tiled = TestLayout::of(depth, 40, 19);
        tiled.tileWidth = tiled.tileHeight = 8;
        for (const TestLayout &layout : {TestLayout::of(depth, 40, 19), tiled}) {
            TestImage a(layout, 1), d(layout, 2), maskA(TestLayout::ofMask(40, 18), 3),
                maskD(TestLayout::ofMask(41, 19), 4);
            a.setMask(&maskA);
            d.setMask(&maskD);
            const RefResult wanted = refPoint(pointOperation("moxAbs"), {&a, &d});
            const TestBytes before = d.bytes();
            for (int failAt = 1; failAt < 1000; ++failAt) {
                SCOPED_TRACE(std::string(depthName(depth)) + " allocation " + std::to_string(failAt));
                ReportRecorder reports;
                AllocationWindow window(failAt);
                moxAbs(a.header(), d.header());
                window.close();
                EXPECT_EQ(window.live(), 0);
                EXPECT_TRUE(a.headerIsUntouched());
                EXPECT_TRUE(d.headerIsUntouched());
                if (!window.refused()) {
                    EXPECT_TRUE(reports.none());
                    EXPECT_TRUE(d.holds(wanted.expected));
                    break;
                }
                // Also where the copy leaves no fault in the status word.
                ASSERT_FALSE(reports.seen.empty());
                EXPECT_EQ(reports.seen.back().function, "moxAbs");
                EXPECT_EQ(reports.seen.back().message, "moxCopy is failed");
                EXPECT_EQ(reports.seen.back().status, -1);
                if (!layout.tiled()) {
                    EXPECT_TRUE(d.holds(before));
                }
                a.abandonTiles();
                d.abandonTiles();
                d.setBytes(before);
            }
        }
    }
}

}  // namespace
