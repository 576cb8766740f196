// The library's reports, caught and kept for a message of the tool.
#include "reports.h"

#include <vector>

namespace {

struct Report {
    MoxStatus status;
    std::string function;
    std::string message;
};

thread_local std::vector<Report> reports;

MoxStatus MOX_CALL keepReport(MoxStatus status, const char *functionName, const char *message, const char *, int) {
    reports.push_back({status, functionName ? functionName : "", message ? message : ""});
    return status;
}

}  // namespace

void catchReports() {
    moxSetErrMode(MOX_ErrModeParent);
    moxRedirectError(keepReport);
}

void clearReports() {
    reports.clear();
    moxSetErrStatus(MOX_StatusNoError);
}

bool anyReport() {
    return !reports.empty() || moxGetErrStatus() < 0;
}

static std::string reportText(const Report &report) {
    std::string text = report.function + ": ";
    if (!report.message.empty()) text += report.message + " ";
    return text + "(" + std::to_string(report.status) + ", " + moxErrorStr(report.status) + ")";
}

std::string reportsText() {
    std::string text;
    for (const Report &report : reports)
        text += (text.empty() ? "" : "; ") + reportText(report);
    if (text.empty()) text = std::string("status ") + std::to_string(moxGetErrStatus());
    return text;
}
