// Changes of depth and order, and thresholds.
#include "rows.h"

namespace {

using Images = MoxImage *const *;

void convert(Images images) {
    moxConvert(images[0], images[1]);
}

void scale(Images images) {
    moxScale(images[0], images[1]);
}

void scaleFP(Images images) {
    moxScaleFP(images[0], images[1], 0, 1);
}

void threshold(Images images) {
    moxThreshold(images[0], images[1], 100);
}

void toGray(Images images) {
    moxBitonalToGray(images[0], images[1], 0, 100);
}

// The same buffer as an image of planes.
MoxImage inPlanes(const MoxImage *image) {
    MoxImage planes = *image;
    planes.dataOrder = MOX_DATA_ORDER_PLANE;
    planes.widthStep = image->widthStep / image->nChannels;
    planes.imageSize = planes.widthStep * planes.height * planes.nChannels;
    return planes;
}

void toPlanes(Images images) {
    MoxImage planes = inPlanes(images[1]);
    moxConvert(images[0], &planes);
}

void toPixels(Images images) {
    MoxImage planes = inPlanes(images[0]);
    moxConvert(&planes, images[1]);
}

constexpr Goal NEARLY_AT_THE_LIMIT = {GOAL_SHARE, 0.9, 0.8};

Entry to(const char *name, void (*call)(Images), int from, int depth) {
    return {.operation = {.name = name, .at = {from}, .call = call, .destination = {.depthIndex = depth}},
            .goals = {{-1, 1024, NEARLY_AT_THE_LIMIT}, {-1, 4096, NEARLY_AT_THE_LIMIT}}};
}

Entry withoutGoal(Entry entry) {
    entry.goals = {};
    return entry;
}

Entry inThree(const char *name, void (*call)(Images)) {
    return {.operation = {.name = name, .at = {OWN_8U, OWN_16U}, .call = call},
            .layoutName = "rgb",
            .layout = {.channels = 3}};
}

}  // namespace

extern const Family depthFamily;
const Family depthFamily = {
    "Depths and thresholds",
    {
        to("convert-to-8u", convert, OWN_16S, OWN_8U),
        to("convert-to-8u", convert, OWN_16U, OWN_8U),
        to("convert-to-8u", convert, OWN_32S, OWN_8U),
        to("convert-to-16u", convert, OWN_8U, OWN_16U),
        to("convert-to-16s", convert, OWN_32S, OWN_16S),
        to("convert-to-32s", convert, OWN_8U, OWN_32S),
        to("convert-to-32s", convert, OWN_16S, OWN_32S),
        to("scale-to-16u", scale, OWN_8U, OWN_16U),
        to("scale-to-8u", scale, OWN_16U, OWN_8U),
        to("scale-to-8s", scale, OWN_8U, OWN_8S),
        to("scale-to-32s", scale, OWN_8U, OWN_32S),
        withoutGoal(to("scale-fp-to-32f", scaleFP, OWN_8U, OWN_32F)),
        withoutGoal(to("scale-fp-to-32f", scaleFP, OWN_16U, OWN_32F)),
        withoutGoal(to("scale-fp-to-8u", scaleFP, OWN_32F, OWN_8U)),
        withoutGoal(to("scale-fp-to-16u", scaleFP, OWN_32F, OWN_16U)),
        to("threshold", threshold, OWN_8U, OWN_8U),
        to("threshold", threshold, OWN_16U, OWN_16U),
        withoutGoal(to("threshold-to-1u", threshold, OWN_8U, OWN_1U)),
        withoutGoal(to("threshold-to-1u", threshold, OWN_16S, OWN_1U)),
        withoutGoal(to("convert-to-1u", convert, OWN_8U, OWN_1U)),
        withoutGoal(to("bitonal-to-8u", toGray, OWN_1U, OWN_8U)),
        withoutGoal(to("bitonal-to-16u", toGray, OWN_1U, OWN_16U)),
        inThree("to-planes", toPlanes),
        inThree("to-pixels", toPixels),
    },
};
