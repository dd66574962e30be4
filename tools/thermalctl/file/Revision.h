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
  // A text about these files with the names that git has for them, "REV:FOLDER/FILE", in place of
  // those that they have for the time being.
  std::string named(std::string text) const;

private:
  std::filesystem::path copy;
  // "REV:FOLDER/", the folder as the user gave it.
  std::string prefix;
  bool there = false;
};
