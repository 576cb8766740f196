// Norms of a picture, or of the difference of two, as the library measures them.
#pragma once

#include <mox.h>

#include <string>

// Three lines: the largest absolute value, the sum of them, the root of the sum of squares. With a second image those
// of the difference, and beside them what they are to the second one's, unless that is 0.
std::string normsText(MoxImage *image, MoxImage *other);
