// The arithmetic of opacities over all values, or as many as there is time for: planes of 256 x 256 samples, each with
// another pair of operands.
#include <algorithm>
#include <cstring>

#include "arith/alphacheck.h"

namespace {

const int KINDS = 6;

// One channel of 65536 samples without padding.
class Plane {
  public:
    explicit Plane(unsigned depth, uint64_t seed = 1) : image(TestLayout::of(depth, 256, 256), seed) {}
    TestImage image;

    template <typename Value>
    void fill(Value value) {
        for (uint32_t i = 0; i < 65536; ++i)
            set(i, value(i));
    }
    void set(uint32_t i, uint32_t value) {
        if (image.layout().depth == MOX_DEPTH_8U) {
            data()[i] = static_cast<uint8_t>(value);
        } else {
            const uint16_t word = static_cast<uint16_t>(value);
            memcpy(data() + 2 * i, &word, 2);
        }
    }
    uint32_t get(uint32_t i) const {
        if (image.layout().depth == MOX_DEPTH_8U) return data()[i];
        uint16_t word;
        memcpy(&word, data() + 2 * i, 2);
        return word;
    }
    MoxImage *header() { return image.header(); }

  private:
    uint8_t *data() const { return reinterpret_cast<uint8_t *>(const_cast<TestImage &>(image).header()->imageData); }
};

using Value = std::function<uint32_t(uint32_t i)>;
using Results = std::vector<std::pair<Plane *, Value>>;

// The call leaves these values in the planes, at every level.
void expectPlanes(const Results &results, const std::function<void()> &call) {
    std::vector<TestBytes> wanted, other;
    for (const auto &[plane, value] : results) {
        plane->fill(value);
        wanted.push_back(plane->image.bytes());
        plane->fill([plane = plane](uint32_t i) { return ~plane->get(i); });
        other.push_back(plane->image.bytes());
    }
    forEachCpuLevel([&] {
        for (size_t k = 0; k < results.size(); ++k)
            results[k].first->image.setBytes(other[k]);
        ReportRecorder reports;
        call();
        EXPECT_TRUE(reports.none());
        for (size_t k = 0; k < results.size(); ++k) {
            const auto &[plane, value] = results[k];
            if (plane->image.bytes() == wanted[k]) continue;
            uint32_t i = 0;
            while (i < 65535 && plane->get(i) == value(i))
                ++i;
            ADD_FAILURE() << "operands " << i / 256 << " and " << i % 256 << " give " << plane->get(i) << ", expected "
                          << value(i);
        }
    });
}
void expectPlane(Plane &result, const std::function<void()> &call, const Value &value) {
    expectPlanes({{&result, value}}, call);
}

TEST(AlphaExhaustive, productsOfAllPairsOfBytes) {
    Plane x(MOX_DEPTH_8U), y(MOX_DEPTH_8U), d(MOX_DEPTH_8U);
    x.fill([](uint32_t i) { return i / 256; });
    y.fill([](uint32_t i) { return i % 256; });
    const auto quotient = [](uint32_t i) { return (i / 256) * (i % 256) / 255; };
    expectPlane(
        d, [&] { moxMultiplyScale(x.header(), y.header(), d.header()); }, quotient);

    // Row by row by constants.
    expectPlane(
        d,
        [&] {
            for (int row = 0; row < 256; ++row) {
                MoxROI region = {0, 0, row, 256, 1};
                y.header()->roi = d.header()->roi = &region;
                moxMultiplySScale(y.header(), d.header(), row);
            }
            y.header()->roi = d.header()->roi = nullptr;
        },
        quotient);
}

TEST(AlphaExhaustive, premultiplicationOfAllPairsOfBytes) {
    for (int order = 0; order < 2; ++order) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 256, 256, 2, order);
        layout.alpha = 2;
        forEachCpuLevel([&] {
            TestImage own(layout, 1), constant(layout, 2);
            for (int x = 0; x < 256; ++x) {
                for (int y = 0; y < 256; ++y) {
                    own.set(0, x, y, static_cast<uint32_t>(x));
                    own.set(1, x, y, static_cast<uint32_t>(y));
                    constant.set(0, x, y, static_cast<uint32_t>(x));
                }
            }
            ReportRecorder reports;
            moxPreMultiplyAlpha(own.header(), -1);
            for (int row = 0; row < 256; ++row) {
                MoxROI region = {0, 0, row, 256, 1};
                constant.header()->roi = &region;
                moxPreMultiplyAlpha(constant.header(), row);
            }
            EXPECT_TRUE(reports.none());
            for (uint32_t i = 0; i < 65536 && !HasFailure(); ++i) {
                const int x = static_cast<int>(i % 256), y = static_cast<int>(i / 256);
                EXPECT_EQ(own.get(0, x, y), (i % 256) * (i / 256) / 255);
                EXPECT_EQ(own.get(1, x, y), i / 256);
                EXPECT_EQ(constant.get(0, x, y), (i % 256) * (i / 256) / 255);
                EXPECT_EQ(constant.get(1, x, y), i / 256);
            }
        });
    }
}

// Every word with words at and beside powers of two, the ends, and others.
TEST(AlphaExhaustive, productsOfAllWords) {
    Plane x(MOX_DEPTH_16U), y(MOX_DEPTH_16U), d(MOX_DEPTH_16U);
    x.fill([](uint32_t i) { return i; });
    std::vector<uint32_t> factors = {0, 3, 5, 255, 257, 21845, 43690, 52428, 65534, 65535};
    for (uint32_t bit = 1; bit < 65536; bit *= 2) {
        factors.push_back(bit);
        factors.push_back(65535 - bit);
    }
    Random random(testSeed());
    for (int i = 0; i < 12; ++i)
        factors.push_back(random.bits() & 0xFFFF);
    for (uint32_t factor : factors) {
        SCOPED_TRACE(factor);
        expectPlane(
            d, [&] { moxMultiplySScale(x.header(), d.header(), static_cast<int>(factor)); },
            [&](uint32_t i) { return static_cast<uint32_t>(uint64_t{i} * factor / 65535); });
    }
    // Products at and just below whole multiples of the full scale: y is the factor of x with the remainder nearest to
    // it.
    for (uint32_t step : {1u, 2u, 7u}) {
        y.fill([&](uint32_t i) { return i == 0 ? 0 : (65535 * step + i - 1) / i - (step == 7 ? 1 : 0); });
        expectPlane(
            d, [&] { moxMultiplyScale(x.header(), y.header(), d.header()); },
            [&](uint32_t i) { return static_cast<uint32_t>(uint64_t{i} * y.get(i) / 65535); });
    }
}

// All opacities with some colours; then all colours of A with all opacities of A, and some of B.
class Systematic : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(AlphaExhaustive, Systematic, testing::Range(0, 24), [](const auto &each) {
    std::string name = describeRule({each.param % KINDS, each.param / 6 % 2, each.param / 12});
    for (char &c : name) {
        if (c == ' ') c = '_';
    }
    return name;
});

const uint8_t someValues[] = {0, 1, 2, 51, 85, 127, 128, 170, 200, 254, 255};

struct Planes {
    Plane A{MOX_DEPTH_8U}, B{MOX_DEPTH_8U}, a{MOX_DEPTH_8U}, b{MOX_DEPTH_8U}, d{MOX_DEPTH_8U}, o{MOX_DEPTH_8U};
    Planes() { o.image.header()->alphaChannel = 1; }

    void expect(const RefRule &rule, bool hasB) {
        const auto run = [&] {
            moxAlphaComposite(A.header(), B.header(), d.header(), rule.type, a.header(), hasB ? b.header() : nullptr,
                              o.header(), rule.premulAlpha, rule.divideMode);
        };
        const auto alphaOfB = [&](uint32_t i) { return hasB ? b.get(i) : 255 - a.get(i); };
        const auto colour = [&](uint32_t i) {
            return refBlendColour(rule, MOX_DEPTH_8U, {A.get(i), B.get(i), a.get(i), alphaOfB(i)});
        };
        const auto alpha = [&](uint32_t i) { return refBlendAlpha(rule, MOX_DEPTH_8U, a.get(i), alphaOfB(i)); };
        expectPlanes({{&d, colour}, {&o, alpha}}, run);
    }
};

TEST_P(Systematic, bytes) {
    const RefRule rule = {GetParam() % KINDS, GetParam() / 6 % 2, GetParam() / 12};
    Planes planes;
    planes.a.fill([](uint32_t i) { return i / 256; });
    planes.b.fill([](uint32_t i) { return i % 256; });
    size_t pair = 0;
    for (uint32_t A : someValues) {
        for (uint32_t B : someValues) {
            if (pair++ % 5 != 0) continue;  // any fifth
            planes.A.fill([&](uint32_t) { return A; });
            planes.B.fill([&](uint32_t) { return B; });
            SCOPED_TRACE("colours " + std::to_string(A) + " " + std::to_string(B));
            planes.expect(rule, true);
            if (HasFailure()) return;
        }
    }
    planes.A.fill([](uint32_t i) { return i / 256; });
    planes.a.fill([](uint32_t i) { return i % 256; });
    for (uint32_t B : someValues) {
        for (uint32_t b : someValues) {
            if (pair++ % 9 != 0) continue;
            planes.B.fill([&](uint32_t) { return B; });
            planes.b.fill([&](uint32_t) { return b; });
            SCOPED_TRACE("B " + std::to_string(B) + " of opacity " + std::to_string(b));
            planes.expect(rule, true);
            if (HasFailure()) return;
        }
        SCOPED_TRACE("B " + std::to_string(B) + " without an opacity");
        planes.expect(rule, false);
        if (HasFailure()) return;
    }
}

// Constants in place of images: the same arithmetic.
TEST_P(Systematic, constants) {
    const RefRule rule = {GetParam() % KINDS, GetParam() / 6 % 2, GetParam() / 12};
    Plane A(MOX_DEPTH_8U), B(MOX_DEPTH_8U), d(MOX_DEPTH_8U);
    A.fill([](uint32_t i) { return i / 256; });
    B.fill([](uint32_t i) { return i % 256; });
    for (uint32_t a : someValues) {
        for (uint32_t b : someValues) {
            if ((a + b) % 3 != 0) continue;
            SCOPED_TRACE("opacities " + std::to_string(a) + " " + std::to_string(b));
            expectPlane(
                d,
                [&] {
                    moxAlphaCompositeC(A.header(), B.header(), d.header(), rule.type, static_cast<int>(a),
                                       static_cast<int>(b), rule.premulAlpha, rule.divideMode);
                },
                [&](uint32_t i) {
                    return refBlendColour(rule, MOX_DEPTH_8U, {i / 256, i % 256, a, b});
                });
            if (HasFailure()) return;
        }
    }
}

// Words by chance, extremes among them.
TEST_P(Systematic, words) {
    const RefRule rule = {GetParam() % KINDS, GetParam() / 6 % 2, GetParam() / 12};
    Random random(testSeed() + static_cast<uint64_t>(GetParam()));
    for (int round = 0; round < 3; ++round) {
        Plane A(MOX_DEPTH_16U, random.next()), B(MOX_DEPTH_16U, random.next()), a(MOX_DEPTH_16U, random.next()),
            b(MOX_DEPTH_16U, random.next()), d(MOX_DEPTH_16U), o(MOX_DEPTH_16U);
        o.image.header()->alphaChannel = 1;
        // Small opacities make large quotients; equal ones quotients that are whole.
        if (round == 1) a.fill([&](uint32_t) { return random.below(8); });
        if (round == 2) b.fill([&](uint32_t i) { return 65535 - a.get(i); });
        const auto run = [&] {
            moxAlphaComposite(A.header(), B.header(), d.header(), rule.type, a.header(), b.header(), o.header(),
                              rule.premulAlpha, rule.divideMode);
        };
        const auto colour = [&](uint32_t i) {
            return refBlendColour(rule, MOX_DEPTH_16U, {A.get(i), B.get(i), a.get(i), b.get(i)});
        };
        const auto alpha = [&](uint32_t i) { return refBlendAlpha(rule, MOX_DEPTH_16U, a.get(i), b.get(i)); };
        expectPlanes({{&d, colour}, {&o, alpha}}, run);
    }
}

// Quotients that come out at, or by a rounding of the opacity just beside, what lies half way between two floats or two
// integers: an opacity of t x 512 divides into multiples of 1 / 512 where t divides the full scale.
TEST(AlphaExhaustive, quotientsOfWordsAtTheBoundsOfRounding) {
    const uint32_t divisors[] = {1, 3, 5, 15, 17, 51, 85};
    Plane A(MOX_DEPTH_16U), B(MOX_DEPTH_16U), a(MOX_DEPTH_16U), b(MOX_DEPTH_16U), d(MOX_DEPTH_16U), o(MOX_DEPTH_16U);
    o.image.header()->alphaChannel = 1;
    for (int form = 0; form < 3; ++form) {
        const auto opacity = [&](uint32_t i) {
            return form == 0 ? uint32_t{1} << i / 4096 : divisors[i % 7] * 512 >> (form == 2 ? i % 5 : 0);
        };
        const auto colour = [&](uint32_t i) {
            const uint32_t step = form == 0 ? std::max(opacity(i) / 4096, 1u) : 1;
            return (form == 0 ? i % 4096 : i / 7) * step % (opacity(i) + 1);
        };
        // A alone.
        A.fill(colour);
        a.fill(opacity);
        B.fill([](uint32_t) { return 0; });
        b.fill([](uint32_t) { return 0; });
        // Then half of both, and an odd rest, comes from B.
        for (int halves = 0; halves < 2; ++halves) {
            if (halves == 1) {
                B.fill([&](uint32_t i) { return colour(i) / 2; });
                b.fill([&](uint32_t i) { return opacity(i) / 2; });
                A.fill([&](uint32_t i) { return colour(i) - colour(i) / 2; });
                a.fill([&](uint32_t i) { return opacity(i) - opacity(i) / 2; });
            }
            for (int type : {MOX_COMPOSITE_OVER, MOX_COMPOSITE_XOR, MOX_COMPOSITE_PLUS}) {
                for (int premulAlpha = 0; premulAlpha < 2; ++premulAlpha) {
                    const RefRule rule = {type, premulAlpha, 1};
                    SCOPED_TRACE(describeRule(rule) + " form " + std::to_string(form));
                    expectPlane(
                        d,
                        [&] {
                            moxAlphaComposite(A.header(), B.header(), d.header(), type, a.header(), b.header(),
                                              o.header(), premulAlpha, 1);
                        },
                        [&](uint32_t i) {
                            return refBlendColour(rule, MOX_DEPTH_16U, {A.get(i), B.get(i), a.get(i), b.get(i)});
                        });
                }
            }
        }
    }
}

}  // namespace
