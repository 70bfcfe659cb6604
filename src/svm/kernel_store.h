// The kernel values of all pairs of a problem's cases, for trainings on parts of that problem: they
// depend neither on C, epsilon or nu nor on which cases take part.
#pragma once

#include <cstdint>
#include <span>

#include "host/memory.h"
#include "svm/solver_pace.h"
#include "svm/solver_team.h"
#include "svm/svm_types.h"

namespace qrvml {

class KernelStore {
 public:
  /// What a store of so many cases takes.
  static double Megabytes(std::int32_t cases);
  /// Computes the values, as training computes them. Throws MemoryRefused, Cancelled.
  KernelStore(std::span<const SVMNodeList> cases, const SVMParameters& parameters,
              SVMSolverState& state, SolverTeam& team, SolverPace& pace);

  std::int32_t cases() const { return cases_; }
  /// The values of a case with all.
  const double* Row(std::int32_t at) const { return values_.data() + std::size_t(at) * padded_; }

 private:
  std::int32_t cases_;
  std::size_t padded_;  // cases rounded up to whole blocks
  HostArray<double> values_;
};

/// The part of a store that a training reads: its case t is the store's case places[t]. Without a
/// store it computes its values.
struct SharedKernel {
  const KernelStore* store = nullptr;
  std::span<const std::int32_t> places;
};

}  // namespace qrvml
