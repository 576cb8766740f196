// Images, rows and requests of rectangles.
#include "frame/rectcheck.h"

TestLayout drawRectLayout(Random &random, bool tiled) {
    TestLayout layout;
    layout.depth = allDepths[random.below(7)];
    layout.channels = layout.depth == MOX_DEPTH_1U ? 1 : random.between(1, 4);
    layout.alpha = random.oneIn(4) ? layout.channels : 0;
    layout.order = random.below(2);
    layout.align = 4 << random.below(4);
    layout.width = random.oneIn(5) ? random.between(1, 3) : random.between(1, 45);
    layout.height = random.oneIn(5) ? random.between(1, 3) : random.between(1, 25);
    if (random.oneIn(3)) layout.setRoi(random.between(0, layout.channels), 2, 1, 5, 5);
    if (tiled) {
        layout.tileWidth = 8 * random.between(1, 3);
        layout.tileHeight = 8 * random.between(1, 2);
        layout.transientTiles = random.oneIn(2);
    } else if (random.oneIn(2)) {
        layout.extraStride = random.between(1, 20);
    }
    for (int side = 0; side < 4; side++) {
        layout.borderMode[side] = random.below(4) + 4 * (random.oneIn(3) ? random.between(-3, 3) : 0);
        layout.borderConst[side] = random.oneIn(3) ? static_cast<int>(random.bits()) : random.between(-2, 3);
    }
    return layout;
}

int64_t rawRowBits(const TestLayout &layout, int width) {
    return int64_t{width} * layout.bits() * (layout.order == MOX_DATA_ORDER_PIXEL ? layout.channels : 1);
}
int64_t rowBytesOf(const TestLayout &layout, int width) {
    int64_t bytes = (rawRowBits(layout, width) + 7) / 8;
    return (bytes + layout.align - 1) / layout.align * layout.align;
}

void expectRowWasAskedFor(const TileLog &log, const std::vector<TileEvent> &whole) {
    size_t refusal = log.events.size() - static_cast<size_t>(log.eventsAfterRefusal()) - 1;
    // Up to the refusal and to the end of that row's requests, all is as it is without one.
    ASSERT_LT(refusal, whole.size());
    size_t end = refusal;
    while (end < whole.size() && whole[end].mode == MOX_TileRead)
        end++;
    ASSERT_EQ(log.events.size(), end);
    for (size_t i = 0; i < end; i++)
        ASSERT_TRUE(log.events[i] == whole[i]) << "event " << i;
}
