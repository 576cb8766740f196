// Bitmaps on many threads: one bitmap becomes an image of each thread, and one image a bitmap of each thread. What a
// call gives alone, it gives beside others.
#include <memory>
#include <thread>

#include "dib/dibcheck.h"

namespace {

constexpr int THREADS = 6, ROUNDS = 20;

template <class Work>
void onThreads(const Work &work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i)
        threads.emplace_back([&work, i] {
            for (int round = 0; round < ROUNDS; ++round)
                work(i);
        });
    for (std::thread &thread : threads)
        thread.join();
}

TEST(BitmapThreads, shareABitmap) {
    for (int bits : {1, 4, 8, 16, 24, 32}) {
        TestBitmap bitmap({61, 23, bits}, 5);
        TestLayout layout = layoutFor(bitmap.shape(), 3);
        std::vector<std::unique_ptr<TestImage>> images;
        std::vector<RefResult> wanted;
        for (int i = 0; i < THREADS; ++i) {
            images.push_back(std::make_unique<TestImage>(layout, 3));
            nameChannels(*images.back(), "BGR");
            wanted.push_back(refFromBitmap(bitmap.picture(), *images.back()));
        }
        onThreads([&](int i) { bitmap.convertFrom(images[static_cast<size_t>(i)]->header()); });
        for (size_t i = 0; i < images.size(); ++i)
            EXPECT_TRUE(images[i]->holds(wanted[i].expected)) << bits << " bits";
        EXPECT_TRUE(bitmap.isUntouched());
    }
}

TEST(BitmapThreads, shareAnImage) {
    for (int bits : {1, 4, 8, 24}) {
        const BitmapShape shape = {61, 23, bits};
        TestImage image(layoutFor(shape, 3), 3);
        nameChannels(image, "BGR");
        TestBitmap alone(shape, 5);
        const auto convert = [&](TestBitmap &bitmap) {
            bitmap.convertTo(image.header(), bits < 24 ? MOX_DITHER_FS : MOX_DITHER_NONE,
                             bits < 24 ? MOX_PALCONV_MEDCUT : MOX_PALCONV_NONE);
        };
        convert(alone);
        std::vector<std::unique_ptr<TestBitmap>> bitmaps;
        for (int i = 0; i < THREADS; ++i)
            bitmaps.push_back(std::make_unique<TestBitmap>(shape, 5));
        onThreads([&](int i) { convert(*bitmaps[static_cast<size_t>(i)]); });
        for (const auto &bitmap : bitmaps)
            EXPECT_EQ(bitmap->front(), alone.front()) << bits << " bits";
        EXPECT_TRUE(image.headerIsUntouched());
    }
}

}  // namespace
