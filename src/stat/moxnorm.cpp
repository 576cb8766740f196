// Norms of an image and of the difference of two.
#include <algorithm>
#include <cfloat>
#include <cmath>

#include "frame/ownmeasure.h"
#include "stat/ownstat.h"

namespace {

// A norm and its denominator's, where it is relative.
struct Norm {
    OwnNormRow rows[2];  // of the image or the difference; of the second image
    OwnNormSum sums[2];
    int bits;  // of a sample
    bool relative;
    bool lanes;  // the sums are kept in lanes
};

// Both sums of a relative norm read the second image: it is taken in parts that stay in the nearest cache.
void fold(void *state, const OwnFold &row) {
    auto *norm = static_cast<Norm *>(state);
    constexpr size_t part = 4096;
    if (!norm->relative) {
        norm->rows[0](row.a, row.b, row.samples, &norm->sums[0]);
    } else {
        for (size_t done = 0; done < row.samples; done += part) {
            const size_t n = std::min(part, row.samples - done);
            const size_t at = done * static_cast<size_t>(norm->bits) / 8;
            norm->rows[0](row.a + at, row.b + at, n, &norm->sums[0]);
            norm->rows[1](row.b + at, nullptr, n, &norm->sums[1]);
        }
    }
    if (!row.endsRow || !norm->lanes) return;
    const OwnNormRows &rows = ownNormRows();
    rows.endRow(&norm->sums[0]);
    if (norm->relative) rows.endRow(&norm->sums[1]);
}

struct NormCall {
    OwnCaller caller;
    MoxImage *a, *b;
    int type;

    // True if the call ends here: a report function that clears the status lets it go on.
    bool refused(MoxStatus status, const char *message) const {
        ownReport(caller, status, message);
        return moxGetErrStatus() < 0;
    }
    bool isRelative() const { return (type & MOX_NORM_RELATIVE) != 0; }
    bool isKnown() const {
        const int kind = type & ~MOX_NORM_RELATIVE;
        return (kind == MOX_NORM_C || kind == MOX_NORM_L1 || kind == MOX_NORM_L2) && (b || !isRelative());
    }
    OwnNormKind kind() const {
        const int kind = type & ~MOX_NORM_RELATIVE;
        return kind == MOX_NORM_C ? OWN_NORM_C : kind == MOX_NORM_L1 ? OWN_NORM_L1 : OWN_NORM_L2;
    }

    bool check() const;
    double measure() const;
    double finish(const Norm &norm) const;
    double mark(double marker, MoxStatus status, const char *message) const;
};

bool NormCall::check() const {
    if (!ownAcceptImage(caller, a)) return false;
    if (b) {
        if (a->dataOrder != b->dataOrder && refused(MOX_StatusHeaderOrder, "DataOrder_A!=DataOrder_B")) return false;
        if (a->depth != b->depth) {
            if (ownAcceptImage(caller, b))
                ownReport(caller, MOX_StatusBadArgument, "(srcImageA->depth!=srcImageB->depth)");
            return false;
        }
    }
    const int kind = type & ~MOX_NORM_RELATIVE;
    const bool exists = kind == MOX_NORM_C || kind == MOX_NORM_L1 || kind == MOX_NORM_L2;
    if (!exists && refused(MOX_StatusBadArgument, "Unknown normType")) return false;
    if (exists && isRelative() && !b && refused(MOX_StatusBadArgument, "normType is impossible, no second image"))
        return false;
    if (!b) return true;
    if (!ownAcceptImage(caller, b)) return false;
    if (ownChannels(a) != ownChannels(b) && refused(MOX_StatusHeaderChannels, "nChannelsA != nChannelsB")) return false;
    return ownHasCoi(a) == ownHasCoi(b) ||
           !refused(MOX_StatusHeaderCoi, "COI should be defined for second image if COI is defined for the first one");
}

double NormCall::mark(double marker, MoxStatus status, const char *message) const {
    ownReport(caller, status, message);
    return marker;
}

double NormCall::finish(const Norm &norm) const {
    const auto value = [&](const OwnNormSum &sum) {
        const double total = static_cast<double>(sum.whole) + sum.real;
        return kind() == OWN_NORM_L2 ? std::sqrt(total) : total;
    };
    if (!norm.relative) return value(norm.sums[0]);
    const double denominator = value(norm.sums[1]);
    if (denominator > DBL_MIN) return value(norm.sums[0]) / denominator;
    return mark(-1, MOX_StatusBadArgument, "Zero divided");
}

double NormCall::measure() const {
    if (!isKnown()) return mark(0, MOX_StatusGeneral, " ");
    const OwnCommonMask mask(caller, a, b);
    if (mask.lacksMemory()) return mark(0, MOX_StatusHeaderNull, "Null pointer for mask");
    if (mask.endsCall()) return 0;

    const int depth = ownDepthIndex(a->depth);
    const OwnNormRows &rows = ownNormRows();
    Norm norm = {};
    norm.rows[0] = (b ? rows.difference : rows.one)[kind()][depth];
    norm.rows[1] = rows.one[kind()][depth];
    norm.bits = ownDepthBits(a->depth);
    norm.relative = isRelative();
    norm.lanes = norm.bits == 32 && kind() != OWN_NORM_C;

    OwnMeasure measure = {};
    measure.images[0] = a;
    measure.images[1] = b;
    measure.mask = mask.image();
    measure.first[0] = ownFirstChannel(a);
    measure.first[1] = b ? ownFirstChannel(b) : 0;
    measure.channels = b ? std::min(ownChannels(a), ownChannels(b)) : ownChannels(a);
    // The sums of 32-bit samples are those of rows, however these lie in memory.
    measure.anyRows = !norm.lanes;
    measure.fold = fold;
    measure.state = &norm;
    ownMeasureSize(&measure);
    if (measure.width <= 0 || measure.height <= 0) return 0;
    if (ownRunMeasure(measure) != OWN_MEASURE_DONE)
        return mark(-3, MOX_StatusNoMemory, "No memory for create intermediate image");
    return finish(norm);
}

}  // namespace

double MOX_CALL moxNorm(MoxImage *srcImageA, MoxImage *srcImageB, int normType) {
    const NormCall call = {OWN_CALLER("moxNorm"), srcImageA, srcImageB, normType};
    return call.check() ? call.measure() : 0;
}
