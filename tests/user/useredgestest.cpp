// Pixels by the caller's functions: which samples they see and in which order, what is stored, and every report.
#include <climits>
#include <cmath>
#include <cstring>

#include "support/allocations.h"
#include "support/imagepair.h"
#include "support/reports.h"
#include "support/scene.h"
#include "support/tilelog.h"

namespace {

// What the functions below were given, and what they do. They belong to the thread that runs the test.
struct Seen {
    std::vector<int64_t> samples;  // float patterns of the float form
    std::vector<std::vector<uint8_t>> pixels;
    std::vector<std::vector<uint8_t>> before;  // of the destination
    const MoxImage *src = nullptr, *dst = nullptr;
    int pixelBytes = 0;
    int failAt = 0;  // the call that leaves a status, counted from 1
    MoxStatus status = -77;
} seen;

// On 32 bits floats go to functions by way of the old floating-point unit, from which every NaN comes quiet.
uint32_t bitsOf(float value) {
    uint32_t bits;
    memcpy(&bits, &value, sizeof bits);
    if (sizeof(void *) == 4 && (bits & 0x7FFFFFFF) > 0x7F800000) bits |= 0x400000;
    return bits;
}
float floatOf(uint32_t bits) {
    float value;
    memcpy(&value, &bits, sizeof value);
    return value;
}

int mixed(int sample) {
    return static_cast<int>(static_cast<uint32_t>(sample) * 3u - 200u);
}
float mixed(float sample) {
    return sample * 1.75f - 99.5f;
}
int MOX_CALL noteSample(int sample) {
    seen.samples.push_back(sample);
    return mixed(sample);
}
float MOX_CALL noteFloat(float sample) {
    seen.samples.push_back(bitsOf(sample));
    return mixed(sample);
}
uint8_t mixedByte(uint8_t from, uint8_t to) {
    return static_cast<uint8_t>(from * 5 + to + 1);
}
void MOX_CALL notePixel(MoxImage *src, void *srcPixel, MoxImage *dst, void *dstPixel) {
    EXPECT_EQ(src, seen.src);
    EXPECT_EQ(dst, seen.dst);
    auto *from = static_cast<uint8_t *>(srcPixel), *to = static_cast<uint8_t *>(dstPixel);
    seen.pixels.emplace_back(from, from + seen.pixelBytes);
    seen.before.emplace_back(to, to + seen.pixelBytes);
    for (int i = 0; i < seen.pixelBytes; ++i)
        to[i] = mixedByte(from[i], to[i]);
    if (static_cast<int>(seen.pixels.size()) == seen.failAt) moxSetErrStatus(seen.status);
}

enum class Form { SAMPLES, FLOATS, PIXELS };
const char *const names[] = {"moxUserProcess", "moxUserProcessFP", "moxUserProcessPixel"};

void run(Form form, MoxImage *src, MoxImage *dst) {
    if (form == Form::SAMPLES) moxUserProcess(src, dst, noteSample);
    if (form == Form::FLOATS) moxUserProcessFP(src, dst, noteFloat);
    if (form == Form::PIXELS) moxUserProcessPixel(src, dst, notePixel);
}

int64_t numberOf(uint32_t pattern, unsigned depth) {
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    int64_t value = pattern;
    if ((depth & MOX_DEPTH_SIGN) != 0 && pattern >> (bits - 1) != 0) value -= int64_t{1} << bits;
    return value;
}
int64_t lowOf(unsigned depth) {
    return (depth & MOX_DEPTH_SIGN) != 0 ? -(int64_t{1} << ((depth & ~MOX_DEPTH_SIGN) - 1)) : 0;
}
int64_t highOf(unsigned depth) {
    return lowOf(depth) + (int64_t{1} << (depth & ~MOX_DEPTH_SIGN)) - 1;
}
uint32_t patternOf(int64_t value, unsigned depth) {
    return static_cast<uint32_t>(value & ((int64_t{1} << (depth & ~MOX_DEPTH_SIGN)) - 1));
}

uint32_t floatStored(float result, unsigned depth) {
    if (depth == MOX_DEPTH_32F) return bitsOf(result);
    const auto low = static_cast<double>(lowOf(depth)), high = static_cast<double>(highOf(depth));
    if (std::isnan(result)) return patternOf(lowOf(depth), depth);
    const double value = std::min(std::max(static_cast<double>(result), low), high);
    return patternOf(static_cast<int64_t>(std::trunc(value)), depth);
}

// What the images hold after a call, and what the function sees in a plain run.
struct Model {
    TestBytes expected;
    Seen seen;
};

class UserPair : public ImagePair {
  public:
    UserPair(Random &random, unsigned depth) {
        const int order = random.below(2), channels = random.between(1, 5), origin = random.below(2);
        const bool inPlace = random.oneIn(4);
        for (int i = 0; i < (inPlace ? 1 : 2); ++i) {
            TestLayout layout = TestLayout::of(depth, random.between(1, 50), random.between(1, 20), channels, order);
            layout.origin = origin;
            layout.align = drawAlign(random);
            layout.alpha = channels > 1 && random.oneIn(3) ? channels : 0;
            if (random.oneIn(2)) drawRegion(random, layout, coi_ ? random.between(1, channels) : 0, false);
            drawPlacement(random, layout, -1);
            images_[i] = std::make_unique<TestImage>(layout, random.next());
        }
        drawMasks(random);
    }

  private:
    bool coi_ = false;
};

Model modelOf(ImagePair &pair, Form form) {
    TestImage &src = pair.src(), &dst = pair.dst();
    const TestLayout &from = src.layout(), &to = dst.layout();
    Model model = {dst.bytes(), {}};
    int width = std::min(from.regionWidth(), to.regionWidth()),
        height = std::min(from.regionHeight(), to.regionHeight());
    for (TestImage *mask : {src.mask(), dst.mask()}) {
        if (!mask) continue;
        width = std::min(width, mask->layout().regionWidth());
        height = std::min(height, mask->layout().regionHeight());
    }
    const int channels = std::min(from.channelCount(), to.channelCount());
    const bool byPlanes = to.order == MOX_DATA_ORDER_PLANE && form != Form::PIXELS;
    const int bytes = to.bits() / 8;
    for (int plane = 0; plane < (byPlanes ? channels : 1); ++plane) {
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                bool kept = false;
                for (TestImage *mask : {src.mask(), dst.mask()}) {
                    if (mask && mask->get(0, mask->layout().regionX() + x, mask->layout().regionY() + y) == 0)
                        kept = true;
                }
                if (kept) continue;
                std::vector<uint8_t> pixel, before;
                for (int c = byPlanes ? plane : 0; c < (byPlanes ? plane + 1 : channels); ++c) {
                    const uint32_t sample = src.get(from.firstChannel() + c, from.regionX() + x, from.regionY() + y);
                    const int toC = to.firstChannel() + c, toX = to.regionX() + x, toY = to.regionY() + y;
                    uint32_t result = 0;
                    if (form == Form::SAMPLES) {
                        const auto value = static_cast<int>(numberOf(sample, to.depth));
                        model.seen.samples.push_back(value);
                        const int64_t low = lowOf(to.depth), high = highOf(to.depth);
                        result = patternOf(std::min(std::max<int64_t>(mixed(value), low), high), to.depth);
                    } else if (form == Form::FLOATS) {
                        const float value = to.depth == MOX_DEPTH_32F ? floatOf(sample)
                                                                      : static_cast<float>(numberOf(sample, to.depth));
                        model.seen.samples.push_back(bitsOf(value));
                        result = floatStored(mixed(value), to.depth);
                    } else {
                        const uint32_t old = dst.get(toC, toX, toY);
                        uint8_t from4[4], to4[4];
                        memcpy(from4, &sample, 4);
                        memcpy(to4, &old, 4);
                        for (int i = 0; i < bytes; ++i) {
                            pixel.push_back(from4[i]);
                            before.push_back(to4[i]);
                        }
                        // In pixel order and in place the two are one.
                        for (int i = 0; i < bytes; ++i)
                            to4[i] = mixedByte(from4[i], to4[i]);
                        memset(to4 + bytes, 0, static_cast<size_t>(4 - bytes));
                        memcpy(&result, to4, 4);
                    }
                    dst.setIn(model.expected, toC, toX, toY, result);
                }
                if (form == Form::PIXELS) {
                    model.seen.pixels.push_back(pixel);
                    model.seen.before.push_back(before);
                }
            }
        }
    }
    return model;
}

bool hasArea(ImagePair &pair) {
    for (TestImage *image : {&pair.src(), &pair.dst(), pair.src().mask(), pair.dst().mask()}) {
        if (image && (image->layout().regionWidth() < 1 || image->layout().regionHeight() < 1)) return false;
    }
    return true;
}

TEST(UserEdges, samplesAreSeenAndStoredOverRandomLayouts) {
    forEachCase(900, [](Random &random) {
        unsigned depth;
        do {
            depth = allDepths[random.below(7)];
        } while (depth == MOX_DEPTH_1U);
        const Form form = static_cast<Form>(depth == MOX_DEPTH_32F ? random.between(1, 2) : random.below(3));
        UserPair pair(random, depth);
        SCOPED_TRACE(std::string(names[static_cast<int>(form)]) + "\n" + pair.describe());
        if (!hasArea(pair)) return;
        const Model model = modelOf(pair, form);
        pair.keep();
        seen = {};
        seen.src = pair.src().header();
        seen.dst = pair.dst().header();
        const int channels = std::min(pair.src().layout().channelCount(), pair.dst().layout().channelCount());
        seen.pixelBytes = channels * pair.dst().layout().bits() / 8;
        ReportRecorder reports;
        TileLog log;
        moxSetErrStatus(-3);  // an old one
        run(form, pair.src().header(), pair.dst().header());
        EXPECT_TRUE(reports.none()) << reports.text();
        EXPECT_EQ(moxGetErrStatus(), -3);
        EXPECT_TRUE(log.paired());
        EXPECT_TRUE(pair.dst().holds(model.expected));
        EXPECT_TRUE(pair.restIsUntouched());
        EXPECT_EQ(seen.samples.size(), model.seen.samples.size());
        EXPECT_EQ(seen.pixels.size(), model.seen.pixels.size());
        if (pair.src().layout().tiled() || pair.dst().layout().tiled()) return;
        EXPECT_TRUE(seen.samples == model.seen.samples);
        EXPECT_TRUE(seen.pixels == model.seen.pixels);
        EXPECT_TRUE(seen.before == model.seen.before);
    });
}

// ------------------------------------------------------------------------------------------------------------- stores

int nextInt;
int MOX_CALL giveInt(int) {
    return nextInt;
}
float nextFloat;
float MOX_CALL giveFloat(float) {
    return nextFloat;
}

TEST(UserEdges, resultsSaturate) {
    for (const unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
        TestImage image(TestLayout::of(depth, 1, 1), 1);
        for (const int64_t value : {int64_t{300}, int64_t{-1}, int64_t{-129}, int64_t{128}, int64_t{70000},
                                    int64_t{-70000}, int64_t{INT_MAX}, int64_t{INT_MIN}, lowOf(depth), highOf(depth)}) {
            nextInt = static_cast<int>(value);
            moxUserProcess(image.header(), image.header(), giveInt);
            EXPECT_EQ(image.get(0, 0, 0), patternOf(std::min(std::max(value, lowOf(depth)), highOf(depth)), depth));
        }
    }
}

TEST(UserEdges, floatsAreCutTowardZeroAndSaturate) {
    const float none = floatOf(0x7FC00001);
    for (const unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_1U) continue;
        TestImage image(TestLayout::of(depth, 1, 1), 1);
        for (const float value :
             {0.999f, -0.999f, 1.5f, -1.5f, 254.99f, 255.5f, 1e9f, -1e9f, 2147483520.0f, 2147483648.0f, -2147483648.0f,
              1e20f, -1e20f, HUGE_VALF, -HUGE_VALF, none, -none, 1e-40f}) {
            nextFloat = value;
            moxUserProcessFP(image.header(), image.header(), giveFloat);
            EXPECT_EQ(image.get(0, 0, 0), floatStored(value, depth)) << depthName(depth) << " " << value;
        }
    }
    TestImage image(TestLayout::of(MOX_DEPTH_32S, 1, 1), 1);
    nextFloat = 1e20f;
    moxUserProcessFP(image.header(), image.header(), giveFloat);
    EXPECT_EQ(image.get(0, 0, 0), 0x7FFFFFFFu);
}

float MOX_CALL same(float sample) {
    return sample;
}

TEST(UserEdges, longIntegersLoseLowBitsInFloats) {
    TestImage image(TestLayout::of(MOX_DEPTH_32S, 2, 1), 1);
    image.set(0, 0, 0, 0x01000001);
    image.set(0, 1, 0, 0x7FFFFFFF);
    moxUserProcessFP(image.header(), image.header(), same);
    EXPECT_EQ(image.get(0, 0, 0), 0x01000000u);
    EXPECT_EQ(image.get(0, 1, 0), 0x7FFFFFFFu);
}

int calls;
int MOX_CALL countSamples(int sample) {
    ++calls;
    return sample;
}

TEST(UserEdges, amaskOfZerosCallsNothing) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 20, 10, 3), 1), mask(TestLayout::ofMask(20, 10), 2);
    mask.setAll(0);
    image.setMask(&mask);
    calls = 0;
    moxUserProcess(image.header(), image.header(), countSamples);
    EXPECT_EQ(calls, 0);
}

// ----------------------------------------------------------------------------------------------------------- channels

struct Channels {
    int nChannels, alpha, coi;
};

TEST(UserEdges, channelsOfInterestMeetTheirLike) {
    struct Case {
        Channels src, dst;
        MoxStatus status;
        const char *message;
    };
    const char *const SRC = "srcImage->roi->coi > 0 && dstImage->roi->coi == 0";
    const char *const DST = "dstImage->roi->coi > 0 && srcImage->roi->coi == 0";
    const char *const COUNT = "srcImage->nChannels != dstImage->nChannels";
    const Case cases[] = {
        {{3, 0, 2}, {3, 0, 0}, -24, SRC},
        {{3, 0, 0}, {3, 0, 2}, -24, DST},
        {{3, 0, 2}, {1, 0, 0}, 0, nullptr},
        {{1, 0, 0}, {3, 0, 3}, 0, nullptr},
        {{4, 0, 2}, {3, 0, 3}, 0, nullptr},
        {{4, 4, 4}, {3, 3, 3}, 0, nullptr},
        {{1, 0, 1}, {3, 0, 0}, -24, SRC},
        {{3, 0, 0}, {1, 0, 1}, -24, DST},
        {{1, 0, 1}, {1, 0, 0}, 0, nullptr},
        {{3, 0, 0}, {4, 0, 0}, -15, COUNT},
        {{4, 4, 0}, {3, 0, 0}, -15, COUNT},
        {{4, 4, 0}, {4, 0, 0}, 0, nullptr},
        {{1, 1, 0}, {1, 1, 0}, -15, "nChannels == 0"},
        {{3, 0, 2}, {1, 1, 0}, -15, "nChannels == 0"},
        {{1, 1, 0}, {3, 0, 1}, -15, "nChannels == 0"},
        {{1, 1, 0}, {1, 0, 0}, -15, "nChannels == 0"},
    };
    for (const Case &each : cases) {
        const auto layoutOf = [](const Channels &channels) {
            TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, channels.nChannels);
            layout.alpha = channels.alpha;
            if (channels.coi != 0) layout.setRoi(channels.coi, 0, 0, 20, 10);
            return layout;
        };
        TestImage src(layoutOf(each.src), 1), dst(layoutOf(each.dst), 2);
        const TestBytes before = dst.bytes();
        ReportRecorder reports;
        calls = 0;
        moxUserProcess(src.header(), dst.header(), countSamples);
        SCOPED_TRACE(testing::Message() << (&each - cases));
        if (each.message) {
            EXPECT_TRUE(reports.are({{each.status, "moxUserProcess", each.message}})) << reports.text();
            EXPECT_TRUE(dst.holds(before));
            EXPECT_EQ(calls, 0);
        } else {
            EXPECT_TRUE(reports.none()) << reports.text();
            EXPECT_EQ(calls, 200 * std::min(src.layout().channelCount(), dst.layout().channelCount()));
        }
    }
}

// ----------------------------------------------------------------------------------------------------------- failures

// Faults are added one by one, from the last that is tested to the first, and each takes the report over.
TEST(UserEdges, failuresInTheirOrder) {
    for (const Form form : {Form::SAMPLES, Form::FLOATS, Form::PIXELS}) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_1U, 20, 10);
        layout.setRoi(0, 0, 10, 5, 5);
        TestImage src(layout, 1), dst(layout, 2);
        MoxImage *from = src.header(), *to = dst.header();
        bool none = false;
        ReportRecorder reports;
        const TestBytes before = dst.bytes();
        const auto expect = [&](MoxStatus status, const char *message) {
            reports.clear();
            if (form == Form::SAMPLES) moxUserProcess(from, to, none ? nullptr : noteSample);
            if (form == Form::FLOATS) moxUserProcessFP(from, to, none ? nullptr : noteFloat);
            if (form == Form::PIXELS) moxUserProcessPixel(from, to, none ? nullptr : notePixel);
            EXPECT_TRUE(reports.are({{status, names[static_cast<int>(form)], message}})) << reports.text();
            EXPECT_EQ(moxGetErrStatus(), status);
            EXPECT_TRUE(dst.holds(before));
        };
        src.header()->depth = dst.header()->depth = MOX_DEPTH_8U;
        dst.header()->widthStep = src.header()->widthStep = 10;  // longer rows than there is room for come last
        expect(-25, "height <= 0");
        src.roi()->xOffset = 20;
        expect(-25, "width <= 0");
        src.header()->depth = dst.header()->depth = MOX_DEPTH_32F;
        if (form == Form::SAMPLES) expect(-17, "depth == MOX_DEPTH_32F");
        src.header()->depth = dst.header()->depth = MOX_DEPTH_1U;
        expect(-17, "depth == MOX_DEPTH_1U");
        src.header()->alphaChannel = 1;
        expect(-15, "nChannels == 0");
        dst.header()->depth = MOX_DEPTH_8U;
        expect(-17, "srcImage->depth != dstImage->depth");
        none = true;
        expect(-5, "cbFunc == NULL");
        dst.header()->dataOrder = MOX_DATA_ORDER_PLANE;
        expect(-19, "srcImage->dataOrder != dstImage->dataOrder");
        dst.header()->origin = MOX_ORIGIN_BL;
        expect(-20, "srcImage->origin != dstImage->origin");
        dst.header()->align = 5;
        expect(-21, "Incorrect Image");
        src.header()->nChannels = 0;
        expect(-15, "Incorrect Image");
        from = nullptr;
        expect(-9, "Incorrect Image");
        from = src.header();
        src.header()->nChannels = 1;
        to = nullptr;
        expect(-9, "Incorrect Image");
    }
}

TEST(UserEdges, whatNoMemoryHasIsRefusedLast) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
    dst.header()->widthStep = 10;
    ReportRecorder reports;
    calls = 0;
    moxUserProcess(src.header(), dst.header(), countSamples);
    EXPECT_TRUE(reports.are({{-13, "moxUserProcess", "Incorrect Image"}}));
    EXPECT_EQ(calls, 0);
}

TEST(UserEdges, masksThatCannotBeMade) {
    for (const bool both : {false, true}) {
        for (int failAt = 1; failAt <= 2; ++failAt) {
            TestImage src(TestLayout::of(MOX_DEPTH_8U, 20, 10), 1), dst(TestLayout::of(MOX_DEPTH_8U, 20, 10), 2);
            TestImage first(TestLayout::ofMask(20, 10), 3), second(TestLayout::ofMask(20, 10), 4);
            dst.setMask(&first);
            if (both) src.setMask(&second);
            ReportRecorder reports;
            calls = 0;
            AllocationWindow window(failAt);
            moxUserProcess(src.header(), dst.header(), countSamples);
            window.close();
            EXPECT_EQ(window.live(), 0);
            EXPECT_EQ(calls, 0);
            if (failAt == 1) {
                EXPECT_TRUE(reports.are({{-1, "moxUserProcess", "while mask creating"}}));
            } else {
                EXPECT_TRUE(reports.are({{-4, "moxAllocateImage", "for allocate image data"},
                                         {-1, "moxUserProcess", "while mask creating"}}));
            }
        }
    }
}

// Masks of any layout combine by their bits, whatever sizes, orders and origins they have.
TEST(UserEdges, masksAgreeByTheirBitsAlone) {
    TestLayout imageLayout = TestLayout::of(MOX_DEPTH_8U, 30, 4), a = TestLayout::ofMask(50, 4),
               b = TestLayout::ofMask(70, 4);
    a.align = b.align = 4;
    a.origin = MOX_ORIGIN_BL;
    b.order = MOX_DATA_ORDER_PLANE;
    TestImage src(imageLayout, 1), dst(imageLayout, 2), first(a, 3), second(b, 4);
    first.header()->alphaChannel = 1;
    src.setMask(&first);
    dst.setMask(&second);
    TestBytes expected = dst.bytes();
    for (int i = 0; i < 30 * 4; ++i) {
        if (first.get(0, i % 30, i / 30) != 0 && second.get(0, i % 30, i / 30) != 0)
            dst.setIn(expected, 0, i % 30, i / 30, src.get(0, i % 30, i / 30));
    }
    ReportRecorder reports;
    moxUserProcess(src.header(), dst.header(), countSamples);
    EXPECT_TRUE(reports.none()) << reports.text();
    EXPECT_TRUE(dst.holds(expected));
}

TEST(UserEdges, aStatusEndsThePixelsBehindIt) {
    for (const int order : {MOX_DATA_ORDER_PIXEL, MOX_DATA_ORDER_PLANE}) {
        for (const bool tiled : {false, true}) {
            for (const MoxStatus status : {-77, -1, 5}) {
                for (const MoxStatus old : {0, -9}) {
                    TestLayout layout = TestLayout::of(MOX_DEPTH_16U, 20, 16, 3, order);
                    TestImage src(layout, 1);
                    if (tiled) layout.tileWidth = layout.tileHeight = 8;
                    TestImage dst(layout, 2);
                    TestBytes expected = dst.bytes();
                    for (int i = 0; i < 5; ++i) {
                        for (int c = 0; c < 3; ++c) {
                            const uint32_t a = src.get(c, i, 0), b = dst.get(c, i, 0);
                            const auto low = mixedByte(static_cast<uint8_t>(a), static_cast<uint8_t>(b));
                            const auto high = mixedByte(static_cast<uint8_t>(a >> 8), static_cast<uint8_t>(b >> 8));
                            dst.setIn(expected, c, i, 0, low | static_cast<uint32_t>(high) << 8);
                        }
                    }
                    seen = {};
                    seen.src = src.header();
                    seen.dst = dst.header();
                    seen.pixelBytes = 6;
                    seen.failAt = 5;
                    seen.status = status;
                    ReportRecorder reports;
                    TileLog log;
                    AllocationWindow window;
                    moxSetErrStatus(old);
                    moxUserProcessPixel(src.header(), dst.header(), notePixel);
                    window.close();
                    EXPECT_EQ(seen.pixels.size(), 5u);
                    EXPECT_TRUE(reports.are({{-1, "moxUserProcessPixel", "in cbFunc call"}})) << reports.text();
                    EXPECT_EQ(moxGetErrStatus(), status);
                    EXPECT_TRUE(log.paired());
                    EXPECT_TRUE(dst.holds(expected));
                }
            }
        }
    }
}

TEST(UserEdges, noMemoryForPlanes) {
    for (int failAt = 1; failAt <= 2; ++failAt) {
        TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 20, 10, 3, MOX_DATA_ORDER_PLANE);
        TestImage src(layout, 1), dst(layout, 2);
        const TestBytes before = dst.bytes();
        seen = {};
        ReportRecorder reports;
        AllocationWindow window(failAt);
        moxUserProcessPixel(src.header(), dst.header(), notePixel);
        window.close();
        EXPECT_EQ(window.live(), 0);
        EXPECT_TRUE(reports.are({{-4, "moxUserProcessPixel", "No memory for temporal array"}}));
        EXPECT_EQ(moxGetErrStatus(), -4);
        EXPECT_TRUE(dst.holds(before));
    }
}

}  // namespace
