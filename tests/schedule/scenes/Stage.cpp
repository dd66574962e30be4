#include "scenes/Stage.h"

#include <sstream>

#include "config/ConfParser.h"
#include "runtime/Memory.h"
#include "scenes/Board.h"

namespace {

constexpr int64_t kMillisecond = 1'000'000;
constexpr int64_t kLook = 550 * kMillisecond;
constexpr int64_t kPatience = 10'000 * kMillisecond;

// "@name" in the environment is the path of a node of that name.
std::string withNodes(std::string environment, const Files& files) {
  for (size_t at = environment.find('@'); at != std::string::npos; at = environment.find('@')) {
    const size_t end = environment.find_first_of(" \n", at);
    environment.replace(at, end - at, files.path(environment.substr(at + 1, end - at - 1)));
  }
  return environment;
}

// What the daemon builds once in the life of the process, when it first reads a section of a kind,
// must not lie in the arena.
void buildTables(const Files& files, Judge& judge) {
  static bool done = false;
  if (done) return;
  done = true;
  const Board board(files, judge);
  for (const char* kind : {"monitor", "ss"}) {
    std::map<std::string, Sensor*> sensors;
    std::map<std::string, Device*> devices;
    std::map<std::string, SSThread*> ssThreads;
    std::map<std::string, MonitorThread*> monitorThreads;
    std::map<std::string, Scenario*> scenarios;
    std::istringstream in(std::string("[item]\nalgo_type ") + kind + "\nsampling 1\n");
    ConfParser(in, {sensors, devices, ssThreads, monitorThreads, scenarios}).parse();
  }
}

} // namespace

Stage::Stage(const Scene& scene_) : scene(scene_), judge(scene) {
  files.write("factory.conf", "");
  files.write("board.env", withNodes(scene.environment, files));
  for (const auto& [name, text] : scene.configurations)
    files.write("config/" + name, text);
  coolDown();
  buildTables(files, judge);
  judge.forget();
  memory::clear();
  const memory::InArena arena;
  board = new Board(files, judge);
  judge.keep();
  memory::keep();
}

schedule::Outcome Stage::play(schedule::Strategy& strategy) {
  memory::restore();
  coolDown();
  files.write("wanted.scen", "Default");
  files.write("request.dconf", "PARSED");
  judge.begin(*board);
  return schedule::run(strategy, judge, [this] { perform(); });
}

void Stage::coolDown() {
  for (const Scene::Event& event : scene.events)
    if (event.kind == Scene::Event::kTemperature) files.write(event.name, "20000\n");
}

void Stage::perform() {
  auto event = scene.events.begin();
  for (; event != scene.events.end() && event->atMs == 0; ++event)
    happen(*event);
  {
    const memory::InArena arena;
    board->runThreads();
  }
  for (; event != scene.events.end(); ++event) {
    schedule::sleepUntil(event->atMs * kMillisecond);
    happen(*event);
  }
  awaitEnd();
}

// The scene is over when what must come of it has come, and still holds a while later.
void Stage::awaitEnd() {
  const int64_t latest = schedule::now() + kPatience;
  for (bool arrived = false;;) {
    schedule::sleepUntil(schedule::now() + kLook);
    const schedule::Quiet quiet;
    const std::string missing = judge.missingAtEnd();
    if (missing.empty() && arrived) return;
    arrived = missing.empty();
    if (!arrived && schedule::now() > latest) schedule::fail("in the end " + missing);
  }
}

void Stage::happen(const Scene::Event& event) {
  switch (event.kind) {
  case Scene::Event::kTemperature:
    files.write(event.name, std::to_string(event.value) + "\n");
    break;
  case Scene::Event::kScenario:
    files.write("wanted.scen", event.name);
    break;
  case Scene::Event::kConfiguration:
    files.write("request.dconf", event.name);
    break;
  case Scene::Event::kBlock:
    judge.block(event.name, schedule::now() + event.value * kMillisecond);
    break;
  }
}
