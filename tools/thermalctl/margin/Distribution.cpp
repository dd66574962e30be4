#include "margin/Distribution.h"

#include <algorithm>
#include <cmath>

#include "margin/Special.h"

namespace {

// Of the standard normal distribution, 2.5 % of which lie above.
constexpr double kOuter = 1.959963984540054;

// How wide a distribution is beside its interval of 95 %.
// A uniform one has 5 % of its width outside. A symmetric triangle has (1 - t)^2 / 2 of its area
// behind the share t of its half width, which is 2.5 % at t = 1 - sqrt(0.05).
constexpr double kUniformWidth = 1 / 0.95;
const double kTriangularWidth = 1 / (1 - std::sqrt(0.05));

} // namespace

Distribution Distribution::normal(double mean, double deviation) {
  Distribution made(Kind::kNormal);
  made.centre = mean;
  made.deviation = deviation;
  return made;
}

Distribution Distribution::lognormal(double median, double deviation) {
  Distribution made(Kind::kLognormal);
  made.centre = std::log(median);
  made.deviation = deviation;
  return made;
}

Distribution Distribution::uniform(double from, double to) {
  Distribution made(Kind::kUniform);
  made.from = from;
  made.to = to;
  return made;
}

Distribution Distribution::triangular(double from, double mode, double to) {
  Distribution made(Kind::kTriangular);
  made.from = from;
  made.centre = mode;
  made.to = to;
  return made;
}

Distribution Distribution::list(std::vector<std::pair<double, double>> weighted) {
  Distribution made(Kind::kList);
  std::sort(weighted.begin(), weighted.end());
  double sum = 0;
  for (const auto& [value, weight] : weighted) {
    sum += weight;
    if (weight <= 0) continue;
    made.values.push_back(value);
    made.upTo.push_back(sum);
  }
  for (double& each : made.upTo)
    each /= sum;
  return made;
}

Distribution Distribution::normalWithin(double low, double high) {
  return normal((low + high) / 2, (high - low) / 2 / kOuter);
}

Distribution Distribution::lognormalWithin(double low, double high) {
  return lognormal(std::sqrt(low * high), std::log(high / low) / 2 / kOuter);
}

Distribution Distribution::uniformWithin(double low, double high) {
  const double half = (high - low) / 2 * kUniformWidth;
  return uniform((low + high) / 2 - half, (low + high) / 2 + half);
}

Distribution Distribution::triangularWithin(double low, double high) {
  const double middle = (low + high) / 2;
  const double half = (high - low) / 2 * kTriangularWidth;
  return triangular(middle - half, middle, middle + half);
}

bool Distribution::cut(double least, double most) {
  isCut = true;
  within = {least, most};
  share = {probability(least), probability(most)};
  return share.first < share.second;
}

double Distribution::at(double standard) const {
  if (!isCut && kind == Kind::kNormal) return centre + deviation * standard;
  if (!isCut && kind == Kind::kLognormal) return std::exp(centre + deviation * standard);
  // By its rank: whatever the distribution, a standard number of rank p becomes the value below
  // which the share p of what is left of it lies. So correlations of ranks stay as they are.
  const double inside = share.first + (share.second - share.first) * normalProbability(standard);
  return std::clamp(quantile(inside), within.first, within.second);
}

double Distribution::probability(double value) const {
  switch (kind) {
  case Kind::kNormal:
    return normalProbability((value - centre) / deviation);
  case Kind::kLognormal:
    return value <= 0 ? 0 : normalProbability((std::log(value) - centre) / deviation);
  case Kind::kUniform:
    return std::clamp((value - from) / (to - from), 0.0, 1.0);
  case Kind::kTriangular:
    if (value <= from) return 0;
    if (value >= to) return 1;
    return value < centre ? (value - from) * (value - from) / ((to - from) * (centre - from))
                          : 1 - (to - value) * (to - value) / ((to - from) * (to - centre));
  case Kind::kList:
    break;
  }
  const auto above = std::upper_bound(values.begin(), values.end(), value) - values.begin();
  return above == 0 ? 0 : upTo[static_cast<size_t>(above) - 1];
}

double Distribution::quantile(double probability) const {
  switch (kind) {
  case Kind::kNormal:
    return centre + deviation * normalQuantile(probability);
  case Kind::kLognormal:
    return std::exp(centre + deviation * normalQuantile(probability));
  case Kind::kUniform:
    return from + (to - from) * probability;
  case Kind::kTriangular:
    return triangularQuantile(probability);
  case Kind::kList:
    break;
  }
  const auto place = std::lower_bound(upTo.begin(), upTo.end(), probability) - upTo.begin();
  return values[std::min(static_cast<size_t>(place), values.size() - 1)];
}

double Distribution::triangularQuantile(double probability) const {
  const double below = (centre - from) / (to - from);
  return probability < below ? from + std::sqrt(probability * (to - from) * (centre - from))
                             : to - std::sqrt((1 - probability) * (to - from) * (to - centre));
}
