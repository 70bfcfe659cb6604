// The source of the kernels, included once by the file of each processor level.
//
// Everything here has internal linkage and nothing of the standard library is instantiated: code
// compiled for a newer processor must not be shared with the rest of the library by the linker.
#pragma once

#include <immintrin.h>

#include "svm/kernels/svm_kernel.h"

namespace {

using qrvml::kCaseLanes;
using qrvml::KernelFinish;
using qrvml::KernelTerms;
using qrvml::PairEnds;

#if defined(__AVX512F__)
constexpr int kWidth = 8;
constexpr int kAccumulators = 16;
#elif defined(__AVX2__)
constexpr int kWidth = 4;
constexpr int kAccumulators = 8;
#else
constexpr int kWidth = 2;
constexpr int kAccumulators = 8;
#endif
constexpr double kInfinity = __builtin_inf();

// The compiler's own vectors: operators act lane by lane, comparisons give words of all bits set.
using Vector __attribute__((vector_size(kWidth * 8), may_alias)) = double;
using Words __attribute__((vector_size(kWidth * 8), may_alias)) = long long;
using Unsigned __attribute__((vector_size(kWidth * 8), may_alias)) = unsigned long long;

inline Vector Load(const double* p) { return *reinterpret_cast<const Vector*>(p); }
inline void Store(double* p, Vector v) { *reinterpret_cast<Vector*>(p) = v; }
inline Vector Spread(double x) { return Vector{} + x; }

/// Loads and insertions: the processors' own gather is slower on some and hardly faster on others.
inline Vector Gather(const double* values, const std::int32_t* place) {
  const auto pair = [&](int lane) {
    return _mm_loadh_pd(_mm_load_sd(values + place[lane]), values + place[lane + 1]);
  };
#if defined(__AVX2__)
  const auto four = [&](int lane) {
    return _mm256_insertf128_pd(_mm256_castpd128_pd256(pair(lane)), pair(lane + 2), 1);
  };
#if defined(__AVX512F__)
  // The unmasked form makes g++ 12 warn about its own header.
  return Vector(_mm512_maskz_insertf64x4(0xFF, _mm512_castpd256_pd512(four(0)), four(4), 1));
#else
  return Vector(four(0));
#endif
#else
  return Vector(pair(0));
#endif
}

/// The bytes from `p` on, one to a lane.
inline Words LoadBytes(const std::uint8_t* p) {
#if defined(__AVX512F__)
  return Words(
      _mm512_maskz_cvtepu8_epi64(0xFF, _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
#else
  std::int32_t bytes = 0;
  __builtin_memcpy(&bytes, p, kWidth);
#if defined(__AVX2__)
  return Words(_mm256_cvtepu8_epi64(_mm_cvtsi32_si128(bytes)));
#else
  return Words(_mm_cvtepu8_epi64(_mm_cvtsi32_si128(bytes)));
#endif
#endif
}

// --- Products -----------------------------------------------------------------------------------

/// Vectors of cases in a register tile of that many queries.
constexpr int TileVectors(int queries) {
  const int fit = kAccumulators / queries;
  return fit < 4 ? fit : 4;
}

/// Of each query and each case the sum over inputs of their product, or of their difference
/// squared.
template <bool squares, int queries>
void TileOf(const double* blocks, std::int32_t inputs, std::int32_t blockCount,
            const double* const* query, double* const* out) {
  constexpr int kVectors = TileVectors(queries);
  const double* values[queries];
  for (int q = 0; q < queries; ++q) values[q] = query[q];
  for (std::int32_t b = 0; b < blockCount; ++b, blocks += std::int64_t(inputs) * kCaseLanes) {
    for (int first = 0; first < kCaseLanes; first += kVectors * kWidth) {
      Vector sum[queries][kVectors] = {};
      const double* lanes = blocks + first;
      for (std::int32_t i = 0; i < inputs; ++i, lanes += kCaseLanes) {
        Vector value[kVectors];
#pragma GCC unroll 8
        for (int v = 0; v < kVectors; ++v) value[v] = Load(lanes + v * kWidth);
#pragma GCC unroll 8
        for (int q = 0; q < queries; ++q) {
          const Vector x = Spread(values[q][i]);
#pragma GCC unroll 8
          for (int v = 0; v < kVectors; ++v) {
            const Vector difference = x - value[v];
            sum[q][v] = sum[q][v] + (squares ? difference * difference : x * value[v]);
          }
        }
      }
#pragma GCC unroll 8
      for (int q = 0; q < queries; ++q) {
        double* to = out[q] + std::int64_t(b) * kCaseLanes + first;
#pragma GCC unroll 8
        for (int v = 0; v < kVectors; ++v) Store(to + v * kWidth, sum[q][v]);
      }
    }
  }
}

template <bool squares>
void Tile(const double* blocks, std::int32_t inputs, std::int32_t blockCount,
          const double* const* queries, int count, double* const* out) {
  switch (count) {
    case 1:
      return TileOf<squares, 1>(blocks, inputs, blockCount, queries, out);
    case 2:
      return TileOf<squares, 2>(blocks, inputs, blockCount, queries, out);
    case 3:
      return TileOf<squares, 3>(blocks, inputs, blockCount, queries, out);
    default:
      return TileOf<squares, 4>(blocks, inputs, blockCount, queries, out);
  }
}

void AddWeighted(const double* values, const double* weights, std::int32_t count, double* sums) {
  constexpr int kVectors = 4;
  for (int first = 0; first < kCaseLanes; first += kVectors * kWidth) {
    Vector sum[kVectors];
#pragma GCC unroll 4
    for (int v = 0; v < kVectors; ++v) sum[v] = Load(sums + first + v * kWidth);
    const double* lanes = values + first;
    for (std::int32_t s = 0; s < count; ++s, lanes += kCaseLanes) {
      const Vector weight = Spread(weights[s]);
#pragma GCC unroll 4
      for (int v = 0; v < kVectors; ++v) sum[v] = sum[v] + weight * Load(lanes + v * kWidth);
    }
#pragma GCC unroll 4
    for (int v = 0; v < kVectors; ++v) Store(sums + first + v * kWidth, sum[v]);
  }
}

// --- Kernel functions ---------------------------------------------------------------------------

/// e^x = 2^k (1 + Part): |r| <= ln(2)/2, k ln(2) taken in two parts, the first with trailing zero
/// bits so that k times it is exact (Cody and Waite, 1980).
struct Reduced {
  Vector part;        // e^r - 1
  Unsigned exponent;  // k in the bits of a double's exponent; sums with it wrap around
};

inline Reduced Reduce(Vector x) {
  // Adding 1.5 * 2^52 rounds to an integer and leaves it in the lowest bits.
  constexpr double kRounder = 0x1.8p52;
  const Vector shifted = x * 1.4426950408889634 + kRounder;
  const Vector k = shifted - kRounder;
  const Vector r = (x - k * 0.693147180369123816490) - k * 1.90821492927058770002e-10;
  // Taylor's series; its remainder after r^13 is below 2^-57.
  constexpr double kTerms[] = {1.0 / 479001600.0, 1.0 / 39916800.0, 1.0 / 3628800.0, 1.0 / 362880.0,
                               1.0 / 40320.0,     1.0 / 5040.0,     1.0 / 720.0,     1.0 / 120.0,
                               1.0 / 24.0,        1.0 / 6.0,        1.0 / 2.0};
  Vector series = Spread(1.0 / 6227020800.0);
#pragma GCC unroll 16
  for (const double term : kTerms) series = series * r + term;
  return {r + r * r * series, Unsigned(shifted) << 52};
}

/// e^x below 1 ulp; 0 where it is below the smallest normal number (about 2.2e-308).
inline Vector Exponential(Vector x) {
  const Reduced reduced = Reduce(x);
  Vector y = Vector(Unsigned(1.0 + reduced.part) + reduced.exponent);
  y = x > 709.782712893384 ? Spread(kInfinity) : y;
  y = x < -708.0 ? Spread(0.0) : y;
  return x <= kInfinity ? y : x;  // not a number stays
}

/// tanh|x| = t / (t + 2) with t = e^(2|x|) - 1; from 22 on it rounds to 1.
inline Vector Tangent(Vector x) {
  const Vector size = x < 0.0 ? -x : x;
  const Vector bounded = size < 22.0 ? size : Spread(22.0);
  const Reduced reduced = Reduce(bounded + bounded);
  const Vector scale = Vector(Unsigned(Spread(1.0)) + reduced.exponent);
  const Vector t = reduced.part * scale + (scale - 1.0);
  const Vector y = t / (t + 2.0);
  const Vector signedY = x < 0.0 ? -y : y;
  return x <= kInfinity ? signedY : x;
}

/// x^n by squaring, for n >= 0.
inline Vector Power(Vector x, std::int32_t n) {
  Vector result = Spread(1.0);
  for (;;) {
    if ((n & 1) != 0) result = result * x;
    n >>= 1;
    if (n == 0) return result;
    x = x * x;
  }
}

void Finish(const KernelTerms& terms, double square, const double* squares, double* values,
            std::int32_t count) {
  switch (terms.finish) {
    case KernelFinish::none:
      return;
    case KernelFinish::integerPower:
      for (std::int32_t t = 0; t < count; t += kWidth) {
        const Vector x = terms.gamma * Load(values + t) + terms.coef0;
        const Vector y = Power(x, terms.power < 0 ? -terms.power : terms.power);
        Store(values + t, terms.power < 0 ? 1.0 / y : y);
      }
      return;
    case KernelFinish::exponential:
      for (std::int32_t t = 0; t < count; t += 4 * kWidth) {
        Vector x[4];
#pragma GCC unroll 4
        for (int v = 0; v < 4; ++v) {
          x[v] = Load(values + t + v * kWidth);
          if (squares != nullptr) x[v] = (square + Load(squares + t + v * kWidth)) - 2.0 * x[v];
        }
#pragma GCC unroll 4
        for (int v = 0; v < 4; ++v) {
          Store(values + t + v * kWidth, Exponential(-terms.gamma * x[v]));
        }
      }
      return;
    case KernelFinish::tangent:
      for (std::int32_t t = 0; t < count; t += kWidth) {
        Store(values + t, Tangent(terms.gamma * Load(values + t) + terms.coef0));
      }
      return;
  }
}

void GatherAll(const double* values, const std::int32_t* place, std::int32_t count, double* out) {
  for (std::int32_t t = 0; t < count; t += kWidth) Store(out + t, Gather(values, place + t));
}

// --- Gradient and choice ------------------------------------------------------------------------

/// The ends of each lane; the earliest of equal values stays.
struct LaneEnds {
  Vector leastUp = Spread(kInfinity);
  Vector mostDown = Spread(-kInfinity);
  Words upAt = Words{} - 1;
  Words downAt = Words{} - 1;

  void Take(Vector f, Words up, Words down, Words position) {
    const Words less = up & (f < leastUp);
    leastUp = less ? f : leastUp;
    upAt = less ? position : upAt;
    const Words more = down & (f > mostDown);
    mostDown = more ? f : mostDown;
    downAt = more ? position : downAt;
  }
  void Reduce(PairEnds& ends) const {
    ends = {kInfinity, -kInfinity, -1, -1};
    for (int lane = 0; lane < kWidth; ++lane) {
      const auto up = std::int32_t(upAt[lane]);
      const auto down = std::int32_t(downAt[lane]);
      if (leastUp[lane] < ends.leastUp || (leastUp[lane] == ends.leastUp && up < ends.upAt)) {
        ends.leastUp = leastUp[lane];
        ends.upAt = up;
      }
      if (mostDown[lane] > ends.mostDown ||
          (mostDown[lane] == ends.mostDown && down < ends.downAt)) {
        ends.mostDown = mostDown[lane];
        ends.downAt = down;
      }
    }
  }
};

inline void TakeOne(PairEnds& ends, double f, unsigned status, std::int32_t t) {
  if ((status & qrvml::kMayGoUp) != 0 && f < ends.leastUp) {
    ends.leastUp = f;
    ends.upAt = t;
  }
  if ((status & qrvml::kMayGoDown) != 0 && f > ends.mostDown) {
    ends.mostDown = f;
    ends.downAt = t;
  }
}

/// What is added to f: nothing, two columns, their elements by place, or one change by place.
struct NoChange {
  static constexpr bool kChanges = false;
  Vector Lanes(std::int32_t) const { return Vector{}; }
  double One(std::int32_t) const { return 0; }
};
struct Columns {
  static constexpr bool kChanges = true;
  const double* first;
  const double* second;
  double a;
  double b;
  Vector Lanes(std::int32_t t) const { return Load(first + t) * a + Load(second + t) * b; }
  double One(std::int32_t t) const { return first[t] * a + second[t] * b; }
};
struct PlacedColumns {
  static constexpr bool kChanges = true;
  const double* first;
  const double* second;
  const std::int32_t* place;
  double a;
  double b;
  Vector Lanes(std::int32_t t) const {
    return Gather(first, place + t) * a + Gather(second, place + t) * b;
  }
  double One(std::int32_t t) const { return first[place[t]] * a + second[place[t]] * b; }
};
struct ListedChange {
  static constexpr bool kChanges = true;
  const double* change;
  const std::int32_t* place;
  Vector Lanes(std::int32_t t) const { return Gather(change, place + t); }
  double One(std::int32_t t) const { return change[place[t]]; }
};

template <bool byClass, class Change>
void Pass(double* f, const std::uint8_t* status, const Change& change, std::int32_t begin,
          std::int32_t end, PairEnds* ends) {
  LaneEnds lanes[byClass ? 2 : 1];
  Words position;
  for (int lane = 0; lane < kWidth; ++lane) position[lane] = begin + lane;
  std::int32_t t = begin;
  for (; t + kWidth <= end; t += kWidth) {
    Vector value = Load(f + t);
    if constexpr (Change::kChanges) {
      value = value + change.Lanes(t);
      Store(f + t, value);
    }
    const Words bits = LoadBytes(status + t);
    const Words up = (bits & qrvml::kMayGoUp) != 0;
    const Words down = (bits & qrvml::kMayGoDown) != 0;
    if constexpr (byClass) {
      const Words negative = (bits & qrvml::kNegativeClass) != 0;
      lanes[0].Take(value, up & ~negative, down & ~negative, position);
      lanes[1].Take(value, up & negative, down & negative, position);
    } else {
      lanes[0].Take(value, up, down, position);
    }
    position += kWidth;
  }
  for (int c = 0; c < (byClass ? 2 : 1); ++c) lanes[c].Reduce(ends[c]);
  for (; t < end; ++t) {
    if constexpr (Change::kChanges) f[t] = f[t] + change.One(t);
    TakeOne(ends[byClass && (status[t] & qrvml::kNegativeClass) != 0 ? 1 : 0], f[t], status[t], t);
  }
}

void Update(double* f, const std::uint8_t* status, const double* first, const double* second,
            double a, double b, std::int32_t begin, std::int32_t end, bool byClass,
            PairEnds* ends) {
  const Columns columns{first, second, a, b};
  byClass ? Pass<true>(f, status, columns, begin, end, ends)
          : Pass<false>(f, status, columns, begin, end, ends);
}

void UpdatePlaced(double* f, const std::uint8_t* status, const double* first, const double* second,
                  const std::int32_t* place, double a, double b, std::int32_t begin,
                  std::int32_t end, bool byClass, PairEnds* ends) {
  const PlacedColumns columns{first, second, place, a, b};
  byClass ? Pass<true>(f, status, columns, begin, end, ends)
          : Pass<false>(f, status, columns, begin, end, ends);
}

void UpdateListed(double* f, const std::uint8_t* status, const double* change,
                  const std::int32_t* place, std::int32_t begin, std::int32_t end, bool byClass,
                  PairEnds* ends) {
  const ListedChange listed{change, place};
  byClass ? Pass<true>(f, status, listed, begin, end, ends)
          : Pass<false>(f, status, listed, begin, end, ends);
}

void Choose(const double* f, const std::uint8_t* status, std::int32_t begin, std::int32_t end,
            bool byClass, PairEnds* ends) {
  double* unchanged = const_cast<double*>(f);
  byClass ? Pass<true>(unchanged, status, NoChange{}, begin, end, ends)
          : Pass<false>(unchanged, status, NoChange{}, begin, end, ends);
}

void Combine(const double* first, const double* second, double a, double b, std::int32_t begin,
             std::int32_t end, double* out) {
  const Columns columns{first, second, a, b};
  std::int32_t t = begin;
  for (; t + kWidth <= end; t += kWidth) Store(out + t, columns.Lanes(t));
  for (; t < end; ++t) out[t] = columns.One(t);
}

constexpr qrvml::SvmKernel MakeKernel(int level) {
  return {level,  Tile<false>,  Tile<true>,   AddWeighted, Finish, GatherAll,
          Update, UpdatePlaced, UpdateListed, Choose,      Combine};
}

}  // namespace
