#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "fit/Estimate.h"
#include "trace/Trace.h"

// What a fit found, and how it looks beside recordings that it was not made from.
//
// Shape: `validation` and its misfit are null without such recordings. `undetermined` and `remarks`
//        are sentences. `names` by output.
struct FitResult {
  const Misfit* misfit = nullptr;
  const Estimation* estimation = nullptr;
  const Misfit* validationMisfit = nullptr;
  const Estimation* validation = nullptr;
  std::vector<std::string> names;
  std::vector<std::string> undetermined;
  std::vector<std::string> remarks;
};

// The names of a plant's outputs: its sensors, and its nodes with "node:" in front.
std::vector<std::string> namesOfOutputs(const PlantDescription& plant,
                                        const TraceDescription& board);

// The root of the mean square of all residuals, and the largest one.
Agreeing overall(const std::vector<Agreeing>& agreement);

void writeFitJson(const FitResult& result, std::ostream& out);
