#pragma once

#include <string>

#include <nlohmann/json_fwd.hpp>

// JSON and its text. The library's own functions take seconds to compile in each file that calls
// them; these have them compiled once.

// With an indentation, in lines. Bytes that are not UTF-8 are replaced.
std::string jsonText(const nlohmann::ordered_json& json, int indent = -1);

// What a text that is no JSON throws, the library says; without `throws` its value `is_discarded`.
nlohmann::ordered_json parsedJson(const std::string& text, bool throws = true);
