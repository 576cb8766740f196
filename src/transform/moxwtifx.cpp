// One level of the wavelet transform of an image, and back: rows and columns are filtered one after the other, a few
// rows at a time.
#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

#include "core/owncpu.h"
#include "frame/ownimage.h"
#include "transform/ownplane.h"
#include "transform/ownspectrum.h"
#include "transform/ownwave.h"

OWN_DECLARE_LEVELS(OwnWaveRows, waveRows)

const OwnWaveRows &ownWaveRows() {
    static constexpr const OwnWaveRows *tables[] = OWN_LEVEL_TABLES(waveRows);
    return *tables[ownCpuLevel()];
}

namespace {

// ----------------------------------------------------------------------------------------------------------- checks

constexpr int BANDS = 4;

// The whole image, and its four bands in the order of the arguments.
struct Images {
    const MoxImage *whole;
    const MoxImage *bands[BANDS];
    const char *wholeName;
    const char *bandNames[BANDS];

    const MoxImage *image(int i) const { return i == 0 ? whole : bands[i - 1]; }
    const char *name(int i) const { return i == 0 ? wholeName : bandNames[i - 1]; }
};

template <class... Values>
MoxStatus refuse(const OwnCaller &caller, MoxStatus status, const char *format, Values... values) {
    char message[160];
    std::snprintf(message, sizeof message, format, values...);
    ownReport(caller, status, message);
    return status;
}

MoxStatus checkFilter(const OwnCaller &caller, const MoxWtFilter &filter, const char *name) {
    const auto fault = [&](const char *format) { return refuse(caller, MOX_StatusFilterContent, format, name, name); };
    if (!filter.taps) return fault("Error wtKernel->%s.taps == NULL.");
    if (filter.length < 2) return fault("Error wtKernel->%s.length < 2.");
    if (filter.offset >= filter.length) return fault("Error wtKernel->%s.offset >= wtKernel->%s.length.");
    if (filter.offset < 0) return fault("Error wtKernel->%s.offset < 0.");
    return MOX_StatusNoError;
}

MoxStatus checkHeaders(const OwnCaller &caller, const Images &images) {
    for (int i = 0; i <= BANDS; ++i) {
        if (const MoxStatus fault = ownFindHeaderFault(images.image(i)))
            return refuse(caller, fault, "Incorrect image: %s.", images.name(i));
        if (!images.image(i)->imageData)
            return refuse(caller, MOX_StatusBadArgument, "Tiled image not supported: %s.", images.name(i));
    }
    for (int i = 1; i <= BANDS; ++i) {
        if (images.image(i)->roi)
            return refuse(caller, MOX_StatusHeaderRoiSize, "Error %s->roi != NULL.", images.name(i));
    }
    for (int i = 0; i <= BANDS; ++i) {
        if (images.image(i)->depth != (i == 0 ? MOX_DEPTH_8U : MOX_DEPTH_32F)) {
            return refuse(caller, MOX_StatusHeaderDepth, "Error %s->depth != %s.", images.name(i),
                          i == 0 ? "MOX_DEPTH_8U" : "MOX_DEPTH_32F");
        }
    }
    for (int i = 0; i <= BANDS; ++i) {
        if (images.image(i)->nChannels != 1)
            return refuse(caller, MOX_StatusHeaderChannels, "Error %s->nChannels != 1.", images.name(i));
    }
    return MOX_StatusNoError;
}

// Bands are half as large as the region, an odd size being rounded up.
MoxStatus checkSize(const OwnCaller &caller, const Images &images, int MoxImage::*size, int64_t whole,
                    const char *name) {
    for (int i = 0; i < BANDS; ++i) {
        if (images.bands[i]->*size == (whole + 1) / 2) continue;
        return refuse(caller, MOX_StatusHeaderSize,
                      whole % 2 == 0 ? "Error actual%s(%s) != actual%s(%s) / 2."
                                     : "Error actual%s(%s) != (actual%s(%s) + 1) / 2.",
                      name, images.bandNames[i], name, images.wholeName);
    }
    return MOX_StatusNoError;
}

MoxStatus checkSizes(const OwnCaller &caller, const Images &images) {
    const char *const name = images.wholeName;
    if (const MoxROI *roi = images.whole->roi) {
        if (roi->xOffset >= images.whole->width)
            return refuse(caller, MOX_StatusHeaderRoiSize, "Error %s->roi->xOffset >= %s->width.", name, name);
        if (roi->yOffset >= images.whole->height)
            return refuse(caller, MOX_StatusHeaderRoiSize, "Error %s->roi->yOffset >= %s->height.", name, name);
    }
    OwnImageRect rect;
    ownImageRect(images.whole, &rect);
    if (const MoxStatus fault = checkSize(caller, images, &MoxImage::width, rect.width, "Width")) return fault;
    if (const MoxStatus fault = checkSize(caller, images, &MoxImage::height, rect.height, "Height")) return fault;
    for (int i = 1; i < BANDS; ++i) {
        if (images.bands[i]->widthStep != images.bands[0]->widthStep)
            return refuse(caller, MOX_StatusHeaderWidthStep, "%s", "Not equal decomposed images widthStep values.");
    }
    for (int i = 0; i <= BANDS; ++i) {
        if (!ownAcceptPlain(caller, images.image(i))) return moxGetErrStatus();
    }
    return MOX_StatusNoError;
}

MoxStatus check(const OwnCaller &caller, const Images &images) {
    if (const MoxStatus fault = checkHeaders(caller, images)) return fault;
    return checkSizes(caller, images);
}

// ------------------------------------------------------------------------------------------------------- periodic rows

int64_t floorHalf(int64_t n) {
    return n >= 0 ? n / 2 : -((1 - n) / 2);
}
int64_t wrap(int64_t n, int64_t period) {
    const int64_t rest = n % period;
    return rest < 0 ? rest + period : rest;
}

// A row of `period` samples from `at` on, continued on both sides.
struct Margins {
    int64_t left, right;
};
void extend(float *at, int64_t period, const Margins &margins) {
    for (int64_t i = -1; i >= -margins.left; --i)
        at[i] = at[i + period];
    for (int64_t i = 0; i < margins.right; ++i)
        at[period + i] = at[i];
}

// Scratch out of one block: first the sizes are counted, then the pieces are taken in the same order.
class Memory {
  public:
    ~Memory() { moxFree(block_); }
    Memory() = default;
    Memory(const Memory &) = delete;
    Memory &operator=(const Memory &) = delete;

    // The pointer to the item that `before` others precede.
    template <class T>
    T *take(int64_t count, int64_t before = 0) {
        const int64_t at = used_;
        used_ += (count * static_cast<int64_t>(sizeof(T)) + 63) / 64 * 64;
        return block_ ? static_cast<T *>(static_cast<void *>(block_ + at)) + before : nullptr;
    }
    bool allocate() {
        if (used_ <= INT_MAX) block_ = static_cast<char *>(moxMalloc(static_cast<int>(used_)));
        used_ = 0;
        return block_ != nullptr;
    }

  private:
    char *block_ = nullptr;
    int64_t used_ = 0;
};

struct Filters {
    MoxWtFilter low, high;

    int64_t longest() const { return std::max(low.length, high.length); }
    // The farthest samples from the one that a sum belongs to.
    int64_t before() const { return std::max(low.length - low.offset, high.length - high.offset) - 1; }
    int64_t behind() const { return std::max(low.offset, high.offset); }
};

const uint8_t *bytesAt(const OwnPlane &plane, int64_t y) {
    return reinterpret_cast<const uint8_t *>(plane.at(0, y));
}
float *floatsAt(const OwnPlane &plane, int64_t y) {
    return reinterpret_cast<float *>(plane.at(0, y));
}

// ------------------------------------------------------------------------------------------------------ decomposition

class Decomposition {
  public:
    Decomposition(const Filters &filters, const OwnPlane &src, const OwnPlane *bands)
        : filters_(filters),
          kernels_(ownWaveRows()),
          src_(src),
          bands_(bands),
          half_((int64_t{src.width} + 1) / 2),
          rows_((int64_t{src.height} + 1) / 2 * 2),
          margins_{filters.before() / 2 + 1, filters.behind() / 2 + 1},
          ring_(std::min(filters.before() + filters.behind() + 1, rows_)) {}

    bool prepare() {
        takeAll();
        if (!memory_.allocate()) return false;
        takeAll();
        return true;
    }

    void run() {
        // The first row that has not been filtered. Where the ring holds all rows they are filtered at once.
        int64_t next = ring_ == rows_ ? 0 : -filters_.before();
        for (int64_t k = 0; k < rows_ / 2; ++k) {
            const int64_t end = ring_ == rows_ ? rows_ : 2 * k + filters_.behind() + 1;
            for (; next < end; ++next)
                filterRow(wrap(next, rows_), ringRow(next));
            for (int band = 0; band < BANDS; ++band) {
                const MoxWtFilter &filter = band % 2 == 0 ? filters_.low : filters_.high;
                for (int j = 0; j < filter.length; ++j)
                    pointers_[j] = ringRow(2 * k + filter.offset - j) + (band < 2 ? 0 : half_);
                kernels_.filter({pointers_, filter.taps, filter.length}, floatsAt(bands_[band], k),
                                static_cast<size_t>(half_));
            }
        }
    }

  private:
    void takeAll() {
        const int64_t length = margins_.left + half_ + margins_.right;
        even_ = memory_.take<float>(length, margins_.left);
        odd_ = memory_.take<float>(length, margins_.left);
        filtered_ = memory_.take<float>(ring_ * 2 * half_);
        pointers_ = memory_.take<const float *>(filters_.longest());
        padded_ = memory_.take<uint8_t>(2 * half_);
    }

    float *ringRow(int64_t row) { return filtered_ + wrap(row, ring_) * 2 * half_; }

    // The low-pass half, then the high-pass half of a row; the last row of an odd number comes twice.
    void filterRow(int64_t row, float *out) {
        const uint8_t *samples = bytesAt(src_, std::min<int64_t>(row, src_.height - 1));
        if (src_.width % 2 != 0) {
            std::memcpy(padded_, samples, static_cast<size_t>(src_.width));
            padded_[src_.width] = padded_[src_.width - 1];
            samples = padded_;
        }
        kernels_.load(samples, even_, odd_, static_cast<size_t>(half_));
        extend(even_, half_, margins_);
        extend(odd_, half_, margins_);
        for (const MoxWtFilter *filter : {&filters_.low, &filters_.high}) {
            for (int64_t j = 0; j < filter->length; ++j) {
                const int64_t from = filter->offset - j;
                pointers_[j] = (from % 2 == 0 ? even_ : odd_) + floorHalf(from);
            }
            kernels_.filter({pointers_, filter->taps, filter->length}, out, static_cast<size_t>(half_));
            out += half_;
        }
    }

    const Filters &filters_;
    const OwnWaveRows &kernels_;
    const OwnPlane &src_;
    const OwnPlane *bands_;
    const int64_t half_, rows_;
    const Margins margins_;
    const int64_t ring_;  // rows that are kept
    Memory memory_;
    float *even_ = nullptr, *odd_ = nullptr, *filtered_ = nullptr;
    const float **pointers_ = nullptr;
    uint8_t *padded_ = nullptr;
};

// ----------------------------------------------------------------------------------------------------- reconstruction

class Reconstruction {
  public:
    Reconstruction(const Filters &filters, const OwnPlane *bands, const OwnPlane &dst)
        : filters_(filters),
          kernels_(ownWaveRows()),
          bands_(bands),
          dst_(dst),
          half_((int64_t{dst.width} + 1) / 2),
          halfRows_((int64_t{dst.height} + 1) / 2),
          margins_{filters.before() / 2 + 1, filters.behind() / 2 + 1} {}

    bool prepare() {
        takeAll();
        if (!memory_.allocate()) return false;
        takeAll();
        return true;
    }

    void run() {
        for (int64_t y = 0; y < dst_.height; ++y) {
            for (int part = 0; part < 2; ++part) {
                joinColumns(y, bands_[2 * part], bands_[2 * part + 1], parts_[part]);
                extend(parts_[part], half_, margins_);
            }
            for (int phase = 0; phase < 2; ++phase)
                joinRow(phase);
            auto *out = reinterpret_cast<uint8_t *>(dst_.at(0, y));
            uint8_t *to = dst_.width % 2 == 0 ? out : padded_;
            kernels_.store(phases_[0], phases_[1], to, static_cast<size_t>(half_));
            if (to != out) std::memcpy(out, to, static_cast<size_t>(dst_.width));
        }
    }

  private:
    void takeAll() {
        const int64_t length = margins_.left + half_ + margins_.right;
        for (int i = 0; i < 2; ++i) {
            parts_[i] = memory_.take<float>(length, margins_.left);
            phases_[i] = memory_.take<float>(half_);
            pointers_[i] = memory_.take<const float *>(filters_.longest());
            taps_[i] = memory_.take<float>(filters_.longest());
        }
        padded_ = memory_.take<uint8_t>(2 * half_);
    }

    // The taps that meet samples of a band at position n, those between them being 0; where the samples are is for
    // `sampleAt` to say.
    template <class SampleAt>
    OwnWaveSum choose(int filter, int64_t n, SampleAt sampleAt) {
        const MoxWtFilter &f = filter == 0 ? filters_.low : filters_.high;
        int64_t count = 0;
        for (int64_t j = wrap(n + f.offset, 2); j < f.length; j += 2, ++count) {
            taps_[filter][count] = f.taps[j];
            pointers_[filter][count] = sampleAt((n + f.offset - j) / 2);
        }
        return {pointers_[filter], taps_[filter], count};
    }

    void joinColumns(int64_t y, const OwnPlane &low, const OwnPlane &high, float *out) {
        const auto rowOf = [this](const OwnPlane &band) {
            return [this, &band](int64_t row) { return floatsAt(band, wrap(row, halfRows_)); };
        };
        kernels_.join(choose(0, y, rowOf(low)), choose(1, y, rowOf(high)), out, static_cast<size_t>(half_));
    }

    void joinRow(int phase) {
        const auto from = [](const float *part) { return [part](int64_t shift) { return part + shift; }; };
        kernels_.join(choose(0, phase, from(parts_[0])), choose(1, phase, from(parts_[1])), phases_[phase],
                      static_cast<size_t>(half_));
    }

    const Filters &filters_;
    const OwnWaveRows &kernels_;
    const OwnPlane *bands_;
    const OwnPlane &dst_;
    const int64_t half_, halfRows_;
    const Margins margins_;
    Memory memory_;
    float *parts_[2] = {}, *phases_[2] = {}, *taps_[2] = {};
    const float **pointers_[2] = {};
    uint8_t *padded_ = nullptr;
};

template <class Transform>
MoxStatus run(const OwnCaller &caller, Transform &&transform) {
    if (!transform.prepare()) return refuse(caller, MOX_StatusNoMemory, "%s", "No working memory.");
    transform.run();
    return MOX_StatusNoError;
}

}  // namespace

MoxStatus MOX_CALL moxWtDecompose(MoxWtKernel *wtKernel, MoxImage *src, MoxImage *approxDst, MoxImage *xDetailDst,
                                  MoxImage *yDetailDst, MoxImage *dDetailDst) {
    const OwnCaller caller = OWN_CALLER("moxWtDecompose");
    moxSetErrStatus(MOX_StatusNoError);
    if (!wtKernel) return refuse(caller, MOX_StatusNullPointer, "%s", "Null pointer by wtKernel was passed.");
    const Filters filters = {wtKernel->filtDecLow, wtKernel->filtDecHigh};
    if (const MoxStatus fault = checkFilter(caller, filters.low, "filtDecLow")) return fault;
    if (const MoxStatus fault = checkFilter(caller, filters.high, "filtDecHigh")) return fault;
    const Images images = {src,
                           {approxDst, xDetailDst, yDetailDst, dDetailDst},
                           "src",
                           {"approxDst", "xDetailDst", "yDetailDst", "dDetailDst"}};
    if (const MoxStatus fault = check(caller, images)) return fault;
    const OwnPlane bands[BANDS] = {ownPlane(approxDst, 0), ownPlane(xDetailDst, 0), ownPlane(yDetailDst, 0),
                                   ownPlane(dDetailDst, 0)};
    const OwnPlane plane = ownPlane(src, 0);
    return run(caller, Decomposition(filters, plane, bands));
}

MoxStatus MOX_CALL moxWtReconstruct(MoxWtKernel *wtKernel, MoxImage *approxSrc, MoxImage *xDetailSrc,
                                    MoxImage *yDetailSrc, MoxImage *dDetailSrc, MoxImage *dst) {
    const OwnCaller caller = OWN_CALLER("moxWtReconstruct");
    moxSetErrStatus(MOX_StatusNoError);
    if (!wtKernel) return refuse(caller, MOX_StatusNullPointer, "%s", "Null pointer by wtKernel was passed.");
    const Filters filters = {wtKernel->filtRecLow, wtKernel->filtRecHigh};
    if (const MoxStatus fault = checkFilter(caller, filters.low, "filtRecLow")) return fault;
    if (const MoxStatus fault = checkFilter(caller, filters.high, "filtRecHigh")) return fault;
    const Images images = {dst,
                           {approxSrc, xDetailSrc, yDetailSrc, dDetailSrc},
                           "dst",
                           {"approxSrc", "xDetailSrc", "yDetailSrc", "dDetailSrc"}};
    if (const MoxStatus fault = check(caller, images)) return fault;
    const OwnPlane bands[BANDS] = {ownPlane(approxSrc, 0), ownPlane(xDetailSrc, 0), ownPlane(yDetailSrc, 0),
                                   ownPlane(dDetailSrc, 0)};
    const OwnPlane plane = ownPlane(dst, 0);
    return run(caller, Reconstruction(filters, bands, plane));
}
