// Wavelet kernels: the built-in ones, those of the caller's filters, and their end.
#include <cstdio>
#include <cstring>

#include "transform/ownwavelets.h"

namespace {

constexpr int FILTERS = 4;

MoxStatus refuse(const OwnCaller &caller, MoxStatus status, const char *message) {
    ownReport(caller, status, message);
    return status;
}

MoxStatus refuseNull(const OwnCaller &caller, const char *argument) {
    char message[80];
    std::snprintf(message, sizeof message, "Null pointer by %s was passed.", argument);
    return refuse(caller, MOX_StatusNullPointer, message);
}

// How a user initialiser names the parts of a filter in its reports.
struct Names {
    char taps[32], length[32], offset[32];
};

// The first fault of a filter, reported.
MoxStatus checkFilter(const OwnCaller &caller, const MoxWtFilter &filter, const Names &names) {
    char message[80] = "";
    if (!filter.taps) {
        std::snprintf(message, sizeof message, "Error %s == NULL.", names.taps);
    } else if (filter.length < 2) {
        std::snprintf(message, sizeof message, "Error %s < 2.", names.length);
    } else if (filter.offset >= filter.length) {
        std::snprintf(message, sizeof message, "Error %s >= %s.", names.offset, names.length);
    } else if (filter.offset < 0) {
        std::snprintf(message, sizeof message, "Error %s < 0.", names.offset);
    } else {
        return MOX_StatusNoError;
    }
    return refuse(caller, MOX_StatusFilterContent, message);
}

// The record of the caller's filters, which have been checked; it owns copies of their taps.
MoxStatus copyFilters(const OwnCaller &caller, const MoxWtFilter *filters, MoxWtKernel *wtKernel) {
    MoxWtFilter copies[FILTERS] = {};
    for (int i = 0; i < FILTERS; ++i) {
        copies[i] = filters[i];
        copies[i].symmetry = 3;
        copies[i].taps = moxsMalloc(filters[i].length);
        if (!copies[i].taps) {
            while (--i >= 0)
                moxFree(copies[i].taps);
            return refuse(caller, MOX_StatusNoMemory, "No working memory.");
        }
        std::memcpy(copies[i].taps, filters[i].taps, static_cast<size_t>(filters[i].length) * sizeof(float));
    }
    *wtKernel = {MOX_WT_USER, 0, 0, 3, copies[0], copies[1], copies[2], copies[3]};
    return MOX_StatusNoError;
}

}  // namespace

MoxStatus MOX_CALL moxWtInit(int wtType, int par1, int par2, MoxWtKernel *wtKernel) {
    const OwnCaller caller = OWN_CALLER("moxWtInit");
    moxSetErrStatus(MOX_StatusNoError);
    if (!wtKernel) return refuseNull(caller, "wtKernel");
    const MoxWtKernel *found = nullptr;
    if (const char *fault = ownFindWavelet(wtType, par1, par2, &found))
        return refuse(caller, MOX_StatusBadArgument, fault);
    *wtKernel = *found;
    return MOX_StatusNoError;
}

MoxStatus MOX_CALL moxWtInitUserFilter(MoxWtFilter *decLow, MoxWtFilter *decHigh, MoxWtFilter *recLow,
                                       MoxWtFilter *recHigh, MoxWtKernel *wtKernel) {
    const OwnCaller caller = OWN_CALLER("moxWtInitUserFilter");
    moxSetErrStatus(MOX_StatusNoError);
    if (!wtKernel) return refuseNull(caller, "wtKernel");
    const MoxWtFilter *const given[FILTERS] = {decLow, decHigh, recLow, recHigh};
    static const char *const names[FILTERS] = {"decLow", "decHigh", "recLow", "recHigh"};
    for (int i = 0; i < FILTERS; ++i) {
        if (!given[i]) return refuseNull(caller, names[i]);
    }
    MoxWtFilter filters[FILTERS];
    for (int i = 0; i < FILTERS; ++i) {
        Names parts;
        std::snprintf(parts.taps, sizeof parts.taps, "(*%s).taps", names[i]);
        std::snprintf(parts.length, sizeof parts.length, "(*%s).length", names[i]);
        std::snprintf(parts.offset, sizeof parts.offset, "(*%s).offset", names[i]);
        filters[i] = *given[i];
        if (const MoxStatus fault = checkFilter(caller, filters[i], parts)) return fault;
    }
    return copyFilters(caller, filters, wtKernel);
}

MoxStatus MOX_CALL moxWtInitUserFilter4(MoxWtFilter *filt, MoxWtKernel *wtKernel) {
    const OwnCaller caller = OWN_CALLER("moxWtInitUserFilter4");
    moxSetErrStatus(MOX_StatusNoError);
    if (!wtKernel) return refuseNull(caller, "wtKernel");
    if (!filt) return refuseNull(caller, "filt");
    for (int i = 0; i < FILTERS; ++i) {
        Names parts;
        std::snprintf(parts.taps, sizeof parts.taps, "filt[%d].taps", i);
        std::snprintf(parts.length, sizeof parts.length, "filt[%d].length", i);
        std::snprintf(parts.offset, sizeof parts.offset, "filt[%d].offset", i);
        if (const MoxStatus fault = checkFilter(caller, filt[i], parts)) return fault;
    }
    return copyFilters(caller, filt, wtKernel);
}

MoxStatus MOX_CALL moxWtInitUserTaps(float **filt, int *len_filt, int *ofs_filt, MoxWtKernel *wtKernel) {
    const OwnCaller caller = OWN_CALLER("moxWtInitUserTaps");
    moxSetErrStatus(MOX_StatusNoError);
    if (!wtKernel) return refuseNull(caller, "wtKernel");
    if (!filt) return refuseNull(caller, "filt");
    if (!len_filt) return refuseNull(caller, "len_filt");
    if (!ofs_filt) return refuseNull(caller, "ofs_filt");
    MoxWtFilter filters[FILTERS];
    for (int i = 0; i < FILTERS; ++i) {
        Names parts;
        std::snprintf(parts.taps, sizeof parts.taps, "filt[%d]", i);
        std::snprintf(parts.length, sizeof parts.length, "len_filt[%d]", i);
        std::snprintf(parts.offset, sizeof parts.offset, "ofs_filt[%d]", i);
        filters[i] = {filt[i], len_filt[i], ofs_filt[i], 3};
        if (const MoxStatus fault = checkFilter(caller, filters[i], parts)) return fault;
    }
    return copyFilters(caller, filters, wtKernel);
}

MoxStatus MOX_CALL moxWtFree(MoxWtKernel *wtKernel) {
    moxSetErrStatus(MOX_StatusNoError);
    if (!wtKernel) return refuseNull(OWN_CALLER("moxWtFree"), "wtKernel");
    if (wtKernel->wtType == MOX_WT_USER) {
        MoxWtFilter *const filters[FILTERS] = {&wtKernel->filtDecLow, &wtKernel->filtDecHigh, &wtKernel->filtRecLow,
                                               &wtKernel->filtRecHigh};
        for (const MoxWtFilter *filter : filters)
            moxFree(filter->taps);
    }
    *wtKernel = {};
    return MOX_StatusNoError;
}
