#include "command/UnitOption.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/SysfsDir.h"

namespace {

class UnitOptionTest : public testing::Test {
protected:
  std::string told() const {
    std::ostringstream out;
    problems.print(out);
    return out.str();
  }
  // The study of a unit, of one run of seed 7.
  Study ofUnit(const std::string& unit, const std::string& tolerances) {
    Study study;
    study.inputs.resize(1);
    study.cells.resize(1);
    study.cells[0].seed = 7;
    return studyOfUnit({unit, tolerances}, study, StudyRequest(), problems);
  }

  Problems problems;
};

TEST_F(UnitOptionTest, ANumberIsAllOfItsTextAndFromOneOn) {
  const auto count = [this](const std::string& text) {
    problems = {};
    return countIn("--unit", text, "a unit's number from 1 on", problems);
  };
  EXPECT_EQ(count("1"), 1U);
  EXPECT_EQ(count("42"), 42U);
  EXPECT_EQ(count("1000000000"), 1'000'000'000U);
  EXPECT_TRUE(problems.none());
  for (const char* text : {"", "0", "-1", "+1", "1000000001", "1..3", "1,2", "3..3", "1.5", "1e3",
                           " 1", "1 ", "one", "18446744073709551617"}) {
    EXPECT_EQ(count(text), 1U) << text;
    EXPECT_EQ(told(),
              "--unit " + std::string(text) + ": error: must be a unit's number from 1 on\n")
        << text;
  }
}

TEST_F(UnitOptionTest, OneOptionWithoutTheOtherIsToldWithWhatLacks) {
  EXPECT_EQ(ofUnit("3", "").cells.size(), 1U);
  EXPECT_EQ(told(), "--unit 3: error: is one of what population?\n"
                    "      hint: give --tolerances\n");
  problems = {};
  EXPECT_EQ(ofUnit("", "tolerances.toml").cells.size(), 1U);
  EXPECT_EQ(told(), "--tolerances tolerances.toml: error: makes many units, and one is run here\n"
                    "      hint: give --unit, or run thermalctl margin\n");
}

TEST_F(UnitOptionTest, EitherOptionAsks) {
  EXPECT_FALSE(UnitOption().isAsked());
  EXPECT_TRUE((UnitOption{"1", ""}).isAsked());
  EXPECT_TRUE((UnitOption{"", "tolerances.toml"}).isAsked());
}

TEST_F(UnitOptionTest, ANumberThatIsNoneIsToldBesideAFileThatIsNotThere) {
  const SysfsDir files;
  EXPECT_EQ(ofUnit("x", files.node("nowhere.toml")).cells.at(0).seed, 7U);
  EXPECT_NE(told().find("--unit x: error: must be a unit's number from 1 on\n"), std::string::npos)
      << told();
  EXPECT_NE(told().find("nowhere.toml: error: "), std::string::npos) << told();
}

} // namespace
