// CPU levels: kernel files are compiled once for each, and the level is chosen once, when the library is attached.
#pragma once

// A level's number is the index of its tables.
enum OwnCpuLevel { OWN_LEVEL_BASE, OWN_LEVEL_V3, OWN_LEVEL_V4, OWN_LEVELS };

// The level in use, and the highest that this processor and this build have.
OwnCpuLevel ownCpuLevel();
OwnCpuLevel ownHighestCpuLevel();

// Finds the level; called at attach.
void ownChooseCpuLevel();

// For tests and benchmarks: uses another level, and gives false where the machine does not have it.
bool ownForceCpuLevel(OwnCpuLevel level);
