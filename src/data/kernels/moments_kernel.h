// The inner loop of the class moments, compiled for three processor levels. One lane per input:
// every level gives the same bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qrvml {

/// A case that enters a class row.
struct MomentEntry {
  std::int32_t position;  // of the case among the rows
  std::int32_t classRow;
};

/// Rows of cases, and which of them enter which class rows.
struct MomentCases {
  std::size_t inputs = 0;
  const double* rows = nullptr;           // row by row
  const std::int32_t* weights = nullptr;  // per row; null: all 1
  const double* missing = nullptr;        // missing-data code per input
  const MomentEntry* entries = nullptr;
  std::size_t count = 0;  // of the entries
};

/// Inputs first to last - 1.
struct InputRange {
  std::size_t first, last;
};

/// The moments, class row by class row and input by input.
struct MomentSums {
  std::size_t inputs;  // sums of a class row
  double* weight;      // weighted cases so far
  double* mean;        // of them
  double* squares;     // weighted sum of squared deviations from it
};

struct MomentsKernel {
  /// Takes in the entries in order, into each class row the inputs of its range. For a case of
  /// weight w and each input x that is not missing:
  ///   weight += w, d = x - mean, mean += w d / weight, squares += w d (x - mean).
  void (*add)(const MomentCases& cases, const InputRange* ranges, MomentSums sums);
};

extern const MomentsKernel kMomentsKernelV2;
extern const MomentsKernel kMomentsKernelV3;
extern const MomentsKernel kMomentsKernelV4;

}  // namespace qrvml
