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
  if (const auto failure = firstFailure()) return failure;
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

void RunReport::begin(const TraceDescription& run) {
  for (TraceSink* sink : sinks)
    sink->begin(run);
}

void RunReport::temperature(int64_t time, size_t sensor, int32_t millidegrees) {
  for (TraceSink* sink : sinks)
    sink->temperature(time, sensor, millidegrees);
}

void RunReport::level(int64_t time, size_t device, int32_t level, const std::string& entry) {
  for (TraceSink* sink : sinks)
    sink->level(time, device, level, entry);
}

void RunReport::algorithm(int64_t time, size_t algorithm, int32_t level) {
  for (TraceSink* sink : sinks)
    sink->algorithm(time, algorithm, level);
}

void RunReport::scenario(int64_t time, const std::string& name) {
  for (TraceSink* sink : sinks)
    sink->scenario(time, name);
}

void RunReport::configuration(int64_t time, const std::string& name) {
  for (TraceSink* sink : sinks)
    sink->configuration(time, name);
}

void RunReport::end(int64_t time, const std::vector<Performance>& performance) {
  for (TraceSink* sink : sinks)
    sink->end(time, performance);
}
