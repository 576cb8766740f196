// Error diffusion over a palette.
#include "diffuse.h"

#include <algorithm>
#include <climits>
#include <cstdint>

namespace {

const PaletteColor &nearest(const PaletteColor &wanted, const std::vector<PaletteColor> &palette) {
    const PaletteColor *best = &palette[0];
    int least = INT_MAX;
    for (const PaletteColor &color : palette) {
        const int r = color[0] - wanted[0], g = color[1] - wanted[1], b = color[2] - wanted[2];
        const int far = r * r + g * g + b * b;
        if (far >= least) continue;
        least = far;
        best = &color;
    }
    return *best;
}

// Sixteenths of a level, with a pixel more at either end.
using Errors = std::vector<PaletteColor>;

void spread(Errors *errors, std::size_t at, std::size_t channel, int share) {
    (*errors)[at][channel] += share;
}

}  // namespace

Picture diffused(const Picture &picture, const std::vector<PaletteColor> &palette) {
    Picture result = picture;
    const auto width = static_cast<std::size_t>(picture.width);
    Errors here(width + 2), below(width + 2);
    for (int y = 0; y < picture.height; y++) {
        const bool back = y % 2 == 1;
        std::fill(below.begin(), below.end(), PaletteColor{});
        for (std::size_t i = 0; i < width; i++) {
            const std::size_t x = back ? width - 1 - i : i, at = x + 1;
            const std::size_t next = back ? at - 1 : at + 1, last = back ? at + 1 : at - 1;
            std::uint16_t *pixel = pixelAt(&result, static_cast<int>(x), y);
            PaletteColor wanted;
            for (std::size_t c = 0; c < 3; c++)
                wanted[c] = std::clamp(pixel[c] + ((here[at][c] + 8) >> 4), 0, 255);
            const PaletteColor &color = nearest(wanted, palette);
            for (std::size_t c = 0; c < 3; c++) {
                const int error = wanted[c] - color[c];
                spread(&here, next, c, 7 * error);
                spread(&below, last, c, 3 * error);
                spread(&below, at, c, 5 * error);
                spread(&below, next, c, error);
                pixel[c] = static_cast<std::uint16_t>(color[c]);
            }
        }
        here.swap(below);
    }
    return result;
}
