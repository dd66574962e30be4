#include "fit/Misfit.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "fit/Course.h"
#include "fit/Indices.h"
#include "fit/Steps.h"
#include "fit/ThermalModel.h"

namespace {

using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::VectorXd;

// Over which the derivative by a clock is taken: the temperatures are as good as straight over it.
constexpr double kClockStep = 0.05;

constexpr Index kRowsAtOnce = 256;

} // namespace

Unknowns::Unknowns(const PlantDescription& plant, const std::vector<Quantity>& quantities_,
                   const std::vector<Recorded>& recordings, const std::vector<Stretch>& stretches)
    : quantities(quantities_.size()), count(quantities) {
  for (const Recorded& recorded : recordings) {
    clocks.emplace_back();
    for (size_t i = 0; i < recorded.files.size(); ++i) {
      const RecordedFile& file = recorded.files[i];
      const bool has = i > 0 && !(file.rows.empty() && file.changes.empty());
      clocks.back().push_back(has ? std::optional(count++) : std::nullopt);
    }
  }
  // A stretch starts with a temperature for each node, and for each reading that lags behind its
  // node.
  startsBegin = count;
  perStretch = plant.nodes.size();
  for (const PlantDescription::Probe& probe : plant.probes)
    perStretch += probe.lag > 0 ? 1 : 0;
  count += stretches.size() * perStretch;
}

std::vector<double> Unknowns::offsetsOf(size_t recording, const VectorXd& values) const {
  std::vector<double> offsets;
  for (const std::optional<size_t>& clock : clocks[recording])
    offsets.push_back(clock ? values[indexOf(*clock)] : 0);
  return offsets;
}

Misfit::Misfit(const PlantDescription& plant_, const std::vector<Quantity>& quantities_,
               const std::vector<Recorded>& recordings_, std::vector<Stretch> stretches_)
    : plant(plant_), quantities(quantities_), recordings(recordings_),
      stretches(std::move(stretches_)), unknowns(plant, quantities, recordings, stretches) {}

bool Misfit::cutAgain(const VectorXd& values) {
  std::vector<Stretch> cut;
  for (size_t i = 0; i < recordings.size(); ++i) {
    std::vector<Stretch> ofOne = stretchesOf(recordings[i], i, unknowns.offsetsOf(i, values));
    if (ofOne.empty()) return false;
    std::move(ofOne.begin(), ofOne.end(), std::back_inserter(cut));
  }
  const auto isSame = [](const Stretch& a, const Stretch& b) {
    return a.recording == b.recording && a.rows == b.rows;
  };
  if (std::equal(cut.begin(), cut.end(), stretches.begin(), stretches.end(), isSame)) return false;
  stretches = std::move(cut);
  unknowns = Unknowns(plant, quantities, recordings, stretches);
  return true;
}

Misfit misfitOf(const PlantDescription& plant, const std::vector<Quantity>& quantities,
                const std::vector<Recorded>& recordings) {
  std::vector<Stretch> stretches;
  for (size_t i = 0; i < recordings.size(); ++i)
    for (Stretch& stretch : stretchesOf(recordings[i], i))
      stretches.push_back(std::move(stretch));
  Misfit misfit(plant, quantities, recordings, std::move(stretches));
  for (const double step : stepsOf(recordings, misfit.outputs()))
    misfit.likelihoods.push_back({1, step});
  return misfit;
}

std::vector<double> Misfit::naturalOf(const VectorXd& values) const {
  std::vector<double> natural;
  for (size_t i = 0; i < quantities.size(); ++i) {
    const double value = values[indexOf(i)];
    natural.push_back(quantities[i].byLogarithm() ? std::exp(value) : value);
  }
  return natural;
}

// What one stretch adds to the evidence: rows are gathered, so that most of the work is a product
// of matrices.
// A row is the derivative of one fitted temperature by the unknowns of the stretch, g; with s and
// w the slope and the weight of its likelihood, it adds s g to the slope and w g g^T to the
// information (Gauss and Newton: without the second derivatives of the temperature itself).
class Misfit::Accumulation {
public:
  Accumulation(const Misfit& misfit_, size_t stretch, Index rowLength)
      : misfit(misfit_), rows(kRowsAtOnce, rowLength), slopes(kRowsAtOnce), roots(kRowsAtOnce),
        information(rowLength, rowLength), slope(VectorXd::Zero(rowLength)) {
    information.setZero();
    const Unknowns& laidOut = misfit.unknowns;
    for (size_t i = 0; i < laidOut.quantities; ++i)
      places.push_back(i);
    for (size_t i = 0; i < laidOut.perStretch; ++i)
      places.push_back(laidOut.startsBegin + stretch * laidOut.perStretch + i);
    for (const auto& clock : laidOut.clocks[misfit.stretches[stretch].recording])
      if (clock) places.push_back(*clock);
  }

  Eigen::Ref<Eigen::RowVectorXd> row() { return rows.row(used); }

  void take(const Agreement& agreement) {
    total += agreement.misfit;
    slopes[used] = agreement.slope;
    roots[used++] = std::sqrt(agreement.weight);
    if (used == kRowsAtOnce) flush();
  }

  void addTo(MisfitEvidence& evidence) {
    flush();
    evidence.misfit += total;
    for (Index i = 0; i < slope.size(); ++i) {
      evidence.slope[placeOf(i)] += slope[i];
      for (Index j = 0; j < slope.size(); ++j)
        evidence.information(placeOf(i), placeOf(j)) +=
            i >= j ? information(i, j) : information(j, i);
    }
  }

private:
  Index placeOf(Index i) const { return indexOf(places[static_cast<size_t>(i)]); }

  void flush() {
    slope.noalias() += rows.topRows(used).transpose() * slopes.head(used);
    for (Index i = 0; i < used; ++i)
      rows.row(i) *= roots[i];
    // The lower half alone; `addTo` mirrors it.
    information.selfadjointView<Eigen::Lower>().rankUpdate(rows.topRows(used).transpose());
    used = 0;
  }

  const Misfit& misfit;
  Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> rows;
  VectorXd slopes, roots; // of each row: its slope, and the root of its weight
  MatrixXd information;
  VectorXd slope;
  std::vector<size_t> places;
  double total = 0;
  Index used = 0;
};

// The plant with some values, and what it is made of.
struct Misfit::Model {
  Model(const Misfit& misfit, const VectorXd& all)
      : values(all.head(indexOf(misfit.quantities.size()))),
        plant(withValues(misfit.plant, misfit.quantities, misfit.naturalOf(all))),
        model(plant, misfit.quantities) {}

  const VectorXd values; // of the quantities
  const PlantDescription plant;
  const ThermalModel model;
};

std::shared_ptr<const Misfit::Model> Misfit::modelAt(const VectorXd& values) const {
  if (!latest || latest->values != values.head(latest->values.size()))
    latest = std::make_shared<const Model>(*this, values);
  return latest;
}

const std::vector<LikelihoodTable>& Misfit::tables() const {
  for (size_t i = 0; i < likelihoods.size(); ++i) {
    if (i == kept.size())
      kept.emplace_back(likelihoods[i]);
    else if (!kept[i].isOf(likelihoods[i]))
      kept[i] = LikelihoodTable(likelihoods[i]);
  }
  return kept;
}

MisfitEvidence Misfit::evidence(const VectorXd& values) const {
  const Index count = indexOf(unknowns.count);
  MisfitEvidence evidence{0, VectorXd::Zero(count), MatrixXd::Zero(count, count)};
  const auto model = modelAt(values);
  for (size_t i = 0; i < stretches.size(); ++i)
    addEvidence(i, *model, values, evidence);
  return evidence;
}

// Of every reading of the stretch, in the order of its course.
std::vector<double> Misfit::predictions(size_t stretch, const Model& model,
                                        const VectorXd& values) const {
  const Recorded& recorded = recordings[stretches[stretch].recording];
  const std::vector<double> offsets = unknowns.offsetsOf(stretches[stretch].recording, values);
  Course course(model.model, model.plant, recorded, stretches[stretch], offsets, stride, false);
  // By the place of the row in its file: with other clocks the rows of two files change places.
  std::vector<size_t> before(1, 0);
  for (const RecordedFile& file : recorded.files)
    before.push_back(before.back() + file.readings.size());
  std::vector<double> predicted(before.back());
  course.go(values.segment(indexOf(unknowns.startsBegin + stretch * unknowns.perStretch),
                           indexOf(unknowns.perStretch)),
            [&](size_t file, const ReadingRow& row) {
              for (size_t i = row.first; i < row.end; ++i)
                predicted[before[file] + i] =
                    course.temperature(recorded.files[file].readings[i].output);
            });
  return predicted;
}

void Misfit::addEvidence(size_t stretch, const Model& model, const VectorXd& values,
                         MisfitEvidence& evidence) const {
  const Stretch& part = stretches[stretch];
  const Recorded& recorded = recordings[part.recording];
  // With a clock move both the rows and the changes of its file, past those of the others. So its
  // derivative is a difference: the stretch is gone through twice more, with the clock a little
  // ahead and a little behind.
  std::vector<std::vector<double>> byClock;
  for (const auto& clock : unknowns.clocks[part.recording]) {
    if (!clock) continue;
    VectorXd moved = values;
    moved[indexOf(*clock)] += kClockStep;
    byClock.push_back(predictions(stretch, model, moved));
    moved[indexOf(*clock)] -= 2 * kClockStep;
    const std::vector<double> earlier = predictions(stretch, model, moved);
    for (size_t i = 0; i < earlier.size(); ++i)
      byClock.back()[i] = (byClock.back()[i] - earlier[i]) / (2 * kClockStep);
  }
  const std::vector<double> offsets = unknowns.offsetsOf(part.recording, values);
  const std::vector<LikelihoodTable>& likely = tables();
  // A row of the accumulation, in the order of its places: quantities, starts, clocks.
  const Index own = indexOf(unknowns.quantities + unknowns.perStretch);
  Accumulation accumulation(*this, stretch, own + indexOf(byClock.size()));
  std::vector<size_t> before(1, 0);
  for (const RecordedFile& file : recorded.files)
    before.push_back(before.back() + file.readings.size());
  Course course(model.model, model.plant, recorded, part, offsets, stride, true);
  course.go(values.segment(indexOf(unknowns.startsBegin + stretch * unknowns.perStretch),
                           indexOf(unknowns.perStretch)),
            [&](size_t file, const ReadingRow& row) {
              const RecordedFile& in = recorded.files[file];
              course.prepareSensitivities();
              for (size_t i = row.first; i < row.end; ++i) {
                const Reading& reading = in.readings[i];
                if (only && reading.output != *only) continue;
                auto line = accumulation.row();
                course.sensitivity(reading.output, line.head(own));
                for (size_t clock = 0; clock < byClock.size(); ++clock)
                  line[own + indexOf(clock)] = byClock[clock][before[file] + i];
                accumulation.take(
                    likely[reading.output].of(reading.celsius, course.temperature(reading.output)));
              }
            });
  accumulation.addTo(evidence);
}

double Misfit::misfit(const VectorXd& values, std::optional<size_t> recording) const {
  double total = 0;
  const std::vector<LikelihoodTable>& likely = tables();
  eachReading(values, recording,
              [&](size_t, size_t, const ReadingRow&, const Reading& reading, double fitted) {
                total += likely[reading.output].of(reading.celsius, fitted).misfit;
              });
  return total;
}

void Misfit::eachResidual(const VectorXd& values, const std::function<void(const Residual&)>& take,
                          std::optional<size_t> recording) const {
  eachReading(values, recording,
              [&](size_t stretch, size_t file, const ReadingRow& row, const Reading& reading,
                  double fitted) {
                take({stretch, file, &row, reading, fitted});
              });
}

template <typename Take>
void Misfit::eachReading(const VectorXd& values, std::optional<size_t> recording,
                         const Take& take) const {
  const auto model = modelAt(values);
  for (size_t stretch = 0; stretch < stretches.size(); ++stretch) {
    const Stretch& part = stretches[stretch];
    if (recording && part.recording != *recording) continue;
    const Recorded& recorded = recordings[part.recording];
    const std::vector<double> offsets = unknowns.offsetsOf(part.recording, values);
    Course course(model->model, model->plant, recorded, part, offsets, stride, false);
    course.go(values.segment(indexOf(unknowns.startsBegin + stretch * unknowns.perStretch),
                             indexOf(unknowns.perStretch)),
              [&](size_t file, const ReadingRow& row) {
                const RecordedFile& in = recorded.files[file];
                for (size_t i = row.first; i < row.end; ++i)
                  take(stretch, file, row, in.readings[i],
                       course.temperature(in.readings[i].output));
              });
  }
}
