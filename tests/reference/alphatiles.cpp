// Runs over tiles by blocks: which tiles are requested, in which order.
#include <algorithm>

#include "reference/alpha.h"

namespace {

// An image of a run, and the tiles of it that are in hand.
struct Slot {
    TestImage *image;
    int mode;
    std::vector<std::pair<int, int>> held;  // columns and rows
};

class Run {
  public:
    Run(const std::vector<RefTaking> &takings, int refuseAt) : refuseAt_(refuseAt) {
        for (const auto &[image, mode] : takings) {
            const auto same = [image = image](const Slot &slot) { return slot.image == image; };
            if (image && std::none_of(slots_.begin(), slots_.end(), same)) slots_.push_back({image, mode, {}});
        }
    }
    RefSession session;

    const TestLayout *master() const {
        for (const Slot &slot : slots_) {
            if (slot.image->layout().tiled()) return &slot.image->layout();
        }
        return nullptr;
    }

    // False after a request that was refused.
    bool block(const RefBlock &block) {
        for (Slot &slot : slots_) {
            if (slot.image->layout().tiled()) acquire(slot, block);
        }
        for (Slot &slot : slots_)
            release(slot);
        if (!refused_) session.done.push_back(block);
        return !refused_;
    }

  private:
    // All tiles that the block touches, row by row, up to one that is refused.
    void acquire(Slot &slot, const RefBlock &block) {
        const TestLayout &layout = slot.image->layout();
        const int x = layout.regionX() + block.x, y = layout.regionY() + block.y;
        for (int row = y / layout.tileHeight; row <= (y + block.height - 1) / layout.tileHeight; ++row) {
            for (int column = x / layout.tileWidth; column <= (x + block.width - 1) / layout.tileWidth; ++column) {
                session.events.push_back({slot.image, slot.mode, column, row});
                if (++requests_ == refuseAt_) {
                    refused_ = true;
                    return;
                }
                slot.held.push_back({column, row});
            }
        }
    }
    void release(Slot &slot) {
        for (const auto &[column, row] : slot.held)
            session.events.push_back({slot.image, MOX_TileRelease, column, row});
        slot.held.clear();
    }

    std::vector<Slot> slots_;
    int refuseAt_, requests_ = 0;
    bool refused_ = false;
};

}  // namespace

RefSession refSession(const std::vector<RefTaking> &takings, int width, int height, int refuseAt) {
    Run run(takings, refuseAt);
    const TestLayout *master = run.master();
    if (!master || width < 1 || height < 1) return {};
    // Every block lies within one of the master's tiles.
    for (int y = 0; y < height;) {
        const int toEdge = master->tileHeight - (master->regionY() + y) % master->tileHeight;
        const int blockHeight = std::min(toEdge, height - y);
        for (int x = 0; x < width;) {
            const int blockWidth = std::min(master->tileWidth - (master->regionX() + x) % master->tileWidth, width - x);
            if (!run.block({x, y, blockWidth, blockHeight})) return run.session;
            x += blockWidth;
        }
        y += blockHeight;
    }
    return run.session;
}

RefSession refCompositeSession(const RefComposite &call, int refuseAt) {
    int width, height;
    refCommonSize(call.given(), &width, &height);
    return refSession({{call.dst, MOX_TileWrite},
                       {call.roleDst(), MOX_TileWrite},
                       {call.srcA, MOX_TileRead},
                       {call.srcB, MOX_TileRead},
                       {call.roleA(), MOX_TileRead},
                       {call.roleB(), MOX_TileRead}},
                      width, height, refuseAt);
}

RefSession refSession(TestImage &dst, const std::vector<TestImage *> &sources, int refuseAt) {
    std::vector<RefTaking> takings = {{&dst, MOX_TileWrite}};
    std::vector<TestImage *> images = {&dst};
    for (TestImage *source : sources) {
        takings.push_back({source, MOX_TileRead});
        images.push_back(source);
    }
    int width, height;
    refCommonSize(images, &width, &height);
    return refSession(takings, width, height, refuseAt);
}
