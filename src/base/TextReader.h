#pragma once

#include <istream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

// The lexical layer that both configuration files share: lines, words, and nothing of what they
// mean.

// What separates words: what a stream skips in front of one and stops at behind it.
inline constexpr char kWhiteSpace[] = "\t\n\v\f\r ";

// Fetches the next line of `in` into `line`, trimmed, ready for word extraction from its start.
// Returns 0, or -1 when that line is blank or nothing is left to read; `line` then keeps what it
// held, words not yet taken included.
int getString(std::istream& in, std::stringstream& line);

// A text line by line, and word by word from the line in hand.
//
// Shape:   one word serves every extraction: where a line is blank or used up, what was in hand
//          stays there, and both formats count on that.
// Source:  a stream, which must outlive the reader.
class TextReader {
public:
  explicit TextReader(std::istream& in_) : in(in_) {}

  bool ended() const { return in.eof(); }

  // Takes the next line in hand; false for a blank one, or none.
  bool nextLine() { return getString(in, line) == 0; }
  // Takes the next word of the line in hand; false once that is used up.
  bool nextWord() { return static_cast<bool>(line >> taken); }
  // Takes a line and its first word, each if it is there; false without the line.
  bool advance() {
    const bool found = nextLine();
    nextWord();
    return found;
  }

  const std::string& word() const { return taken; }

protected:
  std::istream& in;
  std::stringstream line;
  std::string taken;
};

// Removes leading and trailing white space.
void trim(std::string& s);

// Appends to `tokens` the non-empty runs of `str` that hold no character of `delimiters`.
void stringTokenizer(const std::string& str, std::vector<std::string>& tokens,
                     const std::string& delimiters);

// The name inside a header word: `[cpu0]` gives `cpu0`. The two end characters go, whatever they
// are.
std::string headerName(const std::string& word);

// The whole content of a file, or nothing when it cannot be opened or a read fails (a directory, a
// device error). Read with the system's own calls: only they tell a failed read from the end of the
// file in every standard library.
std::optional<std::string> readFile(const std::string& path);
