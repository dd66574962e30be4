#include "report/Envelope.h"

#include <algorithm>

#include "report/Encoding.h"

namespace {

void join(Envelope::Stretch& stretch, const Envelope::Stretch& added) {
  stretch.sum += added.sum;
  stretch.count += added.count;
  stretch.low = std::min(stretch.low, added.low);
  stretch.high = std::max(stretch.high, added.high);
}

} // namespace

int64_t Envelope::Stretch::mean() const {
  const int64_t number = count;
  return (sum + (sum < 0 ? -number : number) / 2) / number;
}

void Envelope::add(int64_t time, int32_t value) {
  const Stretch sample{time, value, 1, value, value};
  if (doublings > 0 && !kept.empty() && numberOf(kept.back().time) == numberOf(time))
    return join(kept.back(), sample);
  // What is never filled costs nothing, and a vector that grows is twice as large for a moment.
  if (kept.empty()) kept.reserve(capacity + 1);
  kept.push_back(sample);
  // By so much that what it costs is spread over many samples to come, but that stretches of twice
  // the length are enough.
  if (kept.size() > capacity) thin(2 * capacity / 3);
}

void Envelope::limitTo(size_t most) {
  capacity = std::min(capacity, most);
  if (kept.size() > capacity) thin(capacity);
}

void Envelope::thin(size_t most) {
  while (kept.size() > most) {
    // A longer stretch is made of whole shorter ones.
    ++doublings;
    size_t count = 0;
    for (const Stretch& stretch : kept) {
      if (count > 0 && numberOf(kept[count - 1].time) == numberOf(stretch.time))
        join(kept[count - 1], stretch);
      else
        kept[count++] = stretch;
    }
    kept.resize(count);
  }
}

std::string Envelope::encoded() const {
  std::string text;
  int64_t number = 0;
  int64_t step = 0;
  int64_t mean = 0;
  for (const Stretch& stretch : kept) {
    // Small numbers are short texts: of the time how much the step differs from the one before,
    // which is 0 for regular samples; of the mean the difference; of the extremes the distance
    // from the mean.
    appendNumber(text, numberOf(stretch.time) - number - step);
    appendNumber(text, stretch.mean() - mean);
    if (doublings > 0) {
      appendNumber(text, stretch.mean() - stretch.low);
      appendNumber(text, stretch.high - stretch.mean());
    }
    step = numberOf(stretch.time) - number;
    number = numberOf(stretch.time);
    mean = stretch.mean();
  }
  return text;
}
