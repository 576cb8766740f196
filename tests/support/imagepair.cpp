// A source and a destination with their masks.
#include "support/imagepair.h"

void ImagePair::drawMasks(Random &random) {
    for (int which = 0; which < 2; ++which) {
        TestImage *image = images_[which].get();
        if (!image || random.oneIn(2)) continue;
        masks_[which] = std::make_unique<TestImage>(
            drawMaskLayout(random, image->layout().width, image->layout().height), random.next());
        image->setMask(masks_[which].get());
    }
}

std::vector<TestImage *> ImagePair::all() const {
    std::vector<TestImage *> images;
    for (const auto *each : {&images_[0], &images_[1], &masks_[0], &masks_[1]}) {
        if (*each) images.push_back(each->get());
    }
    for (const auto &each : others_)
        images.push_back(each.get());
    return images;
}

static std::string describeBorders(TestImage &image) {
    std::string text = " borders";
    for (int side = 0; side < 4; ++side) {
        text.append(" ").append(std::to_string(image.header()->borderMode[side]));
        if (image.header()->borderMode[side] & 3) continue;
        text.append("(").append(std::to_string(image.header()->borderConst[side])).append(")");
    }
    return text;
}

std::string ImagePair::describe() const {
    std::string text;
    for (int which = 0; which < 2; ++which) {
        TestImage *image = images_[which].get();
        text += which ? "destination " : "source ";
        text += image ? image->layout().describe() + describeBorders(*image) : std::string("is the source");
        if (image && image->mask()) text += "\n  mask " + image->mask()->layout().describe();
        text += "\n";
    }
    return text;
}

void ImagePair::abandonTiles() {
    for (TestImage *image : all())
        image->abandonTiles();
}
