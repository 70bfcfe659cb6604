// The source of the kernel, included once by the file of each processor level. Everything here has
// internal linkage: code compiled for a newer processor must not be shared by the linker.
#pragma once

#include "data/kernels/moments_kernel.h"

namespace {

void AddCase(std::size_t inputs, const double* values, double w, qrvml::MomentSums sums) {
  double* __restrict weight = sums.weight;
  double* __restrict mean = sums.mean;
  double* __restrict squares = sums.squares;
  for (std::size_t k = 0; k < inputs; ++k) {
    const double x = values[k];
    weight[k] += w;
    const double weighted = w * (x - mean[k]);
    mean[k] += weighted / weight[k];
    squares[k] += weighted * (x - mean[k]);
  }
}

int CountMissing(std::size_t inputs, const double* values, const double* codes) {
  int missing = 0;
  for (std::size_t k = 0; k < inputs; ++k) missing += values[k] == codes[k] ? 1 : 0;
  return missing;
}

constexpr qrvml::MomentsKernel kKernel{AddCase, CountMissing};

}  // namespace
