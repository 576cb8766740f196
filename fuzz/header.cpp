// Any header, region, mask and tile record through every function that takes images: a result or a named report, and no
// byte touched that the caller did not promise.
#include <cstring>

#include "core/owncpu.h"
#include "hostile.h"
#include "support/allocations.h"
#include "table/examples.h"
#include "target.h"

static int faults;  // reports that store a status

static MoxStatus MOX_CALL watchReport(MoxStatus status, const char *function, const char *message, const char *file,
                                      int line) {
    // Depths of colours are refused in the name of the kernels' frame, and decimation has a name of its own.
    requireThat(function && (strncmp(function, "mox", 3) == 0 || strncmp(function, "own", 3) == 0 ||
                             strcmp(function, "Decimate") == 0),
                "a report without a function's name");
    requireThat(message && file && !strchr(file, '/') && line > 0, "a report without message or place");
    if (status != MOX_StatusBacktrace && status != MOX_StatusAutotrace) ++faults;
    return status;
}

static const Example &drawExample(Random &random) {
    static const std::vector<const Example *> takers = [] {
        std::vector<const Example *> list;
        for (const Example &example : allExamples()) {
            if (example.images > 0) list.push_back(&example);
        }
        return list;
    }();
    return exampleOfKey(takers, random.bits());
}

// Functions that allocate pixels take as much as a header asks for.
static bool wouldAllocateMuch(const Example &example, const MoxImage *image) {
    const double samples = double{1} * image->width * image->height * image->nChannels;
    return (example.touches == Touches::HEADERS || !image->imageData) && samples > 1e6 && samples < 1e11;
}

static void callOnce(Random &random, HostileImages &images, const Example &example) {
    ExampleCall call;
    call.count = example.images;
    call.random = &random;
    for (int i = 0; i < example.images; ++i)
        call.images[i] = images.header(i);
    if (images.tooLarge(example.images)) return;
    // A null header is for operations; what is told to need one needs it.
    if (example.touches == Touches::HEADERS && !call.dst()) return;
    if (call.dst() && wouldAllocateMuch(example, call.dst())) return;
    if (!random.oneIn(8)) moxSetErrStatus(MOX_StatusNoError);
    faults = 0;
    images.begin(random.oneIn(2) ? 0 : random.between(1, 40));
    AllocationWindow window(random.oneIn(4) ? random.between(1, 8) : 0);
    example.run(call);
    window.close();
    requireThat(window.live() == 0, std::string(example.name) + ": memory was not given back");
    requireThat(faults == 0 || moxGetErrStatus() < 0,
                std::string(example.name) + ": a fault that is not in the status");
    images.requireNoHarm(example.name);
}

void fuzzOne(Random &random) {
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(watchReport);
    ownForceCpuLevel(static_cast<OwnCpuLevel>(random.below(OWN_LEVELS)));
    const int calls = random.between(1, 3);
    std::vector<const Example *> examples;
    for (int i = 0; i < calls; ++i)
        examples.push_back(&drawExample(random));
    HostileImages images(random, 3);
    for (const Example *example : examples)
        callOnce(random, images, *example);
}
