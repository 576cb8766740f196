// Random layouts for transforms, and the comparison with the model.
#include "transform/transformcheck.h"

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cmath>

void drawNumbers(Random &random, TestImage &image, double most) {
    const TestLayout &layout = image.layout();
    const int kind = random.below(4);
    const double constant = kind == 1 ? most * random.between(-100, 100) / 128.0 : 0;
    auto draw = [&] {
        const double noise = most * (static_cast<double>(random.bits()) / 2147483648.0 - 1);
        if (kind == 0) return noise;
        if (kind == 1) return constant + noise / 16;
        if (kind == 2) return random.oneIn(8) ? noise : 0.0;
        return std::floor(noise) / (random.oneIn(2) ? 1 : 64);
    };
    for (int y = 0; y < layout.height; ++y) {
        for (int x = 0; x < layout.width; ++x) {
            for (int channel = 0; channel < layout.channels; ++channel) {
                const double value = draw();
                // Half of what an unsigned depth would cut off stands on the other side.
                const bool isUnsigned = (layout.depth & MOX_DEPTH_SIGN) == 0 && layout.depth != MOX_DEPTH_32F;
                image.set(channel, x, y, refStored(layout.depth, isUnsigned ? std::fabs(value) : value));
            }
        }
    }
}

TestLayout TransformPair::drawLayout(Random &random, int which, const TransformPairOptions &options) {
    TestLayout layout;
    const bool follows = which == 1 && options.alike;
    layout.depth = options.depths[which];
    layout.order = follows ? src().layout().order : random.below(2);
    layout.origin = random.below(2);
    layout.align = drawAlign(random);
    // One processed channel may be a coi, in an image with as many channels as it likes.
    const bool coi = options.alike ? coi_ : processed_ == 1 && random.oneIn(2);
    if (coi) {
        layout.channels = random.between(1, 5);
        if (random.oneIn(3)) layout.alpha = layout.channels;
    } else {
        layout.channels = processed_;
        if (random.oneIn(4)) layout.alpha = ++layout.channels;
    }
    if (follows) {
        layout.channels = src().layout().channels;
        if (layout.alpha || !coi) layout.alpha = src().layout().alpha;
        if (layout.alpha) layout.alpha = layout.channels;
    }
    const bool small = random.oneIn(4);
    layout.width = random.between(small ? 1 : (options.maxWidth + 1) / 2, options.maxWidth);
    layout.height = random.between(small ? 1 : (options.maxHeight + 1) / 2, options.maxHeight);
    if (follows) {
        layout.width = src().layout().width;
        layout.height = src().layout().height;
    }
    const int named = coi ? random.between(1, layout.channels) : 0;
    if (options.alike) {
        // Inside, and the source's has room at the destination's corner.
        if (region_ && which == 0) {
            const int width = random.between(1, layout.width), height = random.between(1, layout.height);
            layout.setRoi(named, random.between(0, layout.width - width), random.between(0, layout.height - height),
                          width, height);
        } else if (region_) {
            const MoxROI &from = src().layout().roi;
            const int x = random.between(0, layout.width - from.width),
                      y = random.between(0, layout.height - from.height);
            layout.setRoi(named, x, y, random.between(1, layout.width - x), random.between(1, layout.height - y));
        }
    } else if (named != 0 || random.oneIn(2)) {
        drawRegion(random, layout, named, false);
    }
    if (options.tiny && !options.alike) {
        const int x = layout.hasRoi ? layout.roi.xOffset : 0, y = layout.hasRoi ? layout.roi.yOffset : 0;
        const int width = random.oneIn(3) ? 1 << random.below(8) : random.between(1, 128);
        layout.setRoi(named, x, y, width, std::max(1, 128 / width));
    }
    drawPlacement(random, layout, 0);
    return layout;
}

TransformPair::TransformPair(Random &random, const TransformPairOptions &options)
    : processed_(random.oneIn(3) ? 1 : random.between(1, 4)), coi_(random.oneIn(3)), region_(coi_ || random.oneIn(2)) {
    const bool inPlace = options.inPlace < 0 ? random.oneIn(3) : options.inPlace == 1;
    if (options.alike && coi_) processed_ = 1;
    for (int which = 0; which < (inPlace ? 1 : 2); ++which) {
        images_[which] = std::make_unique<TestImage>(drawLayout(random, which, options), random.next());
        drawNumbers(random, *images_[which], options.most);
    }
    if (random.oneIn(4)) drawMasks(random);
}

int TransformPair::width() {
    return std::min(src().layout().regionWidth(), dst().layout().regionWidth());
}
int TransformPair::height() {
    return std::min(src().layout().regionHeight(), dst().layout().regionHeight());
}

void freeTransformCaches() {
    EXPECT_EQ(moxRealFft2D(nullptr, nullptr, MOX_FFT_FREE), 0);
    moxDCT2D(nullptr, nullptr, MOX_DCT_FREE);
}

testing::AssertionResult onlyAreaIsWritten(const TestImage &destination, const TestBytes &before, int width,
                                           int height) {
    const TestLayout &layout = destination.layout();
    TestBytes area(before.size());
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int channel = 0; channel < layout.channelCount(); ++channel) {
                destination.setIn(area, layout.firstChannel() + channel, layout.regionX() + x, layout.regionY() + y,
                                  0xFFFFFFFF);
            }
        }
    }
    return destination.holds(before, area);
}

testing::AssertionResult planesHold(const TestImage &destination, const WantedPlanes &wanted) {
    for (size_t i = 0; i < wanted.planes.size(); ++i) {
        const int channel = destination.layout().firstChannel() + static_cast<int>(i);
        if (auto result = refPlaneHolds(destination, channel, wanted.planes[i], wanted.bounds[i]); !result)
            return result;
    }
    return testing::AssertionSuccess();
}

void checkTransform(TransformPair &pair, const WantedPlanes &wanted, bool alone,
                    const std::function<MoxStatus()> &call) {
    pair.keep();
    const TestBytes before = pair.dst().bytes();
    const int width = wanted.planes[0].width, height = wanted.planes[0].height;
    TestBytes first;
    forEachCpuLevel([&] {
        if (alone) freeTransformCaches();
        ReportRecorder reports;
        AllocationWindow window;
        const MoxStatus status = call();
        window.close();
        EXPECT_EQ(fegetround(), FE_TONEAREST);
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(status, 0);
        EXPECT_EQ(moxGetErrStatus(), 0);
        EXPECT_TRUE(planesHold(pair.dst(), wanted));
        EXPECT_TRUE(onlyAreaIsWritten(pair.dst(), before, width, height));
        EXPECT_TRUE(pair.restIsUntouched());
        if (first.empty()) first = pair.dst().bytes();
        EXPECT_TRUE(pair.dst().holds(first)) << "the levels differ";
        pair.restore();
        if (!alone) return;
        freeTransformCaches();
        EXPECT_EQ(window.live(), 0) << "blocks are left";
    });
}

void ErrorSums::add(const RefPlane &exact, const RefPlane &result, const RefPlane &directSum) {
    for (size_t i = 0; i < exact.samples.size(); ++i) {
        const long double wanted = exact.samples[i];
        found += (result.samples[i] - wanted) * (result.samples[i] - wanted);
        direct += (directSum.samples[i] - wanted) * (directSum.samples[i] - wanted);
        size += wanted * wanted;
    }
}

testing::AssertionResult ErrorSums::areNoLarger(long double slack) const {
    const long double unit = std::ldexp(1.0L, -24) * std::sqrt(size);
    if (std::sqrt(found) <= std::sqrt(direct) + slack * unit) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "in units of the mean number's last place the error is "
                                       << static_cast<double>(std::sqrt(found) / unit) << ", of the direct sum "
                                       << static_cast<double>(std::sqrt(direct) / unit);
}
