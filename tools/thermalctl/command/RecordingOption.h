#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "command/CommandLine.h"
#include "study/Study.h"
#include "toml/Problems.h"

// A recording that is run in the place of a workload: `--recording` and `--loop`.
struct RecordingOption {
  std::string files;
  std::string loop = "closed";
};

void addRecordingOption(CommandLine& line, RecordingOption& option);

// What the recording makes of a workload.
//
// Units: the length in milliseconds.
struct RecordedWorkload {
  NamedWorkload workload;
  int64_t length = 0;
};

// Errors: what stands in the way goes to `problems`, but for what is wrong with the environment or
//         the plant: that is told where they are read for the run.
RecordedWorkload readRecordedWorkload(const RecordingOption& option, const std::string& environment,
                                      const std::string& plantPath, Problems& problems);
