// Golden digests of callers' functions, noise and the test image, which every CPU level and every platform must give.
#include <bit>

#include "support/golden.h"
#include "support/reports.h"
#include "support/scene.h"
#include "user/callback.h"

namespace {

using Model = std::function<RefResult(GoldenPair &images, Callbacks &callbacks)>;

void checkGolden(const char *name, unsigned depth, const Model &model,
                 const std::function<void(MoxImage *src, MoxImage *dst)> &call) {
    checkDigests(std::string("user/") + name, depth, [&](const GoldenLayout &golden, uint64_t digest) {
        GoldenPair images(golden, depth);
        Callbacks callbacks;
        callbacks.depth = depth;
        callbacks.channels = images.a.layout().channelCount();
        // A few of the results lie beyond the range of each depth.
        callbacks.sample = [](int sample) { return sample / 2 * 3 - 7; };
        callbacks.real = [](float sample) { return sample * 1.5f - 7.25f; };
        callbacks.pixel = [](const std::vector<uint32_t> &source, std::vector<uint32_t> &destination) {
            for (size_t c = 0; c < source.size(); ++c)
                destination[c] ^= source[source.size() - 1 - c];
        };
        const RefResult wanted = model(images, callbacks);
        call(images.a.header(), images.d.header());
        EXPECT_TRUE(images.d.holds(wanted.expected)) << "no digest is taken of a wrong result";
        return digestOfSamples(images.d, digest);
    });
}

TEST(UserGolden, samples) {
    for (const unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_1U || depth == MOX_DEPTH_32F) continue;
        checkGolden(
            "moxUserProcess", depth,
            [](auto &images, auto &callbacks) { return refUserProcess(images.a, images.d, callbacks.sample); },
            [](MoxImage *src, MoxImage *dst) { moxUserProcess(src, dst, Callbacks::onSample); });
    }
}

TEST(UserGolden, floats) {
    for (const unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_1U) continue;
        checkGolden(
            "moxUserProcessFP", depth,
            [](auto &images, auto &callbacks) { return refUserProcessFP(images.a, images.d, callbacks.real); },
            [](MoxImage *src, MoxImage *dst) { moxUserProcessFP(src, dst, Callbacks::onReal); });
    }
}

TEST(UserGolden, pixels) {
    for (const unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_1U) continue;
        checkGolden(
            "moxUserProcessPixel", depth,
            [](auto &images, auto &callbacks) { return refUserProcessPixel(images.a, images.d, callbacks.pixel); },
            [](MoxImage *src, MoxImage *dst) { moxUserProcessPixel(src, dst, Callbacks::onPixel); });
    }
}

// Wide images go beyond the angles that vectors take.
void checkRings(unsigned depth, int width, int height, const std::string &name) {
    const std::vector<RefJaehneSample> wanted = refJaehne(depth, width, height);
    forEachCpuLevel([&] {
        MoxImage *image = moxCreateImageJaehne(static_cast<int>(depth), width, height);
        ASSERT_NE(image, nullptr);
        const int bits = image->depth & ~MOX_DEPTH_SIGN;
        std::vector<uint8_t> bytes;
        for (int k = 0; k < width * height; ++k) {
            const auto *row = reinterpret_cast<const uint8_t *>(image->imageData) + k / width * image->widthStep;
            const int x = k % width;
            uint32_t sample = 0;
            if (bits == 1) {
                sample = row[x / 8] >> (7 - x % 8) & 1u;
            } else {
                memcpy(&sample, row + x * (bits / 8), static_cast<size_t>(bits / 8));
            }
            const RefJaehneSample &either = wanted[static_cast<size_t>(k)];
            EXPECT_TRUE(sample == either.expected || sample == either.other) << x << " " << k / width;
            for (int shift = 0; shift < 32; shift += 8)
                bytes.push_back(static_cast<uint8_t>(sample >> shift));
        }
        moxDeallocate(image, MOX_FreeHeader | MOX_FreeData);
        if (testing::Test::HasFailure()) return;
        EXPECT_TRUE(digestIsGolden("user/moxCreateImageJaehne/" + name, digestOf(bytes)));
    });
}

TEST(UserGolden, rings) {
    for (const unsigned depth : allDepths) {
        checkRings(depth, 201, 77, depthName(depth));
        checkRings(depth, 9000, 1, std::string(depthName(depth)) + "/wide");
    }
}

TEST(UserGolden, noise) {
    for (const unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_1U) continue;
        for (const int noise : {MOX_NOISE_UNIFORM, MOX_NOISE_GAUSSIAN}) {
            for (const bool tiled : {false, true}) {
                forEachCpuLevel([&] {
                    TestLayout layout = TestLayout::of(depth, 67, 29, 3, tiled);
                    if (tiled) {
                        layout.tileWidth = 16;
                        layout.tileHeight = 8;
                    }
                    TestImage image(layout, 1);
                    for (int k = 0; k < 67 * 29 * 3; ++k)
                        image.set(k % 3, k / 3 % 67, k / 201, depth == MOX_DEPTH_32F ? 0x42000000u + 977u * k : 77u);
                    MoxNoiseParam param = {};
                    param.noise = noise;
                    param.seed = 20;
                    param.lowInt = -19;
                    param.highInt = 40;
                    param.lowFlt = -0.75f;
                    param.highFlt = 13.5f;
                    const RefNoise wanted = refNoise(image, param);
                    EXPECT_EQ(moxNoiseImage(image.header(), &param), 0);
                    ASSERT_TRUE(image.holds(refAcceptOther(image, wanted))) << "no digest is taken of a wrong result";
                    EXPECT_TRUE(digestIsGolden(std::string("user/moxNoiseImage/") + depthName(depth) + "/" +
                                                   (noise ? "gaussian" : "uniform") + (tiled ? "/tiled" : "/plain"),
                                               digestOfSamples(image, digestOf({}))));
                });
            }
        }
    }
}

}  // namespace
