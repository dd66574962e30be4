#include "toml/TomlSection.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include <fmt/format.h>
// Compiled here alone, for the time it takes.
#include <toml++/toml.h>

#include "text/Nearest.h"
#include "text/Phrases.h"

namespace {

constexpr TomlSection::Bounds kAnyNumber = {std::numeric_limits<double>::lowest(),
                                            std::numeric_limits<double>::max()};

std::optional<double> finiteNumber(const toml::node& node) {
  if (!node.is_number()) return std::nullopt;
  const std::optional<double> value = node.value<double>();
  return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<std::string> textOf(const toml::node& node) {
  return node.value_exact<std::string>();
}

// A list's values; nothing if one of them is nothing to `convert`.
template <typename Value, typename Convert>
std::optional<std::vector<Value>> listOf(const toml::node& node, Convert convert) {
  const toml::array* array = node.as_array();
  if (!array) return std::nullopt;
  std::vector<Value> values;
  for (const toml::node& each : *array) {
    std::optional<Value> value = convert(each);
    if (!value) return std::nullopt;
    values.push_back(std::move(*value));
  }
  return values;
}

// The library counts characters from 1.
size_t byteOf(const Line& line, size_t column) {
  return column <= line.starts.size() ? line.starts[column - 1] : line.text.size();
}

const std::string& wantedBy(const std::string& words) {
  return words;
}

std::string wantedBy(const TomlSection::Bounds& bounds) {
  if (bounds.most == kAnyNumber.most) return "a number";
  return fmt::format("{}a number from {} to {}{}{}", bounds.mayBeZero ? "0 or " : "", bounds.least,
                     bounds.most, *bounds.unit ? " " : "", bounds.unit);
}

// What is wrong with a number; empty if nothing is.
std::string faultOf(double value, const TomlSection::Bounds& bounds) {
  const bool mayBeNought = bounds.mayBeZero || (bounds.least <= 0 && bounds.most >= 0);
  if (mayBeNought && std::fpclassify(value) == FP_SUBNORMAL)
    return "is too small to be calculated with: write 0";
  if (value == 0 && bounds.mayBeZero) return "";
  return value >= bounds.least && value <= bounds.most ? "" : "must be " + wantedBy(bounds);
}

// A text or a number.
std::optional<std::string> wordOf(const toml::node& node) {
  const std::optional<double> value = finiteNumber(node);
  // As many digits as come back the way they were written: 0.1 and not 0.10000000000000001.
  return value ? fmt::format("{:.15g}", *value) : textOf(node);
}

} // namespace

// Each question notes its key, whatever becomes of the answer: what was never asked for is a key
// that nobody knows, and is refused at the end.
template <typename Wanted, typename Convert>
auto TomlSection::read(const std::string& key, const Wanted& wanted, Convert convert) {
  using Result = std::invoke_result_t<Convert, const toml::node&>;
  asked.insert(key);
  const toml::node* node = table->get(key);
  if (!node) return Result();
  Result value = convert(*node);
  if (!value) problem(at(key), "'" + key + "' must be " + wantedBy(wanted));
  return value;
}

template <typename Reader> auto TomlSection::all(Reader reader) {
  using Value = typename std::invoke_result_t<Reader, const std::string&>::value_type;
  std::vector<std::pair<std::string, Value>> values;
  for (const auto& [key, node] : *table) {
    const std::string name(key.str());
    if (auto value = reader(name)) values.emplace_back(name, std::move(*value));
  }
  return values;
}

std::optional<TomlSection> TomlSection::sectionAt(const toml::node& node) const {
  const toml::table* inner = node.as_table();
  return inner ? std::optional(TomlSection(*inner, *file, *problems)) : std::nullopt;
}

std::optional<double> TomlSection::number(const std::string& key) {
  return number(key, kAnyNumber);
}

std::optional<double> TomlSection::number(const std::string& key, const Bounds& bounds) {
  const auto value = read(key, bounds, finiteNumber);
  if (!value) return std::nullopt;
  const std::string fault = faultOf(*value, bounds);
  if (fault.empty()) return value;
  problem(at(key), "'" + key + "' " + fault);
  return std::nullopt;
}

std::optional<double> TomlSection::share(const std::string& key) {
  return number(key, {0, 1});
}

std::optional<std::vector<double>> TomlSection::numbers(const std::string& key) {
  return numbers(key, kAnyNumber);
}

std::optional<std::vector<double>> TomlSection::numbers(const std::string& key,
                                                        const Bounds& bounds) {
  const auto values = read(key, "a number or a list of numbers", [](const toml::node& node) {
    const std::optional<double> single = finiteNumber(node);
    return single ? std::vector<double>{*single} : listOf<double>(node, finiteNumber);
  });
  if (!values) return std::nullopt;
  bool good = true;
  for (size_t i = 0; i < values->size(); ++i) {
    const std::string fault = faultOf((*values)[i], bounds);
    if (fault.empty()) continue;
    problem(at(key, i), fmt::format("'{}' {}", key, fault));
    good = false;
  }
  return good ? values : std::nullopt;
}

std::optional<std::string> TomlSection::text(const std::string& key) {
  return read(key, "a text in quotes", textOf);
}

std::vector<std::string> TomlSection::texts(const std::string& key) {
  const auto convert = [](const toml::node& node) { return listOf<std::string>(node, textOf); };
  return read(key, "a list of texts in quotes", convert).value_or(std::vector<std::string>());
}

std::optional<bool> TomlSection::flag(const std::string& key) {
  return read(key, "true or false",
              [](const toml::node& node) { return node.value_exact<bool>(); });
}

std::optional<TomlSection> TomlSection::section(const std::string& key) {
  return read(key, "a table", [this](const toml::node& node) { return sectionAt(node); });
}

std::vector<std::pair<std::string, TomlSection>> TomlSection::named(const std::string& key) {
  std::optional<TomlSection> outer = section(key);
  if (!outer) return {};
  auto sections = outer->all([&](const std::string& name) { return outer->section(name); });
  // The library keeps keys in alphabetical order, and the file's order is what the user knows.
  std::stable_sort(sections.begin(), sections.end(), [](const auto& a, const auto& b) {
    return a.second.table->source().begin.line < b.second.table->source().begin.line;
  });
  return sections;
}

std::vector<TomlSection> TomlSection::list(const std::string& key) {
  const auto convert = [this](const toml::node& node) {
    return listOf<TomlSection>(node, [this](const toml::node& each) { return sectionAt(each); });
  };
  return read(key, "a list of tables, [[" + key + "]]", convert)
      .value_or(std::vector<TomlSection>());
}

std::vector<std::pair<std::string, double>> TomlSection::allNumbers(const Bounds& bounds) {
  return all([&](const std::string& key) { return number(key, bounds); });
}

std::optional<std::string> TomlSection::word(const std::string& key) {
  return read(key, "a text in quotes or a number", wordOf);
}

std::vector<std::string> TomlSection::words(const std::string& key) {
  const auto convert = [](const toml::node& node) { return listOf<std::string>(node, wordOf); };
  return read(key, "a list of texts in quotes or numbers", convert)
      .value_or(std::vector<std::string>());
}

std::vector<std::pair<std::string, std::string>> TomlSection::allWords() {
  return all([this](const std::string& key) { return word(key); });
}

size_t TomlSection::size() const {
  return table->size();
}

bool TomlSection::has(const std::string& key) const {
  return table->contains(key);
}

Span TomlSection::at() const {
  return spanOf(table->source());
}

Span TomlSection::at(const std::string& key) const {
  const toml::node* node = table->get(key);
  return node ? spanOf(node->source()) : at();
}

Span TomlSection::at(const std::string& key, size_t index) const {
  const toml::array* array = table->get_as<toml::array>(key);
  return array && index < array->size() ? spanOf(array->get(index)->source()) : at(key);
}

Span TomlSection::atKey(const std::string& key) const {
  const auto entry = table->find(key);
  return entry == table->cend() ? at() : spanOf(entry->first.source());
}

Span TomlSection::spanOf(const toml::source_region& region) const {
  // A table that nobody wrote, such as the whole file.
  if (region.begin.line == 0) return {{1, 1}, 1};
  const auto number = static_cast<int>(region.begin.line);
  const Line& line = problems->source(*file).line(number);
  const size_t from = byteOf(line, region.begin.column);
  const bool endsThere = region.end.line == region.begin.line;
  const size_t to = endsThere ? byteOf(line, region.end.column) : line.text.size();
  return {{number, static_cast<int>(from) + 1}, std::max(to, from + 1) - from};
}

void TomlSection::missing(const std::string& key, const std::string& what) const {
  // A value that is there and wrong has been told already, and a slip in the key will be.
  if (has(key)) return;
  for (const auto& [other, node] : *table) {
    const std::string name(other.str());
    if (asked.count(name) == 0 && nearest(name, {key}) == key) return;
  }
  problem(at(), "'" + key + "' is missing: " + what);
}

void TomlSection::refuseOtherKeys() const {
  for (const auto& [key, node] : *table) {
    const std::string name(key.str());
    if (asked.count(name) > 0) continue;
    const std::vector<std::string> known(asked.begin(), asked.end());
    problem(spanOf(key.source()), "'" + name + "' is no key that is known here",
            didYouMean(name, known, "known are " + listed(known)));
  }
}

std::shared_ptr<const toml::table> parseToml(const std::string& text, const std::string& file,
                                             Problems& problems) {
  problems.read(file, text);
  try {
    return std::make_shared<toml::table>(toml::parse(text));
  } catch (const toml::parse_error& error) {
    const auto number = static_cast<int>(error.source().begin.line);
    const size_t byte = byteOf(problems.source(file).line(number), error.source().begin.column);
    const Position at = {number, static_cast<int>(byte) + 1};
    problems.add({file,
                  {at, 1},
                  std::string(error.description()),
                  "a line is a [table], or KEY = VALUE with a number, true, false, a \"text\" or a "
                  "[list] for the value"});
    return nullptr;
  }
}
