// Copying pixels as a step of something else.
#pragma once

#include "core/owncore.h"

// moxCopy, with its reports. False if a fault kept pixels from being copied: the status word alone does not tell, since
// the report of a failure within leaves it as it is.
bool ownCopy(MoxImage *src, MoxImage *dst);
