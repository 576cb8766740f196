// The operations with opacities: every test of theirs with its report, and which comes first where several fail.

#include "arith/alphacheck.h"

namespace {

// Rows long enough for more channels or samples, so that fields of a header may be changed alone, and a region that
// covers it all.
TestLayout roomy(int channels) {
    TestLayout layout = TestLayout::of(MOX_DEPTH_8U, 10, 10, channels);
    layout.alpha = channels;
    layout.extraStride = 200;
    layout.setRoi(0, 0, 0, 10, 10);
    return layout;
}

// Arguments that every operation accepts.
struct Arguments {
    TestImage images[6] = {TestImage(roomy(4), 1), TestImage(roomy(4), 2), TestImage(roomy(4), 3),
                           TestImage(roomy(2), 4), TestImage(roomy(2), 5), TestImage(roomy(2), 6)};
    MoxImage *a = images[0].header(), *b = images[1].header(), *dst = images[2].header(), *alphaA = images[3].header(),
             *alphaB = images[4].header(), *alphaDst = images[5].header();
    int type = MOX_COMPOSITE_OVER, premulAlpha = 1, divideMode = 0, aA = 100, aB = 200;
    int alpha = 100;  // of moxPreMultiplyAlpha

    std::vector<TestImage *> all() {
        std::vector<TestImage *> list;
        for (TestImage &image : images)
            list.push_back(&image);
        return list;
    }
};

// A channel more, of colour or of alpha, the rest as before.
void addColour(MoxImage *image) {
    ++image->nChannels;
    if (image->alphaChannel) ++image->alphaChannel;
}
// All three images with a channel of interest.
void nameChannels(Arguments &args) {
    for (int i = 0; i < 3; ++i)
        args.images[i].roi()->coi = 1;
}
// One channel, and that is alpha.
void makeAlphaAlone(MoxImage *image) {
    image->nChannels = image->alphaChannel = 1;
}

struct Fault {
    std::function<void(Arguments &args)> make;
    MoxStatus status;
    std::string message;
};
struct Member {
    const char *name;
    void (*call)(Arguments &args);
    RefFault (*model)(const Arguments &args);
};

const Member composite = {
    "moxAlphaComposite",
    [](Arguments &x) {
        moxAlphaComposite(x.a, x.b, x.dst, x.type, x.alphaA, x.alphaB, x.alphaDst, x.premulAlpha, x.divideMode);
    },
    [](const Arguments &x) {
        return refCompositeFault(
            {x.a, x.b, x.dst, x.type, x.alphaA, x.alphaB, x.alphaDst, x.premulAlpha, x.divideMode});
    }};
const Member compositeC = {
    "moxAlphaCompositeC",
    [](Arguments &x) { moxAlphaCompositeC(x.a, x.b, x.dst, x.type, x.aA, x.aB, x.premulAlpha, x.divideMode); },
    [](const Arguments &x) {
        return refCompositeCFault({x.a, x.b, x.dst, x.type, x.aA, x.aB, x.premulAlpha, x.divideMode});
    }};
const Member preMultiply = {"moxPreMultiplyAlpha", [](Arguments &x) { moxPreMultiplyAlpha(x.dst, x.alpha); },
                            [](const Arguments &x) { return refPreMultiplyFault(x.dst, x.alpha); }};
const Member multiplyScale = {"moxMultiplyScale", [](Arguments &x) { moxMultiplyScale(x.a, x.b, x.dst); },
                              [](const Arguments &x) {
                                  return refMultiplyScaleFault({x.a, x.b}, x.dst);
                              }};
const Member multiplySScale = {"moxMultiplySScale", [](Arguments &x) { moxMultiplySScale(x.a, x.dst, 100); },
                               [](const Arguments &x) { return refMultiplyScaleFault({x.a}, x.dst); }};

// Every fault alone; then every two of them: where the model says that both are there, the first in the list wins.
void checkFaults(const Member &member, const std::vector<Fault> &faults) {
    for (const Fault &fault : faults) {
        SCOPED_TRACE(std::string(member.name) + ": " + fault.message);
        Arguments args;
        EXPECT_EQ(member.model(args).status, 0);
        fault.make(args);
        expectAlphaReport(args.all(), {{fault.status, member.name, fault.message.c_str()}}, [&] { member.call(args); });
        EXPECT_EQ(member.model(args).message, fault.message);
    }
    for (size_t i = 0; i < faults.size(); ++i) {
        for (size_t j = i + 1; j < faults.size(); ++j) {
            SCOPED_TRACE(std::string(member.name) + ": " + faults[i].message + " and " + faults[j].message);
            Arguments args;
            faults[j].make(args);
            faults[i].make(args);
            const RefFault fault = member.model(args);
            if (fault.status == 0) continue;
            expectAlphaReport(args.all(), {{fault.status, member.name, fault.message.c_str()}},
                              [&] { member.call(args); });
        }
    }
}

using Args = Arguments &;

std::vector<Fault> headerFaults(const char *name, MoxImage *Arguments::*image) {
    return {{[=](Args x) { x.*image = nullptr; }, -5, std::string(name) + "==0"},
            {[=](Args x) { (x.*image)->origin = 2; }, -20, "Incorrect Image"}};
}
void append(std::vector<Fault> *faults, const std::vector<Fault> &more) {
    faults->insert(faults->end(), more.begin(), more.end());
}

const char *const TYPE =
    "compositeType != 0 && compositeType != 1 && compositeType != 2 && compositeType != 3 && compositeType != 4 && "
    "compositeType != 5";

// What the compositions test first, and last.
std::vector<Fault> firstFaults() {
    std::vector<Fault> faults = headerFaults("dstImage", &Arguments::dst);
    append(&faults, headerFaults("srcImageA", &Arguments::a));
    append(&faults, headerFaults("srcImageB", &Arguments::b));
    append(&faults,
           {{[](Args x) { x.images[2].roi()->coi = 4; }, -5,
             "dstImage->alphaChannel > 0 && dstImage->roi->coi == dstImage->alphaChannel"},
            {[](Args x) { x.images[0].roi()->coi = 4; }, -5,
             "srcImageA->alphaChannel > 0 && srcImageA->roi->coi == srcImageA->alphaChannel"},
            {[](Args x) { x.images[1].roi()->coi = 4; }, -5,
             "srcImageB->alphaChannel > 0 && srcImageB->roi->coi == srcImageB->alphaChannel"},
            {[](Args x) { x.dst->depth = MOX_DEPTH_8S; }, -5, "dstImage->depth != 8 && dstImage->depth != 16"},
            {[](Args x) { x.a->depth = MOX_DEPTH_16U; }, -5, "srcImageA->depth != dstImage->depth"},
            {[](Args x) { x.b->depth = MOX_DEPTH_8S; }, -5, "srcImageB->depth != dstImage->depth"},
            {[](Args x) { nameChannels(x), x.a->roi = nullptr; }, -5, "dstImage->roi->coi > 0 && srcImageA->roi == 0"},
            {[](Args x) { nameChannels(x), x.images[0].roi()->coi = 0; }, -5,
             "dstImage->roi->coi > 0 && srcImageA->roi->coi == 0"},
            {[](Args x) { x.images[0].roi()->coi = 2, x.dst->roi = nullptr; }, -5,
             "srcImageA->roi->coi > 0 && dstImage->roi == 0"},
            {[](Args x) { x.images[0].roi()->coi = 2; }, -5, "srcImageA->roi->coi > 0 && dstImage->roi->coi == 0"},
            {[](Args x) { nameChannels(x), x.b->roi = nullptr; }, -5, "dstImage->roi->coi > 0 && srcImageB->roi == 0"},
            {[](Args x) { nameChannels(x), x.images[1].roi()->coi = 0; }, -5,
             "dstImage->roi->coi > 0 && srcImageB->roi->coi == 0"},
            {[](Args x) { x.images[1].roi()->coi = 3, x.dst->roi = nullptr; }, -5,
             "srcImageB->roi->coi > 0 && dstImage->roi == 0"},
            {[](Args x) { x.images[1].roi()->coi = 3; }, -5, "srcImageB->roi->coi > 0 && dstImage->roi->coi == 0"},
            {[](Args x) { addColour(x.a); }, -5,
             "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->nChannels - "
             "(dstImage->alphaChannel != 0))"},
            {[](Args x) { x.b->alphaChannel = 0; }, -5,
             "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != (dstImage->nChannels - "
             "(dstImage->alphaChannel != 0))"}});
    return faults;
}
std::vector<Fault> lastFaults() {
    return {{[](Args x) { x.type = 6; }, -5, TYPE},
            {[](Args x) { x.type = -1; }, -5, TYPE},
            {[](Args x) { x.premulAlpha = 2; }, -5, "premulAlpha != 0 && premulAlpha != 1"},
            {[](Args x) { x.premulAlpha = -1; }, -5, "premulAlpha != 0 && premulAlpha != 1"},
            {[](Args x) { x.divideMode = 2; }, -5, "divideMode != 0 && divideMode != 1"},
            {[](Args x) { x.divideMode = -1; }, -5, "divideMode != 0 && divideMode != 1"}};
}

// The image with as many colours as before and no alpha.
void dropAlpha(MoxImage *image) {
    image->alphaChannel = 0;
    --image->nChannels;
}

TEST(AlphaFailure, ofComposition) {
    std::vector<Fault> faults = firstFaults();
    append(
        &faults,
        {{[](Args x) { x.images[3].header()->align = 5; }, -21, "Incorrect Image"},
         {[](Args x) { x.images[3].header()->depth = MOX_DEPTH_16U; }, -5, "alphaImageA->depth != dstImage->depth"},
         {[](Args x) { x.alphaA = nullptr, dropAlpha(x.a); }, -5, "srcImageA->alphaChannel < 1"},
         {[](Args x) { x.images[4].header()->dataOrder = 2; }, -19, "Incorrect Image"},
         {[](Args x) { x.images[4].header()->depth = MOX_DEPTH_8S; }, -5, "alphaImageB->depth != dstImage->depth"},
         {[](Args x) { x.images[5].header()->height = 0; }, -10, "Incorrect Image"},
         {[](Args x) { x.images[5].header()->depth = MOX_DEPTH_16U; }, -5, "alphaImageDst->depth != dstImage->depth"},
         {[](Args x) { x.images[5].header()->alphaChannel = 0; }, -5, "alphaImageDst->alphaChannel < 1"}});
    append(&faults, lastFaults());
    checkFaults(composite, faults);
}

TEST(AlphaFailure, ofCompositionByConstants) {
    std::vector<Fault> faults = firstFaults();
    append(&faults, {{[](Args x) { x.aA = -1, dropAlpha(x.a); }, -5, "srcImageA->alphaChannel < 1"},
                     {[](Args x) { x.aB = -7, dropAlpha(x.b); }, -5, "srcImageB->alphaChannel < 1"}});
    append(&faults, lastFaults());
    checkFaults(compositeC, faults);
}

TEST(AlphaFailure, ofPremultiplication) {
    std::vector<Fault> faults = headerFaults("image", &Arguments::dst);
    append(&faults, {{[](Args x) { x.dst->depth = MOX_DEPTH_16S; }, -5, "image->depth != 8 && image->depth != 16"},
                     {[](Args x) { x.images[2].roi()->coi = 4; }, -5,
                      "image->alphaChannel > 0 && image->roi->coi == image->alphaChannel"},
                     {[](Args x) { x.alpha = -1, x.dst->alphaChannel = 0; }, -5, "image->alphaChannel < 1"}});
    checkFaults(preMultiply, faults);
}

std::vector<Fault> scaleFaults(const std::vector<std::pair<const char *, MoxImage * Arguments::*>> &sources) {
    std::vector<Fault> faults = headerFaults("dstImage", &Arguments::dst);
    for (const auto &[name, image] : sources)
        append(&faults, headerFaults(name, image));
    std::vector<std::pair<const char *, MoxImage *Arguments::*>> all = {{"dstImage", &Arguments::dst}};
    all.insert(all.end(), sources.begin(), sources.end());
    for (const auto &[name, image] : all) {
        const std::string alone = std::string(name) + "->alphaChannel == 1 && " + name;
        append(&faults, {{[image = image](Args x) { makeAlphaAlone(x.*image), (x.*image)->roi = nullptr; }, -5,
                          alone + "->roi == 0"},
                         {[image = image](Args x) { makeAlphaAlone(x.*image); }, -5, alone + "->roi->coi != 1"}});
    }
    append(&faults,
           {{[](Args x) { x.dst->depth = MOX_DEPTH_32F; }, -5, "dstImage->depth != 8 && dstImage->depth != 16"}});
    for (const auto &[name, image] : sources) {
        append(&faults, {{[image = image](Args x) { (x.*image)->depth = MOX_DEPTH_16U; }, -5,
                          std::string(name) + "->depth != dstImage->depth"}});
    }
    for (const auto &[name, image] : sources) {
        const std::string source = name, colours = "(" + source + "->nChannels - (" + source + "->alphaChannel != 0))",
                          own = "(dstImage->nChannels - (dstImage->alphaChannel != 0))";
        append(&faults,
               {{[image = image](Args x) { addColour(x.*image); }, -5, colours + " != " + own},
                {[image = image](Args x) { (x.*image)->roi->coi = 2; }, -5, own + " != (" + source + "->roi->coi > 0)"},
                {[image = image](Args x) {
                     nameChannels(x);
                     (x.*image)->roi->coi = 0;
                 },
                 -5, colours + " != (dstImage->roi->coi > 0)"}});
    }
    return faults;
}

TEST(AlphaFailure, ofScaledMultiplication) {
    checkFaults(multiplyScale, scaleFaults({{"srcImageA", &Arguments::a}, {"srcImageB", &Arguments::b}}));
}

TEST(AlphaFailure, ofScaledMultiplicationByConstants) {
    checkFaults(multiplySScale, scaleFaults({{"srcImage", &Arguments::a}}));
}

// From the last test to the first: each fault is added to those before and takes the report over.
TEST(AlphaFailure, ofCompositionIsReportedInTheOrderOfTheTests) {
    Arguments x;
    const auto expect = [&](MoxStatus status, const char *message) {
        SCOPED_TRACE(message);
        expectAlphaReport(x.all(), {{status, "moxAlphaComposite", message}}, [&] { composite.call(x); });
    };
    x.divideMode = 3;
    expect(-5, "divideMode != 0 && divideMode != 1");
    x.premulAlpha = 3;
    expect(-5, "premulAlpha != 0 && premulAlpha != 1");
    x.type = 7;
    expect(-5, TYPE);
    x.alphaDst->alphaChannel = 0;
    expect(-5, "alphaImageDst->alphaChannel < 1");
    x.alphaDst->depth = MOX_DEPTH_16U;
    expect(-5, "alphaImageDst->depth != dstImage->depth");
    x.alphaDst->origin = 3;
    expect(-20, "Incorrect Image");
    x.alphaB->depth = MOX_DEPTH_16U;
    expect(-5, "alphaImageB->depth != dstImage->depth");
    x.alphaB->align = 3;
    expect(-21, "Incorrect Image");
    x.alphaA->depth = MOX_DEPTH_16S;
    expect(-5, "alphaImageA->depth != dstImage->depth");
    x.alphaA->dataOrder = 3;
    expect(-19, "Incorrect Image");
    addColour(x.b);
    expect(-5,
           "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != (dstImage->nChannels - "
           "(dstImage->alphaChannel != 0))");
    addColour(x.a);
    expect(-5,
           "(srcImageA->nChannels - (srcImageA->alphaChannel != 0)) != (dstImage->nChannels - "
           "(dstImage->alphaChannel != 0))");
    x.b->roi->coi = 1;
    expect(-5, "srcImageB->roi->coi > 0 && dstImage->roi->coi == 0");
    x.a->roi->coi = 1;
    expect(-5, "srcImageA->roi->coi > 0 && dstImage->roi->coi == 0");
    x.b->depth = MOX_DEPTH_16U;
    expect(-5, "srcImageB->depth != dstImage->depth");
    x.a->depth = MOX_DEPTH_16U;
    expect(-5, "srcImageA->depth != dstImage->depth");
    x.dst->depth = MOX_DEPTH_8S;
    expect(-5, "dstImage->depth != 8 && dstImage->depth != 16");
    x.b->roi->coi = x.b->alphaChannel;
    expect(-5, "srcImageB->alphaChannel > 0 && srcImageB->roi->coi == srcImageB->alphaChannel");
    x.a->roi->coi = x.a->alphaChannel;
    expect(-5, "srcImageA->alphaChannel > 0 && srcImageA->roi->coi == srcImageA->alphaChannel");
    x.dst->roi->coi = x.dst->alphaChannel;
    expect(-5, "dstImage->alphaChannel > 0 && dstImage->roi->coi == dstImage->alphaChannel");
    x.b->width = 0;
    expect(-10, "Incorrect Image");
    x.b = nullptr;
    expect(-5, "srcImageB==0");
    x.a->align = 7;
    expect(-21, "Incorrect Image");
    x.a = nullptr;
    expect(-5, "srcImageA==0");
    x.dst->dataOrder = 7;
    expect(-19, "Incorrect Image");
    x.dst = nullptr;
    expect(-5, "dstImage==0");
}

// An alpha channel that is not the last is the header's fault: the tests of it behind the header's never speak.
TEST(AlphaFailure, ofAnAlphaChannelThatIsNotTheLast) {
    MoxImage *Arguments::*const images[] = {&Arguments::dst,    &Arguments::a,      &Arguments::b,
                                            &Arguments::alphaA, &Arguments::alphaB, &Arguments::alphaDst};
    for (int which = 0; which < 6; ++which) {
        for (int alpha : {-1, 1, 3, 5}) {
            Arguments args;
            (args.*images[which])->alphaChannel = alpha;
            for (const Member *member : {&composite, &compositeC, &preMultiply, &multiplyScale, &multiplySScale}) {
                if (member->model(args).status == 0) continue;
                expectAlphaReport(args.all(), {{-18, member->name, "Incorrect Image"}}, [&] { member->call(args); });
            }
        }
    }
}

// Masks are tested with the headers that have them.
TEST(AlphaFailure, ofAMask) {
    for (const Member *member : {&composite, &compositeC, &preMultiply, &multiplyScale, &multiplySScale}) {
        for (int which = 0; which < 6; ++which) {
            const bool taken = which == 2 || (which == 0 && member != &preMultiply) ||
                               (which == 1 && member != &preMultiply && member != &multiplySScale) ||
                               member == &composite;
            Arguments args;
            TestImage mask(TestLayout::ofMask(10, 10), 7);
            args.images[which].setMask(&mask);
            mask.header()->depth = MOX_DEPTH_8U;
            if (!taken) continue;
            expectAlphaReport(args.all(), {{-117, member->name, "Incorrect Image"}}, [&] { member->call(args); });
            mask.header()->depth = MOX_DEPTH_1U;
            mask.header()->alphaChannel = 2;
            expectAlphaReport(args.all(), {{-118, member->name, "Incorrect Image"}}, [&] { member->call(args); });
            mask.header()->alphaChannel = 0;
            TestLayout tiles = TestLayout::ofMask(10, 10);
            tiles.tileWidth = tiles.tileHeight = 8;
            TestImage tiled(tiles, 8);
            args.images[which].setMask(&tiled);
            expectAlphaReport(args.all(), {{-26, member->name, "Incorrect Image"}}, [&] { member->call(args); });
        }
    }
}

// One thing or another of the arguments spoiled, several at once: the model's tests say what is reported.
void spoil(Random &random, Args x) {
    MoxImage **const images[] = {&x.dst, &x.a, &x.b, &x.alphaA, &x.alphaB, &x.alphaDst};
    MoxImage *image = *images[random.below(6)];
    switch (random.below(13)) {
        case 0:
            if (random.oneIn(3)) *images[random.below(6)] = nullptr;
            break;
        case 1:
            (random.oneIn(3) ? x.type : random.oneIn(2) ? x.premulAlpha : x.divideMode) = random.between(-2, 7);
            break;
        case 2:
            x.aA = random.between(-2, 300);
            x.aB = random.between(-2, 300);
            x.alpha = random.between(-2, 300);
            if (random.oneIn(2)) x.alphaA = nullptr;
            break;
        case 3:
            if (image && image->roi) image->roi->coi = random.below(5);
            break;
        case 4:
            if (image) image->roi = nullptr;
            break;
        case 5:
            if (image) image->depth = random.oneIn(2) ? MOX_DEPTH_16U : allDepths[random.below(7)];
            break;
        case 6:
            for (int i = 0; i < 3; ++i) {
                if (*images[i]) (*images[i])->depth = MOX_DEPTH_16U;
            }
            break;
        case 7:
            if (image && image->alphaChannel > 1 && random.oneIn(2)) dropAlpha(image);
            if (image && random.oneIn(2)) image->alphaChannel = random.oneIn(3) ? image->nChannels : 0;
            break;
        case 8:
            if (image) image->nChannels = random.between(1, 5);
            if (image && image->alphaChannel && !random.oneIn(6)) image->alphaChannel = image->nChannels;
            break;
        case 9:
            if (image && random.oneIn(3)) image->origin = random.below(3);
            break;
        case 10:
            if (image) makeAlphaAlone(image);
            break;
        case 11:
            for (int i = 0; i < 3; ++i) {
                if (*images[i] && (*images[i])->alphaChannel > 1) dropAlpha(*images[i]);
            }
            break;
        default:
            if (x.a && x.b && x.dst && x.a->roi && x.b->roi && x.dst->roi) nameChannels(x);
    }
}

TEST(AlphaFailure, ofSeveralThingsAtOnceIsReportedAsTheTestsStand) {
    for (const Member *member : {&composite, &compositeC, &preMultiply, &multiplyScale, &multiplySScale}) {
        int seen = 0;
        forEachCase(8000, [&](Random &random) {
            Arguments args;
            for (int i = random.between(1, 5); i > 0; --i)
                spoil(random, args);
            const RefFault fault = member->model(args);
            if (fault.status == 0) return;
            ++seen;
            SCOPED_TRACE(std::string(member->name) + ": " + fault.message);
            expectAlphaReport(args.all(), {{fault.status, member->name, fault.message.c_str()}},
                              [&] { member->call(args); });
        });
        EXPECT_GT(seen, 0);
        if (HasFailure()) return;
    }
}

// Tests come before anything is found to be empty.
TEST(AlphaFailure, isReportedForEmptyRegionsToo) {
    Arguments args;
    args.dst->roi->xOffset = 10;
    args.divideMode = 5;
    expectAlphaReport(args.all(), {{-5, "moxAlphaComposite", "divideMode != 0 && divideMode != 1"}},
                      [&] { composite.call(args); });
}

// What no memory can have is refused behind all tests that have a name, and only where there is something to do.
TEST(AlphaFailure, ofHeadersThatNoMemoryHas) {
    MoxImage *Arguments::*const images[] = {&Arguments::dst,    &Arguments::a,      &Arguments::b,
                                            &Arguments::alphaA, &Arguments::alphaB, &Arguments::alphaDst};
    const Member *const members[] = {&composite, &compositeC, &preMultiply, &multiplyScale, &multiplySScale};
    const int taken[] = {6, 3, 1, 3, 2};
    for (int m = 0; m < 5; ++m) {
        for (int which = 0; which < taken[m]; ++which) {
            Arguments args;
            MoxImage &image = *(args.*images[which]);
            image.width = 1000;
            expectAlphaReport(args.all(), {{-13, members[m]->name, "Incorrect Image"}},
                              [&] { members[m]->call(args); });
            image.width = image.height = 0x7FFFFFFF;
            expectAlphaReport(args.all(), {{-10, members[m]->name, "Incorrect Image"}},
                              [&] { members[m]->call(args); });
            args.divideMode = 9;
            if (m < 2) {
                expectAlphaReport(args.all(), {{-5, members[m]->name, "divideMode != 0 && divideMode != 1"}},
                                  [&] { members[m]->call(args); });
            }
            args.divideMode = 0;
            args.dst->roi->yOffset = image.height == args.dst->height ? 0x7FFFFFFF : 10;
            expectAlphaReport(args.all(), {}, [&] { members[m]->call(args); });
        }
    }
}

}  // namespace
