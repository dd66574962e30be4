#pragma once

#include <string>
#include <vector>

#include "integrate/BoardNode.h"

// A file of the folder by which an Android tree takes the board up.
//
// Shape:  `name` is below the folder. A line that begins with `remark` means nothing to its reader.
struct IntegrationFile {
  std::string name;
  std::string content;
  // Null where every byte counts.
  const char* remark = nullptr;
};

inline constexpr char kBlueprintFile[] = "Android.bp";

// Between these in its name a file holds what one node gets at level 0.
inline constexpr char kLevelZeroStart[] = "talmor-thermal-";
inline constexpr char kLevelZeroEnd[] = ".level0";

// All files of the folder, but for the configuration, which is not made of the environment.
//
// Source: the board's nodes and the text of its environment file. `blueprintBefore` is the Blueprint
//         file that is there already: what it says of licenses is the integrator's, and stays.
std::vector<IntegrationFile> integrationFiles(const std::vector<BoardNode>& nodes,
                                              const std::string& environment,
                                              const std::string& blueprintBefore);
