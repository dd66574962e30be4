#pragma once

#include <string>

// What a look at a node gave.
struct NodeReading {
  // The end of a long one.
  std::string content;
  // Why there is no content: "missing", or the system's reason.
  std::string fault;
  // Why it was not looked into though nothing is wrong: "write-only", "a pipe".
  std::string reserve;

  bool hasContent() const { return fault.empty() && reserve.empty(); }
};

// Only regular files are opened: reading a pipe would take from its reader.
NodeReading readNode(const std::string& path);
