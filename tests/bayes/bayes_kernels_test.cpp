// The inner loops on every processor level give the same bits. That these are the right ones is
// what the tests of the engine show, on the level that this machine picks.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "bayes/kernels/posterior_kernel.h"
#include "data/kernels/moments_kernel.h"
#include "data/processor_level.h"
#include "host/memory.h"
#include "host/numerics.h"

namespace qrvml::test {
namespace {

/// Values from a fixed stream (splitmix64), some of them huge, tiny, negative or missing.
class Values {
 public:
  double Next() {
    const std::uint64_t draw = Draw();
    const double unit = double(draw >> 11) * 0x1p-53 - 0.5;
    if (draw % 11 == 0) return kCode;
    if (draw % 13 == 0) return unit * 1e200;
    if (draw % 17 == 0) return unit * 1e-200;
    return unit * 20;
  }
  std::uint64_t Draw() {
    state_ += 0x9E3779B97F4A7C15;
    std::uint64_t z = state_;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return z ^ z >> 31;
  }
  static constexpr double kCode = -9999;

 private:
  std::uint64_t state_ = 71;
};

HostArray<double> Filled(std::size_t count, Values& values) {
  HostArray<double> array(count);
  for (double& value : array) value = values.Next();
  return array;
}

/// No number is like any other: the sign of such a one differs between instructions.
void Note(std::vector<std::uint64_t>& bits, const HostArray<double>& array) {
  for (const double value : array)
    bits.push_back(std::isnan(value) ? 1 : std::bit_cast<std::uint64_t>(value));
}

std::vector<std::uint64_t> PosteriorBits(const PosteriorKernel& kernel, std::size_t inputs) {
  Values values;
  std::vector<std::uint64_t> bits;
  const HostArray<double> rows = Filled(kPosteriorLanes * inputs, values);
  HostArray<double> lanes(kPosteriorLanes * inputs), marks(kPosteriorLanes),
      sums(kPosteriorLanes, 0.0);
  const HostArray<double> codes(inputs, Values::kCode);
  kernel.transpose(rows.data(), inputs, lanes.data());
  Note(bits, lanes);
  kernel.markMissing(inputs, lanes.data(), codes.data(), marks.data());
  Note(bits, marks);
  const HostArray<double> height = Filled(inputs, values), mean = Filled(inputs, values),
                          rate = Filled(inputs, values);
  kernel.addNormal(inputs, lanes.data(), {height.data(), mean.data(), rate.data()}, sums.data());
  Note(bits, sums);
  kernel.add(marks.data(), sums.data());
  Note(bits, sums);
  return bits;
}

std::vector<std::uint64_t> ShareBits(const PosteriorKernel& kernel, std::size_t classes) {
  Values values;
  std::vector<std::uint64_t> bits;
  HostArray<double> products(classes * kPosteriorLanes), slow(kPosteriorLanes),
      sums(kPosteriorLanes), largest(kPosteriorLanes), bad(kPosteriorLanes);
  for (std::size_t c = 0; c < classes; ++c) {
    HostArray<double> exponents = Filled(kPosteriorLanes, values);
    for (double& exponent : exponents) exponent *= 40;  // within the range and beyond it
    bits.push_back(kernel.exponential(exponents.data(), 0.3, products.data() + c * kPosteriorLanes,
                                      slow.data()));
    Note(bits, slow);
    for (std::size_t lane = 0; lane < kPosteriorLanes; ++lane) {
      double& product = products[c * kPosteriorLanes + lane];
      if (slow[lane] != 0) {
        product = PortableExp(exponents[lane]) * 0.3;
      } else {
        EXPECT_EQ(std::bit_cast<std::uint64_t>(product),
                  std::bit_cast<std::uint64_t>(PortableExp(exponents[lane]) * 0.3))
            << exponents[lane];
      }
    }
  }
  products[3] = std::numeric_limits<double>::infinity();
  products[5] = std::numeric_limits<double>::quiet_NaN();
  for (std::size_t c = 0; c < classes; ++c) products[c * kPosteriorLanes + 7] = 0;
  for (std::size_t c = 0; c < classes; ++c) products[c * kPosteriorLanes + 9] = 0.25;  // all equal
  EXPECT_TRUE(kernel.conclude(classes, products.data(), sums.data(), largest.data(), bad.data()));
  EXPECT_EQ(bad[3], 1);
  EXPECT_EQ(bad[5], 1);
  EXPECT_EQ(bad[7], 1);
  EXPECT_EQ(bad[9], 0);
  EXPECT_EQ(largest[9], 0) << "of equal shares the first";
  Note(bits, products);
  Note(bits, sums);
  Note(bits, largest);
  Note(bits, bad);
  return bits;
}

/// The class that shares of products, or else logarithms, put first.
int PlainlyFirst(const PosteriorKernel& kernel, const double (&sums)[3],
                 const double (&priors)[3]) {
  HostArray<double> exponents(kPosteriorLanes, 0.0), products(3 * kPosteriorLanes),
      slow(kPosteriorLanes), total(kPosteriorLanes), largest(kPosteriorLanes), bad(kPosteriorLanes);
  for (std::size_t c = 0; c < 3; ++c) {
    exponents.Fill(sums[c]);
    double* own = products.data() + c * kPosteriorLanes;
    if (kernel.exponential(exponents.data(), priors[c], own, slow.data()))
      std::fill_n(own, kPosteriorLanes, PortableExp(sums[c]) * priors[c]);
  }
  if (!kernel.conclude(3, products.data(), total.data(), largest.data(), bad.data()))
    return int(largest[0]);
  double logarithms[3];
  for (std::size_t c = 0; c < 3; ++c) logarithms[c] = sums[c] + std::log(priors[c]);
  return int(std::ranges::max_element(logarithms) - logarithms);
}

TEST(BayesKernels, RankOnlyWhatNoRoundingCanTurn) {
  const PosteriorKernel* posterior[] = {&kPosteriorKernelV2, &kPosteriorKernelV3,
                                        &kPosteriorKernelV4};
  const double priors[] = {0.5, 0.2, 0.3};
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  const double evenly = std::log(0.3 / 0.2);  // class 2 is ahead of class 1 by as much
  const struct {
    double sums[3];
    bool clear;
  } rows[] = {
      {{-3, -5, -9}, true},
      {{-9, -1, -5}, true},
      {{-9, -5, -5}, true},            // the prior decides
      {{-9, -5, -5 - evenly}, false},  // as equal as numbers are
      {{-5 + 1e-9, -5 + std::log(2.5), -8}, false},
      {{-5 + 1e-3, -5 + std::log(2.5), -8}, true},
      {{-690, -699, -1e5}, true},
      {{-703, -707, -715}, false},  // shares of products that lose digits
      {{-738, -735, -741}, false},
      {{-770, -768, -1e200}, true},                        // all products are 0
      {{-1e9, -1e9 + std::log(2.5) + 1e-3, -2e9}, false},  // beside the rounding of such sums
      {{-1e9, -1e9 + 1, -2e9}, true},
      {{-3, kNone, -9}, false},
      {{-3, -std::numeric_limits<double>::infinity(), -9}, false},
  };
  for (int level = 2; level <= ProcessorLevel(); ++level) {
    for (const auto& row : rows) {
      for (const std::size_t lane : {0, 5, 31}) {
        SCOPED_TRACE(testing::Message() << "level " << level << ", " << row.sums[0] << " "
                                        << row.sums[1] << " " << row.sums[2]);
        HostArray<double> sums(3 * kPosteriorLanes, kNone), settled(kPosteriorLanes, 1.0),
            largest(kPosteriorLanes);
        double constant[3], slack[3];
        for (std::size_t c = 0; c < 3; ++c) {
          sums[c * kPosteriorLanes + lane] = row.sums[c];
          constant[c] = std::log(priors[c]);
          slack[c] = 1e-12;
        }
        settled[lane] = 0;
        const PosteriorKernel& kernel = *posterior[level - 2];
        const bool isClear =
            kernel.rank(3, sums.data(), {constant, slack, 1e-12}, settled.data(), largest.data());
        EXPECT_EQ(isClear, row.clear);
        if (isClear) {
          EXPECT_EQ(int(largest[lane]), PlainlyFirst(kernel, row.sums, priors));
        }
      }
    }
    // Squares, off their exact sum by no more than roundings.
    Values values;
    HostArray<double> lanes(9 * kPosteriorLanes), sums(kPosteriorLanes, -2.0);
    double mean[9], rate[9];
    for (double& x : lanes) x = double(values.Draw() % 1000) / 7;
    for (std::size_t k = 0; k < 9; ++k) {
      mean[k] = double(values.Draw() % 1000) / 7;
      rate[k] = double(values.Draw() % 100 + 1) / 300;
    }
    posterior[level - 2]->addSquares(9, lanes.data(), {nullptr, mean, rate}, sums.data(), {});
    for (std::size_t lane = 0; lane < kPosteriorLanes; ++lane) {
      long double exact = -2;
      for (std::size_t k = 0; k < 9; ++k) {
        const long double difference = (long double)(lanes[k * kPosteriorLanes + lane]) - mean[k];
        exact -= difference * difference * rate[k];
      }
      EXPECT_NEAR(sums[lane] / double(exact), 1, 1e-15 * 9) << level;
    }
  }
}

/// Of whole rows the kernels divide by other means than of rows with missing values.
enum class RowKind { withMissing, whole, extreme };

double Drawn(Values& values, RowKind kind) {
  if (kind == RowKind::withMissing) return values.Next();
  const double unit = double(values.Draw() >> 11) * 0x1p-53 - 0.5;
  if (kind == RowKind::whole) return values.Draw() % 9 == 0 ? 0.25 : unit * 20;
  // Quotients that are subnormal, 0, or of numbers that have no difference.
  const int exponents[] = {-1074, -1060, -1022, -1000, -960, 0, 1000, 1023};
  return std::ldexp(std::round(unit * 512) / 16, exponents[values.Draw() % 8]);
}

std::vector<std::uint64_t> MomentBits(const MomentsKernel& kernel, std::size_t inputs,
                                      RowKind kind) {
  constexpr std::size_t kCases = 400, kDependents = 2, kClassRows = 5;
  Values values;
  HostArray<double> rows(kCases * inputs);
  for (double& value : rows) value = Drawn(values, kind);
  const std::size_t lanes = (inputs + kMomentLanes - 1) / kMomentLanes * kMomentLanes;
  std::vector<double> missing(lanes, std::numeric_limits<double>::quiet_NaN());
  std::fill_n(missing.begin(), inputs, Values::kCode);
  std::vector<std::int32_t> classes, weights;
  for (std::size_t i = 0; i < kCases; ++i) {
    classes.push_back(std::int32_t(values.Draw() % 4) - 1);  // rows 0 to 2, or none
    classes.push_back(std::int32_t(values.Draw() % 2) + 3);
    weights.push_back(std::int32_t(i % 50 == 7 ? 2147483647 : values.Draw() % 3 + 1));
  }
  HostArray<double> sums(lanes * kMomentSums * kClassRows, 0.0), even(kClassRows, 0.0);
  // In two lots, the second of which finds sums.
  for (const std::size_t first : {std::size_t{0}, kCases / 3}) {
    const std::size_t count = first == 0 ? kCases / 3 : kCases - first;
    kernel.add({count, inputs, kDependents, rows.data() + first * inputs,
                classes.data() + first * kDependents, weights.data() + first, missing.data()},
               0, inputs, {kClassRows, sums.data(), even.data()});
  }
  HostArray<double> shown(kMomentSums * kClassRows * inputs);
  std::size_t at = 0;
  for (const MomentSum sum : {MomentSum::weight, MomentSum::mean, MomentSum::squares}) {
    for (std::size_t row = 0; row < kClassRows; ++row) {
      for (std::size_t k = 0; k < inputs; ++k)
        shown[at++] = sums[MomentSums::Place(sum, kClassRows, row, k)];
    }
  }
  std::vector<std::uint64_t> bits;
  Note(bits, shown);
  return bits;
}

TEST(BayesKernels, GiveTheSameBitsOnEveryLevel) {
  const PosteriorKernel* posterior[] = {&kPosteriorKernelV2, &kPosteriorKernelV3,
                                        &kPosteriorKernelV4};
  const MomentsKernel* moments[] = {&kMomentsKernelV2, &kMomentsKernelV3, &kMomentsKernelV4};
  for (int level = 2; level <= ProcessorLevel(); ++level) {
    for (const std::size_t size : {1, 2, 3, 4, 7, 8, 16, 33, 75}) {
      SCOPED_TRACE("level " + std::to_string(level) + ", size " + std::to_string(size));
      EXPECT_EQ(PosteriorBits(*posterior[level - 2], size), PosteriorBits(*posterior[0], size));
      EXPECT_EQ(ShareBits(*posterior[level - 2], size), ShareBits(*posterior[0], size));
      for (const RowKind kind : {RowKind::withMissing, RowKind::whole, RowKind::extreme}) {
        EXPECT_EQ(MomentBits(*moments[level - 2], size, kind), MomentBits(*moments[0], size, kind))
            << "rows " << int(kind);
      }
    }
  }
}

}  // namespace
}  // namespace qrvml::test
