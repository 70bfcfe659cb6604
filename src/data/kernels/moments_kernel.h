// The inner loop of the class moments, compiled for three processor levels. One lane per input:
// every level gives the same bits.
#pragma once

#include <cstddef>

namespace qrvml {

/// The moments of one class, input by input.
struct MomentSums {
  double* __restrict weight;   // weighted cases so far
  double* __restrict mean;     // of them
  double* __restrict squares;  // weighted sum of squared deviations from it
};

struct MomentsKernel {
  /// Takes in a case of weight w without missing values: for each input x
  ///   weight += w, d = x - mean, mean += w d / weight, squares += w d (x - mean).
  void (*add)(std::size_t inputs, const double* values, double w, MomentSums sums);
  /// How many of the values equal their missing-data codes.
  int (*countMissing)(std::size_t inputs, const double* values, const double* codes);
};

extern const MomentsKernel kMomentsKernelV2;
extern const MomentsKernel kMomentsKernelV3;
extern const MomentsKernel kMomentsKernelV4;

}  // namespace qrvml
