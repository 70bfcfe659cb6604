// The source of the kernel, included once by the file of each processor level. Everything here has
// internal linkage: code compiled for a newer processor must not be shared by the linker.
#pragma once

#include "data/kernels/moments_kernel.h"

namespace {

void AddValues(std::size_t inputs, const double* values, double w, double* __restrict weight,
               double* __restrict mean, double* __restrict squares) {
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

void AddCases(const qrvml::MomentCases& cases, std::size_t first, std::size_t last,
              qrvml::MomentSums sums) {
  const std::size_t length = last - first;
  const double* codes = cases.missing + first;
  for (std::size_t i = 0; i < cases.count; ++i) {
    const double* values = cases.rows + i * cases.inputs + first;
    const double w = cases.weights == nullptr ? 1.0 : cases.weights[i];
    const bool isWhole = CountMissing(length, values, codes) == 0;
    for (std::size_t d = 0; d < cases.dependents; ++d) {
      const std::int32_t row = cases.classes[i * cases.dependents + d];
      if (row < 0) continue;
      const std::size_t at = static_cast<std::size_t>(row) * cases.inputs + first;
      if (isWhole) {
        AddValues(length, values, w, sums.weight + at, sums.mean + at, sums.squares + at);
        continue;
      }
      for (std::size_t k = 0; k < length; ++k) {
        if (values[k] == codes[k]) continue;
        AddValues(1, values + k, w, sums.weight + at + k, sums.mean + at + k,
                  sums.squares + at + k);
      }
    }
  }
}

constexpr qrvml::MomentsKernel kKernel{AddCases};

}  // namespace
