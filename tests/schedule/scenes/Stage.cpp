#include "scenes/Stage.h"

#include "runtime/Memory.h"
#include "scenes/Board.h"

namespace {

constexpr int64_t kMillisecond = 1'000'000;

// "@name" in the environment is the path of a node of that name.
std::string withNodes(std::string environment, const Files& files) {
  for (size_t at = environment.find('@'); at != std::string::npos; at = environment.find('@')) {
    const size_t end = environment.find_first_of(" \n", at);
    environment.replace(at, end - at, files.path(environment.substr(at + 1, end - at - 1)));
  }
  return environment;
}

} // namespace

Stage::Stage(const Scene& scene_) : scene(scene_), judge(scene) {
  files.write("factory.conf", "");
  files.write("board.env", withNodes(scene.environment, files));
  for (const auto& [name, text] : scene.configurations)
    files.write("config/" + name, text);
  for (const Scene::Event& event : scene.events)
    if (event.kind == Scene::Event::kTemperature) files.write(event.name, "20000\n");
  memory::clear();
  const memory::InArena arena;
  board = new Board(files, judge);
  judge.keep();
  memory::keep();
}

schedule::Outcome Stage::play(schedule::Strategy& strategy) {
  memory::restore();
  files.write("wanted.scen", "Default");
  files.write("request.dconf", "PARSED");
  judge.begin(*board);
  return schedule::run(strategy, judge, [this] { perform(); });
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
  schedule::sleepUntil(scene.endMs * kMillisecond);
  const schedule::Quiet quiet;
  judge.atEnd();
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
