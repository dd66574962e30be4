#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "file/FileHandle.h"

// Rows of whole numbers, one for each unit, in a file: so many that no memory holds them.
//
// Shape:  blocks of some thousand rows, in each the columns one after the other; a block that is not
//         full is as long as its rows. So a column is read without the others.
// Errors: std::system_error where the disk refuses.
// Memory: a block, however many rows there are.
struct UnitRows {
  // Some of the rows, as one file has them.
  //
  // Units: `at` in bytes from the file's start.
  struct Piece {
    int fd = -1;
    int64_t at = 0;
    size_t rows = 0;
  };

  static constexpr size_t kBlock = 4096; // rows

  size_t columns = 0;
  std::vector<Piece> pieces;

  size_t rows() const;
  int64_t bytesOf(const Piece& piece) const;
  // Some columns, block by block: `visit` gets the number of rows before the block, those in it,
  // and of each column its values one after the other.
  using Visit = std::function<void(size_t before, size_t rows,
                                   const std::vector<std::vector<int32_t>>& values)>;
  void eachBlock(const std::vector<size_t>& which, const Visit& visit) const;
  // All of it, for another file.
  void copyTo(const std::function<void(std::string_view)>& take) const;
};

// Where rows are put as they come, in a file that has no name.
class UnitSpool {
public:
  UnitSpool(const std::string& folder, size_t columns);

  void add(const std::vector<int32_t>& row);
  // All of them so far. Good until more are added.
  UnitRows rows();

private:
  void writeBlock();

  FileHandle file;
  size_t columns;
  size_t written = 0; // rows
  int64_t end = 0;    // bytes
  size_t filled = 0;  // rows of the block in hand
  std::vector<int32_t> block;
};
