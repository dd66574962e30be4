#include "simulate/TomlSection.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

// Compiled here alone, for the time it takes.
#include <toml++/toml.h>

namespace {

std::optional<double> finite(const toml::node& node) {
  if (!node.is_number()) return std::nullopt;
  const std::optional<double> value = node.value<double>();
  return value && std::isfinite(*value) ? value : std::nullopt;
}

} // namespace

std::optional<double> TomlSection::number(const std::string& key) {
  return numberThat(key, "a number", [](double) { return true; });
}

std::optional<double> TomlSection::atLeastZero(const std::string& key) {
  return numberThat(key, "a number of at least 0", [](double value) { return value >= 0; });
}

std::optional<double> TomlSection::aboveZero(const std::string& key) {
  return numberThat(key, "a number above 0", [](double value) { return value > 0; });
}

std::optional<double> TomlSection::share(const std::string& key) {
  return numberThat(key, "a number from 0 to 1",
                    [](double value) { return value >= 0 && value <= 1; });
}

std::optional<double> TomlSection::numberThat(const std::string& key, const std::string& wanted,
                                              const std::function<bool(double)>& holds) {
  const toml::node* node = find(key);
  if (!node) return std::nullopt;
  const std::optional<double> value = finite(*node);
  if (value && holds(*value)) return value;
  wrong(key, wanted);
  return std::nullopt;
}

std::optional<std::vector<double>> TomlSection::numbers(const std::string& key) {
  const toml::node* node = find(key);
  if (!node) return std::nullopt;
  std::vector<double> values;
  const auto add = [&values](const toml::node& each) {
    const std::optional<double> value = finite(each);
    if (value) values.push_back(*value);
    return value.has_value();
  };
  const toml::array* array = node->as_array();
  const bool good = array ? std::all_of(array->begin(), array->end(), add) : add(*node);
  if (good) return values;
  wrong(key, "a number or a list of numbers");
  return std::nullopt;
}

std::optional<std::string> TomlSection::text(const std::string& key) {
  const toml::node* node = find(key);
  if (!node) return std::nullopt;
  if (!node->is_string()) wrong(key, "a text in quotes");
  return node->value<std::string>();
}

std::vector<std::string> TomlSection::texts(const std::string& key) {
  const toml::node* node = find(key);
  if (!node) return {};
  std::vector<std::string> values;
  if (const toml::array* array = node->as_array()) {
    for (const toml::node& each : *array) {
      if (each.is_string()) values.push_back(*each.value<std::string>());
    }
    if (values.size() == array->size()) return values;
  }
  wrong(key, "a list of texts in quotes");
  return {};
}

std::optional<bool> TomlSection::flag(const std::string& key) {
  const toml::node* node = find(key);
  if (!node) return std::nullopt;
  if (!node->is_boolean()) wrong(key, "true or false");
  return node->value<bool>();
}

std::optional<TomlSection> TomlSection::section(const std::string& key) {
  const toml::node* node = find(key);
  if (!node) return std::nullopt;
  if (const toml::table* inner = node->as_table()) return TomlSection(*inner, *file, *problems);
  wrong(key, "a table");
  return std::nullopt;
}

std::vector<std::pair<std::string, TomlSection>> TomlSection::named(const std::string& key) {
  std::vector<std::pair<std::string, TomlSection>> sections;
  std::optional<TomlSection> outer = section(key);
  if (!outer) return sections;
  for (const auto& [name, node] : *outer->table) {
    if (auto inner = outer->section(std::string(name.str())))
      sections.emplace_back(name.str(), *inner);
  }
  // The library keeps keys in alphabetical order, and the file's order is what the user knows.
  std::stable_sort(sections.begin(), sections.end(),
                   [](const auto& a, const auto& b) { return a.second.line() < b.second.line(); });
  return sections;
}

std::vector<TomlSection> TomlSection::list(const std::string& key) {
  std::vector<TomlSection> sections;
  const toml::node* node = find(key);
  if (!node) return sections;
  if (const toml::array* array = node->as_array()) {
    for (const toml::node& each : *array) {
      if (const toml::table* inner = each.as_table())
        sections.emplace_back(*inner, *file, *problems);
    }
    if (sections.size() == array->size()) return sections;
  }
  wrong(key, "a list of tables, [[" + key + "]]");
  return {};
}

std::vector<std::pair<std::string, double>> TomlSection::allNumbers() {
  std::vector<std::pair<std::string, double>> values;
  for (const auto& [key, node] : *table) {
    const std::string name(key.str());
    if (const std::optional<double> value = number(name)) values.emplace_back(name, *value);
  }
  return values;
}

std::optional<std::string> TomlSection::word(const std::string& key) {
  const toml::node* node = find(key);
  if (!node) return std::nullopt;
  if (node->is_string()) return node->value<std::string>();
  if (const std::optional<double> value = finite(*node)) {
    std::ostringstream text;
    // As many digits as come back the way they were written: 0.1 and not 0.10000000000000001.
    text << std::setprecision(15) << *value;
    return text.str();
  }
  wrong(key, "a text in quotes or a number");
  return std::nullopt;
}

std::vector<std::pair<std::string, std::string>> TomlSection::allWords() {
  std::vector<std::pair<std::string, std::string>> values;
  for (const auto& [key, node] : *table) {
    const std::string name(key.str());
    if (const std::optional<std::string> value = word(name)) values.emplace_back(name, *value);
  }
  return values;
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

const toml::node* TomlSection::find(const std::string& key) {
  asked.insert(key);
  return table->get(key);
}

void TomlSection::wrong(const std::string& key, const std::string& wanted) const {
  problem(line(key), "'" + key + "' must be " + wanted);
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
