// The kernel values of a problem's cases with each other, row by row: computed from packed inputs,
// or read from a store. Both give the same bits, and a with b what b gives with a.
//
// Cases are known by position.
#pragma once

#include <cstdint>
#include <span>

#include "host/memory.h"
#include "svm/kernel_function.h"
#include "svm/kernel_store.h"
#include "svm/packed_cases.h"
#include "svm/solver_pace.h"
#include "svm/svm_types.h"

namespace qrvml {

class KernelRows {
 public:
  /// Packs the cases where `shared` has no store. Throws MemoryRefused, Cancelled.
  KernelRows(std::span<const SVMNodeList> cases, const SharedKernel& shared,
             const SVMParameters& parameters, int level, SolverPace& pace);
  /// The cases at some positions of others, for Fill. Throws MemoryRefused.
  KernelRows(const KernelRows& source, std::span<const std::int32_t> picked);

  std::int32_t cases() const { return cases_; }
  /// With a store, where each case is in its rows; null without one.
  const std::int32_t* places() const { return store_ == nullptr ? nullptr : places_.data(); }
  const SvmKernel& kernel() const { return function_.kernel(); }
  /// Of the case with itself.
  HostArray<double> Diagonal() const;
  double Value(std::int32_t a, std::int32_t b) const;

  struct Row {
    const double* source = nullptr;  // the case's inputs, or its values in the store
    double square = 0;
  };
  /// Each of kDotQueries buffers holds one row, until the next Open with it or until a Swap.
  Row Open(std::int32_t at, int buffer);
  /// out[r][t - begin] = value of row r with case t, for t in [begin, end) and, after these, up to
  /// a whole block; begin is a multiple of kCaseLanes, rows at most kDotQueries. May be called on
  /// several threads. Returns about the multiplications done.
  std::int64_t Fill(std::span<const Row> rows, std::int32_t begin, std::int32_t end,
                    double* const* out) const;
  /// Returns its cost in multiplications.
  std::int64_t Swap(std::int32_t a, std::int32_t b);

 private:
  void Square(SolverPace& pace);

  KernelFunction function_;
  const KernelStore* store_;
  std::int32_t cases_;
  HostArray<std::int32_t> places_;  // with a store: where each case is there, padded
  PackedCases packed_;              // without one
  HostArray<double> squares_;       // per case, padded: its product with itself
  HostArray<double> inputs_;        // the buffers
};

}  // namespace qrvml
