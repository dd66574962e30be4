#include "board/Environment.h"

#include <gtest/gtest.h>

#include "thermalctl/support/PlaceOf.h"

namespace {

using Texts = std::vector<std::string>;

Environment read(const std::string& content) {
  return readEnvironment("board.env", content);
}

Texts namesOf(const Environment& environment) {
  Texts names;
  for (const Section& section : environment.sections)
    names.push_back(section.name);
  return names;
}

Texts levelsOf(const Section& section) {
  Texts texts;
  for (const Level& level : section.levels)
    texts.push_back(level.text);
  return texts;
}

// The only section, a device with these lines.
Section deviceWith(const std::string& lines) {
  return read("[knob]\ntype charger\n" + lines).sections.at(0);
}

TEST(EnvironmentTest, KnowsWhereEachWordOfASectionStands) {
  const Environment board = read("\n  [cpu] x\n type  real\nsampling 500 ms\n");
  ASSERT_EQ(board.sections.size(), 1u);
  const Section& cpu = board.sections[0];
  EXPECT_EQ(cpu.name, "cpu");
  EXPECT_EQ(cpu.header.text, "[cpu]");
  EXPECT_EQ(placeOf(cpu.header), Place(2, 3));
  EXPECT_EQ(placeOf(*cpu.typeWord), Place(3, 2));
  EXPECT_EQ(cpu.kindWord.text, "real");
  EXPECT_EQ(placeOf(cpu.kindWord), Place(3, 8));
  ASSERT_EQ(cpu.properties.size(), 1u);
  EXPECT_EQ(placeOf(cpu.properties[0].key), Place(4, 1));
  ASSERT_EQ(cpu.properties[0].words.size(), 2u);
  EXPECT_EQ(placeOf(cpu.properties[0].words[1]), Place(4, 14));
  EXPECT_EQ(cpu.sampling.value, 500);
  EXPECT_EQ(placeOf(cpu.sampling.word), Place(4, 10));
}

TEST(EnvironmentTest, TakesTheLastOfSingleValuesAndAllOfLists) {
  const Environment board = read("[v]\ntype virtual\nset_point 1\nset_point 2\nweights 1 2\n"
                                 "weights 3\nsampling 5\nsampling\n");
  const Section& v = board.sections.at(0);
  EXPECT_EQ(v.setPoint.value, 2);
  EXPECT_EQ(v.weights.size(), 3u);
  EXPECT_EQ(v.weightSum(), 6);
  EXPECT_EQ(v.sampling.value, 0);
  EXPECT_EQ(v.sampling.word.text, "");
}

TEST(EnvironmentTest, KeepsThePathThatALineWithoutAWordWouldReplace) {
  const Section knob = deviceWith("node_path /a\nnode_path\n");
  EXPECT_EQ(knob.nodePath->text, "/a");
}

TEST(EnvironmentTest, TellsKnownKeysFromOthersByTheKind) {
  const Section knob = deviceWith("node_path /a\nsampling 5\n");
  EXPECT_TRUE(knob.properties.at(0).known);
  EXPECT_FALSE(knob.properties.at(1).known);
}

TEST(EnvironmentTest, FindsASourceOnlyFurtherUp) {
  const Environment board = read("[a]\ntype real\n\n[v]\ntype virtual\nsensors a b v\n"
                                 "trip_sensor a\n\n[b]\ntype real\n");
  const Section& v = board.sections.at(1);
  ASSERT_EQ(v.sources.size(), 3u);
  EXPECT_EQ(v.sources[0].section, &board.sections[0]);
  EXPECT_EQ(v.sources[1].section, nullptr);
  EXPECT_EQ(v.sources[2].section, nullptr);
  EXPECT_EQ(v.trip->section, &board.sections[0]);
  EXPECT_EQ(board.sensor("b"), &board.sections[2]);
}

TEST(EnvironmentTest, HasAnEntryWithoutASensorForANameThatNoSectionDefines) {
  const Environment board = read("[v]\ntype virtual\nsensors x\ntrip_sensor\n");
  ASSERT_EQ(board.sensors.count("x"), 1u);
  EXPECT_EQ(board.sensor("x"), nullptr);
  EXPECT_EQ(board.sensors.count(""), 1u);
  EXPECT_EQ(board.sections[0].trip->word.text, "");
}

TEST(EnvironmentTest, HasTheLaterOfTwoSectionsUnderTheirName) {
  const Environment board = read("[a]\ntype real\n\n[a]\ntype real\n\n[a]\ntype charger\n");
  EXPECT_EQ(board.sensor("a"), &board.sections.at(1));
  EXPECT_EQ(board.device("a"), &board.sections.at(2));
  EXPECT_EQ(board.named("a"), &board.sections.at(2));
}

TEST(EnvironmentTest, ReadsALevelTableWithItsQuotes) {
  const Section knob = deviceWith("level_table \"low  power\" high \"\" \"x");
  EXPECT_EQ(levelsOf(knob), (Texts{"low power", "high", "", "x"}));
  EXPECT_EQ(knob.valueType, "string");
  EXPECT_TRUE(knob.levels[0].quoted);
  EXPECT_EQ(placeOf(knob.levels[0].word), Place(3, 13));
  EXPECT_EQ(knob.levels[0].word.text, "\"low power\"");
  EXPECT_TRUE(knob.levels[0].closed);
  EXPECT_FALSE(knob.levels[1].quoted);
  EXPECT_EQ(placeOf(knob.levels[1].word), Place(3, 26));
  EXPECT_TRUE(knob.levels[2].closed);
  EXPECT_FALSE(knob.levels[3].closed);
}

TEST(EnvironmentTest, TakesALoneQuoteForAnEmptyEntry) {
  const Section knob = deviceWith("level_table \" low\"");
  EXPECT_EQ(levelsOf(knob), (Texts{"", "low\""}));
}

TEST(EnvironmentTest, MarksTextRightBehindAQuote) {
  const Section knob = deviceWith("level_table \"a\"b c \"d\"");
  ASSERT_EQ(levelsOf(knob), (Texts{"a\"b c \"d"}));
  EXPECT_EQ(knob.levels[0].behindQuote->text, "b");
  EXPECT_EQ(placeOf(*knob.levels[0].behindQuote), Place(3, 16));
}

TEST(EnvironmentTest, LetsTheLastEntryOfATypeDecideTheType) {
  EXPECT_EQ(deviceWith("level_table 1 2\n").valueType, "integer");
  EXPECT_EQ(deviceWith("level_table 0x1 2\n").valueType, "hex");
  EXPECT_EQ(deviceWith("level_table 0x1 0b1\n").valueType, "bin");
  EXPECT_EQ(deviceWith("level_table \"a\" 0x1\n").valueType, "hex");
  EXPECT_EQ(deviceWith("level_table 0x1\nlevel_table \"a\"\n").valueType, "string");
}

TEST(EnvironmentTest, TakesTheRestOfAHeaderLineForTheLineBelowIfThatIsBlank) {
  const Environment board = read("[a] type real\n\nsampling 7\n");
  EXPECT_TRUE(board.breaks.empty());
  EXPECT_EQ(board.sections.at(0).sampling.value, 7);
}

TEST(EnvironmentTest, TellsWhereAndWhyTheDaemonStopsReading) {
  struct Case {
    std::string content;
    EnvironmentBreak::Cause cause;
    std::string word;
    Place place;
  };
  for (const Case& c : {Case{"\n cpu 1\n", EnvironmentBreak::kNoHeader, "cpu", {2, 2}},
                        Case{"[a]\n\ntype real\n", EnvironmentBreak::kNothingBelow, "[a]", {1, 1}},
                        Case{"[a]", EnvironmentBreak::kNothingBelow, "[a]", {1, 1}},
                        Case{"[a]\nTYPE real\n", EnvironmentBreak::kNoTypeLine, "TYPE", {2, 1}}}) {
    SCOPED_TRACE(c.content);
    const Environment board = read(c.content);
    ASSERT_EQ(board.breaks.size(), 1u);
    EXPECT_EQ(board.breaks[0].cause, c.cause);
    EXPECT_EQ(board.breaks[0].word.text, c.word);
    EXPECT_EQ(placeOf(board.breaks[0].word), c.place);
    EXPECT_TRUE(board.sensors.empty());
  }
}

TEST(EnvironmentTest, ReadsOnBehindThePlaceWhereTheDaemonStops) {
  const Environment board = read("[a]\ntype real\n\njunk\nmore\n\n[b]\ntype real\n\n"
                                 "[c]\nsampling 5\ntype real\n\n[d]\n\ntype real\n\n[e]\n[f]\n"
                                 "type real\n");
  EXPECT_EQ(namesOf(board), (Texts{"a", "b", "c", "d", "e", "f"}));
  EXPECT_TRUE(board.sections[0].readByDaemon);
  EXPECT_FALSE(board.sections[1].readByDaemon);
  EXPECT_EQ(board.sections[2].kind, SectionKind::kReal);
  EXPECT_EQ(board.sections[2].sampling.value, 5);
  EXPECT_EQ(board.sections[3].kind, SectionKind::kReal);
  EXPECT_EQ(board.sections[4].kind, SectionKind::kUnknown);
  EXPECT_EQ(board.breaks.size(), 4u);
  EXPECT_EQ(board.sensors.size(), 1u);
  EXPECT_NE(board.named("f"), nullptr);
}

TEST(EnvironmentTest, TakesTheNameOfTheConfigurationFromWhatTheDaemonReads) {
  EXPECT_EQ(read("").confFileName.text, "talmor-thermal_default.conf");
  const Environment board = read("[c]\ntype conf_file\nfile_name a\nfile_name b x\n\njunk\n\n"
                                 "[c]\ntype conf_file\nfile_name d\n");
  EXPECT_EQ(board.confFileName.text, "b");
  EXPECT_EQ(placeOf(board.confFileName), Place(4, 11));
}

} // namespace
