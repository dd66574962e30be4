#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "log/BoardFolder.h"
#include "trace/Trace.h"

// Who takes part in a recorded run: what a board's files tell, and what only the record shows.
//
// Shape:  indices stay as they are; who is new comes behind. So a first pass over a record finds
//         all, and a second one finds them in their places.
// Errors: a name cannot be wrong: one that the board does not have is a sensor, a device or an
//         algorithm of which nothing else is known.
class Cast {
public:
  // `board` may be null; otherwise it must outlive the cast.
  Cast(std::string name, const BoardFolder* board);

  // Adds the algorithms of one of the board's configurations, under the name that the record has
  // for it; once.
  void addConfiguration(const BoardFolder::ConfigurationTracks& configuration,
                        const std::string& nameInRecord);

  // The index under that name. A name that is new is added.
  size_t sensor(std::string_view name, SensorTrack::Kind kind);
  size_t device(std::string_view name);
  size_t source(std::string_view name);
  // An algorithm of that name and scenario, of the preferred configuration if there is one.
  size_t algorithm(std::string_view name, std::string_view scenario,
                   const std::string& preferredConfiguration);

  // The board's item behind an algorithm; null for one that only the record shows.
  const Algo* item(size_t algorithm) const { return items[algorithm]; }
  const TraceDescription& description() const { return cast; }
  TraceDescription& description() { return cast; }

private:
  TraceDescription cast;
  std::set<std::string> configurations;
  std::vector<const Algo*> items;
  // A node of the plant may bear a sensor's name.
  std::map<std::string, size_t, std::less<>> sensors;
  std::map<std::string, size_t, std::less<>> nodes;
  std::map<std::string, size_t, std::less<>> devices;
  std::map<std::string, size_t, std::less<>> sources;
  std::map<std::string, std::vector<size_t>, std::less<>> algorithms; // by their name alone
};
