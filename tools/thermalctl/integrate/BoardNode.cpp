#include "integrate/BoardNode.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <memory>
#include <set>

#include "base/Names.h"
#include "board/SectionDevice.h"
#include "device/CPUFreqDevice.h"
#include "device/CameraDevice.h"
#include "device/ReportDevice.h"
#include "text/Affixes.h"
#include "text/Pattern.h"

namespace {

// Of which neither init nor the policy's language has a meaning of its own.
bool isPlain(const std::string& path) {
  const auto plain = [](unsigned char c) {
    return c < 0x80 && (std::isalnum(c) ||
                        std::string("/_-.,:@+=~%").find(static_cast<char>(c)) != std::string::npos);
  };
  return std::all_of(path.begin(), path.end(), plain) && path.back() != '/' &&
         std::filesystem::path(path).lexically_normal().string() == path;
}

std::optional<BoardNode::Place> placeOf(const std::string& path) {
  if (startsWith(path, "/sys/")) return BoardNode::kSys;
  if (startsWith(path, "/dev/")) return BoardNode::kDev;
  if (startsWith(path, std::string(kDataDirectory) + "/")) return BoardNode::kData;
  return std::nullopt;
}

Finding findingAt(const Environment& environment, const Word& word, Severity severity) {
  Finding finding;
  finding.rule = "integrate";
  finding.severity = severity;
  finding.file = environment.file;
  finding.at = word.at;
  finding.length = std::max<size_t>(word.text.size(), 1);
  return finding;
}

// What is wrong with a node, and what to do about it: as an error where no file could be written
// for it, as a warning where one may turn out not to fit.
struct Trouble {
  std::string message;
  std::string hint;
};

// Why the node can be given no label.
std::optional<Trouble> troubleWith(const std::string& path) {
  if (!placeOf(path))
    return Trouble{"no label is for a node here: it would be closed to the daemon",
                   "a node stands below /sys or /dev, a report below " +
                       std::string(kDataDirectory)};
  if (!isPlain(path))
    return Trouble{"this path cannot be told to init and to the policy as it is",
                   "write it with letters, digits and _-.,:@+=~% between single slashes, without "
                   "'.' and '..'"};
  // Both are below /sys, and mounted there from file systems of their own.
  if (startsWith(path, "/sys/kernel/debug/") || startsWith(path, "/sys/kernel/tracing/"))
    return Trouble{"a user build has no such node: it belongs to a file system for debugging",
                   "have the driver give the node a place below /sys/devices"};
  return std::nullopt;
}

// Why the label may not be the node's in the end.
std::optional<Trouble> doubtAbout(const std::string& path) {
  static const Pattern link("^/sys/(block|bus|class|dev|module/[^/]+/drivers)/");
  if (link.isIn(path))
    return Trouble{"this path leads through a symbolic link, and a label holds for the real one",
                   "write what 'adb shell realpath' prints for it"};
  static const Pattern counted("/(thermal_zone|cooling_device|hwmon|iio:device)[0-9]+(/|$)");
  if (counted.isIn(path))
    return Trouble{"the number in this path is given as drivers come up, and may be another one "
                   "with the next kernel",
                   "see 'Unstable zone numbers' in docs/android.md"};
  return std::nullopt;
}

bool isText(const std::string& bytes) {
  return std::all_of(bytes.begin(), bytes.end(),
                     [](char c) { return c >= ' ' && c <= '~' && c != '"'; });
}

class Collector {
public:
  explicit Collector(const Environment& environment_) : environment(environment_) {}

  BoardNodes take() {
    for (const Section& section : environment.sections) {
      if (section.kind == SectionKind::kReal && environment.sensor(section.name) == &section)
        addSensor(section);
      if (section.isDevice() && environment.device(section.name) == &section) addDevice(section);
    }
    return std::move(result);
  }

private:
  void addSensor(const Section& section) {
    BoardNode node;
    if (section.nodePath) add(std::move(node), section, section.nodePath->text);
  }

  void addDevice(const Section& section) {
    const std::unique_ptr<Device> device = deviceOf(section);
    BoardNode node;
    node.isWritten = true;
    // A report is a file without levels, which the daemon starts anew itself.
    if (!dynamic_cast<ReportDevice*>(device.get()) && !device->levelTable.empty()) {
      const std::string bytes = device->output(0);
      if (!bytes.empty()) node.atLevelZero = bytes;
      if (dynamic_cast<CPUFreqDevice*>(device.get()) || !isText(bytes))
        node.levelZeroFile = fileFor(section.name);
    }
    if (section.nodePath) add(std::move(node), section, section.nodePath->text);
    if (!dynamic_cast<CameraDevice*>(device.get())) return;
    BoardNode frameRate;
    frameRate.isWritten = true;
    frameRate.atLevelZero = CameraDevice::kFixedFrameRateOff;
    add(std::move(frameRate), section, CameraDevice::kFixedFrameRateNode);
  }

  void add(BoardNode node, const Section& section, const std::string& path) {
    const Word& word = section.nodePath ? *section.nodePath : section.header;
    if (const auto trouble = troubleWith(path)) return tell(word, Severity::kError, *trouble);
    node.path = path;
    node.place = *placeOf(path);
    // A label holds for the node whoever uses it, so that it has one line even where several
    // sections share it, all cameras their frame rate's node included.
    const auto same = std::find_if(result.nodes.begin(), result.nodes.end(),
                                   [&path](const BoardNode& other) { return other.path == path; });
    if (same == result.nodes.end()) {
      if (const auto doubt = doubtAbout(path)) tell(word, Severity::kWarning, *doubt);
      result.nodes.push_back(std::move(node));
    } else if (same->isWritten != node.isWritten) {
      tell(word, Severity::kError,
           {"a sensor reads this node and a device writes it: it can have one label only",
            "let one of the two have another node"});
    }
  }

  // The name of the device, as far as it can stand in that of a file; no two devices get one.
  std::string fileFor(std::string name) {
    for (char& c : name)
      if (c == '/' || !isPlain({c, '_'})) c = '_';
    std::string file = "talmor-thermal-" + name + ".level0";
    for (int number = 2; !files.insert(file).second; ++number)
      file = "talmor-thermal-" + name + "-" + std::to_string(number) + ".level0";
    return file;
  }

  void tell(const Word& word, Severity severity, const Trouble& trouble) {
    Finding finding = findingAt(environment, word, severity);
    finding.message = trouble.message;
    finding.hint = trouble.hint;
    result.findings.push_back(std::move(finding));
  }

  const Environment& environment;
  BoardNodes result;
  std::set<std::string> files;
};

} // namespace

BoardNodes nodesOf(const Environment& environment) {
  return Collector(environment).take();
}
