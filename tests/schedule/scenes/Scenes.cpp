#include "scenes/Scene.h"

namespace {

using Event = Scene::Event;

// Two sensor threads. All periods divide the second of the scenario thread, so that nearly everybody
// wakes at the moment of a change.
const std::string kBoard = R"([conf]
type conf_file
file_name first.conf

[cpu]
type real
sampling 500
node_path @cpu

[skin]
type real
sampling 1000
node_path @skin

[fan]
type charger
node_path /dev/null
level_table 0 1 2 3

[led]
type charger
node_path /dev/null
level_table 0 1 2 3
)";

std::string monitor(const std::string& name, const std::string& sensor, int sampling,
                    const std::string& device, int level) {
  return "[" + name + "]\nalgo_type monitor\nsensor " + sensor + "\nsampling " +
         std::to_string(sampling) + "\nthresholds 40000\nthresholds_clr 35000\nactions " + device +
         "\naction_info " + std::to_string(level) + "\n\n";
}

std::string ss(const std::string& name, const std::string& sensor, int sampling,
               const std::string& device) {
  return "[" + name + "]\nalgo_type ss\nsensor " + sensor + "\nsampling " +
         std::to_string(sampling) +
         "\nset_point 48000\nset_point_clr 35000\nstart_level 0\ndevice " + device +
         "\ndevice_perf_floor 3\n\n";
}

std::string scenario(const std::string& name, const std::string& items) {
  return "SCEN " + name + "\n" + items;
}

Event temperature(int64_t atMs, const std::string& sensor, int64_t value) {
  return {atMs, Event::kTemperature, sensor, value};
}
Event wish(int64_t atMs, const std::string& scenario) {
  return {atMs, Event::kScenario, scenario};
}
Event request(int64_t atMs, const std::string& file) {
  return {atMs, Event::kConfiguration, file};
}

Scene switchScene() {
  Scene scene;
  scene.name = "switch";
  scene.environment = kBoard;
  scene.configurations["first.conf"] =
      scenario("Default", monitor("day", "cpu", 500, "fan", 1)) +
      scenario("night", monitor("dark", "cpu", 500, "fan", 2) + ss("steps", "skin", 1000, "led"));
  scene.events = {temperature(0, "cpu", 50000), temperature(0, "skin", 50000), wish(0, "night")};
  scene.endMs = 2600;
  scene.scenarioAtEnd = "night";
  scene.levelsAtEnd = {{"fan", 2}, {"led", 2}};
  scene.heldThroughout = {"fan"};
  return scene;
}

} // namespace

const std::vector<Scene>& allScenes() {
  static const std::vector<Scene> scenes = {switchScene()};
  return scenes;
}
