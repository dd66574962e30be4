#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "daemon/VirtualDaemon.h"
#include "simulate/Plant.h"
#include "simulate/WorkloadFile.h"
#include "trace/Trace.h"

// A configuration that can come in force in a run.
//
// Shape:  its items are `algorithms[firstItem]` and those behind it, in the order in which
//         VirtualDaemon gives them.
// Source: the first is one that the user names, the others are those that the workload asks for.
struct RunConfiguration {
  std::string word; // with which the workload asks for it
  std::string text;
  size_t firstItem = 0; // of its items in TraceDescription::algorithms
};

// All that one run goes by, read and checked: two runs of one input give the same trace, byte for
// byte.
//
// Shape:  indices of plant and workload are those of `description`, whose sensors are the board's
//         by name and then the nodes of `shownNodes`.
// Units:  `duration` in milliseconds.
// Source: `readInputs`.
struct RunInput {
  std::string environment;
  std::vector<RunConfiguration> configurations; // the first is in force at the start
  PlantDescription plant;
  Workload workload;
  TraceDescription description;
  std::vector<size_t> shownNodes; // of the plant, behind the board's sensors in the description
  int64_t duration = 0;
  uint64_t seed = 0;
};

// Lets the daemon's objects run in virtual time against a plant.
//
// Time:    a pass takes none, so whoever waits its period after a pass has the next one exactly a
//          period later. What falls on one millisecond happens in this order: the workload, the
//          workers of step algorithms and then of monitors by their names, the sensor workers by
//          their periods, the scenario thread, and the look at the plant's own nodes. A worker that
//          is woken has its pass at once. On a device, too, a decision comes before the sample of
//          its time: reading the nodes takes longer than deciding, so that the sensor workers fall
//          a little behind with every pass.
// Trace:   a device or an item that moves several times in one pass shows its last move alone.
// Errors:  what is wrong with an input `readInputs` has told; std::system_error where the system
//          has no file in memory left. The daemon's own messages go to its log, which the caller
//          switches off.
// Threads: the caller's alone. Of the daemon's workers the passes are called, and no body ever
//          runs.
class Engine {
public:
  // Told now and then how far the run is, and of what the user should know. Both must be set.
  //
  // Units: virtual time in milliseconds; a progress for each minute of it.
  struct Listener {
    std::function<void(int64_t time)> progress;
    std::function<void(int64_t time, const std::string& what)> warning;
  };

  Engine(const RunInput& input, TraceSink& sink, Listener listener);

  void run();

private:
  enum class Step { kNone, kWorkload, kSensors, kItems, kScenario, kNodes };
  // What is next, and when. Never is later than the end of any run.
  struct Due {
    int64_t time;
    Step step = Step::kNone;
    size_t index = 0;
  };

  // The node of one real sensor.
  struct Node {
    size_t probe = 0;
    std::unique_ptr<MemoryFile> file;
    bool faulty = false;
    bool written = false;
    int32_t reading = 0;
  };
  // A sensor of a worker, and its index in TraceDescription::sensors.
  struct SampledSensor {
    Sensor* sensor;
    size_t track;
  };
  // One of the daemon's sensor workers, which sleeps while `due` is kNever.
  struct SensorWorker {
    SensorThread* thread;
    std::vector<Node*> nodes;
    std::vector<SampledSensor> sensors;
    int64_t due = 0;
  };
  // What a worker of step algorithms and one of monitors have in common, whose types share no base
  // that could be asked. `thread` only tells one from another.
  struct ItemWorker {
    const void* thread;
    int64_t period;
    const std::atomic<int32_t>* activeCount;
    std::function<void()> pass;
    std::function<void()> decideWoken;
    std::function<bool()> hasWoken;
    int64_t due;
  };
  // An item and its index in TraceDescription::algorithms, with the level last shown.
  struct TrackedItem {
    const Algo* item;
    size_t track;
    int32_t level = TraceSink::kAsleep;
  };
  struct TrackedDevice {
    const Device* device;
    int32_t level = 0;
  };

  void buildSensorWorkers();
  std::optional<size_t> trackOf(const Sensor& sensor) const;
  static std::unique_ptr<Node> connect(Sensor& sensor, size_t probe);
  void announce();
  Due next() const;
  void take(const Due& due);

  void takeWorkload();
  void take(const Change& change);
  void takeFault(const Change& change);
  void requestConfiguration(const std::string& word);

  void takeSensors(SensorWorker& worker);
  template <typename Pass> void sample(SensorWorker& worker, Pass pass);
  void refresh(Node& node);
  void write(Node& node, int32_t millidegrees);
  void wakeWorkers();

  void takeItems(ItemWorker& worker);
  void decide(ItemWorker& worker);
  int64_t gatherItemWorkers();
  void followItems(const RunConfiguration& configuration);

  void takeScenarioCycle();
  void standStill();
  void changeScenario(bool newConf);
  void letWokenItemsDecide();
  void loadConfiguration(const std::string& word);
  void forgetRetired(size_t count);

  void showNodes();
  void observe();
  void observeItems();

  const RunInput& input;
  TraceSink& sink;
  Listener listener;
  VirtualDaemon daemon;
  Plant plant;
  std::vector<std::unique_ptr<MemoryFile>> configurationFiles;
  std::vector<std::unique_ptr<Node>> nodes; // by probe; null for a sensor without a node
  std::vector<SensorWorker> sensorWorkers;
  std::vector<ItemWorker> itemWorkers;
  std::vector<TrackedItem> items;
  std::vector<TrackedDevice> devices;
  std::string scenario;

  int64_t now = 0;
  size_t nextChange = 0;
  int64_t workloadStart = 0; // of its present repetition
  int64_t scenarioDue = 0;
  int64_t nodesDue = 0;
  // Until then the scenario thread waits for workers that it retires, and then it overwrites what
  // the request file holds.
  int64_t busyUntil = 0;
  // How many of the items are those of a configuration that is being replaced.
  std::optional<size_t> retiredItems;
};
