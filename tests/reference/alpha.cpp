// Composition of two images, and multiplication by opacities: what becomes of a sample, and of which.
#include "reference/alpha.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <map>

static constexpr int OVER = 0, IN = 1, OUT = 2, ATOP = 3, XOR = 4;

static uint32_t fullScale(unsigned depth) {
    return depth == MOX_DEPTH_8U ? 255 : 65535;
}

uint32_t refScaledMul(unsigned depth, uint32_t x, uint32_t y) {
    return static_cast<uint32_t>(uint64_t{x} * y / fullScale(depth));
}

namespace {

// The arithmetic of integers. A result is cut to the full scale by whoever stores it.
struct Whole {
    unsigned depth;
    uint32_t full;
    explicit Whole(unsigned depth_) : depth(depth_), full(fullScale(depth_)) {}
    uint32_t m(uint32_t x, uint32_t y) const { return refScaledMul(depth, x, y); }

    uint32_t colour(int type, bool premultiplied, const RefBlend &s) const {
        const uint32_t a = s.alphaA, b = s.alphaB;
        const uint32_t A = premultiplied ? s.a : m(s.a, a), B = premultiplied ? s.b : m(s.b, b);
        switch (type) {
            case OVER:
                return A + m(B, full - a);
            case IN:
                return m(A, b);
            case OUT:
                return m(A, full - b);
            case ATOP:
                return m(A, b) + m(B, full - a);
            case XOR:
                return m(A, full - b) + m(B, full - a);
            default:
                return A + B;
        }
    }

    uint32_t alpha(int type, uint32_t a, uint32_t b) const {
        switch (type) {
            case OVER:
                return a + m(b, full - a);
            case IN:
                return m(a, b);
            case OUT:
                return m(a, full - b);
            case ATOP:
                return b;
            case XOR:
                return m(a, full - b) + m(b, full - a);
            default:
                return a + b;
        }
    }
};

// The arithmetic of floats at 8 bits, of doubles at 16: each step is rounded to Real.
template <typename Real>
struct Floating {
    Real full, k, threshold;

    Real opacity(int type, Real fa, Real fb) const {
        const Real restA = Real{1} - fa, restB = Real{1} - fb;
        switch (type) {
            case OVER: {
                const Real rest = restA * fb;
                return fa + rest;
            }
            case IN:
                return fa * fb;
            case OUT:
                return fa * restB;
            case ATOP:
                return fb;
            case XOR: {
                const Real first = fa * restB, second = restA * fb;
                return first + second;
            }
            default:
                return fa + fb;
        }
    }

    Real colour(int type, Real FA, Real FB, Real fa, Real fb) const {
        const Real restA = Real{1} - fa, restB = Real{1} - fb;
        switch (type) {
            case OVER: {
                const Real rest = FB * restA;
                return FA + rest;
            }
            case IN:
                return FA * fb;
            case OUT:
                return FA * restB;
            case ATOP: {
                const Real first = FA * fb, second = FB * restA;
                return first + second;
            }
            case XOR: {
                const Real first = FA * restB, second = FB * restA;
                return first + second;
            }
            default:
                return FA + FB;
        }
    }

    // By way of a float, to the nearest, of two to the even one.
    uint32_t rounded(Real value) const { return static_cast<uint32_t>(std::nearbyint(static_cast<float>(value))); }

    uint32_t colour(int type, bool premultiplied, const RefBlend &s) const {
        const Real fa = static_cast<Real>(s.alphaA) * k, fb = static_cast<Real>(s.alphaB) * k;
        Real FA = static_cast<Real>(s.a), FB = static_cast<Real>(s.b);
        if (!premultiplied) {
            FA = FA * fa;
            FB = FB * fb;
        }
        Real C = colour(type, FA, FB, fa, fb);
        const Real O = opacity(type, fa, fb);
        if (O > threshold) {
            const Real quotient = C / O;
            C = std::min(quotient, full);
        }
        return rounded(C);
    }

    uint32_t alpha(int type, uint32_t a, uint32_t b) const {
        const Real O = opacity(type, static_cast<Real>(a) * k, static_cast<Real>(b) * k);
        const Real scaled = O * full;
        return rounded(scaled);
    }
};

// k is 1 / F and the threshold 1 / (2 F F), both rounded once.
const Floating<float> ofBytes = {255.0f, std::bit_cast<float>(0x3B808081u), std::bit_cast<float>(0x37010183u)};
const Floating<double> ofWords = {65535.0, 1.5259021896696422e-05, 1.1641887462193043e-10};

}  // namespace

uint32_t refBlendColour(const RefRule &rule, unsigned depth, const RefBlend &s) {
    const bool premultiplied = rule.premulAlpha == 1;
    const uint32_t result = rule.divideMode == 0    ? Whole(depth).colour(rule.type, premultiplied, s)
                            : depth == MOX_DEPTH_8U ? ofBytes.colour(rule.type, premultiplied, s)
                                                    : ofWords.colour(rule.type, premultiplied, s);
    return std::min(result, fullScale(depth));
}

uint32_t refBlendAlpha(const RefRule &rule, unsigned depth, uint32_t a, uint32_t b) {
    const uint32_t result = rule.divideMode == 0    ? Whole(depth).alpha(rule.type, a, b)
                            : depth == MOX_DEPTH_8U ? ofBytes.alpha(rule.type, a, b)
                                                    : ofWords.alpha(rule.type, a, b);
    return std::min(result, fullScale(depth));
}

TestImage *RefComposite::roleA() const {
    return alphaA ? alphaA : srcA;
}
TestImage *RefComposite::roleB() const {
    if (alphaB) return alphaB;
    return !alphaA && srcB->layout().alpha != 0 ? srcB : nullptr;
}
TestImage *RefComposite::roleDst() const {
    if (alphaDst) return alphaDst;
    return dst->layout().alpha != 0 ? dst : nullptr;
}
std::vector<TestImage *> RefComposite::given() const {
    std::vector<TestImage *> images = {dst, srcA, srcB};
    for (TestImage *image : {alphaDst, alphaA, alphaB}) {
        if (image) images.push_back(image);
    }
    return images;
}

namespace {

// The images of a call while it runs: what has been written is read again, where an image takes part twice.
class Running {
  public:
    explicit Running(const std::vector<TestImage *> &images) : images_(images) {
        refCommonSize(images, &width, &height);
        for (TestImage *image : images)
            bytes_[image] = image->bytes();
    }
    int width, height;

    bool maskedIn(int i, int j) const { return refMaskedIn(images_, i, j); }
    // The pixel (i, j) of the region.
    uint32_t get(const TestImage *image, int channel, int i, int j) const {
        return image->getIn(bytes_.at(image), channel, image->layout().regionX() + i, image->layout().regionY() + j);
    }
    void set(const TestImage *image, int channel, int i, int j, uint32_t value) {
        image->setIn(bytes_.at(image), channel, image->layout().regionX() + i, image->layout().regionY() + j, value);
    }
    const TestBytes &bytes(const TestImage *image) const { return bytes_.at(image); }

  private:
    std::vector<TestImage *> images_;
    std::map<const TestImage *, TestBytes> bytes_;
};

// An opacity: an image's, in its alpha channel or else its first, or a constant.
struct Opacity {
    const TestImage *image = nullptr;
    uint32_t constant = 0;

    uint32_t at(const Running &run, int i, int j) const {
        if (!image) return constant;
        const int alpha = image->layout().alpha;
        return run.get(image, alpha != 0 ? alpha - 1 : 0, i, j);
    }
};

// The colour channels that are processed, by their numbers in each image.
struct Channels {
    int a, b, dst;
};
std::vector<Channels> colourChannels(const TestLayout &a, const TestLayout &b, const TestLayout &dst) {
    if (dst.hasRoi && dst.roi.coi > 0) return {{a.roi.coi - 1, b.roi.coi - 1, dst.roi.coi - 1}};
    std::vector<Channels> channels;
    for (int k = 0; k < dst.channels; ++k) {
        if (k != dst.alpha - 1) channels.push_back({k, k, k});
    }
    return channels;
}

// Opacities above the full scale are the image's own.
Opacity opacityOf(const TestImage &image, int constant) {
    const bool own = constant < 0 || constant > static_cast<int>(fullScale(image.layout().depth));
    return own ? Opacity{&image} : Opacity{nullptr, static_cast<uint32_t>(constant)};
}

int ownAlpha(const TestImage &image) {
    return image.layout().alpha - 1;
}

}  // namespace

RefWrites refComposite(const RefComposite &call) {
    const unsigned depth = call.dst->layout().depth;
    const Opacity opacityA = {call.roleA()}, opacityB = {call.roleB()};
    TestImage *out = call.roleDst();
    Running run(call.given());
    const auto readAlphas = [&](int i, int j) {
        const uint32_t a = opacityA.at(run, i, j);
        return std::pair(a, opacityB.image ? opacityB.at(run, i, j) : fullScale(depth) - a);
    };
    const auto channels = colourChannels(call.srcA->layout(), call.srcB->layout(), call.dst->layout());
    for (int j = 0; j < run.height; ++j) {
        for (const Channels &channel : channels) {
            for (int i = 0; i < run.width; ++i) {
                if (!run.maskedIn(i, j)) continue;
                const auto [a, b] = readAlphas(i, j);
                const RefBlend s = {run.get(call.srcA, channel.a, i, j), run.get(call.srcB, channel.b, i, j), a, b};
                run.set(call.dst, channel.dst, i, j, refBlendColour(call.rule, depth, s));
            }
        }
        for (int i = 0; out && i < run.width; ++i) {
            if (!run.maskedIn(i, j)) continue;
            const auto [a, b] = readAlphas(i, j);
            run.set(out, ownAlpha(*out), i, j, refBlendAlpha(call.rule, depth, a, b));
        }
    }
    RefWrites writes = {{call.dst, run.bytes(call.dst)}};
    if (out && out != call.dst) writes.push_back({out, run.bytes(out)});
    return writes;
}

RefWrites refCompositeC(TestImage &srcA, TestImage &srcB, TestImage &dst, const RefRule &rule, int aA, int aB) {
    const Opacity opacityA = opacityOf(srcA, aA), opacityB = opacityOf(srcB, aB);
    Running run({&dst, &srcA, &srcB});
    for (int j = 0; j < run.height; ++j) {
        for (const Channels &channel : colourChannels(srcA.layout(), srcB.layout(), dst.layout())) {
            for (int i = 0; i < run.width; ++i) {
                if (!run.maskedIn(i, j)) continue;
                const RefBlend s = {run.get(&srcA, channel.a, i, j), run.get(&srcB, channel.b, i, j),
                                    opacityA.at(run, i, j), opacityB.at(run, i, j)};
                run.set(&dst, channel.dst, i, j, refBlendColour(rule, dst.layout().depth, s));
            }
        }
    }
    return {{&dst, run.bytes(&dst)}};
}

RefWrites refPreMultiply(TestImage &image, int alpha) {
    const TestLayout &layout = image.layout();
    const Opacity opacity = opacityOf(image, alpha);
    Running run({&image});
    for (int j = 0; j < run.height; ++j) {
        for (int i = 0; i < run.width; ++i) {
            if (!run.maskedIn(i, j)) continue;
            for (const Channels &channel : colourChannels(layout, layout, layout)) {
                const uint32_t colour = run.get(&image, channel.dst, i, j);
                run.set(&image, channel.dst, i, j, refScaledMul(layout.depth, colour, opacity.at(run, i, j)));
            }
            if (!opacity.image && layout.alpha != 0) run.set(&image, ownAlpha(image), i, j, opacity.constant);
        }
    }
    return {{&image, run.bytes(&image)}};
}

// One channel if any image names one, and then the first of those that do not; else all colours of the destination.
static std::vector<Channels> scaleChannels(const TestLayout &a, const TestLayout &b, const TestLayout &dst) {
    const auto named = [](const TestLayout &layout) { return layout.hasRoi ? layout.roi.coi : 0; };
    if (named(a) > 0 || named(b) > 0 || named(dst) > 0) {
        const auto index = [&](const TestLayout &layout) { return std::max(named(layout), 1) - 1; };
        // The destination's alpha stays as it is, also if it is what is named.
        if (index(dst) == dst.alpha - 1) return {};
        return {{index(a), index(b), index(dst)}};
    }
    std::vector<Channels> channels;
    for (int k = 0; k < dst.channels - (dst.alpha != 0 ? 1 : 0); ++k)
        channels.push_back({k, k, k});
    return channels;
}

RefWrites refMultiplyScale(TestImage &srcA, TestImage &srcB, TestImage &dst) {
    Running run({&dst, &srcA, &srcB});
    for (int j = 0; j < run.height; ++j) {
        for (int i = 0; i < run.width; ++i) {
            if (!run.maskedIn(i, j)) continue;
            for (const Channels &channel : scaleChannels(srcA.layout(), srcB.layout(), dst.layout())) {
                const uint32_t a = run.get(&srcA, channel.a, i, j), b = run.get(&srcB, channel.b, i, j);
                run.set(&dst, channel.dst, i, j, refScaledMul(dst.layout().depth, a, b));
            }
        }
    }
    return {{&dst, run.bytes(&dst)}};
}

RefWrites refMultiplySScale(TestImage &src, TestImage &dst, int value) {
    const unsigned depth = dst.layout().depth;
    const uint32_t factor = static_cast<uint32_t>(std::clamp(value, 0, static_cast<int>(fullScale(depth))));
    Running run({&dst, &src});
    for (int j = 0; j < run.height; ++j) {
        for (int i = 0; i < run.width; ++i) {
            if (!run.maskedIn(i, j)) continue;
            for (const Channels &channel : scaleChannels(src.layout(), src.layout(), dst.layout())) {
                const uint32_t sample = run.get(&src, channel.a, i, j);
                run.set(&dst, channel.dst, i, j, refScaledMul(depth, sample, factor));
            }
        }
    }
    return {{&dst, run.bytes(&dst)}};
}
