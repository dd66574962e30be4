#include "check/rule/Numbers.h"

#include <gtest/gtest.h>

namespace {

Number number(const std::string& word) {
  return numberOf({word, {}});
}

// An item of a sensor that counts in `unit` thousandths of a degree.
class ItemsNumbersTest : public testing::Test {
protected:
  Item itemOf(int32_t unit, bool lowactive = false) {
    section.unit = unit;
    Item item;
    item.sensor = Reference{{"cpu", {}}, &section};
    if (lowactive) item.lowactive = Flag{Word{"true", {}}};
    return item;
  }

  Section section;
};

TEST(NumbersTest, TellsWhatTheDaemonMakesOfAWord) {
  EXPECT_EQ(readingOf("45000"), NumberReading::kWhole);
  EXPECT_EQ(readingOf("-1"), NumberReading::kWhole);
  EXPECT_EQ(readingOf("+1"), NumberReading::kWhole);
  EXPECT_EQ(readingOf("45C"), NumberReading::kCutShort);
  EXPECT_EQ(readingOf("45.5"), NumberReading::kCutShort);
  EXPECT_EQ(readingOf("hot"), NumberReading::kNoDigits);
  EXPECT_EQ(readingOf(""), NumberReading::kNoDigits);
}

TEST(NumbersTest, TheLimitIsThatOf32Bits) {
  EXPECT_EQ(readingOf("2147483647"), NumberReading::kWhole);
  EXPECT_EQ(readingOf("2147483648"), NumberReading::kTooLarge);
  EXPECT_EQ(readingOf("-2147483648"), NumberReading::kWhole);
  EXPECT_EQ(readingOf("-2147483649"), NumberReading::kTooLarge);
  EXPECT_EQ(readingOf("99999999999999999999999"), NumberReading::kTooLarge);
}

TEST(NumbersTest, OnlyAWholeOneIsANumber) {
  EXPECT_TRUE(isNumber("7"));
  EXPECT_FALSE(isNumber("7s"));
}

TEST(NumbersTest, OneWordWithoutDigitsSpoilsAList) {
  EXPECT_TRUE(haveDigits({number("1"), number("2x")}));
  EXPECT_FALSE(haveDigits({number("1"), number("x")}));
  EXPECT_TRUE(haveDigits({}));
}

TEST(NumbersTest, NamesItsUnits) {
  EXPECT_STREQ(nameOfUnit(1), "thousandths of a degree");
  EXPECT_STREQ(nameOfUnit(100), "tenths of a degree");
  EXPECT_STREQ(nameOfUnit(1000), "degrees");
}

TEST(NumbersTest, From2To200ItIsDegrees) {
  EXPECT_FALSE(looksLikeDegrees(number("1")));
  EXPECT_TRUE(looksLikeDegrees(number("2")));
  EXPECT_TRUE(looksLikeDegrees(number("-2")));
  EXPECT_TRUE(looksLikeDegrees(number("200")));
  EXPECT_FALSE(looksLikeDegrees(number("201")));
  EXPECT_FALSE(looksLikeDegrees(number("45C")));
}

TEST(NumbersTest, NoSensorReadsMoreThan200Degrees) {
  EXPECT_FALSE(beyondAnySensor(number("200000")));
  EXPECT_TRUE(beyondAnySensor(number("200001")));
  EXPECT_TRUE(beyondAnySensor(number("-200001")));
  EXPECT_FALSE(beyondAnySensor(number("200001mC")));
}

TEST(NumbersTest, InAnotherUnitTheLimitsAreTheSameTemperatures) {
  EXPECT_FALSE(looksLikeDegrees(number("45"), 1000));
  EXPECT_FALSE(beyondAnySensor(number("200"), 1000));
  EXPECT_TRUE(beyondAnySensor(number("201"), 1000));
  EXPECT_TRUE(looksLikeDegrees(number("2"), 100));
  EXPECT_FALSE(looksLikeDegrees(number("3"), 100));
  // The product is larger than 32 bits.
  EXPECT_TRUE(beyondAnySensor(number("2147483647"), 1000));
}

TEST(NumbersTest, WithoutAWordItIsTheDefaultAndSound) {
  EXPECT_TRUE(sound(number("")));
  EXPECT_TRUE(sound(number("5")));
  EXPECT_FALSE(sound(number("5s")));
}

TEST_F(ItemsNumbersTest, TheUnitIsTheSensors) {
  EXPECT_EQ(unitOf(itemOf(100)), 100);
  EXPECT_EQ(unitOf(Item()), 1);
}

TEST_F(ItemsNumbersTest, ASensorThatTheBoardDoesNotHaveCountsThousandths) {
  Item item;
  item.sensor = Reference{{"gone", {}}, nullptr};
  EXPECT_EQ(unitOf(item), 1);
}

TEST_F(ItemsNumbersTest, APhoneInUseIsWarmerThan10Degrees) {
  EXPECT_TRUE(outOfUse(number("9999"), itemOf(1)));
  EXPECT_FALSE(outOfUse(number("10000"), itemOf(1)));
  EXPECT_TRUE(outOfUse(number("9"), itemOf(1000)));
  EXPECT_FALSE(outOfUse(number("10"), itemOf(1000)));
}

TEST_F(ItemsNumbersTest, AnItemThatActsOnColdIsOutOfUseNextToTheFreezingPoint) {
  EXPECT_TRUE(outOfUse(number("200"), itemOf(1, true)));
  EXPECT_TRUE(outOfUse(number("-200"), itemOf(1, true)));
  EXPECT_FALSE(outOfUse(number("201"), itemOf(1, true)));
  EXPECT_FALSE(outOfUse(number("-5000"), itemOf(1, true)));
}

TEST_F(ItemsNumbersTest, ATemperatureIsSoundThatASensorCanRead) {
  EXPECT_TRUE(soundTemperature(number("45000"), itemOf(1)));
  EXPECT_FALSE(soundTemperature(number("45"), itemOf(1)));
  EXPECT_FALSE(soundTemperature(number("450000"), itemOf(1)));
  EXPECT_FALSE(soundTemperature(number("45C"), itemOf(1)));
  EXPECT_TRUE(soundTemperature(number("45"), itemOf(1000)));
}

} // namespace
