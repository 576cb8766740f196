// Alpha composition, multiplication by opacity, and products as fractions of the full scale.
#include <algorithm>

#include "arith/ownalpha.h"
#include "frame/ownrows.h"

namespace {

void mix(const void *operation, MoxImage *const *views, MoxImage *mask, int width, int height) {
    ownMixImages(*static_cast<const OwnMixing *>(operation), views, mask, width, height);
}

// The opacities of images that are null here are constants.
struct MixingC {
    OwnMixing mixing;
    bool readsA, readsB;
};
void mixC(const void *operation, MoxImage *const *views, MoxImage *mask, int width, int height) {
    const MixingC &of = *static_cast<const MixingC *>(operation);
    MoxImage *dst = views[0], *a = views[1], *b = views[2];
    MoxImage *const all[] = {dst, nullptr, a, b, of.readsA ? a : nullptr, of.readsB ? b : nullptr};
    ownMixImages(of.mixing, all, mask, width, height);
}

// The product of an image and an opacity is what lies in that opacity. Its alpha becomes a constant as the part of the
// full scale in it.
void premultiply(const void *operation, MoxImage *const *views, MoxImage *mask, int width, int height) {
    const OwnMixing &mixing = *static_cast<const OwnMixing *>(operation);
    MoxImage *image = views[0];
    const bool own = mixing.constB < 0;
    MoxImage *const all[] = {
        image, !own && image->alphaChannel != 0 ? image : nullptr, image, image, nullptr, own ? image : nullptr};
    ownMixImages(mixing, all, mask, width, height);
}

// An opacity of a constant: -1 beyond the full scale, which stands for the image's own.
int opacity(int alpha, const MoxImage *image) {
    return alpha > ownFullScale(image) ? -1 : alpha;
}

// A product by rows: of two images, or of one and a value.
struct Product {
    int sources;
    int value;

    void run(MoxImage *const *images, const int *first, int channels, MoxImage *mask) const {
        OwnRows rows;
        ownSetRows(&rows, images, first, sources + 1, channels, mask);
        const OwnAlphaRows &kernels = ownAlphaRows();
        const OwnRowForms *forms = sources == 2 ? kernels.multiply : kernels.multiplyS;
        ownRunRows(rows, forms[ownAlphaDepth(images[0])], {static_cast<uint32_t>(value), 0, 0});
    }
};

void multiply(const void *operation, MoxImage *const *views, MoxImage *mask, int, int) {
    const Product &product = *static_cast<const Product *>(operation);
    const int sources = product.sources;
    const MoxImage *dst = views[0];
    MoxImage *images[3];
    int first[3];
    bool named = false, oneOrder = true;
    for (int i = 0; i <= sources; ++i) {
        images[i] = views[(i + 1) % (sources + 1)];
        first[i] = ownFirstChannel(images[i]);
        named = named || ownHasCoi(images[i]);
        oneOrder = oneOrder && images[i]->dataOrder == dst->dataOrder;
    }
    // Alpha stays as it is, also where it is what is named.
    if (dst->alphaChannel != 0 && ownFirstChannel(dst) == dst->alphaChannel - 1) return;
    const int channels = named ? 1 : dst->nChannels - (dst->alphaChannel != 0 ? 1 : 0);
    if (oneOrder) return product.run(images, first, channels, mask);
    for (int k = 0; k < channels; ++k) {
        product.run(images, first, 1, mask);
        for (int i = 0; i <= sources; ++i)
            ++first[i];
    }
}

}  // namespace

void MOX_CALL moxAlphaComposite(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage, int compositeType,
                                MoxImage *alphaImageA, MoxImage *alphaImageB, MoxImage *alphaImageDst, int premulAlpha,
                                int divideMode) {
    const OwnCaller caller = OWN_CALLER("moxAlphaComposite");
    if (!ownAcceptSources(caller, srcImageA, srcImageB, dstImage) ||
        !ownAcceptOpacities(caller, srcImageA, dstImage, alphaImageA, alphaImageB, alphaImageDst) ||
        !ownAcceptMix(caller, compositeType, premulAlpha, divideMode))
        return;
    MoxImage *opacityA = alphaImageA ? alphaImageA : srcImageA;
    // B's own alpha counts only if A's own does.
    MoxImage *opacityB = alphaImageB ? alphaImageB : !alphaImageA && srcImageB->alphaChannel != 0 ? srcImageB : nullptr;
    MoxImage *output = alphaImageDst ? alphaImageDst : dstImage->alphaChannel != 0 ? dstImage : nullptr;
    const OwnMixing mixing = {
        {compositeType, premulAlpha == 1, divideMode == 1}, opacityB ? OWN_B_GIVEN : OWN_B_IS_REST, 0, 0};
    ownRunAlpha({caller,
                 {dstImage, output, srcImageA, srcImageB, opacityA, opacityB},
                 6,
                 2,
                 {dstImage, srcImageA, srcImageB, alphaImageDst, alphaImageA, alphaImageB},
                 mix,
                 &mixing});
}

void MOX_CALL moxAlphaCompositeC(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage, int compositeType,
                                 int aA, int aB, int premulAlpha, int divideMode) {
    const OwnCaller caller = OWN_CALLER("moxAlphaCompositeC");
    if (!ownAcceptSources(caller, srcImageA, srcImageB, dstImage) ||
        !ownAcceptConstants(caller, srcImageA, srcImageB, aA, aB) ||
        !ownAcceptMix(caller, compositeType, premulAlpha, divideMode))
        return;
    const int a = opacity(aA, dstImage), b = opacity(aB, dstImage);
    const MixingC mixing = {{{compositeType, premulAlpha == 1, divideMode == 1}, OWN_B_GIVEN, a, b}, a < 0, b < 0};
    ownRunAlpha({caller, {dstImage, srcImageA, srcImageB}, 3, 1, {dstImage, srcImageA, srcImageB}, mixC, &mixing});
}

void MOX_CALL moxPreMultiplyAlpha(MoxImage *image, int alpha) {
    const OwnCaller caller = OWN_CALLER("moxPreMultiplyAlpha");
    if (!ownAcceptPremultiplied(caller, image, alpha)) return;
    const OwnMixing mixing = {{MOX_COMPOSITE_IN, true, false}, OWN_B_GIVEN, ownFullScale(image), opacity(alpha, image)};
    ownRunAlpha({caller, {image}, 1, 1, {image}, premultiply, &mixing});
}

void MOX_CALL moxMultiplyScale(MoxImage *srcImageA, MoxImage *srcImageB, MoxImage *dstImage) {
    const OwnCaller caller = OWN_CALLER("moxMultiplyScale");
    if (!ownAcceptScaled(caller, srcImageA, srcImageB, dstImage)) return;
    const Product product = {2, 0};
    ownRunAlpha({caller, {dstImage, srcImageA, srcImageB}, 3, 1, {dstImage, srcImageA, srcImageB}, multiply, &product});
}

void MOX_CALL moxMultiplySScale(MoxImage *srcImage, MoxImage *dstImage, int value) {
    const OwnCaller caller = OWN_CALLER("moxMultiplySScale");
    if (!ownAcceptScaled(caller, srcImage, dstImage)) return;
    const Product product = {1, std::clamp(value, 0, ownFullScale(dstImage))};
    ownRunAlpha({caller, {dstImage, srcImage}, 2, 1, {dstImage, srcImage}, multiply, &product});
}
