#include "command/RecordingOption.h"

#include <iostream>
#include <optional>
#include <vector>

#include "base/TextReader.h"
#include "command/CheckFirst.h"
#include "fit/Clocks.h"
#include "fit/RecordingFiles.h"
#include "fit/Replay.h"
#include "log/BoardFolder.h"
#include "simulate/PlantFile.h"
#include "text/Characters.h"

namespace {

// A log and the loads beside it are mostly of two clocks.
void setClocks(Recorded& recorded, const PlantDescription& plant) {
  if (recorded.files.size() == 1) return;
  const auto offsets = clocksOf(recorded, plant);
  if (!offsets)
    std::cerr << visible(recorded.name)
              << ": the readings do not tell how the files' clocks differ: taken as one clock\n";
  for (size_t i = 1; offsets && i < offsets->size(); ++i) {
    shift(recorded.files[i], (*offsets)[i]);
    std::cerr << clockInWords(recorded.files[i], (*offsets)[i], recorded.files[0]) << "\n";
  }
}

} // namespace

void addRecordingOption(CommandLine& line, RecordingOption& option) {
  line.option("--recording", &option.files,
              "Instead of a workload, what a device did: its log and CSV files of loads or watts, "
              "with commas between them")
      .takes("FILE");
  line.option("--loop", &option.loop,
              "Of a recording: closed has the daemon decide about the levels anew, open gives off "
              "the heat that was given off")
      .showsDefault()
      .isOneOf({"closed", "open"});
}

RecordedWorkload readRecordedWorkload(const RecordingOption& option, const std::string& environment,
                                      const std::string& plantPath, Problems& problems) {
  RecordedWorkload made{{"recording", option.files, ""}, 0};
  std::vector<std::string> found;
  const BoardFolder board({environment, {}, unitsOf(environment)}, found);
  const std::optional<std::string> text = readFile(plantPath);
  if (!found.empty() || !text) return made;
  Problems ofPlant;
  const PlantDescription plant = readPlant(*text, plantPath, board.description(), ofPlant);
  if (!ofPlant.none()) return made;
  std::vector<std::string> paths;
  stringTokenizer(option.files, paths, ",");
  std::vector<std::string> remarks;
  auto recorded = readRecording(paths, plant, board, problems, remarks);
  for (const std::string& remark : remarks)
    std::cerr << visible(remark) << "\n";
  if (!recorded) return made;
  setClocks(*recorded, plant);
  made.workload.text =
      workloadOf(*recorded, plant, option.loop == "open" ? Loop::kOpen : Loop::kClosed);
  made.length = lengthOf(*recorded);
  return made;
}
