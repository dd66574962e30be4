#include "text/Pattern.h"

Pattern::Pattern(const char* expression)
    : isGood(::regcomp(&compiled, expression, REG_EXTENDED) == 0) {}

Pattern::~Pattern() {
  if (isGood) ::regfree(&compiled);
}

std::optional<std::vector<std::string>> Pattern::find(const std::string& text) const {
  if (!isGood) return std::nullopt;
  std::vector<regmatch_t> places(compiled.re_nsub + 1);
  if (::regexec(&compiled, text.c_str(), places.size(), places.data(), 0) != 0) return std::nullopt;
  std::vector<std::string> parts;
  for (const regmatch_t& place : places) {
    const auto start = static_cast<size_t>(place.rm_so);
    parts.push_back(place.rm_so < 0 ? ""
                                    : text.substr(start, static_cast<size_t>(place.rm_eo) - start));
  }
  return parts;
}
