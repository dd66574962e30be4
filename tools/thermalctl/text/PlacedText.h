#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "base/TextReader.h"
#include "text/Word.h"

// Holds the stream of a PlacedText, which is read before anything else of it is there.
struct ContentStream {
  explicit ContentStream(const std::string& content) : stream(content) {}
  std::istringstream stream;
};

// A file as the daemon reads it: by the daemon's own reader, with the places of the words.
//
// Shape: a line is in hand from `nextLine` on until another one is; a blank one never is. Nor is
//        there another word until the line in hand has one: the last one stays.
// Units: places as in Position, lines and columns from 1, columns in bytes of the line as it stands
//        in the file, its indentation included.
class PlacedText : private ContentStream, public TextReader {
public:
  explicit PlacedText(const std::string& content);

  // Whether the daemon has come to the end of the file.
  bool ended() const { return !again && TextReader::ended(); }

  bool nextLine();
  bool nextWord();
  bool advance();
  // All words that are left of the line in hand.
  std::vector<Word> restOfLine();

  // The word in hand and where it stands.
  Word placedWord() const { return {word(), at}; }
  // Whether the last line and the last word that were asked for were there.
  bool lineFound() const { return hasLine; }
  bool wordFound() const { return hasWord; }

  // Two things that the daemon never does, to read on where it has given up:
  // has the next `nextLine` give the line in hand once more;
  void readLineAgain() { again = true; }
  // passes over blank lines, and tells whether the next one begins with that word. Another one is
  // read again.
  bool findBelow(const std::string& first);

  // As they stand in the file, without their line feeds.
  const std::vector<std::string>& allLines() const { return lines; }

private:
  bool fetchLine();

  std::vector<std::string> lines;
  Position at;
  bool hasLine = false;
  bool hasWord = false;
  bool again = false;
  int fetched = 0; // lines
  // Of the line in hand: its number, the white space before it, and its length without it.
  int number = 0;
  size_t indent = 0;
  size_t length = 0;
};
