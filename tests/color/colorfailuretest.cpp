// The checks of the colour models and of gray: each message, its place in the order, and what a refused call has
// changed all the same.
#include <climits>
#include <cstring>

#include "color/colorpair.h"
#include "color/refusedcall.h"

namespace {

const char ROI[] = "src & dst roi must be NULL";
const char SHAPE[] =
    "(src->nChannels < 3 ) || (dst->nChannels != 3 ) || (src->depth != dst->depth) || (src->dataOrder != "
    "dst->dataOrder) || (src->origin != dst->origin)";
const char WRONG[] = "Incorrect Image";

Side rgb(const char *sequence = "RGB", const char *model = "RGB") {
    return {.channels = 3, .model = model, .sequence = sequence};
}
Side other(const RefModel &model) {
    return {.channels = 3, .model = model.model, .sequence = model.model};
}
Side sourceOf(const RefModel &model) {
    Side side = model.forward ? rgb() : other(model);
    side.depth = model.depths[0];
    return side;
}
Side destinationOf(const RefModel &model) {
    Side side = model.forward ? other(model) : rgb();
    side.depth = model.depths[0];
    return side;
}
bool isYUV(const RefModel &model) {
    return strcmp(model.model, "YUV") == 0;
}

void expect(const RefModel &model, const Side &src, const Side &dst, const std::string &message) {
    RefusedCall(src, dst).expect(model.call, model.name, message.empty() ? nullptr : message.c_str());
}

class ColorFailure : public testing::TestWithParam<RefModel> {};
INSTANTIATE_TEST_SUITE_P(Color, ColorFailure, testing::ValuesIn(refModels()),
                         [](const auto &each) { return std::string(each.param.name); });

TEST_P(ColorFailure, headersAreTestedFirst) {
    const RefModel &model = GetParam();
    RefusedCall images(rgb("XXX", "XXX"), rgb("XXX", "XXX"));
    ReportRecorder reports;
    model.call(nullptr, nullptr);
    model.call(nullptr, images.dst());
    model.call(images.src(), nullptr);
    EXPECT_TRUE(reports.are({{-9, model.name, WRONG}, {-9, model.name, WRONG}, {-9, model.name, WRONG}}));
    reports.clear();
    images.dst()->align = 5;
    model.call(images.src(), images.dst());
    EXPECT_TRUE(reports.are({{-21, model.name, WRONG}}));
    EXPECT_EQ(moxGetErrStatus(), -21);
    reports.clear();
    images.src()->imageData = nullptr;
    model.call(images.src(), images.dst());
    EXPECT_TRUE(reports.are({{-12, model.name, WRONG}}));
}

// Each check with everything failing that is tested after it and can.
TEST_P(ColorFailure, theOrderOfTheChecks) {
    const RefModel &model = GetParam();
    Side src = sourceOf(model), dst = destinationOf(model);
    Side &colored = model.forward ? src : dst;
    src.channels = 2;
    src.origin = 1;
    src.order = 1;
    src.coi = dst.coi = 0;
    src.model = dst.model = "Gone";
    src.sequence = dst.sequence = "Away";
    if (isYUV(model)) {
        dst.depth = MOX_DEPTH_16S;
        expect(model, src, dst, "src1->depth != src2->depth");
    }
    src.depth = dst.depth = MOX_DEPTH_16S;
    expect(model, src, dst, "colorModel must be RGB instead of Gone ");
    colored.model = "RGB";
    expect(model, src, dst, "channelSeq must be RGB or BGR instead of Away ");
    colored.sequence = "BGR";
    if (!model.forward) {
        expect(model, src, dst, std::string("src-> colorModel must be ") + model.model + " instead of Gone");
        src.model = model.model;
        expect(model, src, dst, std::string("src-> channelSeq must be ") + model.model + " instead of Away");
        src.sequence = model.model;
    }
    expect(model, src, dst, ROI);
    src.coi = -1;
    expect(model, src, dst, ROI);
    dst.coi = -1;
    expect(model, src, dst, SHAPE);
    src.channels = 3;
    expect(model, src, dst, SHAPE);
    src.origin = 0;
    expect(model, src, dst, SHAPE);
    dst.order = 1;
    RefusedCall depths(src, dst);
    if (model.forward) {
        // The new names stand before depths are looked at.
        ReportRecorder reports;
        const TestBytes before = depths.destination().bytes();
        model.call(depths.src(), depths.dst());
        EXPECT_TRUE(reports.are({{-5, model.kernel, model.depthMessage}}));
        EXPECT_TRUE(depths.destination().holds(before));
        EXPECT_EQ(memcmp(depths.dst()->colorModel, model.model, 4), 0);
        EXPECT_EQ(memcmp(depths.dst()->channelSeq, model.model, 4), 0);
    } else {
        depths.expect(model.call, model.kernel, model.depthMessage);
    }
}

TEST_P(ColorFailure, namesGoByTheirFirstThreeCharacters) {
    const RefModel &model = GetParam();
    const Side src = sourceOf(model), dst = destinationOf(model);
    const auto withRGB = [&](const char *name, const char *sequence, const std::string &message) {
        Side from = src, to = dst;
        (model.forward ? from : to).model = name;
        (model.forward ? from : to).sequence = sequence;
        RefusedCall images(from, to);
        if (!message.empty()) {
            images.expect(model.call, model.name, message.c_str());
            return;
        }
        ReportRecorder reports;
        model.call(images.src(), images.dst());
        EXPECT_TRUE(reports.none()) << name << " " << sequence;
    };
    for (const char *name : {"RGB", "RGBA", "RGB "}) {
        for (const char *sequence : {"RGB", "BGR", "RGBA", "BGRA", "BGR "})
            withRGB(name, sequence, "");
    }
    for (const char *name : {"BGR", "rgb", "RG", "", "HSV", "GRAY", "Rgb", " RGB", "RBG"})
        withRGB(name, "RGB", std::string("colorModel must be RGB instead of ") + name + " ");
    for (const char *sequence : {"GBR", "RBG", "rgb", "RG", "", "ARGB", "BRG", "R"})
        withRGB("RGB", sequence, std::string("channelSeq must be RGB or BGR instead of ") + sequence + " ");
    if (model.forward) return;
    for (const char *more : {"", " ", "A"}) {
        Side from = src;
        const std::string name = std::string(model.model) + more;
        from.model = from.sequence = name.c_str();
        expect(model, from, dst, "");
    }
    for (const char *name : {"RGB", "hsv", "HS", "", "YCb", "VSH"}) {
        Side from = src;
        from.model = name;
        expect(model, from, dst, std::string("src-> colorModel must be ") + model.model + " instead of " + name);
        from = src;
        from.sequence = name;
        expect(model, from, dst, std::string("src-> channelSeq must be ") + model.model + " instead of " + name);
    }
}

TEST_P(ColorFailure, regionsAreRefused) {
    const RefModel &model = GetParam();
    for (int which = 1; which <= 3; ++which) {
        for (int coi : {0, 2}) {
            Side src = sourceOf(model), dst = destinationOf(model);
            if (which & 1) src.coi = coi;
            if (which & 2) dst.coi = coi;
            expect(model, src, dst, ROI);
        }
    }
}

// What is refused for its shape keeps its names.
TEST_P(ColorFailure, shapesAgree) {
    const RefModel &model = GetParam();
    for (int srcChannels = 1; srcChannels <= 5; ++srcChannels) {
        for (int dstChannels = 1; dstChannels <= 5; ++dstChannels) {
            if (srcChannels >= 3 && dstChannels == 3) continue;
            Side src = sourceOf(model), dst = destinationOf(model);
            src.channels = srcChannels;
            dst.channels = dstChannels;
            expect(model, src, dst, SHAPE);
        }
    }
    for (int order : {0, 1}) {
        Side src = sourceOf(model), dst = destinationOf(model);
        if (isYUV(model)) src.depth = dst.depth = MOX_DEPTH_16U;
        src.order = order;
        dst.order = 1 - order;
        expect(model, src, dst, SHAPE);
        src = sourceOf(model);
        src.origin = order;
        dst = destinationOf(model);
        dst.origin = 1 - order;
        expect(model, src, dst, SHAPE);
    }
    for (unsigned srcDepth : allDepths) {
        for (unsigned dstDepth : allDepths) {
            if (srcDepth == dstDepth) continue;
            Side src = sourceOf(model), dst = destinationOf(model);
            src.depth = srcDepth;
            dst.depth = dstDepth;
            if (srcDepth == MOX_DEPTH_1U) src.channels = 1;
            if (dstDepth == MOX_DEPTH_1U) dst.channels = 1;
            expect(model, src, dst, isYUV(model) ? "src1->depth != src2->depth" : SHAPE);
        }
    }
}

TEST_P(ColorFailure, depthsThatHaveNoFormula) {
    const RefModel &model = GetParam();
    for (unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_1U) continue;
        Side src = sourceOf(model), dst = destinationOf(model);
        src.depth = dst.depth = depth;
        RefusedCall images(src, dst);
        const TestBytes before = images.destination().bytes();
        ReportRecorder reports;
        model.call(images.src(), images.dst());
        if (model.accepts(depth)) {
            EXPECT_TRUE(reports.none());
            EXPECT_NE(images.destination().bytes(), before);
        } else {
            EXPECT_TRUE(reports.are({{-5, model.kernel, model.depthMessage}}));
            EXPECT_TRUE(images.destination().holds(before));
        }
    }
    // Bits have one channel.
    Side src = sourceOf(model), dst = destinationOf(model);
    src.depth = dst.depth = MOX_DEPTH_1U;
    src.channels = dst.channels = 1;
    expect(model, src, dst, SHAPE);
}

// Images that no memory holds are refused last, and named like the depth: the names stand by then.
TEST_P(ColorFailure, headersThatNoMemoryHolds) {
    const RefModel &model = GetParam();
    for (bool onSource : {false, true}) {
        RefusedCall images(sourceOf(model), destinationOf(model));
        MoxImage *header = onSource ? images.src() : images.dst();
        const TestBytes before = images.destination().bytes();
        ReportRecorder reports;
        header->width = 1 << 29;
        model.call(images.src(), images.dst());
        ASSERT_EQ(reports.seen.size(), 1u);
        EXPECT_EQ(reports.seen[0].message, WRONG);
        EXPECT_TRUE(images.destination().holds(before));
    }
}

TEST_P(ColorFailure, aLeftoverStatusDoesNotMatter) {
    const RefModel &model = GetParam();
    RefusedCall images(sourceOf(model), destinationOf(model));
    const TestBytes before = images.destination().bytes();
    ReportRecorder reports;
    moxSetErrStatus(-7);
    model.call(images.src(), images.dst());
    EXPECT_TRUE(reports.none());
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_NE(images.destination().bytes(), before);
}

// --- YUV between orders

TEST(ColorMixedFailure, ordersDifferForBytesOfThreeChannelsOneWay) {
    for (const char *name : {"moxRGB2YUV", "moxYUV2RGB"}) {
        const RefModel &model = refModel(name);
        for (unsigned depth : {MOX_DEPTH_8U, MOX_DEPTH_16U, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
            for (int srcOrder : {0, 1}) {
                for (int srcChannels : {3, 4}) {
                    Side src = sourceOf(model), dst = destinationOf(model);
                    src.depth = dst.depth = depth;
                    src.channels = srcChannels;
                    src.order = srcOrder;
                    dst.order = 1 - srcOrder;
                    // From pixels to planes, and back from planes to pixels.
                    const bool way = model.forward ? srcOrder == 0 && srcChannels == 3 : srcOrder == 1;
                    const bool taken = depth == MOX_DEPTH_8U && way;
                    if (taken && srcChannels == 4) continue;
                    SCOPED_TRACE(std::string(name) + " " + depthName(depth) + " order " + std::to_string(srcOrder) +
                                 " channels " + std::to_string(srcChannels));
                    RefusedCall images(src, dst);
                    if (taken) {
                        ReportRecorder reports;
                        model.call(images.src(), images.dst());
                        EXPECT_TRUE(reports.none());
                    } else {
                        images.expect(model.call, name, SHAPE);
                    }
                }
            }
        }
        // The rest of the shape counts there too.
        Side src = sourceOf(model), dst = destinationOf(model);
        (model.forward ? dst : src).order = 1;
        dst.origin = 1;
        expect(model, src, dst, SHAPE);
        dst.origin = 0;
        dst.channels = 4;
        expect(model, src, dst, SHAPE);
    }
}

// Of the others no orders differ.
TEST(ColorMixedFailure, otherModelsTakeOneOrder) {
    for (const RefModel &model : refModels()) {
        if (isYUV(model)) continue;
        Side src = sourceOf(model), dst = destinationOf(model);
        dst.order = 1;
        expect(model, src, dst, SHAPE);
    }
}

// --- gray

Side gray(unsigned depth = MOX_DEPTH_8U) {
    return {.depth = depth, .model = "GRAY", .sequence = "G"};
}

void toGray(const Side &src, const Side &dst, const char *message, const char *function = "moxColorToGray") {
    RefusedCall(src, dst).expect(moxColorToGray, function, message);
}

TEST(ToGrayFailure, theOrderOfTheChecks) {
    const char depths[] = "Error in-out depth. 32S,16U,8U=> 16U,8U,1U are valid now";
    Side src = {
        .depth = MOX_DEPTH_32F, .channels = 3, .order = 1, .origin = 1, .coi = 0, .model = "Gone", .sequence = "Away"};
    Side dst = {.depth = MOX_DEPTH_32F, .channels = 2, .coi = 0, .model = "Gone", .sequence = "Away"};
    toGray(src, dst, "colorModel must be RGB instead of Gone ");
    src.model = "RGB";
    toGray(src, dst, "channelSeq must be RGB or BGR instead of Away ");
    src.sequence = "BGR";
    toGray(src, dst, "colorModel must be GRAY instead of Gone ");
    dst.model = "GRAY";
    toGray(src, dst, "channelSeq must be G instead of Away ");
    dst.sequence = "G";
    toGray(src, dst, ROI);
    src.coi = -1;
    toGray(src, dst, ROI);
    dst.coi = -1;
    toGray(src, dst, "(dst-> dataOrder == MOX_DATA_ORDER_PIXEL) && (dst-> nChannels != 1)");
    dst.channels = 1;
    toGray(src, dst, "src->origin != dst->origin");
    dst.origin = 1;
    toGray(src, dst, depths, "ownColorToGray");
    src.depth = MOX_DEPTH_8U;
    toGray(src, dst, depths, "ownColorToGray");
    dst.depth = MOX_DEPTH_8U;
    toGray(src, dst, nullptr);
}

TEST(ToGrayFailure, depths) {
    const char message[] = "Error in-out depth. 32S,16U,8U=> 16U,8U,1U are valid now";
    for (unsigned src : {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
        for (unsigned dst : allDepths) {
            const bool fits = (src == MOX_DEPTH_8U || src == MOX_DEPTH_16U || src == MOX_DEPTH_32S) &&
                              (dst == MOX_DEPTH_16U || dst == MOX_DEPTH_8U || dst == MOX_DEPTH_1U);
            Side from = rgb();
            from.depth = src;
            SCOPED_TRACE(std::string(depthName(src)) + " to " + depthName(dst));
            toGray(from, gray(dst), fits ? nullptr : message, fits ? "" : "ownColorToGray");
        }
    }
}

TEST(ToGrayFailure, namesOfGray) {
    for (const char *name : {"GRAY", "Gray", "GRA", "Gra", "GRAz"}) {
        for (const char *sequence : {"G", "GRAY", "Gx"}) {
            Side dst = gray();
            dst.model = name;
            dst.sequence = sequence;
            toGray(rgb(), dst, nullptr);
            RefusedCall(dst, rgb())
                .expect([](MoxImage *s, MoxImage *d) { moxGrayToColor(s, d, 0, 0, 0); }, "moxGrayToColor", nullptr);
        }
    }
    for (const char *name : {"gray", "GREY", "Grey", "GrAY", "GR", "RGB", ""}) {
        Side dst = gray();
        dst.model = name;
        const std::string message = std::string("colorModel must be GRAY instead of ") + name + " ";
        toGray(rgb(), dst, message.c_str());
        RefusedCall(dst, rgb())
            .expect([](MoxImage *s, MoxImage *d) { moxGrayToColor(s, d, 0, 0, 0); }, "moxGrayToColor", message.c_str());
    }
    for (const char *sequence : {"g", "RGB", "", " G"}) {
        Side dst = gray();
        dst.sequence = sequence;
        const std::string message = std::string("channelSeq must be G instead of ") + sequence + " ";
        toGray(rgb(), dst, message.c_str());
        RefusedCall(dst, rgb())
            .expect([](MoxImage *s, MoxImage *d) { moxGrayToColor(s, d, 0, 0, 0); }, "moxGrayToColor", message.c_str());
    }
}

void toColor(const Side &src, const Side &dst, const char *message, const char *function = "moxGrayToColor") {
    RefusedCall(src, dst).expect([](MoxImage *s, MoxImage *d) { moxGrayToColor(s, d, 0.5f, 0.25f, 0.25f); }, function,
                                 message);
}

TEST(ToColorFailure, theOrderOfTheChecks) {
    const char depths[] = "src-> depth != dst-> depth && src-> depth != 1U",
               bits[] = "src-> depth == dst-> depth && dst-> depth != 8U",
               orders[] =
                   "(src->dataOrder==MOX_DATA_ORDER_PIXEL) && (dst->dataOrder == MOX_DATA_ORDER_PLANE) is not "
                   "supported",
               channels[] = "(src-> dataOrder == MOX_DATA_ORDER_PIXEL) && (src-> nChannels != 1)",
               valid[] = "Error input depth. 32S,16U,8U are valid now";
    Side src = {.depth = MOX_DEPTH_16S, .channels = 2, .origin = 1, .coi = 0, .model = "Gone", .sequence = "Away"};
    Side dst = {.depth = MOX_DEPTH_8S, .channels = 3, .order = 1, .coi = 0, .model = "Gone", .sequence = "Away"};
    toColor(src, dst, "colorModel must be RGB instead of Gone ");
    dst.model = "RGB";
    toColor(src, dst, "channelSeq must be RGB or BGR instead of Away ");
    dst.sequence = "RGB";
    toColor(src, dst, "colorModel must be GRAY instead of Gone ");
    src.model = "Gray";
    toColor(src, dst, "channelSeq must be G instead of Away ");
    src.sequence = "G";
    toColor(src, dst, ROI);
    src.coi = -1;
    toColor(src, dst, ROI);
    dst.coi = -1;
    toColor(src, dst, depths);
    Side bit = src;
    bit.depth = MOX_DEPTH_1U;
    bit.channels = 1;
    toColor(bit, dst, bits);
    dst.depth = MOX_DEPTH_16S;
    toColor(src, dst, orders);
    dst.order = 0;
    toColor(src, dst, channels);
    src.channels = 1;
    toColor(src, dst, "(src->origin != dst->origin)");
    dst.origin = 1;
    toColor(src, dst, valid, "ownGrayToColor");
    src.depth = dst.depth = MOX_DEPTH_16U;
    toColor(src, dst, nullptr);
}

TEST(ToColorFailure, depths) {
    const char depths[] = "src-> depth != dst-> depth && src-> depth != 1U",
               bits[] = "src-> depth == dst-> depth && dst-> depth != 8U",
               valid[] = "Error input depth. 32S,16U,8U are valid now";
    for (unsigned src : allDepths) {
        for (unsigned dst : {MOX_DEPTH_8U, MOX_DEPTH_8S, MOX_DEPTH_16U, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
            SCOPED_TRACE(std::string(depthName(src)) + " to " + depthName(dst));
            Side to = rgb();
            to.depth = dst;
            if (src == MOX_DEPTH_1U) {
                toColor(gray(src), to, dst == MOX_DEPTH_8U ? nullptr : bits);
            } else if (src != dst) {
                toColor(gray(src), to, depths);
            } else {
                const bool fits = src == MOX_DEPTH_8U || src == MOX_DEPTH_16U || src == MOX_DEPTH_32S;
                toColor(gray(src), to, fits ? nullptr : valid, fits ? "" : "ownGrayToColor");
            }
        }
    }
}

TEST(GrayFailure, headersAreTestedFirst) {
    RefusedCall images(rgb("XXX", "XXX"), rgb("XXX", "XXX"));
    const auto toColorCall = [](MoxImage *s, MoxImage *d) { moxGrayToColor(s, d, 0, 0, 0); };
    const std::pair<const char *, RefusedCall::Call> calls[] = {{"moxColorToGray", moxColorToGray},
                                                                {"moxGrayToColor", toColorCall}};
    for (const auto &[name, call] : calls) {
        images.src()->align = images.dst()->align = 8;
        ReportRecorder reports;
        call(nullptr, nullptr);
        call(images.src(), nullptr);
        images.dst()->align = 5;
        call(images.src(), images.dst());
        images.src()->align = 7;
        images.dst()->align = 8;
        images.dst()->origin = 3;
        call(images.src(), images.dst());
        images.dst()->origin = 0;
        EXPECT_TRUE(reports.are({{-9, name, WRONG}, {-9, name, WRONG}, {-21, name, WRONG}, {-21, name, WRONG}}));
    }
}

}  // namespace
