#include "toml/TomlSection.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include <fmt/format.h>
// Compiled here alone, for the time it takes.
#include <toml++/toml.h>

namespace {

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

} // namespace

template <typename Convert>
auto TomlSection::read(const std::string& key, const std::string& wanted, Convert convert) {
  using Result = std::invoke_result_t<Convert, const toml::node&>;
  asked.insert(key);
  const toml::node* node = table->get(key);
  if (!node) return Result();
  Result value = convert(*node);
  if (!value) problem(line(key), "'" + key + "' must be " + wanted);
  return value;
}

template <typename Value>
std::vector<std::pair<std::string, Value>>
TomlSection::all(std::optional<Value> (TomlSection::*reader)(const std::string&)) {
  std::vector<std::pair<std::string, Value>> values;
  for (const auto& [key, node] : *table) {
    const std::string name(key.str());
    if (auto value = (this->*reader)(name)) values.emplace_back(name, std::move(*value));
  }
  return values;
}

std::optional<TomlSection> TomlSection::sectionAt(const toml::node& node) const {
  const toml::table* inner = node.as_table();
  return inner ? std::optional(TomlSection(*inner, *file, *problems)) : std::nullopt;
}

std::optional<double> TomlSection::number(const std::string& key) {
  return read(key, "a number", finiteNumber);
}

std::optional<double> TomlSection::atLeastZero(const std::string& key) {
  return within(key, "a number of at least 0", 0, std::numeric_limits<double>::max());
}

std::optional<double> TomlSection::aboveZero(const std::string& key) {
  return within(key, "a number above 0", std::numeric_limits<double>::denorm_min(),
                std::numeric_limits<double>::max());
}

std::optional<double> TomlSection::share(const std::string& key) {
  return within(key, "a number from 0 to 1", 0, 1);
}

std::optional<double> TomlSection::within(const std::string& key, const std::string& wanted,
                                          double least, double most) {
  return read(key, wanted, [=](const toml::node& node) {
    const std::optional<double> value = finiteNumber(node);
    return value && *value >= least && *value <= most ? value : std::nullopt;
  });
}

std::optional<std::vector<double>> TomlSection::numbers(const std::string& key) {
  return read(key, "a number or a list of numbers", [](const toml::node& node) {
    const std::optional<double> single = finiteNumber(node);
    return single ? std::vector<double>{*single} : listOf<double>(node, finiteNumber);
  });
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
  auto sections = outer->all(&TomlSection::section);
  // The library keeps keys in alphabetical order, and the file's order is what the user knows.
  std::stable_sort(sections.begin(), sections.end(),
                   [](const auto& a, const auto& b) { return a.second.line() < b.second.line(); });
  return sections;
}

std::vector<TomlSection> TomlSection::list(const std::string& key) {
  const auto convert = [this](const toml::node& node) {
    return listOf<TomlSection>(node, [this](const toml::node& each) { return sectionAt(each); });
  };
  return read(key, "a list of tables, [[" + key + "]]", convert)
      .value_or(std::vector<TomlSection>());
}

std::vector<std::pair<std::string, double>> TomlSection::allNumbers() {
  return all(&TomlSection::number);
}

std::optional<std::string> TomlSection::word(const std::string& key) {
  return read(key, "a text in quotes or a number", [](const toml::node& node) {
    const std::optional<double> value = finiteNumber(node);
    // As many digits as come back the way they were written: 0.1 and not 0.10000000000000001.
    return value ? fmt::format("{:.15g}", *value) : textOf(node);
  });
}

std::vector<std::pair<std::string, std::string>> TomlSection::allWords() {
  return all(&TomlSection::word);
}

bool TomlSection::has(const std::string& key) const {
  return table->contains(key);
}

unsigned TomlSection::line() const {
  return table->source().begin.line;
}

unsigned TomlSection::line(const std::string& key) const {
  const toml::node* node = table->get(key);
  return node ? node->source().begin.line : line();
}

void TomlSection::missing(const std::string& key, const std::string& what) const {
  // A value that is there and wrong has been told already.
  if (!has(key)) problem(line(), "'" + key + "' is missing: " + what);
}

void TomlSection::refuseOtherKeys() const {
  for (const auto& [key, node] : *table) {
    const std::string name(key.str());
    if (asked.count(name) == 0)
      problem(node.source().begin.line, "'" + name + "' is no key that is known here");
  }
}

std::shared_ptr<const toml::table> parseToml(const std::string& text, const std::string& file,
                                             Problems& problems) {
  try {
    return std::make_shared<toml::table>(toml::parse(text));
  } catch (const toml::parse_error& error) {
    problems.add(file, error.source().begin.line, std::string(error.description()));
    return nullptr;
  }
}
