#include "fit/Quantity.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/fit/FitExamples.h"

namespace {

using QuantityKind = Quantity::Kind;

Quantity quantityOf(QuantityKind kind, size_t index = 0, double guess = 1) {
  Quantity quantity;
  quantity.kind = kind;
  quantity.index = index;
  quantity.guess = guess;
  return quantity;
}

// All that a quantity could change.
std::vector<double> numbersOf(const PlantDescription& plant) {
  std::vector<double> numbers = {plant.ambient};
  for (const auto& node : plant.nodes)
    numbers.push_back(node.capacity);
  for (const auto& resistance : plant.resistances)
    numbers.push_back(resistance.value);
  for (const auto& source : plant.sources) {
    numbers.push_back(source.watts.front());
    numbers.push_back(source.idle);
  }
  for (const auto& probe : plant.probes) {
    numbers.push_back(probe.offset);
    numbers.push_back(probe.lag);
  }
  return numbers;
}

TEST(QuantityTest, HasTheUnitOfItsKindAndALogarithmWhereItIsAboveZeroByItsNature) {
  struct {
    QuantityKind kind;
    std::string unit;
    bool byLogarithm;
  } const cases[] = {
      {QuantityKind::kCapacity, "J/K", true}, {QuantityKind::kResistance, "K/W", true},
      {QuantityKind::kWatts, "W", true},      {QuantityKind::kIdle, "W", true},
      {QuantityKind::kLag, "s", true},        {QuantityKind::kOffset, "C", false},
      {QuantityKind::kAmbient, "C", false}};
  for (const auto& each : cases) {
    EXPECT_EQ(quantityOf(each.kind).unit(), each.unit);
    EXPECT_EQ(quantityOf(each.kind).byLogarithm(), each.byLogarithm) << each.unit;
  }
}

TEST(QuantityTest, ChangesItsOwnNumberAndNoOther) {
  const PlantDescription plant = fit_examples::plantOf();
  // What changes, and where it is among the numbers.
  const std::pair<Quantity, size_t> cases[] = {
      {quantityOf(QuantityKind::kAmbient), 0},     {quantityOf(QuantityKind::kCapacity, 0), 1},
      {quantityOf(QuantityKind::kCapacity, 1), 2}, {quantityOf(QuantityKind::kResistance, 1), 4},
      {quantityOf(QuantityKind::kWatts, 0, 3), 5}, {quantityOf(QuantityKind::kIdle, 0), 6},
      {quantityOf(QuantityKind::kWatts, 1, 1), 7}, {quantityOf(QuantityKind::kIdle, 1), 8},
      {quantityOf(QuantityKind::kOffset, 0), 9},   {quantityOf(QuantityKind::kLag, 0), 10},
      {quantityOf(QuantityKind::kOffset, 1), 11},  {quantityOf(QuantityKind::kLag, 1), 12}};
  for (const auto& [quantity, place] : cases) {
    std::vector<double> expected = numbersOf(plant);
    expected.at(place) = 7.5;
    EXPECT_EQ(numbersOf(withValues(plant, {quantity}, {7.5})), expected) << place;
  }
}

TEST(QuantityTest, AScaleOfWattsIsThatOfAllLevels) {
  PlantDescription plant = fit_examples::plantOf();
  plant.sources[0].watts = {4, 2, 1};
  const Quantity watts = quantityOf(QuantityKind::kWatts, 0, 4);
  EXPECT_EQ(withValues(plant, {watts}, {6}).sources[0].watts, (std::vector<double>{6, 3, 1.5}));
}

TEST(QuantityTest, SeveralHaveTheirValuesInTheirOrder) {
  const std::vector<Quantity> two = {quantityOf(QuantityKind::kLag, 1),
                                     quantityOf(QuantityKind::kCapacity, 0)};
  const PlantDescription changed = withValues(fit_examples::plantOf(), two, {9, 3});
  EXPECT_EQ(changed.probes[1].lag, 9);
  EXPECT_EQ(changed.nodes[0].capacity, 3);
}

TEST(QuantityTest, WithoutAnyThePlantStays) {
  const PlantDescription plant = fit_examples::plantOf();
  EXPECT_EQ(numbersOf(withValues(plant, {}, {})), numbersOf(plant));
}

} // namespace
