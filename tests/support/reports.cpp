// The recording report function.
#include "support/reports.h"

#include "support/allocations.h"

static thread_local ReportRecorder *currentRecorder = nullptr;

static MoxStatus MOX_CALL record(MoxStatus status, const char *function, const char *message, const char *file,
                                 int line) {
    AllocationPause pause;
    auto text = [](const char *string) { return std::string(string ? string : "(null)"); };
    currentRecorder->seen.push_back({status, text(function), text(message), text(file), line});
    return currentRecorder->answersZero ? 0 : status;
}

ReportRecorder::ReportRecorder() {
    reportBefore_ = moxRedirectError(record);
    modeBefore_ = moxGetErrMode();
    statusBefore_ = moxGetErrStatus();
    moxSetErrMode(MOX_ErrModeParent);
    moxSetErrStatus(0);
    currentRecorder = this;
}

ReportRecorder::~ReportRecorder() {
    currentRecorder = nullptr;
    moxRedirectError(reportBefore_);
    moxSetErrMode(modeBefore_);
    moxSetErrStatus(statusBefore_);
}

void ReportRecorder::clear() {
    seen.clear();
    moxSetErrStatus(0);
}

std::string ReportRecorder::text() const {
    std::string text;
    for (const ReportSeen &report : seen) {
        text += std::to_string(report.status) + " " + report.function + " \"" + report.message + "\" [" + report.file +
                ":" + std::to_string(report.line) + "]\n";
    }
    return text.empty() ? "no report\n" : text;
}

testing::AssertionResult ReportRecorder::are(const std::vector<ReportExpected> &expected) const {
    bool same = seen.size() == expected.size();
    for (size_t i = 0; same && i < seen.size(); ++i) {
        same = seen[i].status == expected[i].status && seen[i].function == expected[i].function &&
               seen[i].message == expected[i].message;
    }
    if (!same) {
        testing::AssertionResult result = testing::AssertionFailure() << "reported:\n" << text() << "expected:\n";
        for (const ReportExpected &report : expected) {
            result << report.status << " " << report.function << " \"" << report.message << "\"\n";
        }
        if (expected.empty()) result << "no report\n";
        return result;
    }
    for (const ReportSeen &report : seen) {
        if (report.line <= 0 || report.file.empty() || report.file.find_first_of("/\\") != std::string::npos) {
            return testing::AssertionFailure() << "a report without a plain file name and line:\n" << text();
        }
    }
    return testing::AssertionSuccess();
}
