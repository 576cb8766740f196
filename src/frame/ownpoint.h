// The point frame: runs an element-wise operation on one or two sources and a destination. It makes the checks that all
// these operations share, in their fixed order, combines the masks, and brings the row kernel over the images, plain or
// tiled.
#pragma once

#include "frame/ownimage.h"
#include "frame/ownkernel.h"

// The tests of a point operation as they are reported: for each source, and for the tiles of each image.
struct OwnPointMessages {
    const char *depth[2];
    const char *order[2];
    const char *nChannels;  // null where the numbers of channels may differ
    const char *channels[2];
    const char *tile[3];  // the sources', then the destination's
};
extern const OwnPointMessages ownPointTwoSources;
extern const OwnPointMessages ownPointOneSource;

class OwnPoint {
  public:
    OwnPoint(const OwnCaller &caller, MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage);
    OwnPoint(const OwnCaller &caller, MoxImage *srcImage, MoxImage *dstImage,
             const OwnPointMessages &messages = ownPointOneSource);
    ~OwnPoint();
    OwnPoint(const OwnPoint &) = delete;
    OwnPoint &operator=(const OwnPoint &) = delete;

    // The checks up to the combined mask. False when the call must end: a fault has been reported, or the masks have
    // nothing in common.
    bool open();

    // A fault that the operation itself finds.
    void refuse(const char *message) const { ownReport(caller_, MOX_StatusBadArgument, message); }

    // Runs the kernel, or refuses images that cannot be in memory.
    void run(const OwnRowForms &kernel, const OwnConstant &constant = {});

  private:
    struct Cell;
    void add(MoxImage *image) { images_[count_++] = image; }
    MoxImage *destination() const { return images_[count_ - 1]; }
    bool checkAgreement() const;
    bool combineMasks();

    OwnCaller caller_;
    const OwnPointMessages &messages_;
    MoxImage *images_[3];
    int count_ = 0;
    int first_[3];
    int channels_ = 0;
    bool alpha_ = false;
    bool tiled_ = false;
    bool exceeds_ = false;  // an image, or a mask, cannot be in memory
    MoxImage *mask_ = nullptr;
    OwnMaskState maskState_ = OWN_MASK_AS_IS;
};
