#include "command/Replay.h"

#include "command/PageOrigin.h"

std::string replayOf(const SimulateOptions& run, const std::string& tolerances, uint64_t seed) {
  std::string command = "thermalctl simulate";
  const auto add = [&](const char* option, const std::string& value) {
    if (!value.empty()) command += std::string(" ") + option + " " + shellWord(value);
  };
  add("--board", run.board);
  add("--study", run.study);
  add("--env", run.environment);
  for (const std::string& each : run.configurations)
    add("--conf", each);
  add("--plant", run.plant);
  for (const std::string& each : run.workloads)
    add("--workload", each);
  add("--recording", run.recording.files);
  if (!run.recording.files.empty()) add("--loop", run.recording.loop);
  add("--duration", run.duration);
  for (const std::string& each : run.budgets.limits)
    add("--limit", each);
  for (const std::string& each : run.budgets.requirements)
    add("--require", each);
  add("--tolerances", tolerances);
  add("--seed", std::to_string(seed));
  return command;
}
