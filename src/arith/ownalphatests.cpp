// The tests of the functions with opacities, in their order.
#include "arith/ownalpha.h"

namespace {

// What is said of an image, by its name.
struct Messages {
    const char *null, *alphaPlace, *alphaIsCoi, *depth, *depthDiffers;
    const char *noRoi, *noCoi, *dstNoRoi, *dstNoCoi, *channels;
    const char *noAlpha, *alphaBeyond;
    const char *aloneNoRoi, *aloneNoCoi, *dstChannelsAndCoi, *channelsAndDstCoi;
};
#define OWN_COLOURS(name) "(" name "->nChannels - (" name "->alphaChannel != 0))"
#define OWN_MESSAGES(name)                                                                                            \
    {                                                                                                                 \
        name "==0", name "->alphaChannel > 0 && " name "->alphaChannel != " name "->nChannels",                       \
            name "->alphaChannel > 0 && " name "->roi->coi == " name "->alphaChannel",                                \
            name "->depth != 8 && " name "->depth != 16", name "->depth != dstImage->depth",                          \
            "dstImage->roi->coi > 0 && " name "->roi == 0", "dstImage->roi->coi > 0 && " name "->roi->coi == 0",      \
            name "->roi->coi > 0 && dstImage->roi == 0", name "->roi->coi > 0 && dstImage->roi->coi == 0",            \
            OWN_COLOURS(name) " != " OWN_COLOURS("dstImage"), name "->alphaChannel < 1",                              \
            name "->alphaChannel > " name "->nChannels", name "->alphaChannel == 1 && " name "->roi == 0",            \
            name "->alphaChannel == 1 && " name "->roi->coi != 1",                                                    \
            OWN_COLOURS("dstImage") " != (" name "->roi->coi > 0)", OWN_COLOURS(name) " != (dstImage->roi->coi > 0)", \
    }
constexpr Messages DESTINATION = OWN_MESSAGES("dstImage");
constexpr Messages SOURCE_A = OWN_MESSAGES("srcImageA");
constexpr Messages SOURCE_B = OWN_MESSAGES("srcImageB");
constexpr Messages SOURCE = OWN_MESSAGES("srcImage");
constexpr Messages IMAGE = OWN_MESSAGES("image");
constexpr Messages ALPHA_A = OWN_MESSAGES("alphaImageA");
constexpr Messages ALPHA_B = OWN_MESSAGES("alphaImageB");
constexpr Messages ALPHA_DST = OWN_MESSAGES("alphaImageDst");

struct Test {
    bool failed;
    const char *message;
};

template <size_t count>
bool accept(const OwnCaller &caller, const Test (&tests)[count]) {
    for (const Test &test : tests) {
        if (!test.failed) continue;
        ownReport(caller, MOX_StatusBadArgument, test.message);
        return false;
    }
    return true;
}
bool accept(const OwnCaller &caller, const Test &test) {
    const Test tests[] = {test};
    return accept(caller, tests);
}

bool acceptHeader(const OwnCaller &caller, const MoxImage *image, const Messages &messages) {
    return accept(caller, {!image, messages.null}) && ownAcceptImage(caller, image) &&
           accept(caller, {image->alphaChannel > 0 && image->alphaChannel != image->nChannels, messages.alphaPlace});
}

int coiOf(const MoxImage *image) {
    return image->roi ? image->roi->coi : 0;
}
int coloursOf(const MoxImage *image) {
    return image->nChannels - (image->alphaChannel != 0 ? 1 : 0);
}

bool alphaIsCoi(const MoxImage *image) {
    return image->alphaChannel > 0 && coiOf(image) == image->alphaChannel;
}
bool depthIsOther(const MoxImage *image) {
    return image->depth != MOX_DEPTH_8U && image->depth != MOX_DEPTH_16U;
}

bool acceptCoi(const OwnCaller &caller, const MoxImage *image, const MoxImage *dst, const Messages &messages) {
    const int coi = coiOf(image), dstCoi = coiOf(dst);
    const Test tests[] = {
        {dstCoi > 0 && !image->roi, messages.noRoi},
        {dstCoi > 0 && coi == 0, messages.noCoi},
        {coi > 0 && !dst->roi, messages.dstNoRoi},
        {coi > 0 && dstCoi == 0, messages.dstNoCoi},
    };
    return accept(caller, tests);
}

bool acceptAlpha(const OwnCaller &caller, const MoxImage *image, const Messages &messages) {
    const Test tests[] = {
        {image->alphaChannel < 1, messages.noAlpha},
        {image->alphaChannel > image->nChannels, messages.alphaBeyond},
    };
    return accept(caller, tests);
}

bool acceptOpacity(const OwnCaller &caller, const MoxImage *image, const MoxImage *dst, const Messages &messages) {
    return acceptHeader(caller, image, messages) && accept(caller, {image->depth != dst->depth, messages.depthDiffers});
}

// An image of one channel, which is alpha, is read and written as any other if that channel is named.
bool acceptAlone(const OwnCaller &caller, const MoxImage *image, const Messages &messages) {
    const Test tests[] = {
        {image->alphaChannel == 1 && !image->roi, messages.aloneNoRoi},
        {image->alphaChannel == 1 && coiOf(image) != 1, messages.aloneNoCoi},
    };
    return accept(caller, tests);
}

bool acceptCounts(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, const Messages &messages) {
    const bool coi = coiOf(src) > 0, dstCoi = coiOf(dst) > 0;
    const Test tests[] = {
        {!coi && !dstCoi && coloursOf(src) != coloursOf(dst), messages.channels},
        {coi && !dstCoi && coloursOf(dst) != 1, messages.dstChannelsAndCoi},
        {!coi && dstCoi && coloursOf(src) != 1, messages.channelsAndDstCoi},
    };
    return accept(caller, tests);
}

}  // namespace

bool ownAcceptSources(const OwnCaller &caller, const MoxImage *srcImageA, const MoxImage *srcImageB,
                      const MoxImage *dstImage) {
    if (!acceptHeader(caller, dstImage, DESTINATION) || !acceptHeader(caller, srcImageA, SOURCE_A) ||
        !acceptHeader(caller, srcImageB, SOURCE_B))
        return false;
    const Test tests[] = {
        {alphaIsCoi(dstImage), DESTINATION.alphaIsCoi},
        {alphaIsCoi(srcImageA), SOURCE_A.alphaIsCoi},
        {alphaIsCoi(srcImageB), SOURCE_B.alphaIsCoi},
        {depthIsOther(dstImage), DESTINATION.depth},
        {srcImageA->depth != dstImage->depth, SOURCE_A.depthDiffers},
        {srcImageB->depth != dstImage->depth, SOURCE_B.depthDiffers},
    };
    if (!accept(caller, tests) || !acceptCoi(caller, srcImageA, dstImage, SOURCE_A) ||
        !acceptCoi(caller, srcImageB, dstImage, SOURCE_B))
        return false;
    const bool all = coiOf(dstImage) == 0;
    const Test counts[] = {
        {all && coloursOf(srcImageA) != coloursOf(dstImage), SOURCE_A.channels},
        {all && coloursOf(srcImageB) != coloursOf(dstImage), SOURCE_B.channels},
    };
    return accept(caller, counts);
}

bool ownAcceptOpacities(const OwnCaller &caller, const MoxImage *srcImageA, const MoxImage *dstImage,
                        const MoxImage *alphaImageA, const MoxImage *alphaImageB, const MoxImage *alphaImageDst) {
    const bool acceptsA =
        alphaImageA ? acceptOpacity(caller, alphaImageA, dstImage, ALPHA_A) : acceptAlpha(caller, srcImageA, SOURCE_A);
    if (!acceptsA) return false;
    if (alphaImageB && !acceptOpacity(caller, alphaImageB, dstImage, ALPHA_B)) return false;
    return !alphaImageDst ||
           (acceptOpacity(caller, alphaImageDst, dstImage, ALPHA_DST) && acceptAlpha(caller, alphaImageDst, ALPHA_DST));
}

bool ownAcceptConstants(const OwnCaller &caller, const MoxImage *srcImageA, const MoxImage *srcImageB, int aA, int aB) {
    return (aA >= 0 || acceptAlpha(caller, srcImageA, SOURCE_A)) &&
           (aB >= 0 || acceptAlpha(caller, srcImageB, SOURCE_B));
}

bool ownAcceptMix(const OwnCaller &caller, int compositeType, int premulAlpha, int divideMode) {
    const Test tests[] = {
        {compositeType < MOX_COMPOSITE_OVER || compositeType > MOX_COMPOSITE_PLUS,
         "compositeType != 0 && compositeType != 1 && compositeType != 2 && compositeType != 3 && "
         "compositeType != 4 && compositeType != 5"},
        {premulAlpha != 0 && premulAlpha != 1, "premulAlpha != 0 && premulAlpha != 1"},
        {divideMode != 0 && divideMode != 1, "divideMode != 0 && divideMode != 1"},
    };
    return accept(caller, tests);
}

bool ownAcceptPremultiplied(const OwnCaller &caller, const MoxImage *image, int alpha) {
    if (!acceptHeader(caller, image, IMAGE)) return false;
    const Test tests[] = {
        {depthIsOther(image), IMAGE.depth},
        {alphaIsCoi(image), IMAGE.alphaIsCoi},
    };
    return accept(caller, tests) && (alpha >= 0 || acceptAlpha(caller, image, IMAGE));
}

bool ownAcceptScaled(const OwnCaller &caller, const MoxImage *srcImageA, const MoxImage *srcImageB,
                     const MoxImage *dstImage) {
    if (!acceptHeader(caller, dstImage, DESTINATION) || !acceptHeader(caller, srcImageA, SOURCE_A) ||
        !acceptHeader(caller, srcImageB, SOURCE_B))
        return false;
    if (!acceptAlone(caller, dstImage, DESTINATION) || !acceptAlone(caller, srcImageA, SOURCE_A) ||
        !acceptAlone(caller, srcImageB, SOURCE_B))
        return false;
    const Test depths[] = {
        {depthIsOther(dstImage), DESTINATION.depth},
        {srcImageA->depth != dstImage->depth, SOURCE_A.depthDiffers},
        {srcImageB->depth != dstImage->depth, SOURCE_B.depthDiffers},
    };
    return accept(caller, depths) && acceptCounts(caller, srcImageA, dstImage, SOURCE_A) &&
           acceptCounts(caller, srcImageB, dstImage, SOURCE_B);
}

bool ownAcceptScaled(const OwnCaller &caller, const MoxImage *srcImage, const MoxImage *dstImage) {
    if (!acceptHeader(caller, dstImage, DESTINATION) || !acceptHeader(caller, srcImage, SOURCE)) return false;
    if (!acceptAlone(caller, dstImage, DESTINATION) || !acceptAlone(caller, srcImage, SOURCE)) return false;
    const Test depths[] = {
        {depthIsOther(dstImage), DESTINATION.depth},
        {srcImage->depth != dstImage->depth, SOURCE.depthDiffers},
    };
    return accept(caller, depths) && acceptCounts(caller, srcImage, dstImage, SOURCE);
}
