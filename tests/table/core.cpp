// Example calls: status, reports, memory, version.

#include "table/examples.h"

namespace {

using Call = ExampleCall;
constexpr Touches NOTHING = Touches::NOTHING;

// Reports, without a word to anybody.
template <typename Report>
void reportInSilence(Report report) {
    const int mode = moxGetErrMode();
    moxSetErrMode(MOX_ErrModeSilent);
    report(-2, "example", "a message", "file", 1);
    moxSetErrMode(mode);
}

}  // namespace

std::vector<Example> coreExamples() {
    return {
        // Status, error modes, reports
        {"moxGetErrStatus", NOTHING, 0, [](Call &) { moxGetErrStatus(); }},
        {"moxSetErrStatus", NOTHING, 0, [](Call &) { moxSetErrStatus(moxGetErrStatus()); }},
        {"moxGetErrMode", NOTHING, 0, [](Call &) { moxGetErrMode(); }},
        {"moxSetErrMode", NOTHING, 0, [](Call &) { moxSetErrMode(moxGetErrMode()); }},
        {"moxRedirectError", NOTHING, 0, [](Call &) { moxRedirectError(moxRedirectError(moxNulDevReport)); }},
        {"moxError", NOTHING, 0, [](Call &c) { moxError(c.choice(0, 1), "example", "a message", "file", 1); }},
        {"moxErrorStr", NOTHING, 0, [](Call &c) { moxErrorStr(c.number(-5)); }},
        {"moxNulDevReport", NOTHING, 0, [](Call &) { reportInSilence(moxNulDevReport); }},
        {"moxStdErrReport", NOTHING, 0, [](Call &) { reportInSilence(moxStdErrReport); }},
        {"moxGuiBoxReport", NOTHING, 0, [](Call &) { reportInSilence(moxGuiBoxReport); }},

        // Memory
        {"moxMalloc", NOTHING, 0, [](Call &c) { moxFree(moxMalloc(c.size(100))); }, {.quietMemory = true}},
        {"moxwMalloc", NOTHING, 0, [](Call &c) { moxFree(moxwMalloc(c.size(100))); }, {.quietMemory = true}},
        {"moxiMalloc", NOTHING, 0, [](Call &c) { moxFree(moxiMalloc(c.size(100))); }, {.quietMemory = true}},
        {"moxsMalloc", NOTHING, 0, [](Call &c) { moxFree(moxsMalloc(c.size(100))); }, {.quietMemory = true}},
        {"moxdMalloc", NOTHING, 0, [](Call &c) { moxFree(moxdMalloc(c.size(100))); }, {.quietMemory = true}},
        {"moxFree", NOTHING, 0, [](Call &) { moxFree(moxMalloc(1)); }, {.quietMemory = true}},

        // Version and clock
        {"moxGetLibVersion", NOTHING, 0, [](Call &) { moxGetLibVersion(); }},
        {"moxGetCycleCounter", NOTHING, 0, [](Call &) { moxGetCycleCounter(); }},
    };
}
