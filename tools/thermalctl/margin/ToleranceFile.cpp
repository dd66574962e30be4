#include "margin/ToleranceFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <optional>
#include <system_error>

#include <fmt/format.h>
#include <fnmatch.h>

#include "base/TextReader.h"
#include "margin/FitTolerances.h"
#include "text/Nearest.h"
#include "text/Phrases.h"
#include "toml/TomlSection.h"

// How the units of a board differ, in a file:
//   [[vary]]
//   of = ["resistance.case-ambient"]
//   as = "factor"
//   lognormal = { interval = [0.8, 1.25] }
//   reason = "glue, by the supplier's data sheet"
//   [[fit]]
//   file = "fit.json"
//   [[correlation]]
//   between = ["source.cpu.watts", "source.gpu.watts"]
//   is = 0.6
// First each [[vary]] and each [[fit]] makes its spreads; then the correlations between these are
// gathered, from the file and from the fits, and taken apart into one factor.

namespace {

namespace fs = std::filesystem;

using Spread = Population::Spread;

constexpr std::array<const char*, 5> kDistributions = {"normal", "lognormal", "uniform",
                                                       "triangular", "list"};
constexpr std::array<const char*, 3> kWays = {"value", "factor", "plus"};

constexpr char kAs[] = "as";
constexpr char kOf[] = "of";
constexpr char kInterval[] = "interval";

template <size_t Count>
std::vector<std::string> asTexts(const std::array<const char*, Count>& words) {
  return {words.begin(), words.end()};
}

// Reads what a distribution's own table says. Nothing where that is wrong, or says too little.
class DistributionReader {
public:
  explicit DistributionReader(TomlSection section_) : section(std::move(section_)) {}

  std::optional<Distribution> read(const std::string& kind) {
    std::optional<Distribution> read = of(kind);
    section.refuseOtherKeys();
    return read;
  }

private:
  std::optional<Distribution> of(const std::string& kind) {
    if (section.has(kInterval)) return byInterval(kind);
    if (kind == "normal") return normal();
    if (kind == "lognormal") return lognormal();
    if (kind == "uniform") return uniform();
    return kind == "triangular" ? triangular() : list();
  }

  // Told with all that is missing.
  std::optional<double> needed(const char* key, const char* what) {
    section.missing(key, what);
    return section.number(key);
  }

  bool tell(const char* key, const std::string& what) {
    section.problem(section.at(key), what);
    return false;
  }

  bool isSpread(const std::optional<double>& deviation) {
    return *deviation > 0 ||
           tell("deviation",
                "'deviation' must be above 0: a number that does not vary is left out");
  }

  std::optional<Distribution> normal() {
    const auto mean = needed("mean", "or give the 'interval' of 95 %");
    const auto deviation = needed("deviation", "the standard deviation");
    if (!mean || !deviation || !isSpread(deviation)) return std::nullopt;
    return Distribution::normal(*mean, *deviation);
  }

  std::optional<Distribution> lognormal() {
    const auto median = needed("median", "or give the 'interval' of 95 %");
    const auto deviation = needed("deviation", "of the logarithm: 0.1 is about 10 %");
    if (!median || !deviation || !isSpread(deviation)) return std::nullopt;
    if (*median <= 0) tell("median", "the 'median' of a lognormal distribution must be above 0");
    return Distribution::lognormal(std::max(*median, 1e-300), *deviation);
  }

  std::optional<Distribution> uniform() {
    const auto from = needed("from", "or give the 'interval' of 95 %");
    const auto to = needed("to", "where it ends");
    if (!from || !to) return std::nullopt;
    if (*from >= *to && !tell("to", "'to' must be above 'from'")) return std::nullopt;
    return Distribution::uniform(*from, *to);
  }

  std::optional<Distribution> triangular() {
    const auto from = needed("from", "or give the 'interval' of 95 %");
    const auto mode = needed("mode", "the value that is most likely");
    const auto to = needed("to", "where it ends");
    if (!from || !mode || !to) return std::nullopt;
    const bool ordered = *from <= *mode && *mode <= *to && *from < *to;
    if (!ordered && !tell("mode", "'mode' must lie from 'from' to 'to'")) return std::nullopt;
    return Distribution::triangular(*from, *mode, *to);
  }

  std::optional<Distribution> list() {
    section.missing("values", "the values that there are");
    const auto values = section.numbers("values");
    const auto weights = section.numbers("weights", {0, 1e12});
    if (!values || (section.has("weights") && !weights)) return std::nullopt;
    if (weights && weights->size() != values->size()) {
      tell("weights", fmt::format("'weights' has {} numbers, and 'values' has {}", weights->size(),
                                  values->size()));
      return std::nullopt;
    }
    std::vector<std::pair<double, double>> weighted;
    double sum = 0;
    for (size_t i = 0; i < values->size(); ++i) {
      weighted.emplace_back((*values)[i], weights ? (*weights)[i] : 1);
      sum += weighted.back().second;
    }
    if (sum <= 0 && !tell(weights ? "weights" : "values", "none of the values has any weight"))
      return std::nullopt;
    return Distribution::list(std::move(weighted));
  }

  std::optional<Distribution> byInterval(const std::string& kind) {
    const auto ends = section.numbers(kInterval);
    if (!ends) return std::nullopt;
    if (kind == "list") tell(kInterval, "a list has no interval: give it 'values'");
    if (ends->size() != 2 || (*ends)[0] >= (*ends)[1]) {
      tell(kInterval, "'interval' must be the two ends between which 95 % of all units lie");
      return std::nullopt;
    }
    const double low = (*ends)[0];
    const double high = (*ends)[1];
    if (kind == "uniform") return Distribution::uniformWithin(low, high);
    if (kind == "triangular") return Distribution::triangularWithin(low, high);
    if (kind != "lognormal") return Distribution::normalWithin(low, high);
    if (low > 0) return Distribution::lognormalWithin(low, high);
    tell(kInterval, "the interval of a lognormal distribution must lie above 0");
    return std::nullopt;
  }

  TomlSection section;
};

class ToleranceReader {
public:
  ToleranceReader(TomlSection file_, const std::string& path_, std::vector<Variable> variables)
      : file(std::move(file_)), path(path_) {
    result.files = {path};
    population().variables = std::move(variables);
    spreadOf.resize(population().variables.size());
  }

  Tolerated read(Problems& problems) {
    for (TomlSection& section : file.list("vary"))
      readVaried(section);
    for (TomlSection& section : file.list("fit"))
      readFit(section, problems);
    // What a search may do it reads itself, and the nominal unit is enough for one.
    const bool isSearched = file.section("search").has_value();
    if (population().spreads.empty() && problems.none() && !isSearched)
      file.problem(file.at(), "no [[vary]] and no [[fit]]: all units are alike");
    correlate();
    file.refuseOtherKeys();
    return std::move(result);
  }

private:
  Population& population() { return result.population; }

  bool isCalled(size_t variable, const std::string& pattern) {
    const std::vector<std::string>& names = population().variables[variable].names;
    return std::any_of(names.begin(), names.end(), [&](const std::string& name) {
      return ::fnmatch(pattern.c_str(), name.c_str(), 0) == 0;
    });
  }

  std::vector<std::string> usualNames() {
    std::vector<std::string> names;
    for (const Variable& each : population().variables)
      names.push_back(each.name());
    return names;
  }

  std::vector<size_t> meant(const TomlSection& where, const Span& at, const std::string& pattern) {
    std::vector<size_t> found;
    for (size_t i = 0; i < population().variables.size(); ++i)
      if (isCalled(i, pattern)) found.push_back(i);
    if (found.empty())
      where.problem(at, quoted(pattern) + " is no number of the plant or the workload",
                    didYouMean(pattern, usualNames(), "there are " + listedBriefly(usualNames())));
    return found;
  }

  // Those of a section's list, each with the place of the word that means it.
  std::vector<std::pair<size_t, Span>> allMeant(TomlSection& section) {
    std::vector<std::pair<size_t, Span>> all;
    const std::vector<std::string> patterns = section.texts(kOf);
    for (size_t i = 0; i < patterns.size(); ++i) {
      for (const size_t variable : meant(section, section.at(kOf, i), patterns[i])) {
        const auto is = [&](const auto& other) { return other.first == variable; };
        if (std::none_of(all.begin(), all.end(), is))
          all.emplace_back(variable, section.at(kOf, i));
      }
    }
    return all;
  }

  void readVaried(TomlSection& section) {
    section.missing(kOf, "a list of the numbers that vary, such as [\"resistance.case-ambient\"]");
    const auto varied = allMeant(section);
    const bool together = section.flag("together").value_or(false);
    const std::string name = section.text("name").value_or("");
    const std::string reason = section.text("reason").value_or("");
    const std::optional<Drawn::As> as = readAs(section);
    const std::optional<Distribution> distribution = readDistribution(section);
    section.refuseOtherKeys();
    if (!name.empty() && !together)
      section.problem(section.at("name"), "'name' is of numbers that vary together",
                      "write together = true, or leave it out");
    if (!as || !distribution) return;
    for (const auto& [variable, at] : varied) {
      if (!isFree(section, variable, at)) continue;
      checkRange(section, variable, {*as, distribution->least()}, {*as, distribution->most()});
      // Numbers that vary together are one spread, the one that the first of them has made.
      const bool joins = together && variable != varied.front().first &&
                         spreadOf[varied.front().first].has_value();
      if (!joins)
        population().spreads.push_back(
            {together && !name.empty() ? name : population().variables[variable].name(),
             reason,
             *as,
             *distribution,
             {}});
      population().spreads.back().variables.push_back(variable);
      spreadOf[variable] = population().spreads.size() - 1;
    }
    if (together && name.empty() && varied.size() > 1)
      population().spreads.back().name += " and " + std::to_string(varied.size() - 1) + " more";
  }

  bool isFree(const TomlSection& section, size_t variable, const Span& at) {
    if (!spreadOf[variable]) return true;
    section.problem(at, quoted(population().variables[variable].name()) + " varies twice");
    return false;
  }

  std::optional<Drawn::As> readAs(TomlSection& section) const {
    const std::optional<std::string> word = section.text(kAs);
    if (!word) return section.has(kAs) ? std::nullopt : std::optional(Drawn::As::kValue);
    const std::vector<std::string> ways = asTexts(kWays);
    const auto found = std::find(ways.begin(), ways.end(), *word);
    if (found != ways.end()) return static_cast<Drawn::As>(found - ways.begin());
    section.problem(section.at(kAs), quoted(*word) + " is none of " + listed(ways),
                    didYouMean(*word, ways));
    return std::nullopt;
  }

  std::optional<Distribution> readDistribution(TomlSection& section) const {
    std::string kind;
    std::optional<Distribution> distribution;
    for (const char* const each : kDistributions) {
      auto own = section.section(each);
      if (!own) continue;
      if (!kind.empty())
        section.problem(section.atKey(each),
                        "has two distributions, " + ::quoted(kind) + " and " + quoted(each));
      kind = each;
      distribution = DistributionReader(std::move(*own)).read(kind);
    }
    const auto ends = section.numbers("truncated");
    const auto isThere = [&](const char* each) { return section.has(each); };
    if (std::none_of(kDistributions.begin(), kDistributions.end(), isThere)) {
      section.problem(section.at(), "has no distribution",
                      "give it one of " + listed(asTexts(kDistributions)) +
                          ", such as normal = { interval = [24, 32] }");
    }
    if (distribution && ends) truncate(section, kind, *ends, *distribution);
    return distribution;
  }

  static void truncate(const TomlSection& section, const std::string& kind,
                       const std::vector<double>& ends, Distribution& distribution) {
    const Span at = section.at("truncated");
    if (kind == "list")
      section.problem(at, "a list cannot be truncated", "leave values out of it");
    else if (ends.size() != 2 || ends[0] >= ends[1])
      section.problem(at, "'truncated' must be the two ends beyond which there is nothing");
    else if (!distribution.cut(ends[0], ends[1]))
      section.problem(at, "nothing of the distribution lies between the two");
  }

  // No unit may have what a plant or a workload could not say.
  void checkRange(const TomlSection& section, size_t index, const Drawn& least, const Drawn& most) {
    const Variable& variable = population().variables[index];
    const Span at = section.at(kindOf(section));
    if (!variable.nominal) {
      if (least.as == Drawn::As::kFactor && least.number < 0)
        section.problem(at, fmt::format("the factor of {} may be as low as {:.3g}, below 0",
                                        quoted(variable.name()), least.number));
      return;
    }
    if (variable.name() == "workload.time" && least.as == Drawn::As::kValue)
      return section.problem(section.at(),
                             "'workload.time' cannot be a value: all changes would "
                             "come at once",
                             "write as = \"factor\", or as = \"plus\" for seconds");
    const auto& [lowest, highest, unit, mayBeZero] = variable.bounds;
    for (const Drawn& end : {least, most}) {
      const double number = end.of(*variable.nominal);
      if ((number >= lowest && number <= highest) || (mayBeZero && number == 0)) continue;
      return section.problem(
          at,
          fmt::format("{} may come to {:.3g}, and must lie from {:g} to {:g}{}{}",
                      quoted(variable.name()), number, lowest, highest, *unit ? " " : "", unit),
          "leave out what cannot be, such as truncated = [0.5, 2], or take a lognormal "
          "distribution, which stays above 0");
    }
  }

  static std::string kindOf(const TomlSection& section) {
    for (const char* const each : kDistributions)
      if (section.has(each)) return each;
    return "file";
  }

  void readFit(TomlSection& section, Problems& problems) {
    section.missing("file", "the fit.json of a thermalctl fit");
    const std::optional<std::string> name = section.text("file");
    const bool chooses = section.has(kOf);
    const auto chosen = allMeant(section);
    section.refuseOtherKeys();
    if (!name) return;
    const std::string fitted = (fs::path(path).parent_path() / *name).string();
    result.files.push_back(fitted);
    const FittedNumbers read =
        readFittedNumbers(fitted, {path, section.at("file"), fitted + " ", ""}, problems);
    std::vector<std::optional<size_t>> places; // of their spreads
    for (const FittedNumbers::Number& number : read.numbers)
      places.push_back(addFitted(section, number, chooses ? &chosen : nullptr));
    for (size_t i = 0; i < places.size(); ++i) {
      for (size_t j = 0; j < i; ++j)
        if (places[i] && places[j])
          pairs.push_back({*places[i], *places[j], read.correlations[i * places.size() + j],
                           section.at("file")});
    }
  }

  std::optional<size_t> addFitted(const TomlSection& section, const FittedNumbers::Number& number,
                                  const std::vector<std::pair<size_t, Span>>* chosen) {
    const std::vector<size_t> found = meant(section, section.at("file"), number.name);
    if (found.empty()) return std::nullopt;
    const size_t variable = found.front();
    const auto is = [&](const auto& each) { return each.first == variable; };
    if (chosen && std::none_of(chosen->begin(), chosen->end(), is)) return std::nullopt;
    if (!isFree(section, variable, section.at("file"))) return std::nullopt;
    // A fit knows by its logarithm what is above 0 by its nature.
    const bool byLogarithm = number.low > 0 && number.name.find(".offset") == std::string::npos;
    const Distribution distribution = byLogarithm
                                          ? Distribution::lognormalWithin(number.low, number.high)
                                          : Distribution::normalWithin(number.low, number.high);
    checkRange(section, variable, {Drawn::As::kValue, distribution.least()},
               {Drawn::As::kValue, distribution.most()});
    population().spreads.push_back({population().variables[variable].name(),
                                    "what the fit does not know better",
                                    Drawn::As::kValue,
                                    distribution,
                                    {variable}});
    spreadOf[variable] = population().spreads.size() - 1;
    return spreadOf[variable];
  }

  // Which of the two spreads go together, and how.
  struct Pair {
    size_t one, other;
    double correlation;
    Span at;
  };

  std::optional<size_t> spreadNamed(const TomlSection& section, size_t which,
                                    const std::string& name) {
    std::vector<std::string> names;
    for (size_t i = 0; i < population().spreads.size(); ++i) {
      const Spread& spread = population().spreads[i];
      names.push_back(spread.name);
      const bool isOfIt = std::any_of(spread.variables.begin(), spread.variables.end(),
                                      [&](size_t variable) { return isCalled(variable, name); });
      if (spread.name == name || isOfIt) return i;
    }
    section.problem(section.at("between", which), quoted(name) + " does not vary",
                    didYouMean(name, names, names.empty() ? "" : "there vary " + listed(names)));
    return std::nullopt;
  }

  void readCorrelation(TomlSection& section) {
    section.missing("between", "the two numbers that go together");
    section.missing("is", "from -1 to 1");
    const std::vector<std::string> names = section.texts("between");
    const auto correlation = section.number("is", {-1, 1});
    section.refuseOtherKeys();
    if (names.size() != 2) {
      if (section.has("between"))
        section.problem(section.at("between"), "'between' must name two numbers that vary");
      return;
    }
    const auto one = spreadNamed(section, 0, names[0]);
    const auto other = spreadNamed(section, 1, names[1]);
    if (!one || !other || !correlation) return;
    if (one == other)
      return section.problem(section.at("between"), "the two vary together already");
    const bool known = std::any_of(pairs.begin(), pairs.end(), [&](const Pair& pair) {
      return std::minmax(pair.one, pair.other) == std::minmax(*one, *other);
    });
    if (known) return section.problem(section.at("between"), "the two have a correlation already");
    pairs.push_back({*one, *other, *correlation, section.at("is")});
  }

  void correlate() {
    for (TomlSection& section : file.list("correlation"))
      readCorrelation(section);
    if (pairs.empty()) return;
    // Which pair is told: the first one that spoils what those before it allow. Of none the matrix
    // is that of the diagonal, so that this ends.
    size_t good = pairs.size();
    while (!factorOf(good))
      --good;
    if (good == pairs.size())
      population().factor = *factorOf(good);
    else
      file.problem(
          pairs[good].at,
          "no numbers have all the correlations up to this one: their matrix is not "
          "positive definite",
          "give it less, or correlate the others of these numbers, too; what is 1 or -1 is "
          "a group that varies together");
  }

  // Of so many of the pairs.
  std::optional<SquareMatrix> factorOf(size_t count) {
    const size_t size = population().spreads.size();
    SquareMatrix matrix(size * size);
    for (size_t i = 0; i < size; ++i)
      matrix[i * size + i] = 1;
    for (size_t i = 0; i < count; ++i) {
      const Pair& pair = pairs[i];
      matrix[pair.one * size + pair.other] = matrix[pair.other * size + pair.one] =
          pair.correlation;
    }
    return choleskyOf(matrix, size);
  }

  TomlSection file;
  const std::string& path;
  Tolerated result;
  std::vector<std::optional<size_t>> spreadOf; // of each variable
  std::vector<Pair> pairs;
};

} // namespace

Tolerated readTolerances(const std::string& path, const std::vector<RunInput>& runs,
                         const std::string& plantFile, Problems& problems) {
  errno = 0;
  const std::optional<std::string> text = readFile(path);
  if (!text) {
    problems.add({path, {}, "cannot be read: " + std::generic_category().message(errno)});
    return {};
  }
  std::vector<Variable> variables = variablesOf(runs, problems.source(plantFile).text(), plantFile);
  const auto table = parseToml(*text, path, problems);
  if (!table) return {};
  return ToleranceReader(TomlSection(*table, path, problems), path, std::move(variables))
      .read(problems);
}
