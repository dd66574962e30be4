#include "report/Envelope.h"

#include <algorithm>
#include <utility>

#include "report/Encoding.h"

namespace {

// Of a stretch of a sensor's noise, and more than a sample takes.
constexpr size_t kUsualBytes = 8;

void join(Envelope::Stretch& stretch, const Envelope::Stretch& added) {
  stretch.sum += added.sum;
  stretch.count += added.count;
  stretch.low = std::min(stretch.low, added.low);
  stretch.high = std::max(stretch.high, added.high);
}

// Small numbers take one byte.
void put(std::string& bytes, uint64_t number) {
  for (; number > 127; number >>= 7)
    bytes += static_cast<char>(number | 128);
  bytes += static_cast<char>(number);
}

uint64_t take(const char*& bytes) {
  uint64_t number = 0;
  for (int shift = 0;; shift += 7) {
    const auto byte = static_cast<unsigned char>(*bytes++);
    number |= uint64_t{byte & 127U} << shift;
    if (byte < 128) return number;
  }
}

// Whatever its sign, a number near 0 becomes a small one.
uint64_t folded(int64_t number) {
  return static_cast<uint64_t>(number) << 1 ^ static_cast<uint64_t>(number >> 63);
}

int64_t unfolded(uint64_t number) {
  return static_cast<int64_t>(number >> 1 ^ (0 - (number & 1)));
}

} // namespace

int64_t Envelope::Stretch::mean() const {
  const int64_t added = count;
  return added == 1 ? sum : (sum + (sum < 0 ? -added : added) / 2) / added;
}

void Envelope::Before::follow(const Stretch& stretch) {
  step = stretch.time - time;
  time = stretch.time;
  mean = stretch.mean();
}

void Envelope::add(int64_t time, int32_t value) {
  append({time, value, 1, value, value});
  // By so much that what it costs is spread over many samples to come, but that stretches of twice
  // the length are enough.
  if (number > capacity) thin(2 * capacity / 3);
}

void Envelope::append(const Stretch& stretch) {
  const int64_t start = stretch.time >> doublings << doublings;
  if (doublings > 0 && number > 0 && last.time == start) return join(last, stretch);
  if (number > 0) pack();
  last = stretch;
  last.time = start;
  ++number;
}

void Envelope::pack() {
  // What is never filled costs nothing, and a text that grows is twice as large for a moment.
  if (packed.empty()) packed.reserve(kUsualBytes * capacity);
  put(packed, folded((last.time - before.time - before.step) >> doublings));
  put(packed, last.count);
  put(packed, folded(last.sum - int64_t{last.count} * before.mean));
  before.follow(last);
  if (last.count == 1) return;
  put(packed, static_cast<uint64_t>(before.mean - last.low));
  put(packed, static_cast<uint64_t>(last.high - before.mean));
}

void Envelope::forEach(const std::function<void(const Stretch&)>& visit) const {
  Before known;
  const char* bytes = packed.data();
  while (bytes != packed.data() + packed.size()) {
    Stretch each;
    each.time = known.time + known.step + unfolded(take(bytes)) * stretch();
    each.count = static_cast<uint32_t>(take(bytes));
    each.sum = int64_t{each.count} * known.mean + unfolded(take(bytes));
    known.follow(each);
    const auto apart = [&] { return each.count == 1 ? 0 : static_cast<int64_t>(take(bytes)); };
    each.low = static_cast<int32_t>(known.mean - apart());
    each.high = static_cast<int32_t>(known.mean + apart());
    visit(each);
  }
  if (number > 0) visit(last);
}

std::vector<Envelope::Stretch> Envelope::stretches() const {
  std::vector<Stretch> all;
  forEach([&all](const Stretch& each) { all.push_back(each); });
  return all;
}

void Envelope::limitTo(size_t most) {
  capacity = std::min(capacity, most);
  if (number > capacity) thin(capacity);
}

void Envelope::thin(size_t most) {
  while (number > most) {
    // A longer stretch is made of whole shorter ones.
    Envelope longer(capacity);
    longer.doublings = doublings + 1;
    forEach([&longer](const Stretch& each) { longer.append(each); });
    *this = std::move(longer);
  }
}

std::string Envelope::encoded() const {
  std::string text;
  Before known;
  forEach([&](const Stretch& each) {
    // Small numbers are short texts: of the time how much the step differs from the one before,
    // which is 0 for regular samples; of the mean the difference; of the extremes the distance
    // from the mean.
    appendNumber(text, (each.time - known.time - known.step) >> doublings);
    appendNumber(text, each.mean() - known.mean);
    known.follow(each);
    if (doublings == 0) return;
    appendNumber(text, known.mean - each.low);
    appendNumber(text, each.high - known.mean);
  });
  return text;
}
