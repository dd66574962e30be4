// A whole board: an environment, a configuration for it, what then happens, and optionally another
// configuration to swap in, with lines of "----" between them. Of what happens, a line each:
//   SCEN night               the scenario changes
//   CONF                     the configuration is swapped for the other one, or for itself
//   45000 51000 abc 0        these are the texts of the nodes, and every worker has a pass

#include <algorithm>
#include <utility>

#include "support/FuzzedBoard.h"
#include "support/Parts.h"
#include "support/Target.h"

namespace {

constexpr size_t kMostSteps = 100;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Nodes nodes;
  nodes.clear();
  std::vector<std::string> parts = partsOf(data, size, 3);
  std::string configuration = parts[1];
  std::string other = parts.size() > 3 ? parts[3] : configuration;

  FuzzedBoard board;
  board.parseEnvironment(parts[0], nodes);
  if (board.parseConfiguration(configuration)) return 0;
  const std::vector<std::string> steps = linesOf(parts[2]);
  for (size_t i = 0; i < std::min(steps.size(), kMostSteps); ++i) {
    const std::vector<std::string> words = wordsOf(steps[i]);
    if (words.size() == 2 && words[0] == "SCEN") {
      board.changeScenario(words[1]);
    } else if (words.size() == 1 && words[0] == "CONF") {
      std::swap(configuration, other);
      if (!board.swapConfiguration(configuration)) return 0;
    } else {
      nodes.write(words);
      board.pass();
    }
    board.check();
  }
  return 0;
}
