// Random layouts of two images for the reduction of bits.
#include "color/reducepair.h"

#include <algorithm>

#include "support/allocations.h"
#include "support/reports.h"
#include "support/tilelog.h"

const DepthPair allDepthPairs[9] = {
    {MOX_DEPTH_8U, MOX_DEPTH_1U},  {MOX_DEPTH_8U, MOX_DEPTH_8U},   {MOX_DEPTH_16U, MOX_DEPTH_1U},
    {MOX_DEPTH_16U, MOX_DEPTH_8U}, {MOX_DEPTH_16U, MOX_DEPTH_16U}, {MOX_DEPTH_32S, MOX_DEPTH_1U},
    {MOX_DEPTH_32S, MOX_DEPTH_8U}, {MOX_DEPTH_32S, MOX_DEPTH_16U}, {MOX_DEPTH_32S, MOX_DEPTH_32S}};

std::string depthPairName(const DepthPair &depths) {
    return std::string(depthName(depths.src)) + "to" + depthName(depths.dst);
}

void drawPicture(Random &random, TestImage &image) {
    const TestLayout &layout = image.layout();
    const uint64_t range = (uint64_t{1} << layout.bits()) - 1;
    const int kind = random.below(4);
    for (int channel = 0; channel < layout.channels; ++channel) {
        const uint64_t flat = random.bits() & range;
        const int across = random.between(1, layout.width), down = random.between(1, layout.height);
        for (int y = 0; y < layout.height; ++y) {
            for (int x = 0; x < layout.width; ++x) {
                uint64_t value = flat;
                if (kind == 1) value = range * static_cast<uint64_t>(x) / static_cast<uint64_t>(across);
                if (kind == 2) value += range * static_cast<uint64_t>(y * 3 + x) / static_cast<uint64_t>(across * down);
                if (kind == 3) value = random.bits() & range;
                const uint32_t sign = layout.depth == MOX_DEPTH_32S ? 0x80000000 : 0;
                image.set(channel, x, y, static_cast<uint32_t>(std::min(value, range)) ^ sign);
            }
        }
    }
}

int drawLevels(Random &random, const DepthPair &depths) {
    if (depths.dst == MOX_DEPTH_1U) return 2;
    const int most = depths.dst == MOX_DEPTH_8U ? 256 : depths.dst == MOX_DEPTH_16U ? 65536 : 0x7FFFFFFF;
    switch (random.below(5)) {
        case 0:
            return 2;
        case 1:
            return most;
        case 2:
            return std::min(most, 1 << random.between(1, 16));
        case 3:
            return random.between(2, 20);
        default:
            return 2 + static_cast<int>(random.bits() >> 1) % (most - 1);
    }
}

RefReduce drawReduce(Random &random, const DepthPair &depths, bool noise) {
    static const int dithers[] = {MOX_DITHER_NONE, MOX_DITHER_FS, MOX_DITHER_JJH, MOX_DITHER_STUCKEY, MOX_DITHER_BAYER};
    RefReduce call;
    call.dither = dithers[random.below(5)];
    call.levels = drawLevels(random, depths);
    if (noise) call.noise = random.oneIn(4) ? 100 : random.between(1, 99);
    return call;
}

void ReducePair::drawLayouts(Random &random, const ReducePairOptions &options) {
    const int order = random.below(2);
    const bool coi = options.coi && random.oneIn(3);
    const bool bits = options.depths.dst == MOX_DEPTH_1U;
    // The source has as many channels as the destination, or more where there is no alpha.
    int channels[2] = {bits ? 1 : random.between(1, 4), 0};
    channels[1] = channels[0];
    const bool alpha = random.oneIn(4);
    if (alpha && !bits) channels[0] = ++channels[1];
    if (!alpha && (!bits || coi) && random.oneIn(3)) channels[0] += random.between(1, 2);
    const bool coiIn[2] = {coi && (bits || random.oneIn(2)), coi && random.oneIn(2)};
    for (int which = 0; which < 2; ++which) {
        TestLayout &layout = layouts_[which];
        layout.depth = which ? options.depths.dst : options.depths.src;
        layout.order = order;
        layout.channels = channels[which];
        layout.alpha = alpha ? channels[which] : 0;
        layout.origin = random.below(2);
        layout.align = drawAlign(random);
        const bool small = random.oneIn(5);
        layout.width = random.between(small ? 1 : (options.maxWidth + 1) / 2, options.maxWidth);
        layout.height = random.between(small ? 1 : (options.maxHeight + 1) / 2, options.maxHeight);
        if (coiIn[which] || random.oneIn(2))
            drawRegion(random, layout, coiIn[which] ? random.between(1, layout.channels) : 0);
        drawPlacement(random, layout, options.tiled[which]);
    }
}

ReducePair::ReducePair(Random &random, const ReducePairOptions &options) {
    drawLayouts(random, options);
    for (int which = 0; which < 2; ++which)
        images_[which] = std::make_unique<TestImage>(layouts_[which], random.next());
    if (!random.oneIn(3)) drawPicture(random, src());
    if (options.masks && random.oneIn(2)) drawMasks(random);
}

void ReducePair::run(const RefReduce &call) {
    moxReduceBits(src().header(), dst().header(), call.noise, call.dither, call.levels);
}

void checkReduce(ReducePair &pair, const RefReduce &call) {
    SCOPED_TRACE(refDescribe(call) + "\n" + pair.describe());
    const RefResult wanted = refReduceBits(call, pair.src(), pair.dst());
    pair.keep();
    forEachCpuLevel([&] {
        ReportRecorder reports;
        TileLog log;
        AllocationWindow window;
        pair.run(call);
        window.close();
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(moxGetErrStatus(), 0);
        EXPECT_TRUE(log.paired());
        EXPECT_EQ(window.live(), 0) << "leaked blocks";
        EXPECT_TRUE(pair.dst().holds(wanted.expected));
        EXPECT_TRUE(pair.restIsUntouched());
        pair.restore();
    });
}
