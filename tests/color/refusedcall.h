// One call that is refused, or is not: two images by the fields that checks look at, and what is reported of them.
//
//     RefusedCall call({.depth = MOX_DEPTH_8U, .channels = 3}, {.depth = MOX_DEPTH_16U, .channels = 3});
//     call.expect(moxScale, "moxScale", nullptr);                       // it succeeds
//     call.expect(moxScale, "moxScale", "(srcImage->depth == 32)");     // it reports this with -5
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "support/reports.h"
#include "support/testimage.h"

struct Side {
    unsigned depth = MOX_DEPTH_8U;
    int channels = 1, alpha = 0, order = 0, origin = 0, width = 12, height = 9;
    int coi = -1;         // -1 for no region at all
    int maskOrigin = -1;  // -1 for no mask
    const char *model = "GRAY", *sequence = "G";
};

class RefusedCall {
  public:
    RefusedCall(const Side &src, const Side &dst);
    MoxImage *src() { return src_->header(); }
    MoxImage *dst() { return dst_->header(); }
    TestImage &source() { return *src_; }
    TestImage &destination() { return *dst_; }

    using Call = std::function<void(MoxImage *src, MoxImage *dst)>;
    // Exactly one report, or none for a null message; after one both images are as they were, headers and all.
    void expect(const Call &call, const char *function, const char *message, MoxStatus status = -5);

  private:
    std::unique_ptr<TestImage> src_, dst_, masks_[2];
};

// The model that a header names: up to four characters each, the rest zeros.
void nameModel(TestImage &image, const char *model, const char *sequence);
