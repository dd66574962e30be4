#pragma once

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

// Standard numbers are never drawn further out than this: the generator knows no probability finer
// than one of 53 bits.
constexpr double kFarthest = 8.3;

// How a number is spread over the units, as a function of a standard normal number: the greater
// that, the greater the number.
//
// Shape:  `from` and `to` are of a uniform or triangular one; `centre` and `deviation` of a normal
//         one, and of a lognormal one's logarithm. `values` ascend, `upTo` are their summed shares.
//         Cut to what lies `within`, whose probabilities `share` has.
class Distribution {
public:
  enum class Kind { kNormal, kLognormal, kUniform, kTriangular, kList };

  static Distribution normal(double mean, double deviation);
  // `deviation` of the logarithm.
  static Distribution lognormal(double median, double deviation);
  static Distribution uniform(double from, double to);
  static Distribution triangular(double from, double mode, double to);
  // The values with their weights, which need not add up to 1.
  static Distribution list(std::vector<std::pair<double, double>> values);

  // Those that have 2.5 % of all units on either side; the triangular one is symmetric.
  static Distribution normalWithin(double low, double high);
  static Distribution lognormalWithin(double low, double high);
  static Distribution uniformWithin(double low, double high);
  static Distribution triangularWithin(double low, double high);

  // What is left of it between the two. False if nothing is.
  bool cut(double least, double most);

  double at(double standard) const;
  // Of a list the summed shares of its values; empty of all others.
  const std::vector<double>& steps() const { return upTo; }
  // The least and the greatest that is ever drawn.
  double least() const { return at(-kFarthest); }
  double most() const { return at(kFarthest); }

private:
  explicit Distribution(Kind kind_) : kind(kind_) {}
  double probability(double value) const;
  double quantile(double probability) const;
  double triangularQuantile(double probability) const;

  Kind kind;
  double centre = 0, deviation = 0;
  double from = 0, to = 0;
  std::vector<double> values, upTo;
  std::pair<double, double> within{-std::numeric_limits<double>::infinity(),
                                   std::numeric_limits<double>::infinity()};
  std::pair<double, double> share{0, 1};
  bool isCut = false;
};
