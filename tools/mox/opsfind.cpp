// Finding a template: where it fits best, and how well.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "failure.h"
#include "image.h"
#include "operations.h"

namespace {

ImagePtr plainImage(const MoxImage *like, unsigned depth, int width, int height) {
    return makeImage(like->nChannels, depth, like->dataOrder == MOX_DATA_ORDER_PLANE, width, height);
}

float sampleAt(const MoxImage *image, int x, int y, int channel) {
    const bool planes = image->dataOrder == MOX_DATA_ORDER_PLANE;
    const std::int64_t row = planes ? std::int64_t{channel} * image->height + y : y;
    const std::int64_t column = planes ? x : std::int64_t{x} * image->nChannels + channel;
    float sample;
    std::memcpy(&sample, image->imageData + row * image->widthStep + column * 4, sizeof sample);
    return sample;
}

struct Place {
    int x, y;
    double fit;
};

// The place of the largest mean over the channels that count, among those where the whole template lies in the picture.
Place bestPlace(const MoxImage *fits, const MoxImage *tpl) {
    const int channels = fits->nChannels - (fits->alphaChannel != 0 ? 1 : 0);
    Place best = {0, 0, -2};
    for (int y = 0; y + tpl->height <= fits->height; y++) {
        for (int x = 0; x + tpl->width <= fits->width; x++) {
            double sum = 0;
            for (int c = 0; c < channels; c++)
                sum += static_cast<double>(sampleAt(fits, x + tpl->width / 2, y + tpl->height / 2, c));
            if (sum / channels > best.fit) best = {x, y, sum / channels};
        }
    }
    return best;
}

// Lines around a rectangle, as wide as a hundredth of the picture: white, and black on their inner side.
void frame(MoxImage *image, const Place &at, const MoxImage *tpl) {
    const int wide = std::max(1, std::min(image->width, image->height) / 150);
    MoxROI *const before = image->roi;
    MoxImage *const mask = image->maskROI;
    image->maskROI = nullptr;
    for (int line = 0; line < 2; line++) {
        const int x = at.x + line * wide, y = at.y + line * wide;
        const int width = tpl->width - 2 * line * wide, height = tpl->height - 2 * line * wide;
        const MoxROI sides[] = {{0, x, y, width, wide},
                                {0, x, y + height - wide, width, wide},
                                {0, x, y, wide, height},
                                {0, x + width - wide, y, wide, height}};
        for (MoxROI side : sides) {
            if (side.width < 1 || side.height < 1) continue;
            image->roi = &side;
            if (image->depth == MOX_DEPTH_32F) {
                moxSetFP(image, line == 0 ? 1.0f : 0.0f);
            } else {
                moxSet(image, line == 0 ? 255 : 0);
            }
        }
    }
    image->roi = before;
    image->maskROI = mask;
}

void find(Call *call) {
    MoxImage *image = call->image, *tpl = call->other;
    if (image->depth != MOX_DEPTH_8U && image->depth != MOX_DEPTH_32F)
        fail(exitOperation, "find: pictures of depth 8u or 32f (--depth 8u)");
    if (tpl->width > image->width || tpl->height > image->height)
        fail(exitOperation, "find: the template is larger than the picture");
    // The template as it lies in its file, and in memory.
    MoxImage whole = *tpl;
    whole.roi = nullptr;
    ImagePtr copy = plainImage(tpl, tpl->depth, tpl->width, tpl->height);
    moxCopy(&whole, copy.get());
    ImagePtr fits = plainImage(image, MOX_DEPTH_32F, image->width, image->height);
    MoxImage all = *image;
    all.roi = nullptr;
    all.maskROI = nullptr;
    if (moxNormCrossCorr(copy.get(), &all, fits.get()) != MOX_StatusNoError) return;
    const Place best = bestPlace(fits.get(), copy.get());
    char text[80];
    std::snprintf(text, sizeof text, "%d,%d %.4f\n", best.x, best.y, best.fit);
    call->printed += text;
    if (call->arguments[1].integer != 0) frame(image, best, copy.get());
}

}  // namespace

const Family &findingFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Finding",
        {
            {"find",
             {{K::picture, "PICTURE"}, {K::keyword, "mark"}},
             "prints where the second picture fits best (X,Y of its corner) and how well (1 is a perfect match); marks "
             "it",
             find,
             {{"A piece that was cut out is found again, and marked.", "find piece.png mark"}}},
        }};
    return family;
}
