#include "log/BoardFolder.h"

#include <algorithm>
#include <filesystem>

#include "base/TextReader.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const std::string& folder, const std::string& extension) {
  std::vector<fs::path> files;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (entry.path().extension() == extension) files.push_back(entry.path());
  }
  // A directory has no order of its own, and the first configuration must be the same everywhere.
  std::sort(files.begin(), files.end());
  return files;
}

} // namespace

std::optional<BoardFolder::Files> BoardFolder::find(const std::string& folder,
                                                    std::vector<std::string>& problems) {
  std::error_code error;
  if (!fs::is_directory(folder, error)) {
    problems.push_back(folder + ": " + (error ? error.message() : "is no folder"));
    return std::nullopt;
  }
  const std::vector<fs::path> environments = filesOf(folder, ".env");
  if (environments.size() != 1) {
    problems.push_back(folder + ": a board's folder has one *.env file, this one has " +
                       std::to_string(environments.size()));
    return std::nullopt;
  }
  const std::vector<fs::path> configurations = filesOf(folder, ".conf");
  return Files{environments[0], {configurations.begin(), configurations.end()}};
}

BoardFolder::BoardFolder(const Files& files, std::vector<std::string>& problems) : paths(files) {
  const std::optional<std::string> environment = readFile(files.environment);
  if (!environment) {
    problems.push_back(files.environment + ": cannot be read");
    return;
  }
  parts = VirtualDaemon(*environment).describe();
  parts.countIn(files.units);
  for (const std::string& path : files.configurations)
    addConfiguration(path, *environment, problems);
  if (all.empty()) return;
  initial = named(fs::path(files.environment).stem().string() + ".conf");
  if (!initial) initial = &all.front();
}

const BoardFolder::ConfigurationTracks* BoardFolder::named(const std::string& name) const {
  const auto found =
      std::find_if(all.begin(), all.end(),
                   [&name](const ConfigurationTracks& known) { return known.name == name; });
  return found == all.end() ? nullptr : &*found;
}

void BoardFolder::addConfiguration(const std::string& path, const std::string& environment,
                                   std::vector<std::string>& problems) {
  const std::optional<std::string> text = readFile(path);
  if (!text) {
    problems.push_back(path + ": cannot be read");
    return;
  }
  auto daemon = std::make_unique<VirtualDaemon>(environment);
  if (const auto message = daemon->parseConfiguration(*text)) {
    problems.push_back(path + ": the daemon ends with it: " + *message);
    return;
  }
  const std::string name = fs::path(path).filename().string();
  const std::vector<Algo*> items = daemon->items();
  all.push_back({name, daemon->describeItems(parts, name), {items.begin(), items.end()}});
  daemons.push_back(std::move(daemon));
}
