#include "settings/Settings.h"

#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

class SettingsTest : public testing::Test {
protected:
  Settings read(const std::string& text) {
    problems = Problems();
    return readSettings("b/thermalctl.toml", text, known, problems);
  }

  // What is told of it.
  std::string told(const std::string& text) {
    read(text);
    std::ostringstream out;
    problems.print(out);
    return out.str();
  }

  KnownNames known{{"degrees", "unused-device"}, std::vector<std::string>{"cpu", "skin"}};
  Problems problems;
};

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(SettingsTest, StandBesideTheEnvironmentFile) {
  EXPECT_EQ(settingsFileBeside("board.env"), "thermalctl.toml");
  EXPECT_EQ(settingsFileBeside("boards/phone/board.env"), "boards/phone/thermalctl.toml");
  EXPECT_EQ(settingsFileBeside("/vendor/etc/board.env"), "/vendor/etc/thermalctl.toml");
}

TEST_F(SettingsTest, NameWhatIsSilencedAndWhy) {
  const Settings settings =
      read("[[silenced]]\nrule = \"degrees\"\nfile = \"day.conf\"\nitem = \"cold\"\n"
           "scenario = \"night\"\nreason = \"a freezer\"\n\n"
           "[[silenced]]\nrule = \"unused-device\"\nfile = \"board.env\"\nsection = \"fan\"\n"
           "reason = \"not yet\"\n");
  EXPECT_TRUE(problems.none());
  EXPECT_EQ(settings.file, "b/thermalctl.toml");
  ASSERT_EQ(settings.silenced.size(), 2U);
  const Silenced& first = settings.silenced[0];
  EXPECT_EQ(first.rule.text, "degrees");
  EXPECT_EQ(first.rule.at.line, 2);
  EXPECT_EQ(first.rule.at.column, 9);
  EXPECT_EQ(first.file, "day.conf");
  EXPECT_EQ(first.item, "cold");
  EXPECT_EQ(first.section, std::nullopt);
  EXPECT_EQ(first.scenario, "night");
  EXPECT_EQ(first.reason, "a freezer");
  EXPECT_EQ(settings.silenced[1].section, "fan");
  EXPECT_EQ(settings.silenced[1].item, std::nullopt);
  EXPECT_EQ(settings.silenced[1].rule.at.line, 9);
}

TEST_F(SettingsTest, SayWhatASensorsNodeCountsIn) {
  const Settings settings =
      read("[sensor.cpu]\nunit = \"tenths\"\n\n[sensor.skin]\nunit = \"degrees\"\n");
  EXPECT_TRUE(problems.none());
  EXPECT_EQ(settings.units, (std::map<std::string, int32_t>{{"cpu", 100}, {"skin", 1000}}));
  EXPECT_EQ(read("sensor.cpu.unit = \"millidegrees\"\n").units.at("cpu"), 1);
}

TEST_F(SettingsTest, AreNothingInAnEmptyFile) {
  const Settings settings = read("");
  EXPECT_TRUE(problems.none());
  EXPECT_TRUE(settings.silenced.empty());
  EXPECT_TRUE(settings.units.empty());
}

TEST_F(SettingsTest, NeedARuleAFileAndAReason) {
  const std::string text = told("[[silenced]]\nitem = \"cold\"\n");
  for (const char* key : {"rule", "file", "reason"})
    EXPECT_TRUE(has(text, "'" + std::string(key) + "' is missing")) << text;
  EXPECT_EQ(read("[[silenced]]\nitem = \"cold\"\n").silenced.size(), 0U);
}

TEST_F(SettingsTest, NeedAReasonThatIsOne) {
  const std::string text = told("[[silenced]]\nrule = \"degrees\"\nfile = \"f\"\nreason = \" \"\n");
  EXPECT_TRUE(has(text, "thermalctl.toml:4")) << text;
  EXPECT_TRUE(has(text, "'reason' is empty")) << text;
}

TEST_F(SettingsTest, KnowTheRules) {
  const std::string text =
      told("[[silenced]]\nrule = \"unused-devise\"\nfile = \"f\"\nreason = \"r\"\n");
  EXPECT_TRUE(has(text, "thermalctl.toml:2")) << text;
  EXPECT_TRUE(has(text, "there is no rule 'unused-devise'")) << text;
  EXPECT_TRUE(has(text, "did you mean 'unused-device'?")) << text;
}

TEST_F(SettingsTest, KnowTheSensorsOfTheBoard) {
  const std::string text = told("[sensor.cqu]\nunit = \"tenths\"\n");
  EXPECT_TRUE(has(text, "thermalctl.toml:1")) << text;
  EXPECT_TRUE(has(text, "the board has no sensor 'cqu'")) << text;
  EXPECT_TRUE(has(text, "did you mean 'cpu'?")) << text;
  known.sensors.reset();
  EXPECT_EQ(told("[sensor.cqu]\nunit = \"tenths\"\n"), "");
}

TEST_F(SettingsTest, KnowTheUnits) {
  const std::string slip = told("[sensor.cpu]\nunit = \"tents\"\n");
  EXPECT_TRUE(has(slip, "thermalctl.toml:2")) << slip;
  EXPECT_TRUE(has(slip, "did you mean 'tenths'?")) << slip;
  EXPECT_TRUE(
      has(told("[sensor.cpu]\nunit = \"kelvin\"\n"), "'degrees', 'millidegrees' and 'tenths'"));
  EXPECT_TRUE(has(told("[sensor.cpu]\n"), "'unit' is missing"));
}

TEST_F(SettingsTest, RefuseWhatTheyDoNotKnow) {
  for (const char* text :
       {"silence = 1\n", "[sensor.cpu]\nunit = \"tenths\"\nperiod = 1\n",
        "[[silenced]]\nrule = \"degrees\"\nfile = \"f\"\nreason = \"r\"\nwhy = 1\n",
        "[silenced]\nrule = \"degrees\"\n", "sensor = 3\n", "a = [\n"})
    EXPECT_NE(told(text), "") << text;
}

TEST_F(SettingsTest, KnowASectionFromAnItem) {
  const std::string entry = "[[silenced]]\nrule = \"degrees\"\nfile = \"f\"\nreason = \"r\"\n";
  for (const char* key : {"item", "scenario"})
    EXPECT_TRUE(has(told(entry + "section = \"a\"\n" + key + " = \"b\"\n"),
                    "'section' stands beside 'item' or 'scenario'"))
        << key;
}

TEST_F(SettingsTest, SayHowFarASensorReaches) {
  const Settings settings = read("[sensor.cpu]\nrange = [\"-20C\", \"85.5C\"]\n");
  EXPECT_TRUE(problems.none());
  EXPECT_EQ(settings.depthOf("cpu"), -20000);
  EXPECT_EQ(settings.reachOf("cpu"), 85500);
  EXPECT_EQ(settings.depthOf("skin"), -50000);
  EXPECT_EQ(settings.reachOf("skin"), 150000);
  EXPECT_TRUE(settings.units.empty());
}

TEST_F(SettingsTest, TakeABareNumberForDegrees) {
  EXPECT_EQ(read("[sensor.cpu]\nrange = [-20, 85]\n").reachOf("cpu"), 85000);
  EXPECT_EQ(read("[sensor.cpu]\nnoise = 0.25\n").noise.at("cpu"), 250);
  EXPECT_EQ(read("[sensor.cpu]\nnoise = \"100mC\"\n").noise.at("cpu"), 100);
  EXPECT_EQ(read("[sensor.cpu]\nnoise = 0\n").noise.at("cpu"), 0);
  EXPECT_TRUE(problems.none());
}

TEST_F(SettingsTest, KnowARangeFromItsEnds) {
  for (const char* range : {"[85, -20]", "[20, 20]", "[20]", "[0, 20, 40]"}) {
    const std::string text = told("[sensor.cpu]\nrange = " + std::string(range) + "\n");
    EXPECT_TRUE(has(text, "'range' is no range")) << text;
    EXPECT_TRUE(has(text, "thermalctl.toml:2")) << text;
  }
  EXPECT_EQ(told("[sensor.cpu]\nrange = [19.999, 20]\n"), "");
}

TEST_F(SettingsTest, TellAnEndOfARangeThatIsNoTemperature) {
  const std::string text = told("[sensor.cpu]\nrange = [\"cold\", \"85F\"]\n");
  EXPECT_TRUE(has(text, "'cold' is no temperature")) << text;
  EXPECT_TRUE(has(text, "'85F' is no temperature")) << text;
  EXPECT_FALSE(has(text, "is no range")) << text;
  EXPECT_EQ(read("[sensor.cpu]\nrange = [\"cold\", \"85C\"]\n").reachOf("cpu"), 150000);
}

TEST_F(SettingsTest, NeedAUnitOnlyWhereNothingElseIsSaid) {
  EXPECT_EQ(told("[sensor.cpu]\nnoise = 0.1\n"), "");
  EXPECT_EQ(told("[sensor.cpu]\nrange = [0, 1]\n"), "");
  EXPECT_TRUE(has(told("[sensor.cpu]\n"), "'unit' is missing"));
}

TEST_F(SettingsTest, SayWhatADevicesTableCounts) {
  known.devices = std::vector<std::string>{"clock", "charger"};
  const Settings settings =
      read("[device.clock]\nentries = \"kHz\"\n[device.charger]\nentries = \"mA\"\n");
  EXPECT_TRUE(problems.none());
  EXPECT_EQ(settings.entries,
            (std::map<std::string, std::string>{{"charger", "mA"}, {"clock", "kHz"}}));
}

TEST_F(SettingsTest, KnowTheDevicesAndWhatTheirTablesCount) {
  known.devices = std::vector<std::string>{"clock"};
  EXPECT_TRUE(has(told("[device.clcok]\nentries = \"kHz\"\n"), "did you mean 'clock'?"));
  EXPECT_TRUE(has(told("[device.clock]\n"), "'entries' is missing"));
  const std::string text = told("[device.clock]\nentries = \"kilohertz\"\n");
  EXPECT_TRUE(has(text, "no table counts 'kilohertz'")) << text;
  EXPECT_TRUE(has(text, "write one of 'Hz', 'kHz', 'MHz', 'mA', 'uA', 'duty' and 'state'")) << text;
  known.devices.reset();
  EXPECT_EQ(told("[device.clcok]\nentries = \"kHz\"\n"), "");
}

TEST_F(SettingsTest, SayWhatMustCool) {
  const Settings settings = read("must_cool = [\"cpu\", \"skin\"]\nskin = \"43C\"\n");
  EXPECT_TRUE(problems.none());
  ASSERT_EQ(settings.mustCool.size(), 2U);
  EXPECT_EQ(settings.mustCool[0].sensor.text, "cpu");
  EXPECT_EQ(settings.mustCool[0].sensor.at.column, 15);
  EXPECT_EQ(settings.mustCool[0].atMost, std::nullopt);
  EXPECT_EQ(settings.mustCool[1].atMost, 43000);
  EXPECT_TRUE(settings.hasToCool("skin"));
  EXPECT_FALSE(settings.hasToCool("ski"));
  EXPECT_FALSE(Settings().hasToCool("skin"));
}

TEST_F(SettingsTest, KnowWhatMustCool) {
  const std::string text = told("must_cool = [\"cpu\", \"sikn\"]\n");
  EXPECT_TRUE(has(text, "thermalctl.toml:1:21")) << text;
  EXPECT_TRUE(has(text, "did you mean 'skin'?")) << text;
  // Beside the list only what it names.
  EXPECT_NE(told("must_cool = [\"cpu\"]\nskin = \"43C\"\n"), "");
  EXPECT_TRUE(has(told("must_cool = [\"cpu\"]\ncpu = \"43F\"\n"), "'43F' is no temperature"));
}

TEST_F(SettingsTest, NameThePlantWithItsPlace) {
  const Settings settings = read("plant = \"plant.toml\"\n");
  ASSERT_TRUE(settings.plant);
  EXPECT_EQ(settings.plant->text, "plant.toml");
  EXPECT_EQ(settings.plant->at.column, 10);
  EXPECT_FALSE(read("").plant);
}

TEST_F(SettingsTest, KeepWhatIsRightBesideWhatIsWrong) {
  const Settings settings =
      read("[sensor.cpu]\nunit = \"kelvin\"\nrange = [0, 90]\nnoise = -1\n"
           "[sensor.skin]\nunit = \"tenths\"\nrange = [9]\n"
           "[[silenced]]\nrule = \"degrees\"\nfile = \"f\"\n"
           "[[silenced]]\nrule = \"degrees\"\nfile = \"g\"\nreason = \"r\"\n");
  EXPECT_FALSE(problems.none());
  EXPECT_EQ(settings.units, (std::map<std::string, int32_t>{{"skin", 100}}));
  EXPECT_EQ(settings.reachOf("cpu"), 90'000);
  EXPECT_EQ(settings.reachOf("skin"), 150'000);
  EXPECT_TRUE(settings.noise.empty());
  ASSERT_EQ(settings.silenced.size(), 1U);
  EXPECT_EQ(settings.silenced[0].file, "g");
}

TEST_F(SettingsTest, TellANoiseThatIsBelowNothing) {
  EXPECT_EQ(told("[sensor.cpu]\nnoise = \"-0.1C\"\n"),
            "b/thermalctl.toml:2:9: error: 'noise' is below 0\n"
            "    2 | noise = \"-0.1C\"\n"
            "      |         ^~~~~~~\n"
            "      hint: write a standard deviation, such as \"0.1C\"\n");
  EXPECT_TRUE(has(told("[sensor.cpu]\nnoise = \"loud\"\n"), "'loud' is no temperature"));
}

TEST_F(SettingsTest, TellEverySensorAndDeviceThatTheBoardLacks) {
  known.devices = std::vector<std::string>{"clock"};
  const std::string text = told("must_cool = [\"lid\"]\n[sensor.sikn]\nnoise = 1\n"
                                "[device.fan]\nentries = \"duty\"\n");
  EXPECT_TRUE(has(text, "thermalctl.toml:1:14: error: the board has no sensor 'lid'")) << text;
  EXPECT_TRUE(has(text, "hint: write a sensor of the environment file")) << text;
  EXPECT_TRUE(has(text, "thermalctl.toml:2:1: error: the board has no sensor 'sikn'")) << text;
  EXPECT_TRUE(has(text, "hint: did you mean 'skin'?")) << text;
  EXPECT_TRUE(has(text, "thermalctl.toml:4:1: error: the board has no device 'fan'")) << text;
  EXPECT_TRUE(has(text, "hint: write a device of the environment file")) << text;
}

TEST_F(SettingsTest, KnowAnEmptyReasonHoweverItIsWritten) {
  const std::string entry = "[[silenced]]\nrule = \"degrees\"\nfile = \"f\"\nreason = ";
  for (const char* reason : {"\"\"", "\"  \"", "\"\\t\"", "\"\\n \""})
    EXPECT_TRUE(has(told(entry + reason + "\n"), "'reason' is empty")) << reason;
  EXPECT_EQ(told(entry + "\" r \"\n"), "");
}

} // namespace
