#include "fit/Course.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>

namespace {

using Eigen::Index;
using Role = ThermalModel::Role;

int64_t microsecondsOf(double seconds) {
  return std::llround(seconds * 1e6);
}

// The rows of a matrix, each with its weight, summed, from one column on as far as there are so
// many columns at a time: these stay in registers.
template <int Columns>
Index sumColumns(const double* weights, const ThermalModel::ByRow& matrix, Index from,
                 double* sum) {
  using Few = Eigen::Array<double, 1, Columns>;
  for (; from + Columns <= matrix.cols(); from += Columns) {
    Few few = weights[0] * Eigen::Map<const Few>(&matrix(0, from));
    for (Index i = 1; i < matrix.rows(); ++i)
      few += weights[i] * Eigen::Map<const Few>(&matrix(i, from));
    Eigen::Map<Few>(sum + from) = few;
  }
  return from;
}

void sumRows(const double* weights, const ThermalModel::ByRow& matrix, double* sum) {
  const Index after = sumColumns<8>(weights, matrix, 0, sum);
  sumColumns<1>(weights, matrix, sumColumns<2>(weights, matrix, after, sum), sum);
}

} // namespace

Course::Course(const ThermalModel& model_, const PlantDescription& plant, const Recorded& recorded_,
               const Stretch& stretch_, const std::vector<double>& offsets_, size_t stride_,
               bool sensitive_)
    : model(model_), recorded(recorded_), stretch(stretch_), offsets(offsets_), stride(stride_),
      sensitive(sensitive_), powers(plant) {}

double Course::startTime() const {
  double start = std::numeric_limits<double>::max();
  for (size_t i = 0; i < recorded.files.size(); ++i) {
    const auto& [first, end] = stretch.rows[i];
    if (first < end) start = std::min(start, recorded.files[i].rows[first].time + offsets[i]);
  }
  return start;
}

// What holds at the start is the last word before it; where there is none, the first one.
void Course::begin(const Eigen::VectorXd& starts) {
  const double start = startTime();
  places.clear();
  std::set<std::pair<RecordedChange::Kind, uint32_t>> told;
  for (size_t i = 0; i < recorded.files.size(); ++i) {
    const RecordedFile& file = recorded.files[i];
    // By the number in the file and not in the stretch: then any two courses take the same rows.
    const size_t first = (stretch.rows[i].first + stride - 1) / stride * stride;
    Place place{first, stretch.rows[i].second, 0};
    for (const RecordedChange& change : file.changes) {
      const bool isFirst = told.insert({change.kind, change.index}).second;
      const bool isPast = change.time + offsets[i] <= start;
      if (isFirst || isPast) powers.take(change);
      place.change += isPast ? 1 : 0;
      measuresAmbient |= change.kind == RecordedChange::Kind::kAmbient;
    }
    places.push_back(place);
  }
  now = microsecondsOf(start);
  ambient = powers.ambient();
  state = model.starts * (starts.array() - ambient).matrix();
  decay = Eigen::ArrayXd::Ones(state.size());
  jumped = Eigen::ArrayXd::Zero(state.size());
  ofStates = ThermalModel::ByRow::Zero(state.size(), state.size());
  const Index quantities = model.rows.cols();
  ofPowers = ThermalModel::ByRow::Zero(state.size(), quantities);
  atStart = model.bySpeed.cwiseProduct(state.transpose() * model.rows);
  effects = ThermalModel::ByRow::Zero(state.size(), quantities + state.size());
  drivesAreOld = true;
}

// The files side by side, each in its order and by its own clock: whatever comes next is next, and
// of a change and a row at one time the change. The course ends with the last row; changes behind
// it warm nothing that is read.
void Course::go(const Eigen::VectorXd& starts, const Take& takeRow) {
  begin(starts);
  constexpr double kNever = std::numeric_limits<double>::max();
  for (;;) {
    double time = kNever;
    size_t next = 0;
    bool isChange = false;
    bool rowsAreLeft = false;
    for (size_t i = 0; i < places.size(); ++i) {
      const RecordedFile& file = recorded.files[i];
      const Place& place = places[i];
      const auto consider = [&](double at, bool change) {
        if (at + offsets[i] >= time && !(change && !isChange && at + offsets[i] == time)) return;
        time = at + offsets[i];
        next = i;
        isChange = change;
      };
      if (place.change < file.changes.size()) consider(file.changes[place.change].time, true);
      if (place.row < place.rowEnd) consider(file.rows[place.row].time, false);
      rowsAreLeft |= place.row < place.rowEnd;
    }
    if (!rowsAreLeft) return;
    const RecordedFile& file = recorded.files[next];
    advanceTo(time);
    if (isChange)
      take(file.changes[places[next].change++]);
    else
      takeRow(next, file.rows[std::exchange(places[next].row, places[next].row + stride)]);
  }
}

void Course::take(const RecordedChange& change) {
  powers.take(change);
  drivesAreOld = true;
  // The temperatures stay, so that what they are above the ambient changes.
  state -= (powers.ambient() - ambient) * model.evenly;
  jumped -= powers.ambient() - ambient;
  ambient = powers.ambient();
}

void Course::updateDrives() {
  drives = Eigen::VectorXd::Zero(state.size());
  for (Index i = 0; i < model.powers.cols(); ++i)
    drives += powers.total(static_cast<size_t>(i)) * model.powers.col(i);
  drivesAreOld = false;
}

void Course::advanceTo(double time) {
  const int64_t then = microsecondsOf(time);
  // A clock's setting may put what stands at one time a little before it.
  if (then <= now) return;
  if (drivesAreOld) updateDrives();
  if (then - now != length) {
    length = then - now;
    step = &model.step(length, sensitive);
  }
  // Before the state, from whose value at the begin of the step they go on.
  if (sensitive) advanceSensitivities();
  state.array() = step->decay * state.array() + step->driven * drives.array();
  now = then;
}

// With the rates r and h the length of the step, `ofStates` of k and i is the integral from the
// start to now of exp(-r_k (now - t)) z_i(t) dt. Over one step z_i is made of exp(-r_i t) and a
// constant drive, so that the integral is a divided difference of exp, of two points or with 0 of
// three.
void Course::advanceSensitivities() {
  for (Index i = 0; i < state.size(); ++i)
    ofStates.row(i) = step->decay[i] * ofStates.row(i) +
                      state.cwiseProduct(step->pairs.col(i)).transpose() +
                      drives.cwiseProduct(step->drivenPairs.col(i)).transpose();
  decay *= step->decay;
  jumped *= step->decay;
  for (Index i = 0; i < ofPowers.cols(); ++i) {
    const ThermalModel::Effect& effect = model.effects[static_cast<size_t>(i)];
    if (effect.role != Role::kByPower && effect.role != Role::kByIdle) continue;
    const double power =
        effect.role == Role::kByPower ? powers.ofLoad(effect.index) : powers.ofIdle(effect.index);
    ofPowers.col(i).array() = step->decay * ofPowers.col(i).array() + step->driven * power;
  }
}

double Course::temperature(size_t output) const {
  const auto index = static_cast<Index>(output);
  return ambient + model.offsets[index] + model.outputs.col(index).dot(state);
}

// A quantity's effect on state k is its column at k times what its row gathers of the integrals. A
// kelvin at a start has decayed since.
// Of a temperature T above the ambient, which jumps with it, the integral of exp(-r_k (now - t))
// T'(t) between the jumps is by parts
//   T(now) - exp(-r_k (now - start)) T(start) - sum of exp(-r_k (now - jump)) jump
//   - r_k integral of exp(-r_k (now - t)) T(t) dt.
void Course::prepareSensitivities() {
  const Index quantities = model.rows.cols();
  atNow.resize(quantities);
  sumRows(state.data(), model.rows, atNow.data());
  atNow = atNow.cwiseProduct(model.bySpeed);
  for (Index k = 0; k < state.size(); ++k) {
    auto own = effects.row(k).head(quantities);
    sumRows(&ofStates(k, 0), model.rows, own.data());
    own = model.columns.row(k).cwiseProduct(model.gains.row(k).cwiseProduct(own) + ofPowers.row(k) +
                                            atNow - decay[k] * atStart - jumped[k] * model.bySpeed);
    effects.row(k).tail(state.size()) = decay[k] * model.starts.row(k);
  }
}

void Course::sensitivity(size_t output, Eigen::Ref<Eigen::RowVectorXd> row) const {
  const auto index = static_cast<Index>(output);
  const auto own = model.outputs.col(index);
  sumRows(own.data(), effects, row.data());
  for (const Index i : model.still) {
    // These two have no integral. A warmer ambient warms all; but at the start the temperatures
    // were given, and what they then were above it is as much less.
    const ThermalModel::Effect& effect = model.effects[static_cast<size_t>(i)];
    if (effect.role == Role::kOffset) row[i] = effect.index == output ? 1 : 0;
    if (effect.role == Role::kAmbient)
      row[i] = measuresAmbient ? 0 : 1 - own.cwiseProduct(decay.matrix()).dot(model.evenly);
  }
}
