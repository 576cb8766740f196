// What the tests of bitmaps share.
#include "dib/dibcheck.h"

#include <algorithm>
#include <cstring>

TestLayout layoutFor(const BitmapShape &shape, int channels, unsigned depth) {
    TestLayout layout = TestLayout::of(depth, shape.width, shape.rows(), channels);
    layout.origin = shape.height < 0 ? MOX_ORIGIN_TL : MOX_ORIGIN_BL;
    if (channels == 4) layout.alpha = 4;
    return layout;
}

void nameChannels(TestImage &image, const char *sequence) {
    memset(image.header()->channelSeq, 0, 4);
    memcpy(image.header()->channelSeq, sequence, strlen(sequence));
    image.keepHeader();
}

const char *drawNames(Random &random, int channels) {
    if (channels == 1) return random.oneIn(2) ? "GRAY" : "G";
    if (channels == 3) return random.oneIn(2) ? "RGB" : "BGR";
    return random.oneIn(2) ? "RGBA" : "BGRA";
}

BitmapShape drawShape(Random &random, int bits, int maxWidth, int maxHeight) {
    BitmapShape shape;
    shape.bits = bits;
    shape.width = random.between(1, random.oneIn(3) ? 9 : maxWidth);
    shape.height = random.between(1, maxHeight);
    if (random.oneIn(2)) shape.height = -shape.height;
    if (bits <= 8 && random.oneIn(2)) shape.clrUsed = static_cast<unsigned>(random.between(1, 1 << bits));
    if (bits == 1 && random.oneIn(5)) shape.clrUsed = 5;
    if (bits > 8 && random.oneIn(5)) shape.clrUsed = static_cast<unsigned>(random.between(1, 20));
    return shape;
}

TestLayout drawImageFor(Random &random, const BitmapShape &shape) {
    static const int channels[] = {1, 3, 4};
    static const unsigned depths[] = {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_8U, MOX_DEPTH_16U};
    TestLayout layout;
    layout.width = shape.width;
    layout.height = shape.rows();
    layout.depth = depths[random.below(4)];
    layout.channels = layout.depth == MOX_DEPTH_1U ? 1 : channels[random.below(3)];
    layout.alpha = layout.channels == 4 ? 4 : 0;
    layout.order = random.below(2);
    layout.origin = random.below(2);
    layout.align = drawAlign(random);
    drawPlacement(random, layout, 0);
    return layout;
}

void drawPalette(Random &random, TestBitmap &bitmap) {
    const int kind = random.below(5), count = bitmap.shape().colours();
    for (int i = 0; i < count; ++i) {
        uint32_t colour = random.bits() & 0xFFFFFF;
        if (kind == 1) colour = static_cast<uint32_t>(count > 1 ? i * 255 / (count - 1) : 7) * 0x010101;
        if (kind == 2) colour &= 0xC0C0C0;
        if (kind == 3) colour = (colour & 255) * 0x010101;
        // The fourth byte counts for nothing.
        bitmap.setColour(i, colour, random.oneIn(2) ? static_cast<uint8_t>(random.bits()) : uint8_t{0});
    }
}

StreamCase::StreamCase(int bits, int width, int height, const std::vector<uint8_t> &stream, bool sized)
    : bitmap({width, height, bits, bits == 8 ? 1u : 2u}, 1, false, static_cast<int>(stream.size())),
      image(layoutFor(bitmap.shape())) {
    bitmap.setGrayRamp();
    bitmap.setStream(stream, sized);
}

testing::AssertionResult StreamCase::becomes(const std::vector<int> &pixels) {
    TestBytes expected = image.bytes();
    const int factor = bitmap.shape().bits == 8 ? 1 : 17, width = bitmap.shape().width;
    for (size_t i = 0; i < pixels.size(); ++i) {
        if (pixels[i] < 0) continue;
        const int place = static_cast<int>(i);
        image.setIn(expected, 0, place % width, place / width, static_cast<uint32_t>(pixels[i] * factor));
    }
    return image.holds(expected);
}
