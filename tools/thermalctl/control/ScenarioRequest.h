#pragma once

#include <chrono>
#include <string>
#include <system_error>

#include "control/ControlFile.h"
#include "control/Waiting.h"

enum class ScenarioOutcome {
  kInForce,
  kRefused,   // the daemon keeps to `word`
  kOvertaken, // another writer has asked for `word` meanwhile
  kNoAnswer,
  kNotWritten, // see `error`
};

struct ScenarioAnswer {
  ScenarioOutcome outcome;
  std::string word;
  std::error_code error;
};

// Asks the daemon for a scenario and waits until it is in force or refused.
//
// The file tells a refusal: the daemon writes the scenario in force back. It does not tell a word
// that was taken from one that nobody reads. So a second word follows, one that the daemon always
// answers with the scenario in force, and not before a switch that is due.
ScenarioAnswer askForScenario(ControlFile& file, const std::string& name,
                              std::chrono::milliseconds timeout, Waiting& waiting);
