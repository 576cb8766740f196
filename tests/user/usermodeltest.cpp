// The callers' functions over random layouts, against the model.
#include <bit>

#include "filter/filtercheck.h"
#include "user/callback.h"
#include "user/userpair.h"

namespace {

// Numbers of every size, some of them beyond every depth; and for the same sample always the same.
uint32_t mixed(uint32_t value) {
    value = (value ^ 0x9E3779B9u) * 0x85EBCA6Bu;
    value = (value ^ value >> 13) * 0xC2B2AE35u;
    return value ^ value >> 16;
}

int sampleOf(int sample) {
    const uint32_t number = mixed(static_cast<uint32_t>(sample));
    return static_cast<int>(number) >> (number % 27);
}

float realOf(float sample) {
    const uint32_t number = mixed(std::bit_cast<uint32_t>(sample));
    switch (number % 16) {
        case 0:
            return std::bit_cast<float>(mixed(number));
        case 1:
            return std::bit_cast<float>(number & 0x80000000u ? 0xFF800000u : 0x7F800000u);
        case 2:
            return std::bit_cast<float>(0x7FC00000u | number >> 12);
        case 3:
            return number & 0x40000000u ? 2147483648.0f : -2147483648.0f;
        default:
            return static_cast<float>(static_cast<int>(number) >> (number / 16 % 27)) / 16.0f;
    }
}

void pixelOf(const std::vector<uint32_t> &source, std::vector<uint32_t> &destination) {
    for (size_t c = 0; c < source.size(); ++c)
        destination[c] = mixed(source[c] + 3 * source[(c + 1) % source.size()]) ^ (destination[c] >> 1);
}

// What a pixel's function makes is cut to the size of samples.
RefUserPixel cut(unsigned depth) {
    const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
    const uint32_t mask = bits == 32 ? 0xFFFFFFFFu : (1u << bits) - 1;
    return [mask](const std::vector<uint32_t> &source, std::vector<uint32_t> &destination) {
        pixelOf(source, destination);
        for (uint32_t &sample : destination)
            sample &= mask;
    };
}

enum class Form { SAMPLE, REAL, PIXEL };

RefResult modelOf(Form form, UserPair &pair, const Callbacks &callbacks) {
    switch (form) {
        case Form::SAMPLE:
            return refUserProcess(pair.src(), pair.dst(), callbacks.sample);
        case Form::REAL:
            return refUserProcessFP(pair.src(), pair.dst(), callbacks.real);
        default:
            return refUserProcessPixel(pair.src(), pair.dst(), callbacks.pixel);
    }
}

void run(Form form, UserPair &pair) {
    MoxImage *src = pair.src().header(), *dst = pair.dst().header();
    switch (form) {
        case Form::SAMPLE:
            return moxUserProcess(src, dst, Callbacks::onSample);
        case Form::REAL:
            return moxUserProcessFP(src, dst, Callbacks::onReal);
        default:
            return moxUserProcessPixel(src, dst, Callbacks::onPixel);
    }
}

const char *nameOf(Form form) {
    return form == Form::SAMPLE ? "moxUserProcess" : form == Form::REAL ? "moxUserProcessFP" : "moxUserProcessPixel";
}

struct Kind {
    Form form;
    unsigned depth;
};

std::vector<Kind> kinds() {
    std::vector<Kind> kinds;
    for (const Form form : {Form::SAMPLE, Form::REAL, Form::PIXEL}) {
        for (const unsigned depth : allDepths) {
            if (depth != MOX_DEPTH_1U && (form != Form::SAMPLE || depth != MOX_DEPTH_32F))
                kinds.push_back({form, depth});
        }
    }
    return kinds;
}

class UserProcess : public testing::TestWithParam<Kind> {
  protected:
    Form form() const { return GetParam().form; }
    UserPairOptions options() const {
        UserPairOptions options;
        options.depth = GetParam().depth;
        return options;
    }
    void prepare(Callbacks &callbacks, UserPair &pair) const {
        callbacks.sample = sampleOf;
        callbacks.real = realOf;
        callbacks.pixel = cut(GetParam().depth);
        callbacks.channels = pair.channelCount();
        callbacks.depth = GetParam().depth;
    }
};

INSTANTIATE_TEST_SUITE_P(Model, UserProcess, testing::ValuesIn(kinds()), [](const auto &each) {
    return std::string(nameOf(each.param.form)) + "_" + depthName(each.param.depth);
});

TEST_P(UserProcess, agreesWithTheModelOverRandomLayouts) {
    forEachCase(300, [&](Random &random) {
        UserPair pair(random, options());
        if (!pair.hasPixels()) return;
        SCOPED_TRACE(pair.describe());
        Callbacks callbacks;
        prepare(callbacks, pair);
        checkCall(pair, modelOf(form(), pair, callbacks), [&] { run(form(), pair); });
        if (form() == Form::PIXEL && callbacks.calls != 0) {
            EXPECT_EQ(callbacks.source, pair.src().header());
            EXPECT_EQ(callbacks.destination, pair.dst().header());
            EXPECT_TRUE(callbacks.sameImages);
        }
    });
}

TEST_P(UserProcess, agreesWithTheModelOnTiles) {
    forEachCase(150, [&](Random &random) {
        UserPairOptions tiled = options();
        tiled.tiled[0] = random.below(2);
        tiled.tiled[1] = tiled.tiled[0] ? random.below(2) : 1;
        tiled.maxWidth = 80;
        tiled.maxHeight = 40;
        UserPair pair(random, tiled);
        if (!pair.hasPixels()) return;
        SCOPED_TRACE(pair.describe());
        Callbacks callbacks;
        prepare(callbacks, pair);
        checkCall(pair, modelOf(form(), pair, callbacks), [&] { run(form(), pair); });
    });
}

// Every call gives another result, so that plain images have to be walked in the one right order.
TEST_P(UserProcess, callsComeInTheirOrder) {
    forEachCase(100, [&](Random &random) {
        UserPairOptions plain = options();
        plain.tiled[0] = plain.tiled[1] = 0;
        plain.maxWidth = 20;
        UserPair pair(random, plain);
        if (!pair.hasPixels()) return;
        SCOPED_TRACE(pair.describe());
        Callbacks callbacks;
        prepare(callbacks, pair);
        uint32_t number = 0;
        const auto next = [&number] { return mixed(++number) % 120; };
        callbacks.sample = [&](int) { return static_cast<int>(next()); };
        callbacks.real = [&](float) { return static_cast<float>(next()); };
        callbacks.pixel = [&](const std::vector<uint32_t> &, std::vector<uint32_t> &destination) {
            for (uint32_t &sample : destination)
                sample = next();
        };
        const RefResult wanted = modelOf(form(), pair, callbacks);
        const uint32_t last = number;
        checkCall(pair, wanted, [&] {
            number = 0;
            run(form(), pair);
            EXPECT_EQ(number, last);
        });
    });
}

// Whatever is missing has a report by name, and the pixels are as before or as they are to be.
TEST_P(UserProcess, refusedTilesAndMemoryAreReported) {
    forEachCase(15, [&](Random &random) {
        UserPairOptions small = options();
        small.maxWidth = 30;
        UserPair pair(random, small);
        if (!pair.hasPixels()) return;
        SCOPED_TRACE(pair.describe());
        Callbacks callbacks;
        prepare(callbacks, pair);
        const RefResult wanted = modelOf(form(), pair, callbacks);
        const char *name = nameOf(form());
        checkRefusedTiles(
            pair, wanted, [&] { run(form(), pair); },
            [&](const ReportRecorder &reports, int mode) {
                EXPECT_TRUE(reports.are(
                    {{-2, name, mode == MOX_TileWrite ? "Error get tile to write" : "Error get tile to read"}}));
            });
        checkRefusedMemory(
            pair, wanted, [&] { run(form(), pair); },
            [&](const ReportRecorder &reports, int) {
                ASSERT_FALSE(reports.seen.empty());
                const ReportSeen &last = reports.seen.back();
                EXPECT_EQ(last.function, name);
                EXPECT_TRUE((last.status == -1 && last.message == "while mask creating") ||
                            (last.status == -4 && last.message == "No memory for temporal array") ||
                            (last.status == -2 && last.message == "Error get tile to read"))
                    << reports.text();
            });
    });
}

}  // namespace
