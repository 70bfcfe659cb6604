// The kernel matrix of the cases of one optimisation: its columns, obtained when they are needed
// and kept in the cache; or the rows of a store. It is symmetric to the last bit, so a column may
// be filled from any side.
//
// Cases are known by position. The solver changes their order; columns and rows follow.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "host/memory.h"
#include "svm/column_cache.h"
#include "svm/kernel_rows.h"
#include "svm/solver_pace.h"
#include "svm/solver_team.h"
#include "svm/svm_types.h"

namespace qrvml {

class KernelMatrix {
 public:
  /// Throws MemoryRefused, Cancelled.
  KernelMatrix(std::span<const SVMNodeList> cases, const SharedKernel& shared,
               const SVMParameters& parameters, SVMSolverState& state, SolverPace& pace);

  std::int32_t cases() const { return rows_.cases(); }
  const SvmKernel& kernel() const { return rows_.kernel(); }
  double Diagonal(std::int32_t at) const { return diagonal_[std::size_t(at)]; }
  /// Null, or where each case is in the columns: they are then rows of the store, known whole.
  const std::int32_t* places() const { return rows_.places(); }

  /// A column in use, until the next Request with the same side.
  struct Column {
    std::int32_t at = 0;
    std::int32_t length = 0;  // elements asked for
    std::int32_t known = 0;   // of them, before Fill
    const double* values = nullptr;
    double* room = nullptr;  // of the values, padded to whole blocks; null: they are the store's
    KernelRows::Row row;     // opened when something is missing
  };
  /// The first `length` elements of a column; side 0 or 1. Throws MemoryRefused.
  Column Request(std::int32_t at, std::int32_t length, int side);
  /// The value of the cases of two columns with each other.
  double Between(const Column& a, const Column& b) const;
  /// Computes what is missing of the columns in [begin, end); begin is a multiple of kCaseLanes.
  /// values[0] is element `origin`. May be called on several threads for separate ranges. Returns
  /// about the multiplications done.
  std::int64_t Fill(std::span<const Column> columns, std::int32_t begin, std::int32_t end,
                    std::int32_t origin = 0) const;
  /// Fill has done all of the column.
  void Complete(const Column& column);

  /// sums[t] = sum over the listed cases, in order, of factor * column element t, for t in
  /// [begin, cases()); begin is a multiple of kCaseLanes. Throws Cancelled, MemoryRefused.
  void AddColumns(std::span<const std::int32_t> listed, std::span<const double> factors,
                  std::int32_t begin, double* sums, SolverTeam& team, SolverPace& pace);

  /// Throws Cancelled.
  void Swap(std::int32_t a, std::int32_t b, SolverPace& pace);
  /// After swaps that brought cases from `length` on to positions before it: source[p] is the
  /// position from which the case now at p came. Columns are cut to `length` and the elements
  /// that moved are put right. Throws MemoryRefused, Cancelled.
  void FollowSwaps(std::span<const std::int32_t> source, std::int32_t length, SolverTeam& team,
                   SolverPace& pace);
  /// The columns needed from now on have this length. Throws MemoryRefused, Cancelled.
  void Fit(std::int32_t length, SolverPace& pace) { cache_.Fit(length, pace); }

 private:
  /// Computes the elements at some places of the columns in those slots that lack some of them.
  void ComputeMoved(std::span<const std::int32_t> places, std::span<const std::uint8_t> lacking,
                    SolverTeam& team, SolverPace& pace);
  double* Scratch(int side) { return scratch_.data() + std::size_t(side) * padded_; }

  KernelRows rows_;
  SVMCounts& counts_;
  ColumnCache cache_;
  std::size_t padded_;          // cases rounded up to whole blocks
  HostArray<double> diagonal_;  // per case
  HostArray<double> scratch_;   // without a store two columns: those the cache has no room for
};

}  // namespace qrvml
