#pragma once

#include <cstddef>
#include <vector>

// A thermal network taken apart: its temperatures above the ambient, left alone, are a sum of
// shapes of which each decays by itself.
//
// Shape:  `rates` by mode; `shapes` row by row, one row per node, one column per mode.
//         Scaled so that shapes^T C shapes is the identity: `shapes` leads from modes to kelvin,
//         its transpose times the capacities back, and its transpose from watts to what drives the
//         modes.
// Units:  rates in 1/s, above 0; shapes in K per unit of a mode, which is the square root of J K.
struct Modes {
  std::vector<double> rates;
  std::vector<double> shapes;
};

// A network as its numbers.
//
// Shape:  `conductances` between nodes is a square matrix, row by row, symmetric, its diagonal
//         unused.
// Units:  capacities in J/K, conductances in W/K.
struct NetworkNumbers {
  explicit NetworkNumbers(size_t nodes_)
      : nodes(nodes_), capacities(nodes, 1.0), conductances(nodes * nodes, 0.0),
        toAmbient(nodes, 0.0) {}

  size_t nodes;
  std::vector<double> capacities;
  std::vector<double> conductances;
  std::vector<double> toAmbient;
};

// Each rate keeps its relative accuracy beside all others, however stiff the network is: a solver
// that is accurate beside the fastest one alone loses hours next to microseconds.
//
// Errors: nothing is checked. Capacities must be above 0, conductances at least 0, and from every
//         node a chain of resistances must lead to the ambient.
// Source: Demmel, Gu, Eisenstat, Slapnicar, Veselic, Drmac: Computing the singular value
//         decomposition with high relative accuracy (1999), for a factor that is found without a
//         subtraction.
Modes modesOf(const NetworkNumbers& network);
