#include <unistd.h>

#include <filesystem>

#include "check/environment/EnvironmentRules.h"

namespace {

namespace fs = std::filesystem;

bool isOutput(const Section& section) {
  return section.isDevice();
}

// A report is a file that the daemon makes itself, if it may.
bool isMadeByTheDaemon(const Section& section) {
  return section.isDevice() && section.kindWord.text == "report";
}

// Where the section's node lies on this machine.
std::string nodeOf(const Subject& subject, const Section& section) {
  // As texts: an absolute path joined to a root by the library would take its place.
  return *subject.nodesRoot + "/" + section.nodePath->text;
}

bool exists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0;
}

// Whether the file opens for that; a directory does not. Asked with the rights of whoever runs the
// check, which need not be the daemon's.
bool opens(const std::string& path, int mode) {
  std::error_code error;
  return ::access(path.c_str(), mode) == 0 && !fs::is_directory(path, error);
}

bool canBeMade(const std::string& path) {
  const std::string directory = fs::path(path).parent_path().string();
  return ::access(directory.c_str(), W_OK | X_OK) == 0;
}

// Calls `visit` with each section that has a node, and the node's path here.
template <typename Visit> void forNodes(const Subject& subject, Visit visit) {
  if (!subject.nodesRoot) return;
  for (const Section& section : subject.environment.sections) {
    const bool opensNode = section.kind == SectionKind::kReal || section.isDevice();
    if (opensNode && section.nodePath) visit(section, nodeOf(subject, section));
  }
}

void nodeNotFound(const Subject& subject, Findings& findings) {
  forNodes(subject, [&](const Section& section, const std::string& path) {
    if (exists(path) || (isMadeByTheDaemon(section) && canBeMade(path))) return;
    findings.add(subject.environment.file, *section.nodePath,
                 isOutput(section)
                     ? "no such file: what the daemon writes to this device goes nowhere"
                     : "no such file: the sensor reads 0 forever");
  });
}
constexpr Rule kNodeNotFound = {
    "node-not-found", Severity::kError,
    "With --nodes: the node of a sensor or device does not exist. Such a sensor reads 0 at all "
    "times, and what is written to such a device goes nowhere; the daemon logs one line at "
    "start-up and carries on. A report's file need not exist if it can be made.",
    nodeNotFound};

void nodeNotReadable(const Subject& subject, Findings& findings) {
  forNodes(subject, [&](const Section& section, const std::string& path) {
    if (isOutput(section) || !exists(path) || opens(path, R_OK)) return;
    findings.add(subject.environment.file, *section.nodePath,
                 "the file cannot be read: the sensor reads 0 forever");
  });
}
constexpr Rule kNodeNotReadable = {
    "node-not-readable", Severity::kError,
    "With --nodes: the node of a sensor exists but cannot be read by whoever runs the check, or "
    "is a directory. Such a sensor reads 0 at all times, so that nothing that watches it ever "
    "acts.",
    nodeNotReadable};

void nodeNotWritable(const Subject& subject, Findings& findings) {
  forNodes(subject, [&](const Section& section, const std::string& path) {
    if (!isOutput(section) || !exists(path) || opens(path, W_OK)) return;
    findings.add(subject.environment.file, *section.nodePath,
                 "the file cannot be written: what the daemon writes to this device goes nowhere");
  });
}
constexpr Rule kNodeNotWritable = {
    "node-not-writable", Severity::kError,
    "With --nodes: the node of a device exists but cannot be written by whoever runs the check, "
    "or is a directory. What the daemon writes to such a device goes nowhere.",
    nodeNotWritable};

} // namespace

const std::vector<Rule>& nodeRules() {
  static const std::vector<Rule> rules = {kNodeNotFound, kNodeNotReadable, kNodeNotWritable};
  return rules;
}
