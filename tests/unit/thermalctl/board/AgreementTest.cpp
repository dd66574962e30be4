// The models against the daemon's own parsers, on every text there is in the repository.

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <typeinfo>

#include <gtest/gtest.h>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "base/Int32.h"
#include "base/TextReader.h"
#include "board/Configuration.h"
#include "config/ConfParser.h"
#include "config/EnvParser.h"
#include "device/BacklightDevice.h"
#include "device/CPUFreqDevice.h"
#include "device/CPUHotplugDevice.h"
#include "device/CameraDevice.h"
#include "device/ChargerDevice.h"
#include "device/GPUFreqDevice.h"
#include "device/ReportDevice.h"
#include "fuzz/support/LineFeed.h"
#include "sensor/Real.h"
#include "sensor/Virtual.h"
#include "support/Board.h"
#include "thermalctl/support/Examples.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// One line of what a side says, its words told apart even where they hold blanks.
std::string joined(const Lines& words) {
  std::string line;
  for (const std::string& word : words)
    line.append("<").append(word).append(">");
  return line;
}

template <typename List, typename Convert> std::string listOf(const List& list, Convert convert) {
  Lines words;
  for (const auto& each : list)
    words.push_back(convert(each));
  return joined(words);
}

std::string text(int64_t number) {
  return std::to_string(number);
}
std::string numbersOf(const std::vector<int32_t>& numbers) {
  return listOf(numbers, text);
}
std::string numbersOf(const std::vector<Number>& numbers) {
  return listOf(numbers, [](const Number& number) { return text(number.value); });
}

// A system's file opens for writing where a board says so. Without its directories each path means
// a file of the working directory.
std::string withoutDirectories(std::string content) {
  std::replace(content.begin(), content.end(), '/', '_');
  return content;
}

// The daemon's side.

// A daemon's registries, filled from such texts. Frees replaced devices, too.
class ParsedBoard {
public:
  explicit ParsedBoard(const SysfsDir& files) : board(files) {}
  ~ParsedBoard() {
    for (const auto& [name, device] : board.devices)
      devices.erase(device);
    for (const Device* device : devices)
      delete device;
  }

  void readEnvironment(const std::string& content) {
    const auto remember = [this] {
      for (const auto& [name, device] : board.devices)
        devices.insert(device);
    };
    LineFeed feed(content, remember);
    std::istream in(&feed);
    EnvParser(in, board).parse();
    remember();
  }

  std::optional<std::string> readConfiguration(const std::string& content) {
    std::istringstream in(content);
    return ConfParser(in, {board.sensors, board.devices, board.ssThreads, board.monitorThreads,
                           board.scenarios})
        .parse();
  }

  Board board;

private:
  std::set<Device*> devices;
};

std::string nameOf(const Sensor* sensor) {
  return sensor ? joined({sensor->name, text(sensor->sampling)}) : "none";
}

std::string tripOf(const Board& board, const Virtual* sensor) {
  for (const auto& [period, worker] : board.sensorThreads)
    for (const Sensor* each : worker->items) {
      const auto* real = dynamic_cast<const Real*>(each);
      if (real && std::count(real->virtuals.begin(), real->virtuals.end(), sensor) > 0)
        return nameOf(real);
    }
  return "none";
}

std::string describe(const Board& board, const Sensor* sensor) {
  if (const auto* real = dynamic_cast<const Real*>(sensor))
    return joined({"real", nameOf(real), real->nodePath});
  if (const auto* v = dynamic_cast<const Virtual*>(sensor))
    return joined({"virtual", nameOf(v), text(v->setPoint), text(v->setPointClr),
                   listOf(v->sources, nameOf), numbersOf(v->weights), numbersOf(v->offsets),
                   text(v->weightSum), tripOf(board, v)});
  return "none";
}

std::string kindOf(const Device& device) {
  const std::type_info& type = typeid(device);
  if (type == typeid(CameraDevice)) return "camera";
  if (type == typeid(ReportDevice)) return "report";
  if (type == typeid(ChargerDevice)) return "charger";
  if (type == typeid(CPUFreqDevice)) return "cpufreq";
  if (type == typeid(GPUFreqDevice)) return "gpufreq";
  if (type == typeid(BacklightDevice)) return "backlight";
  return type == typeid(CPUHotplugDevice) ? "cpuhotplug" : "";
}

Lines environmentOf(const Board& board) {
  Lines lines;
  for (const auto& [name, sensor] : board.sensors)
    lines.push_back(joined({name, describe(board, sensor)}));
  for (const auto& [period, worker] : board.sensorThreads)
    lines.push_back(joined({text(period), text(worker->period), listOf(worker->items, nameOf)}));
  for (const auto& [name, device] : board.devices)
    lines.push_back(
        joined({name, device->name, kindOf(*device), device->nodePath, device->type,
                listOf(device->levelTable, [](const std::string& level) { return level; })}));
  lines.push_back(board.confFileName);
  return lines;
}

std::string nameOfDevice(const Device* device) {
  return device ? joined({device->name, device->nodePath}) : "none";
}

std::string scenarioOf(const Algo* item) {
  for (const auto& [scenario, items] : item->sensor->algorithms)
    if (std::count(items.begin(), items.end(), item) > 0) return scenario;
  return "";
}

Lines commonOf(const Algo* item) {
  return {item->name,           text(item->sampling),  scenarioOf(item),
          nameOf(item->sensor), text(item->lowactive), text(item->startTemp),
          text(item->clearTemp)};
}

std::string describeItem(const Monitor* item) {
  return joined(
      {joined(commonOf(item)), numbersOf(item->thresholds), numbersOf(item->thresholdsClr),
       listOf(item->actions,
              [](const std::vector<Device*>& row) { return listOf(row, nameOfDevice); }),
       listOf(item->actionInfo, [](const std::vector<int32_t>& row) { return numbersOf(row); })});
}

std::string describeItem(const SS* item) {
  return joined({joined(commonOf(item)), nameOfDevice(item->device), text(item->startLevel),
                 text(item->devicePerfFloor), text(static_cast<int32_t>(item->timeTickTrigger))});
}

template <typename Worker>
void addWorkers(Lines& lines, const std::map<std::string, Worker*>& all) {
  for (const auto& [key, worker] : all)
    lines.push_back(joined({key, text(worker->period),
                            listOf(worker->items, [](const auto* i) { return describeItem(i); })}));
}

// `error` is how the reading ended.
Lines configurationOf(const Board& board, const std::optional<std::string>& error) {
  Lines lines;
  addWorkers(lines, board.monitorThreads);
  addWorkers(lines, board.ssThreads);
  if (error)
    lines.push_back(*error);
  else
    for (const auto& [name, scenario] : board.scenarios)
      lines.push_back(name);
  return lines;
}

// The models' side.

std::string nameOf(const Section* section) {
  return section ? joined({section->name, text(static_cast<uint32_t>(section->sampling.value))})
                 : "none";
}
std::string nameOfReference(const Reference& reference) {
  return nameOf(reference.section);
}

std::string nodeOf(const Section& section) {
  return section.nodePath ? section.nodePath->text : "";
}

std::string tripOf(const Section& section) {
  const Section* trip = section.trip ? section.trip->section : nullptr;
  return trip && trip->kind == SectionKind::kReal ? nameOf(trip) : "none";
}

std::string describe(const Section* section) {
  if (!section) return "none";
  if (section->kind == SectionKind::kReal)
    return joined({"real", nameOf(section), nodeOf(*section)});
  return joined({"virtual", nameOf(section), text(section->setPoint.value),
                 text(section->setPointClr.value), listOf(section->sources, nameOfReference),
                 numbersOf(section->weights), numbersOf(section->offsets),
                 text(section->weightSum()), tripOf(*section)});
}

std::map<int32_t, std::vector<const Section*>> sensorWorkersOf(const Environment& environment) {
  std::map<int32_t, std::vector<const Section*>> workers;
  for (const Section& section : environment.sections)
    if (section.isSensor() && section.readByDaemon)
      workers[section.sampling.value].push_back(&section);
  return workers;
}

Lines environmentOf(const Environment& environment) {
  Lines lines;
  for (const auto& [name, section] : environment.sensors)
    lines.push_back(joined({name, describe(section)}));
  for (const auto& [period, sections] : sensorWorkersOf(environment))
    lines.push_back(
        joined({text(period), text(period),
                listOf(sections, [](const Section* section) { return nameOf(section); })}));
  for (const auto& [name, section] : environment.devices)
    lines.push_back(
        joined({name, section->name, section->kindWord.text, nodeOf(*section), section->valueType,
                listOf(section->levels, [](const Level& level) { return level.text; })}));
  lines.push_back(environment.confFileName.text);
  return lines;
}

std::string nameOfDevice(const Section* section) {
  return section ? joined({section->name, nodeOf(*section)}) : "none";
}

// A temperature as the daemon keeps it.
int32_t kept(const Item& item, const Number& number) {
  return item.lowactive ? wrapNegate(number.value) : number.value;
}
std::string keptNumbers(const Item& item, const std::vector<Number>& numbers) {
  return listOf(numbers, [&item](const Number& number) { return text(kept(item, number)); });
}

Lines commonOf(const Item& item, const Number& start, const Number& clear) {
  return {item.name,
          text(item.period()),
          item.scenario,
          nameOfReference(*item.sensor),
          text(item.lowactive),
          text(kept(item, start)),
          text(kept(item, clear))};
}

std::string describeMonitor(const Item& item) {
  return joined(
      {joined(commonOf(item, item.thresholds[0], item.thresholdsClr[0])),
       keptNumbers(item, item.thresholds), keptNumbers(item, item.thresholdsClr),
       listOf(item.actions,
              [](const DeviceRow& row) {
                return listOf(row.pieces,
                              [](const Reference& piece) { return nameOfDevice(piece.section); });
              }),
       listOf(item.actionInfo, [](const LevelRow& row) { return numbersOf(row.pieces); })});
}

std::string describeSS(const Item& item) {
  return joined({joined(commonOf(item, item.setPoint, item.setPointClr)),
                 nameOfDevice(item.device->section), text(item.startLevel.value),
                 text(item.devicePerfFloor.value), text(item.timeTickTrigger.value)});
}

struct ModelWorker {
  uint32_t period = 0;
  Lines items;
};

// The workers of that kind. One is made for the item that is rejected, too.
void addWorkers(Lines& lines, const Configuration& configuration, ItemKind kind) {
  std::map<std::string, ModelWorker> workers;
  const ConfigurationError* fatal = configuration.fatal();
  for (const Item& item : configuration.items) {
    const bool rejected =
        fatal && fatal->failure == ConfigurationError::kMissingProperty && fatal->item == &item;
    if (item.kind != kind || !(item.created || rejected)) continue;
    const auto [worker, isNew] = workers.try_emplace(item.workerKey());
    if (isNew) worker->second.period = item.period();
    if (item.created)
      worker->second.items.push_back(kind == ItemKind::kSS ? describeSS(item)
                                                           : describeMonitor(item));
  }
  for (const auto& [key, worker] : workers)
    lines.push_back(joined({key, text(static_cast<int32_t>(worker.period)), joined(worker.items)}));
}

Lines configurationOf(const Configuration& configuration) {
  Lines lines;
  addWorkers(lines, configuration, ItemKind::kMonitor);
  addWorkers(lines, configuration, ItemKind::kSS);
  if (configuration.fatal())
    lines.push_back(configuration.fatal()->message);
  else
    lines.insert(lines.end(), configuration.scenarios.begin(), configuration.scenarios.end());
  return lines;
}

// The texts.

std::string contentOf(const fs::path& path) {
  const std::optional<std::string> content = readFile(path.string());
  EXPECT_TRUE(content) << path;
  return content.value_or("");
}

std::vector<fs::path> filesBelow(const fs::path& directory) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory))
    if (entry.is_regular_file()) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

// The parts of an input for a whole board, between lines of "----".
Lines partsOf(const std::string& content) {
  Lines parts(1);
  std::istringstream in(content);
  for (std::string line; std::getline(in, line);)
    if (line == "----")
      parts.emplace_back();
    else
      parts.back() += line + "\n";
  return parts;
}

const fs::path kTests = fs::path(THERMALCTL_EXAMPLES).parent_path().parent_path();
const fs::path kCorpora = kTests / "fuzz" / "corpus";
const fs::path kPhone = kTests.parent_path() / "boards" / "phone";

class AgreementTest : public testing::Test {
protected:
  AgreementTest() : home(fs::current_path()) { fs::current_path(directory.node("")); }
  ~AgreementTest() override { fs::current_path(home); }

  void expectAgreement(const std::string& board, const Lines& configurations) {
    const std::string content = withoutDirectories(board);
    ParsedBoard parsed(files);
    parsed.readEnvironment(content);
    const Environment environment = readEnvironment("board.env", content);
    EXPECT_EQ(environmentOf(environment), environmentOf(parsed.board));
    for (const std::string& configuration : configurations)
      expectAgreement(content, environment, configuration);
  }

private:
  void expectAgreement(const std::string& board, const Environment& environment,
                       const std::string& configuration) {
    ParsedBoard parsed(files);
    parsed.readEnvironment(board);
    const std::optional<std::string> error = parsed.readConfiguration(configuration);
    EXPECT_EQ(configurationOf(readConfiguration("day.conf", configuration, environment)),
              configurationOf(parsed.board, error));
  }

  fs::path home;
  SysfsDir directory;
  BoardFiles files;
};

TEST_F(AgreementTest, TheModelsSayWhatTheDaemonMakesOfTheExamples) {
  const std::string common = exampleText("board.env");
  for (const std::string& example : allExamples()) {
    SCOPED_TRACE(example);
    const fs::path path = fs::path(THERMALCTL_EXAMPLES) / example;
    const bool hasBoard = fs::exists(path.string() + ".env");
    const bool hasConfiguration = fs::exists(path.string() + ".conf");
    expectAgreement(hasBoard ? contentOf(path.string() + ".env") : common,
                    hasConfiguration ? Lines{contentOf(path.string() + ".conf")} : Lines{});
  }
}

TEST_F(AgreementTest, TheModelSaysWhatTheDaemonMakesOfFuzzedEnvironments) {
  for (const fs::path& file : filesBelow(kCorpora / "environment")) {
    SCOPED_TRACE(file);
    expectAgreement(contentOf(file), {});
  }
}

TEST_F(AgreementTest, TheModelSaysWhatTheDaemonMakesOfFuzzedConfigurations) {
  Lines configurations;
  for (const fs::path& file : filesBelow(kCorpora / "configuration"))
    configurations.push_back(contentOf(file));
  // A board with the names that those configurations use.
  expectAgreement(contentOf(kTests / "thermalctl" / "every-kind.env"), configurations);
}

TEST_F(AgreementTest, TheModelsSayWhatTheDaemonMakesOfFuzzedBoards) {
  for (const fs::path& file : filesBelow(kCorpora / "board")) {
    SCOPED_TRACE(file);
    const Lines parts = partsOf(contentOf(file));
    Lines configurations;
    for (size_t i = 1; i < parts.size(); i += 2)
      configurations.push_back(parts[i]);
    expectAgreement(parts[0], configurations);
  }
}

TEST_F(AgreementTest, TheModelsSayWhatTheDaemonMakesOfThePhone) {
  Lines configurations;
  for (const fs::path& file : filesBelow(kPhone))
    if (file.extension() == ".conf") configurations.push_back(contentOf(file));
  ASSERT_FALSE(configurations.empty());
  expectAgreement(contentOf(kPhone / "talmor-thermal.env"), configurations);
}

// Every line of the longer texts left out, doubled or emptied, and every word glued to the next:
// what a slip of the hand makes of a file.
TEST_F(AgreementTest, TheModelsFollowTheDaemonThroughEverySlipInAFile) {
  const std::string board = exampleText("board.env");
  const auto slipsOf = [](const std::string& content) {
    Lines lines;
    std::istringstream in(content);
    for (std::string line; std::getline(in, line);)
      lines.push_back(line);
    Lines slips;
    for (size_t i = 0; i < lines.size(); ++i) {
      for (const std::string& instead :
           {std::string(), lines[i] + "\n" + lines[i] + "\n", std::string("\n"),
            lines[i].substr(0, lines[i].find(' ')) + "\n", lines[i] + " "}) {
        std::string text;
        for (size_t j = 0; j < lines.size(); ++j)
          text += j == i ? instead : lines[j] + "\n";
        slips.push_back(text);
      }
    }
    return slips;
  };
  for (const std::string& slip : slipsOf(board)) {
    SCOPED_TRACE(slip);
    expectAgreement(slip, {});
  }
  const std::string day = "SCEN day\n[hot]\nalgo_type monitor\nsensor cpu\nthresholds 1 2\n"
                          "thresholds_clr 1 2\nactions gpu+big gpu\naction_info 1+2 3\n\n"
                          "SCEN Default\n[step]\nalgo_type ss\nsensor skin\ndevice gpu\n"
                          "set_point 2\nset_point_clr 1\n]\n\n]\n[last]\nalgo_type ss\n"
                          "sensor battery\ndevice big\nset_point 2\nset_point_clr 1\n";
  expectAgreement(board, slipsOf(day));
}

} // namespace
