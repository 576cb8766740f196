// The record of tile requests.
#include "support/tilelog.h"

static thread_local TileLog *currentLog = nullptr;

TileLog::TileLog(int refuseAt) : refuseAt_(refuseAt) {
    currentLog = this;
}
TileLog::~TileLog() {
    currentLog = nullptr;
}
TileLog *TileLog::current() {
    return currentLog;
}

bool TileLog::note(TestImage *image, int mode, int column, int row) {
    events.push_back({image, mode, column, row});
    if (mode == MOX_TileRelease) return false;
    if (++requests != refuseAt_) return false;
    refusedAfter_ = events.size();
    refusedImage_ = image;
    return true;
}

int TileLog::eventsAfterRefusal() const {
    return refused() ? static_cast<int>(events.size() - refusedAfter_) : 0;
}

testing::AssertionResult TileLog::clean() const {
    if (faults.empty()) return testing::AssertionSuccess();
    testing::AssertionResult result = testing::AssertionFailure();
    for (const std::string &fault : faults)
        result << fault << "\n";
    return result;
}

testing::AssertionResult TileLog::paired() const {
    for (const TileEvent &event : events) {
        if (event.image->tilesInHand() != 0) return testing::AssertionFailure() << "tiles were not released";
    }
    return clean();
}

static std::string textOf(const std::vector<TileEvent> &events, size_t index) {
    if (index >= events.size()) return "end";
    const TileEvent &event = events[index];
    return (event.mode == MOX_TileRead    ? "read "
            : event.mode == MOX_TileWrite ? "write "
                                          : "release ") +
           std::to_string(event.column) + "," + std::to_string(event.row) + " of " + event.image->layout().describe();
}

testing::AssertionResult TileLog::is(const std::vector<TileEvent> &expected) const {
    for (size_t i = 0; i < events.size() || i < expected.size(); ++i) {
        if (i >= events.size() || i >= expected.size() || events[i] != expected[i]) {
            return testing::AssertionFailure()
                   << "tile event " << i << " is\n  " << textOf(events, i) << "\nexpected\n  " << textOf(expected, i);
        }
    }
    return testing::AssertionSuccess();
}
