// Counts, and refuses, the heap blocks that a call takes.
//
//     for (int n = 1;; ++n) {
//         AllocationWindow window(n);          // the n-th allocation fails; 0 refuses none; (n, m) refuses m in a row
//         moxAdd(a, b, d);
//         window.close();
//         EXPECT_EQ(window.live(), 0);         // taken within the window and not given back
//         if (!window.refused()) break;        // there were fewer than n
//     }
//
// A window is open on its thread from construction to close(). Blocks taken within it and freed after close() no longer
// count as live once they are freed; the report recorder and the tile callback pause it, so that their own memory does
// not count. Seen are malloc, calloc and realloc. What malloc gives within a window is soiled, so that a result that
// comes of memory nobody wrote shows; under Valgrind, which sees that itself, MOX_TEST_FRESH_MEMORY leaves it as it is.
#pragma once

class AllocationWindow {
  public:
    explicit AllocationWindow(int failAt = 0, int failures = 1);
    ~AllocationWindow();
    AllocationWindow(const AllocationWindow &) = delete;
    AllocationWindow &operator=(const AllocationWindow &) = delete;

    void close();
    int count() const { return count_; }  // allocations asked for
    int live() const { return live_; }
    bool refused() const { return failAt_ > 0 && count_ >= failAt_; }
    long long largest() const { return largest_; }  // bytes of the largest allocation asked for

    // For the wrapped heap functions.
    bool refuse(long long bytes);
    void taken(void *block);
    void freed(void *block);

  private:
    static constexpr int MAX_BLOCKS = 1024;
    int failAt_, failures_;
    int count_ = 0;
    int live_ = 0;
    long long largest_ = 0;
    void *blocks_[MAX_BLOCKS];
};

// Suspends the thread's window.
class AllocationPause {
  public:
    AllocationPause();
    ~AllocationPause();
    AllocationPause(const AllocationPause &) = delete;
    AllocationPause &operator=(const AllocationPause &) = delete;

  private:
    bool before_;
};
