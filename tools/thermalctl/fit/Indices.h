#pragma once

#include <cstddef>

#include <Eigen/Core>

// A place as Eigen counts.
inline Eigen::Index indexOf(size_t place) {
  return static_cast<Eigen::Index>(place);
}
