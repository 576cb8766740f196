// What the parts of the runner of mixed rows share.
#pragma once

#include "frame/ownmixed.h"

// Whether rows go from whole pixels of three or four samples to planes, or back; and the runner of these.
bool ownChangesOrder(const OwnRows &rows);
void ownRunMixedOrder(const OwnRows &rows, const OwnMixedForms &kernel, const OwnConstant &constant);
