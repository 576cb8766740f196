// The smallest and the largest sample of a float image.
#include <cmath>

#include "frame/ownmeasure.h"
#include "stat/ownstat.h"

namespace {

void fold(void *state, const OwnFold &row) {
    ownNormRows().extrema(row.a, row.samples, static_cast<OwnExtrema *>(state));
}

// Which zero: of the two, the negative one is the smaller.
float signOfZero(float value, bool negative) {
    if (value != 0) return value;
    return negative ? -0.0f : 0.0f;
}

}  // namespace

MoxStatus MOX_CALL moxMinMaxFP(MoxImage *srcImage, float *min, float *max) {
    const OwnCaller caller = OWN_CALLER("moxMinMaxFP");
    if (!ownAcceptImage(caller, srcImage)) return MOX_StatusBadArgument;
    const auto refuse = [&](const char *message) {
        ownReport(caller, MOX_StatusBadArgument, message);
        return MOX_StatusBadArgument;
    };
    if (!min || !max) return refuse("((min == 0)||(max == 0))");
    if (srcImage->depth != MOX_DEPTH_32F) return refuse("(srcImage->depth != 32)");

    OwnExtrema extrema = {INFINITY, -INFINITY, false, false};
    OwnMeasure measure = {};
    measure.images[0] = srcImage;
    measure.first[0] = ownFirstChannel(srcImage);
    measure.channels = ownChannels(srcImage);
    measure.anyRows = true;
    measure.fold = fold;
    measure.state = &extrema;
    ownMeasureSize(&measure);
    if (measure.width <= 0 || measure.height <= 0 || measure.channels == 0) return MOX_StatusNoError;
    if (!ownAcceptPixels(caller, srcImage)) return MOX_StatusBadArgument;
    if (ownRunMeasure(measure) != OWN_MEASURE_DONE) return refuse("(srcImage->tileInfo->tileData == NULL)");

    const bool numbers = extrema.least <= extrema.largest;
    *min = numbers ? signOfZero(extrema.least, extrema.negativeZero) : NAN;
    *max = numbers ? signOfZero(extrema.largest, !extrema.positiveZero) : NAN;
    return MOX_StatusNoError;
}
