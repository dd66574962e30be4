#include "fit/Course.h"

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

using Kind = RecordedChange::Kind;

// A single node, whose temperatures have a closed form: 10 J/K times 2 K/W are 20 s.
constexpr char kOneNode[] = "ambient = 20\n"
                            "[node.n]\n"
                            "joules_per_kelvin = 10\n"
                            "[[resistance]]\n"
                            "between = [\"n\", \"ambient\"]\n"
                            "kelvin_per_watt = 2\n"
                            "[source.s]\n"
                            "node = \"n\"\n"
                            "watts = 3\n"
                            "idle_watts = 1\n"
                            "[sensor.chip_t]\n"
                            "node = \"n\"\n"
                            "[sensor.case_t]\n"
                            "node = \"n\"\n"
                            "offset = 0.25\n"
                            "lag = 7\n";
constexpr double kTau = 20;
constexpr double kLag = 7;

class CourseTest : public testing::Test {
protected:
  CourseTest() : plant(fit_examples::plantOf(kOneNode)) {
    file.name = "one.csv";
    for (uint32_t i = 0; i < 100; ++i) {
      file.readings.push_back({0, 0});
      file.readings.push_back({1, 0});
      file.rows.push_back({0.7 * i, 2 * i, 2 * i + 2, 0});
    }
    file.last = 70;
  }

  // Both sensors have `expected` at each time in seconds, from 20 degrees on.
  void expectChip(const std::function<double(double)>& expected) { expect(0, expected); }
  void expectLagged(const std::function<double(double)>& expected) { expect(1, expected); }

  const PlantDescription plant;
  RecordedFile file;

private:
  void expect(size_t output, const std::function<double(double)>& expected) {
    const std::vector<Recorded> recordings = {{"one", {file}}};
    const std::vector<Quantity> none;
    const Misfit misfit(plant, none, recordings, {{0, {{0, file.rows.size()}}}});
    const Eigen::VectorXd starts = Eigen::VectorXd::Constant(2, 20);
    misfit.eachResidual(starts, [&](const Residual& residual) {
      if (residual.reading.output != output) return;
      EXPECT_NEAR(residual.fitted, expected(residual.row->time), 1e-5)
          << "at " << residual.row->time << " s";
    });
  }
};

TEST_F(CourseTest, WarmsByAllThatASourceGivesOff) {
  file.changes = {{0, Kind::kLoad, 0, 0.5}};
  // 1 W idle and half of 3 W.
  expectChip([](double t) { return 20 + 2 * 2.5 * (1 - std::exp(-t / kTau)); });
}

TEST_F(CourseTest, MeasuredWattsAreAllThatASourceGivesOff) {
  file.changes = {{0, Kind::kLoad, 0, 1}, {0, Kind::kWatts, 0, 2}};
  expectChip([](double t) { return 20 + 2 * 2 * (1 - std::exp(-t / kTau)); });
}

TEST_F(CourseTest, ASensorWithALagFollowsItsNode) {
  file.changes = {{0, Kind::kWatts, 0, 2}};
  expectLagged([](double t) {
    const double left = (kTau * std::exp(-t / kTau) - kLag * std::exp(-t / kLag)) / (kTau - kLag);
    return 20.25 + 4 * (1 - left);
  });
}

TEST_F(CourseTest, AnotherAmbientLeavesTheTemperatureAndMovesWhereItGoes) {
  file.changes = {{0, Kind::kWatts, 0, 0}, {0, Kind::kAmbient, 0, 20}, {14, Kind::kAmbient, 0, 30}};
  expectChip([](double t) { return t < 14 ? 20 : 30 - 10 * std::exp(-(t - 14) / kTau); });
}

TEST_F(CourseTest, WhatIsToldFirstHeldBefore) {
  file.changes = {{35, Kind::kWatts, 0, 2}};
  expectChip([](double t) { return 20 + 2 * 2 * (1 - std::exp(-t / kTau)); });
}

TEST_F(CourseTest, ALoadHoldsUntilTheNext) {
  file.changes = {{-5, Kind::kWatts, 0, 2}, {14, Kind::kWatts, 0, 0}};
  expectChip([](double t) {
    const double warmed = 4 * (1 - std::exp(-14 / kTau));
    return t < 14 ? 20 + 4 * (1 - std::exp(-t / kTau)) : 20 + warmed * std::exp(-(t - 14) / kTau);
  });
}

} // namespace
