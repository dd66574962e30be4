#include "margin/MarginResult.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "margin/Population.h"
#include "text/Phrases.h"

namespace {

constexpr size_t kWorst = 10;
constexpr size_t kBars = 60;
constexpr double kConfidence = 0.95;
constexpr double kOutOf95 = 1.959963984540054;

using Blocks = std::vector<std::vector<int32_t>>;

// Behind which numbers of units it is told how many had not kept a budget.
std::vector<uint64_t> lookouts(uint64_t units) {
  // Each a quarter further, so that they lie evenly by the logarithm: most happens in the first
  // hundreds of units, and little in the last hundred thousands.
  std::vector<uint64_t> all;
  for (double next = 10; next < static_cast<double>(units); next *= 1.25)
    all.push_back(static_cast<uint64_t>(next));
  all.push_back(units);
  return all;
}

// The worst first, of equal ones the earlier unit.
class WorstUnits {
public:
  explicit WorstUnits(bool lowIsWorse_) : lowIsWorse(lowIsWorse_) {}

  template <typename Numbers> void offer(uint64_t unit, int32_t value, const Numbers& numbers) {
    if (value == kUnseen || (worst.size() == kWorst && !isWorse(value, worst.back().value))) return;
    if (worst.size() == kWorst) worst.pop_back();
    const auto place = std::find_if(worst.begin(), worst.end(),
                                    [&](const auto& other) { return isWorse(value, other.value); });
    worst.insert(place, {unit, value, numbers});
  }

  std::vector<MarginResult::Worst> worst;

private:
  bool isWorse(int32_t value, int32_t other) const {
    return lowIsWorse ? value < other : value > other;
  }

  bool lowIsWorse;
};

// The sums of a rank correlation between a figure and each driver.
class RankSums {
public:
  explicit RankSums(size_t drivers) : grades(drivers), squares(drivers), products(drivers) {}

  void add(double rank, const std::vector<double>& drivers) {
    ++count;
    sum += rank;
    square += rank * rank;
    for (size_t i = 0; i < drivers.size(); ++i) {
      grades[i] += drivers[i];
      squares[i] += drivers[i] * drivers[i];
      products[i] += drivers[i] * rank;
    }
  }

  std::vector<Known> correlations() const {
    const double n = count;
    const double spread = square - sum * sum / n;
    std::vector<Known> all;
    if (count < 4 || spread <= 1e-12 * n) return all;
    for (size_t i = 0; i < grades.size(); ++i) {
      // Sums of squares about the means: r = together / sqrt(own * spread).
      const double own = squares[i] - grades[i] * grades[i] / n;
      const double together = products[i] - grades[i] * sum / n;
      all.push_back(known(own <= 0 ? 0 : together / std::sqrt(own * spread), n));
    }
    return all;
  }

private:
  // Bonett and Wright: Sample size requirements for estimating Pearson, Kendall and Spearman
  // correlations (2000).
  static Known known(double correlation, double n) {
    const double bounded = std::clamp(correlation, -0.999999, 0.999999);
    // By atanh r, which is about normal with the variance (1 + r^2 / 2) / (n - 3).
    const double half = kOutOf95 * std::sqrt((1 + bounded * bounded / 2) / (n - 3));
    return {correlation,
            {std::tanh(std::atanh(bounded) - half), std::tanh(std::atanh(bounded) + half)}};
  }

  double count = 0, sum = 0, square = 0;
  std::vector<double> grades, squares, products;
};

// Makes a result of what one run of a study came to.
class RunReader {
public:
  RunReader(const MarginStudy& study_, size_t run_, uint64_t first_, const UnitRows& units_,
            const std::optional<Question>& question_)
      : study(study_), run(study_.runs[run_]), column(study_.firstColumn(run_)), first(first_),
        units(units_), question(question_), looks(lookouts(units_.rows())) {
    for (const BudgetMeasures& budget : run.figures.budgets)
      worst.emplace_back(of(budget.measured) == Measure::Of::kWork);
    if (run.budgets.empty()) worst.emplace_back(false);
    result.budgets.resize(run.budgets.size());
    for (MarginResult::Budgeted& budget : result.budgets)
      budget.common.resize(study.drivers.size());
  }

  MarginResult::Run read() {
    summarise();
    std::vector<size_t> all;
    for (size_t i = 0; i < run.figures.measures.size(); ++i)
      all.push_back(column + i);
    units.eachBlock(all, [this](size_t before, size_t rows, const Blocks& values) {
      for (size_t row = 0; row < rows; ++row)
        take(first + before + row, row, values);
    });
    finish();
    return std::move(result);
  }

private:
  Measure::Of of(size_t measure) const { return run.figures.measures[measure].of; }

  void summarise() {
    for (size_t i = 0; i < run.figures.measures.size(); ++i) {
      if (of(i) == Measure::Of::kVerdict) continue;
      auto summary = std::make_unique<ColumnSummary>(units, column + i);
      result.figures.push_back(
          {i,
           summary->units,
           summary->mean,
           summary->least,
           summary->most,
           summary->percentiles,
           summary->units == 0 ? std::vector<uint64_t>() : summary->histogram(kBars),
           {},
           {}});
      summaries.push_back(std::move(summary));
      sums.emplace_back(study.drivers.size());
    }
  }

  void take(uint64_t unit, size_t row, const Blocks& values) {
    // Drawn again instead of kept: they follow from the seed and the unit's number.
    const std::vector<double> numbers = correlated(
        standardNumbers(study.seed, unit, Stream::kUnit, study.drivers.size()), study.factor);
    const std::vector<double> grades = gradesOf(numbers);
    for (size_t i = 0; i < summaries.size(); ++i) {
      const int32_t value = values[result.figures[i].measure][row];
      if (value != kUnseen) sums[i].add(summaries[i]->ranks[summaries[i]->placeOf(value)], grades);
    }
    for (size_t i = 0; i < result.budgets.size(); ++i) {
      const BudgetMeasures& budget = run.figures.budgets[i];
      worst[i].offer(unit, values[budget.measured][row], numbers);
      count(unit, values[budget.verdict][row], numbers, result.budgets[i]);
    }
    if (result.budgets.empty()) worst[0].offer(unit, values[0][row], numbers);
    if (values[stillness()][row] != kUnseen) ++result.stoodStill;
  }

  // Behind what stands for each sensor, device and source.
  size_t stillness() const {
    size_t place = 0;
    while (run.figures.measures[place].of != Measure::Of::kTime)
      ++place;
    return place;
  }

  // What share of all units has less of each driver. Of a list's value it is the middle.
  std::vector<double> gradesOf(const std::vector<double>& numbers) const {
    std::vector<double> grades;
    for (size_t i = 0; i < numbers.size(); ++i) {
      const std::vector<double>& steps = study.drivers[i].steps;
      const double grade = normalProbability(numbers[i]);
      const auto step = std::lower_bound(steps.begin(), steps.end(), grade);
      if (step == steps.end())
        grades.push_back(grade);
      else
        grades.push_back((*step + (step == steps.begin() ? 0 : *std::prev(step))) / 2);
    }
    return grades;
  }

  void count(uint64_t unit, int32_t verdict, const std::vector<double>& numbers,
             MarginResult::Budgeted& budget) const {
    const auto is = static_cast<Verdict::Is>(verdict);
    ++(is == Verdict::Is::kKept     ? budget.kept
       : is == Verdict::Is::kPassed ? budget.broken
                                    : budget.unjudged);
    if (is == Verdict::Is::kPassed)
      for (size_t i = 0; i < numbers.size(); ++i)
        budget.common[i] += numbers[i];
    const uint64_t known = unit - first + 1;
    const uint64_t notKept = known - budget.kept;
    if (known == looks[budget.convergence.size()]) budget.convergence.push_back({known, notKept});
    if (question && !budget.answeredAt && question->isAnswered(notKept, known)) {
      budget.answeredAt = unit;
      budget.isAtMost = question->isAtMost(notKept, known);
    }
  }

  void finish() {
    for (size_t i = 0; i < sums.size(); ++i)
      result.figures[i].correlations = sums[i].correlations();
    for (size_t i = 0; i < result.budgets.size(); ++i) {
      MarginResult::Budgeted& budget = result.budgets[i];
      budget.keeping = shareOf(budget.kept, budget.units(), kConfidence);
      for (double& each : budget.common)
        each /= static_cast<double>(std::max<uint64_t>(1, budget.broken));
      if (budget.broken == 0) budget.common.clear();
      budget.worst = std::move(worst[i].worst);
    }
    if (result.budgets.empty()) result.hottest = std::move(worst[0].worst);
  }

  const MarginStudy& study;
  const MarginStudy::Run& run;
  const size_t column;
  const uint64_t first;
  const UnitRows& units;
  const std::optional<Question>& question;
  const std::vector<uint64_t> looks;
  MarginResult::Run result;
  std::vector<std::unique_ptr<ColumnSummary>> summaries; // of each figure
  std::vector<RankSums> sums;                            // of each figure
  std::vector<WorstUnits> worst;                         // of each budget
};

// The Sobol indices of each figure of a run.
void addSobol(const MarginStudy& study, size_t run, const UnitRows& samples,
              std::vector<MarginResult::Figure>& figures) {
  const size_t size = study.sobolRuns();
  std::vector<SobolSums> sums;
  std::vector<size_t> columns;
  for (const MarginResult::Figure& figure : figures) {
    sums.emplace_back(study.independent.size(), figure.mean);
    columns.push_back(study.firstColumn(run) + figure.measure);
  }
  // A sample may lie in two blocks.
  std::vector<std::vector<double>> sample(figures.size());
  std::vector<bool> isSeen(figures.size(), true);
  uint64_t number = 1;
  const auto settle = [&] {
    const std::vector<uint8_t> weights = weightsOf(study.seed, number++);
    for (size_t i = 0; i < figures.size(); ++i) {
      if (isSeen[i]) sums[i].add(sample[i], weights);
      sample[i].clear();
      isSeen[i] = true;
    }
  };
  samples.eachBlock(columns, [&](size_t, size_t rows, const Blocks& values) {
    for (size_t row = 0; row < rows; ++row) {
      for (size_t i = 0; i < figures.size(); ++i) {
        isSeen[i] = isSeen[i] && values[i][row] != kUnseen;
        sample[i].push_back(values[i][row]);
      }
      if (sample.front().size() == size) settle();
    }
  });
  for (size_t i = 0; i < figures.size(); ++i)
    figures[i].sobol = sums[i].indices();
}

} // namespace

MarginResult resultOf(const MarginStudy& study, uint64_t first, const UnitRows& units,
                      const UnitRows& samples, const std::optional<Question>& question) {
  MarginResult result;
  result.units = {first, first + units.rows()};
  result.samples = samples.rows() / study.sobolRuns();
  result.question = question;
  for (size_t run = 0; run < study.runs.size(); ++run) {
    result.runs.push_back(RunReader(study, run, first, units, question).read());
    if (result.samples > 0) addSobol(study, run, samples, result.runs.back().figures);
  }
  return result;
}

bool Answering::isAnsweredBy(const std::vector<int32_t>& row) {
  if (!question) return false;
  ++units;
  size_t place = 0;
  for (size_t run = 0; run < study.runs.size(); ++run) {
    for (const BudgetMeasures& budget : study.runs[run].figures.budgets) {
      notKept.resize(std::max(notKept.size(), place + 1));
      isAnswered.resize(notKept.size());
      const auto is = static_cast<Verdict::Is>(row[study.firstColumn(run) + budget.verdict]);
      notKept[place] += is == Verdict::Is::kKept ? 0 : 1;
      if (!isAnswered[place]) isAnswered[place] = question->isAnswered(notKept[place], units);
      ++place;
    }
  }
  return place > 0 && std::find(isAnswered.begin(), isAnswered.end(), false) == isAnswered.end();
}

MarginResult::Answer MarginResult::answerTo(const Budgeted& budget) const {
  if (!question && budget.broken > 0) return Answer::kBroken;
  if (budget.unjudged > 0 || (question && !budget.answeredAt)) return Answer::kOpen;
  return !question || budget.isAtMost ? Answer::kKept : Answer::kBroken;
}

MarginResult::Answer MarginResult::answer() const {
  bool isBroken = false;
  bool isOpen = false;
  for (const Run& run : runs) {
    isOpen = isOpen || (run.budgets.empty() && run.stoodStill > 0);
    for (const Budgeted& budget : run.budgets) {
      isBroken = isBroken || answerTo(budget) == Answer::kBroken;
      isOpen = isOpen || answerTo(budget) == Answer::kOpen;
    }
  }
  if (isOpen) return Answer::kOpen;
  return isBroken ? Answer::kBroken : Answer::kKept;
}

std::string partName(const MarginStudy& study, const std::vector<size_t>& part) {
  std::vector<std::string> names;
  names.reserve(part.size());
  for (const size_t driver : part)
    names.push_back(study.drivers[driver].name);
  return enumerated(names);
}
