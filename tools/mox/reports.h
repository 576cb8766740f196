// The library's reports, caught and kept for a message of the tool.
#pragma once

#include <mox.h>

#include <string>

// From now on this thread's reports are kept, none is printed, and none ends the process.
void catchReports();

// Forgets earlier reports and clears the status word.
void clearReports();

// Whether anything failed since clearReports.
bool anyReport();

// "moxAndS: Incorrect Image (-24: ...)", each report after the one that caused it, separated by "; ".
std::string reportsText();
