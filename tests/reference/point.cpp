// Regions, channels, masks and flat runs of the element-wise operations, and their calls.
#include <algorithm>

#include "reference/reference.h"

void refCommonSize(const std::vector<TestImage *> &images, int *width, int *height) {
    *width = *height = 0x7FFFFFFF;
    for (const TestImage *image : images) {
        for (const TestImage *each : {image, static_cast<const TestImage *>(image->mask())}) {
            if (!each) continue;
            *width = std::min(*width, each->layout().regionWidth());
            *height = std::min(*height, each->layout().regionHeight());
        }
    }
    if (*width == 0 || *height == 0) *width = *height = 0;
}

bool refHasMask(const std::vector<TestImage *> &images) {
    return std::any_of(images.begin(), images.end(), [](const TestImage *image) { return image->mask() != nullptr; });
}

bool refMaskedIn(const std::vector<TestImage *> &images, int i, int j) {
    for (const TestImage *image : images) {
        const TestImage *mask = image->mask();
        if (mask && !mask->get(0, mask->layout().regionX() + i, mask->layout().regionY() + j)) return false;
    }
    return true;
}

// The region of an image that takes part in a flat run covers it all and names channel 1 of 1.
static bool regionAllowsFlat(const TestLayout &layout) {
    if (!layout.hasRoi) return true;
    return layout.roi.xOffset == 0 && layout.roi.yOffset == 0 && layout.roi.width >= layout.width &&
           layout.roi.height >= layout.height && layout.channels - (layout.roi.coi > 0 ? 1 : 0) == 0;
}

bool refRunsFlat(const std::vector<TestImage *> &images) {
    // Three images are compared by sums: 2 A - B - C. With two, A stands for one more.
    int64_t height = 0, width = 0, size = 0, align = 0;
    for (size_t i = 0; i < images.size(); ++i) {
        const MoxImage &header = *images[i]->header();
        const int64_t factor = i > 0 ? -1 : static_cast<int64_t>(images.size()) - 1;
        height += factor * header.height;
        width += factor * header.width;
        size += factor * header.imageSize;
        align += factor * header.align;
        if (header.maskROI || header.tileInfo || header.alphaChannel || !regionAllowsFlat(images[i]->layout())) {
            return false;
        }
    }
    return height == 0 && width == 0 && size == 0 && align == 0;
}

static uint32_t rawElement(const TestBytes &bytes, size_t offset, size_t sampleBytes) {
    uint32_t value = 0;
    for (size_t i = sampleBytes; i-- > 0;)
        value = value << 8 | bytes[offset + i];
    return value;
}

// One run over the smallest buffer, padding included; what stands in the padding afterwards is nobody's to rely on.
static RefResult flatRun(const RefCall &call, const std::vector<TestImage *> &images) {
    TestImage &destination = *images.back();
    const unsigned depth = destination.layout().depth;
    RefResult result = {destination.bytes(), destination.paddingBits()};
    size_t size = static_cast<size_t>(destination.header()->imageSize);
    for (TestImage *image : images)
        size = std::min(size, static_cast<size_t>(image->header()->imageSize));
    const size_t sampleBytes = std::max<size_t>(1, static_cast<size_t>(destination.layout().bits()) / 8);
    for (size_t i = 0; i + sampleBytes <= size; i += sampleBytes) {
        const uint32_t a = rawElement(images[0]->bytes(), images[0]->dataOffset() + i, sampleBytes);
        const uint32_t b =
            images.size() > 2 ? rawElement(images[1]->bytes(), images[1]->dataOffset() + i, sampleBytes) : 0;
        uint32_t value = 0;
        if (depth == MOX_DEPTH_1U) {
            for (int bit = 0; bit < 8; ++bit)
                value |= refElement(call, depth, a >> bit & 1, b >> bit & 1) << bit;
        } else {
            value = refElement(call, depth, a, b);
        }
        for (size_t byte = 0; byte < sampleBytes; ++byte) {
            result.expected[destination.dataOffset() + i + byte] = static_cast<uint8_t>(value >> 8 * byte);
        }
    }
    for (size_t i = destination.dataOffset() + size; i < result.unspecified.size(); ++i)
        result.unspecified[i] = 0;
    return result;
}

static uint32_t regionSample(const TestImage &image, int channel, int i, int j) {
    return image.get(image.layout().firstChannel() + channel, image.layout().regionX() + i,
                     image.layout().regionY() + j);
}

RefResult refPoint(const RefCall &call, const std::vector<TestImage *> &images) {
    const bool moves = call.op->moves(images[0]->layout().depth);
    if (!moves && refRunsFlat(images)) return flatRun(call, images);
    TestImage &destination = *images.back();
    const TestLayout &layout = destination.layout();
    RefResult result = {destination.bytes(), {}};
    int width, height;
    refCommonSize(images, &width, &height);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            if (!refMaskedIn(images, i, j)) continue;
            for (int channel = 0; channel < layout.channelCount(); ++channel) {
                const uint32_t a = regionSample(*images[0], channel, i, j);
                const uint32_t b = images.size() > 2 ? regionSample(*images[1], channel, i, j) : 0;
                destination.setIn(result.expected, layout.firstChannel() + channel, layout.regionX() + i,
                                  layout.regionY() + j, refElement(call, layout.depth, a, b));
            }
        }
    }
    // A region that names channel 1 of 1 lets whole tiles run flat.
    bool tileRunsFlat = !moves && !refHasMask(images);
    for (TestImage *image : images) {
        const TestLayout &each = image->layout();
        tileRunsFlat = tileRunsFlat && each.channels == 1 && each.alpha == 0 && each.hasRoi && each.roi.coi == 1;
    }
    if (tileRunsFlat && layout.tiled()) result.unspecified = destination.paddingBits();
    return result;
}

TestBytes refSet(TestImage &image, uint32_t value) {
    const TestLayout &layout = image.layout();
    TestBytes expected = image.bytes();
    int width, height;
    refCommonSize({&image}, &width, &height);
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) {
            if (!refMaskedIn({&image}, i, j)) continue;
            for (int channel = 0; channel < layout.channelCount(); ++channel) {
                image.setIn(expected, layout.firstChannel() + channel, layout.regionX() + i, layout.regionY() + j,
                            value);
            }
        }
    }
    return expected;
}

void refExchange(TestImage &image1, TestImage &image2, TestBytes *expected1, TestBytes *expected2) {
    *expected1 = refPoint(refCopy, {&image2, &image1}).expected;
    *expected2 = refPoint(refCopy, {&image1, &image2}).expected;
}

void refRunLibrary(const RefCall &call, const std::vector<TestImage *> &images) {
    refRunLibraryOn(call, images[0]->header(), images[1]->header(), images.back()->header());
}

void refRunLibraryOn(const RefCall &call, MoxImage *a, MoxImage *b, MoxImage *d) {
    call.op->call(call, a, b, d);
}
