#pragma once

#include <string_view>

// Every message of the daemon, as the format of its log line. Who reads the log goes by the same
// formats.
namespace message {

// Each begins with it; those of devices and decisions have it twice.
inline constexpr char kStart[] = "[TalmorThermal] ";

// The start of the daemon.
inline constexpr char kStarting[] = "[TalmorThermal] Using Env Config!\n";
inline constexpr char kEnvironmentRead[] = "[TalmorThermal] EnvParse Passed!\n";
inline constexpr char kConfigurationRead[] = "[TalmorThermal] ConfParse Passed!\n";
inline constexpr char kScenarioReady[] = "[TalmorThermal] initScenario Passed!\n";
inline constexpr char kThreadsEnded[] = "[TalmorThermal] RunThreads Passed!\n";

// The configuration: paths, and what ConfParser says of a failure.
inline constexpr char kCopied[] = "[TalmorThermal] Conf file is copied!(%s -> %s)\n";
inline constexpr char kNotCopied[] = "[TalmorThermal] Can't open : %s\n";
inline constexpr char kUnreadable[] = "[TalmorThermal] Unreadable conf file : %s\n";
inline constexpr char kParseFailure[] = "[TalmorThermal] [CONF PARSE FAIL] %s\n";

// Sensors: a node's path; a sensor's name, its scenario and millidegrees; the name of who watches
// it and that one's scenario.
inline constexpr char kNodeNotOpened[] = "[TalmorThermal] Can't open node: %s\n";
inline constexpr char kSample[] = "[TalmorThermal] Sensor [%s], Scen [%s] temp(%d)\n";
inline constexpr char kVirtualSample[] = "[TalmorThermal] Sensor[%s] temp(%d)\n";
inline constexpr char kWoken[] = "[TalmorThermal] Sensor [%s] activate Algo [%s], scen [%s]\n";
inline constexpr char kPutToSleep[] =
    "[TalmorThermal] Sensor [%s] deactivate Algo [%s], scen [%s]\n";

// Decisions: the item's name, millidegrees as it reads them, which are negated with `lowactive`,
// and its level or, of a step, what it asks for or how many steps it had. A step has its previous
// temperature first.
inline constexpr char kMonitorDecision[] =
    "[TalmorThermal] [TalmorThermal] Monitor [%s] temp(%d) status(%u -> %u)\n";
inline constexpr char kStepRequest[] =
    "[TalmorThermal] [TalmorThermal] SS [%s] temp(%d->%d) status(%d)\n";
inline constexpr char kStepRelease[] =
    "[TalmorThermal] [TalmorThermal] SS [%s] temp(%d->%d) status(%u -> 0)\n";

// Devices: the name.
inline constexpr char kDeviceNotOpened[] =
    "[TalmorThermal] [TalmorThermal] Device [%s] open failed\n";
inline constexpr char kEmptyTable[] =
    "[TalmorThermal] [TalmorThermal] statusApply: Level Table is Empty\n";

// A change of the scenario: names, the one in force before the one asked for.
inline constexpr char kNoScenarioFile[] = "[TalmorThermal] No scen file\n";
inline constexpr char kUnknownScenario[] = "[TalmorThermal] There is no scen name: %s\n";
inline constexpr char kChangeBegins[] = "[TalmorThermal] Changing Scenario Start (%s->%s)\n";
inline constexpr char kSensorThreadChanged[] =
    "[TalmorThermal] ScenChange for sensor Thread is done [%s]\n";
inline constexpr char kChangeDone[] = "[TalmorThermal] All scenChangeDone to %s\n";

// A swap of the configuration; the spelling of the last one is the system's own.
inline constexpr char kNoRequestFile[] = "[TalmorThermal] No conf file\n";
inline constexpr char kUnknownConfiguration[] = "[TalmorThermal] There is no conf file: %s\n";
inline constexpr char kSwapBegins[] = "[TalmorThermal] Start to apply new CONF file\n";
inline constexpr char kScenarioLost[] =
    "[TalmorThermal] There is no scen name in new conf file: %s\n";
inline constexpr char kSwapDone[] = "[TalmorThermal] Appling new CONF file is completed\n";

// All of them. `LOG_LINE` takes no other.
inline constexpr const char* kAll[] = {
    kStarting,
    kEnvironmentRead,
    kConfigurationRead,
    kScenarioReady,
    kThreadsEnded,
    kCopied,
    kNotCopied,
    kUnreadable,
    kParseFailure,
    kNodeNotOpened,
    kSample,
    kVirtualSample,
    kWoken,
    kPutToSleep,
    kMonitorDecision,
    kStepRequest,
    kStepRelease,
    kDeviceNotOpened,
    kEmptyTable,
    kNoScenarioFile,
    kUnknownScenario,
    kChangeBegins,
    kSensorThreadChanged,
    kChangeDone,
    kNoRequestFile,
    kUnknownConfiguration,
    kSwapBegins,
    kScenarioLost,
    kSwapDone,
};

// Whether a format is that of one of the messages.
constexpr bool isOne(std::string_view format) {
  for (const char* known : kAll) {
    if (known == format) return true;
  }
  return false;
}

} // namespace message
