// The status word, the error modes, and the report functions that turn a status into a question, a text or nothing.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "core/owncore.h"
#include "core/platform/ownplatform.h"

static bool isTrace(MoxStatus status) {
    return status == MOX_StatusBacktrace || status == MOX_StatusAutotrace;
}

MoxStatus MOX_CALL moxGetErrStatus(void) {
    return ownGetContext()->status;
}

void MOX_CALL moxSetErrStatus(MoxStatus status) {
    ownGetContext()->status = status;
}

int MOX_CALL moxGetErrMode(void) {
    return ownGetContext()->mode;
}

void MOX_CALL moxSetErrMode(int mode) {
    ownGetContext()->mode = mode;
}

MoxErrorCallback MOX_CALL moxRedirectError(MoxErrorCallback report) {
    MoxThreadContext *context = ownGetContext();
    const MoxErrorCallback before = context->report;
    context->report = report ? report : moxGuiBoxReport;
    return before;
}

MoxStatus MOX_CALL moxError(MoxStatus status, const char *functionName, const char *message, const char *fileName,
                            int line) {
    MoxThreadContext *context = ownGetContext();
    if (!isTrace(status)) {
        context->status = status;
        if (status == MOX_StatusNoError) return MOX_StatusNoError;
    }
    return context->report(status, functionName, message, fileName, line);
}

MoxStatus MOX_CALL moxNulDevReport(MoxStatus status, const char *, const char *, const char *, int) {
    if (moxGetErrMode() == MOX_ErrModeLeaf) std::exit(1);
    return status;
}

MoxStatus MOX_CALL moxStdErrReport(MoxStatus status, const char *functionName, const char *message,
                                   const char *fileName, int line) {
    const int mode = moxGetErrMode();
    if (mode == MOX_ErrModeSilent) return status;

    if (isTrace(status)) {
        std::fprintf(stderr, "\tcalled from");
    } else {
        std::fprintf(stderr, "\nMOX Library Error: %s \n\tin function", moxErrorStr(status));
    }
    if (line > 0 || fileName) std::fprintf(stderr, " [%s:%d]", fileName ? fileName : "", line);
    std::fprintf(stderr, ":%s", functionName ? functionName : "<unknown>");
    if (message) std::fprintf(stderr, status == MOX_StatusAutotrace ? "(%s)" : "(): %s", message);
    std::fprintf(stderr, "\n");
    std::fflush(stderr);

    if (mode == MOX_ErrModeLeaf) {
        std::fprintf(stderr, "MOX Library Error\nErrMode=MOX_ErrModeLeaf\nterminating the application");
        std::fflush(stderr);
        std::exit(1);
    }
    return status;
}

MoxStatus MOX_CALL moxGuiBoxReport(MoxStatus status, const char *functionName, const char *message,
                                   const char *fileName, int line) {
    const int mode = moxGetErrMode();
    if (mode == MOX_ErrModeSilent) return status;

    if (!functionName) functionName = "<unknown>";
    if (!message) message = "";
    if (!fileName) fileName = "";
    if (line < 0) line = 0;
    const char *tail = mode == MOX_ErrModeLeaf     ? "\n\nErrMode=MOX_ErrorModeLeaf\n\nTerminate the application?"
                       : mode == MOX_ErrModeParent ? "\n\nErrMode=MOX_ErrorModeParent\n\nContinue?"
                                                   : "";
    const char *statusText = moxErrorStr(status);
    const size_t capacity =
        std::strlen(functionName) + std::strlen(fileName) + std::strlen(message) + std::strlen(statusText) + 200;
    char *text = static_cast<char *>(std::malloc(capacity));
    if (text) {
        std::snprintf(text, capacity, "%s %s(): [file %s, line %d]\n%s\n\n%s\n(status: %d)%s",
                      isTrace(status) ? "Called from" : "In function", functionName, fileName, line, message,
                      statusText, status, tail);
    }
    char title[64];
    std::snprintf(title, sizeof title, "MOX %s", moxGetLibVersion()->version);

    // Without memory for the whole text the question is asked all the same.
    const char *shown = text ? text : tail;
    bool terminate = false;
    if (mode == MOX_ErrModeParent) terminate = !ownAskContinue(title, shown);
    if (mode == MOX_ErrModeLeaf) terminate = ownAskTerminate(title, shown);
    if (terminate) ownTellTermination("Win32: Application exit", "MOX Library: terminating the application");
    std::free(text);
    if (terminate) std::exit(1);
    return status;
}
