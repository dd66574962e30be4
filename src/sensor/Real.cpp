#include "sensor/Real.h"

#include <atomic>
#include <exception>

#include "base/Int32.h"
#include "base/Log.h"
#include "base/ThermalThread.h"
#include "sensor/Virtual.h"

namespace {

// Of the C locale, which is the daemon's.
bool isSpace(int character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

} // namespace

Real::Real(const std::string& name_, uint32_t sampling_, const std::string& nodePath_)
    : Sensor(name_, sampling_, nullptr), nodePath(nodePath_) {
#ifdef __GLIBCXX__
  // Only here: libc++ reads through stdio, which holds text of its own back behind a small buffer
  // and would give it out again after the seek.
  node.rdbuf()->pubsetbuf(buffer.data(), static_cast<std::streamsize>(buffer.size()));
#endif
  node.open(nodePath);
  if (!node.is_open()) LOG_LINE(message::kNodeNotOpened, nodePath.c_str());
}

void Real::updateTemp() {
  const int32_t value = parseInt32(nextToken());
  // Whoever this sample wakes sees it by the wake-up; whoever is awake may see it a moment later.
  temperature.store(value, std::memory_order_release);
  LOG_LINE(message::kSample, name.c_str(), scenario.c_str(), value);
}

// What `node.seekg(0) >> token` would give, taken straight from the stream's buffer: the way there
// through sentries and facets is a tenth of all that a pass costs a processor just woken from
// sleep. The seek is all that rewinds the stream. It clears no failure, so that a sensor whose read
// failed once reads 0 from then on.
std::string Real::nextToken() {
  std::string token;
  if (node.fail()) return token;
  // The buffer that the stream reads from, which need not be its own file's.
  std::streambuf& content = *static_cast<std::istream&>(node).rdbuf();
  const auto end = std::streambuf::traits_type::eof();
  try {
    if (content.pubseekpos(0, std::ios::in) != std::streampos(-1)) {
      for (auto c = content.sgetc(); c != end; c = content.snextc()) {
        if (!isSpace(c))
          token.push_back(static_cast<char>(c));
        else if (!token.empty())
          return token;
      }
    }
  } catch (const std::exception&) {
    // How libstdc++ tells of a read that the driver refuses; a stream does not let it out, either.
    node.setstate(std::ios::badbit);
  }
  if (token.empty()) node.setstate(std::ios::failbit);
  return token;
}

void Real::insertVirtualSensor(Virtual* sensor) {
  virtuals.push_back(sensor);
}

void Real::updateVirtualSensors() {
  // With all of them on nothing is looked at any more, the clearing set points included.
  if (virtuals.empty() || activeVirtuals == virtuals.size()) return;

  const int32_t trip = temperature;
  for (Virtual* v : virtuals) {
    if (v->active) {
      if (trip >= v->setPointClr) continue;
      v->active = false;
      if (v->thread) v->thread->deactivate();
      --activeVirtuals;
    } else {
      if (trip <= v->setPoint) continue;
      v->active = true;
      if (v->thread) v->thread->activate();
      ++activeVirtuals;
    }
  }
}
