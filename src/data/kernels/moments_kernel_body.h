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

/// Fetches the values of an entry that comes later: its case may lie anywhere.
inline void Fetch(const qrvml::MomentCases& cases, qrvml::MomentEntry entry,
                  qrvml::InputRange range) {
  constexpr std::size_t kLine = 64 / sizeof(double);
  const double* row = cases.rows + static_cast<std::size_t>(entry.position) * cases.inputs;
  for (std::size_t k = range.first; k < range.last; k += kLine) __builtin_prefetch(row + k);
  __builtin_prefetch(row + range.last - 1);
}

void AddEntries(const qrvml::MomentCases& cases, const qrvml::InputRange* ranges,
                qrvml::MomentSums sums) {
  constexpr std::size_t kAhead = 8;
  for (std::size_t i = 0; i < cases.count; ++i) {
    if (i + kAhead < cases.count) {
      const qrvml::MomentEntry later = cases.entries[i + kAhead];
      Fetch(cases, later, ranges[later.classRow]);
    }
    const qrvml::MomentEntry entry = cases.entries[i];
    const auto [first, last] = ranges[entry.classRow];
    const auto position = static_cast<std::size_t>(entry.position);
    const double* values = cases.rows + position * cases.inputs + first;
    const double* codes = cases.missing + first;
    const double w = cases.weights == nullptr ? 1.0 : cases.weights[position];
    const std::size_t at = static_cast<std::size_t>(entry.classRow) * sums.inputs + first;
    double* weight = sums.weight + at;
    double* mean = sums.mean + at;
    double* squares = sums.squares + at;
    if (CountMissing(last - first, values, codes) == 0) {
      AddValues(last - first, values, w, weight, mean, squares);
      continue;
    }
    for (std::size_t k = 0; k < last - first; ++k) {
      if (values[k] != codes[k]) AddValues(1, values + k, w, weight + k, mean + k, squares + k);
    }
  }
}

constexpr qrvml::MomentsKernel kKernel{AddEntries};

}  // namespace
