#pragma once

#include <functional>
#include <map>
#include <optional>
#include <streambuf>
#include <string>
#include <vector>

#include "thread/Daemon.h"
#include "trace/Trace.h"

class Algo;

// The daemon with all of its objects and none of its threads, made of texts. No device of the host
// is opened.
//
// Shape:   the daemon's own registries, by name, as its parsers fill them. Its objects belong to
//          it, but for the nodes, which must outlive it.
// Errors:  an environment is read as far as the daemon reads it, without a word. A configuration on
//          which the daemon would end is told; what was read before that point stays.
// Threads: the caller's alone: passes are called, thread bodies never.
// Source:  the texts of an environment and of configurations. A device's node is nowhere, and so is
//          a sensor's, unless the caller provides it.
class VirtualDaemon : public Daemon {
public:
  // The node of a real sensor, or null. Asked for each one that has any, as it is made.
  using NodeSource = std::function<std::streambuf*(const std::string& sensor)>;

  explicit VirtualDaemon(
      const std::string& environment,
      const NodeSource& nodes = [](const std::string&) { return nullptr; });
  ~VirtualDaemon() override;
  VirtualDaemon(const VirtualDaemon&) = delete;
  VirtualDaemon& operator=(const VirtualDaemon&) = delete;

  bool findConfFile(const std::string& name) const override;
  void dynamicConfParse(const std::string& name) override;

  // Adds the items of a configuration. Returns the daemon's message where it would have ended,
  // without its prefixes.
  std::optional<std::string> parseConfiguration(const std::string& text);

  // Sensors and devices, in the order of their names.
  TraceDescription describe() const;

  // The items in the registry, as AlgorithmTracks with the indices of `board`. The order is that of
  // `items`.
  std::vector<AlgorithmTrack> describeItems(const TraceDescription& board,
                                            const std::string& configuration) const;

  // Every item of the configuration that was read last, of any scenario.
  std::vector<Algo*> items() const;

  // The texts that can be asked for, by name.
  std::map<std::string, std::string> configurations;

private:
  std::map<std::string, std::string> kinds; // of the devices, by the file's own words
};
