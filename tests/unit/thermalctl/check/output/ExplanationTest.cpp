#include "check/output/Explanation.h"

#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "check/Check.h"
#include "thermalctl/support/JsonText.h"

namespace {

Rule ruleSaying(const char* explanation) {
  return {"some-rule", Severity::kWarning, explanation, nullptr};
}

TEST(ExplanationTest, SummarisesByTheFirstSentence) {
  EXPECT_EQ(summaryOf(ruleSaying("It ends at 0.5 degrees. And more. Yes.")),
            "It ends at 0.5 degrees.");
  EXPECT_EQ(summaryOf(ruleSaying("One sentence.")), "One sentence.");
  EXPECT_EQ(summaryOf(ruleSaying("No full stop")), "No full stop");
}

TEST(ExplanationTest, ShowsNameSeverityAndWrappedParagraph) {
  std::ostringstream out;
  const std::string words(71, 'x');
  printExplanations(out, {ruleSaying((words + " eight and more").c_str())});
  EXPECT_EQ(out.str(), "some-rule (warning)\n\n" + words + " eight\nand more\n");
}

TEST(ExplanationTest, SeparatesRulesByABlankLine) {
  std::ostringstream out;
  printExplanations(out, {ruleSaying("One."), ruleSaying("Two.")});
  EXPECT_EQ(out.str(), "some-rule (warning)\n\nOne.\n\nsome-rule (warning)\n\nTwo.\n");
}

TEST(ExplanationTest, GivesARuleAsAnObjectAndSeveralAsAList) {
  std::ostringstream one;
  printExplanationAsJson(one, ruleSaying("One. And \"more\"."));
  const auto expected = jsonOf(R"({"rule": "some-rule", "severity": "warning",
      "summary": "One.", "explanation": "One. And \"more\"."})");
  EXPECT_EQ(jsonOf(one.str()), expected);
  std::ostringstream list;
  printExplanationsAsJson(list, {ruleSaying("One. And \"more\".")});
  EXPECT_EQ(jsonOf(list.str()), nlohmann::json::array({expected}));
}

TEST(ExplanationTest, HasAChapterOfThePageForEachRule) {
  std::ostringstream out;
  printRulesPage(out);
  size_t position = 0;
  for (const Rule& rule : allRules()) {
    position = out.str().find("\n### " + std::string(rule.name) + "\n", position);
    ASSERT_NE(position, std::string::npos) << rule.name;
  }
}

} // namespace
