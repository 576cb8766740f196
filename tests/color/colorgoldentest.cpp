// Golden digests of colour models, depths, thresholds and twists, which every CPU level and every platform must give.
// At 32F the pictures hold numbers of moderate size alone: payloads of NaNs are nobody's to rely on.
#include <bit>

#include "color/colorpair.h"
#include "color/refusedcall.h"
#include "reference/depth.h"
#include "support/golden.h"
#include "support/reports.h"

namespace {

struct GoldenLayout {
    const char *name;
    int srcChannels, order;
    bool tiled, region, masked;
};
// Colour models take no regions, and masks mean nothing to them.
const GoldenLayout colorLayouts[] = {{"pixel3", 3, MOX_DATA_ORDER_PIXEL, false, false, false},
                                     {"pixel4", 4, MOX_DATA_ORDER_PIXEL, true, false, false},
                                     {"plane3", 3, MOX_DATA_ORDER_PLANE, true, false, false},
                                     {"plane4", 4, MOX_DATA_ORDER_PLANE, false, false, false}};
const GoldenLayout depthLayouts[] = {{"plain", 1, MOX_DATA_ORDER_PIXEL, false, false, false},
                                     {"pixel3", 3, MOX_DATA_ORDER_PIXEL, false, true, true},
                                     {"plane3", 3, MOX_DATA_ORDER_PLANE, true, true, false},
                                     {"masked", 1, MOX_DATA_ORDER_PIXEL, true, true, true}};
const unsigned BYTE = MOX_DEPTH_8U, REAL = MOX_DEPTH_32F;

TestLayout layoutOf(const GoldenLayout &golden, unsigned depth, int channels, int shift) {
    TestLayout layout = TestLayout::of(depth, 61, 19, depth == MOX_DEPTH_1U ? 1 : channels, golden.order);
    if (golden.region) layout.setRoi(0, 3 + shift, 1, 53, 17);
    if (golden.tiled) {
        layout.tileWidth = 16;
        layout.tileHeight = 8;
    }
    return layout;
}

void drawModerate(TestImage &image) {
    if (image.layout().depth != REAL) return;
    Random random(5);
    for (int i = 0; i < 61 * 19 * image.layout().channels; ++i) {
        const float value = static_cast<float>(random.between(-1000, 40000)) / 32768.0f;
        image.set(i / 61 / 19, i % 61, i / 61 % 19, std::bit_cast<uint32_t>(value));
    }
}

// Takes a digest of what the call gives where that is right, at every level.
void check(const std::string &name, TestImage &src, TestImage &dst, const std::function<RefResult()> &model,
           const std::function<void()> &call) {
    SCOPED_TRACE(name);
    const TestBytes before = dst.bytes();
    const RefResult wanted = model();
    forEachCpuLevel([&] {
        if (testing::Test::HasFailure()) return;
        dst.setBytes(before);
        ReportRecorder reports;
        call();
        EXPECT_TRUE(reports.none());
        EXPECT_TRUE(dst.holds(wanted.expected)) << "no digest is taken of a wrong result";
        if (testing::Test::HasFailure()) return;
        EXPECT_TRUE(digestIsGolden("color/" + name, digestOfSamples(dst, digestOf({}))));
    });
    (void)src;
}

TEST(ColorGolden, models) {
    for (const RefModel &model : refModels()) {
        for (unsigned depth : model.depths) {
            for (const GoldenLayout &golden : colorLayouts) {
                TestImage src(layoutOf(golden, depth, golden.srcChannels, 0), 11), dst(layoutOf(golden, depth, 3, 0), 12);
                drawModerate(src);
                const char *sequence = golden.srcChannels == 3 ? "BGR" : "RGB";
                const auto name = [&] {
                    nameModel(src, model.forward ? "RGB" : model.model, model.forward ? sequence : model.model);
                    nameModel(dst, model.forward ? "any" : "RGB", sequence);
                };
                name();
                check(std::string(model.name) + "/" + depthName(depth) + "/" + golden.name, src, dst,
                      [&] { return refConvertColors(model, src, dst); },
                      [&] {
                          name();
                          model.call(src.header(), dst.header());
                      });
            }
        }
    }
}

TEST(ColorGolden, gray) {
    const float none[3] = {}, weights[3] = {0.3f, 0.6f, 0.1f};
    for (const GoldenLayout &golden : colorLayouts) {
        for (unsigned from : {MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32S}) {
            for (unsigned to : {MOX_DEPTH_16U, MOX_DEPTH_8U, MOX_DEPTH_1U}) {
                TestImage src(layoutOf(golden, from, golden.srcChannels, 0), 11), dst(layoutOf(golden, to, 1, 0), 12);
                nameModel(src, "RGB", golden.tiled ? "BGR" : "RGB");
                check(std::string("moxColorToGray/") + depthName(from) + "to" + depthName(to) + "/" + golden.name, src,
                      dst, [&] { return refColorToGray(src, dst); },
                      [&] { moxColorToGray(src.header(), dst.header()); });
            }
        }
        for (unsigned from : {MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32S, MOX_DEPTH_1U}) {
            for (const float *three : {none, weights}) {
                const unsigned to = from == MOX_DEPTH_1U ? BYTE : from;
                TestImage src(layoutOf(golden, from, 1, 0), 11), dst(layoutOf(golden, to, golden.srcChannels, 0), 12);
                nameModel(dst, "RGB", golden.tiled ? "BGR" : "RGB");
                check(std::string("moxGrayToColor/") + (three == none ? "usual/" : "weights/") + depthName(from) + "/" +
                          golden.name,
                      src, dst, [&] { return refGrayToColor(src, dst, three); },
                      [&] { moxGrayToColor(src.header(), dst.header(), three[0], three[1], three[2]); });
            }
        }
    }
}

std::string pairName(unsigned from, unsigned to, const GoldenLayout &golden) {
    return std::string(depthName(from)) + "to" + depthName(to) + "/" + golden.name;
}

TEST(ColorGolden, depths) {
    for (const GoldenLayout &golden : depthLayouts) {
        for (unsigned from : integerDepths) {
            for (unsigned to : integerDepths) {
                TestImage src(layoutOf(golden, from, golden.srcChannels, 0), 11),
                    dst(layoutOf(golden, to, golden.srcChannels, 2), 12), mask(TestLayout::ofMask(60, 18), 13);
                if (golden.masked) dst.setMask(&mask);
                check("moxConvert/" + pairName(from, to, golden), src, dst, [&] { return refConvert(src, dst); },
                      [&] { moxConvert(src.header(), dst.header()); });
                check("moxThreshold/" + pairName(from, to, golden), src, dst,
                      [&] { return refThreshold(src, dst, 77); },
                      [&] { moxThreshold(src.header(), dst.header(), 77); });
                if (from == to) continue;
                check("moxScale/" + pairName(from, to, golden), src, dst, [&] { return refScale(src, dst); },
                      [&] { moxScale(src.header(), dst.header()); });
            }
        }
    }
}

TEST(ColorGolden, floats) {
    for (const GoldenLayout &golden : depthLayouts) {
        for (unsigned depth : integerDepths) {
            for (bool back : {false, true}) {
                const unsigned from = back ? REAL : depth, to = back ? depth : REAL;
                TestImage src(layoutOf(golden, from, golden.srcChannels, 0), 11),
                    dst(layoutOf(golden, to, golden.srcChannels, 2), 12), mask(TestLayout::ofMask(60, 18), 13);
                drawModerate(src);
                drawModerate(dst);
                if (golden.masked) src.setMask(&mask);
                check("moxScaleFP/" + pairName(from, to, golden), src, dst,
                      [&] { return refScaleFP(src, dst, 0.1f, 0.9f); },
                      [&] { moxScaleFP(src.header(), dst.header(), 0.1f, 0.9f); });
            }
        }
    }
}

TEST(ColorGolden, bits) {
    for (const GoldenLayout &golden : depthLayouts) {
        for (unsigned depth : integerDepths) {
            TestImage bits(layoutOf(golden, MOX_DEPTH_1U, 1, 0), 11), other(layoutOf(golden, depth, 1, 2), 12),
                mask(TestLayout::ofMask(60, 18), 13);
            if (golden.masked) other.setMask(&mask);
            check("moxBitonalToGray/" + pairName(MOX_DEPTH_1U, depth, golden), bits, other,
                  [&] { return refBitonalToGray(bits, other, 3, 101); },
                  [&] { moxBitonalToGray(bits.header(), other.header(), 3, 101); });
            check("moxConvert/" + pairName(depth, MOX_DEPTH_1U, golden), other, bits,
                  [&] { return refConvert(other, bits); }, [&] { moxConvert(other.header(), bits.header()); });
            check("moxThreshold/" + pairName(depth, MOX_DEPTH_1U, golden), other, bits,
                  [&] { return refThreshold(other, bits, 55); },
                  [&] { moxThreshold(other.header(), bits.header(), 55); });
        }
    }
}

TEST(ColorGolden, twists) {
    const int entries[16] = {6439, 12598, 2457, 0, 5718, 11239, 2195, 90000, 4456, 8750, -1704, 50, 1, 2, 3, 4};
    const float matrix[16] = {0.393f, 0.769f, 0.189f, 0, 0.349f, 0.686f, 0.168f, 2.5f, 0.272f, 0.534f, -0.131f, -1};
    MoxColorTwist *twist = moxCreateColorTwist(entries, 14);
    for (GoldenLayout golden : colorLayouts) {
        golden.region = golden.masked = golden.tiled;
        for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, REAL}) {
            TestImage src(layoutOf(golden, depth, golden.srcChannels, 0), 11), dst(layoutOf(golden, depth, 3, 2), 12),
                mask(TestLayout::ofMask(60, 18), 13);
            drawModerate(src);
            drawModerate(dst);
            if (golden.masked) src.setMask(&mask);
            const std::string name = std::string(depthName(depth)) + "/" + golden.name;
            check("moxColorTwistFP/" + name, src, dst, [&] { return refApplyTwistFP(src, dst, matrix); },
                  [&] { moxColorTwistFP(src.header(), dst.header(), matrix); });
            if (depth != MOX_DEPTH_8U && depth != MOX_DEPTH_16U) continue;
            check("moxApplyColorTwist/" + name, src, dst, [&] { return refApplyTwist(src, dst, entries, 14); },
                  [&] { moxApplyColorTwist(src.header(), dst.header(), twist, 0); });
        }
    }
    moxDeleteColorTwist(twist);
}

}  // namespace
