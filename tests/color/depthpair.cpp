// Random layouts of two images of different depths.
#include "color/depthpair.h"

#include <algorithm>
#include <cfenv>

#include "reference/filter.h"
#include "support/allocations.h"
#include "support/reports.h"
#include "support/tilelog.h"

const unsigned integerDepths[5] = {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S};

static void drawSize(Random &random, const DepthPairOptions &options, TestLayout &layout) {
    const bool small = random.oneIn(4);
    layout.width = random.between(small ? 1 : (options.maxWidth + 1) / 2, options.maxWidth);
    layout.height = random.between(small ? 1 : (options.maxHeight + 1) / 2, options.maxHeight);
}

void DepthImages::drawWhole(Random &random, const DepthPairOptions &options) {
    const bool toBits = options.dstDepth == MOX_DEPTH_1U, fromBits = options.srcDepth == MOX_DEPTH_1U;
    drawSize(random, options, layouts_[0]);
    for (int which = 0; which < 2; ++which) {
        TestLayout &layout = layouts_[which];
        layout.width = layouts_[0].width;
        layout.height = layouts_[0].height;
        layout.depth = which ? options.dstDepth : options.srcDepth;
        layout.order = random.below(2);
        layout.origin = random.below(2);
        layout.align = drawAlign(random);
        layout.channels = which && !toBits ? layouts_[0].channels : fromBits || which ? 1 : random.between(1, 5);
        if (layout.channels > 1 && random.oneIn(3)) layout.alpha = layout.channels;
        // Regions do not count, but for the channel that becomes bits.
        const bool names = which == 0 && toBits && layout.channels > 1;
        if (names || random.oneIn(3)) drawRegion(random, layout, random.between(names ? 1 : 0, layout.channels));
        drawPlacement(random, layout, options.tiled[which]);
    }
}

// One processed channel may be that of interest, in an image with as many channels as it likes.
void DepthImages::drawProcessed(Random &random, const DepthPairOptions &options, TestLayout &layout,
                                int processed) const {
    if (layout.depth == MOX_DEPTH_1U) {
        layout.roi.coi = random.oneIn(4) ? 1 : 0;
        return;
    }
    if (processed == 1 && random.oneIn(2) && !options.inPlace) {
        layout.channels = random.between(1, 5);
        if (random.oneIn(3)) layout.alpha = layout.channels;
        layout.roi.coi = random.between(1, layout.channels);
        return;
    }
    layout.channels = processed;
    if (random.oneIn(4)) layout.alpha = ++layout.channels;
}

void DepthImages::drawRegions(Random &random, const DepthPairOptions &options) {
    const bool bits = options.srcDepth == MOX_DEPTH_1U || options.dstDepth == MOX_DEPTH_1U;
    const int processed = (bits && !options.oneToMany) || random.oneIn(3) ? 1 : random.between(1, 4);
    const int origin = random.below(2), order = random.below(2);
    for (int which = 0; which < 2; ++which) {
        TestLayout &layout = layouts_[which];
        layout.depth = which ? options.dstDepth : options.srcDepth;
        drawSize(random, options, layout);
        if (options.oneToMany && which) {
            layout.width = layouts_[0].width;
            layout.height = layouts_[0].height;
        }
        layout.origin = options.sameOrigin ? origin : random.below(2);
        layout.align = drawAlign(random);
        drawProcessed(random, options, layout, processed);
        if (layout.roi.coi != 0 || random.oneIn(2)) drawRegion(random, layout, layout.roi.coi);
        layout.order = order;
        drawPlacement(random, layout, options.tiled[which]);
    }
    // Orders may differ where one image has a single channel.
    if (options.oneToMany || layouts_[0].channels == 1 || layouts_[1].channels == 1)
        layouts_[1].order = random.below(2);
    if (!options.sameRegions || (!layouts_[0].tiled() && !layouts_[1].tiled())) return;
    const int width = std::min(layouts_[0].regionWidth(), layouts_[1].regionWidth()),
              height = std::min(layouts_[0].regionHeight(), layouts_[1].regionHeight());
    for (TestLayout &layout : layouts_) {
        const MoxROI before = layout.roi;
        layout.setRoi(before.coi, layout.regionX(), layout.regionY(), std::max(width, 1), std::max(height, 1));
    }
}

DepthImages::DepthImages(Random &random, const DepthPairOptions &options) {
    if (options.whole) {
        drawWhole(random, options);
    } else {
        drawRegions(random, options);
    }
    for (int which = 0; which < (options.inPlace ? 1 : 2); ++which)
        images_[which] = std::make_unique<TestImage>(layouts_[which], random.next());
    if (!options.masks || random.oneIn(2)) return;
    drawMasks(random);
    // Masks that are combined are of one order; an origin of their own counts for some operations.
    for (int which = 0; which < 2; ++which) {
        TestImage *mask = masks_[which].get();
        if (!mask) continue;
        TestLayout layout = mask->layout();
        layout.order = MOX_DATA_ORDER_PIXEL;
        if (options.sameOrigin) layout.origin = layouts_[which].origin;
        masks_[which] = std::make_unique<TestImage>(layout, random.next());
        images_[which]->setMask(masks_[which].get());
    }
}

static void checkOnce(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call, int mode) {
    ReportRecorder reports;
    TileLog log;
    AllocationWindow window;
    fesetround(mode);
    call();
    const int modeAfter = fegetround();
    fesetround(FE_TONEAREST);
    window.close();
    EXPECT_EQ(modeAfter, mode) << "the rounding mode has changed";
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), 0);
    EXPECT_TRUE(log.paired());
    EXPECT_EQ(window.live(), 0) << "leaked blocks";
    RefResult expected = wanted;
    refAcceptNaNs(pair.dst(), &expected);
    EXPECT_TRUE(pair.dst().holds(expected.expected, expected.unspecified));
    EXPECT_TRUE(pair.restIsUntouched());
    pair.restore();
}

void checkColorCall(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call) {
    pair.keep();
    forEachCpuLevel([&] { checkOnce(pair, wanted, call, FE_TONEAREST); });
}

void checkInRoundingModes(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call) {
    pair.keep();
    forEachCpuLevel([&] {
        for (int mode : {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
            SCOPED_TRACE("rounding mode " + std::to_string(mode));
            checkOnce(pair, wanted, call, mode);
        }
    });
}

testing::AssertionResult sameSamples(const TestImage &image, const TestImage &wanted) {
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x) {
            for (int channel = 0; channel < image.layout().channels; ++channel) {
                if (image.get(channel, x, y) == wanted.get(channel, x, y)) continue;
                return testing::AssertionFailure()
                       << "channel " << channel << " of (" << x << ", " << y << ") is " << image.get(channel, x, y)
                       << ", expected " << wanted.get(channel, x, y);
            }
        }
    }
    return testing::AssertionSuccess();
}
