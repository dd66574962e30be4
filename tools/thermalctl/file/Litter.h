#pragma once

#include <cstddef>
#include <string>

// A file or an empty folder that must not be left behind: it is removed with the scope, and also
// where a signal ends the process in between, such as Ctrl-C.
//
// Shape:  at most 16 at a time; those made last go first. `keep` lets it stay.
// Errors: what cannot be removed stays, without a word. SIGKILL leaves everything.
// Threads: one at a time makes and ends them. The process dies of the signal as it would without.
class Litter {
public:
  explicit Litter(std::string path);
  ~Litter();
  Litter(const Litter&) = delete;
  Litter& operator=(const Litter&) = delete;

  void keep();
  const std::string& path() const { return name; }

private:
  std::string name;
  size_t slot;
};

// While one of these lives, the signals that would remove litter wait.
class NoSignals {
public:
  NoSignals();
  ~NoSignals();
  NoSignals(const NoSignals&) = delete;
  NoSignals& operator=(const NoSignals&) = delete;
};
