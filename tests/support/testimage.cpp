// Images from a description of their layout.
#include "support/testimage.h"

#include <algorithm>
#include <cstring>

#include "support/allocations.h"
#include "support/tilelog.h"

static constexpr size_t GUARD = 64;

TestLayout TestLayout::of(unsigned depth, int width, int height, int channels, int order) {
    TestLayout layout;
    layout.depth = depth;
    layout.width = width;
    layout.height = height;
    layout.channels = channels;
    layout.order = order;
    return layout;
}

static int clippedSize(int64_t imageSize, int64_t offset, int64_t size) {
    return static_cast<int>(std::max<int64_t>(0, std::min(size, imageSize - offset)));
}

int TestLayout::regionWidth() const {
    return hasRoi ? clippedSize(width, roi.xOffset, roi.width) : width;
}
int TestLayout::regionHeight() const {
    return hasRoi ? clippedSize(height, roi.yOffset, roi.height) : height;
}

std::string TestLayout::describe() const {
    std::string text = std::to_string(width) + "x" + std::to_string(height) + " " + std::to_string(bits()) +
                       (depth & MOX_DEPTH_SIGN   ? "S"
                        : depth == MOX_DEPTH_32F ? "F"
                                                 : "U") +
                       " ch " + std::to_string(channels) + (alpha ? " alpha" : "") + (order ? " plane" : " pixel") +
                       " align " + std::to_string(align);
    if (extraStride) text += " stride+" + std::to_string(extraStride);
    if (dataShift) text += " shift " + std::to_string(dataShift);
    if (origin) text += " bottom";
    if (hasRoi) {
        text += " roi coi " + std::to_string(roi.coi) + " at " + std::to_string(roi.xOffset) + "," +
                std::to_string(roi.yOffset) + " " + std::to_string(roi.width) + "x" + std::to_string(roi.height);
    }
    if (tiled()) {
        text += " tiles " + std::to_string(tileWidth) + "x" + std::to_string(tileHeight);
        if (transientTiles) text += " transient";
    }
    return text;
}

static int64_t rowBytes(const TestLayout &layout, int64_t width) {
    const int64_t bits = width * layout.bits() * (layout.order == MOX_DATA_ORDER_PIXEL ? layout.channels : 1);
    const int64_t unit = layout.align * 8;
    return (bits + unit - 1) / unit * unit / 8;
}

TestImage::TestImage(const TestLayout &layout, uint64_t seed) : layout_(layout) {
    const int planes = layout.order == MOX_DATA_ORDER_PLANE ? layout.channels : 1;
    header_.headerSize = static_cast<int>(sizeof(MoxImage));
    header_.nChannels = layout.channels;
    header_.alphaChannel = layout.alpha;
    header_.depth = layout.depth;
    memcpy(header_.colorModel, "GRAY", 4);
    memcpy(header_.channelSeq, "G\0\0", 4);
    header_.dataOrder = layout.order;
    header_.origin = layout.origin;
    header_.align = layout.align;
    header_.width = layout.width;
    header_.height = layout.height;
    header_.imageId = this;
    header_.widthStep = static_cast<int>(rowBytes(layout, layout.width)) + (layout.tiled() ? 0 : layout.extraStride);
    header_.imageSize = header_.widthStep * layout.height * planes;
    for (int side = 0; side < 4; ++side) {
        header_.borderMode[side] = layout.borderMode[side];
        header_.borderConst[side] = layout.borderConst[side];
    }
    roi_ = layout.roi;
    if (layout.hasRoi) header_.roi = &roi_;

    widthStep_ = layout.tiled() ? rowBytes(layout, layout.tileWidth) : header_.widthStep;
    planeBytes_ = widthStep_ * (layout.tiled() ? layout.tileHeight : layout.height);
    tileBytes_ = planeBytes_ * planes;
    tileStep_ = (tileBytes_ + static_cast<int64_t>(GUARD) + 31) / 32 * 32;
    const int64_t tiles = layout.tiled() ? int64_t{tileColumns()} * tileRows() : 1;
    storage_.resize(static_cast<size_t>(tileStep_ * tiles) + 2 * GUARD + 64);
    const size_t base = reinterpret_cast<uintptr_t>(storage_.data()) % 32;
    dataOffset_ = GUARD + (32 - base) % 32 + static_cast<size_t>(layout.dataShift);
    if (layout.tiled()) {
        tileInfo_.callBack = serve;
        tileInfo_.id = this;
        tileInfo_.width = layout.tileWidth;
        tileInfo_.height = layout.tileHeight;
        header_.tileInfo = &tileInfo_;
    } else {
        header_.imageData = reinterpret_cast<char *>(storage_.data() + dataOffset_);
    }

    Random random(seed ^ 0x5EED5EED5EED5EEDu);
    for (uint8_t &byte : storage_)
        byte = static_cast<uint8_t>(random.bits());
    drawSamples(seed);
    keepHeader();
}

void TestImage::keepHeader() {
    kept_ = header_;
    keptRoi_ = roi_;
    keptTileInfo_ = tileInfo_;
}

testing::AssertionResult TestImage::headerIsUntouched() const {
    MoxTileInfo tileInfo = tileInfo_;
    tileInfo.tileData = keptTileInfo_.tileData;
    if (memcmp(&header_, &kept_, sizeof header_) != 0) {
        return testing::AssertionFailure() << "header changed: " << layout_.describe();
    }
    if (memcmp(&roi_, &keptRoi_, sizeof roi_) != 0) {
        return testing::AssertionFailure() << "region record changed: " << layout_.describe();
    }
    if (memcmp(&tileInfo, &keptTileInfo_, sizeof tileInfo) != 0) {
        return testing::AssertionFailure() << "tile record changed: " << layout_.describe();
    }
    return testing::AssertionSuccess();
}

void TestImage::setMask(TestImage *mask) {
    mask_ = mask;
    header_.maskROI = mask ? mask->header() : nullptr;
    keepHeader();
}

int TestImage::tileColumns() const {
    return (layout_.width + layout_.tileWidth - 1) / layout_.tileWidth;
}
int TestImage::tileRows() const {
    return (layout_.height + layout_.tileHeight - 1) / layout_.tileHeight;
}

size_t TestImage::tileOffset(int column, int row) const {
    return dataOffset_ + static_cast<size_t>(tileStep_ * (int64_t{row} * tileColumns() + column));
}

char *TestImage::tileAddress(int column, int row) {
    return reinterpret_cast<char *>(storage_.data() + tileOffset(column, row));
}

int64_t TestImage::bitOf(int channel, int x, int y) const {
    int64_t offset = static_cast<int64_t>(dataOffset_);
    int64_t column = x, row = y;
    if (layout_.tiled()) {
        offset = static_cast<int64_t>(tileOffset(x / layout_.tileWidth, y / layout_.tileHeight));
        column = x % layout_.tileWidth;
        row = y % layout_.tileHeight;
    }
    offset += row * widthStep_;
    if (layout_.order == MOX_DATA_ORDER_PLANE) return (offset + channel * planeBytes_) * 8 + column * layout_.bits();
    return offset * 8 + (column * layout_.channels + channel) * layout_.bits();
}

uint32_t TestImage::getIn(const TestBytes &bytes, int channel, int x, int y) const {
    const int64_t bit = bitOf(channel, x, y);
    const size_t byte = static_cast<size_t>(bit / 8);
    if (layout_.bits() == 1) return bytes[byte] >> (7 - bit % 8) & 1;
    uint32_t value = 0;
    for (int i = layout_.bits() / 8 - 1; i >= 0; --i)
        value = value << 8 | bytes[byte + static_cast<size_t>(i)];
    return value;
}

void TestImage::setIn(TestBytes &bytes, int channel, int x, int y, uint32_t value) const {
    const int64_t bit = bitOf(channel, x, y);
    const size_t byte = static_cast<size_t>(bit / 8);
    if (layout_.bits() == 1) {
        const uint8_t one = static_cast<uint8_t>(0x80 >> bit % 8);
        bytes[byte] = static_cast<uint8_t>(value & 1 ? bytes[byte] | one : bytes[byte] & ~one);
        return;
    }
    for (int i = 0; i < layout_.bits() / 8; ++i) {
        bytes[byte + static_cast<size_t>(i)] = static_cast<uint8_t>(value >> 8 * i);
    }
}

void TestImage::setAll(uint32_t value) {
    for (int y = 0; y < layout_.height; ++y) {
        for (int x = 0; x < layout_.width; ++x) {
            for (int channel = 0; channel < layout_.channels; ++channel)
                set(channel, x, y, value);
        }
    }
}

void TestImage::drawSamples(uint64_t seed) {
    Random random(seed);
    for (int y = 0; y < layout_.height; ++y) {
        for (int x = 0; x < layout_.width; ++x) {
            for (int channel = 0; channel < layout_.channels; ++channel) {
                set(channel, x, y, drawSample(random, layout_.depth));
            }
        }
    }
}

TestBytes TestImage::sampleBits() const {
    TestBytes bits(storage_.size());
    for (int y = 0; y < layout_.height; ++y) {
        for (int x = 0; x < layout_.width; ++x) {
            for (int channel = 0; channel < layout_.channels; ++channel)
                setIn(bits, channel, x, y, 0xFFFFFFFF);
        }
    }
    return bits;
}

TestBytes TestImage::paddingBits() const {
    TestBytes bits = sampleBits();
    const size_t tiles = layout_.tiled() ? static_cast<size_t>(tileColumns()) * static_cast<size_t>(tileRows()) : 1;
    for (size_t i = 0; i < bits.size(); ++i) {
        const size_t inData = i < dataOffset_ ? bits.size() : i - dataOffset_;
        const bool pixels = inData / static_cast<size_t>(tileStep_) < tiles &&
                            inData % static_cast<size_t>(tileStep_) < static_cast<size_t>(tileBytes_);
        bits[i] = pixels ? static_cast<uint8_t>(~bits[i]) : uint8_t{0};
    }
    return bits;
}

std::string TestImage::placeOf(size_t byte, int bit) const {
    const int64_t place = static_cast<int64_t>(byte) * 8 + bit;
    for (int y = 0; y < layout_.height; ++y) {
        for (int x = 0; x < layout_.width; ++x) {
            for (int channel = 0; channel < layout_.channels; ++channel) {
                const int64_t first = bitOf(channel, x, y);
                if (place >= first && place < first + layout_.bits()) {
                    return "channel " + std::to_string(channel) + " of (" + std::to_string(x) + ", " +
                           std::to_string(y) + ")";
                }
            }
        }
    }
    return (paddingBits()[byte] >> (7 - bit) & 1 ? "padding at byte " : "guard at byte ") +
           std::to_string(static_cast<int64_t>(byte) - static_cast<int64_t>(dataOffset_));
}

testing::AssertionResult TestImage::holds(const TestBytes &expected, const TestBytes &unspecified) const {
    if (storage_ == expected) return testing::AssertionSuccess();
    for (size_t i = 0; i < storage_.size(); ++i) {
        const int differ = (storage_[i] ^ expected[i]) & ~(unspecified.empty() ? 0 : unspecified[i]) & 0xFF;
        if (differ == 0) continue;
        int bit = 0;
        while (!(differ & 0x80 >> bit))
            ++bit;
        char values[64];
        snprintf(values, sizeof values, "byte is 0x%02X, expected 0x%02X", storage_[i], expected[i]);
        return testing::AssertionFailure() << placeOf(i, bit) << ": " << values << " in " << layout_.describe();
    }
    return testing::AssertionSuccess();
}

int MOX_CALL TestImage::serve(MoxImage *image, int column, int row, int mode) {
    AllocationPause pause;
    TileLog *log = TileLog::current();
    TestImage *self = static_cast<TestImage *>(image->imageId);
    auto fault = [&](const std::string &text) {
        if (log) {
            log->faults.push_back(text);
        } else {
            ADD_FAILURE() << text;
        }
    };
    if (image != &self->header_) fault("the callback got a header that is not the caller's");
    if (column < 0 || row < 0 || column >= self->tileColumns() || row >= self->tileRows()) {
        fault("tile " + std::to_string(column) + "," + std::to_string(row) + " is not of the grid");
        self->tileInfo_.tileData = nullptr;
        return 0;
    }
    if (mode != MOX_TileRead && mode != MOX_TileWrite && mode != MOX_TileRelease) fault("unknown mode");
    const bool refuse = log && log->note(self, mode, column, row);
    if (mode == MOX_TileRelease) {
        const size_t before = self->held_.size();
        self->takeTile(column, row);
        if (self->held_.size() == before) fault("a tile was released that was not in hand, or at another address");
        // Nobody may rely on tileData after a release.
        self->tileInfo_.tileData = nullptr;
    } else if (refuse) {
        self->tileInfo_.tileData = nullptr;
    } else {
        self->giveTile(column, row, mode);
    }
    return -1;  // means nothing
}

void TestImage::giveTile(int column, int row, int mode) {
    HeldTile tile = {column, row, mode, tileAddress(column, row), nullptr, {}};
    const uint8_t *data = storage_.data() + tileOffset(column, row);
    tile.given.assign(data, data + tileBytes_);
    if (layout_.transientTiles) {
        tile.buffer.reset(new char[static_cast<size_t>(tileBytes_)]);
        memcpy(tile.buffer.get(), data, static_cast<size_t>(tileBytes_));
        tile.address = tile.buffer.get();
    }
    tileInfo_.tileData = tile.address;
    held_.push_back(std::move(tile));
}

void TestImage::takeTile(int column, int row) {
    for (size_t i = 0; i < held_.size(); ++i) {
        if (held_[i].column == column && held_[i].row == row && held_[i].address == tileInfo_.tileData) {
            finishTile(held_[i]);
            if (held_[i].buffer) memset(held_[i].buffer.get(), 0xDB, static_cast<size_t>(tileBytes_));
            held_.erase(held_.begin() + static_cast<std::ptrdiff_t>(i));
            return;
        }
    }
}

void TestImage::finishTile(const HeldTile &tile) {
    if (tile.mode == MOX_TileRead && memcmp(tile.address, tile.given.data(), tile.given.size()) != 0 &&
        layout_.transientTiles) {
        ADD_FAILURE() << "a tile was requested for reading and written: " << layout_.describe();
    }
    if (tile.mode == MOX_TileWrite && tile.buffer) {
        memcpy(storage_.data() + tileOffset(tile.column, tile.row), tile.address, static_cast<size_t>(tileBytes_));
    }
}

void TestImage::abandonTiles() {
    for (const HeldTile &tile : held_)
        finishTile(tile);
    held_.clear();
}
