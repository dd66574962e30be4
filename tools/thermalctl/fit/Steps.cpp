#include "fit/Steps.h"

#include <array>
#include <cmath>

namespace {

constexpr std::array<double, 10> kSteps = {1, 0.5, 0.25, 0.2, 0.125, 0.1, 0.0625, 0.05, 0.02, 0.01};

bool isMultiple(double value, double step) {
  const double times = value / step;
  return std::abs(times - std::round(times)) < 1e-6 * std::max(1.0, std::abs(times));
}

} // namespace

std::vector<double> stepsOf(const std::vector<Recorded>& recordings, size_t outputs) {
  // As an index into the table, which only grows.
  std::vector<size_t> steps(outputs, 0);
  for (const Recorded& recorded : recordings)
    for (const RecordedFile& file : recorded.files)
      for (const Reading& reading : file.readings) {
        size_t& step = steps[reading.output];
        while (step < kSteps.size() && !isMultiple(reading.celsius, kSteps[step]))
          ++step;
      }
  std::vector<double> found;
  found.reserve(steps.size());
  for (const size_t step : steps)
    found.push_back(step < kSteps.size() ? kSteps[step] : 0);
  return found;
}
