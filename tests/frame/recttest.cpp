// The rectangle service against the border rules pixel by pixel: any rectangle, plain and tiled, mirrored, with tiles
// and memory refused.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>

#include "frame/ownrect.h"
#include "frame/owntile.h"
#include "frame/rectcheck.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"

namespace {

enum { TOP, BOTTOM, LEFT, RIGHT };

int64_t wrapped(int64_t value, int64_t size) {
    int64_t rest = value % size;
    return rest < 0 ? rest + size : rest;
}
int64_t reflected(int64_t value, int64_t size) {
    int64_t rest = wrapped(value, 2 * size);
    return rest < size ? rest : 2 * size - 1 - rest;
}

uint32_t constantSample(unsigned depth, int constant) {
    uint32_t bits = static_cast<uint32_t>(constant);
    if (depth == MOX_DEPTH_32F) {
        float value = static_cast<float>(constant);
        memcpy(&bits, &value, 4);
    }
    int width = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    return width == 32 ? bits : bits & ((1u << width) - 1);
}

// The side of the image that answers for a pixel, or -1 inside.
int sideOf(const TestLayout &layout, int64_t x, int64_t y) {
    return y < 0 ? TOP : y >= layout.height ? BOTTOM : x < 0 ? LEFT : x >= layout.width ? RIGHT : -1;
}

uint32_t pixelAt(const TestImage &image, int channel, int64_t x, int64_t y) {
    const TestLayout &layout = image.layout();
    int side = sideOf(layout, x, y);
    if (side >= 0) {
        switch (layout.borderMode[side] & 3) {
            case MOX_BORDER_CONSTANT:
                return constantSample(layout.depth, layout.borderConst[side]);
            case MOX_BORDER_REPLICATE:
                x = std::clamp<int64_t>(x, 0, layout.width - 1);
                y = std::clamp<int64_t>(y, 0, layout.height - 1);
                break;
            case MOX_BORDER_REFLECT:
                x = reflected(x, layout.width);
                y = reflected(y, layout.height);
                break;
            default:
                x = wrapped(x, layout.width);
                y = wrapped(y, layout.height);
                break;
        }
    }
    return image.get(channel, static_cast<int>(x), static_cast<int>(y));
}

struct Rect {
    int x, y, width, height;
};

uint32_t bufferSample(const TestLayout &layout, const char *buffer, const Rect &rect, int channel, int x, int y) {
    int64_t rowBytes = rowBytesOf(layout, rect.width), offset = y * rowBytes;
    if (layout.bits() == 1) return static_cast<uint8_t>(buffer[offset + x / 8]) >> (7 - x % 8) & 1u;
    int bytes = layout.bits() / 8;
    if (layout.order == MOX_DATA_ORDER_PIXEL) {
        offset += (int64_t{x} * layout.channels + channel) * bytes;
    } else {
        offset += channel * rowBytes * rect.height + int64_t{x} * bytes;
    }
    uint32_t sample = 0;
    memcpy(&sample, buffer + offset, static_cast<size_t>(bytes));
    return sample;
}

std::string describe(const TestImage &image, const Rect &rect) {
    return image.layout().describe() + ", rectangle " + std::to_string(rect.x) + "," + std::to_string(rect.y) + " " +
           std::to_string(rect.width) + " x " + std::to_string(rect.height);
}

void expectPixels(const TestImage &image, const char *buffer, const Rect &rect) {
    const TestLayout &layout = image.layout();
    for (int channel = 0; channel < layout.channels; channel++) {
        for (int y = 0; y < rect.height; y++) {
            for (int x = 0; x < rect.width; x++) {
                ASSERT_EQ(bufferSample(layout, buffer, rect, channel, x, y),
                          pixelAt(image, channel, int64_t{rect.x} + x, int64_t{rect.y} + y))
                    << "channel " << channel << " at " << x << "," << y << " of " << describe(image, rect);
            }
        }
    }
}

// A constant band fills its rows to the end; the rows of bits beside it are zero behind their last pixel.
void expectRowEnds(const TestImage &image, const char *buffer, const Rect &rect) {
    const TestLayout &layout = image.layout();
    int64_t rowBytes = rowBytesOf(layout, rect.width);
    int planes = layout.order == MOX_DATA_ORDER_PLANE ? layout.channels : 1;
    for (int row = 0; row < rect.height * planes; row++) {
        int64_t y = int64_t{rect.y} + row % rect.height;
        int side = y < 0 ? TOP : y >= layout.height ? BOTTOM : -1;
        bool constant = side >= 0 && (layout.borderMode[side] & 3) == MOX_BORDER_CONSTANT;
        if (!constant && layout.bits() != 1) continue;
        uint32_t sample = constant ? constantSample(layout.depth, layout.borderConst[side]) : 0;
        for (int64_t bit = rawRowBits(layout, rect.width); bit < rowBytes * 8; bit++) {
            int place = static_cast<int>(bit % layout.bits());
            int inSample = layout.bits() == 1 ? 0 : place / 8 * 8 + 7 - place % 8;
            uint32_t found = static_cast<uint8_t>(buffer[row * rowBytes + bit / 8]) >> (7 - bit % 8) & 1u;
            ASSERT_EQ(found, sample >> inSample & 1u)
                << "bit " << bit << " of row " << row << " of " << describe(image, rect);
        }
    }
}

Rect drawRect(Random &random, const TestLayout &layout) {
    int far = random.oneIn(6) ? 9 : 2;
    Rect rect = {random.between(-far * layout.width - 3, far * layout.width),
                 random.between(-far * layout.height - 3, far * layout.height),
                 random.between(1, far * layout.width + 5), random.between(1, far * layout.height + 5)};
    if (random.oneIn(4)) {
        // Wholly inside, where the image has room.
        rect.x = random.below(layout.width);
        rect.y = random.below(layout.height);
        rect.width = random.between(1, layout.width - rect.x);
        rect.height = random.between(1, layout.height - rect.y);
    }
    return rect;
}

class GetRect : public testing::Test {
  protected:
    ReportRecorder recorder;

    void checkOne(TestImage &image, const Rect &rect) {
        TestBytes before = image.bytes();
        moxSetErrStatus(-3);
        TileLog log;
        int rowBytes = -1;
        AllocationWindow window;
        char *buffer = ownGetRect(image.header(), rect.x, rect.y, rect.width, rect.height, &rowBytes);
        window.close();
        ASSERT_NE(buffer, nullptr) << describe(image, rect);
        EXPECT_EQ(window.live(), 1);
        if (!image.layout().tiled()) {
            EXPECT_EQ(window.count(), 1);
        }
        EXPECT_EQ(rowBytes, rowBytesOf(image.layout(), rect.width));
        EXPECT_EQ(reinterpret_cast<uintptr_t>(buffer) % 32, 0u);
        expectPixels(image, buffer, rect);
        expectRowEnds(image, buffer, rect);
        ownFreeRect(buffer);
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(log.paired());
        for (const TileEvent &event : log.events)
            EXPECT_NE(event.mode, MOX_TileWrite);
        EXPECT_TRUE(image.holds(before));
        EXPECT_TRUE(image.headerIsUntouched());
        EXPECT_TRUE(recorder.none());
        EXPECT_EQ(moxGetErrStatus(), -3);
    }
};

TEST_F(GetRect, OfPlainImagesFollowsTheRules) {
    forEachCpuLevel([this] {
        forEachCase(2500, [this](Random &random) {
            TestImage image(drawRectLayout(random, false), random.next());
            checkOne(image, drawRect(random, image.layout()));
        });
    });
}

TEST_F(GetRect, OfTiledImagesFollowsTheRules) {
    forEachCpuLevel([this] {
        forEachCase(1500, [this](Random &random) {
            TestImage image(drawRectLayout(random, true), random.next());
            checkOne(image, drawRect(random, image.layout()));
        });
    });
}

// Every offset of bits against every other, near all four sides.
TEST_F(GetRect, OfBitsFollowsTheRulesAtEveryOffset) {
    for (int mode = 0; mode < 4; mode++) {
        for (int imageWidth : {1, 5, 8, 13, 17}) {
            TestLayout layout = TestLayout::ofMask(imageWidth, 3);
            layout.align = 4;
            for (int side = 0; side < 4; side++) {
                layout.borderMode[side] = mode;
                layout.borderConst[side] = 1 - side % 2;
            }
            TestImage image(layout, static_cast<uint64_t>(mode * 100 + imageWidth));
            for (int x = -20; x <= 20; x++) {
                for (int width : {1, 7, 8, 9, 30})
                    checkOne(image, {x, -2, width, 7});
            }
        }
    }
}

TestLayout withBorder(TestLayout layout, int mode, int constant = 0) {
    for (int side = 0; side < 4; side++) {
        layout.borderMode[side] = mode;
        layout.borderConst[side] = constant;
    }
    return layout;
}

TEST_F(GetRect, ReplicatesTheCornerPixel) {
    TestImage image(withBorder(TestLayout::of(MOX_DEPTH_8U, 10, 10), MOX_BORDER_REPLICATE), 3);
    int rowBytes = 0;
    char *buffer = ownGetRect(image.header(), -1, -1, 3, 3, &rowBytes);
    ASSERT_NE(buffer, nullptr);
    uint8_t rows[3][3];
    for (int y = 0; y < 3; y++)
        memcpy(rows[y], buffer + y * rowBytes, 3);
    auto pixel = [&image](int x, int y) { return static_cast<uint8_t>(image.get(0, x, y)); };
    const uint8_t expected[3][3] = {{pixel(0, 0), pixel(0, 0), pixel(1, 0)},
                                    {pixel(0, 0), pixel(0, 0), pixel(1, 0)},
                                    {pixel(0, 1), pixel(0, 1), pixel(1, 1)}};
    EXPECT_EQ(memcmp(rows, expected, 9), 0);
    ownFreeRect(buffer);
}

TEST_F(GetRect, ReflectsWithTheEdgeDoubled) {
    TestImage image(withBorder(TestLayout::of(MOX_DEPTH_8U, 10, 4), MOX_BORDER_REFLECT), 3);
    int rowBytes = 0;
    char *buffer = ownGetRect(image.header(), -2, 1, 5, 1, &rowBytes);
    ASSERT_NE(buffer, nullptr);
    const int columns[] = {1, 0, 0, 1, 2};
    for (int x = 0; x < 5; x++)
        EXPECT_EQ(static_cast<uint8_t>(buffer[x]), image.get(0, columns[x], 1));
    ownFreeRect(buffer);
    // -H and -H - 1 both read the last row.
    buffer = ownGetRect(image.header(), 2, -5, 1, 6, &rowBytes);
    ASSERT_NE(buffer, nullptr);
    const int rows[] = {3, 3, 2, 1, 0, 0};
    for (int y = 0; y < 6; y++)
        EXPECT_EQ(static_cast<uint8_t>(buffer[y * rowBytes]), image.get(0, 2, rows[y]));
    ownFreeRect(buffer);
}

TEST_F(GetRect, WrapsTheImageSideBySide) {
    TestImage image(withBorder(TestLayout::of(MOX_DEPTH_16U, 10, 4), MOX_BORDER_WRAP), 3);
    int rowBytes = 0;
    char *buffer = ownGetRect(image.header(), 0, 0, 20, 4, &rowBytes);
    ASSERT_NE(buffer, nullptr);
    for (int y = 0; y < 4; y++) {
        EXPECT_EQ(memcmp(buffer + y * rowBytes, buffer + y * rowBytes + 20, 20), 0);
        EXPECT_EQ(memcmp(buffer + y * rowBytes, image.header()->imageData + y * image.widthStep(), 20), 0);
    }
    ownFreeRect(buffer);
}

TEST_F(GetRect, OfWidthOneWrapsToTheOneColumn) {
    TestImage image(withBorder(TestLayout::of(MOX_DEPTH_8U, 1, 4), MOX_BORDER_WRAP), 3);
    checkOne(image, {-300, 0, 700, 4});
    checkOne(image, {-30, -9, 70, 20});
}

TEST_F(GetRect, ConvertsTheConstantToFloat) {
    TestImage image(withBorder(TestLayout::of(MOX_DEPTH_32F, 4, 4), MOX_BORDER_CONSTANT, 3), 3);
    int rowBytes = 0;
    char *buffer = ownGetRect(image.header(), -2, -2, 2, 8, &rowBytes);
    ASSERT_NE(buffer, nullptr);
    for (int y = 0; y < 8; y++) {
        float value;
        memcpy(&value, buffer + y * rowBytes + 4, 4);
        EXPECT_EQ(value, 3.0f);
    }
    ownFreeRect(buffer);
}

TEST_F(GetRect, WhollyOutsideGoesByTheSideThatOwnsIt) {
    for (int mode = 0; mode < 4; mode++) {
        TestLayout layout = withBorder(TestLayout::of(MOX_DEPTH_8U, 9, 5, 3), mode);
        for (int side = 0; side < 4; side++)
            layout.borderConst[side] = 10 + side;
        TestImage image(layout, 9);
        for (int x : {-50, -9, 0, 9, 40}) {
            for (int y : {-50, -5, 0, 5, 40})
                checkOne(image, {x, y, 4, 3});
        }
    }
}

TEST_F(GetRect, RefusesBadArguments) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 9, 5));
    int rowBytes = 0;
    AllocationWindow window;
    EXPECT_EQ(ownGetRect(nullptr, 0, 0, 1, 1, &rowBytes), nullptr);
    for (int size : {0, -1, INT_MIN}) {
        EXPECT_EQ(ownGetRect(image.header(), 0, 0, size, 1, &rowBytes), nullptr);
        EXPECT_EQ(ownGetRect(image.header(), 0, 0, 1, size, &rowBytes), nullptr);
    }
    MoxImage good = *image.header();
    for (int order : {-1, 2}) {
        image.header()->dataOrder = order;
        EXPECT_EQ(ownGetRect(image.header(), 0, 0, 1, 1, &rowBytes), nullptr);
    }
    *image.header() = good;
    for (unsigned depth : {0u, 2u, 64u, MOX_DEPTH_SIGN | 1u}) {
        image.header()->depth = depth;
        EXPECT_EQ(ownGetRect(image.header(), 0, 0, 1, 1, &rowBytes), nullptr);
    }
    *image.header() = good;
    for (int align : {0, 1, 2, 12, 64, -8}) {
        image.header()->align = align;
        EXPECT_EQ(ownGetRect(image.header(), 0, 0, 1, 1, &rowBytes), nullptr);
    }
    *image.header() = good;
    window.close();
    EXPECT_EQ(window.live(), 0);
    EXPECT_TRUE(recorder.none());
    EXPECT_EQ(moxGetErrStatus(), 0);
}

TEST_F(GetRect, RefusesRectanglesBeyondAnInt) {
    TestImage image(withBorder(TestLayout::of(MOX_DEPTH_32S, 9, 5, 3, MOX_DATA_ORDER_PLANE), 1));
    int rowBytes = 0;
    EXPECT_EQ(ownGetRect(image.header(), 0, 0, INT_MAX, INT_MAX, &rowBytes), nullptr);
    EXPECT_EQ(ownGetRect(image.header(), 0, 0, INT_MAX, 1, &rowBytes), nullptr);
    EXPECT_EQ(ownGetRect(image.header(), 0, 0, 65536, 65536, &rowBytes), nullptr);
    EXPECT_EQ(ownGetRect(image.header(), 0, 0, 16384, 16384, &rowBytes), nullptr);
    EXPECT_TRUE(recorder.none());
}

TEST_F(GetRect, AtTheEndsOfTheCoordinates) {
    for (int mode = 0; mode < 4; mode++) {
        for (bool tiled : {false, true}) {
            TestLayout layout = withBorder(TestLayout::of(MOX_DEPTH_8U, 9, 5), mode, 7);
            if (tiled) layout.tileWidth = layout.tileHeight = 8;
            TestImage image(layout, 4);
            for (int x : {INT_MIN, INT_MIN + 1, INT_MAX - 5, INT_MAX}) {
                checkOne(image, {x, 0, 5, 3});
                checkOne(image, {0, x, 5, 3});
                checkOne(image, {x, x, 5, 3});
            }
        }
    }
}

TEST_F(GetRect, FreeIgnoresNull) {
    ownFreeRect(nullptr);
}

TEST_F(GetRect, IsNullAndLeaksNothingWithoutMemory) {
    forEachCase(60, [this](Random &random) {
        TestImage image(drawRectLayout(random, random.oneIn(2)), random.next());
        Rect rect = drawRect(random, image.layout());
        for (int n = 1;; n++) {
            TileLog log;
            int rowBytes = 0;
            AllocationWindow window(n);
            char *buffer = ownGetRect(image.header(), rect.x, rect.y, rect.width, rect.height, &rowBytes);
            window.close();
            EXPECT_TRUE(log.paired());
            EXPECT_TRUE(recorder.none());
            if (!window.refused()) {
                expectPixels(image, buffer, rect);
                ownFreeRect(buffer);
                break;
            }
            ASSERT_EQ(buffer, nullptr) << describe(image, rect);
            ASSERT_EQ(window.live(), 0) << describe(image, rect);
        }
    });
}

TEST_F(GetRect, IsNullWithAnyTileRefused) {
    forEachCase(60, [this](Random &random) {
        TestImage image(drawRectLayout(random, true), random.next());
        Rect rect = drawRect(random, image.layout());
        SCOPED_TRACE(describe(image, rect));
        std::vector<TileEvent> whole;
        for (int n = 0;; n++) {
            TileLog log(n);
            int rowBytes = 0;
            AllocationWindow window;
            char *buffer = ownGetRect(image.header(), rect.x, rect.y, rect.width, rect.height, &rowBytes);
            window.close();
            EXPECT_TRUE(log.clean());
            EXPECT_TRUE(recorder.none());
            if (n == 0) whole = log.events;
            if (!log.refused()) {
                EXPECT_TRUE(log.paired());
                ownFreeRect(buffer);
                if (n > 0) break;
                continue;
            }
            ASSERT_EQ(buffer, nullptr);
            ASSERT_EQ(window.live(), 0);
            expectRowWasAskedFor(log, whole);
            image.abandonTiles();
            if (testing::Test::HasFatalFailure()) return;
        }
    });
}

TEST_F(GetRect, ReleasesNothingOfARowWhoseThirdTileIsRefused) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 40, 16);
    layout.tileWidth = layout.tileHeight = 8;
    TestImage image(layout);
    TileLog log(3);
    int rowBytes = 0;
    EXPECT_EQ(ownGetRect(image.header(), 0, 0, 40, 16, &rowBytes), nullptr);
    EXPECT_TRUE(log.is({{&image, MOX_TileRead, 0, 0},
                        {&image, MOX_TileRead, 1, 0},
                        {&image, MOX_TileRead, 2, 0},
                        {&image, MOX_TileRead, 3, 0},
                        {&image, MOX_TileRead, 4, 0}}));
    image.abandonTiles();
}

TEST_F(GetRect, AsksForTheTilesOfARowAndReleasesThemFromLastToFirst) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_16S, 60, 40, 3);
    layout.tileWidth = 16;
    layout.tileHeight = 8;
    TestImage image(layout);
    TileLog log;
    int rowBytes = 0;
    char *buffer = ownGetRect(image.header(), 20, 9, 30, 14, &rowBytes);
    ASSERT_NE(buffer, nullptr);
    ownFreeRect(buffer);
    std::vector<TileEvent> expected;
    for (int row = 1; row <= 2; row++) {
        for (int column = 1; column <= 3; column++)
            expected.push_back({&image, MOX_TileRead, column, row});
        for (int column = 3; column >= 1; column--)
            expected.push_back({&image, MOX_TileRelease, column, row});
    }
    EXPECT_TRUE(log.is(expected));
    EXPECT_TRUE(log.paired());
}

}  // namespace
