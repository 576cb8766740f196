// What the transforms' exported functions share.
#pragma once

#include "core/owncore.h"

// The image's header once more, for what its tests leave out and transforms cannot have: sizes that no image in memory
// has, tiles. Masks are not looked at. Reports "Incorrect Image", and gives false, after a fault.
bool ownAcceptPlain(const OwnCaller &caller, const MoxImage *image);
