#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "simulate/Inputs.h"
#include "toml/TomlSection.h"

// A number that was drawn for a unit, and what it does to the one of the files.
struct Drawn {
  enum class As { kValue, kFactor, kPlus };

  double of(double nominal) const {
    if (as == As::kValue) return number;
    return as == As::kFactor ? nominal * number : nominal + number;
  }

  As as = As::kValue;
  double number = 0;
};

// What of a plant, its sensors or a workload may differ from unit to unit.
//
// Shape:  of `names` the first is the usual one. What stands for several numbers, such as the loads
//         of a source, has no `nominal` value.
// Units:  those of the files.
struct Variable {
  std::vector<std::string> names;
  std::optional<double> nominal;
  TomlSection::Bounds bounds{};
  std::function<void(RunInput&, const Drawn&)> set;

  const std::string& name() const { return names.front(); }
};

// All of them, in the order in which they are to be set: what two of them change both, such as a
// law's constant and the scale of its powers, comes out the same whoever asks for it first.
//
// Shape: `runs` share a plant, whose file's text is `plantText`; each has a workload of its own.
std::vector<Variable> variablesOf(const std::vector<RunInput>& runs, const std::string& plantText,
                                  const std::string& plantFile);
