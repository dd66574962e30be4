// The two control files: an input's parts, with lines of "----" between them, are in turn what the
// scenario file and the request file hold before each cycle of the scenario thread. A part that
// reads "(none)" removes the file. The board has two configurations to swap and no sensor thread.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/TextReader.h"
#include "sensor/Real.h"
#include "support/FuzzedBoard.h"
#include "support/Parts.h"
#include "support/Require.h"
#include "support/Target.h"
#include "thread/MonitorThread.h"
#include "thread/ScenarioThread.h"

namespace {

constexpr size_t kMostCycles = 32;
constexpr char kRemoved[] = "(none)\n";

std::string item(const std::string& name) {
  return "[" + name + "]\nalgo_type monitor\nsensor cpu\nthresholds 1\nthresholds_clr 1\n" +
         "actions fan\naction_info 1\n\n";
}

// A directory of its own, gone when the run is over.
class ControlFiles {
public:
  ControlFiles() {
    std::string pattern = std::filesystem::temp_directory_path() / "talmor-thermal-XXXXXX";
    require(::mkdtemp(pattern.data()) != nullptr, "a temporary directory can be made");
    folder = pattern;
    std::filesystem::create_directory(folder / "config");
    write("config/day", day());
    write("config/night", night());
    write("board.env", "");
    write("factory.conf", "");
  }
  ~ControlFiles() { std::filesystem::remove_all(folder); }
  ControlFiles(const ControlFiles&) = delete;
  ControlFiles& operator=(const ControlFiles&) = delete;

  static std::string day() {
    return "SCEN Default\n" + item("a") + "SCEN game\n" + item("b") + "SCEN ENOFILE\n" + item("c");
  }
  static std::string night() { return "SCEN Default\n" + item("d") + "SCEN \xff\n" + item("e"); }

  std::string path(const std::string& name) const { return folder / name; }
  std::string read(const std::string& name) const { return readFile(path(name)).value_or(""); }
  void write(const std::string& name, const std::string& text) const {
    std::ofstream(path(name), std::ios::binary) << text;
  }
  void prepare(const std::string& name, const std::string& text) const {
    if (text == kRemoved)
      std::filesystem::remove(path(name));
    else
      write(name, text);
  }

private:
  std::filesystem::path folder;
};

// The requested name is joined to a path: no word of an input may lead out of the directory.
std::string withoutSlashes(std::string text) {
  std::replace(text.begin(), text.end(), '/', '_');
  return text;
}

// The first word, found without a stream.
std::string firstWord(const std::string& text) {
  constexpr char kWhiteSpace[] = " \t\n\v\f\r";
  const size_t begin = text.find_first_not_of(kWhiteSpace);
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_first_of(kWhiteSpace, begin) - begin);
}

class ControlledBoard : public FuzzedBoard {
public:
  ControlledBoard(const ControlFiles& files_, Sensor& cpu)
      : FuzzedBoard(Paths{files_.path("factory.conf"), files_.path("board.env"),
                          files_.path("config/"), files_.path("request"), files_.path("wanted")}),
        files(files_) {
    sensors["cpu"] = &cpu;
    // Every worker that a swap can ask for is there and counts as running, so no thread starts.
    parseConfiguration(ControlFiles::night());
    parseConfiguration(ControlFiles::day());
    for (const auto& [key, worker] : monitorThreads)
      worker->started = true;
    scenarioThread->started = true;
    confFileName = "day";
  }

  void cycle(const std::string& wanted, const std::string& request) {
    files.prepare("wanted", wanted);
    files.prepare("request", request);
    ScenarioThread& thread = *scenarioThread;
    const bool reads = thread.currentScenName == thread.requestedScenName;
    const bool applies = thread.confState != "PARSED";
    const std::string word = firstWord(wanted);
    const bool known = wanted != kRemoved && word != "ENOFILE" && scenarios.count(word) != 0;
    const std::string inForce = thread.currentScenName;
    rememberScenarios();

    thread.cycle();

    if (applies) {
      require(thread.confState == "PARSED" && files.read("request") == "PARSED",
              "a request that was applied is acknowledged");
    } else if (reads) {
      require(thread.requestedScenName == (known ? word : inForce),
              "a known word is wanted from then on, any other changes nothing");
      require(files.read("wanted") == (known ? wanted : inForce),
              "a known word stays as it is written, any other is overwritten");
    }
    const std::string& current = thread.currentScenName;
    require(current == "Default" || scenarios.count(current) != 0, "the scenario in force exists");
    require(thread.confState == "PARSED" || findConfFile(thread.confState),
            "only a file that is there is taken over");
    require(std::all_of(threads.begin(), threads.end(),
                        [](const auto& entry) { return !entry.second; }),
            "no thread has started");
  }

private:
  const ControlFiles& files;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const ControlFiles files;
  const std::vector<std::string> parts = partsOf(data, size);
  Real cpu("cpu", 1000, "");
  ControlledBoard board(files, cpu);
  for (const std::string& part : parts) {
    files.prepare("wanted", part);
    const std::string word = board.scenarioThread->checkStringInFile(files.path("wanted"));
    require(word == (part == kRemoved ? "ENOFILE" : firstWord(part)),
            "the word of a control file is its first");
  }
  for (size_t i = 0; i < std::min(parts.size(), 2 * kMostCycles); i += 2)
    board.cycle(parts[i], i + 1 < parts.size() ? withoutSlashes(parts[i + 1]) : "PARSED");
  return 0;
}
