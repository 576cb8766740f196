// Two pictures compared: the norms of their difference, the pixels that differ, and a picture of where they do.
#include "compare.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "failure.h"
#include "image.h"
#include "norms.h"
#include "reports.h"
#include "rows.h"
#include "store.h"

namespace {

void checkReports() {
    checkScratch();
    if (anyReport()) fail(exitComparison, "compare: " + reportsText());
}

std::string sizeText(const Form &form) {
    return std::to_string(form.width) + " x " + std::to_string(form.height);
}

// Both at the larger number of bits and with the larger number of channels: nothing of either is lost.
void alignKinds(RowSource *first, RowSource *second) {
    const int bits = std::max(plainBits(first->form), plainBits(second->form));
    int channels = std::max(first->form.channels, second->form.channels);
    // Gray with alpha beside colour.
    if (channels == 3 && (hasAlpha(first->form.channels) || hasAlpha(second->form.channels))) channels = 4;
    for (RowSource *rows : {first, second})
        *rows = withChannels(withBits(std::move(*rows), bits), channels);
}

// All rows are read, so that what is wrong with a file is noticed.
RowSource cropped(RowSource rows, int width, int height) {
    const Form from = rows.form;
    if (from.width == width && from.height == height) return rows;
    RowSource part = {from, nullptr};
    part.form.width = width;
    part.form.height = height;
    auto row = std::make_shared<std::vector<std::uint32_t>>(samplesOfRow(from));
    const std::size_t count = samplesOfRow(part.form);
    part.next = [next = std::move(rows.next), row, count, height, rest = from.height - height,
                 y = 0](std::uint32_t *to) mutable {
        next(row->data());
        std::copy_n(row->data(), count, to);
        if (++y < height) return;
        for (; rest > 0; rest--)
            next(row->data());
    };
    return part;
}

// Alpha is compared as any other channel.
Store storeOf(RowSource rows, unsigned depth) {
    Store store = storeFromRows(std::move(rows), depth, {});
    store.image()->alphaChannel = 0;
    return store;
}

// The bits of the pixels that are equal in all channels, counted.
std::int64_t equalPixels(MoxImage *first, MoxImage *second) {
    const Store bits = makeStore(1, MOX_DEPTH_1U, first->width, first->height, {});
    moxEqual(first, second, bits.image());
    return std::llround(moxNorm(bits.image(), nullptr, MOX_NORM_L1));
}

// An alpha would hide what differs, so its difference is shown in the colours.
RowSource withoutAlpha(RowSource rows) {
    const Form from = rows.form;
    if (!hasAlpha(from.channels)) return rows;
    Form form = from;
    form.channels--;
    auto buffer = std::make_shared<std::vector<std::uint32_t>>(samplesOfRow(from));
    return {form, [next = std::move(rows.next), from, buffer](std::uint32_t *row) {
                next(buffer->data());
                const std::uint32_t *pixel = buffer->data();
                for (int x = 0; x < from.width; x++, pixel += from.channels) {
                    for (int c = 0; c + 1 < from.channels; c++)
                        *row++ = std::max(pixel[c], pixel[from.channels - 1]);
                }
            }};
}

// |A - B|. Samples of 32 bits have room for what is multiplied.
void writeDifference(const Store &first, const Store &second, int bits, const CompareRequest &request) {
    const bool black = bits == 1;
    const unsigned depth = black ? MOX_DEPTH_1U : MOX_DEPTH_32S;
    const Store a = storeOf(rowsOfStore(first, bits), depth), b = storeOf(rowsOfStore(second, bits), depth);
    if (black) {
        moxXor(a.image(), b.image(), a.image());
    } else {
        moxSubtract(a.image(), b.image(), a.image());
        moxAbs(a.image(), a.image());
        moxMultiplyS(a.image(), a.image(), request.gain);
    }
    checkReports();
    writeRows(withoutAlpha(rowsOfStore(a, bits)), request.output, request.form);
}

Comparison compared(const CompareRequest &request) {
    if (!request.output.empty()) checkTarget(request.output);
    checkInput(request.second);
    RowSource first = readRows(request.first), second = readRows(request.second);
    const std::string sizes = sizeText(first.form) + " and " + sizeText(second.form);
    const bool sameSize = first.form.width == second.form.width && first.form.height == second.form.height;
    alignKinds(&first, &second);
    const int width = std::min(first.form.width, second.form.width);
    const int height = std::min(first.form.height, second.form.height);
    const Form form = first.form;
    const unsigned depth = naturalDepth(form);
    const Store a = storeOf(cropped(std::move(first), width, height), depth);
    const Store b = storeOf(cropped(std::move(second), width, height), depth);
    clearReports();
    const std::int64_t pixels = std::int64_t{width} * height;
    const std::int64_t different = pixels - equalPixels(a.image(), b.image());
    const std::string norms = normsText(a.image(), b.image());
    checkReports();

    Comparison comparison = {sameSize && different == 0, ""};
    if (!sameSize) comparison.text = "sizes differ, " + sizes + ": the common part is compared\n";
    comparison.text += std::to_string(different) + " of " + std::to_string(pixels) + " pixels differ; " +
                       channelsText(form.channels) + ", depth " + depthName(depth) + "\n" + norms;
    if (!request.output.empty()) writeDifference(a, b, form.bits, request);
    return comparison;
}

}  // namespace

Comparison comparePictures(const CompareRequest &request) {
    try {
        return compared(request);
    } catch (const Failure &failure) {
        if (failure.code == exitOperation) fail(exitComparison, failure.text);
        throw;
    } catch (const std::bad_alloc &) {
        fail(exitComparison, "not enough memory");
    }
}
