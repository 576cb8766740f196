// Arithmetic and logic: every element-wise operation's call and model, and the calls with opacities.
#include <algorithm>
#include <bit>

#include "table/examples.h"

namespace {

using S = RefSample;

template <void(MOX_CALL *function)(MoxImage *, MoxImage *, int)>
void withInteger(const RefCall &call, MoxImage *a, MoxImage *, MoxImage *d) {
    function(a, d, call.value);
}
template <void(MOX_CALL *function)(MoxImage *, MoxImage *, unsigned)>
void withShift(const RefCall &call, MoxImage *a, MoxImage *, MoxImage *d) {
    function(a, d, static_cast<unsigned>(call.value));
}
template <void(MOX_CALL *function)(MoxImage *, MoxImage *, float)>
void withReal(const RefCall &call, MoxImage *a, MoxImage *, MoxImage *d) {
    function(a, d, std::bit_cast<float>(call.floatBits));
}

// Shifts are unsigned numbers; those of a sample's width and beyond are alike.
int64_t shiftOf(const S &s) {
    return std::min<int64_t>(static_cast<uint32_t>(s.value), s.bits());
}

const RefOperation operations[] = {
    // Two images
    {.name = "moxAdd",
     .sources = 2,
     .call = refPair<moxAdd>,
     .bits = [](S s) { return s.a | s.b; },
     .whole = [](S s) { return s.saturated(s.a + s.b); },
     .real = [](S s) { return refFloatAdd(s.a, s.b); },
     .testsNull = true},
    {.name = "moxSubtract",
     .sources = 2,
     .call = refPair<moxSubtract>,
     .bits = [](S s) { return s.a & ~s.b; },
     .whole = [](S s) { return s.saturated(s.a - s.b); },
     .real = [](S s) { return refFloatSubtract(s.a, s.b); }},
    {.name = "moxMultiply",
     .sources = 2,
     .call = refPair<moxMultiply>,
     .bits = [](S s) { return s.a & s.b; },
     .whole = [](S s) { return s.saturated(s.a * s.b); },
     .real = [](S s) { return refFloatMultiply(s.a, s.b); },
     .testsNull = true},
    {.name = "moxAnd",
     .sources = 2,
     .call = refPair<moxAnd>,
     .bits = [](S s) { return s.a & s.b; },
     .whole = [](S s) { return s.a & s.b; }},
    {.name = "moxOr",
     .sources = 2,
     .call = refPair<moxOr>,
     .bits = [](S s) { return s.a | s.b; },
     .whole = [](S s) { return s.a | s.b; }},
    {.name = "moxXor",
     .sources = 2,
     .call = refPair<moxXor>,
     .bits = [](S s) { return s.a ^ s.b; },
     .whole = [](S s) { return s.a ^ s.b; }},

    // One image and a constant
    {.name = "moxAddS",
     .sources = 1,
     .call = withInteger<moxAddS>,
     .bits = [](S s) { return s.a | s.bit(); },
     .whole = [](S s) { return s.saturated(s.a + s.value); },
     .constant = RefConstant::INTEGER,
     .usual = 40,
     .testsNull = true,
     .elsewhere = "moxAddSFP",
     .becomes = "moxSubtractS",
     .ownDepth = MOX_DEPTH_32S},
    {.name = "moxSubtractS",
     .sources = 1,
     .call = [](const RefCall &call, MoxImage *a, MoxImage *,
                MoxImage *d) { moxSubtractS(a, d, call.value, call.flip ? -5 : 0); },
     // 1 - s and s - 0; s - 1 and 0 - s saturate to 0.
     .bits = [](S s) { return s.flip ? s.bit() & ~s.a : s.a & ~s.bit(); },
     .whole = [](S s) { return s.saturated(s.flip ? s.value - s.a : s.a - s.value); },
     .constant = RefConstant::INTEGER,
     .usual = 40,
     .flips = true,
     .testsNull = true,
     .elsewhere = "moxSubtractSFP"},
    {.name = "moxMultiplyS",
     .sources = 1,
     .call = withInteger<moxMultiplyS>,
     .bits = [](S s) { return s.a & s.bit(); },
     .whole = [](S s) { return s.saturated(s.a * s.value); },
     .constant = RefConstant::INTEGER,
     .usual = 3,
     .testsNull = true,
     .elsewhere = "moxMultiplySFP"},
    {.name = "moxAndS",
     .sources = 1,
     .call = withInteger<moxAndS>,
     .bits = [](S s) { return s.a & s.value; },
     .whole = [](S s) { return s.a & s.value; },
     .constant = RefConstant::INTEGER,
     .usual = 0x55},
    {.name = "moxOrS",
     .sources = 1,
     .call = withInteger<moxOrS>,
     .bits = [](S s) { return s.a | s.value; },
     .whole = [](S s) { return s.a | s.value; },
     .constant = RefConstant::INTEGER,
     .usual = 0x55},
    {.name = "moxXorS",
     .sources = 1,
     .call = withInteger<moxXorS>,
     .bits = [](S s) { return s.a ^ s.value; },
     .whole = [](S s) { return s.a ^ s.value; },
     .constant = RefConstant::INTEGER,
     .usual = 0x55},
    {.name = "moxLShiftS",
     .sources = 1,
     .call = withShift<moxLShiftS>,
     .bits = [](S s) { return s.a << shiftOf(s); },
     .whole = [](S s) { return s.a * (int64_t{1} << shiftOf(s)); },
     .constant = RefConstant::SHIFT,
     .usual = 2,
     .testsNull = true},
    {.name = "moxRShiftS",
     .sources = 1,
     .call = withShift<moxRShiftS>,
     .bits = [](S s) { return s.a >> shiftOf(s); },
     .whole = [](S s) { return s.a >> shiftOf(s); },
     .constant = RefConstant::SHIFT,
     .usual = 2,
     .testsNull = true},
    {.name = "moxAddSFP",
     .sources = 1,
     .call = withReal<moxAddSFP>,
     .real = [](S s) { return refFloatAdd(s.a, s.real); },
     .constant = RefConstant::REAL,
     .testsNull = true,
     .elsewhere = "moxAddS"},
    {.name = "moxSubtractSFP",
     .sources = 1,
     .call = [](const RefCall &call, MoxImage *a, MoxImage *,
                MoxImage *d) { moxSubtractSFP(a, d, std::bit_cast<float>(call.floatBits), call.flip ? 2 : 0); },
     .real = [](S s) { return s.flip ? refFloatSubtract(s.real, s.a) : refFloatSubtract(s.a, s.real); },
     .constant = RefConstant::REAL,
     .flips = true,
     .testsNull = true,
     .elsewhere = "moxSubtractS"},
    {.name = "moxMultiplySFP",
     .sources = 1,
     .call = withReal<moxMultiplySFP>,
     .real = [](S s) { return refFloatMultiply(s.a, s.real); },
     .constant = RefConstant::REAL,
     .testsNull = true,
     .elsewhere = "moxMultiplyS"},

    // One image
    {.name = "moxNot",
     .sources = 1,
     .call = refOne<moxNot>,
     .bits = [](S s) { return ~s.a; },
     .whole = [](S s) { return ~s.a; },
     .becomes = "moxXorS"},
    {.name = "moxSquare",
     .sources = 1,
     .call = refOne<moxSquare>,
     .bits = [](S s) { return s.a; },
     .whole = [](S s) { return s.saturated(s.a * s.a); },
     .real = [](S s) { return refFloatMultiply(s.a, s.a); }},
    {.name = "moxAbs",
     .sources = 1,
     .call = refOne<moxAbs>,
     .bits = [](S s) { return s.a; },
     .whole = [](S s) { return s.saturated(s.a < 0 ? -s.a : s.a); },
     .real = [](S s) { return s.a & 0x7FFFFFFF; },
     .testsNull = true,
     .exampleDepth = MOX_DEPTH_8S,
     .copies = RefCopies::UNSIGNED},
};

// Opacities. Those of moxAlphaComposite come from any of the images or from none.
void alphaComposite(ExampleCall &call) {
    const auto anyImage = [&](int usual) -> MoxImage * {
        const int choice = call.choice(usual, 4);
        return choice >= 0 && choice < 3 ? call.images[choice] : nullptr;
    };
    const int type = call.choice(MOX_COMPOSITE_OVER, 6), premulAlpha = call.choice(0, 2),
              divideMode = call.choice(1, 2);
    MoxImage *alphaImageA = anyImage(1), *alphaImageB = anyImage(0), *alphaImageDst = anyImage(3);
    moxAlphaComposite(call.a(), call.b(), call.dst(), type, alphaImageA, alphaImageB, alphaImageDst, premulAlpha,
                      divideMode);
}
void alphaCompositeC(ExampleCall &call) {
    const int type = call.choice(MOX_COMPOSITE_XOR, 6), aA = call.choice(100, 300), aB = call.choice(200, 300);
    const int premulAlpha = call.choice(0, 2);
    moxAlphaCompositeC(call.a(), call.b(), call.dst(), type, aA, aB, premulAlpha, call.choice(0, 2));
}
void preMultiplyAlpha(ExampleCall &call) {
    moxPreMultiplyAlpha(call.dst(), call.choice(100, 300));
}
void multiplyScale(ExampleCall &call) {
    moxMultiplyScale(call.a(), call.b(), call.dst());
}
void multiplySScale(ExampleCall &call) {
    moxMultiplySScale(call.src(), call.dst(), call.choice(100, 300));
}

}  // namespace

std::vector<Example> arithExamples() {
    std::vector<Example> examples;
    for (const RefOperation &operation : operations)
        examples.push_back(exampleOf(operation));
    const Example::More releases = {.releasesTiles = true, .tiles = TilesInHand::BLOCK};
    for (const Example &example :
         {Example{"moxAlphaComposite",
                  Touches::PIXELS,
                  3,
                  alphaComposite,
                  {.releasesTiles = true, .tiles = TilesInHand::BLOCK, .tool = "over"}},
          Example{"moxAlphaCompositeC",
                  Touches::PIXELS,
                  3,
                  alphaCompositeC,
                  {.releasesTiles = true, .tiles = TilesInHand::BLOCK, .tool = "blend"}},
          Example{"moxPreMultiplyAlpha",
                  Touches::PIXELS,
                  1,
                  preMultiplyAlpha,
                  {.releasesTiles = true, .tiles = TilesInHand::ONE, .tool = "premultiply"}},
          Example{"moxMultiplyScale", Touches::PIXELS, 3, multiplyScale, releases},
          Example{"moxMultiplySScale",
                  Touches::PIXELS,
                  2,
                  multiplySScale,
                  {.releasesTiles = true, .tiles = TilesInHand::BLOCK, .tool = "multiply-s-scale"}}})
        examples.push_back(example);
    return examples;
}
