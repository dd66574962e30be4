#include "thermalctl/support/JsonText.h"

nlohmann::json jsonOf(const std::string& text) {
  return nlohmann::json::parse(text, nullptr, false);
}

namespace nlohmann {

void PrintTo(const json& value, std::ostream* out) {
  *out << value;
}

void PrintTo(const ordered_json& value, std::ostream* out) {
  *out << value;
}

} // namespace nlohmann
