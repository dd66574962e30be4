#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "board/Configuration.h"
#include "board/Environment.h"
#include "check/Check.h"
#include "check/rule/PlantFacts.h"
#include "settings/Settings.h"

// A sound board for the rules of one list: a test changes what it is about, and asks which of them
// say something.
//
// Shape: configurations are "a", "b" and so on, in the order in which they are given.
class RuleBoard {
public:
  using Places = std::vector<std::string>;

  std::string environment = "[cpu]\ntype real\nsampling 1000\nnode_path /sys/cpu/temp\n\n"
                            "[battery]\ntype real\nsampling 1000\nnode_path /sys/battery/temp\n\n"
                            "[clock]\ntype gpufreq\nnode_path /sys/clock/max\n"
                            "level_table 800 600 400 200\n\n"
                            "[charger]\ntype charger\nnode_path /sys/charger/max\n"
                            "level_table 3000 2000 1000\n\n"
                            "[alarm]\ntype report\nnode_path /data/report\n\n"
                            "[camera]\ntype camera\nnode_path /sys/camera/fps\n"
                            "level_table 30 24 15\n";
  Settings settings;
  PlantFacts plant;

  // "RULE FILE:LINE" of each finding.
  Places told(const std::vector<Rule>& rules,
              const std::vector<std::string>& configurations) const {
    Places places;
    for (const Finding& finding : findings(rules, configurations))
      places.push_back(finding.rule + " " + finding.file + ":" + std::to_string(finding.at.line));
    return places;
  }

  // "MESSAGE (HINT)" of each finding.
  Places said(const std::vector<Rule>& rules,
              const std::vector<std::string>& configurations) const {
    Places sentences;
    for (const Finding& finding : findings(rules, configurations))
      sentences.push_back(finding.message +
                          (finding.hint.empty() ? "" : " (" + finding.hint + ")"));
    return sentences;
  }

  std::vector<Finding> findings(const std::vector<Rule>& rules,
                                const std::vector<std::string>& configurations) const {
    Environment board = readEnvironment("env", environment);
    for (Section& section : board.sections)
      if (const auto unit = settings.units.find(section.name); unit != settings.units.end())
        section.unit = unit->second;
    std::vector<Configuration> read;
    for (size_t i = 0; i < configurations.size(); ++i)
      read.push_back(
          readConfiguration(std::string(1, static_cast<char>('a' + i)), configurations[i], board));
    return check(rules, {board, read, std::nullopt, settings, plant}, {});
  }
  // The text with another line of the key, or with one more.
  static std::string with(const std::string& text, const std::string& key,
                          const std::string& values) {
    const std::string line = key + " " + values + "\n";
    const size_t begin = text.find("\n" + key + " ") + 1;
    if (begin == 0) return text + line;
    return text.substr(0, begin) + line + text.substr(text.find('\n', begin) + 1);
  }

  static std::string monitor(const std::string& name = "less") {
    return "[" + name +
           "]\nalgo_type monitor\nsensor cpu\nsampling 1000\nthresholds 60000 70000\n"
           "thresholds_clr 57000 67000\nactions clock clock\naction_info 1 3\n";
  }

  static std::string steps(const std::string& name = "steps") {
    return "[" + name +
           "]\nalgo_type ss\nsensor cpu\nsampling 1000\ndevice clock\nset_point 60000\n"
           "set_point_clr 57000\nstart_level 1\n";
  }

  // What acts on cold, at 5 and 0 degrees.
  static std::string cold(const std::string& name = "cold") {
    return "[" + name +
           "]\nalgo_type monitor\nsensor battery\nsampling 1000\nlowactive true\n"
           "thresholds 5000 0\nthresholds_clr 7000 2000\nactions charger charger\naction_info 1 "
           "2\n";
  }

  static std::string inScenario(const std::string& name, const std::vector<std::string>& items) {
    std::string text = "SCEN " + name + "\n";
    for (const std::string& item : items)
      text += item + (&item == &items.back() ? "" : "\n");
    return text;
  }
};
