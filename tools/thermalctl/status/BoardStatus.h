#pragma once

#include <string>
#include <vector>

#include "board/Environment.h"
#include "control/ControlFile.h"

// A row of the status table.
//
// Shape: an empty cell is shown as "-"; `level` is "INDEX of LAST", for a device whose value stands
//        in its table.
// Units: a sensor's value in degrees Celsius, a device's in whatever its driver gives.
struct StatusRow {
  enum Mood { kCalm, kCooling, kFault };
  std::string name;
  std::string kind;
  std::string value;
  // Of a device: where in its table the value stands.
  std::string level;
  std::string note;
  Mood mood = kCalm;
};

// What the files beside the daemon tell of it.
//
// Shape:  sensors and devices in the order of the environment file, each name once: what the daemon
//         drops or another of its name replaces is not there.
// Errors: a row in the mood kFault says in its note what is wrong with its file; nothing keeps the
//         others from being read.
// Source: the control files and the nodes as they are now. The daemon is not asked, and may not
//         even run.
struct BoardStatus {
  StatusRow scenario;
  StatusRow request;
  std::vector<StatusRow> sensors;
  std::vector<StatusRow> devices;

  bool hasFault() const;
};

// `root` is put before the path of every node: empty on the device itself. A sensor's number counts
// in the unit of its section.
BoardStatus readStatus(const ControlDirectory& directory, const Environment& environment,
                       const std::string& root = "");
