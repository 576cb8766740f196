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

std::string pairName(unsigned from, unsigned to) {
    return std::string(depthName(from)) + "to" + depthName(to);
}

// One call, judged, and its result added to a digest.
uint64_t digestOfCall(TestImage &dst, const RefResult &wanted, uint64_t digest, const std::function<void()> &call) {
    ReportRecorder reports;
    call();
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(dst.holds(wanted.expected)) << "no digest is taken of a wrong result";
    return digestOfSamples(dst, digest);
}

// The body takes a digest of all layouts, at every level.
using Body = std::function<uint64_t(uint64_t digest)>;
void check(const std::string &name, const Body &body) {
    SCOPED_TRACE(name);
    forEachCpuLevel([&] {
        if (testing::Test::HasFailure()) return;
        const uint64_t digest = body(digestOf({}));
        if (testing::Test::HasFailure()) return;
        EXPECT_TRUE(digestIsGolden("color/" + name, digest));
    });
}

TEST(ColorGolden, models) {
    for (const RefModel &model : refModels()) {
        for (unsigned depth : model.depths) {
            check(std::string(model.name) + "/" + depthName(depth), [&](uint64_t digest) {
                for (const GoldenLayout &golden : colorLayouts) {
                    TestImage src(layoutOf(golden, depth, golden.srcChannels, 0), 11),
                        dst(layoutOf(golden, depth, 3, 0), 12);
                    drawModerate(src);
                    const char *sequence = golden.srcChannels == 3 ? "BGR" : "RGB";
                    nameModel(src, model.forward ? "RGB" : model.model, model.forward ? sequence : model.model);
                    nameModel(dst, model.forward ? "any" : "RGB", sequence);
                    digest = digestOfCall(dst, refConvertColors(model, src, dst), digest,
                                          [&] { model.call(src.header(), dst.header()); });
                }
                return digest;
            });
        }
    }
}

TEST(ColorGolden, toGray) {
    for (unsigned from : {MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32S}) {
        for (unsigned to : {MOX_DEPTH_16U, MOX_DEPTH_8U, MOX_DEPTH_1U}) {
            check(std::string("moxColorToGray/") + pairName(from, to), [&](uint64_t digest) {
                for (const GoldenLayout &golden : colorLayouts) {
                    TestImage src(layoutOf(golden, from, golden.srcChannels, 0), 11),
                        dst(layoutOf(golden, to, 1, 0), 12);
                    nameModel(src, "RGB", golden.tiled ? "BGR" : "RGB");
                    digest = digestOfCall(dst, refColorToGray(src, dst), digest,
                                          [&] { moxColorToGray(src.header(), dst.header()); });
                }
                return digest;
            });
        }
    }
}

TEST(ColorGolden, toColor) {
    const float none[3] = {}, some[3] = {0.3f, 0.6f, 0.1f};
    for (unsigned from : {MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32S, MOX_DEPTH_1U}) {
        check(std::string("moxGrayToColor/") + depthName(from), [&](uint64_t digest) {
            for (const GoldenLayout &golden : colorLayouts) {
                for (const float *weights : {none, some}) {
                    const unsigned to = from == MOX_DEPTH_1U ? BYTE : from;
                    TestImage src(layoutOf(golden, from, 1, 0), 11),
                        dst(layoutOf(golden, to, golden.srcChannels, 0), 12);
                    nameModel(dst, "RGB", golden.tiled ? "BGR" : "RGB");
                    digest = digestOfCall(dst, refGrayToColor(src, dst, weights), digest, [&] {
                        moxGrayToColor(src.header(), dst.header(), weights[0], weights[1], weights[2]);
                    });
                }
            }
            return digest;
        });
    }
}

// Two images of two depths in each layout, masked and not.
template <typename Model, typename Call>
void checkDepths(const std::string &name, unsigned from, unsigned to, Model model, Call call) {
    check(name + "/" + pairName(from, to), [&](uint64_t digest) {
        for (const GoldenLayout &golden : depthLayouts) {
            const bool bits = from == MOX_DEPTH_1U || to == MOX_DEPTH_1U;
            const int channels = bits ? 1 : golden.srcChannels;
            TestImage src(layoutOf(golden, from, channels, 0), 11), dst(layoutOf(golden, to, channels, 2), 12),
                mask(TestLayout::ofMask(60, 18), 13);
            drawModerate(src);
            drawModerate(dst);
            if (golden.masked) dst.setMask(&mask);
            digest = digestOfCall(dst, model(src, dst), digest, [&] { call(src.header(), dst.header()); });
        }
        return digest;
    });
}

TEST(ColorGolden, depths) {
    const auto threshold = [](TestImage &src, TestImage &dst) { return refThreshold(src, dst, 77); };
    const auto runThreshold = [](MoxImage *src, MoxImage *dst) { moxThreshold(src, dst, 77); };
    const auto paint = [](TestImage &src, TestImage &dst) { return refBitonalToGray(src, dst, 3, 101); };
    const auto runPaint = [](MoxImage *src, MoxImage *dst) { moxBitonalToGray(src, dst, 3, 101); };
    const auto scale = [](TestImage &src, TestImage &dst) { return refScaleFP(src, dst, 0.1f, 0.9f); };
    const auto runScale = [](MoxImage *src, MoxImage *dst) { moxScaleFP(src, dst, 0.1f, 0.9f); };
    for (unsigned from : integerDepths) {
        for (unsigned to : integerDepths) {
            checkDepths("moxConvert", from, to, refConvert, moxConvert);
            checkDepths("moxThreshold", from, to, threshold, runThreshold);
            if (from != to) checkDepths("moxScale", from, to, refScale, moxScale);
        }
        checkDepths("moxConvert", from, MOX_DEPTH_1U, refConvert, moxConvert);
        checkDepths("moxThreshold", from, MOX_DEPTH_1U, threshold, runThreshold);
        checkDepths("moxBitonalToGray", MOX_DEPTH_1U, from, paint, runPaint);
        checkDepths("moxScaleFP", from, REAL, scale, runScale);
        checkDepths("moxScaleFP", REAL, from, scale, runScale);
    }
    checkDepths("moxConvert", MOX_DEPTH_1U, MOX_DEPTH_1U, refConvert, moxConvert);
}

TEST(ColorGolden, twists) {
    static const int entries[16] = {6439, 12598, 2457, 0, 5718, 11239, 2195, 90000, 4456, 8750, -1704, 50, 1, 2, 3, 4};
    static const float matrix[16] = {0.393f, 0.769f, 0.189f, 0,      0.349f,  0.686f,
                                     0.168f, 2.5f,   0.272f, 0.534f, -0.131f, -1};
    MoxColorTwist *twist = moxCreateColorTwist(entries, 14);
    for (bool floats : {false, true}) {
        for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S, REAL}) {
            if (!floats && depth != MOX_DEPTH_8U && depth != MOX_DEPTH_16U) continue;
            check((floats ? "moxColorTwistFP/" : "moxApplyColorTwist/") + std::string(depthName(depth)),
                  [&](uint64_t digest) {
                      for (GoldenLayout golden : colorLayouts) {
                          golden.region = golden.tiled;
                          TestImage src(layoutOf(golden, depth, golden.srcChannels, 0), 11),
                              dst(layoutOf(golden, depth, 3, 2), 12), mask(TestLayout::ofMask(60, 18), 13);
                          drawModerate(src);
                          drawModerate(dst);
                          if (golden.tiled) src.setMask(&mask);
                          const RefResult wanted =
                              floats ? refApplyTwistFP(src, dst, matrix) : refApplyTwist(src, dst, entries, 14);
                          digest = digestOfCall(dst, wanted, digest, [&] {
                              if (floats) {
                                  moxColorTwistFP(src.header(), dst.header(), matrix);
                              } else {
                                  moxApplyColorTwist(src.header(), dst.header(), twist, 0);
                              }
                          });
                      }
                      return digest;
                  });
        }
    }
    moxDeleteColorTwist(twist);
}

}  // namespace
