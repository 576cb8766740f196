// The operations with opacities.
#pragma once

#include "mox.h"
