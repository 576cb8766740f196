// Rectangles copied into a part of a buffer, in either direction, plain and tiled, with tiles and memory refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "frame/ownrect.h"
#include "frame/rectcheck.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"

namespace {

class CopyRect : public testing::Test {
  protected:
    ReportRecorder recorder;
};

struct Corners {
    int x0, y0, x1, y1;
    int width() const { return std::abs(x1 - x0) + 1; }
    int height() const { return std::abs(y1 - y0) + 1; }
};

Corners drawCorners(Random &random, const TestLayout &layout) {
    return {random.below(layout.width), random.below(layout.height), random.below(layout.width),
            random.below(layout.height)};
}

// A buffer larger than the copy, zeroed, with the copy somewhere inside.
struct Target {
    int column, row, width, height;
    int64_t rowBytes, planeBytes;
    std::vector<char> bytes;
    OwnRectBuffer buffer;

    Target(Random &random, const TestLayout &layout, const Corners &corners)
        : column(random.below(12)),
          row(random.below(3)),
          width(column + corners.width() + random.below(10)),
          height(row + corners.height() + random.below(3)) {
        rowBytes = rowBytesOf(layout, width);
        planeBytes = rowBytes * height;
        int planes = layout.order == MOX_DATA_ORDER_PLANE ? layout.channels : 1;
        int pixelBytes = layout.bits() / 8 * (layout.order == MOX_DATA_ORDER_PIXEL ? layout.channels : 1);
        bytes.assign(static_cast<size_t>(planeBytes * planes), 0);
        buffer = {bytes.data(), column, row, rowBytes, planeBytes, pixelBytes, planes};
    }
};

// Puts the pixels of the copy into a buffer like the target's, one by one.
std::vector<char> expectedTarget(const TestImage &image, const Corners &corners, const Target &target) {
    const TestLayout &layout = image.layout();
    std::vector<char> bytes(target.bytes.size(), 0);
    int stepX = corners.x1 < corners.x0 ? -1 : 1, stepY = corners.y1 < corners.y0 ? -1 : 1;
    for (int channel = 0; channel < layout.channels; channel++) {
        for (int y = 0; y < corners.height(); y++) {
            for (int x = 0; x < corners.width(); x++) {
                uint32_t sample = image.get(channel, corners.x0 + stepX * x, corners.y0 + stepY * y);
                int64_t offset = (target.row + y) * target.rowBytes;
                int column = target.column + x, size = layout.bits() / 8;
                if (layout.bits() == 1) {
                    char &byte = bytes[static_cast<size_t>(offset + column / 8)];
                    byte = static_cast<char>(byte | static_cast<char>(sample << (7 - column % 8)));
                    continue;
                }
                if (layout.order == MOX_DATA_ORDER_PIXEL) {
                    offset += (int64_t{column} * layout.channels + channel) * size;
                } else {
                    offset += channel * target.planeBytes + int64_t{column} * size;
                }
                memcpy(bytes.data() + offset, &sample, static_cast<size_t>(size));
            }
        }
    }
    return bytes;
}

TEST_F(CopyRect, CopiesInEveryDirection) {
    forEachCpuLevel([this] {
        forEachCase(2000, [this](Random &random) {
            TestImage image(drawRectLayout(random, random.oneIn(2)), random.next());
            Corners corners = drawCorners(random, image.layout());
            Target target(random, image.layout(), corners);
            TileLog log;
            ASSERT_EQ(ownCopyRect(image.header(), corners.x0, corners.y0, corners.x1, corners.y1, &target.buffer), 0);
            EXPECT_TRUE(log.paired());
            ASSERT_EQ(target.bytes, expectedTarget(image, corners, target))
                << image.layout().describe() << " from " << corners.x0 << "," << corners.y0 << " to " << corners.x1
                << "," << corners.y1;
            EXPECT_TRUE(recorder.none());
        });
    });
}

// Rows of tiles in the direction of reading; within one, every column asked for, then released from last to first.
TEST_F(CopyRect, GoesThroughTheTilesInTheDirectionOfReading) {
    forEachCase(300, [](Random &random) {
        TestImage image(drawRectLayout(random, true), random.next());
        const TestLayout &layout = image.layout();
        Corners corners = drawCorners(random, layout);
        Target target(random, layout, corners);
        TileLog log;
        ASSERT_EQ(ownCopyRect(image.header(), corners.x0, corners.y0, corners.x1, corners.y1, &target.buffer), 0);
        ASSERT_TRUE(log.paired());
        int left = std::min(corners.x0, corners.x1) / layout.tileWidth;
        int right = std::max(corners.x0, corners.x1) / layout.tileWidth;
        int rowStep = corners.y1 < corners.y0 ? -1 : 1, row = corners.y0 / layout.tileHeight;
        int rows = std::abs(corners.y1 / layout.tileHeight - row) + 1, columns = right - left + 1;
        ASSERT_EQ(log.events.size(), static_cast<size_t>(2 * rows * columns));
        size_t at = 0;
        for (int i = 0; i < rows; i++, row += rowStep) {
            int first = log.events[at].column, step = first == left ? 1 : -1;
            ASSERT_TRUE(first == left || first == right);
            for (int j = 0; j < columns; j++) {
                ASSERT_TRUE((log.events[at++] == TileEvent{&image, MOX_TileRead, first + step * j, row}));
            }
            for (int j = columns - 1; j >= 0; j--) {
                ASSERT_TRUE((log.events[at++] == TileEvent{&image, MOX_TileRelease, first + step * j, row}));
            }
        }
    });
}

TEST_F(CopyRect, FailsWithAnyTileRefused) {
    forEachCase(60, [this](Random &random) {
        TestImage image(drawRectLayout(random, true), random.next());
        Corners corners = drawCorners(random, image.layout());
        Target target(random, image.layout(), corners);
        std::vector<TileEvent> whole;
        for (int n = 0;; n++) {
            TileLog log(n);
            AllocationWindow window;
            int result = ownCopyRect(image.header(), corners.x0, corners.y0, corners.x1, corners.y1, &target.buffer);
            window.close();
            EXPECT_EQ(window.live(), 0);
            EXPECT_TRUE(log.clean());
            if (n == 0) whole = log.events;
            EXPECT_EQ(result, log.refused() ? 1 : 0);
            if (!log.refused()) {
                if (n > 0) break;
                continue;
            }
            expectRowWasAskedFor(log, whole);
            image.abandonTiles();
            if (testing::Test::HasFatalFailure()) return;
        }
        EXPECT_TRUE(recorder.none());
    });
}

TEST_F(CopyRect, FailsWithoutMemoryForItsTableBeforeAnyTile) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 600, 16);
    layout.tileWidth = layout.tileHeight = 8;
    TestImage image(layout);
    Random random(1);
    Corners corners = {0, 0, 599, 15};
    Target target(random, layout, corners);
    TileLog log;
    AllocationWindow window(1);
    EXPECT_EQ(ownCopyRect(image.header(), 0, 0, 599, 15, &target.buffer), 1);
    window.close();
    EXPECT_TRUE(window.refused());
    EXPECT_TRUE(log.is({}));
}

}  // namespace
