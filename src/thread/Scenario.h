#pragma once

#include <string>

// A named scenario of the configuration in force.
class Scenario {
public:
  Scenario(const std::string& name_, bool active_) : name(name_), active(active_) {}
  virtual ~Scenario() = default;
  Scenario(const Scenario&) = delete;
  Scenario& operator=(const Scenario&) = delete;

  std::string name;
  bool active; // marks the scenario in force; written by the scenario thread
};
