#pragma once

#include <cstddef>
#include <optional>
#include <vector>

// The functions of statistics that the standard library lacks.

// How likely a number of the standard normal distribution is at most `standard`.
double normalProbability(double standard);
// The number that it is for `probability`, which lies between 0 and 1.
double normalQuantile(double probability);
// The same of the beta distribution, both of whose parameters are above 0.
double betaQuantile(double a, double b, double probability);

// A square matrix, row by row.
using SquareMatrix = std::vector<double>;

// L with L times its transpose the matrix, zero above its diagonal; nothing if the matrix is not
// positive definite.
std::optional<SquareMatrix> choleskyOf(const SquareMatrix& matrix, size_t size);
