#include "file/Revision.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>
#include <vector>

#include <spawn.h>

namespace {

// From the top, because in a folder git would look for that folder in the part that is asked for.
constexpr char kScript[] =
    "cd -- \"$1\" 2>/dev/null || exit 1\n"
    "git rev-parse --verify --quiet --end-of-options \"$2^{commit}\" "
    ">/dev/null 2>&1 || exit 1\n"
    "folder=$(git rev-parse --show-prefix)\n"
    "cd -- \"$(git rev-parse --show-toplevel)\" || exit 1\n"
    "git archive --format=tar --output=\"$3/.tar\" \"$2:$folder\" >/dev/null 2>&1 "
    "|| exit 1\n"
    "tar -x -C \"$3\" -f \"$3/.tar\" && rm \"$3/.tar\"\n";

bool runScript(const std::vector<std::string>& words) {
  std::vector<std::string> all = {"sh", "-c", kScript, "sh"};
  all.insert(all.end(), words.begin(), words.end());
  std::vector<char*> pointers;
  pointers.reserve(all.size() + 1);
  for (std::string& word : all)
    pointers.push_back(word.data());
  pointers.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawnp(&child, "sh", nullptr, nullptr, pointers.data(), environ) != 0) return false;
  int status = 0;
  return waitpid(child, &status, 0) == child && status == 0;
}

void replaceAll(std::string& text, const std::string& old, const std::string& by) {
  for (size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + by.size()))
    text.replace(at, old.size(), by);
}

} // namespace

Revision::Revision(const std::string& name, const std::filesystem::path& folder)
    : prefix(name + ":") {
  const std::filesystem::path own = folder.lexically_normal();
  if (!own.empty() && own != ".") prefix += (own / "").string();
  std::error_code error;
  std::string pattern =
      (std::filesystem::temp_directory_path(error) / "thermalctl-XXXXXX").string();
  if (!mkdtemp(pattern.data())) return;
  copy = pattern;
  there = runScript({folder.empty() ? "." : folder.string(), name, copy.string()});
}

Revision::Revision(Revision&& other) noexcept
    : copy(std::exchange(other.copy, {})), prefix(std::move(other.prefix)), there(other.there) {}

std::string Revision::named(std::string text) const {
  replaceAll(text, (copy / "").string(), prefix);
  // The folder itself, of which git's name has no slash behind it.
  replaceAll(text, copy.string(), prefix.substr(0, prefix.find_last_not_of('/') + 1));
  return text;
}

Revision::~Revision() {
  std::error_code error;
  if (!copy.empty()) std::filesystem::remove_all(copy, error);
}
