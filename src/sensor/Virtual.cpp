#include "sensor/Virtual.h"

#include <algorithm>

#include "base/Int32.h"
#include "base/Log.h"

Virtual::Virtual(const std::string& name_, uint32_t sampling_, ThermalThread* thread_,
                 int32_t setPoint_, int32_t setPointClr_, const std::vector<Sensor*>& sources_,
                 int32_t math_, const std::vector<int32_t>& offsets_,
                 const std::vector<int32_t>& weights_)
    : Sensor(name_, sampling_, thread_), setPoint(setPoint_), setPointClr(setPointClr_),
      sources(sources_), math(math_), offsets(offsets_), weights(weights_) {
  for (const int32_t weight : weights)
    weightSum = wrapAdd(weightSum, weight);
  for (const int32_t offset : offsets)
    offsetTerm = wrapAdd(offsetTerm, wrapMultiply(100, offset));
}

void Virtual::updateTemp() {
  // The previous result feeds into the new one on purpose; starting from 0 would change every
  // reading.
  int32_t sum = temperature;
  const size_t weighted = std::min(sources.size(), weights.size());
  for (size_t i = 0; i < weighted; ++i) {
    if (sources[i]) sum = wrapAdd(sum, wrapMultiply(weights[i], sources[i]->temperature));
  }
  const int32_t value = weightSum == 0 ? 0 : wrapDivide(wrapAdd(sum, offsetTerm), weightSum);
  temperature = value;
  LOG_LINE(message::kVirtualSample, name.c_str(), value);
}
