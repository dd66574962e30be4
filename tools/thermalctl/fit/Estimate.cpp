#include "fit/Estimate.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "fit/Indices.h"

namespace {

using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::VectorXd;

// How much less than as many independent ones the readings of each output tell: their residuals in
// units of the noise, summed over neighbours. White noise has 1.
// For each stretch 1 + 2 (rho_1 + rho_2 + ...), with rho_k the correlation of scores k readings
// apart, up to the first one that is within two standard deviations, 2 / sqrt(n), of none. A score
// is the slope of the likelihood, in which a stray counts for nothing.
std::vector<double> correlationsInTime(const Misfit& misfit, const VectorXd& values) {
  std::map<std::pair<size_t, size_t>, std::vector<double>> scores; // by output and stretch
  misfit.eachResidual(values, [&](const Residual& residual) {
    const Likelihood& likelihood = misfit.likelihoods[residual.reading.output];
    scores[{residual.reading.output, residual.stretch}].push_back(
        likelihood.of(residual.reading.celsius, residual.fitted).slope);
  });
  std::vector<double> sums(misfit.outputs(), 0);
  std::vector<double> counts(misfit.outputs(), 0);
  for (const auto& [key, list] : scores) {
    double variance = 0;
    for (const double score : list)
      variance += score * score;
    double sum = 1;
    const double noise = 2 / std::sqrt(static_cast<double>(list.size()));
    for (size_t lag = 1; lag < list.size() / 4 && variance > 0; ++lag) {
      double product = 0;
      for (size_t i = lag; i < list.size(); ++i)
        product += list[i] * list[i - lag];
      // What is left of it cannot be told from chance.
      if (product / variance < noise) break;
      sum += 2 * product / variance;
    }
    sums[key.first] += sum * static_cast<double>(list.size());
    counts[key.first] += static_cast<double>(list.size());
  }
  for (size_t i = 0; i < sums.size(); ++i)
    sums[i] = counts[i] > 0 ? sums[i] / counts[i] : 1;
  return sums;
}

// The variance of the slope at the best values, where neighbouring residuals are alike.
MatrixXd scatterOf(const Misfit& misfit, const Fit& fit) {
  MatrixXd scatter = fit.information;
  const std::vector<double> times = correlationsInTime(misfit, fit.values);
  for (size_t i = 0; i < times.size(); ++i) {
    // So little is chance in white noise, and each output costs the evidence of all readings
    // again.
    if (times[i] < 1.3) continue;
    Misfit alone = misfit;
    alone.only = i;
    scatter += (times[i] - 1) * alone.evidence(fit.values).information;
  }
  return scatter;
}

std::vector<Estimate> estimatesOf(const Misfit& misfit, const Fit& fit, const MatrixXd& covariance,
                                  const std::vector<bool>& frozen) {
  std::vector<Estimate> estimates;
  for (size_t i = 0; i < misfit.quantities.size(); ++i) {
    const double value = fit.values[indexOf(i)];
    const double half = kInterval * std::sqrt(std::max(0.0, covariance(indexOf(i), indexOf(i))));
    const bool log = misfit.quantities[i].byLogarithm();
    const auto natural = [log](double number) { return log ? std::exp(number) : number; };
    // A logarithm at its bound comes back a last digit beyond it.
    const double found =
        std::clamp(natural(value), misfit.quantities[i].least, misfit.quantities[i].most);
    estimates.push_back({found, natural(value - half), natural(value + half), frozen[i]});
  }
  return estimates;
}

// By a sandwich, with what the readings say on either side of how they scatter.
//   cov = I^-1 S I^-1, with I the information and S the variance of the slope (Huber 1967).
// Where the readings are independent S is I, and the usual inverse is left.
MatrixXd sandwichOf(const Misfit& misfit, const Fit& fit, const std::vector<bool>& frozen) {
  const size_t count = misfit.unknowns.count;
  std::vector<bool> out(count, false);
  std::copy(frozen.begin(), frozen.end(), out.begin());
  MatrixXd information = fit.information;
  // As for what is determined: a clock that nothing moves leaves a row of 0.
  information.diagonal().array() += 1e-6;
  const MatrixXd inverse = covarianceOf(information, out);
  return inverse * scatterOf(misfit, fit) * inverse;
}

} // namespace

std::vector<Agreeing> agreementOf(const Misfit& misfit, const VectorXd& values) {
  std::map<std::pair<size_t, size_t>, Agreeing> all;
  misfit.eachResidual(values, [&](const Residual& residual) {
    const size_t recording = misfit.stretches[residual.stretch].recording;
    Agreeing& one = all[{recording, residual.reading.output}];
    one.recording = recording;
    one.output = residual.reading.output;
    const double apart = residual.reading.celsius - residual.fitted;
    ++one.readings;
    one.rmse += apart * apart;
    one.largest = std::max(one.largest, std::abs(apart));
  });
  std::vector<Agreeing> list;
  for (auto& [key, one] : all) {
    one.rmse = std::sqrt(one.rmse / static_cast<double>(one.readings));
    list.push_back(one);
  }
  return list;
}

std::vector<size_t> atBounds(const Misfit& misfit, const Estimation& estimation) {
  // Of its range, which is never reached.
  constexpr double kNear = 0.005;
  std::vector<size_t> near;
  for (size_t i = 0; i < misfit.quantities.size(); ++i) {
    const Quantity& quantity = misfit.quantities[i];
    const auto scaled = [&](double value) {
      return quantity.byLogarithm() ? std::log(value) : value;
    };
    const double share = (scaled(estimation.estimates[i].value) - scaled(quantity.least)) /
                         (scaled(quantity.most) - scaled(quantity.least));
    if (!estimation.frozen[i] && (share < kNear || share > 1 - kNear)) near.push_back(i);
  }
  return near;
}

Estimation estimate(Misfit& misfit, const Going& going) {
  Estimation estimation;
  std::vector<bool>& frozen = estimation.frozen;
  frozen.assign(misfit.quantities.size(), false);
  Fit& fit = estimation.fit;
  fit = fitTo(misfit, frozen, going);
  // What looked undetermined at one place may be determined at the next, and the other way round:
  // with the guesses kept the rest moves, and is asked again.
  for (int round = 0; round < 3; ++round) {
    const MatrixXd information = informationOfQuantities(misfit, fit.information, frozen);
    const auto found = undeterminedOf(misfit, information, fit.values, frozen);
    if (found.empty()) break;
    for (const Undetermined& each : found)
      frozen[each.frozen] = true;
    estimation.undetermined.insert(estimation.undetermined.end(), found.begin(), found.end());
    if (fit.interrupted) break;
    VectorXd from = fit.values;
    const VectorXd guesses = guessesOf(misfit);
    for (size_t i = 0; i < frozen.size(); ++i)
      // Along such a direction the first fit went anywhere; only the guess means something.
      if (frozen[i]) from[indexOf(i)] = guesses[indexOf(i)];
    fit = refine(misfit, from, frozen, going);
  }
  const MatrixXd covariance = sandwichOf(misfit, fit, frozen);
  estimation.estimates = estimatesOf(misfit, fit, covariance, frozen);
  for (const Undetermined& each : estimation.undetermined)
    for (const size_t member : each.members)
      if (!frozen[member]) estimation.estimates[member].follows = each.frozen;
  const Index own = indexOf(misfit.quantities.size());
  // A frozen one has no variance: its row of correlations becomes 0 instead of no number.
  const VectorXd scale =
      covariance.diagonal().head(own).cwiseMax(1e-300).cwiseSqrt().cwiseInverse();
  estimation.correlations =
      scale.asDiagonal() * covariance.topLeftCorner(own, own) * scale.asDiagonal();
  estimation.agreement = agreementOf(misfit, fit.values);
  return estimation;
}

Estimation validate(Misfit& misfit, const std::vector<double>& values, const Going& going) {
  Estimation estimation;
  estimation.frozen.assign(misfit.quantities.size(), true);
  // The values are given, and all of them frozen: only clocks and starts of these recordings are
  // free.
  VectorXd from = guessesOf(misfit);
  for (size_t i = 0; i < values.size(); ++i)
    from[indexOf(i)] = misfit.quantities[i].byLogarithm() ? std::log(values[i]) : values[i];
  estimation.fit = place(misfit, from, going);
  estimation.agreement = agreementOf(misfit, estimation.fit.values);
  return estimation;
}
