#include "runtime/Trace.h"

#include <unistd.h>

#include <array>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <vector>

#include <execinfo.h>

#include "runtime/Memory.h"

namespace trace {
namespace {

constexpr int kDepth = 16;
constexpr char kDaemon[] = "/src/";
constexpr char kOwnSources[] = "/tests/schedule/";

struct Line {
  uint64_t step;
  int64_t time;
  std::string fiber;
  std::string what;
  std::array<void*, kDepth> callers;
  int depth;
};

bool on = false;
std::vector<Line> lines;

std::string sourceLine(const std::string& file, int number) {
  static std::map<std::string, std::vector<std::string>> files;
  std::vector<std::string>& text = files[file];
  if (text.empty()) {
    std::ifstream in(file);
    for (std::string read; std::getline(in, read);)
      text.push_back(read);
  }
  if (number < 1 || static_cast<size_t>(number) > text.size()) return {};
  const std::string& found = text[static_cast<size_t>(number) - 1];
  return found.substr(std::min(found.size(), found.find_first_not_of(' ')));
}

// "Class::function  File.h:12: statement" for each return address inside the daemon's sources.
class Places {
public:
  explicit Places(const std::set<void*>& addresses) {
    const std::string executable = "/proc/" + std::to_string(::getpid()) + "/exe";
    std::ostringstream command;
    command << "addr2line -a -f -i -C -e " << executable;
    for (const void* address : addresses)
      command << ' ' << std::hex << reinterpret_cast<uintptr_t>(address) - 1;
    FILE* const output = ::popen(command.str().c_str(), "r");
    if (!output) return;
    std::array<char, 4096> buffer;
    std::vector<std::string> text;
    while (std::fgets(buffer.data(), buffer.size(), output)) {
      text.emplace_back(buffer.data());
      text.back().pop_back();
    }
    ::pclose(output);
    read(text);
  }

  std::string of(const Line& line) const {
    for (int i = 0; i < line.depth; ++i) {
      const auto place =
          places.find(reinterpret_cast<uintptr_t>(line.callers[static_cast<size_t>(i)]) - 1);
      if (place != places.end()) return place->second;
    }
    return {};
  }

private:
  // An address, and then two lines for each function that is inlined there, the innermost first.
  void read(const std::vector<std::string>& text) {
    uintptr_t address = 0;
    for (size_t i = 0; i < text.size(); ++i) {
      if (text[i].rfind("0x", 0) == 0) {
        address = std::stoull(text[i], nullptr, 16);
        continue;
      }
      if (i + 1 == text.size()) return;
      const std::string function = text[i];
      const std::string place = text[++i];
      if (place.find(kDaemon) == std::string::npos || place.find(kOwnSources) != std::string::npos)
        continue;
      const size_t colon = place.rfind(':');
      const std::string file = place.substr(0, colon);
      const int number = std::atoi(place.c_str() + colon + 1);
      places.emplace(address, function.substr(0, function.find('(')) + "  " +
                                  file.substr(file.rfind('/') + 1) + ":" + std::to_string(number) +
                                  ": " + sourceLine(file, number));
    }
  }

  std::map<uintptr_t, std::string> places;
};

} // namespace

void begin() {
  on = true;
  lines.clear();
}

bool isOn() {
  return on;
}

void add(uint64_t step, int64_t time, const std::string& fiber, const std::string& what) {
  const memory::OnHeap heap;
  Line line = {step, time, fiber, what, {}, 0};
  line.depth = ::backtrace(line.callers.data(), kDepth);
  lines.push_back(std::move(line));
}

void print() {
  on = false;
  std::set<void*> addresses;
  for (const Line& line : lines)
    addresses.insert(line.callers.begin(), line.callers.begin() + line.depth);
  const Places places(addresses);
  std::printf("%6s %9s  %-18s %-58s %s\n", "step", "time", "thread", "operation", "where");
  for (const Line& line : lines)
    std::printf("%6" PRIu64 " %7.1fms  %-18s %-58s %s\n", line.step,
                static_cast<double>(line.time) / 1e6, line.fiber.c_str(), line.what.c_str(),
                places.of(line).c_str());
}

} // namespace trace
