#pragma once

#include "trace/Trace.h"

// Shows nothing: for whoever goes through a recording to learn who takes part.
class NullSink : public TraceSink {
public:
  void begin(const TraceDescription&) override {}
  void temperature(int64_t, size_t, int32_t) override {}
  void level(int64_t, size_t, int32_t, const std::string&) override {}
  void algorithm(int64_t, size_t, int32_t) override {}
  void scenario(int64_t, const std::string&) override {}
  void configuration(int64_t, const std::string&) override {}
  void end(int64_t, const std::vector<Performance>&) override {}
};
