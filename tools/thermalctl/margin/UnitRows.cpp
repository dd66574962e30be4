#include "margin/UnitRows.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "file/Spool.h"

namespace {

[[noreturn]] void refuse(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

void readAt(int fd, int64_t at, void* into, size_t bytes) {
  auto* place = static_cast<char*>(into);
  while (bytes > 0) {
    const ssize_t length = ::pread(fd, place, bytes, at);
    if (length < 0 && errno == EINTR) continue;
    if (length == 0) errno = EIO;
    if (length <= 0) refuse("a file of units cannot be read");
    place += length;
    at += length;
    bytes -= static_cast<size_t>(length);
  }
}

} // namespace

size_t UnitRows::rows() const {
  size_t sum = 0;
  for (const Piece& piece : pieces)
    sum += piece.rows;
  return sum;
}

int64_t UnitRows::bytesOf(const Piece& piece) const {
  return static_cast<int64_t>(piece.rows * columns * sizeof(int32_t));
}

void UnitRows::eachBlock(const std::vector<size_t>& which, const Visit& visit) const {
  std::vector<std::vector<int32_t>> values(which.size());
  size_t before = 0;
  for (const Piece& piece : pieces) {
    for (size_t done = 0; done < piece.rows; done += kBlock) {
      const size_t rows = std::min(kBlock, piece.rows - done);
      for (size_t i = 0; i < which.size(); ++i) {
        values[i].resize(rows);
        // All columns of the blocks before, and in this one the columns before, each as long as
        // its rows.
        const size_t place = done * columns + which[i] * rows;
        readAt(piece.fd, piece.at + static_cast<int64_t>(place * sizeof(int32_t)), values[i].data(),
               rows * sizeof(int32_t));
      }
      visit(before, rows, values);
      before += rows;
    }
  }
}

void UnitRows::copyTo(const std::function<void(std::string_view)>& take) const {
  std::array<char, 1 << 16> part{};
  for (const Piece& piece : pieces) {
    const int64_t all = bytesOf(piece);
    for (int64_t done = 0; done < all;) {
      const auto length = std::min<int64_t>(static_cast<int64_t>(part.size()), all - done);
      readAt(piece.fd, piece.at + done, part.data(), static_cast<size_t>(length));
      take({part.data(), static_cast<size_t>(length)});
      done += length;
    }
  }
}

UnitSpool::UnitSpool(const std::string& folder, size_t columns_)
    : file(namelessFile(folder)), columns(columns_), block(UnitRows::kBlock * columns_) {
  if (!file) refuse("no file for the units can be made");
}

void UnitSpool::add(const std::vector<int32_t>& row) {
  for (size_t column = 0; column < columns; ++column)
    block[column * UnitRows::kBlock + filled] = row[column];
  if (++filled < UnitRows::kBlock) return;
  writeBlock();
  end += static_cast<int64_t>(filled * columns * sizeof(int32_t));
  written += filled;
  filled = 0;
}

// A block that is not full is written where it will be written again.
void UnitSpool::writeBlock() {
  if (::lseek(file.get(), end, SEEK_SET) < 0) refuse("the units cannot be kept");
  for (size_t column = 0; column < columns; ++column) {
    const auto* const values =
        reinterpret_cast<const char*>(block.data() + column * UnitRows::kBlock);
    if (const auto error = writeAll(file.get(), {values, filled * sizeof(int32_t)}))
      throw std::system_error(error, "the units cannot be kept");
  }
}

UnitRows UnitSpool::rows() {
  writeBlock();
  return {columns, {{file.get(), 0, written + filled}}};
}
