#include "config/ConfParser.h"

#include <memory>

#include <gtest/gtest.h>

#include "device/Device.h"
#include "support/FixedSensor.h"
#include "support/FreeObjects.h"
#include "support/SysfsDir.h"
#include "thread/MonitorThread.h"
#include "thread/SSThread.h"

namespace {

using Keys = std::vector<std::string>;
using Numbers = std::vector<int32_t>;
using LevelRows = Monitor::LevelRows;
using DeviceRows = Monitor::DeviceRows;

const std::string kMonitor = "[hot]\n"
                             "algo_type monitor\n"
                             "sensor cpu_sensor\n"
                             "thresholds 60000\n"
                             "thresholds_clr 58000\n"
                             "actions cpu\n"
                             "action_info 1\n";
const std::string kSS = "[step]\n"
                        "algo_type ss\n"
                        "sensor cpu_sensor\n"
                        "device cpu\n"
                        "set_point 70000\n"
                        "set_point_clr 65000\n";

const std::string kNoItem = "Each item should be started with 'SCEN' or embraced with [name]";
const std::string kNoType = "Each item's property should contain & start with 'algo_type'";
const std::string kBadType = "Algo type should be 'monitor' or 'SS'";

std::string missingProperty(const std::string& item) {
  return "There is some missing property for " + item;
}

// `text` with the line of `key` replaced; an empty `line` takes it out.
std::string withLine(std::string text, const std::string& key, const std::string& line) {
  const size_t begin = text.find("\n" + key + " ") + 1;
  const size_t end = text.find('\n', begin) + 1;
  return text.replace(begin, end - begin, line.empty() ? line : line + "\n");
}
std::string without(const std::string& text, const std::string& key) {
  return withLine(text, key, "");
}
std::string named(const std::string& text, const std::string& name) {
  return "[" + name + text.substr(text.find(']'));
}

template <typename T> Keys keysOf(const std::map<std::string, T>& registry) {
  Keys keys;
  for (const auto& [key, value] : registry)
    keys.push_back(key);
  return keys;
}

template <typename Worker> Keys itemsOf(const Worker& worker) {
  Keys names;
  for (const auto* item : worker.items)
    names.push_back(item->name);
  return names;
}

class ConfParserTest : public testing::Test {
protected:
  ~ConfParserTest() override {
    freeWorkers(monitorThreads);
    freeWorkers(ssThreads);
    freeObjects(scenarios);
  }

  std::optional<std::string> parse(const std::string& text) {
    const std::map<std::string, Scenario*> before = scenarios;
    std::istringstream in(text);
    const ConfParser::Registries registries{sensors, devices, ssThreads, monitorThreads, scenarios};
    if (auto error = ConfParser(in, registries).parse()) return error;
    for (const auto& [name, scenario] : before)
      replaced.emplace_back(scenario);
    return std::nullopt;
  }

  // The one item that `text` must hold.
  const Monitor& monitorOf(const std::string& text) {
    EXPECT_EQ(parse(text), std::nullopt);
    return onlyItem<Monitor>(monitorThreads);
  }
  const SS& ssOf(const std::string& text) {
    EXPECT_EQ(parse(text), std::nullopt);
    return onlyItem<SS>(ssThreads);
  }

  SysfsDir sysfs;
  FixedSensor cpuSensor{"cpu_sensor"};
  FixedSensor gpuSensor{"gpu_sensor"};
  Device cpu{"cpu", sysfs.node("cpu"), "integer", {"3", "2", "1"}};
  Device gpu{"gpu", sysfs.node("gpu"), "integer", {"3", "2", "1"}};
  std::map<std::string, Sensor*> sensors{{"cpu_sensor", &cpuSensor}, {"gpu_sensor", &gpuSensor}};
  std::map<std::string, Device*> devices{{"cpu", &cpu}, {"gpu", &gpu}};
  std::map<std::string, SSThread*> ssThreads;
  std::map<std::string, MonitorThread*> monitorThreads;
  std::map<std::string, Scenario*> scenarios;

private:
  template <typename T, typename Worker>
  const T& onlyItem(const std::map<std::string, Worker*>& workers) const {
    EXPECT_EQ(workers.size(), 1u);
    const Worker& worker = *workers.begin()->second;
    EXPECT_EQ(worker.items.size(), 1u);
    return **worker.items.begin();
  }

  // Once another reading takes their place, the scenarios are nobody's.
  std::vector<std::unique_ptr<Scenario>> replaced;
};

TEST_F(ConfParserTest, ReadsAMonitorOfTheDefaultScenarioAndAnSSOfAnother) {
  devices["cpu_big"] = &cpu;
  EXPECT_EQ(parse("[cpu_monitor]\n"
                  "algo_type monitor\n"
                  "sensor cpu_sensor\n"
                  "sampling 1000\n"
                  "thresholds 60000 70000\n"
                  "thresholds_clr 58000 68000\n"
                  "actions cpu_big+gpu cpu_big+gpu\n"
                  "action_info 1+0 2+1\n"
                  "\n"
                  "SCEN game\n"
                  "[gpu_ss]\n"
                  "algo_type ss\n"
                  "sensor gpu_sensor\n"
                  "device gpu\n"
                  "sampling 100\n"
                  "set_point 70000\n"
                  "set_point_clr 65000\n"
                  "]\n"),
            std::nullopt);

  ASSERT_EQ(keysOf(monitorThreads), (Keys{"1000DefaultMONITOR"}));
  const MonitorThread& monitorThread = *monitorThreads["1000DefaultMONITOR"];
  EXPECT_EQ(monitorThread.period, 1000);
  ASSERT_EQ(itemsOf(monitorThread), (Keys{"cpu_monitor"}));
  const Monitor& monitor = **monitorThread.items.begin();
  EXPECT_EQ(monitor.sensor, &cpuSensor);
  EXPECT_EQ(monitor.thread, &monitorThread);
  EXPECT_EQ(monitor.sampling, 1000u);
  EXPECT_EQ(monitor.startTemp, 60000);
  EXPECT_EQ(monitor.clearTemp, 58000);
  EXPECT_EQ(monitor.thresholds, (Numbers{60000, 70000}));
  EXPECT_EQ(monitor.thresholdsClr, (Numbers{58000, 68000}));
  EXPECT_EQ(monitor.actions, (DeviceRows{{&cpu, &gpu}, {&cpu, &gpu}}));
  EXPECT_EQ(monitor.actionInfo, (LevelRows{{1, 0}, {2, 1}}));
  EXPECT_FALSE(monitor.lowactive);
  EXPECT_EQ(cpuSensor.algorithms["Default"], (std::vector<Algo*>{*monitorThread.items.begin()}));

  ASSERT_EQ(keysOf(ssThreads), (Keys{"100gameSS"}));
  const SSThread& ssThread = *ssThreads["100gameSS"];
  EXPECT_EQ(ssThread.period, 100);
  ASSERT_EQ(itemsOf(ssThread), (Keys{"gpu_ss"}));
  const SS& ss = **ssThread.items.begin();
  EXPECT_EQ(ss.sensor, &gpuSensor);
  EXPECT_EQ(ss.thread, &ssThread);
  EXPECT_EQ(ss.device, &gpu);
  EXPECT_EQ(ss.sampling, 100u);
  EXPECT_EQ(ss.startTemp, 70000);
  EXPECT_EQ(ss.clearTemp, 65000);
  EXPECT_EQ(ss.startLevel, 0);
  EXPECT_EQ(ss.devicePerfFloor, 2147483647);
  EXPECT_EQ(ss.timeTickTrigger, 0u);
  EXPECT_FALSE(ss.lowactive);
  EXPECT_EQ(gpuSensor.algorithms["game"], (std::vector<Algo*>{*ssThread.items.begin()}));

  ASSERT_EQ(keysOf(scenarios), (Keys{"game"}));
  EXPECT_EQ(scenarios["game"]->name, "game");
  EXPECT_FALSE(scenarios["game"]->active);
}

TEST_F(ConfParserTest, AnEmptyFileOrOneOfBlankLinesLeavesNoItemsAndNoScenarios) {
  for (const char* text : {"", "\n", "  \n\t\n\r\n", "\n\n  "}) {
    ASSERT_EQ(parse("SCEN game\n" + kMonitor), std::nullopt);
    freeWorkers(monitorThreads);
    EXPECT_EQ(parse(text), std::nullopt);
    EXPECT_TRUE(scenarios.empty());
    EXPECT_TRUE(monitorThreads.empty());
    EXPECT_TRUE(ssThreads.empty());
  }
}

TEST_F(ConfParserTest, TheTypeIsALowerCaseWordAlthoughItsMessageSaysOtherwise) {
  for (const char* type : {"SS", "Monitor", "MONITOR", "monitors", "mon", "s", "]", "[hot]"})
    EXPECT_EQ(parse(withLine(kSS, "algo_type", std::string("algo_type ") + type)), kBadType)
        << type;
  EXPECT_EQ(parse(kSS), std::nullopt);
  EXPECT_EQ(parse(kMonitor), std::nullopt);
}

TEST_F(ConfParserTest, ATypeLineWithoutItsTypeIsAnError) {
  EXPECT_EQ(parse("[hot]\nalgo_type\nsensor cpu_sensor\n"), kBadType);
  EXPECT_EQ(parse("[hot]\nalgo_type"), kBadType);
}

TEST_F(ConfParserTest, AnItemWithoutATypeLineRightBelowItsNameIsAnError) {
  for (const char* text :
       {"[hot]\nsensor cpu_sensor\nalgo_type monitor\n", "[hot]\n\nalgo_type monitor\n", "[hot]\n",
        "[hot]", "[hot]\nalgo_types monitor\n", "[hot]\nAlgo_type monitor\n", "[hot]\n]\n"})
    EXPECT_EQ(parse(text), kNoType) << text;
}

TEST_F(ConfParserTest, ALineThatBeginsNoItemIsAnError) {
  for (const char* text : {"hot]\nalgo_type monitor\n", "# a comment\n", "// another\n",
                           "scen game\n", "SCENE game\n", "]]\n[hot]\n", "sensor cpu_sensor\n"})
    EXPECT_EQ(parse(text), kNoItem) << text;
}

TEST_F(ConfParserTest, AScenarioLineNeedsItsItemRightBelow) {
  EXPECT_EQ(parse("SCEN night\n\n" + kMonitor), kNoItem);
  EXPECT_EQ(parse("SCEN night\n"), kNoItem);
  EXPECT_EQ(parse("SCEN night"), kNoItem);
  EXPECT_EQ(parse("SCEN night\nSCEN day\n" + kMonitor), kNoItem);
  EXPECT_EQ(parse("SCEN night\n]\n" + kMonitor), kNoItem);
  EXPECT_EQ(parse("SCEN night\n" + kMonitor), std::nullopt);
}

TEST_F(ConfParserTest, AClosingBracketNeedsItsItemRightBelow) {
  EXPECT_EQ(parse(kMonitor + "\n]\n"), kNoItem) << "the last line of the file";
  EXPECT_EQ(parse(kMonitor + "\n]"), kNoItem);
  EXPECT_EQ(parse("]\n\n" + kMonitor), kNoItem);
  EXPECT_EQ(parse("]\nSCEN night\n" + kMonitor), kNoItem);
  EXPECT_EQ(parse("]\n]\n" + kMonitor), kNoItem);
}

TEST_F(ConfParserTest, AMonitorWithoutAMandatoryPropertyIsRejected) {
  for (const char* key : {"sensor", "thresholds", "thresholds_clr", "actions", "action_info"}) {
    EXPECT_EQ(parse(without(kMonitor, key)), missingProperty("hot")) << "no line " << key;
    EXPECT_EQ(parse(withLine(kMonitor, key, key)), missingProperty("hot")) << key << " alone";
  }
  EXPECT_EQ(cpuSensor.algorithms.size(), 0u);
}

TEST_F(ConfParserTest, AnSSWithoutAMandatoryPropertyIsRejected) {
  for (const char* key : {"sensor", "device", "set_point", "set_point_clr"}) {
    EXPECT_EQ(parse(without(kSS, key)), missingProperty("step")) << "no line " << key;
    EXPECT_EQ(parse(withLine(kSS, key, key)), missingProperty("step")) << key << " alone";
  }
  EXPECT_EQ(cpuSensor.algorithms.size(), 0u);
}

TEST_F(ConfParserTest, TheMessageOfARejectedItemEndsItsNameAtANul) {
  const std::string name("st\0ep", 5);
  EXPECT_EQ(parse(without(named(kSS, name), "sensor")), missingProperty("st"));
}

TEST_F(ConfParserTest, ASetPointOfZeroIsRejectedLikeAMissingOne) {
  for (const char* key : {"set_point", "set_point_clr"}) {
    const std::string line = std::string(key) + " ";
    for (const char* zero : {"0", "-0", "hot", "4294967296"})
      EXPECT_EQ(parse(withLine(kSS, key, line + zero)), missingProperty("step")) << line << zero;
    for (const char* other : {"-1", "1"})
      EXPECT_EQ(parse(withLine(kSS, key, line + other)), std::nullopt) << line << other;
  }
}

TEST_F(ConfParserTest, AnUnknownSensorOrDeviceIsRejectedAndLeavesANullEntry) {
  EXPECT_EQ(parse(withLine(kMonitor, "sensor", "sensor skin")), missingProperty("hot"));
  EXPECT_EQ(parse(withLine(kSS, "sensor", "sensor board")), missingProperty("step"));
  EXPECT_EQ(parse(withLine(kSS, "device", "device fan")), missingProperty("step"));
  EXPECT_EQ(keysOf(sensors), (Keys{"board", "cpu_sensor", "gpu_sensor", "skin"}));
  EXPECT_EQ(keysOf(devices), (Keys{"cpu", "fan", "gpu"}));
  EXPECT_EQ(sensors["skin"], nullptr);
  EXPECT_EQ(sensors["board"], nullptr);
  EXPECT_EQ(devices["fan"], nullptr);
}

TEST_F(ConfParserTest, ARejectedItemHasItsThreadAlready) {
  EXPECT_EQ(parse(without(kMonitor, "sensor") + "sampling 20\n"), missingProperty("hot"));
  EXPECT_EQ(parse(without(kSS, "sensor") + "sampling 30\n"), missingProperty("step"));
  ASSERT_EQ(keysOf(monitorThreads), (Keys{"20DefaultMONITOR"}));
  ASSERT_EQ(keysOf(ssThreads), (Keys{"30DefaultSS"}));
  EXPECT_EQ(monitorThreads.begin()->second->items.size(), 0u);
  EXPECT_EQ(ssThreads.begin()->second->items.size(), 0u);
}

TEST_F(ConfParserTest, AnErrorEndsTheReadingAndKeepsTheScenariosInForce) {
  ASSERT_EQ(parse("SCEN game\n" + named(kMonitor, "first")), std::nullopt);
  const Scenario* const game = scenarios["game"];
  EXPECT_EQ(parse("SCEN night\n" + named(kMonitor, "second") + "\nno item\n\n" +
                  named(kMonitor, "third")),
            kNoItem);
  ASSERT_EQ(keysOf(scenarios), (Keys{"game"}));
  EXPECT_EQ(scenarios["game"], game);
  EXPECT_EQ(keysOf(monitorThreads), (Keys{"1000gameMONITOR", "1000nightMONITOR"}));
  EXPECT_EQ(itemsOf(*monitorThreads["1000nightMONITOR"]), (Keys{"second"}));
}

TEST_F(ConfParserTest, ABlankLineABracketOrTheEndOfTheFileEndsAnItem) {
  ASSERT_EQ(
      parse(named(kMonitor, "a") + "\n" + named(kMonitor, "b") + "]\n" + named(kMonitor, "c")),
      std::nullopt);
  EXPECT_EQ(itemsOf(*monitorThreads["1000DefaultMONITOR"]), (Keys{"a", "b", "c"}));
}

TEST_F(ConfParserTest, ALastLineWithoutALineEndCounts) {
  const std::string last = "action_info 2";
  const Monitor& monitor = monitorOf(without(kMonitor, "action_info") + last);
  EXPECT_EQ(monitor.actionInfo, (LevelRows{{2}}));
}

TEST_F(ConfParserTest, ItemsWithoutABlankLineBetweenThemMergeIntoTheFirst) {
  const Monitor& monitor = monitorOf(named(kMonitor, "a") + named(kMonitor, "b"));
  EXPECT_EQ(monitor.name, "a");
  EXPECT_EQ(monitor.thresholds, (Numbers{60000, 60000}));
}

TEST_F(ConfParserTest, TheNameLosesItsFirstAndItsLastCharacterWhateverTheLastIs) {
  const struct {
    const char* header;
    const char* name;
  } cases[] = {{"[hot]", "hot"}, {"[hot", "ho"}, {"[hot] and more", "hot"}, {"[]", ""}, {"[", ""}};
  for (const auto& c : cases) {
    EXPECT_EQ(monitorOf(c.header + kMonitor.substr(kMonitor.find('\n'))).name, c.name) << c.header;
    freeWorkers(monitorThreads);
    cpuSensor.algorithms.clear();
  }
}

TEST_F(ConfParserTest, FurtherWordsOfTheNameLineStandInForABlankTypeLine) {
  const std::string properties = kMonitor.substr(kMonitor.find("sensor"));
  EXPECT_EQ(monitorOf("[hot] algo_type monitor\n\n" + properties).name, "hot");
}

TEST_F(ConfParserTest, ABlankLineRightAfterTheTypeLineEndsNothing) {
  const std::string properties = kMonitor.substr(kMonitor.find("sensor"));
  EXPECT_EQ(monitorOf("[hot]\nalgo_type monitor\n\n" + properties).name, "hot");
}

TEST_F(ConfParserTest, ABracketRightAfterTheTypeLineEndsNothing) {
  const std::string properties = kMonitor.substr(kMonitor.find("sensor"));
  EXPECT_EQ(monitorOf("[hot]\nalgo_type monitor\n]\n" + properties).name, "hot");
}

TEST_F(ConfParserTest, WhiteSpaceAndCarriageReturnsDoNotMatter) {
  std::string text;
  for (const char c : "\n \t" + kMonitor) {
    if (c == '\n')
      text += " \r\n\t ";
    else if (c == ' ')
      text += " \t ";
    else
      text += c;
  }
  const Monitor& monitor = monitorOf(text);
  EXPECT_EQ(monitor.name, "hot");
  EXPECT_EQ(monitor.thresholds, (Numbers{60000}));
}

TEST_F(ConfParserTest, UnknownKeysKeysOfTheOtherKindAndFurtherWordsAreIgnored) {
  const Monitor& monitor =
      monitorOf(kMonitor + "set_point 0\ndevice fan\nthresholds_cl 1\nThresholds 1\nthreshold 1\n"
                           "sampling 50 60\nlowactive true false\nsensors gpu_sensor\n# comment\n");
  EXPECT_EQ(monitor.sampling, 50u);
  EXPECT_TRUE(monitor.lowactive);
  EXPECT_EQ(monitor.sensor, &cpuSensor);
  EXPECT_EQ(monitor.thresholds, (Numbers{-60000}));
  EXPECT_EQ(keysOf(devices), (Keys{"cpu", "gpu"}));

  const SS& ss = ssOf(kSS + "thresholds 1\nactions fan\naction_info 1\nset_points 1\n"
                            "start_level 2 3\ndevice gpu cpu\n");
  EXPECT_EQ(ss.startTemp, 70000);
  EXPECT_EQ(ss.startLevel, 2);
  EXPECT_EQ(ss.device, &gpu);
}

TEST_F(ConfParserTest, TheLaterOfTwoLinesWithOneValueWins) {
  const Monitor& monitor =
      monitorOf(kMonitor + "sensor gpu_sensor\nsampling 20\nsampling 30\nlowactive true\n"
                           "lowactive no\n");
  EXPECT_EQ(monitor.sensor, &gpuSensor);
  EXPECT_EQ(monitor.sampling, 30u);
  EXPECT_FALSE(monitor.lowactive);

  const SS& ss = ssOf(kSS + "sensor gpu_sensor\ndevice gpu\nset_point 5\nset_point_clr 4\n"
                            "start_level 1\nstart_level 2\ndevice_perf_floor 9\n"
                            "device_perf_floor 8\ntime_tick_trigger 7\ntime_tick_trigger 6\n");
  EXPECT_EQ(ss.sensor, &gpuSensor);
  EXPECT_EQ(ss.device, &gpu);
  EXPECT_EQ(ss.startTemp, 5);
  EXPECT_EQ(ss.clearTemp, 4);
  EXPECT_EQ(ss.startLevel, 2);
  EXPECT_EQ(ss.devicePerfFloor, 8);
  EXPECT_EQ(ss.timeTickTrigger, 6u);
}

TEST_F(ConfParserTest, OnlyTheExactWordTrueIsLowactive) {
  const struct {
    const char* line;
    bool expected;
  } cases[] = {{"lowactive true", true},   {"lowactive True", false}, {"lowactive TRUE", false},
               {"lowactive 1", false},     {"lowactive yes", false},  {"lowactive true1", false},
               {"lowactive false", false}, {"lowactive", false},      {"Lowactive true", false}};
  for (const auto& c : cases) {
    EXPECT_EQ(monitorOf(kMonitor + c.line).lowactive, c.expected) << c.line;
    EXPECT_EQ(ssOf(kSS + c.line).lowactive, c.expected) << c.line;
    freeWorkers(monitorThreads);
    freeWorkers(ssThreads);
    cpuSensor.algorithms.clear();
  }
}

TEST_F(ConfParserTest, NumbersAreReadUpToTheFirstOtherCharacterAndCutTo32Bits) {
  const Monitor& monitor =
      monitorOf(withLine(withLine(kMonitor, "thresholds", "thresholds +60000mC 4294967297 -1.9"),
                         "action_info", "action_info 1x+0x2+two"));
  EXPECT_EQ(monitor.thresholds, (Numbers{60000, 1, -1}));
  EXPECT_EQ(monitor.actionInfo, (LevelRows{{1, 0, 0}}));

  const SS& ss = ssOf(kSS + "set_point -20000\nstart_level -2\ndevice_perf_floor 2147483648\n"
                            "time_tick_trigger -1\n");
  EXPECT_EQ(ss.startTemp, -20000);
  EXPECT_EQ(ss.startLevel, -2);
  EXPECT_EQ(ss.devicePerfFloor, INT32_MIN);
  EXPECT_EQ(ss.timeTickTrigger, 4294967295u);
}

TEST_F(ConfParserTest, AThresholdWithoutDigitsIsZero) {
  EXPECT_EQ(monitorOf(withLine(kMonitor, "thresholds", "thresholds 60000 warm")).thresholds,
            (Numbers{60000, 0}));
}

TEST_F(ConfParserTest, FurtherThresholdLinesAppend) {
  const Monitor& monitor =
      monitorOf(kMonitor + "thresholds 70000 80000\nthresholds_clr 68000\nthresholds_clr 78000\n");
  EXPECT_EQ(monitor.thresholds, (Numbers{60000, 70000, 80000}));
  EXPECT_EQ(monitor.thresholdsClr, (Numbers{58000, 68000, 78000}));
  EXPECT_EQ(monitor.startTemp, 60000);
  EXPECT_EQ(monitor.clearTemp, 58000);
}

TEST_F(ConfParserTest, EachWordOfTheActionsIsARowSplitAtItsPlusSigns) {
  const Monitor& monitor =
      monitorOf(withLine(withLine(kMonitor, "actions", "actions cpu++gpu+ + +gpu"), "action_info",
                         "action_info 1++2+ + +3"));
  EXPECT_EQ(monitor.actions, (DeviceRows{{&cpu, &gpu}, {}, {&gpu}}));
  EXPECT_EQ(monitor.actionInfo, (LevelRows{{1, 2}, {}, {3}}));
}

TEST_F(ConfParserTest, ASecondActionsLineAddsToTheFirstRowsAndAppendsEmptyOnes) {
  const Monitor& monitor = monitorOf(kMonitor + "actions gpu cpu\naction_info 2 3\n");
  EXPECT_EQ(monitor.actions, (DeviceRows{{&cpu, &gpu}, {&cpu}, {}}));
  EXPECT_EQ(monitor.actionInfo, (LevelRows{{1, 2}, {3}, {}}));
}

TEST_F(ConfParserTest, AnActionOnAnUnknownDeviceIsANullEntryAndAddsNoDevice) {
  const Monitor& monitor = monitorOf(withLine(kMonitor, "actions", "actions fan+cpu"));
  EXPECT_EQ(monitor.actions, (DeviceRows{{nullptr, &cpu}}));
  EXPECT_EQ(keysOf(devices), (Keys{"cpu", "gpu"}));
}

TEST_F(ConfParserTest, ListsOfDifferentLengthAreAccepted) {
  const Monitor& monitor =
      monitorOf(withLine(kMonitor, "thresholds", "thresholds 60000 70000 80000"));
  EXPECT_EQ(monitor.thresholds.size(), 3u);
  EXPECT_EQ(monitor.thresholdsClr.size(), 1u);
  EXPECT_EQ(monitor.actions.size(), 1u);
  EXPECT_EQ(monitor.actionInfo.size(), 1u);
}

TEST_F(ConfParserTest, AnSSTakesItsOptionalProperties) {
  const SS& ss =
      ssOf(kSS + "start_level 1\ndevice_perf_floor 2\ntime_tick_trigger 3\nlowactive true\n");
  EXPECT_EQ(ss.startLevel, 1);
  EXPECT_EQ(ss.devicePerfFloor, 2);
  EXPECT_EQ(ss.timeTickTrigger, 3u);
  EXPECT_TRUE(ss.lowactive);
}

TEST_F(ConfParserTest, ThePropertiesOfOneItemDoNotReachTheNext) {
  EXPECT_EQ(parse(kMonitor + "lowactive true\nsampling 20\n\n[next]\nalgo_type monitor\n"),
            missingProperty("next"));
  EXPECT_EQ(keysOf(monitorThreads), (Keys{"1000DefaultMONITOR", "20DefaultMONITOR"}));
}

TEST_F(ConfParserTest, MonitorsOfOneScenarioAndPeriodShareAThread) {
  const std::string item = kMonitor + "sampling 500\n";
  ASSERT_EQ(parse(named(item, "a") + "\n" + named(item, "b") + "\nSCEN night\n" + named(item, "c")),
            std::nullopt);
  EXPECT_EQ(keysOf(monitorThreads), (Keys{"500DefaultMONITOR", "500nightMONITOR"}));
  EXPECT_EQ(itemsOf(*monitorThreads["500DefaultMONITOR"]), (Keys{"a", "b"}));
  EXPECT_EQ(itemsOf(*monitorThreads["500nightMONITOR"]), (Keys{"c"}));
}

TEST_F(ConfParserTest, ItemsOfOtherPeriodsOrKindsHaveThreadsOfTheirOwn) {
  ASSERT_EQ(
      parse(kMonitor + "sampling 500\n\n" + kMonitor + "sampling 501\n\n" + kSS + "sampling 500\n"),
      std::nullopt);
  EXPECT_EQ(keysOf(monitorThreads), (Keys{"500DefaultMONITOR", "501DefaultMONITOR"}));
  EXPECT_EQ(keysOf(ssThreads), (Keys{"500DefaultSS"}));
  EXPECT_EQ(monitorThreads["501DefaultMONITOR"]->period, 501);
  EXPECT_EQ(ssThreads["500DefaultSS"]->period, 500);
}

TEST_F(ConfParserTest, WithoutASamplingLineThePeriodIs1000) {
  ASSERT_EQ(parse(kMonitor + "\n" + kSS), std::nullopt);
  EXPECT_EQ(keysOf(monitorThreads), (Keys{"1000DefaultMONITOR"}));
  EXPECT_EQ(keysOf(ssThreads), (Keys{"1000DefaultSS"}));
  EXPECT_EQ(monitorThreads.begin()->second->period, 1000);
  EXPECT_EQ((*monitorThreads.begin()->second->items.begin())->sampling, 1000u);
}

TEST_F(ConfParserTest, AThreadKeyKeepsThePeriodAsAnUnsignedNumber) {
  const struct {
    const char* sampling;
    const char* key;
    int32_t period;
  } cases[] = {{"0", "0Default", 0},
               {"abc", "0Default", 0},
               {"-1", "4294967295Default", -1},
               {"-2147483648", "2147483648Default", INT32_MIN},
               {"0500ms", "500Default", 500}};
  for (const auto& c : cases) {
    const std::string line = std::string("sampling ") + c.sampling;
    EXPECT_EQ(monitorOf(kMonitor + line).sampling, static_cast<uint32_t>(c.period)) << line;
    EXPECT_EQ(ssOf(kSS + line).sampling, static_cast<uint32_t>(c.period)) << line;
    EXPECT_EQ(keysOf(monitorThreads), (Keys{c.key + std::string("MONITOR")})) << line;
    EXPECT_EQ(keysOf(ssThreads), (Keys{c.key + std::string("SS")})) << line;
    EXPECT_EQ(monitorThreads.begin()->second->period, c.period) << line;
    EXPECT_EQ(ssThreads.begin()->second->period, c.period) << line;
    freeWorkers(monitorThreads);
    freeWorkers(ssThreads);
    cpuSensor.algorithms.clear();
  }
}

TEST_F(ConfParserTest, ASecondReadingAddsItsItemsToTheThreadsThatAreThere) {
  ASSERT_EQ(parse(named(kMonitor, "a")), std::nullopt);
  const MonitorThread* const worker = monitorThreads["1000DefaultMONITOR"];
  ASSERT_EQ(parse(named(kMonitor, "b") + "\n" + kSS), std::nullopt);
  EXPECT_EQ(monitorThreads["1000DefaultMONITOR"], worker);
  EXPECT_EQ(itemsOf(*worker), (Keys{"a", "b"}));
  EXPECT_EQ(cpuSensor.algorithms["Default"].size(), 3u);
}

TEST_F(ConfParserTest, OnlyTheScenarioDefaultBeginsActive) {
  ASSERT_EQ(parse("SCEN night\n" + kMonitor + "\nSCEN Default\n" + kMonitor + "\nSCEN default\n" +
                  kMonitor),
            std::nullopt);
  ASSERT_EQ(keysOf(scenarios), (Keys{"Default", "default", "night"}));
  EXPECT_TRUE(scenarios["Default"]->active);
  EXPECT_FALSE(scenarios["default"]->active);
  EXPECT_FALSE(scenarios["night"]->active);
  for (const auto& [name, scenario] : scenarios)
    EXPECT_EQ(scenario->name, name);
}

TEST_F(ConfParserTest, WithoutAScenarioLineDefaultIsInForceButNotRecorded) {
  ASSERT_EQ(parse(kMonitor), std::nullopt);
  EXPECT_EQ(keysOf(cpuSensor.algorithms), (Keys{"Default"}));
  EXPECT_TRUE(scenarios.empty());
}

TEST_F(ConfParserTest, AScenarioNamedTwiceIsOneAndItsItemsAddUp) {
  ASSERT_EQ(parse("SCEN night\n" + named(kMonitor, "a") + "\nSCEN day\n" + named(kMonitor, "b") +
                  "\nSCEN night and more words\n" + named(kMonitor, "c")),
            std::nullopt);
  EXPECT_EQ(keysOf(scenarios), (Keys{"day", "night"}));
  EXPECT_EQ(itemsOf(*monitorThreads["1000nightMONITOR"]), (Keys{"a", "c"}));
}

TEST_F(ConfParserTest, AScenarioLastsUntilAClosingBracketThatFollowsAnItemEndedByABlankLine) {
  ASSERT_EQ(parse("SCEN A\n" + named(kMonitor, "a") + "\n" + named(kMonitor, "b") + "\n]\n" +
                  named(kMonitor, "c") + "\n" + named(kMonitor, "d")),
            std::nullopt);
  EXPECT_EQ(itemsOf(*monitorThreads["1000AMONITOR"]), (Keys{"a", "b"}));
  EXPECT_EQ(itemsOf(*monitorThreads["1000DefaultMONITOR"]), (Keys{"c", "d"}));
}

TEST_F(ConfParserTest, TheBracketThatEndsAnItemDoesNotCloseItsScenario) {
  ASSERT_EQ(parse("SCEN A\n" + named(kMonitor, "a") + "]\n" + named(kMonitor, "b")), std::nullopt);
  EXPECT_EQ(keysOf(monitorThreads), (Keys{"1000AMONITOR"}));
  EXPECT_EQ(itemsOf(*monitorThreads["1000AMONITOR"]), (Keys{"a", "b"}));
}

TEST_F(ConfParserTest, TwoBracketsInARowEndTheItemAndCloseTheScenario) {
  ASSERT_EQ(parse("SCEN A\n" + named(kMonitor, "a") + "]\n]\n" + named(kMonitor, "b")),
            std::nullopt);
  EXPECT_EQ(itemsOf(*monitorThreads["1000DefaultMONITOR"]), (Keys{"b"}));
}

TEST_F(ConfParserTest, AReadingReplacesTheScenariosWithoutTouchingThePreviousOnes) {
  ASSERT_EQ(parse("SCEN Default\n" + kMonitor + "\nSCEN night\n" + kMonitor), std::nullopt);
  const std::map<std::string, Scenario*> before = scenarios;
  before.at("night")->active = true;
  ASSERT_EQ(parse("SCEN night\n" + kMonitor), std::nullopt);
  ASSERT_EQ(keysOf(scenarios), (Keys{"night"}));
  EXPECT_NE(scenarios["night"], before.at("night"));
  EXPECT_FALSE(scenarios["night"]->active);
  EXPECT_EQ(before.at("Default")->name, "Default");
  EXPECT_TRUE(before.at("night")->active);
}

} // namespace
