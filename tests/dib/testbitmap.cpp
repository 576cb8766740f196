// Bitmaps in memory.
#include "dib/testbitmap.h"

#include <algorithm>
#include <cstring>

#if defined(__SANITIZE_ADDRESS__)
#define BLOCK_ENDS_WITH_GUARD 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define BLOCK_ENDS_WITH_GUARD 0
#endif
#endif
#ifndef BLOCK_ENDS_WITH_GUARD
#define BLOCK_ENDS_WITH_GUARD 1
#endif

static constexpr size_t GUARD = 64;
static constexpr size_t HEADER = 40;

int BitmapShape::colours() const {
    if (clrUsed != 0) return static_cast<int>(clrUsed);
    if (bits <= 8) return 1 << bits;
    return 0;
}

std::string BitmapShape::describe() const {
    return "bitmap " + std::to_string(width) + "x" + std::to_string(height) + " bits " + std::to_string(bits) +
           " compression " + std::to_string(compression) + " clrUsed " + std::to_string(clrUsed);
}

TestBitmap::TestBitmap(const BitmapShape &shape, uint64_t seed, bool separate, int pixelBytes)
    : shape_(shape), separate_(separate), pixelBytes_(pixelBytes < 0 ? shape.rowBytes() * shape.rows() : pixelBytes) {
    const size_t head = HEADER + 4 * static_cast<size_t>(shape.colours()) + (shape.hasMasks() ? 12 : 0),
                 size = static_cast<size_t>(pixelBytes_);
    const size_t end = BLOCK_ENDS_WITH_GUARD ? GUARD : 0;
    front_.resize(GUARD + head + (separate ? 0 : size) + end);
    if (separate) back_.resize(GUARD + size + end);
    Random random(seed ^ 0xB17B17);
    for (std::vector<uint8_t> *block : {&front_, &back_}) {
        for (uint8_t &byte : *block)
            byte = static_cast<uint8_t>(random.bits());
    }
    BITMAPINFOHEADER &fields = *header();
    memset(&fields, 0, HEADER);
    fields.biSize = HEADER;
    fields.biWidth = shape.width;
    fields.biHeight = shape.height;
    fields.biPlanes = 1;
    fields.biBitCount = static_cast<unsigned short>(shape.bits);
    fields.biCompression = shape.compression;
    fields.biClrUsed = shape.clrUsed;
    if (shape.hasMasks()) memcpy(front_.data() + GUARD + HEADER, shape.masks.data(), 12);
    // Colours do not depend on the guards.
    Random colours(seed);
    for (int i = 0; i < shape.colours(); ++i)
        setColour(i, colours.bits() & 0xFFFFFF);
    keep();
}

BITMAPINFOHEADER *TestBitmap::header() {
    return reinterpret_cast<BITMAPINFOHEADER *>(front_.data() + GUARD);
}

uint8_t *TestBitmap::paletteBytes() {
    return front_.data() + GUARD + HEADER + (shape_.hasMasks() ? 12 : 0);
}

int TestBitmap::coloursNow() {
    BitmapShape now = shape_;
    now.clrUsed = header()->biClrUsed;
    return now.colours();
}

uint8_t *TestBitmap::pixels() {
    return separate_ ? back_.data() + GUARD : paletteBytes() + 4 * static_cast<ptrdiff_t>(coloursNow());
}

RefPalette TestBitmap::palette() {
    RefPalette palette;
    for (int i = 0; i < coloursNow(); ++i)
        palette.push_back(colour(i));
    return palette;
}

std::vector<uint32_t> TestBitmap::masksNow() {
    std::vector<uint32_t> masks(3);
    if (shape_.hasMasks()) memcpy(masks.data(), front_.data() + GUARD + HEADER, 12);
    return masks;
}

static bool isRun(uint32_t mask) {
    return mask != 0 && ((mask + (mask & (0 - mask))) & mask) == 0;
}

// Three separate runs of bits.
static bool masksAreGood(const std::vector<uint32_t> &masks) {
    return isRun(masks[0]) && isRun(masks[1]) && isRun(masks[2]) && !(masks[0] & masks[1]) && !(masks[0] & masks[2]) &&
           !(masks[1] & masks[2]);
}

bool TestBitmap::masksAreTold() {
    const std::vector<uint32_t> masks = masksNow();
    if (!shape_.hasMasks() || shape_.bits == 16 || !masksAreGood(masks)) return true;
    const uint32_t rest = ~(masks[0] | masks[1] | masks[2]);
    return rest == 0 || isRun(rest);
}

RefBitmap TestBitmap::picture() {
    RefBitmap picture;
    picture.width = shape_.width;
    picture.rows = shape_.rows();
    picture.topDown = shape_.height < 0;
    picture.bits = shape_.bits;
    if (shape_.bits <= 8) picture.palette = palette();
    picture.setUsualMasks();
    const std::vector<uint32_t> masks = masksNow();
    if (shape_.hasMasks() && masksAreGood(masks)) {
        picture.masks[3] = shape_.bits == 32 ? ~(masks[0] | masks[1] | masks[2]) : 0;
        std::copy(masks.begin(), masks.end(), picture.masks);
    }
    if (pixelBytes_ < shape_.rowBytes() * shape_.rows()) return picture;
    for (int row = 0; row < picture.rows; ++row) {
        for (int x = 0; x < picture.width; ++x)
            picture.pixels.push_back(get(x, row));
    }
    return picture;
}

std::vector<uint8_t> TestBitmap::pixelsSeen() {
    return {pixels(), pixels() + pixelBytes_};
}

uint32_t TestBitmap::colour(int index) {
    const uint8_t *entry = paletteBytes() + 4 * static_cast<ptrdiff_t>(index);
    return static_cast<uint32_t>(entry[0] | entry[1] << 8 | entry[2] << 16);
}

void TestBitmap::setColour(int index, uint32_t rgb, uint8_t fourth) {
    uint8_t *entry = paletteBytes() + 4 * static_cast<ptrdiff_t>(index);
    entry[0] = static_cast<uint8_t>(rgb);
    entry[1] = static_cast<uint8_t>(rgb >> 8);
    entry[2] = static_cast<uint8_t>(rgb >> 16);
    entry[3] = fourth;
}

void TestBitmap::setColours(const std::vector<uint32_t> &colours) {
    for (size_t i = 0; i < colours.size(); ++i)
        setColour(static_cast<int>(i), colours[i]);
}

void TestBitmap::setGrayRamp() {
    const int count = shape_.colours();
    for (int i = 0; i < count; ++i)
        setColour(i, static_cast<uint32_t>(i * 255 / (count - 1)) * 0x010101);
}

uint32_t TestBitmap::get(int x, int row) {
    const uint8_t *line = pixels() + static_cast<ptrdiff_t>(row) * shape_.rowBytes();
    if (shape_.bits < 8) {
        const int bit = x * shape_.bits;
        return static_cast<uint32_t>(line[bit / 8] >> (8 - shape_.bits - bit % 8)) & ((1u << shape_.bits) - 1);
    }
    uint32_t value = 0;
    const int bytes = shape_.bits / 8;
    for (int i = bytes; i-- > 0;)
        value = value << 8 | line[x * bytes + i];
    return value;
}

void TestBitmap::set(int x, int row, uint32_t value) {
    uint8_t *line = pixels() + static_cast<ptrdiff_t>(row) * shape_.rowBytes();
    if (shape_.bits < 8) {
        const int bit = x * shape_.bits, shift = 8 - shape_.bits - bit % 8, mask = (1 << shape_.bits) - 1;
        line[bit / 8] =
            static_cast<uint8_t>((line[bit / 8] & ~(mask << shift)) | (static_cast<int>(value) & mask) << shift);
        return;
    }
    const int bytes = shape_.bits / 8;
    for (int i = 0; i < bytes; ++i)
        line[x * bytes + i] = static_cast<uint8_t>(value >> 8 * i);
}

void TestBitmap::drawPixels(uint64_t seed) {
    Random random(seed);
    const uint32_t indices = static_cast<uint32_t>(shape_.bits <= 8 ? shape_.colours() : 0);
    for (int row = 0; row < shape_.rows(); ++row) {
        for (int x = 0; x < shape_.width; ++x)
            set(x, row, indices ? random.bits() % indices : random.bits());
    }
}

void TestBitmap::setStream(const std::vector<uint8_t> &stream, bool sized) {
    std::copy(stream.begin(), stream.end(), pixels());
    header()->biSizeImage = sized ? static_cast<unsigned>(stream.size()) : 0;
    keep();
}

void TestBitmap::keep() {
    keptFront_ = front_;
    keptBack_ = back_;
}

static testing::AssertionResult isSame(const std::vector<uint8_t> &now, const std::vector<uint8_t> &before,
                                       size_t first, size_t end) {
    for (size_t i = first; i < end && i < now.size(); ++i) {
        if (now[i] == before[i]) continue;
        return testing::AssertionFailure() << "byte " << static_cast<int64_t>(i) - static_cast<int64_t>(GUARD)
                                           << " of the bitmap was " << int{before[i]} << " and is " << int{now[i]};
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult TestBitmap::isUntouched() {
    testing::AssertionResult result = isSame(front_, keptFront_, 0, front_.size());
    return result ? isSame(back_, keptBack_, 0, back_.size()) : result;
}

testing::AssertionResult TestBitmap::guardsAreUntouched() {
    const size_t end = BLOCK_ENDS_WITH_GUARD ? GUARD : 0;
    for (std::vector<uint8_t> *block : {&front_, &back_}) {
        if (block->empty()) continue;
        const std::vector<uint8_t> &kept = block == &front_ ? keptFront_ : keptBack_;
        testing::AssertionResult result = isSame(*block, kept, 0, GUARD);
        if (result) result = isSame(*block, kept, block->size() - end, block->size());
        if (!result) return result;
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult TestBitmap::holds(const std::vector<uint32_t> &wanted) {
    const std::vector<uint8_t> seen = pixelsSeen();
    std::fill(pixels(), pixels() + pixelBytes_, uint8_t{0});
    for (int row = 0; row < shape_.rows(); ++row) {
        for (int x = 0; x < shape_.width; ++x) {
            set(x, row, wanted[static_cast<size_t>(row) * static_cast<size_t>(shape_.width) + static_cast<size_t>(x)]);
        }
    }
    const std::vector<uint8_t> expected = pixelsSeen();
    std::copy(seen.begin(), seen.end(), pixels());
    for (size_t i = 0; i < seen.size(); ++i) {
        if (seen[i] == expected[i]) continue;
        const int rowBytes = shape_.rowBytes(), byte = static_cast<int>(i);
        return testing::AssertionFailure()
               << "byte " << byte % rowBytes << " of row " << byte / rowBytes << " is " << int{seen[i]} << ", expected "
               << int{expected[i]} << " in " << shape_.describe();
    }
    return guardsAreUntouched();
}

void TestBitmap::convertTo(MoxImage *image, int dither, int paletteConversion) {
    if (separate_) {
        moxConvertToDIBSep(image, header(), pixels(), dither, paletteConversion);
    } else {
        moxConvertToDIB(image, header(), dither, paletteConversion);
    }
}

void TestBitmap::convertFrom(MoxImage *image) {
    if (separate_) {
        moxConvertFromDIBSep(header(), pixels(), image);
    } else {
        moxConvertFromDIB(header(), image);
    }
}
