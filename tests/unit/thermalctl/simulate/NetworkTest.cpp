#include "simulate/Network.h"

#include <array>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "thermalctl/simulate/StiffNetwork.h"

namespace {

constexpr double kAmbient = 20;

// A phone in outline: three nodes in a row, the last one cooled by the ambient.
class NetworkTest : public testing::Test {
protected:
  static constexpr std::array<double, 3> kCapacities = {2, 40, 70};
  static constexpr std::array<double, 3> kStart = {30, 28, 25};
  static constexpr double kDieToBoard = 8;
  static constexpr double kBoardToCase = 1.5;
  static constexpr double kCaseToAmbient = 4;

  static Network phone() {
    Network network(3);
    for (size_t node = 0; node < 3; ++node)
      network.setCapacity(node, kCapacities[node]);
    network.connect(0, 1, kDieToBoard);
    network.connect(1, 2, kBoardToCase);
    network.connectToAmbient(2, kCaseToAmbient);
    network.start({kStart.begin(), kStart.end()}, kAmbient);
    return network;
  }
};

TEST_F(NetworkTest, OneNodeFollowsTheClosedSolution) {
  constexpr double kCapacity = 5;
  constexpr double kResistance = 6;
  constexpr double kWatts = 3;
  Network network(1);
  network.setCapacity(0, kCapacity);
  network.connectToAmbient(0, kResistance);
  network.start({50}, kAmbient);
  network.setPower(0, kWatts);
  for (const int64_t end : {1, 250, 1000, 60'000, 3'600'000}) {
    Network fresh = network;
    fresh.advance(end);
    const double settled = kAmbient + kWatts * kResistance;
    const double seconds = static_cast<double>(end) / 1000;
    EXPECT_NEAR(fresh.temperature(0),
                settled + (50 - settled) * std::exp(-seconds / (kCapacity * kResistance)), 1e-9)
        << "after " << end << " ms";
  }
}

// x' = A (x - s) has the solution x = s + exp(At) (x0 - s); for two nodes with the rates p and q
// exp(At) is (e^pt (A - q) - e^qt (A - p)) / (p - q).
TEST_F(NetworkTest, TwoNodesFollowTheClosedSolution) {
  constexpr double kC1 = 2.5;
  constexpr double kC2 = 60;
  constexpr double kG = 0.12;
  constexpr double kGa = 0.25;
  constexpr double kWatts = 4;
  Network network(2);
  network.setCapacity(0, kC1);
  network.setCapacity(1, kC2);
  network.connect(0, 1, 1 / kG);
  network.connectToAmbient(1, 1 / kGa);
  network.start({35, 27}, kAmbient);
  network.setPower(0, kWatts);

  const double a = -kG / kC1;
  const double b = kG / kC1;
  const double c = kG / kC2;
  const double d = -(kG + kGa) / kC2;
  const double root = std::sqrt((a - d) * (a - d) / 4 + b * c);
  const double p = (a + d) / 2 + root;
  const double q = (a + d) / 2 - root;
  const double settled2 = kAmbient + kWatts / kGa;
  const double settled1 = settled2 + kWatts / kG;
  const double x1 = 35 - settled1;
  const double x2 = 27 - settled2;
  for (const int64_t end : {1, 100, 250, 1000, 30'000, 600'000}) {
    const double t = static_cast<double>(end) / 1000;
    const double ep = std::exp(p * t);
    const double eq = std::exp(q * t);
    Network fresh = network;
    fresh.advance(end);
    EXPECT_NEAR(fresh.temperature(0),
                settled1 + (ep * ((a - q) * x1 + b * x2) - eq * ((a - p) * x1 + b * x2)) / (p - q),
                1e-9)
        << "after " << end << " ms";
    EXPECT_NEAR(fresh.temperature(1),
                settled2 + (ep * (c * x1 + (d - q) * x2) - eq * (c * x1 + (d - p) * x2)) / (p - q),
                1e-9)
        << "after " << end << " ms";
  }
}

TEST_F(NetworkTest, HalvingTheStepChangesNoTemperature) {
  Network whole = phone();
  Network halved = phone();
  for (int step = 0; step < 600; ++step) {
    const double watts = step % 40 < 20 ? 5 : 0.2;
    whole.setPower(0, watts);
    halved.setPower(0, watts);
    whole.advance(1000);
    halved.advance(500);
    halved.advance(500);
    for (size_t node = 0; node < 3; ++node)
      ASSERT_NEAR(whole.temperature(node), halved.temperature(node), 1e-9);
  }
}

TEST_F(NetworkTest, StepsOfAnyLengthLeadToTheSameTemperature) {
  Network once = phone();
  once.setPower(0, 5);
  once.advance(10'000);
  Network often = phone();
  often.setPower(0, 5);
  for (const int64_t step : {1, 2, 3, 94, 900, 4000, 5000})
    often.advance(step);
  for (size_t node = 0; node < 3; ++node)
    EXPECT_NEAR(once.temperature(node), often.temperature(node), 1e-9);
}

TEST_F(NetworkTest, TheEnergyThatGoesInIsStoredOrGoesOut) {
  constexpr double kWatts = 5;
  constexpr int kSteps = 6000; // even, for Simpson's rule
  constexpr int64_t kStep = 100;
  Network network = phone();
  network.setPower(0, kWatts);
  const auto outflow = [&network] { return (network.temperature(2) - kAmbient) / kCaseToAmbient; };
  double sum = outflow();
  for (int step = 1; step <= kSteps; ++step) {
    network.advance(kStep);
    sum += outflow() * (step == kSteps ? 1 : step % 2 == 1 ? 4 : 2);
  }
  const double seconds = kStep / 1000.0;
  const double out = sum * seconds / 3;
  double stored = 0;
  for (size_t node = 0; node < 3; ++node)
    stored += kCapacities[node] * (network.temperature(node) - kStart[node]);
  const double in = kWatts * kSteps * seconds;
  EXPECT_GT(out, in / 10);
  EXPECT_GT(stored, in / 10);
  EXPECT_NEAR(in, stored + out, in * 1e-6);
}

TEST_F(NetworkTest, AStiffNetworkOverALongStepSettles) {
  Network network(2);
  network.setCapacity(0, 1e-3);
  network.setCapacity(1, 100);
  network.connect(0, 1, 0.1);
  network.connectToAmbient(1, 2);
  network.start({20, 20}, kAmbient);
  network.setPower(0, 3);
  network.advance(int64_t{24} * 3600 * 1000);
  EXPECT_NEAR(network.temperature(1), kAmbient + 6, 1e-6);
  EXPECT_NEAR(network.temperature(0), kAmbient + 6.3, 1e-6);
}

void expectTheClosedForm(const StiffNetwork& stiff) {
  EXPECT_LE(worstErrorOf(stiff), 1e-9);
}

TEST_F(NetworkTest, MicrosecondsBesideTenHoursLoseNothing) {
  expectTheClosedForm({1e-6, 3'600, 1, 10}); // 1 us, 10 h
  expectTheClosedForm({1e-3, 3'600, 1e-3, 10});
}

TEST_F(NetworkTest, NanosecondsBesideTenHoursLoseNothing) {
  expectTheClosedForm({1e-9, 3'600, 1, 10}); // 1 ns, 10 h
  expectTheClosedForm({1e-3, 3'600, 1e-6, 10});
}

TEST_F(NetworkTest, AContactWithoutResistanceLosesNothing) {
  expectTheClosedForm({40, 70, 1e-9, 4});
  expectTheClosedForm({1, 3'600, 1e-9, 10});
}

// A chain from a die of microseconds to a room of days, in unsorted order: every node settles at
// what the resistances on its way drop.
TEST_F(NetworkTest, AChainOverManyScalesSettlesAtItsDrops) {
  const std::array<double, 6> capacities = {40, 1e-7, 3e4, 1e-3, 2, 7e5};
  const std::array<size_t, 6> way = {1, 3, 4, 0, 2, 5}; // from the die to the room
  const std::array<double, 6> resistances = {0.1, 0.5, 4, 1e-8, 2, 0.3};
  Network network(6);
  for (size_t i = 0; i < 6; ++i) {
    network.setCapacity(i, capacities[i]);
    if (i < 5) network.connect(way[i], way[i + 1], resistances[i]);
  }
  network.connectToAmbient(way[5], resistances[5]);
  network.start({20, 20, 20, 20, 20, 20}, kAmbient);
  network.setPower(way[0], 5);
  for (int day = 0; day < 400; ++day)
    network.advance(86'400'000);
  double settled = kAmbient;
  for (size_t i = 6; i-- > 0;) {
    settled += 5 * resistances[i];
    EXPECT_NEAR(network.temperature(way[i]), settled, 1e-9 * settled) << "node " << way[i];
  }
}

TEST_F(NetworkTest, AnAmbientThatRisesIsFollowedAlongItsLine) {
  // Long after the start the node is behind by the slope times its time constant.
  Network network(1);
  network.setCapacity(0, 5);
  network.connectToAmbient(0, 6);
  const size_t observer = network.addObserver(0, 12);
  network.start({kAmbient}, kAmbient);
  network.setAmbient(kAmbient, 0.01);
  network.advance(400'000);
  const double passed = 1 - std::exp(-400.0 / 30);
  EXPECT_NEAR(network.temperature(0), kAmbient + 4 - 0.3 * passed, 1e-9);
  network.advance(600'000);
  EXPECT_NEAR(network.temperature(0), kAmbient + 10 - 0.3, 1e-9);
  EXPECT_NEAR(network.temperature(observer), kAmbient + 10 - 0.3 - 0.12, 1e-9);
  network.setAmbient(kAmbient + 10);
  network.advance(3'600'000);
  EXPECT_NEAR(network.temperature(observer), kAmbient + 10, 1e-9);
}

TEST_F(NetworkTest, APowerThatGrowsIsFollowedAlongItsLine) {
  Network network(1);
  network.setCapacity(0, 5);
  network.connectToAmbient(0, 6);
  network.start({kAmbient}, kAmbient);
  network.setPower(0, 1, 0.002);
  network.advance(100'000);
  // C T' = P + s t - T / R, from T = 0.
  const double tau = 30;
  const double decay = std::exp(-100 / tau);
  EXPECT_NEAR(network.temperature(0),
              kAmbient + 6 * (1 - decay) + 0.002 * 6 * (100 - tau * (1 - decay)), 1e-9);
}

// A lag as slow as a mode is the limit of lags near it, and a step can be cut anywhere.
TEST_F(NetworkTest, ALagMayBeAsSlowAsTheNodeItself) {
  for (const double lag : {29.0, 29.71, 29.9999, 30.0, 30.000001, 30.29, 31.0}) {
    Network network(1);
    network.setCapacity(0, 5);
    network.connectToAmbient(0, 6); // 30 s
    const size_t observer = network.addObserver(0, lag);
    network.start({60}, kAmbient);
    network.setAmbient(kAmbient);
    Network cut = network;
    for (Network* each : {&network, &cut})
      each->setPower(0, 2, 0.001);
    network.advance(60'000);
    for (const int64_t step : {1, 999, 7'000, 52'000})
      cut.advance(step);
    EXPECT_NEAR(network.temperature(observer), cut.temperature(observer), 1e-9) << lag;
  }
}

TEST_F(NetworkTest, ALagAsSlowAsTheNodeFollowsTheClosedSolution) {
  Network network(1);
  network.setCapacity(0, 5);
  network.connectToAmbient(0, 6); // 30 s
  const size_t observer = network.addObserver(0, 30);
  network.start({60}, kAmbient);
  network.advance(45'000);
  EXPECT_NEAR(network.temperature(observer), kAmbient + 40 * (1 + 1.5) * std::exp(-1.5), 1e-9);
}

TEST_F(NetworkTest, AnObserverLagsBehindItsNodeAndDoesNotLoadIt) {
  constexpr double kLag = 3;
  Network network(1);
  network.setCapacity(0, 1e9); // holds its temperature
  network.connectToAmbient(0, 1e6);
  const size_t observer = network.addObserver(0, kLag);
  network.start({20}, kAmbient);
  EXPECT_EQ(network.temperature(observer), 20);
  network.setPower(0, 1e10);
  network.advance(1000); // to 30 degrees, in a straight line
  network.setPower(0, 0);
  const double behind = 10 - 10 * (1 - kLag * (1 - std::exp(-1 / kLag)));
  EXPECT_NEAR(network.temperature(observer), 30 - behind, 1e-3);
  network.advance(6000);
  EXPECT_NEAR(network.temperature(observer), 30 - behind * std::exp(-6 / kLag), 1e-3);
  EXPECT_NEAR(network.temperature(0), 30, 1e-3);
}

TEST_F(NetworkTest, NodesWithoutAWayToTheAmbientCannotCool) {
  Network network(5);
  network.connectToAmbient(0, 4);
  network.connect(0, 1, 1);
  network.connect(1, 2, 1);
  network.connect(3, 4, 1);
  EXPECT_EQ(network.nodesThatCannotCool(), (std::vector<size_t>{3, 4}));
}

} // namespace
