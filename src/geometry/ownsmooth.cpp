// Smooth edges. A side is walked along its longer direction, and at each step crosses the other one between two pixels.
#include "geometry/ownsmooth.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "frame/ownimage.h"
#include "frame/owntile.h"
#include "geometry/ownnumber.h"

namespace {

// An image's samples, plain or by tiles, of which one is held at a time.
class Samples {
  public:
    explicit Samples(MoxImage *image) : image_(image), tile_(*image) {
        if (image->tileInfo) ownMakeTileHeader(image, &tile_);
    }
    ~Samples() { release(); }
    Samples(const Samples &) = delete;
    Samples &operator=(const Samples &) = delete;

    // Null where a tile is not delivered.
    char *at(int channel, int64_t x, int64_t y) {
        if (!image_->tileInfo) return ownSampleAt(image_, channel, x, y);
        const int width = image_->tileInfo->width, height = image_->tileInfo->height;
        const int column = static_cast<int>(x / width), row = static_cast<int>(y / height);
        if (!held_ || column != column_ || row != row_) {
            release();
            column_ = column;
            row_ = row;
            held_ = tile_.imageData = ownRequestTile(image_, column, row, MOX_TileWrite);
            if (!held_) return nullptr;
        }
        return ownSampleAt(&tile_, channel, x % width, y % height);
    }

  private:
    void release() {
        if (held_) ownReleaseTile(image_, column_, row_, held_);
        held_ = nullptr;
    }

    MoxImage *image_;
    MoxImage tile_;  // a header for whichever tile is held
    char *held_ = nullptr;
    int column_ = 0, row_ = 0;
};

double load(const char *sample, int bytes) {
    switch (bytes) {
        case 1:
            return static_cast<uint8_t>(*sample);
        case 2: {
            uint16_t value;
            std::memcpy(&value, sample, sizeof value);
            return value;
        }
        default: {
            float value;
            std::memcpy(&value, sample, sizeof value);
            return static_cast<double>(value);
        }
    }
}

// The mean of two samples of integers is one.
void store(double value, char *sample, int bytes) {
    switch (bytes) {
        case 1:
            *reinterpret_cast<uint8_t *>(sample) = static_cast<uint8_t>(std::rint(value));
            break;
        case 2: {
            const auto rounded = static_cast<uint16_t>(std::rint(value));
            std::memcpy(sample, &rounded, sizeof rounded);
            break;
        }
        default: {
            const float single = ownOneNaN(static_cast<float>(value));
            std::memcpy(sample, &single, sizeof single);
        }
    }
}

class Smoother {
  public:
    Smoother(MoxImage *image, bool orientation) : image_(image), samples_(image), orientation_(orientation) {
        ownImageRect(image, &rect_);
        if (image->maskROI) ownImageRect(image->maskROI, &maskRect_);
    }

    // False where a tile is not delivered.
    bool side(const double *p, const double *q) {
        const double length[] = {q[0] - p[0], q[1] - p[1]};
        if (length[0] == 0 || length[1] == 0) return true;
        const int major = std::fabs(length[0]) >= std::fabs(length[1]) ? 0 : 1, minor = 1 - major;
        const double slope = length[minor] / length[major];
        // Inside is to the right of a side of the first orientation, y pointing down.
        const bool floorIsInside = (major == 0) == ((length[major] > 0) != orientation_);
        // Sides have been cut to the region.
        const auto first = static_cast<int64_t>(std::ceil(std::min(p[major], q[major])));
        const auto last = static_cast<int64_t>(std::floor(std::max(p[major], q[major])));
        for (int64_t place = first; place <= last; ++place) {
            const auto step = static_cast<double>(place);
            const double crossing = p[minor] + (step - p[major]) * slope;
            const double below = std::floor(crossing), above = std::ceil(crossing);
            if (!(below < above)) continue;
            const double inside = floorIsInside ? below : above, outside = floorIsInside ? above : below;
            const double weights[] = {std::fabs(crossing - outside), std::fabs(crossing - inside)};
            const double out[] = {major == 0 ? step : outside, major == 0 ? outside : step};
            const double in[] = {major == 0 ? step : inside, major == 0 ? inside : step};
            if (contains(out) && contains(in) && !mix(out, in, weights)) return false;
        }
        return true;
    }

  private:
    // A rounding must not leave the region.
    bool contains(const double *pixel) const {
        return pixel[0] >= static_cast<double>(rect_.x) && pixel[0] < static_cast<double>(rect_.x + rect_.width) &&
               pixel[1] >= static_cast<double>(rect_.y) && pixel[1] < static_cast<double>(rect_.y + rect_.height);
    }

    bool isMaskedOut(int64_t x, int64_t y) const {
        const MoxImage *mask = image_->maskROI;
        if (!mask) return false;
        x -= rect_.x;
        y -= rect_.y;
        if (x >= maskRect_.width || y >= maskRect_.height) return true;
        x += maskRect_.x;
        const auto byte = static_cast<unsigned char>(*ownSampleAt(mask, 0, x, y + maskRect_.y));
        return (byte >> (7 - x % 8) & 1) == 0;
    }

    // Channel by channel, since the two pixels may lie in different tiles.
    bool mix(const double *out, const double *in, const double *weights) {
        const auto x = static_cast<int64_t>(out[0]), y = static_cast<int64_t>(out[1]);
        if (isMaskedOut(x, y)) return true;
        const int bytes = ownDepthBytes(image_->depth), first = ownFirstChannel(image_);
        for (int channel = first; channel < first + ownChannels(image_); ++channel) {
            const char *inside = samples_.at(channel, static_cast<int64_t>(in[0]), static_cast<int64_t>(in[1]));
            if (!inside) return false;
            const double neighbour = load(inside, bytes);
            char *sample = samples_.at(channel, x, y);
            if (!sample) return false;
            store(load(sample, bytes) * weights[0] + neighbour * weights[1], sample, bytes);
        }
        return true;
    }

    MoxImage *image_;
    Samples samples_;
    bool orientation_;
    OwnImageRect rect_;
    OwnImageRect maskRect_ = {};
};

}  // namespace

void ownSmoothEdges(const OwnCaller &caller, MoxImage *image, const OwnPolygon &polygon, bool orientation) {
    if (polygon.count < 3) return;
    bool done = true;
    {
        Smoother smoother(image, orientation);
        for (int i = 0; i < polygon.count && done; ++i)
            done = smoother.side(polygon.at[i], polygon.at[(i + 1) % polygon.count]);
    }
    if (!done) ownReport(caller, MOX_StatusGeneral, "Error get tile to write");
}
