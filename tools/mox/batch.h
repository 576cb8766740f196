// Many pictures, each through the same chain.
#pragma once

#include "chain.h"
#include "failure.h"

// Works on all of them, several at once, and tells how it goes on the error stream. What fails is named at the end and
// does not stop the others; gives the exit code of the first that failed. What operations print follows the picture's
// name. Throws Failure where nothing can begin.
ExitCode runMany(const RunRequest &request);
