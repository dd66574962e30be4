#pragma once

#include <string>
#include <vector>

#include "board/Configuration.h"
#include "board/Environment.h"
#include "coverage/Coverage.h"

// A board of two sensors, of devices with three levels and with five, and of a report; and the
// configurations that a test writes for it.
class CoverageBoard {
public:
  Environment environment = readEnvironment("board.env", "[cpu]\n"
                                                         "type real\n"
                                                         "sampling 1000\n"
                                                         "node_path /cpu\n"
                                                         "\n"
                                                         "[skin]\n"
                                                         "type real\n"
                                                         "sampling 2000\n"
                                                         "node_path /skin\n"
                                                         "\n"
                                                         "[clock]\n"
                                                         "type cpufreq\n"
                                                         "node_path /clock\n"
                                                         "level_table 3000 2000 1000\n"
                                                         "\n"
                                                         "[charger]\n"
                                                         "type charger\n"
                                                         "node_path /charger\n"
                                                         "level_table 0 1 2 3 4\n"
                                                         "\n"
                                                         "[bare]\n"
                                                         "type backlight\n"
                                                         "node_path /bare\n"
                                                         "\n"
                                                         "[alarm]\n"
                                                         "type report\n");
  std::vector<Configuration> configurations;

  void add(const std::string& text, const std::string& file = "day.conf") {
    configurations.push_back(readConfiguration(file, text, environment));
  }

  // Made anew, since configurations move.
  Coverage coverage() const { return {environment, configurations}; }

  // What the items of "Default" do about the sensor.
  CoverageCell cell(const std::string& sensor = "cpu") const {
    return coverage().cell(environment.sensor(sensor), 0);
  }

  // The sensor's node counts in so many thousandths of a degree.
  void countIn(int32_t unit, const std::string& sensor = "cpu") {
    for (Section& section : environment.sections)
      if (section.name == sensor) section.unit = unit;
  }

  static std::string monitor(const std::string& thresholds, const std::string& clearing,
                             const std::string& devices, const std::string& levels,
                             const std::string& more = "") {
    return "[item]\nalgo_type monitor\nsensor cpu\nthresholds " + thresholds + "\nthresholds_clr " +
           clearing + "\nactions " + devices + "\naction_info " + levels + "\n" + more + "\n";
  }

  static std::string step(const std::string& setPoint, const std::string& clearing,
                          const std::string& more = "", const std::string& device = "charger") {
    return "[step]\nalgo_type ss\nsensor cpu\ndevice " + device + "\nset_point " + setPoint +
           "\nset_point_clr " + clearing + "\n" + more + "\n";
  }
};
