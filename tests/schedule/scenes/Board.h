#pragma once

#include <string>

#include "core/ThermalMain.h"
#include "scenes/Files.h"

class Judge;

// The daemon of a scene, up to the point where its threads would start: everything as the daemon
// itself builds it, but that its items, its devices and its scenario thread tell a `Judge` what
// they do. None of their fields and none of their own code is touched.
class Board : public ThermalMain {
public:
  // `environment` with "@name" for the path of a node of that name.
  Board(const Files& files, Judge& judge);

  void dynamicConfParse(const std::string& name) override;

private:
  // Has the items tell what they do that do not yet.
  void observeItems();
  void observeDevices();
};
