// Kernels of maps: which positions count, and the pixels that they are in.
#include "geometry/ownremap.h"
#include "geometry/ownsamplerplaces.h"

namespace {

size_t keep(const void *x, const void *y, const OwnRemapBounds &bounds, uint8_t *bits, size_t n) {
    const OwnAnyS32 *xs = static_cast<const OwnAnyS32 *>(x), *ys = static_cast<const OwnAnyS32 *>(y);
    const OwnRemapBounds b = bounds;
    size_t kept = 0;
    for (size_t done = 0; done < n; done += BLOCK) {
        const size_t count = n - done < BLOCK ? n - done : BLOCK;
        int32_t inside[BLOCK] = {};
        int32_t all = 0;
        for (size_t i = 0; i < count; ++i) {
            const int32_t px = xs[done + i], py = ys[done + i];
            inside[i] = ((px >= b.left) & (px <= b.right) & (py >= b.top) & (py <= b.bottom)) != 0 ? 1 : 0;
            all += inside[i];
        }
        kept += static_cast<size_t>(all);
        for (size_t i = 0; i < count; i += 8) {
            unsigned byte = 0;
            for (size_t k = 0; k < 8; ++k)
                byte = byte << 1 | static_cast<unsigned>(inside[i + k]);
            *bits++ = static_cast<uint8_t>(byte);
        }
    }
    return kept;
}

void nearestPixels(const void *positions, int32_t *pixels, size_t n) {
    const OwnAnyF32 *from = static_cast<const OwnAnyF32 *>(positions);
    for (size_t i = 0; i < n; ++i)
        pixels[i] = wholeOf(notBelow<float>(from[i], 0.0f));
}

}  // namespace

namespace OWN_LEVEL {
extern const OwnRemapRows remapRows;
const OwnRemapRows remapRows = {keep, nearestPixels};
}  // namespace OWN_LEVEL
