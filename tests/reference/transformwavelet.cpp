// Wavelets by their formulas, in single precision and in the order of the taps.
#include <bit>

#include "reference/transform.h"

static int wrapped(int64_t position, int period) {
    const int rest = static_cast<int>(position % period);
    return rest < 0 ? rest + period : rest;
}

// The half-length sequence of one filter; a line of odd length repeats its last sample once, then begins anew.
static std::vector<float> filterDown(const RefFilter &filter, const std::vector<float> &line) {
    const int n = static_cast<int>(line.size()), even = n + n % 2;
    std::vector<float> half(static_cast<size_t>(even / 2));
    for (int k = 0; k < even / 2; ++k) {
        float sum = 0;
        for (int j = 0; j < static_cast<int>(filter.taps.size()); ++j) {
            const int at = wrapped(2 * int64_t{k} + filter.offset - j, even);
            const float product = filter.taps[static_cast<size_t>(j)] * line[static_cast<size_t>(at == n ? n - 1 : at)];
            sum = sum + product;
        }
        half[static_cast<size_t>(k)] = sum;
    }
    return half;
}

// Upsampled by 2 and filtered; samples between those of the half are 0 and add nothing.
static std::vector<float> filterUp(const RefFilter &filter, const std::vector<float> &half) {
    const int even = 2 * static_cast<int>(half.size());
    std::vector<float> line(static_cast<size_t>(even));
    for (int n = 0; n < even; ++n) {
        float sum = 0;
        for (int j = 0; j < static_cast<int>(filter.taps.size()); ++j) {
            const int at = wrapped(int64_t{n} + filter.offset - j, even);
            if (at % 2 != 0) continue;
            const float product = filter.taps[static_cast<size_t>(j)] * half[static_cast<size_t>(at / 2)];
            sum = sum + product;
        }
        line[static_cast<size_t>(n)] = sum;
    }
    return line;
}

static std::vector<float> columnOf(const RefFloats &rows, size_t x) {
    std::vector<float> column;
    for (const std::vector<float> &row : rows)
        column.push_back(row[x]);
    return column;
}

static RefFloats filterColumns(const RefFilter &filter, const RefFloats &rows) {
    const size_t height = (rows.size() + 1) / 2, width = rows[0].size();
    RefFloats result(height, std::vector<float>(width));
    for (size_t x = 0; x < width; ++x) {
        const std::vector<float> column = filterDown(filter, columnOf(rows, x));
        for (size_t y = 0; y < height; ++y)
            result[y][x] = column[y];
    }
    return result;
}

void refDecompose(const RefFilters &filters, const RefFloats &source, RefFloats parts[4]) {
    RefFloats low, high;
    for (const std::vector<float> &row : source) {
        low.push_back(filterDown(filters.low, row));
        high.push_back(filterDown(filters.high, row));
    }
    parts[0] = filterColumns(filters.low, low);
    parts[1] = filterColumns(filters.high, low);
    parts[2] = filterColumns(filters.low, high);
    parts[3] = filterColumns(filters.high, high);
}

static std::vector<float> joined(const RefFilters &filters, const std::vector<float> &low,
                                 const std::vector<float> &high) {
    std::vector<float> line = filterUp(filters.low, low);
    const std::vector<float> other = filterUp(filters.high, high);
    for (size_t i = 0; i < line.size(); ++i)
        line[i] = line[i] + other[i];
    return line;
}

static RefFloats joinColumns(const RefFilters &filters, const RefFloats &low, const RefFloats &high) {
    RefFloats rows(2 * low.size(), std::vector<float>(low[0].size()));
    for (size_t x = 0; x < low[0].size(); ++x) {
        const std::vector<float> column = joined(filters, columnOf(low, x), columnOf(high, x));
        for (size_t y = 0; y < rows.size(); ++y)
            rows[y][x] = column[y];
    }
    return rows;
}

RefFloats refReconstruct(const RefFilters &filters, const RefFloats parts[4], int width, int height) {
    const RefFloats low = joinColumns(filters, parts[0], parts[1]), high = joinColumns(filters, parts[2], parts[3]);
    RefFloats result;
    for (int y = 0; y < height; ++y) {
        result.push_back(joined(filters, low[static_cast<size_t>(y)], high[static_cast<size_t>(y)]));
        result.back().resize(static_cast<size_t>(width));
    }
    return result;
}

RefFloats refReadFloats(const TestImage &image) {
    const TestLayout &layout = image.layout();
    RefFloats rows;
    for (int y = 0; y < layout.regionHeight(); ++y) {
        rows.emplace_back();
        for (int x = 0; x < layout.regionWidth(); ++x) {
            const uint32_t sample = image.get(0, layout.regionX() + x, layout.regionY() + y);
            rows.back().push_back(static_cast<float>(refNumber(layout.depth, sample)));
        }
    }
    return rows;
}
