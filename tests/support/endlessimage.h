// A tiled source larger than any memory: tiles are made as they are asked for, a sample's value by its place.
//
//     EndlessImage image(MOX_DEPTH_8U, INT_MAX, 40, 8);    // tiles of 8 x 8
//     moxWarpPerspectiveQ(image.header(), ...);
//     image.requests();                                    // tiles asked for
//
// One channel. A tile is gone after its release, with what was written.
#pragma once

#include <bit>
#include <cstring>
#include <map>
#include <vector>

#include "mox.h"

class EndlessImage {
  public:
    EndlessImage(unsigned depth, int width, int height, int tileSide) {
        header_.headerSize = sizeof header_;
        header_.nChannels = 1;
        header_.depth = depth;
        header_.align = 8;
        header_.width = width;
        header_.height = height;
        header_.tileInfo = &tiles_;
        tiles_ = {serve, this, nullptr, tileSide, tileSide};
    }
    EndlessImage(const EndlessImage &) = delete;
    EndlessImage &operator=(const EndlessImage &) = delete;

    MoxImage *header() { return &header_; }
    void setRoi(int x, int y, int width, int height) {
        roi_ = {0, x, y, width, height};
        header_.roi = &roi_;
    }
    long requests() const { return requests_; }

    // The bits of a sample; at 32F those of a small whole number.
    uint32_t get(int64_t x, int64_t y) const {
        const auto value = static_cast<uint32_t>((x * 37 + y * 101) % 251);
        return header_.depth == MOX_DEPTH_32F ? std::bit_cast<uint32_t>(static_cast<float>(value)) : value;
    }

  private:
    static int MOX_CALL serve(MoxImage *image, int column, int row, int mode) {
        auto *self = static_cast<EndlessImage *>(image->tileInfo->id);
        if (mode == MOX_TileRelease) return self->held_.erase(image->tileInfo->tileData) == 1;
        ++self->requests_;
        const int side = self->tiles_.width;
        const size_t bytes = self->header_.depth / 8;
        std::vector<char> tile(static_cast<size_t>(side) * static_cast<size_t>(side) * bytes);
        char *at = tile.data();
        for (int y = 0; y < side; ++y) {
            for (int x = 0; x < side; ++x, at += bytes) {
                const uint32_t bits = self->get(int64_t{column} * side + x, int64_t{row} * side + y);
                std::memcpy(at, &bits, bytes);
            }
        }
        image->tileInfo->tileData = tile.data();
        self->held_[tile.data()] = std::move(tile);
        return 1;
    }

    MoxImage header_ = {};
    MoxROI roi_ = {};
    MoxTileInfo tiles_ = {};
    std::map<char *, std::vector<char>> held_;
    long requests_ = 0;
};
