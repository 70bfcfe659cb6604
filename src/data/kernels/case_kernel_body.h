// The source of the kernel, included once by the file of each processor level. Everything here has
// internal linkage: code compiled for a newer processor must not be shared by the linker.
//
// Plain loops that the compiler vectorises.
#pragma once

#include "data/kernels/case_kernel.h"

namespace {

bool Copy(std::size_t slots, const double* __restrict values, const double* __restrict codes,
          double* __restrict out) {
  long long missing = 0;
  for (std::size_t slot = 0; slot < slots; ++slot) {
    out[slot] = values[slot];
    missing |= values[slot] == codes[slot] ? 1 : 0;
  }
  return missing != 0;
}

void AddSums(std::size_t slots, const double* __restrict values, double weight,
             double* __restrict sum) {
  for (std::size_t slot = 0; slot < slots; ++slot) sum[slot] += weight * values[slot];
}

void AddCase(std::size_t slots, const double* __restrict values, double weight,
             double* __restrict sum, double* __restrict minimum, double* __restrict maximum) {
  for (std::size_t slot = 0; slot < slots; ++slot) {
    const double value = values[slot];
    sum[slot] += weight * value;
    minimum[slot] = value < minimum[slot] ? value : minimum[slot];
    maximum[slot] = value > maximum[slot] ? value : maximum[slot];
  }
}

constexpr qrvml::CaseKernel kKernel{Copy, AddSums, AddCase};

}  // namespace
