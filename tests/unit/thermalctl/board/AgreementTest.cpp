// The models against the daemon's own parsers, on every text there is in the repository: a file
// written anew from its model, with nothing in it but what the model says that the daemon takes up,
// makes the daemon build the same objects as the file itself.

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <typeinfo>

#include <gtest/gtest.h>

#include "algo/Monitor.h"
#include "algo/SS.h"
#include "base/TextReader.h"
#include "board/Configuration.h"
#include "config/ConfParser.h"
#include "config/EnvParser.h"
#include "fuzz/support/LineFeed.h"
#include "sensor/Real.h"
#include "sensor/Virtual.h"
#include "support/Board.h"
#include "thermalctl/support/Examples.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// A system's file opens for writing where a board says so. Without its directories each path means
// a file of the working directory.
std::string withoutDirectories(std::string content) {
  std::replace(content.begin(), content.end(), '/', '_');
  return content;
}

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

// What the daemon has built, in a line for each object.

// Words told apart even where they hold blanks.
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
std::string nameOf(const Sensor* sensor) {
  return sensor ? joined({sensor->name, text(sensor->sampling)}) : "none";
}
std::string nameOf(const Device* device) {
  return device ? joined({device->name, device->nodePath}) : "none";
}

std::string describe(const Sensor* sensor) {
  if (const auto* real = dynamic_cast<const Real*>(sensor))
    return joined({"real", nameOf(real), real->nodePath,
                   listOf(real->virtuals, [](const Virtual* each) { return nameOf(each); })});
  const auto* v = dynamic_cast<const Virtual*>(sensor);
  return joined({"virtual", nameOf(v), text(v->setPoint), text(v->setPointClr),
                 listOf(v->sources, [](const Sensor* each) { return nameOf(each); }),
                 numbersOf(v->weights), numbersOf(v->offsets), text(v->weightSum)});
}

Lines environmentOf(const Board& board) {
  Lines lines;
  for (const auto& [name, sensor] : board.sensors)
    if (sensor) lines.push_back(joined({name, nameOf(sensor)}));
  for (const auto& [period, worker] : board.sensorThreads)
    lines.push_back(joined({text(period), text(worker->period), listOf(worker->items, describe)}));
  for (const auto& [name, device] : board.devices)
    lines.push_back(
        joined({name, nameOf(device), typeid(*device).name(), device->type,
                listOf(device->levelTable, [](const std::string& level) { return level; })}));
  lines.push_back(board.confFileName);
  return lines;
}

std::string scenarioOf(const Algo* item) {
  for (const auto& [scenario, items] : item->sensor->algorithms)
    if (std::count(items.begin(), items.end(), item) > 0) return scenario;
  return "";
}

std::string commonOf(const Algo* item) {
  return joined({item->name, text(item->sampling), scenarioOf(item), nameOf(item->sensor),
                 text(item->lowactive), text(item->startTemp), text(item->clearTemp)});
}

std::string describeItem(const Monitor* item) {
  const auto devicesOf = [](const std::vector<Device*>& row) {
    return listOf(row, [](const Device* device) { return nameOf(device); });
  };
  return joined({commonOf(item), numbersOf(item->thresholds), numbersOf(item->thresholdsClr),
                 listOf(item->actions, devicesOf), listOf(item->actionInfo, numbersOf)});
}

std::string describeItem(const SS* item) {
  return joined({commonOf(item), nameOf(item->device), text(item->startLevel),
                 text(item->devicePerfFloor), text(item->timeTickTrigger)});
}

template <typename Worker>
void addWorkers(Lines& lines, const std::map<std::string, Worker*>& all) {
  for (const auto& [key, worker] : all)
    lines.push_back(joined({key, text(worker->period),
                            listOf(worker->items, [](const auto* i) { return describeItem(i); })}));
}

Lines configurationOf(const Board& board) {
  Lines lines;
  addWorkers(lines, board.monitorThreads);
  addWorkers(lines, board.ssThreads);
  return lines;
}

template <typename T> std::set<std::string> namesOf(const std::map<std::string, T>& registry) {
  std::set<std::string> names;
  for (const auto& [name, value] : registry)
    names.insert(name);
  return names;
}

// A file written anew from its model.

std::string written(const Word& word) {
  return word.text;
}
std::string written(const Number& number) {
  return text(number.value);
}
std::string written(const Flag& flag) {
  return flag ? "true" : "false";
}
// What a name does not lead to is to lead to nothing.
std::string written(const Reference& reference) {
  return reference.section ? reference.section->name : "-nothing-";
}
std::string written(const Level& level) {
  return level.quoted ? '"' + level.text + '"' : level.text;
}
template <typename T> std::string written(const std::optional<T>& word) {
  return word ? written(*word) : "";
}

std::string written(const DeviceRow& row);
std::string written(const LevelRow& row);

template <typename T>
std::string writtenList(const std::vector<T>& list, const std::string& separator) {
  std::string words;
  for (const T& each : list)
    words += (words.empty() ? "" : separator) + written(each);
  return words;
}
// A word that has no pieces is one of "+" alone.
std::string written(const DeviceRow& row) {
  return row.pieces.empty() ? "+" : writtenList(row.pieces, "+");
}
std::string written(const LevelRow& row) {
  return row.pieces.empty() ? "+" : writtenList(row.pieces, "+");
}
template <typename T> std::string written(const std::vector<T>& list) {
  return writtenList(list, " ");
}

template <typename BlockOfKind> std::string writtenKeys(const BlockOfKind& block) {
  std::string lines;
  visitKeys(block, block.kind, [&lines](const char* key, const auto& field, auto...) {
    const std::string words = written(field);
    if (!words.empty()) lines.append(key).append(" ").append(words).append("\n");
  });
  return lines + "\n";
}

std::string written(const Environment& environment) {
  std::string content;
  for (const Section& section : environment.sections)
    if (section.readByDaemon)
      content +=
          "[" + section.name + "]\ntype " + section.kindWord.text + "\n" + writtenKeys(section);
  return content;
}

std::string written(const Configuration& configuration) {
  std::string content;
  const ConfigurationError* fatal = configuration.fatal();
  for (const Item& item : configuration.items) {
    // The item that is rejected is read to its end, too.
    const bool rejected =
        fatal && fatal->failure == ConfigurationError::kMissingProperty && fatal->item == &item;
    if (item.created || rejected)
      content += "SCEN " + item.scenario + "\n[" + item.name + "]\n" + kItemTypeKey +
                 (item.kind == ItemKind::kSS ? " ss\n" : " monitor\n") + writtenKeys(item);
  }
  return content;
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
    const Environment environment = readEnvironment("board.env", content);
    ParsedBoard parsed(files);
    parsed.readEnvironment(content);
    ParsedBoard again(files);
    again.readEnvironment(written(environment));
    EXPECT_EQ(environmentOf(again.board), environmentOf(parsed.board));
    EXPECT_EQ(namesOf(environment.sensors), namesOf(parsed.board.sensors));
    EXPECT_EQ(namesOf(environment.devices), namesOf(parsed.board.devices));
    for (const std::string& configuration : configurations)
      expectAgreement(content, environment, configuration);
  }

private:
  void expectAgreement(const std::string& board, const Environment& environment,
                       const std::string& content) {
    const Configuration configuration = readConfiguration("day.conf", content, environment);
    ParsedBoard parsed(files);
    parsed.readEnvironment(board);
    const std::optional<std::string> error = parsed.readConfiguration(content);
    ParsedBoard again(files);
    again.readEnvironment(board);
    again.readConfiguration(written(configuration));
    EXPECT_EQ(configurationOf(again.board), configurationOf(parsed.board));
    const ConfigurationError* fatal = configuration.fatal();
    EXPECT_EQ(fatal ? fatal->message : "", error.value_or(""));
    if (!fatal) {
      EXPECT_EQ(configuration.scenarios, namesOf(parsed.board.scenarios));
    }
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
