#pragma once

#include <initializer_list>

// The divided difference of exp over the given points: exp(x) for one, (exp(x) - exp(y)) / (x - y)
// for two, and so on; where points coincide, its limit. What a step of a linear system adds is made
// of these, and they are accurate where the quotients cancel.
//
// Shape:  one to four points, in any order.
// Errors: relative error below 1e-13 for points of at most 0, however near or far from one another.
double expDifference(std::initializer_list<double> points);
