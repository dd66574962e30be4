#include "text/Json.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

} // namespace

std::string jsonText(const Json& json, int indent) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

Json parsedJson(const std::string& text, bool throws) {
  return Json::parse(text, nullptr, throws);
}
