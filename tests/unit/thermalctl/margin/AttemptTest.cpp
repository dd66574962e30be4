#include "margin/Attempt.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/margin/SearchBoard.h"
#include "thermalctl/support/Edit.h"

namespace {

using Point = std::vector<double>;
using Unit = std::vector<std::optional<double>>;

// Of the two sources the one does work, and the other one's name must be quoted.
class AttemptTest : public testing::Test, protected SearchBoard {
protected:
  AttemptTest() {
    edit(files.plant, "watts = 2", "watts = 2\nwork = true");
    edit(files.plant, "source.b", "source.\"b c\"");
    files.workload = "time,ambient,a,b c\n0,26,0.1,0.1\n";
  }

  SearchSpace space(const std::string& tolerances, const std::vector<std::string>& budgets = {}) {
    return spaceOf(tolerances, budgets);
  }

  // One step of all that two sources can do.
  static Attempt fullLoad(int64_t duration) {
    Attempt attempt;
    attempt.steps = {{0, {}, {1, 1}}};
    attempt.duration = duration;
    return attempt;
  }

  static std::string vary(const std::string& name, const std::string& how) {
    return "[[vary]]\nof = [\"" + name + "\"]\n" + how + "\n";
  }
};

constexpr char kNoWords[] = "scenarios = []\n";

TEST_F(AttemptTest, APointHasTheUnitThenTheTimesThenEachStep) {
  const SearchSpace searched =
      space(vary("resistance.die-ambient", "uniform = { from = 5, to = 15 }") +
            "[search]\nsteps = 2\nambient = [20, 30]\nfaults = { cpu = [\"stuck\"] }\n"
            "load = { a = [0, 1], \"b c\" = 0.5 }\n" +
            kNoWords);
  // The number, the first step's time, and of either step a load, the ambient and a fault.
  ASSERT_EQ(searched.dimensions(), 8U);
  EXPECT_EQ(searched.choicesOf(), (std::vector<size_t>{0, 0, 0, 0, 2, 0, 0, 2}));
  EXPECT_EQ(searched.areLoads(),
            (std::vector<bool>{false, false, true, false, false, true, false, false}));
  const Attempt attempt = searched.at({0.5, 0, 0.25, 1, 0, 0.75, 0, 0.9});
  EXPECT_EQ(attempt.duration, 60'000);
  ASSERT_EQ(attempt.steps.size(), 2U);
  EXPECT_EQ(attempt.steps[0], (Attempt::Step{0, 30, {0.25, 0.5}, "", "", std::nullopt}));
  EXPECT_EQ(attempt.steps[1],
            (Attempt::Step{1000, 20, {0.75, 0.5}, "", "", SearchBounds::Fault{0, "stuck"}}));
  ASSERT_EQ(attempt.unit.size(), 1U);
  EXPECT_EQ(attempt.unit[0], 10);
}

TEST_F(AttemptTest, AUnitsNumberGoesFromOneEndOfItsDeviationsToTheOther) {
  const SearchSpace searched =
      space(vary("resistance.die-ambient", "normal = { mean = 10, deviation = 0.5 }") +
            "[search]\nsteps = 1\ndeviations = 2\nload = { a = 1, \"b c\" = 1 }\n" + kNoWords);
  ASSERT_EQ(searched.dimensions(), 1U);
  EXPECT_EQ(searched.at({0}).unit, Unit{9});
  EXPECT_EQ(searched.at({0.25}).unit, Unit{9.5});
  EXPECT_EQ(searched.at({1}).unit, Unit{11});
  // As few digits as can be written down.
  EXPECT_EQ(searched.at({1 / 3.0}).unit, Unit{9.667});
}

TEST_F(AttemptTest, ANumbersDigitsDoNotLeadBeyondItsEnds) {
  const SearchSpace searched =
      space(vary("resistance.die-ambient", "uniform = { from = 9.99996, to = 10.00004 }") +
            "[search]\nsteps = 1\nload = { a = 1, \"b c\" = 1 }\n" + kNoWords);
  for (const double coordinate : {0.0, 0.1, 0.9, 1.0}) {
    const double number = searched.at({coordinate}).unit[0].value();
    EXPECT_GE(number, 9.99996);
    EXPECT_LE(number, 10.00004);
    EXPECT_TRUE(searched.holds(searched.at({coordinate})));
  }
}

TEST_F(AttemptTest, CorrelatedNumbersMoveTogether) {
  const SearchSpace searched = space(
      vary("resistance.die-ambient", "normal = { mean = 10, deviation = 1 }\ntruncated = [1, 20]") +
      vary("source.a.watts", "normal = { mean = 2, deviation = 0.1 }\ntruncated = [1, 3]") +
      "[[correlation]]\nbetween = [\"resistance.die-ambient\", \"source.a.watts\"]\nis = 0.6\n"
      "[search]\nsteps = 1\ndeviations = 3\nload = { a = 1, \"b c\" = 1 }\n" +
      kNoWords);
  // Three deviations, and of the other one 0.6 of these and 0.8 of none.
  EXPECT_NEAR(searched.at({1, 0.5}).unit[0].value(), 13, 1e-2);
  EXPECT_NEAR(searched.at({1, 0.5}).unit[1].value(), 2.18, 1e-3);
  // No further out than the bounds, although both point there.
  EXPECT_NEAR(searched.at({1, 1}).unit[1].value(), 2.3, 1e-3);
}

TEST_F(AttemptTest, LoadsAndTheAirAreTakenWithFewDigits) {
  const SearchSpace searched = space("[search]\nsteps = 1\nambient = [20, 20.25]\n"
                                     "load = { a = [0.001, 0.999], \"b c\" = 0 }\n" +
                                     std::string(kNoWords));
  const auto stepAt = [&](double load, double air) { return searched.at({load, air}).steps[0]; };
  EXPECT_EQ(stepAt(0.5, 0.5).loads[0], 0.5);
  EXPECT_EQ(stepAt(0.3333, 0.5).loads[0], 0.33);
  EXPECT_EQ(stepAt(0, 0).loads[0], 0.001);
  EXPECT_EQ(stepAt(1, 0).loads[0], 0.999);
  EXPECT_EQ(stepAt(0, 0.5).ambient, 20.1);
  EXPECT_EQ(stepAt(0, 1).ambient, 20.25);
}

TEST_F(AttemptTest, EachStepLastsAsLongAsItsCoordinateSays) {
  const SearchSpace searched = space("[search]\nsteps = 4\nlasts = [\"10s\", \"30s\"]\n"
                                     "load = { a = 1, \"b c\" = 1 }\n" +
                                     std::string(kNoWords));
  const auto times = [&](const Point& point) {
    std::vector<int64_t> all;
    for (const Attempt::Step& step : searched.at(point).steps)
      all.push_back(step.time);
    return all;
  };
  using Times = std::vector<int64_t>;
  EXPECT_EQ(times({0, 0.5, 0}), (Times{0, 10'000, 30'000, 40'000}));
  EXPECT_EQ(times({0.00101, 0, 0}), (Times{0, 10'000, 20'000, 30'000}));
  EXPECT_EQ(times({0.00301, 0, 0}), (Times{0, 10'100, 20'100, 30'100}));
  // What would begin at the end or behind it is not there.
  EXPECT_EQ(times({1, 1, 0}), (Times{0, 30'000}));
  EXPECT_EQ(times({1, 0.9, 0}), (Times{0, 30'000, 58'000}));
}

TEST_F(AttemptTest, EveryChoiceHasAnEvenShareAndNothingIsOneOfThem) {
  const SearchSpace searched = space("[search]\nsteps = 1\nload = { a = 1, \"b c\" = 1 }\n"
                                     "faults = { cpu = [\"stuck\", 90] }\n" +
                                     std::string(kNoWords));
  const auto faultAt = [&](double coordinate) {
    const auto fault = searched.at({coordinate}).steps[0].fault;
    return fault ? fault->word : "nothing";
  };
  EXPECT_EQ(searched.choicesOf(), std::vector<size_t>{3});
  EXPECT_EQ(faultAt(0), "nothing");
  EXPECT_EQ(faultAt(0.33), "nothing");
  EXPECT_EQ(faultAt(0.34), "stuck");
  EXPECT_EQ(faultAt(0.66), "stuck");
  EXPECT_EQ(faultAt(0.67), "90");
  EXPECT_EQ(faultAt(1), "90");
}

TEST_F(AttemptTest, WhatLiesBeyondABoundIsNotHeld) {
  const SearchSpace searched =
      space(vary("resistance.die-ambient", "uniform = { from = 9, to = 11 }") +
            "[search]\nsteps = 3\nlasts = [\"10s\", \"30s\"]\nambient = [20, 30]\n"
            "load = { a = [0.25, 0.75], \"b c\" = [0, 1] }\n" +
            kNoWords);
  Attempt good;
  good.unit = {10};
  good.duration = 60'000;
  good.steps = {{0, 20, {0.25, 0}}, {10'000, 30, {0.75, 1}}, {40'000, 25, {0.5, 0.5}}};
  ASSERT_TRUE(searched.holds(good));
  const auto holdsAfter = [&](const std::function<void(Attempt&)>& edit) {
    Attempt edited = good;
    edit(edited);
    return searched.holds(edited);
  };
  EXPECT_TRUE(holdsAfter([](Attempt& of) { of.unit[0].reset(); }));
  EXPECT_FALSE(holdsAfter([](Attempt& of) { of.unit[0] = 11.01; }));
  EXPECT_FALSE(holdsAfter([](Attempt& of) { of.unit[0] = 8.99; }));
  EXPECT_TRUE(holdsAfter([](Attempt& of) { of.steps[1].ambient.reset(); }));
  EXPECT_FALSE(holdsAfter([](Attempt& of) { of.steps[1].ambient = 30.1; }));
  EXPECT_FALSE(holdsAfter([](Attempt& of) { of.steps[0].ambient = 19.9; }));
  EXPECT_FALSE(holdsAfter([](Attempt& of) { of.steps[2].loads[0] = 0.76; }));
  EXPECT_FALSE(holdsAfter([](Attempt& of) { of.steps[0].loads[1] = -0.01; }));
  EXPECT_FALSE(holdsAfter([](Attempt& of) { of.steps[1].time = 9'999; }));
  EXPECT_FALSE(holdsAfter([](Attempt& of) { of.steps[2].time = 40'001; }));
  EXPECT_TRUE(holdsAfter([](Attempt& of) { of.duration = 40'001; }));
  EXPECT_FALSE(holdsAfter([](Attempt& of) { of.duration = 40'000; }));
  EXPECT_FALSE(holdsAfter([](Attempt& of) { of.duration = 60'001; }));
}

TEST_F(AttemptTest, OnlyWhatChangesIsWrittenAgain) {
  const SearchSpace searched = space("[search]\nambient = [20, 30]\n");
  Attempt attempt;
  attempt.duration = 60'000;
  attempt.steps = {{0, 25, {1, 0.5}},
                   {10'000, 25, {1, 0.5}},
                   {20'000, 30, {1, 0.25}},
                   {30'000, 30, {1, 0.25}, "a \"b\"", "second.conf"}};
  EXPECT_EQ(searched.workloadOf(attempt),
            "[[at]]\ntime = 0\nambient = 25\nload = { a = 1, \"b c\" = 0.5 }\n"
            "\n[[at]]\ntime = 20\nambient = 30\nload = { \"b c\" = 0.25 }\n"
            "\n[[at]]\ntime = 30\nscenario = \"a \\\"b\\\"\"\nconfiguration = \"second.conf\"\n");
}

TEST_F(AttemptTest, WithoutBoundsTheAirIsThatOfTheWorkloadsStart) {
  const SearchSpace searched = space("[search]\n");
  EXPECT_EQ(searched.workloadOf(fullLoad(60'000)),
            "[[at]]\ntime = 0\nambient = 26\nload = { a = 1, \"b c\" = 1 }\n");
  files.workload = "time,a,b c\n0,0.1,0.1\n";
  EXPECT_EQ(space("[search]\n").workloadOf(fullLoad(60'000)),
            "[[at]]\ntime = 0\nload = { a = 1, \"b c\" = 1 }\n");
}

TEST_F(AttemptTest, AUnitIsWrittenAsTolerancesThatHaveItAlone) {
  const std::string both = "[[vary]]\nof = [\"source.*.watts\"]\nas = \"plus\"\ntogether = true\n"
                           "name = \"powers\"\nuniform = { from = -0.1, to = 0.1 }\n";
  const SearchSpace searched =
      space(both + vary("resistance.die-ambient", "uniform = { from = 9, to = 11 }") +
            vary("ambient", "as = \"plus\"\nuniform = { from = -1, to = 1 }") + "[search]\n");
  Attempt attempt = fullLoad(60'000);
  attempt.unit = {0.05, 10.5, std::nullopt};
  EXPECT_EQ(searched.tolerancesOf(attempt),
            "[[vary]]\nof = [\"source.a.watts\", \"source.b c.watts\"]\ntogether = true\n"
            "name = \"powers\"\nas = \"plus\"\nlist = { values = [0.05] }\n"
            "\n[[vary]]\nof = [\"resistance.die-ambient\"]\nas = \"value\"\n"
            "list = { values = [10.5] }\n");
  attempt.unit = {std::nullopt, std::nullopt, std::nullopt};
  EXPECT_EQ(searched.tolerancesOf(attempt), "");
}

TEST_F(AttemptTest, TheOutcomeIsThatOfTheUnitUnderTheWorkload) {
  const SearchSpace searched =
      space(vary("resistance.die-ambient", "uniform = { from = 5, to = 15 }") + "[search]\n",
            {"node:die=76C", "node:die=75C", "work:a=99%"});
  Attempt attempt = fullLoad(20'000);
  attempt.unit = {std::nullopt};
  AttemptOutcome outcome = searched.outcomeOf(attempt);
  // 26 degrees, and ten times 5 watts.
  EXPECT_EQ(outcome.measured, (std::vector<int32_t>{76'000, 76'000, 100'000'000}));
  EXPECT_EQ(outcome.broken, (std::vector<bool>{false, true, false}));
  ASSERT_EQ(outcome.scores.size(), 3U);
  EXPECT_NEAR(outcome.scores[0], 0, 1e-9);
  EXPECT_NEAR(outcome.scores[1], 1, 1e-9);
  EXPECT_NEAR(outcome.scores[2], -1, 1e-9);
  EXPECT_FALSE(outcome.stoodStill);
  EXPECT_FALSE(outcome.unjudged);
  attempt.unit = {12};
  outcome = searched.outcomeOf(attempt);
  EXPECT_NEAR(outcome.scores[0], 10, 1e-3);
  EXPECT_TRUE(outcome.broken[0]);
}

TEST_F(AttemptTest, ATimeAboveIsScoredByItsShareAndBeforeItBeginsByThePeak) {
  const SearchSpace searched =
      space("[search]\n", {"node:die=75C:10s", "node:die=80C:10s", "node:die=75C:500ms"});
  const AttemptOutcome outcome = searched.outcomeOf(fullLoad(20'000));
  // Twenty seconds above, of which ten are allowed; never above; and more than half a second, which
  // counts as one.
  EXPECT_NEAR(outcome.scores[0], 1, 0.02);
  EXPECT_NEAR(outcome.scores[1], 76 - 80 - 1, 1e-9);
  EXPECT_NEAR(outcome.scores[2], 19.5, 0.2);
  EXPECT_EQ(outcome.broken, (std::vector<bool>{true, false, true}));
}

TEST_F(AttemptTest, ASourceThatNobodyAsksAnythingOfIsFarFromLeavingItUndone) {
  const SearchSpace searched = space("[search]\n", {"work:a=99%"});
  Attempt idle = fullLoad(20'000);
  idle.steps[0].loads = {0, 1};
  const AttemptOutcome outcome = searched.outcomeOf(idle);
  EXPECT_FALSE(outcome.unjudged);
  EXPECT_FALSE(outcome.broken[0]);
  EXPECT_EQ(outcome.measured[0], kUnseen);
  EXPECT_LT(outcome.scores[0], -1e6);
}

TEST_F(AttemptTest, WhatIsSearchedIsToldInLines) {
  const std::string varied =
      vary("resistance.die-ambient", "uniform = { from = 5, to = 15 }") +
      vary("source.a.watts", "uniform = { from = 1, to = 3 }") +
      vary("workload.load.a", "as = \"factor\"\nuniform = { from = 0.5, to = 1 }");
  EXPECT_EQ(space(varied +
                  "[search]\ndeviations = 2.5\nlasts = [\"500ms\", \"1m\"]\nsteps = 5\n"
                  "ambient = [-5, 35.5]\nfaults = { cpu = [\"stuck\", 90] }\n"
                  "load = { a = [0.2, 0.8] }\n" +
                  kNoWords)
                .described(),
            "  unit            2 numbers within 2.5 deviations\n"
            "  steps           1 to 5, each of 0.5 to 60 s\n"
            "  loads           a 0.2 to 0.8, b c 0 to 1\n"
            "  ambient         -5 to 35.5 C\n"
            "  scenarios       none\n"
            "  configurations  none\n"
            "  faults          cpu stuck, cpu 90\n");
  const std::string nominal = space("[search]\n" + std::string(kNoWords)).described();
  EXPECT_EQ(nominal.find("  unit            the nominal one\n"), 0U) << nominal;
  EXPECT_NE(nominal.find("  ambient         26 C\n"), std::string::npos) << nominal;
  EXPECT_NE(space(varied + "[search]\ndeviations = 0\n").described().find("the nominal one"),
            std::string::npos);
}

TEST_F(AttemptTest, WhereTheDaemonStandsStillNothingIsJudged) {
  // Another scenario waits for a sensor worker that sleeps.
  files.environment += "\n[skin]\ntype virtual\nsampling 500\ntrip_sensor cpu\nset_point 400000\n"
                       "set_point_clr 300000\nsensors cpu\nweights 2\n";
  files.configuration =
      "SCEN Default\n" + files.configuration + "\nSCEN game\n" + files.configuration;
  const SearchSpace searched = space("[search]\n", {"node:die=80C", "node:die=50C"});
  Attempt attempt = fullLoad(20'000);
  attempt.steps[0].scenario = "game";
  const AttemptOutcome outcome = searched.outcomeOf(attempt);
  EXPECT_TRUE(outcome.stoodStill);
  EXPECT_TRUE(outcome.unjudged);
  // What was seen to be broken is that.
  EXPECT_EQ(outcome.broken, (std::vector<bool>{false, true}));
}

} // namespace
