#include "fit/Stuck.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

#include <fmt/format.h>

#include "text/Phrases.h"

namespace {

// Shorter, it may be chance.
constexpr size_t kFewest = 20;

// Readings of one output that are all the same, and what the model has beside them.
struct Run {
  Stuck where;
  size_t count = 0;
  double low = 0;
  double high = 0;
};

// Of a sensor that mostly shows one thing, in degrees: what the fit took for its noise is that the
// model goes elsewhere.
constexpr double kUsualNoise = 1;

// A sensor at rest reads the same for long, too. It is stuck only where the model moves by more
// than noise or step could hide, and goes well away from what is read.
bool isStuck(const Run& run, const Likelihood& likelihood, size_t readings) {
  const bool isMost = 2 * run.count > readings;
  const double unit = std::max(isMost ? kUsualNoise : likelihood.noise, likelihood.step);
  const double apart =
      std::max(std::abs(run.high - run.where.celsius), std::abs(run.low - run.where.celsius));
  return run.count >= kFewest && run.high - run.low > 4 * unit && apart > 5 * unit;
}

} // namespace

std::vector<Stuck> stuckOf(const Misfit& misfit, const Eigen::VectorXd& values) {
  using Key = std::tuple<size_t, size_t, size_t>; // stretch, file and output
  std::map<Key, std::vector<Run>> runs;
  std::map<Key, size_t> readings;
  misfit.eachResidual(values, [&](const Residual& residual) {
    const size_t recording = misfit.stretches[residual.stretch].recording;
    const RecordedFile& file = misfit.recordings[recording].files[residual.file];
    const auto row = static_cast<size_t>(residual.row - file.rows.data());
    const Key key{residual.stretch, residual.file, residual.reading.output};
    ++readings[key];
    std::vector<Run>& own = runs[key];
    if (own.empty() || residual.reading.celsius != own.back().where.celsius) {
      // Very short ones are the most, and none of them counts.
      if (!own.empty() && own.back().count < kFewest) own.pop_back();
      own.push_back(
          {{recording, residual.file, residual.reading.output, row, row, residual.reading.celsius},
           0,
           residual.fitted,
           residual.fitted});
    }
    Run& run = own.back();
    run.where.end = row + 1;
    ++run.count;
    run.low = std::min(run.low, residual.fitted);
    run.high = std::max(run.high, residual.fitted);
  });
  std::vector<Stuck> stuck;
  for (const auto& [key, own] : runs)
    for (const Run& run : own)
      if (isStuck(run, misfit.likelihoods[run.where.output], readings[key]))
        stuck.push_back(run.where);
  return stuck;
}

// Rows stay, with fewer readings or none: places of other stuck ones, and of stretches, go by
// their numbers.
void leaveOut(std::vector<Recorded>& recordings, const std::vector<Stuck>& stuck) {
  for (const Stuck& one : stuck) {
    RecordedFile& file = recordings[one.recording].files[one.file];
    std::vector<Reading> left;
    for (size_t i = 0; i < file.rows.size(); ++i) {
      ReadingRow& row = file.rows[i];
      const auto first = static_cast<uint32_t>(left.size());
      for (uint32_t j = row.first; j < row.end; ++j) {
        const bool isOut = i >= one.first && i < one.end && file.readings[j].output == one.output;
        if (!isOut) left.push_back(file.readings[j]);
      }
      row.first = first;
      row.end = static_cast<uint32_t>(left.size());
    }
    file.readings = std::move(left);
  }
}

std::string inWords(const Stuck& stuck, const std::vector<Recorded>& recordings,
                    const std::vector<std::string>& names) {
  const RecordedFile& file = recordings[stuck.recording].files[stuck.file];
  const ReadingRow& first = file.rows[stuck.first];
  const ReadingRow& last = file.rows[stuck.end - 1];
  const std::string line = first.line > 0 ? fmt::format(":{}", first.line) : "";
  return fmt::format("{}{}: {} is stuck at {:g} from {} to {}: left out", file.name, line,
                     quoted(names[stuck.output]), stuck.celsius,
                     clockTime(std::lround(first.time - file.first)),
                     clockTime(std::lround(last.time - file.first)));
}
