// Random combinations of layouts.
#include "support/scene.h"

#include <algorithm>
#include <iterator>

const unsigned allDepths[7] = {MOX_DEPTH_1U,  MOX_DEPTH_8U,  MOX_DEPTH_8S, MOX_DEPTH_16U,
                               MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F};

const char *depthName(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_1U:
            return "1U";
        case MOX_DEPTH_8U:
            return "8U";
        case MOX_DEPTH_8S:
            return "8S";
        case MOX_DEPTH_16U:
            return "16U";
        case MOX_DEPTH_16S:
            return "16S";
        case MOX_DEPTH_32S:
            return "32S";
        default:
            return "32F";
    }
}

// What all images of a scene have in common.
struct SceneShape {
    unsigned depth;
    int order;
    int channels;  // processed
    int origin;
    int width, height;
    bool flat;      // equal sizes, no region, no alpha: a flat run where nothing else forbids it
    bool extracts;  // one processed channel, of images with as many channels as they like
    int nChannels;  // 0 for any
    bool alpha;
};

void drawRegion(Random &random, TestLayout &layout, int coi, bool mayBeEmpty) {
    const int x =
        mayBeEmpty && random.oneIn(40) ? layout.width + random.below(3) : random.below(std::max(1, layout.width / 2));
    const int y =
        mayBeEmpty && random.oneIn(40) ? layout.height + random.below(3) : random.below(std::max(1, layout.height / 2));
    const int width = random.oneIn(2) ? 1000 : random.between(1, layout.width);
    const int height = random.oneIn(2) ? 1000 : random.between(1, layout.height);
    layout.setRoi(coi, x, y, width, height);
}

static void drawChannels(Random &random, const SceneShape &shape, TestLayout &layout, int *coi) {
    *coi = 0;
    if (shape.depth == MOX_DEPTH_1U) {
        layout.channels = 1;
        if (random.oneIn(4)) *coi = 1;
        return;
    }
    if (!shape.extracts) {
        const bool alpha = !shape.flat && (shape.nChannels ? shape.alpha : random.oneIn(4));
        layout.channels = shape.channels + (alpha ? 1 : 0);
        layout.alpha = alpha ? layout.channels : 0;
        return;
    }
    layout.channels = shape.nChannels ? shape.nChannels : random.between(1, 4);
    if (layout.channels == 1 && random.oneIn(2)) return;
    if (random.oneIn(3)) layout.alpha = layout.channels;
    // Two channels of which one is alpha: one is processed without any coi.
    if (layout.channels == 2 && layout.alpha && random.oneIn(2)) return;
    *coi = random.between(1, layout.channels);
}

int drawAlign(Random &random) {
    static const int aligns[] = {4, 8, 16, 32};
    return aligns[random.below(4)];
}

void drawPlacement(Random &random, TestLayout &layout, int tiled) {
    if (random.oneIn(3)) layout.extraStride = std::max(1, layout.bits() / 8) * random.between(1, 9);
    if (random.oneIn(3)) layout.dataShift = random.below(32);  // samples need not stand at multiples of their own size
    if (tiled == 1 || (tiled < 0 && random.oneIn(4))) {
        layout.tileWidth = 8 * random.between(1, 4);
        layout.tileHeight = 8 * random.between(1, 2);
        layout.transientTiles = random.oneIn(2);
        layout.extraStride = 0;
    }
}

static TestLayout drawLayout(Random &random, const SceneShape &shape, const SceneOptions &options) {
    TestLayout layout;
    int coi;
    layout.depth = shape.depth;
    layout.order = shape.order;
    layout.origin = options.sameOrigin ? shape.origin : random.below(2);
    layout.align = shape.flat ? 8 : drawAlign(random);
    drawChannels(random, shape, layout, &coi);
    if (shape.flat) {
        layout.width = shape.width;
        layout.height = shape.height;
        return layout;
    }
    // Sizes that differ much leave little in common: most are near the largest.
    const bool sameSize = random.oneIn(2), small = random.oneIn(8);
    layout.width = sameSize ? shape.width : random.between(small ? 1 : (options.maxWidth + 1) / 2, options.maxWidth);
    layout.height =
        sameSize ? shape.height : random.between(small ? 1 : (options.maxHeight + 1) / 2, options.maxHeight);
    if (coi != 0 || random.oneIn(2)) drawRegion(random, layout, coi);
    drawPlacement(random, layout, options.tiles ? -1 : 0);
    return layout;
}

TestLayout drawMaskLayout(Random &random, int width, int height) {
    TestLayout layout = TestLayout::ofMask(width, height);
    layout.order = random.below(2);
    layout.origin = random.below(2);
    layout.align = drawAlign(random);
    if (random.oneIn(4)) {
        layout.width = random.between(1, width + 20);
        layout.height = random.between(1, height + 5);
    }
    if (random.oneIn(2)) {
        layout.width += 24;
        layout.height += 4;
        layout.setRoi(random.below(2), random.below(26), random.below(5),
                      random.oneIn(2) ? 1000 : random.between(1, width),
                      random.oneIn(2) ? 1000 : random.between(1, height));
    }
    if (random.oneIn(3)) layout.extraStride = random.between(1, 9);
    if (random.oneIn(3)) layout.dataShift = random.below(32);
    return layout;
}

TestImage *Scene::add(const TestLayout &layout, Random &random) {
    owned_.push_back(std::make_unique<TestImage>(layout, random.next()));
    return owned_.back().get();
}

Scene::Scene(Random &random, const SceneOptions &options) {
    SceneShape shape = {};
    shape.depth = options.depth ? options.depth : allDepths[random.below(static_cast<int>(std::size(allDepths)))];
    shape.order = options.order >= 0 ? options.order : random.below(2);
    shape.origin = random.below(2);
    const bool small = random.oneIn(4);
    shape.width = random.between(small ? 1 : (options.maxWidth + 1) / 2, options.maxWidth);
    shape.height = random.between(small ? 1 : (options.maxHeight + 1) / 2, options.maxHeight);
    shape.flat = !options.tiledAlways && random.oneIn(6);
    shape.extracts = !shape.flat && random.oneIn(2);
    shape.channels = shape.depth == MOX_DEPTH_1U || shape.extracts ? 1 : random.between(1, 4);
    if (options.sameChannels) {
        shape.nChannels = shape.extracts ? random.between(1, 4) : shape.channels;
        shape.alpha = random.oneIn(3);
    }

    for (int i = 0; i < options.images; ++i) {
        if (options.sharing && i > 0 && random.oneIn(5)) {
            entries_.push_back(entries_[static_cast<size_t>(random.below(i))]);
            continue;
        }
        TestLayout layout = drawLayout(random, shape, options);
        const bool last = i == options.images - 1;
        const bool anyTiled =
            std::any_of(entries_.begin(), entries_.end(), [](TestImage *image) { return image->layout().tiled(); });
        if (options.tiledAlways && last && !anyTiled) {
            layout.tileWidth = 8 * random.between(1, 4);
            layout.tileHeight = 8 * random.between(1, 2);
            layout.extraStride = 0;
        }
        entries_.push_back(add(layout, random));
    }
    if (!options.masks) return;
    for (TestImage *image : std::vector<TestImage *>(entries_)) {
        if (image->mask() || !random.oneIn(4)) continue;
        // Now and then a mask that another image has already.
        TestImage *mask = nullptr;
        if (random.oneIn(4)) {
            for (TestImage *other : entries_)
                mask = other->mask() ? other->mask() : mask;
        }
        if (!mask) mask = add(drawMaskLayout(random, image->layout().width, image->layout().height), random);
        image->setMask(mask);
    }
}

std::string Scene::describe() const {
    std::string text;
    for (size_t i = 0; i < entries_.size(); ++i) {
        text += "image " + std::to_string(i) + ": ";
        const auto same = std::find(entries_.begin(), entries_.end(), entries_[i]);
        const auto before = static_cast<size_t>(same - entries_.begin());
        if (before < i) {
            text += "is image " + std::to_string(before) + "\n";
            continue;
        }
        text += entries_[i]->layout().describe() + "\n";
        if (entries_[i]->mask()) text += "    mask " + entries_[i]->mask()->layout().describe() + "\n";
    }
    return text;
}

void Scene::keep() {
    std::vector<TestImage *> images;
    for (const auto &image : owned_)
        images.push_back(image.get());
    kept_.keep(images);
}

void KeptImages::keep(const std::vector<TestImage *> &images) {
    images_ = images;
    bytes_.clear();
    for (const TestImage *image : images)
        bytes_.push_back(image->bytes());
}

void KeptImages::restore() {
    for (size_t i = 0; i < images_.size(); ++i)
        images_[i]->setBytes(bytes_[i]);
}

testing::AssertionResult KeptImages::othersAreUntouched(const TestImage &destination) const {
    for (size_t i = 0; i < images_.size(); ++i) {
        testing::AssertionResult result = images_[i]->headerIsUntouched();
        if (result && images_[i] != &destination) result = images_[i]->holds(bytes_[i]);
        if (!result) return result;
    }
    return testing::AssertionSuccess();
}
