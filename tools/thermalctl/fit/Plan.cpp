#include "fit/Plan.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>

#include <fmt/format.h>

#include "fit/Indices.h"
#include "simulate/Random.h"
#include "text/Phrases.h"

// What a plan would tell is known before any reading: how far the temperatures move with each
// quantity does not depend on what is read. So plans are compared by the intervals that they would
// leave: some at random first, of low, middle and full loads, and then changes of one load of one
// step in the best, kept where they help. Plans that would make a node hotter than it was seen are
// none.

namespace {

using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::VectorXd;
using Loads = std::vector<std::vector<double>>;

constexpr int kRandomPlans = 12;
constexpr int kChanges = 120;
// Seconds between two readings: enough to judge a plan by.
constexpr int kReadEach = 5;
// What a node may be hotter than it was ever seen, in degrees.
constexpr double kWarmer = 1;

class Planner {
public:
  Planner(const Misfit& misfit_, const Estimation& estimation_)
      : misfit(misfit_), plant(misfit.plant),
        known(informationOfQuantities(misfit, estimation_.fit.information,
                                      std::vector<bool>(misfit.quantities.size(), false))) {
    for (const Agreeing& one : estimation_.agreement)
      outputs.insert(one.output);
    values = estimation_.fit.values.head(indexOf(misfit.quantities.size()));
    // The weak word of the bounds, so that what nothing tells has an interval, too.
    // As if they were two standard deviations to either side of the middle: (range / 4)^2 is the
    // variance.
    for (size_t i = 0; i < misfit.quantities.size(); ++i) {
      const Quantity& quantity = misfit.quantities[i];
      const double range = quantity.byLogarithm() ? std::log(quantity.most / quantity.least)
                                                  : quantity.most - quantity.least;
      known(indexOf(i), indexOf(i)) += 16 / (range * range);
    }
    findHottest(estimation_);
  }

  Plan plan(const Going& going) {
    Plan best;
    double least = std::numeric_limits<double>::max();
    Random random(1);
    const auto consider = [&](const Loads& loads) {
      const double cost = costOf(loads);
      if (cost >= least) return;
      least = cost;
      best.loads = loads;
    };
    consider(rest());
    for (int i = 0; i < kRandomPlans && going("planning", least); ++i) {
      Loads loads = rest();
      for (auto& step : loads)
        for (double& load : step)
          load = someLoad(random) * (i % 3 + 1) / 3.0;
      consider(loads);
    }
    for (int i = 0; i < kChanges && !plant.sources.empty() && going("planning", least); ++i) {
      Loads loads = best.loads;
      loads[random.next() % loads.size()][random.next() % plant.sources.size()] = someLoad(random);
      consider(loads);
    }
    best.before = halfIntervals(known);
    best.after = halfIntervals(known + informationOf(best.loads));
    best.hottest = hottestOf(best.loads).maxCoeff();
    return best;
  }

private:
  Loads rest() const { return Loads(Plan::kSteps, std::vector<double>(plant.sources.size(), 0)); }

  static double someLoad(Random& random) { return static_cast<double>(random.next() % 3) / 2; }

  // What would be recorded: the outputs that were read before, or the nodes.
  std::vector<Recorded> recordingOf(const Loads& loads, bool nodes) const {
    RecordedFile file;
    file.name = "plan";
    file.last = Plan::kSteps * Plan::kStepSeconds;
    for (size_t step = 0; step < loads.size(); ++step)
      for (size_t source = 0; source < loads[step].size(); ++source)
        file.changes.push_back({static_cast<double>(step) * Plan::kStepSeconds,
                                RecordedChange::Kind::kLoad, static_cast<uint32_t>(source),
                                loads[step][source]});
    for (int time = 0; time < Plan::kSteps * Plan::kStepSeconds; time += kReadEach) {
      const auto first = static_cast<uint32_t>(file.readings.size());
      for (size_t output = 0; output < misfit.outputs(); ++output)
        if (nodes ? output >= plant.probes.size() : outputs.count(output) > 0)
          file.readings.push_back({static_cast<uint32_t>(output), 0});
      file.rows.push_back(
          {static_cast<double>(time), first, static_cast<uint32_t>(file.readings.size()), 0});
    }
    return {{"plan", {std::move(file)}}};
  }

  // It begins as a device that has rested.
  VectorXd valuesFor(const Misfit& planned) const {
    VectorXd all = VectorXd::Constant(indexOf(planned.unknowns.count), plant.ambient + 2);
    all.head(values.size()) = values;
    return all;
  }

  MatrixXd informationOf(const Loads& loads) const {
    std::vector<Recorded> recordings = recordingOf(loads, false);
    Misfit planned(plant, misfit.quantities, recordings, stretchesOf(recordings[0], 0, {0}));
    for (const Likelihood& likelihood : misfit.likelihoods)
      // Rounding costs about as much as noise of its size.
      // A value anywhere within a step has the variance step^2 / 12.
      planned.likelihoods.push_back(
          {std::hypot(likelihood.noise, likelihood.step / std::sqrt(12.0)), 0});
    const VectorXd at = valuesFor(planned);
    std::vector<double> fitted;
    planned.eachResidual(at, [&](const Residual& each) { fitted.push_back(each.fitted); });
    for (size_t i = 0; i < fitted.size(); ++i)
      // What is read is what is expected: no residual, and the information alone is left.
      recordings[0].files[0].readings[i].celsius = fitted[i];
    // A reading counts for as many as lie between two of them.
    const double each = static_cast<double>(kReadEach);
    return each * informationOfQuantities(planned, planned.evidence(at).information,
                                          std::vector<bool>(misfit.quantities.size(), false));
  }

  VectorXd hottestOf(const Loads& loads) const {
    const std::vector<Recorded> recordings = recordingOf(loads, true);
    const Misfit planned(plant, misfit.quantities, recordings, stretchesOf(recordings[0], 0, {0}));
    VectorXd most = VectorXd::Constant(indexOf(plant.nodes.size()), -300);
    planned.eachResidual(valuesFor(planned), [&](const Residual& each) {
      double& own = most[indexOf(each.reading.output - plant.probes.size())];
      own = std::max(own, each.fitted);
    });
    return most;
  }

  // Of each node in the recordings, as the fit has it.
  void findHottest(const Estimation& estimation) {
    std::vector<Recorded> recordings = misfit.recordings;
    for (Recorded& recorded : recordings)
      for (RecordedFile& file : recorded.files) {
        file.readings.clear();
        for (ReadingRow& row : file.rows) {
          row.first = static_cast<uint32_t>(file.readings.size());
          for (size_t node = 0; node < plant.nodes.size(); ++node)
            file.readings.push_back({static_cast<uint32_t>(plant.probes.size() + node), 0});
          row.end = static_cast<uint32_t>(file.readings.size());
        }
      }
    const Misfit all(plant, misfit.quantities, recordings, misfit.stretches);
    allowed = VectorXd::Constant(indexOf(plant.nodes.size()), -300);
    all.eachResidual(estimation.fit.values, [&](const Residual& each) {
      double& own = allowed[indexOf(each.reading.output - plant.probes.size())];
      own = std::max(own, each.fitted + kWarmer);
    });
    // At rest a device may be as warm as it then is, though the room is warmer than it was.
    allowed = allowed.cwiseMax(hottestOf(rest()));
  }

  std::vector<double> halfIntervals(const MatrixXd& information) const {
    const MatrixXd covariance =
        covarianceOf(information, std::vector<bool>(misfit.quantities.size(), false));
    std::vector<double> half;
    for (Index i = 0; i < covariance.rows(); ++i)
      half.push_back(kInterval * std::sqrt(std::max(0.0, covariance(i, i))));
    return half;
  }

  // The sum of the intervals, of which the widest weigh most.
  double costOf(const Loads& loads) const {
    if (((hottestOf(loads) - allowed).array() > 0).any()) return std::numeric_limits<double>::max();
    double sum = 0;
    for (const double half : halfIntervals(known + informationOf(loads)))
      sum += half;
    return sum;
  }

  const Misfit& misfit;
  const PlantDescription& plant;
  MatrixXd known;
  VectorXd values;
  VectorXd allowed; // of each node
  std::set<size_t> outputs;
};

} // namespace

Plan planFor(const Misfit& misfit, const Estimation& estimation, const Going& going) {
  return Planner(misfit, estimation).plan(going);
}

std::string workloadOf(const Plan& plan, const Misfit& misfit) {
  std::string text = "# The next experiment, by thermalctl fit --plan.\ntime";
  for (const PlantDescription::Source& source : misfit.plant.sources)
    text += "," + source.name;
  for (size_t step = 0; step < plan.loads.size(); ++step) {
    text += fmt::format("\n{}s", step * Plan::kStepSeconds);
    for (const double load : plan.loads[step])
      text += fmt::format(",{:.2g}", load);
  }
  return text + "\n";
}

std::string stepsOf(const Plan& plan, const Misfit& misfit) {
  std::string text = fmt::format("The next experiment, half an hour from a device at rest. Nothing "
                                 "is expected above {:.0f} C; "
                                 "end it if anything is.\n\n",
                                 plan.hottest);
  for (size_t step = 0; step < plan.loads.size(); ++step) {
    text += clockTime(static_cast<int64_t>(step) * Plan::kStepSeconds);
    for (size_t source = 0; source < plan.loads[step].size(); ++source) {
      const double load = plan.loads[step][source];
      if (step > 0 && plan.loads[step - 1][source] == load) continue;
      text += fmt::format("  {} {:.0f} %", misfit.plant.sources[source].name, 100 * load);
    }
    text += "\n";
  }
  text += "\nWhat it is expected to make of the intervals:\n";
  for (size_t i = 0; i < misfit.quantities.size(); ++i) {
    const bool log = misfit.quantities[i].byLogarithm();
    const auto shown = [log](double half) {
      return log ? fmt::format("{:.2g} %", 100 * std::expm1(std::min(half, 5.0)))
                 : fmt::format("{:.2g} C", half);
    };
    text += fmt::format("{}: from {} to {} to either side\n", misfit.quantities[i].name,
                        shown(plan.before[i]), shown(plan.after[i]));
  }
  return text;
}
