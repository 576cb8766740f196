// The operations with opacities.
#pragma once

#include "mox.h"

extern "C" {
enum {
    MOX_COMPOSITE_OVER = 0,
    MOX_COMPOSITE_IN = 1,
    MOX_COMPOSITE_OUT = 2,
    MOX_COMPOSITE_ATOP = 3,
    MOX_COMPOSITE_XOR = 4,
    MOX_COMPOSITE_PLUS = 5
};
MOX_EXPORT void MOX_CALL moxAlphaComposite(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage,
                                           int compositeType, MoxImage *alphaImageA, MoxImage *alphaImageB,
                                           MoxImage *alphaImageDst, int premulAlpha, int divideMode);
MOX_EXPORT void MOX_CALL moxAlphaCompositeC(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage,
                                            int compositeType, int aA, int aB, int premulAlpha, int divideMode);
MOX_EXPORT void MOX_CALL moxPreMultiplyAlpha(MoxImage *image, int alpha);
MOX_EXPORT void MOX_CALL moxMultiplyScale(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage);
MOX_EXPORT void MOX_CALL moxMultiplySScale(MoxImage *srcImage, MoxImage *dstImage, int value);
}
