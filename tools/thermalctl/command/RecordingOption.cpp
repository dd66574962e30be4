#include "command/RecordingOption.h"

#include <iostream>
#include <optional>
#include <vector>

#include "base/TextReader.h"
#include "command/CheckFirst.h"
#include "fit/RecordingFiles.h"
#include "fit/Replay.h"
#include "log/BoardFolder.h"
#include "simulate/PlantFile.h"
#include "text/Characters.h"

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
  const auto recorded = readRecording(paths, plant, board, problems, remarks);
  for (const std::string& remark : remarks)
    std::cerr << visible(remark) << "\n";
  if (!recorded) return made;
  made.workload.text =
      workloadOf(*recorded, plant, option.loop == "open" ? Loop::kOpen : Loop::kClosed);
  made.length = lengthOf(*recorded);
  return made;
}
