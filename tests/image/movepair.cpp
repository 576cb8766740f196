// Random pairs of images and the definition of moving their pixels.
#include "movepair.h"

#include <algorithm>
#include <climits>

MovePair::MovePair(Random &random, const MoveOptions &options) {
    depth_ = options.depth ? options.depth : allDepths[random.below(7)];
    processed_ = depth_ == MOX_DEPTH_1U || random.oneIn(2) ? 1 : random.between(2, 4);
    origin_ = random.below(2);
    order_ = random.below(2);
    mixedOrders_ = processed_ == 1 && random.oneIn(3);
    for (int i = 0; i < 2; i++) {
        images_[i] = std::make_unique<TestImage>(drawLayout(random, i, options), random.next());
    }
    width_ = std::min(images_[0]->layout().regionWidth(), images_[1]->layout().regionWidth());
    height_ = std::min(images_[0]->layout().regionHeight(), images_[1]->layout().regionHeight());
    int kind = options.masks ? random.below(6) : 0;
    for (int i = 0; i < 2; i++) {
        // 1 the source alone, 2 the destination alone, 3 each its own, 4 one for both.
        if (kind == 4 && i == 1) {
            images_[1]->setMask(masks_[0].get());
            continue;
        }
        if (!(kind == 1 && i == 0) && !(kind == 2 && i == 1) && kind != 3 && !(kind == 4 && i == 0)) continue;
        TestLayout layout = drawMaskLayout(random, options.maxWidth, options.maxHeight);
        if (random.oneIn(5)) layout.alpha = 1;
        masks_[i] = std::make_unique<TestImage>(layout, random.next());
        images_[i]->setMask(masks_[i].get());
        width_ = std::min(width_, masks_[i]->layout().regionWidth());
        height_ = std::min(height_, masks_[i]->layout().regionHeight());
    }
    if (width_ == 0 || height_ == 0) width_ = height_ = 0;
    for (auto &image : images_)
        image->keepHeader();
}

void MovePair::drawChannels(Random &random, TestLayout &layout) {
    int coi = 0;
    if (depth_ == MOX_DEPTH_1U || (processed_ == 1 && (mixedOrders_ || random.oneIn(3)))) {
        coi = random.oneIn(4) ? 1 : 0;
    } else if (processed_ == 1 && random.oneIn(4)) {
        layout.channels = layout.alpha = 2;
    } else if (processed_ == 1) {
        layout.channels = random.between(2, 5);
        layout.alpha = random.oneIn(3) ? layout.channels : 0;
        coi = random.between(1, layout.channels);
    } else {
        bool alpha = random.oneIn(3);
        layout.channels = processed_ + (alpha ? 1 : 0);
        layout.alpha = alpha ? layout.channels : 0;
    }
    if (coi == 0 && random.oneIn(2)) return;
    bool beyond = random.oneIn(50);
    layout.setRoi(coi, beyond ? layout.width + random.below(2) : random.below(std::max(1, layout.width * 2 / 3)),
                  random.below(std::max(1, layout.height / 2)),
                  random.oneIn(2) ? INT_MAX : random.between(1, layout.width),
                  random.oneIn(2) ? 1000 : random.between(1, layout.height));
}

TestLayout MovePair::drawLayout(Random &random, int which, const MoveOptions &options) {
    TestLayout layout;
    layout.depth = depth_;
    layout.order = mixedOrders_ ? random.below(2) : order_;
    layout.origin = origin_;
    layout.align = 4 << random.below(4);
    layout.width = random.between(random.oneIn(5) ? 1 : options.maxWidth / 2, options.maxWidth);
    layout.height = random.between(random.oneIn(5) ? 1 : options.maxHeight / 2, options.maxHeight);
    drawChannels(random, layout);
    bool tiled = options.tiled[which] < 0 ? random.oneIn(3) : options.tiled[which] == 1;
    if (tiled) {
        layout.tileWidth = 8 * random.between(1, 4);
        layout.tileHeight = 8 * random.between(1, 2);
        layout.transientTiles = random.oneIn(2);
    } else {
        if (random.oneIn(3)) layout.extraStride = random.between(1, 40);
        if (random.oneIn(3)) layout.dataShift = random.below(32);
    }
    return layout;
}

std::string MovePair::describe() const {
    std::string text = "source " + images_[0]->layout().describe() + "\ndestination " + images_[1]->layout().describe();
    for (int i = 0; i < 2; i++) {
        if (!images_[i]->mask()) continue;
        text += i == 0 ? "\nsource's mask " : "\ndestination's mask ";
        text += images_[i]->mask()->layout().describe();
    }
    return text;
}

bool MovePair::passes(int x, int y) const {
    for (const auto &image : images_) {
        const TestImage *mask = image->mask();
        if (mask && mask->get(0, mask->layout().regionX() + x, mask->layout().regionY() + y) == 0) return false;
    }
    return true;
}

bool MovePair::twoMasks() const {
    return images_[0]->mask() && images_[1]->mask() && images_[0]->mask() != images_[1]->mask();
}

void MovePair::keep() {
    keptMasks_.clear();
    for (const auto &mask : masks_)
        keptMasks_.push_back(mask ? mask->bytes() : TestBytes());
}

testing::AssertionResult MovePair::restIsUntouched() const {
    for (size_t i = 0; i < 2; i++) {
        auto header = images_[i]->headerIsUntouched();
        if (!header) return header;
        if (!masks_[i]) continue;
        auto bits = masks_[i]->holds(keptMasks_[i]);
        if (!bits) return bits << " (mask)";
        auto maskHeader = masks_[i]->headerIsUntouched();
        if (!maskHeader) return maskHeader << " (mask)";
    }
    return testing::AssertionSuccess();
}

std::vector<MoveCell> cellsOf(const TestImage &image, int width, int height) {
    std::vector<MoveCell> cells;
    const TestLayout &layout = image.layout();
    if (width == 0 || height == 0) return cells;
    int x0 = layout.regionX(), y0 = layout.regionY();
    for (int row = y0 / layout.tileHeight; row * layout.tileHeight < y0 + height; row++) {
        for (int column = x0 / layout.tileWidth; column * layout.tileWidth < x0 + width; column++) {
            MoveCell cell = {column, row, 0, 0, 0, 0};
            cell.x = std::max(column * layout.tileWidth - x0, 0);
            cell.y = std::max(row * layout.tileHeight - y0, 0);
            cell.xEnd = std::min((column + 1) * layout.tileWidth - x0, width);
            cell.yEnd = std::min((row + 1) * layout.tileHeight - y0, height);
            cells.push_back(cell);
        }
    }
    return cells;
}

void appendRead(std::vector<TileEvent> *events, TestImage *image, const MoveCell &cell) {
    const TestLayout &layout = image->layout();
    int left = (layout.regionX() + cell.x) / layout.tileWidth;
    int right = (layout.regionX() + cell.xEnd - 1) / layout.tileWidth;
    int bottom = (layout.regionY() + cell.yEnd - 1) / layout.tileHeight;
    for (int row = (layout.regionY() + cell.y) / layout.tileHeight; row <= bottom; row++) {
        for (int column = left; column <= right; column++)
            events->push_back({image, MOX_TileRead, column, row});
        for (int column = right; column >= left; column--)
            events->push_back({image, MOX_TileRelease, column, row});
    }
}

void forEachMoved(MovePair &pair, const MoveCell &part, const std::function<void(int, int, int)> &move) {
    int channels = pair.src().layout().channelCount();
    for (int y = part.y; y < part.yEnd; y++) {
        for (int x = part.x; x < part.xEnd; x++) {
            if (!pair.passes(x, y)) continue;
            for (int channel = 0; channel < channels; channel++)
                move(channel, x, y);
        }
    }
}

MoveCell wholeArea(const MovePair &pair) {
    return {0, 0, 0, 0, pair.width(), pair.height()};
}
