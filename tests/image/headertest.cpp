// How headers are created, and the border fields.
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
