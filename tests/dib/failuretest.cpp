// The tests of the arguments of the five bitmap functions: each message, its status and its place in the order.
#include <climits>
#include <functional>
#include <memory>

#include "dib/testbitmap.h"
#include "support/reports.h"
#include "support/testimage.h"

namespace {

// The functions, with valid arguments that a test spoils.
enum Form { TRANSLATE, FROM, FROM_SEP, TO, TO_SEP };
const Form allForms[] = {TRANSLATE, FROM, FROM_SEP, TO, TO_SEP};

const char *nameOf(Form form) {
    static const char *const names[] = {"moxTranslateDIB", "moxConvertFromDIB", "moxConvertFromDIBSep",
                                        "moxConvertToDIB", "moxConvertToDIBSep"};
    return names[form];
}

bool isSep(Form form) {
    return form == FROM_SEP || form == TO_SEP;
}
bool isTo(Form form) {
    return form == TO || form == TO_SEP;
}

TestLayout usualLayout() {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 8, 8);
    layout.origin = MOX_ORIGIN_BL;
    return layout;
}

struct Call {
    explicit Call(Form which)
        : form(which), bitmap({8, 8, 8}, 1, isSep(which)), image(usualLayout(), 2), before(image.bytes()) {
        bitmap.setGrayRamp();
        bitmap.drawPixels(3);
        bitmap.keep();
        dib = bitmap.header();
        data = bitmap.pixels();
    }

    void run() {
        switch (form) {
            case TRANSLATE:
                translated = moxTranslateDIB(dib, cloneData);
                break;
            case FROM:
                moxConvertFromDIB(dib, target);
                break;
            case FROM_SEP:
                moxConvertFromDIBSep(dib, data, target);
                break;
            case TO:
                moxConvertToDIB(target, dib, dither, palette);
                break;
            case TO_SEP:
                moxConvertToDIBSep(target, dib, data, dither, palette);
                break;
        }
    }

    // Runs into one report, with image, header and bitmap left as the test made them.
    void fails(MoxStatus status, const char *message) {
        SCOPED_TRACE(nameOf(form));
        bitmap.keep();
        image.keepHeader();
        {
            ReportRecorder reports;
            run();
            EXPECT_TRUE(reports.are({{status, nameOf(form), message}}));
            EXPECT_EQ(moxGetErrStatus(), status);
        }
        EXPECT_TRUE(bitmap.isUntouched());
        EXPECT_TRUE(image.holds(before));
        EXPECT_TRUE(image.headerIsUntouched());
        EXPECT_EQ(translated, nullptr);
        EXPECT_EQ(flag, 0);
    }

    Form form;
    TestBitmap bitmap;
    TestImage image;
    TestBytes before;
    BITMAPINFOHEADER *dib;
    uint8_t *data;
    MoxImage *target = image.header();
    int flag = 0;
    int *cloneData = &flag;
    int dither = MOX_DITHER_NONE, palette = MOX_PALCONV_NONE;
    MoxImage *translated = nullptr;
};

// "dib" in a message becomes "dibHeader" where the pixels come by themselves.
std::string inForm(Form form, std::string message) {
    for (size_t at = 0; isSep(form) && (at = message.find("dib->", at)) != std::string::npos; at += 5)
        message.replace(at, 5, "dibHeader->");
    return message;
}

TEST(BitmapFailure, aValidCallOfEachFormIsNone) {
    for (Form form : allForms) {
        Call call(form);
        ReportRecorder reports;
        call.run();
        EXPECT_TRUE(reports.none()) << nameOf(form);
        EXPECT_EQ(call.translated != nullptr, form == TRANSLATE);
        moxDeallocateHeader(call.translated);
    }
}

TEST(BitmapFailure, nullPointersComeFirst) {
    struct {
        Form form;
        bool dib, data, image, clone;  // which of them are null
        MoxStatus status;
        const char *message;
    } const cases[] = {{TRANSLATE, true, false, false, true, -5, "( dib == 0 )"},
                       {TRANSLATE, false, false, false, true, -5, "( cloneData == 0 )"},
                       {FROM, true, false, true, false, -5, "dib==0"},
                       {FROM, false, false, true, false, -5, "image==0"},
                       {FROM_SEP, true, true, true, false, -5, "( 0 == dibHeader )"},
                       {FROM_SEP, false, true, true, false, -5, "( 0 == dibData )"},
                       {FROM_SEP, false, false, true, false, -5, "( 0 == image )"},
                       {TO, true, false, true, false, -9, "Incorrect Image"},
                       {TO, true, false, false, false, -5, "dib==0"},
                       {TO_SEP, true, true, true, false, -5, "( 0 == dibHeader )"},
                       {TO_SEP, false, true, true, false, -5, "( 0 == dibData )"},
                       {TO_SEP, false, false, true, false, -5, "( 0 == image )"}};
    for (const auto &each : cases) {
        Call call(each.form);
        SCOPED_TRACE(each.message);
        // All that is tested later is wrong as well.
        call.dib->biSize = 12;
        call.image.header()->alphaChannel = -1;
        if (each.form == TO && each.dib && !each.image) {
            call.image.header()->alphaChannel = 0;
            call.image.header()->depth = MOX_DEPTH_8S;
        }
        if (each.dib) call.dib = nullptr;
        if (each.data) call.data = nullptr;
        if (each.image) call.target = nullptr;
        if (each.clone) call.cloneData = nullptr;
        call.fails(each.status, each.message);
    }
}

// The fields of a bitmap's header, each test with the later ones failing too where fields allow that.
struct HeaderFault {
    unsigned size;
    int planes, bits;
    unsigned compression;
    int height;
    unsigned clrUsed;
    const char *message;
};
const HeaderFault headerFaults[] = {
    {39, 2, 7, 4, -8, 0x9000, "(dib->biSize != sizeof(BITMAPINFOHEADER))"},
    {41, 1, 8, 0, 8, 0, "(dib->biSize != sizeof(BITMAPINFOHEADER))"},
    {0, 1, 8, 0, 8, 0, "(dib->biSize != sizeof(BITMAPINFOHEADER))"},
    {124, 1, 8, 0, 8, 0, "(dib->biSize != sizeof(BITMAPINFOHEADER))"},
    {40, 2, 7, 4, -8, 0x9000, "(dib->biPlanes != 1)"},
    {40, 0, 8, 0, 8, 0, "(dib->biPlanes != 1)"},
    {40, 1, 7, 4, -8, 0x9000,
     "(dib->biCompression != 0) && (dib->biCompression != 1) && (dib->biCompression != 2) && (dib->biCompression != "
     "3)"},
    {40, 1, 8, 0xFFFFFFFF, 8, 0,
     "(dib->biCompression != 0) && (dib->biCompression != 1) && (dib->biCompression != 2) && (dib->biCompression != "
     "3)"},
    {40, 1, 7, 1, -8, 0x9000, "(dib->biBitCount != 8) && (dib->biCompression == 1)"},
    {40, 1, 4, 1, 8, 0, "(dib->biBitCount != 8) && (dib->biCompression == 1)"},
    {40, 1, 24, 1, 8, 0, "(dib->biBitCount != 8) && (dib->biCompression == 1)"},
    {40, 1, 7, 2, -8, 0x9000, "(dib->biBitCount != 4) && (dib->biCompression == 2)"},
    {40, 1, 8, 2, 8, 0, "(dib->biBitCount != 4) && (dib->biCompression == 2)"},
    {40, 1, 8, 1, -8, 0x9000, "(dib->biHeight < 0) && ( (dib->biCompression == 1) || (dib->biCompression == 2) )"},
    {40, 1, 4, 2, -8, 0x9000, "(dib->biHeight < 0) && ( (dib->biCompression == 1) || (dib->biCompression == 2) )"},
    {40, 1, 8, 0, 8, 0x8001, "(dib->biClrUsed > 0x8000)"},
    {40, 1, 4, 0, -8, 0xFFFFFFFF, "(dib->biClrUsed > 0x8000)"},
    {40, 1, 24, 0, 8, 0x8001, "(dib->biClrUsed > 0x8000)"},
    {40, 1, 8, 0, 8, 0x8000, "( dib->biBitCount==8 && dib->biClrUsed>256 )"},
    {40, 1, 8, 1, 8, 257, "( dib->biBitCount==8 && dib->biClrUsed>256 )"},
    {40, 1, 4, 0, 8, 0x8000, "( dib->biBitCount==4 && dib->biClrUsed>16 )"},
    {40, 1, 4, 2, 8, 17, "( dib->biBitCount==4 && dib->biClrUsed>16 )"}};

void setHeader(Call &call, const HeaderFault &fault) {
    call.dib->biSize = fault.size;
    call.dib->biPlanes = static_cast<unsigned short>(fault.planes);
    call.dib->biBitCount = static_cast<unsigned short>(fault.bits);
    call.dib->biCompression = fault.compression;
    call.dib->biHeight = fault.height;
    call.dib->biClrUsed = fault.clrUsed;
    // Later faults, of the arguments that follow the bitmap's header.
    call.dib->biWidth = 7;
    call.dither = 3;
    call.palette = 3;
    memcpy(call.image.header()->channelSeq, "XYZW", 4);
}

TEST(BitmapFailure, theHeaderIsTestedInOrder) {
    for (Form form : allForms) {
        for (const HeaderFault &fault : headerFaults) {
            Call call(form);
            setHeader(call, fault);
            std::string message = inForm(form, fault.message);
            if (form == TRANSLATE && message == "(dib->biSize != sizeof(BITMAPINFOHEADER))") {
                message = "( dib->biSize != sizeof(BITMAPINFOHEADER) )";
            }
            call.fails(-5, message.c_str());
        }
    }
}

TEST(BitmapFailure, theHeaderOfATopDownBitmapMayBeAnythingElse) {
    for (int bits : {8, 4}) {
        for (Form form : {TRANSLATE, FROM, TO}) {
            const BitmapShape shape = {8, -8, bits};
            TestBitmap bitmap(shape);
            bitmap.drawPixels(1);
            TestImage image(usualLayout());
            ReportRecorder reports;
            int flag = 0;
            if (form == TRANSLATE) {
                MoxImage *made = moxTranslateDIB(bitmap.header(), &flag);
                EXPECT_NE(made, nullptr);
                moxDeallocate(made, MOX_FreeHeader | MOX_FreeData);
            } else if (form == FROM) {
                moxConvertFromDIB(bitmap.header(), image.header());
            } else {
                moxConvertToDIB(image.header(), bitmap.header(), MOX_DITHER_NONE, MOX_PALCONV_NONE);
            }
            EXPECT_TRUE(reports.none()) << nameOf(form) << " " << bits;
        }
    }
}

// The counts that just pass.
TEST(BitmapFailure, palettesOfTheLargestCountsPass) {
    for (auto [bits, clrUsed] : {std::pair{8, 256u}, {4, 16u}, {1, 0x8000u}, {24, 0x8000u}, {1, 2u}}) {
        BitmapShape shape = {8, 8, bits};
        shape.clrUsed = clrUsed;
        TestBitmap bitmap(shape);
        bitmap.setGrayRamp();
        TestImage image(usualLayout());
        ReportRecorder reports;
        moxConvertFromDIB(bitmap.header(), image.header());
        EXPECT_TRUE(reports.none()) << bits << " " << clrUsed;
    }
}

TEST(BitmapFailure, badBitCounts) {
    for (int bits : {0, 2, 3, 7, 9, 15, 17, 23, 31, 33, 64, 0xFFFF}) {
        for (Form form : allForms) {
            Call call(form);
            call.dib->biBitCount = static_cast<unsigned short>(bits);
            const std::string message = isTo(form) ? "Parameter biBitCount of DIB-image have illegal value"
                                                   : inForm(form, "dib->biBitCount is bad");
            call.fails(-5, message.c_str());
        }
    }
}

// The fields of an image that is to be filled; each one with those tested later wrong as well.
TEST(BitmapFailure, theImageToFillIsTestedFieldByField) {
    struct {
        const char *message;
        std::function<void(MoxImage &)> spoil;
    } const faults[] = {
        {"( image->alphaChannel < 0 )", [](MoxImage &image) { image.alphaChannel = -1; }},
        {"( image->nChannels < image->alphaChannel )", [](MoxImage &image) { image.alphaChannel = 2; }},
        {"( (image->dataOrder != 0) && (image->dataOrder != 1) )", [](MoxImage &image) { image.dataOrder = 2; }},
        {"( (image->origin != 0) && (image->origin != 1) )", [](MoxImage &image) { image.origin = 2; }},
        {"( (image->align != 4) && (image->align != 8) && (image->align != 16) && (image->align != 32) )",
         [](MoxImage &image) { image.align = 1; }},
        {"(image->height <= 0)", [](MoxImage &image) { image.height = 0; }},
        {"(image->width <= 0)", [](MoxImage &image) { image.width = -5; }},
        {"(image->imageSize <= 0)", [](MoxImage &image) { image.imageSize = 0; }},
        {"(image->widthStep <= 0)", [](MoxImage &image) { image.widthStep = INT_MIN; }},
    };
    for (Form form : {FROM, FROM_SEP}) {
        const size_t count = sizeof faults / sizeof *faults;
        for (size_t first = 0; first < count; ++first) {
            for (bool alone : {false, true}) {
                Call call(form);
                if (!alone) {
                    call.dib->biSize = 1;
                    for (size_t i = count; i-- > first + 1;)
                        faults[i].spoil(*call.target);
                }
                // The two of the alpha channel exclude each other.
                faults[first].spoil(*call.target);
                call.fails(-5, faults[first].message);
            }
        }
    }
}

TEST(BitmapFailure, theImageToFillNamesItsChannels) {
    struct {
        int channels, alpha;
        const char *sequence;
        bool accepted;
    } const cases[] = {{1, 0, "GRAY", true},    {1, 0, "G\0\0", true},  {3, 0, "RGB\0", true},  {3, 0, "BGR\0", true},
                       {4, 4, "RGBA", true},    {4, 4, "BGRA", true},   {1, 0, "RGB\0", false}, {3, 0, "GRAY", false},
                       {3, 0, "GBR\0", false},  {4, 4, "ARGB", false},  {4, 4, "RGB\0", false}, {3, 0, "rgb\0", false},
                       {3, 0, "\0\0\0", false}, {2, 0, "RGB\0", false}, {5, 0, "RGBA", false},  {1, 0, "\0\0\0", false},
                       {2, 0, "GRAY", false},   {1, 0, "BGRA", false}};
    for (const auto &each : cases) {
        for (bool separate : {false, true}) {
            TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 8, 8, each.channels);
            layout.alpha = each.alpha;
            TestImage image(layout);
            memcpy(image.header()->channelSeq, each.sequence, 4);
            const TestBytes before = image.bytes();
            TestBitmap bitmap({8, 8, 24}, 1, separate);
            SCOPED_TRACE(std::string(each.sequence) + " " + std::to_string(each.channels));
            ReportRecorder reports;
            bitmap.convertFrom(image.header());
            if (each.accepted) {
                EXPECT_TRUE(reports.none());
                continue;
            }
            EXPECT_TRUE(reports.are({{-14, bitmap.nameOfFrom(), "image->channelSeq unsupport"}}));
            EXPECT_TRUE(image.holds(before));
        }
    }
}

// Larger or smaller in either direction.
TEST(BitmapFailure, theSizesMustAgree) {
    for (auto [width, height] : {std::pair{7, 8}, {9, 8}, {8, 7}, {8, 9}, {8, -7}, {8, -9}, {16, 4}, {1, 1}}) {
        for (bool separate : {false, true}) {
            TestBitmap bitmap({width, height, 8}, 1, separate);
            bitmap.drawPixels(3);
            bitmap.keep();
            TestImage image(usualLayout());
            const TestBytes before = image.bytes();
            SCOPED_TRACE(bitmap.shape().describe());
            ReportRecorder reports;
            bitmap.convertFrom(image.header());
            EXPECT_TRUE(reports.are({{-10, bitmap.nameOfFrom(), "Image size is too small"}}));
            EXPECT_TRUE(image.holds(before));
            reports.clear();
            bitmap.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_NONE);
            const std::string message =
                std::string(separate ? "(image->width != dibHeader->biWidth" : "(image->width != dib->biWidth") +
                " || image->height != abs_biHeight)";
            EXPECT_TRUE(reports.are({{-5, bitmap.nameOfTo(), message.c_str()}}));
            EXPECT_TRUE(bitmap.isUntouched());
        }
    }
}

// Sizes that no memory holds, and none at all.
TEST(BitmapFailure, extremeSizesAreRefused) {
    for (int width : {0, -8, INT_MIN, INT_MAX, 8}) {
        for (int height : {0, INT_MIN, INT_MAX, -INT_MAX, 8}) {
            if (width == 8 && height == 8) continue;
            for (int bits : {1, 4, 8, 24, 32}) {
                SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height) + " bits " + std::to_string(bits));
                for (Form form : {FROM, FROM_SEP, TO, TO_SEP}) {
                    Call call(form);
                    call.dib->biBitCount = static_cast<unsigned short>(bits);
                    call.dib->biWidth = width;
                    call.dib->biHeight = height;
                    if (isTo(form)) {
                        call.fails(-5, form == TO_SEP
                                           ? "(image->width != dibHeader->biWidth || image->height != abs_biHeight)"
                                           : "(image->width != dib->biWidth || image->height != abs_biHeight)");
                    } else {
                        call.fails(-10, "Image size is too small");
                    }
                }
            }
        }
    }
}

// A size that no image has is reported by the creator of headers or by nobody, and then as told.
TEST(BitmapFailure, extremeSizesAreNotTranslated) {
    struct {
        int width, height, leastBits;  // at fewer bits the image could be
    } const cases[] = {{0, 8, 1},
                       {8, 0, 1},
                       {-8, 8, 1},
                       {INT_MIN, 8, 1},
                       {8, INT_MIN, 1},
                       {INT_MAX, 8, 4},
                       {INT_MAX, INT_MAX, 1},
                       {INT_MIN, INT_MIN, 1},
                       {-1, -1, 1},
                       {8, INT_MAX, 1},
                       {0x10000, 0x10000, 4},
                       {0x10000, -0x10000, 4}};
    for (const auto &each : cases) {
        for (int bits : {1, 4, 8, 16, 24, 32}) {
            if (bits < each.leastBits) continue;
            TestBitmap bitmap({8, 8, bits});
            if (bits <= 8) bitmap.setGrayRamp();
            bitmap.header()->biWidth = each.width;
            bitmap.header()->biHeight = each.height;
            bitmap.keep();
            SCOPED_TRACE(std::to_string(each.width) + "x" + std::to_string(each.height) + " bits " +
                         std::to_string(bits));
            int flag = 0;
            ReportRecorder reports;
            EXPECT_EQ(moxTranslateDIB(bitmap.header(), &flag), nullptr);
            EXPECT_EQ(flag, 0);
            std::vector<ReportExpected> expected = {
                {-4, "moxTranslateDIB", "Not enough memory to allocate header for destination image"}};
            if (reports.seen.size() > 1)
                expected.insert(expected.begin(), {-10, "moxCreateImageHeader", "Incorrect data-ins"});
            EXPECT_TRUE(reports.are(expected));
            EXPECT_TRUE(bitmap.isUntouched());
        }
    }
}

TEST(BitmapFailure, theImageToWriteIsTestedInOrder) {
    struct {
        unsigned depth;
        int channels, alpha;
        const char *message;
    } const cases[] = {
        {MOX_DEPTH_32F, 2, 2, "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )"},
        {MOX_DEPTH_32S, 1, 0, "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )"},
        {MOX_DEPTH_8S, 1, 0, "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )"},
        {MOX_DEPTH_16S, 1, 0, "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )"},
        {MOX_DEPTH_8U, 2, 2, "(image->alphaChannel != 0 && image->alphaChannel != 4)"},
        {MOX_DEPTH_8U, 1, 1, "(image->alphaChannel != 0 && image->alphaChannel != 4)"},
        {MOX_DEPTH_16U, 5, 5, "(image->alphaChannel != 0 && image->alphaChannel != 4)"},
        {MOX_DEPTH_8U, 2, 0, "(image->nChannels != 3 && image->nChannels != 1)"},
        {MOX_DEPTH_8U, 4, 0, "(image->nChannels != 3 && image->nChannels != 1)"},
        {MOX_DEPTH_16U, 5, 0, "(image->nChannels != 3 && image->nChannels != 1)"},
    };
    for (const auto &each : cases) {
        for (Form form : {TO, TO_SEP}) {
            TestLayout layout = TestLayout::of(each.depth, 8, 8, each.channels);
            layout.alpha = each.alpha;
            TestImage image(layout);
            Call call(form);
            call.target = image.header();
            call.dib->biSize = 41;
            call.fails(-5, each.message);
        }
    }
}

TEST(BitmapFailure, aBadImageToWriteIsIncorrect) {
    for (Form form : {TO, TO_SEP}) {
        Call call(form);
        call.dib->biSize = 41;
        call.target->align = 3;
        call.fails(-21, "Incorrect Image");
        Call mask(form);
        TestImage wide(TestLayout::of(MOX_DEPTH_8U, 8, 8));
        mask.image.setMask(&wide);
        mask.dib->biSize = 41;
        mask.fails(-117, "Incorrect Image");
        Call bare(form);
        bare.target->imageData = nullptr;
        bare.fails(-12, "Incorrect Image");
    }
}

TEST(BitmapFailure, ditherAndPaletteConversionComeLast) {
    for (Form form : {TO, TO_SEP}) {
        for (int dither : {0, 3, 5, 6, 7, 17, 32, -1, INT_MIN, INT_MAX}) {
            Call call(form);
            call.dither = dither;
            call.palette = 9;
            call.dib->biBitCount = 9;
            call.fails(-5, "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)");
        }
        for (int palette : {3, -1, 4, INT_MIN, INT_MAX}) {
            Call call(form);
            call.palette = palette;
            call.dib->biBitCount = 9;
            call.fails(-5, "(paletteConversion != 0 && paletteConversion != 1 && paletteConversion != 2)");
        }
    }
}

TEST(BitmapFailure, fixedPalettesHaveTwoSixteenOrAllEntries) {
    for (bool separate : {false, true}) {
        for (auto [bits, clrUsed] :
             {std::pair{8, 1u}, {8, 3u}, {8, 15u}, {8, 17u}, {8, 255u}, {4, 3u}, {4, 15u}, {1, 1u}, {1, 3u}}) {
            BitmapShape shape = {8, 8, bits};
            shape.clrUsed = clrUsed;
            TestBitmap bitmap(shape, 1, separate);
            TestImage image(usualLayout());
            ReportRecorder reports;
            bitmap.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_POPULATE);
            EXPECT_TRUE(reports.are({{-5, bitmap.nameOfTo(), "Palette conversion is bad"}})) << bits << " " << clrUsed;
            EXPECT_TRUE(bitmap.isUntouched());
        }
    }
}

TEST(BitmapFailure, theImageToWriteNamesItsChannels) {
    for (auto [channels, sequence] : {std::pair{3, "GRB\0"}, {3, "GRAY"}, {4, "ABGR"}, {4, "BGR\0"}, {3, "bgr\0"}}) {
        for (int bits : {1, 4, 8, 16, 24, 32}) {
            for (bool separate : {false, true}) {
                TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 8, 8, channels);
                if (channels == 4) layout.alpha = 4;
                TestImage image(layout);
                memcpy(image.header()->channelSeq, sequence, 4);
                TestBitmap bitmap({8, 8, bits}, 1, separate);
                ReportRecorder reports;
                bitmap.convertTo(image.header(), MOX_DITHER_NONE, MOX_PALCONV_NONE);
                EXPECT_TRUE(reports.are({{-14, bitmap.nameOfTo(), "image->channelSeq unsupport"}})) << sequence;
                EXPECT_TRUE(bitmap.isUntouched());
            }
        }
    }
}

// A status left over from before does not matter, and stays.
TEST(BitmapFailure, aLeftoverStatusDoesNotMatter) {
    for (Form form : allForms) {
        Call call(form);
        ReportRecorder reports;
        moxSetErrStatus(-7);
        call.run();
        EXPECT_TRUE(reports.none()) << nameOf(form);
        EXPECT_EQ(moxGetErrStatus(), -7);
        EXPECT_EQ(call.translated != nullptr, form == TRANSLATE);
        moxDeallocateHeader(call.translated);
    }
}

}  // namespace
