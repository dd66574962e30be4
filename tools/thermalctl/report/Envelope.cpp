#include "report/Envelope.h"

#include <algorithm>

#include "report/Encoding.h"

namespace {

using Stretches = std::vector<Envelope::Stretch>;

// Adds it to the last one, if both lie in one stretch of that length.
void append(Stretches& stretches, const Envelope::Stretch& added, int64_t length) {
  if (stretches.empty() || length == 1 || stretches.back().time / length != added.time / length) {
    stretches.push_back(added);
    return;
  }
  Envelope::Stretch& last = stretches.back();
  last.sum += added.sum;
  last.count += added.count;
  last.low = std::min(last.low, added.low);
  last.high = std::max(last.high, added.high);
}

} // namespace

int64_t Envelope::Stretch::mean() const {
  const int64_t half = sum < 0 ? -count / 2 : count / 2;
  return (sum + half) / count;
}

void Envelope::add(int64_t time, int32_t value) {
  append(kept, {time, value, 1, value, value}, length);
  // Down to a half, so that what it costs is spread over as many samples to come.
  if (kept.size() > capacity) thin(capacity / 2);
}

void Envelope::limitTo(size_t most) {
  capacity = std::min(capacity, most);
  if (kept.size() > capacity) thin(capacity);
}

void Envelope::thin(size_t most) {
  while (kept.size() > most) {
    // A longer stretch is made of whole shorter ones.
    length *= 2;
    Stretches merged;
    for (const Stretch& stretch : kept)
      append(merged, stretch, length);
    kept = std::move(merged);
  }
}

std::string Envelope::encoded() const {
  std::string text;
  int64_t number = 0;
  int64_t step = 0;
  int64_t mean = 0;
  for (const Stretch& stretch : kept) {
    appendNumber(text, stretch.time / length - number - step);
    appendNumber(text, stretch.mean() - mean);
    if (length > 1) {
      appendNumber(text, stretch.mean() - stretch.low);
      appendNumber(text, stretch.high - stretch.mean());
    }
    step = stretch.time / length - number;
    number = stretch.time / length;
    mean = stretch.mean();
  }
  return text;
}
