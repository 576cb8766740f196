// moxComputeHisto, moxContrastStretch and moxHistoEqualize: every report with its order.
#include "stat/statcheck.h"

namespace {

using MapLevels = void(MOX_CALL *)(MoxImage *, MoxImage *, MoxLUT **);
const std::pair<const char *, MapLevels> maps[] = {{"moxContrastStretch", moxContrastStretch},
                                                   {"moxHistoEqualize", moxHistoEqualize}};

// A table that any of the functions takes, and its pointer.
struct Table {
    RefTable storage = {{0, 20, 256}, {5, 6, 7}, {1, 1, 1}, 1};
    MoxLUT record = recordOf(storage), *pointer = &record;
};

// The faults of a table from the last to be tested to the first; each one is added to those before.
void checkTableFaults(const char *name, const std::function<void(MoxLUT **)> &call, int levels) {
    Table table;
    const auto expect = [&](const char *message) {
        SCOPED_TRACE(message);
        ReportRecorder reports;
        AllocationWindow window;
        call(&table.pointer);
        window.close();
        EXPECT_EQ(window.count(), 0) << "tables are tested before anything is taken";
        EXPECT_TRUE(reports.are({{-5, name, message}}));
        EXPECT_EQ(moxGetErrStatus(), -5);
    };
    std::vector<int> &key = table.storage.key;
    key = {1, 0, levels};
    table.record.key = key.data();
    expect("lut[k]->key[i] > lut[k]->key[i+1]");
    key[2] = levels + 1;
    expect("lut[k]->key[lut[k]->num-1] > histSize");
    key[0] = -1;
    expect("lut[k]->key[0] < 0");
    table.record.num = 1;
    expect("lut[k]->num < 2");
    table.record.num = -0x7FFFFFFF - 1;
    expect("lut[k]->num < 2");
    table.record.value = nullptr;
    expect("lut[k]->value==0");
    table.record.key = nullptr;
    expect("lut[k]->key==0");
    table.pointer = nullptr;
    expect("lut[k]==0");
}

TEST(LevelFailure, histogramTables) {
    for (unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U}) {
        TestImage image(TestLayout::of(depth, 10, 10));
        checkTableFaults(
            "moxComputeHisto", [&](MoxLUT **lut) { moxComputeHisto(image.header(), lut); }, refLevels(depth));
    }
}

TEST(LevelFailure, mapTables) {
    for (const auto &[name, function] : maps) {
        for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16U}) {
            TestImage src(TestLayout::of(depth, 10, 10), 1), dst(TestLayout::of(depth, 10, 10), 2);
            const TestBytes before = dst.bytes();
            checkTableFaults(
                name, [&, map = function](MoxLUT **lut) { map(src.header(), dst.header(), lut); }, refLevels(depth));
            EXPECT_TRUE(dst.holds(before));
        }
    }
}

// The first channel that is processed and has a fault is told of; nothing is counted into the others.
TEST(LevelFailure, tablesAreTestedByChannel) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 10, 10, 4);
    layout.alpha = 4;
    TestImage image(layout);
    Table good, bad, worse;
    bad.record.num = 0;
    worse.record.key = nullptr;
    MoxLUT *tables[] = {&good.record, &bad.record, &worse.record, nullptr};
    ReportRecorder reports;
    moxComputeHisto(image.header(), tables);
    EXPECT_TRUE(reports.are({{-5, "moxComputeHisto", "lut[k]->num < 2"}}));
    EXPECT_EQ(good.storage.value, Table().storage.value);
    reports.clear();
    tables[1] = tables[2] = &good.record;  // alpha's is not looked at
    moxComputeHisto(image.header(), tables);
    EXPECT_TRUE(reports.none());
}

TEST(LevelFailure, histogramReportsEachOfItsFirstTests) {
    const char *const name = "moxComputeHisto",
                      *const depths = "(srcImage->depth & MOX_DEPTH_SIGN) || (srcImage->depth == MOX_DEPTH_32F)";
    Table table;
    for (unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
        TestImage image(TestLayout::of(depth, 10, 10));
        ReportRecorder reports;
        moxComputeHisto(image.header(), &table.pointer);
        EXPECT_TRUE(reports.are({{-5, name, depths}}));
        reports.clear();
        moxComputeHisto(image.header(), nullptr);
        EXPECT_TRUE(reports.are({{-5, name, "lut==0"}, {-5, name, depths}}));
        reports.clear();
        image.header()->align = 3;
        moxComputeHisto(image.header(), nullptr);
        EXPECT_TRUE(reports.are({{-21, name, "Incorrect Image"}, {-5, name, "lut==0"}, {-5, name, depths}}));
    }
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 10, 10));
    ReportRecorder reports;
    moxComputeHisto(image.header(), nullptr);
    EXPECT_TRUE(reports.are({{-5, name, "lut==0"}}));
    EXPECT_EQ(table.storage.value, Table().storage.value);
}

TEST(LevelFailure, mapsReportEachOfTheirFirstTests) {
    const char *const depths = "srcImage->depth != MOX_DEPTH_8U && srcImage->depth != MOX_DEPTH_16U";
    for (const auto &[name, map] : maps) {
        TestImage src(TestLayout::of(MOX_DEPTH_8S, 10, 10, 3), 1), dst(TestLayout::of(MOX_DEPTH_8U, 10, 10, 3), 2);
        const TestBytes before = dst.bytes();
        src.header()->align = 3;
        src.header()->origin = 1;
        src.header()->dataOrder = MOX_DATA_ORDER_PLANE;
        dst.header()->width = 0;
        ReportRecorder reports;
        map(src.header(), dst.header(), nullptr);
        EXPECT_TRUE(reports.are({{-21, name, "Incorrect Image"},
                                 {-10, name, "Incorrect Image"},
                                 {-5, name, "srcImage->depth != dstImage->depth"},
                                 {-5, name, "srcImage->origin != dstImage->origin"},
                                 {-5, name, "srcImage->dataOrder != dstImage->dataOrder"},
                                 {-5, name, depths},
                                 {-5, name, "lut==0"}}));
        EXPECT_TRUE(dst.holds(before));
    }
}

// Each of these faults alone.
TEST(LevelFailure, mapsReportAnyOneOfTheirTests) {
    for (const auto &[name, map] : maps) {
        Table table;
        MoxLUT *tables[] = {table.pointer, table.pointer, table.pointer};
        const TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 10, 10, 3);
        const auto expect = [&, name = name, map = map](const TestLayout &one, const TestLayout &other,
                                                        const char *message) {
            SCOPED_TRACE(message);
            TestImage src(one, 1), dst(other, 2);
            const TestBytes before = dst.bytes();
            ReportRecorder reports;
            map(src.header(), dst.header(), tables);
            EXPECT_TRUE(reports.are({{-5, name, message}}));
            EXPECT_TRUE(dst.holds(before));
        };
        TestLayout other = layout;
        other.depth = MOX_DEPTH_16U;
        expect(layout, other, "srcImage->depth != dstImage->depth");
        other = layout;
        other.origin = 1;
        expect(layout, other, "srcImage->origin != dstImage->origin");
        other = layout;
        other.order = MOX_DATA_ORDER_PLANE;
        expect(layout, other, "srcImage->dataOrder != dstImage->dataOrder");
        other.channels = 1;
        expect(layout, other, "srcImage->dataOrder != dstImage->dataOrder");
        other = layout;
        other.channels = 2;
        expect(layout, other, "Number of processed channels of srcImage != Number of processed channels of dstImage");
        for (unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
            other = layout;
            other.depth = depth;
            expect(other, other, "srcImage->depth != MOX_DEPTH_8U && srcImage->depth != MOX_DEPTH_16U");
        }
        other = TestLayout::of(MOX_DEPTH_1U, 10, 10);
        expect(other, other, "srcImage->depth != MOX_DEPTH_8U && srcImage->depth != MOX_DEPTH_16U");
        // The number of channels comes before the tables.
        tables[0] = nullptr;
        other = layout;
        other.channels = 2;
        expect(layout, other, "Number of processed channels of srcImage != Number of processed channels of dstImage");
        expect(layout, layout, "lut[k]==0");
    }
}

TEST(LevelFailure, ordersOfSingleChannelsAreNotCompared) {
    for (const auto &[name, map] : maps) {
        Table table;
        TestImage src(TestLayout::of(MOX_DEPTH_8U, 10, 10), 1),
            dst(TestLayout::of(MOX_DEPTH_8U, 10, 10, 1, MOX_DATA_ORDER_PLANE), 2);
        ReportRecorder reports;
        map(src.header(), dst.header(), &table.pointer);
        EXPECT_TRUE(reports.none());
    }
}

TEST(LevelFailure, anEmptyHistogramCannotBeEqualized) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16U}) {
        const TestLayout layout = TestLayout::of(depth, 10, 10, 3);
        TestImage src(layout, 1), dst(layout, 2);
        const TestBytes before = dst.bytes();
        Table good, empty;
        empty.storage.value = {0, 0, 7};  // the last one counts nothing
        empty.record = recordOf(empty.storage);
        MoxLUT *tables[] = {good.pointer, good.pointer, empty.pointer};
        ReportRecorder reports;
        AllocationWindow window;
        moxHistoEqualize(src.header(), dst.header(), tables);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(reports.are({{-3, "moxHistoEqualize", "All values in histogram are zeroes"}}));
        EXPECT_EQ(moxGetErrStatus(), -3);
        EXPECT_TRUE(dst.holds(before));
    }
}

TEST(LevelFailure, aLeftoverStatusDoesNotStopTheCall) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 10, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 10, 10), 2);
    TestImage mask(TestLayout::ofMask(10, 10), 3), mask2(TestLayout::ofMask(10, 10), 4);
    src.setMask(&mask);
    for (int both = 0; both < 2; ++both) {
        if (both) dst.setMask(&mask2);
        Table table;
        const TestBytes expected = refMapped(src, dst, {refStretch(MOX_DEPTH_8U, table.storage)});
        ReportRecorder reports;
        moxSetErrStatus(-7);
        moxContrastStretch(src.header(), dst.header(), &table.pointer);
        EXPECT_TRUE(dst.holds(expected));
        moxComputeHisto(src.header(), &table.pointer);
        EXPECT_EQ(table.record.interpolateType, 0);
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(moxGetErrStatus(), -7);
    }
}

}  // namespace
