#pragma once

#include <cstdint>
#include <string>

// Who did what in one schedule, for people. Costs much; switched on for a schedule that is
// repeated.
namespace trace {

void begin();
bool isOn();

// Keeps a line, with the place in the daemon's sources that the calls on the stack come from.
void add(uint64_t step, int64_t time, const std::string& fiber, const std::string& what);

// Ends the trace and prints it to the standard output.
void print();

} // namespace trace
