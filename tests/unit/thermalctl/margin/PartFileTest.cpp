#include "margin/PartFile.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "file/Sha256.h"
#include "support/FullDisk.h"
#include "support/SysfsDir.h"
#include "text/Json.h"
#include "thermalctl/support/JsonText.h"
#include "thermalctl/support/MarginExample.h"
#include "thermalctl/support/ProblemText.h"

namespace {

using Paths = std::vector<std::string>;

// Parts of ten units of a study with two samples; the peak of each row is its number.
class PartFileTest : public testing::Test {
protected:
  PartFileTest() : study(marginStudy({marginRun("run", {"cpu=43C"})})) { study.sobolSamples = 2; }

  // Of units whose peaks are their numbers; those of samples are a thousand more for each of their
  // runs.
  std::string write(const std::string& name, const Shard& shard) {
    MarginRows units(study);
    for (uint64_t unit = shard.units().first; unit < shard.units().end; ++unit)
      units.add({{{kPeakKey, static_cast<int32_t>(unit)}}});
    MarginRows samples(study);
    const Range range = shard.samples(study);
    for (uint64_t sample = range.first; sample < range.end; ++sample)
      for (size_t run = 0; run < study.sobolRuns(); ++run)
        samples.add({{{kPeakKey, static_cast<int32_t>(1000 * (run + 1) + sample)}}});
    std::string path = folder.node(name);
    EXPECT_EQ(writePart(path, study, shard, units.rows(), samples.rows()), std::nullopt);
    return path;
  }

  Paths writeAll(const Range& asked, uint64_t count) {
    Paths paths;
    for (uint64_t index = 1; index <= count; ++index)
      paths.push_back(write("p" + std::to_string(index), {asked, index, count}));
    return paths;
  }

  std::string writeSearch(const std::string& name, const Shard& shard, SearchReport report) {
    std::ofstream out(folder.node(name), std::ios::binary);
    report.worst.resize(1);
    report.worst[0].outcome = {{1}, {false}, {42}};
    report.worst[0].found = shard.units().first;
    writeSearchPart(out, study, shard, report);
    return folder.node(name);
  }

  std::optional<MergedParts> merge(const Paths& paths) {
    problems = Problems();
    std::optional<MergedParts> merged = mergeParts(paths, problems);
    EXPECT_EQ(merged.has_value(), problems.none());
    return merged;
  }

  // What is wrong with them, without the folder's name.
  std::string wrong(const Paths& paths) {
    EXPECT_FALSE(merge(paths));
    return problemText(problems, folder);
  }

  void expectWrong(const Paths& paths, const std::string& what) {
    const std::string text = wrong(paths);
    EXPECT_NE(text.find(what), std::string::npos) << what << "\n" << text;
  }

  static std::vector<int32_t> peaksOf(const UnitRows& rows) {
    std::vector<int32_t> all;
    rows.eachBlock({0}, [&](size_t, size_t, const std::vector<std::vector<int32_t>>& values) {
      all.insert(all.end(), values[0].begin(), values[0].end());
    });
    return all;
  }

  static constexpr char kPeakKey[] = "temperatures.cpu.peak";

  SysfsDir folder;
  MarginStudy study;
  Problems problems;
};

constexpr Range kTen{1, 11};

TEST_F(PartFileTest, PartsInAnyOrderAreAllUnitsInTheirs) {
  const std::vector<int32_t> units = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  const std::vector<int32_t> samples = {1001, 2001, 3001, 4001, 1002, 2002, 3002, 4002};
  for (const uint64_t count : {1U, 3U, 10U, 12U}) {
    Paths paths = writeAll(kTen, count);
    for (int order = 0; order < 2; ++order) {
      const auto merged = merge(paths);
      ASSERT_TRUE(merged) << wrong(paths);
      EXPECT_EQ(merged->asked.first, 1U);
      EXPECT_EQ(merged->asked.end, 11U);
      EXPECT_EQ(peaksOf(merged->units), units) << count;
      EXPECT_EQ(peaksOf(merged->samples), samples) << count;
      EXPECT_EQ(merged->study.asJson(), study.asJson());
      EXPECT_FALSE(merged->search);
      std::reverse(paths.begin(), paths.end());
    }
  }
}

TEST_F(PartFileTest, ALaterRoundGoesOnWithTheUnitsAndHasNoMoreSamples) {
  Paths paths = writeAll(kTen, 2);
  paths.insert(paths.begin(), write("later", {{11, 14}, 1, 1}));
  const auto merged = merge(paths);
  ASSERT_TRUE(merged);
  EXPECT_EQ(merged->asked.end, 14U);
  EXPECT_EQ(peaksOf(merged->units).size(), 13U);
  EXPECT_EQ(peaksOf(merged->units).back(), 13);
  EXPECT_EQ(merged->samples.rows(), 8U);
  // By itself it is a question, too.
  EXPECT_EQ(peaksOf(merge({paths[0]})->units), (std::vector<int32_t>{11, 12, 13}));
}

TEST_F(PartFileTest, OfPartsThatAreMissingTheUnitsAndTheShardAreTold) {
  const Paths paths = writeAll(kTen, 3);
  expectWrong({paths[0], paths[2]}, "margin merge: error: units 4 to 6, shard 2/3, are missing\n");
  expectWrong({paths[1]}, "units 1 to 3, shard 1/3, are missing");
  expectWrong({paths[1]}, "units 7 to 10, shard 3/3, are missing");
  expectWrong({paths[0], paths[2]}, "run the shard, and name its part, too");
  expectWrong({paths[0], paths[1], paths[2], write("later", {{13, 14}, 1, 1})},
              "units 11 to 12 are missing");
  expectWrong({paths[0], paths[1], paths[2], write("later", {{12, 14}, 1, 1})},
              "unit 11 is missing");
}

TEST_F(PartFileTest, UnitsThatTwoPartsHaveAreRefusedByName) {
  const Paths paths = writeAll(kTen, 2);
  expectWrong({paths[0], paths[1], paths[0]},
              "p1: error: has units 1 to 5, and p1 has units 1 to 5");
  expectWrong({paths[0], paths[1], write("all", {{4, 5}, 1, 1})},
              "all: error: has unit 4, and p1 has units 1 to 5");
  // Also behind one that ends before.
  expectWrong({write("wide", {{1, 9}, 1, 1}), write("within", {{2, 3}, 1, 1}),
               write("over", {{8, 11}, 1, 1})},
              "over: error: has units 8 to 10, and wide has units 1 to 8");
}

TEST_F(PartFileTest, AShardWithoutUnitsIsNotInTheWay) {
  const Paths paths = writeAll({1, 3}, 4);
  ASSERT_TRUE(merge(paths));
  expectWrong({paths[1], paths[2], paths[3]}, "no units, shard 1/4, are missing");
}

TEST_F(PartFileTest, WhatIsNoPartIsTold) {
  expectWrong({folder.node("nowhere")}, "nowhere: error: cannot be read: ");
  std::filesystem::create_directory(folder.node("folder"));
  expectWrong({folder.node("folder")}, "folder: error: is no file, and so no part");
  for (const char* text : {"", "units", "thermalctl margin part, version 2, little-endian\n{}\n"})
    expectWrong({folder.write("text", text)},
                "text: error: is no part of thermalctl margin, or one of another version");
  expectWrong({folder.write("text", "")}, "name the files that --shard I/N --out FILE has written");
  // One good part does not save the others.
  expectWrong({write("good", {kTen, 1, 1}), folder.write("text", "")}, "text: error: is no part");
}

TEST_F(PartFileTest, WhatIsTornIsTold) {
  const std::string name = "part";
  const std::string whole = folder.read((write(name, {kTen, 1, 1}), name));
  expectWrong({folder.write(name, whole.substr(0, whole.size() - 1))},
              "part: error: is torn: it has " + std::to_string(whole.size() - 1) +
                  " bytes, and its head promises " + std::to_string(whole.size()));
  expectWrong({folder.write(name, whole + "x")}, "part: error: is torn: it has ");
  const size_t head = whole.find('\n');
  expectWrong({folder.write(name, whole.substr(0, head + 30))},
              "part: error: is torn: its head is not whole");
  // The seed in the head, a row's number, and the digest itself.
  for (const size_t at : {whole.find("\"seed\":3") + 7, whole.size() - 65, whole.size() - 1}) {
    std::string changed = whole;
    changed[at] = changed[at] == '0' ? '1' : '0';
    expectWrong({folder.write(name, changed)},
                "part: error: is torn: its bytes are not those that were written");
  }
  expectWrong({folder.write(name, whole + "x")}, "run its shard again");
}

TEST_F(PartFileTest, AHeadThatSaysNothingThatCanBeIsNotWhole) {
  const std::string whole = folder.read((write("part", {kTen, 1, 1}), "part"));
  const size_t begin = whole.find('\n') + 1;
  const size_t end = whole.find('\n', begin);
  const auto withHead = [&](const std::string& head) {
    const std::string text =
        whole.substr(0, begin) + head + whole.substr(end, whole.size() - 64 - end);
    Sha256 hash;
    hash.add(text);
    return Paths{folder.write("part", text + hash.digest())};
  };
  const nlohmann::ordered_json good = parsedJson(whole.substr(begin, end - begin));
  ASSERT_TRUE(merge(withHead(jsonText(good))));
  for (const auto& [key, value] : std::vector<std::pair<const char*, uint64_t>>{
           {"shard", 0}, {"shard", 2}, {"shards", 0}, {"first", 12}, {"study", 7}}) {
    nlohmann::ordered_json bad = good;
    bad[key] = value;
    expectWrong(withHead(jsonText(bad)), "part: error: is torn: its head is not whole");
  }
  expectWrong(withHead("[]"), "its head is not whole");
  expectWrong(withHead("{"), "its head is not whole");
}

TEST_F(PartFileTest, APartOfAnotherQuestionIsRefusedByName) {
  const std::string first = write("p1", {kTen, 1, 2});
  study.seed = 4;
  expectWrong({first, write("p2", {kTen, 2, 2})},
              "p2: error: is of another question than p1: its seed is 4 and not 3");
}

TEST_F(PartFileTest, WhatTwoQuestionsDifferInIsWhatAUserKnowsOf) {
  const auto differenceAfter = [&](const std::function<void(MarginStudy&)>& edit) {
    MarginStudy other = study;
    edit(other);
    return differenceOf(study, other);
  };
  EXPECT_EQ(differenceAfter([](MarginStudy&) {}), "");
  // Who asked the other one with other words asked the same.
  EXPECT_EQ(differenceAfter([](MarginStudy& of) { of.replay = "thermalctl margin elsewhere"; }),
            "");
  EXPECT_EQ(differenceAfter([](MarginStudy& of) { std::swap(of.inputs[0], of.inputs[1]); }),
            "its configurations, workloads, limits or thermalctl differ");
  EXPECT_EQ(differenceAfter([](MarginStudy& of) { of.inputs[1].sha256 = "ef56"; }),
            "plant.toml was another text");
  EXPECT_EQ(differenceAfter([](MarginStudy& of) { of.inputs[1].path = "plant2.toml"; }),
            "plant2.toml is not among the files of the first");
  EXPECT_EQ(differenceAfter([](MarginStudy& of) { of.inputs.pop_back(); }),
            "plant.toml is not among its files");
  EXPECT_EQ(differenceAfter([](MarginStudy& of) { of.seed = 4; }), "its seed is 4 and not 3");
  EXPECT_EQ(differenceAfter([](MarginStudy& of) { of.duration = 3'600'000; }),
            "each run takes 1:00:00 and not 0:02:00");
  EXPECT_EQ(differenceAfter([](MarginStudy& of) { of.sobolSamples = 64; }),
            "it has 64 samples for Sobol indices in all and not 2");
  EXPECT_EQ(differenceAfter([](MarginStudy& of) { of.runs[0].workload = "video"; }),
            "its configurations, workloads, limits or thermalctl differ");
  EXPECT_EQ(differenceAfter([](MarginStudy& of) { of.runs = {marginRun("run", {"cpu=44C"})}; }),
            "its configurations, workloads, limits or thermalctl differ");
}

SearchReport searched(size_t simulations, const std::string& from = "") {
  SearchReport report;
  report.within = "all\n";
  report.from = from;
  report.simulations = simulations;
  return report;
}

TEST_F(PartFileTest, PartsOfASearchAreJoined) {
  const std::string first = writeSearch("p1", {kTen, 1, 2}, searched(5));
  const std::string second = writeSearch("p2", {kTen, 2, 2}, searched(4));
  const auto merged = merge({second, first});
  ASSERT_TRUE(merged);
  ASSERT_TRUE(merged->search);
  EXPECT_EQ(merged->search->simulations, 9U);
  EXPECT_EQ(merged->search->within, "all\n");
  // Both have come as far; the first was there before.
  EXPECT_EQ(merged->search->worst.at(0).found, 1U);
  EXPECT_EQ(merged->asked.end, 11U);
  EXPECT_EQ(merged->units.rows(), 0U);
  expectWrong({second}, "simulations 1 to 5, shard 1/2, are missing");
  expectWrong({first, second, writeSearch("more", {{3, 4}, 1, 1}, searched(1))},
              "more: error: has simulation 3, and p1 has simulations 1 to 5");
}

TEST_F(PartFileTest, ASearchIsNotMergedWithUnitsNorWithAnotherRound) {
  const std::string units = write("p1", {kTen, 1, 2});
  const std::string search = writeSearch("p2", {kTen, 2, 2}, searched(5));
  expectWrong({units, search}, "p2: error: is of another question than p1: it is of a search");
  expectWrong({writeSearch("q1", {kTen, 1, 2}, searched(5)), write("q2", {kTen, 2, 2})},
              "it is of units, and not of a search");
  expectWrong({search, writeSearch("p1", {kTen, 1, 2}, searched(5, "ab12"))},
              "it is of another round, whose parts are merged by themselves");
}

TEST_F(PartFileTest, ASearchForOtherLimitsThanItsStudysIsNotWhole) {
  SearchReport report = searched(5);
  std::ostringstream out;
  writeSearchPart(out, study, {kTen, 1, 1}, report);
  expectWrong({folder.write("part", out.str())}, "its head is not whole");
}

TEST_F(PartFileTest, WhereItCannotBeWrittenWhatWasThereStays) {
  MarginRows rows(study);
  rows.add({{}});
  MarginRows none(study);
  const UnitRows units = rows.rows();
  const UnitRows samples = none.rows();
  const Shard later{{11, 12}, 1, 1};
  folder.write("part", "before");
  EXPECT_TRUE(writePart(folder.node("part/within"), study, later, units, samples));
  {
    const FullDisk disk;
    EXPECT_TRUE(writePart(folder.node("part"), study, later, units, samples));
  }
  EXPECT_EQ(folder.read("part"), "before");
  EXPECT_FALSE(writePart(folder.node("part"), study, later, units, samples));
  EXPECT_TRUE(merge({folder.node("part")}));
}

} // namespace
