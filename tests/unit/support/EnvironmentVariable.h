#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

// A variable of the environment that is set, or unset, while one of these lives.
//
// Threads: nobody else reads or writes the environment meanwhile.
class EnvironmentVariable {
public:
  EnvironmentVariable(std::string name_, const std::optional<std::string>& value)
      : name(std::move(name_)) {
    if (const char* set = std::getenv(name.c_str())) before = set; // NOLINT(concurrency-mt-unsafe)
    set(value);
  }
  ~EnvironmentVariable() { set(before); }
  EnvironmentVariable(const EnvironmentVariable&) = delete;
  EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

  void set(const std::optional<std::string>& value) const {
    // NOLINTBEGIN(concurrency-mt-unsafe)
    if (value)
      ::setenv(name.c_str(), value->c_str(), 1);
    else
      ::unsetenv(name.c_str());
    // NOLINTEND(concurrency-mt-unsafe)
  }

private:
  std::string name;
  std::optional<std::string> before;
};
