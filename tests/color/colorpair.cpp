// Random layouts of the two images of a colour conversion.
#include "color/colorpair.h"

#include <bit>
#include <cstring>

#include "color/refusedcall.h"

void drawColors(Random &random, TestImage &image) {
    const TestLayout &layout = image.layout();
    const bool moderate = layout.depth == MOX_DEPTH_32F && !random.oneIn(3);
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int channel = 0; moderate && channel < layout.channels; ++channel) {
                const float value = static_cast<float>(random.between(-1000, 40000)) / 32768.0f;
                image.set(channel, x, y, std::bit_cast<uint32_t>(random.oneIn(9) ? value * 100.0f : value));
            }
            if (layout.channels < 3 || !random.oneIn(4)) continue;
            image.set(random.below(3), x, y, image.get(random.below(3), x, y));
            if (random.oneIn(2)) image.set(random.below(3), x, y, image.get(random.below(3), x, y));
        }
    }
}

static TestLayout drawLayout(Random &random, const ColorPairOptions &options, bool destination) {
    TestLayout layout;
    const bool gray = strcmp(destination ? options.dstModel : options.srcModel, "GRAY") == 0;
    const bool fromGray = strcmp(options.srcModel, "GRAY") == 0;
    layout.depth = destination ? options.dstDepth : options.srcDepth;
    layout.align = drawAlign(random);
    const bool small = random.oneIn(4);
    layout.width = random.between(small ? 1 : (options.maxWidth + 1) / 2, options.maxWidth);
    layout.height = random.between(small ? 1 : (options.maxHeight + 1) / 2, options.maxHeight);
    layout.channels = gray ? 1 : random.oneIn(2) ? 3 : random.between(3, 5);
    if ((destination && !fromGray) || options.mixed) layout.channels = gray ? 1 : 3;
    if (random.oneIn(3)) layout.alpha = layout.channels;
    drawPlacement(random, layout, options.tiled[destination]);
    return layout;
}

// Of an RGB image; the letters beyond the third mean nothing.
static void drawSequence(Random &random, TestImage &image) {
    const char *const sequences[] = {"RGB", "BGR", "RGBA", "BGRA", "RGBX"};
    const char *const models[] = {"RGB", "RGBA", "RGBX"};
    nameModel(image, models[random.below(3)], sequences[random.below(5)]);
}

static void drawName(Random &random, TestImage &image, const char *model) {
    char name[5] = {};
    memcpy(name, model, 3);
    if (strcmp(model, "GRAY") == 0) {
        nameModel(image, random.oneIn(2) ? "GRAY" : random.oneIn(2) ? "Gray" : "GRA", random.oneIn(2) ? "G" : "GRAY");
    } else if (strcmp(model, "RGB") == 0) {
        drawSequence(random, image);
    } else {
        name[3] = random.oneIn(2) ? '\0' : 'X';
        nameModel(image, name, model);
    }
}

ColorPair::ColorPair(Random &random, const ColorPairOptions &options) {
    TestLayout layouts[2] = {drawLayout(random, options, false), drawLayout(random, options, true)};
    const int order = random.below(2), origin = random.below(2);
    for (int which = 0; which < 2; ++which) {
        TestLayout &layout = layouts[which];
        layout.origin = origin;
        layout.order = options.anyOrder ? random.below(2) : order;
        const char *model = which ? options.dstModel : options.srcModel;
        if (options.mixed) layout.order = strcmp(model, "RGB") == 0 ? MOX_DATA_ORDER_PIXEL : MOX_DATA_ORDER_PLANE;
    }
    if (options.anyOrder && strcmp(options.srcModel, "GRAY") == 0 && layouts[0].order == MOX_DATA_ORDER_PIXEL)
        layouts[1].order = MOX_DATA_ORDER_PIXEL;
    for (int which = 0; which < 2; ++which) {
        // A gray image in planes has its gray in the first.
        TestLayout &layout = layouts[which];
        const char *model = which ? options.dstModel : options.srcModel;
        if (strcmp(model, "GRAY") == 0 && layout.order == MOX_DATA_ORDER_PLANE && layout.depth != MOX_DEPTH_1U) {
            layout.channels = random.between(1, 3);
            if (layout.alpha) layout.alpha = layout.channels;
        }
        images_[which] = std::make_unique<TestImage>(layout, random.next());
        drawName(random, *images_[which], model);
        if (!random.oneIn(3)) drawColors(random, *images_[which]);
    }
    if (random.oneIn(3)) drawMasks(random);
    for (int which = 0; which < 2; ++which)
        images_[which]->keepHeader();
}

ColorPairOptions optionsOf(const RefModel &model, unsigned depth) {
    ColorPairOptions options;
    options.srcDepth = options.dstDepth = depth;
    options.srcModel = model.forward ? "RGB" : model.model;
    options.dstModel = model.forward ? model.model : "RGB";
    return options;
}
