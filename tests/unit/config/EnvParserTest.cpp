#include "config/EnvParser.h"

#include <typeinfo>

#include <gtest/gtest.h>

#include "device/BacklightDevice.h"
#include "device/CPUFreqDevice.h"
#include "device/CPUHotplugDevice.h"
#include "device/CameraDevice.h"
#include "device/ChargerDevice.h"
#include "device/GPUFreqDevice.h"
#include "device/ReportDevice.h"
#include "sensor/Real.h"
#include "sensor/Virtual.h"
#include "support/Board.h"
#include "support/RecordedLog.h"

namespace {

using Keys = std::vector<std::string>;
using Levels = std::vector<std::string>;
using Numbers = std::vector<int32_t>;

template <typename T> Keys keysOf(const std::map<std::string, T*>& registry) {
  Keys keys;
  for (const auto& [key, value] : registry)
    keys.push_back(key);
  return keys;
}

Keys itemsOf(const SensorThread& worker) {
  Keys names;
  for (const Sensor* sensor : worker.items)
    names.push_back(sensor->name);
  return names;
}

class EnvParserTest : public testing::Test {
protected:
  // The board that start-up builds from an environment file.
  Board& boardOf(const std::string& environment) {
    files.write("board.env", environment);
    board.emplace(files);
    return *board;
  }

  // The one device of type, table and path from these lines of a section.
  Device& deviceOf(const std::string& lines) {
    Board& built = boardOf("[knob]\ntype charger\n" + lines);
    EXPECT_EQ(keysOf(built.devices), (Keys{"knob"}));
    return *built.devices["knob"];
  }

  // The virtual sensor that these lines of a section give, beside the real sensors a and b.
  Virtual& virtualOf(const std::string& lines) {
    Board& built = boardOf("[a]\ntype real\n\n[b]\ntype real\n\n[skin]\ntype virtual\n" + lines);
    auto* sensor = dynamic_cast<Virtual*>(built.sensors["skin"]);
    if (!sensor) std::abort();
    return *sensor;
  }

  // Reads further sections into the board, as if they stood behind the first ones.
  void readOn(const std::string& environment) {
    std::istringstream in(environment);
    EnvParser(in, *board).parse();
  }

  void expectNothing(const std::string& environment) {
    const Board& built = boardOf(environment);
    EXPECT_TRUE(built.sensors.empty()) << environment;
    EXPECT_TRUE(built.sensorThreads.empty()) << environment;
    EXPECT_TRUE(built.devices.empty()) << environment;
    EXPECT_EQ(built.confFileName, "talmor-thermal_default.conf") << environment;
  }

  BoardFiles files;
  std::optional<Board> board;
};

const std::string kBehind = "\n[behind]\ntype real\n";

TEST_F(EnvParserTest, ARealSensorIsSampledFromTheStartByTheWorkerOfItsPeriod) {
  const std::string node = files.write("temp", "42000\n");
  Board& built = boardOf("[cpu]\ntype real\nsampling 500\nnode_path " + node + "\n");
  ASSERT_EQ(keysOf(built.sensors), (Keys{"cpu"}));
  Sensor& sensor = *built.sensors["cpu"];
  EXPECT_TRUE(typeid(sensor) == typeid(Real));
  EXPECT_EQ(sensor.name, "cpu");
  EXPECT_EQ(sensor.sampling, 500u);
  EXPECT_EQ(static_cast<Real&>(sensor).nodePath, node);
  EXPECT_TRUE(sensor.active);
  ASSERT_EQ(built.sensorThreads.size(), 1u);
  const SensorThread& worker = *built.sensorThreads.at(500);
  EXPECT_EQ(sensor.thread, &worker);
  EXPECT_EQ(worker.period, 500);
  EXPECT_EQ(worker.activeCount, 1);
  EXPECT_EQ(itemsOf(worker), (Keys{"cpu"}));
}

TEST_F(EnvParserTest, ARealSensorWithoutKeysHasAPeriodOf1000AndNoNode) {
  const RecordedLog log;
  Board& built = boardOf("[cpu]\ntype real\n");
  const Real& sensor = static_cast<Real&>(*built.sensors.at("cpu"));
  EXPECT_EQ(sensor.sampling, 1000u);
  EXPECT_EQ(sensor.nodePath, "");
  EXPECT_EQ(itemsOf(*built.sensorThreads.at(1000)), (Keys{"cpu"}));
  EXPECT_EQ(log.lines().at(1), "[TalmorThermal] Can't open node: \n");
}

TEST_F(EnvParserTest, AVirtualSensorTakesAllOfItsKeys) {
  Virtual& sensor =
      virtualOf("sampling 500\nset_point 40000\nset_point_clr 38000\nsensors b a b\nmath 2\n"
                "offsets 1 -2 x\nweights 3 4 5\ntrip_sensor a\n");
  EXPECT_TRUE(typeid(sensor) == typeid(Virtual));
  EXPECT_EQ(sensor.name, "skin");
  EXPECT_EQ(sensor.sampling, 500u);
  EXPECT_EQ(sensor.setPoint, 40000);
  EXPECT_EQ(sensor.setPointClr, 38000);
  Sensor* const a = board->sensors["a"];
  Sensor* const b = board->sensors["b"];
  EXPECT_EQ(sensor.sources, (std::vector<Sensor*>{b, a, b}));
  EXPECT_EQ(sensor.math, 2);
  EXPECT_EQ(sensor.offsets, (Numbers{1, -2, 0}));
  EXPECT_EQ(sensor.weights, (Numbers{3, 4, 5}));
  SensorThread* const worker = board->sensorThreads.at(500);
  EXPECT_EQ(sensor.thread, worker);
  EXPECT_EQ(itemsOf(*worker), (Keys{"skin"}));
  EXPECT_EQ(static_cast<Real*>(a)->virtuals, (std::vector<Virtual*>{&sensor}));
  EXPECT_TRUE(static_cast<Real*>(b)->virtuals.empty());
}

TEST_F(EnvParserTest, AVirtualSensorIsLeftToItsTripSensorToSwitchOn) {
  const Virtual& sensor = virtualOf("sampling 500\ntrip_sensor a\n");
  EXPECT_FALSE(sensor.active);
  EXPECT_EQ(board->sensorThreads.at(500)->activeCount, 0);
}

TEST_F(EnvParserTest, AVirtualSensorWithoutKeysHasDefaults) {
  const Virtual& sensor = virtualOf("");
  EXPECT_EQ(sensor.sampling, 1000u);
  EXPECT_EQ(sensor.setPoint, 0);
  EXPECT_EQ(sensor.setPointClr, 0);
  EXPECT_TRUE(sensor.sources.empty());
  EXPECT_EQ(sensor.math, 0);
  EXPECT_TRUE(sensor.offsets.empty());
  EXPECT_TRUE(sensor.weights.empty());
  for (const char* name : {"a", "b"})
    EXPECT_TRUE(static_cast<Real*>(board->sensors[name])->virtuals.empty());
}

TEST_F(EnvParserTest, TheKeysOfOneVirtualSensorDoNotReachTheNext) {
  virtualOf("sampling 500\nset_point 40000\nset_point_clr 38000\nsensors a\nmath 2\noffsets 1\n"
            "weights 3\ntrip_sensor a\n\n[next]\ntype virtual\n");
  const Virtual& next = static_cast<Virtual&>(*board->sensors.at("next"));
  EXPECT_EQ(next.sampling, 1000u);
  EXPECT_EQ(next.setPoint, 0);
  EXPECT_EQ(next.setPointClr, 0);
  EXPECT_TRUE(next.sources.empty());
  EXPECT_EQ(next.math, 0);
  EXPECT_TRUE(next.offsets.empty());
  EXPECT_TRUE(next.weights.empty());
  EXPECT_EQ(static_cast<Real*>(board->sensors["a"])->virtuals.size(), 1u);
}

TEST_F(EnvParserTest, RepeatedListLinesOfAVirtualSensorAppend) {
  const Virtual& sensor =
      virtualOf("sensors a\noffsets 1 2\nweights 4\nsensors b a\noffsets 3\nweights 5 6\n");
  Sensor* const a = board->sensors["a"];
  EXPECT_EQ(sensor.sources, (std::vector<Sensor*>{a, board->sensors["b"], a}));
  EXPECT_EQ(sensor.offsets, (Numbers{1, 2, 3}));
  EXPECT_EQ(sensor.weights, (Numbers{4, 5, 6}));
}

TEST_F(EnvParserTest, ASensorsLineWithoutNamesGivesNoSources) {
  EXPECT_TRUE(virtualOf("sensors\n").sources.empty());
  EXPECT_EQ(keysOf(board->sensors), (Keys{"a", "b", "skin"}));
}

TEST_F(EnvParserTest, ASourceThatIsDefinedFurtherDownIsNull) {
  const Virtual& sensor = virtualOf("sensors a late\n\n[late]\ntype real\n");
  EXPECT_EQ(sensor.sources, (std::vector<Sensor*>{board->sensors["a"], nullptr}));
  EXPECT_NE(board->sensors["late"], nullptr);
}

TEST_F(EnvParserTest, ASourceThatIsNeverDefinedLeavesANullEntry) {
  const Virtual& sensor = virtualOf("sensors never\n");
  EXPECT_EQ(sensor.sources, (std::vector<Sensor*>{nullptr}));
  EXPECT_EQ(keysOf(board->sensors), (Keys{"a", "b", "never", "skin"}));
  EXPECT_EQ(board->sensors["never"], nullptr);
}

TEST_F(EnvParserTest, AVirtualSensorCannotNameItself) {
  EXPECT_EQ(virtualOf("sensors skin\n").sources, (std::vector<Sensor*>{nullptr}));
}

TEST_F(EnvParserTest, ATripSensorThatIsNotDefinedYetIsIgnoredAndLeavesANullEntry) {
  virtualOf("trip_sensor never\n");
  EXPECT_EQ(board->sensors.at("never"), nullptr);
  virtualOf("trip_sensor late\n\n[late]\ntype real\n");
  EXPECT_TRUE(static_cast<Real*>(board->sensors["late"])->virtuals.empty());
}

TEST_F(EnvParserTest, ATripSensorThatIsNoRealSensorIsIgnored) {
  virtualOf("\n[other]\ntype virtual\ntrip_sensor skin\n");
  EXPECT_FALSE(board->sensors["other"]->active);
}

TEST_F(EnvParserTest, TheLastTripSensorWins) {
  const Virtual& sensor = virtualOf("trip_sensor a\ntrip_sensor b\n");
  EXPECT_TRUE(static_cast<Real*>(board->sensors["a"])->virtuals.empty());
  EXPECT_EQ(static_cast<Real*>(board->sensors["b"])->virtuals,
            (std::vector<Virtual*>{const_cast<Virtual*>(&sensor)}));
}

TEST_F(EnvParserTest, SensorsOfOnePeriodShareAWorkerInTheOrderOfTheFile) {
  boardOf("[b]\ntype real\nsampling 500\n\n[a]\ntype real\nsampling 500\n\n"
          "[v]\ntype virtual\nsampling 500\n\n[c]\ntype real\n\n[w]\ntype virtual\n\n"
          "[d]\ntype real\nsampling 1000\n");
  ASSERT_EQ(board->sensorThreads.size(), 2u);
  EXPECT_EQ(itemsOf(*board->sensorThreads.at(500)), (Keys{"b", "a", "v"}));
  EXPECT_EQ(itemsOf(*board->sensorThreads.at(1000)), (Keys{"c", "w", "d"}));
  EXPECT_EQ(board->sensorThreads.at(500)->activeCount, 2);
  EXPECT_EQ(board->sensorThreads.at(1000)->activeCount, 2);
}

TEST_F(EnvParserTest, APeriodIsReadUpToTheFirstOtherCharacterAndKeptAsWritten) {
  const struct {
    const char* sampling;
    int32_t expected;
    const char* why;
  } cases[] = {
      {"250ms", 250, "letters behind the digits"},
      {"0", 0, "zero"},
      {"fast", 0, "no digits"},
      {"-5", -5, "a negative period"},
      {"4294967297", 1, "cut to 32 bits"},
      {"20 30", 20, "only the first word counts"},
      {"", 0, "no word at all"},
  };
  for (const auto& c : cases) {
    for (const char* kind : {"real", "virtual"}) {
      boardOf(std::string("[cpu]\ntype ") + kind + "\nsampling " + c.sampling + "\n");
      ASSERT_EQ(board->sensorThreads.size(), 1u) << c.why;
      EXPECT_EQ(board->sensorThreads.begin()->first, c.expected) << c.why;
      EXPECT_EQ(board->sensorThreads.begin()->second->period, c.expected) << c.why;
      EXPECT_EQ(board->sensors["cpu"]->sampling, static_cast<uint32_t>(c.expected)) << c.why;
    }
  }
}

TEST_F(EnvParserTest, EachDeviceKindHasItsClass) {
  boardOf("[1]\ntype camera\n\n[2]\ntype report\n\n[3]\ntype charger\n\n[4]\ntype cpufreq\n\n"
          "[5]\ntype gpufreq\n\n[6]\ntype backlight\n\n[7]\ntype cpuhotplug\n");
  const struct {
    const char* name;
    const std::type_info& kind;
  } cases[] = {{"1", typeid(CameraDevice)},    {"2", typeid(ReportDevice)},
               {"3", typeid(ChargerDevice)},   {"4", typeid(CPUFreqDevice)},
               {"5", typeid(GPUFreqDevice)},   {"6", typeid(BacklightDevice)},
               {"7", typeid(CPUHotplugDevice)}};
  EXPECT_EQ(board->devices.size(), 7u);
  for (const auto& c : cases) {
    const Device& device = *board->devices.at(c.name);
    EXPECT_TRUE(typeid(device) == c.kind) << c.name;
    EXPECT_EQ(device.name, c.name);
  }
}

TEST_F(EnvParserTest, ADeviceTakesItsNodeAndItsTable) {
  const Device& device =
      deviceOf("node_path " + files.node("current") + " more\nlevel_table 3000 1500 500\n");
  EXPECT_EQ(device.nodePath, files.node("current"));
  EXPECT_EQ(device.levelTable, (Levels{"3000", "1500", "500"}));
  EXPECT_EQ(device.type, "integer");
  EXPECT_TRUE(files.exists("current"));
}

TEST_F(EnvParserTest, ADeviceWithoutKeysHasNoNodeAndAnEmptyIntegerTable) {
  const RecordedLog log;
  const Device& device = deviceOf("");
  EXPECT_EQ(device.nodePath, "");
  EXPECT_TRUE(device.levelTable.empty());
  EXPECT_EQ(device.type, "integer");
  EXPECT_EQ(log.lines().at(1), "[TalmorThermal] [TalmorThermal] Device [knob] open failed\n");
}

TEST_F(EnvParserTest, TheWordsOfALevelTableDecideItsType) {
  const struct {
    const char* words;
    Levels levels;
    const char* type;
    const char* why;
  } cases[] = {
      {"100 200 300", {"100", "200", "300"}, "integer", "plain decimal words"},
      {"0x10 20", {"0x10", "20"}, "hex", "a plain word never resets the type"},
      {"20 0x10", {"20", "0x10"}, "hex", "a later word sets it too"},
      {"0b01 2", {"0b01", "2"}, "bin", "a binary word"},
      {"0b01 0x10", {"0b01", "0x10"}, "hex", "the last word that sets a type decides"},
      {"0x10 0b01", {"0x10", "0b01"}, "bin", "the last word that sets a type decides"},
      {"10x0", {"10x0"}, "hex", "0x anywhere in the word"},
      {"a0b", {"a0b"}, "bin", "0b anywhere in the word"},
      {"0b0x", {"0b0x"}, "hex", "0x goes before 0b"},
      {"0X10 0B1", {"0X10", "0B1"}, "integer", "lower-case letters only"},
      {"x b 0", {"x", "b", "0"}, "integer", "words of one character"},
      {"0x", {"0x"}, "hex", "two characters suffice"},
      {"", {}, "integer", "no words"},
      {"\"low power\" high", {"low power", "high"}, "string", "a quoted value of two words"},
      {"\"low, a power\" high", {"low, a power", "high"}, "string", "a quoted value of three"},
      {"\"low \t  power\"", {"low power"}, "string", "its words are joined by one space"},
      {"\"low\" 100", {"low", "100"}, "string", "a quoted value of one word"},
      {"0x10 \"low\"", {"0x10", "low"}, "string", "the last word that sets a type decides"},
      {"\"low\" 0x10", {"low", "0x10"}, "hex", "the last word that sets a type decides"},
      {"\"0x10 0b1\" 1", {"0x10 0b1", "1"}, "string", "what a quoted value holds sets nothing"},
      {"\"\" 1", {"", "1"}, "string", "an empty quoted value"},
      {"\" 1", {"", "1"}, "string", "a lone quote is an empty value"},
      {"1 \"", {"1", ""}, "string", "a lone quote at the end too"},
      {"\"a \" b", {"a ", "b"}, "string", "a lone quote closes a value"},
      {"\"a \"b c\" d", {"a \"b c", "d"}, "string", "a quote that begins a word closes nothing"},
      {"a\" b", {"a\"", "b"}, "integer", "a quote at a word's end opens nothing"},
      {"1 \"low and power", {"1", "low and power"}, "string", "unclosed, the rest of the line"},
      {"\"low", {"low"}, "string", "unclosed, one word"},
  };
  for (const auto& c : cases) {
    const Device& device = deviceOf(std::string("level_table ") + c.words + "\n");
    EXPECT_EQ(device.levelTable, c.levels) << c.words << ": " << c.why;
    EXPECT_EQ(device.type, c.type) << c.words << ": " << c.why;
  }
}

TEST_F(EnvParserTest, AnUnclosedQuoteEndsWithItsLine) {
  const Device& device = deviceOf("level_table \"low power\nlevel_table high\" 1\n");
  EXPECT_EQ(device.levelTable, (Levels{"low power", "high\"", "1"}));
}

TEST_F(EnvParserTest, ASecondLevelTableLineAppends) {
  const Device& device = deviceOf("level_table 0x10 20\nlevel_table 30\n");
  EXPECT_EQ(device.levelTable, (Levels{"0x10", "20", "30"}));
  EXPECT_EQ(device.type, "hex");
}

TEST_F(EnvParserTest, TypeAndTableStartAnewForEachDevice) {
  deviceOf("level_table 0x10\n");
  readOn("[next]\ntype charger\nlevel_table 20\n");
  EXPECT_EQ(board->devices.at("next")->type, "integer");
  EXPECT_EQ(board->devices.at("next")->levelTable, (Levels{"20"}));
}

TEST_F(EnvParserTest, AnUnknownKindIsReadAsADeviceAndDropped) {
  for (const char* kind : {"Real", "VIRTUAL", "reals", "rea", "conf", "Camera", "cpu", ""}) {
    boardOf(std::string("[cpu]\ntype ") + kind + "\nsampling 20\nnode_path " + files.node("made") +
            "\nlevel_table 1\nfile_name other.conf\n" + kBehind);
    EXPECT_EQ(keysOf(board->sensors), (Keys{"behind"})) << kind;
    EXPECT_TRUE(board->devices.empty()) << kind;
    EXPECT_EQ(board->sensorThreads.count(20), 0u) << kind;
    EXPECT_EQ(board->confFileName, "talmor-thermal_default.conf") << kind;
    EXPECT_FALSE(files.exists("made")) << kind;
  }
}

TEST_F(EnvParserTest, AHeaderWordLosesItsFirstAndItsLastCharacterWhateverTheLastIs) {
  const struct {
    const char* header;
    const char* name;
  } cases[] = {{"[cpu0]", "cpu0"}, {"[cpu0", "cpu"}, {"[cpu0] and more", "cpu0"},
               {"[]", ""},         {"[", ""},        {"[[cpu]]", "[cpu]"}};
  for (const auto& c : cases) {
    boardOf(std::string(c.header) + "\ntype real\n");
    EXPECT_EQ(keysOf(board->sensors), (Keys{c.name})) << c.header;
    EXPECT_EQ(board->sensors.begin()->second->name, c.name) << c.header;
  }
}

TEST_F(EnvParserTest, AFirstLineThatIsNoHeaderLeavesAnEmptyBoard) {
  for (const char* line : {"sensor cpu0\n", "# a comment\n", "cpu]\n", "\n\ntype real\n", "]\n"})
    expectNothing(line + kBehind);
}

TEST_F(EnvParserTest, AHeaderWithoutATypeLineRightBelowEndsTheReading) {
  for (const char* lines :
       {"[cpu]\nsampling 5\ntype real\n", "[cpu]\n\ntype real\n", "[cpu]\n[gpu]\ntype real\n",
        "[cpu]\nTYPE real\n", "[cpu]\ntypes real\n", "[cpu]\ntyp real\n", "[cpu]\n", "[cpu]"})
    expectNothing(lines + kBehind);
}

TEST_F(EnvParserTest, WhatWasBuiltBeforeTheReadingEndedStays) {
  for (const char* wrong : {"\nno header\n", "\n[no_type]\nsampling 5\n"}) {
    boardOf("[cpu]\ntype real\n\n[knob]\ntype charger\n" + std::string(wrong) + kBehind);
    EXPECT_EQ(keysOf(board->sensors), (Keys{"cpu"})) << wrong;
    EXPECT_EQ(keysOf(board->devices), (Keys{"knob"})) << wrong;
  }
}

TEST_F(EnvParserTest, FurtherWordsOfTheHeaderLineStandInForABlankTypeLine) {
  boardOf("[cpu] type real\n\nsampling 20\n" + kBehind);
  EXPECT_EQ(keysOf(board->sensors), (Keys{"behind", "cpu"}));
  EXPECT_EQ(board->sensors["cpu"]->sampling, 20u);
}

TEST_F(EnvParserTest, AnEmptyFileOrOneOfBlankLinesIsAnEmptyBoard) {
  for (const char* text : {"", "\n", " \t\r\n\n  "})
    expectNothing(text);
}

TEST_F(EnvParserTest, BlankLinesCarriageReturnsAndIndentsDoNotMatter) {
  boardOf("\r\n \t\n  [a]  \r\n\ttype\treal \r\n  sampling\t 20\r\n \r\n\n[b]\ntype real");
  EXPECT_EQ(keysOf(board->sensors), (Keys{"a", "b"}));
  EXPECT_EQ(board->sensors["a"]->sampling, 20u);
  EXPECT_EQ(board->sensors["b"]->sampling, 1000u);
}

TEST_F(EnvParserTest, ALastKeyLineWithoutALineEndCounts) {
  boardOf("[a]\ntype real\nsampling 20");
  EXPECT_EQ(board->sensors["a"]->sampling, 20u);
}

TEST_F(EnvParserTest, SectionsWithoutABlankLineBetweenThemMergeIntoTheFirst) {
  boardOf("[a]\ntype real\nsampling 20\n[b]\ntype real\nsampling 30\n");
  EXPECT_EQ(keysOf(board->sensors), (Keys{"a"}));
  EXPECT_EQ(board->sensors["a"]->sampling, 30u);
}

TEST_F(EnvParserTest, UnknownKeysAreIgnored) {
  boardOf("[a]\ntype real\nSampling 1\nsamplings 2\nsampl 3\nset_point 4\nfile_name x\n# 5\n");
  EXPECT_EQ(board->sensors["a"]->sampling, 1000u);
  EXPECT_EQ(board->confFileName, "talmor-thermal_default.conf");
  EXPECT_EQ(deviceOf("Level_table 1\nlevel_tables 2\nlevel 3\nsampling 4\n").levelTable, Levels{});
  EXPECT_EQ(virtualOf("set_points 1\nset_point_cl 2\nsensor a\nweight 3\n").setPoint, 0);
}

TEST_F(EnvParserTest, TheLastOfARepeatedKeyWins) {
  boardOf("[a]\ntype real\nsampling 20\nsampling 30\nnode_path x\nnode_path y\n");
  EXPECT_EQ(board->sensors["a"]->sampling, 30u);
  EXPECT_EQ(static_cast<Real*>(board->sensors["a"])->nodePath, "y");
  const Virtual& sensor = virtualOf("set_point 1\nset_point 2\nset_point_clr 3\nset_point_clr 4\n"
                                    "math 5\nmath 6\nsampling 7\nsampling 8\n");
  EXPECT_EQ(sensor.setPoint, 2);
  EXPECT_EQ(sensor.setPointClr, 4);
  EXPECT_EQ(sensor.math, 6);
  EXPECT_EQ(sensor.sampling, 8u);
  EXPECT_EQ(board->sensorThreads.count(7), 0u);
}

TEST_F(EnvParserTest, ALaterSensorOfTheSameNameReplacesTheEntryWhileBothAreSampled) {
  boardOf("[a]\ntype real\nsampling 20\n\n[a]\ntype real\nsampling 30\n");
  EXPECT_EQ(keysOf(board->sensors), (Keys{"a"}));
  EXPECT_EQ(board->sensors["a"]->sampling, 30u);
  EXPECT_EQ(itemsOf(*board->sensorThreads.at(20)), (Keys{"a"}));
  EXPECT_EQ(board->sensorThreads.at(20)->activeCount, 1);
}

TEST_F(EnvParserTest, ALaterDeviceOfTheSameNameReplacesTheEntry) {
  const std::unique_ptr<Device> first(&deviceOf("level_table 1\n"));
  readOn("[knob]\ntype camera\nlevel_table 2\n");
  EXPECT_EQ(keysOf(board->devices), (Keys{"knob"}));
  EXPECT_NE(board->devices["knob"], first.get());
  EXPECT_EQ(board->devices["knob"]->levelTable, (Levels{"2"}));
}

TEST_F(EnvParserTest, RealAndVirtualSensorsShareOneNameSpace) {
  boardOf("[a]\ntype real\n\n[a]\ntype virtual\n");
  EXPECT_EQ(keysOf(board->sensors), (Keys{"a"}));
  EXPECT_NE(dynamic_cast<Virtual*>(board->sensors["a"]), nullptr);
}

TEST_F(EnvParserTest, ADeviceMayBearTheNameOfASensor) {
  boardOf("[cpu]\ntype real\n\n[cpu]\ntype cpufreq\n");
  EXPECT_EQ(keysOf(board->sensors), (Keys{"cpu"}));
  EXPECT_EQ(keysOf(board->devices), (Keys{"cpu"}));
}

TEST_F(EnvParserTest, TheLastFileNameOfAllSectionsNamesTheConfigurationFile) {
  EXPECT_EQ(boardOf("[any]\ntype conf_file\nfile_name a.conf\n").confFileName, "a.conf");
  EXPECT_EQ(boardOf("[any]\ntype conf_file\nfile_name a.conf b.conf\nfile_name c.conf\n\n"
                    "[other]\ntype conf_file\nfile_name d.conf\nfile_names e.conf\n")
                .confFileName,
            "d.conf");
}

TEST_F(EnvParserTest, AConfigurationSectionMakesNothing) {
  boardOf("[any]\ntype conf_file\nfile_name a.conf\nnode_path x\nsampling 20\n");
  EXPECT_TRUE(board->sensors.empty());
  EXPECT_TRUE(board->devices.empty());
  EXPECT_TRUE(board->sensorThreads.empty());
}

TEST_F(EnvParserTest, AConfigurationSectionWithoutAFileNameKeepsTheNameInForce) {
  expectNothing("[any]\ntype conf_file\n");
  expectNothing("[any]\ntype conf_file\nfile_name\n");
}

TEST(SectionKindTest, EveryWordNamesItsKindInSmallLettersAlone) {
  EXPECT_EQ(sectionKindWords(), (Keys{"real", "virtual", "conf_file", "camera", "report", "charger",
                                      "cpufreq", "gpufreq", "backlight", "cpuhotplug"}));
  for (const std::string& word : sectionKindWords()) {
    EXPECT_NE(sectionKind(word), SectionKind::kUnknown) << word;
    std::string capital = word;
    capital[0] = static_cast<char>(capital[0] - 'a' + 'A');
    EXPECT_EQ(sectionKind(capital), SectionKind::kUnknown) << capital;
  }
  EXPECT_EQ(sectionKind("real"), SectionKind::kReal);
  EXPECT_EQ(sectionKind("cpuhotplug"), SectionKind::kDevice);
  EXPECT_EQ(sectionKind(""), SectionKind::kUnknown);
}

} // namespace
