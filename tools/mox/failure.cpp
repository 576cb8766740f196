// How the tool gives up.
#include "failure.h"

#include <cstring>

void fail(ExitCode code, const std::string &text) {
    throw Failure{code, text};
}

void failErrno(const std::string &what, int error) {
    fail(exitFile, what + ": " + std::strerror(error));
}
