#include "command/OutputOptions.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

class OutputOptionsTest : public testing::Test {
protected:
  OutputOptionsTest() { options.out = "report"; }

  Outputs read(const std::vector<std::string>& only) {
    options.only = only;
    return readOutputs(options, problems);
  }
  std::string told() const {
    std::ostringstream out;
    problems.print(out);
    return out.str();
  }
  // "html csv json results", of those that are wanted.
  static std::string names(const Outputs& outputs) {
    return std::string(outputs.page ? "html " : "") + (outputs.csv ? "csv " : "") +
           (outputs.events ? "json " : "") + (outputs.results ? "results " : "");
  }

  OutputOptions options;
  Problems problems;
};

TEST_F(OutputOptionsTest, WithoutAChoiceAllFilesAreWritten) {
  EXPECT_EQ(names(read({})), "html csv json results ");
  EXPECT_TRUE(problems.none());
}

TEST_F(OutputOptionsTest, OnlyWhatIsNamedIsWritten) {
  EXPECT_EQ(names(read({"csv"})), "csv ");
  EXPECT_EQ(names(read({"results,html"})), "html results ");
  EXPECT_EQ(names(read({"json", "csv,json"})), "csv json ");
  EXPECT_TRUE(problems.none());
}

TEST_F(OutputOptionsTest, AWordThatIsNearlyOneIsAskedBack) {
  read({"htlm,csv"});
  EXPECT_EQ(told(), "--only htlm,csv: error: there is no output 'htlm'\n"
                    "      hint: did you mean 'html'?\n");
}

TEST_F(OutputOptionsTest, AnEmptyWordIsNone) {
  for (const char* words : {"", "csv,", ",csv", "csv,,html"}) {
    problems = {};
    read({words});
    EXPECT_EQ(told(), "--only " + std::string(words) +
                          ": error: there is no output ''\n      hint: there are 'html', 'csv', "
                          "'json' and 'results'\n");
  }
}

TEST_F(OutputOptionsTest, CapitalsAreAnotherWord) {
  read({"CSV"});
  EXPECT_NE(told().find("there is no output 'CSV'\n      hint: did you mean 'csv'?"),
            std::string::npos)
      << told();
}

TEST_F(OutputOptionsTest, AChoiceNeedsAFolder) {
  options.out.clear();
  read({"csv"});
  EXPECT_EQ(told(), "--only: error: chooses among the files of --out, which is not given\n");
}

TEST_F(OutputOptionsTest, EachMistakeIsToldOnce) {
  options.out.clear();
  read({"pdf", "pdf", "png"});
  std::istringstream lines(told());
  int errors = 0;
  for (std::string line; std::getline(lines, line);)
    errors += line.find("error:") != std::string::npos;
  EXPECT_EQ(errors, 3) << told();
}

} // namespace
