// Processes and pseudo-terminals of POSIX systems for child.h.
#include "child.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>

namespace {

constexpr int SECONDS = 10;

long long milliseconds() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000LL + now.tv_nsec / 1000000;
}

// Reads until the end or until nothing more comes in time.
bool readAll(int file, std::string *text, long long until) {
    for (;;) {
        pollfd waiting = {file, POLLIN, 0};
        long long left = until - milliseconds();
        if (left <= 0 || poll(&waiting, 1, static_cast<int>(left)) <= 0) return false;
        char buffer[4096];
        ssize_t count = read(file, buffer, sizeof buffer);
        if (count <= 0) return true;
        for (ssize_t i = 0; i < count; i++) {
            if (buffer[i] != '\r') text->push_back(buffer[i]);
        }
    }
}

void waitFor(pid_t child, ChildEnd *end, long long until) {
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (milliseconds() > until) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return;
        }
        usleep(2000);
    }
    end->ended = true;
    if (WIFEXITED(status)) end->exitCode = WEXITSTATUS(status);
}

}  // namespace

ChildEnd runWithoutTerminal(const std::function<int()> &run) {
    ChildEnd end;
    int ends[2];
    if (pipe(ends) != 0) return end;
    fflush(nullptr);
    pid_t child = fork();
    if (child == 0) {
        setsid();
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        _exit(run());
    }
    close(ends[1]);
    long long until = milliseconds() + SECONDS * 1000;
    readAll(ends[0], &end.output, until);
    waitFor(child, &end, until);
    close(ends[0]);
    return end;
}

bool terminalsExist() {
    int master = -1, slave = -1;
    if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) return false;
    close(master);
    close(slave);
    return true;
}

ChildEnd runAtTerminal(const std::function<int()> &run, const std::string &typed, bool hangUp) {
    ChildEnd end;
    int ends[2], master = -1;
    if (pipe(ends) != 0) return end;
    fflush(nullptr);
    pid_t child = forkpty(&master, nullptr, nullptr, nullptr);
    if (child < 0) {
        perror("forkpty");
        close(ends[0]);
        close(ends[1]);
        return end;
    }
    if (child == 0) {
        signal(SIGHUP, SIG_IGN);
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        _exit(run());
    }
    close(ends[1]);
    long long until = milliseconds() + SECONDS * 1000;
    // The terminal keeps what is typed until somebody reads it.
    if (!typed.empty() && write(master, typed.data(), typed.size()) < 0) perror("terminal");
    if (hangUp) {
        // Not before the question stands, or there would be no terminal at all.
        char first;
        if (read(master, &first, 1) == 1 && first != '\r') end.output.push_back(first);
        readAll(master, &end.output, milliseconds() + 200);
        close(master);
    } else {
        readAll(master, &end.output, until);
    }
    readAll(ends[0], &end.errors, until);
    waitFor(child, &end, until);
    if (!hangUp) close(master);
    close(ends[0]);
    return end;
}
