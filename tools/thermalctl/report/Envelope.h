#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// The course of a noisy value, such as a temperature, in bounded memory.
//
// Shape:  every sample as long as they fit. From then on the lowest, mean and highest of each
//         stretch of time that has samples: no extreme is lost, and what the noise hides shows in
//         the mean. The stretches begin at multiples of their length, which grows with the run.
// Units:  milliseconds since the start of the run, none below 0; the value in the unit of what it
//         is the course of.
// Memory: `capacity` stretches at most, each of a few bytes: what tells it from the one before it.
class Envelope {
public:
  // What is left of the samples of one stretch of time.
  //
  // Shape: of one sample `low`, `high` and the mean are its value.
  // Units: those of the course.
  struct Stretch {
    int64_t mean() const;

    int64_t time = 0; // at which it begins, in milliseconds
    int64_t sum = 0;
    uint32_t count = 0;
    int32_t low = 0;
    int32_t high = 0;
  };

  explicit Envelope(size_t capacity_) : capacity(capacity_) {}

  // Times never fall.
  void add(int64_t time, int32_t value);
  // From now on it keeps no more stretches than that, of which there must be a few.
  void limitTo(size_t most);

  size_t size() const { return number; }
  std::vector<Stretch> stretches() const;
  // How long each is, in milliseconds; 1 as long as every sample is kept.
  int64_t stretch() const { return int64_t{1} << doublings; }

  // As text: for each sample the second difference of the time and the difference of the value; for
  // each stretch the second difference of its number, the difference of the mean, and how far below
  // and above it the lowest and the highest are.
  std::string encoded() const;

private:
  // What a stretch is told beside: the one before it.
  //
  // Units: those of a Stretch.
  struct Before {
    void follow(const Stretch& stretch);

    int64_t time = 0;
    int64_t step = 0;
    int64_t mean = 0;
  };

  void append(const Stretch& stretch);
  void pack();
  void forEach(const std::function<void(const Stretch&)>& visit) const;
  void thin(size_t most);

  size_t capacity;
  int doublings = 0; // of a stretch of a millisecond
  size_t number = 0; // of stretches
  Stretch last;
  // Those before it, and what comes of them for the next.
  std::string packed;
  Before before;
};
