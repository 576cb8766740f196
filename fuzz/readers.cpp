// Files that the tool reads, of every kind: small whole ones with bytes changed, or bytes that are nobody's file. They
// are read to their last row, into an image in memory or in a scratch file, or refused with a text that names the file.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "failure.h"
#include "formats.h"
#include "image.h"
#include "memory.h"
#include "reports.h"
#include "store.h"
#include "target.h"

using Bytes = std::vector<uint8_t>;

static RowSource seedRows(int channels, int bits, bool real) {
    const Form form = {21, 13, channels, bits, real};
    return {form, [form, state = 1u](uint32_t *row) mutable {
                for (size_t i = 0; i < samplesOfRow(form); ++i) {
                    state = state * 1664525 + 1013904223;
                    row[i] = form.bits == 32 ? state >> 2 : (state >> 8) & fullValue(form.bits);
                }
            }};
}

template <typename Write>
static Bytes written(Write write) {
    NewFile file;
    file.name = "a seed";
    file.stream = std::tmpfile();
    requireThat(file.stream != nullptr, "no temporary file");
    write(&file);
    Bytes bytes;
    std::rewind(file.stream);
    for (int c = std::getc(file.stream); c != EOF; c = std::getc(file.stream))
        bytes.push_back(static_cast<uint8_t>(c));
    return bytes;
}

static Bytes bitmapFile(int channels, int bits, bool compressed) {
    const Picture picture = pictureFromRows(seedRows(channels, bits == 1 ? 1 : 8, false));
    BitmapForm form;
    form.bits = bits;
    form.compressed = compressed;
    const ImagePtr image = imageFromPicture(picture, naturalDepth(picture), false);
    const Bitmap bitmap = bitmapFromImage(image.get(), form);
    requireThat(bitmap.bytes != nullptr, reportsText());
    constexpr size_t headBytes = 14;
    Bytes bytes(headBytes + bitmap.size);
    std::memcpy(&bytes[headBytes], bitmap.bytes.get(), bitmap.size);
    const size_t pixels = bytes.size() - bitmap.header()->biSizeImage;
    bytes[0] = 'B';
    bytes[1] = 'M';
    bytes[10] = static_cast<uint8_t>(pixels);
    bytes[11] = static_cast<uint8_t>(pixels >> 8);
    return bytes;
}

static std::vector<Bytes> makeSeeds() {
    std::vector<Bytes> seeds;
    for (const std::pair<int, int> &kind : {std::pair{1, 1}, {1, 8}, {3, 8}, {4, 16}}) {
        const int channels = kind.first, bits = kind.second;
        seeds.push_back(written([&](NewFile *file) { writePng(seedRows(channels, bits, false), file); }));
        seeds.push_back(written([&](NewFile *file) { writeTiff(seedRows(channels, bits, false), file); }));
        seeds.push_back(written([&](NewFile *file) { writePnm(seedRows(channels, bits, false), file, "pam"); }));
        if (channels < 4)
            seeds.push_back(written([&](NewFile *file) { writePnm(seedRows(channels, bits, false), file, "pnm"); }));
    }
    seeds.push_back(written([](NewFile *file) { writeTiff(seedRows(3, 32, true), file); }));
    for (const int channels : {1, 3})
        seeds.push_back(written([&](NewFile *file) { writeJpeg(seedRows(channels, 8, false), file, 80); }));
    for (const int bits : {1, 4, 8, 16, 24, 32})
        seeds.push_back(bitmapFile(bits == 1 ? 1 : bits == 32 ? 4 : 3, bits, false));
    for (const int bits : {4, 8})
        seeds.push_back(bitmapFile(3, bits, true));
    const char *const letters[] = {"P1\n3 2\n1 0 1\n0 1 1\n", "P2 # gray\n3 2 255\n1 2 3 40 50 255\n",
                                   "P3\n1 2\n1000\n1 2 3\n999 1000 0\n"};
    for (const char *text : letters)
        seeds.emplace_back(text, text + std::strlen(text));
    return seeds;
}

// Most faults are near the ends, where headers and folders of tags are.
static void change(Random &random, Bytes *bytes) {
    const int count = random.below(6);
    for (int i = 0; i < count && !bytes->empty(); ++i) {
        const int size = static_cast<int>(bytes->size()), most = std::min(size, 200);
        const int way = random.below(4);
        const int at = way == 0 ? random.below(size) : way == 1 ? size - 1 - random.below(most) : random.below(most);
        (*bytes)[static_cast<size_t>(at)] =
            static_cast<uint8_t>(random.oneIn(3) ? 255 * random.below(2) : random.below(256));
    }
    if (random.oneIn(4)) bytes->resize(static_cast<size_t>(random.below(static_cast<int>(bytes->size()) + 1)));
}

// To the last row, where there are not too many for a quick test.
static void readAll(const Input &input, Random &random) {
    constexpr int64_t mostPixels = 1 << 18;
    RowSource rows = readRows(input);
    const Form form = rows.form;
    requireThat(form.width > 0 && form.height > 0 && form.channels >= 1 && form.channels <= 4, "a form that is none");
    if (int64_t{form.width} * form.height > mostPixels) return;
    const Store store = storeFromRows(std::move(rows), naturalDepth(form), {random.oneIn(2), {}});
    RowSource back = exactRowsOfStore(store, plainBits(form));
    std::vector<uint32_t> row(samplesOfRow(form));
    for (int y = 0; y < form.height; ++y) {
        back.next(row.data());
        for (const uint32_t sample : row)
            requireThat(form.bits == 32 || sample <= fullValue(form.bits), "a sample that is too large");
    }
}

void fuzzOne(Random &random) {
    static const std::vector<Bytes> seeds = [] {
        catchReports();
        setMemoryBound(uint64_t{64} << 20);
        return makeSeeds();
    }();
    catchReports();
    setMemoryBound(random.oneIn(2) ? uint64_t{100} << 10 : uint64_t{64} << 20);
    const auto kind = static_cast<size_t>(random.below(static_cast<int>(seeds.size()) + 1));
    Bytes bytes;
    if (kind < seeds.size()) {
        bytes = seeds[kind];
        change(random, &bytes);
    } else {
        while (!random.onlyChance())
            bytes.push_back(static_cast<uint8_t>(random.below(256)));
    }
    if (bytes.empty()) return;
    Input input;
    input.name = "evil";
    input.size = bytes.size();
    input.format = formatOfBytes(bytes.data(), bytes.size());
    if (input.format == Format::none) return;
    input.file = {fmemopen(bytes.data(), bytes.size(), "rb"), std::fclose};
    try {
        readAll(input, random);
    } catch (const Failure &failure) {
        const bool tooLarge = failure.code == exitOperation && failure.text.find("--memory") != std::string::npos;
        requireThat(tooLarge || (failure.code == exitFile && failure.text.starts_with("evil: ")), failure.text);
    }
}
