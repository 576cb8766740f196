/*
 * The library's life in a process: a slot that cannot be had refuses the load; every thread has a context, also one
 * that was there before; what is taken at attach is given back at detach.
 */
#include "library.h"

static LONG allocated, freed, slotsFreed;
static AnyFunction systemAlloc, systemFree, systemTlsFree;

static HLOCAL WINAPI countAlloc(UINT flags, SIZE_T size) {
    EXPECT(flags == LPTR);
    InterlockedIncrement(&allocated);
    return ((HLOCAL(WINAPI *)(UINT, SIZE_T))systemAlloc)(flags, size);
}

static HLOCAL WINAPI countFree(HLOCAL block) {
    InterlockedIncrement(&freed);
    return ((HLOCAL(WINAPI *)(HLOCAL))systemFree)(block);
}

static BOOL WINAPI countTlsFree(DWORD slot) {
    slotsFreed++;
    return ((BOOL(WINAPI *)(DWORD))systemTlsFree)(slot);
}

static HLOCAL WINAPI refuseAlloc(UINT flags, SIZE_T size) {
    (void)flags;
    (void)size;
    return NULL;
}

static void checkThatTheLoadNeedsASlot(void) {
    static DWORD slots[4096];
    int count = 0;
    HMODULE library;
    while (count < 4096 && (slots[count] = TlsAlloc()) != TLS_OUT_OF_INDEXES)
        count++;
    EXPECT(count < 4096);
    library = LoadLibraryA("moxw7.dll");
    EXPECT(library == NULL);
    while (count > 0)
        TlsFree(slots[--count]);
}

static HMODULE library;
static HANDLE goOn;
static int(__stdcall *getMode)(void);
static void(__stdcall *setStatus)(int);
static int(__stdcall *getStatus)(void);

static DWORD WINAPI early(void *ignored) {
    (void)ignored;
    WaitForSingleObject(goOn, INFINITE);
    setStatus(-6);
    EXPECT(getMode() == 0);
    EXPECT(getStatus() == -6);
    return 0;
}

static DWORD WINAPI late(void *ignored) {
    (void)ignored;
    SetLastError(1234);
    EXPECT(getStatus() == 0);
    EXPECT(GetLastError() == 1234);
    setStatus(-7);
    return 0;
}

static DWORD WINAPI idle(void *ignored) {
    (void)ignored;
    return 0;
}

static void run(LPTHREAD_START_ROUTINE body) {
    HANDLE thread = CreateThread(NULL, 0, body, NULL, 0, NULL);
    EXPECT(WaitForSingleObject(thread, 20000) == WAIT_OBJECT_0);
    CloseHandle(thread);
}

int main(void) {
    HANDLE before;
    LONG taken;
    int i;
    checkThatTheLoadNeedsASlot();

    goOn = CreateEventA(NULL, TRUE, FALSE, NULL);
    before = CreateThread(NULL, 0, early, NULL, 0, NULL);
    Sleep(100);
    library = loadLibrary();
    getMode = (int(__stdcall *)(void))function(library, "moxGetErrMode");
    getStatus = (int(__stdcall *)(void))function(library, "moxGetErrStatus");
    setStatus = (void(__stdcall *)(int))function(library, "moxSetErrStatus");
    systemAlloc = replaceImport(library, "LocalAlloc", (AnyFunction)countAlloc);
    systemFree = replaceImport(library, "LocalFree", (AnyFunction)countFree);
    systemTlsFree = replaceImport(library, "TlsFree", (AnyFunction)countTlsFree);
    EXPECT(systemAlloc && systemFree && systemTlsFree);

    /* A thread from before the load gets its context with its first call, and loses it at its end. */
    setStatus(-5);
    SetEvent(goOn);
    EXPECT(WaitForSingleObject(before, 20000) == WAIT_OBJECT_0);
    EXPECT(allocated == 1 && freed == 1);
    EXPECT(getStatus() == -5);

    /* Later threads get theirs at their start, whether they call the library or not. */
    for (i = 0; i < 20; i++) {
        run(late);
        run(idle);
    }
    EXPECT(allocated == 41 && freed == 41);

    /* Without memory a thread lives on without a context. */
    replaceImport(library, "LocalAlloc", (AnyFunction)refuseAlloc);
    run(idle);
    EXPECT(freed == 41);
    replaceImport(library, "LocalAlloc", (AnyFunction)countAlloc);

    /* The end frees the context of this thread, taken before the counting began, and the slot. */
    taken = allocated;
    EXPECT(FreeLibrary(library));
    EXPECT(allocated == taken && freed == taken + 1);
    EXPECT(slotsFreed == 1);
    EXPECT(GetModuleHandleA("moxw7.dll") == NULL);
    return finish("attach");
}
