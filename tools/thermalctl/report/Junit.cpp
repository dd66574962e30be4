#include "report/Junit.h"

#include "report/Judgement.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

// How a case ended, with the element that tells it; without one it has passed.
struct Case {
  std::string name;
  const char* element = nullptr;
  std::string message{};
};

std::string escaped(const std::string& text) {
  std::string result;
  for (const char character : visible(text)) {
    switch (character) {
    case '&':
      result += "&amp;";
      break;
    case '<':
      result += "&lt;";
      break;
    case '>':
      result += "&gt;";
      break;
    case '"':
      result += "&quot;";
      break;
    default:
      result += character;
    }
  }
  return result;
}

std::string firstAbove(const Verdict& verdict) {
  if (!verdict.firstAbove) return "";
  return ", first above at " + clockTime(*verdict.firstAbove / 1000);
}

Case caseOf(const Verdict& verdict) {
  const std::string name = textOf(verdict.budget);
  const std::string message = cellOf(verdict);
  if (verdict.is == Verdict::Is::kPassed) return {name, "failure", message + firstAbove(verdict)};
  if (verdict.is == Verdict::Is::kUnjudged) return {name, "error", message};
  return {name};
}

std::vector<Case> casesOf(const RunResult& result) {
  std::vector<Case> cases;
  for (const Verdict& verdict : result.verdicts)
    cases.push_back(caseOf(verdict));
  if (cases.empty() && result.unjudged.empty()) cases.push_back({"run"});
  if (cases.empty()) cases.push_back({"run", "error", result.unjudged.front()});
  return cases;
}

size_t count(const std::vector<Case>& cases, const std::string& element) {
  size_t number = 0;
  for (const Case& each : cases)
    number += each.element && each.element == element ? 1 : 0;
  return number;
}

void write(const RunResult& result, std::ostream& out) {
  const std::vector<Case> cases = casesOf(result);
  const std::string suite = escaped(result.name);
  out << "  <testsuite name=\"" << suite << "\" tests=\"" << cases.size() << "\" failures=\""
      << count(cases, "failure") << "\" errors=\"" << count(cases, "error") << "\">\n";
  for (const Case& each : cases) {
    out << "    <testcase classname=\"" << suite << "\" name=\"" << escaped(each.name) << '"';
    if (each.element)
      out << "><" << each.element << " message=\"" << escaped(each.message) << "\"/></testcase>\n";
    else
      out << "/>\n";
  }
  out << "  </testsuite>\n";
}

} // namespace

void writeJunit(const std::string& name, const std::vector<RunResult>& results, std::ostream& out) {
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"" << escaped(name)
      << "\">\n";
  for (const RunResult& result : results)
    write(result, out);
  out << "</testsuites>\n";
}
