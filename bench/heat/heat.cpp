#include <algorithm>
#include <cstdio>

#include "thermalctl/simulate/StiffNetwork.h"

// The furthest that the network of a simulation is from the closed form, where time constants are
// far apart.
int main() {
  constexpr StiffNetwork kStiff[] = {
      {1e-6, 3'600, 1, 10},    // 1 us beside 10 h
      {1e-9, 3'600, 1, 10},    // 1 ns beside 10 h
      {1e-3, 3'600, 1e-6, 10}, // the same by a good contact
      {40, 70, 1e-9, 4},       // a contact without resistance
      {1, 3'600, 1e-9, 10},
  };
  double worst = 0;
  for (const StiffNetwork& each : kStiff)
    worst = std::max(worst, worstErrorOf(each));
  std::printf("%.3g\n", worst);
}
