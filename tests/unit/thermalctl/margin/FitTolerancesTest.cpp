#include "margin/FitTolerances.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"
#include "thermalctl/support/ProblemText.h"

namespace {

class FitTolerancesTest : public testing::Test {
protected:
  FittedNumbers read(const std::string& text) { return readAt(folder.write("fit.json", text)); }

  FittedNumbers readAt(const std::string& path) {
    problems = Problems();
    return readFittedNumbers(path, {"tolerances.toml", {{4, 8}, 1}, "fit.json ", "look there"},
                             problems);
  }

  // Of the numbers that the file has, without any.
  std::string wrong(const std::string& text) {
    const FittedNumbers none = read(text);
    EXPECT_TRUE(none.numbers.empty()) << text;
    EXPECT_TRUE(none.correlations.empty()) << text;
    return told();
  }

  std::string told() const { return problemText(problems, folder); }

  // With as many numbers as the matrix has rows.
  static std::string fit(const std::string& quantities, const std::string& correlations) {
    return "{\"quantities\": [" + quantities + "], \"correlations\": " + correlations + "}";
  }
  static std::string number(const std::string& name, const std::string& interval) {
    return R"({"name": ")" + name + R"(", "value": 1, "interval": )" + interval + "}";
  }

  SysfsDir folder;
  Problems problems;
};

TEST_F(FitTolerancesTest, NumbersHaveTheirIntervalsInTheOrderOfTheFile) {
  const FittedNumbers fitted =
      read(fit(number("b", "[1, 2.5]") + "," + number("a", "[-3, 4e2]"), "[[1, 0.25], [0.25, 1]]"));
  EXPECT_EQ(told(), "");
  ASSERT_EQ(fitted.numbers.size(), 2U);
  EXPECT_EQ(fitted.numbers[0].name, "b");
  EXPECT_EQ(fitted.numbers[0].low, 1);
  EXPECT_EQ(fitted.numbers[0].high, 2.5);
  EXPECT_EQ(fitted.numbers[1].name, "a");
  EXPECT_EQ(fitted.numbers[1].low, -3);
  EXPECT_EQ(fitted.numbers[1].high, 400);
  EXPECT_EQ(fitted.correlations, (SquareMatrix{1, 0.25, 0.25, 1}));
}

TEST_F(FitTolerancesTest, WhatWasNotDeterminedAndTheAmbientAreLeftOutOfTheMatrixToo) {
  const FittedNumbers fitted =
      read(fit(number("a", "[1, 2]") + "," + number("kept", "null") + "," +
                   number("ambient", "[20, 21]") + "," + number("d", "[3, 4]"),
               "[[1, 0.1, 0.2, 0.3], [0.1, 1, 0.4, 0.5], [0.2, 0.4, 1, 0.6], [0.3, 0.5, 0.6, 1]]"));
  ASSERT_EQ(fitted.numbers.size(), 2U);
  EXPECT_EQ(fitted.numbers[1].name, "d");
  EXPECT_EQ(fitted.correlations, (SquareMatrix{1, 0.3, 0.3, 1}));
}

// By hand: 0.999 and 0.999 leave at least 0.996 to the third, which the file's digits have as
// 0.995.
TEST_F(FitTolerancesTest, WhatTheFilesDigitsTookFromTheMatrixIsGivenBack) {
  const std::string three =
      number("a", "[1, 2]") + "," + number("b", "[1, 2]") + "," + number("c", "[1, 2]");
  const FittedNumbers fitted =
      read(fit(three, "[[1, 0.999, 0.999], [0.999, 1, 0.995], [0.999, 0.995, 1]]"));
  EXPECT_EQ(told(), "");
  ASSERT_EQ(fitted.correlations.size(), 9U);
  EXPECT_TRUE(choleskyOf(fitted.correlations, 3));
  for (const size_t diagonal : {0U, 4U, 8U})
    EXPECT_EQ(fitted.correlations[diagonal], 1);
  EXPECT_NEAR(fitted.correlations[1], 0.999, 0.0011);
  EXPECT_LT(fitted.correlations[1], 0.999);
  EXPECT_EQ(fitted.correlations[1], fitted.correlations[3]);
}

TEST_F(FitTolerancesTest, AMatrixThatIsFarFromAnyIsRefused) {
  const std::string three =
      number("a", "[1, 2]") + "," + number("b", "[1, 2]") + "," + number("c", "[1, 2]");
  const char* const told = "tolerances.toml:4:8: error: fit.json has correlations that no numbers "
                           "have: fit again\n";
  EXPECT_NE(wrong(fit(three, "[[1, 0.9, 0.9], [0.9, 1, -0.9], [0.9, -0.9, 1]]")).find(told),
            std::string::npos);
  EXPECT_NE(wrong(fit(number("a", "[1, 2]") + "," + number("b", "[1, 2]"), "[[1, 2], [2, 1]]"))
                .find(told),
            std::string::npos);
}

TEST_F(FitTolerancesTest, AFileThatIsNoFitIsToldAtItsPlace) {
  const std::string one = number("a", "[1, 2]");
  for (const std::string& text :
       {std::string(), std::string("no JSON"), std::string("[]"), std::string("{}"),
        "{\"quantities\": [" + one + "]}", std::string("{\"correlations\": [[1]]}"), fit(one, "[]"),
        fit(one, "[[]]"), fit(one, "[[\"1\"]]"), fit(number("a", "[1]"), "[[1]]"),
        fit(number("a", "\"wide\""), "[[1]]"), fit("{\"name\": \"a\"}", "[[1]]"),
        fit("{\"interval\": [1, 2]}", "[[1]]"), fit("7", "[[1]]")})
    EXPECT_NE(wrong(text).find("tolerances.toml:4:8: error: fit.json is no fit.json of thermalctl "
                               "fit\n"),
              std::string::npos)
        << text << "\n"
        << told();
}

TEST_F(FitTolerancesTest, WithoutANumberThatCouldVaryItIsOfNoUse) {
  for (const std::string& text : {fit("", "[]"), fit(number("a", "null"), "[[1]]"),
                                  fit(number("ambient", "[1, 2]"), "[[1]]")})
    EXPECT_NE(wrong(text).find("error: fit.json has determined no number that could vary\n"),
              std::string::npos)
        << text;
}

TEST_F(FitTolerancesTest, AFileThatIsNotThereIsTold) {
  EXPECT_TRUE(readAt(folder.node("nowhere.json")).numbers.empty());
  EXPECT_NE(told().find("tolerances.toml:4:8: error: fit.json cannot be read: "),
            std::string::npos);
  EXPECT_NE(told().find("look there"), std::string::npos);
}

} // namespace
