// Golden digests of the transforms, which every CPU level and every platform must give.
#include "support/golden.h"
#include "transform/transformcheck.h"
#include "transform/waveletcheck.h"

namespace {

const unsigned depths[] = {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F};
const int sizes[][2] = {{8, 8}, {6, 5}, {16, 8}, {31, 17}, {64, 48}, {1, 101}, {128, 3}, {257, 2}, {40, 30}};

using Call = std::function<void(MoxImage *src, MoxImage *dst)>;
// The sums that a result must agree with before a digest is taken of it.
using Model = std::function<WantedPlanes(const TestImage &src, unsigned dstDepth)>;

void checkGolden(const std::string &name, const Model &model, const Call &call) {
    for (unsigned depth : depths) {
        for (unsigned to : {MOX_DEPTH_16S, MOX_DEPTH_32F}) {
            forEachCpuLevel([&] {
                uint64_t digest = digestOf({});
                for (const auto &[width, height] : sizes) {
                    Random random(7);
                    TestImage src(TestLayout::of(depth, width, height, 2), 11),
                        dst(TestLayout::of(to, width, height, 2), 13);
                    drawNumbers(random, src, 120);
                    ReportRecorder reports;
                    call(src.header(), dst.header());
                    EXPECT_TRUE(reports.none());
                    ASSERT_TRUE(planesHold(dst, model(src, to))) << "no digest is taken of a wrong result";
                    digest = digestOfSamples(dst, digest);
                }
                EXPECT_TRUE(digestIsGolden("transform/" + name + "/" + depthName(depth) + "/" + depthName(to), digest));
            });
            if (testing::Test::HasFailure()) return;
        }
    }
}

void checkGoldenFft(const std::string &name, bool ccs, int flags) {
    checkGolden(
        name,
        [=](const TestImage &src, unsigned to) {
            const TestLayout &layout = src.layout();
            WantedPlanes wanted;
            for (int channel = 0; channel < 2; ++channel) {
                const RefPlane plane = refReadPlane(src, channel, layout.width, layout.height);
                wanted.planes.push_back(refFft(ccs, plane, flags));
                const bool fixed = refFftIsFixedPoint(layout.depth, to, flags, layout.width, layout.height);
                wanted.bounds.push_back(fixed ? refFixedFftBound(plane, flags) : refFloatFftBound(plane, flags));
            }
            return wanted;
        },
        [=](MoxImage *src, MoxImage *dst) { ccs ? moxCcsFft2D(src, dst, flags) : moxRealFft2D(src, dst, flags); });
}

TEST(TransformGolden, fourier) {
    checkGoldenFft("moxRealFft2D/forward", false, MOX_FFT_FORWARD);
    checkGoldenFft("moxRealFft2D/inverse", false, MOX_FFT_INVERSE);
    checkGoldenFft("moxCcsFft2D/forward", true, MOX_FFT_FORWARD);
    checkGoldenFft("moxCcsFft2D/inverse", true, MOX_FFT_INVERSE);
}

TEST(TransformGolden, cosine) {
    for (int flags : {int{MOX_DCT_FORWARD}, int{MOX_DCT_INVERSE}}) {
        checkGolden(
            flags == MOX_DCT_FORWARD ? "moxDCT2D/forward" : "moxDCT2D/inverse",
            [=](const TestImage &src, unsigned to) {
                const TestLayout &layout = src.layout();
                WantedPlanes wanted;
                for (int channel = 0; channel < 2; ++channel) {
                    const RefPlane plane = refReadPlane(src, channel, layout.width, layout.height);
                    wanted.planes.push_back(refDct(plane, flags));
                    const bool fixed = refDctIsFixedPoint(layout.depth, to, layout.width, layout.height);
                    wanted.bounds.push_back(fixed ? refFixedDctBound(plane) : refFloatDctBound(plane));
                }
                return wanted;
            },
            [=](MoxImage *src, MoxImage *dst) { moxDCT2D(src, dst, flags); });
    }
}

TEST(TransformGolden, products) {
    for (unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
        forEachCpuLevel([&] {
            uint64_t digest = digestOf({});
            for (const auto &[width, height] : sizes) {
                TestImage a(TestLayout::of(depth, width, height, 2), 11), b(a.layout(), 12), d(a.layout(), 13);
                Random random(7);
                for (TestImage *image : {&a, &b})
                    drawNumbers(random, *image, random.oneIn(2) ? 11 : 120);
                const TestBytes wanted = refMultiplySpectra(a, b, d);
                moxMpyRCPack2D(a.header(), b.header(), d.header());
                ASSERT_TRUE(d.holds(wanted)) << "no digest is taken of a wrong result";
                digest = digestOfSamples(d, digest);
            }
            EXPECT_TRUE(digestIsGolden(std::string("transform/moxMpyRCPack2D/") + depthName(depth), digest));
        });
    }
}

TEST(TransformGolden, wavelets) {
    for (const WaveletName &name : allWavelets) {
        forEachCpuLevel([&] {
            MoxWtKernel kernel;
            ASSERT_EQ(moxWtInit(name.wtType, name.par1, name.par2, &kernel), 0);
            uint64_t digest = digestOf({});
            for (const auto &[width, height] : sizes) {
                const TestLayout half = TestLayout::of(MOX_DEPTH_32F, (width + 1) / 2, (height + 1) / 2);
                TestImage src(TestLayout::of(MOX_DEPTH_8U, width, height), 11), dst(src.layout(), 12);
                TestImage a(half, 13), x(half, 14), y(half, 15), d(half, 16);
                ASSERT_EQ(moxWtDecompose(&kernel, src.header(), a.header(), x.header(), y.header(), d.header()), 0);
                for (TestImage *part : {&a, &x, &y, &d})
                    digest = digestOfSamples(*part, digest);
                ASSERT_EQ(moxWtReconstruct(&kernel, a.header(), x.header(), y.header(), d.header(), dst.header()), 0);
                digest = digestOfSamples(dst, digest);
            }
            EXPECT_TRUE(digestIsGolden("transform/wavelet/" + std::to_string(name.wtType) + "." +
                                           std::to_string(name.par1) + "." + std::to_string(name.par2),
                                       digest));
        });
    }
}

}  // namespace
