#include "command/Replay.h"

#include <gtest/gtest.h>

namespace {

TEST(ReplayCommandTest, WithoutOptionsOnlyTheSeedIsLeft) {
  EXPECT_EQ(replayOf({}, "", 7), "thermalctl simulate --seed 7");
}

TEST(ReplayCommandTest, NamesWhateverWasGivenAsAShellTakesIt) {
  SimulateOptions run;
  run.board = "my board";
  run.study = "study.toml";
  run.environment = "board.env";
  run.configurations = {"day.conf", "night.conf"};
  run.plant = "plant.toml";
  run.workloads = {"game", "idle"};
  run.duration = "90s";
  run.budgets.limits = {"skin=43C", "p95:skin=42C"};
  run.budgets.requirements = {"changes:big<=6/min"};
  EXPECT_EQ(replayOf(run, "tolerances.toml", 18446744073709551615U),
            "thermalctl simulate --board 'my board' --study study.toml --env board.env --conf "
            "day.conf --conf night.conf --plant plant.toml --workload game --workload idle "
            "--duration 90s --limit skin=43C --limit p95:skin=42C --require 'changes:big<=6/min' "
            "--tolerances tolerances.toml --seed 18446744073709551615");
}

TEST(ReplayCommandTest, HowARecordingIsLoopedIsSaidOfARecordingAlone) {
  SimulateOptions run;
  run.recording.loop = "open";
  EXPECT_EQ(replayOf(run, "", 1), "thermalctl simulate --seed 1");
  run.recording.files = "phone.log,rails.csv";
  EXPECT_EQ(replayOf(run, "", 1),
            "thermalctl simulate --recording phone.log,rails.csv --loop open --seed 1");
}

// What differs between two runs of one unit, or is no part of it.
TEST(ReplayCommandTest, LeavesOutWhatMakesNoOtherRun) {
  SimulateOptions run;
  run.jobs = 3;
  run.seeds = {"1..20"};
  run.outputs.out = "report";
  run.against = "results.json";
  run.unit.unit = "5";
  EXPECT_EQ(replayOf(run, "", 2), "thermalctl simulate --seed 2");
}

} // namespace
