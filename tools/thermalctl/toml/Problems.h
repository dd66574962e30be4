#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "terminal/Colour.h"
#include "text/Source.h"
#include "text/Word.h"

// A part of one line of a file; by itself the whole file.
//
// Units: `at` as in Position, bytes; a line 0 is the whole file, or something that stands in none.
//        `length` in bytes, at least 1.
struct Span {
  Position at{0, 0};
  size_t length = 1;
};

// What is wrong at one place, and what to do about it.
//
// Shape: a line of text each, without a full stop; `hint` may be empty. `file` is as the user named
//        it; of a command line it is the option.
struct Problem {
  std::string file;
  Span span;
  std::string what;
  std::string hint{};
};

// What is wrong with the input of a run: collected over all files, so that one look shows it all.
//
// Shape: the same text for the same place counts once: several runs may read one file. A file whose
//        text was given is shown with the lines that are meant.
class Problems {
public:
  void read(const std::string& file, const std::string& text);
  void add(Problem problem);

  bool none() const { return problems.empty(); }
  // The text of a file that was given; an empty one without it.
  const Source& source(const std::string& file) const;

  // As compilers show them, in the order of the files' names and of the places: a line of text, the
  // line of the file with a mark, and what to do. At most a hundred, then how many more there are.
  void print(std::ostream& out, Colour colour = Colour::kOff) const;

private:
  void print(const Problem& problem, std::ostream& out, Colour colour) const;

  Sources sources;
  std::vector<Problem> problems;
};
