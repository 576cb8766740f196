// Two values for samples at or above a threshold and for those below it.
#include "color/owndepth.h"

namespace {

bool check(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst, int threshold) {
    if (!ownAcceptImage(caller, src) || !ownAcceptImage(caller, dst)) return false;
    const auto maskDiffers = [](const MoxImage *image) {
        return image->maskROI && image->origin != image->maskROI->origin;
    };
    const bool is8S = src->depth == MOX_DEPTH_8S, is16S = src->depth == MOX_DEPTH_16S;
    const bool is8U = src->depth == MOX_DEPTH_8U, is16U = src->depth == MOX_DEPTH_16U;
    const OwnDepthTest tests[] = {
        {src->depth == MOX_DEPTH_32F, "(srcImage->depth == 32)"},
        {dst->depth == MOX_DEPTH_32F, "(dstImage->depth == 32)"},
        {src->depth == MOX_DEPTH_1U, "(srcImage->depth == 1)"},
        {ownOrdersDiffer(src, dst), OWN_ORDERS_DIFFER},
        {maskDiffers(src), "(srcImage->origin != srcImage->maskROI->origin)"},
        {maskDiffers(dst), "(dstImage->origin != dstImage->maskROI->origin)"},
        {is8S && threshold > 127, "((srcImage->depth == (0x80000000| 8)) && (Threshold > 127))"},
        {is8S && threshold < -128, "((srcImage->depth == (0x80000000| 8)) && (Threshold < -128))"},
        {is8U && threshold > 255, "((srcImage->depth == 8) && (Threshold > 255))"},
        {is8U && threshold < 0, "((srcImage->depth == 8) && (Threshold < 0))"},
        {is16S && threshold > 32767, "((srcImage->depth == (0x80000000|16)) && (Threshold > 32767))"},
        {is16S && threshold < -32768, "((srcImage->depth == (0x80000000|16)) && (Threshold < -32768))"},
        {is16U && threshold > 65535, "((srcImage->depth == 16) && (Threshold > 65535))"},
        {is16U && threshold < 0, "((srcImage->depth == 16) && (Threshold < 0))"},
        {src->origin != dst->origin, "(srcImage->origin != dstImage->origin)"},
        {ownChannels(src) != ownChannels(dst), "(srcChannels != dstChannels)"},
    };
    return ownPassDepthTests(caller, tests);
}

// What the masks of two images both let through.
class BothMasks {
  public:
    ~BothMasks() {
        if (made_) moxDeallocate(made_, MOX_FreeHeader | MOX_FreeData);
    }
    BothMasks() = default;
    BothMasks(const BothMasks &) = delete;
    BothMasks &operator=(const BothMasks &) = delete;

    // False after a report, and where they have nothing in common.
    bool make(const OwnCaller &caller, const MoxImage *src, const MoxImage *dst) {
        mask_ = src->maskROI ? src->maskROI : dst->maskROI;
        if (!src->maskROI || !dst->maskROI || src->maskROI == dst->maskROI) return true;
        return !ownMasksAreApart(src->maskROI, dst->maskROI, nullptr) && combine(caller, src->maskROI, dst->maskROI);
    }
    MoxImage *image() const { return mask_; }

  private:
    bool combine(const OwnCaller &caller, const MoxImage *first, const MoxImage *second);

    MoxImage *mask_ = nullptr, *made_ = nullptr;
};

bool BothMasks::combine(const OwnCaller &caller, const MoxImage *first, const MoxImage *second) {
    MoxImage one = ownMaskAsImage(first), two = ownMaskAsImage(second);
    OwnImageRect a, b;
    ownImageRect(first, &a);
    ownImageRect(second, &b);
    made_ = moxCreateImageHeader(1, 0, MOX_DEPTH_1U, "GREY", "GREY", first->dataOrder, first->origin, 8,
                                 static_cast<int>(a.width < b.width ? a.width : b.width),
                                 static_cast<int>(a.height < b.height ? a.height : b.height), nullptr, nullptr, nullptr,
                                 nullptr);
    if (!made_) {
        ownReport(caller, MOX_StatusBadArgument, "(msk == NULL)");
        return false;
    }
    moxAllocateImage(made_, 0, 0);
    if (!made_->imageData) {
        ownReport(caller, MOX_StatusBadArgument, "(msk->imageData == NULL)");
        return false;
    }
    const OwnNestedCalls calls;
    moxAnd(&one, &two, made_);
    if (calls.failed()) ownReport(caller, MOX_StatusBacktrace, "error_moxAnd");
    mask_ = made_;
    return !calls.failed();
}

}  // namespace

void MOX_CALL moxThreshold(MoxImage *srcImage, MoxImage *dstImage, int Threshold) {
    const OwnCaller caller = OWN_CALLER("moxThreshold");
    if (!check(caller, srcImage, dstImage, Threshold)) return;
    // Nothing is done before the headers are believed.
    if (!ownAcceptMemory(caller, {srcImage, dstImage})) return;
    BothMasks mask;
    if (!mask.make(caller, srcImage, dstImage)) return;
    const OwnThresholdRows &rows = ownThresholdRows();
    const int from = ownWholeIndex(ownDepthIndex(srcImage->depth));
    const OwnMixedForms &kernel = dstImage->depth == MOX_DEPTH_1U
                                      ? rows.bits[from]
                                      : rows.samples[from][ownSampleSize(ownDepthBytes(dstImage->depth))];
    ownRunConversion(caller, ownConversionOf(srcImage, dstImage, mask.image()), kernel,
                     {static_cast<uint32_t>(Threshold), ownSignBit(dstImage->depth), 0});
}
