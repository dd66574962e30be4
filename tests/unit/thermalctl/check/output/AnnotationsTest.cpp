#include "check/output/Annotations.h"

#include <sstream>

#include <gtest/gtest.h>

namespace {

Finding finding(const std::string& file, const std::string& message) {
  Finding result;
  result.rule = "some-rule";
  result.severity = Severity::kError;
  result.file = file;
  result.at = {2, 6};
  result.length = 3;
  result.message = message;
  return result;
}

std::string printed(const std::vector<Finding>& findings) {
  Inspection inspection;
  inspection.findings = findings;
  inspection.sources.emplace("board.env", Source("[a]\n\xC3\xA4\xC3\xA4 kee\n"));
  std::ostringstream out;
  printAnnotations(out, inspection);
  return out.str();
}

TEST(AnnotationsTest, MarkAPlaceInCharactersAndAreCounted) {
  EXPECT_EQ(printed({finding("board.env", "it ignores 'kee'")}),
            "::error file=board.env,line=2,col=4,endColumn=7,title=some-rule::it ignores 'kee'.\n"
            "1 error in 1 file\n");
  EXPECT_EQ(printed({}), "no problems in 1 file\n");
}

TEST(AnnotationsTest, HaveTheHintAndTheSeverity) {
  Finding warning = finding("board.env", "it ignores 'kee'");
  warning.severity = Severity::kWarning;
  warning.hint = "did you mean 'key'?";
  const std::string text = printed({warning});
  EXPECT_EQ(text.rfind("::warning file=board.env,", 0), 0U) << text;
  EXPECT_NE(text.find("::it ignores 'kee'. Hint: did you mean 'key'?\n"), std::string::npos);
}

TEST(AnnotationsTest, EscapeWhatWouldEndThem) {
  const std::string text = printed({finding("a,b:c%d\r\n.env", "100% of a,b::c")});
  EXPECT_EQ(text.rfind("::error file=a%2Cb%3Ac%25d%0D%0A.env,line=2,", 0), 0U) << text;
  EXPECT_NE(text.find(",title=some-rule::100%25 of a,b::c.\n"), std::string::npos) << text;
}

TEST(AnnotationsTest, KeepTheControlCharactersOfAFileBack) {
  const std::string text = printed({finding("board.env", "no '\x1B[2J\n::error::x'")});
  EXPECT_EQ(text.find('\x1B'), std::string::npos);
  EXPECT_EQ(text.find("\n::error::"), std::string::npos);
}

TEST(AnnotationsTest, TellOfAFileThatCouldNotBeRead) {
  Inspection inspection;
  inspection.unread = {{"day.conf", "No such file or directory"}};
  std::ostringstream out;
  printAnnotations(out, inspection);
  EXPECT_EQ(out.str(), "::error title=thermalctl check::cannot read day.conf: No such file or "
                       "directory\nnothing was checked\n");
}

TEST(AnnotationsTest, AreAHundredAndThenANumber) {
  const std::string text = printed(std::vector<Finding>(103, finding("board.env", "it")));
  EXPECT_NE(text.find("\n::notice title=thermalctl check::and 3 more findings, which --format json "
                      "shows\n103 errors in 1 file\n"),
            std::string::npos);
}

} // namespace
