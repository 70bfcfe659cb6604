// Logarithms and densities against published values and the C library's long double functions.
#include "bayes/densities.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

namespace qrvml::test {
namespace {

const double kInfinity = std::numeric_limits<double>::infinity();

TEST(PortableLog, IsWithinOneUnitInTheLastPlace) {
  std::vector<double> values = {1, 2, 0.5, 10, 1e-300, 1e300, 5e-324, 2.2e-308, 1.7e308};
  for (double x = 0.001; x < 1e7; x *= 1.00371) values.push_back(x);
  for (int i = -200; i <= 200; ++i) values.push_back(1 + i * 1e-4);
  for (double x = 1e-16; x < 1; x *= 3) values.insert(values.end(), {1 + x, 1 - x / 2});
  for (const double x : values) {
    const long double expected = std::log(static_cast<long double>(x));
    const double unit = std::nextafter(std::fabs(static_cast<double>(expected)), kInfinity) -
                        std::fabs(static_cast<double>(expected));
    EXPECT_LE(std::fabs(static_cast<double>(PortableLog(x) - expected)), unit) << x;
  }
  EXPECT_EQ(PortableLog(1), 0);
  EXPECT_EQ(PortableLog(0), -kInfinity);
  EXPECT_EQ(PortableLog(kInfinity), kInfinity);
  EXPECT_TRUE(std::isnan(PortableLog(-1)));
}

/// Gamma(1/2), Gamma(1/3), Gamma(1/4) (Abramowitz and Stegun, tables 6.1 and 6.4), ln 100! and
/// ln 1000!.
TEST(Densities, GiveThePublishedValues) {
  const struct {
    double y, shape, expected;
  } gamma[] = {
      {1, 1, -1},
      {3, 2, std::log(3.0) - 3},
      {2, 0.5, -0.5 * std::log(2.0) - 2 - std::log(1.77245385090551602729)},
      {1, 1.0 / 3, -1 - std::log(2.67893853470774763366)},
      {5, 0.25, -0.75 * std::log(5.0) - 5 - std::log(3.62560990822190831193)},
      {1, 101, -1 - 363.73937555556349014},
  };
  for (const auto& row : gamma)
    EXPECT_NEAR(LogGamma(row.y, row.shape), row.expected, 1e-13 * std::fabs(row.expected))
        << row.y << ' ' << row.shape;
  EXPECT_NEAR(std::exp(LogPoisson(3, 2)), 0.18044704431548358919, 1e-15);
  EXPECT_NEAR(std::exp(LogPoisson(10, 10)), 0.12511003572113329898, 1e-14);
  EXPECT_DOUBLE_EQ(LogPoisson(1000, 1), -1 - 5912.1281784881633489);
  EXPECT_EQ(LogPoisson(0, 2.5), -2.5);
}

TEST(Densities, StayFiniteAndAccurateFarOutInTheTails) {
  const double numbers[] = {1e-10, 0.01, 0.5, 1,   1.5, 3,   15.9,  16,  16.1,
                            40,    100,  150, 999, 1e4, 1e5, 12345, 1e6, 1e8};
  int compared = 0;
  for (const double x : numbers) {
    for (const double m : numbers) {
      const long double a = x, l = m;
      const long double poisson = a * std::log(l) - l - std::lgamma(a + 1);
      const long double gamma = (a - 1) * std::log(l) - l - std::lgamma(a);
      // The reference loses the digits of its largest part.
      const long double lost = 1e-18L * (std::fabs(std::lgamma(a + 1)) + l + a);
      const auto tolerance = [&](long double value) {
        return static_cast<double>(4e-14L + 1e-14L * std::fabs(value) + lost);
      };
      EXPECT_NEAR(LogPoisson(x, m), static_cast<double>(poisson), tolerance(poisson))
          << x << ' ' << m;
      EXPECT_NEAR(LogGamma(m, x), static_cast<double>(gamma), tolerance(gamma)) << m << ' ' << x;
      ++compared;
    }
  }
  EXPECT_GT(compared, 300);
  for (const double x : {0.0, 1e-308, 1e18, 1e300}) {
    for (const double m : {1e-308, 1e-3, 1e18, 1e300}) {
      EXPECT_TRUE(std::isfinite(LogPoisson(x, m))) << x << ' ' << m;
      EXPECT_TRUE(std::isfinite(LogGamma(x, m))) << x << ' ' << m;
    }
  }
}

TEST(Densities, AreZeroWhereTheirDistributionsHaveNoValues) {
  for (const double x : {-1.0, -1e-300}) {
    EXPECT_EQ(LogPoisson(x, 2), -kInfinity);
    EXPECT_EQ(LogGamma(x, 2), -kInfinity);
    EXPECT_EQ(LogLognormal(x, 1, 1), -kInfinity);
  }
  EXPECT_EQ(LogLognormal(0, 1, 1), -kInfinity);
  EXPECT_EQ(LogPoisson(0, 0), 0);
  EXPECT_EQ(LogPoisson(1, 0), -kInfinity);
  EXPECT_LT(LogGamma(0, 3), LogGamma(0, 2)) << "in the order in which they come to 0";
  EXPECT_GT(LogGamma(0, 0.5), LogGamma(0, 0.7));
}

/// Mean 2 and deviation 1 by arithmetic with pencil and paper: S S serves as the variance.
TEST(Parameters, AreThoseOfTheMoments) {
  const auto lognormal = ParametersOf(2, 1, Distribution::lognormal);
  EXPECT_DOUBLE_EQ(lognormal.scale, 4 / std::sqrt(5.0));
  EXPECT_DOUBLE_EQ(lognormal.shape, std::sqrt(std::log(1.25)));
  const auto gamma = ParametersOf(2, 3, Distribution::gamma);
  EXPECT_DOUBLE_EQ(gamma.scale, 4.5);
  EXPECT_DOUBLE_EQ(gamma.shape, 4.0 / 9);
  EXPECT_EQ(ParametersOf(2, 3, Distribution::poisson).lambda, 2);
  EXPECT_EQ(ParametersOf(2, 3, Distribution::normal).std, 3);
  EXPECT_DOUBLE_EQ(LogLognormal(3, 2, 0.5),
                   -0.472856811 - std::log(0.5) - std::log(3.0) - std::pow(std::log(1.5), 2) / 0.5);
}

}  // namespace
}  // namespace qrvml::test
