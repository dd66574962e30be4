#include "trace/Limit.h"

#include "text/Phrases.h"
#include "text/Temperature.h"

namespace {

constexpr char kNode[] = "node:";
constexpr size_t kNodeLength = sizeof kNode - 1;

} // namespace

LimitText readLimit(const std::string& text) {
  // A sensor's name may hold an "=", a temperature does not.
  const size_t equals = text.rfind('=');
  const bool ofNode = text.rfind(kNode, 0) == 0;
  const size_t start = ofNode ? kNodeLength : 0;
  if (equals == std::string::npos || equals <= start)
    return {std::nullopt, "is no limit",
            "write a sensor, or node: and a node of the plant, and its temperature, such as "
            "skin=43C or node:case=45C"};
  const std::string number = text.substr(equals + 1);
  const TemperatureText temperature = readTemperature(number);
  if (!temperature.millidegrees)
    return {std::nullopt, quoted(number) + " " + temperature.wrong, temperature.hint};
  return {Limit{text.substr(start, equals - start), ofNode, *temperature.millidegrees}};
}
