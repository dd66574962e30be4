#include "margin/ToleranceFile.h"

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"
#include "thermalctl/simulate/RunFiles.h"
#include "thermalctl/support/ProblemText.h"

namespace {

// A board with two nodes, a law and a workload that ramps.
class ToleranceFileTest : public testing::Test {
protected:
  ToleranceFileTest() {
    files.plant = "ambient = 20\n"
                  "[node.die]\njoules_per_kelvin = 2\n"
                  "[node.case]\njoules_per_kelvin = 50\ncelsius = 22\n"
                  "[[resistance]]\nbetween = [\"die\", \"case\"]\nkelvin_per_watt = 10\n"
                  "[[resistance]]\nbetween = [\"case\", \"ambient\"]\nkelvin_per_watt = 5\n"
                  "[source.gpu]\nnodes = { die = 0.75, case = 0.25 }\ndevice = \"gpu\"\n"
                  "law = { a = 0.5, b = 2, unit = 100 }\nwork = true\n"
                  "[sensor.cpu]\nnode = \"die\"\nnoise = 0.1\nlag = 0\n";
    files.workload = "time,ramp ambient,gpu\n0,20,0.5\n10,30,0.75\n20,30,1\n";
    files.request.duration = 60'000;
  }

  Population read(const std::string& text) { return readWith(text, ""); }

  // What is wrong with it, without the folder's name.
  std::string wrong(const std::string& text, const std::string& fit = "") {
    readWith(text, fit);
    return problemText(problems, folder);
  }

  Population readWith(const std::string& text, const std::string& fit) {
    problems = Problems();
    runs = files.read();
    EXPECT_TRUE(files.problems.none()) << files.wrongInFull();
    if (!fit.empty()) folder.write("fit.json", fit);
    return readTolerances(folder.write("tolerances.toml", text), runs, files.path("plant.toml"),
                          files.problems.none() ? withPlant() : problems)
        .population;
  }

  Problems& withPlant() {
    problems.read(files.path("plant.toml"), files.plant);
    return problems;
  }

  // The unit whose numbers all stand so far out.
  RunInput unitAt(const Population& population, double standard) const {
    return population.unit(runs.front(), std::vector<double>(population.spreads.size(), standard));
  }

  static std::string varied(const std::string& name, const std::string& how) {
    return "[[vary]]\nof = [\"" + name + "\"]\n" + how + "\n";
  }

  RunFiles files;
  SysfsDir folder;
  Problems problems;
  std::vector<RunInput> runs;
};

TEST_F(ToleranceFileTest, EachNumberIsSetByItsName) {
  using Read = double (*)(const RunInput&);
  struct SetCase {
    const char* name;
    double number;
    Read read;
  };
  const SetCase cases[] = {
      {"node.die.joules_per_kelvin", 3,
       [](const RunInput& of) { return of.plant.nodes[0].capacity; }},
      {"node.case.celsius", 31, [](const RunInput& of) { return of.plant.nodes[1].initial; }},
      {"resistance.die-case", 11, [](const RunInput& of) { return of.plant.resistances[0].value; }},
      {"resistance.ambient-case", 6,
       [](const RunInput& of) { return of.plant.resistances[1].value; }},
      {"source.gpu.idle_watts", 0.1, [](const RunInput& of) { return of.plant.sources[0].idle; }},
      {"source.gpu.watts.1", 0.3, [](const RunInput& of) { return of.plant.sources[0].watts[1]; }},
      {"source.gpu.speed.2", 0.3, [](const RunInput& of) { return of.plant.sources[0].speed[2]; }},
      {"sensor.cpu.offset", -1, [](const RunInput& of) { return of.plant.probes[0].offset; }},
      {"sensor.cpu.lag", 2, [](const RunInput& of) { return of.plant.probes[0].lag; }},
      {"sensor.cpu.noise", 0.4, [](const RunInput& of) { return of.plant.probes[0].noise; }},
      {"sensor.cpu.step", 0.5, [](const RunInput& of) { return of.plant.probes[0].step; }},
      {"ambient", 33, [](const RunInput& of) { return of.plant.ambient; }}};
  for (const auto& [name, number, value] : cases) {
    const Population population =
        read(varied(name, "list = { values = [" + std::to_string(number) + "] }"));
    ASSERT_EQ(population.spreads.size(), 1U) << wrong(varied(name, "list = { values = [1] }"));
    EXPECT_NE(value(runs.front()), number) << name;
    EXPECT_DOUBLE_EQ(value(unitAt(population, 0)), number) << name;
  }
}

TEST_F(ToleranceFileTest, ANumberIsAValueAFactorOrAnAmountMore) {
  const auto unit = [&](const std::string& as) {
    const Population population =
        read(varied("resistance.case-ambient", as + "list = { values = [2] }"));
    return unitAt(population, 0).plant.resistances[1].value;
  };
  EXPECT_EQ(unit(""), 2);
  EXPECT_EQ(unit("as = \"value\"\n"), 2);
  EXPECT_EQ(unit("as = \"factor\"\n"), 10);
  EXPECT_EQ(unit("as = \"plus\"\n"), 7);
}

TEST_F(ToleranceFileTest, ThePowersOfASourceKeepTheirProportionsAndALawItsForm) {
  Population population = read(varied("source.gpu.watts", "list = { values = [5] }"));
  const std::vector<double> nominal = runs.front().plant.sources[0].watts;
  std::vector<double> watts = unitAt(population, 0).plant.sources[0].watts;
  ASSERT_EQ(nominal[0], 2.5); // 0.5 + 2 f^3
  for (size_t i = 0; i < watts.size(); ++i)
    EXPECT_DOUBLE_EQ(watts[i], 2 * nominal[i]);
  // Both constants and then the scale, in whatever order they stand.
  population = read(varied("source.gpu.watts", "as = \"factor\"\nlist = { values = [3] }") +
                    varied("source.gpu.law.b", "list = { values = [4] }") +
                    varied("source.gpu.law.a", "list = { values = [1] }"));
  watts = unitAt(population, 0).plant.sources[0].watts;
  const double speeds[] = {1, 0.8, 0.6, 0.4};
  for (size_t i = 0; i < watts.size(); ++i)
    EXPECT_NEAR(watts[i], 3 * (1 + 4 * std::pow(speeds[i], 3)), 1e-12);
}

TEST_F(ToleranceFileTest, TheSharesOfASourceStillAddUp) {
  const Population population = read(varied("source.gpu.nodes.die", "list = { values = [0.6] }"));
  const RunInput unit = unitAt(population, 0);
  const auto& heats = unit.plant.sources[0].heats;
  double sum = 0;
  for (const auto& [node, share] : heats) {
    EXPECT_NEAR(share, node == 0 ? 0.6 : 0.4, 1e-12);
    sum += share;
  }
  EXPECT_NEAR(sum, 1, 1e-12);
}

TEST_F(ToleranceFileTest, LoadsStayBetweenNothingAndAll) {
  const Population population =
      read(varied("workload.load.gpu", "as = \"factor\"\nuniform = { from = 0.5, to = 1.5 }"));
  const auto loads = [&](double standard) {
    std::vector<double> values;
    for (const Change& change : unitAt(population, standard).workload.changes)
      if (change.kind == Change::Kind::kLoad) values.push_back(change.value);
    return values;
  };
  EXPECT_EQ(loads(-20), (std::vector<double>{0.25, 0.375, 0.5}));
  EXPECT_EQ(loads(20), (std::vector<double>{0.75, 1, 1}));
}

TEST_F(ToleranceFileTest, TimesMoveAndRampsLeadToWhereTheyLed) {
  const Population population =
      read(varied("workload.time", "as = \"factor\"\nlist = { values = [2] }") +
           varied("ambient", "as = \"plus\"\nlist = { values = [-4] }"));
  const RunInput unit = unitAt(population, 0);
  std::map<int64_t, Change> ambients;
  for (const Change& change : unit.workload.changes)
    if (change.kind == Change::Kind::kAmbient) ambients[change.time] = change;
  ASSERT_EQ(ambients.size(), 3U);
  EXPECT_DOUBLE_EQ(ambients[0].value, 16);
  EXPECT_DOUBLE_EQ(ambients[0].slope, 0.5); // to 26 in 20 s
  EXPECT_DOUBLE_EQ(ambients[20'000].value, 26);
  EXPECT_DOUBLE_EQ(ambients[20'000].slope, 0);
  EXPECT_DOUBLE_EQ(ambients[40'000].value, 26);
  EXPECT_DOUBLE_EQ(unit.plant.ambient, 16);
}

TEST_F(ToleranceFileTest, GroupsVaryTogetherAndOthersByThemselves) {
  const std::string both = "[[vary]]\nof = [\"resistance.*\"]\nas = \"factor\"\n"
                           "lognormal = { median = 1, deviation = 0.1 }\n";
  EXPECT_EQ(read(both).spreads.size(), 2U);
  const Population together = read(both + "together = true\nname = \"glue\"\n");
  ASSERT_EQ(together.spreads.size(), 1U);
  EXPECT_EQ(together.spreads[0].name, "glue");
  const RunInput unit = unitAt(together, 1);
  EXPECT_DOUBLE_EQ(unit.plant.resistances[0].value / 10, unit.plant.resistances[1].value / 5);
  EXPECT_DOUBLE_EQ(unit.plant.resistances[0].value, 10 * std::exp(0.1));
}

TEST_F(ToleranceFileTest, CorrelationsAreAsAskedFor) {
  const Population population =
      read(varied("resistance.die-case", "normal = { mean = 10, deviation = 0.5 }") +
           varied("resistance.case-ambient", "normal = { mean = 5, deviation = 0.1 }") +
           varied("node.die.joules_per_kelvin", "normal = { mean = 2, deviation = 0.1 }") +
           "[[correlation]]\nbetween = [\"resistance.die-case\", "
           "\"node.die.joules_per_kelvin\"]\nis = -0.6\n");
  ASSERT_TRUE(problems.none());
  constexpr size_t kUnits = 20'000;
  double product[2] = {};
  double squares[3] = {};
  for (size_t unit = 1; unit <= kUnits; ++unit) {
    const RunInput run = population.unit(runs.front(), standardNumbers(3, unit, Stream::kUnit, 3));
    const double numbers[] = {(run.plant.resistances[0].value - 10) / 0.5,
                              (run.plant.nodes[0].capacity - 2) / 0.1,
                              (run.plant.resistances[1].value - 5) / 0.1};
    for (size_t i = 0; i < 3; ++i)
      squares[i] += numbers[i] * numbers[i] / kUnits;
    product[0] += numbers[0] * numbers[1] / kUnits;
    product[1] += numbers[0] * numbers[2] / kUnits;
  }
  for (const double each : squares)
    EXPECT_NEAR(each, 1, 0.04);
  EXPECT_NEAR(product[0], -0.6, 0.03);
  EXPECT_NEAR(product[1], 0, 0.03);
  using Parts = std::vector<std::vector<size_t>>;
  EXPECT_EQ(population.independentParts(), (Parts{{0, 2}, {1}}));
}

constexpr char kFit[] =
    R"({"quantities": [{"name": "resistance.die-case", "interval": [8, 12.5]},
                       {"name": "ambient", "interval": [19, 21]},
                       {"name": "node.case.joules_per_kelvin", "interval": null},
                       {"name": "sensor.cpu.offset", "interval": [-0.5, 0.7]}],
        "correlations": [[1, 0, 0, 0.5], [0, 1, 0, 0], [0, 0, 1, 0], [0.5, 0, 0, 1]]})";

TEST_F(ToleranceFileTest, AFitGivesItsIntervalsAndCorrelations) {
  const Population population = readWith("[[fit]]\nfile = \"fit.json\"\n", kFit);
  ASSERT_TRUE(problems.none());
  ASSERT_EQ(population.spreads.size(), 2U); // the ambient is that of the laboratory
  EXPECT_EQ(population.spreads[0].name, "resistance.die-case");
  EXPECT_NEAR(population.spreads[0].distribution.at(0), 10, 1e-9);
  EXPECT_NEAR(population.spreads[0].distribution.at(1.959964), 12.5, 1e-5);
  EXPECT_NEAR(population.spreads[1].distribution.at(-1.959964), -0.5, 1e-6);
  EXPECT_NEAR(correlated({1, 0}, population.factor)[1], 0.5, 1e-12);
  EXPECT_EQ(readWith("[[fit]]\nfile = \"fit.json\"\nof = [\"sensor.*\"]\n", kFit).spreads.size(),
            1U);
}

TEST_F(ToleranceFileTest, WhatIsWrongIsToldAtItsPlace) {
  const std::string well = "normal = { mean = 10, deviation = 0.5 }";
  const struct {
    std::string text;
    const char* told;
  } cases[] = {
      {varied("resistance.dye-case", well), "tolerances.toml:2:7: error: 'resistance.dye-case' is "
                                            "no number of the plant or the workload"},
      {varied("resistance.dye-case", well), "hint: did you mean 'resistance.die-case'?"},
      {varied("resistance.die-case", "normal = { mean = 1, deviation = 0.5 }"),
       "tolerances.toml:3:10: error: 'resistance.die-case' may come to -3.15, and must lie from "
       "1e-09"},
      {varied("resistance.die-case", "normal = { mean = 1, deviation = 0.5 }"),
       "hint: leave out what cannot be, such as truncated"},
      {varied("resistance.die-case", "as = \"factor\"\nnormal = { interval = [-1, 2] }"),
       "may come to -"},
      {varied("workload.load.gpu", "as = \"factor\"\nnormal = { mean = 1, deviation = 1 }"),
       "the factor of 'workload.load.gpu' may be as low as -7.3, below 0"},
      {varied("workload.time", "as = \"plus\"\nuniform = { from = -11, to = 5 }"),
       "'workload.time' may come to -1, and must lie from 0.001"},
      {varied("workload.time", "uniform = { from = 1, to = 5 }"),
       "'workload.time' cannot be a value"},
      {varied("resistance.die-case", "normall = { mean = 1, deviation = 0.5 }"),
       "'normall' is no key that is known here"},
      {varied("resistance.die-case", ""), "has no distribution"},
      {varied("resistance.die-case", well + "\nuniform = { from = 9, to = 11 }"),
       "has two distributions, 'normal' and 'uniform'"},
      {varied("resistance.die-case", "normal = { mean = 10 }"), "'deviation' is missing"},
      {varied("resistance.die-case", "normal = { mean = 10, deviation = 0 }"),
       "'deviation' must be above 0"},
      {varied("resistance.die-case", "uniform = { from = 12, to = 9 }"),
       "'to' must be above 'from'"},
      {varied("resistance.die-case", "triangular = { from = 9, mode = 15, to = 12 }"),
       "'mode' must lie from 'from' to 'to'"},
      {varied("resistance.die-case", "list = { values = [9, 10], weights = [1] }"),
       "'weights' has 1 numbers, and 'values' has 2"},
      {varied("resistance.die-case", "list = { values = [9, 10], weights = [0, 0] }"),
       "none of the values has any weight"},
      {varied("resistance.die-case", "lognormal = { interval = [0, 2] }"),
       "the interval of a lognormal distribution must lie above 0"},
      {varied("resistance.die-case", well + "\ntruncated = [1, 2]\nas = \"valeu\""),
       "'valeu' is none of 'value', 'factor' and 'plus'"},
      {varied("resistance.die-case", "uniform = { from = 9, to = 11 }\ntruncated = [12, 13]"),
       "nothing of the distribution lies between the two"},
      {varied("resistance.die-case", well) + varied("resistance.*", well),
       "'resistance.die-case' varies twice"},
      {varied("resistance.die-case", well) +
           "[[correlation]]\nbetween = [\"resistance.die-case\", \"ambient\"]\nis = 0.5\n",
       "'ambient' does not vary"},
      {varied("resistance.die-case", well) + "[[correlation]]\nbetween = [\"resistance.die-case\", "
                                             "\"resistance.die-case\"]\nis = 0.5\n",
       "the two vary together already"},
      {"", "no [[vary]] and no [[fit]]: all units are alike"},
      {"[[fit]]\nfile = \"nowhere.json\"\n",
       "tolerances.toml:2:8: error: nowhere.json cannot be read"},
      {"[[fit]]\nfile = \"tolerances.toml\"\n", "is no fit.json of thermalctl fit"}};
  for (const auto& [text, told] : cases)
    EXPECT_NE(wrong(text).find(told), std::string::npos) << told << "\n" << wrong(text);
}

TEST_F(ToleranceFileTest, CorrelationsThatNoNumbersHaveAreToldWhereTheyContradict) {
  const std::string three = "[[vary]]\nof = [\"resistance.*\", \"node.die.joules_per_kelvin\"]\n"
                            "as = \"factor\"\nuniform = { from = 0.9, to = 1.1 }\n";
  const auto correlated = [](const std::string& one, const std::string& other, const char* is) {
    return "[[correlation]]\nbetween = [\"" + one + "\", \"" + other + "\"]\nis = " + is + "\n";
  };
  const std::string two = three +
                          correlated("resistance.die-case", "resistance.case-ambient", "0.6") +
                          correlated("resistance.die-case", "node.die.joules_per_kelvin", "0.6");
  EXPECT_EQ(wrong(two), "");
  const std::string told =
      wrong(two + correlated("resistance.case-ambient", "node.die.joules_per_kelvin", "-0.9"));
  // What contradicts only as long as a third is not there is none.
  EXPECT_EQ(wrong(three + correlated("resistance.die-case", "resistance.case-ambient", "0.9") +
                  correlated("resistance.die-case", "node.die.joules_per_kelvin", "0.9") +
                  correlated("resistance.case-ambient", "node.die.joules_per_kelvin", "0.9")),
            "");
  EXPECT_NE(told.find("tolerances.toml:13:6: error: no numbers have all the correlations"),
            std::string::npos)
      << told;
  EXPECT_NE(wrong(three + correlated("resistance.die-case", "resistance.case-ambient", "1"))
                .find("their matrix is not positive definite"),
            std::string::npos);
  EXPECT_NE(wrong(three + correlated("resistance.die-case", "resistance.case-ambient", "1.5"))
                .find("'is' must be a number from -1 to 1"),
            std::string::npos);
}

TEST_F(ToleranceFileTest, WhatCannotBeMayBeCutOff) {
  EXPECT_EQ(wrong(varied("resistance.die-case",
                         "normal = { mean = 1, deviation = 0.5 }\ntruncated = [0.1, 3]")),
            "");
  // So far out that no unit is ever drawn there.
  EXPECT_EQ(wrong(varied("resistance.die-case", "normal = { mean = 10, deviation = 1 }")), "");
}

TEST_F(ToleranceFileTest, WhatIsMissingOrTooMuchIsTold) {
  const std::string well = "normal = { mean = 10, deviation = 0.5 }";
  const std::string die = "[[vary]]\nof = [\"resistance.die-case\"]\n";
  const std::string two = die + well + "\n" +
                          varied("resistance.case-ambient", "as = \"factor\"\n"
                                                            "uniform = { from = 0.9, to = 1.1 }");
  const std::string pair = "between = [\"resistance.die-case\", \"resistance.case-ambient\"]\n";
  const struct {
    std::string text;
    const char* told;
  } cases[] = {
      {"[[vary]]\n" + well + "\n", "1:1: error: 'of' is missing"},
      {die + well + "\nname = \"glue\"\n", "4:8: error: 'name' is of numbers that vary together"},
      {die + "list = { values = [9, 10] }\ntruncated = [8, 11]\n",
       "4:13: error: a list cannot be truncated"},
      {die + well + "\ntruncated = [11, 9]\n",
       "4:13: error: 'truncated' must be the two ends beyond which there is nothing"},
      {die + well + "\ntruncated = [9, 10, 11]\n", "'truncated' must be the two ends"},
      {die + "list = { interval = [9, 11] }\n", "a list has no interval: give it 'values'"},
      {die + "normal = { interval = [11, 9] }\n",
       "'interval' must be the two ends between which 95 % of all units lie"},
      {die + "uniform = { interval = [9] }\n", "'interval' must be the two ends"},
      {die + "lognormal = { median = 0, deviation = 0.1 }\n",
       "the 'median' of a lognormal distribution must be above 0"},
      {die + "lognormal = { deviation = 0.1 }\n", "'median' is missing"},
      {die + "uniform = { from = 9 }\n", "'to' is missing"},
      {die + "triangular = { from = 9, to = 11 }\n", "'mode' is missing"},
      {die + "list = { weights = [1] }\n", "'values' is missing"},
      {die + "list = { values = [9], weights = [-1] }\n", "'weights' must be"},
      {die + "list = { values = [] }\n", "none of the values has any weight"},
      {die + "normal = { mean = 10, deviation = 0.5, median = 3 }\n", "'median' is no key"},
      {two + "[[correlation]]\nis = 0.5\n", "'between' is missing"},
      {two + "[[correlation]]\n" + pair, "'is' is missing"},
      {two + "[[correlation]]\nbetween = [\"resistance.die-case\"]\nis = 0.5\n",
       "'between' must name two numbers that vary"},
      {two + "[[correlation]]\n" + pair + "is = 0.5\n[[correlation]]\n" + pair + "is = 0.4\n",
       "the two have a correlation already"},
      {two + "[[correlation]]\n" + pair +
           "is = 0.5\n[[correlation]]\nbetween = [\"resistance.case-ambient\", "
           "\"resistance.die-case\"]\nis = 0.5\n",
       "the two have a correlation already"},
      {two + "[[correlation]]\nbetween = [\"resistance.die-case\", \"resistance.case-ambien\"]\n"
             "is = 0.5\n",
       "did you mean 'resistance.case-ambient'?"},
      {"[[fit]]\n", "1:1: error: 'file' is missing"},
      {two + "[[varry]]\nof = []\n", "'varry' is no key that is known here"},
      {varied("source.gpu.speed.1", "uniform = { from = 0, to = 1.01 }"),
       "'source.gpu.speed.1' may come to 1.01, and must lie from 0 to 1"},
      {varied("sensor.cpu.step", "list = { values = [0, 0.0005] }"),
       "'sensor.cpu.step' may come to 0.0005, and must lie from 0.001 to 1000 degrees"}};
  for (const auto& [text, told] : cases) {
    const std::string shown = wrong(text);
    EXPECT_NE(shown.find(told), std::string::npos) << told << "\n" << shown;
  }
}

TEST_F(ToleranceFileTest, WhatIsAtItsVeryBoundIsWithinIt) {
  for (const char* how : {"uniform = { from = 0, to = 1 }", "list = { values = [0, 1] }"})
    EXPECT_EQ(wrong(varied("source.gpu.speed.1", how)), "");
  // A reading in steps of nothing is one that has none.
  EXPECT_EQ(wrong(varied("sensor.cpu.step", "list = { values = [0, 0.001, 1000] }")), "");
}

TEST_F(ToleranceFileTest, AFileThatIsNotThereIsTold) {
  EXPECT_TRUE(
      readTolerances(folder.node("nowhere.toml"), runs, "plant.toml", problems).files.empty());
  EXPECT_NE(problemText(problems, folder).find("nowhere.toml: error: cannot be read: "),
            std::string::npos);
}

TEST_F(ToleranceFileTest, BoundsOfASearchAreEnough) {
  EXPECT_EQ(wrong("[search]\nsteps = 3\n"), "");
}

TEST_F(ToleranceFileTest, TheFilesThatItTookAreThoseOfItsFitsToo) {
  runs = files.read();
  folder.write("fit.json", kFit);
  const std::string path = folder.write("tolerances.toml", "[[fit]]\nfile = \"fit.json\"\n");
  EXPECT_EQ(readTolerances(path, runs, files.path("plant.toml"), withPlant()).files,
            (std::vector<std::string>{path, folder.node("fit.json")}));
}

TEST_F(ToleranceFileTest, ANumberThatAPatternAndItsNameMeanVariesOnce) {
  const Population population =
      read("[[vary]]\nof = [\"resistance.case-ambient\", \"resistance.*\"]\nas = \"factor\"\n"
           "uniform = { from = 0.9, to = 1.1 }\nreason = \"glue\"\n");
  EXPECT_TRUE(problems.none());
  ASSERT_EQ(population.spreads.size(), 2U);
  EXPECT_EQ(population.spreads[0].name, "resistance.case-ambient");
  EXPECT_EQ(population.spreads[1].name, "resistance.die-case");
  EXPECT_EQ(population.spreads[1].reason, "glue");
  EXPECT_EQ(population.spreads[1].as, Drawn::As::kFactor);
}

TEST_F(ToleranceFileTest, AGroupWithoutANameIsCalledByItsFirstNumber) {
  const std::string both = "[[vary]]\nof = [\"resistance.*\"]\nas = \"factor\"\ntogether = true\n"
                           "uniform = { from = 0.9, to = 1.1 }\n";
  EXPECT_EQ(read(both).spreads[0].name, "resistance.die-case and 1 more");
  // A correlation may call it so, or by any of its numbers.
  for (const char* name : {"resistance.case-ambient", "resistance.die-case and 1 more"}) {
    const Population population =
        read(both + varied("sensor.cpu.offset", "normal = { mean = 0, deviation = 0.5 }") +
             "[[correlation]]\nbetween = [\"" + name + "\", \"sensor.cpu.offset\"]\nis = 0.6\n");
    EXPECT_TRUE(problems.none()) << problemText(problems, folder);
    EXPECT_NEAR(correlated({1, 0}, population.factor).at(1), 0.6, 1e-12);
  }
}

TEST_F(ToleranceFileTest, EachDistributionMayBeGivenByItsInterval) {
  for (const char* kind : {"normal", "lognormal", "uniform", "triangular"}) {
    const Population population =
        read(varied("resistance.die-case", std::string(kind) + " = { interval = [9, 11] }"));
    ASSERT_TRUE(problems.none()) << problemText(problems, folder);
    const Distribution& distribution = population.spreads[0].distribution;
    EXPECT_NEAR(distribution.at(-1.959964), 9, 1e-5) << kind;
    EXPECT_NEAR(distribution.at(1.959964), 11, 1e-5) << kind;
  }
}

TEST_F(ToleranceFileTest, WeightsSayHowOftenAValueOfAListIsThere) {
  const Population population =
      read(varied("resistance.die-case", "list = { values = [12, 8, 10], weights = [1, 2, 0] }"));
  const Distribution& distribution = population.spreads[0].distribution;
  EXPECT_EQ(distribution.steps(), (std::vector<double>{2 / 3.0, 1}));
  EXPECT_EQ(distribution.at(0.43), 8);
  EXPECT_EQ(distribution.at(0.44), 12); // two thirds of all lie below 0.4307
}

TEST_F(ToleranceFileTest, AFitMayNotVaryWhatVariesAlreadyNorWhatIsNotThere) {
  const std::string fit = "[[fit]]\nfile = \"fit.json\"\n";
  EXPECT_NE(wrong(varied("resistance.die-case", "list = { values = [9] }") + fit, kFit)
                .find("5:8: error: 'resistance.die-case' varies twice"),
            std::string::npos);
  const std::string other =
      R"({"quantities": [{"name": "node.lid.celsius", "interval": [8, 12.5]}],
          "correlations": [[1]]})";
  EXPECT_NE(wrong(fit, other).find("2:8: error: 'node.lid.celsius' is no number"),
            std::string::npos);
  const std::string hot =
      R"({"quantities": [{"name": "resistance.die-case", "interval": [-8, 12.5]}],
          "correlations": [[1]]})";
  EXPECT_NE(wrong(fit, hot).find("'resistance.die-case' may come to -"), std::string::npos);
}

} // namespace
