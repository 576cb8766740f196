// Operations that put pixels into other places.
#include "image.h"
#include "operations.h"

const Family &geometryFamily() {
    using K = ArgumentKind;
    static const Family family = {
        "Geometry",
        {
            {"mirror",
             {{K::integer, "AXIS"}},
             "the mirror image: with 1 left and right change places, with 0 top and bottom, with -1 both",
             [](Call *call) { moxMirror(call->image, call->image, call->arguments[0].integer); },
             {{"Left and right change places.", "mirror 1"},
              {"A region upside down, where it stands.", "--roi {w25},{h15},{w50},{h70} mirror 0"}}},
        }};
    return family;
}
