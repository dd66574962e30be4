#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "command/CommandLine.h"
#include "report/RunReport.h"
#include "toml/Problems.h"

// Where the figures of runs go, and in which form.
struct OutputOptions {
  std::string out;
  std::vector<std::string> only;
  std::string format = "text";

  bool chooses() const { return !only.empty(); }
  bool asJunit() const { return format == "junit"; }
};

void addOutputOptions(CommandLine& line, OutputOptions& options);
// The files that are asked for by name; all without any.
Outputs readOutputs(const OutputOptions& options, Problems& problems);
// What goes to standard output.
void printReport(const OutputOptions& options, const RunReport& report, const std::string& title,
                 std::ostream& out);
