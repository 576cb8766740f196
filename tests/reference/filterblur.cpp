// The mean over a window. Everything is chopped, not rounded: the product of the sum and the float reciprocal, and at
// 32F the sums themselves, whose order is therefore part of the definition.
#include <algorithm>
#include <bit>
#include <cfenv>

#include "reference/filter.h"

namespace {

// A rectangle of the covered area whose sums are formed on their own.
struct Cell {
    int i, j, width, height;
};

// One channel of the source under a cell, with the window's margins.
struct Padded {
    int width, height;
    std::vector<uint32_t> samples;
    uint32_t at(int x, int y) const { return samples[static_cast<size_t>(y * width + x)]; }
};

struct ChopScope {
    int before = fegetround();
    ChopScope() { fesetround(FE_TOWARDZERO); }
    ~ChopScope() { fesetround(before); }
};

}  // namespace

// Volatile, so that nothing is folded or moved out of the rounding mode in force.
static float add(float a, float b) {
    volatile float x = a, y = b, sum = x + y;
    return sum;
}
static float subtract(float a, float b) {
    volatile float x = a, y = b, difference = x - y;
    return difference;
}
static float multiply(float a, float b) {
    volatile float x = a, y = b, product = x * y;
    return product;
}
static float toFloat(int value) {
    volatile int x = value;
    volatile float converted = static_cast<float>(x);
    return converted;
}

static std::vector<Cell> cellsOf(const TestImage &destination, int width, int height) {
    const TestLayout &layout = destination.layout();
    if (!layout.tiled()) return {{0, 0, width, height}};
    std::vector<Cell> cells;
    for (int j = 0, rows; j < height; j += rows) {
        rows = std::min(height - j, layout.tileHeight - (layout.regionY() + j) % layout.tileHeight);
        for (int i = 0, columns; i < width; i += columns) {
            columns = std::min(width - i, layout.tileWidth - (layout.regionX() + i) % layout.tileWidth);
            cells.push_back({i, j, columns, rows});
        }
    }
    return cells;
}

static Padded paddedCell(const TestImage &source, int channel, const Cell &cell, const RefWindow &window) {
    const TestLayout &layout = source.layout();
    Padded padded = {cell.width + window.nCols - 1, cell.height + window.nRows - 1, {}};
    for (int y = 0; y < padded.height; ++y) {
        for (int x = 0; x < padded.width; ++x) {
            padded.samples.push_back(refBorderSample(source, layout.firstChannel() + channel,
                                                     int64_t{layout.regionX()} + cell.i - window.anchorX + x,
                                                     int64_t{layout.regionY()} + cell.j - window.anchorY + y, false));
        }
    }
    return padded;
}

static uint32_t integerMean(unsigned depth, int sum, float scale) {
    ChopScope chop;
    switch (depth) {
        case MOX_DEPTH_1U:
            return multiply(toFloat(sum), scale) < 0.5f ? 0 : 1;
        case MOX_DEPTH_8U:
        case MOX_DEPTH_8S:
            // 31 + 24 bits at most: the product in double is as good as exact once it is chopped.
            return static_cast<uint32_t>(static_cast<int>(static_cast<double>(sum) * static_cast<double>(scale)));
        default:
            return static_cast<uint32_t>(static_cast<int>(multiply(toFloat(sum), scale)));
    }
}

static std::vector<uint32_t> integerMeans(unsigned depth, const Padded &padded, const Cell &cell,
                                          const RefWindow &window, float scale) {
    std::vector<uint32_t> means;
    for (int y = 0; y < cell.height; ++y) {
        for (int x = 0; x < cell.width; ++x) {
            uint32_t sum = 0;
            for (int v = 0; v < window.nRows; ++v) {
                for (int u = 0; u < window.nCols; ++u)
                    sum += static_cast<uint32_t>(refInteger(depth, padded.at(x + u, y + v)));
            }
            means.push_back(integerMean(depth, static_cast<int>(sum), scale));
        }
    }
    return means;
}

static std::vector<uint32_t> floatMeans(const Padded &padded, const Cell &cell, const RefWindow &window, float scale) {
    ChopScope chop;
    auto pixel = [&](int x, int y) { return std::bit_cast<float>(padded.at(x, y)); };
    std::vector<float> colSum(static_cast<size_t>(padded.width), 0.0f);
    for (int x = 0; x < padded.width; ++x) {
        for (int v = 0; v < window.nRows; ++v) {
            float &sum = colSum[static_cast<size_t>(x)];
            sum = add(sum, pixel(x, v));
        }
    }
    std::vector<uint32_t> means;
    for (int y = 0; y < cell.height; ++y) {
        float sum = 0;
        for (int u = 0; u < window.nCols; ++u)
            sum = add(sum, colSum[static_cast<size_t>(u)]);
        for (int x = 0; x < cell.width; ++x) {
            means.push_back(std::bit_cast<uint32_t>(multiply(sum, scale)));
            if (x + 1 == cell.width) break;
            const float entering = colSum[static_cast<size_t>(x + window.nCols)],
                        leaving = colSum[static_cast<size_t>(x)];
            sum = add(sum, subtract(entering, leaving));
        }
        if (y + 1 == cell.height) break;
        for (int x = 0; x < padded.width; ++x) {
            float &column = colSum[static_cast<size_t>(x)];
            column = add(column, subtract(pixel(x, y + window.nRows), pixel(x, y)));
        }
    }
    return means;
}

RefResult refBlur(TestImage &source, TestImage &destination, const RefWindow &window) {
    const std::vector<TestImage *> images = {&source, &destination};
    if (window.nCols == 1 && window.nRows == 1) return refPoint(refCopy, images);
    const TestLayout &layout = destination.layout();
    RefResult result = {destination.bytes(), {}};
    int width, height;
    refCommonSize(images, &width, &height);
    if (width == 0) return result;
    const float scale = 1.0f / static_cast<float>(window.nCols * window.nRows);
    for (const Cell &cell : cellsOf(destination, width, height)) {
        for (int channel = 0; channel < layout.channelCount(); ++channel) {
            const Padded padded = paddedCell(source, channel, cell, window);
            const std::vector<uint32_t> means = layout.depth == MOX_DEPTH_32F
                                                    ? floatMeans(padded, cell, window, scale)
                                                    : integerMeans(layout.depth, padded, cell, window, scale);
            for (int y = 0; y < cell.height; ++y) {
                for (int x = 0; x < cell.width; ++x) {
                    if (!refMaskedIn(images, cell.i + x, cell.j + y)) continue;
                    destination.setIn(result.expected, layout.firstChannel() + channel, layout.regionX() + cell.i + x,
                                      layout.regionY() + cell.j + y, means[static_cast<size_t>(y * cell.width + x)]);
                }
            }
        }
    }
    return result;
}
