#include "simulate/Modes.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

namespace {

// Three nodes in a row of which the last one is cooled.
NetworkNumbers row() {
  NetworkNumbers network(3);
  network.capacities = {2, 40, 70};
  network.conductances = {0, 0.125, 0, 0.125, 0, 0.6, 0, 0.6, 0};
  network.toAmbient = {0, 0, 0.25};
  return network;
}

// What flows out of a node, in watts, where the nodes are that much above the ambient.
double outflow(const NetworkNumbers& network, size_t node, const std::vector<double>& kelvin) {
  double watts = network.toAmbient[node] * kelvin[node];
  for (size_t other = 0; other < network.nodes; ++other) {
    if (other != node)
      watts += network.conductances[node * network.nodes + other] * (kelvin[node] - kelvin[other]);
  }
  return watts;
}

std::vector<double> shapeOf(const Modes& modes, size_t mode) {
  const size_t nodes = modes.rates.size();
  std::vector<double> shape;
  for (size_t node = 0; node < nodes; ++node)
    shape.push_back(modes.shapes[node * nodes + mode]);
  return shape;
}

TEST(ModesTest, OneNodeDecaysByItsTimeConstant) {
  NetworkNumbers network(1);
  network.capacities = {5};
  network.toAmbient = {0.25};
  const Modes modes = modesOf(network);
  ASSERT_EQ(modes.rates.size(), 1U);
  EXPECT_DOUBLE_EQ(modes.rates[0], 0.25 / 5);
  EXPECT_DOUBLE_EQ(std::abs(modes.shapes[0]), 1 / std::sqrt(5));
}

TEST(ModesTest, NodesThatDoNotTouchDecayByThemselves) {
  NetworkNumbers network(2);
  network.capacities = {5, 50};
  network.toAmbient = {0.25, 0.5};
  Modes modes = modesOf(network);
  std::sort(modes.rates.begin(), modes.rates.end());
  EXPECT_DOUBLE_EQ(modes.rates[0], 0.01);
  EXPECT_DOUBLE_EQ(modes.rates[1], 0.05);
}

TEST(ModesTest, EachShapeDecaysByItself) {
  const NetworkNumbers network = row();
  const Modes modes = modesOf(network);
  for (size_t mode = 0; mode < network.nodes; ++mode) {
    const std::vector<double> shape = shapeOf(modes, mode);
    EXPECT_GT(modes.rates[mode], 0);
    for (size_t node = 0; node < network.nodes; ++node)
      EXPECT_NEAR(outflow(network, node, shape),
                  modes.rates[mode] * network.capacities[node] * shape[node], 1e-12);
  }
}

TEST(ModesTest, TheirShapesAreScaledByTheCapacities) {
  const NetworkNumbers network = row();
  const Modes modes = modesOf(network);
  for (size_t a = 0; a < network.nodes; ++a) {
    for (size_t b = 0; b < network.nodes; ++b) {
      double product = 0;
      for (size_t node = 0; node < network.nodes; ++node)
        product += shapeOf(modes, a)[node] * network.capacities[node] * shapeOf(modes, b)[node];
      EXPECT_NEAR(product, a == b ? 1 : 0, 1e-12) << a << " and " << b;
    }
  }
}

// The slow rate is the product of both, which has a simple form, over the fast one: no difference
// of large numbers is in it.
TEST(ModesTest, ASlowRateIsExactBesideAFastOne) {
  constexpr double kFastC = 1e-6;
  constexpr double kSlowC = 1e6;
  constexpr double kBetween = 1;
  constexpr double kOut = 1e-3;
  NetworkNumbers network(2);
  network.capacities = {kFastC, kSlowC};
  network.conductances = {0, kBetween, kBetween, 0};
  network.toAmbient = {0, kOut};
  Modes modes = modesOf(network);
  std::sort(modes.rates.begin(), modes.rates.end());

  const double sum = kBetween / kFastC + (kBetween + kOut) / kSlowC;
  const double product = kBetween * kOut / (kFastC * kSlowC);
  const double fast = (sum + std::sqrt(sum * sum - 4 * product)) / 2;
  EXPECT_NEAR(modes.rates[1] / fast, 1, 1e-12);
  EXPECT_NEAR(modes.rates[0] / (product / fast), 1, 1e-12);
}

} // namespace
