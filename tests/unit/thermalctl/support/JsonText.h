#pragma once

#include <ostream>
#include <string>

#include <nlohmann/json.hpp>

// What a text of JSON holds, whatever the order of its members; `is_discarded` where it is none.
// The library's own functions take seconds to compile in each file that calls them.
nlohmann::json jsonOf(const std::string& text);

namespace nlohmann {

// GoogleTest shows values by this name.
// NOLINTBEGIN(readability-identifier-naming)
void PrintTo(const json& value, std::ostream* out);
void PrintTo(const ordered_json& value, std::ostream* out);
// NOLINTEND(readability-identifier-naming)

} // namespace nlohmann
