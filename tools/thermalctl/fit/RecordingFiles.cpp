#include "fit/RecordingFiles.h"

#include <algorithm>
#include <filesystem>
#include <memory>

#include <fmt/format.h>

#include "fit/MeasurementFile.h"
#include "log/CsvRecording.h"
#include "log/JoinedLog.h"
#include "log/LineFile.h"
#include "log/LogRecording.h"
#include "text/Phrases.h"
#include "trace/Trace.h"

namespace {

namespace fs = std::filesystem;

// Behind this a time counts from 1970 and not from the start of its file.
constexpr double kEpoch = 1e8;

// Takes what a daemon's log or trace says of sensors and devices.
class LogTaker : public TraceSink {
public:
  LogTaker(RecordedFile& file_, const PlantDescription& plant_, const TraceDescription& board_)
      : file(file_), plant(plant_), board(board_) {}

  void begin(const TraceDescription& run) override {
    outputs.assign(run.sensors.size(), std::nullopt);
    devices.assign(run.devices.size(), std::nullopt);
    for (size_t i = 0; i < run.sensors.size(); ++i)
      if (run.sensors[i].kind != SensorTrack::Kind::kPlantNode)
        outputs[i] = probeNamed(run.sensors[i].name);
    for (size_t i = 0; i < run.devices.size(); ++i)
      devices[i] = deviceNamed(run.devices[i].name);
    ++runs;
  }

  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override {
    if (!outputs[sensor] || runs > 1) return;
    const double seconds = static_cast<double>(time) / 1000;
    // The daemon reads 0 from a node that gave nothing once.
    if (millidegrees == 0) {
      ++zeros;
      return;
    }
    const auto at = static_cast<uint32_t>(file.readings.size());
    // All that is read in one millisecond is one row.
    if (file.rows.empty() || file.rows.back().time < seconds)
      file.rows.push_back({seconds, at, at, 0});
    file.readings.push_back({*outputs[sensor], millidegrees / 1000.0});
    file.rows.back().end = at + 1;
  }

  void level(int64_t time, size_t device, int32_t level, const std::string&) override {
    if (!devices[device] || runs > 1) return;
    file.changes.push_back({static_cast<double>(time) / 1000, RecordedChange::Kind::kLevel,
                            *devices[device], static_cast<double>(level)});
  }

  void gap(int64_t from, int64_t to, std::optional<size_t> sensor) override {
    if (!sensor && runs == 1)
      file.gaps.emplace_back(static_cast<double>(from) / 1000, static_cast<double>(to) / 1000);
  }

  void end(int64_t time, const std::vector<Performance>&) override {
    if (runs == 1) file.last = static_cast<double>(time) / 1000;
  }

  size_t runs = 0;
  size_t zeros = 0;

private:
  std::optional<uint32_t> probeNamed(const std::string& name) const {
    for (size_t i = 0; i < plant.probes.size(); ++i)
      if (board.sensors[plant.probes[i].sensor].name == name) return static_cast<uint32_t>(i);
    return std::nullopt;
  }

  std::optional<uint32_t> deviceNamed(const std::string& name) const {
    for (size_t i = 0; i < board.devices.size(); ++i)
      if (board.devices[i].name == name) return static_cast<uint32_t>(i);
    return std::nullopt;
  }

  RecordedFile& file;
  const PlantDescription& plant;
  const TraceDescription& board;
  std::vector<std::optional<uint32_t>> outputs, devices;
};

class Files {
public:
  Files(const PlantDescription& plant_, const BoardFolder& board_, Problems& problems_,
        std::vector<std::string>& remarks_)
      : plant(plant_), board(board_), problems(problems_), remarks(remarks_) {}

  // Three kinds of files: a trace of the simulator, known by its first line; any other .csv, also
  // a compressed one, is a table of measurements; and all else a log of the daemon.
  std::optional<RecordedFile> read(const std::string& path) {
    LineFile lines(path);
    if (!lines.problem().empty()) return fail(path, lines.problem());
    std::string_view first;
    const bool isTrace = lines.next(first) && isCsvTrace(first);
    lines.rewind();
    if (isTrace || !isTable(path)) return readLog(lines, path, isTrace);
    RecordedFile file =
        readMeasurements(lines, path, plant, board.description(), problems, remarks);
    if (!lines.damage().empty()) remarks.push_back(path + ": " + lines.damage());
    return file;
  }

private:
  std::optional<RecordedFile> fail(const std::string& path, const std::string& what) {
    problems.add({path, {}, what});
    return std::nullopt;
  }

  static bool isTable(const fs::path& path) {
    const fs::path name = path.extension() == ".gz" ? path.stem() : path;
    return name.extension() == ".csv";
  }

  std::optional<RecordedFile> readLog(LineFile& lines, const std::string& path, bool isTrace) {
    RecordedFile file;
    file.name = path;
    JoinedLog joined({{path, &lines, {}}});
    std::unique_ptr<Recording> recording;
    if (isTrace)
      recording = std::make_unique<CsvRecording>(lines, "", &board);
    else
      recording = std::make_unique<LogRecording>(joined, path, &board);
    if (const auto problem = recording->problem()) return fail(path, *problem);
    for (const std::string& remark : recording->remarks())
      remarks.push_back(fmt::format("{}: {}", path, remark));
    LogTaker taker(file, plant, board.description());
    recording->play(taker);
    if (taker.runs > 1) remarks.push_back(path + ": of its runs only the first is taken");
    if (taker.zeros > 0)
      remarks.push_back(path + ": " + counted(taker.zeros, "reading") +
                        " of 0, as after a read that failed: left out");
    return file;
  }

  const PlantDescription& plant;
  const BoardFolder& board;
  Problems& problems;
  std::vector<std::string>& remarks;
};

// What holds on without an end has as its last time a number beyond all times.
double endOf(const RecordedFile& file) {
  return std::max({file.rows.empty() ? file.first : file.rows.back().time,
                   file.changes.empty() ? file.first : file.changes.back().time,
                   file.last < kEpoch * kEpoch ? file.last : file.first});
}

// Times since 1970 share their start; so the numbers stay small.
void rebase(std::vector<RecordedFile>& files) {
  double start = 0;
  for (const RecordedFile& file : files)
    if (file.first > kEpoch) start = start > 0 ? std::min(start, file.first) : file.first;
  for (RecordedFile& file : files)
    if (file.first > kEpoch) shift(file, -start);
}

// With the distance of two clocks that a fit can find, and no more: files of two days would be
// shifted over one another and fitted as one.
bool overlap(const std::vector<RecordedFile>& files, Problems& problems) {
  const RecordedFile& first = files.front();
  bool all = true;
  for (size_t i = 1; i < files.size(); ++i) {
    const RecordedFile& other = files[i];
    if (other.first < endOf(first) + kClocksApart && first.first < endOf(other) + kClocksApart)
      continue;
    const int line = other.rows.empty() ? 0 : other.rows.front().line;
    problems.add({other.name,
                  {{line, 1}, 1},
                  fmt::format("the files of a recording do not overlap: this one goes from {:g} s "
                              "to {:g} s, and {} from {:g} s to {:g} s",
                              other.first, endOf(other), first.name, first.first, endOf(first)),
                  "clocks may be a minute apart; give what was recorded at another time as a "
                  "recording of its own"});
    all = false;
  }
  return all;
}

// Without a word about it, a source would count as off.
bool tellsAllLoads(const Recorded& recorded, const PlantDescription& plant, Problems& problems) {
  std::vector<std::string> untold;
  for (size_t i = 0; i < plant.sources.size(); ++i) {
    const auto tells = [i](const RecordedChange& change) {
      return change.index == i && (change.kind == RecordedChange::Kind::kLoad ||
                                   change.kind == RecordedChange::Kind::kWatts);
    };
    bool told = plant.sources[i].load.has_value();
    for (const RecordedFile& file : recorded.files)
      told |= std::any_of(file.changes.begin(), file.changes.end(), tells);
    if (!told) untold.push_back(plant.sources[i].name);
  }
  if (untold.empty()) return true;
  problems.add({recorded.name,
                {},
                "nothing tells what " + listed(untold) + (untold.size() > 1 ? " give" : " gives") +
                    " off: no file has a column of that name",
                "add a column '" + untold.front() + "' of its load or '" + untold.front() +
                    ":W' of its watts, or give the source a 'load' in the plant"});
  return false;
}

} // namespace

void shift(RecordedFile& file, double by) {
  file.first += by;
  file.last += by;
  for (ReadingRow& row : file.rows)
    row.time += by;
  for (RecordedChange& change : file.changes)
    change.time += by;
  for (auto& [from, to] : file.gaps) {
    from += by;
    to += by;
  }
}

std::optional<Recorded> readRecording(const std::vector<std::string>& paths,
                                      const PlantDescription& plant, const BoardFolder& board,
                                      Problems& problems, std::vector<std::string>& remarks) {
  Recorded recorded;
  Files files(plant, board, problems, remarks);
  bool all = true;
  for (const std::string& path : paths) {
    recorded.name += (recorded.name.empty() ? "" : ",") + path;
    auto file = files.read(path);
    all &= file.has_value();
    if (file) recorded.files.push_back(std::move(*file));
  }
  if (paths.empty()) problems.add({"--recording", {}, "names no file"});
  if (!all || !problems.none()) return std::nullopt;
  rebase(recorded.files);
  if (!overlap(recorded.files, problems) || !tellsAllLoads(recorded, plant, problems))
    return std::nullopt;
  return problems.none() ? std::optional(std::move(recorded)) : std::nullopt;
}
