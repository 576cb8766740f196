// Calls watched, and tables.
#include "stat/statcheck.h"

#include <bit>
#include <cmath>

static std::vector<TestImage *> withMasks(const std::vector<TestImage *> &images) {
    std::vector<TestImage *> all = images;
    for (TestImage *image : images) {
        if (image->mask()) all.push_back(image->mask());
    }
    return all;
}

// Stands for the destination where there is none.
static TestImage &nobody() {
    static TestImage image(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    return image;
}

void checkCall(const std::vector<TestImage *> &images, TestImage *written, const std::function<void()> &call,
               const std::function<void()> &judge) {
    KeptImages kept;
    kept.keep(withMasks(images));
    forEachCpuLevel([&] {
        ReportRecorder reports;
        TileLog log;
        AllocationWindow window;
        call();
        window.close();
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(moxGetErrStatus(), 0);
        EXPECT_TRUE(log.paired());
        EXPECT_EQ(window.live(), 0) << "leaked blocks";
        judge();
        EXPECT_TRUE(kept.othersAreUntouched(written ? *written : nobody()));
        kept.restore();
    });
}

// One refusal of either kind; true where there was something to refuse.
static bool refuseOne(const std::vector<TestImage *> &images, TestImage *written, const std::function<void()> &call,
                      const JudgeRefusal &judge, int failingBlock, int failingTile) {
    KeptImages kept;
    kept.keep(withMasks(images));
    ReportRecorder reports;
    TileLog log(failingTile);
    AllocationWindow window(failingBlock);
    call();
    window.close();
    EXPECT_EQ(window.live(), 0) << "leaked blocks";
    EXPECT_TRUE(log.clean());
    for (TestImage *image : images)
        image->abandonTiles();
    EXPECT_TRUE(kept.othersAreUntouched(written ? *written : nobody()));
    kept.restore();
    if (log.refused()) {
        judge(reports, log.events[log.events.size() - 1 - static_cast<size_t>(log.eventsAfterRefusal())].mode);
    } else if (window.refused()) {
        judge(reports, 0);
    } else {
        EXPECT_TRUE(reports.none());
        return false;
    }
    return true;
}

void checkRefusals(const std::vector<TestImage *> &images, TestImage *written, const std::function<void()> &call,
                   const JudgeRefusal &judge) {
    for (int failAt = 1; refuseOne(images, written, call, judge, failAt, 0); ++failAt) {
        ASSERT_LT(failAt, 5000);
        ASSERT_FALSE(testing::Test::HasFailure()) << "allocation " << failAt;
    }
    for (int refuseAt = 1; refuseOne(images, written, call, judge, 0, refuseAt); ++refuseAt) {
        ASSERT_LT(refuseAt, 5000);
        ASSERT_FALSE(testing::Test::HasFailure()) << "tile request " << refuseAt;
    }
}

void drawModerate(Random &random, TestImage &image) {
    if (image.layout().depth != MOX_DEPTH_32F) return;
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x) {
            for (int channel = 0; channel < image.layout().channels; ++channel) {
                const float value = static_cast<float>(random.between(-1000000, 1000000)) / 3072.0f;
                image.set(channel, x, y, std::bit_cast<uint32_t>(value));
            }
        }
    }
}

bool sameBits(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b);
}

MoxLUT recordOf(RefTable &table) {
    return {static_cast<int>(table.key.size()), table.key.data(), table.value.data(), table.factor.data(),
            table.interpolateType};
}

TableSet::TableSet(const TestLayout &layout, std::vector<RefTable> tables_) : tables(std::move(tables_)) {
    for (RefTable &table : tables)
        records.push_back(recordOf(table));
    for (int channel = 0; channel < layout.channels; ++channel) {
        const int index = channel - layout.firstChannel();
        const bool processed = index >= 0 && index < layout.channelCount();
        pointers_.push_back(processed ? &records[static_cast<size_t>(channel)] : nullptr);
    }
}
