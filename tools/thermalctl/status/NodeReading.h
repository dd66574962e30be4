#pragma once

#include <string>

// What a look at a node gave.
//
// Shape:  either content, or a reason in one of the two others; a node may well be empty and
//         readable.
// Errors: `fault` is for the user to mend, `reserve` is not.
// Source: the node's end, a page or a little more, white space and all.
struct NodeReading {
  // The end of a long one.
  std::string content;
  // Why there is no content: "missing", or the system's reason.
  std::string fault;
  // Why it was not looked into though nothing is wrong: "write-only", "a pipe".
  std::string reserve;

  bool hasContent() const { return fault.empty() && reserve.empty(); }
};

// Only regular files are opened: reading a pipe would take from its reader. A node that its driver
// made for writing alone is told by its mode: to root every file seems readable.
NodeReading readNode(const std::string& path);
