#include "margin/MarginPage.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "margin/MarginText.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

constexpr char kPageStyle[] =
    "body{font:15px/1.5 system-ui,sans-serif;max-width:1000px;margin:2rem auto;padding:0 1rem;"
    "color:#1c2430;background:#fff}h1{font-size:1.5rem}h2{font-size:1.2rem;margin-top:2.2rem}"
    "h3{font-size:1rem;margin:1.4rem 0 .2rem}table{border-collapse:collapse;font-size:.85rem}"
    "th,td{padding:.15rem .6rem;text-align:right;border-bottom:1px solid #dde2e8}"
    "th:first-child,td:first-child,.l{text-align:left}.bad{color:#b3261e}.open{color:#9a6a00}"
    ".wide{overflow-x:auto}code{font-size:.8rem;overflow-wrap:anywhere}"
    "svg{width:100%;min-width:42rem;height:auto;background:#f6f8fa}"
    "text{font:12px system-ui,sans-serif;fill:#4a5563}.b{fill:#2767b0}.o{fill:#c2410c}"
    ".r{stroke:#b3261e;stroke-width:1.5;stroke-dasharray:4 3}.k{stroke:#1c2430;fill:none}"
    ".i{fill:#2767b0;fill-opacity:.2}.z{stroke:#8792a1;stroke-width:1}";

constexpr double kPageWidth = 900;
constexpr double kLabels = 260; // beside pictures
constexpr double kRow = 46;     // of a distribution
constexpr double kBar = 18;     // of a driver
constexpr size_t kDriversShown = 8;
constexpr size_t kLabelCharacters = 36; // what there is room for beside pictures

// Maps a range to a part of a picture.
struct Axis {
  double from, to, start, length;
  double of(double value) const {
    return to > from ? start + (value - from) / (to - from) * length : start;
  }
};

// A budget of a run, with its figure.
struct Shown {
  const MarginStudy::Run& run;
  const MarginResult::Run& result;
  size_t budget;

  const Measure& measure() const {
    return run.figures.measures[run.figures.budgets[budget].measured];
  }
  const MarginResult::Figure& figure() const { return figureOf(run, result, budget); }
  const MarginResult::Budgeted& counts() const { return result.budgets[budget]; }
};

// The contents of a text beside a picture: a long name in short, and whole where the pointer rests.
std::string labelOf(const std::string& name) {
  if (charactersIn(name) <= kLabelCharacters) return escapedMarkup(name);
  return escapedMarkup(firstCharacters(name, kLabelCharacters - 1)) + "\u2026<title>" +
         escapedMarkup(name) + "</title>";
}

const char* classOf(MarginResult::Answer answer) {
  if (answer == MarginResult::Answer::kBroken) return "bad";
  return answer == MarginResult::Answer::kOpen ? "open" : "";
}

class MarginPageWriter {
public:
  MarginPageWriter(const MarginStudy& study_, const MarginResult& result_, std::ostream& out_)
      : study(study_), result(result_), out(out_) {}

  void write(bool complete) {
    const std::string title = escapedMarkup(study.title);
    out << "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>"
        << title << "</title>\n<style>" << kPageStyle << "</style>\n</head>\n<body>\n<h1>" << title
        << "</h1>\n";
    out << fmt::format("<p>Units {} to {}, {} each, seed {}.</p>\n", result.units.first,
                       result.units.end - 1, clockOf(study.duration), study.seed);
    if (!complete)
      out << "<p class=\"bad\">Interrupted: this is what the units up to there tell.</p>\n";
    writeShares();
    writeDistributions();
    writeDrivers();
    writeWorst();
    writeConvergence();
    writeInputs();
    out << "</body>\n</html>\n";
  }

private:
  template <typename Visit> void eachBudget(Visit visit) const {
    for (size_t run = 0; run < study.runs.size(); ++run)
      for (size_t budget = 0; budget < study.runs[run].budgets.size(); ++budget)
        visit(Shown{study.runs[run], result.runs[run], budget});
  }

  double inUnits(const Measure& measure, int32_t value) const {
    return measure.inUnits(value, study.duration);
  }

  std::string cell(const Shown& shown, int32_t value) const {
    return figureText(study, shown.measure(), value);
  }

  void writeShares() {
    out << "<h2>What share keeps its limits</h2><div class=\"wide\"><table><tr><th>run</th>"
           "<th class=\"l\">limit</th><th>keep it</th><th>share that does not, 95 %</th>"
           "<th>median</th><th>p99</th><th>worst</th></tr>\n";
    eachBudget([this](const Shown& shown) {
      const auto& counts = shown.counts();
      const auto& figure = shown.figure();
      const auto value = [&](bool there, size_t which) {
        return there ? cell(shown, figure.percentiles[which]) : std::string("-");
      };
      out << fmt::format(
          "<tr class=\"{}\"><td>{}</td><td class=\"l\">{}</td><td>{} of {}</td><td>{}</td>"
          "<td>{}</td><td>{}</td><td>{}</td></tr>\n",
          classOf(result.answerTo(counts)), escapedMarkup(shown.run.name),
          escapedMarkup(textOf(shown.run.budgets[shown.budget])), counts.kept, counts.units(),
          brokenText(counts), value(figure.units > 0, 3), value(figure.units > 0, 6),
          counts.worst.empty() ? "-" : cell(shown, counts.worst.front().value));
    });
    out << "</table></div>\n";
    eachBudget([this](const Shown& shown) {
      const std::string answer = answerText(result, shown.counts());
      if (!answer.empty())
        out << "<p>" << escapedMarkup(nameOf(shown) + ": " + answer) << ".</p>\n";
    });
  }

  static std::string nameOf(const Shown& shown) {
    return textOf(shown.run.budgets[shown.budget]) + " in " + shown.run.name;
  }

  // Side by side: those of one figure of one workload, in whatever configuration.
  void writeDistributions() {
    std::map<std::string, size_t> order;
    std::vector<std::pair<std::string, std::vector<std::pair<size_t, size_t>>>> groups;
    for (size_t run = 0; run < study.runs.size(); ++run) {
      for (size_t i = 0; i < result.runs[run].figures.size(); ++i) {
        const auto& figure = result.runs[run].figures[i];
        const Measure& measure = study.runs[run].figures.measures[figure.measure];
        if (figure.units == 0 || figure.most == figure.least || !isShown(run, figure.measure))
          continue;
        const std::string key = study.runs[run].workload + ": " + measure.name;
        if (order.emplace(key, groups.size()).second) groups.push_back({key, {}});
        groups[order[key]].second.emplace_back(run, i);
      }
    }
    if (!groups.empty()) out << "<h2>How the figures are spread</h2>\n";
    for (const auto& [key, members] : groups)
      drawDistributions(key, members);
  }

  // What a limit is held against; without any, the peaks.
  bool isShown(size_t run, size_t measure) const {
    const auto& figures = study.runs[run].figures;
    if (figures.budgets.empty()) return figures.measures[measure].of == Measure::Of::kTemperature;
    return std::any_of(figures.budgets.begin(), figures.budgets.end(),
                       [&](const auto& budget) { return budget.measured == measure; });
  }

  void drawDistributions(const std::string& title,
                         const std::vector<std::pair<size_t, size_t>>& members) {
    double from = std::numeric_limits<double>::infinity();
    double to = -from;
    const auto figureAt = [&](const auto& member) -> const MarginResult::Figure& {
      return result.runs[member.first].figures[member.second];
    };
    const auto measureAt = [&](const auto& member) -> const Measure& {
      return study.runs[member.first].figures.measures[figureAt(member).measure];
    };
    std::set<double> bounds;
    for (const auto& member : members) {
      from = std::min(from, inUnits(measureAt(member), figureAt(member).least));
      to = std::max(to, inUnits(measureAt(member), figureAt(member).most));
      for (const double bound : boundsOf(member.first, figureAt(member).measure))
        bounds.insert(bound);
    }
    for (const double bound : bounds) {
      from = std::min(from, bound);
      to = std::max(to, bound);
    }
    const Axis x{from, to, kLabels, kPageWidth - kLabels - 20};
    const double height = kRow * static_cast<double>(members.size()) + 22;
    out << "<h3>" << escapedMarkup(title) << "</h3>\n";
    beginPicture(height, "how many units have which value, a row for each configuration");
    for (size_t row = 0; row < members.size(); ++row)
      drawHistogram(members[row], figureAt(members[row]), measureAt(members[row]), x,
                    kRow * static_cast<double>(row));
    for (const double bound : bounds)
      out << fmt::format(
          "<line class=\"r\" x1=\"{0:.1f}\" x2=\"{0:.1f}\" y1=\"0\" y2=\"{1:.0f}\"/>", x.of(bound),
          height - 20);
    const char* const unit = measureAt(members.front()).unit();
    out << fmt::format("<text x=\"{}\" y=\"{:.0f}\">{:.4g} {}</text><text x=\"{}\" y=\"{:.0f}\" "
                       "text-anchor=\"end\">{:.4g} {}</text>",
                       kLabels, height - 5, from, unit, kPageWidth - 20, height - 5, to, unit);
    endPicture();
  }

  // On a narrow page it is moved sideways by itself.
  void beginPicture(double height, const char* title) {
    out << fmt::format("<div class=\"wide\"><svg viewBox=\"0 0 {} {:.0f}\" role=\"img\">"
                       "<title>{}</title>",
                       kPageWidth, height, title);
  }
  void endPicture() { out << "</svg></div>\n"; }

  // In the unit of the figure.
  std::vector<double> boundsOf(size_t run, size_t measure) const {
    std::vector<double> bounds;
    const MarginStudy::Run& asked = study.runs[run];
    for (size_t i = 0; i < asked.budgets.size(); ++i) {
      const Budget& budget = asked.budgets[i];
      if (asked.figures.budgets[i].measured != measure) continue;
      if (budget.of == Budget::Of::kTimeAbove)
        bounds.push_back(static_cast<double>(budget.allowed) / 1000);
      else if (budget.ofTemperature())
        bounds.push_back(budget.bound / 1000);
      else
        bounds.push_back(budget.of == Budget::Of::kWork ? 100 * budget.bound : budget.bound);
    }
    return bounds;
  }

  void drawHistogram(const std::pair<size_t, size_t>& member, const MarginResult::Figure& figure,
                     const Measure& measure, const Axis& x, double top) {
    const double low = inUnits(measure, figure.least);
    const double high = inUnits(measure, figure.most);
    const auto bars = static_cast<double>(figure.histogram.size());
    const auto most =
        static_cast<double>(*std::max_element(figure.histogram.begin(), figure.histogram.end()));
    const double width = std::max(0.6, (x.of(high) - x.of(low)) / bars);
    out << fmt::format("<text x=\"2\" y=\"{:.0f}\">{}</text>\n", top + 22,
                       labelOf(study.runs[member.first].configuration));
    out << fmt::format("<text x=\"2\" y=\"{:.0f}\">median {}</text>\n", top + 38,
                       figureText(study, measure, figure.percentiles[3]));
    for (size_t i = 0; i < figure.histogram.size(); ++i) {
      // One unit shall be seen, too.
      const double tall =
          figure.histogram[i] == 0
              ? 0
              : std::max(1.0, (kRow - 6) * static_cast<double>(figure.histogram[i]) / most);
      if (tall > 0)
        out << fmt::format(
            "<rect class=\"b\" x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.2f}\" height=\"{:.1f}\"/>",
            x.of(low) + width * static_cast<double>(i), top + kRow - tall, width, tall);
    }
    out << '\n';
  }

  void writeDrivers() {
    bool any = false;
    eachBudget([&](const Shown& shown) {
      if (shown.figure().correlations.empty() && shown.figure().sobol.empty()) return;
      if (!any) out << "<h2>What drives them</h2><p>" << explanation() << "</p>\n";
      any = true;
      out << "<h3>" << escapedMarkup(nameOf(shown) + ": " + shown.measure().name) << "</h3>\n";
      drawDrivers(shown);
      const std::string common = commonText(study, shown.counts());
      if (!common.empty()) out << "<p>" << escapedMarkup(common) << ".</p>\n";
    });
  }

  std::string explanation() const {
    return result.samples == 0 ? "Rank correlation with each number that varies, with its interval "
                                 "of 95 %: what the "
                                 "figure grows with, and what it falls with."
                               : "The share of the figure's variance that each number makes by "
                                 "itself (wide), and all "
                                 "that it takes part in (narrow), with intervals of 95 %.";
  }

  struct Bar {
    std::string name;
    Known wide;
    Known narrow;
  };

  std::vector<Bar> barsOf(const MarginResult::Figure& figure) const {
    std::vector<Bar> bars;
    for (size_t i = 0; i < figure.sobol.size(); ++i)
      bars.push_back(
          {partName(study, study.independent[i]), figure.sobol[i].first, figure.sobol[i].total});
    for (size_t i = 0; figure.sobol.empty() && i < figure.correlations.size(); ++i)
      bars.push_back({study.drivers[i].name, figure.correlations[i], figure.correlations[i]});
    std::stable_sort(bars.begin(), bars.end(), [](const Bar& a, const Bar& b) {
      return std::abs(a.wide.value) > std::abs(b.wide.value);
    });
    bars.resize(std::min(bars.size(), kDriversShown));
    return bars;
  }

  void drawDrivers(const Shown& shown) {
    const std::vector<Bar> bars = barsOf(shown.figure());
    const bool bySobol = !shown.figure().sobol.empty();
    const Axis x{bySobol ? -0.1 : -1, 1, kLabels, kPageWidth - kLabels - 70};
    const double height = kBar * static_cast<double>(bars.size()) + 4;
    beginPicture(height, "drivers");
    for (size_t i = 0; i < bars.size(); ++i) {
      const double top = kBar * static_cast<double>(i) + 2;
      out << fmt::format("<text x=\"2\" y=\"{:.0f}\">{}</text>", top + 13, labelOf(bars[i].name));
      drawBar(x, bars[i].wide, top + 2, kBar - 6, "b");
      if (bySobol) drawBar(x, bars[i].narrow, top + 6, kBar - 14, "o");
      out << fmt::format("<text x=\"{}\" y=\"{:.0f}\">{}</text>\n", kPageWidth - 65, top + 13,
                         bySobol ? rounded(100 * bars[i].wide.value, 0) + " %"
                                 : fmt::format("{:+.2f}", bars[i].wide.value));
    }
    out << fmt::format("<line class=\"z\" x1=\"{0:.1f}\" x2=\"{0:.1f}\" y1=\"0\" y2=\"{1:.0f}\"/>",
                       x.of(0), height);
    endPicture();
  }

  void drawBar(const Axis& x, const Known& known, double top, double tall, const char* kind) {
    const double from = std::min(x.of(0), x.of(known.value));
    out << fmt::format(
        "<rect class=\"{}\" x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.1f}\"/>", kind,
        from, top, std::abs(x.of(known.value) - x.of(0)), tall);
    out << fmt::format(
        "<line class=\"k\" x1=\"{0:.1f}\" x2=\"{1:.1f}\" y1=\"{2:.1f}\" y2=\"{2:.1f}\"/>",
        x.of(std::clamp(known.interval.low, x.from, x.to)),
        x.of(std::clamp(known.interval.high, x.from, x.to)), top + tall / 2);
  }

  void writeWorst() {
    out << "<h2>The worst units</h2><p>Each runs by itself, with the same figures and its courses: "
           "<code>"
        << escapedMarkup(study.replay) << " --unit NUMBER --out report</code></p>\n";
    eachBudget([this](const Shown& shown) {
      writeWorst(nameOf(shown), shown.measure(), shown.counts().worst);
    });
    for (size_t run = 0; run < study.runs.size(); ++run)
      writeWorst(study.runs[run].name, study.runs[run].figures.measures.front(),
                 result.runs[run].hottest);
  }

  void writeWorst(const std::string& title, const Measure& measure,
                  const std::vector<MarginResult::Worst>& worst) {
    if (worst.empty()) return;
    out << "<h3>" << escapedMarkup(title) << "</h3><div class=\"wide\"><table><tr><th>unit</th><th>"
        << escapedMarkup(measure.name) << "</th><th class=\"l\">what is far out in it</th></tr>\n";
    for (const MarginResult::Worst& each : worst)
      out << fmt::format("<tr><td>{}</td><td>{}</td><td class=\"l\">{}</td></tr>\n", each.unit,
                         figureText(study, measure, each.value), escapedMarkup(farOut(each)));
    out << "</table></div>\n";
  }

  // The three numbers that are furthest from the middle.
  std::string farOut(const MarginResult::Worst& worst) const {
    std::vector<std::pair<double, std::string>> all;
    for (size_t i = 0; i < worst.numbers.size(); ++i)
      all.emplace_back(worst.numbers[i], study.drivers[i].name);
    std::stable_sort(all.begin(), all.end(), [](const auto& a, const auto& b) {
      return std::abs(a.first) > std::abs(b.first);
    });
    all.resize(std::min<size_t>(all.size(), 3));
    std::vector<std::string> texts;
    texts.reserve(all.size());
    for (const auto& [number, name] : all)
      texts.push_back(fmt::format("{} {:+.1f}", name, number));
    return enumerated(texts);
  }

  void writeConvergence() {
    out << "<h2>How the share became known</h2><p>The share of units that do not keep it, with its "
           "interval of 95 %, over the number of units, from ten on.</p>\n";
    eachBudget([this](const Shown& shown) {
      if (shown.counts().convergence.size() < 2 || shown.counts().kept == shown.counts().units())
        return;
      out << "<h3>" << escapedMarkup(nameOf(shown)) << "</h3>\n";
      drawConvergence(shown.counts().convergence);
    });
  }

  void drawConvergence(const std::vector<MarginResult::Look>& looks) {
    constexpr double kTall = 120;
    double most = 0;
    std::vector<Interval> intervals;
    for (const MarginResult::Look& look : looks) {
      intervals.push_back(shareOf(look.notKept, look.units, 0.95));
      // The first few know nothing, and would leave no room for the rest.
      if (intervals.size() > looks.size() / 3) most = std::max(most, intervals.back().high);
    }
    const Axis x{std::log(static_cast<double>(looks.front().units)),
                 std::log(static_cast<double>(looks.back().units)), 70, kPageWidth - 100};
    const Axis y{0, most, kTall - 20, -(kTall - 30)};
    std::string line, upper, lower;
    for (size_t i = 0; i < looks.size(); ++i) {
      const double at = x.of(std::log(static_cast<double>(looks[i].units)));
      const double share =
          static_cast<double>(looks[i].notKept) / static_cast<double>(looks[i].units);
      const auto point = [&](double value) {
        return fmt::format("{:.1f},{:.1f} ", at, y.of(std::min(value, most)));
      };
      line += point(share);
      upper += point(intervals[i].high);
      lower.insert(0, point(intervals[i].low));
    }
    beginPicture(kTall, "share over units");
    out << fmt::format(
        "<polygon class=\"i\" points=\"{}{}\"/><polyline class=\"k\" points=\"{}\"/><text x=\"2\" "
        "y=\"16\">{} %</text>"
        "<text x=\"2\" y=\"{}\">0 %</text><text x=\"70\" y=\"{}\">{}</text><text x=\"{}\" y=\"{}\" "
        "text-anchor=\"end\">{} units</text>",
        upper, lower, line, percentOf(most), kTall - 20, kTall - 4, looks.front().units,
        kPageWidth - 30, kTall - 4, looks.back().units);
    endPicture();
  }

  void writeInputs() {
    out << "<h2>What varies, and why</h2><div class=\"wide\"><table><tr><th>number</th><th "
           "class=\"l\">reason</th></tr>\n";
    for (const MarginStudy::Driver& driver : study.drivers)
      out << "<tr><td>" << escapedMarkup(driver.name) << "</td><td class=\"l\">"
          << escapedMarkup(driver.reason) << "</td></tr>\n";
    out << "</table></div>\n<h2>What it was made from</h2><div "
           "class=\"wide\"><table><tr><th>file</th>"
           "<th class=\"l\">SHA-256</th></tr>\n";
    for (const Provenance::Input& input : study.inputs)
      out << "<tr><td>" << escapedMarkup(input.path) << "</td><td class=\"l\"><code>"
          << input.sha256 << "</code></td></tr>\n";
    out << "</table></div>\n";
  }

  const MarginStudy& study;
  const MarginResult& result;
  std::ostream& out;
};

} // namespace

void writeMarginPage(const MarginStudy& study, const MarginResult& result, bool complete,
                     std::ostream& out) {
  MarginPageWriter(study, result, out).write(complete);
}
