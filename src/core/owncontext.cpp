// The life of a thread's context: created at attach or on first use, its caches freed when the thread ends.
#include <cstring>

#include "core/owncache.h"
#include "core/owncore.h"
#include "core/owncpu.h"
#include "core/platform/ownplatform.h"

void ownInitContext(MoxThreadContext *context) {
    context->mode = MOX_ErrModeLeaf;
    context->report = moxGuiBoxReport;
    context->dctCosLength = -1;
}

// The processor's level and caches are known before the first operation runs, also where the attach came too late to
// find them.
bool ownAttachProcess() {
    ownChooseCpuLevel();
    ownChooseStreamBounds();
    if (!ownOpenSlot()) return false;
    return ownGetContext() != nullptr;
}

void ownDetachProcess() {
    if (MoxThreadContext *context = ownReadSlot()) {
        ownWriteSlot(nullptr);
        ownFreeContext(context);
    }
    ownCloseSlot();
}

MoxThreadContext *ownGetContext() {
    if (MoxThreadContext *context = ownReadSlot()) return context;
    auto *context = static_cast<MoxThreadContext *>(ownAllocateContext(sizeof(MoxThreadContext)));
    if (context) {
        ownInitContext(context);
        // A call after the detach, from another library's clean-up, opens the slot once more.
        if (!ownWriteSlot(context) && !(ownOpenSlot() && ownWriteSlot(context))) {
            ownReleaseContext(context);
            context = nullptr;
        }
    }
    if (!context) ownFatalExit("MOXlib. Problem to allocate memory for TLS MOX context.");
    return context;
}

namespace {

template <int n>
void freePool(void *(&pool)[n]) {
    for (void *&block : pool) {
        moxFree(block);
        block = nullptr;
    }
}

template <typename Entry>
void freeTables(Entry **&tables, int &levels) {
    if (tables) {
        for (int i = 0; i < levels; ++i)
            moxFree(tables[i]);
    }
    moxFree(tables);
    tables = nullptr;
    levels = 0;
}

}  // namespace

void ownFreeFftCaches(MoxThreadContext *context) {
    freePool(context->fftScratch);
    freePool(context->fftScratch2);
    for (auto &tables : context->fftTables)
        freePool(tables);
    std::memset(context->fftScratchSizes, 0, sizeof context->fftScratchSizes);
    std::memset(context->fftScratch2Sizes, 0, sizeof context->fftScratch2Sizes);
    std::memset(context->fftFurtherSizes, 0, sizeof context->fftFurtherSizes);
    context->fftRecord.pool = 0;
    context->fftRecord.pool2 = 0;
}

void ownFreeDctCaches(MoxThreadContext *context) {
    freePool(context->dctPlans);
    moxFree(context->dctScratch);
    context->dctScratch = nullptr;
    context->dctScratchSize = 0;
    freeTables(context->dctRealTables, context->dctRealLevels);
    moxFree(context->dctCosTable);
    context->dctCosTable = nullptr;
    context->dctCosLength = -1;
    freeTables(context->dctFixedTables, context->dctFixedLevels);
}

void ownFreeCaches(MoxThreadContext *context) {
    ownFreeFftCaches(context);
    ownFreeDctCaches(context);
}

void ownFreeContext(MoxThreadContext *context) {
    ownFreeCaches(context);
    ownReleaseContext(context);
}
