#include "report/RunReport.h"

#include <iterator>

namespace {

constexpr char kCsv[] = "trace.csv";
constexpr char kEvents[] = "trace.json";
constexpr char kPage[] = "report.html";
constexpr char kResults[] = "results.json";
constexpr char kResultsCsv[] = "results.csv";

} // namespace

void RunReport::Part::end(int64_t time, const std::vector<Performance>& performance) {
  pass(&TraceSink::end, time, performance);
  results.push_back(resultOf(figures.last()));
  if (page) page->figured(figures.last());
}

RunReport::Files::Files(const std::filesystem::path& directory, const std::string& title,
                        const Provenance& origin, const Outputs& which)
    : folder(directory), outputs(directory), html(title, origin) {
  const auto add = [this](bool wanted, const char* name) {
    return wanted ? &outputs.add(name) : nullptr;
  };
  csv = add(which.csv, kCsv);
  events = add(which.events, kEvents);
  page = add(which.page, kPage);
  results = add(which.results, kResults);
  resultsCsv = add(which.results, kResultsCsv);
}

std::optional<std::string> RunReport::writeTo(const std::filesystem::path& directory,
                                              const std::string& title, const Provenance& origin,
                                              const Outputs& outputs) {
  files = std::make_unique<Files>(directory, title, origin, outputs);
  return files->outputs.failure();
}

std::unique_ptr<RunReport::Part> RunReport::part(size_t before, bool inOrder) const {
  auto part = std::make_unique<Part>();
  if (!files) return part;
  // Runs that come one after the other write into the files as they go. Of those side by side each
  // has a file of its own to write to, which `take` puts behind those before it.
  const auto stream = [&](std::ostream* file, std::unique_ptr<Spool>& spool) -> std::ostream& {
    if (inOrder) return *file;
    spool = std::make_unique<Spool>(files->folder);
    return spool->stream();
  };
  if (files->csv) {
    part->csv = std::make_unique<CsvTrace>(stream(files->csv, part->csvSpool), before);
    part->alsoTo(*part->csv);
  }
  if (files->events) {
    part->events = std::make_unique<EventTrace>(stream(files->events, part->eventsSpool), before);
    part->alsoTo(*part->events);
  }
  if (files->page) {
    part->page = std::make_unique<HtmlReport>("", Provenance());
    part->alsoTo(*part->page);
  }
  return part;
}

void RunReport::take(Part& part, bool sideBySide) {
  // What they hold goes into their streams with them.
  part.csv.reset();
  part.events.reset();
  if (files) {
    move(part.csvSpool.get(), files->csv);
    move(part.eventsSpool.get(), files->events);
  }
  if (part.page) files->html.take(*part.page);
  if (sideBySide) figures.take(part.figures);
  std::move(part.results.begin(), part.results.end(), std::back_inserter(all));
}

void RunReport::move(Spool* spool, std::ostream* to) {
  if (!spool) return;
  if (const auto error = spool->moveTo(*to)) files->outputs.fail(*to, error);
}

std::optional<std::string> RunReport::finish() {
  if (!files) return std::nullopt;
  if (files->events) EventTrace(*files->events, all.size()).finish();
  if (files->page) files->html.write(*files->page, files->csv != nullptr);
  if (files->results) writeResults(all, *files->results);
  if (files->resultsCsv) writeResultsCsv(all, *files->resultsCsv);
  return files->outputs.putInPlace();
}
