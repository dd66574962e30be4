#include "study/StudyRun.h"

#include <memory>
#include <string>
#include <vector>

#include "report/Judgement.h"
#include "simulate/Engine.h"
#include "study/Jobs.h"
#include "study/StudyProgress.h"
#include "text/Characters.h"
#include "text/Phrases.h"

namespace {

constexpr double kMillisecondsPerHour = 3'600'000;

class StudyRun {
public:
  StudyRun(const Study& study_, bool inOrder_, RunReport& report_, std::ostream& warnings_)
      : study(study_), inOrder(inOrder_), report(report_), warnings(warnings_),
        outcomes(study.cells.size()),
        progress("run", study.cells.size(), study.inputs.front().duration) {}

  void work(size_t index) {
    const Study::Cell& cell = study.cells[index];
    const RunInput input = study.inputOf(cell);
    Outcome& outcome = outcomes[index];
    outcome.part = report.part(index, inOrder);
    int64_t shown = 0;
    const auto advanceTo = [&](int64_t time) {
      progress.advance(time - shown);
      shown = time;
    };
    const Engine::Listener listener = {advanceTo, [&](int64_t time, const std::string& what) {
                                         outcome.warnings += visible(cell.name) + ": warning: at " +
                                                             clockTime(time / 1000) + " " + what +
                                                             "\n";
                                       }};
    Engine engine(input, *outcome.part, listener);
    engine.run();
    RunResult& result = outcome.part->result();
    result.identity["configuration"] = cell.configuration;
    result.identity["workload"] = cell.workload;
    result.identity["seed"] = cell.seed;
    result.figures["wakeups_per_hour"] =
        figure(static_cast<double>(engine.wakeups()) * kMillisecondsPerHour /
               static_cast<double>(input.duration));
    advanceTo(input.duration);
    progress.finishOne();
  }

  void settle(size_t index) {
    Outcome outcome = std::move(outcomes[index]);
    report.take(*outcome.part, study.cells.size() <= kSideBySide);
    if (outcome.warnings.empty()) return;
    progress.clear();
    warnings << outcome.warnings;
  }

private:
  // What is left of a run until its turn comes.
  struct Outcome {
    std::unique_ptr<RunReport::Part> part;
    std::string warnings;
  };

  const Study& study;
  const bool inOrder;
  RunReport& report;
  std::ostream& warnings;
  std::vector<Outcome> outcomes;
  StudyProgress progress;
};

} // namespace

void runStudy(const Study& study, size_t threads, RunReport& report, std::ostream& warnings) {
  StudyRun run(study, threads == 1 || study.cells.size() == 1, report, warnings);
  runJobs(
      study.cells.size(), threads, [&run](size_t index) { run.work(index); },
      [&run](size_t index) { run.settle(index); });
}
