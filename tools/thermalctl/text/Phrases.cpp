#include "text/Phrases.h"

#include <cstdlib>
#include <sstream>

#include <fmt/format.h>

std::string quoted(const std::string& text) {
  return "'" + text + "'";
}

std::string enumerated(const std::vector<std::string>& texts) {
  std::string list;
  for (size_t i = 0; i < texts.size(); ++i) {
    if (i > 0) list += i + 1 == texts.size() ? " and " : ", ";
    list += texts[i];
  }
  return list;
}

std::string listed(std::vector<std::string> texts) {
  for (std::string& text : texts)
    text = ::quoted(text);
  return enumerated(texts);
}

std::string counted(size_t number, const std::string& what) {
  return std::to_string(number) + " " + what + (number == 1 ? "" : "s");
}

std::string listedBriefly(std::vector<std::string> texts) {
  constexpr size_t kMost = 10;
  if (texts.size() <= kMost) return listed(std::move(texts));
  const size_t more = texts.size() - kMost;
  texts.resize(kMost);
  for (std::string& text : texts)
    text = ::quoted(text);
  texts.push_back(std::to_string(more) + " more");
  return enumerated(texts);
}

std::string degreesInFull(int32_t millidegrees) {
  const int64_t amount = std::abs(static_cast<int64_t>(millidegrees));
  return fmt::format("{}{}.{:03}", millidegrees < 0 ? "-" : "", amount / 1000, amount % 1000);
}

std::string degrees(int32_t millidegrees) {
  std::string text = degreesInFull(millidegrees);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string clockTime(int64_t seconds) {
  return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

std::string clockOf(int64_t milliseconds) {
  return clockTime((milliseconds + 500) / 1000);
}

std::string rounded(double number, int digits) {
  return fmt::format("{:.{}f}", number, digits);
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
