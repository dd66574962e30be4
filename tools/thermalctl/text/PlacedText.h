#pragma once

#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "text/Word.h"

// A file as the daemon reads it: line by line, and word by word from the line in hand. It reads
// with the daemon's own functions and adds only the places.
//
// Shape: a line is in hand from `nextLine` on until another one is; a blank one never is.
// Units: places as in Position, lines and columns from 1, columns in bytes of the line as it stands
//        in the file, its indentation included.
class PlacedText {
public:
  explicit PlacedText(const std::string& content);

  // Whether the daemon has come to the end of the file.
  bool ended() const { return !again && in.eof(); }

  // Takes the next line in hand. A blank one, or none, gives false and leaves in hand what was
  // there, the words not yet taken included.
  bool nextLine();

  // The next word of the line in hand, nothing once it is used up.
  std::optional<Word> nextWord();
  // All that are left of it.
  std::vector<Word> restOfLine();

  // Has the next `nextLine` give the line in hand once more. The daemon never does that; it is for
  // reading on where the daemon has given up.
  void readLineAgain() { again = true; }

  // As they stand in the file, without their line feeds.
  const std::vector<std::string>& allLines() const { return lines; }

private:
  void takeInHand();

  std::vector<std::string> lines;
  std::istringstream in;
  std::stringstream line;
  bool again = false;
  int fetched = 0; // lines
  // Of the line in hand: its number, the white space before it, and its length without it.
  int number = 0;
  size_t indent = 0;
  size_t length = 0;
};
