// Rows of bits. Under a mask they are aligned to the destination's bytes and handled as bytes from there.
#include <algorithm>
#include <cstring>

#include "frame/ownmove.h"
#include "frame/ownrowcall.h"

void ownRunBits(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant) {
    const OwnSpan &dst = ownDestination(rows);
    const auto run = [](const OwnSpan &span) { return OwnBitRun{span.start, span.bit, span.rowStep}; };
    const OwnBitRun a = run(rows.spans[0]), b = rows.count > 2 ? run(rows.spans[1]) : a;
    kernel.bits({a, b, dst.start, dst.bit, dst.rowStep, rows.width, rows.height}, constant);
}

// Two images of bits change places by way of a scratch, as many rows at a time as it holds.
void ownExchangeBits(const OwnRows &rows) {
    const OwnRowForms &copy = ownMoveRows().copy[OWN_1_BYTE];
    const OwnSpan &one = rows.spans[0], &two = rows.spans[1];
    alignas(64) uint8_t kept[OWN_SCRATCH_BYTES + 8];
    constexpr int64_t part = OWN_SCRATCH_BYTES * 8;
    for (int64_t x = 0; x < rows.width; x += part) {
        const int64_t count = std::min(part, rows.width - x), bytes = (two.bit + count + 7) / 8;
        const int64_t most = std::max<int64_t>(1, OWN_SCRATCH_BYTES / bytes);
        ownForEachBand(rows.height, most, [&](int64_t row, int height) {
            uint8_t *first = one.start + row * one.rowStep + x / 8, *second = two.start + row * two.rowStep + x / 8;
            for (int i = 0; i < height; ++i)
                std::memcpy(kept + i * bytes, second + i * two.rowStep, static_cast<size_t>(bytes));
            const OwnBitRun from = {first, one.bit, one.rowStep}, back = {kept, two.bit, bytes};
            copy.bits({from, from, second, two.bit, two.rowStep, count, height}, {});
            copy.bits({back, back, first, one.bit, one.rowStep, count, height}, {});
        });
    }
}

namespace {

// Rows of bits under a mask, as bytes of the destination: mask and sources at another bit offset are aligned into
// scratches, and the mask leaves out the bits beyond the run.
class MaskedBitRunner {
  public:
    MaskedBitRunner(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant)
        : rows_(rows), kernel_(kernel), constant_(constant) {}

    void run() {
        for (int row = 0; row < rows_.height; ++row) {
            uint8_t *at[OWN_MAX_SPANS];
            ownStartOfRow(rows_, 0, row, at);
            const uint8_t *mask = rows_.mask.start + row * rows_.mask.rowStep;
            for (int64_t x = 0; x < rows_.width; x += STRETCH) {
                runStretch(at, mask, std::min(STRETCH, rows_.width - x));
                for (int i = 0; i < rows_.count; ++i)
                    at[i] += STRETCH / 8;
                mask += STRETCH / 8;
            }
        }
    }

  private:
    static constexpr int64_t STRETCH = OWN_SCRATCH_BYTES * 8;

    void runStretch(uint8_t *const *at, const uint8_t *mask, int64_t bits) {
        const int last = rows_.count - 1;
        const int offset = rows_.spans[last].bit;
        const int64_t bytes = (offset + bits + 7) / 8;
        ownAlignBits(mask, rows_.mask.bit, lanes_, offset, bits);
        lanes_[0] &= ownFirstBits(offset);
        lanes_[bytes - 1] &= ownLastBits(offset, bits);
        uint8_t *to[OWN_MAX_SPANS];
        for (int i = 0; i <= last; ++i) {
            const bool aligned = rows_.spans[i].bit == offset;
            to[i] = aligned ? at[i] : scratch_[i];
            if (!aligned) ownAlignBits(at[i], rows_.spans[i].bit, to[i], offset, bits);
        }
        ownCallMasked(kernel_.masked, to, rows_.count, static_cast<size_t>(bytes), constant_, lanes_);
        // Of two images that change places the first one is put back at its own bit offset.
        if (rows_.exchange && to[0] != at[0]) ownCopyBits(to[0], at[0], offset, rows_.spans[0].bit, bits);
    }

    const OwnRows &rows_;
    const OwnRowForms &kernel_;
    const OwnConstant &constant_;
    alignas(64) uint8_t scratch_[OWN_MAX_SPANS - 1][OWN_SCRATCH_BYTES + 8];
    alignas(64) uint8_t lanes_[OWN_SCRATCH_BYTES + 8];
};

}  // namespace

void ownRunMaskedBits(const OwnRows &rows, const OwnRowForms &kernel, const OwnConstant &constant) {
    MaskedBitRunner(rows, kernel, constant).run();
}
