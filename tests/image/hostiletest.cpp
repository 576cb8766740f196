// Headers that promise the library less memory than their other fields speak of. What an application guarantees is
// widthStep x height bytes: nothing beyond them may change, whatever else the header says.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "mox.h"
#include "support/reports.h"

namespace {

// An image of one channel between wide guards.
struct Narrow {
    static constexpr size_t GUARD = 8192;
    std::vector<uint8_t> storage;
    MoxImage image = {};

    Narrow(int width, int height, int widthStep, int imageSize)
        : storage(2 * GUARD + static_cast<size_t>(widthStep) * static_cast<size_t>(height), 0xA5) {
        memset(storage.data() + GUARD, 0x11, storage.size() - 2 * GUARD);
        image.headerSize = sizeof(MoxImage);
        image.nChannels = 1;
        image.depth = MOX_DEPTH_8U;
        image.align = 8;
        image.width = width;
        image.height = height;
        image.widthStep = widthStep;
        image.imageSize = imageSize;
        image.imageData = reinterpret_cast<char *>(storage.data() + GUARD);
    }
    // Whether the guards are as they were; they stand again afterwards.
    bool guardsStand() {
        bool stood = true;
        for (size_t i = 0; i < GUARD; i++) {
            stood &= storage[i] == 0xA5 && storage[storage.size() - 1 - i] == 0xA5;
            storage[i] = storage[storage.size() - 1 - i] = 0xA5;
        }
        return stood;
    }
};

void runAll(MoxImage *source, MoxImage *destination, Narrow &narrow) {
    struct {
        const char *name;
        void (*run)(MoxImage *, MoxImage *);
    } const operations[] = {
        {"moxSet", [](MoxImage *, MoxImage *d) { moxSet(d, 3); }},
        {"moxCopy", [](MoxImage *s, MoxImage *d) { moxCopy(s, d); }},
        {"moxExchange", [](MoxImage *s, MoxImage *d) { moxExchange(s, d); }},
        {"moxAdd", [](MoxImage *s, MoxImage *d) { moxAdd(s, s, d); }},
        {"moxAddS", [](MoxImage *s, MoxImage *d) { moxAddS(s, d, 1); }},
        {"moxNot", [](MoxImage *s, MoxImage *d) { moxNot(s, d); }},
        {"moxPutPixel",
         [](MoxImage *, MoxImage *d) {
             uint8_t pixel = 9;
             moxPutPixel(d, d->width - 1, d->height - 1, &pixel);
         }},
    };
    for (const auto &operation : operations) {
        moxSetErrStatus(0);
        operation.run(source, destination);
        EXPECT_TRUE(narrow.guardsStand()) << operation.name;
    }
}

TEST(HostileHeader, WithRowsLongerThanItsStride) {
    ReportRecorder recorder;
    Narrow narrow(100, 1, 8, 8), wide(100, 1, 104, 104);
    runAll(&wide.image, &narrow.image, narrow);
    Narrow many(1000, 3, 8, 24), source(1000, 3, 1000, 3000);
    runAll(&source.image, &many.image, many);
}

TEST(HostileHeader, WithAnImageSizeBeyondItsRows) {
    ReportRecorder recorder;
    Narrow narrow(8, 4, 8, 4096), wide(8, 4, 8, 4096);
    runAll(&wide.image, &narrow.image, narrow);
    EXPECT_TRUE(wide.guardsStand());
}

// Nor are they where one image has the bytes that another one's imageSize speaks of.
TEST(HostileHeader, WithAnImageSizeThatOnlyAnotherImageHas) {
    ReportRecorder recorder;
    Narrow narrow(64, 100, 64, 12800), wide(64, 100, 128, 12800);
    runAll(&wide.image, &narrow.image, narrow);
    runAll(&narrow.image, &wide.image, wide);
    // The source's bytes end with its rows: what stands behind them is no operand.
    moxSetErrStatus(0);
    memset(wide.storage.data() + Narrow::GUARD, 0, 12800);
    memset(narrow.storage.data() + Narrow::GUARD, 0x11, 6400);
    moxOrS(&narrow.image, &wide.image, 0);
    EXPECT_EQ(wide.storage[Narrow::GUARD], 0x11);
    for (size_t i = 0; i < 12800; ++i)
        ASSERT_NE(wide.storage[Narrow::GUARD + i], 0xA5) << i;
    EXPECT_TRUE(recorder.none());
}

}  // namespace
