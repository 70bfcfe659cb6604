// The inner loops of posteriors, compiled for three processor levels. One lane per case: each
// case's own sum keeps the order of the inputs, so every level gives the same bits.
#pragma once

#include <cstddef>

namespace qrvml {

inline constexpr std::size_t kCaseLanes = 32;  // cases of a block; a multiple of every vector

/// The normal terms of a class, input by input: height - (x - mean)^2 rate.
struct NormalTerms {
  const double* height;
  const double* mean;
  const double* rate;
};

struct PosteriorKernel {
  /// Lays rows out input by input: lanes[k * kCaseLanes + row] for rows < count; the other lanes
  /// repeat the last row.
  void (*transpose)(const double* rows, std::size_t count, std::size_t inputs, double* lanes);
  /// marks[lane] is set to 1 where an input equals its missing-data code, else to 0.
  void (*markMissing)(std::size_t inputs, const double* lanes, const double* codes, double* marks);
  /// sums[lane] += the term of each input in turn.
  void (*addNormal)(std::size_t inputs, const double* lanes, NormalTerms terms, double* sums);
  /// sums[lane] += terms[lane].
  void (*add)(const double* terms, double* sums);
  /// products[lane] = e^exponent factor; `slow`: lanes whose e^x is no normal number are left to
  /// the caller. Returns whether there are any.
  bool (*exponential)(const double* exponents, double factor, double* products, bool* slow);
};

extern const PosteriorKernel kPosteriorKernelV2;
extern const PosteriorKernel kPosteriorKernelV3;
extern const PosteriorKernel kPosteriorKernelV4;

}  // namespace qrvml
