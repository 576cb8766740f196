// Colour models, thresholds and changes of depth on many threads that share a source.
#include <cstring>
#include <thread>

#include "reference/color.h"
#include "reference/depth.h"

namespace {

struct SharedCall {
    unsigned srcDepth, dstDepth;
    void (*run)(MoxImage *src, MoxImage *dst);
    RefResult (*model)(TestImage &src, TestImage &dst);
};

const SharedCall calls[] = {
    {MOX_DEPTH_8U, MOX_DEPTH_8U, [](MoxImage *s, MoxImage *d) { moxRGB2HSV(s, d); },
     [](TestImage &s, TestImage &d) { return refConvertColors(refModel("moxRGB2HSV"), s, d); }},
    {MOX_DEPTH_8U, MOX_DEPTH_8U, [](MoxImage *s, MoxImage *d) { moxThreshold(s, d, 100); },
     [](TestImage &s, TestImage &d) { return refThreshold(s, d, 100); }},
    {MOX_DEPTH_8U, MOX_DEPTH_32F, [](MoxImage *s, MoxImage *d) { moxScaleFP(s, d, 0, 1); },
     [](TestImage &s, TestImage &d) { return refScaleFP(s, d, 0, 1); }},
    {MOX_DEPTH_16U, MOX_DEPTH_8U, [](MoxImage *s, MoxImage *d) { moxScale(s, d); },
     [](TestImage &s, TestImage &d) { return refScale(s, d); }},
};

TEST(ColorThreads, shareASource) {
    constexpr int THREADS = 6, ROUNDS = 20;
    for (const SharedCall &call : calls) {
        TestImage src(TestLayout::of(call.srcDepth, 61, 23, 3), 1), mask(TestLayout::ofMask(61, 23), 2);
        memcpy(src.header()->colorModel, "RGB", 4);
        memcpy(src.header()->channelSeq, "RGB", 4);
        src.setMask(&mask);
        std::vector<std::unique_ptr<TestImage>> images;
        std::vector<RefResult> wanted;
        for (int i = 0; i < THREADS; ++i) {
            images.push_back(std::make_unique<TestImage>(TestLayout::of(call.dstDepth, 61, 23, 3), 2));
            wanted.push_back(call.model(src, *images.back()));
        }
        std::vector<std::thread> threads;
        for (int i = 0; i < THREADS; ++i) {
            threads.emplace_back([&src, &call, dst = images[static_cast<size_t>(i)]->header()] {
                for (int round = 0; round < ROUNDS; ++round)
                    call.run(src.header(), dst);
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        for (size_t i = 0; i < images.size(); ++i)
            EXPECT_TRUE(images[i]->holds(wanted[i].expected));
    }
}

}  // namespace
