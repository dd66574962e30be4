#pragma once

#include <filesystem>
#include <string>

// The files of a folder as a git revision has them, in a folder of their own.
//
// Shape:  moved but not copied; the folder is gone with it.
// Errors: `isThere` is false where the folder is in no repository, or that has no such revision, or
//         none of the folder in it.
// Source: the `git` of the machine, asked once.
class Revision {
public:
  Revision(const std::string& name, const std::filesystem::path& folder);
  Revision(Revision&& other) noexcept;
  Revision& operator=(Revision&&) = delete;
  ~Revision();

  bool isThere() const { return there; }
  const std::filesystem::path& folder() const { return copy; }

private:
  std::filesystem::path copy;
  bool there = false;
};
