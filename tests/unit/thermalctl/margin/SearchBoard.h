#pragma once

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "margin/Attempt.h"
#include "margin/SearchBounds.h"
#include "margin/ToleranceFile.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"
#include "thermalctl/simulate/RunFiles.h"
#include "thermalctl/support/MarginExample.h"

// A die that settles at once at the ambient and ten times its watts, 5 at full load of both
// sources.
class SearchBoard {
public:
  SearchBoard() {
    files.plant = "ambient = 25\n"
                  "[node.die]\njoules_per_kelvin = 0.001\n"
                  "[[resistance]]\nbetween = [\"die\", \"ambient\"]\nkelvin_per_watt = 10\n"
                  "[source.a]\nnode = \"die\"\nwatts = 2\n"
                  "[source.b]\nnode = \"die\"\nwatts = 3\n"
                  "[sensor.cpu]\nnode = \"die\"\n";
    files.workload = "time,ambient,a,b\n0,25,0.1,0.1\n";
    files.configuration = "[hot]\nalgo_type monitor\nsensor cpu\nsampling 1000\nthresholds 500000\n"
                          "thresholds_clr 490000\nactions gpu\naction_info 1\n";
    files.request.duration = 60'000;
  }

  // What a tolerances.toml lets a search look for, to break these limits and requirements.
  SearchSpace spaceOf(const std::string& tolerances, const std::vector<std::string>& budgets) {
    files.request.budgets.clear();
    for (const std::string& text : budgets)
      files.request.budgets.push_back({budgetFrom(text), text});
    std::vector<RunInput> runs = files.read();
    EXPECT_TRUE(files.problems.none()) << files.wrongInFull();
    Problems problems;
    problems.read(files.path("plant.toml"), files.plant);
    const std::string file = folder.write("tolerances.toml", tolerances);
    Population population =
        readTolerances(file, runs, files.path("plant.toml"), problems).population;
    std::vector<std::string> paths;
    SearchBounds bounds = readSearchBounds(file, {}, runs.front(), paths, problems);
    EXPECT_TRUE(problems.none());
    return {runs.front(), std::move(population), std::move(bounds)};
  }

  RunFiles files;

private:
  const LogSwitchedOff quiet;
  const SysfsDir folder;
};
