// Any header of a bitmap, with the memory that it claims: translated, converted to images of any layout and back, with
// the model's results or a named report. Headers that are to be refused come with no more memory than their own.
#include <cstring>

#include "core/owncpu.h"
#include "dib/dibcheck.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "target.h"

static int drawField(Random &random, int usual) {
    return random.oneIn(24) ? drawInt(random) : usual;
}

static BITMAPINFOHEADER drawHeader(Random &random) {
    static const unsigned short counts[] = {1, 4, 8, 16, 24, 32};
    BITMAPINFOHEADER header = {};
    header.biSize = static_cast<unsigned>(drawField(random, 40));
    header.biPlanes = static_cast<unsigned short>(drawField(random, 1));
    header.biBitCount = static_cast<unsigned short>(drawField(random, counts[random.below(6)]));
    const bool encodes = (header.biBitCount == 8 || header.biBitCount == 4) && random.oneIn(3);
    const bool masks = header.biBitCount >= 16 && random.oneIn(3);
    header.biCompression =
        static_cast<unsigned>(drawField(random, encodes ? (header.biBitCount == 8 ? BI_RLE8 : BI_RLE4)
                                                : masks ? BI_BITFIELDS
                                                        : BI_RGB));
    header.biWidth = drawField(random, random.between(1, random.oneIn(4) ? 200 : 20));
    header.biHeight = drawField(random, random.between(1, 12) * (encodes || random.oneIn(2) ? 1 : -1));
    header.biClrUsed = static_cast<unsigned>(drawField(random, random.oneIn(2) ? 0 : random.between(1, 20)));
    return header;
}

static bool isAccepted(const BITMAPINFOHEADER &header) {
    const unsigned bits = header.biBitCount, compression = header.biCompression;
    if (header.biSize != 40 || header.biPlanes != 1 || compression > 3 || header.biClrUsed > 0x8000) return false;
    if ((bits != 8 && compression == BI_RLE8) || (bits != 4 && compression == BI_RLE4)) return false;
    if (header.biHeight < 0 && (compression == BI_RLE8 || compression == BI_RLE4)) return false;
    if ((bits == 8 && header.biClrUsed > 256) || (bits == 4 && header.biClrUsed > 16)) return false;
    return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

static BitmapShape shapeOf(const BITMAPINFOHEADER &header) {
    BitmapShape shape;
    shape.width = header.biWidth;
    shape.height = header.biHeight;
    shape.bits = header.biBitCount;
    shape.compression = header.biCompression;
    shape.clrUsed = header.biClrUsed;
    return shape;
}

// A header that no function goes beyond, in a block that ends with it or with the palette that it claims.
static void convertRefused(Random &random, const BITMAPINFOHEADER &header, size_t behind) {
    const std::unique_ptr<uint8_t[]> block(new uint8_t[sizeof header + behind]());
    memcpy(block.get(), &header, sizeof header);
    BITMAPINFOHEADER *dib = reinterpret_cast<BITMAPINFOHEADER *>(block.get());
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    const TestBytes before = image.bytes();
    const int kind = random.below(5);
    int flag = random.below(2), flagBefore = flag;
    ReportRecorder reports;
    AllocationWindow window;
    if (kind == 0) requireThat(moxTranslateDIB(dib, &flag) == nullptr, "a bad header is translated");
    if (kind == 1) moxConvertFromDIB(dib, image.header());
    if (kind == 2) moxConvertFromDIBSep(dib, block.get(), image.header());
    if (kind == 3) moxConvertToDIB(image.header(), dib, MOX_DITHER_FS, MOX_PALCONV_NONE);
    if (kind == 4) moxConvertToDIBSep(image.header(), dib, block.get(), MOX_DITHER_FS, MOX_PALCONV_NONE);
    window.close();
    requireThat(window.live() == 0 && flag == flagBefore, "memory or flag after a bad header");
    requireThat(!reports.seen.empty() && moxGetErrStatus() < 0, "a bad header is not reported");
    requireThat(image.holds(before), "a bad header fills an image");
    requireThat(memcmp(block.get(), &header, sizeof header) == 0, "a bad header is written");
}

static std::vector<uint8_t> takeBytes(Random &random, size_t most) {
    std::vector<uint8_t> bytes;
    while (!random.onlyChance() && bytes.size() < most)
        bytes.push_back(static_cast<uint8_t>(random.below(256)));
    return bytes;
}

// Every sample, so that a checker of memory sees those that are not there.
static void readAll(const MoxImage &image) {
    unsigned sum = 0;
    for (int64_t y = 0; y < image.height; ++y) {
        const char *row = image.imageData + y * image.widthStep;
        const int64_t bits = int64_t{image.width} * image.nChannels * static_cast<int>(image.depth);
        for (int64_t i = 0; i < (bits + 7) / 8; ++i)
            sum += static_cast<unsigned char>(row[i]);
    }
    requireThat(sum <= 255u * static_cast<unsigned>(image.imageSize), "a sum of bytes");
}

static void translate(Random &random, TestBitmap &bitmap) {
    int flag = random.below(2);
    const int before = flag;
    ReportRecorder reports;
    AllocationWindow window(random.oneIn(8) ? random.between(1, 4) : 0);
    MoxImage *image = moxTranslateDIB(bitmap.header(), &flag);
    window.close();
    requireThat((image == nullptr) == !reports.seen.empty(),
                "an image with a report, or none without:\n" + reports.text());
    if (!image) {
        requireThat(window.live() == 0 && flag == before, "memory or flag after a failure");
        return;
    }
    requireThat(moxCheckImageHeader(image) == 0, "an image that is not one");
    readAll(*image);
    moxDeallocate(image, flag ? MOX_FreeHeader | MOX_FreeData : MOX_FreeHeader);
    requireThat(window.live() == 0, "memory was not given back");
}

static void convertFrom(Random &random, TestBitmap &bitmap) {
    BitmapShape size = bitmap.shape();
    if (random.oneIn(10)) size.width = random.between(1, 30);
    if (random.oneIn(10)) size.height = random.between(1, 9);
    TestImage image(drawImageFor(random, size), random.next());
    nameChannels(image, drawNames(random, image.layout().channels));
    const TestBytes before = image.bytes();
    const RefBitmap picture = bitmap.picture();
    ReportRecorder reports;
    AllocationWindow window(random.oneIn(8) ? random.between(1, 4) : 0);
    bitmap.convertFrom(image.header());
    window.close();
    requireThat(window.live() == 0, "memory was not given back");
    requireThat(bitmap.isUntouched(), "the bitmap is written");
    requireThat(image.headerIsUntouched(), "the header is written");
    if (!reports.seen.empty()) {
        requireThat(image.holds(before), "an image is filled in spite of\n" + reports.text());
        return;
    }
    requireThat(size.width == bitmap.shape().width && size.rows() == bitmap.shape().rows(), "sizes differ");
    const bool encoded = bitmap.shape().compression == BI_RLE8 || bitmap.shape().compression == BI_RLE4;
    if (!encoded && bitmap.masksAreTold())
        requireThat(image.holds(refFromBitmap(picture, image).expected), bitmap.shape().describe());
}

static void convertTo(Random &random, TestBitmap &bitmap) {
    TestLayout layout = drawImageFor(random, bitmap.shape());
    if (random.oneIn(4)) {
        layout.extraStride = 0;
        layout.tileWidth = layout.tileHeight = 8;
    }
    TestImage image(layout, random.next());
    nameChannels(image, drawNames(random, layout.channels));
    const TestBytes before = image.bytes();
    const int dither = 1 << random.below(5), conversion = random.below(3);
    ReportRecorder reports;
    AllocationWindow window(random.oneIn(8) ? random.between(1, 9) : 0);
    bitmap.convertTo(image.header(), dither, conversion);
    window.close();
    image.abandonTiles();
    requireThat(window.live() == 0, "memory was not given back");
    requireThat(image.holds(before), "the image is written");
    requireThat(image.headerIsUntouched(), "the header is written");
    requireThat(bitmap.guardsAreUntouched(), bitmap.shape().describe());
    if (!reports.seen.empty() || window.refused() || bitmap.header()->biCompression == BI_RLE8 ||
        bitmap.header()->biCompression == BI_RLE4 || !bitmap.masksAreTold()) {
        return;
    }
    requireThat(bitmap.holds(refToBitmap(image, bitmap.picture(), dither)), image.layout().describe());
}

static uint32_t drawMask(Random &random, int bits, int which) {
    if (random.oneIn(8)) return random.bits() & (bits == 16 ? 0xFFFF : 0xFFFFFFFF);
    if (random.oneIn(8))
        return ((1u << random.between(1, bits - 1)) - 1) << random.below(bits) & (bits == 16 ? 0xFFFF : 0xFFFFFFFF);
    return bits == 16 ? 0x1Fu << 5 * which : 0xFFu << 8 * which;
}

void fuzzOne(Random &random) {
    ownForceCpuLevel(static_cast<OwnCpuLevel>(random.below(OWN_LEVELS)));
    const BITMAPINFOHEADER header = drawHeader(random);
    if (!isAccepted(header)) return convertRefused(random, header, 0);
    BitmapShape shape = shapeOf(header);
    if (header.biWidth <= 0 || header.biHeight == 0 || header.biHeight < -0x7FFFFFFF) {
        return convertRefused(random, header, 12 + 4 * static_cast<size_t>(shape.colours()));
    }
    // What is too much for a quick test.
    if (int64_t{header.biWidth} * shape.rows() > 20000) return;
    if (shape.hasMasks()) {
        for (int i = 0; i < 3; ++i)
            shape.masks.push_back(drawMask(random, shape.bits, i));
    }
    const bool encoded = shape.compression == BI_RLE8 || shape.compression == BI_RLE4;
    const int action = random.below(3);
    const bool separate = action != 0 && random.oneIn(2);
    if (action == 2 && shape.bits <= 8 && random.oneIn(2)) shape.clrUsed = 0;
    const std::vector<uint8_t> bytes = takeBytes(random, 20000);
    if (encoded && action != 2) {
        if (bytes.empty()) return;
        TestBitmap bitmap(shape, 1, separate, static_cast<int>(bytes.size()));
        if (action == 0 && shape.colours() > 1 && bytes[0] & 1) bitmap.setGrayRamp();
        bitmap.setStream(bytes);
        action == 0 ? translate(random, bitmap) : convertFrom(random, bitmap);
        return;
    }
    TestBitmap bitmap(shape, 1, separate);
    if (!bytes.empty() && bytes[0] & 1 && shape.bits <= 8 && shape.colours() > 1) bitmap.setGrayRamp();
    for (size_t i = 0; i < bytes.size() && static_cast<int>(i) < bitmap.pixelBytes(); ++i)
        bitmap.pixels()[i] = bytes[i];
    bitmap.keep();
    if (action == 0) translate(random, bitmap);
    if (action == 1) convertFrom(random, bitmap);
    // Median cut needs room for all entries.
    if (action == 2 && (shape.bits > 8 || shape.colours() >= 1 << shape.bits)) convertTo(random, bitmap);
}
