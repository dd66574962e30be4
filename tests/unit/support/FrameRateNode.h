#pragma once

#include <functional>
#include <optional>
#include <string>

// The writes, in order, that the camera's frame-rate node receives while `drive` runs. The node is
// only there for `drive`, in a child process with a mount namespace of its own. Nothing where the
// system grants no such namespace.
std::optional<std::string> frameRateWrites(const std::function<void()>& drive);
