// The inner loops against the library's functions in extended precision, and against each other:
// every processor level gives the same bits. The column cache against a plain list.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <list>
#include <vector>

#include "svm/column_cache.h"
#include "svm/kernels/svm_kernel.h"
#include "svm/plain_svm.h"
#include "svm/portable_power.h"

namespace qrvml::test {
namespace {

double UlpsApart(double got, long double expected) {
  const double nearest = double(expected);
  if (got == nearest) return 0;
  const double ulp = std::nextafter(std::fabs(nearest), INFINITY) - std::fabs(nearest);
  return double(std::fabs((long double)got - expected) / ulp);
}

std::vector<double> Finished(int level, const KernelTerms& terms, std::vector<double> values) {
  const std::size_t count = values.size();
  values.resize((count + kCaseLanes - 1) / kCaseLanes * kCaseLanes);
  HostArray<double> aligned(values.size());
  std::copy(values.begin(), values.end(), aligned.begin());
  SvmKernelFor(level).finish(terms, 0, nullptr, aligned.data(), std::int32_t(values.size()));
  return {aligned.begin(), aligned.begin() + count};
}

std::vector<std::uint64_t> Bits(const std::vector<double>& values) {
  std::vector<std::uint64_t> bits;
  for (const double value : values) bits.push_back(std::bit_cast<std::uint64_t>(value));
  return bits;
}

TEST(SvmKernels, FunctionsAreExactToAnUlpOrTwoOnEveryLevel) {
  Draws draws(61);
  std::vector<double> x = {0, -0.0, 1, -1, 1e-300, -1e-300, 1e-9, 5e-324, 21.99, 22.01};
  for (int n = 0; n < 4000; ++n) x.push_back((draws.Unit() - 0.5) * std::pow(10, n % 7 - 4));
  struct Row {
    const char* name;
    KernelTerms terms;
    long double (*function)(long double);
    double ulps;
  };
  const Row rows[] = {
      {"e^-x", {KernelFinish::exponential, 1, 0, 0}, [](long double v) { return expl(-v); }, 1},
      {"tanh", {KernelFinish::tangent, 1, 0, 0}, [](long double v) { return tanhl(v); }, 3},
      {"cube", {KernelFinish::integerPower, 1, 0, 3}, [](long double v) { return v * v * v; }, 2},
      {"1/x^2",
       {KernelFinish::integerPower, 1, 0, -2},
       [](long double v) { return 1 / (v * v); },
       2},
      {"1", {KernelFinish::integerPower, 1, 0, 0}, [](long double) { return 1.0L; }, 0},
  };
  for (const Row& row : rows) {
    const std::vector<double> got = Finished(2, row.terms, x);
    for (std::size_t t = 0; t < x.size(); ++t) {
      const long double expected = row.function(x[t]);
      if (std::fabs(expected) < 1e-290L || std::fabs(expected) > 1e300L) continue;
      EXPECT_LE(UlpsApart(got[t], expected), row.ulps) << row.name << " of " << x[t];
    }
    for (int level = 3; level <= 4; ++level) {
      EXPECT_EQ(Bits(Finished(level, row.terms, x)), Bits(got)) << row.name << " " << level;
    }
  }
}

TEST(SvmKernels, FunctionsKeepTheirLimits) {
  const double infinity = INFINITY;
  for (int level = 2; level <= 4; ++level) {
    const auto exponential = [&](double x) {
      return Finished(level, {KernelFinish::exponential, 1, 0, 0}, {x})[0];
    };
    EXPECT_EQ(exponential(-710), infinity);
    EXPECT_TRUE(std::isfinite(exponential(-709.7)));
    EXPECT_EQ(exponential(-infinity), infinity);
    EXPECT_EQ(exponential(infinity), 0);
    EXPECT_EQ(exponential(709), 0);
    EXPECT_GT(exponential(707.9), 0);
    EXPECT_TRUE(std::isnan(exponential(NAN)));
    const auto tangent = [&](double x) {
      return Finished(level, {KernelFinish::tangent, 1, 0, 0}, {x})[0];
    };
    EXPECT_EQ(tangent(infinity), 1);
    EXPECT_EQ(tangent(-1e300), -1);
    EXPECT_TRUE(std::isnan(tangent(NAN)));
  }
}

TEST(PortablePower, IsExactToAnUlpOrTwoUnlessTheResultIsExtreme) {
  Draws draws(62);
  for (int n = 0; n < 20000; ++n) {
    const double x = std::pow(10, 40 * draws.Unit() - 20);
    const double y = (draws.Unit() - 0.5) * std::pow(10, n % 4);
    const long double expected = powl(x, y);
    if (expected > 1e300L || expected < 1e-300L) continue;
    const double bound = 1.5 + double(std::fabs(y * logl(x))) / 32;
    EXPECT_LE(UlpsApart(PortablePower(x, y), expected), bound) << x << "^" << y;
  }
  for (const double x :
       {0.0, -0.0, 1.0, -1.0, 2.0, -2.0, 0.5, double(INFINITY), -double(INFINITY)}) {
    for (const double y : {0.0, 1.0, 3.0, -3.0, 2.0, -2.0, 0.5, -0.5, 1e300, -1e300}) {
      const double expected = std::pow(x, y);
      const double got = PortablePower(x, y);
      const bool exact = std::isnan(expected) ? std::isnan(got) : got == expected;
      EXPECT_TRUE(exact || (std::fabs(y) == 0.5 && UlpsApart(got, expected) <= 1))
          << x << "^" << y << ": " << got << ", not " << expected;
    }
  }
  EXPECT_TRUE(std::isnan(PortablePower(-2, 0.3)));
  EXPECT_EQ(PortablePower(2, 1023), 0x1p1023);
  EXPECT_EQ(PortablePower(2, 1024), INFINITY);
}

TEST(SvmKernels, TheEndsAreTheEarliestOfTheBestOnEveryLevel) {
  Draws draws(63);
  for (const std::int32_t size : {1, 7, 8, 31, 64, 700}) {
    HostArray<double> start(std::size_t(size) + 64, 0.0);
    HostArray<std::uint8_t> status(std::size_t(size) + 64, 0);
    HostArray<double> first(std::size_t(size) + 64, 0.0);
    HostArray<double> second(std::size_t(size) + 64, 0.0);
    HostArray<std::int32_t> place(std::size_t(size) + 64, 0);
    for (std::int32_t t = 0; t < size; ++t) {
      // Few different values, so that there are many ties.
      start[std::size_t(t)] = std::floor(4 * draws.Unit());
      status[std::size_t(t)] = std::uint8_t(8 * draws.Unit());
      first[std::size_t(t)] = std::floor(3 * draws.Unit());
      second[std::size_t(t)] = std::floor(3 * draws.Unit());
      place[std::size_t(t)] = std::int32_t(size * draws.Unit());
    }
    for (const bool byClass : {false, true}) {
      for (int level = 2; level <= 4; ++level) {
        SCOPED_TRACE(std::to_string(size) + " at level " + std::to_string(level));
        const SvmKernel& kernel = SvmKernelFor(level);
        HostArray<double> F(start.size());
        std::copy(start.begin(), start.end(), F.begin());
        std::vector<double> expected(start.begin(), start.end());
        for (int step = 0; step < 4; ++step) {
          PairEnds ends[2];
          if (step == 0) {
            kernel.choose(F.data(), status.data(), 0, size, byClass, ends);
          } else if (step == 1) {
            kernel.update(F.data(), status.data(), first.data(), second.data(), 0.5, -1, 0, size,
                          byClass, ends);
          } else if (step == 2) {
            kernel.updatePlaced(F.data(), status.data(), first.data(), second.data(), place.data(),
                                0.5, -1, 0, size, byClass, ends);
          } else {
            kernel.updateListed(F.data(), status.data(), first.data(), place.data(), 0, size,
                                byClass, ends);
          }
          for (std::size_t t = 0; t < std::size_t(size); ++t) {
            if (step == 1) expected[t] += first[t] * 0.5 - second[t];
            if (step == 2) {
              expected[t] += first[std::size_t(place[t])] * 0.5 - second[std::size_t(place[t])];
            }
            if (step == 3) expected[t] += first[std::size_t(place[t])];
            ASSERT_EQ(F[t], expected[t]);
          }
          for (int c = 0; c < (byClass ? 2 : 1); ++c) {
            PairEnds best{INFINITY, -INFINITY, -1, -1};
            for (std::int32_t t = 0; t < size; ++t) {
              const int bits = status[std::size_t(t)];
              if (byClass && ((bits & kNegativeClass) != 0) != (c == 1)) continue;
              const double value = expected[std::size_t(t)];
              if ((bits & kMayGoUp) != 0 && value < best.leastUp)
                best.leastUp = value, best.upAt = t;
              if ((bits & kMayGoDown) != 0 && value > best.mostDown) {
                best.mostDown = value;
                best.downAt = t;
              }
            }
            EXPECT_EQ(ends[c].leastUp, best.leastUp);
            EXPECT_EQ(ends[c].mostDown, best.mostDown);
            EXPECT_EQ(ends[c].upAt, best.upAt);
            EXPECT_EQ(ends[c].downAt, best.downAt);
          }
        }
      }
    }
  }
}

// --- The cache ----------------------------------------------------------------------------------

/// A column's elements say whose they are.
double Element(int owner, int t) { return owner * 10000.0 + t; }

TEST(ColumnCache, KeepsTheLatestColumnsWithinItsBytesThroughSwapsAndFits) {
  constexpr int kCases = 300;
  // Room for 10 columns of 320 elements after the bookkeeping.
  const double megabytes = (10 * 320 + 2 * kCases) * 8 / 1048576.0;
  ColumnCache cache(kCases, megabytes);
  const SVMSolverState state;
  SolverPace pace(state);
  Draws draws(64);
  std::list<int> recent;             // owners, latest first
  std::vector<int> ownerAt(kCases);  // per position
  for (int t = 0; t < kCases; ++t) ownerAt[std::size_t(t)] = t;
  int length = kCases;
  int slots = 10;
  for (int step = 0; step < 5000; ++step) {
    if (step % 500 == 499) {
      // Shorter, longer again, shorter.
      length = step == 1499 || step == 3499 ? 290 : std::max(40, length * 2 / 3);
      for (std::int32_t slot = 0; slot < cache.slots(); ++slot) {
        cache.Visit(slot, [&](std::int32_t, double*, std::int32_t known) {
          return std::min(known, length);
        });
      }
      cache.Fit(length, pace);
      slots = 3200 / ((length + 31) / 32 * 32);
      while (int(recent.size()) > slots) recent.pop_back();
    }
    if (step % 7 == 0) {
      const int a = int(kCases * draws.Unit());
      const int b = int(kCases * draws.Unit());
      cache.Swap(a, b);
      std::swap(ownerAt[std::size_t(a)], ownerAt[std::size_t(b)]);
    }
    const int at = int(25 * draws.Unit());
    const int owner = ownerAt[std::size_t(at)];
    const ColumnCache::Column column = cache.Request(at, length);
    ASSERT_NE(column.values, nullptr);
    const bool isKept = std::find(recent.begin(), recent.end(), owner) != recent.end();
    EXPECT_EQ(column.known > 0, isKept) << "step " << step;
    for (int t = 0; t < column.known; ++t) ASSERT_EQ(column.values[t], Element(owner, t));
    for (int t = 0; t < length; ++t) column.values[t] = Element(owner, t);
    cache.SetKnown(at, length);
    recent.remove(owner);
    recent.push_front(owner);
    // Slots that became fewer or more only count once they are filled again.
    if (int(recent.size()) > slots) recent.pop_back();
  }
}

TEST(ColumnCache, WithoutRoomForTwoColumnsThereIsNone) {
  ColumnCache cache(1000, 0.01);
  EXPECT_EQ(cache.Request(3, 1000).values, nullptr);
  EXPECT_EQ(cache.Request(3, 1000).known, 0);
}

}  // namespace
}  // namespace qrvml::test
