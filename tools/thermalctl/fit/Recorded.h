#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// One reading of a temperature.
//
// Shape: `output` is an index into the plant's probes and, behind them, its nodes.
// Units: degrees Celsius.
struct Reading {
  uint32_t output = 0;
  double celsius = 0;
};

// The readings of one line of a file, or of one moment of a log.
//
// Shape: those of `RecordedFile::readings` from `first` up to `end`.
// Units: seconds of the file's own clock.
struct ReadingRow {
  double time = 0;
  uint32_t first = 0;
  uint32_t end = 0;
  int line = 0; // of the file; 0 in a log
};

// What warms the device, from one time on.
//
// Shape: `index` is that of a source of the plant (kLoad, kWatts) or of a device of the board
//        (kLevel).
// Units: seconds of the file's own clock; a share of 1, watts, a level, degrees Celsius.
struct RecordedChange {
  enum class Kind { kLoad, kWatts, kLevel, kAmbient };
  double time = 0;
  Kind kind = Kind::kLoad;
  uint32_t index = 0;
  double value = 0;
};

// One file of a recording: all of it is on one clock.
//
// Shape: rows and changes in the order of their times. Nothing is known of the time in a gap.
// Units: seconds.
struct RecordedFile {
  std::string name;
  std::vector<Reading> readings;
  std::vector<ReadingRow> rows;
  std::vector<RecordedChange> changes;
  std::vector<std::pair<double, double>> gaps;
  double first = 0; // of all that is in it
  double last = 0;
};

// How far the clocks of a recording's files may be apart, in seconds.
constexpr double kClocksApart = 60;

// One stretch of what a device did, in one or more files whose clocks differ by little.
//
// Shape:  the first file has the clock to which the others are set.
// Source: `--recording`.
struct Recorded {
  std::string name;
  std::vector<RecordedFile> files;
};
