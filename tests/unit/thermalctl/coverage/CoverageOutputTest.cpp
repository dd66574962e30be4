#include "coverage/CoverageOutput.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "thermalctl/coverage/CoverageBoard.h"
#include "thermalctl/support/JsonText.h"

namespace {

class CoverageOutputTest : public testing::Test, protected CoverageBoard {
protected:
  std::string printed(void (*print)(std::ostream&, const Coverage&)) const {
    std::ostringstream out;
    print(out, coverage());
    return out.str();
  }
  std::string table() const { return printed(printCoverage); }
  nlohmann::json json() const { return jsonOf(printed(printCoverageAsJson)); }
  std::string page() const { return printed(printCoverageAsPage); }

  static std::string scenarios(int from, int to) {
    std::string text;
    for (int i = from; i <= to; ++i)
      text += "SCEN s" + std::to_string(i) + "\n" + monitor("45000", "43000", "clock", "1");
    return text;
  }

  static size_t countOf(const std::string& part, const std::string& text) {
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
      ++count;
    return count;
  }

  static constexpr char kPeriods[] =
      "2 threads for sensors (every 1000 and 2000 ms), up to 1 for the items of a scenario, at "
      "most 2.5 wake-ups a second\n";
};

bool holds(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST_F(CoverageOutputTest, HasARowForEachSensorAndBelowItForEachDevice) {
  add(monitor("45500 50000", "43000 48000", "clock clock+charger", "1 2+3") + "SCEN night\n" +
      monitor("60000", "58000", "clock", "1"));
  EXPECT_EQ(table(), std::string("day.conf: scenarios 1 to 2\n"
                                 "sensor     Default  night\n"
                                 "cpu         >=45.5   >=60\n"
                                 "  charger        3      -\n"
                                 "  clock          2      1\n"
                                 "skin             -      -\n") +
                         kPeriods);
}

TEST_F(CoverageOutputTest, ColdHasRowsOfItsOwn) {
  add(monitor("5000", "8000", "charger", "3", "lowactive true\n"));
  EXPECT_EQ(table(), std::string("day.conf: scenarios 1 to 1\n"
                                 "sensor     Default\n"
                                 "cpu              -\n"
                                 "cpu, cold      <=5\n"
                                 "  charger        3\n"
                                 "skin             -\n") +
                         kPeriods);
}

TEST_F(CoverageOutputTest, AReportIsToldInItsDirection) {
  add(monitor("45000", "43000", "alarm", "1") + "SCEN night\n" +
      monitor("-5000", "-3000", "alarm", "1", "lowactive true\n"));
  EXPECT_TRUE(holds(table(), "  (reported)     >=45   <=-5\n")) << table();
}

TEST_F(CoverageOutputTest, EachConfigurationIsToldWithItsScenarios) {
  add(scenarios(1, 2), "a.conf");
  add(scenarios(3, 3), "b.conf");
  EXPECT_TRUE(holds(table(), "a.conf: scenarios 1 to 2\nb.conf: scenarios 3 to 3\n")) << table();
}

TEST_F(CoverageOutputTest, MoreThanEightScenariosGetASecondTable) {
  add(scenarios(1, 8));
  EXPECT_EQ(countOf("sensor ", table()), 1U);
  configurations.clear();
  add(scenarios(1, 9));
  const std::string text = table();
  EXPECT_EQ(countOf("sensor ", text), 2U) << text;
  EXPECT_TRUE(holds(text, "day.conf: scenarios 1 to 8\n")) << text;
  EXPECT_TRUE(holds(text, "day.conf: scenarios 1 to 1\nsensor     s9\n")) << text;
  EXPECT_EQ(countOf("2 threads for sensors", text), 1U);
}

TEST_F(CoverageOutputTest, WithoutAScenarioOnlyThePeriodsAreTold) {
  EXPECT_EQ(table(), "2 threads for sensors (every 1000 and 2000 ms), up to 0 for the items of a "
                     "scenario, at most 1.5 wake-ups a second\n");
  EXPECT_EQ(json()["scenarios"], nlohmann::json::array());
}

TEST_F(CoverageOutputTest, JsonHasEveryCell) {
  add(monitor("45500", "43000", "clock", "9") +
      monitor("5000", "8000", "charger+alarm", "3+1", "lowactive true\n"));
  EXPECT_EQ(json(), jsonOf(R"({
    "version": 1,
    "scenarios": [{"file": "day.conf", "scenario": "Default", "sensors": [
      {"sensor": "cpu",
       "heat": {"celsius": 45.5, "item": "item", "line": 4, "devices": {"clock": 2}},
       "cold": {"celsius": 5.0, "item": "item", "line": 12, "devices": {"charger": 3}},
       "report": {"celsius": 5.0, "item": "item", "line": 12, "direction": "cold"}},
      {"sensor": "skin", "heat": null, "cold": null, "report": null}]}],
    "periods": {"sensors": [1000, 2000], "items": [1000], "item_threads": 1,
                "wake_ups_per_second": 2.5}})"));
}

TEST_F(CoverageOutputTest, JsonHasTheDirectionOfAReport) {
  add(monitor("45500", "43000", "alarm", "1"));
  EXPECT_EQ(json()["scenarios"][0]["sensors"][0]["report"]["direction"], "heat");
}

TEST_F(CoverageOutputTest, APageMarksWhatIsNotCooled) {
  add(monitor("45000", "43000", "clock", "2"));
  EXPECT_TRUE(holds(page(), "<tr class=\"sensor\"><th scope=\"row\">cpu</th><td>&gt;=45</td></tr>\n"
                            "<tr><th scope=\"row\">  clock</th><td>2</td></tr>\n"
                            "<tr class=\"sensor\"><th scope=\"row\">skin</th>"
                            "<td class=\"none\">-</td></tr>\n"))
      << page();
}

TEST_F(CoverageOutputTest, OnAPageAFileStandsAboveItsScenarios) {
  add(scenarios(1, 6), "a.conf");
  add(scenarios(7, 9), "b.conf");
  const std::string text = page();
  EXPECT_TRUE(holds(text, "colspan=\"6\">a.conf</th><th scope=\"colgroup\" colspan=\"2\">b.conf<"))
      << text;
  EXPECT_TRUE(holds(text, "<tr><td></td><th scope=\"colgroup\" colspan=\"1\">b.conf</th></tr>"))
      << text;
}

TEST_F(CoverageOutputTest, APageTakesNamesForTexts) {
  add("SCEN <b>&\n" + monitor("45000", "43000", "clock", "1"), "<i>.conf");
  EXPECT_TRUE(holds(page(), "<th scope=\"col\">&lt;b&gt;&amp;</th>")) << page();
  EXPECT_TRUE(holds(page(), ">&lt;i&gt;.conf</th>")) << page();
}

TEST_F(CoverageOutputTest, ANameThatIsNoTextIsShownAsFarAsItIs) {
  add("SCEN n\x1B\xFF\n" + monitor("45000", "43000", "clock", "1"));
  EXPECT_TRUE(holds(table(), "n\u241B\uFFFD")) << table();
  EXPECT_EQ(json()["scenarios"][0]["scenario"], "n\x1B\uFFFD");
}

} // namespace
