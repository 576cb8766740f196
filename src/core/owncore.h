// What every module of the library needs: the thread's context, reports, the depth's index.
#pragma once

#include <cstddef>
#include <cstdint>

#include "mox.h"

static_assert(sizeof(int) == 4);

// The base name of the file being compiled, so that no report and no binary carries the path of a machine.
#if defined(__FILE_NAME__)
#define OWN_FILE __FILE_NAME__
#else
#define OWN_FILE __FILE__
#endif

// A second exported name for a function: one address. (Signatures that differ in pointer types only are one function to
// the machine.) 32-bit Windows decorates the target's name with the bytes of its one argument.
#if defined(_WIN32) && !defined(_WIN64)
#define OWN_SAME_AS(target) __attribute__((nothrow, alias(#target "@4")))
#elif defined(_WIN32)
#define OWN_SAME_AS(target) __attribute__((nothrow, alias(#target)))
#else
#define OWN_SAME_AS(target) __attribute__((alias(#target), visibility("default")))
#endif
#define OWN_ALIAS(declaration, target)                                                                          \
    _Pragma("GCC diagnostic push") _Pragma("GCC diagnostic ignored \"-Wpragmas\"")                              \
        _Pragma("GCC diagnostic ignored \"-Wunknown-warning-option\"")                                          \
            _Pragma("GCC diagnostic ignored \"-Wattribute-alias\"") extern "C" declaration OWN_SAME_AS(target); \
    _Pragma("GCC diagnostic pop") static_assert(true)

// The exported function on whose behalf a report is made, and the place in its module.
struct OwnCaller {
    const char *function;
    const char *file;
    int line;
};
#define OWN_CALLER(function)         \
    OwnCaller {                      \
        function, OWN_FILE, __LINE__ \
    }

inline MoxStatus ownReport(const OwnCaller &caller, MoxStatus status, const char *message) {
    return moxError(status, caller.function, message, caller.file, caller.line);
}

// One thread's state. The record is known by this name beside the public ones, but no application sees it. Every field
// behind the error state is a cache of the transforms: built when first needed, kept
// until the thread ends.
struct MoxThreadContext {
    MoxStatus status;
    int mode;
    MoxErrorCallback report;

    int dctCosLength;  // -1 for none
    float *dctCosTable;
    int dctFixedLevels;
    short **dctFixedTables;
    int dctRealLevels;
    double **dctRealTables;
    void *dctPlans[32];  // of the float engine, by their lengths
    int dctPlanLengths[32];
    int dctNextPlan;
    void *dctScratch;
    int dctScratchSize;

    int fftScratchSizes[32];
    int fftScratch2Sizes[32];
    int fftFurtherSizes[2][32];
    void *fftScratch[32];
    void *fftScratch2[32];
    void *fftTables[7][32];
    struct {
        int pool;
        int pool2;
        int words[40];
    } fftRecord;
};

// The calling thread's context, created on first use. Never null: without memory for it the process ends.
MoxThreadContext *ownGetContext();

// Gives a zero-filled context its initial values; frees what the transforms keep in it.
void ownInitContext(MoxThreadContext *context);
void ownFreeFftCaches(MoxThreadContext *context);
void ownFreeDctCaches(MoxThreadContext *context);
void ownFreeCaches(MoxThreadContext *context);

// Attach and detach of the process, called by the platform file; attach gives false where no thread slot can be had.
bool ownAttachProcess();
void ownDetachProcess();

// The calls made within an operation, seen as one step: has any of them left a fault? An older fault in the status word
// is set aside meanwhile, since only the operation's own calls count, and comes back if they leave none.
class OwnNestedCalls {
  public:
    OwnNestedCalls() : before_(moxGetErrStatus()) { moxSetErrStatus(MOX_StatusNoError); }
    ~OwnNestedCalls() {
        if (!failed()) moxSetErrStatus(before_);
    }
    OwnNestedCalls(const OwnNestedCalls &) = delete;
    OwnNestedCalls &operator=(const OwnNestedCalls &) = delete;
    bool failed() const { return moxGetErrStatus() < 0; }

  private:
    MoxStatus before_;
};

// Bits and bytes of a sample; a valid depth is one of the seven codes.
inline int ownDepthBits(unsigned depth) {
    return static_cast<int>(depth & ~MOX_DEPTH_SIGN);
}
inline int ownDepthBytes(unsigned depth) {
    return ownDepthBits(depth) / 8;
}

// Tables of kernels are indexed by these.
enum OwnDepthIndex { OWN_1U, OWN_8U, OWN_8S, OWN_16U, OWN_16S, OWN_32S, OWN_32F, OWN_DEPTHS };

// The index of a depth code, or -1 for an unknown one.
inline int ownDepthIndex(unsigned depth) {
    switch (depth) {
        case MOX_DEPTH_1U:
            return OWN_1U;
        case MOX_DEPTH_8U:
            return OWN_8U;
        case MOX_DEPTH_8S:
            return OWN_8S;
        case MOX_DEPTH_16U:
            return OWN_16U;
        case MOX_DEPTH_16S:
            return OWN_16S;
        case MOX_DEPTH_32S:
            return OWN_32S;
        case MOX_DEPTH_32F:
            return OWN_32F;
        default:
            return -1;
    }
}
