#pragma once

#include <map>
#include <optional>
#include <string>

// How much a figure may differ from that of an earlier study without being told as changed.
//
// Shape:  `relative` is of the earlier value.
// Units:  `amount` in the figure's own, or as a share of 1.
// Source: `--tolerance` and a study's file.
struct Tolerance {
  double amount = 0;
  bool relative = false;

  bool allows(double before, double now) const;
};

// By the last word of a figure's name, such as "peak": what is compared, and what it is held to
// unless the user says otherwise.
using Tolerances = std::map<std::string, Tolerance>;
Tolerances usualTolerances();

// What a text makes of the tolerances: nothing, or what is wrong.
//
// Shape: `wrong` is empty where nothing is, `hint` may be.
struct ToleranceProblem {
  std::string wrong{};
  std::string hint{};
};

// Takes "0.5" or "1%" for a figure.
ToleranceProblem setTolerance(const std::string& name, const std::string& amount,
                              Tolerances& tolerances);
