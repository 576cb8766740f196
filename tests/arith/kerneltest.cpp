// Every form of every arithmetic kernel at each CPU level against one sample at a time: all lengths up to a few
// vectors, in buffers that begin anywhere and end where the row ends.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "arith/ownarith.h"
#include "frame/ownmove.h"
#include "support/cases.h"

namespace {

enum { BITS, U8, S8, U16, S16, S32, F32 };
constexpr int BYTES[] = {1, 1, 1, 2, 2, 4, 4};
constexpr int64_t LOW[] = {0, 0, -128, 0, -32768, -2147483648LL, 0};
constexpr int64_t HIGH[] = {255, 255, 127, 65535, 32767, 2147483647LL, 0};

int64_t valueOf(int depth, uint32_t bits) {
    switch (depth) {
        case S8:
            return static_cast<int8_t>(bits);
        case S16:
            return static_cast<int16_t>(bits);
        case S32:
            return static_cast<int32_t>(bits);
        default:
            return bits;
    }
}
uint32_t clamped(int depth, int64_t value) {
    return static_cast<uint32_t>(std::clamp(value, LOW[depth], HIGH[depth]));
}
float realOf(uint32_t bits) {
    float real;
    std::memcpy(&real, &bits, 4);
    return real;
}
uint32_t bitsOf(float real) {
    uint32_t bits;
    std::memcpy(&bits, &real, 4);
    return bits;
}

// One sample by a float operation. Of two NaN the first one's payload is kept; what makes a NaN of none is any NaN.
constexpr uint32_t SOME_NAN = 0xFFFFFFFF;
template <class F>
uint32_t byFloats(uint32_t a, uint32_t b, F f) {
    if (std::isnan(realOf(a))) return a | 0x00400000;
    if (std::isnan(realOf(b))) return b | 0x00400000;
    const float result = f(realOf(a), realOf(b));
    return std::isnan(result) ? SOME_NAN : bitsOf(result);
}

// What a kernel computes: from samples as bits, and a constant.
using Truth = uint32_t (*)(int depth, uint32_t a, uint32_t b, const OwnConstant &c);
// Of unsigned values, with the bias added.
int64_t biased(int depth, uint32_t a, const OwnConstant &c) {
    return static_cast<int64_t>((a ^ c.bias) & HIGH[depth <= S8 ? U8 : U16]);
}
uint32_t unbiased(int depth, int64_t value, const OwnConstant &c) {
    const int64_t high = HIGH[depth <= S8 ? U8 : U16];
    return static_cast<uint32_t>(std::clamp<int64_t>(value, 0, high)) ^ c.bias;
}

struct Kernel {
    const char *name;
    OwnRowForms (OwnArithRows::*table)[OWN_DEPTHS];
    int sources;
    Truth truth;
};
#define INTEGER_OR_FLOAT(op, a, b)                                          \
    (depth == F32 ? byFloats(a, b, [](float x, float y) { return x op y; }) \
                  : clamped(depth, valueOf(depth, a) op valueOf(depth, b)))
uint32_t constantOf(int depth, const OwnConstant &c) {
    return depth == F32 ? bitsOf(c.real) : c.value;
}
const Kernel kernels[] = {
    {"add", &OwnArithRows::add, 2,
     [](int depth, uint32_t a, uint32_t b, const OwnConstant &) { return INTEGER_OR_FLOAT(+, a, b); }},
    {"subtract", &OwnArithRows::subtract, 2,
     [](int depth, uint32_t a, uint32_t b, const OwnConstant &) {
         return depth == BITS ? a & ~b : INTEGER_OR_FLOAT(-, a, b);
     }},
    {"multiply", &OwnArithRows::multiply, 2,
     [](int depth, uint32_t a, uint32_t b, const OwnConstant &) { return INTEGER_OR_FLOAT(*, a, b); }},
    {"bitAnd", &OwnArithRows::bitAnd, 2, [](int, uint32_t a, uint32_t b, const OwnConstant &) { return a & b; }},
    {"bitOr", &OwnArithRows::bitOr, 2, [](int, uint32_t a, uint32_t b, const OwnConstant &) { return a | b; }},
    {"bitXor", &OwnArithRows::bitXor, 2, [](int, uint32_t a, uint32_t b, const OwnConstant &) { return a ^ b; }},
    {"andS", &OwnArithRows::andS, 1, [](int, uint32_t a, uint32_t, const OwnConstant &c) { return a & c.value; }},
    {"orS", &OwnArithRows::orS, 1, [](int, uint32_t a, uint32_t, const OwnConstant &c) { return a | c.value; }},
    {"xorS", &OwnArithRows::xorS, 1, [](int, uint32_t a, uint32_t, const OwnConstant &c) { return a ^ c.value; }},
    {"shiftLeft", &OwnArithRows::shiftLeft, 1,
     [](int, uint32_t a, uint32_t, const OwnConstant &c) { return a << c.value; }},
    {"shiftRight", &OwnArithRows::shiftRight, 1,
     [](int depth, uint32_t a, uint32_t, const OwnConstant &c) {
         return static_cast<uint32_t>(valueOf(depth, a) >> c.value);
     }},
    {"multiplyS", &OwnArithRows::multiplyS, 1,
     [](int depth, uint32_t a, uint32_t, const OwnConstant &c) {
         if (depth == F32) return byFloats(a, bitsOf(c.real), [](float x, float y) { return x * y; });
         return clamped(depth, valueOf(depth, a) * static_cast<int32_t>(c.value));
     }},
    {"addUp", &OwnArithRows::addUp, 1,
     [](int depth, uint32_t a, uint32_t, const OwnConstant &c) {
         return unbiased(depth, biased(depth, a, c) + c.value, c);
     }},
    {"takeDown", &OwnArithRows::takeDown, 1,
     [](int depth, uint32_t a, uint32_t, const OwnConstant &c) {
         return unbiased(depth, biased(depth, a, c) - c.value, c);
     }},
    {"fromValue", &OwnArithRows::fromValue, 1,
     [](int depth, uint32_t a, uint32_t, const OwnConstant &c) {
         return unbiased(depth, c.value - biased(depth, a, c), c);
     }},
    {"fromAbove", &OwnArithRows::fromAbove, 1,
     [](int depth, uint32_t a, uint32_t, const OwnConstant &c) {
         return unbiased(depth, HIGH[depth <= S8 ? U8 : U16] + c.value - biased(depth, a, c), c);
     }},
    {"addS", &OwnArithRows::addS, 1,
     [](int depth, uint32_t a, uint32_t, const OwnConstant &c) {
         return INTEGER_OR_FLOAT(+, a, constantOf(depth, c));
     }},
    {"subtractS", &OwnArithRows::subtractS, 1,
     [](int depth, uint32_t a, uint32_t, const OwnConstant &c) {
         return INTEGER_OR_FLOAT(-, a, constantOf(depth, c));
     }},
    {"subtractFrom", &OwnArithRows::subtractFrom, 1,
     [](int depth, uint32_t a, uint32_t, const OwnConstant &c) {
         return INTEGER_OR_FLOAT(-, constantOf(depth, c), a);
     }},
    {"square", &OwnArithRows::square, 1,
     [](int depth, uint32_t a, uint32_t, const OwnConstant &) { return INTEGER_OR_FLOAT(*, a, a); }},
    {"absolute", &OwnArithRows::absolute, 1,
     [](int depth, uint32_t a, uint32_t, const OwnConstant &) {
         return depth == F32 ? a & 0x7FFFFFFF : clamped(depth, std::abs(valueOf(depth, a)));
     }},
};

// Samples at bounds half of the time: the ends of the range, the roots of the largest squares, and their neighbours.
uint32_t drawOperand(Random &random, int depth) {
    static constexpr int64_t BOUNDS[] = {0,     15,    16,         127,          128,          181,   182,
                                         255,   256,   32767,      32768,        46340,        46341, 65535,
                                         65536, 98304, 2147483647, 2147483648LL, -2147483648LL};
    if (depth == F32) return drawSample(random, MOX_DEPTH_32F);
    if (random.oneIn(2)) return random.bits();
    const int64_t bound = BOUNDS[random.below(static_cast<int>(std::size(BOUNDS)))] + random.between(-1, 1);
    return static_cast<uint32_t>(random.oneIn(2) ? bound : -bound);
}

OwnConstant drawConstant(Random &random, const Kernel &kernel, int depth) {
    const std::string name = kernel.name;
    const auto value = drawOperand(random, depth);
    if (name.rfind("shift", 0) == 0) return {static_cast<uint32_t>(random.between(1, BYTES[depth] * 8 - 1)), 0, 0};
    if (name == "multiplyS" && depth < S32) {
        const int64_t high = depth == S8 || depth == S16 ? HIGH[depth] + 1 : HIGH[depth];
        return {static_cast<uint32_t>(std::clamp<int64_t>(static_cast<int32_t>(value), LOW[depth], high)), 0, 0};
    }
    const uint32_t bias = depth == S8 ? 0x80 : depth == S16 ? 0x8000 : 0;
    const bool small = name == "addUp" || name == "takeDown" || name == "fromValue" || name == "fromAbove";
    if (small) return {value & static_cast<uint32_t>(HIGH[depth <= S8 ? U8 : U16]), bias, 0};
    return {value, 0, realOf(drawSample(random, MOX_DEPTH_32F))};
}

// n samples at some address, with nothing behind them.
class Row {
  public:
    Row(size_t n, int bytes, size_t offset)
        : bytes_(static_cast<size_t>(bytes)), offset_(offset), size_(n * bytes_), memory_(new uint8_t[offset + size_]) {
        std::memset(memory_.get(), 0xA5, offset + size_);
    }
    uint8_t *at() { return memory_.get() + offset_; }
    void set(size_t i, uint32_t bits) { std::memcpy(at() + i * bytes_, &bits, bytes_); }
    uint32_t get(size_t i) {
        uint32_t bits = 0;
        std::memcpy(&bits, at() + i * bytes_, bytes_);
        return bits;
    }
    void takeFrom(Row &other) { std::memcpy(at(), other.at(), size_); }
    bool nothingBefore() const {
        return std::all_of(memory_.get(), memory_.get() + offset_, [](uint8_t byte) { return byte == 0xA5; });
    }

  private:
    size_t bytes_, offset_, size_;
    std::unique_ptr<uint8_t[]> memory_;
};

struct Case {
    const Kernel &kernel;
    int depth;
    size_t n;
    OwnConstant constant;

    uint32_t truth(uint32_t a, uint32_t b) const {
        const uint32_t bits = kernel.truth(depth, a, b, constant);
        return BYTES[depth] == 4 ? bits : bits & static_cast<uint32_t>(HIGH[BYTES[depth] == 1 ? U8 : U16]);
    }
    bool same(uint32_t wanted, uint32_t got) const {
        return wanted == got || (depth == F32 && wanted == SOME_NAN && std::isnan(realOf(got)));
    }

    // d = f(a, b) by one of the forms. alias: 1 where a is d as well, 2 where b is.
    void check(Random &random, OwnRow plain, int alias, size_t offset) const {
        const auto run = [&](const void *a, const void *b, void *d, Row &) { plain(a, b, d, n, constant); };
        checkForm(random, run, false, alias, offset);
    }
    void checkMasked(Random &random, OwnMaskedRow masked, int alias, size_t offset) const {
        const auto run = [&](const void *a, const void *b, void *d, Row &lanes) {
            masked(a, b, d, n, constant, lanes.at());
        };
        checkForm(random, run, true, alias, offset);
    }
    void checkUnderBits(Random &random, OwnRowUnderBits underBits, int alias, size_t offset) const {
        const auto run = [&](const void *a, const void *b, void *d, Row &lanes) {
            Row bits((n + 7) / 8, 1, static_cast<size_t>(random.below(40)));
            for (size_t i = 0; i < n; i += 8) {
                const size_t count = std::min<size_t>(n - i, 8);
                uint32_t byte = random.bits() & 0xFFu >> count;  // beyond the row anything may stand
                for (size_t k = 0; k < count; ++k)
                    byte |= (lanes.get(i + k) & 1) << (7 - k);
                bits.set(i / 8, byte);
            }
            underBits(a, b, d, n, constant, bits.at());
        };
        checkForm(random, run, true, alias, offset);
    }

    template <class Run>
    void checkForm(Random &random, const Run &run, bool masked, int alias, size_t offset) const {
        const int bytes = BYTES[depth];
        Row a(n, bytes, static_cast<size_t>(random.below(40))), b(n, bytes, static_cast<size_t>(random.below(40)));
        Row d(n, bytes, offset), before(n, bytes, 0), lanes(n, bytes, static_cast<size_t>(random.below(40)));
        for (size_t i = 0; i < n; ++i) {
            a.set(i, drawOperand(random, depth));
            b.set(i, drawOperand(random, depth));
            d.set(i, drawOperand(random, depth));
            lanes.set(i, random.oneIn(2) ? ~0u : 0);
        }
        if (alias == 1) d.takeFrom(a);
        if (alias == 2) d.takeFrom(b);
        before.takeFrom(d);
        const void *first = alias == 1 ? d.at() : a.at();
        const void *second = kernel.sources < 2 ? nullptr : alias == 2 ? d.at() : b.at();
        run(first, second, d.at(), lanes);
        ASSERT_TRUE(d.nothingBefore()) << kernel.name << " depth " << depth << " n " << n;
        for (size_t i = 0; i < n; ++i) {
            const bool kept = masked && lanes.get(i) == 0;
            const uint32_t wanted = kept ? before.get(i) : truth(a.get(i), b.get(i));
            ASSERT_TRUE(same(wanted, d.get(i)))
                << kernel.name << " depth " << depth << " sample " << i << " of " << n << ": " << a.get(i) << ", "
                << b.get(i) << ", constant " << constant.value << " gives " << d.get(i) << ", not " << wanted;
        }
    }
};

template <class Check>
void forEachKernel(const Check &check) {
    for (const Kernel &kernel : kernels) {
        for (int depth = BITS; depth <= F32; ++depth) {
            const OwnRowForms &forms = (ownArithRows().*kernel.table)[depth];
            if (!forms.plain) continue;
            check(kernel, depth, forms);
            if (testing::Test::HasFatalFailure()) return;
        }
    }
}

TEST(Kernels, plainAndMaskedFormsOfEveryLength) {
    forEachCpuLevel([] {
        Random random(testSeed());
        forEachKernel([&](const Kernel &kernel, int depth, const OwnRowForms &forms) {
            for (size_t n = 0; n <= 200; ++n) {
                const Case one = {kernel, depth, n, drawConstant(random, kernel, depth)};
                for (int alias = 0; alias <= kernel.sources; ++alias) {
                    const auto offset = static_cast<size_t>(random.below(40));
                    one.check(random, forms.plain, alias, offset);
                    one.checkMasked(random, forms.masked, alias, offset);
                    if (forms.underBits) one.checkUnderBits(random, forms.underBits, alias, offset);
                    if (testing::Test::HasFatalFailure()) return;
                }
            }
        });
    });
}

TEST(Kernels, streamedForms) {
    forEachCpuLevel([] {
        Random random(testSeed());
        forEachKernel([&](const Kernel &kernel, int depth, const OwnRowForms &forms) {
            if (!forms.streamed) return;
            for (const size_t n : {0, 1, 63, 64, 65, 300, 319, 320, 512, 1000, 1537}) {
                for (int time = 0; time < 4; ++time) {
                    const Case one = {kernel, depth, n, drawConstant(random, kernel, depth)};
                    one.check(random, forms.streamed, 0, static_cast<size_t>(random.below(80)));
                    if (testing::Test::HasFatalFailure()) return;
                }
            }
        });
        ownMoveRows().fence();
    });
}

// Every pair of bytes.
TEST(Kernels, everyPairOfBytes) {
    forEachCpuLevel([] {
        forEachKernel([&](const Kernel &kernel, int depth, const OwnRowForms &forms) {
            if (BYTES[depth] > 1 || kernel.sources < 2) return;
            const Case one = {kernel, depth, 256, {}};
            for (uint32_t second = 0; second < 256; ++second) {
                uint8_t a[256], b[256], d[256];
                for (uint32_t i = 0; i < 256; ++i)
                    a[i] = static_cast<uint8_t>(i);
                std::memset(b, static_cast<int>(second), sizeof b);
                forms.plain(a, b, d, 256, {});
                for (uint32_t i = 0; i < 256; ++i)
                    ASSERT_EQ(one.truth(i, second), d[i]) << kernel.name << " " << i << ", " << second;
            }
        });
    });
}

}  // namespace
