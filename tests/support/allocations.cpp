// The wrapped C heap: the linker sends every call of malloc in a test program to __wrap_malloc.
#include "support/allocations.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#if defined(_WIN32)
#include <windows.h>
#endif

extern "C" {
void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
void *__real_realloc(void *block, size_t size);
void __real_free(void *block);
void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_realloc(void *block, size_t size);
void __wrap_free(void *block);
}

#if defined(_WIN32)
// Thread-local variables live in heap blocks here, taken at their first use: within malloc that would never end. Before
// its constructor has run a variable is empty.
template <typename Value>
class ThreadVariable {
  public:
    ThreadVariable() : slot_(TlsAlloc()), made_(true) {}
    operator Value() const { return made_ ? (Value)(uintptr_t)TlsGetValue(slot_) : Value{}; }
    ThreadVariable &operator=(Value value) {
        TlsSetValue(slot_, (void *)(uintptr_t)value);
        return *this;
    }
    Value operator->() const { return *this; }

  private:
    DWORD slot_;
    bool made_;
};
static ThreadVariable<AllocationWindow *> currentWindow;
static ThreadVariable<bool> windowOpen;
#else
static thread_local AllocationWindow *currentWindow = nullptr;  // watches frees until it is destroyed
static thread_local bool windowOpen = false;                    // watches allocations too
#endif

AllocationWindow::AllocationWindow(int failAt, int failures) : failAt_(failAt), failures_(failures) {
    currentWindow = this;
    windowOpen = true;
}

AllocationWindow::~AllocationWindow() {
    windowOpen = false;
    currentWindow = nullptr;
}

void AllocationWindow::close() {
    windowOpen = false;
}

bool AllocationWindow::refuse(long long bytes) {
    if (bytes > largest_) largest_ = bytes;
    ++count_;
    return failAt_ > 0 && count_ >= failAt_ && count_ - failAt_ < failures_;
}

void AllocationWindow::taken(void *block) {
    if (!block) return;
    if (live_ == MAX_BLOCKS) {
        fputs("AllocationWindow: too many live blocks\n", stderr);
        abort();
    }
    blocks_[live_++] = block;
}

void AllocationWindow::freed(void *block) {
    for (int i = 0; i < live_; ++i) {
        if (blocks_[i] == block) {
            blocks_[i] = blocks_[--live_];
            return;
        }
    }
}

AllocationPause::AllocationPause() : before_(windowOpen) {
    windowOpen = false;
}
AllocationPause::~AllocationPause() {
    windowOpen = before_;
}

// Fresh memory is full of ones and zeros that no image holds by chance. A checker of uninitialised memory is not to be
// told that somebody filled it.
//
// Found out before anything runs: the guard of a function's own variable may take memory at its first use.
static const bool staysFresh = getenv("MOX_TEST_FRESH_MEMORY") != nullptr;

static void soil(void *block, size_t size) {
    constexpr size_t most = 1 << 20;
    if (block && !staysFresh) memset(block, 0xD6, size < most ? size : most);
}

void *__wrap_malloc(size_t size) {
    if (!windowOpen) return __real_malloc(size);
    if (currentWindow->refuse(static_cast<long long>(size))) return nullptr;
    void *block = __real_malloc(size);
    soil(block, size);
    currentWindow->taken(block);
    return block;
}

void *__wrap_calloc(size_t count, size_t size) {
    if (!windowOpen) return __real_calloc(count, size);
    if (currentWindow->refuse(static_cast<long long>(count * size))) return nullptr;
    void *block = __real_calloc(count, size);
    currentWindow->taken(block);
    return block;
}

void *__wrap_realloc(void *block, size_t size) {
    if (!windowOpen) return __real_realloc(block, size);
    if (currentWindow->refuse(static_cast<long long>(size))) return nullptr;
    void *moved = __real_realloc(block, size);
    if (moved) {
        currentWindow->freed(block);
        currentWindow->taken(moved);
    }
    return moved;
}

void __wrap_free(void *block) {
    if (currentWindow && block) currentWindow->freed(block);
    __real_free(block);
}

#if defined(_WIN32)
// The C++ library is linked statically here, so its calls are wrapped as well: the tests' own objects pass by.
void *operator new(size_t size) {
    void *block = __real_malloc(size);
    if (!block) throw std::bad_alloc();
    return block;
}
void operator delete(void *block) noexcept {
    __real_free(block);
}
void operator delete(void *block, size_t) noexcept {
    __real_free(block);
}
#endif
