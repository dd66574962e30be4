#include "margin/FitTolerances.h"

#include <cerrno>
#include <cmath>
#include <optional>
#include <system_error>

#include <nlohmann/json.hpp>

#include "base/TextReader.h"
#include "text/Json.h"

namespace {

using FitJson = nlohmann::ordered_json;

constexpr char kNoFit[] = "is no fit.json of thermalctl fit";

// Of the numbers that are kept.
std::optional<SquareMatrix> correlationsOf(const FitJson& rows, const std::vector<size_t>& kept) {
  SquareMatrix matrix;
  for (const size_t i : kept)
    for (const size_t j : kept)
      matrix.push_back(rows.at(i).at(j).get<double>());
  // The file has three digits of each: what they take from the matrix is given back.
  for (double more : {0.0, 0.001, 0.01, 0.1}) {
    SquareMatrix mended = matrix;
    for (size_t i = 0; i < mended.size(); ++i)
      mended[i] = i % (kept.size() + 1) == 0 ? 1 : mended[i] / (1 + more);
    if (choleskyOf(mended, kept.size())) return mended;
  }
  return std::nullopt;
}

} // namespace

FittedNumbers readFittedNumbers(const std::string& path, const Problem& place, Problems& problems) {
  const auto tell = [&](const std::string& what) {
    Problem problem = place;
    problem.what += what;
    problems.add(problem);
    return FittedNumbers();
  };
  errno = 0;
  const std::optional<std::string> text = readFile(path);
  if (!text) return tell("cannot be read: " + std::generic_category().message(errno));
  const FitJson json = parsedJson(*text, false);
  FittedNumbers fitted;
  try {
    std::vector<size_t> kept;
    // Of each number of the fit, of which one that kept its guess has no interval and does not
    // vary:
    //   {"name": "node.big.joules_per_kelvin", ..., "interval": [3.9, 4.3]}
    const FitJson& quantities = json.at("quantities");
    for (size_t i = 0; i < quantities.size(); ++i) {
      const FitJson& one = quantities.at(i);
      const FitJson& interval = one.at("interval");
      const std::string name = one.at("name").get<std::string>();
      if (interval.is_null() || name == "ambient") continue;
      fitted.numbers.push_back({name, interval.at(0).get<double>(), interval.at(1).get<double>()});
      kept.push_back(i);
    }
    const auto correlations = correlationsOf(json.at("correlations"), kept);
    if (!correlations) return tell("has correlations that no numbers have: fit again");
    fitted.correlations = *correlations;
  } catch (const FitJson::exception&) {
    return tell(kNoFit);
  }
  if (fitted.numbers.empty()) return tell("has determined no number that could vary");
  return fitted;
}
