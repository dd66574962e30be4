#pragma once

#include <string>

#include "command/CommandLine.h"
#include "simulate/Inputs.h"
#include "toml/Problems.h"

// A recording that is run in the place of a workload: `--recording` and `--loop`.
struct RecordingOption {
  std::string files;
  std::string loop = "closed";
};

void addRecordingOption(CommandLine& line, RecordingOption& option);

// Makes the workload of the recording, and where the request has no duration, its length. What
// stands in the way goes to `problems`.
void takeRecording(const RecordingOption& option, SimulationRequest& request, Problems& problems);
