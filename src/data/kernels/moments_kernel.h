// The inner loop of the class moments, compiled for three processor levels. One lane per input:
// every level gives the same bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qrvml {

/// Rows of cases and the class rows that they belong to.
struct MomentCases {
  std::size_t count = 0, inputs = 0, dependents = 0;
  const double* rows = nullptr;           // count x inputs
  const std::int32_t* classes = nullptr;  // count x dependents: class row, -1: none
  const std::int32_t* weights = nullptr;  // per row; null: all 1
  const double* missing = nullptr;        // missing-data code per input
};

/// The moments, class row by class row and input by input.
struct MomentSums {
  double* weight;   // weighted cases so far
  double* mean;     // of them
  double* squares;  // weighted sum of squared deviations from it
};

struct MomentsKernel {
  /// Takes in the inputs first to last - 1 of all cases in order. For each class row of a case of
  /// weight w, and each input x that is not missing:
  ///   weight += w, d = x - mean, mean += w d / weight, squares += w d (x - mean).
  void (*add)(const MomentCases& cases, std::size_t first, std::size_t last, MomentSums sums);
};

extern const MomentsKernel kMomentsKernelV2;
extern const MomentsKernel kMomentsKernelV3;
extern const MomentsKernel kMomentsKernelV4;

}  // namespace qrvml
