#include "svm/portable_power.h"

#include <cmath>
#include <initializer_list>
#include <limits>

namespace qrvml {
namespace {

/// An unevaluated sum: high + low, |low| at most half an ulp of high.
struct Double2 {
  double high;
  double low;
};

/// Exact (Knuth, The art of computer programming 2, 4.2.2).
Double2 Sum(double a, double b) {
  const double sum = a + b;
  const double back = sum - a;
  return {sum, (a - (sum - back)) + (b - back)};
}

/// Exact for factors far from overflow (Dekker, A floating-point technique for extending the
/// available precision, 1971).
Double2 Product(double a, double b) {
  constexpr double kSplitter = 134217729.0;  // 2^27 + 1
  const double aScaled = a * kSplitter;
  const double aHigh = aScaled - (aScaled - a);
  const double aLow = a - aHigh;
  const double bScaled = b * kSplitter;
  const double bHigh = bScaled - (bScaled - b);
  const double bLow = b - bHigh;
  const double product = a * b;
  return {product, ((aHigh * bHigh - product) + aHigh * bLow + aLow * bHigh) + aLow * bLow};
}

// ln(2); the high part has trailing zero bits, so that a small integer times it is exact.
constexpr double kLog2High = 0.693147180369123816490;
constexpr double kLog2Low = 1.90821492927058770002e-10;

/// log(x) = e log(2) + 2 artanh(q), q = (m - 1) / (m + 1), for a finite x = 2^e m > 0.
Double2 Logarithm(double x) {
  int exponent = 0;
  double m = std::frexp(x, &exponent);
  if (m < 0.70710678118654752) {
    m *= 2;
    --exponent;
  }
  const double difference = m - 1.0;  // exact
  const Double2 sum = Sum(m, 1.0);
  const double q = difference / sum.high;
  const Double2 back = Product(q, sum.high);
  const double qLow = (((difference - back.high) - back.low) - q * sum.low) / sum.high;
  // |q| < 0.1716, so the terms after q^27 / 27 are below 2^-64 of the first one.
  const double square = q * q;
  double series = 1.0 / 27.0;
  for (int n = 25; n >= 3; n -= 2) series = series * square + 1.0 / n;
  const double tail = 2.0 * (qLow + q * square * series);
  const Double2 head = Sum(exponent * kLog2High, 2.0 * q);
  return Sum(head.high, head.low + (exponent * kLog2Low + tail));
}

/// e^(x.high + x.low).
double Exponential(Double2 x) {
  if (x.high > 710.0) return std::numeric_limits<double>::infinity();
  if (x.high < -746.0) return 0.0;
  const double k = std::floor(x.high * 1.4426950408889634 + 0.5);
  const double r = ((x.high - k * kLog2High) - k * kLog2Low) + x.low;
  // Taylor's series; its remainder after r^14 is below 2^-60.
  double series = 1.0 / 87178291200.0;
  for (const double factorial : {6227020800.0, 479001600.0, 39916800.0, 3628800.0, 362880.0,
                                 40320.0, 5040.0, 720.0, 120.0, 24.0, 6.0, 2.0})
    series = series * r + 1.0 / factorial;
  return std::ldexp(1.0 + (r + r * r * series), int(k));
}

/// |x|^y for finite x != 0 and y.
double PositivePower(double x, double y) {
  const Double2 logarithm = Logarithm(x);
  const double size = y * logarithm.high;
  // Also keeps the products below from overflowing.
  if (!(std::fabs(size) < 800.0)) {
    return size > 0 ? std::numeric_limits<double>::infinity() : 0.0;
  }
  const Double2 product = Product(y, logarithm.high);
  return Exponential(Sum(product.high, product.low + y * logarithm.low));
}

}  // namespace

double PortablePower(double x, double y) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (y == 0.0 || x == 1.0) return 1.0;
  if (std::isnan(x) || std::isnan(y)) return std::numeric_limits<double>::quiet_NaN();
  const bool integral = std::isfinite(y) && std::floor(y) == y;
  const bool odd = integral && std::fabs(std::fmod(y, 2.0)) == 1.0;
  if (x < 0 && std::isfinite(x) && std::isfinite(y) && !integral) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  const double size = std::fabs(x);
  double power = 1.0;
  if (!std::isfinite(y)) {
    power = size == 1.0 ? 1.0 : ((size > 1.0) == (y > 0) ? kInfinity : 0.0);
  } else if (size == 0.0 || !std::isfinite(size)) {
    power = (size == 0.0) == (y > 0) ? 0.0 : kInfinity;
  } else {
    power = PositivePower(size, y);
  }
  return std::signbit(x) && odd ? -power : power;
}

}  // namespace qrvml
