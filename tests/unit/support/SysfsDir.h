#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

// A temporary directory shaped like sysfs: real files that sensors read and devices write.
class SysfsDir {
public:
  SysfsDir() {
    std::string path = (std::filesystem::temp_directory_path() / "sysfs-XXXXXX").string();
    if (!::mkdtemp(path.data())) std::abort();
    root = path;
  }
  ~SysfsDir() { std::filesystem::remove_all(root); }
  SysfsDir(const SysfsDir&) = delete;
  SysfsDir& operator=(const SysfsDir&) = delete;

  // The path of a node, whether it exists or not.
  std::string node(const std::string& name) const { return (root / name).string(); }

  // Makes `text` the content of a node and returns the node's path.
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(root / name, std::ios::binary) << text;
    return node(name);
  }
  void clear(const std::string& name) const { write(name, ""); }
  std::string read(const std::string& name) const {
    std::ostringstream content;
    content << std::ifstream(root / name, std::ios::binary).rdbuf();
    return content.str();
  }
  bool exists(const std::string& name) const { return std::filesystem::exists(root / name); }

private:
  std::filesystem::path root;
};
