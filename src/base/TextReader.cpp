#include "base/TextReader.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

int getString(std::istream& in, std::stringstream& line) {
  std::string buffer;
  std::getline(in, buffer);
  trim(buffer);
  if (buffer.empty()) return -1;
  line.clear();
  line.str(buffer);
  return 0;
}

void trim(std::string& s) {
  s.erase(0, s.find_first_not_of(kWhiteSpace));
  s.erase(s.find_last_not_of(kWhiteSpace) + 1);
}

void stringTokenizer(const std::string& str, std::vector<std::string>& tokens,
                     const std::string& delimiters) {
  size_t start = str.find_first_not_of(delimiters);
  while (start != std::string::npos) {
    const size_t end = str.find_first_of(delimiters, start);
    tokens.push_back(str.substr(start, end - start));
    start = str.find_first_not_of(delimiters, end);
  }
}

std::string headerName(const std::string& word) {
  return word.size() < 2 ? std::string() : word.substr(1, word.size() - 2);
}

std::optional<std::string> readFile(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  std::string content;
  std::array<char, 4096> chunk;
  ssize_t got = 0;
  while ((got = ::read(fd, chunk.data(), chunk.size())) != 0) {
    if (got > 0) content.append(chunk.data(), static_cast<size_t>(got));
    if (got < 0 && errno != EINTR) break;
  }
  ::close(fd);
  if (got < 0) return std::nullopt;
  return content;
}
