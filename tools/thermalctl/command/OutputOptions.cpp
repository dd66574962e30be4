#include "command/OutputOptions.h"

#include <sstream>

#include "report/Junit.h"
#include "text/Nearest.h"
#include "text/Phrases.h"

namespace {

// The part of the outputs that bears the name; null if none does.
bool* named(const std::string& name, Outputs& outputs) {
  if (name == "html") return &outputs.page;
  if (name == "csv") return &outputs.csv;
  if (name == "json") return &outputs.events;
  return name == "results" ? &outputs.results : nullptr;
}

} // namespace

void addOutputOptions(CommandLine& line, OutputOptions& options) {
  line.option("--out", &options.out,
              "Folder for results.json, results.csv, report.html, trace.csv and trace.json")
      .takes("DIR");
  line.option("--only", &options.only,
              "Of these files: html (the page), csv and json (the traces), results; several with "
              "commas between them")
      .takes("OUTPUTS")
      .takesAll();
  line.option("--format", &options.format, "Of what goes to standard output")
      .showsDefault()
      .isOneOf({"text", "junit"});
}

Outputs readOutputs(const OutputOptions& options, Problems& problems) {
  if (!options.chooses()) return {};
  Outputs outputs{false, false, false, false};
  for (const std::string& words : options.only) {
    std::istringstream list(words + ",");
    for (std::string word; std::getline(list, word, ',');) {
      if (bool* const wanted = named(word, outputs))
        *wanted = true;
      else
        problems.add({"--only " + words,
                      {},
                      "there is no output " + ::quoted(word),
                      didYouMean(word, {"html", "csv", "json", "results"},
                                 "there are 'html', 'csv', 'json' and 'results'")});
    }
  }
  if (options.out.empty())
    problems.add({"--only", {}, "chooses among the files of --out, which is not given"});
  return outputs;
}

void printReport(const OutputOptions& options, const RunReport& report, const std::string& title,
                 std::ostream& out) {
  if (options.asJunit())
    writeJunit(title, report.results(), out);
  else if (report.isSideBySide())
    report.summary().print(out);
  else
    printResults(report.results(), out);
}
