#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "log/LineSource.h"

struct gzFile_s;

// The lines of a file as people have it: plain or compressed with gzip, in UTF-8 or in UTF-16, or
// standard input under the name "-".
//
// Shape:  lines are UTF-8, without a carriage return at their end and without escape sequences, such
//         as those of colours. A line longer than a megabyte comes in pieces.
// Memory: a block and a line, however long the file is. What can be read only once, such as a pipe,
//         is kept compressed in a temporary file without a name.
// Errors: `problem` tells why it cannot be read, in words that fit behind its name; no line comes
//         then. What is compressed and cut off or damaged gives the lines before, and `damage`.
class LineFile : public LineSource {
public:
  explicit LineFile(const std::string& path);

  const std::string& problem() const { return whyNot; }
  const std::string& damage() const { return whatIsDamaged; }
  // Of the bytes of what can be read only once; empty for a file.
  const std::string& sha256() const { return sum; }

  bool next(std::string_view& line) override;
  void rewind() override;

private:
  enum class Encoding { kUtf8, kUtf16Little, kUtf16Big };
  struct Close {
    void operator()(gzFile_s* file) const;
  };

  void open(int fd);
  void recognise();
  // Reads another block behind what is left of the last one. False at the end.
  bool fill();
  void append(std::string_view bytes);
  void appendUtf16(std::string_view bytes);
  void takeUnit(char16_t unit);
  void noteDamage();

  std::unique_ptr<gzFile_s, Close> file;
  std::string whyNot;
  std::string whatIsDamaged;
  std::string sum;
  Encoding encoding = Encoding::kUtf8;
  std::string block;
  size_t at = 0;     // where the next line begins in the block
  std::string plain; // a line without its escape sequences
  // Of UTF-16, what a block ended in the middle of.
  std::string halfUnit;
  char16_t highSurrogate = 0;
};
