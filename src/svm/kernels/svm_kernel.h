// The inner loops of the support vector solver: kernel values, gradient, choice of the next pair.
//
// One source (svm_kernel_body.h) is compiled for three processor levels. Lanes go over cases, so
// each case's own sum keeps its order, and nothing is fused: all levels give the same bits.
//
// Storage. A block holds kCaseLanes cases, input by input: block[input * kCaseLanes + lane]. All
// arrays are aligned to 64 bytes and padded to whole blocks.
#pragma once

#include <cstdint>

namespace qrvml {

inline constexpr int kCaseLanes = 32;
inline constexpr int kDotQueries = 4;  // cases whose products with a block are computed at once
inline constexpr std::int32_t kPassCases = 16 * kCaseLanes;  // that a pass handles while in cache
/// The passes over so many cases.
constexpr std::int32_t PassesOf(std::int32_t cases) {
  return cases / kPassCases + (cases % kPassCases > 0 ? 1 : 0);
}

/// How products become kernel values.
enum class KernelFinish : int { none = 0, integerPower = 1, exponential = 2, tangent = 3 };

struct KernelTerms {
  KernelFinish finish = KernelFinish::none;
  double gamma = 0;
  double coef0 = 0;
  std::int32_t power = 0;  // integerPower
};

/// Bits of a variable's status. A variable may go up (along its y) or down, or both when it is
/// free; it is of the class y = +1 or -1.
inline constexpr int kMayGoUp = 1;
inline constexpr int kMayGoDown = 2;
inline constexpr int kNegativeClass = 4;

/// The most violating variables of a class, or of both together. f is y times the gradient.
struct PairEnds {
  double leastUp;     // least f of a variable that may go up; infinity: none
  double mostDown;    // greatest f of one that may go down; -infinity: none
  std::int32_t upAt;  // the earliest variable with that value; -1: none
  std::int32_t downAt;
};

struct SvmKernel {
  int level;  // x86-64 level it needs: 2, 3 or 4

  /// out[q][case] = sum over inputs in order of query[q][input] * value, for the cases of
  /// `blockCount` blocks; 1 <= count <= kDotQueries.
  void (*dots)(const double* blocks, std::int32_t inputs, std::int32_t blockCount,
               const double* const* queries, int count, double* const* out);
  /// out[q][case] = sum of (query[q][input] - value)^2, likewise.
  void (*squares)(const double* blocks, std::int32_t inputs, std::int32_t blockCount,
                  const double* const* queries, int count, double* const* out);
  /// sums[lane] += values[s * kCaseLanes + lane] * weights[s], for s from 0 to count - 1 in order.
  void (*addWeighted)(const double* values, const double* weights, std::int32_t count,
                      double* sums);
  /// Makes kernel values of `count` products (a multiple of kCaseLanes) in place; for the
  /// exponential from products: exp(-gamma * ((square + squares[case]) - 2 * product)), or, without
  /// squares, from squared distances.
  void (*finish)(const KernelTerms& terms, double square, const double* squares, double* values,
                 std::int32_t count);
  /// out[t] = values[place[t]]; a multiple of kCaseLanes of them.
  void (*gather)(const double* values, const std::int32_t* place, std::int32_t count, double* out);
  /// f[t] += first[t] * a + second[t] * b for t in [begin, end), and finds the ends there.
  /// `ends` has one element, or two (y = +1, y = -1) when `byClass`; it is overwritten.
  void (*update)(double* f, const std::uint8_t* status, const double* first, const double* second,
                 double a, double b, std::int32_t begin, std::int32_t end, bool byClass,
                 PairEnds* ends);
  /// The same with the elements place[t] of the columns.
  void (*updatePlaced)(double* f, const std::uint8_t* status, const double* first,
                       const double* second, const std::int32_t* place, double a, double b,
                       std::int32_t begin, std::int32_t end, bool byClass, PairEnds* ends);
  /// f[t] += change[place[t]], and finds the ends.
  void (*updateListed)(double* f, const std::uint8_t* status, const double* change,
                       const std::int32_t* place, std::int32_t begin, std::int32_t end,
                       bool byClass, PairEnds* ends);
  /// Only finds the ends.
  void (*choose)(const double* f, const std::uint8_t* status, std::int32_t begin, std::int32_t end,
                 bool byClass, PairEnds* ends);
  /// out[t] = first[t] * a + second[t] * b.
  void (*combine)(const double* first, const double* second, double a, double b, std::int32_t begin,
                  std::int32_t end, double* out);
};

extern const SvmKernel kSvmKernelV2;
extern const SvmKernel kSvmKernelV3;
extern const SvmKernel kSvmKernelV4;

/// The newest kernels that this processor has, of `level` at most.
const SvmKernel& SvmKernelFor(int level);

}  // namespace qrvml
