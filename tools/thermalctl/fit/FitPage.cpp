#include "fit/FitPage.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "fit/PlantText.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

// In units of the picture, which the browser scales to the width of the page.
constexpr double kWidth = 900;
constexpr double kHeight = 170;
constexpr double kResidualHeight = 60;
constexpr size_t kPoints = 800;

constexpr char kStyle[] =
    "body{font:15px/1.5 system-ui,sans-serif;max-width:960px;margin:2rem auto;padding:0 1rem;"
    "color:#1c2430;background:#fff}h1{font-size:1.5rem}h2{font-size:1.15rem;margin-top:2rem}"
    "h3{font-size:1rem;margin:1.2rem 0 .2rem}table{border-collapse:collapse;font-size:.9rem}"
    "th,td{padding:.15rem .6rem;text-align:right;border-bottom:1px solid #dde2e8}"
    "th:first-child,td:first-child{text-align:left}.kept{color:#9a4a00}"
    ".corr td,.corr th{padding:.1rem .35rem;font-size:.75rem}.wide{overflow-x:auto}"
    "svg{width:100%;height:auto;background:#f6f8fa}.m{fill:#2767b0;fill-opacity:.45}"
    ".f{fill:none;stroke:#c2410c;stroke-width:1.6}.z{stroke:#8792a1;stroke-width:1}"
    "text{font:11px system-ui,sans-serif;fill:#4a5563}";

struct Point {
  double time = 0;
  double measured = 0;
  double fitted = 0;
};

using Courses = std::map<std::pair<size_t, size_t>, std::vector<Point>>; // by recording and output

// Each nth reading, so that of a million 800 to 1,600 are left: a browser would choke on all.
Courses coursesOf(const Misfit& misfit, const Estimation& estimation) {
  std::map<std::pair<size_t, size_t>, size_t> skips;
  std::map<std::pair<size_t, size_t>, size_t> seen;
  for (const Agreeing& one : estimation.agreement)
    skips[{one.recording, one.output}] = std::max<size_t>(1, one.readings / kPoints);
  Courses courses;
  misfit.eachResidual(estimation.fit.values, [&](const Residual& residual) {
    const std::pair key(misfit.stretches[residual.stretch].recording, residual.reading.output);
    if (seen[key]++ % skips[key] == 0)
      courses[key].push_back({residual.row->time, residual.reading.celsius, residual.fitted});
  });
  return courses;
}

// Maps a range to a part of the picture.
struct Scale {
  double from, to, start, length;
  double of(double value) const { return start + (value - from) / (to - from) * length; }
};

void drawCourse(const std::vector<Point>& points, std::ostream& out) {
  double low = points.front().measured;
  double high = low;
  double most = 0.1;
  for (const Point& point : points) {
    low = std::min({low, point.measured, point.fitted});
    high = std::max({high, point.measured, point.fitted});
    most = std::max(most, std::abs(point.measured - point.fitted));
  }
  const Scale x{points.front().time, std::max(points.back().time, points.front().time + 1), 40,
                kWidth - 50};
  const Scale y{high + 0.5, low - 0.5, 5, kHeight - 10};
  const Scale apart{most, -most, kHeight + 5, kResidualHeight - 10};
  out << fmt::format("<svg viewBox=\"0 0 {} {}\" role=\"img\"><title>measured as dots, fitted as a "
                     "line, and below what is left</title>\n",
                     kWidth, kHeight + kResidualHeight);
  for (const Point& point : points)
    out << fmt::format("<circle class=\"m\" r=\"1.3\" cx=\"{:.1f}\" cy=\"{:.1f}\"/>",
                       x.of(point.time), y.of(point.measured));
  out << "\n<polyline class=\"f\" points=\"";
  for (const Point& point : points)
    out << fmt::format("{:.1f},{:.1f} ", x.of(point.time), y.of(point.fitted));
  out << fmt::format("\"/>\n<line class=\"z\" x1=\"40\" x2=\"{0}\" y1=\"{1:.1f}\" y2=\"{1:.1f}\"/>",
                     kWidth - 10, apart.of(0));
  for (const Point& point : points)
    out << fmt::format("<circle class=\"m\" r=\"1\" cx=\"{:.1f}\" cy=\"{:.1f}\"/>",
                       x.of(point.time), apart.of(point.measured - point.fitted));
  out << fmt::format("<text x=\"2\" y=\"14\">{:.1f}</text><text x=\"2\" y=\"{}\">{:.1f}</text>"
                     "<text x=\"2\" y=\"{}\">±{:.2f}</text></svg>\n",
                     high, kHeight - 5, low, kHeight + kResidualHeight / 2 + 4, most);
}

void writeNumbers(const FitResult& result, std::ostream& out) {
  out << "<h2>Numbers</h2><table><tr><th>number</th><th>guess</th><th>found</th><th>95 %</th>"
         "<th></th></tr>\n";
  for (size_t i = 0; i < result.misfit->quantities.size(); ++i) {
    const Quantity& quantity = result.misfit->quantities[i];
    const Estimate& found = result.estimation->estimates[i];
    const double half = found.frozen ? 0 : (found.high - found.low) / 2;
    out << fmt::format(
        "<tr><td>{}</td><td>{}</td><td>{}</td><td>{}</td><td>{}{}</td></tr>\n",
        escapedMarkup(quantity.name), deserved(quantity.guess, 0), deserved(found.value, half),
        found.frozen ? "" : deserved(found.low, half) + " to " + deserved(found.high, half),
        quantity.unit(),
        found.frozen    ? " <span class=\"kept\">not determined, the guess is kept</span>"
        : found.follows ? " <span class=\"kept\">as far as a kept guess is right</span>"
                        : "");
  }
  out << "</table>\n";
  for (const auto* sentences : {&result.undetermined, &result.remarks}) {
    for (const std::string& sentence : *sentences)
      out << "<p class=\"kept\">" << escapedMarkup(sentence) << "</p>\n";
  }
}

void writeCourses(const FitResult& result, const Misfit& misfit, const Estimation& estimation,
                  const std::string& title, std::ostream& out) {
  const Courses courses = coursesOf(misfit, estimation);
  const Agreeing all = overall(estimation.agreement);
  out << fmt::format("<h2>{}</h2><p>RMSE {:.3f} C, largest error {:.2f} C</p>\n", title, all.rmse,
                     all.largest);
  for (const Agreeing& one : estimation.agreement) {
    out << fmt::format("<h3>{} in {}: RMSE {:.3f} C, largest {:.2f} C</h3>\n",
                       escapedMarkup(result.names[one.output]),
                       escapedMarkup(misfit.recordings[one.recording].name), one.rmse, one.largest);
    drawCourse(courses.at({one.recording, one.output}), out);
  }
}

void writeCorrelations(const FitResult& result, std::ostream& out) {
  const auto& quantities = result.misfit->quantities;
  const Eigen::MatrixXd& matrix = result.estimation->correlations;
  out << "<h2>Correlations</h2><p>Near 1 or -1: the recordings hardly tell the two apart.</p>"
         "<div class=\"wide\"><table class=\"corr\">\n";
  for (size_t i = 0; i < quantities.size(); ++i) {
    out << "<tr><td>" << escapedMarkup(quantities[i].name) << "</td>";
    for (size_t j = 0; j <= i; ++j) {
      const double value = matrix(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(j));
      out << fmt::format("<td style=\"background:rgba(194,65,12,{:.2f})\">{:.2f}</td>",
                         std::min(0.6, std::abs(value) * 0.6), value);
    }
    out << "</tr>\n";
  }
  out << "</table></div>\n";
}

} // namespace

void writeFitPage(const FitResult& result, const std::string& title, std::ostream& out) {
  out << "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>"
      << escapedMarkup(title) << "</title>\n<style>" << kStyle << "</style>\n</head>\n<body>\n<h1>"
      << escapedMarkup(title) << "</h1>\n";
  if (result.estimation->fit.interrupted)
    out << "<p class=\"kept\">The search was interrupted: this is the best so far.</p>\n";
  writeNumbers(result, out);
  if (result.validation)
    writeCourses(result, *result.validationMisfit, *result.validation, "Validation", out);
  writeCourses(result, *result.misfit, *result.estimation, "Recordings", out);
  writeCorrelations(result, out);
  out << "</body>\n</html>\n";
}
