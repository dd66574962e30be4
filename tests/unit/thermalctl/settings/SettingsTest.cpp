#include "settings/Settings.h"

#include <sstream>

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

} // namespace
