#pragma once

#include <atomic>
#include <cstdint>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "device/Requester.h"

// One cooling knob: a kernel node driven through a table of levels.
//
// Shape:   a level is an index into `levelTable`; 0 is no cooling, the highest request wins. A
//          level past the table's end is its last entry, the strongest cooling.
// Units:   a table entry is text in whatever unit the node's driver takes.
// Errors:  a node that cannot be opened is logged once; its writes are lost while the level still
//          advances. A write that fails leaves the stream failed, and nothing is retried.
// Threads: any thread may post and apply; `lock` makes each call atomic.
// Source:  "level_table" and "node_path" of the device's section in the environment file.
class Device {
public:
  // `type` says how an entry is written: "integer", "hex" or "string"; with any other text nothing
  // is.
  Device(const std::string& name, const std::string& nodePath, const std::string& type,
         const std::vector<std::string>& levelTable);
  virtual ~Device() = default;
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  // Files a requester's wish; `statusApply` carries it out. The later post of a name holds. Returns
  // 0.
  int32_t deviceControl(const std::string& requester, int32_t level);
  int32_t deviceControl(const Requester& requester, int32_t level);

  // Takes back what was posted under the requester's name. Only when the requester is not in force
  // any more, a namesake which is keeps its request, or gets it back: in a change of scenario or
  // configuration the one that comes may ask before the one that goes has had its last word.
  virtual void withdraw(const Requester& requester);

  // Whether the latest post of the requester's name is its own, and not withdrawn.
  bool holds(const Requester& requester);

  // Merges all requests and, only if the merged level changed, writes its output.
  virtual void statusApply();

  // What the node is given at a level, which must be inside the table; empty when that is nothing.
  virtual std::string output(int32_t level) const;

  std::string name;
  std::string nodePath;
  std::ofstream node;
  // A withdrawn request stays as 0.
  std::map<std::string, int32_t> requests;
  // Written by `statusApply` under `lock`, read by any. Level 0 is taken to be in force at the
  // start: it is never the first to be written.
  std::atomic<int32_t> currentLevel{0};
  std::mutex lock;
  bool useMax = true;
  std::vector<std::string> levelTable;
  std::string type;

protected:
  // The merged level, inside the table; nothing, and a log line, when the table is empty. Call with
  // `lock` held.
  std::optional<int32_t> mergedLevel() const;

  // Puts `bytes` at the start of the node.
  void writeNode(const std::string& bytes);

  // Takes back every post under a name. Call with `lock` held.
  void clear(const std::string& requester);

  const std::string& entry(int32_t level) const { return levelTable[static_cast<size_t>(level)]; }

private:
  struct Post {
    const Requester* requester;
    int32_t level;
  };
  static void removeOf(const Requester& requester, std::vector<Post>& all);

  // What was posted under a name and not taken back, the latest last.
  std::map<std::string, std::vector<Post>> posts;
};
