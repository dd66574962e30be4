#pragma once

#include <chrono>

// The fixed words and places by which the daemon and those who deal with it find each other. Each
// stands here alone.

// In force from the start, and again where a new configuration does not declare the scenario that
// was.
inline constexpr char kDefaultScenario[] = "Default";

// Stands before the name of a scenario whose configuration is replaced. An entry is dropped with it
// that holds the mark anywhere.
inline constexpr char kRetiredMark[] = "OLDSCEN_";

// What the daemon is told of the board, and what the maker has it do.
inline constexpr char kEnvironmentFile[] = "/vendor/etc/talmor-thermal.env";
inline constexpr char kFactoryConfiguration[] = "/vendor/etc/talmor-thermal.conf";
// Under which the factory's configuration is installed, unless the environment has a name for it.
inline constexpr char kDefaultConfiguration[] = "talmor-thermal_default.conf";

// The daemon's own directory, and below it the configurations and the two control files.
inline constexpr char kDataDirectory[] = "/data/vendor/thermal";
inline constexpr char kConfigurationFolder[] = "/config/";
inline constexpr char kScenarioFile[] = "/talmor-thermal.scen";
inline constexpr char kRequestFile[] = "/talmor-thermal.dconf";

// What the daemon takes for a control file that is not there: a word in the file does as well as
// its absence.
inline constexpr char kNoFile[] = "ENOFILE";
// What the request file holds when nothing is asked of it; also the answer to every request.
inline constexpr char kParsed[] = "PARSED";

// The daemon's sleep between two looks at the control files.
inline constexpr std::chrono::milliseconds kControlPeriod{1000};
