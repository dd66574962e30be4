#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include <fmt/format.h>

#include "base/TextReader.h"
#include "command/CheckFirst.h"
#include "command/Commands.h"
#include "command/Interruptible.h"
#include "file/OutputFiles.h"
#include "fit/Clocks.h"
#include "fit/Estimate.h"
#include "fit/FitJson.h"
#include "fit/FitPage.h"
#include "fit/FreeQuantities.h"
#include "fit/Plan.h"
#include "fit/PlantText.h"
#include "fit/RecordingFiles.h"
#include "fit/Residuals.h"
#include "fit/Sketch.h"
#include "fit/Stretch.h"
#include "fit/Stuck.h"
#include "fit/Words.h"
#include "log/BoardFolder.h"
#include "simulate/InputKind.h"
#include "terminal/Colour.h"
#include "terminal/ProgressLine.h"
#include "text/Characters.h"
#include "text/Columns.h"
#include "text/Phrases.h"
#include "text/Temperature.h"
#include "toml/Problems.h"

namespace {

constexpr char kFitExamples[] =
    "Examples:\n"
    "  thermalctl fit --board boards/phone --plant sketch.toml --recording step.log,rails.csv \\\n"
    "    --validate game.log,rails2.csv --require 'rmse<=0.5C' --out fitted\n"
    "  thermalctl fit --sketch boards/phone > sketch.toml\n"
    "\n"
    "Finds the numbers of a plant from what was recorded on a device, and how well it knows them.\n"
    "\n"
    "Exit status: 0 fine, 1 a requirement was missed, 2 could not run.";

struct FitOptions {
  std::string sketch;
  bool plan = false;
  std::string board;
  std::string environment;
  std::string plant;
  std::vector<std::string> recordings;
  std::vector<std::string> validations;
  std::vector<std::string> requirements;
  std::string out;
};

// What the fit must reach on the validation recordings, or without any on its own.
struct Requirement {
  std::string text;
  bool ofLargest = false;
  double celsius = 0;
};

std::optional<Requirement> requirementOf(const std::string& text, Problems& problems) {
  const size_t sign = text.find("<=");
  const std::string what = text.substr(0, sign);
  if (sign == std::string::npos || (what != "rmse" && what != "largest")) {
    problems.add({"--require " + text,
                  {},
                  "is no requirement",
                  "write 'rmse<=0.5C' or 'largest<=2C', in quotes for the shell"});
    return std::nullopt;
  }
  const TemperatureText limit = readTemperature(text.substr(sign + 2));
  if (!limit.millidegrees) {
    problems.add({"--require " + text, {}, text.substr(sign + 2) + " " + limit.wrong, limit.hint});
    return std::nullopt;
  }
  return Requirement{text, what == "largest", *limit.millidegrees / 1000.0};
}

std::vector<std::string> pathsOf(const std::string& list) {
  std::vector<std::string> paths;
  stringTokenizer(list, paths, ",");
  return paths;
}

// What a folder has, but for an environment that is named by itself.
std::optional<BoardFolder::Files> filesOf(const std::string& folder, const std::string& environment,
                                          std::vector<std::string>& found) {
  if (environment.empty()) return BoardFolder::find(folder, found);
  BoardFolder::Files files{environment, {}, {}};
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ignored))
    if (entry.path().extension() == ".conf") files.configurations.push_back(entry.path().string());
  std::sort(files.configurations.begin(), files.configurations.end());
  return files;
}

std::optional<BoardFolder> boardOf(const std::string& folder, const std::string& environment,
                                   Problems& problems) {
  std::vector<std::string> found;
  std::optional<BoardFolder> board;
  auto files = filesOf(folder, environment, found);
  if (files) files->units = unitsOf(files->environment);
  if (files && !passesCheck(files->environment, files->configurations))
    found.push_back("nothing is fitted: the check has found errors");
  else if (files)
    board.emplace(*files, found);
  const std::string named = environment.empty() ? "--board " + folder : "--env " + environment;
  for (const std::string& problem : found)
    problems.add({named, {}, problem});
  return found.empty() ? std::move(board) : std::nullopt;
}

// All that the command line names, read.
//
// Shape:  of the plant the text, too: what is found is written into it, under its own remarks.
// Errors: told in the Problems of whoever reads them; then nothing here is to be relied on.
struct Inputs {
  std::string plantText;
  PlantDescription plant;
  std::vector<Quantity> quantities;
  std::vector<Recorded> recordings;
  std::vector<Recorded> validations;
  std::vector<std::string> remarks;
};

std::vector<Recorded> readAll(const std::vector<std::string>& lists, const BoardFolder& board,
                              Inputs& inputs, Problems& problems) {
  std::vector<Recorded> all;
  for (const std::string& list : lists) {
    auto recorded = readRecording(pathsOf(list), inputs.plant, board, problems, inputs.remarks);
    if (!recorded) continue;
    const auto hasReadings = [](const RecordedFile& file) { return !file.readings.empty(); };
    if (std::none_of(recorded->files.begin(), recorded->files.end(), hasReadings))
      problems.add({list, {}, "no file has a reading of a sensor or a node of the plant"});
    else if (stretchesOf(*recorded, 0).empty())
      problems.add({list,
                    {},
                    tooShortInWords(*recorded),
                    "record for longer, or look whether the files' times are alike"});
    all.push_back(std::move(*recorded));
  }
  return all;
}

Inputs readInputs(const FitOptions& options, const BoardFolder& board, Problems& problems) {
  Inputs inputs;
  const std::string path = options.plant.empty() ? options.board + "/plant.toml" : options.plant;
  errno = 0;
  const auto text = readFile(path);
  if (!text) {
    problems.add({path, {}, "cannot be read: " + std::generic_category().message(errno)});
    return inputs;
  }
  inputs.plantText = *text;
  tellIfForeign(*text, path, InputKind::kPlant, problems);
  if (!problems.none()) return inputs;
  inputs.plant = readPlant(*text, path, board.description(), problems);
  if (!problems.none()) return inputs;
  inputs.quantities = readFreeQuantities(*text, path, inputs.plant, board.description(), problems);
  inputs.recordings = readAll(options.recordings, board, inputs, problems);
  inputs.validations = readAll(options.validations, board, inputs, problems);
  return inputs;
}

class Progress {
public:
  bool go(const std::string& stage, double misfit) {
    const Clock::time_point now = Clock::now();
    if (now >= next) {
      next = now + std::chrono::milliseconds(100);
      // Ten times a second is as often as anyone reads it; a step may take less than a millisecond.
      line.show(fmt::format("{}: misfit {:.6g}", stage, misfit));
    }
    return !Interruptible::isAsked();
  }
  void clear() { line.clear(); }

private:
  using Clock = std::chrono::steady_clock;

  ProgressLine line{STDERR_FILENO};
  Clock::time_point next = Clock::now() + std::chrono::milliseconds(300);
};

void print(const FitResult& result) {
  std::vector<std::vector<std::string>> rows = {{"number", "guess", "found", "95 %", "", ""}};
  for (size_t i = 0; i < result.misfit->quantities.size(); ++i) {
    const Quantity& quantity = result.misfit->quantities[i];
    const Estimate& found = result.estimation->estimates[i];
    const double half = (found.high - found.low) / 2;
    if (found.frozen)
      rows.push_back({quantity.name, deserved(quantity.guess, 0), deserved(found.value, 0), "",
                      quantity.unit(), "not determined, the guess is kept"});
    else
      rows.push_back({quantity.name, deserved(quantity.guess, 0), deserved(found.value, half),
                      deserved(found.low, half) + " to " + deserved(found.high, half),
                      quantity.unit(), found.follows ? "as far as a kept guess is right" : ""});
  }
  for (const std::string& line : inColumns(rows, 1))
    std::cout << line << "\n";
  for (const std::string& sentence : result.undetermined)
    std::cout << sentence << "\n";
  for (const std::string& remark : result.remarks)
    std::cout << remark << "\n";
}

void printAgreement(const FitResult& result, const Misfit& misfit, const Estimation& estimation,
                    const std::string& title) {
  std::vector<std::vector<std::string>> rows = {
      {title, "sensor", "readings", "RMSE, C", "largest, C"}};
  for (const Agreeing& one : estimation.agreement)
    rows.push_back({misfit.recordings[one.recording].name, result.names[one.output],
                    std::to_string(one.readings), rounded(one.rmse, 3), rounded(one.largest, 2)});
  std::cout << "\n";
  for (const std::string& line : inColumns(rows, 2))
    std::cout << visible(line) << "\n";
  for (size_t i = 0; i < misfit.recordings.size(); ++i) {
    const std::vector<double> offsets = misfit.unknowns.offsetsOf(i, estimation.fit.values);
    for (size_t file = 1; file < offsets.size(); ++file)
      std::cout << clockInWords(misfit.recordings[i].files[file], offsets[file],
                                misfit.recordings[i].files.front())
                << "\n";
  }
}

ExitStatus judge(const std::vector<Requirement>& requirements, const Estimation& estimation) {
  const Agreeing all = overall(estimation.agreement);
  if (all.readings == 0 && !requirements.empty())
    return complain(kCouldNotRun, "no reading is left to judge by");
  ExitStatus status = kFine;
  for (const Requirement& each : requirements) {
    const double reached = each.ofLargest ? all.largest : all.rmse;
    const bool kept = reached <= each.celsius;
    std::cout << each.text << ": " << (kept ? "kept" : "missed") << ", " << rounded(reached, 3)
              << " C\n";
    if (!kept) status = kProblems;
  }
  return status;
}

// A fit, and with it all that is told of it.
class Run {
public:
  Run(const FitOptions& options_, const BoardFolder& board_, Inputs inputs_)
      : options(options_), board(board_), inputs(std::move(inputs_)),
        names(namesOfOutputs(inputs.plant, board.description())) {}

  ExitStatus go(const std::vector<Requirement>& requirements) {
    const Interruptible untilTheEnd;
    Misfit misfit = misfitOf(inputs.plant, inputs.quantities, inputs.recordings);
    Estimation estimation =
        fitted(misfit, inputs.recordings, [&] { return estimate(misfit, going); });
    FitResult result{&misfit,
                     &estimation,
                     nullptr,
                     nullptr,
                     names,
                     inWords(misfit, estimation),
                     remarksOn(misfit, estimation)};
    std::optional<Misfit> other;
    Estimation validation;
    if (!inputs.validations.empty() && !estimation.fit.interrupted) {
      other.emplace(misfitOf(inputs.plant, inputs.quantities, inputs.validations));
      // Judged by the noise that was found: another recording shall not excuse itself by more.
      other->likelihoods = misfit.likelihoods;
      validation = fitted(*other, inputs.validations,
                          [&] { return validate(*other, valuesOf(estimation), going); });
      result.validationMisfit = &*other;
      result.validation = &validation;
    }
    std::optional<Plan> plan;
    if (options.plan && !Interruptible::isAsked()) plan = planFor(misfit, estimation, going);
    estimation.fit.interrupted |= Interruptible::isAsked();
    progress.clear();
    if (const auto error = write(result, plan)) return complain(kCouldNotRun, *error);
    print(result);
    printAgreement(result, misfit, estimation, "recording");
    if (result.validation) printAgreement(result, *other, validation, "validation");
    if (plan) std::cout << "\n" << stepsOf(*plan, misfit);
    if (estimation.fit.interrupted)
      return complain(kCouldNotRun, "interrupted: what is shown is the best so far");
    return judge(requirements, result.validation ? validation : estimation);
  }

private:
  // What is known of the loads is known of their clock: with that found, the recordings are cut
  // anew.
  template <typename Fitting>
  Estimation fitted(Misfit& misfit, std::vector<Recorded>& recordings, const Fitting& fitting) {
    Estimation estimation = withoutStuck(misfit, recordings, fitting);
    if (estimation.fit.interrupted || !misfit.cutAgain(estimation.fit.values)) return estimation;
    return withoutStuck(misfit, recordings, fitting);
  }

  // What a sensor that is stuck has shown is left out, and what is left fitted anew.
  template <typename Fitting>
  Estimation withoutStuck(Misfit& misfit, std::vector<Recorded>& recordings,
                          const Fitting& fitting) {
    Estimation estimation = fitting();
    const std::vector<Stuck> stuck = stuckOf(misfit, estimation.fit.values);
    if (stuck.empty() || estimation.fit.interrupted) return estimation;
    progress.clear();
    for (const Stuck& one : stuck)
      std::cerr << visible(inWords(one, recordings, names)) << "\n";
    leaveOut(recordings, stuck);
    return fitting();
  }

  std::vector<std::string> remarksOn(const Misfit& misfit, const Estimation& estimation) const {
    std::vector<std::string> remarks = oddResiduals(misfit, estimation.fit.values, names);
    for (const size_t i : atBounds(misfit, estimation))
      remarks.push_back(misfit.quantities[i].name +
                        " ended at one of its bounds: what it is may lie beyond, or the structure "
                        "is another");
    return remarks;
  }

  static std::vector<double> valuesOf(const Estimation& estimation) {
    std::vector<double> values;
    for (const Estimate& each : estimation.estimates)
      values.push_back(each.value);
    return values;
  }

  std::optional<std::string> write(const FitResult& result, const std::optional<Plan>& plan) const {
    if (options.out.empty()) return std::nullopt;
    OutputFiles outputs(options.out);
    outputs.add("plant.toml") << withEstimates(inputs.plantText, inputs.quantities,
                                               result.estimation->estimates);
    writeFitJson(result, outputs.add("fit.json"));
    writeFitPage(result,
                 "A thermal model of " +
                     (options.board.empty() ? options.environment : options.board),
                 outputs.add("fit.html"));
    if (plan) {
      outputs.add("plan.csv") << workloadOf(*plan, *result.misfit);
      outputs.add("plan.txt") << stepsOf(*plan, *result.misfit);
    }
    return outputs.putInPlace();
  }

  const FitOptions& options;
  const BoardFolder& board;
  Inputs inputs;
  const std::vector<std::string> names;
  Progress progress;
  const Going going = [this](const std::string& stage, double cost) {
    return progress.go(stage, cost);
  };
};

ExitStatus sketch(const FitOptions& options) {
  Problems problems;
  const std::optional<BoardFolder> board = boardOf(options.sketch, "", problems);
  problems.print(std::cerr, colourFor(STDERR_FILENO));
  if (!board) return kCouldNotRun;
  const std::string name = std::filesystem::absolute(options.sketch).filename().string();
  const std::string text = sketchOf(board->description(), name);
  if (options.out.empty()) {
    std::cout << text;
    return kFine;
  }
  OutputFiles outputs(options.out);
  outputs.add("plant.toml") << text;
  if (const auto error = outputs.putInPlace()) return complain(kCouldNotRun, *error);
  return kFine;
}

ExitStatus runFit(const FitOptions& options) {
  if (!options.sketch.empty()) return sketch(options);
  if (options.board.empty() && options.environment.empty())
    throw UsageError("--board is required, or --env and --plant; write --board DIR");
  if (options.board.empty() && options.plant.empty())
    throw UsageError("--plant is required where there is no --board; write --plant FILE");
  if (options.recordings.empty())
    throw UsageError("--recording is required; write --recording FILE");
  Problems problems;
  std::vector<Requirement> requirements;
  for (const std::string& text : options.requirements)
    if (auto requirement = requirementOf(text, problems)) requirements.push_back(*requirement);
  const std::optional<BoardFolder> board = boardOf(options.board, options.environment, problems);
  Inputs inputs;
  if (board) inputs = readInputs(options, *board, problems);
  if (!problems.none()) {
    problems.print(std::cerr, colourFor(STDERR_FILENO));
    return kCouldNotRun;
  }
  for (const std::string& remark : inputs.remarks)
    std::cerr << visible(remark) << "\n";
  return Run(options, *board, std::move(inputs)).go(requirements);
}

void addFitOptions(CommandLine& line, FitOptions& options) {
  line.option("--board", &options.board, "Folder with the board's *.env and *.conf files")
      .takes("DIR");
  line.option("--env", &options.environment,
              "Environment file, where the folder's own is not meant or there is no folder")
      .takes("FILE");
  line.option("--plant", &options.plant, "Sketch of the thermal model, whose numbers are guesses")
      .takes("FILE");
  line.option("--recording", &options.recordings,
              "Files of one recording with commas between them: a device's log, and CSV files of "
              "temperatures, loads and watts")
      .takes("FILE")
      .takesAll();
  line.option("--validate", &options.validations,
              "Recordings that are not fitted, and that the result is held against")
      .takes("FILE")
      .takesAll();
  line.option("--require", &options.requirements,
              "What must be reached, such as 'rmse<=0.5C' or 'largest<=2C'")
      .takes("WHAT")
      .takesAll();
  line.flag("--plan", &options.plan,
            "Propose the next experiment: half an hour of loads that shrinks the widest intervals");
  line.option("--sketch", &options.sketch,
              "Instead of a fit, write a first sketch for the board in this folder")
      .takes("DIR");
  line.option("--out", &options.out,
              "Folder for plant.toml, fit.json and fit.html, and plan.csv and plan.txt")
      .takes("DIR");
}

} // namespace

Command fitCommand() {
  return commandOf("fit", "Find a thermal model's numbers from recordings of the device",
                   kFitExamples, addFitOptions, runFit);
}
