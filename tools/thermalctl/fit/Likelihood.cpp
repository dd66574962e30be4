#include "fit/Likelihood.h"

#include <algorithm>
#include <cmath>

namespace {

const double kRootOfTwo = std::sqrt(2.0);
const double kTop = 1 / std::sqrt(2 * std::acos(-1.0)); // of the normal density

// The density of readings that have nothing to do with the heat, per degree: one in a hundred,
// anywhere within a hundred degrees.
constexpr double kStray = 1e-4;

// A step of less than this many standard deviations is as good as none.
constexpr double kFine = 0.05;

double density(double z) {
  return kTop * std::exp(-z * z / 2);
}

// Of the normal distribution between two values, accurate in both of its tails.
double between(double low, double high) {
  if (low > 0) return (std::erfc(low / kRootOfTwo) - std::erfc(high / kRootOfTwo)) / 2;
  return (std::erfc(-high / kRootOfTwo) - std::erfc(-low / kRootOfTwo)) / 2;
}

} // namespace

// With Phi the normal distribution, phi its density, s the noise, w the step and z = (r - T) / s,
// a reading r has at the temperature T the density
//   p = (Phi(z + w / 2s) - Phi(z - w / 2s)) / w, or phi(z) / s without a step,
// and the misfit is log(most) - log(p + stray). The slope of log p by T is `pull` / s, and its
// second derivative -`bend` / s^2; both count by p / (p + stray), the chance that the reading is
// none of the strays. What the strays add to the second derivative is left out: it is negative,
// and without it no weight is below 0.
Agreement Likelihood::of(double reading, double temperature) const {
  const double z = (reading - temperature) / noise;
  const double width = step / noise;
  // Of the reading, per degree; then of its logarithm by the temperature, in units of the noise.
  double likely = density(z) / noise;
  double pull = z;
  double bend = 1;
  if (width > kFine) {
    const double low = z - width / 2;
    const double high = z + width / 2;
    const double share = between(low, high);
    likely = share / step;
    if (share > 0) {
      // Where the share is 0 to the last digit, no trust is left, and pull and bend count for
      // nothing.
      const double fromLow = density(low);
      const double fromHigh = density(high);
      pull = (fromLow - fromHigh) / share;
      bend = std::clamp(pull * pull - (low * fromLow - high * fromHigh) / share, 0.0, 1.0);
    }
  }
  const double trust = likely / (likely + kStray);
  return {best() - std::log(likely + kStray), -trust * pull / noise,
          trust * bend / (noise * noise)};
}

double Likelihood::best() const {
  const double width = step / noise;
  const double most = width > kFine ? between(-width / 2, width / 2) / step : kTop / noise;
  return std::log(most + kStray);
}

// Between two places the misfit is the cubic that has its values and its slopes at both (Hermite).
// Misfits are alike on either side of the reading, so that one side is enough.
LikelihoodTable::LikelihoodTable(const Likelihood& likelihood_)
    : likelihood(likelihood_), highest(likelihood.best()) {
  constexpr double kPerNoise = 16;
  constexpr double kReach = 8; // in units of the noise, on either side of a step
  perDegree = kPerNoise / likelihood.noise;
  const auto count =
      static_cast<size_t>(std::ceil((likelihood.step / 2 + kReach * likelihood.noise) * perDegree));
  const double width = 1 / perDegree;
  Agreement left = likelihood.of(0, 0);
  for (size_t i = 0; i < count; ++i) {
    const Agreement right = likelihood.of(0, static_cast<double>(i + 1) * width);
    const double rise = right.misfit - left.misfit;
    const double from = left.slope * width;
    const double to = right.slope * width;
    pieces.push_back({left.misfit, from, 3 * rise - 2 * from - to, from + to - 2 * rise,
                      left.weight, right.weight - left.weight});
    left = right;
  }
  beyond = {left.misfit, 0, 0};
}
