// The row runner at the ends of what an int counts. Its kernels are made up and touch no memory, so that there need be
// none.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <stdexcept>

#include "frame/ownrowcall.h"

namespace {

int64_t samplesRun;

constexpr OwnRowForms counting = {
    [](const void *, const void *, void *, size_t n, const OwnConstant &) { samplesRun += static_cast<int64_t>(n); },
    [](const void *, const void *, void *, size_t n, const OwnConstant &, const void *) {
        samplesRun += static_cast<int64_t>(n);
    },
    nullptr};

// Rows of pixels of so many samples, without padding, of which the first sample is processed.
OwnRows rowsOf(int width, int height, int step) {
    static uint8_t nothing[64];
    OwnRows rows = {};
    rows.count = 2;
    rows.width = width;
    rows.height = height;
    rows.channels = rows.planes = 1;
    for (int i = 0; i < rows.count; ++i) {
        rows.spans[i].start = nothing;
        rows.spans[i].bytes = 1;
        rows.spans[i].step = step;
        rows.spans[i].rowStep = int64_t{width} * step;
    }
    return rows;
}

// Channels of interest are processed under lanes over whole pixels.
TEST(Rows, OfMorePixelsThanAnIntCountsAreAllRun) {
    const int sizes[][2] = {{1 << 16, 1 << 16}, {1 << 16, 1 << 15}, {INT_MAX, 1}, {INT_MAX, 2}};
    for (const auto &size : sizes) {
        samplesRun = 0;
        ownRunRows(rowsOf(size[0], size[1], 2), counting, {});
        EXPECT_EQ(samplesRun, int64_t{size[0]} * size[1] * 2) << size[0] << " x " << size[1];
    }
}

TEST(Rows, OfOneSampleAreAllRun) {
    const int sizes[][2] = {{INT_MAX, 1}, {1 << 16, 1 << 16}, {INT_MAX, 3}};
    for (const auto &size : sizes) {
        // A run of bytes that no memory of 32 bits holds.
        if (static_cast<uint64_t>(size[0]) * static_cast<uint64_t>(size[1]) > SIZE_MAX) continue;
        samplesRun = 0;
        ownRunRows(rowsOf(size[0], size[1], 1), counting, {});
        EXPECT_EQ(samplesRun, int64_t{size[0]} * size[1]) << size[0] << " x " << size[1];
    }
}

// The last band of the highest image ends at a row that an int still counts, the one after it would not.
TEST(Bands, GoAsFarAsTheHighestImage) {
    for (const int height : {1, 4095, 4096, 4097, INT_MAX - 1, INT_MAX}) {
        for (const int most : {1, 4096, 1 << 30, INT_MAX}) {
            if (height / most > 1 << 20) continue;
            int64_t next = 0;
            ownForEachBand(height, most, [&](int64_t row, int rows) {
                if (row != next || rows < 1 || rows > most) throw std::logic_error("a band that is none");
                next += rows;
            });
            EXPECT_EQ(next, height) << most;
        }
    }
}

}  // namespace
