// POSIX systems: a thread-specific key for the slot, the controlling terminal for the modal question.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include "core/owncore.h"
#include "core/platform/ownplatform.h"

namespace {

pthread_key_t slot;
bool slotOpen = false;

void endThread(void *context) {
    ownFreeContext(static_cast<MoxThreadContext *>(context));
}

}  // namespace

bool ownOpenSlot() {
    slotOpen = pthread_key_create(&slot, endThread) == 0;
    return slotOpen;
}

void ownCloseSlot() {
    if (slotOpen) pthread_key_delete(slot);
    slotOpen = false;
}

MoxThreadContext *ownReadSlot() {
    return slotOpen ? static_cast<MoxThreadContext *>(pthread_getspecific(slot)) : nullptr;
}

bool ownWriteSlot(MoxThreadContext *context) {
    return slotOpen && pthread_setspecific(slot, context) == 0;
}

void *ownAllocateContext(unsigned long size) {
    return std::calloc(1, size);
}

void ownReleaseContext(void *memory) {
    std::free(memory);
}

void ownFatalExit(const char *message) {
    std::fprintf(stderr, "%s\n", message);
    std::abort();
}

namespace {

// A shared object's constructor and destructor stand for process attach and detach. Where no slot is to be had the
// first use tries again, and ends the process if there is still none.
__attribute__((constructor)) void attachProcess() {
    ownAttachProcess();
}

__attribute__((destructor)) void detachProcess() {
    ownDetachProcess();
}

bool writeAll(int terminal, const char *text) {
    for (size_t left = std::strlen(text); left > 0;) {
        const ssize_t n = write(terminal, text, left);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        text += n;
        left -= static_cast<size_t>(n);
    }
    return true;
}

// The first character of the next line, 0 for an empty one, -1 where the terminal has ended.
int readAnswer(int terminal) {
    int first = 0;
    for (bool any = false;;) {
        char c = 0;
        const ssize_t n = read(terminal, &c, 1);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return -1;
        if (c == '\n') return first;
        if (!any && c != ' ' && c != '\t') {
            first = static_cast<unsigned char>(c);
            any = true;
        }
    }
}

// Asks on the controlling terminal until an answer begins with one of the two letters. Where nobody can answer, the
// text goes to the standard error stream and the answer is the one for that case. A background job would be stopped by
// reading: it counts as nobody.
bool ask(const char *title, const char *text, const char *prompt, char yes, char no, bool unattended) {
    const int terminal = open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
    const bool attended = terminal >= 0 && tcgetpgrp(terminal) == getpgrp();
    bool answered = false;
    bool answer = unattended;
    if (attended && writeAll(terminal, title) && writeAll(terminal, "\n\n") && writeAll(terminal, text)) {
        for (int c = 0; c >= 0 && !answered;) {
            if (!writeAll(terminal, prompt)) break;
            c = readAnswer(terminal) | 0x20;
            answered = c == yes || c == no;
            if (answered) answer = c == yes;
        }
    }
    if (terminal >= 0) close(terminal);
    if (!answered) {
        std::fprintf(stderr, "%s\n\n%s\n", title, text);
        std::fflush(stderr);
    }
    return answer;
}

}  // namespace

bool ownAskTerminate(const char *title, const char *text) {
    return ask(title, text, " [Yes/No] ", 'y', 'n', true);
}

bool ownAskContinue(const char *title, const char *text) {
    return ask(title, text, " [OK/Cancel] ", 'o', 'c', true);
}

void ownTellTermination(const char *title, const char *text) {
    std::fprintf(stderr, "%s\n\n%s\n", title, text);
    std::fflush(stderr);
}
