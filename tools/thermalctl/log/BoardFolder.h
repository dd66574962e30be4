#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "daemon/VirtualDaemon.h"
#include "trace/Trace.h"

// A board's folder, read with the daemon's own parsers: what a log does not say about its sensors,
// devices and algorithms. Nothing of the host is opened but these files.
//
// Shape:  each configuration is read by a daemon of its own, since one that has read a
//         configuration cannot go back. All of them have the same sensors and devices in the same
//         order, so that the indices of one description serve all.
// Errors: told in `problems`, each with its path. Without a readable environment the description is
//         empty; a configuration on which the daemon would end is left out.
class BoardFolder {
public:
  // One configuration file of the folder.
  //
  // Shape: `items[i]` is what the daemon made of the item behind `algorithms[i]`. It belongs to the
  //        BoardFolder and is never run: a reader asks it for its rows and its levels.
  struct ConfigurationTracks {
    std::string name; // the file's
    std::vector<AlgorithmTrack> algorithms;
    std::vector<const Algo*> items; // in the same order
  };

  // The files of a folder, by their paths.
  //
  // Units: `units` are for the caller to say, who knows the board's settings.
  struct Files {
    std::string environment;
    std::vector<std::string> configurations;
    SensorUnits units{};
  };
  // Finds the one *.env file and all *.conf files; nothing, and a problem, without exactly the one.
  static std::optional<Files> find(const std::string& folder, std::vector<std::string>& problems);

  // Reads them. What stands in the way is added to `problems`.
  BoardFolder(const Files& files, std::vector<std::string>& problems);

  const Files& files() const { return paths; }

  // Sensors and devices, without algorithms.
  const TraceDescription& description() const { return parts; }
  const std::deque<ConfigurationTracks>& configurations() const { return all; }
  // The configuration of that name; null without one.
  const ConfigurationTracks* named(const std::string& name) const;
  // The one that bears the environment's name, which a device is shipped with; otherwise the first.
  // Null without any.
  const ConfigurationTracks* first() const { return initial; }

private:
  void addConfiguration(const std::string& path, const std::string& environment,
                        std::vector<std::string>& problems);

  Files paths;
  TraceDescription parts;
  std::deque<std::unique_ptr<VirtualDaemon>> daemons; // one holds each one's items
  std::deque<ConfigurationTracks> all;
  const ConfigurationTracks* initial = nullptr;
};
