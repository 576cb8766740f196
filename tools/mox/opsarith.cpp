// Arithmetic and logic, on two pictures and on one.
#include "operations.h"

namespace {

// Calls of the three shapes that nearly all of them have.
template <void(MOX_CALL *operation)(MoxImage *, MoxImage *, MoxImage *)>
void onPair(Call *call) {
    operation(call->image, call->other, call->image);
}

template <void(MOX_CALL *operation)(MoxImage *, MoxImage *, int)>
void withInteger(Call *call) {
    operation(call->image, call->image, call->arguments[0].integer);
}

template <void(MOX_CALL *operation)(MoxImage *, MoxImage *, unsigned)>
void withShift(Call *call) {
    operation(call->image, call->image, static_cast<unsigned>(call->arguments[0].integer));
}

template <void(MOX_CALL *operation)(MoxImage *, MoxImage *, float)>
void withReal(Call *call) {
    operation(call->image, call->image, call->arguments[0].real);
}

template <void(MOX_CALL *operation)(MoxImage *, MoxImage *)>
void onOne(Call *call) {
    operation(call->image, call->image);
}

}  // namespace

const Family &arithmeticPair() {
    using K = ArgumentKind;
    static const Family family = {
        "Arithmetic and logic on two pictures",
        {
            {"add",
             {{K::picture, "PICTURE"}},
             "A + B, clamped; at depth 1u: or",
             onPair<moxAdd>,
             {{"Coloured lights fall on the scene.", "add discs.png"},
              {"Half of each: the two laid over each other.", "rshift-s 1 add faint.png"}}},
            {"subtract",
             {{K::picture, "PICTURE"}},
             "A - B, clamped; at depth 1u: A and not B",
             onPair<moxSubtract>,
             {{"The lights' colours are taken out.", "subtract discs.png"},
              {"The picture less itself, two pixels aside: at depth 8s zero is middle gray, and a relief stands out.",
               "--depth 8s subtract shifted.png"},
              {"Bits of the left disc that are not in the right one.", "subtract right.png", "left.png"}}},
            {"multiply",
             {{K::picture, "PICTURE"}},
             "A x B, clamped; at depth 1u: and",
             onPair<moxMultiply>,
             {{"In floating point white is 1: a vignette darkens the corners.", "--depth 32f multiply vignette.png"},
              {"Lit by the coloured discs alone.", "--depth 32f multiply discs.png"}}},
            {"and",
             {{K::picture, "PICTURE"}},
             "A and B, bit by bit",
             onPair<moxAnd>,
             {{"Where the stripes are black nothing is left.", "and stripes.png"},
              {"Bits that both discs have.", "and right.png", "left.png"}}},
            {"or",
             {{K::picture, "PICTURE"}},
             "A or B, bit by bit",
             onPair<moxOr>,
             {{"Where the stripes are white all is white.", "or stripes.png"},
              {"Bits that either disc has.", "or right.png", "left.png"}}},
            {"xor",
             {{K::picture, "PICTURE"}},
             "A exclusive-or B, bit by bit",
             onPair<moxXor>,
             {{"Where the stripes are white the picture is negative.", "xor stripes.png"},
              {"Bits that one disc has and the other has not.", "xor right.png", "left.png"}}},
        }};
    return family;
}

const Family &arithmeticOne() {
    using K = ArgumentKind;
    static const Family family = {
        "Arithmetic and logic on one picture and a constant",
        {
            {"add-s",
             {{K::integer, "VALUE"}},
             "A + VALUE, clamped",
             withInteger<moxAddS>,
             {{"Lighter. What would pass white stays white.", "add-s 60"},
              {"More red, and nothing else.", "--coi 1 add-s 70"}}},
            {"subtract-s",
             {{K::integer, "VALUE"}, {K::keyword, "flip"}},
             "A - VALUE, or VALUE - A with the word flip, clamped",
             [](Call *call) {
                 moxSubtractS(call->image, call->image, call->arguments[0].integer, call->arguments[1].integer);
             },
             {{"Darker. What would pass black stays black.", "subtract-s 80"},
              {"Taken from 200: a negative in which all that was bright is black.", "subtract-s 200 flip"}}},
            {"multiply-s",
             {{K::integer, "VALUE"}},
             "A x VALUE, clamped; at depth 1u: and",
             withInteger<moxMultiplyS>,
             {{"Twice the light: the shadows open, the sky burns out.", "multiply-s 2"},
              {"Contrast: three times what lies above 96.", "subtract-s 96 multiply-s 3"}}},
            {"and-s",
             {{K::bits, "VALUE"}},
             "A and the low bits of VALUE",
             withInteger<moxAndS>,
             {{"The two highest bits of each sample: four tones a channel.", "and-s 0xC0"}}},
            {"or-s",
             {{K::bits, "VALUE"}},
             "A or the low bits of VALUE",
             withInteger<moxOrS>,
             {{"The highest bit set: no tone darker than middle gray.", "or-s 0x80"}}},
            {"xor-s",
             {{K::bits, "VALUE"}},
             "A exclusive-or the low bits of VALUE",
             withInteger<moxXorS>,
             {{"The highest bit turned over: light and dark halves of the scale change places.", "xor-s 0x80"}}},
            {"lshift-s",
             {{K::count, "N"}},
             "samples shifted left by N bits; what leaves is lost",
             withShift<moxLShiftS>,
             {{"The two highest bits leave, and the fine structure below them fills the scale.", "lshift-s 2"}}},
            {"rshift-s",
             {{K::count, "N"}},
             "samples shifted right by N bits; signed depths keep the sign",
             withShift<moxRShiftS>,
             {{"A quarter of the light.", "rshift-s 2"},
              {"Right and left again: eight tones a channel.", "rshift-s 5 lshift-s 5"}}},
            {"add-sfp",
             {{K::real, "VALUE"}},
             "A + VALUE, at depth 32f",
             withReal<moxAddSFP>,
             {{"Lighter by a quarter of the scale, computed in floating point.", "--depth 32f add-sfp 0.25"}}},
            {"subtract-sfp",
             {{K::real, "VALUE"}, {K::keyword, "flip"}},
             "A - VALUE, or VALUE - A with the word flip, at depth 32f",
             [](Call *call) {
                 moxSubtractSFP(call->image, call->image, call->arguments[0].real, call->arguments[1].integer);
             },
             {{"1 - A is the negative.", "--depth 32f subtract-sfp 1 flip"}}},
            {"multiply-sfp",
             {{K::real, "VALUE"}},
             "A x VALUE, at depth 32f",
             withReal<moxMultiplySFP>,
             {{"Contrast about middle gray. Between the steps nothing is clamped.",
               "--depth 32f subtract-sfp 0.5 multiply-sfp 1.8 add-sfp 0.5"}}},
            {"not",
             {},
             "every bit turned over",
             onOne<moxNot>,
             {{"The negative.", "not"}, {"The negative where the mask is white.", "--mask mask.png not"}}},
            {"square",
             {},
             "A x A, clamped",
             onOne<moxSquare>,
             {{"In floating point white is 1, and a square deepens the shadows.", "--depth 32f square"},
              {"Four bits squared fill eight: the same, in sixteen steps.", "rshift-s 4 square"}}},
            {"abs",
             {},
             "the absolute value",
             onOne<moxAbs>,
             {{"At depth 8s middle gray is zero: all that is darker is folded up.", "--depth 8s abs"},
              {"How much the picture differs from itself, two pixels aside, in either direction.",
               "--depth 32s subtract shifted.png abs multiply-s 3"}}},
        }};
    return family;
}
