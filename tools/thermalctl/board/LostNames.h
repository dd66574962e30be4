#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "board/Configuration.h"
#include "board/Environment.h"

// The names that the daemon finds nothing under, though the environment file has a section for
// them: it drops the section, never comes to it, or knows it by another name. What is wrong there
// is told there, once, with the number of items that count on it, and not of each of those.
//
// Shape:  sensors and devices apart, as the daemon keeps them; a section whose kind nobody can
//         guess may be either. An item counts on a name directly, or by a virtual sensor that does.
// Errors: of a board whose file is none every name is lost, and so may be any where a section lacks
//         its header.
// Source: the environment, and the configurations for whoever counts on it.
class LostNames {
public:
  LostNames(const Environment& environment, const std::vector<Configuration>& configurations);

  bool hasSensor(const std::string& name) const { return any() || sensors.count(name) > 0; }
  bool hasDevice(const std::string& name) const { return any() || devices.count(name) > 0; }
  // Whether a real sensor of that period is among those of which nothing is left.
  bool hasPeriod(int32_t period) const { return any() || periods.count(period) > 0; }

  // "; 24 items depend on it" for a mistake in that line of the environment, with what that makes
  // of the daemon; nothing where none does. Line 0 is the whole file.
  std::string dependents(int line) const;
  // Whether the daemon ends over one of them.
  bool endsTheDaemon(int line) const;

private:
  struct Dependents {
    size_t items = 0;
    size_t sensors = 0;
    bool endTheDaemon = false;
  };

  void lose(const std::string& name, SectionKind kind, int line);
  void loseUnread(const Section& section);
  void loseDropped(const Section& section);
  void loseMerged(const Section& section);
  void losePeriod(const Section& section, SectionKind kind);
  void count(const Section& section);
  void count(const Item& item);
  bool any() const { return all || nameless; }
  // The lines of the mistakes for which nothing is found under a name.
  void addLine(std::set<int>& lines, const std::map<std::string, int>& names,
               const std::string& name) const;
  void addLines(std::set<int>& lines, const Section& sensor) const;

  const Environment& environment;
  bool all;
  // A section has no header: any name that is not there may be its own.
  bool nameless = false;
  // By name the line of the mistake.
  std::map<std::string, int> sensors;
  std::map<std::string, int> devices;
  std::set<int32_t> periods;
  std::map<int, Dependents> dependentsByLine;
};
