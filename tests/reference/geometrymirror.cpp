// Mirror images, pixel by pixel.
#include "reference/geometry.h"

RefResult refMirror(TestImage &source, TestImage &destination, int flipAxis) {
    const std::vector<TestImage *> images = {&source, &destination};
    const TestLayout &from = source.layout(), &to = destination.layout();
    // Masks and the destination limit what is written; the axis is in the middle of the source's region all the same.
    const int w = from.regionWidth(), h = from.regionHeight();
    RefResult result = {destination.bytes(), {}};
    int width, height;
    refCommonSize(images, &width, &height);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            if (!refMaskedIn(images, i, j)) continue;
            const int x = flipAxis == 0 ? i : w - 1 - i, y = flipAxis == 1 ? j : h - 1 - j;
            for (int channel = 0; channel < to.channelCount(); ++channel) {
                destination.setIn(result.expected, to.firstChannel() + channel, to.regionX() + i, to.regionY() + j,
                                  source.get(from.firstChannel() + channel, from.regionX() + x, from.regionY() + y));
            }
        }
    }
    return result;
}
