#include "fit/FitPage.h"

#include <cstddef>
#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

size_t countOf(const std::string& what, const std::string& text) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
    ++count;
  return count;
}

class FitPageTest : public testing::Test {
protected:
  FitPageTest() {
    result.misfit = &measured.misfit;
    result.estimation = &estimation;
    result.names = namesOfOutputs(measured.plant, fit_examples::board());
  }

  std::string page(const std::string& title = "mine") const {
    std::ostringstream out;
    writeFitPage(result, title, out);
    return out.str();
  }
  // Between two marks, the first of which is there once.
  static std::string part(const std::string& text, const std::string& from, const std::string& to) {
    EXPECT_EQ(countOf(from, text), 1U) << from;
    const size_t begin = text.find(from);
    return text.substr(begin, text.find(to, begin) - begin);
  }

  fit_examples::Measured measured{"\"node.*\", \"sensor.chip_t.offset\"", fit_examples::kPlant,
                                  300};
  Estimation estimation = fit_examples::estimationOf(measured);
  FitResult result;
};

TEST_F(FitPageTest, IsOnePageThatNeedsNothingElse) {
  const std::string text = page();
  EXPECT_EQ(text.rfind("<!doctype html>\n", 0), 0U);
  EXPECT_NE(text.find("<meta charset=\"utf-8\">"), std::string::npos);
  EXPECT_EQ(text.substr(text.size() - 16), "</body>\n</html>\n");
  for (const char* elsewhere : {"http", "src=", "href=", "<script", "@import", "url("})
    EXPECT_EQ(countOf(elsewhere, text), 0U) << elsewhere;
}

TEST_F(FitPageTest, ItsTitleIsTextWhateverIsInIt) {
  const std::string text = page("a<b> & \"c\"");
  EXPECT_EQ(countOf("<title>a&lt;b&gt; &amp; &quot;c&quot;</title>", text), 1U);
  EXPECT_EQ(countOf("<h1>a&lt;b&gt; &amp; &quot;c&quot;</h1>", text), 1U);
}

TEST_F(FitPageTest, ANumberHasItsGuessItsValueItsIntervalAndItsUnit) {
  estimation.estimates[1] = {41.23456, 40.2, 42.3, false, {}};
  EXPECT_EQ(part(page(), "<tr><td>node.case.joules_per_kelvin</td><td>4", "\n"),
            "<tr><td>node.case.joules_per_kelvin</td><td>40</td><td>41.2</td><td>40.2 to "
            "42.3</td><td>J/K</td></tr>");
}

TEST_F(FitPageTest, ANumberThatKeepsItsGuessHasNoInterval) {
  estimation.estimates[1] = {40, 1, 100, true, {}};
  EXPECT_EQ(part(page(), "<tr><td>node.case.joules_per_kelvin</td><td>4", "\n"),
            "<tr><td>node.case.joules_per_kelvin</td><td>40</td><td>40</td><td></td><td>J/K <span "
            "class=\"kept\">not determined, the guess is kept</span></td></tr>");
}

TEST_F(FitPageTest, ANumberThatFollowsAGuessSaysSo) {
  estimation.estimates[1] = {41.23456, 40.2, 42.3, false, 0};
  EXPECT_NE(part(page(), "<tr><td>node.case.joules_per_kelvin</td><td>4", "\n")
                .find("40.2 to 42.3</td><td>J/K <span class=\"kept\">as far as a kept guess is "
                      "right</span>"),
            std::string::npos);
}

TEST_F(FitPageTest, SentencesAreParagraphsOfWhatIsNotDeterminedAndThenOfRemarks) {
  result.undetermined = {"a < b", "second"};
  result.remarks = {"third"};
  EXPECT_EQ(countOf("</table>\n<p class=\"kept\">a &lt; b</p>\n<p class=\"kept\">second</p>\n"
                    "<p class=\"kept\">third</p>\n",
                    page()),
            1U);
}

TEST_F(FitPageTest, SaysWhereItWasInterrupted) {
  const std::string sentence = "The search was interrupted: this is the best so far.";
  EXPECT_EQ(countOf(sentence, page()), 0U);
  estimation.fit.interrupted = true;
  EXPECT_EQ(countOf(sentence, page()), 1U);
}

TEST_F(FitPageTest, EachSensorOfEachRecordingHasItsCourse) {
  estimation.agreement = {{0, 0, 1195, 0.5, 2}, {0, 1, 1195, 0.25, 3.5}};
  measured.recordings[0].name = "a & b";
  const std::string text = page();
  // The root of the mean of 0.25 and 0.0625.
  EXPECT_EQ(countOf("<h2>Recordings</h2><p>RMSE 0.395 C, largest error 3.50 C</p>\n", text), 1U);
  EXPECT_EQ(countOf("<h3>chip_t in a &amp; b: RMSE 0.500 C, largest 2.00 C</h3>\n<svg ", text), 1U);
  EXPECT_EQ(countOf("<h3>case_t in a &amp; b: RMSE 0.250 C", text), 1U);
  EXPECT_EQ(countOf("<svg ", text), 2U);
}

TEST_F(FitPageTest, WhatItWasHeldAgainstComesFirst) {
  EXPECT_EQ(countOf("<h2>Validation</h2>", page()), 0U);
  const fit_examples::Measured other("", fit_examples::kPlant, 300);
  const Estimation held = fit_examples::estimationOf(other);
  result.validationMisfit = &other.misfit;
  result.validation = &held;
  const std::string text = page();
  EXPECT_EQ(countOf("<svg ", text), 4U);
  EXPECT_LT(text.find("<h2>Numbers</h2>"), text.find("<h2>Validation</h2>"));
  EXPECT_LT(text.find("<h2>Validation</h2>"), text.find("<h2>Recordings</h2>"));
  EXPECT_LT(text.find("<h2>Recordings</h2>"), text.find("<h2>Correlations</h2>"));
}

TEST_F(FitPageTest, CorrelationsHaveEachPairOnceAndTheMoreColourTheNearerToOne) {
  estimation.correlations << 1, -0.5, 0.25, -0.5, 1, 0.125, 0.25, 0.125, 1;
  const std::string rows = part(page(), "<h2>Correlations</h2>", "</table>");
  EXPECT_EQ(countOf("<tr>", rows), 3U);
  EXPECT_NE(rows.find("<tr><td>node.case.joules_per_kelvin</td>"
                      "<td style=\"background:rgba(194,65,12,0.30)\">-0.50</td>"
                      "<td style=\"background:rgba(194,65,12,0.60)\">1.00</td></tr>\n"
                      "<tr><td>sensor.chip_t.offset</td>"
                      "<td style=\"background:rgba(194,65,12,0.15)\">0.25</td>"),
            std::string::npos)
      << rows;
}

TEST_F(FitPageTest, ACourseShowsEachReadingAndItsResidual) {
  const std::string course = part(page(), "<h3>chip_t", "</svg>");
  const size_t readings = measured.recordings[0].files[1].rows.size();
  EXPECT_EQ(countOf("<circle class=\"m\" r=\"1.3\"", course), readings);
  EXPECT_EQ(countOf("<circle class=\"m\" r=\"1\"", course), readings);
  // From 40 to 890 of 900 in width. Without a residual all of them lie on the line in the middle.
  EXPECT_NE(course.find(" viewBox=\"0 0 900 230\""), std::string::npos);
  EXPECT_NE(course.find("cx=\"40.0\""), std::string::npos);
  EXPECT_NE(course.find("cx=\"890.0\""), std::string::npos);
  EXPECT_NE(course.find("y1=\"200.0\" y2=\"200.0\""), std::string::npos) << course.substr(0, 400);
  EXPECT_EQ(countOf("cy=\"200.0\"", course), readings);
}

TEST_F(FitPageTest, ACourseIsScaledToWhatIsInIt) {
  measured.addToChip(0, 1, 90 - measured.recordings[0].files[1].readings[0].celsius);
  measured.addToChip(1, 2, 10 - measured.recordings[0].files[1].readings[2].celsius);
  const std::string course = part(page(), "<h3>chip_t", "</svg>");
  EXPECT_NE(course.find("<text x=\"2\" y=\"14\">90.0</text><text x=\"2\" y=\"165\">10.0</text>"),
            std::string::npos)
      << course.substr(course.size() - 200);
  // The hottest is near the top: half a degree of 81 below 5, of 160 in height.
  EXPECT_NE(course.find("cx=\"40.0\" cy=\"6.0\""), std::string::npos) << course.substr(0, 400);
  EXPECT_NE(course.find("cy=\"164.0\""), std::string::npos);
}

TEST_F(FitPageTest, OfALongCourseAFewHundredPointsAreLeft) {
  const size_t readings = measured.recordings[0].files[1].rows.size();
  for (const auto& [counted, each] : {std::pair(1599, 1), std::pair(1600, 2), std::pair(2400, 3)}) {
    estimation.agreement[0].readings = static_cast<size_t>(counted);
    const std::string course = part(page(), "<h3>chip_t", "</svg>");
    const auto step = static_cast<size_t>(each);
    EXPECT_EQ(countOf("r=\"1.3\"", course), (readings + step - 1) / step) << counted;
  }
}

} // namespace
