#include "fit/Fitting.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

#include <Eigen/Cholesky>

#include "fit/Indices.h"
// A header alone, and the one place that includes it.
#include <ceres/tiny_solver.h>

#include "simulate/Random.h"

// How a fit goes: from three starts a few steps each, on few of the rows, with the clocks scanned;
// the likeliest of the three goes on to the end, first on more rows and then on all. The noise of
// each sensor is no unknown of the steps: noise and values are found in turns, each with the other
// held, until the noise stays.

namespace {

using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::VectorXd;

// The guesses of the plant and two others, against a valley that is not the deepest.
constexpr int kStarts = 3;
// How far the other starts are from the guesses, as the largest logarithm of a factor.
constexpr double kSpread = 0.9;

// Seconds: more than clocks may be apart, so that the end of it is no wall.
constexpr double kClockReach = kClocksApart + 15;
constexpr double kScanStep = 2;
constexpr int kLooksAtClocks = 2;

// How little is known of a temperature at the start.
constexpr double kStartSpread = 30;

constexpr size_t kRowsBesideWrongClocks = 250;
constexpr size_t kRowsOfFirstLook = 500;
constexpr size_t kRowsOfSecondLook = 20'000;
// Of one sensor, for its noise.
constexpr size_t kResidualsEnough = 4000;
constexpr double kLeastNoise = 0.003;
constexpr double kMostNoise = 50;

struct Stopped {};

// Where an unknown may lie; anywhere where the two are the same.
struct Range {
  double least = 0;
  double most = 0;
  double guess = 0;
  double spread = 0; // of the weak pull to the guess

  bool isBounded() const { return least < most; }
};

std::vector<Range> rangesOf(const Misfit& misfit) {
  const VectorXd guesses = guessesOf(misfit);
  const Unknowns& unknowns = misfit.unknowns;
  std::vector<Range> ranges;
  for (size_t i = 0; i < unknowns.count; ++i) {
    Range range{0, 0, guesses[indexOf(i)], kStartSpread};
    if (i < unknowns.quantities) {
      const Quantity& quantity = misfit.quantities[i];
      const bool log = quantity.byLogarithm();
      range.least = log ? std::log(quantity.least) : quantity.least;
      range.most = log ? std::log(quantity.most) : quantity.most;
      range.spread = (range.most - range.least) / 2;
    } else if (i < unknowns.startsBegin) {
      range = {-kClockReach, kClockReach, 0, kClockReach};
    }
    ranges.push_back(range);
  }
  return ranges;
}

// The misfit as the library wants it: as the sum of squares of few residuals with the same value,
// slope and curvature. Of half a million readings it would keep the derivative of each.
//
// Of the curvature C = L L^T, the slope g and the value f at a point, the residuals are
//   r = (L^-1 g, sqrt(2 (f + height) - |L^-1 g|^2))  with the derivative  J = (L^T, 0):
//   |r|^2 / 2 = f + height,  J^T r = g,  J^T J = C,
// so that a step of Levenberg and Marquardt comes out as if made of all readings.
//
// Shape: the unknowns that are free, stretched so that those with bounds have none.
class Squares {
public:
  using Scalar = double;
  enum { NUM_RESIDUALS = Eigen::Dynamic, NUM_PARAMETERS = Eigen::Dynamic };

  Squares(const Misfit& misfit_, const std::vector<bool>& frozen, VectorXd from,
          std::function<bool(double)> going_)
      : misfit(misfit_), going(std::move(going_)), ranges(rangesOf(misfit)),
        values(std::move(from)) {
    for (size_t i = 0; i < misfit.unknowns.count; ++i) {
      if (i < frozen.size() && frozen[i]) continue;
      if (ranges[i].isBounded() && ranges[i].most - ranges[i].least < 1e-12) continue;
      free.push_back(indexOf(i));
    }
    best = values;
    // Lifts the misfit, so that the root in the last residual has a value above 0 to be taken of.
    height = 2 * misfit.misfit(values) + 100;
  }

  // Ceres asks for them by these names.
  // NOLINTBEGIN(readability-identifier-naming)
  int NumResiduals() const { return static_cast<int>(free.size()) + 1; }
  int NumParameters() const { return static_cast<int>(free.size()); }
  // NOLINTEND(readability-identifier-naming)

  VectorXd start() const {
    VectorXd point(indexOf(free.size()));
    for (Index i = 0; i < point.size(); ++i) {
      const Range& range = rangeOf(i);
      const double value = values[free[static_cast<size_t>(i)]];
      point[i] = value;
      if (!range.isBounded()) continue;
      // A bounded value is least + (most - least) / (1 + exp(-point)). At a bound itself the point
      // would be infinite, and nothing would ever lead back.
      const double share = (value - range.least) / (range.most - range.least);
      const double inside = std::clamp(share, 1e-6, 1 - 1e-6);
      point[i] = std::log(inside / (1 - inside));
    }
    return point;
  }

  bool operator()(const double* point, double* residuals, double* jacobian) const {
    const Index count = indexOf(free.size());
    const Eigen::Map<const VectorXd> at(point, count);
    Eigen::Map<VectorXd> result(residuals, count + 1);
    const VectorXd here = valuesAt(at);
    // For a step on trial the library asks for the value alone, which needs no sensitivities.
    if (!jacobian) {
      result.setZero();
      result[count] = std::sqrt(2 * (misfit.misfit(here) + pull(here) + height));
      if (!std::isfinite(result[count])) result[count] = 1e100;
      return true;
    }
    const MisfitEvidence evidence = misfit.evidence(here);
    const double total = evidence.misfit + pull(here);
    if (total < lowest) {
      lowest = total;
      best = here;
    }
    if (!going(total)) throw Stopped();
    write(evidence, here, at, total, result, jacobian);
    return true;
  }

  mutable VectorXd best;

private:
  const Range& rangeOf(Index i) const {
    return ranges[static_cast<size_t>(free[static_cast<size_t>(i)])];
  }

  VectorXd valuesAt(const Eigen::Ref<const VectorXd>& point) const {
    VectorXd all = values;
    for (Index i = 0; i < point.size(); ++i) {
      const Range& range = rangeOf(i);
      double& value = all[free[static_cast<size_t>(i)]];
      value = point[i];
      if (range.isBounded())
        value = range.least + (range.most - range.least) / (1 + std::exp(-point[i]));
    }
    return all;
  }

  double pull(const VectorXd& here) const {
    double sum = 0;
    for (const Index i : free) {
      const Range& range = ranges[static_cast<size_t>(i)];
      const double apart = (here[i] - range.guess) / range.spread;
      sum += apart * apart / 2;
    }
    return sum;
  }

  void write(const MisfitEvidence& evidence, const VectorXd& here,
             const Eigen::Ref<const VectorXd>& at, double total, Eigen::Map<VectorXd>& result,
             double* jacobian) const {
    const Index count = at.size();
    VectorXd scale = VectorXd::Ones(count);
    VectorXd slope(count);
    MatrixXd curve(count, count);
    for (Index i = 0; i < count; ++i) {
      const Range& range = rangeOf(i);
      const Index place = free[static_cast<size_t>(i)];
      if (range.isBounded())
        // The derivative of the value by its point, from the formula in `start`.
        scale[i] =
            (here[place] - range.least) * (range.most - here[place]) / (range.most - range.least);
      slope[i] =
          evidence.slope[place] + (here[place] - range.guess) / (range.spread * range.spread);
      for (Index j = 0; j < count; ++j)
        curve(i, j) = evidence.information(place, free[static_cast<size_t>(j)]);
      curve(i, i) += 1 / (range.spread * range.spread);
    }
    slope = scale.cwiseProduct(slope);
    curve = scale.asDiagonal() * curve * scale.asDiagonal();
    // At a bound `scale` is as good as 0, and the root needs a matrix that is above it.
    curve.diagonal().array() += 1e-9;
    const Eigen::LLT<MatrixXd> root(curve);
    const VectorXd head = root.matrixL().solve(slope);
    result.head(count) = head;
    result[count] = std::sqrt(std::max(0.0, 2 * (total + height) - head.squaredNorm()));
    Eigen::Map<MatrixXd> derivative(jacobian, count + 1, count);
    derivative.topRows(count) = root.matrixU();
    derivative.topRows(count).triangularView<Eigen::StrictlyLower>().setZero();
    derivative.row(count).setZero();
  }

  const Misfit& misfit;
  const std::function<bool(double)> going;
  std::vector<Range> ranges;
  VectorXd values;
  std::vector<Index> free;
  double height = 0;
  mutable double lowest = std::numeric_limits<double>::max();
};

// Least of a function with one valley.
// By the golden section: of the two points inside, one is always that of the round before. The end
// at 0.004 is meant for logarithms: 0.4 % of a noise.
template <typename Function> double leastOf(const Function& function, double low, double high) {
  constexpr double kGolden = 0.6180339887498949;
  double a = high - kGolden * (high - low);
  double b = low + kGolden * (high - low);
  double atA = function(a);
  double atB = function(b);
  while (high - low > 0.004) {
    if (atA < atB) {
      high = b;
      b = a;
      atB = atA;
      atA = function(a = high - kGolden * (high - low));
    } else {
      low = a;
      a = b;
      atA = atB;
      atB = function(b = low + kGolden * (high - low));
    }
  }
  return (low + high) / 2;
}

// How unlikely the readings are with their noises as they are now.
// A misfit alone is 0 where nothing could go better, whatever the noise: between two noises it
// says nothing, and the larger one would always win.
double surpriseOf(const Misfit& misfit, const VectorXd& values) {
  double total = 0;
  const std::vector<LikelihoodTable>& tables = misfit.tables();
  misfit.eachResidual(values, [&](const Residual& residual) {
    const LikelihoodTable& table = tables[residual.reading.output];
    total += table.of(residual.reading.celsius, residual.fitted).misfit - table.best();
  });
  return total;
}

class Search {
public:
  Search(Misfit& misfit_, const std::vector<bool>& frozen_, const Going& going_)
      : misfit(misfit_), frozen(frozen_), going(going_) {
    for (const Stretch& stretch : misfit.stretches)
      for (const auto& [first, end] : stretch.rows)
        rowCounts[stretch.recording] += end - first;
    for (const auto& [recording, count] : rowCounts)
      rowCount += count;
  }

  // A few steps from some values, on some of the rows.
  VectorXd look(VectorXd values, const std::string& name) {
    stage = name;
    // The noise first: by that of the last round, wrong values would count as strays and be passed
    // over.
    for (int i = 0; i < 4 && !stopped; ++i) {
      // Beside a wrong clock there is no bottom worth finding.
      const bool looksAtClocks = i < kLooksAtClocks;
      misfit.stride = strideFor(looksAtClocks ? kRowsBesideWrongClocks : kRowsOfFirstLook);
      const bool settled = !setNoise(values);
      if (settled && i > kLooksAtClocks) break;
      values = solve(values, looksAtClocks ? 6 : 15, 0.1);
      if (looksAtClocks && !stopped) scanClocks(values);
    }
    if (!stopped) setNoise(values);
    return values;
  }

  // To the end.
  VectorXd finish(VectorXd values) {
    stage = "refining";
    misfit.stride = strideFor(kRowsOfSecondLook);
    // Of a long recording, most of the way is gone on some of the rows, and the last of it on all.
    if (misfit.stride > 1) values = settle(values, 6);
    misfit.stride = 1;
    return settle(values, 8);
  }

  double surprise(const VectorXd& values) const { return surpriseOf(misfit, values); }

  bool stopped = false;

private:
  size_t strideFor(size_t rows) const { return strideOf(rowCount, rows); }
  static size_t strideOf(size_t count, size_t rows) { return std::max<size_t>(1, count / rows); }

  // Noise and values in turns, until the noise is what it was; the first round always moves the
  // values.
  VectorXd settle(VectorXd values, int most) {
    for (int i = 0; i < most && !stopped; ++i) {
      const bool settled = !setNoise(values);
      if (settled && i > 0) break;
      values = solve(values, 40, 1e-3);
    }
    return values;
  }

  VectorXd solve(const VectorXd& from, int iterations, double tolerance) {
    const Squares squares(misfit, frozen, from, [this](double cost) { return going(stage, cost); });
    ceres::TinySolver<Squares> solver;
    solver.options.max_num_iterations = iterations;
    solver.options.function_tolerance = tolerance;
    solver.options.parameter_tolerance = 1e-10;
    // What is thrown is caught here, with the best values of all that were tried: the library's
    // own point would be lost with it.
    VectorXd point = squares.start();
    try {
      solver.Solve(squares, &point);
    } catch (const Stopped&) {
      stopped = true;
    }
    return squares.best;
  }

  // True where one of them is other than before.
  bool setNoise(const VectorXd& values) {
    std::vector<std::vector<double>> residuals(misfit.outputs());
    misfit.eachResidual(values, [&](const Residual& residual) {
      residuals[residual.reading.output].push_back(residual.reading.celsius - residual.fitted);
    });
    bool changes = false;
    for (size_t i = 0; i < residuals.size(); ++i) {
      if (residuals[i].empty()) continue;
      Likelihood& likelihood = misfit.likelihoods[i];
      const double before = likelihood.noise;
      likelihood.noise = noiseOf(residuals[i], likelihood);
      // By 2 %: less moves no value by what could be seen beside its interval.
      changes |= std::abs(std::log(likelihood.noise / before)) > 0.02;
    }
    return changes;
  }

  // Those that are as good as equal beside the noise that there was, on either side, are counted.
  // The noise that makes the residuals likeliest; no root of a mean square, which rounding and
  // strays would widen.
  static double noiseOf(const std::vector<double>& residuals, const Likelihood& before) {
    const double width = before.noise / 8;
    const size_t skip = std::max<size_t>(1, residuals.size() / kResidualsEnough);
    std::map<int64_t, double> counts;
    double number = 0;
    for (size_t i = 0; i < residuals.size(); i += skip, ++number)
      ++counts[std::llround(std::abs(residuals[i]) / width)];
    const auto surprise = [&](double logNoise) {
      const Likelihood likelihood{std::exp(logNoise), before.step};
      double total = 0;
      for (const auto& [place, count] : counts)
        total += count * likelihood.of(static_cast<double>(place) * width, 0).misfit;
      return total - likelihood.best() * number;
    };
    return std::exp(leastOf(surprise, std::log(std::max(kLeastNoise, before.step * 0.05)),
                            std::log(kMostNoise)));
  }

  // A wrong clock puts each step of heat beside its answer: its misfit has valleys at every pair
  // of the two that could belong together, and a descent finds only the next one. So each clock is
  // tried in steps over its whole reach, with all else held.
  void scanClocks(VectorXd& values) {
    const Unknowns& unknowns = misfit.unknowns;
    const size_t stride = misfit.stride;
    for (size_t recording = 0; recording < unknowns.clocks.size(); ++recording) {
      // Of a short one beside a long one nothing else would be left.
      misfit.stride = strideOf(rowCounts[recording], kRowsBesideWrongClocks);
      for (const auto& clock : unknowns.clocks[recording]) {
        if (!clock) continue;
        double& at = values[indexOf(*clock)];
        const double before = at;
        double best = misfit.misfit(values, recording);
        double bestAt = before;
        for (at = -kClocksApart; at <= kClocksApart; at += kScanStep) {
          const double here = misfit.misfit(values, recording);
          if (here < best) bestAt = at;
          best = std::min(best, here);
        }
        at = bestAt;
      }
    }
    misfit.stride = stride;
  }

  Misfit& misfit;
  const std::vector<bool>& frozen;
  const Going& going;
  std::string stage;
  std::map<size_t, size_t> rowCounts; // by recording
  size_t rowCount = 0;
};

// Other starts than the guesses, the same ones each time.
VectorXd startFor(const Misfit& misfit, const std::vector<bool>& frozen, int number) {
  VectorXd start = guessesOf(misfit);
  Random random(static_cast<uint64_t>(number));
  for (size_t i = 0; i < misfit.quantities.size() && number > 0; ++i) {
    const Quantity& quantity = misfit.quantities[i];
    // Drawn for frozen ones, too: what is frozen does not change the starts of the others.
    const double change = kSpread * std::clamp(random.normal(), -1.0, 1.0);
    if (frozen[i] || !quantity.byLogarithm()) continue;
    start[indexOf(i)] = std::clamp(start[indexOf(i)] + change, std::log(quantity.least * 1.05),
                                   std::log(quantity.most / 1.05));
  }
  return start;
}

Fit resultOf(const Misfit& misfit, const VectorXd& values, bool interrupted) {
  MisfitEvidence evidence = misfit.evidence(values);
  return {values, std::move(evidence.information), evidence.misfit, interrupted};
}

} // namespace

// A clock's guess is 0. The guess of a start is the first reading of its node, or of a sensor on
// it, within fifty rows of a file; where nothing reads a node, the mean of those that are read.
VectorXd guessesOf(const Misfit& misfit) {
  const Unknowns& unknowns = misfit.unknowns;
  VectorXd guesses = VectorXd::Zero(indexOf(unknowns.count));
  for (size_t i = 0; i < misfit.quantities.size(); ++i) {
    const Quantity& quantity = misfit.quantities[i];
    guesses[indexOf(i)] = quantity.byLogarithm() ? std::log(quantity.guess) : quantity.guess;
  }
  const PlantDescription& plant = misfit.plant;
  for (size_t number = 0; number < misfit.stretches.size(); ++number) {
    const Stretch& stretch = misfit.stretches[number];
    const Recorded& recorded = misfit.recordings[stretch.recording];
    std::vector<std::optional<double>> first(plant.nodes.size());
    double sum = 0;
    double count = 0;
    for (size_t file = 0; file < recorded.files.size(); ++file) {
      const RecordedFile& in = recorded.files[file];
      for (size_t i = stretch.rows[file].first;
           i < stretch.rows[file].second && i < stretch.rows[file].first + 50; ++i) {
        for (uint32_t j = in.rows[i].first; j < in.rows[i].end; ++j) {
          const size_t output = in.readings[j].output;
          const size_t node = output < plant.probes.size() ? plant.probes[output].node
                                                           : output - plant.probes.size();
          if (first[node]) continue;
          first[node] = in.readings[j].celsius;
          sum += *first[node];
          ++count;
        }
      }
    }
    const double mean = count > 0 ? sum / count : plant.ambient;
    Index at = indexOf(unknowns.startsBegin + number * unknowns.perStretch);
    for (const std::optional<double>& celsius : first)
      guesses[at++] = celsius.value_or(mean);
    for (const PlantDescription::Probe& probe : plant.probes)
      if (probe.lag > 0) guesses[at++] = first[probe.node].value_or(mean);
  }
  return guesses;
}

Fit fitTo(Misfit& misfit, const std::vector<bool>& frozen, const Going& going) {
  Search search(misfit, frozen, going);
  VectorXd best;
  std::vector<Likelihood> likelihoods = misfit.likelihoods;
  double least = std::numeric_limits<double>::max();
  for (int i = 0; i < kStarts && !search.stopped; ++i) {
    const VectorXd found =
        search.look(startFor(misfit, frozen, i),
                    "start " + std::to_string(i + 1) + " of " + std::to_string(kStarts));
    // Each start has found noises of its own, so that the misfits of two starts do not compare.
    const double surprise = search.surprise(found);
    if (best.size() > 0 && surprise >= least) continue;
    least = surprise;
    best = found;
    likelihoods = misfit.likelihoods;
  }
  misfit.likelihoods = likelihoods;
  if (!search.stopped) best = search.finish(best);
  misfit.stride = 1;
  return resultOf(misfit, best, search.stopped);
}

Fit refine(Misfit& misfit, const VectorXd& from, const std::vector<bool>& frozen,
           const Going& going) {
  Search search(misfit, frozen, going);
  const VectorXd values = search.finish(from);
  misfit.stride = 1;
  return resultOf(misfit, values, search.stopped);
}

Fit place(Misfit& misfit, const VectorXd& from, const Going& going) {
  const std::vector<bool> frozen(misfit.quantities.size(), true);
  Search search(misfit, frozen, going);
  const bool hasClocks = misfit.unknowns.clocksBegin() < misfit.unknowns.clocksEnd();
  VectorXd values = hasClocks ? search.look(from, "clocks") : from;
  if (!search.stopped) values = search.finish(values);
  misfit.stride = 1;
  return resultOf(misfit, values, search.stopped);
}
