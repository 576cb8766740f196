// Headers, regions, tile records and pixels: how they are allocated and freed.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <vector>

#include "frame/ownimage.h"
#include "image/headercase.h"
#include "support/allocations.h"
#include "support/cases.h"
#include "support/reports.h"
namespace {

class Memory : public testing::Test {
  protected:
    ReportRecorder recorder;
};

void allocate(bool fp, MoxImage *image) {
    if (fp) {
        moxAllocateImageFP(image, 0, 0);
    } else {
        moxAllocateImage(image, 0, 0);
    }
}
const char *allocatorName(bool fp) {
    return fp ? "moxAllocateImageFP" : "moxAllocateImage";
}

TEST_F(Memory, AllocationTestsItsArgumentsInOrder) {
    MoxTileInfo tile = {noTile, nullptr, nullptr, 8, 8};
    for (bool fp : {false, true}) {
        Arguments a;
        a.depth = fp ? MOX_DEPTH_32F : MOX_DEPTH_8U;
        MoxImage *image = create(a);
        ASSERT_NE(image, nullptr);
        const char *name = allocatorName(fp), *depthTest = fp ? "( image->depth != 32 )" : "( image->depth == 32 )";
        char pixels[4] = {};
        recorder.clear();
        allocate(fp, nullptr);
        EXPECT_TRUE(recorder.are({{-5, name, "( image == ((void *)0) )"}}));

        // Each test with all later ones failing too.
        image->align = 3;
        image->depth = fp ? MOX_DEPTH_8U : MOX_DEPTH_32F;
        image->tileInfo = &tile;
        image->imageData = pixels;
        recorder.clear();
        allocate(fp, image);
        EXPECT_TRUE(recorder.are({{-5, name, "( image->imageData != ((void *)0) )"}}));
        image->imageData = nullptr;
        recorder.clear();
        allocate(fp, image);
        EXPECT_TRUE(recorder.are({{-5, name, "( image->tileInfo != ((void *)0) )"}}));
        image->tileInfo = nullptr;
        recorder.clear();
        AllocationWindow window;
        allocate(fp, image);
        window.close();
        EXPECT_EQ(window.count(), 0);
        EXPECT_TRUE(recorder.are({{-5, name, depthTest}}));
        image->depth = fp ? MOX_DEPTH_32F : MOX_DEPTH_8U;
        recorder.clear();
        allocate(fp, image);
        EXPECT_TRUE(recorder.are({{-21, name, "Incorrect data-ins"}}));
        EXPECT_EQ(image->imageData, nullptr);
        moxDeallocateHeader(image);
    }
}

struct FieldFault {
    const char *name;
    int step;
    MoxStatus status;
    void (*make)(MoxImage *, MaskHeader &);
};
const FieldFault fieldFaults[] = {
    {"height", 1, -10, [](MoxImage *i, MaskHeader &) { i->height = 0; }},
    {"width", 1, -10, [](MoxImage *i, MaskHeader &) { i->width = -1; }},
    {"nChannels", 2, -15, [](MoxImage *i, MaskHeader &) { i->nChannels = 0; }},
    {"alpha", 6, -18, [](MoxImage *i, MaskHeader &) { i->alphaChannel = i->nChannels + 1; }},
    {"order", 7, -19, [](MoxImage *i, MaskHeader &) { i->dataOrder = 2; }},
    {"origin", 8, -20, [](MoxImage *i, MaskHeader &) { i->origin = -1; }},
    {"align", 9, -21, [](MoxImage *i, MaskHeader &) { i->align = 64; }},
    {"mask depth", 10, -117, [](MoxImage *i, MaskHeader &m) { i->maskROI = m.image, m.image->depth = MOX_DEPTH_8U; }},
    {"mask tiled", 11, -26, [](MoxImage *i, MaskHeader &m) { i->maskROI = m.image, m.image->tileInfo = &m.tile; }},
    {"mask bare", 12, -112, [](MoxImage *i, MaskHeader &m) { i->maskROI = m.image, m.image->imageData = nullptr; }},
    {"mask align", 13, -121, [](MoxImage *i, MaskHeader &m) { i->maskROI = m.image, m.image->align = 3; }},
};

TEST_F(Memory, AllocationTestsTheFieldsInOrder) {
    for (bool fp : {false, true}) {
        for (const FieldFault &first : fieldFaults) {
            for (const FieldFault &second : fieldFaults) {
                if (first.step > second.step) continue;
                MaskHeader mask;
                Arguments a;
                a.depth = fp ? MOX_DEPTH_32F : MOX_DEPTH_8U;
                MoxImage *image = create(a);
                ASSERT_NE(image, nullptr);
                second.make(image, mask);
                first.make(image, mask);
                recorder.clear();
                AllocationWindow window;
                allocate(fp, image);
                window.close();
                EXPECT_EQ(window.count(), 0);
                EXPECT_TRUE(recorder.are({{first.status, allocatorName(fp), "Incorrect data-ins"}}))
                    << first.name << ", then " << second.name;
                EXPECT_EQ(image->imageData, nullptr);
                EXPECT_EQ(image->imageDataBase, nullptr);
                moxDeallocateHeader(image);
            }
        }
    }
}

TEST_F(Memory, AllocationRefusesDepthsAndBitChannels) {
    MoxImage *image = create(Arguments());
    ASSERT_NE(image, nullptr);
    for (unsigned depth : {0u, 2u, 64u, MOX_DEPTH_SIGN, MOX_DEPTH_SIGN | 1u}) {
        image->depth = depth;
        recorder.clear();
        moxAllocateImage(image, 0, 0);
        EXPECT_TRUE(recorder.are({{-17, "moxAllocateImage", "Incorrect data-ins"}})) << depth;
    }
    image->depth = MOX_DEPTH_1U;
    recorder.clear();
    moxAllocateImage(image, 0, 0);
    EXPECT_TRUE(recorder.are({{-16, "moxAllocateImage", "Incorrect data-ins"}}));
    moxDeallocateHeader(image);
}

TEST_F(Memory, AllocationRefusesSizesBeyondAnInt) {
    MoxImage *image = create(Arguments());
    ASSERT_NE(image, nullptr);
    image->width = image->height = INT_MAX;
    AllocationWindow window;
    moxAllocateImage(image, 1, 1);
    window.close();
    EXPECT_EQ(window.count(), 0);
    EXPECT_TRUE(recorder.are({{-10, "moxAllocateImage", "Incorrect data-ins"}}));
    EXPECT_EQ(image->imageData, nullptr);
    image->depth = MOX_DEPTH_32F;
    recorder.clear();
    moxAllocateImageFP(image, 1, 1);
    EXPECT_TRUE(recorder.are({{-10, "moxAllocateImageFP", "Incorrect data-ins"}}));
    moxDeallocateHeader(image);
}

TEST_F(Memory, AllocationReportsWithoutMemory) {
    for (bool fp : {false, true}) {
        Arguments a;
        a.depth = fp ? MOX_DEPTH_32F : MOX_DEPTH_8U;
        MoxImage *image = create(a);
        ASSERT_NE(image, nullptr);
        MoxImage before = *image;
        recorder.clear();
        AllocationWindow window(1);
        allocate(fp, image);
        window.close();
        EXPECT_TRUE(window.refused());
        EXPECT_TRUE(recorder.are({{-4, allocatorName(fp), "for allocate image data"}}));
        EXPECT_EQ(memcmp(image, &before, sizeof before), 0);
        moxDeallocateHeader(image);
    }
}

TEST_F(Memory, AllocationComputesTheSizesAnew) {
    MoxImage *image = create(Arguments());
    ASSERT_NE(image, nullptr);
    image->widthStep = -7;
    image->imageSize = 1;
    image->width = 3;
    image->align = 4;
    moxAllocateImage(image, 0, 0);
    EXPECT_EQ(image->widthStep, 12);
    EXPECT_EQ(image->imageSize, 72);
    moxDeallocateImage(image);
    image->align = 32;
    moxAllocateImage(image, 0, 0);
    EXPECT_EQ(image->widthStep, 32);
    EXPECT_EQ(image->imageSize, 192);
    EXPECT_TRUE(recorder.none());
    moxDeallocate(image, MOX_FreeData | MOX_FreeHeader);
}

TEST_F(Memory, AllocationAlignsThePixels) {
    for (int align : {4, 8, 16, 32}) {
        for (int width = 1; width < 40; width++) {
            Arguments a;
            a.align = align;
            a.width = width;
            MoxImage *image = create(a);
            ASSERT_NE(image, nullptr);
            AllocationWindow window;
            moxAllocateImage(image, 1, 0);
            window.close();
            EXPECT_EQ(window.count(), 1);
            EXPECT_EQ(window.largest(), image->imageSize + align - 1);
            ASSERT_NE(image->imageData, nullptr);
            EXPECT_EQ(reinterpret_cast<uintptr_t>(image->imageData) % static_cast<unsigned>(align), 0u);
            EXPECT_GE(image->imageData, image->imageDataBase);
            EXPECT_LT(image->imageData, image->imageDataBase + align);
            moxDeallocateImage(image);
            EXPECT_EQ(window.live(), 0);
            EXPECT_EQ(image->imageData, nullptr);
            EXPECT_EQ(image->imageDataBase, nullptr);
            moxDeallocateImage(image);
            moxDeallocateHeader(image);
        }
    }
}

// What the fill leaves in every byte, padding included.
void expectFilled(const Arguments &arguments, int doFill, int value, uint32_t word) {
    MoxImage *image = create(arguments);
    ASSERT_NE(image, nullptr);
    moxAllocateImage(image, doFill, value);
    ASSERT_NE(image->imageData, nullptr);
    for (int i = 0; i < image->imageSize; i += 4) {
        uint32_t found;
        memcpy(&found, image->imageData + i, 4);
        ASSERT_EQ(found, word) << "at " << i << " with " << value << " at depth " << arguments.depth;
    }
    moxDeallocate(image, MOX_FreeData | MOX_FreeHeader);
}

TEST_F(Memory, AllocationFillsEveryByte) {
    for (int order : {0, 1}) {
        Arguments a;
        a.width = 13;
        a.dataOrder = order;
        a.depth = static_cast<int>(MOX_DEPTH_8U);
        expectFilled(a, 1, 0x12345678, 0x78787878u);
        expectFilled(a, -3, -1, 0xFFFFFFFFu);
        a.depth = static_cast<int>(MOX_DEPTH_8S);
        expectFilled(a, 1, 300, 0x2C2C2C2Cu);
        a.depth = static_cast<int>(MOX_DEPTH_16U);
        expectFilled(a, 1, 0x12345678, 0x56785678u);
        a.depth = static_cast<int>(MOX_DEPTH_16S);
        expectFilled(a, 256, -2, 0xFFFEFFFEu);
        a.depth = static_cast<int>(MOX_DEPTH_32S);
        expectFilled(a, 1, 0x12345678, 0x12345678u);
        expectFilled(a, 1, INT_MIN, 0x80000000u);
        a.depth = MOX_DEPTH_1U;
        a.nChannels = 1;
        expectFilled(a, 1, 7, 0xFFFFFFFFu);
        expectFilled(a, 1, 6, 0);
        expectFilled(a, 1, -1, 0xFFFFFFFFu);
        expectFilled(a, 1, INT_MIN, 0);
    }
    EXPECT_TRUE(recorder.none());
}

TEST_F(Memory, FloatAllocationFillsWithTheBitPattern) {
    for (uint32_t pattern : {0x3F800000u, 0x80000000u, 0x7FC12345u, 0xFF800000u, 0x00000001u}) {
        float value;
        memcpy(&value, &pattern, 4);
        Arguments a;
        a.depth = MOX_DEPTH_32F;
        a.width = 5;
        a.align = 32;
        MoxImage *image = create(a);
        ASSERT_NE(image, nullptr);
        moxAllocateImageFP(image, 1, value);
        ASSERT_NE(image->imageData, nullptr);
        for (int i = 0; i < image->imageSize; i += 4)
            EXPECT_EQ(memcmp(image->imageData + i, &pattern, 4), 0);
        moxDeallocate(image, MOX_FreeData | MOX_FreeHeader);
    }
}

// --- Deallocation ---------------------------------------------------------------------------------------------------

TEST_F(Memory, DeallocationFreesWhatTheFlagsName) {
    for (int flag = 0; flag < 32; flag++) {
        AllocationWindow window;
        MoxImage *mask = moxCreateImageHeader(1, 0, MOX_DEPTH_1U, "GRAY", "G", 0, 0, 8, 8, 8,
                                              moxCreateROI(0, 0, 0, 8, 8), nullptr, nullptr, nullptr);
        moxAllocateImage(mask, 1, 1);
        Arguments a;
        a.roi = moxCreateROI(0, 1, 1, 4, 4);
        a.mask = mask;
        MoxImage *image = create(a);
        ASSERT_NE(image, nullptr);
        moxAllocateImage(image, 1, 0);
        image->tileInfo = moxCreateTileInfo(noTile, nullptr, 8, 8);
        // Three blocks of the mask; header, data, region and tile record of the image.
        EXPECT_EQ(window.live(), 7);
        MoxTileInfo *tileInfo = image->tileInfo;
        char *base = image->imageDataBase;
        window.close();
        moxDeallocate(image, flag);
        int left = 7;
        if (flag & MOX_FreeRoi) left--;
        if (flag & MOX_FreeMask) left -= 3;
        if (flag & MOX_FreeTile) left--;
        if (flag & MOX_FreeData) left--;
        if (flag & MOX_FreeHeader) left--;
        EXPECT_EQ(window.live(), left) << flag;
        if (!(flag & MOX_FreeHeader)) {
            EXPECT_EQ(image->roi, flag & MOX_FreeRoi ? nullptr : a.roi);
            EXPECT_EQ(image->maskROI, flag & MOX_FreeMask ? nullptr : mask);
            EXPECT_EQ(image->tileInfo, flag & MOX_FreeTile ? nullptr : tileInfo);
            EXPECT_EQ(image->imageDataBase, flag & MOX_FreeData ? nullptr : base);
            EXPECT_EQ(image->imageData == nullptr, (flag & MOX_FreeData) != 0);
            // What is freed once is not freed again.
            moxDeallocate(image, flag);
            EXPECT_EQ(window.live(), left);
        }
        if (!(flag & MOX_FreeRoi)) moxDeleteROI(a.roi);
        if (!(flag & MOX_FreeTile)) moxDeleteTileInfo(tileInfo);
        if (!(flag & MOX_FreeMask)) moxDeallocate(mask, 15);
        if (!(flag & MOX_FreeData)) free(base);
        if (!(flag & MOX_FreeHeader)) moxDeallocateHeader(image);
        EXPECT_EQ(window.live(), 0);
    }
    EXPECT_TRUE(recorder.none());
}

TEST_F(Memory, DeallocationDoesNotFollowTheMasksMask) {
    auto makeMask = [] {
        MoxImage *mask =
            moxCreateImageHeader(1, 0, MOX_DEPTH_1U, "GRAY", "G", 0, 0, 8, 8, 8, nullptr, nullptr, nullptr, nullptr);
        moxAllocateImage(mask, 1, 1);
        return mask;
    };
    AllocationWindow window;
    MoxImage *inner = makeMask(), *mask = makeMask();
    mask->maskROI = inner;
    MoxImage *image = create(Arguments());
    image->maskROI = mask;
    window.close();
    moxDeallocate(image, 31);
    EXPECT_EQ(window.live(), 2);
    moxDeallocate(inner, 31);
    EXPECT_EQ(window.live(), 0);
}

TEST_F(Memory, DeallocationIgnoresNull) {
    moxDeallocate(nullptr, 31);
    moxDeallocate(nullptr, 0);
    moxDeallocateHeader(nullptr);
    EXPECT_TRUE(recorder.none());
}

TEST_F(Memory, DeallocateHeaderFreesTheHeaderOnly) {
    AllocationWindow window;
    Arguments a;
    a.roi = moxCreateROI(0, 0, 0, 1, 1);
    MoxImage *image = create(a);
    moxAllocateImage(image, 0, 0);
    char *base = image->imageDataBase;
    window.close();
    moxDeallocateHeader(image);
    EXPECT_EQ(window.live(), 2);
    moxDeleteROI(a.roi);
    free(base);
    EXPECT_EQ(window.live(), 0);
}

// Pixels of the caller's own are not the library's to free: only the base says what is.
TEST_F(Memory, DeallocationOfPixelsGoesByTheBase) {
    char pixels[400] = {};
    MoxImage *image = create(Arguments());
    ASSERT_NE(image, nullptr);
    image->imageData = pixels;
    moxDeallocate(image, MOX_FreeData);
    EXPECT_EQ(image->imageDataBase, nullptr);
    moxDeallocateHeader(image);
}

// --- Region and tile records ----------------------------------------------------------------------------------------

TEST_F(Memory, RoiRecordsHoldWhatTheyAreGiven) {
    MoxROI *roi = moxCreateROI(-1, 2, -3, 4, INT_MIN);
    ASSERT_NE(roi, nullptr);
    EXPECT_EQ(roi->coi, -1);
    EXPECT_EQ(roi->xOffset, 2);
    EXPECT_EQ(roi->yOffset, -3);
    EXPECT_EQ(roi->width, 4);
    EXPECT_EQ(roi->height, INT_MIN);
    moxSetROI(roi, 5, 6, 7, 8, 9);
    EXPECT_EQ(roi->coi, 5);
    EXPECT_EQ(roi->xOffset, 6);
    EXPECT_EQ(roi->yOffset, 7);
    EXPECT_EQ(roi->width, 8);
    EXPECT_EQ(roi->height, 9);
    moxSetROI(nullptr, 1, 2, 3, 4, 5);
    moxDeleteROI(roi);
    EXPECT_TRUE(recorder.none());
}

TEST_F(Memory, TileRecordsHoldWhatTheyAreGiven) {
    int id = 0;
    char tile = 0;
    MoxTileInfo *info = moxCreateTileInfo(noTile, &id, -1, 3);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->callBack, noTile);
    EXPECT_EQ(info->id, &id);
    EXPECT_EQ(info->tileData, nullptr);
    EXPECT_EQ(info->width, -1);
    EXPECT_EQ(info->height, 3);
    info->tileData = &tile;
    moxSetTileInfo(info, nullptr, nullptr, 16, 8);
    EXPECT_EQ(info->callBack, nullptr);
    EXPECT_EQ(info->id, nullptr);
    EXPECT_EQ(info->tileData, nullptr);
    EXPECT_EQ(info->width, 16);
    EXPECT_EQ(info->height, 8);
    moxSetTileInfo(nullptr, noTile, &id, 8, 8);
    moxDeleteTileInfo(info);
    EXPECT_TRUE(recorder.none());
}

TEST_F(Memory, RecordsAreNullWithoutMemory) {
    {
        AllocationWindow window(1);
        EXPECT_EQ(moxCreateROI(0, 0, 0, 1, 1), nullptr);
    }
    {
        AllocationWindow window(1);
        EXPECT_EQ(moxCreateTileInfo(noTile, nullptr, 8, 8), nullptr);
    }
    EXPECT_TRUE(recorder.none());
    EXPECT_EQ(moxGetErrStatus(), 0);
}
}  // namespace
