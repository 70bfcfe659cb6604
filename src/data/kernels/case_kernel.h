// What is done with every case that is read, compiled for three processor levels. One lane per
// slot: every level gives the same bits.
#pragma once

#include <cstddef>

namespace qrvml {

struct CaseKernel {
  /// out = values; whether one of them is its missing-data code.
  bool (*copy)(std::size_t slots, const double* values, const double* codes, double* out);
  /// sum += weight * value, slot by slot.
  void (*addSums)(std::size_t slots, const double* values, double weight, double* sum);
  /// The same; a value beyond its minimum or maximum takes its place.
  void (*addCase)(std::size_t slots, const double* values, double weight, double* sum,
                  double* minimum, double* maximum);
};

extern const CaseKernel kCaseKernelV2;
extern const CaseKernel kCaseKernelV3;
extern const CaseKernel kCaseKernelV4;

/// The newest kernel that this processor has.
const CaseKernel& CaseKernelHere();

}  // namespace qrvml
