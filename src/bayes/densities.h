// The distributions that naive Bayes gives to inputs: their parameters and the logarithms of their
// densities, in the same bits on every machine.
#pragma once

#include <cstdint>

namespace qrvml {

/// What an input's values follow within a class. The numbers are those of the generated texts.
enum class Distribution : std::int16_t {
  normal = 0,
  lognormal = 1,
  gamma = 2,
  poisson = 3,
  discrete = 4,  // categorical inputs, always
};
inline constexpr int kDistributions = 5;
inline constexpr int kContinuousDistributions = 4;

/// Only the members of the distribution asked for are set.
struct DistributionParameters {
  double mean = 0, std = 0;     // normal; std is the variance
  double scale = 0, shape = 0;  // lognormal, gamma
  double lambda = 0;            // Poisson
};

/// From a class's mean M and its variance S. S S, not S, serves lognormal and gamma as variance:
///   normal     mean = M, std = S
///   lognormal  scale = M M / sqrt(S S + M M), shape = sqrt(ln((S S + M M) / (M M)))
///   gamma      scale = S S / M, shape = M M / (S S)
///   Poisson    lambda = M
/// No case is guarded: a result may be 0, infinite or not a number.
DistributionParameters ParametersOf(double mean, double variance, Distribution distribution);

// --- Logarithms of densities. Below 0 a gamma or Poisson value, and at or below 0 a lognormal one,
// --- has density 0: minus infinity. -----------------------------------------------------------

/// ln of the normal term without its exponent: -0.5 ln(2.5066282746310007 S).
double LogNormalHeight(double variance);
/// -0.472856811 - ln(shape) - ln(x) - ln(x / scale)^2 / (2 shape^2).
double LogLognormal(double x, double scale, double shape);
/// ln(y^(shape - 1) e^-y / Gamma(shape)) for y >= 0, shape > 0: the gamma density of unit scale. At
/// 0, where it is 0, 1 or infinite, it is that of the smallest normal number, so that classes keep
/// the order that they have on the way to 0. (Loader, Fast and accurate computation of binomial
/// probabilities, 2000: deviances and Stirling's error instead of differences of large numbers.)
double LogGamma(double y, double shape);
/// ln(lambda^x e^-lambda / Gamma(x + 1)) for x >= 0, integer or not, and lambda >= 0; lambda 0 is
/// all mass at 0. (Loader, as above.)
double LogPoisson(double x, double lambda);

/// ln(x): error below 1 ulp, no library function is used. 0 gives minus infinity, a negative number
/// not-a-number.
double PortableLog(double x);

}  // namespace qrvml
