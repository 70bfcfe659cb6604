// The source of the kernel, included once by the file of each processor level. Everything here has
// internal linkage: code compiled for a newer processor must not be shared by the linker.
#pragma once

#include "bayes/kernels/posterior_kernel.h"

namespace {

using qrvml::kCaseLanes;

void Transpose(const double* rows, std::size_t count, std::size_t inputs, double* lanes) {
  for (std::size_t lane = 0; lane < kCaseLanes; ++lane) {
    const double* row = rows + (lane < count ? lane : count - 1) * inputs;
    for (std::size_t k = 0; k < inputs; ++k) lanes[k * kCaseLanes + lane] = row[k];
  }
}

void MarkMissing(std::size_t inputs, const double* lanes, const double* codes, double* marks) {
  double marked[kCaseLanes] = {};
  for (std::size_t k = 0; k < inputs; ++k) {
    const double* values = lanes + k * kCaseLanes;
    const double code = codes[k];
    for (std::size_t lane = 0; lane < kCaseLanes; ++lane)
      marked[lane] = values[lane] == code ? 1.0 : marked[lane];
  }
  for (std::size_t lane = 0; lane < kCaseLanes; ++lane) marks[lane] = marked[lane];
}

void AddNormal(std::size_t inputs, const double* lanes, qrvml::NormalTerms terms, double* sums) {
  double total[kCaseLanes];
  for (std::size_t lane = 0; lane < kCaseLanes; ++lane) total[lane] = sums[lane];
  for (std::size_t k = 0; k < inputs; ++k) {
    const double* values = lanes + k * kCaseLanes;
    const double height = terms.height[k], mean = terms.mean[k], rate = terms.rate[k];
    for (std::size_t lane = 0; lane < kCaseLanes; ++lane) {
      const double difference = values[lane] - mean;
      total[lane] += height - difference * difference * rate;
    }
  }
  for (std::size_t lane = 0; lane < kCaseLanes; ++lane) sums[lane] = total[lane];
}

void Add(const double* terms, double* sums) {
  for (std::size_t lane = 0; lane < kCaseLanes; ++lane) sums[lane] += terms[lane];
}

/// The operations of PortableExp one for one where its result is a normal number.
bool Exponential(const double* exponents, double factor, double* products, bool* slow) {
  constexpr double kSmallest = -700, kLargest = 700;
  bool anySlow = false;
  for (std::size_t lane = 0; lane < kCaseLanes; ++lane) {
    slow[lane] = !(exponents[lane] > kSmallest && exponents[lane] < kLargest);
    anySlow = anySlow || slow[lane];
  }
  for (std::size_t lane = 0; lane < kCaseLanes; ++lane) {
    const double x = slow[lane] ? 0.0 : exponents[lane];
    const double k = __builtin_floor(x * 1.4426950408889634 + 0.5);
    const double r = (x - k * 0.693147180369123816490) - k * 1.90821492927058770002e-10;
    double series = 1.0 / 87178291200.0;
    series = series * r + 1.0 / 6227020800.0;
    series = series * r + 1.0 / 479001600.0;
    series = series * r + 1.0 / 39916800.0;
    series = series * r + 1.0 / 3628800.0;
    series = series * r + 1.0 / 362880.0;
    series = series * r + 1.0 / 40320.0;
    series = series * r + 1.0 / 5040.0;
    series = series * r + 1.0 / 720.0;
    series = series * r + 1.0 / 120.0;
    series = series * r + 1.0 / 24.0;
    series = series * r + 1.0 / 6.0;
    series = series * r + 1.0 / 2.0;
    // 2^k: k + 1023 stands in the low bits of k + 1023 + 1.5 2^52.
    const double shifted = k + (1023.0 + 6755399441055744.0);
    const auto bits = __builtin_bit_cast(unsigned long long, shifted) << 52;
    products[lane] = (1.0 + (r + r * r * series)) * __builtin_bit_cast(double, bits) * factor;
  }
  return anySlow;
}

constexpr qrvml::PosteriorKernel kKernel{Transpose, MarkMissing, AddNormal, Add, Exponential};

}  // namespace
