#include "check/output/Fingerprints.h"

#include <cstdint>

#include <fmt/core.h>

#include "base/TextReader.h"
#include "check/Whereabouts.h"

namespace {

// FNV-1a: the same on every machine and in every version.
uint64_t hashOf(const std::string& text) {
  uint64_t hash = 0xcbf29ce484222325;
  for (const char c : text)
    hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
  return hash;
}

// The first word of the line: its key, its header, or what stands in their place.
std::string keyOf(const Finding& finding, const Sources& sources) {
  const auto source = sources.find(finding.file);
  if (source == sources.end()) return "";
  const std::string& line = source->second.line(finding.at.line).text;
  const size_t start = line.find_first_not_of(kWhiteSpace);
  if (start == std::string::npos) return "";
  return line.substr(start, line.find_first_of(kWhiteSpace, start) - start);
}

} // namespace

std::string Fingerprints::of(const Finding& finding) {
  const Whereabouts where =
      whereaboutsOf(finding, inspection.environment, inspection.configurations);
  std::string identity;
  for (const std::string& part : {finding.rule, finding.file, where.scenario, where.block,
                                  keyOf(finding, inspection.sources)})
    identity += part + '\n';
  const int number = ++seen[identity];
  return fmt::format("{:016x}", hashOf(identity + std::to_string(number)));
}
