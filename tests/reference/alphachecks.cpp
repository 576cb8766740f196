// The tests that the operations with opacities make, in their order.
#include "reference/alpha.h"

namespace {

// The first fault of a list of tests that is as long as there is none.
class Checks {
  public:
    RefFault fault;

    void refuse(bool failed, const std::string &message, MoxStatus status = MOX_StatusBadArgument) {
        if (fault.status == 0 && failed) fault = {status, message};
    }
    bool open() const { return fault.status == 0; }

    void header(const std::string &name, MoxImage *image) {
        refuse(!image, name + "==0");
        if (!open()) return;
        const MoxStatus before = moxGetErrStatus(), status = moxCheckImageHeader(image);
        moxSetErrStatus(before);
        refuse(status != 0, "Incorrect Image", status);
        refuse(image->alphaChannel > 0 && image->alphaChannel != image->nChannels,
               name + "->alphaChannel > 0 && " + name + "->alphaChannel != " + name + "->nChannels");
    }
    void coiIsNoAlpha(const std::string &name, const MoxImage *image) {
        refuse(image->alphaChannel > 0 && image->roi && image->roi->coi == image->alphaChannel,
               name + "->alphaChannel > 0 && " + name + "->roi->coi == " + name + "->alphaChannel");
    }
    void hasAlpha(const std::string &name, const MoxImage *image) {
        refuse(image->alphaChannel < 1, name + "->alphaChannel < 1");
        refuse(image->alphaChannel > image->nChannels, name + "->alphaChannel > " + name + "->nChannels");
    }
    void oneOfTwoDepths(const std::string &name, const MoxImage *image) {
        refuse(image->depth != 8 && image->depth != 16, name + "->depth != 8 && " + name + "->depth != 16");
    }
    void sameDepth(const std::string &name, const MoxImage *image, const MoxImage *dst) {
        refuse(image->depth != dst->depth, name + "->depth != dstImage->depth");
    }
    void agreesInCoi(const std::string &name, const MoxImage *image, const MoxImage *dst) {
        const MoxROI *roi = image->roi, *dstRoi = dst->roi;
        refuse(dstRoi && dstRoi->coi > 0 && !roi, "dstImage->roi->coi > 0 && " + name + "->roi == 0");
        refuse(dstRoi && dstRoi->coi > 0 && roi && roi->coi == 0,
               "dstImage->roi->coi > 0 && " + name + "->roi->coi == 0");
        refuse(roi && roi->coi > 0 && !dstRoi, name + "->roi->coi > 0 && dstImage->roi == 0");
        refuse(roi && roi->coi > 0 && dstRoi && dstRoi->coi == 0, name + "->roi->coi > 0 && dstImage->roi->coi == 0");
    }
    static int colours(const MoxImage *image) { return image->nChannels - (image->alphaChannel != 0 ? 1 : 0); }
    static std::string coloursText(const std::string &name) {
        return "(" + name + "->nChannels - (" + name + "->alphaChannel != 0))";
    }
    void sameColours(const std::string &name, const MoxImage *image, const MoxImage *dst) {
        refuse(colours(image) != colours(dst), coloursText(name) + " != " + coloursText("dstImage"));
    }

    // What moxAlphaComposite and moxAlphaCompositeC begin with.
    void threeImages(MoxImage *srcA, MoxImage *srcB, MoxImage *dst) {
        header("dstImage", dst);
        if (open()) header("srcImageA", srcA);
        if (open()) header("srcImageB", srcB);
        if (!open()) return;
        coiIsNoAlpha("dstImage", dst);
        coiIsNoAlpha("srcImageA", srcA);
        coiIsNoAlpha("srcImageB", srcB);
        oneOfTwoDepths("dstImage", dst);
        sameDepth("srcImageA", srcA, dst);
        sameDepth("srcImageB", srcB, dst);
        agreesInCoi("srcImageA", srcA, dst);
        agreesInCoi("srcImageB", srcB, dst);
        if (!open() || (dst->roi && dst->roi->coi > 0)) return;
        sameColours("srcImageA", srcA, dst);
        sameColours("srcImageB", srcB, dst);
    }
    void rule(int compositeType, int premulAlpha, int divideMode) {
        refuse(compositeType < 0 || compositeType > 5,
               "compositeType != 0 && compositeType != 1 && compositeType != 2 && compositeType != 3 && compositeType "
               "!= 4 && compositeType != 5");
        refuse(premulAlpha != 0 && premulAlpha != 1, "premulAlpha != 0 && premulAlpha != 1");
        refuse(divideMode != 0 && divideMode != 1, "divideMode != 0 && divideMode != 1");
    }
};

int coiOf(const MoxImage *image) {
    return image->roi ? image->roi->coi : 0;
}

}  // namespace

RefFault refCompositeFault(const RefCompositeHeaders &call) {
    Checks checks;
    checks.threeImages(call.srcA, call.srcB, call.dst);
    if (!checks.open()) return checks.fault;
    if (call.alphaA) {
        checks.header("alphaImageA", call.alphaA);
        checks.sameDepth("alphaImageA", call.alphaA, call.dst);
    } else {
        checks.hasAlpha("srcImageA", call.srcA);
    }
    if (call.alphaB && checks.open()) {
        checks.header("alphaImageB", call.alphaB);
        checks.sameDepth("alphaImageB", call.alphaB, call.dst);
    }
    if (call.alphaDst && checks.open()) {
        checks.header("alphaImageDst", call.alphaDst);
        checks.sameDepth("alphaImageDst", call.alphaDst, call.dst);
        checks.hasAlpha("alphaImageDst", call.alphaDst);
    }
    checks.rule(call.compositeType, call.premulAlpha, call.divideMode);
    return checks.fault;
}

RefFault refCompositeCFault(const RefCompositeCHeaders &call) {
    Checks checks;
    checks.threeImages(call.srcA, call.srcB, call.dst);
    if (!checks.open()) return checks.fault;
    if (call.aA < 0) checks.hasAlpha("srcImageA", call.srcA);
    if (call.aB < 0) checks.hasAlpha("srcImageB", call.srcB);
    checks.rule(call.compositeType, call.premulAlpha, call.divideMode);
    return checks.fault;
}

RefFault refPreMultiplyFault(MoxImage *image, int alpha) {
    Checks checks;
    checks.header("image", image);
    if (!checks.open()) return checks.fault;
    checks.oneOfTwoDepths("image", image);
    checks.coiIsNoAlpha("image", image);
    if (alpha < 0) checks.hasAlpha("image", image);
    return checks.fault;
}

RefFault refMultiplyScaleFault(const std::vector<MoxImage *> &sources, MoxImage *dst) {
    const auto nameOf = [&](size_t i) {
        return std::string(sources.size() == 1 ? "srcImage" : i ? "srcImageB" : "srcImageA");
    };
    Checks checks;
    checks.header("dstImage", dst);
    for (size_t i = 0; i < sources.size() && checks.open(); ++i)
        checks.header(nameOf(i), sources[i]);
    if (!checks.open()) return checks.fault;
    const auto alphaAlone = [&](const std::string &name, const MoxImage *image) {
        checks.refuse(image->alphaChannel == 1 && !image->roi, name + "->alphaChannel == 1 && " + name + "->roi == 0");
        checks.refuse(image->alphaChannel == 1 && image->roi && image->roi->coi != 1,
                      name + "->alphaChannel == 1 && " + name + "->roi->coi != 1");
    };
    alphaAlone("dstImage", dst);
    for (size_t i = 0; i < sources.size(); ++i)
        alphaAlone(nameOf(i), sources[i]);
    checks.oneOfTwoDepths("dstImage", dst);
    for (size_t i = 0; i < sources.size(); ++i)
        checks.sameDepth(nameOf(i), sources[i], dst);
    for (size_t i = 0; i < sources.size(); ++i) {
        const int coi = coiOf(sources[i]), dstCoi = coiOf(dst);
        if (coi == 0 && dstCoi == 0) {
            checks.sameColours(nameOf(i), sources[i], dst);
        } else if (dstCoi == 0) {
            checks.refuse(Checks::colours(dst) != 1,
                          Checks::coloursText("dstImage") + " != (" + nameOf(i) + "->roi->coi > 0)");
        } else if (coi == 0) {
            checks.refuse(Checks::colours(sources[i]) != 1,
                          Checks::coloursText(nameOf(i)) + " != (dstImage->roi->coi > 0)");
        }
    }
    return checks.fault;
}
