#include "fit/PlantText.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <sstream>

#include <fmt/format.h>

namespace {

// A change of one line: what replaces a part of it.
struct Edit {
  size_t column;
  size_t length;
  std::string text;
};

class Editor {
public:
  explicit Editor(const std::string& text) {
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
      lines.push_back(line);
  }

  void replace(const Span& at, const std::string& number) {
    edits[at.at.line].push_back({static_cast<size_t>(at.at.column) - 1, at.length, number});
  }
  void remark(int line, const std::string& text) { remarks[line] += "  # " + text; }
  // At line 0 in front of all.
  void insert(int line, const std::string& text) { inserted[line] += text + "\n"; }

  std::string finish() {
    std::string result = inserted[0];
    for (size_t i = 0; i < lines.size(); ++i) {
      const int number = static_cast<int>(i) + 1;
      std::string& line = lines[i];
      auto& own = edits[number];
      // From behind, so that the places of the others stay.
      std::sort(own.begin(), own.end(),
                [](const Edit& a, const Edit& b) { return a.column > b.column; });
      for (const Edit& edit : own)
        line.replace(edit.column, edit.length, edit.text);
      result += line + remarks[number] + "\n" + inserted[number];
    }
    return result;
  }

private:
  std::vector<std::string> lines;
  std::map<int, std::vector<Edit>> edits;
  std::map<int, std::string> remarks;
  std::map<int, std::string> inserted;
};

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
  const int digits = std::clamp(static_cast<int>(std::ceil(1 - std::log10(halfInterval))), 0, 12);
  return fmt::format("{:.{}f}", value, digits);
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
      const double factor = quantity.byLogarithm() ? place.value / quantity.guess : 1;
      if (!found.frozen && factor > 0)
        editor.replace(place.span, deserved(found.value * factor, half * factor));
    }
    editor.remark(quantity.places.back().span.at.line,
                  quantity.places.size() > 1 ? quantity.name + " " + remark : remark);
  }
  return editor.finish();
}
