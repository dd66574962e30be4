#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>
#include <version>

// Of itself it makes a stream for each number.
#ifdef __cpp_lib_to_chars
#define TOML_FLOAT_CHARCONV 1
#endif
#include <toml++/impl/forward_declarations.h>

#include "toml/Problems.h"

// One table of a TOML file. Whatever is wrong in it goes to the problems with its place; a key that
// nobody asked for is wrong, too, since it is most likely a slip.
//
// Shape:  a key is asked for by the call that reads it, whether it is there or not; `has`, `at` and
//         `atKey` do not ask.
// Errors: a value of another type, or outside its bounds, is told once, and the caller gets nothing
//         as if it were missing. So `missing` looks for the key and not for the value.
// Source: the table of `parseToml`, which must outlive this, as must the file's name and the
//         problems.
class TomlSection {
public:
  TomlSection(const toml::table& table_, const std::string& file_, Problems& problems_)
      : table(&table_), file(&file_), problems(&problems_) {}

  // What a number may be, and what it is called: "degrees Celsius".
  struct Bounds {
    double least;
    double most;
    const char* unit = "";
    bool mayBeZero = false; // though it is less than the least
  };

  // Nothing where the key is missing or its value is no number that calculates well: infinite ones
  // and those too small for all their digits are none.
  std::optional<double> number(const std::string& key);
  std::optional<double> number(const std::string& key, const Bounds& bounds);
  std::optional<double> share(const std::string& key); // of 1
  // A list of numbers, or one number as a list of one.
  std::optional<std::vector<double>> numbers(const std::string& key);
  std::optional<std::vector<double>> numbers(const std::string& key, const Bounds& bounds);
  std::optional<std::string> text(const std::string& key);
  std::vector<std::string> texts(const std::string& key);
  std::optional<bool> flag(const std::string& key);
  std::optional<TomlSection> section(const std::string& key);
  // The sections of `[key.NAME]`, in the order of the file.
  std::vector<std::pair<std::string, TomlSection>> named(const std::string& key);
  // The sections of `[[key]]`.
  std::vector<TomlSection> list(const std::string& key);
  // Every key with its number, but for those that are told to be none within the bounds.
  std::vector<std::pair<std::string, double>> allNumbers(const Bounds& bounds);
  // A text or a number, as its text.
  std::optional<std::string> word(const std::string& key);
  // A list of those.
  std::vector<std::string> words(const std::string& key);
  // Every key with its word.
  std::vector<std::pair<std::string, std::string>> allWords();

  size_t size() const; // keys
  bool has(const std::string& key) const;
  // Where the table begins: its header.
  Span at() const;
  // Where a key's value stands, or that of a list's `index`; the table if it lacks the key.
  Span at(const std::string& key) const;
  Span at(const std::string& key, size_t index) const;
  // Where a key itself stands.
  Span atKey(const std::string& key) const;

  void problem(const Span& at, const std::string& what, const std::string& hint = "") const {
    problems->add({*file, at, what, hint});
  }
  void missing(const std::string& key, const std::string& what) const;
  // To be called last.
  void refuseOtherKeys() const;

private:
  // What `convert` makes of the key's value. A value of which it makes nothing is told.
  template <typename Wanted, typename Convert>
  auto read(const std::string& key, const Wanted& wanted, Convert convert);
  // What `reader(key)` gives, of every key.
  template <typename Reader> auto all(Reader reader);
  std::optional<TomlSection> sectionAt(const toml::node& node) const;
  Span spanOf(const toml::source_region& region) const;

  const toml::table* table;
  const std::string* file;
  Problems* problems;
  std::set<std::string> asked;
};

// The file's tables, or null after telling why. The problems have the text from then on.
std::shared_ptr<const toml::table> parseToml(const std::string& text, const std::string& file,
                                             Problems& problems);
