#include "bayes/densities.h"

#include <bit>
#include <cmath>
#include <initializer_list>
#include <limits>

namespace qrvml {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kHalfLogTwoPi = 0.91893853320467274178;
constexpr double kTwoPi = 6.28318530717958647692;
// From here on Stirling's series has more digits than a double.
constexpr double kStirlingFrom = 16.0;

/// ln Gamma(x + 1) - (x + 1/2) ln x + x - ln(2 pi) / 2 for x >= kStirlingFrom, by Stirling's series
/// with Bernoulli's numbers (Abramowitz and Stegun, 6.1.41).
double StirlingError(double x) {
  const double r = 1.0 / x;
  const double q = r * r;
  return r * (1.0 / 12 -
              q * (1.0 / 360 -
                   q * (1.0 / 1260 - q * (1.0 / 1680 - q * (1.0 / 1188 - q * (691.0 / 360360))))));
}

/// ln Gamma(x + 1) for 0 <= x < kStirlingFrom: Gamma(x + 1) = Gamma(z + 1) / ((x + 1) ... z).
double LogFactorial(double x) {
  double product = 1.0;
  double z = x;
  while (z < kStirlingFrom) product *= ++z;
  return (z + 0.5) * PortableLog(z) - z + kHalfLogTwoPi + StirlingError(z) - PortableLog(product);
}

/// x ln(x / m) + m - x for x, m > 0: Loader's deviance. Near x = m a series in
/// v = (x - m) / (x + m) instead of the difference, which would cancel.
double Deviance(double x, double m) {
  const double difference = x - m;
  if (std::fabs(difference) < 0.3 * (x + m)) {
    const double v = difference / (x + m);
    double sum = difference * v;
    double power = 2.0 * x * v;
    const double square = v * v;
    for (int j = 3;; j += 2) {
      power *= square;
      const double next = sum + power / j;
      if (next == sum) return sum;
      sum = next;
    }
  }
  const double quotient = x / m;
  // It may overflow or vanish where the numbers do not.
  const double logarithm =
      std::isnormal(quotient) ? PortableLog(quotient) : PortableLog(x) - PortableLog(m);
  return x * logarithm + m - x;
}

}  // namespace

double PortableLog(double x) {
  if (std::isnan(x) || x < 0) return std::numeric_limits<double>::quiet_NaN();
  if (x == 0) return -kInfinity;
  if (x == kInfinity) return x;
  // x = 2^k m with m in [sqrt(1/2), sqrt(2)).
  int k = 0;
  if (x < std::numeric_limits<double>::min()) {
    x *= 0x1p54;
    k = -54;
  }
  auto bits = std::bit_cast<std::uint64_t>(x);
  k += static_cast<int>(bits >> 52) - 1023;
  bits = (bits & 0x000FFFFFFFFFFFFF) | 0x3FF0000000000000;
  double m = std::bit_cast<double>(bits);
  if (m >= 1.4142135623730951) {
    m *= 0.5;
    ++k;
  }
  // ln(1 + f) = 2 s + 2 s^3 / 3 + 2 s^5 / 5 + … with s = f / (2 + f), and 2 s = f - s f; written
  // with h = f^2 / 2 so that the large part of the result, f - h, is rounded once.
  const double f = m - 1.0;
  const double s = f / (2.0 + f);
  const double z = s * s;
  double series = 2.0 / 23;
  for (const double odd : {21.0, 19.0, 17.0, 15.0, 13.0, 11.0, 9.0, 7.0, 5.0, 3.0})
    series = series * z + 2.0 / odd;
  const double rest = z * series;
  const double h = 0.5 * f * f;
  const double n = k;
  // k ln(2) in two parts, the first with trailing zero bits so that k times it is exact.
  constexpr double kHigh = 0.693147180369123816490, kLow = 1.90821492927058770002e-10;
  return n * kHigh - ((h - (s * (h + rest) + n * kLow)) - f);
}

DistributionParameters ParametersOf(double mean, double variance, Distribution distribution) {
  DistributionParameters parameters;
  const double m2 = mean * mean, s2 = variance * variance;
  switch (distribution) {
    case Distribution::normal:
      parameters.mean = mean;
      parameters.std = variance;
      break;
    case Distribution::lognormal:
      parameters.scale = m2 / std::sqrt(s2 + m2);
      parameters.shape = std::sqrt(PortableLog((s2 + m2) / m2));
      break;
    case Distribution::gamma:
      parameters.scale = s2 / mean;
      parameters.shape = m2 / s2;
      break;
    case Distribution::poisson:
      parameters.lambda = mean;
      break;
    case Distribution::discrete:
      break;
  }
  return parameters;
}

double LogNormalHeight(double variance) {
  return -0.5 * PortableLog(2.5066282746310007 * variance);
}

double LogLognormal(double x, double scale, double shape) {
  if (!(x > 0)) return -kInfinity;
  const double z = PortableLog(x / scale);
  return -0.472856811 - PortableLog(shape) - PortableLog(x) - z * z / (2.0 * (shape * shape));
}

double LogPoisson(double x, double lambda) {
  if (!(x >= 0)) return -kInfinity;
  if (lambda == 0) return x == 0 ? 0.0 : -kInfinity;
  if (x == 0) return -lambda;
  if (lambda == kInfinity || x == kInfinity) return -kInfinity;
  if (x < kStirlingFrom) return x * PortableLog(lambda) - lambda - LogFactorial(x);
  return -0.5 * PortableLog(kTwoPi * x) - StirlingError(x) - Deviance(x, lambda);
}

double LogGamma(double y, double shape) {
  if (!(y >= 0)) return -kInfinity;
  y = y == 0 ? std::numeric_limits<double>::min() : y;
  // y^(a - 1) e^-y / Gamma(a) is a Poisson probability: of a - 1, or of a times a / y.
  if (shape >= 1) return LogPoisson(shape - 1, y);
  return LogPoisson(shape, y) + PortableLog(shape) - PortableLog(y);
}

}  // namespace qrvml
