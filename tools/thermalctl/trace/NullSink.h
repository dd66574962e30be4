#pragma once

#include "trace/Trace.h"

// Shows nothing: for whoever goes through a recording to learn who takes part. A sink is told that
// before the first event, and a record shows it only at its end, so that every recording is gone
// through twice.
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
