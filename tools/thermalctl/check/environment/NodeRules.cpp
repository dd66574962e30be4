#include <unistd.h>

#include <filesystem>

#include "check/environment/EnvironmentRules.h"
#include "check/rule/Visits.h"

namespace {

namespace fs = std::filesystem;

// A section that has a node, and the node's path on this machine.
struct Node {
  const Section& section;
  std::string path;
};

Check eachNode(Look<Node> look) {
  return eachSection([look = std::move(look)](const Section& section, Context& context) {
    const std::optional<std::string>& root = context.subject.nodesRoot;
    const bool opensNode = section.kind == SectionKind::kReal || section.isDevice();
    // As texts: an absolute path joined to a root by the library would take its place.
    if (root && opensNode && section.nodePath)
      look({section, *root + "/" + section.nodePath->text}, context);
  });
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

// A report is a file that the daemon makes itself, if it may.
bool canBeMade(const Node& node) {
  const std::string directory = fs::path(node.path).parent_path().string();
  return node.section.kindWord.text == "report" && ::access(directory.c_str(), W_OK | X_OK) == 0;
}

} // namespace

const std::vector<Rule> kNodeRules = {
    {"node-not-found", Severity::kError,
     "With --nodes: the node of a sensor or device does not exist. Such a sensor reads 0 at all "
     "times, and what is written to such a device goes nowhere; the daemon logs one line at "
     "start-up and carries on. A report's file need not exist if it can be made.",
     eachNode([](const Node& node, Context& context) {
       if (!exists(node.path) && !canBeMade(node))
         context.tell(*node.section.nodePath,
                      node.section.isDevice()
                          ? "no such file: what the daemon writes to this device goes nowhere"
                          : "no such file: the sensor reads 0 forever");
     })},

    {"node-not-readable", Severity::kError,
     "With --nodes: the node of a sensor exists but cannot be read by whoever runs the check, or "
     "is a directory. Such a sensor reads 0 at all times, so that nothing that watches it ever "
     "acts.",
     eachNode([](const Node& node, Context& context) {
       if (node.section.isSensor() && exists(node.path) && !opens(node.path, R_OK))
         context.tell(*node.section.nodePath,
                      "the file cannot be read: the sensor reads 0 forever");
     })},

    {"node-not-writable", Severity::kError,
     "With --nodes: the node of a device exists but cannot be written by whoever runs the check, "
     "or is a directory. What the daemon writes to such a device goes nowhere.",
     eachNode([](const Node& node, Context& context) {
       if (node.section.isDevice() && exists(node.path) && !opens(node.path, W_OK))
         context.tell(
             *node.section.nodePath,
             "the file cannot be written: what the daemon writes to this device goes nowhere");
     })},
};
