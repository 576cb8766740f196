// One call that is refused, or is not.
#include "color/refusedcall.h"

#include <algorithm>
#include <cstring>

void nameModel(TestImage &image, const char *model, const char *sequence) {
    MoxImage &header = *image.header();
    memset(header.colorModel, 0, sizeof header.colorModel);
    memset(header.channelSeq, 0, sizeof header.channelSeq);
    memcpy(header.colorModel, model, std::min(strlen(model), sizeof header.colorModel));
    memcpy(header.channelSeq, sequence, std::min(strlen(sequence), sizeof header.channelSeq));
    image.keepHeader();
}

static std::unique_ptr<TestImage> imageOf(const Side &side, uint64_t seed) {
    TestLayout layout = TestLayout::of(side.depth, side.width, side.height, side.channels, side.order);
    layout.alpha = side.alpha;
    layout.origin = side.origin;
    if (side.coi >= 0) layout.setRoi(side.coi, 0, 0, side.width, side.height);
    auto image = std::make_unique<TestImage>(layout, seed);
    nameModel(*image, side.model, side.sequence);
    return image;
}

RefusedCall::RefusedCall(const Side &src, const Side &dst) : src_(imageOf(src, 1)), dst_(imageOf(dst, 2)) {
    for (int which = 0; which < 2; ++which) {
        const Side &side = which ? dst : src;
        if (side.maskOrigin < 0) continue;
        TestLayout layout = TestLayout::ofMask(side.width, side.height);
        layout.origin = side.maskOrigin;
        masks_[which] = std::make_unique<TestImage>(layout, 3 + static_cast<uint64_t>(which));
        (which ? dst_ : src_)->setMask(masks_[which].get());
    }
}

void RefusedCall::expect(const Call &call, const char *function, const char *message, MoxStatus status) {
    const TestBytes source = src_->bytes(), destination = dst_->bytes();
    ReportRecorder reports;
    call(src(), dst());
    if (!message) {
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(moxGetErrStatus(), 0);
        dst_->setBytes(destination);
        return;
    }
    EXPECT_TRUE(reports.are({{status, function, message}}));
    if (status != MOX_StatusBacktrace) {
        EXPECT_EQ(moxGetErrStatus(), status);
    }
    EXPECT_TRUE(src_->holds(source));
    EXPECT_TRUE(dst_->holds(destination));
    EXPECT_TRUE(src_->headerIsUntouched());
    EXPECT_TRUE(dst_->headerIsUntouched());
}
