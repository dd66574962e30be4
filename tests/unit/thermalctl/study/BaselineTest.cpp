#include "study/Baseline.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"
#include "thermalctl/support/JsonText.h"

namespace {

class BaselineTest : public testing::Test {
protected:
  // A run with a peak and a limit.
  static RunResult runOf(double peak, const std::string& verdict, uint64_t seed = 1) {
    RunResult result;
    result.name = "seed " + std::to_string(seed);
    result.identity = {
        {"run", result.name}, {"configuration", "day.conf"}, {"workload", "game"}, {"seed", seed}};
    result.figures = {{"seconds", 3600.0},
                      {"temperatures", {{"skin", {{"peak", peak}}}}},
                      {"budgets", RunResult::Json::object()}};
    if (!verdict.empty())
      result.figures["budgets"]["skin=44.5C"] = {{"verdict", verdict}, {"above_s", 0.0}};
    return result;
  }

  std::string fileOf(const std::vector<RunResult>& results) {
    std::ostringstream out;
    writeResults(results, out);
    return folder.write("results.json", out.str());
  }

  // Compares, and keeps what is printed without the file's path.
  bool isWorse(const std::vector<RunResult>& before, const std::vector<RunResult>& now) {
    const std::string path = fileOf(before);
    const auto baseline = Baseline::read(path, problems);
    EXPECT_TRUE(baseline);
    if (!baseline) return false;
    const ResultChanges comparison = baseline->compare(now, usualTolerances());
    std::ostringstream out;
    baseline->print(comparison, out);
    text = out.str();
    const size_t at = text.find(path);
    if (at != std::string::npos) text.replace(at, path.size(), "FILE");
    return comparison.isWorse();
  }

  std::string wrong(const std::string& content) {
    problems = Problems();
    const std::string path = folder.write("results.json", content);
    EXPECT_FALSE(Baseline::read(path, problems)) << content;
    std::ostringstream out;
    problems.print(out);
    return out.str().substr(path.size());
  }

  SysfsDir folder;
  Problems problems;
  std::string text;
};

TEST_F(BaselineTest, SaysThatNothingHasChanged) {
  EXPECT_FALSE(isWorse({runOf(42, "kept")}, {runOf(42.04, "kept")}));
  EXPECT_EQ(text, "\nnothing has changed against FILE\n");
}

TEST_F(BaselineTest, ShowsWhatHasChangedByMoreThanItsTolerance) {
  EXPECT_FALSE(isWorse({runOf(42, "kept"), runOf(41, "kept", 2)},
                       {runOf(42.5, "kept"), runOf(41, "kept", 2)}));
  EXPECT_EQ(text, "\nchanged against FILE\n"
                  "run     figure                  before   now  difference\n"
                  "seed 1  temperatures.skin.peak      42  42.5        +0.5\n");
}

TEST_F(BaselineTest, AVerdictIsWorseWhereSomethingIsNotKeptAnyMore) {
  EXPECT_TRUE(isWorse({runOf(44, "kept")}, {runOf(45, "passed")}));
  EXPECT_EQ(text, "\nchanged against FILE\n"
                  "run     figure                  before     now  difference\n"
                  "seed 1  temperatures.skin.peak      44      45          +1\n"
                  "        skin=44.5C                kept  passed       worse\n");
  EXPECT_TRUE(isWorse({runOf(44, "kept")}, {runOf(44, "unjudged")}));
  EXPECT_TRUE(isWorse({runOf(44, "unjudged")}, {runOf(44, "passed")}));
  EXPECT_TRUE(isWorse({runOf(44, "kept")}, {runOf(44, "")}));
  EXPECT_NE(text.find("skin=44.5C    kept  not asked for       worse\n"), std::string::npos)
      << text;
}

TEST_F(BaselineTest, AVerdictIsNotWorseWhereItIsBetterOrNew) {
  EXPECT_FALSE(isWorse({runOf(44, "passed")}, {runOf(44, "kept")}));
  EXPECT_NE(text.find("skin=44.5C  passed  kept\n"), std::string::npos) << text;
  EXPECT_FALSE(isWorse({runOf(44, "passed")}, {runOf(44, "passed")}));
  EXPECT_FALSE(isWorse({runOf(44, "")}, {runOf(44, "passed")}));
}

TEST_F(BaselineTest, CountsTheRunsThatOnlyOneOfThemHas) {
  EXPECT_FALSE(isWorse({runOf(44, "kept", 1), runOf(44, "kept", 2), runOf(44, "kept", 3)},
                       {runOf(44, "kept", 3), runOf(44, "passed", 4)}));
  EXPECT_EQ(text, "\nnothing has changed against FILE\n"
                  "not in it: 1 run\n"
                  "only in it: 2 runs\n");
}

TEST_F(BaselineTest, AStudyInHandIsOneLikeItsFile) {
  const ResultChanges comparison = Baseline({runOf(44, "kept"), runOf(44, "kept", 2)})
                                       .compare({runOf(45, "passed")}, usualTolerances());
  EXPECT_TRUE(comparison.isWorse());
  ASSERT_EQ(comparison.changes.size(), 2U);
  EXPECT_EQ(comparison.changes[1].figure, "skin=44.5C");
  EXPECT_EQ(comparison.changes[1].now, "passed");
  EXPECT_EQ(comparison.gone, 1U);
}

TEST_F(BaselineTest, ATornFileIsToldWhereItEnds) {
  const std::string whole = R"({"format": "thermalctl results", "version": 1, "runs": [)"
                            "\n{\"run\": \"day";
  EXPECT_EQ(wrong(whole), ":2:13: error: is no whole JSON from here on\n"
                          "    2 | {\"run\": \"day\n"
                          "      |             ^\n"
                          "      hint: --against takes a results.json of thermalctl simulate; this "
                          "one is torn, or another file\n");
  EXPECT_NE(wrong("").find("is no whole JSON"), std::string::npos);
  EXPECT_NE(wrong("run,verdict\n").find(":1:1: error: is no whole JSON"), std::string::npos);
}

TEST_F(BaselineTest, AForeignFileIsNone) {
  for (const char* content : {"{}", "[]", "3", R"({"format": "other", "version": 1, "runs": []})",
                              R"({"displayTimeUnit":"ms","traceEvents":[]})"})
    EXPECT_NE(wrong(content).find("holds no results of thermalctl"), std::string::npos) << content;
  EXPECT_NE(wrong(R"({"format": "thermalctl results", "runs": []})").find("does not say which"),
            std::string::npos);
  EXPECT_NE(wrong(R"({"format": "thermalctl results", "version": 1})").find("no list 'runs'"),
            std::string::npos);
  EXPECT_NE(wrong(R"({"format": "thermalctl results", "version": 1, "runs": [{"run": "log"}]})")
                .find("run 1 of 1 has no configuration, workload and seed"),
            std::string::npos);
}

TEST_F(BaselineTest, ANewerVersionIsRefused) {
  for (const char* version : {"0", "-1", "-4294967295"})
    EXPECT_EQ(wrong(R"({"format": "thermalctl results", "version": )" + std::string(version) +
                    R"(, "runs": []})"),
              std::string(": error: holds results of version ") + version +
                  ", which never was\n      hint: --against takes a results.json of thermalctl "
                  "simulate\n");
  // No number that is cut to one that is known.
  EXPECT_NE(wrong(R"({"format": "thermalctl results", "version": 4294967297, "runs": []})")
                .find("holds results of version 4294967297, and"),
            std::string::npos);
  EXPECT_EQ(wrong(R"({"format": "thermalctl results", "version": 2, "runs": []})"),
            ": error: holds results of version 2, and this thermalctl knows them up to 1\n"
            "      hint: take the thermalctl that wrote it, or a newer one\n");
}

TEST_F(BaselineTest, AFigureThatIsNotComparedMayDiffer) {
  RunResult longer = runOf(42, "kept");
  longer.figures["seconds"] = 7200.0;
  EXPECT_FALSE(isWorse({runOf(42, "kept")}, {longer}));
  EXPECT_EQ(text, "\nnothing has changed against FILE\n");
}

TEST_F(BaselineTest, AFigureThatWasNeverSeenBeforeIsShownWithoutADifference) {
  RunResult unseen = runOf(42, "kept");
  unseen.figures["temperatures"]["skin"]["peak"] = nullptr;
  EXPECT_FALSE(isWorse({unseen}, {runOf(42, "kept")}));
  EXPECT_NE(text.find("temperatures.skin.peak       -   42\n"), std::string::npos) << text;
  EXPECT_FALSE(isWorse({unseen}, {unseen}));
  EXPECT_EQ(text, "\nnothing has changed against FILE\n");
}

TEST_F(BaselineTest, RunsAreFoundByWhatTheyAreAndNotByTheirPlace) {
  EXPECT_FALSE(isWorse({runOf(40, "kept", 1), runOf(42, "kept", 2)},
                       {runOf(42, "kept", 2), runOf(40, "kept", 1)}));
  EXPECT_EQ(text, "\nnothing has changed against FILE\n");
}

TEST_F(BaselineTest, ARunOfAnotherConfigurationOrWorkloadIsAnother) {
  for (const char* part : {"configuration", "workload"}) {
    RunResult other = runOf(50, "passed");
    other.identity[part] = "other";
    EXPECT_FALSE(isWorse({runOf(42, "kept")}, {other}));
    EXPECT_EQ(text, "\nno run is in both, and nothing is compared with FILE\n"
                    "not in it: 1 run\nonly in it: 1 run\n");
  }
}

TEST_F(BaselineTest, AFallIsShownWithItsSign) {
  EXPECT_FALSE(isWorse({runOf(42.5, "kept")}, {runOf(42, "kept")}));
  EXPECT_NE(text.find("42.5   42        -0.5\n"), std::string::npos) << text;
}

TEST_F(BaselineTest, AFigureOfALimitHasTheToleranceOfItsLastWord) {
  const auto above = [](double seconds) {
    RunResult result = runOf(42, "kept");
    result.figures["budgets"]["skin=44.5C"]["above_s"] = seconds;
    return result;
  };
  EXPECT_FALSE(isWorse({above(10)}, {above(11)}));
  EXPECT_EQ(text, "\nnothing has changed against FILE\n");
  EXPECT_FALSE(isWorse({above(10)}, {above(11.5)}));
  EXPECT_EQ(text, "\nchanged against FILE\n"
                  "run     figure                      before   now  difference\n"
                  "seed 1  budgets.skin=44.5C.above_s      10  11.5        +1.5\n");
}

TEST_F(BaselineTest, EachRunWithAChangeIsNamedOnce) {
  EXPECT_TRUE(isWorse({runOf(42, "kept"), runOf(42, "kept", 2)},
                      {runOf(43, "passed"), runOf(42.5, "kept", 2)}));
  EXPECT_EQ(text, "\nchanged against FILE\n"
                  "run     figure                  before     now  difference\n"
                  "seed 1  temperatures.skin.peak      42      43          +1\n"
                  "        skin=44.5C                kept  passed       worse\n"
                  "seed 2  temperatures.skin.peak      42    42.5        +0.5\n");
}

TEST_F(BaselineTest, AMissedRequirementIsAsBadAsAPassedLimit) {
  EXPECT_TRUE(isWorse({runOf(44, "kept")}, {runOf(44, "missed")}));
  EXPECT_TRUE(isWorse({runOf(44, "unjudged")}, {runOf(44, "missed")}));
  EXPECT_FALSE(isWorse({runOf(44, "missed")}, {runOf(44, "unjudged")}));
  // Whoever asks no more of what was not kept loses nothing.
  EXPECT_FALSE(isWorse({runOf(44, "missed")}, {runOf(44, "")}));
  EXPECT_FALSE(isWorse({runOf(44, "unjudged")}, {runOf(44, "")}));
}

TEST_F(BaselineTest, ARunWithoutAConfigurationAWorkloadOrAWholeSeedIsRefused) {
  const auto runs = [&](const std::string& second) {
    return wrong(R"({"format": "thermalctl results", "version": 1, "runs": [)"
                 R"({"configuration": "a.conf", "workload": "game", "seed": 1}, )" +
                 second + "]}");
  };
  for (const char* row : {"7", "{}", R"({"configuration": "a.conf", "workload": "game"})",
                          R"({"configuration": "a.conf", "workload": "game", "seed": -1})",
                          R"({"configuration": "a.conf", "workload": "game", "seed": "1"})",
                          R"({"configuration": 7, "workload": "game", "seed": 1})",
                          R"({"configuration": "a.conf", "workload": null, "seed": 1})"})
    EXPECT_EQ(runs(row), ": error: run 2 of 2 has no configuration, workload and seed\n"
                         "      hint: it comes of thermalctl plot, or it has been edited: run "
                         "simulate again\n")
        << row;
}

TEST_F(BaselineTest, AFileThatIsNotThereIsTold) {
  EXPECT_FALSE(Baseline::read(folder.node("nowhere.json"), problems));
  std::ostringstream out;
  problems.print(out);
  EXPECT_NE(out.str().find("nowhere.json: error: cannot be read: "), std::string::npos);
}

} // namespace
