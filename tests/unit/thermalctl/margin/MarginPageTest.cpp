#include "margin/MarginPage.h"

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "text/Characters.h"
#include "thermalctl/support/MarginExample.h"

namespace {

constexpr char kPeakName[] = "temperatures.cpu.peak";

std::string page(const MarginStudy& study, const MarginResult& result, bool complete = true) {
  std::ostringstream out;
  writeMarginPage(study, result, complete, out);
  return out.str();
}

size_t timesIn(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

// Each of these stands in the page once.
void expectOnce(const std::string& text, const std::vector<std::string>& parts) {
  for (const std::string& each : parts)
    EXPECT_EQ(timesIn(text, each), 1U) << each << "\n" << text;
}

MarginStudy heldTogether(const std::vector<std::string>& budgets) {
  return marginStudy({marginRun("run", budgets)});
}

std::vector<MarginFigures> peaks(const std::vector<int32_t>& values) {
  std::vector<MarginFigures> units;
  units.reserve(values.size());
  for (const int32_t value : values)
    units.push_back({{kPeakName, value}, {"budgets.cpu=45C.verdict", value > 45'000 ? 1 : 0}});
  return units;
}

TEST(MarginPageTest, TheHeadSaysWhatWasRun) {
  MarginStudy study = heldTogether({"cpu=45C"});
  study.title = "phone <1> & \"2\"";
  const MarginResult result = marginResult(study, peaks({40'000, 50'000, 44'000}));
  const std::string whole = page(study, result);
  EXPECT_EQ(whole.rfind("<!doctype html>\n", 0), 0U);
  EXPECT_EQ(whole.substr(whole.size() - 8), "</html>\n");
  expectOnce(whole, {"<title>phone &lt;1&gt; &amp; &quot;2&quot;</title>",
                     "<h1>phone &lt;1&gt; &amp; &quot;2&quot;</h1>",
                     "<p>Units 1 to 3, 0:02:00 each, seed 3.</p>\n"});
  EXPECT_EQ(timesIn(whole, "Interrupted"), 0U);
  expectOnce(page(study, result, false),
             {"<p class=\"bad\">Interrupted: this is what the units up to there tell.</p>\n"});
}

TEST(MarginPageTest, EachLimitIsARowWhoseColourSaysHowItStands) {
  const MarginStudy study = heldTogether({"cpu=45C", "cpu=60C", "node:die=45C"});
  std::vector<MarginFigures> units = peaks({40'000, 50'000, 44'000});
  units.push_back({{"temperatures.node:die.peak", kUnseen}, {"budgets.node:die=45C.verdict", 2}});
  for (MarginFigures& unit : units)
    unit["temperatures.node:die.peak"] = kUnseen;
  expectOnce(page(study, marginResult(study, units)),
             {"<tr class=\"bad\"><td>run</td><td class=\"l\">cpu=45C</td><td>3 of 4</td>"
              "<td>0.63 to 81 %</td><td>40.00 C</td><td>50.00 C</td><td>50.00 C</td></tr>\n",
              "<tr class=\"\"><td>run</td><td class=\"l\">cpu=60C</td><td>4 of 4</td>"
              "<td>at most 53 %</td><td>40.00 C</td><td>50.00 C</td><td>50.00 C</td></tr>\n",
              "<tr class=\"open\"><td>run</td><td class=\"l\">node:die=45C</td><td>3 of 4</td>"
              "<td>0.63 to 81 %</td><td>-</td><td>-</td><td>-</td></tr>\n"});
}

TEST(MarginPageTest, AQuestionIsAnsweredBelowTheTable) {
  const MarginStudy study = heldTogether({"cpu=45C"});
  const std::vector<MarginFigures> units = peaks({40'000, 41'000});
  expectOnce(page(study, marginResult(study, units, Question{0.01, 0.95})),
             {"<p>cpu=45C in run: 2 units do not settle whether no more than 1 % break it; take "
              "more.</p>\n",
              "<tr class=\"open\">"});
  EXPECT_EQ(timesIn(page(study, marginResult(study, units)), "settle"), 0U);
}

// From 40 to 50 degrees there are 620 places, from 260 on; of 60 bars each has 10.33 of them.
TEST(MarginPageTest, AFigureIsDrawnFromItsLeastToItsGreatestWithItsBound) {
  const MarginStudy study = heldTogether({"cpu=45C"});
  expectOnce(
      page(study, marginResult(study, peaks({40'000, 50'000, 40'000, 40'000}))),
      {"<h2>How the figures are spread</h2>\n<h3>game: temperatures.cpu.peak</h3>\n"
       "<div class=\"wide\"><svg viewBox=\"0 0 900 68\" role=\"img\">",
       "<text x=\"2\" y=\"22\">run.conf</text>\n<text x=\"2\" y=\"38\">median 40.00 C</text>\n"
       "<rect class=\"b\" x=\"260.0\" y=\"6.0\" width=\"10.33\" height=\"40.0\"/>"
       "<rect class=\"b\" x=\"869.7\" y=\"32.7\" width=\"10.33\" height=\"13.3\"/>\n"
       "<line class=\"r\" x1=\"570.0\" x2=\"570.0\" y1=\"0\" y2=\"48\"/>"
       "<text x=\"260\" y=\"63\">40 C</text><text x=\"880\" y=\"63\" text-anchor=\"end\">50 C"
       "</text></svg></div>\n"});
}

TEST(MarginPageTest, OneUnitOfManyIsSeenToo) {
  const MarginStudy study = heldTogether({"cpu=45C"});
  std::vector<int32_t> values(100, 40'000);
  values.push_back(50'000);
  expectOnce(page(study, marginResult(study, peaks(values))),
             {"<rect class=\"b\" x=\"869.7\" y=\"45.0\" width=\"10.33\" height=\"1.0\"/>\n"});
}

TEST(MarginPageTest, ABoundBeyondAllUnitsIsShownToo) {
  const MarginStudy study = heldTogether({"cpu=60C"});
  const MarginResult result = marginResult(study, {{{kPeakName, 40'000}}, {{kPeakName, 50'000}}});
  expectOnce(page(study, result), {"<line class=\"r\" x1=\"880.0\" x2=\"880.0\"", ">60 C</text>",
                                   "<rect class=\"b\" x=\"564.8\""});
}

TEST(MarginPageTest, EveryKindOfBoundIsInTheUnitOfItsFigure) {
  const struct {
    const char* budget;
    const char* measure;
    int32_t least, most;
    const char* end;
  } cases[] = {
      {"cpu=43C:10s", "budgets.cpu=43C:10s.above_s", 0, 20'000, ">20 s</text>"},
      {"p95:cpu=45C", "budgets.p95:cpu=45C.measured", 40'000, 50'000, ">50 C</text>"},
      {"work:gpu=75%", "sources.gpu.work_percent", 50'000'000, 100'000'000, ">100 %</text>"},
      {"changes:gpu<=5/min", "devices.gpu.changes_per_minute", 0, 20, ">10 /min</text>"}};
  for (const auto& [budget, measure, least, most, end] : cases) {
    const MarginStudy study = heldTogether({budget});
    expectOnce(page(study, marginResult(study, {{{measure, least}}, {{measure, most}}})),
               {std::string("<h3>game: ") + escapedMarkup(measure) + "</h3>",
                "<line class=\"r\" x1=\"570.0\" x2=\"570.0\"", end});
  }
}

TEST(MarginPageTest, ConfigurationsStandBesideEachOtherAndWorkloadsApart) {
  MarginStudy study = marginStudy(
      {marginRun("a", {"cpu=45C"}), marginRun("b", {"cpu=45C"}), marginRun("c", {"cpu=45C"})});
  study.runs[2].workload = "video";
  MarginRows rows(study);
  MarginRows none(study);
  for (const int32_t peak : {40'000, 50'000})
    rows.add(std::vector<MarginFigures>(3, {{kPeakName, peak}}));
  const std::string text = page(study, resultOf(study, 1, rows.rows(), none.rows(), std::nullopt));
  expectOnce(text, {"<h2>How the figures are spread</h2>", "<h3>game: temperatures.cpu.peak</h3>",
                    "<h3>video: temperatures.cpu.peak</h3>", "viewBox=\"0 0 900 114\"",
                    "<text x=\"2\" y=\"68\">b.conf</text>"});
  EXPECT_EQ(timesIn(text, "viewBox=\"0 0 900 68\""), 1U);
}

TEST(MarginPageTest, OnlyWhatALimitIsHeldAgainstAndVariesIsDrawn) {
  const auto drawn = [](const std::vector<std::string>& budgets, const MarginFigures& other) {
    const MarginStudy study = heldTogether(budgets);
    const std::string text = page(study, marginResult(study, {{}, other}));
    std::vector<std::string> names;
    for (const char* name : {"cpu.peak", "node:die.peak", "gpu.changes", "gpu.work"})
      if (timesIn(text, std::string("<h3>game: ") +
                            (name[0] == 'g' ? (name[4] == 'c' ? "devices." : "sources.")
                                            : "temperatures.") +
                            name) > 0)
        names.emplace_back(name);
    return names;
  };
  const MarginFigures all = {{kPeakName, 50'000},
                             {"temperatures.node:die.peak", 51'000},
                             {"devices.gpu.changes_per_minute", 4}};
  using Names = std::vector<std::string>;
  EXPECT_EQ(drawn({"cpu=45C"}, all), Names{"cpu.peak"});
  EXPECT_EQ(drawn({"changes:gpu<=5/min"}, all), Names{"gpu.changes"});
  EXPECT_EQ(drawn({"cpu=45C"}, {{"temperatures.node:die.peak", 51'000}}), Names());
  // Without any, the peaks.
  EXPECT_EQ(drawn({}, all), (Names{"cpu.peak", "node:die.peak"}));
}

TEST(MarginPageTest, ALongNameIsCutAndWholeWhereThePointerRests) {
  const std::string fits(36, 'x');
  const std::string tooLong = std::string(34, 'x') + "&yz";
  MarginStudy study = marginStudy({marginRun("run", {"cpu=45C"})});
  study.runs[0].configuration = fits;
  const MarginResult result = marginResult(study, peaks({40'000, 50'000}));
  expectOnce(page(study, result), {">" + fits + "</text>"});
  study.runs[0].configuration = tooLong;
  expectOnce(page(study, result), {">" + std::string(34, 'x') + "&amp;\u2026<title>" +
                                   std::string(34, 'x') + "&amp;yz</title></text>"});
}

// From -1 to 1 there are 570 places, from 260 on.
TEST(MarginPageTest, ACorrelationIsABarFromTheMiddle) {
  const MarginStudy study = heldTogether({"cpu=45C"});
  MarginResult result = marginResult(study, peaks({40'000, 50'000}));
  result.runs[0].figures[0].correlations = {{0.25, {0, 0.5}}, {-0.5, {-1, -0.25}}};
  const std::string text = page(study, result);
  expectOnce(text,
             {"<h2>What drives them</h2><p>Rank correlation with each number that varies, with its "
              "interval of 95 %: what the figure grows with, and what it falls with.</p>\n"
              "<h3>cpu=45C in run: temperatures.cpu.peak</h3>\n",
              "<svg viewBox=\"0 0 900 40\" role=\"img\"><title>drivers</title>"
              "<text x=\"2\" y=\"15\">sensor.cpu.offset</text>"
              "<rect class=\"b\" x=\"402.5\" y=\"4.0\" width=\"142.5\" height=\"12.0\"/>"
              "<line class=\"k\" x1=\"260.0\" x2=\"473.8\" y1=\"10.0\" y2=\"10.0\"/>"
              "<text x=\"835\" y=\"15\">-0.50</text>\n"
              "<text x=\"2\" y=\"33\">resistance.die-ambient</text>"
              "<rect class=\"b\" x=\"545.0\" y=\"22.0\" width=\"71.2\" height=\"12.0\"/>"
              "<line class=\"k\" x1=\"545.0\" x2=\"687.5\" y1=\"28.0\" y2=\"28.0\"/>"
              "<text x=\"835\" y=\"33\">+0.25</text>\n"
              "<line class=\"z\" x1=\"545.0\" x2=\"545.0\" y1=\"0\" y2=\"40\"/>"});
  // One unit is beyond the limit, and what it has is told below.
  expectOnce(text, {"<p>the one that does not keep it: no driver of them stands out.</p>\n"});
}

TEST(MarginPageTest, ASharesBarHasTheTotalWithin) {
  const MarginStudy study = heldTogether({"cpu=45C"});
  MarginResult result = marginResult(study, peaks({40'000, 50'000}));
  result.samples = 8;
  // What lies beyond the picture ends with it.
  result.runs[0].figures[0].sobol = {{{0.45, {-0.5, 0.5}}, {1, {0.9, 1.5}}}, {{}, {}}};
  expectOnce(page(study, result),
             {"<p>The share of the figure's variance that each number makes by itself (wide), and "
              "all that it takes part in (narrow), with intervals of 95 %.</p>",
              "<rect class=\"b\" x=\"311.8\" y=\"4.0\" width=\"233.2\" height=\"12.0\"/>"
              "<line class=\"k\" x1=\"260.0\" x2=\"570.9\" y1=\"10.0\" y2=\"10.0\"/>"
              "<rect class=\"o\" x=\"311.8\" y=\"8.0\" width=\"518.2\" height=\"4.0\"/>"
              "<line class=\"k\" x1=\"778.2\" x2=\"830.0\" y1=\"10.0\" y2=\"10.0\"/>"
              "<text x=\"835\" y=\"15\">45 %</text>\n"});
}

TEST(MarginPageTest, OfManyDriversTheEightStrongestAreDrawn) {
  MarginStudy study = heldTogether({"cpu=45C"});
  study.drivers.clear();
  for (int i = 0; i < 10; ++i)
    study.drivers.push_back({"driver" + std::to_string(i), "", {}});
  MarginResult result = marginResult(study, peaks({40'000, 44'000}));
  result.runs[0].figures[0].correlations.clear();
  for (int i = 0; i < 10; ++i)
    result.runs[0].figures[0].correlations.push_back({0.05 * i * (i % 2 == 0 ? 1 : -1), {}});
  const std::string text = page(study, result);
  for (int i = 0; i < 10; ++i)
    EXPECT_EQ(timesIn(text, ">driver" + std::to_string(i) + "</text>"), i < 2 ? 0U : 1U) << i;
  EXPECT_LT(text.find(">driver9</text>"), text.find(">driver8</text>"));
}

TEST(MarginPageTest, WhereNothingIsKnownOfDriversNothingIsSaid) {
  const MarginStudy study = heldTogether({"cpu=45C"});
  EXPECT_EQ(timesIn(page(study, marginResult(study, peaks({40'000, 41'000}))), "What drives them"),
            0U);
}

TEST(MarginPageTest, TheWorstUnitsHaveWhatIsFarOutInThem) {
  MarginStudy study = heldTogether({"cpu=45C"});
  study.drivers = {{"a", "", {}}, {"b<", "", {}}, {"c", "", {}}, {"d", "", {}}};
  study.replay = "thermalctl margin 'a&b'";
  MarginResult result = marginResult(study, peaks({50'000}));
  result.runs[0].budgets[0].worst = {{4711, 50'000, {0.5, -2.25, 1.5, 0.125}}, {3, 49'000, {}}};
  expectOnce(page(study, result),
             {"<code>thermalctl margin 'a&amp;b' --unit NUMBER --out report</code>",
              "<h3>cpu=45C in run</h3><div class=\"wide\"><table><tr><th>unit</th><th>"
              "temperatures.cpu.peak</th><th class=\"l\">what is far out in it</th></tr>\n"
              "<tr><td>4711</td><td>50.00 C</td><td class=\"l\">b&lt; -2.2, c +1.5 and a +0.5</td>"
              "</tr>\n<tr><td>3</td><td>49.00 C</td><td class=\"l\"></td></tr>\n"});
  const MarginStudy free = heldTogether({});
  expectOnce(page(free, marginResult(free, {{{kPeakName, 50'000}}})),
             {"<h3>run</h3><div class=\"wide\"><table>", "<tr><td>1</td><td>50.00 C</td>"});
}

TEST(MarginPageTest, HowTheShareBecameKnownIsDrawnWhereSomeDoNotKeepIt) {
  const MarginStudy study = heldTogether({"cpu=45C"});
  const std::string heading = "<h3>cpu=45C in run</h3>\n<div";
  std::vector<int32_t> values(20, 40'000);
  EXPECT_EQ(timesIn(page(study, marginResult(study, peaks(values))), heading), 0U);
  values.front() = 50'000;
  MarginResult result = marginResult(study, peaks(values));
  const std::string text = page(study, result);
  expectOnce(text, {heading, ">10</text>", ">20 units</text>", "<title>share over units</title>",
                    "<text x=\"2\" y=\"100\">0 %</text>"});
  // One look is no course.
  values.resize(10);
  EXPECT_EQ(timesIn(page(study, marginResult(study, peaks(values))), heading), 0U);
  // A half of ten and of forty units: of the latter the interval is from 33.8 to 66.2 %.
  result.runs[0].budgets[0].convergence = {{10, 5}, {20, 10}, {40, 20}};
  expectOnce(page(study, result),
             {"<text x=\"2\" y=\"16\">73 %</text>", "points=\"70.0,38.2 470.0,38.2 870.0,38.2 \"",
              " 870.0,18.2 870.0,58.2 "});
}

TEST(MarginPageTest, WhatVariesAndTheFilesAreListed) {
  MarginStudy study = heldTogether({"cpu=45C"});
  study.drivers = {{"a<b", "glue & more", {}}};
  study.inputs = {{"x<y.toml", "ab12"}};
  expectOnce(page(study, marginResult(study, peaks({40'000}))),
             {"<tr><td>a&lt;b</td><td class=\"l\">glue &amp; more</td></tr>\n",
              "<tr><td>x&lt;y.toml</td><td class=\"l\"><code>ab12</code></td></tr>\n"});
}

} // namespace
