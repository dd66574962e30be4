#include "integrate/IntegrationFiles.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include <fmt/format.h>

#include "base/Names.h"

namespace {

constexpr char kHash[] = "#";
constexpr char kSlashes[] = "//";

constexpr char kInitFile[] = "talmor-thermal-board.rc";
constexpr char kDevicesFile[] = "talmor-thermal-ueventd.rc";

// Of every file with remarks: {} is what they begin with.
constexpr char kOrigin[] = "{0} Made by \"thermalctl integrate\" of the board's environment file. "
                           "Change that one, and make\n"
                           "{0} this one anew.\n\n";

// What the service is, and why, is told in docs/android.md. Restarted whenever it ends, so far
// apart that init does not take five ends for the fault of an update.
constexpr char kService[] = "service vendor.talmor-thermal /vendor/bin/talmor-thermal\n"
                            "    class late_start\n"
                            "    user system\n"
                            "    group system\n"
                            "    capabilities\n"
                            "    oom_score_adjust -1000\n"
                            "    restart_period 120\n"
                            "    task_profiles ServiceCapacityLow\n";

std::string origin(const char* remark) {
  return fmt::format(kOrigin, remark);
}

std::string fileName(const char* path) {
  return std::filesystem::path(path).filename().string();
}

std::string label(const BoardNode& node) {
  const char* const type =
      node.place == BoardNode::kSys
          ? (node.isWritten ? "sysfs_talmor_thermal_device" : "sysfs_talmor_thermal_sensor")
          : (node.isWritten ? "talmor_thermal_device" : "talmor_thermal_sensor_device");
  return fmt::format("u:object_r:{}:s0", type);
}

// A context's path is a regular expression.
std::string asExpression(const std::string& path) {
  std::string expression;
  for (const char c : path) {
    if (c == '.' || c == '+') expression += '\\';
    expression += c;
  }
  return expression;
}

// One line for each node at that place.
template <typename LineOf>
std::string linesAt(BoardNode::Place place, const std::vector<BoardNode>& nodes, LineOf lineOf) {
  std::string lines;
  for (const BoardNode& node : nodes)
    if (node.place == place) lines += lineOf(node) + "\n";
  return lines;
}

// genfscon sysfs /devices/virtual/thermal/skin/temp u:object_r:sysfs_talmor_thermal_sensor:s0
std::string genfsContexts(const std::vector<BoardNode>& nodes) {
  return origin(kHash) + linesAt(BoardNode::kSys, nodes, [](const BoardNode& node) {
           return "genfscon sysfs " + node.path.substr(sizeof "/sys" - 1) + " " + label(node);
         });
}

// /dev/charger_limit u:object_r:talmor_thermal_device:s0
std::string fileContexts(const std::vector<BoardNode>& nodes) {
  return origin(kHash) + linesAt(BoardNode::kDev, nodes, [](const BoardNode& node) {
           return asExpression(node.path) + " " + label(node);
         });
}

// /dev/charger_limit 0660 system system
std::string deviceLines(const std::vector<BoardNode>& nodes) {
  return origin(kHash) + linesAt(BoardNode::kDev, nodes, [](const BoardNode& node) {
           return node.path + (node.isWritten ? " 0660 system system" : " 0440 system system");
         });
}

std::string rightsOf(const BoardNode& node) {
  if (!node.isWritten) return "    chmod 0444 " + node.path;
  return "    chown system system " + node.path + "\n    chmod 0644 " + node.path;
}

// A word of init's language, in which a dollar begins a property's name.
std::string initWord(const std::string& text) {
  std::string word;
  for (const char c : text)
    word += c == '$' ? "$$" : std::string(1, c);
  // Quotes around what would end the word or begin a remark.
  return word.find_first_of(" #\\") == std::string::npos ? word : "\"" + word + "\"";
}

// In the vendor's partition.
std::string installed(const std::string& name) {
  return (std::filesystem::path(kEnvironmentFile).parent_path() / name).string();
}

std::vector<std::string> resets(const std::vector<BoardNode>& nodes) {
  std::vector<std::string> commands;
  for (const BoardNode& node : nodes) {
    // A file of the daemon's own keeps nothing for the next run, and init must not make it.
    if (!node.atLevelZero || node.place == BoardNode::kData) continue;
    commands.push_back(node.levelZeroFile.empty()
                           ? "write " + node.path + " " + initWord(*node.atLevelZero)
                           : "copy " + installed(node.levelZeroFile) + " " + node.path);
  }
  return commands;
}

std::string initFile(const std::vector<BoardNode>& nodes) {
  std::string text = origin(kHash);
  text += "# Before the daemon starts: its nodes are readable, or its user's, and at level 0.\n"
          "on boot\n";
  text += linesAt(BoardNode::kSys, nodes, rightsOf);
  for (const std::string& command : resets(nodes))
    text += "    " + command + "\n";
  text +=
      "\n# After the end of a run, too, the nodes are at level 0, as the next one takes them to "
      "be.\n";
  text += kService;
  for (const std::string& command : resets(nodes))
    text += "    onrestart " + command + "\n";
  return text;
}

struct Prebuilt {
  std::string name;
  const char* folder = nullptr;
};

std::vector<Prebuilt> prebuilts(const std::vector<BoardNode>& nodes) {
  std::vector<Prebuilt> all = {{kInitFile, "init"},
                               {kDevicesFile},
                               {fileName(kFactoryConfiguration)},
                               {fileName(kEnvironmentFile)}};
  for (const BoardNode& node : nodes)
    if (!node.levelZeroFile.empty()) all.push_back({node.levelZeroFile});
  std::sort(all.begin(), all.end(),
            [](const Prebuilt& a, const Prebuilt& b) { return a.name < b.name; });
  return all;
}

std::string prebuiltModule(const Prebuilt& file) {
  std::string text = fmt::format("\nprebuilt_etc {{\n    name: \"{0}\",\n    vendor: true,\n"
                                 "    src: \"{0}\",\n",
                                 file.name);
  if (file.folder) text += fmt::format("    sub_dir: \"{}\",\n", file.folder);
  return text + "}\n";
}

std::string blueprint(const std::vector<BoardNode>& nodes, const std::string& licenses) {
  std::string text = origin(kSlashes);
  // A namespace begins its file.
  text += "// Another board in the tree may have modules of the same names.\n"
          "soong_namespace {\n}\n\n" +
          licenses;
  text += "phony {\n    name: \"talmor-thermal-board\",\n    required: [\n"
          "        \"talmor-thermal\",\n";
  for (const Prebuilt& file : prebuilts(nodes))
    text += fmt::format("        \"{}\",\n", file.name);
  text += "    ],\n}\n";
  for (const Prebuilt& file : prebuilts(nodes))
    text += prebuiltModule(file);
  return text;
}

// The modules of these kinds, each with an empty line behind it.
std::string licensesIn(const std::string& blueprintText) {
  std::istringstream in(blueprintText);
  std::string kept;
  std::string module;
  // A module begins and ends at the left edge; whatever is deeper belongs to the one in hand.
  for (std::string line; std::getline(in, line);) {
    if (line == "package {" || line == "license {")
      module.clear();
    else if (module.empty())
      continue;
    module += line + "\n";
    if (line != "}") continue;
    kept += module + "\n";
    module.clear();
  }
  return kept;
}

} // namespace

std::vector<IntegrationFile> integrationFiles(const std::vector<BoardNode>& nodes,
                                              const std::string& environment,
                                              const std::string& blueprintBefore) {
  std::vector<IntegrationFile> files = {
      {kBlueprintFile, blueprint(nodes, licensesIn(blueprintBefore)), kSlashes},
      {"sepolicy/file_contexts", fileContexts(nodes), kHash},
      {"sepolicy/genfs_contexts", genfsContexts(nodes), kHash},
      {kInitFile, initFile(nodes), kHash},
      {kDevicesFile, deviceLines(nodes), kHash},
      {fileName(kEnvironmentFile), environment},
  };
  for (const BoardNode& node : nodes)
    if (!node.levelZeroFile.empty()) files.push_back({node.levelZeroFile, *node.atLevelZero});
  return files;
}
