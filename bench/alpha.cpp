// Opacities: compositions of pixels with alpha, and products as fractions of the full scale.
#include "rows.h"

namespace {

using Images = MoxImage *const *;

template <int type, int premultiplied, int divides>
void composite(Images images) {
    moxAlphaComposite(images[0], images[1], images[2], type, nullptr, nullptr, nullptr, premultiplied, divides);
}
void blend(Images images) {
    moxAlphaCompositeC(images[0], images[1], images[2], MOX_COMPOSITE_OVER, 100, 255, 0, 0);
}
void multiplyScale(Images images) {
    moxMultiplyScale(images[0], images[1], images[2]);
}
void multiplySScale(Images images) {
    moxMultiplySScale(images[0], images[1], 200);
}

constexpr Layout RGBA = {.channels = 4, .alpha = true};
constexpr Layout MASKED = {.channels = 4, .alpha = true, .masked = true};
const std::vector<int> DEPTHS = {OWN_8U, OWN_16U};

Entry pixels(const char *name, void (*call)(Images), const Layout &layout = RGBA, const char *layoutName = "") {
    return {.operation = {.name = name, .sources = 2, .at = DEPTHS, .call = call},
            .layoutName = layoutName,
            .layout = layout,
            .sizes = {256, 1024}};
}

}  // namespace

extern const Family alphaFamily;
const Family alphaFamily = {
    "Opacities",
    {
        pixels("over-premultiplied", composite<MOX_COMPOSITE_OVER, 1, 0>),
        pixels("over-straight", composite<MOX_COMPOSITE_OVER, 0, 1>),
        pixels("over-straight", composite<MOX_COMPOSITE_OVER, 0, 1>, MASKED, "masked"),
        pixels("atop-premultiplied", composite<MOX_COMPOSITE_ATOP, 1, 0>),
        pixels("plus", composite<MOX_COMPOSITE_PLUS, 1, 0>),
        pixels("blend", blend, {.channels = 3}),
        {.operation = {.name = "multiply-scale", .sources = 2, .at = DEPTHS, .call = multiplyScale}},
        {.operation = {.name = "multiply-s-scale", .at = DEPTHS, .call = multiplySScale}},
    },
};
