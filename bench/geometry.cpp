// Geometry: mirror images.
#include "rows.h"

namespace {

using Images = MoxImage *const *;

template <int flipAxis>
void mirror(Images images) {
    moxMirror(images[0], images[1], flipAxis);
}

const std::vector<int> SIZES_OF_SAMPLES = {OWN_1U, OWN_8U, OWN_16U, OWN_32F};
const Operation COLUMNS = {.name = "mirror-columns", .at = SIZES_OF_SAMPLES, .call = mirror<1>};
const Operation ROWS = {.name = "mirror-rows", .at = SIZES_OF_SAMPLES, .call = mirror<0>};
const Operation BOTH = {.name = "mirror-both", .at = SIZES_OF_SAMPLES, .call = mirror<-1>};

Entry rgb(const Operation &operation) {
    Entry entry = {.operation = operation, .layoutName = "rgb", .layout = {.channels = 3}, .sizes = {1024}};
    entry.operation.at = {OWN_8U, OWN_16U};
    return entry;
}

}  // namespace

extern const Family geometryFamily;
const Family geometryFamily = {
    "Geometry",
    {
        {.operation = COLUMNS, .goals = {{OWN_1U, 1024, {GOAL_NS_PER_SAMPLE, 0.03}}}},
        {.operation = ROWS},
        {.operation = BOTH},
        rgb(COLUMNS),
    },
};
