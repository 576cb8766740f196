// Chooses among the passes. The limit belongs to the machine: it uses the widest vectors there are (in this
// build), whatever level the library is forced to.
#include "limit.h"

#include <cstring>

#include "core/owncpu.h"
#include "frame/ownkernel.h"
#include "limitrows.h"

OWN_DECLARE_LEVELS(LimitRows, limitRows)

namespace {

enum { PLAIN, STREAMING, LIBRARY, NARROW, FORMS };

const LimitRows &rowsOf(OwnCpuLevel level) {
    static constexpr const LimitRows *tables[] = OWN_LEVEL_TABLES(limitRows);
    return *tables[level];
}

const LimitRows &widest() {
    return rowsOf(ownHighestCpuLevel());
}

// Some machines move half of their widest vector quicker.
const LimitRows &narrower() {
    return rowsOf(ownHighestCpuLevel() == OWN_LEVEL_V4 ? OWN_LEVEL_V3 : OWN_LEVEL_BASE);
}

}  // namespace

double limitBytes(const Traffic &traffic) {
    static constexpr int STREAMS[LIMIT_SHAPES] = {1, 2, 3, 2, 3, 4, 4, 1, 2};
    return static_cast<double>(traffic.bytes) * STREAMS[traffic.shape] + static_cast<double>(traffic.maskBytes);
}

int limitForms() {
    return FORMS;
}

const char *limitFormName(int form) {
    static constexpr const char *NAMES[FORMS] = {"plain stores", "streaming stores", "memcpy or memset",
                                                 "plain stores, narrower vectors"};
    return NAMES[form];
}

bool limitHasForm(LimitShape shape, int form) {
    switch (form) {
        case STREAMING:
            return widest().streaming[shape] != nullptr;
        case LIBRARY:
            return shape == LIMIT_FILL || shape == LIMIT_COPY;
        case NARROW:
            return ownHighestCpuLevel() > OWN_LEVEL_BASE;
        default:
            return true;
    }
}

void limitPass(const Traffic &traffic, const LimitBuffers &at, int form) {
    const size_t n = (traffic.bytes + 63) / 64 * 64;
    if (form == LIBRARY && traffic.shape == LIMIT_FILL) {
        std::memset(at.d, 0x5A, n);
    } else if (form == LIBRARY) {
        std::memcpy(at.d, at.a, n);
    } else if (form == STREAMING) {
        widest().streaming[traffic.shape](at.a, at.b, at.d, n);
    } else {
        (form == NARROW ? narrower() : widest()).plain[traffic.shape](at.a, at.b, at.d, n);
    }
    if (traffic.maskBytes > 0) widest().read(at.mask, (traffic.maskBytes + 63) / 64 * 64);
}
