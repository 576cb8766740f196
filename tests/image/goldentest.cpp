// Golden digests of moving pixels, which every CPU level and every platform must give.
#include <bit>

#include "reference/reference.h"
#include "support/golden.h"
#include "support/reports.h"
#include "support/scene.h"

namespace {

// The destination is also the one image that is set. The body adds to a digest what it finds right.
void checkGolden(const std::string &name, unsigned depth,
                 const std::function<uint64_t(GoldenPair &images, uint64_t digest)> &body) {
    checkDigests("image/" + name, depth, [&](const GoldenLayout &golden, uint64_t digest) {
        GoldenPair images(golden, depth);
        return body(images, digest);
    });
}

TEST(MoveGolden, copy) {
    for (const unsigned depth : allDepths) {
        checkGolden("moxCopy", depth, [](GoldenPair &images, uint64_t digest) {
            const RefResult wanted = refPoint({refCopy}, {&images.a, &images.d});
            moxCopy(images.a.header(), images.d.header());
            EXPECT_TRUE(images.d.holds(wanted.expected, wanted.unspecified));
            return digestOfSamples(images.d, digest);
        });
    }
}

TEST(MoveGolden, exchange) {
    for (const unsigned depth : allDepths) {
        checkGolden("moxExchange", depth, [](GoldenPair &images, uint64_t digest) {
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
        checkGolden("moxSet", depth, [depth](GoldenPair &images, uint64_t digest) {
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
    checkGolden("moxSetFP", MOX_DEPTH_32F, [](GoldenPair &images, uint64_t digest) {
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
