#include "margin/SearchBounds.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <system_error>

#include "base/TextReader.h"
#include "daemon/VirtualDaemon.h"
#include "text/Nearest.h"
#include "text/Numbers.h"
#include "text/Phrases.h"
#include "text/Temperature.h"
#include "toml/TomlSection.h"

namespace {

namespace fs = std::filesystem;

constexpr char kSearch[] = "search";
constexpr char kStepCount[] = "steps";
constexpr char kLasts[] = "lasts";
constexpr char kAmbientKey[] = "ambient";
constexpr char kScenarios[] = "scenarios";
constexpr char kConfigurations[] = "configurations";
constexpr char kFaults[] = "faults";
constexpr double kMostSteps = 20;
constexpr double kMostDeviations = 8;
constexpr double kColdestFault = -274; // as of a workload

class BoundsReader {
public:
  BoundsReader(TomlSection search_, const std::vector<std::string>& folders_, RunInput& run_,
               std::vector<std::string>& paths_)
      : search(std::move(search_)), folders(folders_), run(run_), paths(paths_) {}

  SearchBounds read() {
    bounds.deviations = search.number("deviations", {0, kMostDeviations}).value_or(3);
    readSteps();
    readLasts();
    if (search.has(kAmbientKey))
      bounds.ambient = {
          endsOf(search, kAmbientKey, {kColdest, kHottest, "degrees Celsius"}).value_or(kWhole)};
    readLoads();
    readConfigurations();
    readScenarios();
    readFaults();
    search.refuseOtherKeys();
    return std::move(bounds);
  }

private:
  using Ends = SearchBounds::Ends;
  static constexpr Ends kWhole = {0, 1};

  void readSteps() {
    const double steps = search.number(kStepCount, {1, kMostSteps}).value_or(3);
    bounds.steps = static_cast<size_t>(steps);
    if (steps != static_cast<double>(bounds.steps))
      search.problem(search.at(kStepCount), "'steps' must be a number without a fraction");
  }

  void readLasts() {
    bounds.lasts = {std::min<int64_t>(1000, run.duration), run.duration};
    if (!search.has(kLasts)) return;
    const std::vector<std::string> words = search.words(kLasts);
    std::vector<int64_t> times;
    for (const std::string& word : words)
      if (const auto time = parseDuration(word)) times.push_back(*time);
    if (words.size() == 2 && times.size() == 2 && times[0] > 0 && times[0] <= times[1])
      bounds.lasts = {times[0], times[1]};
    else
      search.problem(search.at(kLasts),
                     "'lasts' must be the least and the greatest time that a step lasts",
                     "such as lasts = [\"10s\", \"5m\"]");
  }

  // One number is both ends.
  static std::optional<Ends> endsOf(TomlSection& section, const std::string& key,
                                    const TomlSection::Bounds& within) {
    const auto numbers = section.numbers(key, within);
    if (!numbers) return std::nullopt;
    if (numbers->size() == 1) return Ends{numbers->front(), numbers->front()};
    if (numbers->size() == 2 && (*numbers)[0] <= (*numbers)[1])
      return Ends{(*numbers)[0], (*numbers)[1]};
    section.problem(section.at(key), quoted(key) + " must be one number, or the two ends between "
                                                   "which it lies, such as [0.2, 0.8]");
    return std::nullopt;
  }

  void readLoads() {
    bounds.loads.assign(run.plant.sources.size(), kWhole);
    auto loads = search.section("load");
    if (!loads) return;
    for (size_t i = 0; i < bounds.loads.size(); ++i)
      bounds.loads[i] = endsOf(*loads, run.plant.sources[i].name, {0, 1}).value_or(kWhole);
    loads->refuseOtherKeys();
  }

  void readConfigurations() {
    const std::vector<std::string> names = search.texts(kConfigurations);
    for (size_t i = 0; i < names.size(); ++i) {
      bounds.configurations.push_back(names[i]);
      if (run.configurations.count(names[i]) > 0) continue;
      if (const auto path = pathOf(names[i]))
        addConfiguration(names[i], *path);
      else
        search.problem(search.at(kConfigurations, i),
                       "there is no configuration " + quoted(names[i]) +
                           " beside the one that "
                           "the daemon starts with",
                       didYouMean(names[i], namesBeside()));
    }
  }

  std::optional<std::string> pathOf(const std::string& name) const {
    for (const std::string& folder : folders) {
      std::error_code ignored;
      if (fs::is_regular_file(fs::path(folder) / name, ignored))
        return (fs::path(folder) / name).string();
    }
    return std::nullopt;
  }

  std::vector<std::string> namesBeside() const {
    std::set<std::string> names;
    for (const std::string& folder : folders) {
      std::error_code ignored;
      for (const auto& entry : fs::directory_iterator(folder, ignored))
        if (entry.path().extension() == ".conf") names.insert(entry.path().filename().string());
    }
    return {names.begin(), names.end()};
  }

  void addConfiguration(const std::string& name, const std::string& path) {
    paths.push_back(path);
    const std::string text = readFile(path).value_or("");
    VirtualDaemon daemon(run.environment);
    if (daemon.parseConfiguration(text)) return;
    run.configurations[name] = text;
    for (AlgorithmTrack& track : daemon.describeItems(run.description, name))
      run.description.algorithms.push_back(std::move(track));
  }

  // Without a word of it, those of all configurations.
  void readScenarios() {
    std::set<std::string> known;
    for (const auto& [name, text] : run.configurations) {
      VirtualDaemon daemon(run.environment);
      daemon.parseConfiguration(text);
      for (const auto& [scenario, items] : daemon.scenarios)
        known.insert(scenario);
    }
    const std::vector<std::string> all(known.begin(), known.end());
    const std::vector<std::string> named = search.texts(kScenarios);
    bounds.scenarios = search.has(kScenarios) ? named : all;
    for (size_t i = 0; i < named.size(); ++i) {
      if (known.count(named[i]) > 0) continue;
      search.problem(search.at(kScenarios, i),
                     "no configuration declares the scenario " + quoted(named[i]),
                     didYouMean(named[i], all, "there are " + listed(all)));
    }
  }

  void readFaults() {
    auto faults = search.section(kFaults);
    if (!faults) return;
    for (size_t probe = 0; probe < run.plant.probes.size(); ++probe) {
      const std::string& sensor = run.description.sensors[run.plant.probes[probe].sensor].name;
      const std::vector<std::string> words = faults->words(sensor);
      for (size_t i = 0; i < words.size(); ++i)
        addFault(*faults, faults->at(sensor, i), {probe, words[i]});
    }
    faults->refuseOtherKeys();
  }

  void addFault(const TomlSection& faults, const Span& at, SearchBounds::Fault fault) {
    const std::vector<std::string> known(fault::kWords.begin(), fault::kWords.end());
    const std::optional<double> celsius = parseNumber(fault.word);
    const bool isKnown = std::find(known.begin(), known.end(), fault.word) != known.end();
    if (!isKnown && !celsius)
      return faults.problem(
          at, ::quoted(fault.word) + " is no fault",
          didYouMean(fault.word, known,
                     "a fault is " + listed(known) + ", or a reading in degrees"));
    if (celsius && (*celsius < kColdestFault || *celsius > kHottest))
      return faults.problem(at, "no sensor can read " + fault.word + " degrees");
    bounds.faults.push_back(std::move(fault));
  }

  TomlSection search;
  const std::vector<std::string>& folders;
  RunInput& run;
  std::vector<std::string>& paths;
  SearchBounds bounds;
};

} // namespace

SearchBounds readSearchBounds(const std::string& file, const std::vector<std::string>& folders,
                              RunInput& run, std::vector<std::string>& paths, Problems& problems) {
  // Its reader has told what is wrong with the rest of it.
  const auto table = parseToml(readFile(file).value_or(""), file, problems);
  if (!table) return {};
  TomlSection whole(*table, file, problems);
  const auto none = parseToml("", kSearch, problems);
  const auto search = whole.section(kSearch);
  return BoundsReader(search ? *search : TomlSection(*none, file, problems), folders, run, paths)
      .read();
}
