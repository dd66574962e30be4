#include "margin/PartFile.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "file/OutputFiles.h"
#include "file/Sha256.h"
#include "text/Json.h"
#include "text/Phrases.h"

// A part is a file of its own, whole or refused:
//   the line kFirstLine
//   a line of JSON: the study, the shard, which units or simulations it has; of a search what it
//   found the rows of its units, and of its samples, as 32-bit numbers 64 digits, the SHA-256 of
//   all before
// Parts of one question are merged by putting their rows one behind the other, in the order of
// their units, and judged as if one machine had run them all.

namespace {

using PartJson = nlohmann::ordered_json;

// The first line of each part; another form of them has another.
constexpr char kFirstLine[] = "thermalctl margin part, version 1, little-endian\n";
constexpr size_t kDigits = 64;

struct Part {
  std::string path;
  FileHandle file;
  Shard shard;
  MarginStudy study;
  std::optional<SearchReport> search;
  int64_t rowsAt = 0; // bytes

  // "units 8 to 15" or "simulations 8 to 15"
  std::string named(const Range& range) const {
    const char* one = search ? "simulation" : "unit";
    if (range.size() == 0) return fmt::format("no {}s", one);
    if (range.size() == 1) return fmt::format("{} {}", one, range.first);
    return fmt::format("{}s {} to {}", one, range.first, range.end - 1);
  }
};

// Reads a file as what `writePart` has made, or tells what it is instead.
class PartReader {
public:
  PartReader(const std::string& path_, Problems& problems_) : path(path_), problems(problems_) {}

  std::optional<Part> read() {
    part.path = path;
    part.file = FileHandle(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status = {};
    if (!part.file || ::fstat(part.file.get(), &status) != 0)
      return tell("cannot be read: " + std::generic_category().message(errno));
    if (!S_ISREG(status.st_mode)) return tell("is no file, and so no part");
    if (!readHead()) return std::nullopt;
    const int64_t rows =
        part.search ? 0
                    : bytes(part.shard.units().size()) +
                          bytes(part.shard.samples(part.study).size() * part.study.sobolRuns());
    if (status.st_size != part.rowsAt + rows + static_cast<int64_t>(kDigits))
      return tell("is torn: it has " + std::to_string(status.st_size) +
                      " bytes, and its head promises " +
                      std::to_string(part.rowsAt + rows + static_cast<int64_t>(kDigits)),
                  kAgain);
    return isWhole(part.rowsAt + rows)
               ? std::optional(std::move(part))
               : tell("is torn: its bytes are not those that were written", kAgain);
  }

private:
  static constexpr char kAgain[] = "run its shard again";

  std::nullopt_t tell(const std::string& what, const std::string& hint = "") {
    problems.add({path, {}, what, hint});
    return std::nullopt;
  }

  int64_t bytes(uint64_t rows) const {
    return static_cast<int64_t>(rows * part.study.columns() * sizeof(int32_t));
  }

  std::string textAt(int64_t at, size_t length) const {
    std::string text(length, '\0');
    const ssize_t read = ::pread(part.file.get(), text.data(), length, at);
    text.resize(static_cast<size_t>(std::max<ssize_t>(0, read)));
    return text;
  }

  bool readHead() {
    constexpr size_t kMostHead = 64 << 20;
    const std::string first = kFirstLine;
    if (textAt(0, first.size()) != first) {
      tell("is no part of thermalctl margin, or one of another version",
           "name the files that --shard I/N --out FILE has written");
      return false;
    }
    std::string head;
    while (head.find('\n') == std::string::npos && head.size() < kMostHead) {
      const std::string more = textAt(static_cast<int64_t>(first.size() + head.size()), 1 << 16);
      if (more.empty()) break;
      head += more;
    }
    const size_t end = head.find('\n');
    if (end == std::string::npos || !takeHead(head.substr(0, end))) {
      tell("is torn: its head is not whole", kAgain);
      return false;
    }
    part.rowsAt = static_cast<int64_t>(first.size() + end + 1);
    return true;
  }

  bool takeHead(const std::string& text) {
    const PartJson json = parsedJson(text, false);
    if (!json.is_object()) return false;
    const auto study = MarginStudy::fromJson(jsonText(json.value("study", PartJson())));
    part.shard = {{json.value("first", uint64_t{0}), json.value("end", uint64_t{0})},
                  json.value("shard", uint64_t{0}),
                  json.value("shards", uint64_t{0})};
    const Shard& shard = part.shard;
    if (!study || shard.index < 1 || shard.index > shard.count ||
        shard.asked.first > shard.asked.end)
      return false;
    part.study = *study;
    return !json.contains("search") || takeSearch(json.at("search"));
  }

  bool takeSearch(const PartJson& json) {
    part.search = SearchReport::fromJson(jsonText(json));
    return part.search && part.study.runs.size() == 1 &&
           part.search->worst.size() == part.study.runs.front().budgets.size();
  }

  bool isWhole(int64_t end) const {
    Sha256 hash;
    for (int64_t at = 0; at < end;) {
      const std::string text =
          textAt(at, static_cast<size_t>(std::min<int64_t>(1 << 16, end - at)));
      if (text.empty()) return false;
      hash.add(text);
      at += static_cast<int64_t>(text.size());
    }
    return hash.digest() == textAt(end, kDigits);
  }

  const std::string& path;
  Problems& problems;
  Part part;
};

// All parts stay open until the end: as many files as the system lets a process ask for.
void allowManyFiles() {
  struct rlimit files = {};
  if (::getrlimit(RLIMIT_NOFILE, &files) != 0) return;
  files.rlim_cur = files.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &files);
}

std::string differenceOf(const Part& one, const Part& other) {
  if (one.search.has_value() != other.search.has_value())
    return other.search ? "it is of a search" : "it is of units, and not of a search";
  if (one.search && one.search->from != other.search->from)
    return "it is of another round, whose parts are merged by themselves";
  return ::differenceOf(one.study, other.study);
}

PartJson headOf(const MarginStudy& study, const Shard& shard) {
  return {{"first", shard.asked.first},
          {"end", shard.asked.end},
          {"shard", shard.index},
          {"shards", shard.count},
          {"study", parsedJson(study.asJson())}};
}

class Merger {
public:
  Merger(std::vector<Part> parts_, Problems& problems_)
      : parts(std::move(parts_)), problems(problems_) {}

  std::optional<MergedParts> merge() {
    std::sort(parts.begin(), parts.end(),
              [](const Part& a, const Part& b) { return keyOf(a) < keyOf(b); });
    for (const Part& part : parts)
      tellIfForeign(part);
    if (!problems.none()) return std::nullopt;
    tellDouble();
    tellMissing();
    if (!problems.none()) return std::nullopt;
    return joined();
  }

private:
  static std::tuple<uint64_t, uint64_t, uint64_t, std::string> keyOf(const Part& part) {
    const Range units = part.shard.units();
    return {units.first, units.end, part.shard.index, part.path};
  }

  void tellIfForeign(const Part& part) {
    const std::string difference = differenceOf(parts.front(), part);
    if (!difference.empty())
      problems.add({part.path,
                    {},
                    "is of another question than " + parts.front().path + ": " + difference,
                    "merge the parts of one command alone"});
  }

  void tellDouble() {
    const Part* before = nullptr;
    for (const Part& part : parts) {
      if (part.shard.units().size() == 0) continue;
      if (before && part.shard.units().first < before->shard.units().end)
        problems.add({part.path,
                      {},
                      "has " + part.named(part.shard.units()) + ", and " + before->path + " has " +
                          before->named(before->shard.units()),
                      "name each part once"});
      if (!before || part.shard.units().end > before->shard.units().end) before = &part;
    }
  }

  // Of every command that made a part all of its shards must be there; and between two commands'
  // units there may be no gap.
  void tellMissing() {
    std::map<std::tuple<uint64_t, uint64_t, uint64_t>, std::set<uint64_t>> there;
    for (const Part& part : parts) {
      const Shard& shard = part.shard;
      there[{shard.asked.first, shard.asked.end, shard.count}].insert(shard.index);
    }
    uint64_t end = std::get<0>(there.begin()->first);
    for (const auto& [asked, shards] : there) {
      const auto& [first, askedEnd, count] = asked;
      if (first > end) tellGap({end, first}, "");
      end = std::max(end, askedEnd);
      for (uint64_t index = 1; index <= count; ++index)
        if (shards.count(index) == 0)
          tellGap(Shard{{first, askedEnd}, index, count}.units(),
                  fmt::format(", shard {}/{},", index, count));
    }
  }

  void tellGap(const Range& range, const std::string& shard) {
    problems.add(
        {"margin merge",
         {},
         parts.front().named(range) + shard + (range.size() == 1 ? " is missing" : " are missing"),
         "run the shard, and name its part, too"});
  }

  MergedParts joined() {
    MergedParts merged;
    merged.study = parts.front().study;
    merged.asked = {parts.front().shard.units().first, parts.back().shard.units().end};
    if (parts.front().search) {
      std::vector<SearchReport> reports;
      for (Part& part : parts)
        reports.push_back(std::move(*part.search));
      merged.search = ::joined(reports);
      return merged;
    }
    const size_t columns = merged.study.columns();
    merged.units.columns = merged.samples.columns = columns;
    for (Part& part : parts) {
      UnitRows::Piece piece{part.file.get(), part.rowsAt, part.shard.units().size()};
      merged.units.pieces.push_back(piece);
      piece.at += merged.units.bytesOf(piece);
      piece.rows = part.shard.samples(merged.study).size() * merged.study.sobolRuns();
      merged.samples.pieces.push_back(piece);
      merged.files.push_back(std::move(part.file));
    }
    return merged;
  }

  std::vector<Part> parts;
  Problems& problems;
};

} // namespace

std::optional<std::string> writePart(const std::string& path, const MarginStudy& study,
                                     const Shard& shard, const UnitRows& units,
                                     const UnitRows& samples) {
  const std::filesystem::path place(path);
  OutputFiles outputs(place.parent_path().empty() ? "." : place.parent_path());
  std::ostream& out = outputs.add(place.filename());
  Sha256 hash;
  const auto write = [&](std::string_view text) {
    hash.add(text);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
  };
  write(kFirstLine);
  write(jsonText(headOf(study, shard)) + "\n");
  units.copyTo(write);
  samples.copyTo(write);
  out << hash.digest();
  return outputs.putInPlace();
}

void writeSearchPart(std::ostream& out, const MarginStudy& study, const Shard& shard,
                     const SearchReport& report) {
  PartJson head = headOf(study, shard);
  head["search"] = parsedJson(report.asJson());
  const std::string text = kFirstLine + jsonText(head) + "\n";
  Sha256 hash;
  hash.add(text);
  out << text << hash.digest();
}

std::optional<MergedParts> mergeParts(const std::vector<std::string>& paths, Problems& problems) {
  allowManyFiles();
  std::vector<Part> parts;
  for (const std::string& path : paths)
    if (auto part = PartReader(path, problems).read()) parts.push_back(std::move(*part));
  if (!problems.none() || parts.empty()) return std::nullopt;
  return Merger(std::move(parts), problems).merge();
}

std::string differenceOf(const MarginStudy& one, const MarginStudy& other) {
  std::map<std::string, std::string> files;
  for (const Provenance::Input& input : one.inputs)
    files[input.path] = input.sha256;
  for (const Provenance::Input& input : other.inputs) {
    const auto found = files.find(input.path);
    if (found == files.end()) return input.path + " is not among the files of the first";
    if (found->second != input.sha256) return input.path + " was another text";
    files.erase(found);
  }
  if (!files.empty()) return files.begin()->first + " is not among its files";
  if (one.seed != other.seed) return fmt::format("its seed is {} and not {}", other.seed, one.seed);
  if (one.duration != other.duration)
    return "each run takes " + clockOf(other.duration) + " and not " + clockOf(one.duration);
  if (one.sobolSamples != other.sobolSamples)
    return fmt::format("it has {} samples for Sobol indices in all and not {}", other.sobolSamples,
                       one.sobolSamples);
  const auto rest = [](MarginStudy study) {
    study.replay.clear();
    return study.asJson();
  };
  return rest(one) == rest(other) ? ""
                                  : "its configurations, workloads, limits or thermalctl differ";
}
