#pragma once

#include <string>

#include "command/CommandLine.h"
#include "study/Study.h"
#include "toml/Problems.h"

// One unit of a population in the place of the nominal one: `--unit` and `--tolerances`.
struct UnitOption {
  std::string unit;
  std::string tolerances;

  bool isAsked() const { return !unit.empty() || !tolerances.empty(); }
};

void addUnitOptions(CommandLine& line, UnitOption& option);

// The study of that unit: the runs that `margin` has of it.
Study studyOfUnit(const UnitOption& option, const Study& study, const StudyRequest& request,
                  Problems& problems);

// The number that all of the text is, from 1 on; told as a problem of the option otherwise, with
// what it must be.
uint64_t countIn(const std::string& option, const std::string& text, const std::string& must,
                 Problems& problems);
