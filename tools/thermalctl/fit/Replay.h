#pragma once

#include <string>

#include "fit/Recorded.h"
#include "simulate/PlantFile.h"

// A recording as a workload.
//
// Closed loop, the sources have the loads that they had, and the daemon decides about their levels
// anew: of measured watts the load is what they were of those of the recorded level. Open loop,
// they give off what they gave off, whatever the daemon decides.
enum class Loop { kOpen, kClosed };

// The text of a workload file. From the recording's first moment on, in its first file's time.
std::string workloadOf(const Recorded& recorded, const PlantDescription& plant, Loop loop);

// How long it is, in milliseconds.
int64_t lengthOf(const Recorded& recorded);
