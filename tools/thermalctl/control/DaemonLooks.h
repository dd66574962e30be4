#pragma once

#include <optional>
#include <string>

#include "control/ControlFile.h"
#include "control/Waiting.h"
#include "file/DirectoryWatch.h"

// Tells from what is done to the two control files what the daemon has done in each of its cycles.
//
// A cycle reads the scenario file and at once the request file. One that has a switch to make does
// not read the scenario file at all. And one that found an unknown scenario writes into the file
// before it goes on. So the daemon need not be asked which scenario is in force.
//
// Shape:  others read the files, too, each for itself or both, in whatever order. What has the
//         daemon's order and haste counts as a cycle; what might be either is told as such.
class DaemonLooks {
public:
  enum Cycle {
    kRead,         // the scenario file was read, and left as it is
    kReadOrSwitch, // one of the two
    kSwitch,       // the scenario file was not read
    kAnswer,       // it was read and written over
    kLateAnswer,   // the same, but someone has written into it in between
  };

  explicit DaemonLooks(const ControlDirectory& directory);

  // What comes to its end with this event.
  std::optional<Cycle> after(const FileEvent& event, Waiting::Time now);

  // Whether the scenario file was read just now by someone who has not gone on to the request file:
  // another word in it may be the daemon's.
  bool mayBeAnswering(Waiting::Time now) const;

private:
  void noteScenario(FileEvent::Kind kind, Waiting::Time now);
  std::optional<Cycle> ending(FileEvent::Kind kind, Waiting::Time now);

  std::string scenarioFile;
  std::string requestFile;
  // Of the scenario file, since the request file was looked at.
  bool isRead = false;
  Waiting::Time readAt;
  int writes = 0;
};
