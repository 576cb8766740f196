// Images too large for the caches, which are written past them: the result is that of the same call made band by band,
// where no band is large.
#if defined(_WIN32)
#include <windows.h>
#endif

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "mox.h"
#include "support/cases.h"
#include "support/reports.h"
#include "support/scene.h"
#include "table/examples.h"

namespace {

constexpr int BAND = 64;
constexpr size_t SHIFT = 5;  // samples that the pixels begin beyond what the heap returned

// Bytes to copy contents from: all images of the tests begin somewhere in it.
const std::vector<uint8_t> &noise() {
    static const std::vector<uint8_t> bytes = [] {
        Random random(7);
        std::vector<uint8_t> drawn((size_t{1} << 20) + 4096);
        for (uint8_t &byte : drawn)
            byte = static_cast<uint8_t>(random.bits());
        return drawn;
    }();
    return bytes;
}

struct LargeImage {
    std::vector<uint8_t> storage;
    MoxImage image = {};
    MoxROI roi = {};

    LargeImage(unsigned depth, size_t bytes, int which) {
        const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
        image.headerSize = static_cast<int>(sizeof image);
        image.nChannels = 1;
        image.depth = depth;
        image.align = 4;
        image.width = 4099 * 8 / std::min(bits, 8);
        image.widthStep = (image.width * bits / 8 + 4) / 4 * 4;
        image.height = static_cast<int>(bytes / static_cast<size_t>(image.widthStep));
        image.imageSize = image.widthStep * image.height;
        const size_t shift = SHIFT * static_cast<size_t>(std::max(bits / 8, 1));
        storage.resize(static_cast<size_t>(image.imageSize) + shift);
        const std::vector<uint8_t> &from = noise();
        for (size_t at = 0; at < storage.size(); at += from.size() - 4096) {
            const size_t count = std::min(from.size() - 4096, storage.size() - at);
            memcpy(storage.data() + at, from.data() + (at >> 20) % 61 * 61 + static_cast<size_t>(which), count);
        }
    }
    char *pixels() {
        return reinterpret_cast<char *>(storage.data()) + (storage.size() - static_cast<size_t>(image.imageSize));
    }
    // The header for a call; without a width there is no region.
    MoxImage *header(int x, int y, int width, int height) {
        roi = {0, x, y, width, height};
        image.roi = width > 0 ? &roi : nullptr;
        image.imageData = pixels();
        return &image;
    }
};

struct LargeImages {
    std::vector<LargeImage> images;

    LargeImages(const Example &example, unsigned depth) {
        // A little more than what makes them large: of all together, or of a fill.
        const size_t bytes = (example.images == 1 ? size_t{49} : size_t{33}) << 20;
        for (int i = 0; i < example.images; ++i)
            images.emplace_back(depth, bytes / static_cast<size_t>(example.images), i);
    }
    void run(const Example &example, int x, int y, int width, int height) {
        ExampleCall call;
        call.count = example.images;
        for (size_t i = 0; i < images.size(); ++i)
            call.images[i] = images[i].header(x, y, width, height);
        example.run(call);
    }
    void runBands(const Example &example, int x, int width) {
        const int height = images[0].image.height;
        for (int y = 0; y < height; y += BAND)
            run(example, x, y, width, std::min(BAND, height - y));
    }
};

// Windows and dithers store through the caches; they read what they wrote. What takes no regions has no bands.
std::vector<Example> movers() {
    std::vector<Example> found;
    for (const Example &example : allExamples()) {
        if (example.touches == Touches::PIXELS && !example.more.neighbours && !example.more.wholeImages &&
            !example.more.byTiles)
            found.push_back(example);
    }
    return found;
}

class LargeImageOf : public testing::TestWithParam<Example> {};

INSTANTIATE_TEST_SUITE_P(Table, LargeImageOf, testing::ValuesIn(movers()),
                         [](const auto &each) { return std::string(each.param.name); });

bool isAccepted(const Example &example, unsigned depth) {
    LargeImage small[3] = {{depth, 100000, 0}, {depth, 100000, 1}, {depth, 100000, 2}};
    ExampleCall call;
    call.count = example.images;
    for (int i = 0; i < example.images; ++i)
        call.images[i] = small[i].header(0, 0, 0, 0);
    ReportRecorder reports;
    example.run(call);
    return reports.seen.empty();
}

TEST_P(LargeImageOf, anyDepthIsThatOfItsBands) {
    const Example &example = GetParam();
    for (unsigned depth : allDepths) {
        if (!isAccepted(example, depth)) continue;
        SCOPED_TRACE(depthName(depth));
        const LargeImages fresh(example, depth);
        LargeImages banded = fresh;
        const int width = fresh.images[0].image.width;
        banded.runBands(example, 3, width - 10);
        forEachCpuLevel([&] {
            LargeImages whole = fresh;
            ReportRecorder reports;
            whole.run(example, 3, 0, width - 10, whole.images[0].image.height);
            EXPECT_TRUE(reports.none());
            for (size_t i = 0; i < whole.images.size(); ++i)
                ASSERT_TRUE(whole.images[i].storage == banded.images[i].storage) << "image " << i;
        });
        // Without a region the buffers are one run, padding included: the samples within are the same.
        if (example.images == 1) continue;
        LargeImages run = fresh, rows = fresh;
        run.run(example, 0, 0, 0, 0);
        rows.runBands(example, 0, width);
        LargeImage &a = run.images.back(), &b = rows.images.back();
        const int wholeBytes = static_cast<int>(static_cast<int64_t>(width) * (depth & 63) / 8);
        for (int y = 0; y < a.image.height; ++y) {
            const auto at = static_cast<ptrdiff_t>(y) * a.image.widthStep;
            ASSERT_EQ(memcmp(a.pixels() + at, b.pixels() + at, static_cast<size_t>(wholeBytes)), 0) << "row " << y;
        }
    }
}

// Colours change places on their way to and from a bitmap of 24 bits.
TEST(LargeBitmap, hasTheColoursOfTheImage) {
    constexpr int width = 2401, height = 2500, rowBytes = (width * 3 + 3) / 4 * 4;
    std::vector<uint8_t> pixels(size_t{rowBytes} * height), back(pixels.size());
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = noise()[i % noise().size()];
    MoxImage image = {};
    image.headerSize = static_cast<int>(sizeof image);
    image.nChannels = 3;
    image.depth = MOX_DEPTH_8U;
    memcpy(image.channelSeq, "RGB", 4);
    image.align = 4;
    image.width = width;
    image.height = height;
    image.widthStep = rowBytes;
    image.imageSize = rowBytes * height;
    image.imageData = reinterpret_cast<char *>(pixels.data());
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = 24;
    std::vector<uint8_t> dib(pixels.size());
    forEachCpuLevel([&] {
        ReportRecorder reports;
        moxConvertToDIBSep(&image, &header, dib.data(), MOX_DITHER_NONE, MOX_PALCONV_NONE);
        int differing = 0;
        for (int y = 0; y < height; ++y) {
            const uint8_t *from = pixels.data() + size_t{rowBytes} * static_cast<size_t>(y);
            const uint8_t *to = dib.data() + size_t{rowBytes} * static_cast<size_t>(height - 1 - y);
            for (int x = 0; x < 3 * width; x += 3)
                differing += from[x] != to[x + 2] || from[x + 1] != to[x + 1] || from[x + 2] != to[x];
        }
        EXPECT_EQ(differing, 0);
        MoxImage other = image;
        other.imageData = reinterpret_cast<char *>(back.data());
        moxConvertFromDIBSep(&header, dib.data(), &other);
        EXPECT_TRUE(reports.none());
        differing = 0;
        for (int y = 0; y < height; ++y) {
            const size_t at = size_t{rowBytes} * static_cast<size_t>(y);
            differing += memcmp(pixels.data() + at, back.data() + at, size_t{3} * width) != 0;
        }
        EXPECT_EQ(differing, 0);
        std::fill(back.begin(), back.end(), uint8_t{0});
        std::fill(dib.begin(), dib.end(), uint8_t{0});
    });
}

}  // namespace
