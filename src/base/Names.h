#pragma once

#include <chrono>

// The daemon's sleep between two looks at the control files.
inline constexpr std::chrono::milliseconds kControlPeriod{1000};
