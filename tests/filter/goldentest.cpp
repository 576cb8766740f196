// Golden digests of the filters, which every CPU level and every platform must give.
#include <bit>

#include "filter/kernelset.h"
#include "support/golden.h"

namespace {

// At 32F numbers only: the payload of a NaN is nobody's to rely on.
void drawNumbers(TestImage &image, uint64_t seed) {
    if (image.layout().depth != MOX_DEPTH_32F) return;
    Random random(seed);
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x) {
            for (int channel = 0; channel < image.layout().channels; ++channel) {
                const float value = static_cast<float>(random.between(-1000000, 1000000)) / 1024.0f / 3.0f;
                image.set(channel, x, y, std::bit_cast<uint32_t>(value));
            }
        }
    }
}

// One step of a digest: the model's result wanted before the call, and the call.
using Step = std::function<RefResult(TestImage &src, TestImage &dst)>;
using Call = std::function<void(MoxImage *src, MoxImage *dst)>;

void checkGolden(const std::string &name, unsigned depth, const std::vector<std::pair<Step, Call>> &steps) {
    for (const GoldenLayout &golden : goldenLayouts) {
        forEachCpuLevel([&] {
            uint64_t digest = digestOf({});
            for (const auto &[model, call] : steps) {
                TestImage src(golden.of(depth, 61, 19, 0), 11), dst(golden.of(depth, 61, 19, 2), 13);
                TestImage mask(TestLayout::ofMask(60, 18), 14);
                drawNumbers(src, 15);
                drawNumbers(dst, 16);
                moxSetBorderMode(src.header(), golden.border, 15, 77);
                if (golden.masked) dst.setMask(&mask);
                const RefResult wanted = model(src, dst);
                ReportRecorder reports;
                call(src.header(), dst.header());
                EXPECT_TRUE(reports.none());
                ASSERT_TRUE(dst.holds(wanted.expected, wanted.unspecified)) << "no digest is taken of a wrong result";
                digest = digestOfSamples(dst, digest);
            }
            EXPECT_TRUE(digestIsGolden("filter/" + name + "/" + depthName(depth) + "/" + golden.name, digest));
        });
        if (testing::Test::HasFailure()) return;
    }
}

TEST(FilterGolden, blur) {
    std::vector<std::pair<Step, Call>> steps;
    for (const RefWindow &window :
         {RefWindow{3, 3, 1, 1}, RefWindow{5, 5, 2, 2}, RefWindow{7, 2, 6, 0}, RefWindow{31, 40, 3, 20}}) {
        steps.push_back({[=](TestImage &src, TestImage &dst) { return refBlur(src, dst, window); },
                         [=](MoxImage *src, MoxImage *dst) {
                             moxBlur(src, dst, window.nCols, window.nRows, window.anchorX, window.anchorY);
                         }});
    }
    for (unsigned depth : allDepths)
        checkGolden("moxBlur", depth, steps);
}

// Kernels of every class, alone and combined by every method.
TEST(FilterGolden, convolution) {
    const RefKernel right = {{3, 3, 1, 1}, {-1, 0, 1, -2, 0, 2, -1, 0, 1}, 0},
                    down = {{3, 3, 1, 1}, {-1, -2, -1, 0, 0, 0, 1, 2, 1}, 0},
                    smooth = {{5, 5, 2, 2}, std::vector<int>(25, 5), 7},
                    wide = {{4, 3, 3, 0}, {900, -77, 13, 1, 0, 0, 5, 1000, -950, 300, 2, 1}, 10},
                    coarse = {{2, 2, 0, 1}, {40000, -3, 1, 70000}, 16};
    const std::vector<std::vector<RefKernel>> sets = {
        {right}, {smooth}, {wide}, {coarse}, {right, down}, {wide, coarse}, {smooth, wide, down}};
    std::vector<std::pair<Step, Call>> steps;
    for (const std::vector<RefKernel> &kernels : sets) {
        for (int method = MOX_COMBINE_SUM; method <= MOX_COMBINE_MIN; ++method) {
            steps.push_back({[=](TestImage &src, TestImage &dst) { return refConvolve2D(src, dst, kernels, method); },
                             [=](MoxImage *src, MoxImage *dst) {
                                 KernelSet set(kernels);
                                 moxConvolve2D(src, dst, set.records(), set.count(), method);
                             }});
        }
    }
    for (unsigned depth : allDepths) {
        if (depth != MOX_DEPTH_32F) checkGolden("moxConvolve2D", depth, steps);
    }
}

TEST(FilterGolden, floatConvolution) {
    const RefKernelFP sharp = {{3, 3, 1, 1}, {-0.1f, -0.2f, -0.1f, -0.2f, 2.2f, -0.2f, -0.1f, -0.2f, -0.1f}},
                      slope = {{3, 2, 0, 1}, {1, 0.25f, -1, 0.5f, 0, -0.75f}},
                      flat = {{5, 5, 1, 3}, std::vector<float>(25, 0.04f)};
    const std::vector<std::vector<RefKernelFP>> sets = {{sharp}, {slope}, {flat}, {sharp, slope}, {flat, slope, sharp}};
    std::vector<std::pair<Step, Call>> steps;
    for (const std::vector<RefKernelFP> &kernels : sets) {
        for (int method = MOX_COMBINE_SUM; method <= MOX_COMBINE_MIN; ++method) {
            steps.push_back({[=](TestImage &src, TestImage &dst) { return refConvolve2DFP(src, dst, kernels, method); },
                             [=](MoxImage *src, MoxImage *dst) {
                                 KernelSetFP set(kernels);
                                 moxConvolve2DFP(src, dst, set.records(), set.count(), method);
                             }});
        }
    }
    checkGolden("moxConvolve2DFP", MOX_DEPTH_32F, steps);
}

TEST(FilterGolden, rank) {
    const std::pair<RefRank, MoxStatus(MOX_CALL *)(MoxImage *, MoxImage *, int, int, int, int)> functions[] = {
        {RefRank::MAX, moxMaxFilter}, {RefRank::MIN, moxMinFilter}, {RefRank::MEDIAN, moxMedianFilter}};
    std::vector<std::pair<Step, Call>> steps;
    for (const auto &[rank, function] : functions) {
        for (const RefWindow &window :
             {RefWindow{3, 3, 1, 1}, RefWindow{5, 5, 2, 2}, RefWindow{4, 6, 0, 5}, RefWindow{17, 19, 8, 3}}) {
            steps.push_back(
                {[=, kind = rank](TestImage &src, TestImage &dst) { return refRank(src, dst, kind, window); },
                 [=, call = function](MoxImage *src, MoxImage *dst) {
                     call(src, dst, window.nCols, window.nRows, window.anchorX, window.anchorY);
                 }});
        }
    }
    for (unsigned depth : allDepths) {
        if (depth != MOX_DEPTH_32F) checkGolden("rank", depth, steps);
    }
}

TEST(FilterGolden, fixedFilters) {
    std::vector<std::pair<Step, Call>> steps;
    for (int filter = 0; filter < 11; ++filter) {
        steps.push_back({[=](TestImage &src, TestImage &dst) { return refFixed(src, dst, filter); },
                         [=](MoxImage *src, MoxImage *dst) { moxFixedFilter(src, dst, filter); }});
    }
    for (unsigned depth : allDepths)
        checkGolden("moxFixedFilter", depth, steps);
}

TEST(FilterGolden, morphology) {
    constexpr void(MOX_CALL * functions[])(MoxImage *, MoxImage *, int) = {moxErode, moxDilate, moxOpen, moxClose};
    std::vector<std::pair<Step, Call>> steps;
    for (int which = 0; which < 4; ++which) {
        for (const int n : {1, 2, 5}) {
            steps.push_back({[=](TestImage &src, TestImage &dst) {
                                 return refMorphology(src, dst, static_cast<RefMorph>(which), n);
                             },
                             [=](MoxImage *src, MoxImage *dst) { functions[which](src, dst, n); }});
        }
    }
    for (unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U})
        checkGolden("morphology", depth, steps);
}

TEST(FilterGolden, separableConvolution) {
    const RefKernel smooth = {{3, 1, 1, 0}, {1, 2, 1}, 2}, wide = {{6, 1, 4, 0}, {-3, 70, 0, 900, 12, -5}, 5},
                    down = {{1, 3, 0, 1}, {-1, 0, 1}, 0}, high = {{1, 5, 0, 0}, {1, 40000, -6, 4, 100}, 9};
    std::vector<std::pair<Step, Call>> steps;
    for (const auto &[x, y] : {std::pair(&smooth, &down), std::pair(&wide, &high), std::pair(&smooth, &high)}) {
        for (int which = 0; which < 3; ++which) {
            steps.push_back({[=, row = *x, column = *y](TestImage &src, TestImage &dst) {
                                 return refConvolveSep2D(src, dst, which == 1 ? nullptr : &row,
                                                         which == 2 ? nullptr : &column);
                             },
                             [=, row = *x, column = *y](MoxImage *src, MoxImage *dst) {
                                 KernelSet set({row, column});
                                 moxConvolveSep2D(src, dst, which == 1 ? nullptr : set.records()[0],
                                                  which == 2 ? nullptr : set.records()[1]);
                             }});
        }
    }
    for (unsigned depth : allDepths) {
        if (depth != MOX_DEPTH_32F) checkGolden("moxConvolveSep2D", depth, steps);
    }
}

TEST(FilterGolden, separableFloatConvolution) {
    const RefKernelFP row = {{5, 1, 1, 0}, {0.1f, 0.25f, -3, 0.7f, 1e3f}}, column = {{1, 3, 0, 2}, {0.3f, -0.1f, 2}};
    std::vector<std::pair<Step, Call>> steps;
    for (int which = 0; which < 3; ++which) {
        steps.push_back({[=](TestImage &src, TestImage &dst) {
                             return refConvolveSep2DFP(src, dst, which == 1 ? nullptr : &row,
                                                       which == 2 ? nullptr : &column);
                         },
                         [=](MoxImage *src, MoxImage *dst) {
                             KernelSetFP set({row, column});
                             moxConvolveSep2DFP(src, dst, which == 1 ? nullptr : set.records()[0],
                                                which == 2 ? nullptr : set.records()[1]);
                         }});
    }
    checkGolden("moxConvolveSep2DFP", MOX_DEPTH_32F, steps);
}

// Of bytes: what is an integer has no last place.
TEST(FilterGolden, correlation) {
    TestImage one(TestLayout::of(MOX_DEPTH_8U, 7, 4), 21), three(TestLayout::of(MOX_DEPTH_8U, 7, 4, 3), 22);
    const auto patternOf = [&](MoxImage *src) { return src->nChannels == 3 ? &three : &one; };
    const auto setCoi = [](TestImage *pattern, const MoxImage *src) {
        *pattern->roi() = {src->roi->coi, 0, 0, 7, 4};
        pattern->header()->roi = pattern->roi();
    };
    std::vector<std::pair<Step, Call>> steps;
    steps.push_back({[=](TestImage &src, TestImage &dst) {
                         TestLayout layout = patternOf(src.header())->layout();
                         if (src.layout().hasRoi) layout.setRoi(src.layout().roi.coi, 0, 0, 7, 4);
                         TestImage pattern(layout, layout.channels == 3 ? 22 : 21);
                         const RefCorrelation wanted = refNormCrossCorr(pattern, src, dst);
                         return wanted.result;
                     },
                     [=](MoxImage *src, MoxImage *dst) {
                         TestImage *pattern = patternOf(src);
                         pattern->header()->roi = nullptr;
                         if (src->roi) setCoi(pattern, src);
                         moxNormCrossCorr(pattern->header(), src, dst);
                     }});
    checkGolden("moxNormCrossCorr", MOX_DEPTH_8U, steps);
}

}  // namespace
