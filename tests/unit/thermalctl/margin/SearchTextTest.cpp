#include "margin/SearchText.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/support/MarginExample.h"

namespace {

SearchResult::Worst reached(int32_t measured, size_t found, std::optional<size_t> broken,
                            size_t budgets = 1) {
  SearchResult::Worst worst;
  worst.outcome.measured.assign(budgets, measured);
  worst.outcome.broken.assign(budgets, broken.has_value());
  worst.found = found;
  worst.broken = broken;
  return worst;
}

// A search for the limits of one run.
SearchReport reportWith(const std::vector<SearchResult::Worst>& worst) {
  SearchReport report;
  report.within = "  unit            the nominal one\n";
  report.simulations = 40;
  report.worst = worst;
  report.told.measured = 44'000;
  report.told.duration = 12'300;
  report.told.workload = "[[at]]\ntime = 0\n\n[[at]]\ntime = 3\n";
  return report;
}

std::string searchText(const MarginStudy& study, const SearchReport& report,
                       const std::string& replay = "") {
  std::ostringstream out;
  printSearch(study, report, replay, out);
  return out.str();
}

TEST(SearchTextTest, OfALimitThatHeldTheNearestIsTold) {
  const MarginStudy study = marginStudy({marginRun("run", {"cpu=43C"})});
  EXPECT_EQ(searchText(study, reportWith({reached(41'500, 17, {})})),
            "board: 40 simulations of up to 0:02:00\n"
            "\n"
            "within\n"
            "  unit            the nominal one\n"
            "\n"
            "cpu=43C: not broken in 40 simulations, the nearest 41.50 C, 1.50 C within it "
            "(simulation 17)\n"
            "\n"
            "the nearest that was found:\n"
            "  the workload, for 12.3 s:\n"
            "\n"
            "    [[at]]\n"
            "    time = 0\n"
            "\n"
            "    [[at]]\n"
            "    time = 3\n"
            "\n"
            "  the unit: the nominal one\n");
}

TEST(SearchTextTest, OfALimitThatIsBrokenTheWorstAndTheSmallestAreTold) {
  const MarginStudy study = marginStudy({marginRun("run", {"cpu=43C"})});
  SearchReport report = reportWith({reached(44'610, 17, 5)});
  report.simulations = 1;
  report.stoodStill = 1;
  report.told.broken = 0;
  report.told.simulations = 70;
  report.told.measured = 43'004;
  report.told.unit = "[[vary]]\nof = [\"ambient\"]\n";
  EXPECT_EQ(searchText(study, report, "thermalctl simulate board"),
            "board: 1 simulation of up to 0:02:00\n"
            "\n"
            "within\n"
            "  unit            the nominal one\n"
            "\n"
            "cpu=43C: broken, at worst 44.61 C, 1.61 C beyond it (simulation 17, the first was 5)\n"
            "in 1 simulation the daemon stood still\n"
            "\n"
            "as little as still breaks cpu=43C (70 simulations more): 43.00 C, 0.00 C beyond it\n"
            "  the workload, for 12.3 s:\n"
            "\n"
            "    [[at]]\n"
            "    time = 0\n"
            "\n"
            "    [[at]]\n"
            "    time = 3\n"
            "\n"
            "  the unit: \n"
            "\n"
            "    [[vary]]\n"
            "    of = [\"ambient\"]\n"
            "\n"
            "run again by: thermalctl simulate board\n");
}

TEST(SearchTextTest, ADistanceIsInTheUnitOfItsLimit) {
  const struct {
    const char* limit;
    int32_t measured;
    bool isBroken;
    const char* told;
  } cases[] = {
      {"cpu=43C:60s", 90'000, true, "90.00 s, 30.00 s beyond it"},
      {"cpu=43C:60s", 45'000, false, "45.00 s, 15.00 s within it"},
      {"work:gpu=75%", 70'500'000, true, "70.50 %, 4.50 % beyond it"},
      {"work:gpu=75%", 80'000'000, false, "80.00 %, 5.00 % within it"},
      {"changes:gpu<=2/min", 5, true, "2.50 /min, 0.50 /min beyond it"},
      {"p95:cpu=43C", 43'000, false, "43.00 C, 0.00 C within it"},
      {"cpu=43C", kUnseen, false, "never seen"},
  };
  for (const auto& [limit, measured, isBroken, told] : cases) {
    const MarginStudy study = marginStudy({marginRun("run", {limit})});
    const std::optional<size_t> broken = isBroken ? std::optional<size_t>(3) : std::nullopt;
    const std::string text = searchText(study, reportWith({reached(measured, 3, broken)}));
    EXPECT_NE(text.find(std::string(isBroken ? "at worst " : "the nearest ") + told + " (sim"),
              std::string::npos)
        << text;
  }
}

// A rate of the smallest is that of its own time, and not of the whole run's.
TEST(SearchTextTest, TheSmallestIsMeasuredOverItsOwnTime) {
  const MarginStudy study = marginStudy({marginRun("run", {"changes:gpu<=2/min"})});
  SearchReport report = reportWith({reached(5, 3, 3)});
  report.told.broken = 0;
  report.told.measured = 5;
  report.told.duration = 60'000;
  const std::string text = searchText(study, report);
  EXPECT_NE(text.find("at worst 2.50 /min"), std::string::npos) << text;
  EXPECT_NE(text.find("more): 5.00 /min, 3.00 /min beyond it"), std::string::npos) << text;
  EXPECT_NE(text.find("for 60 s:"), std::string::npos) << text;
}

TEST(SearchTextTest, EachLimitHasALineAndTheBrokenOneIsNamed) {
  const MarginStudy study = marginStudy({marginRun("run", {"cpu=43C", "node:die=40C"})});
  SearchReport report = reportWith({reached(41'000, 2, {}, 2), reached(41'000, 4, 4, 2)});
  report.told.broken = 1;
  report.told.measured = 41'000;
  const std::string text = searchText(study, report);
  EXPECT_NE(text.find("cpu=43C: not broken in 40 simulations, the nearest 41.00 C, 2.00 C within "
                      "it (simulation 2)\n"
                      "node:die=40C: broken, at worst 41.00 C, 1.00 C beyond it (simulation 4, the "
                      "first was 4)\n\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("as little as still breaks node:die=40C (0 simulations more): 41.00 C, 1.00 "
                      "C beyond it\n"),
            std::string::npos)
      << text;
}

TEST(SearchTextTest, ACiGetsACaseForEachLimit) {
  const MarginStudy study = marginStudy({marginRun("run", {"cpu=43C", "node:die=40C"})});
  SearchReport report = reportWith({reached(41'000, 2, {}, 2), reached(41'000, 4, 4, 2)});
  std::vector<JunitSuite> suites = searchSuites(study, report);
  ASSERT_EQ(suites.size(), 1U);
  EXPECT_EQ(suites[0].name, "run");
  ASSERT_EQ(suites[0].cases.size(), 2U);
  EXPECT_EQ(suites[0].cases[0].name, "cpu=43C");
  EXPECT_EQ(suites[0].cases[0].element, nullptr);
  EXPECT_EQ(suites[0].cases[0].message, "");
  EXPECT_EQ(suites[0].cases[1].name, "node:die=40C");
  EXPECT_STREQ(suites[0].cases[1].element, "failure");
  EXPECT_EQ(suites[0].cases[1].message, "node:die=40C: broken, at worst 41.00 C, 1.00 C beyond it "
                                        "(simulation 4, the first was 4)");
  // What was not judged may have been the worst; what is broken is that all the same.
  report.unjudged = 3;
  suites = searchSuites(study, report);
  EXPECT_STREQ(suites[0].cases[0].element, "error");
  EXPECT_EQ(suites[0].cases[0].message, "in 3 simulations there was no verdict");
  EXPECT_STREQ(suites[0].cases[1].element, "failure");
}

} // namespace
