#pragma once

#include <array>
#include <fstream>

#include "sensor/Sensor.h"

class Virtual;

// A temperature read from one kernel node, kept open for the life of the object.
//
// Errors:  a node that cannot be opened is logged once and reads 0. One failed read leaves the
//          stream failed, so that every later sample reads 0 as well: nothing is retried.
// Source:  a "real" section of the environment file.
class Real : public Sensor {
public:
  Real(const std::string& name, uint32_t sampling, const std::string& nodePath);

  void updateTemp() override;

  // Makes this sensor the trip sensor of `sensor`.
  void insertVirtualSensor(Virtual* sensor);

  // Switches the virtual sensors on above their set point and off below their clearing set point;
  // once all of them are on, none is switched off any more.
  void updateVirtualSensors();

  std::string nodePath;
  std::ifstream node;
  std::vector<Virtual*> virtuals;
  uint32_t activeVirtuals = 0;

private:
  // The first word of the node, read anew; empty once a read has failed.
  std::string nextToken();

  // For the stream: a temperature is short, the 8 KiB that libstdc++ would allocate are not.
  [[maybe_unused]] std::array<char, 64> buffer;
};
