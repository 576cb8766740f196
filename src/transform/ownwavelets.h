// The wavelet transform's built-in filters and row kernels.
#pragma once

#include "core/owncore.h"

// The built-in kernel of these parameters, which are ignored where a type has none; or what is wrong with them.
const char *ownFindWavelet(int type, int par1, int par2, const MoxWtKernel **found);
