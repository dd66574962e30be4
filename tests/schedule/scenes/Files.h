#pragma once

#include <map>
#include <string>

// The files of a daemon under test, in memory. The directory goes with the object.
class Files {
public:
  Files();
  ~Files();
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;

  std::string path(const std::string& name) const { return directory + "/" + name; }

  // Makes `text` the file's whole content. The file stays open, for the next time.
  void write(const std::string& name, const std::string& text);
  std::string read(const std::string& name) const;

private:
  std::string directory;
  std::map<std::string, int> open;
};
