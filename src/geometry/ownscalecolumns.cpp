// Tables of columns. All entries of a pixel's samples are alike but for where they stand in it; those behind the last
// pixel repeat it.
#include "geometry/ownscalecolumns.h"

#include <algorithm>
#include <cstring>

#include "core/owncpu.h"

namespace {

constexpr int64_t VECTOR = 16;  // bytes that a shuffle takes from
constexpr uint8_t NOTHING = 128;

struct Tables {
    int32_t *at, *count, *base;
    uint8_t *pick;
    int16_t *pairs;
    float *weights[4];
};

// How many weights of floats a sample has.
int weightsOf(OwnScaleWeights weights) {
    switch (weights) {
        case OWN_WEIGHTS_LINEAR:
            return 2;
        case OWN_WEIGHTS_NEWTON:
        case OWN_WEIGHTS_POWERS:
            return 3;
        case OWN_WEIGHTS_MEANS:
            return 4;
        default:
            return 0;
    }
}

// A method's tables, one behind the other, in memory or counted only. Shuffles take most where quads are split.
int64_t layOut(const OwnScaleMethod &method, size_t n, uint8_t *memory, Tables *tables) {
    const auto samples = static_cast<int64_t>(n);
    const int64_t lanes = method.pick == OWN_PICK_NONE ? 0 : method.pick == OWN_PICK_QUADS ? samples / 2 : samples / 4;
    int64_t size = 0;
    const auto take = [&](int64_t bytes) {
        uint8_t *at = memory ? memory + size : nullptr;
        size += bytes;
        return at;
    };
    tables->at = reinterpret_cast<int32_t *>(take(4 * samples));
    tables->count = reinterpret_cast<int32_t *>(take(method.taps == 0 ? 4 * samples : 0));
    tables->base = reinterpret_cast<int32_t *>(take(4 * lanes));
    tables->pick = take(VECTOR * lanes);
    tables->pairs = reinterpret_cast<int16_t *>(take(method.weights == OWN_WEIGHTS_PAIRS ? 4 * samples : 0));
    for (int k = 0; k < weightsOf(method.weights); ++k)
        tables->weights[k] = reinterpret_cast<float *>(take(4 * samples));
    return size;
}

// ------------------------------------------------------------------------------------------------------------- weights

// Means by vectors have a weight for each of four pixels, and others those of the first and the last.
void setMeans(const OwnScalePlace &place, bool picked, float *w) {
    w[0] = place.f;
    w[1] = place.g;
    w[2] = w[3] = 0.0f;
    if (!picked) return;
    for (int k = 1; k < 4; ++k)
        w[k] = k + 1 < place.count ? 1.0f : k + 1 == place.count ? place.g : 0.0f;
}

void weigh(OwnScaleWeights kind, const OwnScalePlace &place, bool picked, float *w) {
    const float f = place.f;
    switch (kind) {
        case OWN_WEIGHTS_LINEAR:
            w[0] = 1.0f - f;
            w[1] = f;
            break;
        case OWN_WEIGHTS_NEWTON:
            w[0] = 1.0f + f;
            w[1] = 0.5f * w[0] * f;
            w[2] = 0.33333334f * (f - 1.0f) * w[1];
            break;
        case OWN_WEIGHTS_POWERS:
            w[0] = f;
            w[1] = f * f;
            w[2] = w[1] * f;
            break;
        case OWN_WEIGHTS_MEANS:
            setMeans(place, picked, w);
            break;
        case OWN_WEIGHTS_PAIRS:
        case OWN_WEIGHTS_NONE:
            break;
    }
}

// Where the weights of sample i stand: vectors of pairs take the second and the third quarter of 16 in turn.
size_t placeOfPair(size_t i, bool picked) {
    const size_t quarter = i / 4 % 4;
    return picked && (quarter == 1 || quarter == 2) ? i + 12 - 8 * quarter : i;
}

void setWeights(const OwnScaleMethod &method, const OwnScalePlace *places, size_t pixels, size_t channels, size_t n,
                bool picked, const Tables &tables) {
    const int count = weightsOf(method.weights);
    for (size_t x = 0, i = 0; i < n; ++x) {
        const OwnScalePlace &place = places[std::min(x, pixels - 1)];
        const size_t end = std::min(i + channels, n);
        float w[4] = {};
        weigh(method.weights, place, picked, w);
        for (; i < end; ++i) {
            for (int k = 0; k < count; ++k)
                tables.weights[k][i] = w[k];
            if (method.weights != OWN_WEIGHTS_PAIRS) continue;
            int16_t *pair = tables.pairs + 2 * placeOfPair(i, picked);
            pair[0] = static_cast<int16_t>(16384 - place.weight);
            pair[1] = static_cast<int16_t>(place.weight);
        }
    }
}

// ------------------------------------------------------------------------------------------------------------ shuffles

// Makes lanes: each has some samples' bytes from one vector of the row.
class Lanes {
  public:
    Lanes(const OwnScaleMethod &method, const OwnScaleColumns &columns, const Tables &tables, int64_t rowBytes)
        : method_(method), columns_(columns), tables_(tables), rowBytes_(rowBytes) {}

    // The lane for samples first to end, the j-th byte of sample i to place(i, j). False where they lie too far apart.
    template <class Place>
    bool make(size_t lane, size_t first, size_t end, const Place &place) const {
        int64_t low = rowBytes_, high = 0;
        for (size_t i = first; i < end; ++i) {
            low = std::min<int64_t>(low, tables_.at[i]);
            high = std::max<int64_t>(high, tables_.at[i] + (tapsOf(i) - 1) * columns_.pixel);
        }
        const int64_t base = std::min(std::max<int64_t>(low, 0), rowBytes_ - VECTOR);
        if (high - base >= VECTOR) return false;
        tables_.base[lane] = static_cast<int32_t>(base);
        uint8_t *pick = tables_.pick + VECTOR * static_cast<int64_t>(lane);
        std::memset(pick, NOTHING, VECTOR);
        for (size_t i = first; i < end; ++i) {
            const int taps = tapsOf(i);
            int64_t at = tables_.at[i] - base;
            for (int j = 0; j < taps; ++j, at += columns_.pixel) {
                // Before the row there is nothing: the first pixel stands for it.
                const bool before = j == 0 && taps == 4 && i < columns_.lead;
                pick[place(i - first, static_cast<size_t>(j))] =
                    static_cast<uint8_t>(before ? at + columns_.pixel : at);
            }
        }
        return true;
    }

    int tapsOf(size_t i) const { return method_.taps == 0 ? tables_.count[i] : method_.taps; }

  private:
    const OwnScaleMethod &method_;
    const OwnScaleColumns &columns_;
    const Tables &tables_;
    int64_t rowBytes_;
};

bool makeBytes(const Lanes &lanes, size_t n, size_t step) {
    const size_t vectors = 16 / step;
    for (size_t i = 0; i < n; i += step) {
        const size_t j = i % 16 / step, half = i % 32 / 16;
        const size_t lane = 2 * (i / 32 * vectors + j) + half;
        if (!lanes.make(lane, i, i + step, [&](size_t k, size_t) { return j * step + k; })) return false;
    }
    return true;
}

bool makePairs(const Lanes &lanes, size_t n, size_t step) {
    for (size_t i = 0; i < n; i += step) {
        const bool words = step == 4;
        const size_t lane = words ? placeOfPair(i, true) / 4 : i / 8;
        const auto place = [&](size_t k, size_t j) { return words ? 4 * k + 2 * j : 2 * k + j; };
        if (!lanes.make(lane, i, i + step, place)) return false;
    }
    return true;
}

bool haveQuads(const Lanes &lanes, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        if (lanes.tapsOf(i) > 4) return false;
    }
    return true;
}

bool makeQuads(const Lanes &lanes, size_t n) {
    for (size_t i = 0; i < n; i += 4) {
        if (!lanes.make(i / 4, i, i + 4, [](size_t k, size_t j) { return 4 * k + j; })) return false;
    }
    return true;
}

// The samples of a lane that stand close to its first one come from one vector, the others from another.
bool makeSplitQuads(const Lanes &lanes, size_t n, const int32_t *at, int64_t pixel) {
    for (size_t i = 0; i < n; i += 4) {
        const size_t lane = i / 8 * 4 + i / 4 % 2;
        size_t gap = i + 1;
        while (gap < i + 4 && at[gap] - at[i] < pixel)
            ++gap;
        const auto place = [&](size_t from) { return [=](size_t k, size_t j) { return 4 * (from + k) + j; }; };
        if (!lanes.make(lane, i, gap, place(0)) || !lanes.make(lane + 2, gap, i + 4, place(gap - i))) return false;
    }
    return true;
}

bool makeLanes(const OwnScaleMethod &method, const Tables &tables, int64_t rowBytes, OwnScaleColumns *columns) {
    if (method.pick == OWN_PICK_NONE || rowBytes < VECTOR || ownCpuLevel() < OWN_LEVEL_V3) return false;
    const Lanes lanes(method, *columns, tables, rowBytes);
    const size_t n = columns->n;
    switch (method.pick) {
        case OWN_PICK_BYTES:
            for (const size_t step : {size_t{16}, size_t{8}, size_t{4}}) {
                columns->step = step;
                if (makeBytes(lanes, n, step)) return true;
            }
            return false;
        case OWN_PICK_PAIRS:
            for (const size_t step : {size_t{8}, size_t{4}}) {
                columns->step = step;
                if (makePairs(lanes, n, step)) return true;
            }
            return false;
        case OWN_PICK_QUADS:
            if (!haveQuads(lanes, n)) return false;
            if (makeQuads(lanes, n)) return true;
            columns->split = true;
            return makeSplitQuads(lanes, n, tables.at, columns->pixel);
        case OWN_PICK_NONE:
            break;
    }
    return false;
}

}  // namespace

int64_t ownColumnBytes(const OwnScaleMethod &method, size_t n) {
    Tables tables;
    return layOut(method, n, nullptr, &tables);
}

void ownMakeColumns(const OwnScaleMethod &method, const OwnScalePlace *places, size_t pixels,
                    const OwnColumnSource &source, uint8_t *memory, OwnScaleColumns *columns) {
    const auto channels = static_cast<size_t>(source.channels);
    const size_t samples = pixels * channels;
    Tables tables = {};
    *columns = {};
    columns->n = (samples + OWN_SCALE_BLOCK - 1) / OWN_SCALE_BLOCK * OWN_SCALE_BLOCK;
    columns->pixel = int64_t{source.channels} * source.bytes;
    layOut(method, columns->n, memory, &tables);

    for (size_t x = 0, i = 0; x < pixels; ++x) {
        const OwnScalePlace &place = places[x];
        if (place.first < 0 || place.alone) columns->lead = i + channels;
        const int64_t at = (place.first - source.first) * columns->pixel;
        for (size_t c = 0; c < channels; ++c, ++i) {
            tables.at[i] = static_cast<int32_t>(at + static_cast<int64_t>(c) * source.bytes);
            if (method.taps == 0) tables.count[i] = place.count;
        }
    }
    for (size_t i = samples; i < columns->n; ++i) {
        tables.at[i] = tables.at[i - channels];
        if (method.taps == 0) tables.count[i] = tables.count[i - channels];
    }
    if (columns->lead == samples) columns->lead = columns->n;
    const bool picked = makeLanes(method, tables, source.pixels * columns->pixel, columns);
    setWeights(method, places, pixels, channels, columns->n, picked, tables);

    columns->at = tables.at;
    columns->count = tables.count;
    columns->base = picked ? tables.base : nullptr;
    columns->pick = tables.pick;
    columns->pairs = tables.pairs;
    for (int k = 0; k < 4; ++k)
        columns->weights[k] = tables.weights[k];
}
