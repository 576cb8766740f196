// Norms of a picture, or of the difference of two, as the library measures them.
#include "norms.h"

#include <cstdio>

std::string normsText(MoxImage *image, MoxImage *other) {
    struct Line {
        const char *name;
        int type;
    };
    constexpr Line lines[] = {{"C", MOX_NORM_C}, {"L1", MOX_NORM_L1}, {"L2", MOX_NORM_L2}};
    std::string text;
    for (const Line &line : lines) {
        char number[100];
        std::snprintf(number, sizeof number, "  %-2s  %16.10g", line.name, moxNorm(image, other, line.type));
        text += number;
        // The library takes nothing to divide by for a fault.
        if (other && moxNorm(other, nullptr, line.type) != 0) {
            const double relative = moxNorm(image, other, line.type + MOX_NORM_RELATIVE);
            std::snprintf(number, sizeof number, "  relative %.6g", relative);
            text += number;
        }
        text += "\n";
    }
    return text;
}
