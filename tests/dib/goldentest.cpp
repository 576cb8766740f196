// Golden digests of bitmaps, which every CPU level and every platform must give.
#include <algorithm>

#include "dib/dibcheck.h"
#include "support/golden.h"
#include "support/reports.h"
#include "support/scene.h"

namespace {

// A picture of slopes, flat parts and some noise.
void drawScene(TestImage &image) {
    Random random(31);
    const int top = (1 << image.layout().bits()) - 1;
    for (int y = 0; y < image.layout().height; ++y) {
        for (int x = 0; x < image.layout().width; ++x) {
            for (int channel = 0; channel < image.layout().channels; ++channel) {
                int value = (x * (3 + channel) + y * (7 - channel)) * top / 500;
                if (x > 40 && y > 10) value = top * (channel + 1) / 4;
                if (random.oneIn(7)) value = static_cast<int>(random.bits() >> 1) % (top + 1);
                image.set(channel, x, y, static_cast<uint32_t>(std::min(value, top)));
            }
        }
    }
}

const int allBits[] = {1, 4, 8, 16, 24, 32};

TEST(BitmapGolden, to) {
    for (int bits : allBits) {
        for (int channels : {1, 3, 4}) {
            for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16U}) {
                for (int conversion : {MOX_PALCONV_NONE, MOX_PALCONV_POPULATE, MOX_PALCONV_MEDCUT}) {
                    if (bits > 8 && conversion != MOX_PALCONV_NONE) continue;
                    forEachCpuLevel([&] {
                        uint64_t digest = digestOf({});
                        for (int dither : {1, 2, 4, 8, 16}) {
                            const BitmapShape shape = {61, dither == 4 ? -23 : 23, bits};
                            TestLayout layout = layoutFor(shape, channels, depth);
                            layout.order = dither & 1;
                            layout.origin = dither >> 1 & 1;
                            TestImage image(layout, 3);
                            nameChannels(image, channels == 1 ? "G" : channels == 3 ? "RGB" : "BGRA");
                            drawScene(image);
                            TestBitmap bitmap(shape, 9, dither == 8);
                            ReportRecorder reports;
                            bitmap.convertTo(image.header(), dither, conversion);
                            EXPECT_TRUE(reports.none());
                            ASSERT_TRUE(bitmap.holds(refToBitmap(image, bitmap.picture(), dither)))
                                << "no digest is taken of a wrong result";
                            for (uint32_t colour : bitmap.palette()) {
                                digest = digestOf({static_cast<uint8_t>(colour), static_cast<uint8_t>(colour >> 8),
                                                   static_cast<uint8_t>(colour >> 16)},
                                                  digest);
                            }
                            digest = digestOf(bitmap.pixelsSeen(), digest);
                        }
                        static const char *const palettes[] = {"own", "fixed", "medcut"};
                        EXPECT_TRUE(digestIsGolden("dib/moxConvertToDIB/" + std::to_string(bits) + "/" +
                                                       depthName(depth) + "/" + std::to_string(channels) + "/" +
                                                       palettes[conversion],
                                                   digest));
                    });
                    if (HasFailure()) return;
                }
            }
        }
    }
}

TEST(BitmapGolden, from) {
    for (int bits : allBits) {
        for (int channels : {1, 3, 4}) {
            for (unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U}) {
                if (depth == MOX_DEPTH_1U && channels > 1) continue;
                forEachCpuLevel([&] {
                    uint64_t digest = digestOf({});
                    for (int height : {23, -23}) {
                        const BitmapShape shape = {61, height, bits};
                        TestBitmap bitmap(shape, 9);
                        bitmap.drawPixels(10);
                        TestLayout layout = layoutFor(shape, channels, depth);
                        layout.origin = MOX_ORIGIN_BL;
                        layout.order = height < 0;
                        TestImage image(layout, 3);
                        nameChannels(image, channels == 1 ? "G" : channels == 3 ? "RGB" : "BGRA");
                        const RefResult wanted = refFromBitmap(bitmap.picture(), image);
                        ReportRecorder reports;
                        bitmap.convertFrom(image.header());
                        EXPECT_TRUE(reports.none());
                        ASSERT_TRUE(image.holds(wanted.expected)) << "no digest is taken of a wrong result";
                        TestBytes samples;
                        for (int i = 0; i < 61 * 23 * channels; ++i) {
                            const uint32_t sample = image.get(i % channels, i / channels % 61, i / channels / 61);
                            samples.push_back(static_cast<uint8_t>(sample));
                            samples.push_back(static_cast<uint8_t>(sample >> 8));
                        }
                        digest = digestOf(samples, digest);
                    }
                    EXPECT_TRUE(digestIsGolden("dib/moxConvertFromDIB/" + std::to_string(bits) + "/" +
                                                   depthName(depth) + "/" + std::to_string(channels),
                                               digest));
                });
                if (HasFailure()) return;
            }
        }
    }
}

// Encoded streams, byte for byte.
TEST(BitmapGolden, runLengths) {
    for (int bits : {8, 4}) {
        forEachCpuLevel([&] {
            uint64_t digest = digestOf({});
            for (int stay : {4, 8, 20, 90}) {
                const BitmapShape shape = {301, 20, bits, bits == 8 ? 1u : 2u};
                TestImage image(layoutFor(shape), 3);
                Random random(static_cast<uint64_t>(stay));
                uint32_t value = 0;
                for (int i = 0; i < 301 * 20; ++i) {
                    if (random.oneIn(stay)) value = random.bits() & 255;
                    image.set(0, i % 301, i / 301, value);
                }
                TestBitmap bitmap(shape, 9);
                bitmap.setGrayRamp();
                ReportRecorder reports;
                bitmap.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_NONE);
                EXPECT_TRUE(reports.none());
                const uint32_t size = bitmap.header()->biSizeImage;
                digest = digestOf({bitmap.pixels(), bitmap.pixels() + size}, digest);
            }
            EXPECT_TRUE(digestIsGolden("dib/rle/" + std::to_string(bits), digest));
        });
    }
}

}  // namespace
