#include "report/Junit.h"

#include "report/Judgement.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

std::string firstAbove(const Verdict& verdict) {
  if (!verdict.firstAbove) return "";
  return ", first above at " + clockTime(*verdict.firstAbove / 1000);
}

JunitCase caseOf(const Verdict& verdict) {
  const std::string name = textOf(verdict.budget);
  const std::string message = cellOf(verdict);
  if (verdict.is == Verdict::Is::kPassed) return {name, "failure", message + firstAbove(verdict)};
  if (verdict.is == Verdict::Is::kUnjudged) return {name, "error", message};
  return {name};
}

std::vector<JunitCase> casesOf(const RunResult& result) {
  std::vector<JunitCase> cases;
  for (const Verdict& verdict : result.verdicts)
    cases.push_back(caseOf(verdict));
  if (cases.empty() && result.unjudged.empty()) cases.push_back({"run"});
  if (cases.empty()) cases.push_back({"run", "error", result.unjudged.front()});
  return cases;
}

size_t count(const std::vector<JunitCase>& cases, const std::string& element) {
  size_t number = 0;
  for (const JunitCase& each : cases)
    number += each.element && each.element == element ? 1 : 0;
  return number;
}

void write(const JunitSuite& one, std::ostream& out) {
  const std::vector<JunitCase>& cases = one.cases;
  const std::string suite = escapedMarkup(one.name);
  out << "  <testsuite name=\"" << suite << "\" tests=\"" << cases.size() << "\" failures=\""
      << count(cases, "failure") << "\" errors=\"" << count(cases, "error") << "\">\n";
  for (const JunitCase& each : cases) {
    out << "    <testcase classname=\"" << suite << "\" name=\"" << escapedMarkup(each.name) << '"';
    if (each.element)
      out << "><" << each.element << " message=\"" << escapedMarkup(each.message)
          << "\"/></testcase>\n";
    else
      out << "/>\n";
  }
  out << "  </testsuite>\n";
}

} // namespace

void writeJunit(const std::string& name, const std::vector<JunitSuite>& suites, std::ostream& out) {
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"" << escapedMarkup(name)
      << "\">\n";
  for (const JunitSuite& suite : suites)
    write(suite, out);
  out << "</testsuites>\n";
}

void writeJunit(const std::string& name, const std::vector<RunResult>& results, std::ostream& out) {
  std::vector<JunitSuite> suites;
  suites.reserve(results.size());
  for (const RunResult& result : results)
    suites.push_back({result.name, casesOf(result)});
  writeJunit(name, suites, out);
}
