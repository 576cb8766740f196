// Convolution at every depth over random layouts, kernels of every arithmetic class and all ways to combine them,
// against the model.
#include "filter/kernelset.h"

namespace {

class Convolve : public testing::TestWithParam<unsigned> {
  protected:
    // One or several kernels; at 32F float ones.
    void check(Random &random, FilterPair &pair, int maxCols, int maxRows, int maxKernels) {
        const int count = random.oneIn(2) ? 1 : random.between(1, maxKernels);
        const int method = count == 1 && random.oneIn(4) ? drawInt(random) : random.below(5);
        if (GetParam() == MOX_DEPTH_32F) {
            std::vector<RefKernelFP> kernels;
            for (int i = 0; i < count; ++i)
                kernels.push_back(drawKernelFP(random, maxCols, maxRows));
            checkConvolution(pair, kernels, method);
            return;
        }
        std::vector<RefKernel> kernels;
        const bool narrow = random.oneIn(3);
        while (static_cast<int>(kernels.size()) < count) {
            const RefKernel kernel = drawKernel(random, maxCols, maxRows);
            if (narrow && refKernelClass(kernel, MOX_DEPTH_8U) != 0) continue;
            kernels.push_back(kernel);
        }
        checkConvolution(pair, kernels, method);
    }
    FilterPairOptions options() const {
        FilterPairOptions options;
        options.depth = GetParam();
        options.strict = true;
        options.handMadeBorders = true;
        options.maxWidth = 45;
        options.maxHeight = 16;
        return options;
    }
};

INSTANTIATE_TEST_SUITE_P(Model, Convolve, testing::ValuesIn(allDepths),
                         [](const auto &each) { return std::string(depthName(each.param)); });

TEST_P(Convolve, agreesWithTheModelOverRandomLayouts) {
    forEachCase(500, [&](Random &random) {
        FilterPair pair(random, options());
        check(random, pair, 7, 7, 4);
    });
}

TEST_P(Convolve, agreesWithTheModelOnPlainImages) {
    forEachCase(300, [&](Random &random) {
        FilterPairOptions plain = options();
        plain.tiled[0] = plain.tiled[1] = 0;
        plain.inPlace = 0;
        FilterPair pair(random, plain);
        check(random, pair, 5, 5, 3);
    });
}

TEST_P(Convolve, agreesWithTheModelInPlace) {
    forEachCase(150, [&](Random &random) {
        FilterPairOptions inPlace = options();
        inPlace.inPlace = 1;
        inPlace.tiled[0] = random.below(2);
        inPlace.maxHeight = 40;
        FilterPair pair(random, inPlace);
        check(random, pair, 9, 20, 2);
    });
}

TEST_P(Convolve, agreesWithTheModelOnTiles) {
    forEachCase(150, [&](Random &random) {
        FilterPairOptions tiled = options();
        tiled.tiled[0] = random.below(2);
        tiled.tiled[1] = tiled.tiled[0] ? random.below(2) : 1;
        tiled.maxHeight = 34;
        FilterPair pair(random, tiled);
        check(random, pair, 9, 9, 2);
    });
}

// Wide rows, so that the blocks of every CPU level, their heads and tails come into play.
TEST_P(Convolve, agreesWithTheModelOnWideRows) {
    forEachCase(50, [&](Random &random) {
        FilterPairOptions wide = options();
        wide.maxWidth = 500;
        wide.maxHeight = 4;
        FilterPair pair(random, wide);
        check(random, pair, 5, 5, 3);
    });
}

// Kernels larger than the image, far into its reflections and repetitions; images of more rows than are held at once.
TEST_P(Convolve, agreesWithTheModelWithHugeKernels) {
    forEachCase(20, [&](Random &random) {
        FilterPairOptions small = options();
        small.maxWidth = 16;
        small.maxHeight = 8;
        FilterPair pair(random, small);
        check(random, pair, 41, 41, 2);
    });
}

TEST_P(Convolve, agreesWithTheModelOnHighImages) {
    forEachCase(25, [&](Random &random) {
        FilterPairOptions high = options();
        high.maxWidth = 20;
        high.maxHeight = 200;
        FilterPair pair(random, high);
        check(random, pair, 3, 11, 2);
    });
}

// One row of every length with small kernels: no place in a row is special.
TEST_P(Convolve, isRightAtEveryLength) {
    Random random(testSeed());
    for (int width = 1; width <= 140; ++width) {
        FilterPairOptions exact = options();
        exact.tiled[0] = exact.tiled[1] = 0;
        exact.masks = width % 4 == 0;
        exact.maxWidth = width;
        exact.maxHeight = 3;
        SCOPED_TRACE(width);
        FilterPair pair(random, exact);
        check(random, pair, 5, 3, 2);
        if (HasFailure()) return;
    }
}

}  // namespace
