#include "scenes/Scene.h"

namespace {

using Event = Scene::Event;

// Two sensor threads. All periods divide the second of the scenario thread, so that nearly
// everybody wakes at the moment of a change.
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

Scene sceneOn(const std::string& name, const std::string& environment) {
  Scene scene;
  scene.name = name;
  scene.environment = environment;
  scene.scenarioAtEnd = "Default";
  return scene;
}

// The fan is wanted on both sides of the change, by items of different names.
Scene switchScene() {
  Scene scene = sceneOn("switch", kBoard);
  scene.configurations["first.conf"] =
      scenario("Default", monitor("day", "cpu", 500, "fan", 1)) +
      scenario("night", monitor("dark", "cpu", 500, "fan", 2) + ss("steps", "skin", 1000, "led"));
  scene.events = {temperature(0, "cpu", 50000), temperature(0, "skin", 50000), wish(0, "night")};
  scene.scenarioAtEnd = "night";
  scene.levelsAtEnd = {{"fan", 2}, {"led", 2}};
  scene.heldThroughout = {"fan"};
  return scene;
}

// At the moment of the change one sensor becomes warm and the other one cold, and the two sides
// have an item of one name.
Scene switchDuringActivation() {
  Scene scene = sceneOn("switch-during-activation", kBoard);
  scene.configurations["first.conf"] =
      scenario("Default", monitor("hot", "cpu", 500, "fan", 1) + ss("day", "skin", 500, "led")) +
      scenario("night",
               monitor("hot", "cpu", 500, "fan", 2) + monitor("dark", "skin", 500, "led", 3));
  scene.events = {temperature(0, "skin", 50000), wish(0, "night"), temperature(900, "cpu", 50000),
                  temperature(900, "skin", 30000)};
  scene.scenarioAtEnd = "night";
  // The fan ends at 1 where the item of the day was left awake at level 0 and asked after the
  // other.
  scene.levelsAtEnd = {{"led", 0}};
  return scene;
}

// The new configuration's items come to the workers that the old ones have; one sensor becomes warm
// at that moment.
Scene swapWithSharedWorkers() {
  Scene scene = sceneOn("swap-shared", kBoard);
  scene.configurations["first.conf"] = scenario("Default", monitor("old", "cpu", 500, "fan", 1) +
                                                               ss("oldSteps", "skin", 500, "led"));
  scene.configurations["second.conf"] = scenario("Default", monitor("new", "cpu", 500, "fan", 2) +
                                                                ss("newSteps", "skin", 500, "led"));
  scene.events = {temperature(0, "skin", 50000), request(0, "second.conf"),
                  temperature(900, "cpu", 50000)};
  scene.changes = 2;
  scene.levelsAtEnd = {{"fan", 2}, {"led", 2}};
  scene.heldThroughout = {"led"};
  return scene;
}

// They get workers of their own, and the old ones stop.
Scene swapWithFreshWorkers() {
  Scene scene = sceneOn("swap-fresh", kBoard);
  scene.configurations["first.conf"] =
      scenario("Default", monitor("hot", "cpu", 500, "fan", 1) + ss("steps", "skin", 500, "led"));
  scene.configurations["second.conf"] =
      scenario("Default", monitor("hot", "cpu", 1000, "fan", 2) + ss("steps", "skin", 1000, "led"));
  scene.events = {temperature(0, "cpu", 50000), temperature(0, "skin", 50000),
                  request(0, "second.conf")};
  scene.changes = 2;
  scene.levelsAtEnd = {{"fan", 2}, {"led", 2}};
  return scene;
}

// The new configuration has a scenario of the name that the retiring one goes under.
Scene swapIntoRetiredName() {
  Scene scene = sceneOn("swap-retired-name", kBoard);
  scene.configurations["first.conf"] = scenario("Default", monitor("old", "cpu", 500, "fan", 1));
  scene.configurations["second.conf"] =
      scenario("Default", monitor("new", "cpu", 500, "fan", 2)) +
      scenario("OLDSCEN_Default",
               monitor("late", "cpu", 500, "led", 3) + monitor("later", "cpu", 1000, "led", 1));
  scene.events = {temperature(0, "cpu", 50000), request(0, "second.conf")};
  scene.changes = 2;
  scene.levelsAtEnd = {{"fan", 2}, {"led", 0}};
  return scene;
}

// Another scenario and another configuration at once: three changes in one cycle.
Scene twoRequests() {
  Scene scene = sceneOn("two-requests", kBoard);
  const std::string night = scenario("night", monitor("dark", "cpu", 500, "fan", 2));
  scene.configurations["first.conf"] =
      scenario("Default", monitor("day", "cpu", 500, "fan", 1)) + night;
  scene.configurations["second.conf"] =
      scenario("Default", ss("steps", "skin", 500, "led")) + night;
  scene.events = {temperature(0, "cpu", 50000), temperature(0, "skin", 50000), wish(0, "night"),
                  request(0, "second.conf"), wish(1200, "Default")};
  scene.changes = 2;
  scene.levelsAtEnd = {{"fan", 0}, {"led", 2}};
  return scene;
}

// A sensor thread with nothing but a virtual sensor, which its trip sensor has switched on.
Scene virtualOnly() {
  Scene scene = sceneOn("virtual-only", kBoard + R"(
[mean]
type virtual
sampling 250
trip_sensor cpu
set_point 45000
set_point_clr 40000
sensors cpu
weights 1
offsets 0
)");
  scene.configurations["first.conf"] = scenario("Default", monitor("day", "mean", 500, "fan", 1)) +
                                       scenario("night", monitor("dark", "mean", 500, "fan", 2));
  scene.events = {temperature(0, "cpu", 50000), wish(0, "night")};
  scene.scenarioAtEnd = "night";
  scene.levelsAtEnd = {{"fan", 2}};
  scene.mayAwaitSleepingSensors = true;
  return scene;
}

// The same, but it is switched on just when the change begins: the change waits for it, for ever
// where the trip sensor's thread parks first.
Scene virtualAsleep() {
  Scene scene = virtualOnly();
  scene.name = "virtual-asleep";
  scene.events = {wish(0, "night"), temperature(900, "cpu", 50000)};
  return scene;
}

// The node of one device takes nothing for a while, and its worker stands in the write.
Scene blockedNode() {
  Scene scene = sceneOn("blocked-node", kBoard);
  scene.configurations["first.conf"] =
      scenario("Default",
               monitor("stuck", "cpu", 500, "led", 1) + monitor("day", "skin", 1000, "fan", 1)) +
      scenario("night", monitor("dark", "skin", 1000, "fan", 2));
  scene.events = {{0, Event::kBlock, "led", 2500},
                  temperature(0, "skin", 50000),
                  wish(0, "night"),
                  temperature(900, "cpu", 50000)};
  scene.scenarioAtEnd = "night";
  scene.levelsAtEnd = {{"fan", 2}};
  return scene;
}

// The workers of the old configuration stop for good, one of them asleep and one in a long period.
Scene stopOfWorkers() {
  Scene scene = sceneOn("stop", kBoard);
  scene.configurations["first.conf"] =
      scenario("Default", monitor("cold", "cpu", 500, "fan", 1) + ss("slow", "skin", 2000, "led"));
  scene.configurations["second.conf"] = scenario("Default", monitor("new", "skin", 500, "fan", 3));
  scene.events = {temperature(0, "skin", 50000), request(0, "second.conf"),
                  temperature(900, "cpu", 50000)};
  scene.changes = 2;
  scene.levelsAtEnd = {{"fan", 3}, {"led", 0}};
  return scene;
}

// The new configuration has nothing for the sensor that becomes warm at that moment: nobody waits
// for a decision of an item that retires while it is woken.
Scene swapForNothing() {
  Scene scene = sceneOn("swap-for-nothing", kBoard);
  scene.configurations["first.conf"] =
      scenario("Default", monitor("old", "cpu", 500, "fan", 1) + ss("steps", "cpu", 1000, "led"));
  scene.configurations["second.conf"] = scenario("Default", monitor("new", "skin", 500, "fan", 3));
  scene.events = {request(0, "second.conf"), temperature(900, "cpu", 50000)};
  scene.changes = 2;
  scene.levelsAtEnd = {{"fan", 0}, {"led", 0}};
  return scene;
}

} // namespace

const std::vector<Scene>& allScenes() {
  static const std::vector<Scene> scenes = {switchScene(),           switchDuringActivation(),
                                            swapWithSharedWorkers(), swapWithFreshWorkers(),
                                            swapForNothing(),        swapIntoRetiredName(),
                                            twoRequests(),           virtualOnly(),
                                            virtualAsleep(),         blockedNode(),
                                            stopOfWorkers()};
  return scenes;
}
