#include "command/UnitOption.h"

#include "margin/Sampling.h"
#include "margin/ToleranceFile.h"
#include "study/Seeds.h"

void addUnitOptions(CommandLine& line, UnitOption& option) {
  line.option("--unit", &option.unit,
              "Run this unit of those that --tolerances makes, as margin does")
      .takes("NUMBER");
  line.option("--tolerances", &option.tolerances,
              "What differs from unit to unit, such as boards/phone/tolerances.toml")
      .takes("FILE");
}

Study studyOfUnit(const UnitOption& option, const Study& study, const StudyRequest& request,
                  Problems& problems) {
  if (option.tolerances.empty())
    problems.add({"--unit " + option.unit, {}, "is one of what population?", "give --tolerances"});
  if (option.unit.empty())
    problems.add({"--tolerances " + option.tolerances,
                  {},
                  "makes many units, and one is run here",
                  "give --unit, or run thermalctl margin"});
  if (!problems.none()) return study;
  const uint64_t unit = countIn("--unit", option.unit, "a unit's number from 1 on", problems);
  const Tolerated tolerated =
      readTolerances(option.tolerances, study.inputs, request.plant, problems);
  return problems.none() ? ofUnit(study, tolerated.population, unit) : study;
}

uint64_t countIn(const std::string& option, const std::string& text, const std::string& must,
                 Problems& problems) {
  constexpr uint64_t kMost = 1'000'000'000;
  const SeedsText read = readSeeds(text);
  if (read.seeds && read.seeds->size() == 1 && text.find_first_of(".,") == std::string::npos &&
      read.seeds->front() >= 1 && read.seeds->front() <= kMost)
    return read.seeds->front();
  problems.add({option + " " + text, {}, "must be " + must});
  return 1;
}
