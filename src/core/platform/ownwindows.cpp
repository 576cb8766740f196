// Windows: a TLS index for the slot, message boxes for the modal question, DllMain for attach and detach.
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include "core/owncache.h"
#include "core/owncore.h"
#include "core/owncpu.h"
#include "core/platform/ownplatform.h"

static DWORD slot = TLS_OUT_OF_INDEXES;

bool ownOpenSlot() {
    slot = TlsAlloc();
    return slot != TLS_OUT_OF_INDEXES;
}

void ownCloseSlot() {
    if (slot != TLS_OUT_OF_INDEXES) TlsFree(slot);
    slot = TLS_OUT_OF_INDEXES;
}

// TlsGetValue clears the thread's last error, which belongs to the application.
MoxThreadContext *ownReadSlot() {
    if (slot == TLS_OUT_OF_INDEXES) return nullptr;
    const DWORD lastError = GetLastError();
    void *context = TlsGetValue(slot);
    SetLastError(lastError);
    return static_cast<MoxThreadContext *>(context);
}

bool ownWriteSlot(MoxThreadContext *context) {
    return slot != TLS_OUT_OF_INDEXES && TlsSetValue(slot, context);
}

// Local memory outlives the C runtime, whose heap may be gone before the last thread detaches.
static void *allocateContext(size_t size) {
    return LocalAlloc(LPTR, size);
}

void *ownAllocateContext(unsigned long size) {
    return allocateContext(size);
}

void ownReleaseContext(void *memory) {
    LocalFree(memory);
}

void ownFatalExit(const char *message) {
    FatalAppExitA(0, message);
    // Under a debugger the call above comes back.
    TerminateProcess(GetCurrentProcess(), 1);
    __builtin_unreachable();
}

bool ownAskTerminate(const char *title, const char *text) {
    return MessageBoxA(nullptr, text, title, MB_TASKMODAL | MB_ICONSTOP | MB_YESNO) == IDYES;
}

bool ownAskContinue(const char *title, const char *text) {
    return MessageBoxA(nullptr, text, title, MB_TASKMODAL | MB_ICONSTOP | MB_OKCANCEL) != IDCANCEL;
}

void ownTellTermination(const char *title, const char *text) {
    MessageBoxA(nullptr, text, title, MB_TASKMODAL | MB_ICONINFORMATION);
}

namespace {

// Without memory the attach is refused, and nothing is said: only the first use of the library ends the process.
bool attachThread() {
    auto *context = static_cast<MoxThreadContext *>(allocateContext(sizeof(MoxThreadContext)));
    if (!context) return false;
    ownInitContext(context);
    if (ownWriteSlot(context)) return true;
    ownReleaseContext(context);
    return false;
}

void detachThread() {
    if (MoxThreadContext *context = ownReadSlot()) {
        ownWriteSlot(nullptr);
        ownFreeContext(context);
    }
}

bool enter(DWORD reason) {
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            ownChooseCpuLevel();
            ownChooseStreamBounds();
            return ownOpenSlot() && attachThread();
        case DLL_THREAD_ATTACH:
            return attachThread();
        case DLL_THREAD_DETACH:
            detachThread();
            return true;
        case DLL_PROCESS_DETACH:
            ownDetachProcess();
            return true;
        default:
            return true;
    }
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID);
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
    return enter(reason);
}

// A program that links the objects directly has no DllMain: the loader calls it through its TLS directory.
static void NTAPI enterProgram(PVOID module, DWORD reason, PVOID) {
    if (module == GetModuleHandleW(nullptr)) enter(reason);
}

extern "C" {
extern const PIMAGE_TLS_CALLBACK ownTlsCallback;
__attribute__((section(".CRT$XLY"), used)) const PIMAGE_TLS_CALLBACK ownTlsCallback = enterProgram;
}
