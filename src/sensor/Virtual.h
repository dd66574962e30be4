#pragma once

#include "sensor/Sensor.h"

// A weighted combination of other sensors, sampled only while its trip sensor is warm.
//
// Errors:  a null source is skipped, a missing weight counts as 0, and a weight sum of 0 gives 0.
// Source:  a "virtual" section of the environment file.
class Virtual : public Sensor {
public:
  Virtual(const std::string& name, uint32_t sampling, ThermalThread* thread, int32_t setPoint,
          int32_t setPointClr, const std::vector<Sensor*>& sources, int32_t math,
          const std::vector<int32_t>& offsets, const std::vector<int32_t>& weights);

  void updateTemp() override;

  // The trip sensor's temperatures, in millidegrees, above and below which it switches this sensor
  // on and off.
  int32_t setPoint;
  int32_t setPointClr;
  std::vector<Sensor*> sources;
  int32_t math; // kept, but there is only one formula
  std::vector<int32_t> offsets;
  std::vector<int32_t> weights;
  int32_t weightSum = 0;
  int32_t offsetTerm = 0; // 100 times the sum of `offsets`
};
