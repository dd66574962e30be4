#include "fit/Clocks.h"

#include <cmath>

#include "fit/Determination.h"
#include "fit/Estimate.h"
#include "fit/Indices.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

// The standard deviation of an offset, in seconds, from which on it is as good as unknown.
constexpr double kUnknownOffset = 3;

} // namespace

std::optional<std::vector<double>> clocksOf(const Recorded& recorded,
                                            const PlantDescription& plant) {
  const std::vector<Recorded> recordings = {recorded};
  const std::vector<Quantity> none;
  Misfit misfit = misfitOf(plant, none, recordings);
  if (misfit.stretches.empty()) return std::nullopt;
  const Going always = [](const std::string&, double) { return true; };
  Fit fit = validate(misfit, {}, always).fit;
  if (misfit.cutAgain(fit.values)) fit = validate(misfit, {}, always).fit;
  // As for what is determined: a clock that nothing moves leaves a row of 0.
  fit.information.diagonal().array() += 1e-6;
  const Eigen::MatrixXd covariance =
      covarianceOf(fit.information, std::vector<bool>(misfit.unknowns.count, false));
  for (size_t i = misfit.unknowns.clocksBegin(); i < misfit.unknowns.clocksEnd(); ++i)
    if (!(std::sqrt(covariance(indexOf(i), indexOf(i))) < kUnknownOffset)) return std::nullopt;
  return misfit.unknowns.offsetsOf(0, fit.values);
}

std::string clockInWords(const RecordedFile& file, double offset, const RecordedFile& first) {
  return visible(file.name) + ": its clock is " + rounded(std::abs(offset), 2) + " s " +
         (offset < 0 ? "ahead of" : "behind") + " that of " + visible(first.name);
}
