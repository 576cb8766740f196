// Asks the processor for its caches, and judges what one thread can keep in them.
#include "core/owncache.h"

#include <algorithm>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#define OWN_HAS_CPUID 1
#endif

namespace {

constexpr int64_t MB = int64_t{1} << 20;

// A smaller cache is not believed, and of a larger one a thread does not keep more for itself.
constexpr int64_t LEAST_KEPT = 4 * MB;
constexpr int64_t MOST_KEPT = 32 * MB;

// A cache that claims more than this belongs to all processors of a socket, many of them other people's.
constexpr int64_t SHARED_BY_MANY = 96 * MB;

// The leaves that list caches, one in each subleaf, in the same format: that of most processors, and that of those
// which leave it empty.
constexpr unsigned CACHES = 4, OTHER_CACHES = 0x8000001D;
constexpr unsigned HIGHEST_LEAF = 0, HIGHEST_OTHER_LEAF = 0x80000000;
// A list that does not end is no list.
constexpr unsigned MOST_CACHES = 16;
enum CacheType { CACHE_NONE, CACHE_DATA, CACHE_INSTRUCTION, CACHE_UNIFIED };

int64_t largestOf(OwnCpuid cpuid, unsigned leaf) {
    int64_t largest = 0;
    for (unsigned i = 0; i < MOST_CACHES; ++i) {
        const OwnCpuidAnswer answer = cpuid(leaf, i);
        const unsigned type = answer.a & 31;
        if (type == CACHE_NONE) break;
        if (type != CACHE_DATA && type != CACHE_UNIFIED) continue;
        // Each field is one less than it means. All at their largest are 2^10 x 2^10 x 2^12 x 2^32.
        const uint64_t way =
            uint64_t{(answer.b & 0xFFF) + 1} * ((answer.b >> 12 & 0x3FF) + 1) * (uint64_t{answer.c} + 1);
        const uint64_t ways = (answer.b >> 22) + 1;
        if (way < (uint64_t{1} << 40)) largest = std::max(largest, static_cast<int64_t>(way * ways));
    }
    return largest;
}

#if defined(OWN_HAS_CPUID)
OwnCpuidAnswer askProcessor(unsigned leaf, unsigned subleaf) {
    OwnCpuidAnswer answer = {};
    __cpuid_count(leaf, subleaf, answer.a, answer.b, answer.c, answer.d);
    return answer;
}
#endif

}  // namespace

int64_t ownLargestCache(OwnCpuid cpuid) {
    int64_t largest = 0;
    if (cpuid(HIGHEST_LEAF, 0).a >= CACHES) largest = largestOf(cpuid, CACHES);
    if (largest == 0 && cpuid(HIGHEST_OTHER_LEAF, 0).a >= OTHER_CACHES) largest = largestOf(cpuid, OTHER_CACHES);
    return largest;
}

// A pass over as much as a thread keeps pushes everything else out, its own destination included. Where nothing is read
// the caches of a few cores keep up longer. Those of a whole socket are slow to give up the lines to be overwritten:
// where 480 MB were claimed, a copy and its next reader gained from stores past the caches between 16 and 32 MB, and a
// fill and its next reader between 8 and 16.
OwnStreamBounds ownStreamBoundsFor(int64_t cacheBytes) {
    const int64_t kept = cacheBytes <= 0 ? MOST_KEPT : std::clamp(cacheBytes, LEAST_KEPT, MOST_KEPT);
    return {kept, cacheBytes > SHARED_BY_MANY ? kept / 2 : kept + kept / 2};
}

// Written at attach, before any operation runs.
static OwnStreamBounds bounds = {MOST_KEPT, MOST_KEPT + MOST_KEPT / 2};

const OwnStreamBounds &ownStreamBounds() {
    return bounds;
}

void ownChooseStreamBounds() {
#if defined(OWN_HAS_CPUID)
    bounds = ownStreamBoundsFor(ownLargestCache(askProcessor));
#endif
}
