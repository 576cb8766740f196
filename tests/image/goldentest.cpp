// Golden digests of moving pixels, which every CPU level and every platform must give.
#include <bit>

#include "reference/reference.h"
#include "support/golden.h"
#include "support/reports.h"
#include "support/scene.h"

namespace {

// Source and destination, or the one image that is set.
struct GoldenImages {
    TestImage a, d, mask{TestLayout::ofMask(60, 18), 14};
    GoldenImages(const GoldenLayout &golden, unsigned depth)
        : a(golden.of(depth, 61, 19, 0), 11), d(golden.of(depth, 61, 19, 2), 13) {
        if (golden.masked) d.setMask(&mask);
    }
};

// The body adds to a digest what it finds right.
void checkGolden(const char *name, unsigned depth,
                 const std::function<uint64_t(GoldenImages &images, uint64_t digest)> &body) {
    for (const GoldenLayout &golden : goldenLayouts) {
        forEachCpuLevel([&] {
            GoldenImages images(golden, depth);
            ReportRecorder reports;
            const uint64_t digest = body(images, digestOf({}));
            EXPECT_TRUE(reports.none());
            if (testing::Test::HasFailure()) return;
            EXPECT_TRUE(
                digestIsGolden(std::string("image/") + name + "/" + depthName(depth) + "/" + golden.name, digest));
        });
        if (testing::Test::HasFailure()) return;
    }
}

TEST(MoveGolden, copy) {
    for (const unsigned depth : allDepths) {
        checkGolden("moxCopy", depth, [](GoldenImages &images, uint64_t digest) {
            const RefResult wanted = refPoint({refCopy}, {&images.a, &images.d});
            moxCopy(images.a.header(), images.d.header());
            EXPECT_TRUE(images.d.holds(wanted.expected, wanted.unspecified));
            return digestOfSamples(images.d, digest);
        });
    }
}

TEST(MoveGolden, exchange) {
    for (const unsigned depth : allDepths) {
        checkGolden("moxExchange", depth, [](GoldenImages &images, uint64_t digest) {
            TestBytes first, second;
            refExchange(images.a, images.d, &first, &second);
            moxExchange(images.a.header(), images.d.header());
            EXPECT_TRUE(images.a.holds(first));
            EXPECT_TRUE(images.d.holds(second));
            return digestOfSamples(images.d, digestOfSamples(images.a, digest));
        });
    }
}

// Values within and beyond the range of most depths.
TEST(MoveGolden, set) {
    for (const unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_32F) continue;
        checkGolden("moxSet", depth, [depth](GoldenImages &images, uint64_t digest) {
            for (const int value : {1, -100, 40000, 77}) {
                RefSample sample = {};
                sample.depth = depth;
                const int64_t clamped = sample.saturated(value);
                const TestBytes expected =
                    refSet(images.d, static_cast<uint32_t>(depth == MOX_DEPTH_1U ? value > 0 : clamped));
                moxSet(images.d.header(), value);
                EXPECT_TRUE(images.d.holds(expected));
                digest = digestOfSamples(images.d, digest);
            }
            return digest;
        });
    }
}

// A number, and what is none with a payload.
TEST(MoveGolden, setFloats) {
    checkGolden("moxSetFP", MOX_DEPTH_32F, [](GoldenImages &images, uint64_t digest) {
        for (const uint32_t bits : {0x40490FDBu, 0x7FC12345u}) {
            const TestBytes expected = refSet(images.d, bits);
            moxSetFP(images.d.header(), std::bit_cast<float>(bits));
            EXPECT_TRUE(images.d.holds(expected));
            digest = digestOfSamples(images.d, digest);
        }
        return digest;
    });
}

}  // namespace
