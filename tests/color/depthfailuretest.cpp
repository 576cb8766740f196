// The checks of the functions that change depths, and of the threshold: each message, its place in the order and the
// sides of its bounds.
#include <climits>
#include <limits>

#include "color/depthpair.h"
#include "color/refusedcall.h"

namespace {

const char ORDERS[] =
    "((srcImage->dataOrder != dstImage->dataOrder)&& ((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))";
const char ORIGINS[] = "(srcImage->origin != dstImage->origin)";
const char CHANNELS[] = "(srcChannels != dstChannels)";
const char SRC_BITS[] = "(srcImage->depth == 1)", SRC_FLOAT[] = "(srcImage->depth == 32)";
const char DST_BITS[] = "(dstImage->depth == 1)", DST_FLOAT[] = "(dstImage->depth == 32)";

// What all of them do, with arguments that are in order.
struct Function {
    const char *name;
    unsigned srcDepth, dstDepth;
    RefusedCall::Call call;
};
const Function functions[] = {
    {"moxConvert", MOX_DEPTH_8U, MOX_DEPTH_16S, moxConvert},
    {"moxBitonalToGray", MOX_DEPTH_1U, MOX_DEPTH_8U, [](MoxImage *s, MoxImage *d) { moxBitonalToGray(s, d, 3, 200); }},
    {"moxScale", MOX_DEPTH_8U, MOX_DEPTH_16U, moxScale},
    {"moxScaleFP", MOX_DEPTH_8U, MOX_DEPTH_32F, [](MoxImage *s, MoxImage *d) { moxScaleFP(s, d, 0, 1); }},
    {"moxThreshold", MOX_DEPTH_8U, MOX_DEPTH_1U, [](MoxImage *s, MoxImage *d) { moxThreshold(s, d, 100); }},
};

TEST(DepthFailure, headersAreTestedFirst) {
    for (const Function &function : functions) {
        SCOPED_TRACE(function.name);
        RefusedCall images({.depth = function.srcDepth}, {.depth = function.dstDepth});
        images.expect(function.call, function.name, nullptr);
        const char wrong[] = "Incorrect Image";
        ReportRecorder reports;
        function.call(nullptr, images.dst());
        function.call(images.src(), nullptr);
        EXPECT_TRUE(reports.are({{-9, function.name, wrong}, {-9, function.name, wrong}}));
        reports.clear();
        images.dst()->align = 5;
        images.dst()->depth = MOX_DEPTH_32F;
        function.call(images.src(), images.dst());
        EXPECT_TRUE(reports.are({{-21, function.name, wrong}}));
        EXPECT_EQ(moxGetErrStatus(), -21);
        reports.clear();
        images.src()->widthStep = 0;
        function.call(images.src(), images.dst());
        EXPECT_TRUE(reports.are({{-13, function.name, wrong}}));
    }
}

// A mask's fault is the image's.
TEST(DepthFailure, masksAreTestedWithTheirImages) {
    for (const Function &function : functions) {
        SCOPED_TRACE(function.name);
        RefusedCall images({.depth = function.srcDepth, .maskOrigin = 0}, {.depth = function.dstDepth});
        images.src()->maskROI->depth = MOX_DEPTH_8U;
        images.expect(function.call, function.name, "Incorrect Image", -117);
    }
}

TEST(DepthFailure, aLeftoverStatusDoesNotMatter) {
    for (const Function &function : functions) {
        SCOPED_TRACE(function.name);
        RefusedCall images({.depth = function.srcDepth}, {.depth = function.dstDepth});
        const TestBytes before = images.destination().bytes();
        ReportRecorder reports;
        moxSetErrStatus(-7);
        function.call(images.src(), images.dst());
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(moxGetErrStatus(), -7);
        EXPECT_NE(images.destination().bytes(), before);
    }
}

// Headers that pass the check but cannot be in memory are refused before anything is touched.
TEST(DepthFailure, headersThatNoMemoryHolds) {
    for (const Function &function : functions) {
        SCOPED_TRACE(function.name);
        RefusedCall images({.depth = function.srcDepth}, {.depth = function.dstDepth});
        images.src()->width = images.dst()->width = 1 << 30;
        images.source().keepHeader();
        images.destination().keepHeader();
        images.expect(function.call, function.name, "Incorrect Image", MOX_StatusHeaderWidthStep);
        images.src()->width = images.dst()->width = 12;
        images.src()->height = images.dst()->height = INT_MAX;
        images.source().keepHeader();
        images.destination().keepHeader();
        images.expect(function.call, function.name, "Incorrect Image", MOX_StatusHeaderSize);
    }
}

// --- moxConvert

void convert(const Side &src, const Side &dst, const char *message) {
    RefusedCall(src, dst).expect(moxConvert, "moxConvert", message);
}

// Each check with everything failing that is tested after it and can.
TEST(ConvertFailure, theOrderOfTheChecks) {
    const Side higher = {.depth = MOX_DEPTH_8U, .channels = 3, .width = 13, .height = 10};
    Side dst = higher;
    dst.depth = MOX_DEPTH_32F;
    convert({.depth = MOX_DEPTH_32F}, dst, SRC_FLOAT);
    convert({.depth = MOX_DEPTH_1U}, dst, DST_FLOAT);
    convert({.depth = MOX_DEPTH_1U}, higher, "(srcImage->height != dstImage->height)");
    dst = higher;
    dst.height = 9;
    convert({.depth = MOX_DEPTH_1U}, dst, "(srcImage->width != dstImage->width)");
    dst.width = 12;
    convert({.depth = MOX_DEPTH_1U}, dst, "srcImage->nChannels != dstImage->nChannels");
    dst.channels = 1;
    convert({.depth = MOX_DEPTH_1U}, dst, "((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))");
    convert({.depth = MOX_DEPTH_1U}, {.depth = MOX_DEPTH_1U}, nullptr);
    for (unsigned depth : integerDepths) {
        dst.depth = depth;
        convert({.depth = MOX_DEPTH_1U}, dst, "((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))");
    }
}

TEST(ConvertFailure, ofSeveralChannelsOneBecomesBits) {
    const char noRegion[] = "(srcImage->roi == 0)", noChannel[] = "(srcImage->roi->coi == 0)";
    const Side bits = {.depth = MOX_DEPTH_1U};
    for (unsigned depth : integerDepths) {
        for (int channels : {2, 3, 4}) {
            convert({.depth = depth, .channels = channels}, bits, noRegion);
            convert({.depth = depth, .channels = channels, .coi = 0}, bits, noChannel);
            for (int coi = 1; coi <= channels; ++coi)
                convert({.depth = depth, .channels = channels, .coi = coi}, bits, nullptr);
        }
        convert({.depth = depth}, bits, nullptr);
        convert({.depth = depth, .coi = 0}, bits, nullptr);
        // Sizes are tested before.
        convert({.depth = depth, .channels = 3}, {.depth = MOX_DEPTH_1U, .height = 8},
                "(srcImage->height != dstImage->height)");
        convert({.depth = depth, .channels = 3}, {.depth = MOX_DEPTH_1U, .width = 11},
                "(srcImage->width != dstImage->width)");
    }
}

TEST(ConvertFailure, channelsAgree) {
    const char channels[] = "srcImage->nChannels != dstImage->nChannels";
    for (int src = 1; src <= 4; ++src) {
        for (int dst = 1; dst <= 4; ++dst) {
            for (int order : {0, 1}) {
                convert({.channels = src}, {.depth = MOX_DEPTH_16S, .channels = dst, .order = order},
                        src == dst ? nullptr : channels);
            }
            // Neither alpha nor a channel of interest makes them equal.
            convert({.channels = src, .alpha = src, .coi = 1}, {.channels = dst, .coi = 1},
                    src == dst ? nullptr : channels);
        }
    }
}

TEST(ConvertFailure, everyIntegerDepthGoesToEvery) {
    for (unsigned src : integerDepths) {
        for (unsigned dst : integerDepths)
            convert({.depth = src}, {.depth = dst, .origin = 1}, nullptr);
        convert({.depth = src}, {.depth = MOX_DEPTH_32F}, DST_FLOAT);
        convert({.depth = MOX_DEPTH_32F}, {.depth = src}, SRC_FLOAT);
    }
    convert({.depth = MOX_DEPTH_1U}, {.depth = MOX_DEPTH_32F}, DST_FLOAT);
    convert({.depth = MOX_DEPTH_32F}, {.depth = MOX_DEPTH_1U}, SRC_FLOAT);
    convert({.depth = MOX_DEPTH_32F}, {.depth = MOX_DEPTH_32F}, SRC_FLOAT);
}

// The same pointer twice is no call at all, whatever stands behind it.
TEST(ConvertFailure, theSameImageTwiceIsNothing) {
    RefusedCall images({.depth = MOX_DEPTH_32F}, {.depth = MOX_DEPTH_8U, .maskOrigin = 0});
    const TestBytes source = images.source().bytes(), destination = images.destination().bytes();
    ReportRecorder reports;
    moxConvert(images.src(), images.src());
    moxConvert(images.dst(), images.dst());
    moxConvert(nullptr, nullptr);
    images.dst()->align = 5;
    moxConvert(images.dst(), images.dst());
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), 0);
    EXPECT_TRUE(images.source().holds(source));
    EXPECT_TRUE(images.destination().holds(destination));
}

// --- moxBitonalToGray

void paint(const Side &src, const Side &dst, int zero, int one, const char *message, MoxStatus status = -5) {
    SCOPED_TRACE(std::to_string(zero) + " and " + std::to_string(one));
    RefusedCall(src, dst).expect([=](MoxImage *s, MoxImage *d) { moxBitonalToGray(s, d, zero, one); },
                                 "moxBitonalToGray", message, status);
}
void paint(unsigned depth, int zero, int one, const char *message) {
    paint({.depth = MOX_DEPTH_1U}, {.depth = depth}, zero, one, message);
}

TEST(BitonalFailure, theOrderOfTheChecks) {
    paint({.depth = MOX_DEPTH_8U, .channels = 3}, {.depth = MOX_DEPTH_1U, .width = 13, .height = 10}, 300, 300,
          "(srcImage->depth != 1)");
    paint({.depth = MOX_DEPTH_1U}, {.depth = MOX_DEPTH_1U, .width = 13, .height = 10}, 300, 300, DST_BITS);
    paint({.depth = MOX_DEPTH_1U}, {.depth = MOX_DEPTH_32F, .width = 13, .height = 10}, 300, 300, DST_FLOAT);
    paint({.depth = MOX_DEPTH_1U}, {.width = 13, .height = 10}, 300, 300, "(srcImage->width != dstImage->width)");
    paint({.depth = MOX_DEPTH_1U}, {.height = 10}, 300, 300, "(srcImage->height != dstImage->height)");
    paint({.depth = MOX_DEPTH_1U}, {}, 300, 300, "((dstImage->depth == 8) && (OneScale > 255))");
    paint({.depth = MOX_DEPTH_1U}, {}, 3, 200, nullptr);
}

TEST(BitonalFailure, theSourceIsOfBits) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F})
        paint({.depth = depth}, {.depth = MOX_DEPTH_8U}, 0, 1, "(srcImage->depth != 1)");
    // The header's own test comes before any on the number of its channels.
    RefusedCall images({.depth = MOX_DEPTH_1U}, {});
    images.src()->nChannels = 3;
    images.source().keepHeader();
    images.expect([](MoxImage *s, MoxImage *d) { moxBitonalToGray(s, d, 0, 1); }, "moxBitonalToGray", "Incorrect Image",
                  -16);
}

// Of signed depths the value for clear bits is tested first, of unsigned ones that for set bits.
TEST(BitonalFailure, valuesFitSignedBytes) {
    const char zeroHigh[] = "((dstImage->depth == (0x80000000| 8)) && (ZeroScale > 127))",
               zeroLow[] = "((dstImage->depth == (0x80000000| 8)) && (ZeroScale < -128))",
               oneHigh[] = "((dstImage->depth == (0x80000000| 8)) && (OneScale > 127))",
               oneLow[] = "((dstImage->depth == (0x80000000| 8)) && (OneScale < -128))";
    for (int one : {0, 127, -128, 128, -129, INT_MAX, INT_MIN}) {
        paint(MOX_DEPTH_8S, 128, one, zeroHigh);
        paint(MOX_DEPTH_8S, INT_MAX, one, zeroHigh);
        paint(MOX_DEPTH_8S, -129, one, zeroLow);
        paint(MOX_DEPTH_8S, INT_MIN, one, zeroLow);
        for (int zero : {127, -128})
            paint(MOX_DEPTH_8S, zero, one, one > 127 ? oneHigh : one < -128 ? oneLow : nullptr);
    }
}

TEST(BitonalFailure, valuesFitSignedWords) {
    const char zeroHigh[] = "((dstImage->depth == (0x80000000|16)) && (ZeroScale > 32767))",
               zeroLow[] = "((dstImage->depth == (0x80000000|16)) && (ZeroScale < -32768))",
               oneHigh[] = "((dstImage->depth == (0x80000000|16)) && (OneScale > 32767))",
               oneLow[] = "((dstImage->depth == (0x80000000|16)) && (OneScale < -32768))";
    for (int one : {0, 32767, -32768, 32768, -32769, INT_MAX, INT_MIN}) {
        paint(MOX_DEPTH_16S, 32768, one, zeroHigh);
        paint(MOX_DEPTH_16S, INT_MAX, one, zeroHigh);
        paint(MOX_DEPTH_16S, -32769, one, zeroLow);
        paint(MOX_DEPTH_16S, INT_MIN, one, zeroLow);
        for (int zero : {32767, -32768})
            paint(MOX_DEPTH_16S, zero, one, one > 32767 ? oneHigh : one < -32768 ? oneLow : nullptr);
    }
}

TEST(BitonalFailure, valuesFitWords) {
    const char oneLow[] = "((dstImage->depth == 16) && (OneScale < 0))",
               oneHigh[] = "((dstImage->depth == 16) && (OneScale > 65535))",
               zeroLow[] = "((dstImage->depth == 16) && (ZeroScale < 0))",
               zeroHigh[] = "((dstImage->depth == 16) && (ZeroScale > 65535))";
    for (int zero : {0, 65535, -1, 65536, INT_MAX, INT_MIN}) {
        paint(MOX_DEPTH_16U, zero, -1, oneLow);
        paint(MOX_DEPTH_16U, zero, INT_MIN, oneLow);
        paint(MOX_DEPTH_16U, zero, 65536, oneHigh);
        paint(MOX_DEPTH_16U, zero, INT_MAX, oneHigh);
        for (int one : {0, 65535})
            paint(MOX_DEPTH_16U, zero, one, zero < 0 ? zeroLow : zero > 65535 ? zeroHigh : nullptr);
    }
}

TEST(BitonalFailure, valuesFitBytes) {
    const char oneLow[] = "((dstImage->depth == 8) && (OneScale < 0))",
               oneHigh[] = "((dstImage->depth == 8) && (OneScale > 255))",
               zeroLow[] = "((dstImage->depth == 8) && (ZeroScale < 0))",
               zeroHigh[] = "((dstImage->depth == 8) && (ZeroScale > 255))";
    for (int zero : {0, 255, -1, 256, 300, INT_MAX, INT_MIN}) {
        paint(MOX_DEPTH_8U, zero, -1, oneLow);
        paint(MOX_DEPTH_8U, zero, INT_MIN, oneLow);
        paint(MOX_DEPTH_8U, zero, 256, oneHigh);
        paint(MOX_DEPTH_8U, zero, INT_MAX, oneHigh);
        for (int one : {0, 255})
            paint(MOX_DEPTH_8U, zero, one, zero < 0 ? zeroLow : zero > 255 ? zeroHigh : nullptr);
    }
}

TEST(BitonalFailure, everyIntFitsTheWidestDepth) {
    for (int zero : {0, INT_MAX, INT_MIN}) {
        for (int one : {0, INT_MAX, INT_MIN})
            paint(MOX_DEPTH_32S, zero, one, nullptr);
    }
}

// --- moxScale

void scale(const Side &src, const Side &dst, const char *message) {
    RefusedCall(src, dst).expect(moxScale, "moxScale", message);
}

TEST(ScaleFailure, theOrderOfTheChecks) {
    const char equal[] = "(srcImage->depth == dstImage->depth)";
    const auto side = [](unsigned depth) {
        return Side{.depth = depth, .channels = depth == MOX_DEPTH_1U ? 1 : 4, .order = 1, .origin = 1};
    };
    for (unsigned depth :
         {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F})
        scale({.depth = depth, .channels = depth == MOX_DEPTH_1U ? 1 : 3}, side(depth), equal);
    scale({.depth = MOX_DEPTH_1U}, side(MOX_DEPTH_32F), SRC_BITS);
    scale({.depth = MOX_DEPTH_1U}, side(MOX_DEPTH_8U), SRC_BITS);
    scale({.depth = MOX_DEPTH_32F, .channels = 3}, side(MOX_DEPTH_1U), SRC_FLOAT);
    scale({.depth = MOX_DEPTH_32F, .channels = 3}, side(MOX_DEPTH_8U), SRC_FLOAT);
    scale({.channels = 3}, side(MOX_DEPTH_1U), DST_BITS);
    scale({.channels = 3}, side(MOX_DEPTH_32F), DST_FLOAT);
    scale({.channels = 3}, side(MOX_DEPTH_16U), ORDERS);
    Side dst = side(MOX_DEPTH_16U);
    dst.order = 0;
    scale({.channels = 3}, dst, ORIGINS);
    dst.origin = 0;
    scale({.channels = 3}, dst, CHANNELS);
    dst.channels = 3;
    scale({.channels = 3}, dst, nullptr);
}

TEST(ScaleFailure, ordersMayDifferWhereOneImageHasOneChannel) {
    for (int src : {1, 2, 3}) {
        for (int dst : {1, 2, 3}) {
            scale({.channels = src, .coi = 1}, {.depth = MOX_DEPTH_16U, .channels = dst, .order = 1, .coi = 1},
                  src != 1 && dst != 1 ? ORDERS : nullptr);
        }
    }
}

// The processed channels are counted: one of interest, or all but alpha.
TEST(ScaleFailure, processedChannelsAgree) {
    const unsigned wide = MOX_DEPTH_16U;
    scale({.channels = 3}, {.depth = wide, .channels = 4, .alpha = 4}, nullptr);
    scale({.channels = 4, .alpha = 4}, {.depth = wide, .channels = 3}, nullptr);
    scale({.channels = 4, .alpha = 4}, {.depth = wide, .channels = 4}, CHANNELS);
    scale({.channels = 3, .coi = 2}, {.depth = wide}, nullptr);
    scale({.channels = 3, .coi = 0}, {.depth = wide}, CHANNELS);
    scale({.channels = 3}, {.depth = wide, .channels = 3, .coi = 1}, CHANNELS);
    scale({.channels = 2, .alpha = 2}, {.depth = wide}, nullptr);
}

// A lone channel that is alpha needs to be named.
TEST(ScaleFailure, aLoneAlphaIsNothing) {
    for (unsigned wide : {MOX_DEPTH_16U, MOX_DEPTH_32F}) {
        const auto call = [&](MoxImage *s, MoxImage *d) {
            if (wide == MOX_DEPTH_32F) {
                moxScaleFP(s, d, 0, 1);
            } else {
                moxScale(s, d);
            }
        };
        for (const auto &[src, dst] : {std::pair<Side, Side>{{.alpha = 1}, {.depth = wide, .alpha = 1}},
                                       {{.alpha = 1}, {.depth = wide}},
                                       {{}, {.depth = wide, .alpha = 1}},
                                       {{.alpha = 1, .coi = 0}, {.depth = wide}}}) {
            RefusedCall images(src, dst);
            const TestBytes before = images.destination().bytes();
            ReportRecorder reports;
            call(images.src(), images.dst());
            EXPECT_TRUE(reports.none());
            EXPECT_EQ(moxGetErrStatus(), 0);
            EXPECT_TRUE(images.destination().holds(before));
        }
        RefusedCall named({.alpha = 1, .coi = 1}, {.depth = wide, .alpha = 1, .coi = 1});
        const TestBytes before = named.destination().bytes();
        ReportRecorder reports;
        call(named.src(), named.dst());
        EXPECT_TRUE(reports.none());
        EXPECT_NE(named.destination().bytes(), before);
    }
}

// --- moxScaleFP

void scaleFP(const Side &src, const Side &dst, float least, float most, const char *message) {
    RefusedCall(src, dst).expect([=](MoxImage *s, MoxImage *d) { moxScaleFP(s, d, least, most); }, "moxScaleFP",
                                 message);
}

TEST(ScaleFPFailure, theOrderOfTheChecks) {
    const char neither[] = "((srcImage->depth != 32)&& (dstImage->depth != 32))",
               both[] = "((srcImage->depth == 32)&& (dstImage->depth == 32))",
               bits[] = "((srcImage->depth == 1)|| (dstImage->depth == 1))", interval[] = "((maxVal - minVal) <= 0.0f)";
    const unsigned real = MOX_DEPTH_32F;
    scaleFP({.depth = MOX_DEPTH_1U}, {.depth = MOX_DEPTH_8U, .channels = 4, .order = 1, .origin = 1}, 1, 0, neither);
    scaleFP({.channels = 3}, {.channels = 4, .order = 1, .origin = 1}, 1, 0, neither);
    scaleFP({.depth = real, .channels = 3}, {.depth = real, .channels = 4, .order = 1, .origin = 1}, 1, 0, both);
    scaleFP({.depth = MOX_DEPTH_1U}, {.depth = real, .channels = 4, .order = 1, .origin = 1}, 1, 0, bits);
    scaleFP({.depth = real, .channels = 4, .order = 1, .origin = 1}, {.depth = MOX_DEPTH_1U}, 1, 0, bits);
    scaleFP({.channels = 3}, {.depth = real, .channels = 4, .order = 1, .origin = 1}, 1, 0, ORDERS);
    scaleFP({.channels = 3}, {.depth = real, .channels = 4, .origin = 1}, 1, 0, ORIGINS);
    scaleFP({.channels = 3}, {.depth = real, .channels = 4}, 1, 0, interval);
    scaleFP({.channels = 3}, {.depth = real, .channels = 4}, 0, 1, CHANNELS);
    scaleFP({.channels = 3}, {.depth = real, .channels = 3}, 0, 1, nullptr);
}

TEST(ScaleFPFailure, theIntervalIsNotEmpty) {
    const float huge = std::numeric_limits<float>::max(), tiny = std::numeric_limits<float>::denorm_min();
    const char interval[] = "((maxVal - minVal) <= 0.0f)";
    for (bool back : {false, true}) {
        Side one, two;
        (back ? one : two).depth = MOX_DEPTH_32F;
        scaleFP(one, two, 0, 0, interval);
        scaleFP(one, two, 5, 5, interval);
        scaleFP(one, two, -0.0f, 0.0f, interval);
        scaleFP(one, two, 1, -1, interval);
        scaleFP(one, two, huge, -huge, interval);
        scaleFP(one, two, tiny, 0, interval);
        scaleFP(one, two, 0, tiny, nullptr);
        scaleFP(one, two, -huge, huge, nullptr);
    }
}

TEST(ScaleFPFailure, everyIntegerDepthBothWays) {
    for (unsigned depth : integerDepths) {
        scaleFP({.depth = depth}, {.depth = MOX_DEPTH_32F}, -1, 1, nullptr);
        scaleFP({.depth = MOX_DEPTH_32F}, {.depth = depth}, -1, 1, nullptr);
    }
}

// Where an image is tiled, the regions have one size.
TEST(ScaleFPFailure, regionsAgreeWhereAnImageIsTiled) {
    for (int tiled = 0; tiled <= 3; ++tiled) {
        for (int difference = 0; difference <= 2; ++difference) {
            TestLayout srcLayout = TestLayout::of(MOX_DEPTH_8U, 30, 20),
                       dstLayout = TestLayout::of(MOX_DEPTH_32F, 31, 22);
            srcLayout.setRoi(0, 2, 1, 20, 10);
            dstLayout.setRoi(0, 3, 4, 20 - (difference == 1), 10 + (difference == 2));
            if (tiled & 1) srcLayout.tileWidth = srcLayout.tileHeight = 8;
            if (tiled & 2) dstLayout.tileWidth = dstLayout.tileHeight = 16;
            TestImage src(srcLayout, 1), dst(dstLayout, 2);
            const TestBytes before = dst.bytes();
            ReportRecorder reports;
            moxScaleFP(src.header(), dst.header(), 0, 1);
            if (tiled && difference) {
                EXPECT_TRUE(reports.are({{-5, "moxScaleFP", "(buf[3] != buf[4])"}})) << tiled << difference;
                EXPECT_TRUE(dst.holds(before));
            } else {
                EXPECT_TRUE(reports.none()) << tiled << difference;
            }
        }
    }
}

// --- moxThreshold

void threshold(const Side &src, const Side &dst, int value, const char *message, MoxStatus status = -5) {
    SCOPED_TRACE(value);
    RefusedCall(src, dst).expect([=](MoxImage *s, MoxImage *d) { moxThreshold(s, d, value); }, "moxThreshold", message,
                                 status);
}

TEST(ThresholdFailure, theOrderOfTheChecks) {
    const char srcMask[] = "(srcImage->origin != srcImage->maskROI->origin)",
               dstMask[] = "(dstImage->origin != dstImage->maskROI->origin)",
               range[] = "((srcImage->depth == 8) && (Threshold > 255))";
    Side src = {.depth = MOX_DEPTH_32F, .channels = 3, .maskOrigin = 1};
    Side dst = {.depth = MOX_DEPTH_32F, .channels = 4, .order = 1, .origin = 1, .maskOrigin = 0};
    threshold(src, dst, 300, SRC_FLOAT);
    src.depth = MOX_DEPTH_8U;
    threshold(src, dst, 300, DST_FLOAT);
    threshold({.depth = MOX_DEPTH_1U, .maskOrigin = 1}, dst, 300, DST_FLOAT);
    dst.depth = MOX_DEPTH_16U;
    threshold({.depth = MOX_DEPTH_1U, .maskOrigin = 1}, dst, 300, SRC_BITS);
    threshold(src, dst, 300, ORDERS);
    dst.order = 0;
    threshold(src, dst, 300, srcMask);
    src.maskOrigin = 0;
    threshold(src, dst, 300, dstMask);
    dst.maskOrigin = 1;
    threshold(src, dst, 300, range);
    threshold(src, dst, 200, ORIGINS);
    dst.origin = 0;
    dst.maskOrigin = -1;
    threshold(src, dst, 200, CHANNELS);
    dst.channels = 3;
    threshold(src, dst, 200, nullptr);
}

TEST(ThresholdFailure, theValueFitsTheSource) {
    struct {
        unsigned depth;
        int low, high;
        const char *below, *above;
    } const ranges[] = {{MOX_DEPTH_8S, -128, 127, "((srcImage->depth == (0x80000000| 8)) && (Threshold < -128))",
                         "((srcImage->depth == (0x80000000| 8)) && (Threshold > 127))"},
                        {MOX_DEPTH_8U, 0, 255, "((srcImage->depth == 8) && (Threshold < 0))",
                         "((srcImage->depth == 8) && (Threshold > 255))"},
                        {MOX_DEPTH_16S, -32768, 32767, "((srcImage->depth == (0x80000000|16)) && (Threshold < -32768))",
                         "((srcImage->depth == (0x80000000|16)) && (Threshold > 32767))"},
                        {MOX_DEPTH_16U, 0, 65535, "((srcImage->depth == 16) && (Threshold < 0))",
                         "((srcImage->depth == 16) && (Threshold > 65535))"}};
    for (const auto &range : ranges) {
        for (unsigned dst : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16S, MOX_DEPTH_32S}) {
            const Side from = {.depth = range.depth}, to = {.depth = dst, .origin = 1};
            threshold(from, to, range.low - 1, range.below);
            threshold(from, to, INT_MIN, range.below);
            threshold(from, to, range.high + 1, range.above);
            threshold(from, to, INT_MAX, range.above);
            // Origins are tested behind the range.
            threshold(from, to, range.low, ORIGINS);
            threshold(from, {.depth = dst}, range.low, nullptr);
            threshold(from, {.depth = dst}, range.high, nullptr);
        }
    }
    for (int value : {INT_MIN, -1, 0, INT_MAX})
        threshold({.depth = MOX_DEPTH_32S}, {.depth = MOX_DEPTH_1U}, value, nullptr);
}

TEST(ThresholdFailure, everyIntegerDepthGoesToEvery) {
    for (unsigned src : integerDepths) {
        for (unsigned dst : integerDepths)
            threshold({.depth = src, .maskOrigin = 0}, {.depth = dst, .maskOrigin = 0}, 100, nullptr);
        threshold({.depth = src}, {.depth = MOX_DEPTH_1U}, 100, nullptr);
    }
}

TEST(ThresholdFailure, masksFollowTheirImagesOrigin) {
    for (int origin : {0, 1}) {
        threshold({.origin = origin, .maskOrigin = origin}, {.origin = origin, .maskOrigin = origin}, 9, nullptr);
        threshold({.origin = origin, .maskOrigin = 1 - origin}, {.origin = origin}, 9,
                  "(srcImage->origin != srcImage->maskROI->origin)");
        threshold({.origin = origin}, {.origin = origin, .maskOrigin = 1 - origin}, 9,
                  "(dstImage->origin != dstImage->maskROI->origin)");
    }
}

TEST(ThresholdFailure, processedChannelsAgree) {
    const unsigned wide = MOX_DEPTH_16U, bits = MOX_DEPTH_1U;
    threshold({.channels = 3}, {.depth = wide, .channels = 4, .alpha = 4}, 9, nullptr);
    threshold({.channels = 3}, {.depth = wide, .channels = 4}, 9, CHANNELS);
    threshold({.channels = 3}, {.depth = bits}, 9, CHANNELS);
    threshold({.channels = 3, .coi = 0}, {.depth = bits}, 9, CHANNELS);
    threshold({.channels = 3, .coi = 3}, {.depth = bits}, 9, nullptr);
    threshold({.channels = 3, .order = 1, .coi = 3}, {.depth = bits}, 9, nullptr);
    threshold({.channels = 3}, {.channels = 3, .coi = 1}, 9, CHANNELS);
}

// The masks of both images are combined as moxAnd does it, which refuses two orders.
TEST(ThresholdFailure, masksThatCannotBeCombined) {
    TestImage src(TestLayout::of(MOX_DEPTH_8U, 12, 9), 1), dst(TestLayout::of(MOX_DEPTH_8U, 12, 9), 2);
    TestLayout planar = TestLayout::ofMask(12, 9);
    planar.order = MOX_DATA_ORDER_PLANE;
    TestImage first(TestLayout::ofMask(12, 9), 3), second(planar, 4);
    src.setMask(&first);
    dst.setMask(&second);
    const TestBytes before = dst.bytes();
    ReportRecorder reports;
    moxThreshold(src.header(), dst.header(), 100);
    ASSERT_EQ(reports.seen.size(), 2u) << reports.text();
    EXPECT_EQ(reports.seen[0].function, "moxAnd");
    EXPECT_EQ(reports.seen[0].status, -5);
    EXPECT_EQ(reports.seen[1].function, "moxThreshold");
    EXPECT_EQ(reports.seen[1].message, "error_moxAnd");
    EXPECT_TRUE(dst.holds(before));
}

}  // namespace
