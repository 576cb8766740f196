// The version record and the cycle counter.
#include <chrono>

#if defined(__x86_64__) || defined(__i386__)
#include <x86intrin.h>
#endif

#include "core/owncore.h"

static const MoxLibVersion libVersion = {
    2, 5, 9, "moxw7.dll", "2.5 Release SP1", "[2.5.9.89, 03/05/2002]", "Mar  5 2002", "DLL",
};

const MoxLibVersion *MOX_CALL moxGetLibVersion(void) {
    return &libVersion;
}

long long MOX_CALL moxGetCycleCounter(void) {
#if defined(__x86_64__) || defined(__i386__)
    return static_cast<long long>(__rdtsc());
#else
    return std::chrono::steady_clock::now().time_since_epoch().count();
#endif
}
