#include "log/LineFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <system_error>

#include <utf8.h>
#include <zlib.h>

#include "file/FileHandle.h"
#include "file/Sha256.h"
#include "text/Affixes.h"

// Whatever somebody has for a log: plain or gzip, from a file or a pipe, in UTF-8 or UTF-16, with
// a terminal's colours. Out come lines without their end. A log is read several times, and a pipe
// only once: what comes from one is kept in a temporary file.

namespace {

constexpr size_t kBlock = 1 << 16;
constexpr size_t kLongestLine = 1 << 20;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr char kEscape = '\x1b';

std::string reason(int error) {
  return "cannot be read: " + std::generic_category().message(error);
}

// What other programs make of logs, by their first bytes.
struct OtherKind {
  std::string_view start;
  const char* advice;
};
constexpr OtherKind kOtherKinds[] = {
    {{"PK\3\4", 4}, "is a zip archive: unpack it, and give the log that is in it"},
    {{"\x28\xB5\x2F\xFD", 4}, "is compressed with zstd: zstd -dc FILE | thermalctl plot -"},
    {{"\xFD"
      "7zXZ",
      5},
     "is compressed with xz: xz -dc FILE | thermalctl plot -"},
    {{"BZh", 3}, "is compressed with bzip2: bzip2 -dc FILE | thermalctl plot -"},
};

FileHandle temporaryFile() {
  std::error_code error;
  std::string name = (std::filesystem::temp_directory_path(error) / "thermalctl-XXXXXX").string();
  errno = error.value();
  if (error) return FileHandle();
  FileHandle file(::mkostemp(name.data(), O_CLOEXEC));
  if (file) ::unlink(name.c_str());
  return file;
}

std::string notKept() {
  return "cannot be kept in a temporary file: " + std::generic_category().message(errno) +
         " (TMPDIR names another folder for it)";
}

// Copies all of `from` to `to`: compressed, unless it is so already, as what comes from a pipe may
// be larger than the disk has room for. As quickly as that goes: the other end waits. Returns what
// went wrong.
std::string keep(int from, int to, Sha256& sum) {
  std::array<char, kBlock> bytes;
  ssize_t got = ::read(from, bytes.data(), bytes.size());
  const bool compressed =
      got >= 2 && startsWith({bytes.data(), static_cast<size_t>(got)}, "\x1f\x8b");
  const gzFile out = ::gzdopen(::dup(to), compressed ? "wbT" : "wb1");
  std::string problem;
  for (; got > 0 && problem.empty(); got = ::read(from, bytes.data(), bytes.size())) {
    sum.add({bytes.data(), static_cast<size_t>(got)});
    if (::gzwrite(out, bytes.data(), static_cast<unsigned>(got)) == 0) problem = notKept();
  }
  if (got < 0) problem = reason(errno);
  if (::gzclose(out) != Z_OK && problem.empty()) problem = notKept();
  ::lseek(to, 0, SEEK_SET);
  return problem;
}

// Without what a terminal takes for an order: ESC [, parameters, a letter.
void removeEscapes(std::string_view line, std::string& plain) {
  plain.clear();
  for (size_t i = 0; i < line.size(); ++i) {
    if (line[i] != kEscape) {
      plain += line[i];
      continue;
    }
    if (i + 1 < line.size() && line[i + 1] == '[') ++i;
    while (i + 1 < line.size() && (line[i + 1] < '@' || line[i + 1] > '~'))
      ++i;
    ++i;
  }
}

} // namespace

void LineFile::Close::operator()(gzFile_s* closed) const {
  ::gzclose(closed);
}

LineFile::LineFile(const std::string& path) {
  FileHandle given(path == "-" ? ::dup(STDIN_FILENO) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat status {};
  if (!given || ::fstat(given.get(), &status) != 0) {
    whyNot = reason(errno);
  } else if (S_ISDIR(status.st_mode)) {
    whyNot = reason(EISDIR);
  } else if (S_ISREG(status.st_mode)) {
    open(given.get());
  } else {
    const FileHandle kept = temporaryFile();
    Sha256 bytes;
    whyNot = kept ? keep(given.get(), kept.get(), bytes) : notKept();
    sum = bytes.digest();
    if (whyNot.empty()) open(kept.get());
  }
}

void LineFile::open(int fd) {
  file.reset(::gzdopen(::dup(fd), "rb"));
  ::gzbuffer(file.get(), kBlock);
  recognise();
}

void LineFile::rewind() {
  if (!file) return;
  ::gzrewind(file.get());
  recognise();
}

void LineFile::recognise() {
  block.clear();
  halfUnit.clear();
  at = 0;
  highSurrogate = 0;
  encoding = Encoding::kUtf8;
  std::array<char, 8> bytes{};
  const int got = ::gzread(file.get(), bytes.data(), static_cast<unsigned>(bytes.size()));
  if (got < 0) return noteDamage();
  std::string_view start(bytes.data(), static_cast<size_t>(got));
  for (const OtherKind& kind : kOtherKinds) {
    if (startsWith(start, kind.start)) whyNot = kind.advice;
  }
  // What Windows' shell writes has a mark in front; without one, every second byte of a log in
  // UTF-16 is zero.
  const bool twoBytes = start.size() >= 2;
  if (startsWith(start, kUtf8Mark)) {
    start.remove_prefix(kUtf8Mark.size());
  } else if (startsWith(start, "\xFF\xFE") || (twoBytes && start[0] != 0 && start[1] == 0)) {
    encoding = Encoding::kUtf16Little;
  } else if (startsWith(start, "\xFE\xFF") || (twoBytes && start[0] == 0 && start[1] != 0)) {
    encoding = Encoding::kUtf16Big;
  }
  append(start);
  if (encoding != Encoding::kUtf8 && startsWith(block, kUtf8Mark)) at = kUtf8Mark.size();
}

bool LineFile::next(std::string_view& line) {
  if (!whyNot.empty()) return false;
  size_t end = block.find('\n', at);
  // A line that does not end is given in parts, so that a file of one line fills no memory.
  while (end == std::string::npos && block.size() - at < kLongestLine) {
    const size_t searched = block.size() - at;
    if (!fill()) break;
    end = block.find('\n', at + searched);
  }
  if (end == std::string::npos && at == block.size()) return false;
  line = std::string_view(block).substr(at, end == std::string::npos ? end : end - at);
  at = end == std::string::npos ? block.size() : end + 1;
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  if (line.find(kEscape) != std::string_view::npos) {
    removeEscapes(line, plain);
    line = plain;
  }
  return true;
}

bool LineFile::fill() {
  block.erase(0, at);
  at = 0;
  std::array<char, kBlock> bytes;
  const int got = ::gzread(file.get(), bytes.data(), static_cast<unsigned>(bytes.size()));
  if (got > 0) append({bytes.data(), static_cast<size_t>(got)});
  noteDamage();
  return got > 0;
}

void LineFile::noteDamage() {
  int error = Z_OK;
  const char* text = ::gzerror(file.get(), &error);
  // A dump whose cable was pulled is worth showing as far as it goes; a disk that fails is not.
  if (error == Z_BUF_ERROR)
    whatIsDamaged = "its compressed data end in the middle; what comes before is shown";
  else if (error == Z_ERRNO)
    whyNot = reason(errno);
  else if (error != Z_OK && error != Z_STREAM_END)
    whatIsDamaged =
        "its compressed data are damaged (" + std::string(text) + "); what comes before is shown";
}

void LineFile::append(std::string_view bytes) {
  if (encoding == Encoding::kUtf8)
    block.append(bytes);
  else
    appendUtf16(bytes);
}

void LineFile::appendUtf16(std::string_view bytes) {
  halfUnit.append(bytes);
  // A block may end in the middle of a unit, whose first byte waits for the next one.
  const size_t high = encoding == Encoding::kUtf16Big ? 0 : 1;
  size_t i = 0;
  for (; i + 1 < halfUnit.size(); i += 2) {
    const auto upper = static_cast<unsigned char>(halfUnit[i + high]);
    const auto lower = static_cast<unsigned char>(halfUnit[i + 1 - high]);
    takeUnit(static_cast<char16_t>(upper << 8 | lower));
  }
  halfUnit.erase(0, i);
}

// A half of a pair that stands alone is left out: no message of the daemon has one.
void LineFile::takeUnit(char16_t unit) {
  if (unit < 0x80) {
    block += static_cast<char>(unit);
    highSurrogate = 0;
  } else if (unit >= 0xD800 && unit < 0xDC00) {
    highSurrogate = unit;
  } else if (unit < 0xDC00 || unit >= 0xE000) {
    utf8::unchecked::append(unit, std::back_inserter(block));
  } else if (highSurrogate != 0) {
    const uint32_t point = 0x10000 + ((highSurrogate - 0xD800U) << 10) + (unit - 0xDC00U);
    utf8::unchecked::append(point, std::back_inserter(block));
    highSurrogate = 0;
  }
}
