// Bitmap files made and taken apart for tests.
#include "bitmapfile.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

void put(std::string *bytes, std::uint32_t value, int count = 4) {
    for (int i = 0; i < count; i++)
        *bytes += static_cast<char>(value >> 8 * i & 255);
}

std::uint32_t get(const std::string &bytes, std::size_t at, int count = 4) {
    std::uint32_t value = 0;
    for (int i = 0; i < count; i++)
        value |= std::uint32_t{static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)])} << 8 * i;
    return value;
}

std::size_t rowBytes(int width, int bits) {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bits) + 31) / 32 * 4;
}

// Row y of the file, counted from its first.
std::string packedRow(const BitmapFile &file, int y) {
    const int rows = std::abs(file.height);
    const int pictureRow = file.height > 0 ? rows - 1 - y : y;
    std::string row;
    unsigned byte = 0;
    int filled = 0;
    for (int x = 0; x < file.width; x++) {
        const std::uint32_t word = file.words[static_cast<std::size_t>(pictureRow * file.width + x)];
        if (file.bits >= 8) {
            put(&row, word, file.bits / 8);
            continue;
        }
        byte = byte << file.bits | word;
        filled += file.bits;
        if (filled < 8) continue;
        row += static_cast<char>(byte & 255);
        filled = 0;
    }
    if (filled > 0) row += static_cast<char>(byte << (8 - filled) & 255);
    row.resize(rowBytes(file.width, file.bits), '\0');
    return row;
}

std::string pixels(const BitmapFile &file) {
    std::string bytes;
    for (const int byte : file.stream)
        bytes += static_cast<char>(byte);
    if (!file.stream.empty()) return bytes;
    for (int y = 0; y < std::abs(file.height); y++)
        bytes += packedRow(file, y);
    return bytes;
}

// What a stream leaves, row by row from the bottom.
class Decoder {
  public:
    explicit Decoder(const BitmapFile &file)
        : file_(file), decoded_(static_cast<std::size_t>(file.width * file.height)) {}

    std::vector<int> run() {
        std::size_t at = 0;
        while (at + 1 < file_.stream.size()) {
            const int count = file_.stream[at], value = file_.stream[at + 1];
            at += 2;
            if (count > 0) {
                for (int i = 0; i < count; i++)
                    pixel(file_.bits == 8 ? value : i % 2 == 0 ? value >> 4 : value & 15);
            } else if (value >= 3) {
                for (int i = 0; i < value; i++)
                    pixel(literal(at, i));
                const int bytes = file_.bits == 8 ? value : (value + 1) / 2;
                at += static_cast<std::size_t>(bytes + bytes % 2);
            } else if (value == 0) {
                EXPECT_EQ(x_, file_.width);
                x_ = 0;
                y_++;
            } else {
                EXPECT_EQ(value, 1) << "a delta";
                EXPECT_EQ(at, file_.stream.size());
                EXPECT_GE(y_, file_.height - 1);
                return decoded_;
            }
        }
        ADD_FAILURE() << "the stream has no end";
        return decoded_;
    }

  private:
    [[nodiscard]] int literal(std::size_t at, int i) const {
        if (file_.bits == 8) return file_.stream[at + static_cast<std::size_t>(i)];
        const int byte = file_.stream[at + static_cast<std::size_t>(i / 2)];
        return i % 2 == 0 ? byte >> 4 : byte & 15;
    }

    void pixel(int value) {
        ASSERT_LT(x_, file_.width);
        ASSERT_LT(y_, file_.height);
        decoded_[static_cast<std::size_t>((file_.height - 1 - y_) * file_.width + x_)] = value;
        x_++;
    }

    const BitmapFile &file_;
    std::vector<int> decoded_;
    int x_ = 0, y_ = 0;
};

}  // namespace

void BitmapFile::setIndices(const std::vector<int> &indices) {
    words.assign(indices.begin(), indices.end());
}

void BitmapFile::setSamples(const std::vector<std::uint16_t> &samples) {
    const auto channels = static_cast<std::size_t>(bits / 8);
    words.clear();
    for (std::size_t i = 0; i < samples.size(); i += channels) {
        std::uint32_t word = std::uint32_t{samples[i]} << 16 | std::uint32_t{samples[i + 1]} << 8 | samples[i + 2];
        if (channels == 4) word |= std::uint32_t{samples[i + 3]} << 24;
        words.push_back(word);
    }
}

std::string BitmapFile::bytes() const {
    const std::string data = pixels(*this);
    const bool masksBehind = compression == 3 && headerSize == 40;
    const std::size_t before = 14 + static_cast<std::size_t>(headerSize) + (masksBehind ? 12 : 0) + 4 * palette.size();
    std::string file = "BM";
    put(&file, static_cast<std::uint32_t>(before + data.size()));
    put(&file, 0);
    put(&file, static_cast<std::uint32_t>(before));
    put(&file, static_cast<std::uint32_t>(headerSize));
    put(&file, static_cast<std::uint32_t>(width));
    put(&file, static_cast<std::uint32_t>(height));
    put(&file, 1, 2);
    put(&file, static_cast<std::uint32_t>(bits), 2);
    put(&file, static_cast<std::uint32_t>(compression));
    put(&file, static_cast<std::uint32_t>(data.size()));
    put(&file, 2835);
    put(&file, 2835);
    put(&file, static_cast<std::uint32_t>(palette.size()));
    put(&file, 0);
    for (const std::uint32_t mask : masks)
        put(&file, mask);
    file.resize(before - 4 * palette.size(), '\0');
    for (const std::uint32_t color : palette)
        put(&file, color);
    return file + data;
}

std::vector<int> BitmapFile::indices() const {
    if (!stream.empty()) return Decoder(*this).run();
    return {words.begin(), words.end()};
}

BitmapFile parseBitmap(const std::string &bytes) {
    BitmapFile file;
    EXPECT_GE(bytes.size(), 54u);
    if (bytes.size() < 54) return file;
    EXPECT_EQ(bytes.substr(0, 2), "BM");
    EXPECT_EQ(get(bytes, 2), bytes.size());
    EXPECT_EQ(get(bytes, 6), 0u);
    file.headerSize = static_cast<int>(get(bytes, 14));
    EXPECT_EQ(file.headerSize, 40);
    file.width = static_cast<int>(get(bytes, 18));
    file.height = static_cast<int>(get(bytes, 22));
    EXPECT_EQ(get(bytes, 26, 2), 1u);
    file.bits = static_cast<int>(get(bytes, 28, 2));
    file.compression = static_cast<int>(get(bytes, 30));
    const std::size_t entries = get(bytes, 46), offset = get(bytes, 10);
    EXPECT_EQ(offset, 54 + 4 * entries);
    EXPECT_EQ(get(bytes, 34), bytes.size() - offset);
    for (std::size_t i = 0; i < entries; i++)
        file.palette.push_back(get(bytes, 54 + 4 * i));
    if (file.compression != 0) {
        for (std::size_t at = offset; at < bytes.size(); at++)
            file.stream.push_back(static_cast<unsigned char>(bytes[at]));
        return file;
    }
    const std::size_t step = rowBytes(file.width, file.bits);
    EXPECT_EQ(bytes.size() - offset, step * static_cast<std::size_t>(file.height));
    for (int y = file.height - 1; y >= 0; y--) {
        const std::size_t row = offset + step * static_cast<std::size_t>(y);
        for (int x = 0; x < file.width; x++) {
            const auto bit = static_cast<std::size_t>(x * file.bits);
            if (file.bits >= 8) {
                file.words.push_back(get(bytes, row + bit / 8, file.bits / 8));
            } else {
                const std::uint32_t byte = get(bytes, row + bit / 8, 1);
                file.words.push_back(byte >> (8 - file.bits - static_cast<int>(bit % 8)) & ((1u << file.bits) - 1));
            }
        }
    }
    return file;
}
