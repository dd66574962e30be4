#pragma once

#include <optional>
#include <sstream>
#include <string>
#include <vector>

// A place in a file. Lines and columns count from 1, columns in bytes.
struct Position {
  int line = 1;
  int column = 1;
};

struct Word {
  std::string text;
  Position at;
};

// A value and the word that it was read from. A line whose key stands alone, or no line at all,
// leaves its word empty, or gives it the key's: the two files differ there.
struct Number {
  int32_t value = 0;
  Word word;
};

// A file as the daemon reads it: line by line, and word by word from the line in hand. It reads
// with the daemon's own functions and adds only the places.
class Text {
public:
  explicit Text(const std::string& content);

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
