#include "study/Parting.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "simulate/Engine.h"
#include "text/Phrases.h"

namespace {

// How far one of the runs may be ahead.
constexpr int64_t kStride = 60'000; // milliseconds

constexpr size_t kInOneAlone = std::numeric_limits<size_t>::max();

// What there is to be compared in a run, in the order in which it is told.
std::vector<std::string> subjectsOf(const TraceDescription& run) {
  std::vector<std::string> subjects = {"configuration", "scenario"};
  for (const DeviceTrack& device : run.devices)
    subjects.push_back("level of " + device.name);
  for (const SensorTrack& sensor : run.sensors)
    subjects.push_back((sensor.isNode() ? "temperature of node:" : "temperature of ") +
                       sensor.name);
  return subjects;
}

// What a run shows, as far as nobody has looked at it yet.
class Course : public TraceSink {
public:
  // One of a subject's values, from a moment on.
  struct Event {
    int64_t time;
    size_t subject;
    std::string value;
  };

  // `common` has a place for each subject of the run; kInOneAlone leaves one out.
  Course(const TraceDescription& run, std::vector<size_t> common_)
      : common(std::move(common_)), firstSensor(kFirstDevice + run.devices.size()) {}

  void configuration(int64_t time, const std::string& name) override { add(time, 0, name); }
  void scenario(int64_t time, const std::string& name) override { add(time, 1, name); }
  void level(int64_t time, size_t device, int32_t level, const std::string& /*entry*/) override {
    add(time, kFirstDevice + device, std::to_string(level));
  }
  void temperature(int64_t time, size_t sensor, int32_t millidegrees) override {
    add(time, firstSensor + sensor, degrees(millidegrees) + " C");
  }

  std::vector<Event> events;

private:
  static constexpr size_t kFirstDevice = 2;

  void add(int64_t time, size_t subject, std::string value) {
    if (common[subject] != kInOneAlone) events.push_back({time, common[subject], std::move(value)});
  }

  const std::vector<size_t> common;
  const size_t firstSensor;
};

// Two runs with what they have in common.
class Pair {
public:
  Pair(const RunInput& before, const RunInput& now)
      : subjects(subjectsOf(before.description)), values(subjects.size()),
        end(std::min(before.duration, now.duration)),
        courses{Course(before.description, places(subjects, subjectsOf(now.description), subjects)),
                Course(now.description, places(subjectsOf(now.description), subjects, subjects))},
        engines{Engine(before, courses[0], quiet()), Engine(now, courses[1], quiet())} {}

  // Side by side and not one behind the other: the first difference ends both, and no more than a
  // minute of either is ever held.
  std::optional<Parting> run() {
    for (int64_t time = 0; time < end;) {
      time = std::min(end, time + kStride);
      for (Engine& engine : engines)
        engine.runTo(time);
      if (auto parting = compare()) return parting;
    }
    return std::nullopt;
  }

private:
  static Engine::Listener quiet() {
    return {[](int64_t) {}, [](int64_t, const std::string&) {}};
  }

  // Where among `all` each of the names stands that the others have, too.
  static std::vector<size_t> places(const std::vector<std::string>& names,
                                    const std::vector<std::string>& others,
                                    const std::vector<std::string>& all) {
    std::map<std::string, size_t> indices;
    for (size_t i = 0; i < all.size(); ++i)
      indices[all[i]] = i;
    std::vector<size_t> result;
    for (const std::string& name : names) {
      const bool isShared = std::find(others.begin(), others.end(), name) != others.end();
      result.push_back(isShared ? indices.at(name) : kInOneAlone);
    }
    return result;
  }

  // Within one moment only its end counts: the boards may name their parts in another order.
  std::optional<Parting> compare() {
    std::array<size_t, 2> next{};
    std::optional<Parting> parting;
    while (!parting && (next[0] < courses[0].events.size() || next[1] < courses[1].events.size()))
      parting = compareMoment(next);
    for (Course& course : courses)
      course.events.clear();
    return parting;
  }

  std::optional<Parting> compareMoment(std::array<size_t, 2>& next) {
    int64_t time = std::numeric_limits<int64_t>::max();
    for (size_t side = 0; side < 2; ++side)
      if (next[side] < courses[side].events.size())
        time = std::min(time, courses[side].events[next[side]].time);
    std::set<size_t> moved;
    for (size_t side = 0; side < 2; ++side) {
      std::vector<Course::Event>& events = courses[side].events;
      for (size_t& i = next[side]; i < events.size() && events[i].time == time; ++i) {
        values[events[i].subject][side] = std::move(events[i].value);
        moved.insert(events[i].subject);
      }
    }
    for (const size_t subject : moved) {
      const auto& [before, now] = values[subject];
      if (before != now)
        return Parting{time, subjects[subject], before.value_or("unknown"),
                       now.value_or("unknown")};
    }
    return std::nullopt;
  }

  const std::vector<std::string> subjects;
  std::vector<std::array<std::optional<std::string>, 2>> values; // in force, of each subject
  const int64_t end;
  std::array<Course, 2> courses;
  std::array<Engine, 2> engines;
};

} // namespace

std::optional<Parting> partingOf(const RunInput& before, const RunInput& now) {
  return Pair(before, now).run();
}
