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

// A sensor at rest reads the same for long, too. It is stuck only where the model moves by more
// than noise or step could hide, and goes well away from what is read.
bool isStuck(const Run& run, const Likelihood& likelihood) {
  const double unit = std::max(likelihood.noise, likelihood.step);
  const double apart =
      std::max(std::abs(run.high - run.where.celsius), std::abs(run.low - run.where.celsius));
  return run.count >= kFewest && run.high - run.low > 4 * unit && apart > 5 * unit;
}

} // namespace

std::vector<Stuck> stuckOf(const Misfit& misfit, const Eigen::VectorXd& values) {
  std::vector<Stuck> stuck;
  std::map<std::tuple<size_t, size_t, size_t>, Run> runs; // by stretch, file and output
  const auto finish = [&](const Run& run) {
    if (isStuck(run, misfit.likelihoods[run.where.output])) stuck.push_back(run.where);
  };
  misfit.eachResidual(values, [&](const Residual& residual) {
    const size_t recording = misfit.stretches[residual.stretch].recording;
    const RecordedFile& file = misfit.recordings[recording].files[residual.file];
    const auto row = static_cast<size_t>(residual.row - file.rows.data());
    Run& run = runs[{residual.stretch, residual.file, residual.reading.output}];
    if (run.count == 0 || residual.reading.celsius != run.where.celsius) {
      finish(run);
      run = {
          {recording, residual.file, residual.reading.output, row, row, residual.reading.celsius},
          0,
          residual.fitted,
          residual.fitted};
    }
    run.where.end = row + 1;
    ++run.count;
    run.low = std::min(run.low, residual.fitted);
    run.high = std::max(run.high, residual.fitted);
  });
  for (const auto& [key, run] : runs)
    finish(run);
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
