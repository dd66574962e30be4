#include "report/RunReport.h"

namespace {

constexpr char kCsv[] = "trace.csv";
constexpr char kEvents[] = "trace.json";
constexpr char kPage[] = "report.html";

} // namespace

RunReport::Files::Files(const std::filesystem::path& directory, const std::string& title,
                        const Provenance& origin)
    : outputs(directory), csv(outputs.add(kCsv)), events(outputs.add(kEvents)),
      page(outputs.add(kPage)), html(title, origin) {}

std::optional<std::string> RunReport::writeTo(const std::filesystem::path& directory,
                                              const std::string& title, const Provenance& origin) {
  files = std::make_unique<Files>(directory, title, origin);
  if (auto failure = files->outputs.failure()) return failure;
  sinks.insert(sinks.end(), {&files->csv, &files->events, &files->html});
  return std::nullopt;
}

std::optional<std::string> RunReport::finish() {
  if (!files) return std::nullopt;
  files->events.finish();
  files->html.write(files->page);
  return files->outputs.putInPlace();
}
