// The inner loop of the class moments, compiled for three processor levels. One lane per input:
// every level gives the same bits.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qrvml {

/// Neighbouring inputs whose sums of one class row share a cache line. Threads take whole lanes.
inline constexpr std::size_t kMomentLanes = 8;

/// Rows of cases and the class rows that they belong to.
struct MomentCases {
  std::size_t count = 0, inputs = 0, dependents = 0;
  const double* rows = nullptr;           // count x inputs
  const std::int32_t* classes = nullptr;  // count x dependents: class row, -1: none
  const std::int32_t* weights = nullptr;  // per row; null: all 1
  const double* missing = nullptr;        // missing-data code per input, then NaN to whole lanes
};

/// The sums that are kept for an input and a class row.
enum class MomentSum : std::size_t { weight, mean, squares };
inline constexpr std::size_t kMomentSums = 3;

/// Lanes of inputs, in each the three sums, in each of these class row by class row: what one
/// thread writes lies together, since threads that write to neighbouring lines slow each other
/// down.
struct MomentSums {
  std::size_t classRows;
  double* sums;  // aligned to 64 bytes
  double* even;  // room for a number per class row, of this thread alone

  /// Where the sum of an input and a class row is. Not for the kernels: the linker would share it.
  static std::size_t Place(MomentSum sum, std::size_t classRows, std::size_t row, std::size_t k) {
    const std::size_t lanes = k / kMomentLanes * kMomentSums + static_cast<std::size_t>(sum);
    return (lanes * classRows + row) * kMomentLanes + k % kMomentLanes;
  }
};

struct MomentsKernel {
  /// Takes in the inputs first to last - 1 of all cases in order; first is a multiple of
  /// kMomentLanes. For each class row of a case of weight w, and each input x that is not missing:
  ///   weight += w, d = x - mean, mean += w d / weight, squares += w d (x - mean).
  /// The first x is the mean as it is: w x / w can differ from it, and all of x is its distance.
  void (*add)(const MomentCases& cases, std::size_t first, std::size_t last, MomentSums sums);
};

extern const MomentsKernel kMomentsKernelV2;
extern const MomentsKernel kMomentsKernelV3;
extern const MomentsKernel kMomentsKernelV4;

}  // namespace qrvml
