#include "command/RecordingOption.h"

#include <iostream>
#include <optional>
#include <vector>

#include "base/TextReader.h"
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

void takeRecording(const RecordingOption& option, SimulationRequest& request, Problems& problems) {
  std::vector<std::string> found;
  const BoardFolder board({request.environment, {}}, found);
  const std::optional<std::string> text = readFile(request.plant);
  // What is wrong with either is told where it is read for the run.
  if (!found.empty() || !text) return;
  Problems ofPlant;
  const PlantDescription plant = readPlant(*text, request.plant, board.description(), ofPlant);
  if (!ofPlant.none()) return;
  std::vector<std::string> paths;
  stringTokenizer(option.files, paths, ",");
  std::vector<std::string> remarks;
  const auto recorded = readRecording(paths, plant, board, problems, remarks);
  for (const std::string& remark : remarks)
    std::cerr << visible(remark) << "\n";
  if (!recorded) return;
  request.workload = option.files;
  request.workloadText =
      workloadOf(*recorded, plant, option.loop == "open" ? Loop::kOpen : Loop::kClosed);
  if (request.duration == 0) request.duration = lengthOf(*recorded);
}
