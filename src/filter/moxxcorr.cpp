// Normalised cross-correlation: the template over every window of the source, by the root of the energies of both.
// Samples of the source are widened once, into a ring of rows as high as the template; products are summed directly.
#include <algorithm>
#include <climits>

#include "core/owncpu.h"
#include "filter/ownxcorr.h"
#include "frame/ownborder.h"
#include "frame/ownwindow.h"

OWN_DECLARE_LEVELS(OwnCorrRows, corrRows)

const OwnCorrRows &ownCorrRows() {
    static constexpr const OwnCorrRows *tables[] = OWN_LEVEL_TABLES(corrRows);
    return *tables[ownCpuLevel()];
}

namespace {

// Products of bytes that a sum of 32 bits holds, and products of words that a double holds exactly.
constexpr int64_t BYTE_PRODUCTS = 32768, WORD_PRODUCTS = 1 << 20;

// A channel's share.
struct Channel {
    void *taps;     // of the template
    double energy;  // of the template
    char *ring;     // widened rows of the source
    void *squares;  // of the columns under the windows of a row
};

struct Correlation {
    const OwnCorrRows *kernels;
    MoxImage *tpl;
    int64_t tplX, tplY;
    int width, height;  // of the template
    int srcDepth, dstDepth;
    size_t srcBytes, dstBytes;  // of a sample, as the rows have it
    bool bytes;                 // samples go in pairs
    double full;                // the result of a perfect match

    Channel *channels;
    const void **rows;  // widened, under the windows of a row
    int64_t ringBytes;  // of a row in a ring
    int32_t *pairSums;
    double *sums, *energies, *groupSums;
};

// -------------------------------------------------------------------------------------------------------------- checks

bool refuse(const OwnCaller &caller, const char *message) {
    ownReport(caller, MOX_StatusBadArgument, message);
    return false;
}

// A property of the source that neither the template nor the result shares.
template <class Property>
bool standsAlone(const MoxImage *src, const MoxImage *tpl, const MoxImage *dst, Property property) {
    return property(src) != property(tpl) && property(src) != property(dst);
}

const char *findDifference(const MoxImage *src, const MoxImage *tpl, const MoxImage *dst) {
    if (src->depth != tpl->depth) return "SRC and TPL depth are different";
    const bool toFloat = src->depth == MOX_DEPTH_8U && dst->depth == MOX_DEPTH_32F;
    if (dst->depth != src->depth && !toFloat) return "SRC and DST depth are incompatible";
    if (standsAlone(src, tpl, dst, [](const MoxImage *image) { return image->dataOrder; }))
        return "SRC, TPL or DST order are different";
    if (standsAlone(src, tpl, dst, [](const MoxImage *image) { return image->origin; }))
        return "SRC, TPL or DST orign are different";
    if (standsAlone(src, tpl, dst, [](const MoxImage *image) { return image->alphaChannel; }))
        return "SRC, TPL or DST Alpha channels are different";
    if (standsAlone(src, tpl, dst, [](const MoxImage *image) { return image->nChannels; }))
        return "SRC, TPL or DST number of channels are different";
    const auto counted = [](const MoxImage *image) { return ownHasCoi(image) ? 1 : image->nChannels; };
    if (counted(src) != counted(tpl) || counted(src) != counted(dst))
        return "SRC, TPL or DST number of processing channels are different";
    if (tpl->tileInfo) return "TPL tiling is not supported";
    return nullptr;
}

// -------------------------------------------------------------------------------------------------------- the template

double sampleOf(const uint8_t *row, int depth, int64_t i) {
    switch (depth) {
        case OWN_8S:
            return reinterpret_cast<const int8_t *>(row)[i];
        case OWN_1U:
        case OWN_8U:
            return row[i];
        default: {
            double value;
            ownCorrRows().reals[depth](row + i * (depth == OWN_16U || depth == OWN_16S ? 2 : 4), 1, &value, 1);
            return value;
        }
    }
}

// The coefficients of a channel and their energy, by way of a row of samples, in which bits are bytes.
void setTaps(const Correlation &c, int channel, uint8_t *row) {
    OwnRowSource source;
    ownSetRowSource(&source, c.tpl, ownFirstChannel(c.tpl) + channel, 1);
    Channel &to = c.channels[channel];
    auto *pairs = static_cast<uint32_t *>(to.taps);
    auto *reals = static_cast<double *>(to.taps);
    to.energy = 0;
    for (int y = 0; y < c.height; ++y) {
        ownBorderRow(source, c.tplX, c.tplY + y, c.width, row);
        for (int x = 0; x < c.width; ++x) {
            const double value = sampleOf(row, c.srcDepth, x);
            to.energy += value * value;
            if (!c.bytes) {
                *reals++ = value;
            } else if (x % 2 == 0) {
                *pairs++ = static_cast<uint16_t>(static_cast<int>(value));
            } else {
                pairs[-1] |= static_cast<uint32_t>(static_cast<uint16_t>(static_cast<int>(value))) << 16;
            }
        }
    }
}

// ---------------------------------------------------------------------------------------------------------------- rows

// The sums of products, by groups of the template's rows (and of columns, where a row is longer than a group), whose
// sums are exact.
void sumProducts(const Correlation &c, const void *taps, size_t n) {
    constexpr int64_t stepBytes = 8;  // from one of the template's columns, or pairs of them, to the next
    const int64_t tapBytes = c.bytes ? 4 : 8;
    const int64_t columns = c.bytes ? (int64_t{c.width} + 1) / 2 : c.width;
    const bool exact = c.srcDepth != OWN_32S && c.srcDepth != OWN_32F;
    const int64_t most = c.bytes ? BYTE_PRODUCTS / 2 : exact ? WORD_PRODUCTS : INT64_MAX;
    const int64_t group = std::min<int64_t>(std::max<int64_t>(most / columns, 1), c.height);
    std::fill_n(c.sums, n, 0.0);
    for (int64_t r = 0; r < c.height; r += group) {
        for (int64_t x = 0; x < columns; x += most) {
            const int64_t part = std::min(columns - x, most);
            const void *row = static_cast<const char *>(c.rows[r]) + x * stepBytes;
            const void *tap = static_cast<const char *>(taps) + (r * columns + x) * tapBytes;
            const OwnCorrField field = {part == columns ? c.rows + r : &row,
                                        static_cast<int>(std::min(group, c.height - r)), static_cast<size_t>(part),
                                        tap};
            if (c.bytes) {
                c.kernels->sumPairs(field, c.pairSums, n);
                for (size_t i = 0; i < n; ++i)
                    c.sums[i] += c.pairSums[i];
            } else {
                c.kernels->sumReals(field, c.groupSums, n);
                for (size_t i = 0; i < n; ++i)
                    c.sums[i] += c.groupSums[i];
            }
        }
    }
}

// A row of the source into the ring, in the place of the one that is left behind.
void loadRow(const Correlation &c, const Channel &of, const uint8_t *row, size_t step, int64_t y, size_t columns,
             bool leaves) {
    char *slot = of.ring + y % c.height * c.ringBytes;
    if (!c.bytes) return c.kernels->reals[c.srcDepth](row, step, reinterpret_cast<double *>(slot), columns);
    auto *pairs = reinterpret_cast<uint32_t *>(slot);
    auto *squares = static_cast<int64_t *>(of.squares);
    if (leaves) c.kernels->leave(pairs, squares, columns);
    c.kernels->pairs[c.srcDepth](row, step, pairs, columns);
    c.kernels->enter(pairs, squares, columns);
}

void correlateChannel(const Correlation &c, const OwnWindowRows &rows, int channel) {
    const Channel &of = c.channels[rows.pass + channel];
    const size_t n = rows.width, columns = n + static_cast<size_t>(c.width) - 1,
                 step = static_cast<size_t>(rows.channels);
    const bool begins = rows.y == 0;
    if (begins && c.bytes) std::fill_n(static_cast<int64_t *>(of.squares), columns, int64_t{0});
    for (int64_t r = begins ? 0 : c.height - 1; r < c.height; ++r) {
        const uint8_t *row = rows.rows[r] + static_cast<size_t>(channel) * c.srcBytes;
        loadRow(c, of, row, step, rows.y + r, columns, !begins);
    }
    for (int64_t r = 0; r < c.height; ++r)
        c.rows[r] = of.ring + (rows.y + r) % c.height * c.ringBytes;
    sumProducts(c, of.taps, n);
    if (c.bytes) {
        c.kernels->energies(static_cast<const int64_t *>(of.squares), static_cast<size_t>(c.width), c.energies, n);
    } else {
        auto *squares = static_cast<double *>(of.squares);
        c.kernels->squares(c.rows, c.height, squares, columns);
        c.kernels->realEnergies(squares, static_cast<size_t>(c.width), c.energies, n);
    }
    const OwnCorrScale scale = {of.energy, c.full, c.srcDepth == OWN_32S || c.srcDepth == OWN_32F};
    c.kernels->store[c.dstDepth](c.sums, c.energies, scale, rows.out + static_cast<size_t>(channel) * c.dstBytes, step,
                                 n);
}

void correlateRows(void *filter, const OwnWindowRows &rows) {
    const auto &c = *static_cast<const Correlation *>(filter);
    for (int channel = 0; channel < rows.channels; ++channel)
        correlateChannel(c, rows, channel);
}

// Scratch, part by part: counted first, and then given out.
class Scratch {
  public:
    void *take(int64_t count, int64_t bytes) {
        void *part = memory_ ? memory_ + size_ : nullptr;
        // More than there can be stays more.
        const bool fits = size_ <= INT_MAX && count <= INT_MAX / bytes;
        size_ = fits ? size_ + (count * bytes + 63) / 64 * 64 : int64_t{INT_MAX} + 1;
        return part;
    }
    bool allocated() const { return memory_ != nullptr; }
    bool allocate() {
        if (size_ > INT_MAX) return false;
        memory_ = static_cast<char *>(moxMalloc(static_cast<int>(size_)));
        size_ = 0;
        return memory_ != nullptr;
    }
    ~Scratch() { moxFree(memory_); }
    Scratch() = default;
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;

  private:
    char *memory_ = nullptr;
    int64_t size_ = 0;
};

// All of the scratch; the first time around to count it. The row is for the template's samples.
uint8_t *layOut(Scratch *scratch, const OwnWindow &window, Correlation *c) {
    const int64_t columns = window.width + c->width - 1, height = c->height;
    const int64_t tapColumns = c->bytes ? (int64_t{c->width} + 1) / 2 : c->width, tapBytes = c->bytes ? 4 : 8;
    c->ringBytes = (columns * tapBytes + 63) / 64 * 64;
    const int channels = window.srcChannels;
    c->channels = static_cast<Channel *>(scratch->take(channels, sizeof(Channel)));
    c->rows = static_cast<const void **>(scratch->take(height, sizeof(void *)));
    c->pairSums = static_cast<int32_t *>(scratch->take(window.width, 4));
    c->sums = static_cast<double *>(scratch->take(window.width, 8));
    c->energies = static_cast<double *>(scratch->take(window.width, 8));
    c->groupSums = static_cast<double *>(scratch->take(window.width, 8));
    auto *row = static_cast<uint8_t *>(scratch->take(c->width, 4));
    auto *taps = static_cast<char *>(scratch->take(height * channels, tapColumns * tapBytes));
    auto *ring = static_cast<char *>(scratch->take(height * channels, c->ringBytes));
    auto *squares = static_cast<char *>(scratch->take(channels, columns * 8));
    if (!scratch->allocated()) return nullptr;
    for (int k = 0; k < channels; ++k) {
        c->channels[k] = {taps + k * height * tapColumns * tapBytes, 0, ring + k * height * c->ringBytes,
                          squares + k * columns * 8};
    }
    return row;
}

// What a perfect match becomes: the top of the depth's range.
double fullScale(unsigned depth) {
    switch (ownDepthIndex(depth)) {
        case OWN_8U:
            return 255;
        case OWN_8S:
            return 127;
        case OWN_16U:
            return 65535;
        case OWN_16S:
            return 32767;
        case OWN_32S:
            return 2147483647;
        default:
            return 1;
    }
}

Correlation makeCorrelation(MoxImage *tpl, const MoxImage *src, const MoxImage *dst, const OwnImageRect &rect) {
    Correlation c = {};
    c.kernels = &ownCorrRows();
    c.tpl = tpl;
    c.tplX = rect.x;
    c.tplY = rect.y;
    c.width = static_cast<int>(rect.width);
    c.height = static_cast<int>(rect.height);
    c.srcDepth = ownDepthIndex(src->depth);
    c.dstDepth = ownDepthIndex(dst->depth);
    c.srcBytes = static_cast<size_t>(std::max(ownDepthBytes(src->depth), 1));
    c.dstBytes = static_cast<size_t>(std::max(ownDepthBytes(dst->depth), 1));
    c.bytes = c.srcBytes == 1;
    c.full = fullScale(dst->depth);
    return c;
}

// False where memory is missing, or a tile.
bool correlate(OwnWindow *window, Correlation *c) {
    window->left = c->width >> 1;
    window->top = c->height >> 1;
    window->right = c->width - 1 - window->left;
    window->bottom = c->height - 1 - window->top;
    window->function = correlateRows;
    window->rowsAtOnce = 1;
    window->filter = c;
    Scratch scratch;
    layOut(&scratch, *window, c);
    if (!scratch.allocate()) return false;
    uint8_t *row = layOut(&scratch, *window, c);
    for (int k = 0; k < window->srcChannels; ++k)
        setTaps(*c, k, row);
    return ownRunWindow(*window) == OWN_WINDOW_DONE;
}

// Reports of what is called, and of callbacks, are silent meanwhile.
class Silence {
  public:
    Silence() : before_(moxGetErrMode()) { moxSetErrMode(MOX_ErrModeSilent); }
    ~Silence() { moxSetErrMode(before_); }
    Silence(const Silence &) = delete;
    Silence &operator=(const Silence &) = delete;

  private:
    int before_;
};

// The source's channels that count. Alpha that the result alone has is left alone: the source is taken as having it
// too.
int countChannels(const MoxImage *src, const MoxImage *dst) {
    const bool alphaOfResult = dst->alphaChannel != 0 && src->alphaChannel == 0 && !ownHasCoi(src) && !ownHasCoi(dst);
    return ownChannels(src) - (alphaOfResult ? 1 : 0);
}

}  // namespace

MoxStatus MOX_CALL moxNormCrossCorr(MoxImage *tplImage, MoxImage *srcImage, MoxImage *dstImage) {
    const OwnCaller caller = OWN_CALLER("moxNormCrossCorr");
    constexpr MoxStatus bad = MOX_StatusBadArgument;
    for (const MoxImage *image : {srcImage, tplImage, dstImage}) {
        if (!ownAcceptImage(caller, image)) return bad;
    }
    const char *fault =
        srcImage == dstImage ? "Unsupported in-place mode" : findDifference(srcImage, tplImage, dstImage);
    if (fault) {
        refuse(caller, fault);
        return bad;
    }
    if (ownFindExcess(tplImage) != MOX_StatusNoError && !ownAcceptMemory(caller, {tplImage})) return bad;

    // The status word tells images that are refused here from those in which there is nothing to do.
    const MoxStatus before = moxGetErrStatus();
    moxSetErrStatus(MOX_StatusNoError);
    const OwnCommonMask mask(caller, srcImage, dstImage);
    const bool refused = mask.endsCall() && moxGetErrStatus() != MOX_StatusNoError;
    if (moxGetErrStatus() == MOX_StatusNoError) moxSetErrStatus(before);
    OwnImageRect rect;
    ownImageRect(tplImage, &rect);
    OwnWindow window = {};
    window.src = srcImage;
    window.srcChannels = countChannels(srcImage, dstImage);
    window.dst = dstImage;
    window.mask = mask.image();
    ownWindowSize(&window);
    if (mask.endsCall()) return refused ? bad : MOX_StatusNoError;
    const bool empty = window.width < 1 || window.height < 1 || rect.width < 1 || rect.height < 1;
    bool done = !mask.lacksMemory();
    if (done && (empty || window.srcChannels == 0)) return MOX_StatusNoError;
    if (done) {
        const Silence silence;
        Correlation c = makeCorrelation(tplImage, srcImage, dstImage, rect);
        done = correlate(&window, &c);
    }
    if (done) return MOX_StatusNoError;
    ownReport(caller, MOX_StatusNoMemory, "Not enough memory");
    return MOX_StatusNoMemory;
}
