#pragma once

#include <optional>
#include <set>
#include <string>

#include "core/ThermalMain.h"
#include "support/Nodes.h"

// A daemon without threads, built from fuzzed texts and driven pass by pass. It frees with itself
// all that the daemon keeps for the life of the process.
class FuzzedBoard : public ThermalMain {
public:
  using ThermalMain::Paths;

  // All of its files are empty.
  FuzzedBoard();
  explicit FuzzedBoard(const Paths& paths);
  ~FuzzedBoard();

  void parseEnvironment(const std::string& text, const Nodes& nodes);

  // The error message with which the daemon would have ended, if any.
  std::optional<std::string> parseConfiguration(const std::string& text);

  // One period of every worker.
  void pass();

  // What the sensor threads and the scenario thread do in a scenario change.
  void changeScenario(const std::string& name);

  // What they do for another configuration; false if the daemon would have ended.
  bool swapConfiguration(const std::string& text);

  // Before something replaces the scenarios, which are never freed then.
  void rememberScenarios();

  // Looks at every promise that holds between two passes.
  void check() const;

private:
  void rememberDevices();
  void decide();

  std::set<Device*> devicesSeen;
  std::set<Scenario*> scenariosSeen;
  std::string scenarioInForce{"Default"};
  bool swapped = false;
};
