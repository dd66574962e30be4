#include "support/Nodes.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "support/Require.h"

namespace {

constexpr char kFolder[] = "/proc/self/fd";

} // namespace

Nodes::Nodes() {
  for (int& file : files) {
    file = ::memfd_create("node", MFD_CLOEXEC);
    require(file >= 0, "the system has files in memory");
  }
}

Nodes::~Nodes() {
  for (const int file : files)
    ::close(file);
}

std::string Nodes::path(const std::string& word) const {
  if (word.empty()) return word;
  const size_t choice = static_cast<unsigned char>(word.back()) % 6;
  if (choice < files.size()) return kFolder + ("/" + std::to_string(files[choice]));
  return choice == files.size() ? kFolder : kFolder + std::string("/none");
}

bool Nodes::holds(const std::string& path) {
  return path.empty() || path.rfind(kFolder, 0) == 0;
}

void Nodes::write(const std::vector<std::string>& texts) {
  for (size_t i = 0; i < std::min(files.size(), texts.size()); ++i) {
    const std::string text = texts[i] + "\n";
    require(::ftruncate(files[i], 0) == 0 && ::pwrite(files[i], text.data(), text.size(), 0) ==
                                                 static_cast<ssize_t>(text.size()),
            "a file in memory takes a text");
  }
}

void Nodes::clear() {
  for (const int file : files)
    require(::ftruncate(file, 0) == 0, "a file in memory can be emptied");
}
