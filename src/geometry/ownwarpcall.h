// The tests that warps and turns begin with.
#pragma once

#include "frame/ownimage.h"

constexpr char OWN_CHANNELS_DIFFER[] =
    "Number of processed channels of srcImage != Number of processed channels of dstImage";

// Reports all faults of the first group; false where there is one. warpFlag is null where there is none to test.
bool ownAcceptWarp(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, const int *warpFlag);
