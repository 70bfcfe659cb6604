// The inner loops of posteriors, compiled for three processor levels. One lane per case: each
// case's own sum keeps the order of the inputs, so every level gives the same bits. All arrays of
// lanes are aligned to 64 bytes.
#pragma once

#include <cstddef>

namespace qrvml {

inline constexpr std::size_t kPosteriorLanes = 32;  // cases of a block; a multiple of every vector

/// The normal terms of a class, input by input: height - (x - mean)^2 rate.
struct NormalTerms {
  const double* height;
  const double* mean;
  const double* rate;
};

/// Ranks classes by sums that are 0 or below. A sum is off by at most slack - sum slackRate.
struct RankTerms {
  const double* constant;  // per class
  const double* slack;     // per class
  double slackRate;
};

/// What the processor fetches while it computes: cache lines of the rows that come next.
struct Ahead {
  const double* first;
  std::size_t lines;  // may be 0
};

struct PosteriorKernel {
  /// Lays kPosteriorLanes rows out input by input: lanes[k * kPosteriorLanes + row].
  void (*transpose)(const double* rows, std::size_t inputs, double* lanes);
  /// marks[lane] is set to 1 where an input equals its missing-data code, else to 0.
  void (*markMissing)(std::size_t inputs, const double* lanes, const double* codes, double* marks);
  /// sums[lane] += the term of each input in turn.
  void (*addNormal)(std::size_t inputs, const double* lanes, NormalTerms terms, double* sums);
  /// The same without the heights and with one rounding less an input where the processor can.
  void (*addSquares)(std::size_t inputs, const double* lanes, NormalTerms terms, double* sums,
                     Ahead ahead);
  /// sums[lane] += terms[lane].
  void (*add)(const double* terms, double* sums);
  /// largest[lane] = the class that `exponential` and `conclude` would find, without computing
  /// shares: the one with the largest logarithm of likelihood times prior, which is sums[lane] +
  /// constant. Returns whether that is beyond doubt in every lane: by a distance that no rounding
  /// reaches, and where no product or sum could be a number other than expected. A lane with
  /// settled[lane] = 1 is not looked at.
  bool (*rank)(std::size_t classes, const double* sums, RankTerms terms, const double* settled,
               double* largest);
  /// products[lane] = e^exponent factor, in the bits of PortableExp; slow[lane] = 1 where
  /// e^exponent may be no normal number and is left to the caller, else 0. Returns whether there
  /// are any.
  bool (*exponential)(const double* exponents, double factor, double* products, double* slow);
  /// Products, class by class, become shares of their sum; largest[lane] = the first class with the
  /// largest share above 0, -1: none. bad[lane] = 1, and its shares are worth nothing, where the
  /// sum is 0, infinite or not a number, else 0; sums[lane]: the sum. Returns whether any lane is
  /// bad.
  bool (*conclude)(std::size_t classes, double* products, double* sums, double* largest,
                   double* bad);
};

extern const PosteriorKernel kPosteriorKernelV2;
extern const PosteriorKernel kPosteriorKernelV3;
extern const PosteriorKernel kPosteriorKernelV4;

}  // namespace qrvml
