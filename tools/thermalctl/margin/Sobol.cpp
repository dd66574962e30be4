#include "margin/Sobol.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "margin/Population.h"

namespace {

// The share of all 32-bit words up to which a Poisson number of mean 1 is 0, 1, 2, ...
std::array<double, 8> poissonSteps() {
  std::array<double, 8> steps{};
  double part = std::exp(-1);
  double sum = 0;
  for (size_t i = 0; i < steps.size(); ++i) {
    sum += part;
    // More than 7 has a chance of about 1 in 100,000: what is left of the words counts as 8.
    steps[i] = sum * 0x1p32;
    part /= static_cast<double>(i + 1);
  }
  return steps;
}

Known knownBy(double value, std::vector<double> others) {
  // A fortieth on either side is 2.5 %.
  std::sort(others.begin(), others.end());
  const size_t outside = others.size() / 40;
  return {value, {others[outside], others[others.size() - 1 - outside]}};
}

} // namespace

std::vector<uint8_t> weightsOf(uint64_t seed, uint64_t sample) {
  static const std::array<double, 8> kSteps = poissonSteps();
  std::vector<uint8_t> weights;
  for (const uint32_t word :
       randomWords(seed, sample, Stream::kResampling, SobolSums::kReplicates)) {
    const auto step = std::upper_bound(kSteps.begin(), kSteps.end(), static_cast<double>(word));
    weights.push_back(static_cast<uint8_t>(step - kSteps.begin()));
  }
  return weights;
}

double SobolSums::Sums::variance() const {
  const double mean = sum / (2 * weight);
  return squares / (2 * weight) - mean * mean;
}

SobolSums::SobolSums(size_t drivers, double centre_) : centre(centre_) {
  Sums none;
  none.first.resize(drivers);
  none.total.resize(drivers);
  replicates.resize(kReplicates + 1, none);
}

void SobolSums::add(const std::vector<double>& sample, const std::vector<uint8_t>& weights) {
  const double unit = sample[0] - centre;
  const double other = sample[1] - centre;
  ++count;
  for (size_t i = 0; i < replicates.size(); ++i) {
    Sums& sums = replicates[i];
    const double weight = i == 0 ? 1 : weights[i - 1];
    if (weight == 0) continue;
    sums.weight += weight;
    sums.sum += weight * (unit + other);
    sums.squares += weight * (unit * unit + other * other);
    for (size_t driver = 0; driver < sums.first.size(); ++driver) {
      // With f(A) the figure of the unit, f(B) that of the other one, and f(AB) that of the unit
      // with one driver of the other, over all samples:
      //   first order   mean of f(B) (f(AB) - f(A)) / variance   (Saltelli 2010)
      //   total         mean of (f(AB) - f(A))^2 / 2 / variance  (Jansen 1999)
      const double change = sample[2 + driver] - centre - unit;
      sums.first[driver] += weight * other * change;
      sums.total[driver] += weight * change * change / 2;
    }
  }
}

std::vector<SobolIndex> SobolSums::indices() const {
  const Sums& all = replicates.front();
  if (count < 2 || all.variance() <= 0) return {};
  std::vector<SobolIndex> indices;
  for (size_t driver = 0; driver < all.first.size(); ++driver) {
    const auto of = [&](std::vector<double> Sums::*which) {
      const auto index = [&](const Sums& sums) {
        return (sums.*which)[driver] / sums.weight / sums.variance();
      };
      std::vector<double> others;
      for (size_t i = 1; i < replicates.size(); ++i)
        if (replicates[i].variance() > 0) others.push_back(index(replicates[i]));
      if (others.empty()) others = {index(all)};
      return knownBy(index(all), std::move(others));
    };
    indices.push_back({of(&Sums::first), of(&Sums::total)});
  }
  return indices;
}
