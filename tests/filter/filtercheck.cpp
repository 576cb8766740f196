// The comparison of calls with the model.
#include "filter/filtercheck.h"

#include <cfenv>

#ifdef __SSE2__
#include <xmmintrin.h>
#endif

// The vector unit's control word without its sticky exceptions.
static unsigned vectorControl() {
#ifdef __SSE2__
    return _mm_getcsr() & ~0x3Fu;
#else
    return 0;
#endif
}

RoundingWatch::RoundingWatch() : rounding_(fegetround()), control_(vectorControl()) {}

testing::AssertionResult RoundingWatch::kept() const {
    if (fegetround() == rounding_ && vectorControl() == control_) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "the floating-point environment has changed";
}

std::string describeWindow(const RefWindow &window) {
    return std::to_string(window.nCols) + " x " + std::to_string(window.nRows) + " anchor " +
           std::to_string(window.anchorX) + "," + std::to_string(window.anchorY);
}

RefWindow drawWindow(Random &random, int maxCols, int maxRows) {
    RefWindow window;
    window.nCols = random.oneIn(3) ? 3 : random.between(1, maxCols);
    window.nRows = random.oneIn(3) ? 3 : random.between(1, maxRows);
    const bool centred = random.oneIn(2);
    window.anchorX = centred ? window.nCols / 2 : random.below(window.nCols);
    window.anchorY = centred ? window.nRows / 2 : random.below(window.nRows);
    return window;
}

void checkCall(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call,
               const AcceptResult &accept) {
    pair.keep();
    TestBytes first;
    forEachCpuLevel([&] {
        ReportRecorder reports;
        TileLog log;
        RoundingWatch rounding;
        AllocationWindow window;
        call();
        window.close();
        EXPECT_TRUE(rounding.kept());
        EXPECT_TRUE(reports.none());
        EXPECT_EQ(moxGetErrStatus(), 0);
        EXPECT_TRUE(log.paired());
        EXPECT_EQ(window.live(), 0) << "leaked blocks";
        RefResult expected = wanted;
        accept(pair.dst(), &expected);
        EXPECT_TRUE(pair.dst().holds(expected.expected, expected.unspecified));
        EXPECT_TRUE(pair.restIsUntouched());
        if (first.empty()) first = pair.dst().bytes();
        RefResult levels = {first, {}};
        refAcceptNaNs(pair.dst(), &levels);
        EXPECT_TRUE(pair.dst().holds(levels.expected)) << "the levels differ";
        pair.restore();
    });
}

// After a failure every byte of the destination is what it was or what it should have become.
static testing::AssertionResult isBeforeOrAfter(TestImage &destination, const TestBytes &before, RefResult wanted) {
    refAcceptNaNs(destination, &wanted);
    TestBytes allowed = wanted.unspecified.empty() ? TestBytes(before.size()) : wanted.unspecified;
    for (size_t i = 0; i < before.size(); ++i) {
        if (destination.bytes()[i] == before[i]) allowed[i] = 0xFF;
        // Bits are written one by one.
        if (destination.layout().bits() == 1) allowed[i] |= static_cast<uint8_t>(before[i] ^ wanted.expected[i]);
    }
    return destination.holds(wanted.expected, allowed);
}

// One refusal of either kind; true where there was something to refuse.
static bool refuseOne(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call,
                      const JudgeReports &judge, int failingBlock, int failingTile) {
    const TestBytes before = pair.dst().bytes();
    ReportRecorder reports;
    TileLog log(failingTile);
    RoundingWatch rounding;
    AllocationWindow window(failingBlock);
    call();
    window.close();
    EXPECT_EQ(window.live(), 0) << "leaked blocks";
    EXPECT_TRUE(rounding.kept());
    EXPECT_TRUE(log.clean());
    pair.abandonTiles();
    EXPECT_TRUE(pair.restIsUntouched());
    EXPECT_TRUE(isBeforeOrAfter(pair.dst(), before, wanted));
    pair.restore();
    if (log.refused()) {
        judge(reports, log.events[log.events.size() - 1 - static_cast<size_t>(log.eventsAfterRefusal())].mode);
    } else if (window.refused()) {
        judge(reports, 0);
    } else {
        EXPECT_TRUE(reports.none());
        return false;
    }
    return true;
}

void checkRefusedMemory(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call,
                        const JudgeReports &judge) {
    pair.keep();
    for (int failAt = 1;; ++failAt) {
        ASSERT_LT(failAt, 5000);
        SCOPED_TRACE("allocation " + std::to_string(failAt));
        if (!refuseOne(pair, wanted, call, judge, failAt, 0) || testing::Test::HasFailure()) return;
    }
}

void checkRefusedTiles(ImagePair &pair, const RefResult &wanted, const std::function<void()> &call,
                       const JudgeReports &judge) {
    pair.keep();
    for (int refuseAt = 1;; ++refuseAt) {
        ASSERT_LT(refuseAt, 5000);
        SCOPED_TRACE("tile request " + std::to_string(refuseAt));
        if (!refuseOne(pair, wanted, call, judge, 0, refuseAt) || testing::Test::HasFailure()) return;
    }
}
