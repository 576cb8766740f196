// moxCheckImageHeader: every fault, which of two faults counts, masks of masks, and headers from hostile hands.
#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <vector>

#include "frame/ownimage.h"
#include "support/reports.h"

namespace {

int MOX_CALL noTile(MoxImage *, int, int, int) {
    ADD_FAILURE() << "a tile was requested";
    return 0;
}

// A clean four-channel header with a region and a clean mask. Its pixels are never touched.
struct Subject {
    char pixels[8] = {};
    MoxROI roi = {0, 0, 0, 10, 10};
    MoxROI maskRegion = {0, 0, 0, 10, 10};
    MoxTileInfo tile = {noTile, nullptr, nullptr, 16, 8};
    MoxImage image = {}, mask = {};

    Subject() {
        image = {.headerSize = sizeof(MoxImage),
                 .headerId = 0,
                 .nChannels = 4,
                 .alphaChannel = 4,
                 .depth = MOX_DEPTH_8U,
                 .colorModel = {'R', 'G', 'B', 'A'},
                 .channelSeq = {'R', 'G', 'B', 'A'},
                 .dataOrder = 0,
                 .origin = 0,
                 .align = 8,
                 .width = 10,
                 .height = 10,
                 .roi = &roi,
                 .maskROI = &mask,
                 .imageId = nullptr,
                 .tileInfo = nullptr,
                 .imageSize = 400,
                 .imageData = pixels,
                 .widthStep = 40,
                 .borderMode = {},
                 .borderConst = {},
                 .imageDataBase = nullptr};
        mask = image;
        mask.nChannels = 1;
        mask.alphaChannel = 0;
        mask.depth = MOX_DEPTH_1U;
        mask.roi = &maskRegion;
        mask.maskROI = nullptr;
        mask.widthStep = 8;
        mask.imageSize = 80;
    }
    Subject(const Subject &) = delete;
    Subject &operator=(const Subject &) = delete;

    void makeTiled() {
        image.imageData = nullptr;
        image.tileInfo = &tile;
    }
};

struct Fault {
    const char *name;
    int step;
    MoxStatus status;
    void (*make)(Subject &);
};

// In the order of the tests. Faults of one step with the same number exclude each other.
const Fault faults[] = {
    {"neither data nor tiles", 2, -12, [](Subject &s) { s.image.imageData = nullptr, s.image.tileInfo = nullptr; }},
    {"data and tiles", 2, -12, [](Subject &s) { s.image.imageData = s.pixels, s.image.tileInfo = &s.tile; }},
    {"imageSize 0", 3, -10, [](Subject &s) { s.image.imageSize = 0; }},
    {"imageSize negative", 3, -10, [](Subject &s) { s.image.imageSize = INT_MIN; }},
    {"widthStep 0", 4, -13, [](Subject &s) { s.image.widthStep = 0; }},
    {"widthStep negative", 4, -13, [](Subject &s) { s.image.widthStep = -40; }},
    {"width 0", 5, -10, [](Subject &s) { s.image.width = 0; }},
    {"width negative", 5, -10, [](Subject &s) { s.image.width = INT_MIN; }},
    {"height 0", 5, -10, [](Subject &s) { s.image.height = 0; }},
    {"height negative", 5, -10, [](Subject &s) { s.image.height = -1; }},
    {"nChannels 0", 6, -15, [](Subject &s) { s.image.nChannels = 0; }},
    {"nChannels negative", 6, -15, [](Subject &s) { s.image.nChannels = INT_MIN; }},
    {"bit channels", 7, -16, [](Subject &s) { s.image.nChannels = 4, s.image.depth = MOX_DEPTH_1U; }},
    {"depth 0", 8, -17, [](Subject &s) { s.image.depth = 0; }},
    {"depth 2", 8, -17, [](Subject &s) { s.image.depth = 2; }},
    {"depth 64", 8, -17, [](Subject &s) { s.image.depth = 64; }},
    {"depth 1S", 8, -17, [](Subject &s) { s.image.depth = MOX_DEPTH_SIGN | 1u; }},
    {"depth 40000008", 8, -17, [](Subject &s) { s.image.depth = 0x40000008u; }},
    {"alpha before the last", 9, -18, [](Subject &s) { s.image.alphaChannel = 3; }},
    {"alpha beyond the last", 9, -18, [](Subject &s) { s.image.alphaChannel = 5; }},
    {"alpha negative", 9, -18, [](Subject &s) { s.image.alphaChannel = -1; }},
    {"order 2", 10, -19, [](Subject &s) { s.image.dataOrder = 2; }},
    {"order -1", 10, -19, [](Subject &s) { s.image.dataOrder = -1; }},
    {"origin 2", 11, -20, [](Subject &s) { s.image.origin = 2; }},
    {"origin -1", 11, -20, [](Subject &s) { s.image.origin = -1; }},
    {"align 0", 12, -21, [](Subject &s) { s.image.align = 0; }},
    {"align 1", 12, -21, [](Subject &s) { s.image.align = 1; }},
    {"align 2", 12, -21, [](Subject &s) { s.image.align = 2; }},
    {"align 12", 12, -21, [](Subject &s) { s.image.align = 12; }},
    {"align 64", 12, -21, [](Subject &s) { s.image.align = 64; }},
    {"align -8", 12, -21, [](Subject &s) { s.image.align = -8; }},
    {"mask depth 8", 13, -117, [](Subject &s) { s.mask.depth = MOX_DEPTH_8U; }},
    {"mask depth unknown", 13, -117, [](Subject &s) { s.mask.depth = 3; }},
    {"mask tiled", 14, -26, [](Subject &s) { s.mask.tileInfo = &s.tile, s.mask.imageData = nullptr; }},
    {"mask tiled, with data", 14, -26, [](Subject &s) { s.mask.tileInfo = &s.tile; }},
    {"mask without data", 15, -112, [](Subject &s) { s.mask.imageData = nullptr; }},
    {"mask imageSize", 16, -110, [](Subject &s) { s.mask.imageSize = 0; }},
    {"mask widthStep", 17, -113, [](Subject &s) { s.mask.widthStep = 0; }},
    {"mask width", 18, -110, [](Subject &s) { s.mask.width = 0; }},
    {"mask height", 18, -110, [](Subject &s) { s.mask.height = 0; }},
    {"mask nChannels 0", 19, -115, [](Subject &s) { s.mask.nChannels = 0; }},
    {"mask nChannels 2", 20, -116, [](Subject &s) { s.mask.nChannels = 2; }},
    {"mask alpha", 21, -118, [](Subject &s) { s.mask.alphaChannel = -1; }},
    {"mask order", 22, -119, [](Subject &s) { s.mask.dataOrder = 2; }},
    {"mask origin", 23, -120, [](Subject &s) { s.mask.origin = 2; }},
    {"mask align", 24, -121, [](Subject &s) { s.mask.align = 2; }},
    {"mask coi negative", 25, -124, [](Subject &s) { s.maskRegion.coi = -1; }},
    {"mask coi 2", 25, -124, [](Subject &s) { s.maskRegion.coi = 2; }},
    {"mask roi height", 26, -125, [](Subject &s) { s.maskRegion.height = 0; }},
    {"mask roi width", 26, -125, [](Subject &s) { s.maskRegion.width = 0; }},
    {"mask xOffset", 27, -111, [](Subject &s) { s.maskRegion.xOffset = -1; }},
    {"mask yOffset", 27, -111, [](Subject &s) { s.maskRegion.yOffset = -1; }},
    {"no callback", 28, -22, [](Subject &s) { s.makeTiled(), s.tile.callBack = nullptr; }},
    {"tile width 0", 29, -23, [](Subject &s) { s.makeTiled(), s.tile.width = 0; }},
    {"tile width 12", 29, -23, [](Subject &s) { s.makeTiled(), s.tile.width = 12; }},
    {"tile width -8", 29, -23, [](Subject &s) { s.makeTiled(), s.tile.width = -8; }},
    {"tile height 0", 29, -23, [](Subject &s) { s.makeTiled(), s.tile.height = 0; }},
    {"tile height 7", 29, -23, [](Subject &s) { s.makeTiled(), s.tile.height = 7; }},
    {"tile height min", 29, -23, [](Subject &s) { s.makeTiled(), s.tile.height = INT_MIN; }},
    {"coi negative", 30, -24, [](Subject &s) { s.roi.coi = -1; }},
    {"coi beyond nChannels", 30, -24, [](Subject &s) { s.roi.coi = 5; }},
    {"roi height 0", 31, -25, [](Subject &s) { s.roi.height = 0; }},
    {"roi height negative", 31, -25, [](Subject &s) { s.roi.height = -7; }},
    {"roi width 0", 31, -25, [](Subject &s) { s.roi.width = 0; }},
    {"xOffset", 32, -11, [](Subject &s) { s.roi.xOffset = -1; }},
    {"yOffset", 32, -11, [](Subject &s) { s.roi.yOffset = INT_MIN; }},
};

class Check : public testing::Test {
  protected:
    ReportRecorder recorder;

    // The check's result, which is the status word too; on a clean header an older fault stays there.
    MoxStatus check(const MoxImage *image) {
        moxSetErrStatus(-3);
        MoxStatus status = moxCheckImageHeader(image);
        EXPECT_EQ(moxGetErrStatus(), status == 0 ? -3 : status);
        EXPECT_TRUE(recorder.none());
        moxSetErrStatus(0);
        return status;
    }
    MoxStatus check(const Subject &subject) { return check(&subject.image); }
};

TEST_F(Check, PassesCleanHeaders) {
    EXPECT_EQ(check(Subject()), 0);
    Subject bare, tiled;
    bare.image.roi = nullptr;
    bare.image.maskROI = nullptr;
    EXPECT_EQ(check(bare), 0);
    tiled.makeTiled();
    EXPECT_EQ(check(tiled), 0);
}

TEST_F(Check, RefusesNull) {
    EXPECT_EQ(check(nullptr), -9);
}

TEST_F(Check, FindsEachFault) {
    for (const Fault &fault : faults) {
        Subject subject;
        fault.make(subject);
        EXPECT_EQ(check(subject), fault.status) << fault.name;
    }
}

TEST_F(Check, FindsTheFirstOfTwoFaults) {
    for (const Fault &first : faults) {
        for (const Fault &second : faults) {
            bool needsPlain = first.step == 3 || first.step == 4;
            bool makesTiled = second.step == 28 || second.step == 29;
            if (first.step >= second.step || (needsPlain && makesTiled)) continue;
            Subject subject;
            second.make(subject);
            first.make(subject);
            EXPECT_EQ(check(subject), first.status) << first.name << ", then " << second.name;
        }
    }
}

TEST_F(Check, TiledHeadersNeedNoSizes) {
    Subject subject;
    subject.makeTiled();
    subject.image.imageSize = 0;
    subject.image.widthStep = -1;
    EXPECT_EQ(check(subject), 0);
}

TEST_F(Check, DoesNotLookAtWhatIsNotItsBusiness) {
    Subject subject;
    subject.image.headerSize = 0;
    subject.image.headerId = 99;
    subject.image.widthStep = 1;
    subject.image.imageSize = 1;
    subject.image.borderMode[0] = -1;
    subject.image.colorModel[0] = 0;
    EXPECT_EQ(check(subject), 0);
}

TEST_F(Check, PassesEveryValueInRange) {
    for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
        Subject subject;
        subject.image.depth = depth;
        EXPECT_EQ(check(subject), 0) << depth;
    }
    for (int align : {4, 8, 16, 32}) {
        Subject subject;
        subject.image.align = align;
        EXPECT_EQ(check(subject), 0) << align;
    }
    Subject other;
    other.image.origin = 1;
    other.image.dataOrder = 1;
    other.image.alphaChannel = 0;
    EXPECT_EQ(check(other), 0);
    other.image.depth = MOX_DEPTH_1U;
    other.image.nChannels = 1;
    EXPECT_EQ(check(other), 0);
    other.image.alphaChannel = 1;
    EXPECT_EQ(check(other), 0);
}

TEST_F(Check, AlphaIsTheLastChannelOrNone) {
    Subject subject;
    subject.image.alphaChannel = 3;
    EXPECT_EQ(check(subject), -18);
    subject.image.alphaChannel = 4;
    EXPECT_EQ(check(subject), 0);
}

TEST_F(Check, CoiMayNameTheLastChannel) {
    Subject subject;
    subject.roi.coi = 4;
    EXPECT_EQ(check(subject), 0);
    subject.roi.coi = 5;
    EXPECT_EQ(check(subject), -24);
    subject.roi.coi = -1;
    EXPECT_EQ(check(subject), -24);
}

TEST_F(Check, RegionMayBeLargerThanTheImageOrBeyondIt) {
    Subject subject;
    subject.roi = {0, 0, 0, 1000, 1000};
    EXPECT_EQ(check(subject), 0);
    subject.roi = {0, 10, 10, 1, 1};
    EXPECT_EQ(check(subject), 0);
    subject.roi = {0, INT_MAX, INT_MAX, INT_MAX, INT_MAX};
    EXPECT_EQ(check(subject), 0);
}

TEST_F(Check, TileSizesAreMultiplesOfEight) {
    Subject subject;
    subject.makeTiled();
    subject.tile.width = subject.tile.height = 8;
    EXPECT_EQ(check(subject), 0);
    subject.tile.width = 12;
    EXPECT_EQ(check(subject), -23);
}

TEST_F(Check, MaskDepthCountsBeforeItsHeader) {
    Subject subject;
    subject.mask.depth = MOX_DEPTH_8U;
    subject.mask.align = 3;
    subject.mask.width = -1;
    subject.mask.imageData = nullptr;
    EXPECT_EQ(check(subject), -117);
}

TEST_F(Check, MaskWithTwoChannelsHasAStatusWithoutText) {
    Subject subject;
    subject.mask.nChannels = 2;
    EXPECT_EQ(check(subject), -116);
    EXPECT_STREQ(moxErrorStr(-116), "Unknown error or status code");
}

// A mask's own mask counts when the mask is checked: its faults are 100 less once more.
TEST_F(Check, MasksOfMasksAreChecked) {
    Subject outer, inner;
    outer.mask.maskROI = &inner.mask;
    EXPECT_EQ(check(outer), 0);
    inner.mask.align = 3;
    EXPECT_EQ(check(outer), -221);
    inner.mask.depth = MOX_DEPTH_8U;
    EXPECT_EQ(check(outer), -217);
    inner.mask.depth = MOX_DEPTH_1U;
    inner.mask.tileInfo = &inner.tile;
    EXPECT_EQ(check(outer), -126);
    inner.mask.tileInfo = nullptr;
    inner.mask.align = 8;
    inner.mask.maskROI = &inner.image;
    EXPECT_EQ(check(outer), -317);
}

TEST_F(Check, ARingOfMasksEnds) {
    Subject subject;
    subject.mask.maskROI = &subject.mask;
    EXPECT_EQ(check(subject), 0);
    EXPECT_EQ(check(&subject.mask), 0);

    Subject second, third;
    subject.mask.maskROI = &second.mask;
    second.mask.maskROI = &third.mask;
    for (MoxImage *back : {&subject.mask, &second.mask, &third.mask}) {
        third.mask.maskROI = back;
        EXPECT_EQ(check(subject), 0);
        EXPECT_EQ(check(&second.mask), 0);
    }
}

TEST_F(Check, ARingOfMasksHidesNoFault) {
    Subject subject, second, third;
    subject.mask.maskROI = &second.mask;
    second.mask.maskROI = &third.mask;
    third.mask.maskROI = &second.mask;
    third.maskRegion.coi = 2;
    EXPECT_EQ(check(subject), -324);
    third.maskRegion.coi = 0;
    // The tests of the region come after those of the mask: a fault there counts where nothing further in has one.
    second.maskRegion.width = 0;
    EXPECT_NE(check(subject), 0);
    second.maskRegion.width = 10;
    EXPECT_EQ(check(subject), 0);
}

TEST_F(Check, ALongChainOfMasksIsChecked) {
    constexpr size_t COUNT = 200000;
    Subject subject;
    std::vector<MoxImage> masks(COUNT, subject.mask);
    for (size_t i = 0; i + 1 < COUNT; i++)
        masks[i].maskROI = &masks[i + 1];
    subject.image.maskROI = &masks[0];
    EXPECT_EQ(check(subject), 0);
    masks[COUNT - 1].align = 3;
    EXPECT_EQ(check(subject), -21 - 100 * static_cast<int>(COUNT));
}

// A header whose sizes are more than an int of bytes passes the check and no operation.
struct Huge {
    const char *name;
    void (*make)(Subject &);
};
const Huge huges[] = {
    {"width", [](Subject &s) { s.image.width = INT_MAX; }},
    {"width and height", [](Subject &s) { s.image.width = s.image.height = 65536, s.image.widthStep = 262144; }},
    {"channels", [](Subject &s) { s.image.nChannels = s.image.alphaChannel = INT_MAX; }},
    {"channels and width",
     [](Subject &s) { s.image.nChannels = s.image.alphaChannel = s.image.width = s.image.height = INT_MAX; }},
    {"planes",
     [](Subject &s) {
         s.image.dataOrder = 1;
         s.image.width = s.image.height = s.image.widthStep = 30000;
     }},
    {"depth",
     [](Subject &s) {
         s.image.depth = MOX_DEPTH_32F;
         s.image.width = 0x10000000;
     }},
    {"own stride",
     [](Subject &s) {
         s.image.widthStep = INT_MAX;
         s.image.height = 2;
     }},
    {"own stride of planes",
     [](Subject &s) {
         s.image.dataOrder = 1;
         s.image.widthStep = 0x10000000;
         s.image.height = 2;
     }},
};
const Huge hugeMasks[] = {
    {"mask", [](Subject &s) { s.mask.width = s.mask.height = INT_MAX; }},
    {"mask stride",
     [](Subject &s) {
         s.mask.widthStep = INT_MAX;
         s.mask.height = 3;
     }},
};

TEST_F(Check, RefusesHugeHeadersOnlyForOperations) {
    for (const Huge &huge : huges) {
        Subject subject;
        huge.make(subject);
        EXPECT_EQ(check(subject), 0) << huge.name;
        EXPECT_EQ(ownFindExcess(&subject.image), -10) << huge.name;
        EXPECT_EQ(moxGetErrStatus(), 0) << huge.name;
    }
    EXPECT_TRUE(recorder.none());
}

// Rows may be as far apart as they like, but not overlap.
TEST_F(Check, RefusesRowsLongerThanTheStrideForOperations) {
    Subject subject;
    subject.image.widthStep = 39;
    EXPECT_EQ(check(subject), 0);
    EXPECT_EQ(ownFindExcess(&subject.image), -13);
    subject.image.dataOrder = 1;
    EXPECT_EQ(ownFindExcess(&subject.image), 0);
    subject.image.widthStep = 9;
    EXPECT_EQ(ownFindExcess(&subject.image), -13);
    subject.image.widthStep = 10;
    EXPECT_EQ(ownFindExcess(&subject.image), 0);
    subject.mask.widthStep = 1;
    EXPECT_EQ(check(subject), 0);
    EXPECT_EQ(ownFindExcess(&subject.image), -113);
    subject.mask.widthStep = 2;
    EXPECT_EQ(ownFindExcess(&subject.image), 0);
    EXPECT_EQ(moxGetErrStatus(), 0);
}

TEST_F(Check, RefusesHugeMasksForOperations) {
    for (const Huge &huge : hugeMasks) {
        Subject subject;
        huge.make(subject);
        EXPECT_EQ(check(subject), 0) << huge.name;
        EXPECT_EQ(ownFindExcess(&subject.image), -110) << huge.name;
        EXPECT_EQ(moxGetErrStatus(), 0) << huge.name;
    }
}

TEST_F(Check, RefusesHugeTilesForOperations) {
    for (int size : {INT_MAX - 7, 65536}) {
        Subject subject;
        subject.makeTiled();
        subject.tile.width = subject.tile.height = size;
        EXPECT_EQ(check(subject), 0);
        EXPECT_EQ(ownFindExcess(&subject.image), -23);
    }
}

TEST_F(Check, OperationsReportHugeHeadersBeforeTheyTouchMemory) {
    for (const Huge &huge : huges) {
        SCOPED_TRACE(huge.name);
        Subject subject, clean;
        huge.make(subject);
        MoxImage *image = &subject.image;
        char pixel[64] = {};
        recorder.clear();
        EXPECT_EQ(moxCloneImage(image), nullptr);
        EXPECT_TRUE(recorder.are({{-10, "moxCloneImage", "Incorrect Image"}}));
        // What an operation tests by name comes first.
        const bool depths = image->depth != clean.image.depth, orders = image->dataOrder != clean.image.dataOrder,
                   channels = image->nChannels != clean.image.nChannels;
        const char *named = depths   ? "srcImage->depth != dstImage->depth"
                            : orders ? "srcImage->dataOrder != dstImage->dataOrder"
                            : channels
                                ? "Number of processed channels of srcImage != Number of processed channels of dstImage"
                                : nullptr;
        const auto expectReport = [&](const char *function) {
            EXPECT_TRUE(recorder.are({{named ? -5 : -10, function, named ? named : "Incorrect Image"}}));
            recorder.clear();
        };
        recorder.clear();
        moxCopy(image, &clean.image);
        expectReport("moxCopy");
        moxCopy(&clean.image, image);
        expectReport("moxCopy");
        moxExchange(&clean.image, image);
        expectReport("moxExchange");
        recorder.clear();
        moxGetPixel(image, 0, 0, pixel);
        EXPECT_TRUE(recorder.are({{-10, "moxGetPixel", "Incorrect Image"}}));
        recorder.clear();
        moxPutPixel(image, 0, 0, pixel);
        EXPECT_TRUE(recorder.are({{-10, "moxPutPixel", "Incorrect Image"}}));
        recorder.clear();
        if (image->depth == MOX_DEPTH_32F) {
            moxSetFP(image, 1);
            EXPECT_TRUE(recorder.are({{-10, "moxSet", "Incorrect Image"}, {-1, "moxSetFP", ""}}));
        } else {
            moxSet(image, 1);
            EXPECT_TRUE(recorder.are({{-10, "moxSet", "Incorrect Image"}}));
        }
    }
}

TEST_F(Check, OperationsReportHugeTilesBeforeTheyAskForThem) {
    Subject subject;
    subject.image.maskROI = nullptr;
    subject.makeTiled();
    subject.tile.width = subject.tile.height = INT_MAX - 7;
    char pixel[64] = {};
    moxSet(&subject.image, 1);
    moxGetPixel(&subject.image, 0, 0, pixel);
    moxPutPixel(&subject.image, 0, 0, pixel);
    EXPECT_TRUE(recorder.are({{-23, "moxSet", "Incorrect Image"},
                              {-23, "moxGetPixel", "Incorrect Image"},
                              {-23, "moxPutPixel", "Incorrect Image"}}));
}

TEST_F(Check, AcceptReportsForItsCaller) {
    Subject subject;
    EXPECT_TRUE(ownAcceptImage(OWN_CALLER("moxSomething"), &subject.image));
    EXPECT_TRUE(recorder.none());
    subject.image.align = 3;
    EXPECT_FALSE(ownAcceptImage(OWN_CALLER("moxSomething"), &subject.image));
    EXPECT_FALSE(ownAcceptImage(OWN_CALLER("moxOther"), nullptr));
    EXPECT_TRUE(recorder.are({{-21, "moxSomething", "Incorrect Image"}, {-9, "moxOther", "Incorrect Image"}}));
}

}  // namespace
