#include "report/RunReport.h"

namespace {

constexpr char kCsv[] = "trace.csv";
constexpr char kEvents[] = "trace.json";
constexpr char kPage[] = "report.html";

} // namespace

RunReport::Files::Files(const std::filesystem::path& directory_, const std::string& title)
    : directory(directory_), csvFile(directory / kCsv), eventFile(directory / kEvents),
      pageFile(directory / kPage), csv(csvFile), events(eventFile), html(title) {}

std::optional<std::string> RunReport::writeTo(const std::filesystem::path& directory,
                                              const std::string& title) {
  std::error_code error;
  std::filesystem::create_directories(directory, error);
  files = std::make_unique<Files>(directory, title);
  if (auto failure = firstFailure()) return failure;
  sinks.insert(sinks.end(), {&files->csv, &files->events, &files->html});
  return std::nullopt;
}

std::optional<std::string> RunReport::finish() {
  if (!files) return std::nullopt;
  files->events.finish();
  files->html.write(files->pageFile);
  // What the disk refuses may come to light only here.
  files->csvFile.close();
  files->eventFile.close();
  files->pageFile.close();
  return firstFailure();
}

std::optional<std::string> RunReport::firstFailure() const {
  const std::pair<const char*, const std::ofstream&> all[] = {
      {kCsv, files->csvFile}, {kEvents, files->eventFile}, {kPage, files->pageFile}};
  for (const auto& [name, file] : all) {
    if (!file) return (files->directory / name).string() + ": cannot be written";
  }
  return std::nullopt;
}
