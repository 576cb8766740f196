// What an operation tests by name comes before the refusal of headers that cannot be those of images in memory, in
// every frame; and either comes before a byte is touched.
#if defined(_WIN32)
#include <windows.h>
#endif

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "mox.h"
#include "support/reports.h"
#include "support/tilelog.h"

namespace {

constexpr int WIDTH = 64, HEIGHT = 4;

// An image whose rows are as long as it says, or half of that.
struct Rows {
    explicit Rows(unsigned depth, bool halfRows = false) {
        const int bits = static_cast<int>(depth & ~MOX_DEPTH_SIGN);
        image.headerSize = sizeof(MoxImage);
        image.nChannels = 1;
        image.depth = depth;
        image.channelSeq[0] = 'G';
        image.align = 4;
        image.width = WIDTH;
        image.height = HEIGHT;
        image.widthStep = WIDTH * bits / 8 / (halfRows ? 2 : 1);
        image.imageSize = image.widthStep * HEIGHT;
        storage.assign(static_cast<size_t>(image.imageSize), 0x5A);
        image.imageData = reinterpret_cast<char *>(storage.data());
    }
    bool untouched() const { return storage == std::vector<uint8_t>(storage.size(), 0x5A); }

    std::vector<uint8_t> storage;
    MoxImage image = {};
    MoxROI roi = {0, 0, 0, WIDTH, HEIGHT};
};

int kernelValue = 1;
MoxConvKernel kernel = {1, 1, 0, 0, &kernelValue, 0};
float kernelValueFP = 1;
MoxConvKernelFP kernelFP = {1, 1, 0, 0, &kernelValueFP};
MoxConvKernel *kernels[] = {&kernel};
MoxConvKernelFP *kernelsFP[] = {&kernelFP};

struct Bitmap {
    BITMAPINFOHEADER header = {};
    uint8_t rest[1024 + WIDTH * HEIGHT * 4];
};

struct Call {
    MoxImage *src, *dst;
    Bitmap *bitmap;
    bool spoiled;  // the call has the fault that is tested by name
};

struct Order {
    const char *operation;
    const char *reporter;  // another function, where the call becomes one
    unsigned depth;
    void (*call)(const Call &);
    ReportExpected named;  // without a function
    bool usesSource, usesRegions;
};

const Order orders[] = {
    {"moxCopy",
     "moxCopy",
     MOX_DEPTH_8U,
     [](const Call &c) {
         if (c.spoiled) c.src->depth = MOX_DEPTH_8S;
         moxCopy(c.src, c.dst);
     },
     {-5, nullptr, "srcImage->depth != dstImage->depth"},
     true,
     true},
    {"moxCopy of channels",
     "moxCopy",
     MOX_DEPTH_8U,
     [](const Call &c) {
         if (c.spoiled) c.src->nChannels = 2;
         moxCopy(c.src, c.dst);
     },
     {-5, nullptr, "Number of processed channels of srcImage != Number of processed channels of dstImage"},
     true,
     true},
    {"moxExchange",
     "moxExchange",
     MOX_DEPTH_16S,
     [](const Call &c) {
         if (c.spoiled) c.src->origin = 1;
         moxExchange(c.src, c.dst);
     },
     {-5, nullptr, "srcImage->origin != dstImage->origin"},
     true,
     true},
    {"moxSet",
     "moxSet",
     MOX_DEPTH_8U,
     [](const Call &c) {
         if (c.spoiled) c.dst->depth = MOX_DEPTH_32F;
         moxSet(c.dst, 3);
     },
     {-17, nullptr, "You should use moxSetFP for this image"},
     false,
     true},
    {"moxGetPixel",
     "moxGetPixel",
     MOX_DEPTH_8U,
     [](const Call &c) {
         char pixel;
         moxGetPixel(c.dst, c.spoiled ? WIDTH : 0, 0, &pixel);
     },
     {-5, nullptr, "((x>img->width-1) || (x<0))"},
     false,
     false},
    {"moxPutPixel",
     "moxPutPixel",
     MOX_DEPTH_8U,
     [](const Call &c) {
         const char pixel = 0;
         moxPutPixel(c.dst, 0, 0, c.spoiled ? nullptr : &pixel);
     },
     {-5, nullptr, "pixel==0"},
     false,
     false},
    {"moxAdd",
     "moxAdd",
     MOX_DEPTH_8U,
     [](const Call &c) {
         if (c.spoiled) c.dst->depth = MOX_DEPTH_8S;
         moxAdd(c.src, c.src, c.dst);
     },
     {-5, nullptr, "(srcImageA->depth != dstImage->depth)"},
     true,
     true},
    {"moxAnd",
     "moxAnd",
     MOX_DEPTH_32S,
     [](const Call &c) {
         if (c.spoiled) c.src->depth = c.dst->depth = MOX_DEPTH_32F;
         moxAnd(c.src, c.src, c.dst);
     },
     {-5, nullptr, "This function does not support depth 32F"},
     true,
     true},
    {"moxAndS",
     "moxAndS",
     MOX_DEPTH_32S,
     [](const Call &c) {
         if (c.spoiled) c.src->depth = c.dst->depth = MOX_DEPTH_32F;
         moxAndS(c.src, c.dst, 1);
     },
     {-5, nullptr, "This function does not support depth 32F"},
     true,
     true},
    {"moxAbs",
     "moxAbs",
     MOX_DEPTH_8S,
     [](const Call &c) {
         if (c.spoiled) c.src->nChannels = 2;
         moxAbs(c.src, c.dst);
     },
     {-5, nullptr, "(srcImage->nChannels != dstImage->nChannels)"},
     true,
     true},
    {"moxBlur",
     "moxBlur",
     MOX_DEPTH_8U,
     [](const Call &c) {
         if (c.spoiled) c.src->nChannels = 2;
         moxBlur(c.src, c.dst, 3, 3, 1, 1);
     },
     {-15, nullptr, "bad channel's number"},
     true,
     true},
    {"moxConvolve2D",
     "moxConvolve2D",
     MOX_DEPTH_32S,
     [](const Call &c) {
         if (c.spoiled) c.src->depth = c.dst->depth = MOX_DEPTH_32F;
         moxConvolve2D(c.src, c.dst, kernels, 1, 0);
     },
     {-5, nullptr, "32F images can be processed only with FP kernel"},
     true,
     true},
    {"moxConvolve2D of channels",
     "moxConvolve2D",
     MOX_DEPTH_8U,
     [](const Call &c) {
         if (c.spoiled) c.src->nChannels = 2;
         moxConvolve2D(c.src, c.dst, kernels, 1, 0);
     },
     {-5, nullptr, "Uncompatible images"},
     true,
     true},
    {"moxConvolve2DFP",
     "moxConvolve2DFP",
     MOX_DEPTH_32F,
     [](const Call &c) {
         kernelFP.anchorX = c.spoiled ? 7 : 0;
         moxConvolve2DFP(c.src, c.dst, kernelsFP, 1, 0);
     },
     {-5, nullptr, "Bad kernel structure"},
     true,
     true},
    {"moxReduceBits",
     "moxReduceBits",
     MOX_DEPTH_8U,
     [](const Call &c) { moxReduceBits(c.src, c.dst, 0, MOX_DITHER_NONE, c.spoiled ? 1000 : 4); },
     {-5, nullptr, "You incorrectly have set an amount of levels"},
     true,
     true},
    {"moxConvertToDIB",
     "moxConvertToDIB",
     MOX_DEPTH_8U,
     [](const Call &c) { moxConvertToDIB(c.dst, &c.bitmap->header, c.spoiled ? 3 : MOX_DITHER_NONE, 0); },
     {-5, nullptr, "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)"},
     false,
     false},
};

class NamedTests : public testing::TestWithParam<Order> {
  protected:
    ReportRecorder recorder;

    void run(MoxImage *src, MoxImage *dst, bool spoiled) {
        recorder.clear();
        Bitmap bitmap;
        bitmap.header.biSize = sizeof(BITMAPINFOHEADER);
        bitmap.header.biWidth = WIDTH;
        bitmap.header.biHeight = HEIGHT;
        bitmap.header.biPlanes = 1;
        bitmap.header.biBitCount = 24;
        GetParam().call({src, dst, &bitmap, spoiled});
    }
    void expectOnly(MoxStatus status, const char *message) {
        EXPECT_TRUE(recorder.are({{status, GetParam().reporter, message}}));
        EXPECT_EQ(moxGetErrStatus(), status);
    }
};

std::string nameOf(const testing::TestParamInfo<Order> &info) {
    std::string name = info.param.operation;
    for (char &c : name)
        c = c == ' ' ? '_' : c;
    return name;
}
INSTANTIATE_TEST_SUITE_P(Frames, NamedTests, testing::ValuesIn(orders), nameOf);

// Half rows in the source, in the destination, in both.
TEST_P(NamedTests, ComeBeforeRowsLongerThanTheStride) {
    for (int half = 1; half <= 3; ++half) {
        if (!GetParam().usesSource && (half & 2) == 0) continue;
        for (const bool spoiled : {true, false}) {
            Rows src(GetParam().depth, half & 1), dst(GetParam().depth, half & 2);
            run(&src.image, &dst.image, spoiled);
            if (spoiled) {
                expectOnly(GetParam().named.status, GetParam().named.message);
            } else {
                expectOnly(-13, "Incorrect Image");
            }
            EXPECT_TRUE(src.untouched() && dst.untouched());
        }
    }
}

TEST_P(NamedTests, ComeBeforeSizesBeyondAnInt) {
    for (const bool spoiled : {true, false}) {
        Rows src(GetParam().depth), dst(GetParam().depth);
        dst.image.widthStep = 1 << 30;
        run(&src.image, &dst.image, spoiled);
        if (spoiled) {
            expectOnly(GetParam().named.status, GetParam().named.message);
        } else {
            expectOnly(-10, "Incorrect Image");
        }
        EXPECT_TRUE(src.untouched() && dst.untouched());
    }
}

TEST_P(NamedTests, ComeBeforeAMasksRows) {
    if (!GetParam().usesRegions) return;
    for (const bool two : {false, true}) {
        if (two && !GetParam().usesSource) continue;
        for (const bool spoiled : {true, false}) {
            Rows src(GetParam().depth), dst(GetParam().depth), mask(MOX_DEPTH_1U, true), other(MOX_DEPTH_1U);
            dst.image.maskROI = &mask.image;
            if (two) src.image.maskROI = &other.image;
            run(&src.image, &dst.image, spoiled);
            if (spoiled) {
                expectOnly(GetParam().named.status, GetParam().named.message);
            } else {
                expectOnly(-113, "Incorrect Image");
            }
            EXPECT_TRUE(src.untouched() && dst.untouched());
        }
    }
}

// The tiles of an image with such a partner are not asked for.
TEST_P(NamedTests, ComeBeforeAPartnersTiles) {
    if (!GetParam().usesSource) return;
    TestLayout layout = TestLayout::of(GetParam().depth, WIDTH, HEIGHT);
    layout.align = 4;
    layout.tileWidth = layout.tileHeight = 8;
    for (const bool dstIsTiled : {false, true}) {
        Rows rows(GetParam().depth, true);
        TestImage tiled(layout);
        TileLog log;
        MoxImage *src = dstIsTiled ? &rows.image : tiled.header(), *dst = dstIsTiled ? tiled.header() : &rows.image;
        run(src, dst, false);
        expectOnly(-13, "Incorrect Image");
        EXPECT_TRUE(log.is({}));
        EXPECT_TRUE(rows.untouched());
    }
}

// Where nothing would be touched there is nothing to refuse.
TEST_P(NamedTests, LeaveAnEmptyRegionAlone) {
    if (!GetParam().usesRegions) return;
    Rows src(GetParam().depth, true), dst(GetParam().depth, true), mask(MOX_DEPTH_1U, true);
    dst.roi.yOffset = HEIGHT;
    for (const bool inMask : {false, true}) {
        (inMask ? mask.image.roi : dst.image.roi) = &dst.roi;
        if (inMask) dst.image.maskROI = &mask.image;
        run(&src.image, &dst.image, false);
        // A convolution tests by name whether a region begins within its image.
        const bool tests = std::string(GetParam().reporter).starts_with("moxConvolve") && !inMask;
        if (tests) {
            expectOnly(-11, "Bad ROI offsets");
        } else {
            EXPECT_TRUE(recorder.none());
        }
        dst.image.roi = nullptr;
        EXPECT_TRUE(src.untouched() && dst.untouched());
    }
}

TEST(Clone, OfAnImageThatCannotBeInMemoryIsRefused) {
    ReportRecorder recorder;
    Rows rows(MOX_DEPTH_8U, true);
    EXPECT_EQ(moxCloneImage(&rows.image), nullptr);
    EXPECT_TRUE(recorder.are({{-13, "moxCloneImage", "Incorrect Image"}}));
}

}  // namespace
