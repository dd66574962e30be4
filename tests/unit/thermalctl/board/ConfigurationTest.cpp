#include "board/Configuration.h"

#include <gtest/gtest.h>

#include "thermalctl/support/PlaceOf.h"

namespace {

using Error = ConfigurationError;
using Numbers = std::vector<int32_t>;
using Texts = std::vector<std::string>;

Numbers valuesOf(const std::vector<Number>& numbers) {
  Numbers values;
  for (const Number& number : numbers)
    values.push_back(number.value);
  return values;
}

const std::string kSS = "[s]\nalgo_type ss\nsensor cpu\ndevice fan\nset_point 1\nset_point_clr 1\n";

class ConfigurationTest : public testing::Test {
protected:
  Configuration read(const std::string& content) {
    return readConfiguration("day.conf", content, environment);
  }

  // The one error of such a file.
  Error errorOf(const std::string& content) {
    Configuration configuration = read(content);
    EXPECT_EQ(configuration.errors.size(), 1u) << content;
    if (configuration.errors.empty()) return {};
    Error error = configuration.errors.front();
    error.item = nullptr;
    return error;
  }

  Environment environment = readEnvironment(
      "board.env", "[cpu]\ntype real\n\n[fan]\ntype charger\n\n[lamp]\ntype backlight\n");
};

TEST_F(ConfigurationTest, KnowsWhereEachWordOfAMonitorStands) {
  const Configuration day = read("SCEN night\n[hot]\nalgo_type monitor\n  sensor cpu\n"
                                 "thresholds 60000 70\nthresholds_clr 5\nactions fan+lamp fan\n"
                                 "action_info 1+-2 3\nsampling 500\nlowactive true\n");
  EXPECT_EQ(day.fatal(), nullptr);
  ASSERT_EQ(day.items.size(), 1u);
  const Item& hot = day.items[0];
  EXPECT_EQ(hot.name, "hot");
  EXPECT_EQ(hot.kind, ItemKind::kMonitor);
  EXPECT_EQ(placeOf(hot.kindWord), Place(3, 11));
  EXPECT_EQ(hot.scenario, "night");
  EXPECT_EQ(hot.scenarioLine, 0u);
  EXPECT_EQ(hot.sensor->section, environment.sensor("cpu"));
  EXPECT_EQ(placeOf(hot.sensor->word), Place(4, 10));
  EXPECT_EQ(valuesOf(hot.thresholds), (Numbers{60000, 70}));
  EXPECT_EQ(placeOf(hot.thresholds[1].word), Place(5, 18));
  EXPECT_EQ(valuesOf(hot.thresholdsClr), (Numbers{5}));
  ASSERT_EQ(hot.actions.size(), 2u);
  ASSERT_EQ(hot.actions[0].pieces.size(), 2u);
  EXPECT_EQ(hot.actions[0].pieces[1].section, environment.device("lamp"));
  EXPECT_EQ(placeOf(hot.actions[0].pieces[1].word), Place(7, 13));
  ASSERT_EQ(hot.actionInfo.size(), 2u);
  EXPECT_EQ(valuesOf(hot.actionInfo[0].pieces), (Numbers{1, -2}));
  EXPECT_EQ(hot.period(), 500u);
  EXPECT_TRUE(hot.lowactive);
  EXPECT_EQ(hot.workerKey(), "500nightMONITOR");
  EXPECT_TRUE(hot.created);
  EXPECT_EQ(hot.end, ItemEnd::kEndOfFile);
}

TEST_F(ConfigurationTest, GivesAnSSItsDefaults) {
  const Configuration day = read(kSS);
  const Item& s = day.items.at(0);
  EXPECT_EQ(s.workerKey(), "1000DefaultSS");
  EXPECT_EQ(s.scenarioLine, std::nullopt);
  EXPECT_EQ(s.devicePerfFloor.value, INT32_MAX);
  EXPECT_EQ(s.startLevel.value, 0);
  EXPECT_EQ(s.timeTickTrigger.value, 0);
  EXPECT_FALSE(s.lowactive);
  EXPECT_EQ(s.device->section, environment.device("fan"));
}

TEST_F(ConfigurationTest, TakesAKeyThatStandsAloneForItsValue) {
  const Configuration day = read("[s]\nalgo_type ss\nsensor\nsampling\n");
  const Item& s = day.items.at(0);
  EXPECT_EQ(s.sensor->word.text, "sensor");
  EXPECT_EQ(s.sampling.value, 0);
  EXPECT_EQ(placeOf(s.sampling.word), Place(4, 1));
}

TEST_F(ConfigurationTest, AddsThePiecesOfASecondLineToTheRowsOfTheFirst) {
  const Configuration day = read("[m]\nalgo_type monitor\naction_info 1 2\naction_info 3+4\n");
  const std::vector<LevelRow>& rows = day.items.at(0).actionInfo;
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(valuesOf(rows[0].pieces), (Numbers{1, 3, 4}));
  EXPECT_EQ(valuesOf(rows[1].pieces), (Numbers{2}));
  EXPECT_TRUE(rows[2].pieces.empty());
}

TEST_F(ConfigurationTest, EndsAnItemAtABlankLineABracketOrTheEnd) {
  const Configuration day = read(kSS + "\n" + kSS + "]\n" + kSS);
  ASSERT_EQ(day.items.size(), 3u);
  EXPECT_EQ(day.items[0].end, ItemEnd::kBlankLine);
  EXPECT_EQ(day.items[1].end, ItemEnd::kBracket);
  EXPECT_EQ(placeOf(day.items[1].bracket), Place(14, 1));
  EXPECT_EQ(day.items[2].end, ItemEnd::kEndOfFile);
}

TEST_F(ConfigurationTest, KeepsTheScenarioUntilABracketThatEndsNoItem) {
  const Configuration day = read("SCEN a\n" + kSS + "]\n" + kSS + "\n]\n" + kSS);
  ASSERT_EQ(day.items.size(), 3u);
  EXPECT_EQ(day.items[0].scenario, "a");
  EXPECT_EQ(day.items[1].scenario, "a");
  EXPECT_EQ(day.items[2].scenario, "Default");
  ASSERT_EQ(day.scenarioLines.size(), 2u);
  EXPECT_TRUE(day.scenarioLines[1].closes());
  EXPECT_EQ(day.items[2].scenarioLine, 1u);
  EXPECT_EQ(day.scenarios, (std::set<std::string>{"a"}));
}

TEST_F(ConfigurationTest, NamesAScenarioWithoutANameAfterItsKeyword) {
  const Configuration day = read("SCEN\n" + kSS);
  EXPECT_EQ(day.items.at(0).scenario, "SCEN");
  EXPECT_FALSE(day.scenarioLines.at(0).named());
}

TEST_F(ConfigurationTest, PassesOverABlankLineBelowTheTypeLine) {
  const Configuration day = read("[s]\nalgo_type ss\n\nsensor cpu\ndevice fan\nset_point 1\n"
                                 "set_point_clr 1\n");
  EXPECT_TRUE(day.items.at(0).blankBelowType);
  EXPECT_TRUE(day.items.at(0).created);
}

TEST_F(ConfigurationTest, TakesTheRestOfALineForABlankOneBelowIt) {
  const Configuration day = read("SCEN a [s] algo_type ss sensor cpu\n\n");
  ASSERT_EQ(day.items.size(), 1u);
  EXPECT_EQ(day.items[0].name, "s");
  EXPECT_EQ(day.items[0].kind, ItemKind::kSS);
  EXPECT_EQ(day.items[0].sensor->word.text, "cpu");
  EXPECT_EQ(day.items[0].missing, (Texts{"device", "set_point", "set_point_clr"}));
}

TEST_F(ConfigurationTest, DoesNotTakeABracketInTheFirstPropertyLineForTheItemsEnd) {
  const Configuration day = read("[s]\nalgo_type ss\n]\nsensor cpu\n");
  EXPECT_EQ(day.items.at(0).properties.size(), 2u);
  EXPECT_EQ(day.items.at(0).end, ItemEnd::kEndOfFile);
}

TEST_F(ConfigurationTest, TellsWhereAndWhyTheDaemonEnds) {
  struct Case {
    std::string content;
    Error::Failure failure;
    Error::Expected expected;
    Error::Found found;
    std::string word;
    Place place;
  };
  const Case cases[] = {
      {" x y", Error::kNoItem, Error::kHeader, Error::kOtherWord, "x", {1, 2}},
      {"SCEN a\n\n", Error::kNoItem, Error::kHeaderBehindScenario, Error::kBlankLine, "a", {1, 6}},
      {"SCEN a\n", Error::kNoItem, Error::kHeaderBehindScenario, Error::kEndOfFile, "a", {1, 6}},
      {"SCEN\n\n", Error::kNoItem, Error::kHeaderBehindScenario, Error::kBlankLine, "SCEN", {1, 1}},
      {"SCEN a\nx\n", Error::kNoItem, Error::kHeaderBehindScenario, Error::kOtherWord, "x", {2, 1}},
      {kSS + "\n]", Error::kNoItem, Error::kHeaderBehindBracket, Error::kEndOfFile, "]", {8, 1}},
      {kSS + "\n]\n\n",
       Error::kNoItem,
       Error::kHeaderBehindBracket,
       Error::kBlankLine,
       "]",
       {8, 1}},
      {kSS + "\n]\nSCEN a\n" + kSS,
       Error::kNoItem,
       Error::kHeaderBehindBracket,
       Error::kOtherWord,
       "SCEN",
       {9, 1}},
      {"[s]\nsensor cpu\n", Error::kNoType, Error::kTypeLine, Error::kOtherWord, "sensor", {2, 1}},
      {"[s]\n\n", Error::kNoType, Error::kTypeLine, Error::kBlankLine, "[s]", {1, 1}},
      {"[s]", Error::kNoType, Error::kTypeLine, Error::kEndOfFile, "[s]", {1, 1}},
      {"[s]\nalgo_type pid\n",
       Error::kBadType,
       Error::kTypeWord,
       Error::kOtherWord,
       "pid",
       {2, 11}},
      {"[s]\nalgo_type\n", Error::kBadType, Error::kTypeWord, Error::kNoWord, "algo_type", {2, 1}},
      {"[s]\nalgo_type ss\n",
       Error::kMissingProperty,
       Error::kProperties,
       Error::kNoWord,
       "[s]",
       {1, 1}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.content);
    const Error error = errorOf(c.content);
    EXPECT_EQ(error.failure, c.failure);
    EXPECT_EQ(error.expected, c.expected);
    EXPECT_EQ(error.found, c.found);
    EXPECT_EQ(error.word.text, c.word);
    EXPECT_EQ(placeOf(error.word), c.place);
  }
}

TEST_F(ConfigurationTest, EndsWithTheDaemonsOwnWords) {
  EXPECT_EQ(errorOf("x").message,
            "Each item should be started with 'SCEN' or embraced with [name]");
  EXPECT_EQ(errorOf("[s]").message, "Each item's property should contain & start with 'algo_type'");
  EXPECT_EQ(errorOf("[s]\nalgo_type pid").message, "Algo type should be 'monitor' or 'SS'");
  EXPECT_EQ(errorOf("[s]\nalgo_type ss").message, "There is some missing property for s");
}

TEST_F(ConfigurationTest, RejectsAnItemWhoseSensorTheBoardDoesNotHave) {
  const Configuration day = read("[m]\nalgo_type monitor\nsensor x\nthresholds 1\n"
                                 "thresholds_clr 1\nactions x\naction_info 1\n");
  EXPECT_EQ(day.items.at(0).missing, (Texts{"sensor"}));
  EXPECT_FALSE(day.items[0].created);
  EXPECT_EQ(day.items[0].actions.at(0).pieces.at(0).section, nullptr);
  EXPECT_EQ(day.fatal()->item, &day.items[0]);
}

TEST_F(ConfigurationTest, ReadsOnBehindThePlaceWhereTheDaemonEnds) {
  const Configuration day = read("junk\n" + kSS +
                                 "\nSCEN a\n\n[t]\n\nalgo_type SS\nsensor cpu\n\n[u]\n[v]\n"
                                 "sampling 5\nalgo_type monitor\n]\n");
  ASSERT_EQ(day.items.size(), 4u);
  EXPECT_EQ(day.items[0].name, "s");
  EXPECT_FALSE(day.items[0].readByDaemon);
  EXPECT_FALSE(day.items[0].created);
  EXPECT_TRUE(day.items[0].missing.empty());
  EXPECT_EQ(day.items[1].scenario, "a");
  EXPECT_EQ(day.items[1].kind, ItemKind::kSS);
  EXPECT_EQ(day.items[2].kind, ItemKind::kNone);
  EXPECT_EQ(day.items[2].end, ItemEnd::kNextHeader);
  EXPECT_EQ(day.items[3].kind, ItemKind::kMonitor);
  EXPECT_EQ(day.items[3].period(), 5u);
  EXPECT_EQ(day.items[3].end, ItemEnd::kBracket);

  std::vector<Error::Failure> failures;
  for (const Error& error : day.errors)
    failures.push_back(error.failure);
  EXPECT_EQ(failures,
            (std::vector<Error::Failure>{Error::kNoItem, Error::kNoItem, Error::kNoType,
                                         Error::kBadType, Error::kMissingProperty, Error::kNoType,
                                         Error::kNoType, Error::kMissingProperty}));
}

TEST_F(ConfigurationTest, AWholeItemIsMeantAsItStandsAndAMergedOneInItsParts) {
  const Configuration whole = read("SCEN Default\n" + kSS);
  ASSERT_EQ(whole.items.size(), 1u);
  EXPECT_EQ(whole.meant, std::vector<const Item*>{&whole.items[0]});
  EXPECT_TRUE(whole.parts.empty());

  const Configuration merged = read("SCEN Default\n" + kSS + "[t" + kSS.substr(2));
  ASSERT_EQ(merged.items.size(), 1u);
  ASSERT_EQ(merged.parts.size(), 2u);
  EXPECT_EQ(merged.meant, (std::vector<const Item*>{&merged.parts[0], &merged.parts[1]}));
  EXPECT_EQ(merged.parts[0].name, "s");
  EXPECT_EQ(merged.parts[1].name, "t");
}

} // namespace
