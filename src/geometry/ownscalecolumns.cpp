// Tables of columns. All entries of a pixel's samples are alike but for where they stand in it; those behind the last
// sample repeat it.
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

// A method's tables, one behind the other, in memory or counted only.
int64_t layOut(const OwnScaleMethod &method, size_t n, uint8_t *memory, Tables *tables) {
    const auto samples = static_cast<int64_t>(n);
    int64_t size = 0;
    const auto take = [&](int64_t bytes) {
        uint8_t *at = memory ? memory + size : nullptr;
        size += bytes;
        return at;
    };
    tables->at = reinterpret_cast<int32_t *>(take(4 * samples));
    tables->count = reinterpret_cast<int32_t *>(take(method.taps == 0 ? 4 * samples : 0));
    tables->base = reinterpret_cast<int32_t *>(take(method.pick == OWN_PICK_NONE ? 0 : samples));
    tables->pick = take(method.pick == OWN_PICK_NONE ? 0 : 4 * samples);
    tables->pairs = reinterpret_cast<int16_t *>(take(method.weights == OWN_WEIGHTS_PAIRS ? 4 * samples : 0));
    for (int k = 0; k < weightsOf(method.weights); ++k)
        tables->weights[k] = reinterpret_cast<float *>(take(4 * samples));
    return size;
}

// Means by vectors have a weight for each of four pixels, and others those of the first and the last.
void setMeans(const OwnScalePlace &place, bool picked, float *w) {
    w[0] = place.f;
    w[1] = place.g;
    w[2] = w[3] = 0.0f;
    if (!picked) return;
    for (int k = 1; k < 4; ++k)
        w[k] = k + 1 < place.count ? 1.0f : k + 1 == place.count ? place.g : 0.0f;
}

void setWeights(OwnScaleWeights kind, const OwnScalePlace &place, bool picked, const Tables &tables, size_t i) {
    float w[4] = {};
    const float f = place.f;
    switch (kind) {
        case OWN_WEIGHTS_PAIRS:
            tables.pairs[2 * i] = static_cast<int16_t>(16384 - place.weight);
            tables.pairs[2 * i + 1] = static_cast<int16_t>(place.weight);
            break;
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
        case OWN_WEIGHTS_NONE:
            break;
    }
    for (int k = 0; k < weightsOf(kind); ++k)
        tables.weights[k][i] = w[k];
}

// The bytes that four samples take, as shuffles name them.
class Group {
  public:
    Group(const OwnScaleMethod &method, const OwnScaleColumns &columns, const Tables &tables)
        : method_(method), columns_(columns), tables_(tables) {}

    // False where they lie too far apart.
    bool make(size_t k, int64_t rowBytes) const {
        int64_t low = rowBytes, high = 0;
        for (size_t i = 4 * k; i < 4 * k + 4; ++i) {
            low = std::min(low, byteAt(i, 0));
            high = std::max(high, byteAt(i, tapsOf(i) - 1));
        }
        const int64_t base = std::min(low, rowBytes - VECTOR);
        if (base < 0 || high - base >= VECTOR) return false;
        tables_.base[k] = static_cast<int32_t>(base);
        uint8_t *pick = tables_.pick + 16 * k;
        std::memset(pick, NOTHING, 16);
        for (size_t j = 0; j < 4; ++j) {
            const int taps = tapsOf(4 * k + j);
            if (taps > 4) return false;
            for (int tap = 0; tap < taps; ++tap)
                pick[placeOf(k, j, static_cast<size_t>(tap))] = static_cast<uint8_t>(byteAt(4 * k + j, tap) - base);
        }
        return true;
    }

  private:
    int tapsOf(size_t i) const { return method_.taps == 0 ? tables_.count[i] : method_.taps; }
    int64_t byteAt(size_t i, int tap) const {
        if (i < columns_.lead && tap == 0 && method_.taps == 4) tap = 1;
        return tables_.at[i] + tap * columns_.pixel;
    }
    size_t placeOf(size_t k, size_t j, size_t tap) const {
        switch (method_.pick) {
            case OWN_PICK_BYTES:
                return 4 * (k % 4) + j;
            case OWN_PICK_PAIRS:
                return 4 * j + 2 * tap;
            default:
                return 4 * j + tap;
        }
    }

    const OwnScaleMethod &method_;
    const OwnScaleColumns &columns_;
    const Tables &tables_;
};

bool makeGroups(const OwnScaleMethod &method, const OwnScaleColumns &columns, const Tables &tables, int64_t rowBytes) {
    if (method.pick == OWN_PICK_NONE || rowBytes < VECTOR || ownCpuLevel() < OWN_LEVEL_V3) return false;
    const Group group(method, columns, tables);
    for (size_t k = 0; k < columns.n / 4; ++k) {
        if (!group.make(k, rowBytes)) return false;
    }
    return true;
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
        tables.at[i] = tables.at[samples - 1];
        if (method.taps == 0) tables.count[i] = tables.count[samples - 1];
    }
    if (columns->lead == samples) columns->lead = columns->n;
    const bool picked = makeGroups(method, *columns, tables, source.pixels * columns->pixel);
    for (size_t i = 0; i < columns->n; ++i)
        setWeights(method.weights, places[std::min(i / channels, pixels - 1)], picked, tables, i);

    columns->at = tables.at;
    columns->count = tables.count;
    columns->base = picked ? tables.base : nullptr;
    columns->pick = tables.pick;
    columns->pairs = tables.pairs;
    for (int k = 0; k < 4; ++k)
        columns->weights[k] = tables.weights[k];
}
