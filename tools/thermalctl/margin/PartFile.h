#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "file/FileHandle.h"
#include "margin/MarginStudy.h"
#include "margin/Sampling.h"
#include "margin/SearchReport.h"
#include "margin/UnitRows.h"
#include "toml/Problems.h"

// Which part of the units that were asked for is meant, or of a search's simulations.
//
// Shape: the `index`-th of `count`, from 1 on.
struct Shard {
  Range asked;
  uint64_t index = 1;
  uint64_t count = 1;

  Range units() const { return asked.shard(index, count); }
  // For Sobol indices, of which a later round of units takes no more.
  Range samples(const MarginStudy& study) const {
    return asked.first == 1 ? Range{1, study.sobolSamples + 1}.shard(index, count) : Range{1, 1};
  }
};

// Puts the rows of a shard into one file: written beside it and renamed, so that what stands there
// is whole or was there before. Returns what went wrong.
std::optional<std::string> writePart(const std::string& path, const MarginStudy& study,
                                     const Shard& shard, const UnitRows& units,
                                     const UnitRows& samples);

// A part of a search. What another round goes on from is the only one of its search.
void writeSearchPart(std::ostream& out, const MarginStudy& study, const Shard& shard,
                     const SearchReport& report);

// Parts that make up one question, in the order of their units or simulations.
//
// Shape:  those of a search have its report, all others rows. `files` hold what these lie in.
struct MergedParts {
  MarginStudy study;
  Range asked;
  std::optional<SearchReport> search;
  UnitRows units;
  UnitRows samples;
  std::vector<FileHandle> files;
};

// Nothing where one is torn or no part at all, where two have the same units, where one is of
// another question, or where units are missing: each is told by its name.
std::optional<MergedParts> mergeParts(const std::vector<std::string>& paths, Problems& problems);

// What two studies differ in, of which a user knows; empty if they are of one question.
std::string differenceOf(const MarginStudy& one, const MarginStudy& other);
