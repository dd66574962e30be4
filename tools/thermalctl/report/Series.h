#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The course of one value, in bounded memory.
//
// Shape:  whole as long as it fits. From then on each stretch of time keeps its first, lowest,
//         highest and last point, so that no extreme is lost and a value that holds until the next
//         point is right wherever a stretch ends. The stretches grow with the run.
// Units:  milliseconds since the start of the run, none below 0; the value in the unit of what it
//         is the course of.
// Memory: 16 bytes a point, and `capacity` points at most.
class Series {
public:
  // From its time on the value holds, up to the next point.
  struct Point {
    int64_t time = 0; // milliseconds
    int32_t value = 0;
  };

  static constexpr size_t kCapacity = 16384;

  explicit Series(size_t capacity_ = kCapacity) : capacity(capacity_) {}

  // Times never fall.
  void add(int64_t time, int32_t value);

  // From now on it keeps no more points than that, of which there must be a few.
  void limitTo(size_t most);

  size_t size() const { return kept.size(); }
  const std::vector<Point>& points() const { return kept; }
  // How long each is, in milliseconds; 1 as long as every point is kept.
  int64_t stretch() const { return length; }

private:
  void thin(size_t most);

  size_t capacity;
  int64_t length = 1; // milliseconds
  std::vector<Point> kept;
};

// The points as text: for each the second difference of the time and the difference of the value.
std::string encoded(const std::vector<Series::Point>& points);
