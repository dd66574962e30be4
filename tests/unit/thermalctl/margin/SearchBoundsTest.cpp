#include "margin/SearchBounds.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"
#include "thermalctl/simulate/RunFiles.h"
#include "thermalctl/support/ProblemText.h"

namespace {

using Ends = SearchBounds::Ends;
using Names = std::vector<std::string>;

// A board with two sources and two sensors, and a folder of further configurations.
class SearchBoundsTest : public testing::Test {
protected:
  SearchBoundsTest() {
    files.environment += "\n[skin]\ntype real\nsampling 100\nnode_path /nowhere/skin\n";
    files.plant += "[sensor.skin]\nnode = \"die\"\n"
                   "[source.a]\nnode = \"die\"\nwatts = 2\n"
                   "[source.b]\nnode = \"die\"\nwatts = 3\n";
    files.workload = "time,ambient,a,b\n0,25,0.1,0.1\n";
    files.request.duration = 60'000;
  }

  SearchBounds read(const std::string& search) { return readFile("[search]\n" + search); }

  SearchBounds readFile(const std::string& text) {
    if (runs.empty()) runs = files.read();
    EXPECT_TRUE(files.problems.none()) << files.wrongInFull();
    run = runs.front();
    problems = Problems();
    paths = {"before"};
    return readSearchBounds(folder.write("tolerances.toml", text),
                            {files.path("nowhere"), files.path(""), folder.node("")}, run, paths,
                            problems);
  }

  // What is told of it, without the folder's name.
  std::string wrong(const std::string& search) {
    read(search);
    return told();
  }

  std::string told() const { return problemText(problems, folder); }

  static std::string withScenario(const std::string& scenario, const std::string& item) {
    return "SCEN " + scenario + "\n[" + item +
           "]\nalgo_type monitor\nsensor cpu\nsampling 1000\nthresholds 60000\n"
           "thresholds_clr 55000\nactions gpu\naction_info 1\n";
  }

  const LogSwitchedOff quiet;
  RunFiles files;
  SysfsDir folder;
  std::vector<RunInput> runs;
  RunInput run; // knows what was read for the search, too
  std::vector<std::string> paths;
  Problems problems;
};

TEST_F(SearchBoundsTest, WithoutATableAllThatTheBoardKnowsIsSearched) {
  for (const char* text : {"", "[search]\n", "[[vary]]\nof = [\"ambient\"]\n"}) {
    const SearchBounds bounds = readFile(text);
    EXPECT_EQ(told(), "");
    EXPECT_EQ(bounds.deviations, 3);
    EXPECT_EQ(bounds.steps, 3U);
    EXPECT_EQ(bounds.lasts, std::make_pair(int64_t{1000}, int64_t{60'000}));
    EXPECT_TRUE(bounds.ambient.empty());
    EXPECT_EQ(bounds.loads, (std::vector<Ends>{{0, 1}, {0, 1}}));
    EXPECT_TRUE(bounds.configurations.empty());
    EXPECT_TRUE(bounds.faults.empty());
    EXPECT_EQ(paths, Names{"before"});
  }
}

TEST_F(SearchBoundsTest, AStepLastsNoLongerThanAShortRun) {
  files.request.duration = 400;
  EXPECT_EQ(read("").lasts, std::make_pair(int64_t{400}, int64_t{400}));
}

TEST_F(SearchBoundsTest, EachBoundIsReadByItsName) {
  const SearchBounds bounds =
      read("deviations = 2.5\nsteps = 7\nlasts = [\"10s\", \"1m30s\"]\nambient = [-5, 40.5]\n"
           "load = { b = [0.25, 0.75] }\nfaults = { skin = [\"stuck\"] }\n");
  EXPECT_EQ(told(), "");
  EXPECT_EQ(bounds.deviations, 2.5);
  EXPECT_EQ(bounds.steps, 7U);
  EXPECT_EQ(bounds.lasts, std::make_pair(int64_t{10'000}, int64_t{90'000}));
  EXPECT_EQ(bounds.ambient, (std::vector<Ends>{{-5, 40.5}}));
  EXPECT_EQ(bounds.loads, (std::vector<Ends>{{0, 1}, {0.25, 0.75}}));
}

TEST_F(SearchBoundsTest, OneNumberIsBothEnds) {
  const SearchBounds bounds = read("ambient = 35\nload = { a = 0.5, b = [1] }\n");
  EXPECT_EQ(told(), "");
  EXPECT_EQ(bounds.ambient, (std::vector<Ends>{{35, 35}}));
  EXPECT_EQ(bounds.loads, (std::vector<Ends>{{0.5, 0.5}, {1, 1}}));
  EXPECT_EQ(read("ambient = [35, 35]\n").ambient, (std::vector<Ends>{{35, 35}}));
  EXPECT_EQ(told(), "");
}

TEST_F(SearchBoundsTest, BoundsMayBeAtTheirOwnEnds) {
  for (const char* search :
       {"steps = 1", "steps = 20", "deviations = 0", "deviations = 8", "load = { a = [0, 1] }",
        "lasts = [\"1ms\", \"1ms\"]", "faults = { cpu = [-274] }"})
    EXPECT_EQ(wrong(search), "") << search;
}

TEST_F(SearchBoundsTest, WhatCannotBeIsToldAtItsPlace) {
  const std::string ends = " must be one number, or the two ends between which it lies, such as "
                           "[0.2, 0.8]";
  const std::string time = "'lasts' must be the least and the greatest time that a step lasts";
  const std::pair<std::string, std::string> cases[] = {
      {"steps = 0", "2:9: error: 'steps' must be a number from 1 to 20"},
      {"steps = 21", "2:9: error: 'steps' must be a number from 1 to 20"},
      {"steps = 2.5", "2:9: error: 'steps' must be a number without a fraction"},
      {"deviations = 8.5", "2:14: error: 'deviations' must be a number from 0 to 8"},
      {"deviations = -1", "2:14: error: 'deviations' must be a number from 0 to 8"},
      {"lasts = [\"10s\"]", "2:9: error: " + time},
      {"lasts = [\"10s\", \"5s\"]", "2:9: error: " + time},
      {"lasts = [\"0s\", \"5s\"]", "2:9: error: " + time},
      {"lasts = [\"10s\", \"5\u00b5s\"]", "2:9: error: " + time},
      {"lasts = [\"10s\", \"20s\", \"30s\"]", "2:9: error: " + time},
      {"lasts = [\"10s\", \"5s\"]", "such as lasts = [\"10s\", \"5m\"]"},
      {"ambient = [40, 30]", "2:11: error: 'ambient'" + ends},
      {"ambient = []", "2:11: error: 'ambient'" + ends},
      {"ambient = [10, 20, 30]", "2:11: error: 'ambient'" + ends},
      {"load = { a = [0.8, 0.2] }", "2:14: error: 'a'" + ends},
      {"load = { a = 1.5 }", "'a' must be"},
      {"load = { c = 0.5 }", "error: 'c' is no key that is known here"},
      {"stepps = 3", "2:1: error: 'stepps' is no key that is known here"},
      {"configurations = [\"secnd.conf\"]",
       "2:19: error: there is no configuration 'secnd.conf' beside the one that the daemon starts "
       "with"},
      {"scenarios = [\"gaem\"]", "2:14: error: no configuration declares the scenario 'gaem'"},
      {"faults = { cpu = [\"stuck\", \"stcuk\"] }", "2:28: error: 'stcuk' is no fault"},
      {"faults = { cpu = [\"stcuk\"] }", "did you mean 'stuck'?"},
      {"faults = { cpu = [\"melted away\"] }",
       "a fault is 'none', 'stuck', 'unreadable' and 'nonsense', or a reading in degrees"},
      {"faults = { cpu = [-275] }", "2:19: error: no sensor can read -275 degrees"},
      {"faults = { cpu = [1e6] }", "error: no sensor can read"},
      {"faults = { gpu = [\"stuck\"] }", "error: 'gpu' is no key that is known here"},
  };
  for (const auto& [search, what] : cases)
    EXPECT_NE(wrong(search).find(what), std::string::npos) << what << "\n" << told();
}

TEST_F(SearchBoundsTest, FaultsAreThoseOfTheSensorsInTheOrderOfThePlant) {
  const SearchBounds bounds = read(
      "faults = { skin = [\"unreadable\", -12.5], cpu = [\"none\", \"stuck\", \"nonsense\"] }\n");
  EXPECT_EQ(told(), "");
  using Faults = std::vector<SearchBounds::Fault>;
  EXPECT_EQ(bounds.faults,
            (Faults{{0, "none"}, {0, "stuck"}, {0, "nonsense"}, {1, "unreadable"}, {1, "-12.5"}}));
  // What is wrong is left out.
  EXPECT_EQ(read("faults = { cpu = [\"melted away\", \"stuck\", -300] }\n").faults,
            (Faults{{0, "stuck"}}));
}

TEST_F(SearchBoundsTest, AConfigurationIsReadFromTheFirstFolderThatHasIt) {
  files.add("second.conf", withScenario("game", "inFirst"));
  folder.write("second.conf", withScenario("game", "inSecond"));
  folder.write("third.conf", withScenario("video", "inThird"));
  const SearchBounds bounds = read("configurations = [\"third.conf\", \"second.conf\"]\n");
  EXPECT_EQ(told(), "");
  EXPECT_EQ(bounds.configurations, (Names{"third.conf", "second.conf"}));
  EXPECT_EQ(paths, (Names{"before", folder.node("third.conf"), files.path("second.conf")}));
  EXPECT_EQ(run.configurations.at("second.conf"), withScenario("game", "inFirst"));
  Names items;
  for (const AlgorithmTrack& track : run.description.algorithms)
    items.push_back(track.configuration + " " + track.scenario + " " + track.name);
  ASSERT_EQ(items.size(), 3U);
  EXPECT_EQ(items[1], "third.conf video inThird");
  EXPECT_EQ(items[2], "second.conf game inFirst");
}

TEST_F(SearchBoundsTest, AConfigurationThatTheRunKnowsIsNotReadAgain) {
  read("");
  const std::string name = run.configurations.begin()->first;
  const size_t items = run.description.algorithms.size();
  EXPECT_EQ(read("configurations = [\"" + name + "\"]\n").configurations, Names{name});
  EXPECT_EQ(told(), "");
  EXPECT_EQ(paths, Names{"before"});
  EXPECT_EQ(run.description.algorithms.size(), items);
}

TEST_F(SearchBoundsTest, AConfigurationOfAnotherNameIsProposed) {
  files.add("second.conf", withScenario("game", "cap"));
  files.add("second.toml", "");
  EXPECT_NE(wrong("configurations = [\"secnd.conf\"]\n").find("did you mean 'second.conf'?"),
            std::string::npos)
      << told();
  EXPECT_EQ(wrong("configurations = [\"secnd.toml\"]\n").find("second.toml"), std::string::npos)
      << told();
  std::filesystem::create_directory(folder.node("folder.conf"));
  EXPECT_NE(wrong("configurations = [\"folder.conf\"]\n").find("there is no configuration"),
            std::string::npos);
}

TEST_F(SearchBoundsTest, ScenariosAreThoseOfAllConfigurationsUnlessTheyAreNamed) {
  files.configuration += "\n" + withScenario("night", "cap");
  folder.write("second.conf", withScenario("game", "cap") + "\n" + withScenario("night", "cap"));
  const Names own = read("").scenarios;
  const Names all = read("configurations = [\"second.conf\"]\n").scenarios;
  const auto has = [](const Names& names, const char* name) {
    return std::count(names.begin(), names.end(), name);
  };
  EXPECT_EQ(has(own, "night"), 1);
  EXPECT_EQ(has(own, "game"), 0);
  EXPECT_EQ(has(all, "night"), 1);
  EXPECT_EQ(has(all, "game"), 1);
  EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
  EXPECT_EQ(read("scenarios = [\"night\"]\n").scenarios, Names{"night"});
  EXPECT_EQ(read("scenarios = []\n").scenarios, Names());
  EXPECT_EQ(told(), "");
  EXPECT_NE(wrong("scenarios = [\"nigth\"]\n").find("did you mean 'night'?"), std::string::npos);
}

} // namespace
