#include "check/Silencing.h"

#include <algorithm>
#include <filesystem>

#include "base/Names.h"
#include "check/Check.h"
#include "check/Whereabouts.h"
#include "check/configuration/ConfigurationRules.h"
#include "check/environment/EnvironmentRules.h"
#include "text/Nearest.h"

// An entry of the settings file takes findings of one rule out, and says where and why:
//   [[silenced]]
//   rule = "sensor-uncooled"
//   file = "night.conf"
//   scenario = "night"
//   reason = "the charger is off at night"

namespace {

namespace fs = std::filesystem;

fs::path folderOf(const Settings& settings) {
  return fs::path(settings.file).parent_path();
}

fs::path inFull(const fs::path& path) {
  std::error_code error;
  const fs::path full = fs::weakly_canonical(fs::absolute(path, error), error);
  return error ? path : full;
}

// A bare name means a file of that name wherever it stands: the daemon keeps its configurations in
// another folder than the environment.
bool isFile(const Silenced& silenced, const std::string& name, const Settings& settings) {
  if (silenced.file.find('/') == std::string::npos && fs::path(name).filename() == silenced.file)
    return true;
  return inFull(folderOf(settings) / silenced.file) == inFull(name);
}

bool isThere(const Silenced& silenced, const Finding& finding, const Subject& subject) {
  if (finding.rule != silenced.rule.text || !isFile(silenced, finding.file, subject.settings))
    return false;
  const bool inEnvironment = finding.file == subject.environment.file;
  const Whereabouts where = whereaboutsOf(finding, subject.environment, subject.configurations);
  // What an entry does not say it does not ask for; what it says must hold.
  if (silenced.section && (!inEnvironment || where.block != *silenced.section)) return false;
  if (silenced.item && (inEnvironment || where.block != *silenced.item)) return false;
  return !silenced.scenario || (!inEnvironment && where.scenario == *silenced.scenario);
}

std::vector<std::string> filesOf(const Subject& subject) {
  std::vector<std::string> files = {subject.environment.file};
  for (const Configuration& configuration : subject.configurations)
    files.push_back(configuration.file);
  return files;
}

bool hasRule(const std::vector<Rule>& rules, const std::string& name) {
  return std::any_of(rules.begin(), rules.end(),
                     [&name](const Rule& rule) { return rule.name == name; });
}

// Whether this run looks at the file, and in the way of the rule.
bool isAsked(const Silenced& silenced, const Subject& subject) {
  const std::string& rule = silenced.rule.text;
  // Rules that were not asked for find nothing, and their silence says nothing about the entry.
  if (!subject.nodesRoot && hasRule(kNodeRules, rule)) return false;
  if (subject.configurations.empty() && hasRule(configurationRules(), rule)) return false;
  const std::vector<std::string> files = filesOf(subject);
  return std::any_of(files.begin(), files.end(), [&](const std::string& file) {
    return isFile(silenced, file, subject.settings);
  });
}

// The names of the files beside the settings.
std::vector<std::string> filesBeside(const Settings& settings) {
  std::vector<std::string> names;
  std::error_code error;
  const fs::path folder = folderOf(settings);
  for (const fs::directory_entry& entry :
       fs::directory_iterator(folder.empty() ? "." : folder, error))
    names.push_back(entry.path().filename().string());
  return names;
}

std::string placeOf(const Silenced& silenced) {
  std::string place;
  if (!silenced.item && !silenced.section && !silenced.scenario) return " in " + silenced.file;
  if (silenced.item) place += " in item '" + *silenced.item + "'";
  if (silenced.section) place += " in section '" + *silenced.section + "'";
  if (silenced.scenario) place += " in scenario '" + *silenced.scenario + "'";
  return place + " of " + silenced.file;
}

// What to do about an entry that finds nothing: a name in it may be a slip.
Message hintForVain(const Silenced& silenced, const Subject& subject) {
  std::vector<std::string> sections;
  for (const Section& section : subject.environment.sections)
    sections.push_back(section.name);
  std::vector<std::string> items;
  std::vector<std::string> scenarios = {kDefaultScenario};
  for (const Configuration& configuration : subject.configurations) {
    if (!isFile(silenced, configuration.file, subject.settings)) continue;
    for (const Item* item : configuration.meant)
      items.push_back(item->name);
    for (const ScenarioLine& line : configuration.scenarioLines)
      scenarios.push_back(line.name.text);
  }
  std::string hint = didYouMean(silenced.section.value_or(""), sections);
  if (hint.empty()) hint = didYouMean(silenced.item.value_or(""), items);
  if (hint.empty()) hint = didYouMean(silenced.scenario.value_or(""), scenarios);
  return hint.empty() ? "take the entry out" : hint;
}

void tellOfVain(const Silenced& silenced, Context& context) {
  const auto there = [&](const Finding& finding) {
    return isThere(silenced, finding, context.subject);
  };
  const std::vector<Finding>& told = context.told();
  const auto first = std::find_if(told.begin(), told.end(), there);
  if (first == told.end())
    return context.tellInSettings(silenced.rule,
                                  {"'{}' no longer finds anything{}: this silences nothing",
                                   silenced.rule.text, placeOf(silenced)},
                                  hintForVain(silenced, context.subject));
  if (std::any_of(first, told.end(), [&](const Finding& finding) {
        return finding.end != End::kNone && there(finding);
      }))
    context.tellInSettings(silenced.rule,
                           {"what '{}' finds{} ends the daemon, and is not silenced",
                            silenced.rule.text, placeOf(silenced)},
                           "put that right, and take the entry out");
}

void tellOfOne(const Silenced& silenced, Context& context) {
  const Settings& settings = context.subject.settings;
  std::error_code error;
  if (isAsked(silenced, context.subject))
    tellOfVain(silenced, context);
  else if (const std::vector<std::string> files = filesOf(context.subject);
           !fs::exists(folderOf(settings) / silenced.file, error) &&
           std::none_of(files.begin(), files.end(),
                        [&](const std::string& file) { return isFile(silenced, file, settings); }))
    context.tellInSettings(silenced.rule,
                           {"there is no file '{}': this silences nothing", silenced.file},
                           didYouMean(silenced.file, filesBeside(settings),
                                      "write the name of a file in the folder of the settings"));
}

} // namespace

const Silenced* silencerOf(const Finding& finding, const Subject& subject) {
  if (finding.end != End::kNone) return nullptr;
  const std::vector<Silenced>& all = subject.settings.silenced;
  const auto found = std::find_if(all.begin(), all.end(), [&](const Silenced& silenced) {
    return isThere(silenced, finding, subject);
  });
  return found == all.end() ? nullptr : &*found;
}

const std::vector<Rule> kSettingsRules = {
    {"silenced-in-vain", Severity::kWarning,
     "An entry of the settings file silences nothing. What it was written for no longer occurs, so "
     "that it would hide the next mistake of that kind; or its file is not there; or what it is to "
     "hide ends the daemon, which nothing hides. Take the entry out.",
     [](Context& context) {
       for (const Silenced& silenced : context.subject.settings.silenced)
         tellOfOne(silenced, context);
     }},
};
