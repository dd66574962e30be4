#include "fit/PlantText.h"

#include <algorithm>
#include <cmath>
#include <map>

#include <fmt/format.h>

#include "text/Pattern.h"

namespace {

// Behind more, a number is easier to read with an exponent.
constexpr int kMostDecimals = 12;

// A change of one line: what replaces a part of it.
struct Edit {
  size_t column;
  size_t length;
  std::string text;
};

// A plant file belongs to the user: its comments, its order and the ends of its lines stay, and
// only the numbers are other ones. So nothing is written anew from what was read; places of the
// text are replaced.
class Editor {
public:
  explicit Editor(const std::string& text) {
    for (size_t at = 0; at < text.size();) {
      const size_t end = std::min(text.find('\n', at), text.size());
      const size_t next = std::min(end + 1, text.size());
      const bool returns = end > at && text[end - 1] == '\r' && end < text.size();
      lines.push_back(text.substr(at, end - at - (returns ? 1 : 0)));
      endings.push_back((returns ? "\r" : "") + text.substr(end, next - end));
      at = next;
    }
  }

  void replace(const Span& at, const std::string& number) {
    edits[at.at.line].push_back({static_cast<size_t>(at.at.column) - 1, at.length, number});
  }
  void remark(int line, const std::string& text) { remarks[line] += "  # " + text; }
  // At line 0 in front of all.
  void insert(int line, const std::string& text) { inserted[line].push_back(text); }

  std::string finish() {
    const std::string newLine = endings.empty() || endings.front().empty() ? "\n" : endings.front();
    std::string result;
    for (const std::string& text : inserted[0])
      result += text + newLine;
    for (size_t i = 0; i < lines.size(); ++i) {
      const int number = static_cast<int>(i) + 1;
      result += edited(number) + remarks[number];
      for (const std::string& text : inserted[number])
        result += newLine + text;
      result += endings[i];
    }
    return result;
  }

private:
  std::string edited(int number) {
    std::string line = lines[static_cast<size_t>(number) - 1];
    auto& own = edits[number];
    // From behind, so that the places of the others stay.
    std::sort(own.begin(), own.end(),
              [](const Edit& a, const Edit& b) { return a.column > b.column; });
    for (const Edit& edit : own)
      line.replace(edit.column, edit.length, edit.text);
    // What an earlier fit remarked holds no more.
    static const Pattern kEarlier(
        "  # ([^[:space:]]+ )?(95 %: .* to |not determined: the guess).*");
    if (remarks[number].empty()) return line;
    const auto earlier = kEarlier.find(line);
    return earlier ? line.substr(0, line.size() - earlier->front().size()) : line;
  }

  std::vector<std::string> lines;
  std::vector<std::string> endings; // of the lines: none behind the last one, perhaps
  std::map<int, std::vector<Edit>> edits;
  std::map<int, std::string> remarks;
  std::map<int, std::vector<std::string>> inserted;
};

// Such as "95 %: 2.9 to 3.1 J/K", which stands behind the number and says how far it is known.
std::string remarkOf(const Quantity& quantity, const Estimate& estimate) {
  if (estimate.frozen) return "not determined: the guess";
  const double half = (estimate.high - estimate.low) / 2;
  std::string text = fmt::format("95 %: {} to {} {}", deserved(estimate.low, half),
                                 deserved(estimate.high, half), quantity.unit());
  if (estimate.follows) text += ", as far as a guess that was kept is right";
  return text;
}

} // namespace

std::string deserved(double value, double halfInterval) {
  if (!(halfInterval > 0) || !std::isfinite(halfInterval)) return fmt::format("{:.6g}", value);
  // A tenth of the interval is the last that means something.
  const int digits = static_cast<int>(std::ceil(1 - std::log10(halfInterval)));
  if (digits <= kMostDecimals) return fmt::format("{:.{}f}", value, std::max(digits, 0));
  const int before = value != 0 ? static_cast<int>(std::floor(std::log10(std::abs(value)))) + 1 : 0;
  return fmt::format("{:.{}g}", value, std::clamp(before + digits, 1, 17));
}

std::string withEstimates(const std::string& text, const std::vector<Quantity>& quantities,
                          const std::vector<Estimate>& estimates) {
  Editor editor(text);
  for (size_t i = 0; i < quantities.size(); ++i) {
    const Quantity& quantity = quantities[i];
    const Estimate& found = estimates[i];
    const double half = (found.high - found.low) / 2;
    const std::string remark = remarkOf(quantity, found);
    if (quantity.places.empty()) {
      if (!found.frozen)
        editor.insert(0, "ambient = " + deserved(found.value, half) + "  # " + remark);
      continue;
    }
    const int line = quantity.places.front().span.at.line;
    if (quantity.places.front().span.length == 0) {
      if (!found.frozen)
        editor.insert(line, "offset = " + deserved(found.value, half) + "  # " + remark);
      continue;
    }
    for (const Quantity::Place& place : quantity.places) {
      // Of a table of watts each entry keeps its share of the largest; of a quantity with one
      // place the factor is 1.
      const double factor = quantity.byLogarithm() ? place.value / quantity.guess : 1;
      if (!found.frozen && factor > 0)
        editor.replace(place.span, deserved(found.value * factor, half * factor));
    }
    editor.remark(quantity.places.back().span.at.line,
                  quantity.places.size() > 1 ? quantity.name + " " + remark : remark);
  }
  return editor.finish();
}
