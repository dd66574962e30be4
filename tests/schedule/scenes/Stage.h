#pragma once

#include "runtime/Scheduler.h"
#include "scenes/Files.h"
#include "scenes/Judge.h"
#include "scenes/Scene.h"

class Board;

// One scene, set up once and then played as often as wanted: a schedule each, all from the same
// beginning. The arena is this one's alone: only one stage at a time.
class Stage {
public:
  explicit Stage(const Scene& scene);

  schedule::Outcome play(schedule::Strategy& strategy);

private:
  void coolDown();
  void perform();
  void awaitEnd();
  void happen(const Scene::Event& event);

  const Scene& scene;
  Files files;
  Judge judge;
  Board* board = nullptr;
};
