// One image and a constant, and unary operations: every report, the order of the tests that make them, and which
// operation a call becomes.
#include <cstring>
#include <functional>
#include <limits>

#include "arith/arithcheck.h"

namespace {

constexpr int INT_LOWEST = std::numeric_limits<int>::min();
constexpr int INT_HIGHEST = std::numeric_limits<int>::max();

using Call = std::function<void(MoxImage *, MoxImage *)>;

struct ScalarMember {
    std::string testName;
    RefCall call;
    unsigned depth;      // at which the call runs a frame of its own
    const char *report;  // the name that it reports under
};
void PrintTo(const ScalarMember &member, std::ostream *out) {
    *out << member.testName;
}

// What copies has tests of its own.
std::vector<ScalarMember> members() {
    std::vector<ScalarMember> scalar;
    for (const RefOperation &op : allOperations()) {
        if (op.sources != 1 || op.copies != RefCopies::NEVER) continue;
        const unsigned depth = op.ownDepth ? op.ownDepth : op.usualDepth();
        const char *report = op.becomes && !op.ownDepth ? op.becomes : op.name;
        const std::string testName = op.name + strlen("mox");
        scalar.push_back({testName, RefCall(op, op.usual), depth, report});
        if (op.flips) scalar.push_back({testName + "Flip", RefCall(op, op.usual, true), depth, report});
    }
    return scalar;
}

class EveryScalarMember : public testing::TestWithParam<ScalarMember> {
  protected:
    void run(MoxImage *source, MoxImage *destination) {
        refRunLibraryOn(GetParam().call, source, nullptr, destination);
    }
    void expectReport(MoxImage *source, MoxImage *destination, MoxStatus status, const char *message) {
        ReportRecorder reports;
        run(source, destination);
        EXPECT_TRUE(reports.are({{status, GetParam().report, message}}));
        EXPECT_EQ(moxGetErrStatus(), status);
    }
    TestLayout layout(int channels = 1) const { return TestLayout::of(GetParam().depth, 8, 8, channels); }
};

INSTANTIATE_TEST_SUITE_P(Scalar, EveryScalarMember, testing::ValuesIn(members()),
                         [](const auto &each) { return each.param.testName; });

TEST_P(EveryScalarMember, testsANullSource) {
    TestImage image(layout());
    if (GetParam().call.op->testsNull) {
        expectReport(nullptr, nullptr, -5, "srcImage==0");
        expectReport(nullptr, image.header(), -5, "srcImage==0");
    } else {
        expectReport(nullptr, nullptr, -9, "Incorrect Image");
        expectReport(nullptr, image.header(), -9, "Incorrect Image");
    }
    expectReport(image.header(), nullptr, -9, "Incorrect Image");
}

TEST_P(EveryScalarMember, testsHeadersThenDepthThenOrderThenChannels) {
    TestImage source(layout(4)), destination(layout(2));
    const TestBytes before = destination.bytes();
    MoxImage &s = *source.header(), &d = *destination.header();
    d.depth = MOX_DEPTH_16U;
    d.dataOrder = MOX_DATA_ORDER_PLANE;
    d.origin = 3;
    s.align = 7;
    expectReport(&s, &d, -21, "Incorrect Image");
    s.align = 8;
    expectReport(&s, &d, -20, "Incorrect Image");
    d.origin = 0;
    expectReport(&s, &d, -5, "(srcImage->depth != dstImage->depth)");
    d.depth = s.depth;
    expectReport(&s, &d, -5, "(srcImage->dataOrder != dstImage->dataOrder)");
    d.dataOrder = MOX_DATA_ORDER_PIXEL;
    expectReport(&s, &d, -5, "(nChSrc != nChDst)");
    EXPECT_TRUE(destination.holds(before));
}

TEST_P(EveryScalarMember, wantsAChannelOfInterestOnBothOrNeither) {
    TestLayout one = layout(3);
    one.setRoi(3, 0, 0, 8, 8);
    TestImage whole(layout(3)), channel(one);
    expectReport(whole.header(), channel.header(), -5, "(nChSrc != nChDst)");
    expectReport(channel.header(), whole.header(), -5, "(nChSrc != nChDst)");
}

TEST_P(EveryScalarMember, passesOnTheFaultOfAMask) {
    TestImage source(layout()), destination(layout()), mask(TestLayout::ofMask(8, 8));
    source.setMask(&mask);
    mask.header()->depth = MOX_DEPTH_16S;
    expectReport(source.header(), destination.header(), -117, "Incorrect Image");
}

TEST_P(EveryScalarMember, refusesSizesBeyond32Bits) {
    TestImage source(layout()), destination(layout());
    const TestBytes before = destination.bytes();
    source.header()->width = source.header()->height = 0x7FFFFFFF;
    expectReport(source.header(), destination.header(), -10, "Incorrect Image");
    expectReport(destination.header(), source.header(), -10, "Incorrect Image");
    EXPECT_TRUE(destination.holds(before));
}

TEST_P(EveryScalarMember, doesNothingForAnEmptyRegion) {
    TestLayout away = layout();
    away.setRoi(0, 100, 0, 5, 5);
    TestImage image(layout()), empty(away);
    const TestBytes before = image.bytes(), beforeEmpty = empty.bytes();
    ReportRecorder reports;
    run(image.header(), empty.header());
    run(empty.header(), image.header());
    EXPECT_TRUE(reports.none());
    EXPECT_TRUE(image.holds(before));
    EXPECT_TRUE(empty.holds(beforeEmpty));
}

class RefusingMember : public EveryScalarMember {};

std::vector<ScalarMember> refusingMembers() {
    std::vector<ScalarMember> refusing;
    for (const ScalarMember &member : members()) {
        const RefOperation &op = *member.call.op;
        if (!op.accepts(MOX_DEPTH_32F) && !op.elsewhere) refusing.push_back(member);
    }
    return refusing;
}

INSTANTIATE_TEST_SUITE_P(Scalar, RefusingMember, testing::ValuesIn(refusingMembers()),
                         [](const auto &each) { return each.param.testName; });

TEST_P(RefusingMember, refusesFloatAfterTheMaskStep) {
    TestLayout emptyRegion = TestLayout::ofMask(8, 8);
    emptyRegion.setRoi(0, 0, 8, 4, 4);
    TestImage source(TestLayout::of(MOX_DEPTH_32F, 8, 8)), destination(TestLayout::of(MOX_DEPTH_32F, 8, 8)),
        other(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    TestImage mask(TestLayout::ofMask(8, 8)), empty(emptyRegion);
    const TestBytes before = destination.bytes();
    expectReport(source.header(), other.header(), -5, "(srcImage->depth != dstImage->depth)");
    expectReport(source.header(), destination.header(), -5, "This function does not support depth 32F");
    destination.setMask(&empty);
    expectReport(source.header(), destination.header(), -5, "This function does not support depth 32F");
    source.setMask(&mask);
    {
        ReportRecorder reports;
        run(source.header(), destination.header());
        EXPECT_TRUE(reports.none());
    }
    destination.setMask(&mask);
    AllocationWindow window;
    expectReport(source.header(), destination.header(), -5, "This function does not support depth 32F");
    window.close();
    EXPECT_TRUE(destination.holds(before));
}

// A call with a null destination goes through all routing and then reports: the name says what it has become.
const char *nameReported(const Call &call, unsigned depth) {
    static std::string name;
    TestImage source(TestLayout::of(depth, 8, 8));
    ReportRecorder reports;
    call(source.header(), nullptr);
    if (reports.seen.size() != 1 || reports.seen[0].status != -9 || reports.seen[0].message != "Incorrect Image") {
        ADD_FAILURE() << depthName(depth) << ": " << reports.text();
    }
    name = reports.seen.empty() ? "" : reports.seen[0].function;
    // A bad source is no reason to go another way.
    source.header()->origin = -1;
    reports.clear();
    TestImage destination(TestLayout::of(depth, 8, 8));
    call(source.header(), destination.header());
    EXPECT_TRUE(reports.are({{-20, name.c_str(), "Incorrect Image"}}));
    return name.c_str();
}

struct Route {
    unsigned depth;
    int value;
    const char *name;
};

TEST(ScalarRouting, addS) {
    const Route routes[] = {{MOX_DEPTH_1U, 2, "moxOrS"},
                            {MOX_DEPTH_1U, INT_LOWEST, "moxOrS"},
                            {MOX_DEPTH_8U, 5, "moxSubtractS"},
                            {MOX_DEPTH_8U, 0, "moxSubtractS"},
                            {MOX_DEPTH_8U, -254, "moxSubtractS"},
                            {MOX_DEPTH_8U, -255, "moxAndS"},
                            {MOX_DEPTH_8U, -300, "moxAndS"},
                            {MOX_DEPTH_8U, INT_LOWEST, "moxAndS"},
                            {MOX_DEPTH_8U, 254, "moxSubtractS"},
                            {MOX_DEPTH_8U, 255, "moxOrS"},
                            {MOX_DEPTH_8U, INT_HIGHEST, "moxOrS"},
                            {MOX_DEPTH_8S, 300, "moxSubtractS"},
                            {MOX_DEPTH_8S, INT_LOWEST, "moxSubtractS"},
                            {MOX_DEPTH_8S, INT_HIGHEST, "moxSubtractS"},
                            {MOX_DEPTH_16U, 65534, "moxSubtractS"},
                            {MOX_DEPTH_16U, 65535, "moxOrS"},
                            {MOX_DEPTH_16U, -65534, "moxSubtractS"},
                            {MOX_DEPTH_16U, -65535, "moxAndS"},
                            {MOX_DEPTH_16U, -65536, "moxAndS"},
                            {MOX_DEPTH_16U, INT_LOWEST, "moxAndS"},
                            {MOX_DEPTH_16S, INT_LOWEST, "moxSubtractS"},
                            {MOX_DEPTH_16S, 70000, "moxSubtractS"},
                            {MOX_DEPTH_32S, 70000, "moxAddS"},
                            {MOX_DEPTH_32S, INT_LOWEST, "moxAddS"}};
    for (const Route &route : routes) {
        EXPECT_STREQ(nameReported([&](MoxImage *s, MoxImage *d) { moxAddS(s, d, route.value); }, route.depth),
                     route.name)
            << depthName(route.depth) << " " << route.value;
    }
}

TEST(ScalarRouting, subtractSWithoutFlip) {
    const Route routes[] = {{MOX_DEPTH_1U, 0, "moxXorS"},
                            {MOX_DEPTH_1U, -2, "moxXorS"},
                            {MOX_DEPTH_1U, INT_LOWEST, "moxXorS"},
                            {MOX_DEPTH_1U, 1, "moxAndS"},
                            {MOX_DEPTH_1U, -1, "moxAndS"},
                            {MOX_DEPTH_8U, -254, "moxSubtractS"},
                            {MOX_DEPTH_8U, -255, "moxOrS"},
                            {MOX_DEPTH_8U, INT_LOWEST, "moxOrS"},
                            {MOX_DEPTH_8U, 0, "moxSubtractS"},
                            {MOX_DEPTH_8U, 254, "moxSubtractS"},
                            {MOX_DEPTH_8U, 255, "moxAndS"},
                            {MOX_DEPTH_8U, INT_HIGHEST, "moxAndS"},
                            {MOX_DEPTH_8S, INT_LOWEST, "moxSubtractS"},
                            {MOX_DEPTH_8S, INT_HIGHEST, "moxSubtractS"},
                            {MOX_DEPTH_16U, -65534, "moxSubtractS"},
                            {MOX_DEPTH_16U, -65535, "moxOrS"},
                            {MOX_DEPTH_16U, 65534, "moxSubtractS"},
                            {MOX_DEPTH_16U, 65535, "moxAndS"},
                            {MOX_DEPTH_16S, INT_LOWEST, "moxSubtractS"},
                            {MOX_DEPTH_32S, INT_LOWEST, "moxSubtractS"},
                            {MOX_DEPTH_32S, INT_HIGHEST, "moxSubtractS"}};
    for (const Route &route : routes) {
        EXPECT_STREQ(nameReported([&](MoxImage *s, MoxImage *d) { moxSubtractS(s, d, route.value, 0); }, route.depth),
                     route.name)
            << depthName(route.depth) << " " << route.value;
    }
}

TEST(ScalarRouting, subtractSWithFlip) {
    const Route routes[] = {{MOX_DEPTH_1U, 1, "moxXorS"},
                            {MOX_DEPTH_1U, -1, "moxXorS"},
                            {MOX_DEPTH_1U, 0, "moxAndS"},
                            {MOX_DEPTH_1U, 2, "moxAndS"},
                            {MOX_DEPTH_8U, INT_LOWEST, "moxAndS"},
                            {MOX_DEPTH_8U, -1, "moxAndS"},
                            {MOX_DEPTH_8U, 0, "moxAndS"},
                            {MOX_DEPTH_8U, 1, "moxSubtractS"},
                            {MOX_DEPTH_8U, 509, "moxSubtractS"},
                            {MOX_DEPTH_8U, 510, "moxOrS"},
                            {MOX_DEPTH_8U, INT_HIGHEST, "moxOrS"},
                            {MOX_DEPTH_8S, 0, "moxSubtractS"},
                            {MOX_DEPTH_8S, INT_LOWEST, "moxSubtractS"},
                            {MOX_DEPTH_16U, 0, "moxAndS"},
                            {MOX_DEPTH_16U, 1, "moxSubtractS"},
                            {MOX_DEPTH_16U, 131069, "moxSubtractS"},
                            {MOX_DEPTH_16U, 131070, "moxOrS"},
                            {MOX_DEPTH_16S, 0, "moxSubtractS"},
                            {MOX_DEPTH_16S, INT_HIGHEST, "moxSubtractS"},
                            {MOX_DEPTH_32S, INT_LOWEST, "moxSubtractS"}};
    for (const Route &route : routes) {
        for (int flip : {1, -1, 256, INT_LOWEST}) {
            EXPECT_STREQ(
                nameReported([&](MoxImage *s, MoxImage *d) { moxSubtractS(s, d, route.value, flip); }, route.depth),
                route.name)
                << depthName(route.depth) << " " << route.value;
        }
    }
}

TEST(ScalarRouting, multiplyS) {
    const Route routes[] = {{MOX_DEPTH_1U, 1, "moxAndS"},
                            {MOX_DEPTH_1U, -3, "moxAndS"},
                            {MOX_DEPTH_8U, 0, "moxAndS"},
                            {MOX_DEPTH_8U, -3, "moxAndS"},
                            {MOX_DEPTH_8U, INT_LOWEST, "moxAndS"},
                            {MOX_DEPTH_8U, 1, "moxMultiplyS"},
                            {MOX_DEPTH_8U, INT_HIGHEST, "moxMultiplyS"},
                            {MOX_DEPTH_16U, 0, "moxAndS"},
                            {MOX_DEPTH_16U, 1, "moxMultiplyS"},
                            {MOX_DEPTH_8S, 0, "moxMultiplyS"},
                            {MOX_DEPTH_16S, -1, "moxMultiplyS"},
                            {MOX_DEPTH_32S, 0, "moxMultiplyS"},
                            {MOX_DEPTH_32S, INT_LOWEST, "moxMultiplyS"}};
    for (const Route &route : routes) {
        EXPECT_STREQ(nameReported([&](MoxImage *s, MoxImage *d) { moxMultiplyS(s, d, route.value); }, route.depth),
                     route.name)
            << depthName(route.depth) << " " << route.value;
    }
}

TEST(ScalarRouting, shifts) {
    for (unsigned depth : allDepths) {
        if (depth == MOX_DEPTH_32F) continue;
        SCOPED_TRACE(depthName(depth));
        const unsigned bits = depth & ~MOX_DEPTH_SIGN;
        const bool isSigned = (depth & MOX_DEPTH_SIGN) != 0;
        auto left = [&](unsigned shift) {
            return nameReported([=](MoxImage *s, MoxImage *d) { moxLShiftS(s, d, shift); }, depth);
        };
        auto right = [&](unsigned shift) {
            return nameReported([=](MoxImage *s, MoxImage *d) { moxRShiftS(s, d, shift); }, depth);
        };
        EXPECT_STREQ(left(0), "moxXorS");
        EXPECT_STREQ(right(0), "moxXorS");
        if (bits > 1) {
            EXPECT_STREQ(left(1), "moxLShiftS");
            EXPECT_STREQ(right(1), "moxRShiftS");
            EXPECT_STREQ(left(bits - 1), "moxLShiftS");
            EXPECT_STREQ(right(bits - 1), "moxRShiftS");
        }
        for (unsigned shift : {bits, bits + 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
            EXPECT_STREQ(left(shift), "moxAndS");
            EXPECT_STREQ(right(shift), isSigned ? "moxRShiftS" : "moxAndS");
        }
    }
}

TEST(ScalarRouting, notIsXorS) {
    for (unsigned depth : allDepths)
        EXPECT_STREQ(nameReported(moxNot, depth), "moxXorS") << depthName(depth);
}

TEST(ScalarRouting, squareAndLogicKeepTheirNames) {
    for (unsigned depth : allDepths) {
        EXPECT_STREQ(nameReported(moxSquare, depth), "moxSquare");
        EXPECT_STREQ(nameReported([](MoxImage *s, MoxImage *d) { moxAndS(s, d, 0); }, depth), "moxAndS");
        EXPECT_STREQ(nameReported([](MoxImage *s, MoxImage *d) { moxOrS(s, d, -1); }, depth), "moxOrS");
        EXPECT_STREQ(nameReported([](MoxImage *s, MoxImage *d) { moxXorS(s, d, 0); }, depth), "moxXorS");
    }
}

// An unknown depth takes no route: the frame of the call itself refuses it.
TEST(ScalarRouting, unknownDepth) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    image.header()->depth = 7;
    ReportRecorder reports;
    moxAddS(image.header(), image.header(), 1);
    moxSubtractS(image.header(), image.header(), 1, 0);
    moxMultiplyS(image.header(), image.header(), 0);
    moxSquare(image.header(), image.header());
    moxAbs(image.header(), image.header());
    EXPECT_TRUE(reports.are({{-17, "moxAddS", "Incorrect Image"},
                             {-17, "moxSubtractS", "Incorrect Image"},
                             {-17, "moxMultiplyS", "Incorrect Image"},
                             {-17, "moxSquare", "Incorrect Image"},
                             {-17, "moxAbs", "Incorrect Image"}}));
}

// Depth 32F is refused by the integer members, and every other depth by the float members.
TEST(ScalarDepth, membersNameTheFunctionForOtherDepthsBeforeTheHeaderCheck) {
    int refused = 0;
    for (const RefOperation &op : allOperations()) {
        for (unsigned depth : allDepths) {
            if (op.accepts(depth) || !op.elsewhere) continue;
            SCOPED_TRACE(std::string(op.name) + " " + depthName(depth));
            EXPECT_TRUE(pointOperation(op.elsewhere).accepts(depth));
            const std::string which = depth == MOX_DEPTH_32F ? "depth 32F" : "this depth";
            const std::string message = "For processing " + which + " use function " + op.elsewhere;
            TestImage image(TestLayout::of(depth, 8, 8));
            image.header()->align = 0;
            ReportRecorder reports;
            for (bool flip : {false, true})
                refRunLibraryOn({op, 1, flip}, image.header(), nullptr, nullptr);
            EXPECT_TRUE(reports.are({{-5, op.name, message.c_str()}, {-5, op.name, message.c_str()}}));
            ++refused;
        }
    }
    EXPECT_GT(refused, 0);
}

TEST(ScalarDepth, shiftsRefuseFloatUnderTheNameTheyHaveThen) {
    TestImage image(TestLayout::of(MOX_DEPTH_32F, 8, 8));
    const char *message = "This function does not support depth 32F";
    ReportRecorder reports;
    moxLShiftS(image.header(), image.header(), 0);
    moxLShiftS(image.header(), image.header(), 31);
    moxLShiftS(image.header(), image.header(), 32);
    moxRShiftS(image.header(), image.header(), 0);
    moxRShiftS(image.header(), image.header(), 31);
    moxRShiftS(image.header(), image.header(), 32);  // the float's depth has no sign bit
    moxNot(image.header(), image.header());
    EXPECT_TRUE(reports.are({{-5, "moxXorS", message},
                             {-5, "moxLShiftS", message},
                             {-5, "moxAndS", message},
                             {-5, "moxXorS", message},
                             {-5, "moxRShiftS", message},
                             {-5, "moxAndS", message},
                             {-5, "moxXorS", message}}));
}

TEST(Abs, testsBothForNullBeforeAll) {
    TestImage image(TestLayout::of(MOX_DEPTH_8U, 8, 8));
    ReportRecorder reports;
    moxAbs(nullptr, nullptr);
    moxAbs(nullptr, image.header());
    moxAbs(image.header(), nullptr);
    EXPECT_TRUE(
        reports.are({{-5, "moxAbs", "srcImage==0"}, {-5, "moxAbs", "srcImage==0"}, {-5, "moxAbs", "dstImage==0"}}));
}

TEST(Abs, testsTheSignedDepthsInOrder) {
    for (unsigned depth : {MOX_DEPTH_8S, MOX_DEPTH_16S, MOX_DEPTH_32S, MOX_DEPTH_32F}) {
        SCOPED_TRACE(depthName(depth));
        TestLayout one = TestLayout::of(depth, 8, 8, 3);
        one.setRoi(1, 0, 0, 8, 8);
        TestImage source(one), destination(TestLayout::of(depth, 8, 8, 3));
        const TestBytes before = destination.bytes();
        MoxImage &s = *source.header(), &d = *destination.header();
        ReportRecorder reports;
        auto expectReport = [&](MoxStatus status, const char *message) {
            reports.clear();
            moxAbs(&s, &d);
            EXPECT_TRUE(reports.are({{status, "moxAbs", message}}));
            EXPECT_EQ(moxGetErrStatus(), status);
        };
        d.depth = MOX_DEPTH_8U;
        d.dataOrder = MOX_DATA_ORDER_PLANE;
        d.nChannels = 2;
        d.align = 0;
        s.origin = 9;
        expectReport(-20, "Incorrect Image");
        s.origin = 0;
        expectReport(-21, "Incorrect Image");
        d.align = 8;
        expectReport(-5, "(srcImage->depth != dstImage->depth)");
        d.depth = depth;
        expectReport(-5, "(srcImage->dataOrder != dstImage->dataOrder)");
        d.dataOrder = MOX_DATA_ORDER_PIXEL;
        expectReport(-5, "(srcImage->nChannels != dstImage->nChannels)");
        d.nChannels = 3;
        expectReport(-5, "(nChSrcCoi != nChDstCoi)");
        EXPECT_TRUE(destination.holds(before));
    }
}

TEST(Abs, copiesTheUnsignedDepthsAndReportsUnderMoxCopyFirst) {
    for (unsigned depth : {MOX_DEPTH_1U, MOX_DEPTH_8U, MOX_DEPTH_16U}) {
        SCOPED_TRACE(depthName(depth));
        TestImage source(TestLayout::of(depth, 8, 8)), destination(TestLayout::of(MOX_DEPTH_32S, 8, 8));
        const TestBytes before = destination.bytes();
        ReportRecorder reports;
        moxAbs(source.header(), destination.header());
        EXPECT_TRUE(
            reports.are({{-5, "moxCopy", "srcImage->depth != dstImage->depth"}, {-1, "moxAbs", "moxCopy is failed"}}));
        EXPECT_EQ(moxGetErrStatus(), -5);
        reports.clear();
        source.header()->align = 2;
        moxAbs(source.header(), destination.header());
        EXPECT_TRUE(reports.are({{-21, "moxCopy", "Incorrect Image"}, {-1, "moxAbs", "moxCopy is failed"}}));
        EXPECT_EQ(moxGetErrStatus(), -21);
        EXPECT_TRUE(destination.holds(before));
    }
}

// moxCopy makes all its comparisons, and the copy wants one origin: its tests, not those of the signed depths.
TEST(Abs, hasTheComparisonsOfMoxCopyAtUnsignedDepths) {
    TestLayout bottom = TestLayout::of(MOX_DEPTH_16U, 8, 8, 3, MOX_DATA_ORDER_PLANE);
    bottom.origin = MOX_ORIGIN_BL;
    TestImage source(TestLayout::of(MOX_DEPTH_8U, 8, 8, 3)), destination(bottom);
    ReportRecorder reports;
    moxAbs(source.header(), destination.header());
    EXPECT_TRUE(reports.are({{-5, "moxCopy", "srcImage->depth != dstImage->depth"},
                             {-5, "moxCopy", "srcImage->origin != dstImage->origin"},
                             {-5, "moxCopy", "srcImage->dataOrder != dstImage->dataOrder"},
                             {-1, "moxAbs", "moxCopy is failed"}}));
}

TEST(Abs, doesNotCopyWhileTheStatusWordHoldsAFault) {
    TestImage source(TestLayout::of(MOX_DEPTH_8U, 8, 8), 1), destination(TestLayout::of(MOX_DEPTH_8U, 8, 8), 2);
    const TestBytes before = destination.bytes();
    ReportRecorder reports;
    moxSetErrStatus(-7);
    moxAbs(source.header(), destination.header());
    EXPECT_TRUE(destination.holds(before));
    EXPECT_EQ(moxGetErrStatus(), -7);
    moxSetErrStatus(0);
    moxAbs(source.header(), destination.header());
    EXPECT_EQ(destination.get(0, 3, 3), source.get(0, 3, 3));
}

TEST(Abs, runsAtSignedDepthsWhateverStandsInTheStatusWord) {
    TestImage source(TestLayout::of(MOX_DEPTH_8S, 8, 8)), destination(TestLayout::of(MOX_DEPTH_8S, 8, 8));
    source.setAll(0xFB);
    ReportRecorder reports;
    moxSetErrStatus(-7);
    moxAbs(source.header(), destination.header());
    EXPECT_EQ(destination.get(0, 7, 7), 5u);
    EXPECT_EQ(moxGetErrStatus(), -7);
    EXPECT_TRUE(reports.none());
}

}  // namespace
