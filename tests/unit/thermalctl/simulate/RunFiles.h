#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "simulate/Inputs.h"
#include "support/SysfsDir.h"
#include "thermalctl/support/ProblemText.h"

// Texts as the files of a board.
class RunFiles {
public:
  std::string environment = "[cpu]\n"
                            "type real\n"
                            "sampling 100\n"
                            "node_path /nowhere/cpu\n"
                            "\n"
                            "[gpu]\n"
                            "type gpufreq\n"
                            "node_path /nowhere/gpu\n"
                            "level_table 100 80 60 40\n";
  std::string configuration = "[hot]\n"
                              "algo_type monitor\n"
                              "sensor cpu\n"
                              "sampling 300\n"
                              "thresholds 50000 70000\n"
                              "thresholds_clr 45000 65000\n"
                              "actions gpu gpu\n"
                              "action_info 1 2\n";
  std::string plant = "[node.die]\n"
                      "joules_per_kelvin = 2\n"
                      "\n"
                      "[[resistance]]\n"
                      "between = [\"die\", \"ambient\"]\n"
                      "kelvin_per_watt = 10\n"
                      "\n"
                      "[sensor.cpu]\n"
                      "node = \"die\"\n";
  // The name decides about the format.
  std::string workloadName = "workload.csv";
  std::string workload = "time,ambient\n0,25\n";

  SimulationRequest request;
  Problems problems;

  RunFiles() { request.duration = 10'000; }

  // A further configuration beside the first.
  void add(const std::string& name, const std::string& text) const { folder.write(name, text); }

  std::string path(const std::string& name) const { return folder.node(name); }

  std::vector<RunInput> read() { return readAll().runs; }

  SimulationInputs readAll() {
    request.environment = folder.write("board.env", environment);
    request.plant = folder.write("plant.toml", plant);
    request.workload = folder.write(workloadName, workload);
    if (request.configurations.empty())
      request.configurations = {folder.write("first.conf", configuration)};
    return readInputs(request, problems);
  }

  // What is wrong with them, each on a line of its own, without the folder's path.
  std::string wrong() {
    std::istringstream text(wrongInFull());
    std::string heads;
    for (std::string line; std::getline(text, line);)
      if (line.find("error: ") != std::string::npos) heads += line + "\n";
    return heads;
  }

  // With the lines of the files and the hints.
  std::string wrongInFull() {
    read();
    return problemText(problems, folder);
  }

private:
  SysfsDir folder;
};
