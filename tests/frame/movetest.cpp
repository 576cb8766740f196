// The kernels that move samples, at each CPU level against one sample at a time, in buffers that end where the samples
// end.
#include "frame/ownmove.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "support/cases.h"

namespace {

// So many bytes at some address, with nothing behind them.
class Bytes {
  public:
    Bytes(Random &random, size_t size)
        : offset_(static_cast<size_t>(random.below(32))), size_(size), memory_(new uint8_t[offset_ + size]) {
        for (size_t i = 0; i < size; ++i)
            at()[i] = static_cast<uint8_t>(random.bits());
    }
    uint8_t *at() { return memory_.get() + offset_; }
    std::vector<uint8_t> copy() { return {at(), at() + size_}; }

  private:
    size_t offset_, size_;
    std::unique_ptr<uint8_t[]> memory_;
};

struct Layout {
    int size;  // of OwnSampleSize
    int step, count;
    size_t pixels;

    size_t bytes() const { return size_t{1} << size; }
    size_t extent() const { return ((pixels - 1) * static_cast<size_t>(step) + static_cast<size_t>(count)) * bytes(); }
    size_t rowBytes() const { return pixels * static_cast<size_t>(count) * bytes(); }
    // Calls with the places of each byte in the pixels and in the row.
    template <class Call>
    void forEachByte(const Call &call) const {
        const size_t stored = static_cast<size_t>(count) * bytes();
        for (size_t i = 0; i < pixels; ++i) {
            for (size_t k = 0; k < stored; ++k)
                call(i * static_cast<size_t>(step) * bytes() + k, i * stored + k);
        }
    }
};

void checkLayout(Random &random, const Layout &layout) {
    Bytes pixels(random, layout.extent()), row(random, layout.rowBytes());
    std::vector<uint8_t> wanted(layout.rowBytes());
    layout.forEachByte([&](size_t pixel, size_t place) { wanted[place] = pixels.at()[pixel]; });
    ownMoveRows().gather[layout.size](pixels.at(), layout.step, layout.count, row.at(), layout.pixels);
    ASSERT_EQ(wanted, row.copy());

    Bytes other(random, layout.rowBytes());
    std::vector<uint8_t> image = pixels.copy();
    layout.forEachByte([&](size_t pixel, size_t place) { image[pixel] = other.at()[place]; });
    ownMoveRows().scatter[layout.size](other.at(), pixels.at(), layout.step, layout.count, layout.pixels);
    ASSERT_EQ(image, pixels.copy());
}

TEST(MoveRows, samplesOfPixelsToARowAndBack) {
    forEachCpuLevel([] {
        Random random(testSeed());
        for (int size = 0; size < OWN_SAMPLE_SIZES; ++size) {
            for (int step = 1; step <= 18; ++step) {
                for (int count = 1; count <= step; ++count) {
                    for (const size_t pixels : {1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 17, 18, 19, 33, 50, 100}) {
                        SCOPED_TRACE(testing::Message() << (1 << size) << " bytes, " << count << " of " << step << ", "
                                                        << pixels << " pixels");
                        checkLayout(random, {size, step, count, pixels});
                        if (HasFatalFailure()) return;
                    }
                }
            }
        }
    });
}

TEST(MoveRows, lanesOfBits) {
    forEachCpuLevel([] {
        Random random(testSeed());
        for (int size = 0; size < OWN_SAMPLE_SIZES; ++size) {
            for (int repeat = 1; repeat <= 4; ++repeat) {
                for (size_t count = 0; count <= 150; ++count) {
                    const size_t width = static_cast<size_t>(repeat) << size, whole = (count + 7) / 8 * 8;
                    Bytes bits(random, (count + 7) / 8), lanes(random, whole * width);
                    ownMoveRows().lanes[size](bits.at(), repeat, lanes.at(), count);
                    for (size_t i = 0; i < count * width; ++i) {
                        const size_t bit = i / width;
                        const int wanted = (bits.at()[bit / 8] >> (7 - bit % 8) & 1) != 0 ? 255 : 0;
                        ASSERT_EQ(wanted, lanes.at()[i]) << count << " bits, " << width << " bytes each";
                    }
                }
            }
        }
    });
}

// What a mask selects of each byte, by lanes and by the bits that they are made of.
void checkMaskedForms(Random &random, const OwnRowForms &forms, const uint8_t *from, uint32_t value, int size,
                      size_t count) {
    const size_t width = size_t{1} << size;
    Bytes bits(random, (count + 7) / 8), lanes(random, (count + 7) / 8 * 8 * width);
    ownMoveRows().lanes[size](bits.at(), 1, lanes.at(), count);
    Bytes plain(random, count * width), masked(random, count * width), under(random, count * width);
    std::memcpy(under.at(), masked.at(), count * width);
    std::vector<uint8_t> wanted = masked.copy(), all(count * width);
    for (size_t k = 0; k < count * width; ++k) {
        all[k] = from ? from[k] : static_cast<uint8_t>(value >> 8 * (k % width));
        if (lanes.at()[k] != 0) wanted[k] = all[k];
    }
    forms.plain(from, nullptr, plain.at(), count, {value, 0, 0});
    EXPECT_EQ(all, plain.copy());
    forms.masked(from, nullptr, masked.at(), count, {value, 0, 0}, lanes.at());
    EXPECT_EQ(wanted, masked.copy());
    if (!forms.underBits) return;
    forms.underBits(from, nullptr, under.at(), count, {value, 0, 0}, bits.at());
    EXPECT_EQ(wanted, under.copy());
}

TEST(MoveRows, copyAndFillPlainAndUnderAMask) {
    forEachCpuLevel([] {
        Random random(testSeed());
        for (int size = 0; size < OWN_SAMPLE_SIZES; ++size) {
            for (size_t count = 0; count <= 300; ++count) {
                SCOPED_TRACE(testing::Message() << count << " samples of " << (1 << size) << " bytes");
                Bytes from(random, count << size);
                checkMaskedForms(random, ownMoveRows().copy[size], from.at(), 0, size, count);
                checkMaskedForms(random, ownMoveRows().fill[size], nullptr, random.bits(), size, count);
                if (HasFailure()) return;
            }
        }
    });
}

}  // namespace
