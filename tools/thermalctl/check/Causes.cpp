#include "check/Causes.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "check/Whereabouts.h"
#include "check/rule/FileRuleNames.h"
#include "text/Phrases.h"

// Findings come from rules that know nothing of one another. Here those go that only follow from
// another one, and that one takes over what it hides: above all that the daemon ends.

namespace {

using Place = std::pair<std::string, int>;

Place placeOf(const Finding& finding) {
  return {finding.file, finding.at.line};
}

template <typename Predicate> void dropIf(std::vector<Finding>& findings, Predicate predicate) {
  findings.erase(std::remove_if(findings.begin(), findings.end(), predicate), findings.end());
}

// That the daemon ends is told by whatever stands for the finding that told it.
void inherit(Finding& cause, const Finding& finding) {
  cause.end = std::max(cause.end, finding.end);
  if (cause.end != End::kNone) cause.severity = Severity::kError;
}

// What is told of the file's kind; of two files that were swapped for each other one stands for
// both.
Finding& kindOf(const std::string& file, std::vector<Finding>& findings) {
  const auto tells = [](const Finding& finding) { return finding.rule == kWrongKindOfFile; };
  const auto own = std::find_if(findings.begin(), findings.end(), [&](const Finding& finding) {
    return tells(finding) && finding.file == file;
  });
  return own != findings.end() ? *own : *std::find_if(findings.begin(), findings.end(), tells);
}

std::set<std::string> foreignFiles(const Subject& subject) {
  std::set<std::string> files;
  if (subject.environment.isForeign()) files.insert(subject.environment.file);
  for (const Configuration& configuration : subject.configurations)
    if (configuration.isForeign()) files.insert(configuration.file);
  return files;
}

void keepTheKindAlone(std::vector<Finding>& findings, const Subject& subject) {
  const auto tellsOfKind = [](const Finding& finding) { return finding.rule == kWrongKindOfFile; };
  // Where that rule is left out nothing else says what is the matter.
  if (std::none_of(findings.begin(), findings.end(), tellsOfKind)) return;
  const std::set<std::string> foreign = foreignFiles(subject);
  const auto follows = [&](const Finding& finding) {
    return foreign.count(finding.file) > 0 && !tellsOfKind(finding);
  };
  for (const Finding& finding : findings)
    if (follows(finding)) inherit(kindOf(finding.file, findings), finding);
  dropIf(findings, follows);
}

// What the daemon makes of the line is told with the character that is at fault.
void joinWithLookAlikes(std::vector<Finding>& findings) {
  std::map<Place, Finding*> lookAlikes;
  for (Finding& finding : findings)
    if (finding.rule == kLookAlikeCharacter) lookAlikes.emplace(placeOf(finding), &finding);
  std::set<Place> told;
  for (const Finding& finding : findings) {
    const auto cause = lookAlikes.find(placeOf(finding));
    if (cause == lookAlikes.end() || finding.rule == kLookAlikeCharacter) continue;
    if (told.insert(cause->first).second) cause->second->message += "; " + finding.message;
    inherit(*cause->second, finding);
  }
  dropIf(findings, [&](const Finding& finding) {
    return finding.rule != kLookAlikeCharacter && lookAlikes.count(placeOf(finding)) > 0;
  });
}

// What these rules tell of an item is mostly a mistake in the section of its sensor or device: the
// table that has become too short, the period that is no longer there.
const std::set<std::string> kOftenOfTheBoard = {"level-past-table", "start-level-past-table",
                                                "floor-past-table", "period-below-sensors"};

void tellOnce(std::vector<Finding>& findings) {
  std::map<std::pair<std::string, std::string>, std::vector<Finding*>> same;
  for (Finding& finding : findings)
    if (kOftenOfTheBoard.count(finding.rule) > 0)
      same[{finding.rule, finding.message}].push_back(&finding);
  for (const auto& [telling, places] : same) {
    if (places.size() == 1) continue;
    for (Finding* repeated : places)
      repeated->message.clear();
    places.front()->message =
        telling.second + "; so in " + counted(places.size() - 1, "further place");
  }
  dropIf(findings, [](const Finding& finding) { return finding.message.empty(); });
}

// What one mistake of an item has others say of it: a digit that lacks leaves each clearing value
// above its threshold, and a device of another kind has another table.
const std::map<std::string, std::set<std::string>> kFollowsInItem = {
    {"thresholds-tenfold", {"clearing-not-below-threshold"}},
    {"must-cool", {"sensor-cooled-late"}},
    {"ss-on-camera", {"floor-past-table", "start-level-past-table"}},
    {"ss-on-report", {"floor-past-table", "start-level-past-table"}}};

void dropWhatFollowsInItem(std::vector<Finding>& findings, const Subject& subject) {
  using Block = std::tuple<std::string, std::string, std::string>;
  const auto blockOf = [&](const Finding& finding) {
    const Whereabouts where = whereaboutsOf(finding, subject.environment, subject.configurations);
    return Block(finding.file, where.scenario, where.block);
  };
  std::set<std::pair<Block, std::string>> following;
  for (const Finding& finding : findings)
    if (const auto follows = kFollowsInItem.find(finding.rule); follows != kFollowsInItem.end())
      for (const std::string& rule : follows->second)
        following.emplace(blockOf(finding), rule);
  if (following.empty()) return;
  dropIf(findings, [&](const Finding& finding) {
    return finding.end == End::kNone && following.count({blockOf(finding), finding.rule}) > 0;
  });
}

} // namespace

// The widest cause first: of a file of another kind nothing else is worth saying, and of a line
// with a character that only looks right nothing but that.
std::vector<Finding> withoutWhatFollows(std::vector<Finding> findings, const Subject& subject) {
  keepTheKindAlone(findings, subject);
  joinWithLookAlikes(findings);
  dropWhatFollowsInItem(findings, subject);
  tellOnce(findings);
  return findings;
}
