#pragma once

#include <string>
#include <vector>

#include "board/Environment.h"
#include "control/ControlFile.h"

// A row of the status table. An empty cell is shown as "-".
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
struct BoardStatus {
  StatusRow scenario;
  StatusRow request;
  std::vector<StatusRow> sensors;
  std::vector<StatusRow> devices;

  bool hasFault() const;
};

BoardStatus readStatus(const ControlDirectory& directory, const Environment& environment);
