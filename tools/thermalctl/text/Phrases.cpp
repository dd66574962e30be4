#include "text/Phrases.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <sstream>

std::string quoted(const std::string& text) {
  return "'" + text + "'";
}

std::string listed(const std::vector<std::string>& texts) {
  std::string list;
  for (size_t i = 0; i < texts.size(); ++i) {
    if (i > 0) list += i + 1 == texts.size() ? " and " : ", ";
    list += quoted(texts[i]);
  }
  return list;
}

std::string counted(size_t number, const std::string& what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

std::string degreesInFull(int32_t millidegrees) {
  const int64_t amount = std::abs(static_cast<int64_t>(millidegrees));
  // The 1000 keeps the zeros in front of the fraction.
  return (millidegrees < 0 ? "-" : "") + std::to_string(amount / 1000) + "." +
         std::to_string(1000 + amount % 1000).substr(1);
}

std::string degrees(int32_t millidegrees) {
  std::string text = degreesInFull(millidegrees);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string clockTime(int64_t seconds) {
  std::array<char, 40> text;
  std::snprintf(text.data(), text.size(), "%lld:%02lld:%02lld",
                static_cast<long long>(seconds / 3600), static_cast<long long>(seconds / 60 % 60),
                static_cast<long long>(seconds % 60));
  return text.data();
}

std::string rounded(double number, int digits) {
  std::array<char, 400> text;
  std::snprintf(text.data(), text.size(), "%.*f", digits, number);
  return text.data();
}

std::string wrapped(const std::string& text, size_t width) {
  std::istringstream words(text);
  std::string result;
  std::string line;
  std::string word;
  while (words >> word) {
    if (!line.empty() && line.size() + 1 + word.size() > width) {
      result += line + '\n';
      line.clear();
    }
    line += (line.empty() ? "" : " ") + word;
  }
  return line.empty() ? result : result + line + '\n';
}
