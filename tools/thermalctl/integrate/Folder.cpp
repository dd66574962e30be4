#include "integrate/Folder.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "base/Names.h"
#include "base/TextReader.h"
#include "file/ReplaceFile.h"
#include "integrate/Comparison.h"
#include "integrate/IntegrationFiles.h"

namespace {

namespace fs = std::filesystem;

std::vector<IntegrationFile> filesFor(const std::string& folder, const Integration& integration) {
  // What the folder's owner has written there on licences is carried over.
  const std::string before = readFile((fs::path(folder) / kBlueprintFile).string()).value_or("");
  return integrationFiles(integration.nodes, integration.environment, before);
}

// Files of the folder that hold what a node gets at level 0, and that no node of the board needs.
std::vector<std::string> leftOver(const std::string& folder,
                                  const std::vector<IntegrationFile>& files) {
  const std::string start = kLevelZeroStart;
  const std::string end = kLevelZeroEnd;
  std::vector<std::string> paths;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
    const std::string name = entry.path().filename().string();
    const bool isOurs = name.size() > start.size() + end.size() && name.rfind(start, 0) == 0 &&
                        name.compare(name.size() - end.size(), end.size(), end) == 0;
    const auto isThis = [&name](const IntegrationFile& file) { return file.name == name; };
    if (isOurs && std::none_of(files.begin(), files.end(), isThis))
      paths.push_back(entry.path().string());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::error_code writeFile(const fs::path& path, const IntegrationFile& file,
                          const Integration& integration) {
  std::error_code error;
  // The board's own folder may be the one to fill, or link to its environment file.
  if (fs::equivalent(path, integration.environmentFile, error)) return {};
  fs::create_directories(path.parent_path(), error);
  if (error) return error;
  return replaceFile(path.string(), file.content).error;
}

// Gives the folder a configuration, if it has none and there is one.
std::error_code takeConfiguration(const fs::path& folder, const Integration& integration,
                                  WrittenFolder& result) {
  const fs::path name = fs::path(kFactoryConfiguration).filename();
  const fs::path path = folder / name;
  std::error_code ignored;
  if (fs::exists(path, ignored)) return {};
  const auto content =
      readFile((fs::path(integration.environmentFile).parent_path() / name).string());
  if (!content) {
    result.configurationMissing = path.string();
    return {};
  }
  result.written.push_back(path.string());
  return replaceFile(path.string(), *content).error;
}

} // namespace

WrittenFolder writeFolder(const std::string& folder, const Integration& integration) {
  WrittenFolder result;
  const std::vector<IntegrationFile> files = filesFor(folder, integration);
  for (const IntegrationFile& file : files) {
    const fs::path path = fs::path(folder) / file.name;
    const std::error_code error = writeFile(path, file, integration);
    if (error) {
      result.trouble = FileTrouble{path.string(), error};
      return result;
    }
    result.written.push_back(path.string());
  }
  if (const std::error_code error = takeConfiguration(folder, integration, result))
    result.trouble = FileTrouble{result.written.back(), error};
  // Last: where one of the board's files could not be written, nothing is taken away.
  for (const std::string& path : leftOver(folder, files)) {
    std::error_code ignored;
    if (fs::remove(path, ignored)) result.removed.push_back(path);
  }
  return result;
}

ComparedFolder compareFolder(const std::string& folder, const Integration& integration) {
  ComparedFolder result;
  std::error_code error;
  if (!fs::is_directory(folder, error)) {
    result.trouble =
        FileTrouble{folder, error ? error : std::make_error_code(std::errc::not_a_directory)};
    return result;
  }
  const std::vector<IntegrationFile> files = filesFor(folder, integration);
  for (const IntegrationFile& file : files) {
    const std::string path = (fs::path(folder) / file.name).string();
    errno = 0;
    const std::optional<std::string> found = readFile(path);
    if (!found && errno == ENOENT) {
      result.missing.push_back(path);
    } else if (!found) {
      result.trouble = FileTrouble{path, {errno, std::generic_category()}};
      return result;
    } else {
      const auto findings = compareFile(path, *found, file, integration.environmentFile);
      result.findings.insert(result.findings.end(), findings.begin(), findings.end());
      result.sources.insert_or_assign(path, Source(*found));
    }
  }
  result.extra = leftOver(folder, files);
  return result;
}
