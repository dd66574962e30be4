#include "sensor/Real.h"

#include "core/Int32.h"
#include "core/Log.h"
#include "sensor/Virtual.h"
#include "thread/ThermalThread.h"

Real::Real(const std::string& name_, uint32_t sampling_, const std::string& nodePath_)
    : Sensor(name_, sampling_, nullptr), nodePath(nodePath_) {
#ifdef __GLIBCXX__
  // Only here: libc++ reads through stdio, which holds text of its own back behind a small buffer
  // and would give it out again after the seek.
  node.rdbuf()->pubsetbuf(buffer.data(), buffer.size());
#endif
  node.open(nodePath);
  if (!node.is_open()) LOG_LINE("[TalmorThermal] Can't open node: %s\n", nodePath.c_str());
}

void Real::updateTemp() {
  std::string token;
  // The seek is all that rewinds the stream. It clears the end of the file but no failure, so that
  // a sensor whose read failed once reads 0 from then on.
  if (node.is_open()) node.seekg(0) >> token;
  const int32_t value = parseInt32(token);
  temperature = value;
  LOG_LINE("[TalmorThermal] Sensor [%s], Scen [%s] temp(%d)\n", name.c_str(), scenario.c_str(),
           value);
}

void Real::insertVirtualSensor(Virtual* sensor) {
  virtuals.push_back(sensor);
}

void Real::updateVirtualSensors() {
  // With all of them on nothing is looked at any more, the clearing set points included.
  if (virtuals.empty() || activeVirtuals == virtuals.size()) return;

  const int32_t trip = temperature;
  for (Virtual* v : virtuals) {
    if (v->active) {
      if (trip >= v->setPointClr) continue;
      v->active = false;
      if (v->thread) v->thread->deactivate();
      --activeVirtuals;
    } else {
      if (trip <= v->setPoint) continue;
      v->active = true;
      if (v->thread) v->thread->activate();
      ++activeVirtuals;
    }
  }
}
