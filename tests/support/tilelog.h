// The record of tile requests of all images on this thread, and their refusal.
//
//     TileLog log(3);                            // the third request is answered with null; 0 refuses none
//     moxAdd(a.header(), b.header(), d.header());
//     EXPECT_TRUE(log.clean());   // real headers, tiles of the grid, the tile's own address back at its release
//     EXPECT_TRUE(log.paired());  // clean, and nothing left in hand
//     EXPECT_TRUE(log.is({{&a, MOX_TileRead, 0, 0}, ...}));
//
// One log at a time on a thread; without one, tiles are served and not recorded.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/testimage.h"

struct TileEvent {
    TestImage *image;
    int mode;
    int column;
    int row;
    bool operator==(const TileEvent &other) const = default;
};

class TileLog {
  public:
    explicit TileLog(int refuseAt = 0);
    ~TileLog();
    TileLog(const TileLog &) = delete;
    TileLog &operator=(const TileLog &) = delete;

    std::vector<TileEvent> events;
    std::vector<std::string> faults;
    int requests = 0;

    bool refused() const { return refuseAt_ > 0 && requests >= refuseAt_; }
    int eventsAfterRefusal() const;
    TestImage *refusedImage() const { return refusedImage_; }
    testing::AssertionResult clean() const;
    testing::AssertionResult paired() const;
    testing::AssertionResult is(const std::vector<TileEvent> &expected) const;

    // For the callback: the log of this thread or null; whether the request now recorded is to be refused.
    static TileLog *current();
    bool note(TestImage *image, int mode, int column, int row);

  private:
    int refuseAt_;
    size_t refusedAfter_ = 0;
    TestImage *refusedImage_ = nullptr;
};
