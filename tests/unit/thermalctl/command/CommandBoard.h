#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "command/CommandLine.h"
#include "support/LogSwitchedOff.h"
#include "support/SysfsDir.h"
#include "thermalctl/support/ProblemText.h"

// How a command ended, and what it said.
struct EndedCommand {
  int status;
  std::string out;
  std::string err;
};

// Runs the command line as a shell does, behind the tool's name.
inline EndedCommand endOf(const std::vector<Command>& commands, std::vector<std::string> words) {
  words.insert(words.begin(), "thermalctl");
  std::vector<char*> arguments;
  arguments.reserve(words.size());
  for (std::string& word : words)
    arguments.push_back(word.data());
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const int status = runCommand(commands, static_cast<int>(arguments.size()), arguments.data());
  const std::string out = testing::internal::GetCapturedStdout();
  return {status, out, testing::internal::GetCapturedStderr()};
}

// A folder with the files of a sound board, for the tests of commands.
//
// Shape: what a command says is without the folder's path.
class CommandBoard {
public:
  CommandBoard() {
    files.write("talmor-thermal.env", kEnvironment);
    files.write("talmor-thermal.conf", kDay);
    files.write("plant.toml", "ambient = 40\n[node.die]\njoules_per_kelvin = 2\n\n[[resistance]]\n"
                              "between = [\"die\", \"ambient\"]\nkelvin_per_watt = 10\n\n"
                              "[sensor.cpu]\nnode = \"die\"\n");
    std::filesystem::create_directory(path("workloads"));
    files.write("workloads/warm.csv", "time,ambient\n0,40\n");
  }

  std::string path(const std::string& name) const { return files.node(name); }

  // What is wrong with a command line, as the tool says it.
  static std::string wrong(const std::string& what) {
    return "thermalctl: " + what + "\nRun with --help for more information.\n";
  }

protected:
  // The words behind the command's name.
  EndedCommand ended(const Command& command, std::vector<std::string> words) const {
    words.insert(words.begin(), command.name);
    EndedCommand end = endOf({command}, std::move(words));
    for (std::string* text : {&end.out, &end.err})
      *text = withoutFolder(*text, files);
    return end;
  }

  static constexpr char kEnvironment[] =
      "[cpu]\ntype real\nsampling 1000\nnode_path /nowhere/cpu\n\n"
      "[clock]\ntype gpufreq\nnode_path /nowhere/clock\nlevel_table 800 600\n";
  static constexpr char kDay[] =
      "SCEN Default\n[less]\nalgo_type monitor\nsensor cpu\nsampling 1000\n"
      "thresholds 60000\nthresholds_clr 57000\nactions clock\naction_info 1\n";

  const LogSwitchedOff quiet;
  SysfsDir files;
};
