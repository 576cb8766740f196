// Headers, regions, tile records and pixels: how they are created, allocated and freed, and the border fields.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <memory>
#include <vector>

#include "frame/ownimage.h"
#include "support/allocations.h"
#include "support/cases.h"
#include "support/reports.h"

namespace {

int MOX_CALL noTile(MoxImage *, int, int, int) {
    return 0;
}

// The arguments of moxCreateImageHeader.
struct Arguments {
    int nChannels = 3, alphaChannel = 0, depth = MOX_DEPTH_8U;
    const char *colorModel = "RGB", *channelSeq = "BGR";
    int dataOrder = 0, origin = 0, align = 8, width = 10, height = 6;
    MoxROI *roi = nullptr;
    MoxImage *mask = nullptr;
    void *id = nullptr;
    MoxTileInfo *tileInfo = nullptr;
};

MoxImage *create(const Arguments &a) {
    return moxCreateImageHeader(a.nChannels, a.alphaChannel, a.depth, a.colorModel, a.channelSeq, a.dataOrder, a.origin,
                                a.align, a.width, a.height, a.roi, a.mask, a.id, a.tileInfo);
}

// A clean mask for tests to spoil.
struct MaskHeader {
    char bits[64] = {};
    MoxROI roi = {0, 0, 0, 4, 4};
    MoxTileInfo tile = {noTile, nullptr, nullptr, 8, 8};
    MoxImage *image =
        moxCreateImageHeader(1, 0, MOX_DEPTH_1U, "GRAY", "G", 0, 0, 8, 8, 8, nullptr, nullptr, nullptr, nullptr);
    MaskHeader() { image->imageData = bits; }
    ~MaskHeader() { moxDeallocateHeader(image); }
    MaskHeader(const MaskHeader &) = delete;
    MaskHeader &operator=(const MaskHeader &) = delete;
};

struct Fault {
    const char *name;
    int step;
    MoxStatus status;
    void (*make)(Arguments &, MaskHeader &);
};
const Fault faults[] = {
    {"height 0", 1, -10, [](Arguments &a, MaskHeader &) { a.height = 0; }},
    {"width 0", 1, -10, [](Arguments &a, MaskHeader &) { a.width = 0; }},
    {"width negative", 1, -10, [](Arguments &a, MaskHeader &) { a.width = INT_MIN; }},
    {"nChannels 0", 2, -15, [](Arguments &a, MaskHeader &) { a.nChannels = 0; }},
    {"nChannels negative", 2, -15, [](Arguments &a, MaskHeader &) { a.nChannels = INT_MIN; }},
    {"bit channels", 3, -16, [](Arguments &a, MaskHeader &) { a.nChannels = 3, a.depth = 1; }},
    {"no color model", 4, -14, [](Arguments &a, MaskHeader &) { a.colorModel = nullptr; }},
    {"no channel sequence", 4, -14, [](Arguments &a, MaskHeader &) { a.channelSeq = nullptr; }},
    {"depth 0", 5, -17, [](Arguments &a, MaskHeader &) { a.depth = 0; }},
    {"depth 64", 5, -17, [](Arguments &a, MaskHeader &) { a.depth = 64; }},
    {"depth 1S", 5, -17, [](Arguments &a, MaskHeader &) { a.depth = static_cast<int>(MOX_DEPTH_SIGN | 1u); }},
    {"alpha 2", 6, -18, [](Arguments &a, MaskHeader &) { a.alphaChannel = 2; }},
    {"alpha 4", 6, -18, [](Arguments &a, MaskHeader &) { a.alphaChannel = 4; }},
    {"alpha -1", 6, -18, [](Arguments &a, MaskHeader &) { a.alphaChannel = -1; }},
    {"order 2", 7, -19, [](Arguments &a, MaskHeader &) { a.dataOrder = 2; }},
    {"order -1", 7, -19, [](Arguments &a, MaskHeader &) { a.dataOrder = -1; }},
    {"origin 2", 8, -20, [](Arguments &a, MaskHeader &) { a.origin = 2; }},
    {"origin -1", 8, -20, [](Arguments &a, MaskHeader &) { a.origin = -1; }},
    {"align 0", 9, -21, [](Arguments &a, MaskHeader &) { a.align = 0; }},
    {"align 2", 9, -21, [](Arguments &a, MaskHeader &) { a.align = 2; }},
    {"align 64", 9, -21, [](Arguments &a, MaskHeader &) { a.align = 64; }},
    {"mask depth", 10, -117, [](Arguments &a, MaskHeader &m) { a.mask = m.image, m.image->depth = MOX_DEPTH_8U; }},
    {"mask tiled", 11, -26, [](Arguments &a, MaskHeader &m) { a.mask = m.image, m.image->tileInfo = &m.tile; }},
    {"mask bare", 12, -112, [](Arguments &a, MaskHeader &m) { a.mask = m.image, m.image->imageData = nullptr; }},
    {"mask size", 13, -110, [](Arguments &a, MaskHeader &m) { a.mask = m.image, m.image->width = 0; }},
    {"mask channels", 14, -116, [](Arguments &a, MaskHeader &m) { a.mask = m.image, m.image->nChannels = 2; }},
    {"mask align", 15, -121, [](Arguments &a, MaskHeader &m) { a.mask = m.image, m.image->align = 3; }},
};

class Header : public testing::Test {
  protected:
    ReportRecorder recorder;
};

TEST_F(Header, CreationRefusesEachFault) {
    for (const Fault &fault : faults) {
        MaskHeader mask;
        Arguments arguments;
        fault.make(arguments, mask);
        recorder.clear();
        AllocationWindow window;
        EXPECT_EQ(create(arguments), nullptr) << fault.name;
        window.close();
        EXPECT_EQ(window.count(), 0);
        EXPECT_TRUE(recorder.are({{fault.status, "moxCreateImageHeader", "Incorrect data-ins"}})) << fault.name;
        EXPECT_EQ(moxGetErrStatus(), fault.status) << fault.name;
    }
}

TEST_F(Header, CreationRefusesTheFirstOfTwoFaults) {
    for (const Fault &first : faults) {
        for (const Fault &second : faults) {
            if (first.step >= second.step) continue;
            MaskHeader mask;
            Arguments arguments;
            second.make(arguments, mask);
            first.make(arguments, mask);
            recorder.clear();
            EXPECT_EQ(create(arguments), nullptr);
            EXPECT_TRUE(recorder.are({{first.status, "moxCreateImageHeader", "Incorrect data-ins"}}))
                << first.name << ", then " << second.name;
        }
    }
}

TEST_F(Header, CreationSetsEveryField) {
    MoxROI roi = {1, 2, 3, 4, 5};
    MoxTileInfo tile = {noTile, nullptr, nullptr, 8, 8};
    MaskHeader mask;
    int id = 0;
    Arguments a;
    a.nChannels = a.alphaChannel = 4;
    a.depth = static_cast<int>(MOX_DEPTH_16S);
    a.colorModel = "ABCDEFG";
    a.channelSeq = "12345";
    a.dataOrder = a.origin = 1;
    a.align = 16;
    a.roi = &roi;
    a.mask = mask.image;
    a.id = &id;
    a.tileInfo = &tile;
    MoxImage *image = create(a);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(image) % 32, 0u);
    EXPECT_EQ(image->headerSize, static_cast<int>(sizeof(MoxImage)));
    EXPECT_EQ(image->headerId, 0);
    EXPECT_EQ(image->nChannels, 4);
    EXPECT_EQ(image->alphaChannel, 4);
    EXPECT_EQ(image->depth, MOX_DEPTH_16S);
    EXPECT_EQ(memcmp(image->colorModel, "ABCD", 4), 0);
    EXPECT_EQ(memcmp(image->channelSeq, "1234", 4), 0);
    EXPECT_EQ(image->dataOrder, 1);
    EXPECT_EQ(image->origin, 1);
    EXPECT_EQ(image->align, 16);
    EXPECT_EQ(image->width, 10);
    EXPECT_EQ(image->height, 6);
    EXPECT_EQ(image->roi, &roi);
    EXPECT_EQ(image->maskROI, mask.image);
    EXPECT_EQ(image->imageId, &id);
    EXPECT_EQ(image->tileInfo, &tile);
    EXPECT_EQ(image->widthStep, 32);
    EXPECT_EQ(image->imageSize, 32 * 6 * 4);
    EXPECT_EQ(image->imageData, nullptr);
    EXPECT_EQ(image->imageDataBase, nullptr);
    for (int side = 0; side < 4; side++) {
        EXPECT_EQ(image->borderMode[side], 0);
        EXPECT_EQ(image->borderConst[side], 0);
    }
    EXPECT_TRUE(recorder.none());
    moxDeallocateHeader(image);
}

TEST_F(Header, CreationReadsFourCharactersAndNoEndMark) {
    std::unique_ptr<char[]> model(new char[4]{'R', 'G', 'B', 'A'}), sequence(new char[2]{'G', 0});
    Arguments arguments;
    arguments.colorModel = model.get();
    arguments.channelSeq = sequence.get();
    MoxImage *image = create(arguments);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(memcmp(image->colorModel, "RGBA", 4), 0);
    EXPECT_EQ(memcmp(image->channelSeq, "G\0\0\0", 4), 0);
    moxDeallocateHeader(image);
}

TEST_F(Header, CreationDoesNotLookAtTheRegionOrTheTileRecord) {
    MoxROI roi = {-1, -1, -1, -1, -1};
    MoxTileInfo tile = {nullptr, nullptr, nullptr, -1, 3};
    Arguments arguments;
    arguments.roi = &roi;
    arguments.tileInfo = &tile;
    MoxImage *image = create(arguments);
    EXPECT_NE(image, nullptr);
    EXPECT_TRUE(recorder.none());
    moxDeallocateHeader(image);
}

TEST_F(Header, CreationIsSilentWithoutMemory) {
    AllocationWindow window(1);
    EXPECT_EQ(create(Arguments()), nullptr);
    window.close();
    EXPECT_TRUE(window.refused());
    EXPECT_EQ(window.count(), 1);
    EXPECT_TRUE(recorder.none());
    EXPECT_EQ(moxGetErrStatus(), 0);
}

int64_t roundedRow(int64_t bits, int align) {
    return (bits + align * 8 - 1) / (align * 8) * (align * 8) / 8;
}

TEST_F(Header, SizesAreTheArithmetic) {
    for (unsigned depth :
         {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
        for (int align : {4, 8, 16, 32}) {
            for (int channels = 1; channels <= (depth == 1 ? 1 : 5); channels++) {
                for (int order = 0; order < 2; order++) {
                    for (int width = 1; width < 70; width++) {
                        Arguments a;
                        a.depth = static_cast<int>(depth);
                        a.align = align;
                        a.nChannels = channels;
                        a.dataOrder = order;
                        a.width = width;
                        MoxImage *image = create(a);
                        ASSERT_NE(image, nullptr);
                        int64_t bits = static_cast<int64_t>(depth & 0x7FFFFFFFu) * width;
                        int64_t step = roundedRow(order == 0 ? bits * channels : bits, align);
                        EXPECT_EQ(image->widthStep, step);
                        EXPECT_EQ(image->imageSize, step * 6 * (order == 0 ? 1 : channels));
                        moxDeallocateHeader(image);
                    }
                }
            }
        }
    }
}

TEST_F(Header, CreationRefusesSizesBeyondAnInt) {
    struct {
        int channels, order, width, height;
        unsigned depth;
        bool fits;
        int step;
    } const sizes[] = {
        {1, 0, 0x7FFFFFF8, 1, MOX_DEPTH_8U, true, 0x7FFFFFF8},
        {1, 0, 0x7FFFFFF9, 1, MOX_DEPTH_8U, false, 0},
        {1, 0, INT_MAX, 1, MOX_DEPTH_8U, false, 0},
        {1, 0, INT_MAX, INT_MAX, MOX_DEPTH_32F, false, 0},
        {INT_MAX, 0, INT_MAX, INT_MAX, MOX_DEPTH_32F, false, 0},
        {INT_MAX, 1, INT_MAX, INT_MAX, MOX_DEPTH_32F, false, 0},
        {1, 0, 65536, 32768, MOX_DEPTH_8U, false, 0},
        {1, 0, 65536, 32767, MOX_DEPTH_8U, true, 65536},
        {2, 1, 32768, 32768, MOX_DEPTH_8U, false, 0},
        {2, 1, 32768, 32767, MOX_DEPTH_8U, true, 32768},
        {4, 0, 0x10000000, 4, MOX_DEPTH_16U, false, 0},
        // More than 32 bits of bits, not of bytes.
        {1, 0, 0x20000001, 1, MOX_DEPTH_8U, true, 0x20000008},
        {1, 0, INT_MAX, 1, MOX_DEPTH_1U, true, 0x10000000},
        {1, 0, INT_MAX, 8, MOX_DEPTH_1U, false, 0},
        {1, 0, INT_MAX, 7, MOX_DEPTH_1U, true, 0x10000000},
    };
    for (const auto &size : sizes) {
        Arguments a;
        a.nChannels = size.channels;
        a.dataOrder = size.order;
        a.width = size.width;
        a.height = size.height;
        a.depth = static_cast<int>(size.depth);
        recorder.clear();
        MoxImage *image = create(a);
        if (size.fits) {
            ASSERT_NE(image, nullptr) << size.width << " x " << size.height;
            EXPECT_EQ(image->widthStep, size.step);
            EXPECT_TRUE(recorder.none());
            moxDeallocateHeader(image);
        } else {
            EXPECT_EQ(image, nullptr) << size.width << " x " << size.height;
            EXPECT_TRUE(recorder.are({{-10, "moxCreateImageHeader", "Incorrect data-ins"}}));
        }
    }
}

TEST_F(Header, HugeSizesCountBeforeTheMask) {
    MaskHeader mask;
    mask.image->align = 3;
    Arguments a;
    a.width = a.height = INT_MAX;
    a.mask = mask.image;
    EXPECT_EQ(create(a), nullptr);
    EXPECT_TRUE(recorder.are({{-10, "moxCreateImageHeader", "Incorrect data-ins"}}));
}

// --- Allocation -----------------------------------------------------------------------------------------------------

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

TEST_F(Header, AllocationTestsItsArgumentsInOrder) {
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

TEST_F(Header, AllocationTestsTheFieldsInOrder) {
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

TEST_F(Header, AllocationRefusesDepthsAndBitChannels) {
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

TEST_F(Header, AllocationRefusesSizesBeyondAnInt) {
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

TEST_F(Header, AllocationReportsWithoutMemory) {
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

TEST_F(Header, AllocationComputesTheSizesAnew) {
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

TEST_F(Header, AllocationAlignsThePixels) {
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

TEST_F(Header, AllocationFillsEveryByte) {
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

TEST_F(Header, FloatAllocationFillsWithTheBitPattern) {
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

TEST_F(Header, DeallocationFreesWhatTheFlagsName) {
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

TEST_F(Header, DeallocationDoesNotFollowTheMasksMask) {
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

TEST_F(Header, DeallocationIgnoresNull) {
    moxDeallocate(nullptr, 31);
    moxDeallocate(nullptr, 0);
    moxDeallocateHeader(nullptr);
    EXPECT_TRUE(recorder.none());
}

TEST_F(Header, DeallocateHeaderFreesTheHeaderOnly) {
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
TEST_F(Header, DeallocationOfPixelsGoesByTheBase) {
    char pixels[400] = {};
    MoxImage *image = create(Arguments());
    ASSERT_NE(image, nullptr);
    image->imageData = pixels;
    moxDeallocate(image, MOX_FreeData);
    EXPECT_EQ(image->imageDataBase, nullptr);
    moxDeallocateHeader(image);
}

// --- Region and tile records ----------------------------------------------------------------------------------------

TEST_F(Header, RoiRecordsHoldWhatTheyAreGiven) {
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

TEST_F(Header, TileRecordsHoldWhatTheyAreGiven) {
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

TEST_F(Header, RecordsAreNullWithoutMemory) {
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

// --- Borders --------------------------------------------------------------------------------------------------------

TEST_F(Header, BordersAreSetForTheNamedSides) {
    for (int sides = 0; sides < 32; sides++) {
        MoxImage image = {};
        image.depth = MOX_DEPTH_8U;
        for (int side = 0; side < 4; side++)
            image.borderMode[side] = image.borderConst[side] = 77;
        MoxImage before = image;
        moxSetBorderMode(&image, -6, sides, 9);
        for (int side = 0; side < 4; side++) {
            bool set = (sides >> side & 1) != 0;
            EXPECT_EQ(image.borderMode[side], set ? -6 : 77);
            EXPECT_EQ(image.borderConst[side], set ? 9 : 77);
            image.borderMode[side] = image.borderConst[side] = 77;
        }
        EXPECT_EQ(memcmp(&image, &before, sizeof image), 0);
    }
}

TEST_F(Header, BorderConstantsAreClampedToTheDepth) {
    struct {
        unsigned depth;
        int low, high;
    } const ranges[] = {{MOX_DEPTH_1U, 0, 1},
                        {MOX_DEPTH_8U, 0, 255},
                        {MOX_DEPTH_8S, -128, 127},
                        {MOX_DEPTH_16U, 0, 65535},
                        {MOX_DEPTH_16S, -32768, 32767},
                        {MOX_DEPTH_32S, INT_MIN, INT_MAX},
                        {MOX_DEPTH_32F, INT_MIN, INT_MAX}};
    for (const auto &range : ranges) {
        for (int value : {INT_MIN, -40000, -32769, -32768, -129, -128, -5,    -1,    0,     1,     2,
                          7,       127,    128,    255,    256,  300,  32767, 32768, 65535, 65536, INT_MAX}) {
            MoxImage image = {};
            image.depth = range.depth;
            moxSetBorderMode(&image, MOX_BORDER_CONSTANT, MOX_SIDE_ALL, value);
            int expected = value < range.low ? range.low : value > range.high ? range.high : value;
            for (int side = 0; side < 4; side++)
                EXPECT_EQ(image.borderConst[side], expected) << range.depth;
        }
    }
}

TEST_F(Header, BorderOfAllSidesIsSetInOneCall) {
    MoxImage *image = create(Arguments());
    ASSERT_NE(image, nullptr);
    moxSetBorderMode(image, 1, 15, 0);
    for (int side = 0; side < 4; side++)
        EXPECT_EQ(image->borderMode[side], MOX_BORDER_REPLICATE);
    EXPECT_TRUE(recorder.none());
    moxDeallocateHeader(image);
}

}  // namespace
