#include "thermalctl/support/Examples.h"

#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "base/TextReader.h"
#include "board/Configuration.h"
#include "board/Environment.h"
#include "check/Check.h"

namespace {

namespace fs = std::filesystem;

const fs::path kExamples = THERMALCTL_EXAMPLES;

bool isThere(const std::string& name) {
  return fs::exists(kExamples / name);
}

} // namespace

std::string exampleText(const std::string& name) {
  const std::optional<std::string> text = readFile((kExamples / name).string());
  EXPECT_TRUE(text) << name;
  return text.value_or("");
}

std::vector<Finding> findingsOf(const std::string& example) {
  const std::string board = isThere(example + ".env") ? example + ".env" : "board.env";
  const Environment environment = readEnvironment(board, exampleText(board));
  std::vector<Configuration> configurations;
  const std::string configuration = example + ".conf";
  if (isThere(configuration))
    configurations.push_back(
        readConfiguration(configuration, exampleText(configuration), environment));
  return check({environment, configurations, std::nullopt}, {});
}

std::vector<std::string> allExamples() {
  std::set<std::string> names;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(kExamples)) {
    const fs::path name = fs::relative(entry.path(), kExamples);
    if (entry.is_regular_file() && name.has_parent_path())
      names.insert((name.parent_path() / name.stem()).string());
  }
  return {names.begin(), names.end()};
}
