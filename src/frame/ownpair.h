// What copying and exchanging share: the checks of two images, their combined mask, the common region, and its tiles.
#pragma once

#include "frame/ownmove.h"
#include "frame/ownrows.h"
#include "frame/owntile.h"

// A part of the common region: its offset from the region's corner, and its size.
struct OwnShare {
    int64_t x, y, width, height;
};

class OwnPair {
  public:
    OwnPair(const OwnCaller &caller, MoxImage *src, MoxImage *dst) : caller_(caller), src_(src), dst_(dst) {}
    ~OwnPair();
    OwnPair(const OwnPair &) = delete;
    OwnPair &operator=(const OwnPair &) = delete;

    // All checks. False when the call must end: after a fault, this one's or an older one's, and when there is nothing
    // to do.
    bool open();

    // Whether a fault has kept pixels from being moved. Memory that is missing for a header leaves no trace in the
    // status word, so whoever runs this as a step of its own asks here.
    bool failed() const { return failed_; }

    MoxImage *src() const { return src_; }
    MoxImage *dst() const { return dst_; }
    MoxImage *mask() const { return mask_; }
    int64_t width() const { return width_; }
    int64_t height() const { return height_; }

    // Runs a moving kernel over two plain images.
    void runPlain(const OwnRowForms (&kernels)[OWN_SAMPLE_SIZES], bool exchange) const;

    void refuseTile(const char *message) { report(MOX_StatusGeneral, message); }
    // A step within failed: this call reports its own trace.
    void traceFailure() { report(MOX_StatusBacktrace, ""); }
    // The same unless the step is done and no callback has left a fault; whether all is well.
    bool check(bool stepIsDone) {
        if (stepIsDone && moxGetErrStatus() >= 0) return true;
        traceFailure();
        return false;
    }

    // The mask's part for a share; null without a mask.
    MoxImage *maskShare(const OwnShare &share, OwnScratchImage *scratch) const;

  private:
    bool agree();
    bool combineMasks();
    bool accept();
    void report(MoxStatus status, const char *message) {
        ownReport(caller_, status, message);
        failed_ = true;
    }

    OwnCaller caller_;
    bool failed_ = false;
    MoxImage *src_, *dst_;
    MoxImage *mask_ = nullptr;
    OwnMaskState maskState_ = OWN_MASK_AS_IS;
    bool exceeds_ = false;  // an image, or a mask, cannot be in memory
    int64_t width_ = 0, height_ = 0;
};

// Scratch headers for a share of an image's region: of a plain image, of a tile in hand, of a rectangle in a buffer of
// its own.
void ownShareOfPlain(const MoxImage *image, const OwnShare &share, OwnScratchImage *scratch);
void ownShareOfTile(const MoxImage *image, const OwnShare &share, char *tileData, OwnScratchImage *scratch);
void ownShareOfRect(const MoxImage *image, const OwnShare &share, char *data, int rowBytes, OwnScratchImage *scratch);

// The rectangle of a tiled image that a share covers, as a buffer of ownGetRect.
char *ownReadShare(MoxImage *image, const OwnShare &share, int *rowBytes);

// The tiles that a region of the given size touches, row by row, each with its share of the region.
class OwnTileGrid {
  public:
    OwnTileGrid(const MoxImage *image, int64_t width, int64_t height);
    bool next();
    int column() const { return static_cast<int>(column_); }
    int row() const { return static_cast<int>(row_); }
    const OwnShare &share() const { return share_; }

  private:
    OwnImageRect rect_;
    int tileWidth_, tileHeight_;
    int64_t column_, row_;
    OwnShare share_;
};
