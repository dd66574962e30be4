#include "fit/Residuals.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

#include <fmt/format.h>

#include "text/Phrases.h"

namespace {

// Smaller ones are of no interest, however sure.
constexpr double kLeast = 0.25; // degrees
constexpr double kSure = 5;     // standard deviations
constexpr double kAstray = 4;   // standard deviations, beside the step
constexpr size_t kBlocks = 24;

// What a reading is off, as far as its step lets tell; and when, in seconds. One that is `astray`
// pulls at nothing.
struct ReadPoint {
  double time;
  double pull;
  double apart;
  bool astray;
};

struct Block {
  double from = 0;
  double to = 0;
  double mean = 0;
};

// Where most are astray, it is not the readings that are wrong.
void believeTheMost(ReadPoint* from, size_t length) {
  const auto count =
      std::count_if(from, from + length, [](const ReadPoint& each) { return each.astray; });
  if (2 * static_cast<size_t>(count) <= length) return;
  for (size_t i = 0; i < length; ++i)
    if (from[i].astray) from[i].pull = from[i].apart;
}

std::vector<Block> oddBlocks(std::vector<ReadPoint>& points, double noise) {
  std::vector<Block> odd;
  // A course is taken in blocks of equal numbers of readings. The mean of n readings has the noise
  // divided by sqrt(n): a mean well beyond that is no noise.
  const size_t length = std::max<size_t>(10, points.size() / kBlocks);
  for (size_t at = 0; at + length <= points.size(); at += length) {
    believeTheMost(&points[at], length);
    Block block{points[at].time, points[at + length - 1].time, 0};
    for (size_t i = at; i < at + length; ++i)
      block.mean += points[i].pull / static_cast<double>(length);
    const double sure = kSure * noise / std::sqrt(static_cast<double>(length));
    if (std::abs(block.mean) < std::max(kLeast, sure)) continue;
    Block* last = odd.empty() ? nullptr : &odd.back();
    // One that goes on where the last one ended.
    if (last && at > 0 && last->to == points[at - 1].time && last->mean * block.mean > 0) {
      last->to = block.to;
      last->mean = std::abs(block.mean) > std::abs(last->mean) ? block.mean : last->mean;
    } else {
      odd.push_back(block);
    }
  }
  return odd;
}

double slopeOf(const std::vector<ReadPoint>& points, const Block& block) {
  double count = 0;
  double time = 0;
  double apart = 0;
  double both = 0;
  double square = 0;
  for (const ReadPoint& point : points) {
    if (point.time < block.from || point.time > block.to) continue;
    ++count;
    time += point.time;
    apart += point.pull;
    both += point.time * point.pull;
    square += point.time * point.time;
  }
  // The straight line with the least squares, in degrees a second.
  const double spread = square - time * time / count;
  return spread > 0 ? (both - time * apart / count) / spread : 0;
}

} // namespace

std::vector<std::string> oddResiduals(const Misfit& misfit, const Eigen::VectorXd& values,
                                      const std::vector<std::string>& names) {
  std::map<std::pair<size_t, size_t>, std::vector<ReadPoint>> courses; // by recording and output
  misfit.eachResidual(values, [&](const Residual& residual) {
    const Likelihood& likelihood = misfit.likelihoods[residual.reading.output];
    const double apart = residual.reading.celsius - residual.fitted;
    const bool isAstray = std::abs(apart) > kAstray * likelihood.noise + likelihood.step;
    // Times the variance it is a distance in degrees: without a step the residual itself, within a
    // step next to nothing, and of a stray 0.
    const double pull = -likelihood.of(residual.reading.celsius, residual.fitted).slope;
    courses[{misfit.stretches[residual.stretch].recording, residual.reading.output}].push_back(
        {residual.row->time, pull * likelihood.noise * likelihood.noise, apart, isAstray});
  });
  std::vector<std::string> sentences;
  for (auto& [key, points] : courses) {
    const auto blocks = oddBlocks(points, misfit.likelihoods[key.second].noise);
    const auto worst =
        std::max_element(blocks.begin(), blocks.end(), [](const Block& a, const Block& b) {
          return std::abs(a.mean) < std::abs(b.mean);
        });
    if (worst == blocks.end()) continue;
    const double start = points.front().time;
    sentences.push_back(fmt::format(
        "the residuals of {} in {} are not noise: {:+.2f} C about {} to {}, {:+.3f} C a minute: a "
        "path or a source may be missing",
        names[key.second], misfit.recordings[key.first].name, worst->mean,
        clockTime(std::lround(worst->from - start)), clockTime(std::lround(worst->to - start)),
        60 * slopeOf(points, *worst)));
  }
  return sentences;
}
