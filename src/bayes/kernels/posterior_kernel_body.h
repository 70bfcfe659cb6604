// The source of the kernel, included once by the file of each processor level. Everything here has
// internal linkage: code compiled for a newer processor must not be shared by the linker.
//
// Written in the compiler's vectors, whose operators work lane by lane; a comparison gives all bits
// or none.
#pragma once

#include <immintrin.h>

#include "bayes/kernels/posterior_kernel.h"

namespace {

using qrvml::kPosteriorLanes;

#if defined(__AVX512F__)
constexpr std::size_t kBytes = 64;
#elif defined(__AVX2__)
constexpr std::size_t kBytes = 32;
#else
constexpr std::size_t kBytes = 16;
#endif
using Vector = double __attribute__((vector_size(kBytes), may_alias));
using Words = long long __attribute__((vector_size(kBytes), may_alias));
constexpr std::size_t kWidth = kBytes / sizeof(double);
constexpr std::size_t kTogether = 4;  // vectors whose sums stay in registers
constexpr std::size_t kSteps = kPosteriorLanes / (kWidth * kTogether);

inline Vector Load(const double* lanes) { return *reinterpret_cast<const Vector*>(lanes); }
inline void Store(double* lanes, Vector value) { *reinterpret_cast<Vector*>(lanes) = value; }
// Subtracting 0 changes no number, so that no instruction is spent on it; adding 0 changes -0.
inline Vector Spread(double x) { return x - Vector{}; }

/// sum - a b, rounded once where there is an instruction for it: only for what is not shown.
inline Vector SubtractProduct(Vector sum, Vector a, Vector b) {
#if defined(__AVX512F__)
  return _mm512_fnmadd_pd(a, b, sum);
#elif defined(__FMA__)
  return _mm256_fnmadd_pd(a, b, sum);
#else
  return sum - a * b;
#endif
}

// Small squares are turned in registers: 4 x 4 where a vector of that length is one register.
#if defined(__AVX2__)
using Row = double __attribute__((vector_size(32), aligned(8), may_alias));
constexpr std::size_t kSquare = 4;
inline void TurnSquare(const double* rows, std::size_t stride, double* lanes) {
  using Whole = double __attribute__((vector_size(32)));
  const Whole a = *reinterpret_cast<const Row*>(rows);
  const Whole b = *reinterpret_cast<const Row*>(rows + stride);
  const Whole c = *reinterpret_cast<const Row*>(rows + 2 * stride);
  const Whole d = *reinterpret_cast<const Row*>(rows + 3 * stride);
  const Whole ab0 = __builtin_shufflevector(a, b, 0, 4, 2, 6);
  const Whole ab1 = __builtin_shufflevector(a, b, 1, 5, 3, 7);
  const Whole cd0 = __builtin_shufflevector(c, d, 0, 4, 2, 6);
  const Whole cd1 = __builtin_shufflevector(c, d, 1, 5, 3, 7);
  *reinterpret_cast<Row*>(lanes) = __builtin_shufflevector(ab0, cd0, 0, 1, 4, 5);
  *reinterpret_cast<Row*>(lanes + kPosteriorLanes) = __builtin_shufflevector(ab1, cd1, 0, 1, 4, 5);
  *reinterpret_cast<Row*>(lanes + 2 * kPosteriorLanes) =
      __builtin_shufflevector(ab0, cd0, 2, 3, 6, 7);
  *reinterpret_cast<Row*>(lanes + 3 * kPosteriorLanes) =
      __builtin_shufflevector(ab1, cd1, 2, 3, 6, 7);
}
#else
constexpr std::size_t kSquare = 2;
inline void TurnSquare(const double* rows, std::size_t stride, double* lanes) {
  lanes[0] = rows[0];
  lanes[1] = rows[stride];
  lanes[kPosteriorLanes] = rows[1];
  lanes[kPosteriorLanes + 1] = rows[stride + 1];
}
#endif

void Transpose(const double* rows, std::size_t inputs, double* lanes) {
  const std::size_t whole = inputs / kSquare * kSquare;
  for (std::size_t lane = 0; lane < kPosteriorLanes; lane += kSquare) {
    const double* row = rows + lane * inputs;
    for (std::size_t k = 0; k < whole; k += kSquare)
      TurnSquare(row + k, inputs, lanes + k * kPosteriorLanes + lane);
    for (std::size_t k = whole; k < inputs; ++k) {
      for (std::size_t i = 0; i < kSquare; ++i)
        lanes[k * kPosteriorLanes + lane + i] = row[i * inputs + k];
    }
  }
}

void MarkMissing(std::size_t inputs, const double* lanes, const double* codes, double* marks) {
  for (std::size_t step = 0; step < kSteps; ++step) {
    const std::size_t from = step * kTogether * kWidth;
    Words marked[kTogether] = {};
    for (std::size_t k = 0; k < inputs; ++k) {
      const Vector code = Spread(codes[k]);
      for (std::size_t v = 0; v < kTogether; ++v)
        marked[v] |= Load(lanes + k * kPosteriorLanes + from + v * kWidth) == code;
    }
    for (std::size_t v = 0; v < kTogether; ++v)
      Store(marks + from + v * kWidth, marked[v] ? Spread(1.0) : Spread(0.0));
  }
}

void AddNormal(std::size_t inputs, const double* lanes, qrvml::NormalTerms terms, double* sums) {
  for (std::size_t step = 0; step < kSteps; ++step) {
    const std::size_t from = step * kTogether * kWidth;
    Vector total[kTogether];
    for (std::size_t v = 0; v < kTogether; ++v) total[v] = Load(sums + from + v * kWidth);
    for (std::size_t k = 0; k < inputs; ++k) {
      const double height = terms.height[k], mean = terms.mean[k], rate = terms.rate[k];
      for (std::size_t v = 0; v < kTogether; ++v) {
        const Vector difference = Load(lanes + k * kPosteriorLanes + from + v * kWidth) - mean;
        total[v] += height - difference * difference * rate;
      }
    }
    for (std::size_t v = 0; v < kTogether; ++v) Store(sums + from + v * kWidth, total[v]);
  }
}

void AddSquares(std::size_t inputs, const double* lanes, qrvml::NormalTerms terms, double* sums,
                qrvml::Ahead ahead) {
  constexpr std::size_t kLine = 64 / sizeof(double);
  constexpr int kSecondLevel = 2;  // beside these lanes the first cache has no room for more
  const std::size_t together = (ahead.lines + inputs - 1) / inputs;
  for (std::size_t step = 0; step < kSteps; ++step) {
    const std::size_t from = step * kTogether * kWidth;
    Vector total[kTogether];
    for (std::size_t v = 0; v < kTogether; ++v) total[v] = Load(sums + from + v * kWidth);
    for (std::size_t k = 0; k < inputs; ++k) {
      for (std::size_t i = k * together; i < (k + 1) * together && step == 0; ++i)
        if (i < ahead.lines) __builtin_prefetch(ahead.first + i * kLine, 0, kSecondLevel);
      const double mean = terms.mean[k], rate = terms.rate[k];
      for (std::size_t v = 0; v < kTogether; ++v) {
        const Vector difference = Load(lanes + k * kPosteriorLanes + from + v * kWidth) - mean;
        total[v] = SubtractProduct(total[v], difference * rate, difference);
      }
    }
    for (std::size_t v = 0; v < kTogether; ++v) Store(sums + from + v * kWidth, total[v]);
  }
}

void Add(const double* terms, double* sums) {
  for (std::size_t lane = 0; lane < kPosteriorLanes; lane += kWidth)
    Store(sums + lane, Load(sums + lane) + Load(terms + lane));
}

bool AnyLane(const double* marks) {
  double any = 0;
  for (std::size_t lane = 0; lane < kPosteriorLanes; ++lane)
    any = marks[lane] > any ? marks[lane] : any;
  return any != 0;
}

bool Rank(std::size_t classes, const double* sums, qrvml::RankTerms terms, const double* settled,
          double* largest) {
  // With priors from e^-69 the likelihoods stay below e^600, and either the best product is a
  // normal number or all are 0 and the classes are ranked by these logarithms.
  constexpr double kHigh = 530, kLow = -700, kAllZero = -760, kFar = 1e-6, kHuge = 1e300;
  Words isClear = ~Words{};
  for (std::size_t lane = 0; lane < kPosteriorLanes; lane += kWidth) {
    Vector best = Spread(-kHuge), slack = {}, second = best, chosen = {};
    Words isOrdinary = ~Words{};
    for (std::size_t c = 0; c < classes; ++c) {
      const Vector sum = Load(sums + c * kPosteriorLanes + lane);
      const Vector value = sum + terms.constant[c];
      const Vector own = terms.slack[c] - sum * terms.slackRate;
      isOrdinary &= sum > -kHuge;
      const Words isGreater = value > best;
      const Vector lesser = isGreater ? best + slack : value + own;
      second = lesser > second ? lesser : second;
      best = isGreater ? value : best;
      slack = isGreater ? own : slack;
      chosen = isGreater ? Spread(static_cast<double>(c)) : chosen;
    }
    const Words isInRange = (best < kHigh) & ((best > kLow) | (best < kAllZero));
    const Words isFirst = (best - slack) - second > kFar;
    isClear &= (isOrdinary & isInRange & isFirst) | (Load(settled + lane) == 1.0);
    Store(largest + lane, chosen);
  }
  long long all = -1;
  for (std::size_t i = 0; i < kWidth; ++i) all &= isClear[i];
  return all != 0;
}

/// The operations of PortableExp one for one where its result is a normal number.
bool Exponential(const double* exponents, double factor, double* products, double* slow) {
  constexpr double kSmallest = -700, kLargest = 700, kShift = 6755399441055744.0;  // 1.5 2^52
  constexpr double kFactorials[] = {6227020800.0, 479001600.0, 39916800.0, 3628800.0,
                                    362880.0,     40320.0,     5040.0,     720.0,
                                    120.0,        24.0,        6.0,        2.0};
  for (std::size_t lane = 0; lane < kPosteriorLanes; lane += kWidth) {
    const Vector exponent = Load(exponents + lane);
    const Words isFast = (exponent > kSmallest) & (exponent < kLargest);
    const Vector x = isFast ? exponent : Spread(0.0);
    Store(slow + lane, isFast ? Spread(0.0) : Spread(1.0));
    // The integer part of x log2(e) + 0.5: the nearest integer, less 1 where that is above.
    const Vector scaled = x * 1.4426950408889634 + 0.5;
    const Vector nearest = (scaled + kShift) - kShift;
    const Vector k = nearest - (nearest > scaled ? Spread(1.0) : Spread(0.0));
    const Vector r = (x - k * 0.693147180369123816490) - k * 1.90821492927058770002e-10;
    Vector series = Spread(1.0 / 87178291200.0);
    for (const double factorial : kFactorials) series = series * r + 1.0 / factorial;
    // 2^k: k + 1023 stands in the low bits of k + 1023 + 1.5 2^52.
    const Vector shifted = k + (1023.0 + kShift);
    const Words bits = reinterpret_cast<const Words&>(shifted) << 52;
    const Vector power = reinterpret_cast<const Vector&>(bits);
    Store(products + lane, (1.0 + (r + r * r * series)) * power * factor);
  }
  return AnyLane(slow);
}

bool Conclude(std::size_t classes, double* products, double* sums, double* largest, double* bad) {
  for (std::size_t lane = 0; lane < kPosteriorLanes; lane += kWidth) {
    Vector sum = Spread(0.0);
    for (std::size_t c = 0; c < classes; ++c) sum += Load(products + c * kPosteriorLanes + lane);
    Store(sums + lane, sum);
    const Words isGood = (sum > 0.0) & (sum <= __DBL_MAX__);
    Store(bad + lane, isGood ? Spread(0.0) : Spread(1.0));
    Vector best = Spread(0.0), chosen = Spread(-1.0);
    for (std::size_t c = 0; c < classes; ++c) {
      const Vector share = Load(products + c * kPosteriorLanes + lane) / sum;
      Store(products + c * kPosteriorLanes + lane, share);
      const Words isGreater = share > best;
      best = isGreater ? share : best;
      chosen = isGreater ? Spread(static_cast<double>(c)) : chosen;
    }
    Store(largest + lane, chosen);
  }
  return AnyLane(bad);
}

constexpr qrvml::PosteriorKernel kKernel{Transpose, MarkMissing, AddNormal,   AddSquares,
                                         Add,       Rank,        Exponential, Conclude};

}  // namespace
