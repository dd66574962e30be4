#include "board/MeantItems.h"

#include <gtest/gtest.h>

namespace {

// The first item of a configuration, as the daemon reads it: two that no blank line parts are one.
class MeantItemsTest : public testing::Test {
protected:
  const Item& whole(const std::string& content) {
    configuration = readConfiguration("day.conf", content, board);
    return configuration.items.front();
  }
  std::deque<Item> meant(const std::string& content) { return meantItems(whole(content), board); }

  Environment board =
      readEnvironment("board.env", "[cpu]\ntype real\nsampling 1000\nnode_path /cpu\n");
  Configuration configuration;
};

constexpr char kTwo[] = "SCEN Default\n"
                        "[a]\nalgo_type monitor\nsensor cpu\nsampling 500\n"
                        "[b]\nalgo_type ss\nset_point 70000\n";

TEST_F(MeantItemsTest, TellsAMergedItem) {
  EXPECT_TRUE(merged(whole(kTwo)));
  EXPECT_TRUE(merged(whole("[a]\nalgo_type ss\nsensor cpu\nSCEN game\n")));
  EXPECT_FALSE(merged(whole("[a]\nalgo_type ss\nsensor cpu\n\n[b]\nalgo_type ss\n")));
}

TEST_F(MeantItemsTest, AnItemByItselfIsMeantAsItIs) {
  const auto items = meant("SCEN Default\n[a]\nalgo_type ss\nsensor cpu\nset_point 70000\n");
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].name, "a");
  EXPECT_EQ(items[0].setPoint.value, 70000);
  EXPECT_EQ(items[0].properties.size(), 2U);
}

TEST_F(MeantItemsTest, EachHasItsOwnLines) {
  const auto items = meant(kTwo);
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].name, "a");
  EXPECT_EQ(items[0].sampling.value, 500);
  EXPECT_EQ(items[0].properties.size(), 2U);
  EXPECT_EQ(items[1].name, "b");
  EXPECT_EQ(items[1].setPoint.value, 70000);
  EXPECT_EQ(items[1].properties.size(), 1U);
}

TEST_F(MeantItemsTest, EachHasItsOwnKind) {
  const auto items = meant(kTwo);
  EXPECT_EQ(items[0].kind, ItemKind::kMonitor);
  EXPECT_EQ(items[1].kind, ItemKind::kSS);
  EXPECT_EQ(items[1].kindWord.text, "ss");
  EXPECT_EQ(items[1].kindWord.at.line, 7);
}

TEST_F(MeantItemsTest, TheDaemonReadsOnlyTheFirst) {
  const auto items = meant(kTwo);
  EXPECT_TRUE(items[0].readByDaemon);
  EXPECT_FALSE(items[1].readByDaemon);
}

TEST_F(MeantItemsTest, ASwallowedScenarioIsThatOfTheItemsBelow) {
  const auto items = meant("SCEN Default\n[a]\nalgo_type ss\nsensor cpu\n"
                           "SCEN game\n[b]\nalgo_type ss\nsensor cpu\n");
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].scenario, "Default");
  EXPECT_EQ(items[1].scenario, "game");
}

TEST_F(MeantItemsTest, OneWithoutANameIsItsWord) {
  const auto items = meant("[a]\nalgo_type ss\nsensor cpu\nSCEN\n[b]\nalgo_type ss\n");
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[1].scenario, "SCEN");
}

TEST_F(MeantItemsTest, ASecondTypeLineIsALineLikeAnyOther) {
  const auto items = meant("[a]\nalgo_type ss\nalgo_type monitor\nsensor cpu\n");
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0].kind, ItemKind::kSS);
  EXPECT_EQ(items[0].properties.size(), 2U);
}

TEST_F(MeantItemsTest, ATypeLineWithoutAWordLeavesTheKindOpen) {
  const auto items = meant("[a]\nalgo_type ss\nsensor cpu\n[b]\nalgo_type\nsensor cpu\n");
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[1].kind, ItemKind::kNone);
}

TEST_F(MeantItemsTest, WhatABlankLineCutOffBelongsToTheLast) {
  const auto items =
      meant("[a]\nalgo_type ss\nsensor cpu\n[b]\nalgo_type ss\nsensor cpu\n\nset_point 70000\n");
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0].cutOff, std::vector<std::string>());
  EXPECT_EQ(items[1].cutOff, std::vector<std::string>{"set_point"});
}

TEST_F(MeantItemsTest, TheirNamesAreLookedUpOnTheBoard) {
  const auto items = meant(kTwo);
  ASSERT_TRUE(items[0].sensor);
  EXPECT_EQ(items[0].sensor->section, &board.sections.front());
}

} // namespace
