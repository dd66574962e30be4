#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <Eigen/Core>

#include "fit/Likelihood.h"
#include "fit/Quantity.h"
#include "fit/Recorded.h"
#include "fit/Stretch.h"
#include "simulate/PlantFile.h"

// All that is to be found, in the order of a vector: the quantities (by their logarithms where they
// have one), then how far each file's clock is behind that of its recording's first file, then for
// each stretch the temperatures at its start.
//
// Shape: a first file has no clock of its own, nor has one without readings and changes.
struct Unknowns {
  Unknowns(const PlantDescription& plant, const std::vector<Quantity>& quantities,
           const std::vector<Recorded>& recordings, const std::vector<Stretch>& stretches);

  size_t clocksBegin() const { return quantities; }
  size_t clocksEnd() const { return startsBegin; }
  // The offsets of a recording's files.
  std::vector<double> offsetsOf(size_t recording, const Eigen::VectorXd& values) const;

  size_t quantities = 0;
  std::vector<std::vector<std::optional<size_t>>> clocks; // by recording and file
  size_t startsBegin = 0;
  size_t perStretch = 0;
  size_t count = 0;
};

// What the readings say of the unknowns around some values.
//
// Shape: `information` is the matrix of second derivatives, without those of the temperatures.
struct MisfitEvidence {
  double misfit = 0;
  Eigen::VectorXd slope;
  Eigen::MatrixXd information;
};

// One reading beside what the model has for it.
struct Residual {
  size_t stretch = 0;
  size_t file = 0;
  const ReadingRow* row = nullptr;
  Reading reading;
  double fitted = 0;
};

// How well values of the unknowns go with all readings of all stretches.
//
// Shape: `likelihoods` by output, and with the stretches to be set before anything is asked; of the
//        rows every `stride`th counts, for a first look.
// Errors: what is given must outlive it.
struct Misfit {
  Misfit(const PlantDescription& plant_, const std::vector<Quantity>& quantities_,
         const std::vector<Recorded>& recordings_, std::vector<Stretch> stretches_);

  // Cuts the recordings anew, as the clocks of `values` have them; the values are then none any
  // more. False, and all stays, where nothing would change or a recording would have no stretch
  // left.
  bool cutAgain(const Eigen::VectorXd& values);

  size_t outputs() const { return plant.probes.size() + plant.nodes.size(); }
  std::vector<double> naturalOf(const Eigen::VectorXd& values) const;

  MisfitEvidence evidence(const Eigen::VectorXd& values) const;
  // The misfit alone, of all stretches or of those of one recording.
  double misfit(const Eigen::VectorXd& values, std::optional<size_t> recording = {}) const;
  void eachResidual(const Eigen::VectorXd& values, const std::function<void(const Residual&)>& take,
                    std::optional<size_t> recording = {}) const;

  const PlantDescription& plant;
  const std::vector<Quantity>& quantities;
  const std::vector<Recorded>& recordings;
  std::vector<Stretch> stretches;
  Unknowns unknowns;
  std::vector<Likelihood> likelihoods;
  size_t stride = 1;
  std::optional<size_t> only{}; // of the outputs, where one alone counts

  // The likelihoods for many readings, made anew for those that have changed.
  const std::vector<LikelihoodTable>& tables() const;

private:
  class Accumulation;
  struct Model;
  std::shared_ptr<const Model> modelAt(const Eigen::VectorXd& values) const;
  template <typename Take>
  void eachReading(const Eigen::VectorXd& values, std::optional<size_t> recording,
                   const Take& take) const;
  void addEvidence(size_t stretch, const Model& model, const Eigen::VectorXd& values,
                   MisfitEvidence& evidence) const;
  std::vector<double> predictions(size_t stretch, const Model& model,
                                  const Eigen::VectorXd& values) const;

  mutable std::vector<LikelihoodTable> kept;
  // Mostly asked for again: a step that was tried is then taken, and clocks move by themselves.
  mutable std::shared_ptr<const Model> latest;
};

// Of recordings of whose clocks nothing is known; with the steps of their readings.
Misfit misfitOf(const PlantDescription& plant, const std::vector<Quantity>& quantities,
                const std::vector<Recorded>& recordings);
