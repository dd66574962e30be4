#include "check/rule/Keys.h"

#include <gtest/gtest.h>

namespace {

// The first section of an environment, which it keeps.
class SectionKeysTest : public testing::Test {
protected:
  const Section& section(const std::string& lines, const std::string& kind = "real") {
    environment = readEnvironment("board.env", "[cpu]\ntype " + kind + "\n" + lines);
    return environment.sections.front();
  }
  // What the section's first line was meant to be.
  std::string meant(const std::string& line, const std::string& kind = "real") {
    const Section& read = section(line + "\n", kind);
    return meantKey(read, read.properties.front());
  }

  Environment environment;
};

class ItemKeysTest : public testing::Test {
protected:
  const Item& item(const std::string& kind, const std::string& lines) {
    configuration =
        readConfiguration("day.conf", "SCEN Default\n[a]\nalgo_type " + kind + "\n" + lines, board);
    return configuration.items.front();
  }
  std::string meant(const std::string& kind, const std::string& line) {
    const Item& read = item(kind, line + "\n");
    return meantKey(read, read.properties.front());
  }

  Environment board = readEnvironment("board.env", "");
  Configuration configuration;
};

TEST(KeysTest, AKeysShapeIsThatOfWhatItFills) {
  EXPECT_EQ(shapeOf("node_path"), Shape::kName);
  EXPECT_EQ(shapeOf("sampling"), Shape::kNumber);
  EXPECT_EQ(shapeOf("lowactive"), Shape::kFlag);
  EXPECT_EQ(shapeOf("level_table"), Shape::kNames);
  EXPECT_EQ(shapeOf("thresholds"), Shape::kNumbers);
  EXPECT_EQ(shapeOf("actions"), Shape::kRows);
  EXPECT_EQ(shapeOf("action_info"), Shape::kRows);
  EXPECT_EQ(shapeOf("colour"), std::nullopt);
}

TEST(KeysTest, AListTakesAllTheWords) {
  EXPECT_TRUE(takesAList("level_table"));
  EXPECT_TRUE(takesAList("thresholds"));
  EXPECT_TRUE(takesAList("actions"));
  EXPECT_FALSE(takesAList("sampling"));
  EXPECT_FALSE(takesAList("lowactive"));
  EXPECT_FALSE(takesAList("colour"));
}

TEST(KeysTest, NumbersAreOneOrMany) {
  EXPECT_TRUE(takesNumbers("sampling"));
  EXPECT_TRUE(takesNumbers("thresholds"));
  EXPECT_FALSE(takesNumbers("level_table"));
  EXPECT_FALSE(takesNumbers("action_info"));
  EXPECT_FALSE(takesNumbers("colour"));
}

TEST(KeysTest, AWordIsInAListAsAWhole) {
  EXPECT_TRUE(contains({"a", "b"}, "b"));
  EXPECT_FALSE(contains({"ab"}, "a"));
  EXPECT_FALSE(contains({}, ""));
}

TEST(KeysTest, ACommentIsWhatBeginsOneElsewhere) {
  EXPECT_TRUE(isComment("#sampling"));
  EXPECT_TRUE(isComment(";"));
  EXPECT_TRUE(isComment("//"));
  EXPECT_FALSE(isComment("/cpu"));
  EXPECT_FALSE(isComment("sampling#"));
}

TEST_F(SectionKeysTest, TheSecondLineOfAKeyHasAFirst) {
  const Section& read = section("sampling 1\nnode_path /a\nsampling 2\n");
  EXPECT_EQ(firstLike(read, read.properties[0]), nullptr);
  EXPECT_EQ(firstLike(read, read.properties[1]), nullptr);
  EXPECT_EQ(firstLike(read, read.properties[2]), &read.properties[0]);
}

TEST_F(SectionKeysTest, TheLastLineOfAKeyTellsWhetherItStandsAlone) {
  EXPECT_TRUE(standsAlone(section("sampling 1\nsampling\n"), "sampling"));
  EXPECT_FALSE(standsAlone(section("sampling\nsampling 1\n"), "sampling"));
  EXPECT_FALSE(standsAlone(section("node_path /a\n"), "sampling"));
}

TEST_F(SectionKeysTest, KnowsTheKeyThatASlipWasMeantToBe) {
  EXPECT_EQ(meant("samplng 1"), "sampling");
  EXPECT_EQ(meant("Sampling 1"), "sampling");
  EXPECT_EQ(meant("sampling=1000"), "sampling");
  EXPECT_EQ(meant("sampling: 1000"), "sampling");
  EXPECT_EQ(meant("colour red"), "");
}

TEST_F(SectionKeysTest, AKnownKeyIsNoSlip) {
  EXPECT_EQ(meant("sampling 1"), "");
}

TEST_F(SectionKeysTest, WhatIsTakenOutIsNoSlip) {
  EXPECT_EQ(meant("#sampling 1"), "");
}

TEST_F(SectionKeysTest, OnlyKeysOfTheSectionsKindAreMeant) {
  EXPECT_EQ(meant("level_tabel 1", "gpufreq"), "level_table");
  EXPECT_EQ(meant("level_tabel 1", "real"), "");
}

TEST_F(SectionKeysTest, AKeyMayBeThereMisspeltAndRight) {
  EXPECT_TRUE(misspelt(section("samplng 1\n"), "sampling"));
  EXPECT_TRUE(hasSlipAlone(section("samplng 1\n"), "sampling"));
  EXPECT_TRUE(misspelt(section("samplng 1\nsampling 2\n"), "sampling"));
  EXPECT_FALSE(hasSlipAlone(section("samplng 1\nsampling 2\n"), "sampling"));
  EXPECT_FALSE(misspelt(section("samplng 1\n"), "node_path"));
}

TEST_F(ItemKeysTest, AKeyOfTheOtherKindIsNoSlip) {
  EXPECT_EQ(meant("ss", "threshold 1"), "");
  EXPECT_EQ(meant("monitor", "threshold 1"), "thresholds");
  EXPECT_EQ(meant("ss", "thresholds 1"), "");
  EXPECT_EQ(meant("ss", "set_pont 1"), "set_point");
}

TEST_F(ItemKeysTest, TellsAKeyOfTheOtherKind) {
  const Item& step = item("ss", "thresholds 1\nset_point 2\ncolour red\n");
  EXPECT_TRUE(isKeyOfOtherKind(step, step.properties[0]));
  EXPECT_FALSE(isKeyOfOtherKind(step, step.properties[1]));
  EXPECT_FALSE(isKeyOfOtherKind(step, step.properties[2]));
  const Item& monitor = item("monitor", "set_point 1\n");
  EXPECT_TRUE(isKeyOfOtherKind(monitor, monitor.properties[0]));
}

TEST_F(ItemKeysTest, AnItemOfNoKindHasNoKeys) {
  EXPECT_EQ(meant("other", "samplng 1"), "");
}

} // namespace
