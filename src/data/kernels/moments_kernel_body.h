// The source of the kernel, included once by the file of each processor level. Everything here has
// internal linkage: code compiled for a newer processor must not be shared by the linker.
//
// Written in the compiler's vectors, whose operators work lane by lane; a comparison gives all bits
// or none.
#pragma once

#include <immintrin.h>

#include "data/kernels/moments_kernel.h"

namespace {

using qrvml::kMomentLanes;

#if defined(__AVX512F__)
constexpr std::size_t kBytes = 64;
#elif defined(__AVX2__)
constexpr std::size_t kBytes = 32;
#else
constexpr std::size_t kBytes = 16;
#endif
using Vector = double __attribute__((vector_size(kBytes), may_alias));
using Words = long long __attribute__((vector_size(kBytes), may_alias));
using Unaligned = double __attribute__((vector_size(kBytes), may_alias, aligned(8)));
constexpr std::size_t kWidth = kBytes / sizeof(double);
static_assert(kMomentLanes % kWidth == 0);

// Rows ahead of which memory is asked for values: into the second cache, then into the first.
constexpr std::size_t kFarAhead = 32, kAhead = 8;

inline Vector& At(double* lanes) { return *reinterpret_cast<Vector*>(lanes); }
inline Vector Spread(double x) { return x - Vector{}; }

inline bool Any(Words lanes) {
#if defined(__AVX512F__)
  return _mm512_test_epi64_mask(__m512i(lanes), __m512i(lanes)) != 0;
#elif defined(__AVX2__)
  return _mm256_movemask_pd(__m256d(lanes)) != 0;
#else
  return _mm_movemask_pd(__m128d(lanes)) != 0;
#endif
}

inline Vector Load(const double* values) { return *reinterpret_cast<const Unaligned*>(values); }
/// The first `count` values, fewer than a vector has lanes; 0 in the others.
inline Vector LoadFirst(const double* values, std::size_t count) {
#if defined(__AVX512F__)
  return _mm512_maskz_loadu_pd(static_cast<__mmask8>((1U << count) - 1), values);
#else
  Vector first{};
  for (std::size_t lane = 0; lane < count; ++lane) first[lane] = values[lane];
  return first;
#endif
}

/// What a row's sums of one class are divided by, where its inputs all have as much weight.
struct Divisor {
  Vector weight;
  Vector reciprocal;  // rounded once

  explicit Divisor(double w) : weight(Spread(w)), reciprocal(Spread(1.0 / w)) {}
};

/// x / divisor.weight, rounded correctly. A division costs as much as a dozen products, so it is
/// made by Markstein's method where that gives the same bits: q = x r with r the rounded 1 / w,
/// then q + (x - q w) r. For a normal q or 0 the difference is exact, and what is rounded at last
/// is off by at most 2^-105 of itself; x / w is at least 2^-54 / w away from where rounding
/// changes, and w is a whole number below 2^50.
inline Vector Divide(Vector x, const Divisor& divisor) {
#if defined(__AVX512F__)
  const __m512d q = x * divisor.reciprocal;
  constexpr int kNoNumber = 0x81, kInfinite = 0x18, kSubnormal = 0x20;
  if (_mm512_fpclass_pd_mask(q, kNoNumber | kInfinite | kSubnormal) == 0) [[likely]] {
    const __m512d rest = _mm512_fnmadd_pd(q, divisor.weight, x);
    return _mm512_fmadd_pd(rest, divisor.reciprocal, q);
  }
#elif defined(__FMA__)
  const Vector q = x * divisor.reciprocal;
  const Words magnitude = Words(q) & 0x7FFFFFFFFFFFFFFF;
  constexpr long long kNormal = 0x0010000000000000, kInfinite = 0x7FF0000000000000;
  if (!Any(((magnitude < kNormal) & (magnitude != 0)) | (magnitude >= kInfinite))) [[likely]] {
    const __m256d rest = _mm256_fnmadd_pd(q, divisor.weight, x);
    return _mm256_fmadd_pd(rest, divisor.reciprocal, q);
  }
#endif
  return x / divisor.weight;
}

/// Some neighbouring inputs and their sums: kVectors vectors of them, the last of which is whole or
/// not. The lanes behind the last input count as 0, which is never missing and changes nothing.
template <std::size_t kVectors, bool kIsWhole>
class Inputs {
 public:
  Inputs(const qrvml::MomentCases& cases, std::size_t first, std::size_t last,
         const qrvml::MomentSums& sums)
      : missing_(cases.missing + first),
        count_(last - first),
        step_(qrvml::kMomentSums * sums.classRows * kMomentLanes),
        weight_(sums.sums + first / kMomentLanes * step_ + first % kMomentLanes),
        mean_(weight_ + sums.classRows * kMomentLanes),
        squares_(mean_ + sums.classRows * kMomentLanes),
        even_(sums.even) {}

  void Prefetch(const double* far, const double* near) const {
    for (std::size_t v = 0; v < kVectors; v += kMomentLanes / kWidth) {
      __builtin_prefetch(far + v * kWidth, 0, 2);
      __builtin_prefetch(near + v * kWidth);
    }
  }

  bool HasMissing(const double* values) const {
    Words missing{};
    for (std::size_t v = 0; v < kVectors; ++v)
      missing |= Value(values, v) == Load(missing_ + v * kWidth);
    return Any(missing);
  }

  /// Notes the weight that all inputs of the class row have, -1 where they differ.
  void GatherWeight(std::size_t row) const {
    const double weight = weight_[Place(row, 0)];
    even_[row] = weight;
    for (std::size_t k = 0; k < count_; ++k)
      if (weight_[Place(row, k / kWidth) + k % kWidth] != weight) even_[row] = -1;
  }
  void SpreadWeight(std::size_t row) const {
    if (even_[row] < 0) return;
    for (std::size_t v = 0; v < kVectors; ++v) At(weight_ + Place(row, v)) = Spread(even_[row]);
    even_[row] = -1;
  }

  void AddCase(const double* values, double w, bool isWhole, std::size_t row) const {
    if (isWhole && even_[row] >= 0 && even_[row] + w < kMostWeight) {
      even_[row] == 0 ? AddFirst(values, w, row) : AddWhole(values, w, row);
    } else {
      SpreadWeight(row);
      AddValid(values, w, row);
    }
  }

 private:
  static constexpr double kMostWeight = 0x1p50;

  Vector Value(const double* values, std::size_t v) const {
    if (kIsWhole || v + 1 < kVectors) return Load(values + v * kWidth);
    return LoadFirst(values + v * kWidth, count_ - v * kWidth);
  }
  std::size_t Place(std::size_t row, std::size_t v) const {
    constexpr std::size_t kTogether = kMomentLanes / kWidth;
    return v / kTogether * step_ + row * kMomentLanes + v % kTogether * kWidth;
  }

  void AddFirst(const double* values, double w, std::size_t row) const {
    even_[row] = w;
    for (std::size_t v = 0; v < kVectors; ++v) At(mean_ + Place(row, v)) += Value(values, v);
  }
  void AddWhole(const double* values, double w, std::size_t row) const {
    even_[row] += w;
    const Divisor divisor(even_[row]);
    for (std::size_t v = 0; v < kVectors; ++v) {
      const std::size_t at = Place(row, v);
      const Vector x = Value(values, v);
      const Vector mean = At(mean_ + at);
      const Vector weighted = w * (x - mean);
      const Vector moved = mean + Divide(weighted, divisor);
      At(mean_ + at) = moved;
      At(squares_ + at) += weighted * (x - moved);
    }
  }
  void AddValid(const double* values, double w, std::size_t row) const {
    for (std::size_t v = 0; v < kVectors; ++v) {
      const std::size_t at = Place(row, v);
      const Vector x = Value(values, v);
      const auto isValid = x != Load(missing_ + v * kWidth);
      const Vector mean = At(mean_ + at);
      const auto isFirst = At(weight_ + at) == Vector{};
      const Vector weight = At(weight_ + at) + (isValid ? Spread(w) : Vector{});
      const Vector weighted = w * (x - mean);
      const Vector moved = mean + (isFirst ? x : weighted / weight);
      At(weight_ + at) = weight;
      At(mean_ + at) = isValid ? moved : mean;
      At(squares_ + at) += isValid ? weighted * (x - moved) : Vector{};
    }
  }

  const double* const missing_;
  const std::size_t count_;
  const std::size_t step_;  // of the sums, from lanes to lanes
  double *const weight_, *const mean_, *const squares_, *const even_;
};

template <std::size_t kVectors, bool kIsWhole>
void AddInputs(const qrvml::MomentCases& given, std::size_t first, std::size_t last,
               const qrvml::MomentSums& sums) {
  const qrvml::MomentCases cases = given;
  const Inputs<kVectors, kIsWhole> inputs(cases, first, last, sums);
  for (std::size_t row = 0; row < sums.classRows; ++row) inputs.GatherWeight(row);
  const double* values = cases.rows + first;
  for (std::size_t i = 0; i < cases.count; ++i, values += cases.inputs) {
    inputs.Prefetch(values + kFarAhead * cases.inputs, values + kAhead * cases.inputs);
    const double w = cases.weights == nullptr ? 1.0 : cases.weights[i];
    const bool isWhole = !inputs.HasMissing(values);
    for (std::size_t d = 0; d < cases.dependents; ++d) {
      const std::int32_t row = cases.classes[i * cases.dependents + d];
      if (row >= 0) inputs.AddCase(values, w, isWhole, static_cast<std::size_t>(row));
    }
  }
  for (std::size_t row = 0; row < sums.classRows; ++row) inputs.SpreadWeight(row);
}

/// At most kVectors vectors.
template <std::size_t kVectors>
void AddUpTo(const qrvml::MomentCases& cases, std::size_t first, std::size_t last,
             const qrvml::MomentSums& sums) {
  if (last - first == kVectors * kWidth) {
    AddInputs<kVectors, true>(cases, first, last, sums);
  } else if (kVectors == 1 || last - first > (kVectors - 1) * kWidth) {
    AddInputs<kVectors, false>(cases, first, last, sums);
  } else if constexpr (kVectors > 1) {
    AddUpTo<kVectors - 1>(cases, first, last, sums);
  }
}

void AddCases(const qrvml::MomentCases& cases, std::size_t first, std::size_t last,
              qrvml::MomentSums sums) {
  constexpr std::size_t kMostVectors = 8;
  constexpr std::size_t kMost = kMostVectors * kWidth;
  for (std::size_t k = first; k < last; k += kMost)
    AddUpTo<kMostVectors>(cases, k, k + kMost < last ? k + kMost : last, sums);
}

constexpr qrvml::MomentsKernel kKernel{AddCases};

}  // namespace
