#pragma once

#include <array>
#include <string>
#include <vector>

// The nodes of a fuzzed board: files in memory, a directory and a path that leads nowhere. Nothing
// that a fuzzed environment names is ever opened: every path in it is exchanged for one of these.
class Nodes {
public:
  Nodes();
  ~Nodes();
  Nodes(const Nodes&) = delete;
  Nodes& operator=(const Nodes&) = delete;

  // What stands for that path: 0 to 3 at its end chooses a file, 4 the directory, 5 nothing. None
  // for none.
  std::string path(const std::string& word) const;

  // Whether the path is one of these, or none at all.
  static bool holds(const std::string& path);

  // Gives the files these texts, one each; a file without a text keeps what it holds.
  void write(const std::vector<std::string>& texts);
  void clear();

private:
  std::array<int, 4> files;
};
